#pragma once

#include <QApplication>
#include <QPointer>

#include <memory>

class InstanceLock;
class QLocalServer;
class QLocalSocket;

// One running instance for each executable and user, for platforms whose packages lack the library of this name: a lock
// on a file, which ends with its process, and a local socket that only the same user may open. The instance that holds
// the lock receives messages from the moment it is constructed.
class QtSingleApplication : public QApplication
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QtSingleApplication)

public:
    // The argument count must outlive the application. Without the GUI enabled Qt's platform is started all the same.
    QtSingleApplication(int &argc, char **argv, bool guiEnabled = true);
    ~QtSingleApplication() override;

    // Whether another instance was there first.
    [[nodiscard]] bool isRunning() const;
    // Hands the message to the running instance; false when it did not take it within the time-out (milliseconds).
    bool sendMessage(const QString &message, int timeout = 5000);
    // The window to bring to the front, on every message if asked so. Not owned.
    void setActivationWindow(QWidget *window, bool activateOnMessage = true);

public slots:
    // Restores the activation window if it is minimised, raises and activates it.
    void activateWindow();

signals:
    void messageReceived(const QString &message);

private:
    void welcome(QLocalSocket *client);

    QString m_socketName;
    std::unique_ptr<InstanceLock> m_lock;
    std::unique_ptr<QLocalServer> m_server;
    QPointer<QWidget> m_activationWindow;
};
