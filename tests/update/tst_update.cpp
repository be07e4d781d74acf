#include "settings/CAppSetting.h"
#include "update/LiveUpdateDialog.h"
#include "UpdateService.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QtTest>

using Manner = UpdateService::Manner;

namespace {

const QString checking = QStringLiteral("Check for updates...");
const QString latest = QStringLiteral("You have the latest version now.No update is available at this times.");
const QString failed = QStringLiteral(
    "Update failed,please check your device and network connection."
    "<br><a href = https://acme.example/get >Please click here to visit the product page to download.</a>");

CAppSetting &setting()
{
    return *CAppSetting::instance();
}

QByteArray offer(const QByteArray &notes, const QByteArray &url = "https://acme.example/new")
{
    return "<product name=\"Box\" version=\"9.1\" url=\"" + url + "\">" + notes + "</product>";
}

template <class Widget> Widget *child(const LiveUpdateDialog &dialog, const char *name)
{
    return dialog.findChild<Widget *>(QString::fromLatin1(name));
}

QString page(const LiveUpdateDialog &dialog)
{
    return child<QStackedWidget>(dialog, "stackedWidget")->currentWidget()->objectName();
}

QString labelText(const LiveUpdateDialog &dialog)
{
    return child<QLabel>(dialog, "label")->text();
}

QString notesText(const LiveUpdateDialog &dialog)
{
    return child<QTextEdit>(dialog, "updateInfo_textEdit")->toPlainText();
}

void press(const LiveUpdateDialog &dialog, const char *button)
{
    QTest::mouseClick(child<QPushButton>(dialog, button), Qt::LeftButton);
}

// Counts the replies that were given up, which every check does once with its own.
class EndedChecks final : public QObject
{
public:
    EndedChecks() { qApp->installEventFilter(this); }

    int count = 0;

protected:
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::DeferredDelete && qobject_cast<QNetworkReply *>(object))
            ++count;
        return false;
    }
};

} // namespace

class UpdateTest final : public QObject
{
    Q_OBJECT

public slots:
    void remember(const QUrl &url) { m_opened << url.toString(); }

private slots:
    void initTestCase();
    void init();

    void replyDecidesTheOutcome_data();
    void replyDecidesTheOutcome();
    void longReplyIsRefusedEarly();
    void unreachableServiceIsLogged();
    void failureLinksToTheProduct_data();
    void failureLinksToTheProduct();

    void secondCheckRetiresTheFirst();
    void automaticCheckIsDue_data();
    void automaticCheckIsDue();

    void closingAbortsTheCheck_data();
    void closingAbortsTheCheck();
    void closedDialogStaysClosed();
    void destroyedDialogIsQuiet();
    void dismissedOfferCountsAsCheck_data();
    void dismissedOfferCountsAsCheck();
    void offerLeadsOnlyToTheWeb_data();
    void offerLeadsOnlyToTheWeb();

    void notesLoadNothing();
    void wildNotesStayText_data();
    void wildNotesStayText();

private:
    QStringList m_opened;
};

void UpdateTest::initTestCase()
{
    for (const char *scheme : {"", "http", "https", "file", "javascript", "mailto", "app"})
        QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "remember");
}

void UpdateTest::init()
{
    m_opened.clear();
    setting().productURL = QStringLiteral("https://acme.example/get");
    setting().auto_update = 0;
    setting().lastCheckDate = QDate(2020, 2, 20);
}

