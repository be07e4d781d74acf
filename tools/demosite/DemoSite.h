#pragma once

#include "DemoPages.h"

#include <QHash>
#include <QMultiMap>
#include <QVector>

#include <memory>
#include <mutex>
#include <thread>

namespace httplib {
class Server;
}

// A small real video site on 127.0.0.1: pages, playlists, streams and an update service.
// Any thread may call any method; requests are answered on threads of its own.
class DemoSite final
{
    Q_DISABLE_COPY_MOVE(DemoSite)

public:
    struct Options
    {
        int port = 0; // 0 picks a free one
        qint64 bytesPerSecond = 0; // of each stream's connection, pages excepted; 0 means unlimited
    };

    // A fixed answer. A "Content-Length" among the headers takes the place of the true one where the body is empty.
    struct Page
    {
        int status = 200;
        QByteArray body;
        QByteArray contentType = QByteArrayLiteral("text/html; charset=utf-8");
        QList<QPair<QByteArray, QByteArray>> headers;
    };

    struct Request
    {
        QByteArray method;
        QByteArray target; // path and query as sent
        QMultiMap<QByteArray, QByteArray> headers; // names in lower case
    };

    explicit DemoSite(const Options &options);
    DemoSite()
        : DemoSite(Options())
    {
    }
    // Breaks running transfers off; idle connections take up to a second, and clients that have stopped reading five.
    ~DemoSite();

    // On false, errorString() tells why.
    bool start();
    QString errorString() const { return m_errorString; }

    QString address() const { return m_address; } // "http://127.0.0.1:PORT"
    QString videoAddress() const { return m_address + QStringLiteral("/watch?v=testcard-01"); }
    QString playlistAddress() const { return m_address + QStringLiteral("/playlist?list=DEMO"); }
    QString watchPlaylistAddress() const { return videoAddress() + QStringLiteral("&list=DEMO"); }
    QString updateAddress() const { return m_address + QStringLiteral("/update?ver=%1"); } // for the version's digits

    // The first is that of the video's address; three of them, in this order, make the playlist.
    QStringList demoVideoIds() const;
    QStringList playlistVideoIds() const { return demoVideoIds().mid(0, 3); }
    // Empty for an unknown id or itag.
    QString mediaFileFor(const QString &videoId, int itag) const;
    // The bytes of a file of the media folder, null when there is none.
    QByteArray mediaFile(const QString &name) const;

    // Adds or replaces an answer, also one of the site's own once it has started. A request is matched with its query
    // first, then by its path alone.
    void setPage(const QString &pathAndQuery, const Page &page);
    // What "/update" answers in place of the offer of version 9.0.0.
    void setUpdateReply(const QByteArray &body) { setPage(QStringLiteral("/update"), {200, body, "text/xml", {}}); }

    // Every request so far, in the order of arrival; each is recorded before it is answered.
    QVector<Request> requests() const;
    void clearRequests();

    // "args" is the object of that name in the player configuration.
    static QByteArray watchPage(const QJsonObject &args, int padding = 0)
    {
        return DemoPages::watchPage(args, {}, padding);
    }
    static QByteArray watchPlaylistPage(const QJsonObject &args, const QStringList &ids, int padding = 0)
    {
        return DemoPages::watchPage(args, DemoPages::numbered(ids), padding);
    }
    static QByteArray playlistPage(const QStringList &ids) { return DemoPages::playlistPage(DemoPages::numbered(ids)); }
    static QString streamMap(const QList<QPair<int, QString>> &itagAndUrl) { return DemoPages::streamMap(itagAndUrl); }

    // What "/stream?size=...&seed=..." sends, and its SHA-256 in hexadecimal.
    static QByteArray streamBytes(quint64 seed, qint64 offset, qint64 length);
    static QByteArray streamSha256(quint64 seed, qint64 size);

private:
    void addPages();
    void addRoutes();

    const Options m_options;
    const std::unique_ptr<httplib::Server> m_server;
    int m_listening = -1; // the server's socket
    std::thread m_thread;
    QString m_address;
    QString m_errorString;

    mutable std::mutex m_mutex; // guards what follows
    QHash<QString, Page> m_pages;
    QVector<Request> m_requests;
};
