#include "benchmarks/ProcessFigures.h"
#include "download/DownloadManager.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "support/Files.h"
#include "support/ScriptedServer.h"
#include "support/TestMain.h"
#include "support/TextTable.h"
#include "tour/Driver.h"
#include "ui/DownloaderWidget.h"
#include "ui/SizeText.h"
#include "ui/TransferRate.h"
#include "ui/VideoInfo.h"
#include "ui/VideoUrlDialog.h"

#include <QtTest>
#include <QtWidgets>

#include <memory>

namespace {

const QByteArray stream = randomBytes(100003);

// Each format is written as "itag extension resolution size".
VideoItem video(const QString &formats, const QString &title = {}, const QString &address = {})
{
    QList<Meta> metas;
    for (const QString &format : formats.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QStringList words = format.split(QLatin1Char(' '));
        metas += Meta(words.at(0).toInt(), address);
        metas.last().setExtension(words.at(1));
        metas.last().setResolution(words.at(2));
        metas.last().setSize(words.at(3).toInt());
    }
    VideoItem item;
    item.setTitle(title);
    item.setLength("00:00:12"_s);
    item.setAvailaibleFormats(metas);
    return item;
}

// What the message says that comes meanwhile, and is confirmed.
QString messageDuring(const std::function<void()> &action)
{
    QString shown;
    QTimer watch;
    watch.callOnTimeout([&shown] {
        auto *box = visibleTopLevel<SkMessageBox>();
        if (!box)
            return;
        const auto *label = named<QLabel>(box, "text_label");
        shown =
            label->textFormat() == Qt::PlainText || !Qt::mightBeRichText(label->text()) ? label->text() : "markup"_s;
        click(named<QPushButton>(box, "ok_pushButton"));
    });
    watch.start(5);
    action();
    return shown;
}

// The second press of a double-click whose first one hit something else.
void pressAgain(QWidget *widget)
{
    QMouseEvent press(QEvent::MouseButtonDblClick, widget->rect().center(), Qt::LeftButton, Qt::LeftButton, {});
    QApplication::sendEvent(widget, &press);
    QTest::mouseRelease(widget, Qt::LeftButton);
}

struct Page final : DownloaderWidget
{
    QTreeWidgetItem *row(int index = 0) const { return list->topLevelItem(index); }
    QWidget *bar(int index = 0) const { return list->itemWidget(row(index), 5); }
    // Name and end of each row.
    QString rows() const
    {
        QString texts;
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            texts += row(i)->text(1) + QLatin1Char(' ') + row(i)->text(5) + QLatin1Char(';');
        return texts;
    }
    void start(const VideoItem &item, int itag = 22)
    {
        QMetaObject::invokeMethod(this, "onStartDownload", Q_ARG(VideoItem, item), Q_ARG(int, itag));
    }
    QTreeWidget *const list = named<QTreeWidget>(this, "treeWidget");
};

} // namespace

class TestUi final : public QObject
{
    Q_OBJECT

public slots:
    void takeUrl(const QUrl &url) { m_opened += url.toLocalFile(); }

private slots:
    void initTestCase()
    {
        QVERIFY(QResource::registerResource(QCoreApplication::applicationDirPath() + "/skin.rcc"_s));
        QDesktopServices::setUrlHandler("file"_s, this, "takeUrl");
        // Outside exec() a quit would end every later wait at once.
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        CAppSetting::instance()->outputPath = m_folder->path();
        m_server = std::make_unique<ScriptedServer>([this](const Request &request) { return answer(request); });
        qputenv("FOURFOLD_SITE", m_server->address().toLatin1());
        m_opened.clear();
    }

    void sizeTexts()
    {
        QStringList texts;
        for (const qint64 bytes : {0, 1, 1024, 1025, 1048576, 1048577, 1073741824, 1073741825})
            texts += formatSize(bytes);
        QCOMPARE(texts.join(QLatin1Char(' ')), "N/A 1B 1024B 1.00KB 1024.00KB 1.00MB 1024.00MB 1.00GB"_s);
    }

