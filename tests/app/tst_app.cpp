#include "app/MainWidget.h"
#include "app/MyStatusBar.h"
#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "DemoSite.h"
#include "framework/SkAboutDialog.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "support/Driver.h"
#include "ui/DownloaderWidget.h"
#include "ui/VideoInfo.h"
#include "ui/VideoUrlDialog.h"
#include "update/LiveUpdateDialog.h"

#include <QAccessible>
#include <QDesktopServices>
#include <QFile>
#include <QHoverEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QtSingleApplication>
#include <QWindow>

#include <functional>
#include <memory>
#include <vector>

Q_DECLARE_METATYPE(Qt::MouseButton)

namespace {

// The application with a folder, a home and a runtime folder of its own, so that it is an instance of its own too.
class Installation final
{
public:
    Installation()
    {
        const QString source = QFileInfo(QStringLiteral(FOURFOLD_EXECUTABLE)).absolutePath();
        for (const char *folder : {"bin/icon", "home", "run"})
            QDir(m_folder.path()).mkpath(QString::fromLatin1(folder));
        QFile::setPermissions(path("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        for (const char *file : {"/fourfold", "/settings.dat", "/skin.rcc", "/icon/app.ico"})
            QFile::copy(source + QString::fromLatin1(file), path("bin") + QString::fromLatin1(file));
    }

    [[nodiscard]] QString path(const char *name) const { return m_folder.filePath(QString::fromLatin1(name)); }
    [[nodiscard]] QString optionFile(const QString &product) const
    {
        return path("home/Library/Application Support/") + product + QStringLiteral("/User.dat");
    }
    // A first instance takes messages as soon as its socket is there.
    [[nodiscard]] bool listens() const
    {
        return !QDir(path("run")).entryList({QStringLiteral("*.socket")}, QDir::System).isEmpty();
    }
    [[nodiscard]] std::unique_ptr<QProcess> start() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), path("home"));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), path("run"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(path("bin/fourfold"), QStringList());
        return process;
    }

private:
    QTemporaryDir m_folder;
};

bool isRunning(const std::unique_ptr<QProcess> &process)
{
    return process->state() != QProcess::NotRunning;
}

bool endedWell(QProcess &process)
{
    return (process.state() == QProcess::NotRunning || process.waitForFinished(10000))
        && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// A point of the window: the given part of its width and height, plus an offset.
QPoint pointOf(const QWidget &window, const QPointF &part, const QPoint &offset)
{
    return QPoint(int(window.width() * part.x()), int(window.height() * part.y())) + offset;
}

void hover(QWidget &window, const QPoint &pos)
{
    QHoverEvent event(QEvent::HoverMove, pos, pos);
    QApplication::sendEvent(&window, &event);
}

// As the window system does it: whatever lies under the pointer gets the events first.
void press(QWidget &window, const QPoint &pos)
{
    QTest::mouseMove(window.windowHandle(), pos);
    QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, pos);
}

void dragTo(QWidget &window, const QPoint &globalPos)
{
    QTest::mouseMove(window.windowHandle(), window.mapFromGlobal(globalPos));
}

void release(QWidget &window, const QPoint &globalPos)
{
    QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, window.mapFromGlobal(globalPos));
}

QAction *helpEntry(const SkMainWindow &window, int index)
{
    return window.findChild<QMenuBar *>()->actions().constFirst()->menu()->actions().value(index);
}

} // namespace

