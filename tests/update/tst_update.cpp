#include "settings/CAppSetting.h"
#include "support/ScriptedServer.h"
#include "support/TestMain.h"
#include "support/TextTable.h"
#include "tour/Driver.h"
#include "update/LiveUpdateDialog.h"
#include "update/ReleaseNotes.h"
#include "update/UpdateOffer.h"

#include <QtTest>
#include <QtWidgets>

namespace {

QByteArray offer(const QByteArray &notes, const QByteArray &url = "https://acme.example/new")
{
    return "<product name='x' version='9.1' url='" + url + "'>" + notes + "</product>";
}

QString notesOf(const QByteArray &message)
{
    const auto read = UpdateOffer::fromMessage(message);
    const bool isRead = read && read->version == QLatin1String("9.1") && read->url.path() == QLatin1String("/new");
    return isRead ? read->notes : QStringLiteral("none");
}

} // namespace

class TestUpdate final : public QObject
{
    Q_OBJECT

public slots:
    void takeUrl(const QUrl &url) { m_opened += url.toString(); }

protected:
    // Every check ends with its reply's.
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        m_ended += event->type() == QEvent::DeferredDelete && qobject_cast<QNetworkReply *>(watched) ? 1 : 0;
        return false;
    }

private slots:
    void initTestCase()
    {
        qApp->installEventFilter(this);
        QApplication::setQuitOnLastWindowClosed(false);
        for (const char *scheme : {"", "https", "file"})
            QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "takeUrl");
    }
    void init()
    {
        m_reply = {200, offer("News")};
        m_server = std::make_unique<ScriptedServer>([this](const Request &) { return m_reply; });
        m_setting->updateAddress = m_server->address();
        m_setting->auto_update = 0;
        m_setting->lastCheckDate = m_longAgo;
        m_opened.clear();
        m_ended = 0;
    }

    // What stands in the first element; then the notes, or nothing where there is no offer.
    void offers_data()
    {
        textTable("notes",
                  {"News ä -> News ä", " -> ", "1<br/>2 <b>and <i>3</i></b><!-- no --><![CDATA[<4>]]> -> 12 and 3<4>",
                   "a</product><more>b -> a", "&lol; -> none", "<b>1</c> -> none", "a</product -> none", "\xff -> none",
                   "<d e=f> -> none"});
    }
    void offers()
    {
        QTEST(notesOf(offer(QTest::currentDataTag())), "notes");
        if (qstrcmp(QTest::currentDataTag(), "\xff") != 0)
            return;
        QCOMPARE(notesOf(offer(QByteArray("<a>").repeated(30000) + "b" + QByteArray("</a>").repeated(30000))),
                 QStringLiteral("b"));
        QCOMPARE(notesOf(offer(QByteArray("<a b=''/>").repeated(600) + "c")), QStringLiteral("c"));
        QByteArray attributes;
        for (int i = 0; i < 20000; ++i)
            attributes += " a" + QByteArray::number(i) + "=''";
        QCOMPARE(notesOf(offer("<a b='>'" + attributes + "/>")), QStringLiteral("none"));
    }

    void leadsToThisMachine_data()
    {
        textTable("answer",
                  {"https://acme.example/a?b=1 -> no", "ftp://acme.example/a -> no", "mailto:a@b.c -> no",
                   "app:run -> no", "acme.example/new -> no", " -> no", "file:///bin/sh -> yes",
                   "FILE:///bin/sh -> yes", "/bin/sh -> yes", "../../../../../../../../bin/sh -> yes",
                   "//host/share/setup -> yes"});
    }
    void leadsToThisMachine()
    {
        const QUrl url(QString::fromLatin1(QTest::currentDataTag()));
        QTEST(QString::fromLatin1(UpdateOffer::leadsToThisMachine(url) ? "yes" : "no"), "answer");
    }

    // Status and body of the reply, "_" for a zero byte; then what the person reads.
    void replies_data()
    {
        textTable("end",
                  {"200 latest -> You have the latest version now.No update is available at this times.",
                   "200 latest_more -> You have the latest version now.No update is available at this times.",
                   "200 latest\r\n -> Check for updates...", "200 <product name=oops> -> Check for updates...",
                   "200 <product name=\"x\">News</product> -> News", "200 <product name='x'></product>too -> ",
                   "200  -> failed", "200 late -> failed", "200 Latest -> failed", "200  latest -> failed",
                   "200 <?xml version='1.0'?><product name='x'/> -> failed", "500 latest -> failed", "302  -> failed",
                   "200 latestCUT -> failed", "200 latestLONG -> failed"});
    }
    void replies()
    {
        const QByteArray body = QByteArray(QTest::currentDataTag()).mid(4).replace('_', '\0');
        m_reply = {QByteArray(QTest::currentDataTag()).left(3).toInt(), body, "Location: /other\r\n", Reply::Close};
        m_reply.body.replace("LONG", QByteArray(1100000, ' '));
        m_reply.sent = body.endsWith("CUT") ? 6 : m_reply.body.size();
        for (const int bytesPerTurn : {0, 1}) {
            m_reply.bytesPerTurn = m_reply.body.size() < 1000 ? bytesPerTurn : 0;
            m_setting->productURL = QString::fromLatin1(bytesPerTurn ? "https://a.example" : "https://a.example?b=1");
            const QString link =
                bytesPerTurn ? m_setting->productURL : QLatin1Char('"') + m_setting->productURL + QLatin1Char('"');
            if (m_reply.status == 500)
                QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("^update error : Internal")));
            LiveUpdateDialog dialog;
            dialog.show();
            QCOMPARE(dialog.windowTitle() + shownBy(dialog), QStringLiteral("Update") + m_checking);
            QTRY_COMPARE(m_ended, bytesPerTurn + 1);
            const QString failed =
                QStringLiteral("Update failed,please check your device and network connection.<br><a href"
                               " = %1 >Please click here to visit the product page to download.</a>")
                    .arg(link);
            QTEST(shownBy(dialog).replace(failed, QStringLiteral("failed")), "end");
        }
    }

    // The interval's code and the days since the last check.
    void automaticCheck_data()
    {
        textTable("checks",
                  {"0 1000 -> no", "1 0 -> no", "1 1 -> yes", "2 6 -> no", "2 7 -> yes", "3 29 -> no", "3 30 -> yes",
                   "5 0 -> yes", "5 -1 -> no", "-1 0 -> yes"});
    }
    void automaticCheck()
    {
        QFETCH(QString, checks);
        const QList<QByteArray> words = QByteArray(QTest::currentDataTag()).split(' ');
        m_setting->auto_update = words.at(0).toInt();
        m_setting->lastCheckDate = QDate::currentDate().addDays(-words.at(1).toInt());
        LiveUpdateDialog dialog;
        QCOMPARE(shownBy(dialog), checks == QLatin1String("yes") ? m_checking : QString());
        QVERIFY(!dialog.isVisible());
        QTRY_COMPARE(dialog.isVisible(), checks == QLatin1String("yes"));
    }

    void secondCheckRetiresTheFirst()
    {
        m_server->hold();
        LiveUpdateDialog dialog;
        dialog.show();
        QTRY_COMPARE(m_server->requests().size(), 1);
        dialog.show();
        QTRY_COMPARE(m_server->requests().size(), 2);
        m_server->answerNext();
        QTRY_COMPARE(m_server->connections(), 1);
        QVERIFY(m_ended == 1 && shownBy(dialog) == m_checking);
        m_server->answerNext();
        QTRY_COMPARE(shownBy(dialog), QStringLiteral("News"));
        QVERIFY(QMetaObject::invokeMethod(&dialog, "checkUpdateReadyRead"));
        QVERIFY(!named<QPushButton>(&dialog, "minimize_pushButton")->isHidden());
    }

    // Page and way; then whether it counts as the last check, and what is opened.
    void closing_data()
    {
        textTable("end",
                  {"0 cancelCheck_pushButton -> no", "0 Escape -> no", "1 remindMeLater_pushButton -> yes",
                   "1 Escape -> yes", "1 updateNow_pushButton -> yes https://acme.example/new",
                   "1 file:///bin/sh -> yes", "2 cancelDownload_pushButton -> no"});
    }
    void closing()
    {
        const QList<QByteArray> words = QByteArray(QTest::currentDataTag()).split(' ');
        const int page = words.at(0).toInt();
        const bool isRefused = words.at(1).startsWith("file");
        m_reply.body = offer("News", isRefused ? words.at(1) : QByteArray("https://acme.example/new"));
        if (page == 0)
            m_server->hold();
        LiveUpdateDialog dialog;
        dialog.show();
        QTRY_VERIFY(m_server->requests().size() == 1 && (page == 0) == (shownBy(dialog) == m_checking));
        if (page == 2)
            named<QStackedWidget>(&dialog, "stackedWidget")->setCurrentIndex(page);
        if (words.at(1) == "Escape")
            QTest::keyClick(&dialog, Qt::Key_Escape);
        else
            click(named<QPushButton>(&dialog, isRefused ? "updateNow_pushButton" : words.at(1).constData()));
        QVERIFY(!dialog.isVisible());
        QTRY_VERIFY(m_ended == 1 && (page != 0 || m_server->connections() == 0));
        QVERIFY(!dialog.isVisible());
        const bool isLast = m_setting->lastCheckDate == QDate::currentDate();
        QVERIFY(isLast || m_setting->lastCheckDate == m_longAgo);
        m_opened.prepend(QString::fromLatin1(isLast ? "yes" : "no"));
        QTEST(m_opened.join(QLatin1Char(' ')), "end");
    }

    void notesLoadNothing()
    {
        const QTemporaryDir folder;
        const QString picture = folder.filePath(QStringLiteral("secret.png"));
        QVERIFY(QImage(50, 50, QImage::Format_RGB32).save(picture));
        QTextEdit edit;
        auto *notes = new ReleaseNotes(&edit);
        for (const QString &source : {picture, QUrl::fromLocalFile(picture).toString(), m_server->address()}) {
            notes->setNotes(QStringLiteral("<img src='%1'>").arg(source));
            edit.grab();
            const QVariant loaded = edit.document()->resource(QTextDocument::ImageResource, QUrl(source));
            QCOMPARE(loaded.value<QImage>().size(), QSize(1, 1));
        }
        QVERIFY(m_server->requests().isEmpty());
        for (const QString &wild :
             {QStringLiteral("<ul><li>").repeated(50000), QString(500000, QLatin1Char('a')),
              QStringLiteral("< TABLE cellpadding=1000000000>"), QStringLiteral("<td>x"), QStringLiteral("<style>")}) {
            notes->setNotes(wild);
            QCOMPARE(edit.toPlainText(), wild);
            edit.grab();
        }
    }

private:
    static QString shownBy(const LiveUpdateDialog &dialog)
    {
        const bool isOffer = named<QStackedWidget>(&dialog, "stackedWidget")->currentIndex() == 1;
        return isOffer ? named<QTextEdit>(&dialog, "updateInfo_textEdit")->toPlainText()
                       : named<QLabel>(&dialog, "label")->text();
    }

    CAppSetting *const m_setting = CAppSetting::instance();
    const QDate m_longAgo{2020, 2, 20};
    const QString m_checking = QStringLiteral("Check for updates...");
    Reply m_reply;
    std::unique_ptr<ScriptedServer> m_server;
    QStringList m_opened;
    int m_ended = 0; // checks
};

FOURFOLD_TEST_MAIN(QApplication, TestUpdate)

#include "tst_update.moc"