void UpdateTest::replyDecidesTheOutcome_data()
{
    QTest::addColumn<QByteArray>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<Manner>("manner");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("notes"); // null where there is no offer

    const QByteArray ok("200 OK");
    const QString none;
    const auto add = [&](const char *name, const QByteArray &body, const QString &label, const QString &notes = {}) {
        QTest::newRow(name) << ok << body << Manner::Whole << label << notes;
        if (body.size() < 500)
            QTest::addRow("%s, slowly", name) << ok << body << Manner::ByteByByte << label << notes;
    };

    add("latest", "latest", latest);
    add("latest, NUL", QByteArray("latest\0more", 11), latest);
    add("latest, line break", "latest\r\n", checking);
    add("latest and more", "latestest", checking);
    add("Latest", "Latest", failed);
    add("part of latest", "late", failed);
    add("nothing", "", failed);
    add("page", "<html>latest</html>", failed);
    add("declaration first", "<?xml version='1.0'?>" + offer("News"), failed);
    add("byte-order mark first", "\xef\xbb\xbf" + offer("News"), failed);
    add("blank first", " latest", failed);

    add("offer", offer("News \xc3\xa4"), checking, QStringLiteral("News ä"));
    add("offer without notes", offer(""), checking, QStringLiteral(""));
    add("offer with elements", offer("One<br/>two <b>and <i>three</i></b><!-- no --><![CDATA[<4>]]>"), checking,
        QStringLiteral("Onetwo and three<4>"));
    add("offer with markup in its text", offer("&lt;b>Bold&lt;/b>"), checking, QStringLiteral("Bold"));
    add("offer without attributes", "<product name='x'>News</product>", checking, QStringLiteral("News"));
    add("offer, then a second element", offer("News") + "<more/>", checking, QStringLiteral("News"));
    add("offer without end", "<product name='x' url='http://a/'>News", checking);
    add("offer with a broken tag", "<product name=oops>News</product>", checking);
    add("offer with an unknown entity", offer("&lol;"), checking);
    add("offer in broken UTF-8", offer("\xff\xfe"), checking);
    add("offer of 200,000 nested elements",
        offer(QByteArray("<a>").repeated(100000) + "deep" + QByteArray("</a>").repeated(100000)), checking,
        QStringLiteral("deep"));
    QByteArray attributes;
    attributes.reserve(1000000);
    for (int i = 0; i < 60000; ++i)
        attributes += " a" + QByteArray::number(i) + "=''";
    add("offer with 60,000 attributes behind a quoted bracket", "<product name='>'" + attributes + ">News</product>",
        checking);
    add("offer with 60,000 attributes", "<product name=''" + attributes + ">News</product>", checking);

    const auto addStatus = [&](const char *status, const QByteArray &body) {
        QTest::addRow("%s", status) << QByteArray(status) << body << Manner::Whole << failed << none;
    };
    addStatus("500 Internal Server Error", "latest");
    addStatus("404 Not Found", offer("News"));
    addStatus("302 Found\r\nLocation: /other", "");
    QTest::newRow("cut off") << ok << QByteArray("latest") << Manner::CutOff << failed << none;
    QTest::newRow("offer cut off") << ok << offer("News") << Manner::CutOff << failed << none;
}

void UpdateTest::replyDecidesTheOutcome()
{
    QFETCH(QByteArray, status);
    QFETCH(QByteArray, body);
    QFETCH(Manner, manner);
    QFETCH(QString, label);
    QFETCH(QString, notes);

    UpdateService service;
    service.status = status;
    service.body = body;
    service.manner = manner;
    setting().updateAddress = service.address();

    const EndedChecks ended;
    LiveUpdateDialog dialog;
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Update"));
    dialog.show();
    QVERIFY(dialog.isVisible());
    QCOMPARE(page(dialog), QStringLiteral("page"));
    QCOMPARE(labelText(dialog), checking);

    QTRY_COMPARE(ended.count, 1);
    QCOMPARE(labelText(dialog), label);
    QCOMPARE(page(dialog), notes.isNull() ? QStringLiteral("page") : QStringLiteral("page_2"));
    QCOMPARE(notesText(dialog), notes);
    QCOMPARE(service.requestLines(), QVector<QByteArray>{"GET /check HTTP/1.1"});
    QVERIFY(dialog.isVisible());
}

void UpdateTest::longReplyIsRefusedEarly()
{
    UpdateService service;
    service.manner = Manner::Endless;
    service.body = offer(QByteArray("News").repeated(20000)).chopped(1);
    setting().updateAddress = service.address();

    LiveUpdateDialog dialog;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("longer than 1048576 bytes")));
    dialog.show();
    QTRY_COMPARE(labelText(dialog), failed);
    QTRY_COMPARE(service.droppedByClient(), 1);
    QVERIFY2(service.sentBytes() < 20000000, qPrintable(QString::number(service.sentBytes())));
}