    // Compared with a clock of the test, so that a slow machine tells the same.
    void rateText()
    {
        QElapsedTimer clock;
        clock.start();
        TransferRate rate;
        QString text;
        QCOMPARE(rate.text(5, 0), QString());
        const auto bytesPerSecond = [&] {
            return (text = rate.text(400, 8400)).section("  "_s, 1, 1).remove("B/s"_s).toInt();
        };
        QTRY_VERIFY(bytesPerSecond() > 0);
        const int left = QTime::fromString(text.right(8), "hh:mm:ss"_s).msecsSinceStartOfDay();
        QVERIFY2(text.contains("4%  "_s) && qAbs(left - 20 * clock.elapsed()) < 30000, qPrintable(text));
        const int first = bytesPerSecond(); // and nothing more comes
        QTRY_VERIFY(bytesPerSecond() < first * 9 / 10);
    }

    // Kind of dialog, way out and address; then what the person reads or the page gets.
    void analysis_data()
    {
        const QByteArray noVideo = " -> No video found in the Youtube url.";
        const QByteArray failure = " -> Analyze the Youtube url failed: Error transferring %1 - server replied: ";
        const QByteArray end = ". Please check your network connection.";
        textTable("outcome",
                  {"Video none /watch?v=a -> 1", "Playlist none /playlist?v=a,b,a -> 3", "Video none /stream" + noVideo,
                   "Video none /watch?v=" + noVideo, "Playlist none /playlist?v=" + noVideo,
                   "Playlist none /playlist?v=a,none" + noVideo, "Video none /gone?LONG" + failure + "Scripted" + end,
                   "Video none /markup" + failure + "<h1>Oh</h1> <a href='x:y'>%2</a>" + end,
                   "Playlist none /gone" + failure + "Scripted" + end, "Video Cancel /watch?v=a -> 0",
                   "Playlist Escape /playlist?v=a -> 0", "Video Cancel /stream" + noVideo,
                   "Video Escape /gone" + failure + "Scripted" + end});
    }
    void analysis()
    {
        QFETCH(QString, outcome);
        const QStringList words = QString::fromLatin1(QTest::currentDataTag()).split(QLatin1Char(' '));
        const QString &kind = words.at(0);
        const QString &way = words.at(1);
        const QString address = m_server->address(words.at(2)).replace("LONG"_s, "%252"_s.repeated(1000));
        VideoUrlDialog dialog(kind == "Playlist"_s, nullptr);
        QCOMPARE(dialog.windowTitle(), "Youtube %1 Url"_s.arg(kind));
        auto *edit = named<QLineEdit>(&dialog, "urlLineEdit");
        auto *go = named<QPushButton>(&dialog, "btnGo");
        auto *cancel = named<QPushButton>(&dialog, "btnCancel");
        int videos = 0;
        connect(&dialog, &VideoUrlDialog::signalGetVideo, this, [&] { ++videos; });
        connect(&dialog, &VideoUrlDialog::signalGetPlayList, this, [&](const auto &items) { videos += items.size(); });
        dialog.show();
        type(edit, "x"_s);
        QVERIFY(go->isEnabled() && !cancel->isVisible() && !named<QFrame>(&dialog, "bottomButton_frame")->isVisible());
        QCOMPARE(edit->placeholderText(), "Please copy and paste the url of Youtube %1 here"_s.arg(kind));
        QVERIFY(edit->palette().color(QPalette::PlaceholderText).alphaF() < 0.7);
        QTest::keyClick(edit, Qt::Key_Backspace);
        QVERIFY(!go->isEnabled());
        m_duringRequest = [&] {
            QVERIFY(!go->isVisible() && cancel->isVisible() && named<QLabel>(&dialog, "movie_label")->isVisible());
            QCOMPARE(named<QLabel>(&dialog, "status_label")->text(), "Analyzing the Youtube %1 url"_s.arg(kind));
            dialog.accept();
            pressAgain(cancel);
            QVERIFY(dialog.isVisible());
            if (way == "none"_s)
                return;
            way == "Cancel"_s ? click(cancel) : QTest::keyClick(edit, Qt::Key_Escape);
            QVERIFY(!dialog.isVisible());
            dialog.videoDataDownloaded(video({}, "a"_s));
            dialog.playlistDataDownloaded({video({})});
        };
        dialog.setAddress(address.mid(int(qstrlen("http://"))));
        const QString message = messageDuring([&] { QTest::keyClick(edit, Qt::Key_Return); });
        QCOMPARE(message.isEmpty() ? QString::number(videos) : message, outcome.replace("%1"_s, address));
        QCOMPARE(dialog.result(), int(videos > 0 ? QDialog::Accepted : QDialog::Rejected));
        QCOMPARE(dialog.isVisible(), way == "none"_s && message.startsWith("No video"_s));
        QCOMPARE(go->isVisible(), dialog.isVisible());
        // Whatever came of it, the same object takes the next address, unless it was cancelled.
        videos = 0;
        dialog.setAddress(m_server->address(kind == "Video"_s ? "/watch?v=b"_s : "/playlist?v=b"_s));
        dialog.on_btnGo_clicked();
        QCOMPARE(videos, way == "none"_s ? 1 : 0);
        dialog.on_btnCancel_clicked();
        dialog.on_btnGo_clicked();
        QVERIFY(videos <= 1);
    }

