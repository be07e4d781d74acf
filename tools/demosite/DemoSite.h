#pragma once

#include <mutex>

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

#include "DemoPages.h"
#include "HttpServer.h"

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

    // A fixed answer, sent whole whatever range is asked for.
    // A "Content-Length" among the headers counts for HEAD and for empty bodies.
    struct Page
    {
        int status = 200;
        QByteArray body;
        QByteArray contentType = QByteArrayLiteral("text/html; charset=utf-8");
        QList<QPair<QByteArray, QByteArray>> headers;
    };

    using Request = HttpRequest;

    DemoSite();
    explicit DemoSite(const Options &options);
    // Breaks off whatever is still running.
    ~DemoSite();

    // On false, errorString() tells why.
    bool start();
    QString errorString() const;
    QString address() const; // "http://127.0.0.1:PORT"

    // Adds or replaces an answer; a request is matched with its query first, then by its path alone.
    void setPage(const QString &pathAndQuery, const Page &page);
    // What "/update" answers in place of the offer of version 9.0.0.
    void setUpdateReply(const QByteArray &body, int status = 200);

    // Every GET and HEAD so far, in the order of arrival; each is recorded before it is answered.
    QVector<Request> requests() const;
    void clearRequests();

    QString videoAddress() const;
    QString playlistAddress() const;
    QString watchPlaylistAddress() const;
    QString updateAddress() const; // with %1 for the digits of the version
    QStringList demoVideoIds() const;
    // Three of the videos, in the order of the playlist.
    QStringList playlistVideoIds() const;
    // Empty for an unknown id or itag.
    QString mediaFileFor(const QString &videoId, int itag) const;
    // The bytes of a file of the media folder, null when there is none.
    QByteArray mediaFile(const QString &name) const;

    // "args" is the object of that name in the player configuration.
    static QByteArray watchPage(const QJsonObject &args, int paddingBytes = 0);
    static QByteArray watchPlaylistPage(const QJsonObject &args, const QStringList &ids, int paddingBytes = 0);
    static QByteArray playlistPage(const QStringList &ids);
    static QString streamMap(const QList<QPair<int, QString>> &itagAndUrl);

    // What "/stream?size=...&seed=..." sends, and its SHA-256 in hexadecimal.
    static QByteArray streamBytes(quint64 seed, qint64 offset, qint64 length);
    static QByteArray streamSha256(quint64 seed, qint64 size);

private:
    bool loadMedia();
    HttpAnswer answer(const Request &request);
    HttpAnswer indexPage() const;
    HttpAnswer watchPageFor(const QString &id, const QString &list) const;
    HttpAnswer mediaStream(const QString &name) const;
    HttpAnswer randomStream(const QString &query) const;
    HttpAnswer updateReply() const;
    HttpAnswer redirect(int status, const QString &target) const;
    QJsonObject argsOf(const QString &id) const;
    QString streamAddress(const QString &id, int itag) const;
    QList<DemoPages::Row> playlistRows() const;

    const Options m_options;
    QHash<QString, QByteArray> m_media;
    QString m_errorString;

    mutable std::mutex m_mutex; // guards what follows, up to the server
    QHash<QString, Page> m_pages;
    QVector<Request> m_requests;
    Page m_updateReply;
    bool m_updateReplySet = false;

    HttpServer m_server; // the last member, so that no request outlives what it reads
};
