#include "app/InstanceFolder.h"
#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "framework/SelectPathWidget.h"
#include "framework/SkAboutDialog.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "support/Files.h"
#include "support/ScriptedServer.h"
#include "support/TestMain.h"
#include "support/TextTable.h"
#include "tour/Driver.h"
#include "ui/DownloaderWidget.h"
#include "ui/VideoInfo.h"
#include "ui/VideoUrlDialog.h"
#include "update/LiveUpdateDialog.h"

#include <QtSingleApplication>
#include <QtTest>
#include <QtWidgets>

#include <future>

#include <csignal>

#include <unistd.h>

namespace {

// A person's home and runtime folder, in which the application is started.
class Home final
{
public:
    explicit Home(const QString &runtime = "run"_s)
        : m_runtime(m_home.filePath(runtime))
    {
        QDir().mkpath(m_runtime.path());
        QFile::setPermissions(m_runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    [[nodiscard]] std::unique_ptr<QProcess> start(const QString &redirections = {})
    {
        // An instance makes it anew as soon as signals reach it.
        m_videos.removeRecursively();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME"_s, m_home.path());
        environment.insert("XDG_RUNTIME_DIR"_s, m_runtime.path());
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment);
        process->start("bash"_s, {"-c"_s, redirections + "exec \"$0\""_s, QStringLiteral(FOURFOLD_EXECUTABLE)});
        return process;
    }
    // What a further start says that is not needed.
    [[nodiscard]] QByteArray handOff()
    {
        const auto process = start();
        return endsWell(*process) && !isUp() ? process->readAllStandardError() : QByteArrayLiteral("not handed off");
    }
    static bool endsWell(QProcess &process, int signal = 0)
    {
        ::kill(pid_t(process.processId()), signal);
        return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }
    [[nodiscard]] bool isUp() const { return QDir(m_videos.path()).exists(); }
    [[nodiscard]] QString lock() const { return m_runtime.filePath(m_runtime.entryList({"*.lock"_s}).value(0)); }
    // Of a window that was shown and an instance that ended well.
    [[nodiscard]] QSize storedSize() const
    {
        const QString file = "Library/Application Support/Fourfold/Video Downloader/User.dat"_s;
        return QSettings(m_home.filePath(file), QSettings::IniFormat).value("windowSize"_s).toSize();
    }

private:
    const QTemporaryDir m_home{QDir::tempPath() + "/XXXXXX"_s};
    const QDir m_runtime;
    QDir m_videos{m_home.filePath("Videos"_s)};
};

// Without buttons in its moves, as from a child that has passed them on.
void send(QWidget &window, QEvent::Type type, const QPoint &pos)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, pos, window.mapToGlobal(pos), button, Qt::NoButton, {});
    QApplication::sendEvent(&window, &event);
}

void hover(QWidget &window, const QPoint &pos)
{
    QHoverEvent event(QEvent::HoverMove, pos, pos);
    QApplication::sendEvent(&window, &event);
}

} // namespace

class TestApp final : public QObject
{
    Q_OBJECT

public slots:
    void takeUrl(const QUrl &url) { m_opened += url; }

private slots:
    void initTestCase()
    {
        QApplication::setQuitOnLastWindowClosed(false);
        QDesktopServices::setUrlHandler("https"_s, this, "takeUrl");
        Skin::registerResource();
        Skin::applyStyleSheet();
    }
    void init()
    {
        m_setting->maximization = false;
        m_setting->windowSize = QSize(900, 600);
        m_setting->windowPoint = QPoint(40, 50);
        m_setting->updateAddress.clear();
    }

    // In a window of 100 by 80.
    void regions_data()
    {
        textTable("region", {"50 40 -> 0", "4 40 -> 4",   "5 40 -> 0",  "-1 40 -> 0", "96 40 -> 2", "100 40 -> 2",
                             "95 40 -> 0", "101 40 -> 0", "50 4 -> 1",  "50 5 -> 0",  "50 -1 -> 0", "50 76 -> 3",
                             "50 80 -> 3", "50 75 -> 0",  "50 81 -> 0", "2 2 -> 8",   "4 5 -> 4",   "5 4 -> 1",
                             "2 78 -> 7",  "96 4 -> 5",   "96 5 -> 2",  "96 76 -> 6", "95 76 -> 3"});
    }
    void regions()
    {
        const QList<QByteArray> words = QByteArray(QTest::currentDataTag()).split(' ');
        const QPoint pos(words.at(0).toInt(), words.at(1).toInt());
        QTEST(QString::number(WindowEdges::regionAt(pos, {100, 80})), "region");
        QString cursors;
        for (int region = 0; region < 9; ++region)
            cursors += QString::number(WindowEdges::cursorFor(WindowEdges::ResizeRegion(region)));
        QCOMPARE(cursors, "056567878"_s);
    }