    void formatOrder_data()
    {
        textTable("order",
                  {" -> ", "1 flv 9X9 9;2 webm 16X9 9;3 mp4 20X9 9;4 mp4 16X9 9;5 mp4  9 -> 3 4 2 1 5",
                   "1 mp4 2X1 25;2 mp4 2X1 40 -> 2 1", "1 mp4  900;2 3gp 2X1 1 -> 2 1",
                   "1 mp4 2000X10 1;2 mp4 200X200 1 -> 2 1", "1 MP4 2X1 10;2 mp4 2X1 1 -> 2 1",
                   "1 webm 2X1 10;2 flv 2X1 20;3 webm 2X1 30;4 mp4 2X1 1;5 flv 2X1 5 -> 4 2 5 3 1"});
    }
    void formatOrder()
    {
        VideoInfo dialog(video(QString::fromLatin1(QTest::currentDataTag())), nullptr);
        auto *table = named<QTableWidget>(&dialog, "tableWidget");
        QStringList shown;
        for (int row = 0; row < table->rowCount(); ++row)
            shown += table->item(row, 0)->text();
        QTEST(shown.join(QLatin1Char(' ')), "order");
        QVERIFY(table->alternatingRowColors() && !table->editTriggers() && !table->wordWrap());
        QVERIFY(table->selectionBehavior() == QTableWidget::SelectRows
                && table->selectionMode() == QTableWidget::SingleSelection);
        QVERIFY(named<QLabel>(&dialog, "lTitle")->text().contains("help you find %1 video"_s.arg(shown.size())));
        QStringList chosen;
        connect(&dialog, &VideoInfo::signalStartDownload, this,
                [&](const VideoItem &, int itag) { chosen += QString::number(itag); });
        // A button makes its row current first, even before the dialog is laid out.
        if (auto *button = qobject_cast<QPushButton *>(table->cellWidget(table->rowCount() - 1, 6)))
            button->click();
        QVERIFY(QMetaObject::invokeMethod(&dialog, "onDownloadClicked", Q_ARG(bool, false)));
        QCOMPARE(chosen, shown.mid(shown.size() - 1));
    }

    void onePressChoosesOnce()
    {
        QString formats;
        for (int i = 0; i < 500; ++i)
            formats += "%1 mp4 %2X10 9;"_s.arg(i).arg(1000 - i);
        VideoInfo dialog(video(formats), nullptr);
        auto *table = named<QTableWidget>(&dialog, "tableWidget");
        QVector<int> itags;
        connect(&dialog, &VideoInfo::signalStartDownload, this, [&](const VideoItem &, int itag) {
            itags += itag;
            // The receiver may wait for the network, and the person may press again meanwhile.
            click(table->cellWidget(400, 6));
            QVERIFY(dialog.isVisible());
        });
        dialog.show();
        pressAgain(table->cellWidget(0, 6));
        QTest::keyClick(&dialog, Qt::Key_Return);
        table->scrollToItem(table->item(250, 0));
        QVERIFY(itags.isEmpty() && table->cellWidget(400, 6) && table->currentRow() == 0);
        QTest::keyClick(table->cellWidget(0, 6), Qt::Key_Return);
        QCOMPARE(itags, QVector<int>{0});
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }

