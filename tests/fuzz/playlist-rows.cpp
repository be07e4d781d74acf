// The body of a playlist's page, of either kind, to the ids of its videos.

#include "fuzz/Fuzzing.h"
#include "youtube/PlaylistRows.h"

#include <QUrl>

int LLVMFuzzerInitialize(int *, char ***)
{
    silence();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QUrl watchPage(QStringLiteral("http://127.0.0.1/watch?v=a&list=b"));
    static const QUrl listPage(QStringLiteral("http://127.0.0.1/playlist?list=b"));
    const QByteArray body = inputOf(data, size);
    for (const QUrl &address : {watchPage, listPage}) {
        const QStringList ids = PlaylistRows::videoIds(body, address);
        FUZZ_VERIFY(ids.size() <= body.size());
        for (const QString &id : ids)
            FUZZ_VERIFY(!id.contains(QLatin1Char('"')) && !id.contains(QLatin1Char('\n')));
    }
    return 0;
}
