#include "DemoSite.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "support/Driver.h"
#include "support/FaultServer.h"
#include "support/ProcessFigures.h"
#include "ui/DownloaderWidget.h"
#include "ui/SizeText.h"
#include "ui/VideoInfo.h"
#include "ui/VideoUrlDialog.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QMovie>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QResource>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>
#include <QToolButton>
#include <QTreeWidget>

#include <memory>

namespace {

const QString noVideoText = QStringLiteral("No video found in the Youtube url.");
const QStringList editingControls{QStringLiteral("lUrl"), QStringLiteral("urlLineEdit"), QStringLiteral("btnGo")};
const QStringList analysingControls{QStringLiteral("lUrl"), QStringLiteral("urlLineEdit"), QStringLiteral("btnCancel"),
                                    QStringLiteral("status_label"), QStringLiteral("movie_label")};

// Takes requests on loopback and answers only when it is told to. Lives on the thread of the test.
class HeldServer final : public QTcpServer
{
public:
    HeldServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
                    if (socket->readAll().endsWith("\r\n\r\n"))
                        m_waiting.append(socket);
                });
            }
        });
    }

    [[nodiscard]] QString address() const { return QStringLiteral("http://127.0.0.1:%1/held").arg(serverPort()); }
    [[nodiscard]] int waiting() const { return m_waiting.size(); }
    void answer(const QByteArray &status, const QByteArray &body = {})
    {
        for (QTcpSocket *socket : qAsConst(m_waiting))
            socket->write("HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n"
                          + body);
        m_waiting.clear();
    }

private:
    QVector<QTcpSocket *> m_waiting;
};

// Keeps the class names of the windows that appear.
class WindowLog final : public QObject
{
public:
    WindowLog() { qApp->installEventFilter(this); }
    QStringList shown;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched->isWidgetType() && static_cast<QWidget *>(watched)->isWindow())
            shown += QString::fromLatin1(watched->metaObject()->className());
        return false;
    }
};

// What a person reads on the label, whether its text is markup or not.
QString readable(const QLabel *label)
{
    QTextDocument document;
    if (Qt::mightBeRichText(label->text()))
        document.setHtml(label->text());
    else
        document.setPlainText(label->text());
    return document.toPlainText();
}

// A message is read and confirmed.
void confirmMessage(Driver &driver, QString *shown)
{
    driver.whenOpen<SkMessageBox>([shown](SkMessageBox *box) {
        *shown = readable(named<QLabel>(box, "text_label"));
        click(named<QPushButton>(box, "ok_pushButton"));
    });
}

QStringList visibleControls(const VideoUrlDialog *dialog)
{
    QStringList names;
    for (const char *name : {"lUrl", "urlLineEdit", "btnGo", "btnCancel", "status_label", "movie_label"}) {
        if (named<QWidget>(dialog, name)->isVisible())
            names += QString::fromLatin1(name);
    }
    return names;
}

void analyse(VideoUrlDialog *dialog, const QString &address)
{
    auto *edit = named<QLineEdit>(dialog, "urlLineEdit");
    edit->clear();
    type(edit, address);
    click(named<QPushButton>(dialog, "btnGo"));
}

// As a person who presses a button of the page and enters an address.
void openAndAnalyse(Driver &driver, DownloaderWidget &page, const char *button, const QString &address)
{
    driver.whenIdle([&page, button] { click(named<QToolButton>(&page, button)); });
    driver.whenOpen<VideoUrlDialog>([address](VideoUrlDialog *dialog) { analyse(dialog, address); });
}

QPushButton *downloadButton(VideoInfo *dialog, int row)
{
    return qobject_cast<QPushButton *>(named<QTableWidget>(dialog, "tableWidget")->cellWidget(row, 6));
}

QString titleIn(VideoInfo *dialog)
{
    return dialog ? named<QTableWidget>(dialog, "tableWidget")->item(0, 1)->text() : QString();
}

// A format is written as "itag extension resolution size"; a dot stands for no resolution.
VideoItem videoWith(const QStringList &formats)
{
    QList<Meta> metas;
    for (const QString &format : formats) {
        const QStringList words = format.split(QLatin1Char(' '));
        Meta meta;
        meta.setItag(words.at(0).toInt());
        meta.setExtension(words.at(1));
        meta.setResolution(words.at(2) == QLatin1String(".") ? QString() : words.at(2));
        meta.setSize(words.at(3).toInt());
        meta.setHumanReadableSize(words.at(3) + QStringLiteral(" bytes"));
        metas += meta;
    }
    VideoItem video;
    video.setVideoId(QStringLiteral("id"));
    video.setTitle(QStringLiteral("A title"));
    video.setLength(QStringLiteral("00:00:12"));
    video.setAvailaibleFormats(metas);
    return video;
}

VideoItem streamVideo(const QString &title, const QString &address, int size)
{
    VideoItem video = videoWith({QStringLiteral("22 mp4 1280X720 %1").arg(size)});
    QList<Meta> formats = video.getAvailaibleFormats();
    formats.first().setUrl(address);
    video.setTitle(title);
    video.setAvailaibleFormats(formats);
    return video;
}

void startDownload(DownloaderWidget &page, const VideoItem &video, int itag = 22)
{
    QMetaObject::invokeMethod(&page, "onStartDownload", Q_ARG(VideoItem, video), Q_ARG(int, itag));
}

QTreeWidget *taskList(const DownloaderWidget &page)
{
    return named<QTreeWidget>(&page, "treeWidget");
}

QProgressBar *barOf(const DownloaderWidget &page, int row)
{
    QTreeWidget *list = taskList(page);
    return qobject_cast<QProgressBar *>(list->itemWidget(list->topLevelItem(row), 5));
}