    // From the button of the page to the file; one of three videos is left out.
    void wholeRoad()
    {
        Page page;
        page.show();
        Driver driver;
        QTest::ignoreMessage(QtDebugMsg, QSslSocket::supportsSsl() ? "true" : "false");
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^Title : +\"a\""_s));
        enterAddress(driver, page, "addVideo", "/watch?v=a"_s);
        for (const auto &[shown, row] : {std::pair("a", 1), {"AC/DC", 0}, {"ü", -1}, {"<b>", 1}}) {
            const QString title = QString::fromUtf8(shown);
            const auto isShown = [title] {
                const auto *table = named<QTableWidget>(visibleTopLevel<VideoInfo>(), "tableWidget");
                QStringList cells;
                for (int column = 0; table && column < 6; ++column)
                    cells += table->item(0, column)->text();
                return cells == QStringList{"22"_s, title, "mp4"_s, "00:00:12"_s, "1280X720"_s, "97.66 KB"_s};
            };
            driver.when(title + " is shown"_s, isShown, [row = row] { chooseFormat(row); });
            if (title == "a"_s)
                enterAddress(driver, page, "addPlaylist", "/playlist?v=AC%2FDC,%C3%BC,%3Cb%3E"_s);
        }
        QVERIFY2(driver.play(), qPrintable(driver.failure()));
        QTRY_COMPARE(page.rows(), "a.mp4 Finished;AC/DC.mp4 Finished;<b>.mp4 Finished;"_s);
        for (const QString &name : {"a.mp4"_s, "ACDC.mp4"_s, "b.mp4"_s})
            QCOMPARE(contents(m_folder->filePath(name)), stream);
    }

    // Title, address of the stream, and folder; then the file, or what the row's mark says, and a message.
    void downloads_data()
    {
        const QByteArray longest = QByteArray("ü").repeated(125);
        const QByteArray notStarted = " -> The download did not start: ";
        const QByteArray isRunning = "A download into this file is still running.";
        textTable("end",
                  {"name /stream -> name.mp4", "name /unknown -> name.mp4", "name /redirect20 / -> name.mp4",
                   "\\/:*?\"<>| /stream -> .mp4", "../../x/y /stream -> ....xy.mp4",
                   longest.repeated(2) + " /stream -> " + longest + ".mp4",
                   QByteArray(600, 'a') + " /stream -> " + QByteArray(251, 'a') + ".mp4",
                   "name /redirect21" + notStarted + "Too many redirects",
                   "name /relative" + notStarted + "The address is no web address",
                   "name /nowhere" + notStarted + "The address is no web address",
                   "name /gone" + notStarted + "Error transferring %1 - server replied: Scripted",
                   "name /stream /a" + notStarted + "%2/a/name.mp4: No such file or directory|Invalid file path",
                   "oth:er /stream" + notStarted + isRunning + '|' + isRunning,
                   "name /part -> The file is incomplete: The server answered 404 Scripted"});
    }
    void downloads()
    {
        QFETCH(QString, end);
        const QStringList words = QString::fromUtf8(QTest::currentDataTag()).split(QLatin1Char(' '));
        end.replace("%1"_s, m_server->address(words.at(1))).replace("%2"_s, m_folder->path());
        const QString mark = end.section(QLatin1Char('|'), 0, 0);
        const int column = mark.contains("not start"_s) ? 1 : 5;
        Page page;
        page.start(streamVideo("other"_s, "/stalled"_s));
        CAppSetting::instance()->outputPath += words.value(2);
        // The second download of the same name takes the place of the first.
        for (int row = 1; row <= 2; ++row) {
            const auto start = [&] { page.start(streamVideo(words.at(0), words.at(1))); };
            QCOMPARE(messageDuring(start), end.section(QLatin1Char('|'), 1));
            QTRY_COMPARE(page.row(row)->text(5), column == 1 ? QString() : "Finished"_s);
            QCOMPARE(page.row(row)->text(1), words.at(0).left(500) + ".mp4"_s);
            QVERIFY(!page.row(row)->icon(column).isNull());
            const bool isWhole = mark.endsWith(".mp4"_s);
            QVERIFY(!isWhole || contents(m_folder->filePath(mark)) == stream);
            const QString before = column == 1 ? page.row(row)->text(1) + QLatin1Char('\n') : QString();
            QCOMPARE(page.row(row)->toolTip(column), isWhole ? QString() : before + mark);
            QCOMPARE(page.row(row)->data(column, Qt::AccessibleDescriptionRole).toString(),
                     page.row(row)->toolTip(column));
            QVERIFY(column == 5
                    || (page.bar(row)->accessibleDescription() == mark && !page.bar(row)->toolTip().isEmpty()
                        && page.row(row)->text(4) == "0"_s));
        }
        const int files =
            QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size();
        QCOMPARE(files, column == 1 ? 1 : 2);
        QTRY_COMPARE(page.findChildren<QNetworkAccessManager *>().size(), 1);
        QCOMPARE(page.row(1)->text(5) + page.row(2)->text(5), column == 1 ? QString() : "FinishedFinished"_s);
        QVERIFY(page.isDownloading());
    }

    void runningRow()
    {
        Page page;
        page.resize(1200, 400);
        page.show();
        QStringList buttons;
        for (const char *name : {"addVideo", "addPlaylist"}) {
            const auto *button = named<QToolButton>(&page, name);
            buttons << button->text() << button->toolTip() << (button->icon().isNull() ? "no icon"_s : QString())
                    << button->shortcut().toString();
        }
        QCOMPARE(buttons.join(QLatin1Char('|')),
                 "Youtube Video|Click to download Youtube Video||Ctrl+N|"
                 "Youtube Playlist|Click to download Youtube playlist||Ctrl+Shift+N"_s);
        const auto *hint = named<QLabel>(&page, "emptyHint_label");
        QVERIFY(hint->isVisible());
        page.start(streamVideo("name"_s, "/stalled"_s));
        QVERIFY(!hint->isVisible() && page.list->uniformRowHeights());
        QTRY_COMPARE(page.row()->text(4), formatSize(4000));
        QStringList cells;
        for (int column = 0; column < 6; ++column) {
            cells += page.row()->text(column);
            QCOMPARE(page.list->headerItem()->textAlignment(column), int(Qt::AlignCenter));
            QVERIFY(column == 1 || column == 5 || (page.row()->textAlignment(column) & Qt::AlignRight) != 0);
        }
        QCOMPARE(cells.join(QLatin1Char('|')), "22|name.mp4|00:00:12|97.66KB|3.91KB|"_s);
        auto *bar = qobject_cast<QProgressBar *>(page.bar());
        const auto progress = [&](qint64 received, qint64 total) {
            QMetaObject::invokeMethod(&page, "downloadProgress", Q_ARG(qint64, received), Q_ARG(qint64, total),
                                      Q_ARG(void *, static_cast<void *>(page.row())));
            return "%1 of %2, %3"_s.arg(bar->value()).arg(bar->maximum()).arg(bar->format());
        };
        QTRY_VERIFY(progress(5000, stream.size()).contains("B/s  "_s));
        const QString lastTold = bar->format();
        QTRY_VERIFY(bar->format() != lastTold); // though nothing comes
        const int wide = page.list->columnWidth(5);
        page.resize(600, 400);
        QVERIFY(page.list->columnWidth(5) < wide);
        bar->setFixedWidth(20);
        QCOMPARE(progress(5000, stream.size()), "5000 of 100003, %p%"_s);
        QVERIFY(progress(5000, 0).contains("of 0,"_s));
    }

    void finishedRow()
    {
        Page page;
        page.show();
        page.start(streamVideo("name"_s, "/stream"_s));
        page.start(streamVideo("other"_s, "/gone"_s));
        page.start(streamVideo("none"_s, "/stream"_s), 23);
        QTRY_COMPARE(page.rows(), "name.mp4 Finished;other.mp4 ;"_s);
        QVERIFY(!QFileInfo::exists(m_notes));
        QVERIFY(!page.bar() && page.bar(1));
        const QString file = m_folder->filePath("name.mp4"_s);
        QCOMPARE(page.row()->toolTip(1), file);
        page.list->setCurrentItem(page.row());
        QTest::keyClick(page.list, Qt::Key_Return);
        for (const int row : {1, 0})
            emit page.list->customContextMenuRequested(page.list->visualItemRect(page.row(row)).center());
        const auto menus = page.findChildren<QMenu *>();
        QVERIFY(menus.size() == 1 && menus.first()->isVisible());
        for (QAction *action : menus.first()->actions())
            action->trigger();
        QCOMPARE(m_opened, (QStringList{file, file, m_folder->path()}));
        QVERIFY(menus.first()->close());
    }

    void interruptedDownloadIsToldOnce()
    {
        auto page = std::make_unique<Page>();
        for (const QString &target : {"/stream"_s, "/stalled"_s, "/stalled_too"_s})
            page->start(streamVideo(target.mid(1), target));
        QTRY_COMPARE(page->row()->text(5), "Finished"_s);
        const int threadsBefore = ProcessFigures::threads();
        QVERIFY(QFileInfo::exists(m_notes));
        page.reset();
        QTRY_VERIFY(ProcessFigures::threads() < threadsBefore);
        QVERIFY(QFile::remove(m_folder->filePath("stalled_too.mp4"_s)));
        const Page next;
        QCOMPARE(next.rows(), "stalled.mp4 Interrupted;"_s);
        QVERIFY(!named<QLabel>(&next, "emptyHint_label")->isVisibleTo(&next) && !next.row()->icon(5).isNull()
                && next.row()->toolTip(5).contains("is incomplete"_s));
        QCOMPARE(next.row()->toolTip(1), m_folder->filePath("stalled.mp4"_s));
        QCOMPARE(next.row()->text(3), formatSize(stream.size()));
        QVERIFY(!QFileInfo::exists(m_notes));
        QCOMPARE(Page().rows(), QString());
    }

    void dropped_data()
    {
        textTable("title",
                  {"http://127.0.0.1/watch?v=a%20b -> Youtube Video Url", "file:///etc/hosts -> ",
                   "https://127.0.0.1/playlist?list=1 -> Youtube Playlist Url", "some words -> "});
    }
    void dropped()
    {
        QFETCH(QString, title);
        const QString text = QString::fromLatin1(QTest::currentDataTag());
        Page page;
        page.show();
        QMimeData data;
        // A link brings its words, too.
        data.setText(text.contains("playlist"_s) ? "A list"_s : text + QLatin1Char('\n'));
        if (text.contains("playlist"_s))
            data.setUrls({QUrl(text)});
        QDragEnterEvent enter({9, 9}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&page, &enter);
        QCOMPARE(enter.isAccepted(), !title.isEmpty());
        QDropEvent drop(QPointF(9, 9), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&page, &drop);
        Driver driver;
        if (enter.isAccepted()) {
            driver.whenOpen<VideoUrlDialog>([&](VideoUrlDialog *dialog) {
                QCOMPARE(dialog->windowTitle(), title);
                QCOMPARE(named<QLineEdit>(dialog, "urlLineEdit")->text(), text);
                dialog->close();
            });
        }
        QVERIFY2(driver.play(), qPrintable(driver.failure()));
    }

    void opensTheFolder_data()
    {
        textTable("message", {"%1 -> ", "%1/new/er # %20 folder -> ", "videos -> Invalid path", " -> Invalid path"});
    }
    void opensTheFolder()
    {
        QFETCH(QString, message);
        const QString folder = QString::fromLatin1(QTest::currentDataTag()).replace("%1"_s, m_folder->path());
        Page page;
        page.show();
        auto *field = named<QLineEdit>(&page, "leDestination");
        type(field, "x"_s);
        QCOMPARE(field->text(), m_folder->path());
        QVERIFY(!field->acceptDrops());
        field->setText(folder);
        QCOMPARE(messageDuring([&] { click(named<QPushButton>(&page, "btnOpen")); }), message);
        QCOMPARE(m_opened, message.isEmpty() ? QStringList{folder} : QStringList());
        QCOMPARE(CAppSetting::instance()->outputPath, message.isEmpty() ? folder : m_folder->path());
        QVERIFY(!message.isEmpty() || QDir(folder).exists());
    }

    void browsesForTheFolder()
    {
        Page page;
        page.show();
        for (const char *answer : {"reject", "accept"}) {
            Driver driver;
            driver.whenIdle([&] { click(named<QPushButton>(&page, "btnBrowse")); });
            driver.whenOpen<QFileDialog>([&](QFileDialog *chooser) {
                named<QLineEdit>(chooser, "fileNameEdit")->setText(QDir::homePath());
                QMetaObject::invokeMethod(chooser, answer);
            });
            QVERIFY2(driver.play(), qPrintable(driver.failure()));
            QCOMPARE(CAppSetting::instance()->outputPath, *answer == 'a' ? QDir::homePath() : m_folder->path());
            QCOMPARE(named<QLineEdit>(&page, "leDestination")->text(), CAppSetting::instance()->outputPath);
        }
    }

    // The requests that are answered before the quit; then exec() returns, and nothing is asked or shown any more.
    void quits_data()
    {
        textTable("waits", {"0 -> for the list", "1 -> for a page", "2 -> for a probe", "7 -> for an address"});
    }
    void quits()
    {
        const int answered = QByteArray(QTest::currentDataTag()).toInt();
        m_server->hold();
        Page page;
        page.show();
        Driver driver;
        enterAddress(driver, page, "addPlaylist", "/playlist?v=a,b"_s);
        const auto hasRequest = [this](int count) { return [=] { return m_server->requests().size() == count; }; };
        for (int i = 1; i <= answered; ++i)
            driver.when("a request is there"_s, hasRequest(i), [&] { m_server->answerNext(); });
        if (answered == 7)
            driver.whenOpen<VideoInfo>([](VideoInfo *) { chooseFormat(0); });
        driver.when("it waits"_s, hasRequest(answered + 1), &QCoreApplication::quit);
        driver.run();
        QCoreApplication::exec();
        QVERIFY2(driver.finished() && driver.failure().isEmpty(), qPrintable(driver.failure()));
        QTest::qWait(0);
        QVERIFY(!visibleTopLevel<QDialog>());
        QCOMPARE(page.rows(), answered == 7 ? "a.mp4 ;"_s : QString());
        QCOMPARE(m_server->requests().size(), answered + 1);
    }