    // Region and travel of the pointer from 300,200; then the window, which was 100,100 200x100, and the travel used.
    void drags_data()
    {
        textTable("window",
                  {"0 9 9 -> 100,100 200x100 0,0", "1 5 -20 -> 100,180 200x120 0,-20", "2 30 9 -> 100,100 230x100 30,0",
                   "3 9 30 -> 100,100 200x130 0,30", "4 -20 9 -> 280,100 220x100 -20,0",
                   "5 10 -20 -> 100,180 210x120 10,-20", "6 10 20 -> 100,100 210x120 10,20",
                   "7 -10 20 -> 290,100 210x120 -10,20", "8 -10 -20 -> 290,180 210x120 -10,-20",
                   "2 -149 0 -> 100,100 51x100 -149,0", "2 -150 0 -> 100,100 200x100 0,0",
                   "4 150 0 -> 100,100 200x100 0,0", "6 -500 20 -> 100,100 200x120 0,20",
                   "8 -10 60 -> 290,100 210x100 -10,0"});
    }
    void drags()
    {
        const QList<QByteArray> words = QByteArray(QTest::currentDataTag()).split(' ');
        const QPoint start(300, 200);
        const auto [window, last] =
            WindowEdges::dragged({QRect(100, 100, 200, 100), start}, WindowEdges::ResizeRegion(words.at(0).toInt()),
                                 start + QPoint(words.at(1).toInt(), words.at(2).toInt()), QSize(50, 40));
        const QPoint used = last - start;
        QTEST(QString::asprintf("%d,%d %dx%d %d,%d", window.x(), window.y(), window.width(), window.height(), used.x(),
                                used.y()),
              "window");
    }

