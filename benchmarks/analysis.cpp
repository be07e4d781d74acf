// Processor time of reading pages of several sizes, without network and probes; prints one line for each page.

#include "Figures.h"

#include "DemoSite.h"
#include "youtube/PlayerConfig.h"
#include "youtube/PlaylistRows.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QUrl>

#include <algorithm>
#include <vector>

namespace {

constexpr int repetitions = 15;
constexpr int formats = 20;

template <class Action> void measure(const char *page, int amount, qint64 bytes, Action action)
{
    std::vector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        const double before = Figures::threadMilliseconds();
        action();
        times.push_back(Figures::threadMilliseconds() - before);
    }
    const double first = times.front();
    std::sort(times.begin(), times.end());
    Figures::print({{QStringLiteral("page"), QLatin1String(page)},
                    {QStringLiteral("amount"), amount},
                    {QStringLiteral("bytes"), bytes},
                    {QStringLiteral("first"), first},
                    {QStringLiteral("median"), times.at(times.size() / 2)},
                    {QStringLiteral("spread"), QJsonArray{times.front(), times.back()}}});
}

QJsonObject playerArguments()
{
    QList<QPair<int, QString>> streams;
    for (int i = 0; i < formats; ++i) {
        streams.append({i,
                        QStringLiteral("http://127.0.0.1/stream?id=%1&signature=%2")
                            .arg(QString::number(i), QString(600, QLatin1Char('f')))});
    }
    return {{QStringLiteral("video_id"), QStringLiteral("video")},
            {QStringLiteral("title"), QStringLiteral("A title")},
            {QStringLiteral("length_seconds"), QStringLiteral("600")},
            {QStringLiteral("url_encoded_fmt_stream_map"), DemoSite::streamMap(streams)}};
}

QStringList videoIds(int count)
{
    QStringList ids;
    for (int i = 0; i < count; ++i)
        ids.append(QStringLiteral("video%1").arg(i, 6, 10, QLatin1Char('0')));
    return ids;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QJsonObject arguments = playerArguments();
    bool allRead = true;

    for (const int kilobytes : {250, 1000, 5000}) {
        const QByteArray page = DemoSite::watchPage(arguments, kilobytes * 1000);
        measure("watch", kilobytes, page.size(), [&] {
            const auto config = PlayerConfig::fromPage(page);
            allRead = allRead && config && !config->isEmpty();
        });
    }
    const QUrl playlistAddress(QStringLiteral("http://127.0.0.1/playlist?list=L"));
    const QUrl watchAddress(QStringLiteral("http://127.0.0.1/watch?v=V&list=L"));
    for (const int rows : {50, 200, 800}) {
        const QByteArray page = DemoSite::playlistPage(videoIds(rows));
        measure("playlist", rows, page.size(),
                [&] { allRead = allRead && PlaylistRows::videoIds(page, playlistAddress).size() == rows; });
    }
    for (const int rows : {50, 200, 800}) {
        const QByteArray page = DemoSite::watchPlaylistPage(arguments, videoIds(rows), 1000000);
        measure("watch with playlist", rows, page.size(),
                [&] { allRead = allRead && PlaylistRows::videoIds(page, watchAddress).size() == rows; });
    }
    return allRead ? 0 : 1;
}