void UpdateTest::unreachableServiceIsLogged()
{
    setting().updateAddress = UpdateService().address();
    LiveUpdateDialog dialog;
    QTest::ignoreMessage(QtDebugMsg, "update error : ConnectionRefusedError");
    dialog.show();
    QTRY_COMPARE(labelText(dialog), failed);

    setting().updateAddress.clear();
    QTest::ignoreMessage(QtDebugMsg, "update error : ProtocolUnknownError");
    dialog.show();
    QCOMPARE(labelText(dialog), checking);
    QTRY_COMPARE(labelText(dialog), failed);

    UpdateService service;
    service.body = "<html>";
    setting().updateAddress = service.address();
    QTest::ignoreMessage(QtDebugMsg, "Error update message gotten");
    dialog.show();
    QTRY_COMPARE(labelText(dialog), failed);
}

void UpdateTest::failureLinksToTheProduct_data()
{
    QTest::addColumn<QString>("productURL");

    QTest::newRow("plain") << "https://acme.example/get";
    QTest::newRow("query") << "https://acme.example/get?a=1&copy=2";
}

void UpdateTest::failureLinksToTheProduct()
{
    QFETCH(QString, productURL);

    setting().productURL = productURL;
    UpdateService service;
    setting().updateAddress = service.address();
    LiveUpdateDialog dialog;
    dialog.show();
    QTRY_VERIFY(labelText(dialog).startsWith(failed.left(20)));

    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    auto *const label = child<QLabel>(dialog, "label");
    label->setFocus(Qt::TabFocusReason);
    QTest::keyClick(label, Qt::Key_Tab);
    QTest::keyClick(label, Qt::Key_Return);
    QCOMPARE(m_opened, QStringList{productURL});
}

void UpdateTest::secondCheckRetiresTheFirst()
{
    UpdateService first;
    first.body = offer("News");
    first.manner = Manner::Open;
    UpdateService second;
    second.body = "latest";

    const EndedChecks ended;
    setting().updateAddress = first.address();
    LiveUpdateDialog dialog;
    dialog.show();
    QTRY_COMPARE(first.requestLines().size(), 1);
    setting().updateAddress = second.address();
    dialog.show();
    QTRY_COMPARE(labelText(dialog), latest);
    QTRY_COMPARE(first.droppedByClient(), 1);
    QTRY_COMPARE(ended.count, 2);
    QCOMPARE(labelText(dialog), latest);
    QCOMPARE(page(dialog), QStringLiteral("page"));
}

void UpdateTest::automaticCheckIsDue_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("daysAgo");
    QTest::addColumn<bool>("due");

    QTest::newRow("never") << 0 << 1000 << false;
    QTest::newRow("daily, today") << 1 << 0 << false;
    QTest::newRow("daily, yesterday") << 1 << 1 << true;
    QTest::newRow("weekly, 6 days") << 2 << 6 << false;
    QTest::newRow("weekly, 7 days") << 2 << 7 << true;
    QTest::newRow("monthly, 29 days") << 3 << 29 << false;
    QTest::newRow("monthly, 30 days") << 3 << 30 << true;
    QTest::newRow("unknown code, today") << 5 << 0 << true;
    QTest::newRow("unknown code, tomorrow") << 5 << -1 << false;
    QTest::newRow("negative code, today") << -1 << 0 << true;
    QTest::newRow("daily, tomorrow") << 1 << -1 << false;
}

void UpdateTest::automaticCheckIsDue()
{
    QFETCH(int, code);
    QFETCH(int, daysAgo);
    QFETCH(bool, due);

    UpdateService service;
    service.body = offer("News");
    setting().updateAddress = service.address();
    setting().auto_update = code;
    setting().lastCheckDate = QDate::currentDate().addDays(-daysAgo);

    LiveUpdateDialog dialog;
    QCOMPARE(page(dialog), due ? QStringLiteral("page") : QStringLiteral("page_2"));
    QVERIFY(!dialog.isVisible());
    if (due)
        QTRY_VERIFY2(dialog.isVisible(), "the offer is not shown");
}

