// Plays the tour, under a dark system palette if asked so, or looks at what its end has left:
//   fourfold-tour FOLDER [--dark | --check-options]

#include "tour/Tour.h"

#include "app/ProcessSetup.h"
#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "DemoSite.h"
#include "settings/CAppSetting.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QPalette>
#include <QTextStream>

int main(int argc, char *argv[])
{
    ProcessSetup::prepare();
    QApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    const QStringList arguments = QCoreApplication::arguments();
    // The tour has dismissed an offer, and its normal exit has saved the date.
    if (arguments.value(2) == QLatin1String("--check-options"))
        return CAppSetting::instance()->lastCheckDate == QDate::currentDate() ? 0 : 1;
    if (arguments.value(2) == QLatin1String("--dark"))
        QApplication::setPalette(QPalette(QColor(0x2a, 0x2e, 0x32), QColor(0x1b, 0x1e, 0x20)));

    DemoSite site({0, 60000});
    if (!site.start()) {
        QTextStream(stderr) << site.errorString() << '\n';
        return 1;
    }
    qputenv("FOURFOLD_SITE", site.address().toLocal8Bit());
    const QDir folder(arguments.value(1));
    CAppSetting::instance()->outputPath = folder.filePath(QStringLiteral("videos/"));
    CAppSetting::instance()->updateAddress = site.updateAddress().arg(QStringLiteral("100"));

    Skin::registerResource();
    Skin::applyStyleSheet();
    SkMainWindow window;
    window.showMainWindow();
    Tour tour(site, window, folder);
    QTimer::singleShot(0, &window, [&tour] { QCoreApplication::exit(tour.play() ? 0 : 1); });
    return QApplication::exec();
}
