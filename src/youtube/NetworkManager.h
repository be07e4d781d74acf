#pragma once

#include <QNetworkAccessManager>
#include <QObject>
#include <QString>

class QNetworkReply;
class QUrl;

// The analysis side's one point of HTTP access; lives from the first call of getInstance() to the end of the process.
// GUI thread only, after the application object. A call blocks its caller in a nested event loop, so other slots run
// meanwhile and waits can nest; each ends when its own reply has finished.
class NetworkManager : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NetworkManager)

public:
    // A request that brings no byte for this long ends with an error, here and in a download.
    static constexpr int inactivityLimit = 60000; // milliseconds

    static NetworkManager *getInstance();

    // GET and HEAD. The finished reply belongs to the caller; errors, statuses and redirects are the caller's to judge.
    // A page beyond 32 MiB is an error.
    [[nodiscard]] QNetworkReply *getWebPage(QUrl &url);
    [[nodiscard]] QNetworkReply *head(QUrl &url);

    // True from the moment a wait was cut short by the application's quit until the event loops have unwound: what
    // comes back then is no outcome of the site's, and nothing should be asked or shown any more.
    [[nodiscard]] bool isInterrupted() const { return m_interrupted; }

    // In place of inactivityLimit.
    void setInactivityLimit(int milliseconds);

    // What to tell a person about a failed reply.
    [[nodiscard]] static QString errorText(const QNetworkReply &reply);

private:
    NetworkManager();

    void waitFor(QNetworkReply &reply);

    QNetworkAccessManager m_accessManager;
    bool m_interrupted = false;
};
