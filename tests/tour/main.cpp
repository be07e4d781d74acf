// Plays the tour, under a dark system palette if asked so, or looks at what its end has left:
//   fourfold-tour FOLDER [--dark | --check-options]

#include "tour/Tour.h"

#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "DemoSite.h"
#include "settings/CAppSetting.h"
#include "support/FaultServer.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QPalette>

#include <cstdio>

namespace {

constexpr int brokenStreamSize = 3000000; // bytes

void addBrokenVideo(DemoSite &site, const QString &streamAddress)
{
    DemoSite::Page page;
    page.body = DemoSite::watchPage(
        {{QStringLiteral("video_id"), QStringLiteral("broken")},
         {QStringLiteral("title"), QStringLiteral("A stream that breaks off")},
         {QStringLiteral("length_seconds"), QStringLiteral("61")},
         {QStringLiteral("url_encoded_fmt_stream_map"), DemoSite::streamMap({{22, streamAddress}})}});
    site.setPage(QStringLiteral("/watch?v=broken"), page);
}

int checkOptions()
{
    // The tour has dismissed an offer, and its normal exit has saved the date.
    if (CAppSetting::instance()->lastCheckDate == QDate::currentDate())
        return 0;
    std::puts("User.dat does not hold today as the date of the last offer.");
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2) {
        std::fputs("usage: fourfold-tour FOLDER [--dark | --check-options]\n", stderr);
        return 2;
    }
    if (arguments.value(2) == QLatin1String("--check-options"))
        return checkOptions();
    if (arguments.value(2) == QLatin1String("--dark"))
        QApplication::setPalette(QPalette(QColor(0x2a, 0x2e, 0x32), QColor(0x1b, 0x1e, 0x20)));

    // The tour's hand is quicker than any double-click.
    QApplication::setDoubleClickInterval(0);
    DemoSite::Options options;
    options.bytesPerSecond = 60000;
    DemoSite site(options);
    if (!site.start()) {
        std::fputs(qPrintable(site.errorString()), stderr);
        return 1;
    }
    // A stream whose third quarter is refused.
    FaultServer brokenStream(DemoSite::streamBytes(1, 0, brokenStreamSize));
    brokenStream.setStatus(403);
    brokenStream.setFault(FaultServer::Fault::Status, brokenStreamSize / 2, brokenStreamSize / 4 * 3 - 1, 1000);
    addBrokenVideo(site, brokenStream.address());
    qputenv("FOURFOLD_SITE", site.address().toLocal8Bit());
    const QDir folder(arguments.at(1));
    CAppSetting::instance()->outputPath = folder.filePath(QStringLiteral("videos/"));
    CAppSetting::instance()->updateAddress = site.updateAddress().arg(QStringLiteral("100"));

    Skin::registerResource();
    Skin::applyStyleSheet();
    SkMainWindow window;
    window.showMainWindow();
    Tour tour(site, window, folder);
    tour.start();
    return QApplication::exec();
}
