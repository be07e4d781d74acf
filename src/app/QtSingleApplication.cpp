#include "app/QtSingleApplication.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>
#include <QWidget>

#include <unistd.h>

namespace {

// A message is one line of Base64; whoever sends more, or takes longer, is shown the door.
constexpr qint64 maximumMessageSize = 64 * 1024; // bytes
constexpr int clientTimeout = 5000; // milliseconds
constexpr unsigned long connectRetryInterval = 20; // milliseconds
const char acknowledgement[] = "ok\n";

// Short, since a socket's path has room for about a hundred characters.
QString instanceName()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    const QByteArray executableAndUser =
        QCoreApplication::applicationFilePath().toUtf8() + '\n' + QByteArray::number(::getuid());
    const QByteArray identity = QCryptographicHash::hash(executableAndUser, QCryptographicHash::Sha256);
    return folder + QStringLiteral("/fourfold-") + QString::fromLatin1(identity.toHex().left(16));
}

} // namespace

QtSingleApplication::QtSingleApplication(int &argc, char **argv, bool /*guiEnabled*/)
    : QApplication(argc, argv)
{
    const QString name = instanceName();
    m_socketName = name + QStringLiteral(".socket");
    m_lock = std::make_unique<QLockFile>(name + QStringLiteral(".lock"));
    // The lock of a living process is never stale, however long it runs; that of a dead one always is.
    m_lock->setStaleLockTime(0);
    m_lock->tryLock(0);
    if (isRunning())
        return;

    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // Whoever holds the lock owns the name, so a socket that is still there was left by a crash.
    QLocalServer::removeServer(m_socketName);
    m_server->listen(m_socketName);
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server->nextPendingConnection())
            welcome(client);
    });
}

QtSingleApplication::~QtSingleApplication() = default;

bool QtSingleApplication::isRunning() const
{
    // A lock that cannot be made at all must not keep the application from starting.
    return !m_lock->isLocked() && m_lock->error() == QLockFile::LockFailedError;
}

bool QtSingleApplication::sendMessage(const QString &message, int timeout)
{
    const QDeadlineTimer deadline(timeout);
    const auto remaining = [&deadline] { return static_cast<int>(deadline.remainingTime()); };

    QLocalSocket socket;
    do {
        socket.connectToServer(m_socketName);
        if (socket.waitForConnected(remaining()))
            break;
        // The other instance holds the lock already but may not listen yet.
        QThread::msleep(connectRetryInterval);
    } while (!deadline.hasExpired());

    socket.write(message.toUtf8().toBase64() + '\n');
    while (!socket.canReadLine()) {
        if (deadline.hasExpired() || !socket.waitForReadyRead(remaining()))
            return false;
    }
    return socket.readLine() == acknowledgement;
}

void QtSingleApplication::setActivationWindow(QWidget *window, bool activateOnMessage)
{
    m_activationWindow = window;
    disconnect(this, &QtSingleApplication::messageReceived, this, &QtSingleApplication::activateWindow);
    if (activateOnMessage)
        connect(this, &QtSingleApplication::messageReceived, this, &QtSingleApplication::activateWindow);
}

void QtSingleApplication::activateWindow()
{
    if (!m_activationWindow)
        return;
    m_activationWindow->setWindowState(m_activationWindow->windowState() & ~Qt::WindowMinimized);
    m_activationWindow->raise();
    m_activationWindow->activateWindow();
}

void QtSingleApplication::welcome(QLocalSocket *client)
{
    client->setReadBufferSize(maximumMessageSize);
    connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
    QTimer::singleShot(clientTimeout, client, &QLocalSocket::abort);
    const auto read = [this, client] {
        if (client->canReadLine()) {
            const QString message = QString::fromUtf8(QByteArray::fromBase64(client->readLine().trimmed()));
            client->write(acknowledgement);
            client->flush();
            client->disconnectFromServer();
            emit messageReceived(message);
        } else if (client->bytesAvailable() >= maximumMessageSize) {
            client->abort();
        }
    };
    connect(client, &QLocalSocket::readyRead, this, read);
    read();
}