void UpdateTest::closingAbortsTheCheck_data()
{
    QTest::addColumn<QByteArray>("way");
    QTest::addColumn<Manner>("manner");

    QTest::newRow("Cancel") << QByteArray("cancelCheck_pushButton") << Manner::Silent;
    QTest::newRow("Escape") << QByteArray("Escape") << Manner::Silent;
    QTest::newRow("close") << QByteArray("close") << Manner::Silent;
    QTest::newRow("close before the last byte of an offer") << QByteArray("close") << Manner::Open;
}

namespace {

void leave(LiveUpdateDialog &dialog, const QByteArray &way)
{
    if (way == "Escape")
        QTest::keyClick(&dialog, Qt::Key_Escape);
    else if (way == "close")
        dialog.close();
    else
        press(dialog, way.constData());
}

} // namespace

void UpdateTest::closingAbortsTheCheck()
{
    QFETCH(QByteArray, way);
    QFETCH(Manner, manner);

    UpdateService service;
    service.manner = manner;
    service.body = offer("News");
    setting().updateAddress = service.address();
    const EndedChecks ended;
    LiveUpdateDialog dialog;
    dialog.show();
    QTRY_COMPARE(service.requestLines().size(), 1);
    if (manner == Manner::Open)
        QTRY_VERIFY(service.sentBytes() > service.body.size());

    leave(dialog, way);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(labelText(dialog), failed);
    QTRY_COMPARE(service.droppedByClient(), 1);
    QTRY_COMPARE(ended.count, 1);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(setting().lastCheckDate, QDate(2020, 2, 20));
}

void UpdateTest::closedDialogStaysClosed()
{
    QTemporaryFile message;
    QVERIFY(message.open());
    message.write(offer("News"));
    message.close();
    setting().updateAddress = QUrl::fromLocalFile(message.fileName()).toString();

    const EndedChecks ended;
    LiveUpdateDialog dialog;
    dialog.show();
    dialog.close();
    QTRY_COMPARE(ended.count, 1);
    QVERIFY2(!dialog.isVisible(), "the answer shows a dialog that was closed before it came");
    QCOMPARE(labelText(dialog), failed);
}

void UpdateTest::destroyedDialogIsQuiet()
{
    UpdateService service;
    service.manner = Manner::Silent;
    setting().updateAddress = service.address();
    {
        LiveUpdateDialog dialog;
        dialog.show();
        QTRY_COMPARE(service.requestLines().size(), 1);
    }
    QTRY_COMPARE(service.droppedByClient(), 1);
}

void UpdateTest::dismissedOfferCountsAsCheck_data()
{
    QTest::addColumn<QByteArray>("way");
    QTest::addColumn<QStringList>("opened");

    QTest::newRow("Remind Me Later") << QByteArray("remindMeLater_pushButton") << QStringList();
    QTest::newRow("Escape") << QByteArray("Escape") << QStringList();
    QTest::newRow("close") << QByteArray("close") << QStringList();
    QTest::newRow("Update Now") << QByteArray("updateNow_pushButton")
                                << QStringList{QStringLiteral("https://acme.example/new")};
}

void UpdateTest::dismissedOfferCountsAsCheck()
{
    QFETCH(QByteArray, way);

    UpdateService service;
    service.body = offer("News");
    setting().updateAddress = service.address();
    LiveUpdateDialog dialog;
    dialog.show();
    QTRY_COMPARE(page(dialog), QStringLiteral("page_2"));
    QCOMPARE(setting().lastCheckDate, QDate(2020, 2, 20));

    leave(dialog, way);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(setting().lastCheckDate, QDate::currentDate());
    QTEST(m_opened, "opened");

    dialog.show();
    QCOMPARE(page(dialog), QStringLiteral("page"));
    QTRY_COMPARE(page(dialog), QStringLiteral("page_2"));
}