class TestApp final : public QObject
{
    Q_OBJECT

public slots:
    void takeUrl(const QUrl &url) { m_openedUrls += url; }

private slots:
    void initTestCase()
    {
        QVERIFY2(m_site.start(), qPrintable(m_site.errorString()));
        QApplication::setQuitOnLastWindowClosed(false);
        QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "takeUrl");
        Skin::registerResource();
        Skin::applyStyleSheet();
        QVERIFY(!qApp->styleSheet().isEmpty());
    }
    void init()
    {
        CAppSetting *setting = CAppSetting::instance();
        setting->maximization = false;
        setting->windowSize = QSize(300, 200);
        setting->windowPoint = QPoint(40, 50);
        setting->updateAddress = m_site.updateAddress().arg(QStringLiteral("100"));
    }

    void startsNormal()
    {
        SkMainWindow window;
        window.showMainWindow();
        QCOMPARE(window.windowTitle(), CAppSetting::instance()->getFullProductName());
        QCOMPARE(named<QLabel>(&window, "title_label")->text(), window.windowTitle());
        QVERIFY(!window.windowTitle().trimmed().isEmpty());
        QCOMPARE(window.size(), QSize(807, 473));
        QCOMPARE(CAppSetting::instance()->windowSize, window.size());
        for (const char *name : {"windowTitle_frame", "menuBar_frame", "framePage", "frameStatus"})
            QVERIFY2(!named<QFrame>(&window, name)->isVisible(), name);
        QVERIFY(named<MainWidget>(&window, "widgetMain")->isVisible());
    }

    void startsMaximised()
    {
        CAppSetting::instance()->maximization = true;
        SkMainWindow window;
        window.showMainWindow();
        QCOMPARE(window.pos(), QPoint(0, 0));
        QCOMPARE(window.size(), QGuiApplication::primaryScreen()->availableGeometry().size());
        QCOMPARE(CAppSetting::instance()->windowPoint, QPoint(40, 50));
        QCOMPARE(CAppSetting::instance()->windowSize, QSize(300, 200));

        hover(window, QPoint(2, 2));
        QCOMPARE(window.cursor().shape(), Qt::ArrowCursor);
        CAppSetting::instance()->windowSize = QSize(900, 600);
        window.revertWindowSize();
        QCOMPARE(window.pos(), QPoint(40, 50));
        QCOMPARE(window.size(), QSize(900, 600));
    }

    void doubleClickMaximises_data()
    {
        QTest::addColumn<int>("belowBand"); // pixels
        QTest::addColumn<Qt::MouseButton>("button");
        QTest::addColumn<bool>("toggles");
        QTest::newRow("top") << -1000 << Qt::LeftButton << true;
        QTest::newRow("last line of the band") << -1 << Qt::LeftButton << true;
        QTest::newRow("first line below the band") << 0 << Qt::LeftButton << false;
        QTest::newRow("right button") << -1 << Qt::RightButton << false;
    }
    void doubleClickMaximises()
    {
        QFETCH(int, belowBand);
        QFETCH(Qt::MouseButton, button);
        QFETCH(bool, toggles);
        SkMainWindow window;
        window.move(120, 130);
        window.showMainWindow();
        const QPoint posBefore = window.pos();
        const QRect before = window.geometry();
        const int band = named<QFrame>(&window, "title_frame")->height();
        QVERIFY(band > 0);
        const QPoint pos(window.width() / 2, qMax(0, band + belowBand));
        QTest::mouseDClick(window.windowHandle(), button, {}, pos);
        QCOMPARE(CAppSetting::instance()->maximization, toggles);
        const QSize screen = QGuiApplication::primaryScreen()->availableGeometry().size();
        QCOMPARE(window.pos(), toggles ? QPoint(0, 0) : posBefore);
        QCOMPARE(window.size(), toggles ? screen : before.size());
        if (!toggles)
            return;
        QCOMPARE(CAppSetting::instance()->windowPoint, posBefore);
        QTest::mouseDClick(window.windowHandle(), button, {}, pos);
        QVERIFY(!CAppSetting::instance()->maximization);
        QCOMPARE(window.geometry(), before);
        hover(window, QPoint(2, 200));
        QCOMPARE(window.cursor().shape(), Qt::SizeHorCursor);
    }

    void regions_data()
    {
        QTest::addColumn<QPointF>("part");
        QTest::addColumn<QPoint>("offset");
        QTest::addColumn<Qt::CursorShape>("cursor");
        const auto row = [](const char *name, double x, int dx, double y, int dy, Qt::CursorShape cursor) {
            QTest::newRow(name) << QPointF(x, y) << QPoint(dx, dy) << cursor;
        };
        row("middle", .5, 0, .5, 0, Qt::ArrowCursor);
        row("left", 0, 4, .5, 0, Qt::SizeHorCursor);
        row("right of left", 0, 5, .5, 0, Qt::ArrowCursor);
        row("outside left", 0, -1, .5, 0, Qt::ArrowCursor);
        row("right", 1, -4, .5, 0, Qt::SizeHorCursor);
        row("right border", 1, 0, .5, 0, Qt::SizeHorCursor);
        row("left of right", 1, -5, .5, 0, Qt::ArrowCursor);
        row("outside right", 1, 1, .5, 0, Qt::ArrowCursor);
        row("top", .5, 0, 0, 4, Qt::SizeVerCursor);
        row("below top", .5, 0, 0, 5, Qt::ArrowCursor);
        row("bottom", .5, 0, 1, -4, Qt::SizeVerCursor);
        row("above bottom", .5, 0, 1, -5, Qt::ArrowCursor);
        row("top left", 0, 2, 0, 2, Qt::SizeFDiagCursor);
        row("left below the corner", 0, 4, 0, 5, Qt::SizeHorCursor);
        row("top beside the corner", 0, 5, 0, 4, Qt::SizeVerCursor);
        row("bottom left", 0, 2, 1, -2, Qt::SizeBDiagCursor);
        row("bottom left border", 0, 0, 1, 0, Qt::SizeBDiagCursor);
        row("top right", 1, -4, 0, 4, Qt::SizeBDiagCursor);
        row("right below the corner", 1, -4, 0, 5, Qt::SizeHorCursor);
        row("bottom right", 1, -4, 1, -4, Qt::SizeFDiagCursor);
    }
    void regions()
    {
        QFETCH(QPointF, part);
        QFETCH(QPoint, offset);
        SkMainWindow window;
        window.showMainWindow();
        hover(window, pointOf(window, part, offset));
        QTEST(window.cursor().shape(), "cursor");
    }

    void drags_data()
    {
        QTest::addColumn<QPointF>("part");
        QTest::addColumn<QPoint>("offset");
        QTest::addColumn<QPoint>("travel");
        QTest::addColumn<QSize>("growth");
        QTest::addColumn<QPoint>("moves"); // 1 where the edge jumps to the pointer
        const auto row = [](const char *name, QPointF part, QPoint offset, QPoint travel, QSize growth, QPoint moves) {
            QTest::newRow(name) << part << offset << travel << growth << moves;
        };
        row("nowhere", {.5, .5}, {0, 0}, {30, 40}, {0, 0}, {0, 0});
        row("left", {0, .5}, {2, 0}, {-20, 7}, {20, 0}, {1, 0});
        row("right", {1, .5}, {-2, 0}, {30, 40}, {30, 0}, {0, 0});
        row("top", {.5, 0}, {0, 2}, {5, -15}, {0, 15}, {0, 1});
        row("bottom", {.5, 1}, {0, -2}, {9, 25}, {0, 25}, {0, 0});
        row("top left", {0, 0}, {2, 2}, {-10, -20}, {10, 20}, {1, 1});
        row("top right", {1, 0}, {-2, 2}, {10, -20}, {10, 20}, {0, 1});
        row("bottom left", {0, 1}, {2, -2}, {-10, 20}, {10, 20}, {1, 0});
        row("bottom right", {1, 1}, {-2, -2}, {10, 20}, {10, 20}, {0, 0});
        row("corner at its minimal width", {1, 1}, {-2, -2}, {-5000, 20}, {0, 20}, {0, 0});
    }
    void drags()
    {
        QFETCH(QPointF, part);
        QFETCH(QPoint, offset);
        QFETCH(QPoint, travel);
        QFETCH(QSize, growth);
        QFETCH(QPoint, moves);
        SkMainWindow window;
        window.move(200, 200);
        window.showMainWindow();
        const QPoint posBefore = window.pos();
        const QSize sizeBefore = window.size();
        const QPoint grip = pointOf(window, part, offset);
        const QPoint start = window.mapToGlobal(grip);
        press(window, grip);
        dragTo(window, start + travel);
        QCOMPARE(window.size(), sizeBefore + growth);
        QCOMPARE(window.x(), moves.x() ? start.x() + travel.x() : posBefore.x());
        QCOMPARE(window.y(), moves.y() ? start.y() + travel.y() : posBefore.y());
        // The region stays while the button is down, wherever the pointer is.
        hover(window, window.rect().center());
        dragTo(window, start + 2 * travel);
        QCOMPARE(window.size(), sizeBefore + 2 * growth);
        QCOMPARE(CAppSetting::instance()->windowSize, window.size());
        release(window, start + 2 * travel);
        dragTo(window, start + 3 * travel);
        QCOMPARE(window.size(), sizeBefore + 2 * growth);
    }

    // The skin lets hover events arrive.
    void hoverAloneResizesNothing()
    {
        SkMainWindow window;
        window.move(200, 200);
        window.showMainWindow();
        const auto *button = named<QToolButton>(&window, "addVideo");
        QTest::mouseMove(window.windowHandle(), window.rect().center());
        QCOMPARE(window.cursor().shape(), Qt::ArrowCursor);
        const int y = button->mapTo(&window, button->rect().center()).y();
        for (const int x : {3, 2, 1})
            QTest::mouseMove(window.windowHandle(), QPoint(x, y));
        QCOMPARE(window.cursor().shape(), Qt::SizeHorCursor);
        QCOMPARE(window.pos(), QPoint(200, 200));
        QCOMPARE(window.size(), QSize(807, 473));
    }

    void dragStopsAtTheMinimum()
    {
        SkMainWindow window;
        window.move(200, 200);
        window.setMinimumSize(701, 100);
        window.showMainWindow();
        const QPoint grip(window.width() - 2, window.height() / 2);
        const QPoint start = window.mapToGlobal(grip);
        press(window, grip);
        const QVector<QPair<int, int>> widthAt{{-50, 757},  {-105, 702}, {-106, 702},
                                               {-300, 702}, {-104, 703}, {5, 812}};
        for (const auto &[travel, width] : widthAt) {
            dragTo(window, start + QPoint(travel, 9));
            QCOMPARE(window.size(), QSize(width, 473));
        }
        release(window, start + QPoint(widthAt.last().first, 9));
    }

    void reloadsTheStyleSheet()
    {
        SkMainWindow window;
        window.showMainWindow();
        const QString skin = qApp->styleSheet();
        qApp->setStyleSheet(QStringLiteral("QLabel { color: red; }"));
        QTest::keyClick(&window, Qt::Key_F11);
        QVERIFY(qApp->styleSheet() != skin);
        QTest::keyClick(&window, Qt::Key_F12);
        QVERIFY(qApp->styleSheet() == skin);
    }

    void menuBarCoversNothing()
    {
        SkMainWindow window;
        window.showMainWindow();
        const auto *bar = window.findChild<QMenuBar *>();
        const auto *main = named<QFrame>(&window, "frameMain");
        QVERIFY(bar->isVisible() && !bar->isNativeMenuBar());
        QCOMPARE(bar->mapTo(&window, QPoint(0, 0)), QPoint(0, 0));
        QCOMPARE(bar->width(), window.width());
        QCOMPARE(main->mapTo(&window, QPoint(0, 0)).y(), bar->height());
    }

    void helpMenu()
    {
        SkMainWindow window;
        window.showMainWindow();
        const QAction *menu = window.findChild<QMenuBar *>()->actions().constFirst();
        QCOMPARE(menu->text(), QStringLiteral("Help"));
        QStringList entries;
        for (const QAction *action : menu->menu()->actions()) {
            entries += action->isSeparator() ? QStringLiteral("-") : action->text();
            QCOMPARE(action->icon().isNull(), action->isSeparator());
        }
        QCOMPARE(entries.join(QLatin1Char('|')), QStringLiteral("Online Help|-|Check Update|-|About"));

        helpEntry(window, 0)->trigger();
        QCOMPARE(m_openedUrls, QList<QUrl>{QUrl(CAppSetting::instance()->helpURL)});

        helpEntry(window, 2)->trigger();
        const QPointer<LiveUpdateDialog> update = visibleTopLevel<LiveUpdateDialog>();
        QVERIFY(update && update->parent() == &window);
        update->close();
        helpEntry(window, 2)->trigger();
        QCOMPARE(visibleTopLevel<LiveUpdateDialog>(), update.data());
        emit update->minimizeMainWindow();
        QVERIFY(window.isMinimized());
        update->close();

        Driver driver;
        bool isModal = false;
        driver.whenIdle([&] { helpEntry(window, 4)->trigger(); });
        driver.whenOpen<SkAboutDialog>([&](SkAboutDialog *dialog) {
            isModal = QApplication::activeModalWidget() == dialog;
            dialog->close();
        });
        QVERIFY2(driver.play(), qPrintable(driver.failure()));
        QVERIFY(isModal);
    }

    void pagesAndStatusBar()
    {
        MainWidget host;
        host.show();
        const auto *stack = named<QStackedWidget>(&host, "stackedWidget");
        auto *status = named<MyStatusBar>(&host, "widgetStatus");
        QVERIFY(named<DownloaderWidget>(&host, "page1")->isVisible());
        for (const auto page : {MainWidget::pageWelcome, MainWidget::page3, MainWidget::page2, MainWidget::page1}) {
            host.SwitchStackedPage(page);
            QCOMPARE(stack->currentIndex(), int(page));
            QCOMPARE(named<DownloaderWidget>(&host, "page1")->isVisible(), page == MainWidget::page1);
        }

        host.slotSetLeftStatuBarText(QStringLiteral("left"));
        status->SetMiddleLable(QStringLiteral("middle"));
        status->SetRightLable(QStringLiteral("right"));
        auto *more = new QLabel(QStringLiteral("more"));
        status->AddWidget(more);
        named<QFrame>(&host, "frameStatus")->show();
        QCoreApplication::processEvents();
        int x = -1;
        for (const char *name : {"labelLeft", "labelMiddle", "labelRight"}) {
            const auto *label = named<QLabel>(status, name);
            QCOMPARE(label->text(), QString::fromLatin1(name).mid(5).toLower());
            QVERIFY(label->mapTo(&host, QPoint(0, 0)).x() > x);
            x = label->mapTo(&host, QPoint(0, 0)).x();
        }
        QVERIFY(more->isVisible() && more->mapTo(&host, QPoint(0, 0)).x() > x);
    }

    void closes_data()
    {
        QTest::addColumn<bool>("isDownloading");
        QTest::addColumn<QString>("answer"); // the button of the question
        QTest::newRow("idle") << false << QString();
        QTest::newRow("downloads running, not after all") << true << QStringLiteral("cancel_pushButton");
        QTest::newRow("downloads running, all the same") << true << QStringLiteral("ok_pushButton");
    }
    void closes()
    {
        QFETCH(bool, isDownloading);
        QFETCH(QString, answer);
        const QTemporaryDir folder;
        CAppSetting::instance()->outputPath = folder.path();
        SkMainWindow window;
        window.showMainWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        if (isDownloading) {
            Meta format(22, m_site.address() + QStringLiteral("/stream?size=4000000&rate=50000"));
            format.setSize(4000000);
            VideoItem video;
            video.setTitle(QStringLiteral("slow"));
            video.setAvailaibleFormats({format});
            QMetaObject::invokeMethod(named<DownloaderWidget>(&window, "page1"), "onStartDownload",
                                      Q_ARG(VideoItem, video), Q_ARG(int, 22));
        }
        Driver driver;
        driver.whenIdle([&] { QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier); });
        if (isDownloading) {
            driver.whenOpen<SkMessageBox>(
                [&](SkMessageBox *box) { click(named<QPushButton>(box, qPrintable(answer))); });
        }
        QVERIFY2(driver.play(), qPrintable(driver.failure()));
        QCOMPARE(window.isVisible(), answer == QLatin1String("cancel_pushButton"));
    }

    // This executable is such an application itself, and its second start is the second instance.
    void messageBringsTheWindowToTheFront()
    {
        SkMainWindow window;
        window.showMainWindow();
        static_cast<QtSingleApplication *>(qApp)->setActivationWindow(&window, true);
        window.minimize();
        QVERIFY(window.isMinimized());
        QProcess second;
        second.start(QCoreApplication::applicationFilePath(), QStringList());
        QTRY_VERIFY(!window.isMinimized());
        QTRY_COMPARE(second.state(), QProcess::NotRunning);
        QCOMPARE(second.exitCode(), 0);
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }

    void secondLaunchHandsOff()
    {
        const Installation installation;
        const QString optionFile = installation.optionFile(QStringLiteral("Fourfold/Video Downloader"));
        const auto first = installation.start();
        QTRY_VERIFY(installation.listens());
        const auto second = installation.start();
        QVERIFY(endedWell(*second));
        QVERIFY(isRunning(first));

        first->kill();
        QVERIFY(first->waitForFinished());
        QVERIFY(!QFile::exists(optionFile));
        const auto third = installation.start();
        const auto fourth = installation.start();
        QTRY_VERIFY_WITH_TIMEOUT(isRunning(third) != isRunning(fourth), 10000);
        const auto &remaining = isRunning(third) ? third : fourth;
        QVERIFY(endedWell(*installation.start()));
        QVERIFY(isRunning(remaining));
        remaining->terminate();
        QVERIFY(endedWell(*remaining));
        // The window has been shown.
        const QSettings options(optionFile, QSettings::IniFormat);
        QCOMPARE(options.value(QStringLiteral("windowSize")).toSize(), QSize(807, 473));
    }

    void oneOfManyStays()
    {
        const Installation installation;
        std::vector<std::unique_ptr<QProcess>> all;
        for (int i = 0; i < 6; ++i)
            all.push_back(installation.start());
        const auto remaining = [&all] { return std::count_if(all.begin(), all.end(), isRunning); };
        QTRY_COMPARE_WITH_TIMEOUT(int(remaining()), 1, 20000);
        for (const auto &process : all) {
            if (isRunning(process))
                process->terminate();
            QVERIFY(endedWell(*process));
        }
    }

    void keepsTheOptions()
    {
        const Installation installation;
        const QString company = QStringLiteral("Acme & Söhne");
        QFile product(installation.path("bin/settings.dat"));
        QVERIFY(product.open(QIODevice::WriteOnly | QIODevice::Truncate));
        product.write(QStringLiteral("companyName=%1\r\nproductName=Box\r\n").arg(company).toUtf8());
        product.close();
        const QString optionFile = installation.optionFile(company + QStringLiteral("/Box"));
        QVERIFY(QDir().mkpath(QFileInfo(optionFile).path()));
        {
            QSettings options(optionFile, QSettings::IniFormat);
            options.setIniCodec("UTF-8");
            options.setValue(QStringLiteral("outputPath"), QStringLiteral("/tmp/Vidéos"));
            options.setValue(QStringLiteral("windowPoint"), QPoint(12, 34));
            options.setValue(QStringLiteral("windowSize"), QSize(900, 700));
            options.setValue(QStringLiteral("maximization"), true);
            options.setValue(QStringLiteral("lastCheckDate"), QDate(2024, 2, 29));
        }
        // The skin is not what keeps it from starting either.
        QVERIFY(QFile::remove(installation.path("bin/skin.rcc")));
        for (int run = 0; run < 2; ++run) {
            const auto process = installation.start();
            QTRY_VERIFY(installation.listens());
            QVERIFY(endedWell(*installation.start()));
            process->terminate();
            QVERIFY(endedWell(*process));
            QSettings options(optionFile, QSettings::IniFormat);
            options.setIniCodec("UTF-8");
            QCOMPARE(options.value(QStringLiteral("outputPath")).toString(), QStringLiteral("/tmp/Vidéos"));
            QCOMPARE(options.value(QStringLiteral("windowPoint")).toPoint(), QPoint(12, 34));
            QCOMPARE(options.value(QStringLiteral("windowSize")).toSize(), QSize(900, 700));
            QCOMPARE(options.value(QStringLiteral("maximization")).toBool(), true);
            QCOMPARE(options.value(QStringLiteral("lastCheckDate")).toDate(), QDate(2024, 2, 29));
        }
    }

    void everyControlHasAName_data()
    {
        QTest::addColumn<int>("window");
        QTest::newRow("main window") << 0;
        QTest::newRow("address dialog") << 1;
        QTest::newRow("format dialog") << 2;
        QTest::newRow("message box") << 3;
        QTest::newRow("about dialog") << 4;
        QTest::newRow("update dialog") << 5;
    }
    // What a screen reader would say of the controls, found by walking the accessibility tree as it does.
    void everyControlHasAName()
    {
        QFETCH(int, window);
        VideoItem video;
        video.setTitle(QStringLiteral("A title"));
        video.setAvailaibleFormats({Meta(22, {}), Meta(18, {})});
        std::unique_ptr<QWidget> widget;
        switch (window) {
        case 0:
            widget = std::make_unique<SkMainWindow>();
            named<DownloaderWidget>(widget.get(), "page1")->addTask(video, Meta(22, {}));
            break;
        case 1:
            widget = std::make_unique<VideoUrlDialog>(false, nullptr);
            break;
        case 2:
            widget = std::make_unique<VideoInfo>(video, nullptr);
            break;
        case 3:
            widget = std::make_unique<SkMessageBox>(nullptr, SkMessageBox::DialogType_Question, QStringLiteral("?"));
            break;
        case 4:
            widget = std::make_unique<SkAboutDialog>(nullptr);
            break;
        default:
            widget = std::make_unique<LiveUpdateDialog>(nullptr);
            break;
        }
        widget->show();

        QStringList nameless;
        int controls = 0;
        const std::function<void(QAccessibleInterface *)> walk = [&](QAccessibleInterface *element) {
            if (!element || element->state().invisible)
                return;
            static const QVector<QAccessible::Role> roles{QAccessible::Button,       QAccessible::ButtonMenu,
                                                          QAccessible::EditableText, QAccessible::MenuItem,
                                                          QAccessible::ProgressBar,  QAccessible::Table,
                                                          QAccessible::Tree,         QAccessible::ColumnHeader};
            if (roles.contains(element->role())) {
                ++controls;
                if (element->text(QAccessible::Name).isEmpty())
                    nameless += element->object() ? element->object()->objectName() : QString::number(element->role());
            }
            for (int i = 0; i < element->childCount(); ++i)
                walk(element->child(i));
        };
        walk(QAccessible::queryAccessibleInterface(widget.get()));
        QVERIFY2(nameless.isEmpty(), qPrintable(nameless.join(QStringLiteral(", "))));
        // Links in labels are the about dialog's only controls.
        QVERIFY(controls > 0 || window == 4);
    }

private:
    DemoSite m_site;
    QList<QUrl> m_openedUrls;
};

int main(int argc, char *argv[])
{
    QtSingleApplication application(argc, argv);
    if (application.isRunning()) {
        application.sendMessage(QStringLiteral("Wake up!"));
        return 0;
    }
    TestApp test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "tst_app.moc"