bool allFinished(const DownloaderWidget &page, int rows)
{
    const QTreeWidget *list = taskList(page);
    int finished = 0;
    for (int row = 0; row < list->topLevelItemCount(); ++row)
        finished += list->topLevelItem(row)->text(5) == QLatin1String("Finished") ? 1 : 0;
    return list->topLevelItemCount() == rows && finished == rows;
}

QStringList rowTexts(const QTreeWidgetItem *row)
{
    QStringList texts;
    for (int column = 0; column < 6; ++column)
        texts += row->text(column);
    return texts;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

} // namespace

class TestUi final : public QObject
{
    Q_OBJECT

public slots:
    void takeUrl(const QUrl &url) { m_openedUrls += url; }

private slots:
    void initTestCase()
    {
        // Clicks in quick succession are meant here, and no double-clicks.
        QApplication::setDoubleClickInterval(0);
        QVERIFY2(m_site.start(), qPrintable(m_site.errorString()));
        qputenv("FOURFOLD_SITE", m_site.address().toUtf8());
        QResource::registerResource(QCoreApplication::applicationDirPath() + QStringLiteral("/skin.rcc"));
        // Outside exec() a quit would end every later wait at once.
        QApplication::setQuitOnLastWindowClosed(false);
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "takeUrl");

        DemoSite::Page page;
        page.body = DemoSite::watchPage({});
        m_site.setPage(QStringLiteral("/invalid"), page);
        page.body = "<html>ytplayer.config but no video</html>";
        m_site.setPage(QStringLiteral("/plain"), page);
        page.body = DemoSite::playlistPage({m_site.demoVideoIds().constFirst(), QStringLiteral("nobody")});
        m_site.setPage(QStringLiteral("/odd-playlist"), page);
    }
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        CAppSetting::instance()->outputPath = m_folder->path();
        m_site.clearRequests();
        m_openedUrls.clear();
    }

    void sizeTexts_data()
    {
        QTest::addColumn<qint64>("bytes");
        const qint64 sizes[] = {-1, 0, 1, 1024, 1025, 1048576, 1048577, 1073741824, 1073741825, 1610612736};
        const char *const texts[] = {"N/A",       "N/A",    "1B",        "1024B",  "1.00KB",
                                     "1024.00KB", "1.00MB", "1024.00MB", "1.00GB", "1.50GB"};
        for (size_t i = 0; i < std::size(sizes); ++i)
            QTest::newRow(texts[i]) << sizes[i];
    }
    void sizeTexts()
    {
        QFETCH(qint64, bytes);
        QCOMPARE(formatSize(bytes), QString::fromLatin1(QTest::currentDataTag()));
    }

    void urlDialogAtFirst_data()
    {
        QTest::addColumn<bool>("playlist");
        QTest::addColumn<QString>("kind");
        QTest::newRow("video") << false << QStringLiteral("Video");
        QTest::newRow("playlist") << true << QStringLiteral("Playlist");
    }
    void urlDialogAtFirst()
    {
        QFETCH(bool, playlist);
        QFETCH(QString, kind);
        VideoUrlDialog dialog(playlist, nullptr);
        dialog.show();
        auto *edit = named<QLineEdit>(&dialog, "urlLineEdit");
        auto *go = named<QPushButton>(&dialog, "btnGo");
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Youtube %1 Url").arg(kind));
        QCOMPARE(edit->placeholderText(), QStringLiteral("Please copy and paste the url of Youtube %1 here").arg(kind));
        QCOMPARE(visibleControls(&dialog), editingControls);

        QVERIFY(!go->isEnabled());
        QTest::keyClick(edit, Qt::Key_Return);
        QCOMPARE(visibleControls(&dialog), editingControls);
        QVERIFY(dialog.isVisible());
        type(edit, QStringLiteral("x"));
        QVERIFY(go->isEnabled());
        QTest::keyClick(edit, Qt::Key_Backspace);
        QVERIFY(!go->isEnabled());
    }

    void analysisEnds_data()
    {
        QTest::addColumn<bool>("playlist");
        QTest::addColumn<QString>("address");
        QTest::addColumn<int>("videos");
        QTest::addColumn<QString>("message"); // or the reason within the failure message
        QTest::addColumn<bool>("isFailure");

        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        const QString unreachable = QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort());
        server.close();
        const QString site = m_site.address();
        const auto found = [](const char *name, bool playlist, const QString &address, int videos) {
            QTest::newRow(name) << playlist << address << videos << QString() << false;
        };
        const auto notFound = [](const char *name, bool playlist, const QString &address) {
            QTest::newRow(name) << playlist << address << 0 << noVideoText << false;
        };
        const auto failed = [](const char *name, bool playlist, const QString &address, const QString &reason) {
            QTest::newRow(name) << playlist << address << 0 << reason << true;
        };
        found("video", false, m_site.videoAddress(), 1);
        found("address without a scheme", false, m_site.videoAddress().mid(int(sizeof("http://")) - 1), 1);
        found("playlist", true, m_site.playlistAddress(), 3);
        found("watch page with a playlist", true, m_site.watchPlaylistAddress(), 3);
        notFound("no configuration", false, site + QStringLiteral("/plain"));
        notFound("video without id and title", false, site + QStringLiteral("/invalid"));
        notFound("empty playlist", true, site + QStringLiteral("/playlist?list=NONE"));
        notFound("playlist with a page that has no video", true, site + QStringLiteral("/odd-playlist"));
        failed("missing page", false, site + QStringLiteral("/missing"),
               QStringLiteral("Error transferring %1/missing - server replied: Not Found").arg(site));
        failed("missing playlist", true, site + QStringLiteral("/gone?a=%252"),
               QStringLiteral("Error transferring %1/gone?a=%252 - server replied: Not Found").arg(site));
        failed("no server", false, unreachable, QStringLiteral("Connection refused"));
        failed("blank", false, QStringLiteral(" "), QStringLiteral("Protocol \"\" is unknown"));
    }
    void analysisEnds()
    {
        QFETCH(bool, playlist);
        QFETCH(QString, address);
        QFETCH(QString, message);
        QFETCH(bool, isFailure);
        if (isFailure)
            message = QStringLiteral("Analyze the Youtube url failed: ") + message
                + QStringLiteral(". Please check your network connection.");

        VideoUrlDialog dialog(playlist, nullptr);
        QVector<VideoItem> received;
        int signalCount = 0;
        connect(&dialog, &VideoUrlDialog::signalGetVideo, this, [&](const VideoItem &video) {
            ++signalCount;
            received += video;
            QVERIFY(!dialog.isVisible());
        });
        connect(&dialog, &VideoUrlDialog::signalGetPlayList, this, [&](const QVector<VideoItem> &videos) {
            ++signalCount;
            received += videos;
        });
        int answer = -1;
        QString shown;
        Driver driver;
        driver.whenIdle([&] { answer = dialog.exec(); });
        driver.whenOpen<VideoUrlDialog>([&](VideoUrlDialog *) { analyse(&dialog, address); });
        if (!message.isEmpty())
            confirmMessage(driver, &shown);
        const bool goesOn = !message.isEmpty() && !isFailure;
        const auto takesAnother = [&] { return !goesOn || visibleControls(&dialog) == editingControls; };
        driver.when(QStringLiteral("the dialog takes another address"), takesAnother, [&] {
            if (goesOn)
                analyse(&dialog, playlist ? m_site.playlistAddress() : m_site.videoAddress());
        });
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        QCOMPARE(shown, message);
        QCOMPARE(answer, int(isFailure ? QDialog::Rejected : QDialog::Accepted));
        QCOMPARE(signalCount, isFailure ? 0 : 1);
        if (message.isEmpty())
            QTEST(received.size(), "videos");
    }

    void whileItAnalyses_data() { urlDialogAtFirst_data(); }
    void whileItAnalyses()
    {
        QFETCH(bool, playlist);
        QFETCH(QString, kind);
        HeldServer server;
        VideoUrlDialog dialog(playlist, nullptr);
        auto *edit = named<QLineEdit>(&dialog, "urlLineEdit");
        QString shown;
        Driver driver;
        driver.whenIdle([&] { dialog.exec(); });
        driver.whenOpen<VideoUrlDialog>([&](VideoUrlDialog *) {
            type(edit, server.address());
            QTest::keyClick(edit, Qt::Key_Return);
        });
        const auto hasRequest = [&] { return server.waiting() == 1; };
        driver.when(QStringLiteral("Return has started the analysis"), hasRequest, [&] {
            QCOMPARE(visibleControls(&dialog), analysingControls);
            QCOMPARE(named<QLabel>(&dialog, "status_label")->text(),
                     QStringLiteral("Analyzing the Youtube %1 url").arg(kind));
            const QMovie *movie = named<QLabel>(&dialog, "movie_label")->movie();
            QVERIFY(movie && movie->isValid());
            QCOMPARE(movie->state(), QMovie::Running);
            // A second Return asks nothing again.
            QTest::keyClick(edit, Qt::Key_Return);
            server.answer("200 OK");
        });
        confirmMessage(driver, &shown);
        const auto isBack = [&] { return visibleControls(&dialog) == editingControls; };
        driver.when(QStringLiteral("the dialog is back"), isBack, [&] {
            QVERIFY(named<QPushButton>(&dialog, "btnGo")->isEnabled());
            QCOMPARE(edit->text(), server.address());
            QCOMPARE(server.waiting(), 0);
            dialog.close();
        });
        QVERIFY2(driver.play(), qPrintable(driver.failure()));
        QCOMPARE(shown, noVideoText);
    }

    void cancelDropsTheVideo_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("laterMessage");

        const QByteArray video = DemoSite::watchPage({{QStringLiteral("title"), QStringLiteral("Late")}});
        // What a server says may look like markup; it is shown, not obeyed.
        const QByteArray status = "500 <h1>Oh</h1> <a href='x:y'>%1</a> &amp;";
        const QString failure = QStringLiteral("server replied: <h1>Oh</h1> <a href='x:y'>%1</a> &amp;. Please check");
        for (const char *way : {"Cancel", "Escape", "close"}) {
            const QString name = QString::fromLatin1(way);
            QTest::addRow("%s, then a video", way) << name << QByteArray("200 OK") << video << QString();
            QTest::addRow("%s, then no video", way) << name << QByteArray("200 OK") << QByteArray() << noVideoText;
            QTest::addRow("%s, then a failure", way) << name << status << QByteArray() << failure;
        }
    }
    void cancelDropsTheVideo()
    {
        QFETCH(QString, way);
        QFETCH(QByteArray, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, laterMessage);
        HeldServer server;
        WindowLog log;
        VideoUrlDialog dialog(false, nullptr);
        int signalCount = 0;
        connect(&dialog, &VideoUrlDialog::signalGetVideo, this, [&] { ++signalCount; });
        int answer = -1;
        QString shown;
        Driver driver;
        driver.whenIdle([&] { answer = dialog.exec(); });
        driver.whenOpen<VideoUrlDialog>([&](VideoUrlDialog *) { analyse(&dialog, server.address()); });
        const auto hasRequest = [&] { return server.waiting() == 1; };
        driver.when(QStringLiteral("the analysis has begun"), hasRequest, [&] {
            if (way == QLatin1String("Cancel"))
                click(named<QPushButton>(&dialog, "btnCancel"));
            else if (way == QLatin1String("Escape"))
                QTest::keyClick(named<QLineEdit>(&dialog, "urlLineEdit"), Qt::Key_Escape);
            else
                dialog.close();
            QVERIFY(!dialog.isVisible());
            server.answer(status, body);
        });
        if (!laterMessage.isEmpty())
            confirmMessage(driver, &shown);
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        QVERIFY2(shown.contains(laterMessage), qPrintable(shown));
        QCOMPARE(log.shown.count(QStringLiteral("SkMessageBox")), laterMessage.isEmpty() ? 0 : 1);
        QCOMPARE(signalCount, 0);
        QCOMPARE(answer, int(QDialog::Rejected));
        QVERIFY(!dialog.isVisible());
    }

    // The first wait is on the stack below the second one.
    void secondAnalysisInsideTheFirst()
    {
        HeldServer server;
        DownloaderWidget page;
        page.show();
        QString title;
        QString message;
        Driver driver;
        openAndAnalyse(driver, page, "addVideo", server.address());
        const auto hasRequest = [&] { return server.waiting() == 1; };
        driver.when(QStringLiteral("the first analysis has begun"), hasRequest,
                    [] { click(named<QPushButton>(visibleTopLevel<VideoUrlDialog>(), "btnCancel")); });
        openAndAnalyse(driver, page, "addVideo", m_site.videoAddress());
        driver.whenOpen<VideoInfo>([&](VideoInfo *dialog) {
            title = titleIn(dialog);
            server.answer("200 OK");
            dialog->close();
        });
        confirmMessage(driver, &message);
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        QCOMPARE(title, QStringLiteral("Test card with sweep tone"));
        QCOMPARE(message, noVideoText);
        QVERIFY(!visibleTopLevel<VideoUrlDialog>());
    }

    void formatOrder_data()
    {
        QTest::addColumn<QStringList>("formats");
        QTest::addColumn<QString>("order");

        const auto row = [](const char *name, const QString &formats, const char *order) {
            QTest::newRow(name) << formats.split(QStringLiteral(", "), Qt::SkipEmptyParts)
                                << QString::fromLatin1(order);
        };
        row("none", QString(), "");
        row("pixels, then mp4",
            QStringLiteral("1 flv 640X360 9, 2 webm 1280X720 9, 3 mp4 1920X1080 9, 4 mp4 1280X720 9, 5 mp4 . 9"),
            "3 4 2 1 5");
        row("larger first", QStringLiteral("1 mp4 1280X720 25, 2 mp4 1280X720 40"), "2 1");
        row("small picture before no picture", QStringLiteral("1 mp4 . 900, 2 3gp 2X1 1"), "2 1");
        row("pixels, not width", QStringLiteral("1 mp4 2000X10 1, 2 mp4 200X200 1"), "2 1");
        row("pairs that would contradict each other",
            QStringLiteral("1 webm 640X360 10, 2 flv 640X360 20, 3 webm 640X360 30, 4 mp4 640X360 1, 5 flv 640X360 5"),
            "4 2 5 3 1");
        row("mp4 in capitals is another extension", QStringLiteral("1 MP4 640X360 10, 2 mp4 640X360 1"), "2 1");
    }
    void formatOrder()
    {
        QFETCH(QStringList, formats);
        VideoInfo dialog(videoWith(formats), nullptr);
        const auto *table = named<QTableWidget>(&dialog, "tableWidget");
        QStringList order;
        for (int row = 0; row < table->rowCount(); ++row)
            order += table->item(row, 0)->text();
        QTEST(order.join(QLatin1Char(' ')), "order");
        QCOMPARE(named<QLabel>(&dialog, "lTitle")->text(),
                 QStringLiteral("%1 help you find %2 video with different format, please select one to download.")
                     .arg(CAppSetting::instance()->productName, QString::number(formats.size())));
        QCOMPARE(table->currentRow(), formats.isEmpty() ? -1 : 0);
        QCOMPARE(table->findChildren<QPushButton *>().size(), formats.size());
    }

    void formatTable()
    {
        VideoInfo dialog(videoWith({QStringLiteral("22 mp4 1280X720 1000")}), nullptr);
        dialog.show();
        const auto *table = named<QTableWidget>(&dialog, "tableWidget");
        const QString headers = QStringLiteral("ID Name Format Duration Resolution Size Download");
        const QStringList texts{QStringLiteral("22"),       QStringLiteral("A title"),  QStringLiteral("mp4"),
                                QStringLiteral("00:00:12"), QStringLiteral("1280X720"), QStringLiteral("1000 bytes")};
        const QVector<int> centred{2, 3, 4};
        const QVector<int> fitted{0, 3, 5};
        for (int column = 0; column < 7; ++column) {
            const auto mode = fitted.contains(column) ? QHeaderView::ResizeToContents : QHeaderView::Interactive;
            QCOMPARE(table->horizontalHeader()->sectionResizeMode(column), column == 1 ? QHeaderView::Stretch : mode);
            QCOMPARE(table->horizontalHeaderItem(column)->text(), headers.section(QLatin1Char(' '), column, column));
        }
        for (int column = 0; column < 6; ++column) {
            QCOMPARE(table->item(0, column)->text(), texts.at(column));
            QCOMPARE(table->item(0, column)->textAlignment() == Qt::AlignCenter, centred.contains(column));
        }
        QCOMPARE(downloadButton(&dialog, 0)->text(), QStringLiteral("Download"));
    }

    void pressedRowIsChosen_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<bool>("byMouse");
        for (const int row : {0, 2, 39}) {
            QTest::addRow("row %d by mouse", row) << row << true;
            // Where buttons take no focus, a press leaves the current row as it was.
            QTest::addRow("row %d without focus", row) << row << false;
        }
    }
    void pressedRowIsChosen()
    {
        QFETCH(int, row);
        QFETCH(bool, byMouse);
        QStringList formats;
        for (int i = 0; i < 40; ++i)
            formats += QStringLiteral("%1 mp4 %2X10 9").arg(100 + i).arg(1000 - i);
        VideoInfo dialog(videoWith(formats), nullptr);
        QVector<int> itags;
        connect(&dialog, &VideoInfo::signalStartDownload, this, [&](const VideoItem &video, int itag) {
            itags += itag;
            QCOMPARE(video.getTitle(), QStringLiteral("A title"));
            QVERIFY(dialog.isVisible());
            // The receiver may wait for the network, and the person may press again meanwhile.
            downloadButton(&dialog, 1)->click();
        });
        dialog.show();
        if (byMouse) {
            auto *table = named<QTableWidget>(&dialog, "tableWidget");
            table->scrollTo(table->model()->index(row, 0));
            click(downloadButton(&dialog, row));
        } else {
            downloadButton(&dialog, row)->click();
        }
        QCOMPARE(itags, QVector<int>{100 + row});
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.isVisible());
    }

    void closedFormatDialogChoosesNothing()
    {
        VideoInfo dialog(videoWith({QStringLiteral("22 mp4 1280X720 9")}), nullptr);
        int signalCount = 0;
        connect(&dialog, &VideoInfo::signalStartDownload, this, [&] { ++signalCount; });
        dialog.show();
        QTest::keyClick(&dialog, Qt::Key_Return);
        QVERIFY(dialog.close());
        QCOMPARE(signalCount, 0);
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    void downloadsAVideo()
    {
        DownloaderWidget page;
        page.show();
        Driver driver;
        openAndAnalyse(driver, page, "addVideo", m_site.videoAddress());
        driver.whenOpen<VideoInfo>([](VideoInfo *dialog) { click(downloadButton(dialog, 1)); });
        driver.when(QStringLiteral("the download has finished"), [&] { return allFinished(page, 1); });
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        const QByteArray media = m_site.mediaFile(m_site.mediaFileFor(m_site.demoVideoIds().constFirst(), 18));
        const QTreeWidgetItem *row = taskList(page)->topLevelItem(0);
        const QString size = formatSize(media.size());
        QCOMPARE(row->data(0, Qt::DisplayRole), QVariant(18));
        QCOMPARE(rowTexts(row),
                 (QStringList{QStringLiteral("18"), QStringLiteral("Test card with sweep tone.mp4"),
                              QStringLiteral("00:00:12"), size, size, QStringLiteral("Finished")}));
        QVERIFY(!barOf(page, 0));
        QVERIFY(row->toolTip(5).isEmpty());
        const QString path = m_folder->filePath(QStringLiteral("Test card with sweep tone.mp4"));
        QVERIFY(contents(path) == media);
        taskList(page)->setCurrentItem(taskList(page)->topLevelItem(0));
        QTest::keyClick(taskList(page), Qt::Key_Return);
        QCOMPARE(m_openedUrls, QList<QUrl>{QUrl::fromLocalFile(path)});
    }

    void downloadsAPlaylist_data()
    {
        QTest::addColumn<QVector<int>>("choices"); // a row of each dialog, -1 to close it
        QTest::newRow("all three") << QVector<int>{0, 1, 2};
        QTest::newRow("second one closed") << QVector<int>{3, -1, 3};
    }
    void downloadsAPlaylist()
    {
        QFETCH(QVector<int>, choices);
        const QStringList titles{QStringLiteral("Test card with sweep tone"),
                                 QStringLiteral("한국어 \"따옴표\" & AC/DC: Ça va? 🎬"),
                                 QStringLiteral("Colours, counters <and> moving squares; 1/2 or 100%25?")};
        const QStringList names{QStringLiteral("Test card with sweep tone"),
                                QStringLiteral("한국어 따옴표 & ACDC Ça va 🎬"),
                                QStringLiteral("Colours, counters and moving squares; 12 or 100%25")};
        const struct
        {
            int itag;
            const char *extension;
        } formats[] = {{22, ".mp4"}, {18, ".mp4"}, {43, ".webm"}, {36, ".3gp"}};

        DownloaderWidget page;
        page.show();
        Driver driver;
        openAndAnalyse(driver, page, "addPlaylist", m_site.playlistAddress());
        for (int i = 0; i < 3; ++i) {
            const auto isOpen = [title = titles.at(i)] { return titleIn(visibleTopLevel<VideoInfo>()) == title; };
            driver.when(QStringLiteral("the formats of a video are shown, in list order"), isOpen,
                        [choice = choices.at(i)] {
                            auto *dialog = visibleTopLevel<VideoInfo>();
                            if (choice < 0)
                                dialog->close();
                            else
                                click(downloadButton(dialog, choice));
                        });
        }
        const int rows = 3 - choices.count(-1);
        driver.when(QStringLiteral("the downloads have finished"), [&] { return allFinished(page, rows); });
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        QStringList expectedFiles;
        for (int i = 0; i < 3; ++i) {
            if (choices.at(i) < 0)
                continue;
            const auto &format = formats[choices.at(i)];
            const QString extension = QString::fromLatin1(format.extension);
            QCOMPARE(taskList(page)->topLevelItem(expectedFiles.size())->text(1), QString(titles.at(i) + extension));
            expectedFiles += names.at(i) + extension;
            const QString media = m_site.mediaFileFor(m_site.playlistVideoIds().at(i), format.itag);
            QVERIFY(contents(m_folder->filePath(expectedFiles.last())) == m_site.mediaFile(media));
        }
        expectedFiles.sort();
        QStringList files = QDir(m_folder->path()).entryList(QDir::Files);
        files.sort();
        QCOMPARE(files, expectedFiles);
    }

    void outputPlace_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("file");

        const QString name = QStringLiteral("name");
        QTest::newRow("without a slash at the end") << QString() << name << QStringLiteral("/name.mp4");
        QTest::newRow("with a slash at the end") << QStringLiteral("/") << name << QStringLiteral("/name.mp4");
        QTest::newRow("missing folders") << QStringLiteral("/a/b c/ü") << name << QStringLiteral("/a/b c/ü/name.mp4");
        QTest::newRow("only forbidden characters")
            << QString() << QStringLiteral("\\/:*?\"<>|") << QStringLiteral("/.mp4");
        QTest::newRow("slash in the title")
            << QString() << QStringLiteral("../../x/y") << QStringLiteral("/....xy.mp4");
        QTest::newRow("percent in the title") << QString() << QStringLiteral("%1%2F") << QStringLiteral("/%1%2F.mp4");
    }
    void outputPlace()
    {
        QFETCH(QString, folder);
        QFETCH(QString, title);
        QFETCH(QString, file);
        CAppSetting::instance()->outputPath = m_folder->path() + folder;
        DownloaderWidget page;
        // The second download of the same name takes the place of the first, longer one.
        for (const int size : {50000, 30001}) {
            startDownload(page, streamVideo(title, stream(size), size));
            QTRY_VERIFY(allFinished(page, size == 50000 ? 1 : 2));
            QVERIFY(contents(m_folder->path() + file) == DemoSite::streamBytes(seed, 0, size));
        }
        QCOMPARE(taskList(page)->topLevelItem(0)->text(1), QString(title + QStringLiteral(".mp4")));
    }

    void unusableOutputFile()
    {
        QFile file(m_folder->filePath(QStringLiteral("file")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        CAppSetting::instance()->outputPath = file.fileName();
        DownloaderWidget page;
        page.show();
        QString shown;
        Driver driver;
        driver.whenIdle([&] { startDownload(page, streamVideo(QStringLiteral("name"), stream(30001), 30001)); });
        confirmMessage(driver, &shown);
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        QCOMPARE(shown, QStringLiteral("Invalid file path"));
        QVERIFY(barOf(page, 0));
        QCOMPARE(m_site.requests().size(), 1);
    }

    void runningDownloadKeepsItsFile()
    {
        DownloaderWidget page;
        page.show();
        QString shown;
        Driver driver;
        driver.whenIdle([&] {
            startDownload(page, streamVideo(QStringLiteral("name"), stream(600001, 300000), 600001));
            startDownload(page, streamVideo(QStringLiteral("na:me"), stream(30001), 30001));
        });
        confirmMessage(driver, &shown);
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        QCOMPARE(shown, QStringLiteral("A download into this file is still running."));
        QTRY_VERIFY(!barOf(page, 0));
        QVERIFY(contents(m_folder->filePath(QStringLiteral("name.mp4"))) == DemoSite::streamBytes(seed, 0, 600001));
    }

    // The second click of a double-click lands on whatever has taken the place of the button.
    void doubleClickHitsOneButton()
    {
        QApplication::setDoubleClickInterval(300);
        VideoInfo dialog(videoWith({QStringLiteral("22 mp4 1280X720 9")}), nullptr);
        QSignalSpy chosen(&dialog, &VideoInfo::signalStartDownload);
        dialog.show();
        downloadButton(&dialog, 0)->click();
        QCOMPARE(chosen.size(), 0);
        const auto pressAgain = [&] {
            downloadButton(&dialog, 0)->click();
            return chosen.size() == 1;
        };
        QTRY_VERIFY(pressAgain());
        QApplication::setDoubleClickInterval(0);
    }

    // Where the stream's address leads decides whether a download starts; the row is there in any case.
    void addressLookup_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("downloads");
        QTest::addColumn<int>("lookups");

        const QString redirect = QStringLiteral("/redirect");
        const QString target = QStringLiteral("/stream?size=30001&seed=4");
        QTest::newRow("direct") << target << true << 1;
        QTest::newRow("20 redirects") << redirect.repeated(20) + target << true << 21;
        QTest::newRow("21 redirects") << redirect.repeated(21) + target << false << 21;
        QTest::newRow("missing") << QStringLiteral("/missing") << false << 1;
    }
    void addressLookup()
    {
        QFETCH(QString, path);
        QFETCH(bool, downloads);
        DownloaderWidget page;
        if (path == QLatin1String("/missing"))
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("server replied: Not Found")));
        startDownload(page, streamVideo(QStringLiteral("name"), m_site.address() + path, 30001));
        const QTreeWidgetItem *row = taskList(page)->topLevelItem(0);
        QVERIFY(row);
        if (downloads) {
            QTRY_VERIFY(allFinished(page, 1));
            QVERIFY(contents(m_folder->filePath(QStringLiteral("name.mp4"))) == DemoSite::streamBytes(seed, 0, 30001));
        } else {
            QCOMPARE(rowTexts(row).mid(4), (QStringList{QStringLiteral("0"), QString()}));
            QCOMPARE(barOf(page, 0)->maximum(), 10000);
            QVERIFY(QDir(m_folder->path()).isEmpty());
        }
        int lookups = 0;
        for (const auto &request : m_site.requests()) {
            if (request.method == "HEAD")
                ++lookups;
            else
                QCOMPARE(request.target, QByteArray("/stream?size=30001&seed=4"));
        }
        QTEST(lookups, "lookups");
    }

    void unknownFormatStartsNothing()
    {
        DownloaderWidget page;
        startDownload(page, streamVideo(QStringLiteral("name"), stream(30001), 30001), 23);
        QCOMPARE(taskList(page)->topLevelItemCount(), 0);
        QVERIFY(m_site.requests().isEmpty());
    }

    void incompleteDownloadTellsSo()
    {
        const QByteArray bytes = DemoSite::streamBytes(seed, 0, 100000);
        FaultServer server(bytes);
        server.setStatus(404);
        server.setFault(FaultServer::Fault::Status, 25000, 49999, 1000);
        DownloaderWidget page;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("25000 bytes are missing.*404")));
        startDownload(page, streamVideo(QStringLiteral("short"), server.address(), bytes.size()));
        QTRY_VERIFY(allFinished(page, 1));
        const QTreeWidgetItem *row = taskList(page)->topLevelItem(0);
        QVERIFY(!row->icon(5).isNull());
        QVERIFY2(row->toolTip(5).contains(QStringLiteral("The server answered 404 Sorry")),
                 qPrintable(row->toolTip(5)));
        QCOMPARE(row->text(4), formatSize(75000));
    }

    void progressOnTheRow()
    {
        DownloaderWidget page;
        startDownload(page, streamVideo(QStringLiteral("slow"), stream(1000003, 500000), 1000003));
        const QTreeWidgetItem *row = taskList(page)->topLevelItem(0);
        QTRY_VERIFY(row->text(4) != QLatin1String("0"));
        QPointer<QProgressBar> bar = barOf(page, 0);
        QVERIFY(bar);
        QCOMPARE(bar->maximum(), 1000003);
        QCOMPARE(row->text(4), formatSize(bar->value()));
        QTRY_VERIFY(allFinished(page, 1));
        QTRY_VERIFY(!bar);
    }

    void browse_data()
    {
        QTest::addColumn<bool>("isAccepted");
        QTest::newRow("a folder") << true;
        QTest::newRow("cancelled") << false;
    }
    void browse()
    {
        QFETCH(bool, isAccepted);
        DownloaderWidget page;
        page.show();
        const QString before = m_folder->path();
        const QString chosen = before + QStringLiteral("/chosen");
        QVERIFY(QDir().mkpath(chosen));
        QCOMPARE(named<QLineEdit>(&page, "leDestination")->text(), before);
        Driver driver;
        driver.whenIdle([&] { click(named<QPushButton>(&page, "btnBrowse")); });
        driver.whenOpen<QFileDialog>([&](QFileDialog *dialog) {
            named<QLineEdit>(dialog, "fileNameEdit")->setText(chosen);
            click(named<QDialogButtonBox>(dialog, "buttonBox")
                      ->button(isAccepted ? QDialogButtonBox::Open : QDialogButtonBox::Cancel));
        });
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        const QString expected = isAccepted ? chosen : before;
        QCOMPARE(CAppSetting::instance()->outputPath, expected);
        QCOMPARE(named<QLineEdit>(&page, "leDestination")->text(), expected);

        startDownload(page, streamVideo(QStringLiteral("name"), stream(30001), 30001));
        QTRY_VERIFY(allFinished(page, 1));
        QVERIFY(QFile::exists(expected + QStringLiteral("/name.mp4")));
    }

    void open_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("opens");
        QTest::newRow("a folder") << m_parent.path() << true;
        QTest::newRow("a missing folder") << m_parent.filePath(QStringLiteral("new/er # %20 folder")) << true;
        QTest::newRow("a relative path") << QStringLiteral("videos/new") << false;
        QTest::newRow("nothing") << QString() << false;
    }
    void open()
    {
        QFETCH(QString, text);
        QFETCH(bool, opens);
        DownloaderWidget page;
        page.show();
        named<QLineEdit>(&page, "leDestination")->setText(text);
        QString shown;
        Driver driver;
        driver.whenIdle([&] { click(named<QPushButton>(&page, "btnOpen")); });
        if (!opens)
            confirmMessage(driver, &shown);
        QVERIFY2(driver.play(), qPrintable(driver.failure()));

        QCOMPARE(shown, opens ? QString() : QStringLiteral("Invalid path"));
        QCOMPARE(m_openedUrls, opens ? QList<QUrl>{QUrl::fromLocalFile(text)} : QList<QUrl>());
        QCOMPARE(CAppSetting::instance()->outputPath, opens ? text : m_folder->path());
        QVERIFY(!opens || QDir(text).exists());
    }

    void takesDroppedAddresses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("dialogTitle");
        QTest::newRow("video") << QStringLiteral("http://127.0.0.1/watch?v=a%20b")
                               << QStringLiteral("Youtube Video Url");
        QTest::newRow("playlist") << QStringLiteral("https://127.0.0.1/playlist?list=1")
                                  << QStringLiteral("Youtube Playlist Url");
        QTest::newRow("file") << QStringLiteral("file:///etc/hosts") << QString();
        QTest::newRow("no address") << QStringLiteral("some words") << QString();
    }
    void takesDroppedAddresses()
    {
        QFETCH(QString, text);
        QFETCH(QString, dialogTitle);
        DownloaderWidget page;
        page.show();
        QMimeData data;
        data.setText(text);
        QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&page, &enter);
        QCOMPARE(enter.isAccepted(), !dialogTitle.isEmpty());
        if (dialogTitle.isEmpty())
            return;
        QDropEvent drop(QPointF(9, 9), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&page, &drop);
        Driver driver;
        driver.whenOpen<VideoUrlDialog>([&](VideoUrlDialog *dialog) {
            QCOMPARE(dialog->windowTitle(), dialogTitle);
            QCOMPARE(named<QLineEdit>(dialog, "urlLineEdit")->text(), text);
            QVERIFY(named<QPushButton>(dialog, "btnGo")->isEnabled());
            dialog->close();
        });
        QVERIFY2(driver.play(), qPrintable(driver.failure()));
    }

    void tenDownloadsLeaveNothingBehind()
    {
        DownloaderWidget page;
        startDownload(page, streamVideo(QStringLiteral("first"), stream(30001), 30001));
        QTRY_VERIFY(allFinished(page, 1));
        const int threads = ProcessFigures::threads();
        const int descriptors = ProcessFigures::descriptors();

        for (int i = 0; i < 10; ++i)
            startDownload(page, streamVideo(QString::number(i), stream(400003, 200000), 400003));
        for (int i = 1; i <= 10; ++i)
            QVERIFY2(barOf(page, i), "not all of them ran at once");
        QVERIFY(ProcessFigures::threads() >= threads + 10);
        QTRY_VERIFY(allFinished(page, 11));
        for (int i = 0; i < 10; ++i)
            QVERIFY(contents(m_folder->filePath(QStringLiteral("%1.mp4").arg(i)))
                    == DemoSite::streamBytes(seed, 0, 400003));
        QTRY_VERIFY(ProcessFigures::threads() <= threads);
        QTRY_VERIFY(ProcessFigures::descriptors() <= descriptors);
    }

    void pageMayGoWhileItDownloads()
    {
        const int threads = ProcessFigures::threads();
        auto page = std::make_unique<DownloaderWidget>();
        for (int i = 0; i < 3; ++i)
            startDownload(*page, streamVideo(QString::number(i), stream(4000003, 100000), 4000003));
        const QTreeWidgetItem *row = taskList(*page)->topLevelItem(0);
        QTRY_VERIFY(row->text(4) != QLatin1String("0"));
        page.reset();
        QTRY_VERIFY(ProcessFigures::threads() <= threads + 1);
    }

    // exec() returns at once, whatever waits, and no window appears any more.
    void quits_data()
    {
        QTest::addColumn<QString>("path"); // of the address to analyse; none for a server that never answers
        QTest::addColumn<int>("videos"); // or the number of videos that are there already
        QTest::newRow("waiting for a page") << QString() << 0;
        QTest::newRow("waiting for a probe") << QStringLiteral("/held-probe") << 0;
        QTest::newRow("choosing a format") << QStringLiteral("/playlist?list=DEMO") << 0;
        QTest::newRow("looking an address up") << QString() << 1;
        QTest::newRow("looking up, with more formats to choose") << QString() << 3;
    }
    void quits()
    {
        QFETCH(QString, path);
        QFETCH(int, videos);
        HeldServer server;
        DemoSite::Page watch;
        const QString streams = DemoSite::streamMap({{22, server.address()}, {18, server.address()}});
        watch.body = DemoSite::watchPage({{QStringLiteral("title"), QStringLiteral("Held")},
                                          {QStringLiteral("url_encoded_fmt_stream_map"), streams}});
        m_site.setPage(QStringLiteral("/held-probe"), watch);
        DownloaderWidget page;
        page.show();
        Driver driver;
        if (videos > 0) {
            const QVector<VideoItem> list(videos, streamVideo(QStringLiteral("name"), server.address(), 30001));
            driver.whenIdle(
                [&page, list] { QMetaObject::invokeMethod(&page, "onGetPlayList", Q_ARG(QVector<VideoItem>, list)); });
            driver.whenOpen<VideoInfo>([](VideoInfo *dialog) { click(downloadButton(dialog, 0)); });
        } else {
            const QString address = path.isEmpty() ? server.address() : m_site.address() + path;
            openAndAnalyse(driver, page, path.contains(QStringLiteral("list")) ? "addPlaylist" : "addVideo", address);
        }
        QElapsedTimer sinceQuit;
        WindowLog log;
        const auto waits = [&] {
            return path.contains(QStringLiteral("list")) ? visibleTopLevel<VideoInfo>() != nullptr
                                                         : server.waiting() == 1;
        };
        driver.when(QStringLiteral("the application waits"), waits, [&] {
            sinceQuit.start();
            log.shown.clear();
            QCoreApplication::quit();
        });
        QTimer guard;
        guard.callOnTimeout(&QCoreApplication::quit);
        guard.start(30000);
        driver.run();
        QCoreApplication::exec();
        QVERIFY2(driver.finished() && driver.failure().isEmpty(), qPrintable(driver.failure()));
        QVERIFY2(sinceQuit.elapsed() < 1000, qPrintable(QString::number(sinceQuit.elapsed())));
        QTest::qWait(0);
        QCOMPARE(log.shown, QStringList());
        QCOMPARE(taskList(page)->topLevelItemCount(), videos > 0 ? 1 : 0);
    }

private:
    static constexpr quint64 seed = 4;

    [[nodiscard]] QString stream(int size, int bytesPerSecond = 0) const
    {
        return QStringLiteral("%1/stream?size=%2&seed=%3&rate=%4")
            .arg(m_site.address(), QString::number(size), QString::number(seed), QString::number(bytesPerSecond));
    }

    DemoSite m_site;
    QTemporaryDir m_parent;
    std::unique_ptr<QTemporaryDir> m_folder;
    QList<QUrl> m_openedUrls;
};

QTEST_MAIN(TestUi)
#include "tst_ui.moc"
