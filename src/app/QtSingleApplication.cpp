#include "app/QtSingleApplication.h"

#include "app/InstanceFolder.h"
#include "app/InstanceLock.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>
#include <QWidget>

#include <unistd.h>

namespace {

// A message is one line of Base64; whoever sends more, or takes longer, is shown the door.
constexpr qint64 maximumMessageSize = 64 * 1024; // bytes
constexpr int clientTimeout = 5000; // milliseconds
constexpr int endLimit = 1000; // milliseconds
constexpr unsigned long connectRetryInterval = 20; // milliseconds
const char question[] = "?"; // whether anybody is there; no message looks like it, since they come in base64
const char acknowledgement[] = "ok\n";

// The same for every start of an executable by the same person.
QString instanceName()
{
    const QByteArray executableAndUser =
        QCoreApplication::applicationFilePath().toUtf8() + '\n' + QByteArray::number(::getuid());
    const QByteArray identity = QCryptographicHash::hash(executableAndUser, QCryptographicHash::Sha256);
    return QStringLiteral("fourfold-") + QString::fromLatin1(identity.toHex().left(16));
}

// Sends a line over a connection of its own; true when it was acknowledged in time.
bool deliver(const QString &socketName, const QByteArray &line, const QDeadlineTimer &deadline)
{
    const auto remaining = [&deadline] { return static_cast<int>(deadline.remainingTime()); };
    QLocalSocket socket;
    socket.connectToServer(socketName);
    if (!socket.waitForConnected(remaining()))
        return false;
    socket.write(line + '\n');
    while (!socket.canReadLine()) {
        if (deadline.hasExpired() || !socket.waitForReadyRead(remaining()))
            return false;
    }
    return socket.readLine() == acknowledgement;
}

} // namespace

QtSingleApplication::QtSingleApplication(int &argc, char **argv, bool /*guiEnabled*/)
    : QApplication(argc, argv)
{
    const QString socketEnding = QStringLiteral(".socket");
    const QString name = instanceName();
    const QString folder = instanceFolder(name.size() + socketEnding.size());
    // Where there is no place to meet, every start is the first.
    if (folder.isEmpty())
        return;
    const QString path = folder + QLatin1Char('/') + name;
    m_socketName = path + socketEnding;
    m_lock = std::make_unique<InstanceLock>(path + QStringLiteral(".lock"));
    // An instance that is about to end holds the lock until it has saved the options, and answers no more.
    const QDeadlineTimer deadline(endLimit);
    while (isRunning() && !deliver(m_socketName, question, deadline) && !deadline.hasExpired()) {
        QThread::msleep(connectRetryInterval);
        m_lock->tryLock();
    }
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
    return m_lock && m_lock->isHeldElsewhere();
}

bool QtSingleApplication::sendMessage(const QString &message, int timeout)
{
    const QDeadlineTimer deadline(timeout);
    const QByteArray line = message.toUtf8().toBase64();
    while (!deliver(m_socketName, line, deadline)) {
        if (deadline.hasExpired())
            return false;
        // The other instance holds the lock already but may not listen yet.
        QThread::msleep(connectRetryInterval);
    }
    return true;
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
            const QByteArray line = client->readLine().trimmed();
            client->write(acknowledgement);
            client->flush();
            client->disconnectFromServer();
            if (line != question)
                emit messageReceived(QString::fromUtf8(QByteArray::fromBase64(line)));
        } else if (client->bytesAvailable() >= maximumMessageSize) {
            client->abort();
        }
    };
    connect(client, &QLocalSocket::readyRead, this, read);
    read();
}