private:
    // The site: pages of videos and playlists that the address itself spells out, and streams that end in many ways.
    Reply answer(const Request &request)
    {
        if (const auto during = std::exchange(m_duringRequest, {}))
            during();
        const auto isFor = [&](const char *target) { return request.target.startsWith(target); };
        const QByteArray argument = request.target.mid(request.target.indexOf('=') + 1);
        Reply reply = Reply::range(stream, request);
        if (isFor("/playlist")) {
            reply.body.clear();
            for (const QByteArray &id : argument.isEmpty() ? QByteArrayList() : argument.split(','))
                reply.body += "<tr class=\"pl-video yt-uix-tile\" data-video-id=\"" + id + "\">\n";
        } else if (isFor("/watch") && argument != "none") {
            const QByteArray url = m_server->address("/stream"_s).toLatin1().toPercentEncoding();
            reply.body = "ytplayer.config = {\"args\": {\"title\": \"" + QByteArray::fromPercentEncoding(argument)
                + "\", \"length_seconds\": \"12\", \"url_encoded_fmt_stream_map\": \"itag=18&url=" + url
                + ",itag=22&url=" + url + "\"}};ytplayer.load";
        } else if (isFor("/markup")) {
            return {0, "HTTP/1.1 500 <h1>Oh</h1> <a href='x:y'>%2</a>\r\nContent-Length: 0\r\n\r\n"};
        } else if (isFor("/relative") || isFor("/nowhere")) {
            return {302, {}, isFor("/relative") ? "Location: /stream\r\n" : ""};
        } else if (isFor("/redirect") && !isFor("/redirect0")) {
            const int left = request.target.mid(int(qstrlen("/redirect"))).toInt() - 1;
            return {302, {}, "Location: " + m_server->address("/redirect%1\r\n"_s.arg(left)).toLatin1()};
        }
        if (isFor("/gone") || (isFor("/part") && request.first == stream.size() / 4))
            return {404};
        if (isFor("/stalled"))
            reply.sent = 1000;
        return reply;
    }

    [[nodiscard]] VideoItem streamVideo(const QString &title, const QString &target) const
    {
        const int size = target == "/unknown"_s ? 0 : stream.size();
        return video("22 mp4 1280X720 %1"_s.arg(size), title, m_server->address(target));
    }

    void enterAddress(Driver &driver, Page &page, const char *button, const QString &target)
    {
        driver.whenIdle([&page, button] { click(named<QToolButton>(&page, button)); });
        driver.whenOpen<VideoUrlDialog>([this, target](VideoUrlDialog *dialog) {
            dialog->setAddress(m_server->address(target));
            click(named<QPushButton>(dialog, "btnGo"));
        });
    }

    // By a press of the row's button, or by closing the dialog.
    static void chooseFormat(int row)
    {
        auto *dialog = visibleTopLevel<VideoInfo>();
        row < 0 ? void(dialog->close()) : click(named<QTableWidget>(dialog, "tableWidget")->cellWidget(row, 6));
    }

    const QString m_notes = CAppSetting::instance()->appHome + "Running"_s;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<ScriptedServer> m_server;
    std::function<void()> m_duringRequest; // once
    QStringList m_opened; // paths
};

FOURFOLD_TEST_MAIN(QApplication, TestUi)

#include "tst_ui.moc"
