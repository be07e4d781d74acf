// The body of a watch page to the player configuration that it embeds, the record of its video, and a file name of its
// title. Nothing is asked for over the network, since the process is in the state of one that is about to quit.

#include "fuzz/Fuzzing.h"
#include "settings/FileNames.h"
#include "youtube/NetworkManager.h"
#include "youtube/PlayerConfig.h"
#include "youtube/VideoItem.h"

#include <QCoreApplication>
#include <QJsonObject>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTimer>
#include <QUrl>

#include <memory>

void start(int &argc, char **argv)
{
    static QCoreApplication application(argc, argv);
    QTcpServer silent;
    FUZZ_VERIFY(silent.listen(QHostAddress::LocalHost));
    QTimer::singleShot(0, &application, &QCoreApplication::quit);
    QUrl address(QStringLiteral("http://127.0.0.1:%1/").arg(silent.serverPort()));
    const std::unique_ptr<QNetworkReply> reply(NetworkManager::getInstance()->head(address));
    FUZZ_VERIFY(NetworkManager::getInstance()->isInterrupted());
}

void check(const QByteArray &body)
{
    std::optional<QJsonObject> config = PlayerConfig::fromPage(body);
    if (!config)
        return;
    FUZZ_VERIFY(body.contains("ytplayer.config = ") && body.contains(";ytplayer.load"));
    const VideoItem video(*config);
    video.printInfo();
    FUZZ_VERIFY(!video.getAvailaibleFormats().isEmpty());
    FUZZ_VERIFY(video.getLength().size() >= int(sizeof("00:00:00")) - 1);
    for (const Meta &format : video.getAvailaibleFormats()) {
        FUZZ_VERIFY(format.getSize() == 0);
        const QString name =
            Utility::ReplaceBadCharOfFileName(video.getTitle() + QLatin1Char('.') + format.getExtension());
        FUZZ_VERIFY(!name.contains(QLatin1Char('/')) && name != QLatin1String(".."));
    }
}