void UpdateTest::offerLeadsOnlyToTheWeb_data()
{
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<bool>("opens");

    QTest::newRow("http") << QByteArray("http://acme.example/a?b=1&amp;c=%202") << true;
    QTest::newRow("HTTPS") << QByteArray("HTTPS://acme.example/") << true;
    QTest::newRow("none") << QByteArray() << true;
    QTest::newRow("without a scheme") << QByteArray("acme.example/new") << true;
    QTest::newRow("file") << QByteArray("file:///bin/sh") << false;
    QTest::newRow("path") << QByteArray("/bin/sh") << false;
    QTest::newRow("relative path") << QByteArray("../../../../../../../../../bin/sh") << false;
    QTest::newRow("network path") << QByteArray("//host/share/setup") << false;
    QTest::newRow("script") << QByteArray("javascript:alert(1)") << false;
    QTest::newRow("mail") << QByteArray("mailto:a@acme.example") << false;
    QTest::newRow("program") << QByteArray("app:run") << false;
}

void UpdateTest::offerLeadsOnlyToTheWeb()
{
    QFETCH(QByteArray, url);
    QFETCH(bool, opens);

    UpdateService service;
    service.body = offer("News", url);
    setting().updateAddress = service.address();
    LiveUpdateDialog dialog;
    dialog.show();
    QTRY_COMPARE(page(dialog), QStringLiteral("page_2"));

    if (!opens)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("does not lead to the web")));
    press(dialog, "updateNow_pushButton");
    QCOMPARE(m_opened.size(), opens ? 1 : 0);
    QVERIFY(!dialog.isVisible());
}

void UpdateTest::notesLoadNothing()
{
    QTemporaryDir folder;
    const QString picture = folder.filePath(QStringLiteral("secret.png"));
    QImage image(50, 50, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(picture));

    UpdateService service;
    const QStringList sources{picture, QUrl::fromLocalFile(picture).toString(), service.address()};
    QByteArray notes("News");
    for (const QString &source : sources)
        notes += "&lt;img src='" + source.toUtf8() + "'>";
    service.body = offer(notes);
    setting().updateAddress = service.address();

    LiveUpdateDialog dialog;
    dialog.show();
    QTRY_COMPARE(page(dialog), QStringLiteral("page_2"));
    auto *const edit = child<QTextEdit>(dialog, "updateInfo_textEdit");
    QVERIFY(edit->toHtml().contains(QStringLiteral("secret.png")));
    const QImage shown = edit->grab().toImage();
    for (const QString &source : sources) {
        const QVariant resource = edit->document()->resource(QTextDocument::ImageResource, QUrl(source));
        QCOMPARE(qvariant_cast<QImage>(resource).size(), QSize(1, 1));
    }
    QCOMPARE(service.requestLines().size(), 1);
}

void UpdateTest::wildNotesStayText_data()
{
    QTest::addColumn<QByteArray>("notes");

    QTest::newRow("tables in tables") << QByteArray("<table><tr><td>").repeated(1000);
    QTest::newRow("crowd of tags") << QByteArray("<ul><li>").repeated(50000);
    QTest::newRow("endless word") << QByteArray(500000, 'a');
    QTest::newRow("giant cell") << QByteArray("<table cellpadding=1000000000><tr><td>x");
    QTest::newRow("giant cell by style") << QByteArray("<table><tr><td style='padding : 999999999px'>x");
    QTest::newRow("giant cell by a sheet") << QByteArray("<style>td{padding:99999999px}</style><table><tr><td>x");
    QTest::newRow("giant cell without a table") << QByteArray("<tr><td style='padding:9e9px'>x");
    QTest::newRow("giant cell behind a quoted bracket") << QByteArray("<table title='>' cellpadding=9e9><tr><td>x");
}

void UpdateTest::wildNotesStayText()
{
    QFETCH(QByteArray, notes);

    UpdateService service;
    service.body = offer("<![CDATA[" + notes + "]]>");
    setting().updateAddress = service.address();
    LiveUpdateDialog dialog;
    dialog.show();
    QTRY_COMPARE(page(dialog), QStringLiteral("page_2"));
    QCOMPARE(notesText(dialog), QString::fromUtf8(notes));
    dialog.grab();
}

int main(int argc, char *argv[])
{
    // The settings are written into this home when the process ends, so it must outlive them.
    static const QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());

    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    UpdateTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_update.moc"
