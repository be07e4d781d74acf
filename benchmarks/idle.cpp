// How often the application wakes up and paints while it has nothing to do: fourfold-idle STATE SECONDS FOLDER SITE
// STREAM The state is open, downloaded, analysed or minimised; the site is the demo site, and the stream is downloaded.

#include "app/ProcessSetup.h"
#include "Figures.h"
#include "PaintCounter.h"
#include "RealWindow.h"
#include "Trust.h"
#include "ui/VideoUrlDialog.h"

#include <QLineEdit>

#include <cstdio>

namespace {

constexpr int settlingTime = 2000; // milliseconds

void download(RealWindow &window, const QString &address)
{
    window.startDownload(RealWindow::video(address, 1));
    window.waitForDownloads();
}

// Enters the address of a video, lets it be analysed, and closes the list of its formats.
void analyse(RealWindow &window, const QString &site)
{
    bool hasStarted = false;
    bool hasEnded = false;
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, &hand, [&] {
        QWidget *dialog = QApplication::activeModalWidget();
        auto *addressDialog = qobject_cast<VideoUrlDialog *>(dialog);
        if (addressDialog && !hasStarted) {
            hasStarted = true;
            addressDialog->setAddress(site + QStringLiteral("/watch?v=testcard-01"));
            // Queued, since a timer is not served again while it is being served, and the analysis waits for the hand.
            QMetaObject::invokeMethod(addressDialog, "on_btnGo_clicked", Qt::QueuedConnection);
        } else if (dialog && !addressDialog) {
            hasEnded = true;
            dialog->close();
        }
    });
    hand.start(10);
    QMetaObject::invokeMethod(&window.page(), "on_addVideo_clicked");
    if (!hasEnded)
        qFatal("no formats were shown");
}

} // namespace

int main(int argc, char *argv[])
{
    ProcessSetup::prepare();
    const QApplication application(argc, argv);
    Trust::benchmarkAuthority();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 6) {
        std::fputs("usage: fourfold-idle STATE SECONDS FOLDER SITE STREAM\n", stderr);
        return 2;
    }
    const QString &state = arguments.at(1);
    const int seconds = arguments.at(2).toInt();
    qputenv("FOURFOLD_SITE", arguments.at(4).toUtf8());

    RealWindow window(arguments.at(3));
    // Nothing else makes a window the active one where there is no window manager.
    QApplication::setActiveWindow(&window.window());
    if (state == QLatin1String("focused"))
        window.page().findChild<QLineEdit *>()->setFocus();
    else if (state == QLatin1String("downloaded"))
        download(window, arguments.at(5));
    else if (state == QLatin1String("analysed"))
        analyse(window, arguments.at(4));
    else if (state == QLatin1String("minimised"))
        window.window().showMinimized();
    RealWindow::settle(settlingTime);

    const PaintCounter paints(window.window());
    const double processorBefore = Figures::processorSeconds();
    const long switchesBefore = Figures::contextSwitches();
    RealWindow::settle(seconds * 1000);
    Figures::print({{QStringLiteral("wakeUps"), double(Figures::contextSwitches() - switchesBefore) / seconds},
                    {QStringLiteral("paints"), double(paints.widgets) / seconds},
                    {QStringLiteral("processor"), (Figures::processorSeconds() - processorBefore) / seconds}});
    return 0;
}