    void edgesResizeTheWindow()
    {
        SkMainWindow window;
        window.move(120, 130);
        window.showMainWindow();
        const int y = window.height() / 2;
        const auto widthAfter = [&](QEvent::Type type, int x) {
            send(window, type, {x, y});
            return window.width();
        };
        hover(window, {805, y});
        QCOMPARE(window.cursor().shape(), Qt::SizeHorCursor);
        QCOMPARE(widthAfter(QEvent::MouseButtonPress, 805), 807);
        QCOMPARE(widthAfter(QEvent::MouseMove, 835), 837);
        hover(window, window.rect().center());
        QCOMPARE(widthAfter(QEvent::MouseMove, 845), 847);
        QCOMPARE(m_setting->windowSize, QSize(847, 473));
        QCOMPARE(widthAfter(QEvent::MouseButtonRelease, 845), 847);
        QCOMPARE(widthAfter(QEvent::MouseMove, 900), 847);
        // The release goes to a dialog that comes between.
        QCOMPARE(widthAfter(QEvent::MouseButtonPress, 845), 847);
        SkDialog dialog(&window);
        dialog.open();
        dialog.close();
        QCOMPARE(widthAfter(QEvent::MouseMove, 900), 847);
        // Through the window system, where the widgets at the edge are asked first.
        QTest::mouseMove(window.windowHandle(), {846, y});
        QTest::mouseMove(window.windowHandle(), {1, y});
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, {1, y});
        QTest::mouseMove(window.windowHandle(), {-9, y});
        QVERIFY(window.width() == 857 && window.x() < 120);
        QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, {1, y});
    }

    void startsNormal()
    {
        SkMainWindow window;
        window.showMainWindow();
        QCOMPARE(window.windowTitle(), m_setting->getFullProductName());
        QCOMPARE(named<QLabel>(&window, "title_label")->text(), window.windowTitle());
        QCOMPARE(window.size(), QSize(807, 473));
        QCOMPARE(m_setting->windowSize, window.size());
        constexpr auto buttons = Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint;
        QVERIFY(!(window.windowFlags() & buttons) && !window.windowIcon().isNull());
        for (const char *name : {"windowTitle_frame", "menuBar_frame", "framePage", "frameStatus"})
            QVERIFY2(!named<QFrame>(&window, name)->isVisible(), name);
        QVERIFY(named<DownloaderWidget>(&window, "page1")->isVisible());
        const auto *layout = window.findChild<QVBoxLayout *>("verticalLayout"_s);
        QCOMPARE(layout->itemAt(0)->widget()->objectName(), "windowTitle_frame"_s);
        const auto *menuBar = window.findChild<QMenuBar *>({}, Qt::FindDirectChildrenOnly);
        QVERIFY(menuBar && menuBar->isVisible() && menuBar->width() == window.width());
        QCOMPARE(window.centralWidget()->y(), menuBar->height());

        const QString skin = qApp->styleSheet();
        qApp->setStyleSheet({});
        QTest::keyClick(&window, Qt::Key_F11);
        QCOMPARE(qApp->styleSheet(), QString());
        QTest::keyClick(&window, Qt::Key_F12);
        QVERIFY(!skin.isEmpty() && qApp->styleSheet() == skin);
        QCOMPARE(QApplication::palette().color(QPalette::Link), QColor(0x0f, 0x6b, 0x6b));
    }

    void startsMaximised()
    {
        m_setting->maximization = true;
        SkMainWindow window;
        window.showMainWindow();
        const QSize screen = QGuiApplication::primaryScreen()->availableGeometry().size();
        QCOMPARE(QRect(window.pos(), window.size()), QRect({0, 0}, screen));
        hover(window, {2, 2});
        QCOMPARE(window.cursor().shape(), Qt::ArrowCursor);
        window.revertWindowSize();
        QCOMPARE(QRect(window.pos(), window.size()), QRect(40, 50, 900, 600));
    }

    void doubleClickInTheBandMaximises()
    {
        SkMainWindow window;
        window.move(120, 130);
        window.showMainWindow();
        const QRect before(window.pos(), window.size());
        const QRect screen({0, 0}, QGuiApplication::primaryScreen()->availableGeometry().size());
        const int band = named<QFrame>(&window, "title_frame")->height();
        const auto geometryAfter = [&](int y, Qt::MouseButton button) {
            QTest::mouseDClick(window.windowHandle(), button, {}, {400, y});
            return QRect(window.pos(), window.size());
        };
        QCOMPARE(geometryAfter(band, Qt::LeftButton), before);
        QCOMPARE(geometryAfter(band - 1, Qt::RightButton), before);
        QCOMPARE(geometryAfter(band - 1, Qt::LeftButton), screen);
        QVERIFY(m_setting->maximization);
        QCOMPARE(geometryAfter(0, Qt::LeftButton), before);
        QVERIFY(!m_setting->maximization);
    }

    void helpMenu()
    {
        SkMainWindow window;
        window.showMainWindow();
        const auto actions = window.findChild<QMenuBar *>()->actions().first()->menu()->actions();
        QString entries;
        for (const QAction *action : actions)
            entries += action->text() + QLatin1Char('|');
        QCOMPARE(entries, "Online Help||Check Update||About|"_s);
        actions.at(0)->trigger();
        QCOMPARE(m_opened, QList<QUrl>{QUrl(m_setting->helpURL)});
        actions.at(2)->trigger();
        const QPointer<LiveUpdateDialog> update = visibleTopLevel<LiveUpdateDialog>();
        QVERIFY(update);
        update->close();
        actions.at(2)->trigger();
        QCOMPARE(visibleTopLevel<LiveUpdateDialog>(), update.data());
        emit update->minimizeMainWindow();
        QVERIFY(window.isMinimized());
        update->close();
        Driver driver;
        driver.whenIdle([&] { actions.at(4)->trigger(); });
        driver.whenOpen<SkAboutDialog>([](SkAboutDialog *about) { QVERIFY(about->isModal() && about->close()); });
        QVERIFY2(driver.play(), qPrintable(driver.failure()));
    }

    void asksBeforeItLeavesDownloads()
    {
        const QTemporaryDir folder;
        m_setting->outputPath = folder.path();
        ScriptedServer server([](const Request &) { return Reply{200, {}, {}, Reply::Keep, 0, "1000"}; });
        Meta format(22, server.address());
        format.setSize(1000);
        VideoItem video;
        video.setAvailaibleFormats({format});
        SkMainWindow window;
        window.showMainWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
        QVERIFY(!window.isVisible());
        window.show();
        QMetaObject::invokeMethod(named<DownloaderWidget>(&window, "page1"), "onStartDownload", Q_ARG(VideoItem, video),
                                  Q_ARG(int, 22));
        for (const char *button : {"cancel_pushButton", "ok_pushButton"}) {
            Driver driver;
            driver.whenIdle([&] { window.close(); });
            driver.whenOpen<SkMessageBox>([button](SkMessageBox *box) {
                QCOMPARE(named<QPushButton>(box, "ok_pushButton")->text(), "Quit"_s);
                click(named<QPushButton>(box, button));
            });
            QVERIFY2(driver.play(), qPrintable(driver.failure()));
            QCOMPARE(window.isVisible(), *button == 'c');
        }
    }

    void messageBringsTheWindowToTheFront()
    {
        SkMainWindow window;
        window.showMainWindow();
        auto *application = qobject_cast<QtSingleApplication *>(qApp);
        application->setActivationWindow(&window, true);
        QSignalSpy messages(application, &QtSingleApplication::messageReceived);
        window.minimize();
        const auto sent = std::async(std::launch::async, [=] { return application->sendMessage("Wake up!"_s); });
        QTRY_VERIFY(!window.isMinimized() && window.isActiveWindow());
        QCOMPARE(messages, (QList<QVariantList>{{"Wake up!"_s}}));
        application->setActivationWindow(nullptr);
        application->activateWindow();
    }

    // The longest path of a socket is 107 bytes: the folder, Qt's detour of 8 and the name.
    void instancesMeetWhereASocketFits()
    {
        const QString cache = QDir::homePath() + "/.cache"_s;
        QVERIFY(QDir().mkpath(cache) && QFile::link(QDir::tempPath(), cache + "/fourfold"_s));
        for (const int length : {79, 80}) {
            const QString runtime = QDir(QDir::tempPath()).filePath({}).leftJustified(length, QLatin1Char('x'));
            QVERIFY(QDir().mkpath(runtime)
                    && QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
            qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
            QCOMPARE(instanceFolder(20),
                     length == 79 ? runtime : "%1/fourfold-%2"_s.arg(QDir::tempPath()).arg(::getuid()));
        }
    }

    void secondStartHandsOff()
    {
        Home home;
        const auto first = home.start();
        QTRY_VERIFY(home.isUp());
        QCOMPARE(home.handOff(), QByteArray());
        ::kill(pid_t(first->processId()), SIGSTOP);
        QCOMPARE(home.handOff(), "fourfold: another instance is running but does not answer\n");
        ::kill(pid_t(first->processId()), SIGCONT);
        QVERIFY(Home::endsWell(*first, SIGTERM));
    }

    void whatACrashLeaves_data()
    {
        textTable("meet", {"lock -> yes", "garbage -> yes", " -> yes", "long path -> yes", "folder -> no"});
    }
    void whatACrashLeaves()
    {
        QFETCH(QString, meet);
        const QByteArray left = QTest::currentDataTag();
        Home home(left == "long path" ? QString(100, QLatin1Char('x')) : "run"_s);
        const auto crashed = home.start();
        QTRY_VERIFY(home.isUp());
        crashed->kill();
        QVERIFY(crashed->waitForFinished());
        const QString lock = home.lock();
        if (left != "lock" && left != "long path")
            QVERIFY(QFile::remove(lock) && (left == "folder" ? QDir().mkpath(lock) : writeFile(lock, left)));
        const auto next = home.start();
        QTRY_VERIFY(home.isUp());
        if (meet == "yes"_s)
            QCOMPARE(home.handOff(), QByteArray());
        QVERIFY(Home::endsWell(*next, SIGTERM));
        QCOMPARE(home.storedSize(), QSize(807, 473));
    }

    // A signal ends the application well, even without streams or when nobody reads them.
    void endsBySignal_data()
    {
        textTable("redirections", {"15 -> ", "2 -> exec <&- >&- 2>&-; ", "1 -> exec 9> >(:); wait $!; exec 2>&9; "});
    }
    void endsBySignal()
    {
        QFETCH(QString, redirections);
        Home home;
        const auto process = home.start(redirections);
        QTRY_VERIFY(home.isUp());
        const QString output = QFile::symLinkTarget("/proc/%1/fd/1"_s.arg(process->processId()));
        QVERIFY(!redirections.contains(">&-"_s) || output == "/dev/null"_s);
        QVERIFY(Home::endsWell(*process, QByteArray(QTest::currentDataTag()).toInt()));
        QCOMPARE(home.storedSize(), QSize(807, 473));
    }

    void everyNameInTheSkinIsInAWindow()
    {
        const SkMainWindow window;
        const VideoUrlDialog url(false, nullptr);
        const VideoInfo formats({}, nullptr);
        const SkMessageBox box(nullptr);
        const SkAboutDialog about;
        const LiveUpdateDialog update;
        const SelectPathWidget picker;
        const QVector<const QWidget *> windows{&window, &url, &formats, &box, &about, &update, &picker};
        for (const QWidget *each : windows) {
            const auto *frame = named<QFrame>(each, "bottomButton_frame");
            QVERIFY(!frame || frame->isHidden());
        }
        // Colours look alike.
        const QRegularExpression name("#(?![0-9a-f]{6}\\b)(\\w+)"_s);
        for (auto matches = name.globalMatch(qApp->styleSheet()); matches.hasNext();) {
            const QByteArray selected = matches.next().captured(1).toLatin1();
            QVERIFY2(std::any_of(windows.begin(), windows.end(),
                                 [&](const auto *each) { return named<QWidget>(each, selected.constData()); }),
                     selected.constData());
        }
    }

private:
    CAppSetting *const m_setting = CAppSetting::instance();
    QList<QUrl> m_opened;
};

FOURFOLD_TEST_MAIN(QtSingleApplication, TestApp)

#include "tst_app.moc"
