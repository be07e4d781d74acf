#include "settings/CAppSetting.h"
#include "settings/FileNames.h"
#include "settings/Sizes.h"
#include "support/Files.h"
#include "support/TestMain.h"
#include "support/TextTable.h"

#include <QDebug>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

// A process of its own, since settings live once a process: prints the options, and changes them, and does not come to
// its normal end where that is wished.
int probe(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    CAppSetting &setting = *CAppSetting::instance();
    QString options;
    QDebug(&options).noquote() << setting.windowPoint << setting.windowSize << setting.maximization
                               << setting.auto_update << setting.lastCheckDate.toString(Qt::ISODate)
                               << setting.outputPath << setting.backupFilePath << setting.downloadiCloudPath;
    std::puts(options.toUtf8().constData());
    std::fflush(stdout);
    const QStringList wishes = QCoreApplication::arguments();
    if (wishes.contains("change"_s)) {
        setting.windowPoint = QPoint(-7, 40);
        setting.windowSize = QSize(1000, 700);
        setting.maximization = true;
        setting.auto_update = 3;
        setting.lastCheckDate = QDate(2020, 2, 29);
        setting.outputPath = "/한국어; \"a\"=b/"_s;
        setting.backupFilePath = "/backup/"_s;
        setting.downloadiCloudPath = "/cloud/"_s;
    }
    if (wishes.contains("crash"_s))
        std::_Exit(0);
    return 0;
}

QString optionsOf(const QString &home, const QStringList &wishes)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME"_s, home);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), QStringList("probe"_s) + wishes);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

} // namespace

class TestSettings final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_company = CAppSetting::instance()->companyName;
        m_options = CAppSetting::instance()->appHome.mid(QDir::homePath().size()) + "User.dat"_s;
    }

    void sizeText_data()
    {
        textTable("text",
                  {"0 -> 0.00 B", "1024 -> 1024.00 B", "1025 -> 1.00 KB", "1536 -> 1.50 KB", "1048576 -> 1024.00 KB",
                   "1048577 -> 1.00 MB", "1073741824 -> 1024.00 MB", "1073741825 -> 1.00 GB",
                   "18446744073709551615 -> 17179869184.00 GB"});
    }
    void sizeText() { QTEST(Utility::NumberToSizeStr(QByteArray(QTest::currentDataTag()).toULongLong()), "text"); }

    void fileName_data()
    {
        textTable("cleaned",
                  {"AC/DC: Live? -> ACDC Live", "\\/:*?\"<>| -> ", " .. . ->  .. .", "한국어*🎬\t'é' -> 한국어🎬\t'é'"});
    }
    void fileName()
    {
        QTEST(Utility::ReplaceBadCharOfFileName(QString::fromUtf8(QTest::currentDataTag())), "cleaned");
        QCOMPARE(Utility::fittingFileName(".profile"_s + QChar::Null + ".mp4"_s), ".profile.mp4"_s);
        QCOMPARE(Utility::fittingFileName(QString(300, QLatin1Char('x'))), QString(255, QLatin1Char('x')));
    }

    void identity_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("fields"); // those that are not empty

        const auto row = [](const char *name, const QByteArray &file, const char *fields) {
            QTest::newRow(name) << file << QString::fromUtf8(fields);
        };
        row("complete",
            "companyName=Acme\r\nproductName=Box\r\nversion=3.0.12\r\nbuildNum=7\r\ncopyright=© 2026\r\n"
            "companyURL=c?a=b\r\nproductURL=p\r\nhelpURL=h\r\nsupportEmail=s@a\r\nsalesEmail=m@a\r\n"
            "updateAddress=u?ver=%1\r\nicloudPrivacyX=no\r\nicloudPrivacy=i\r\ncolour=blue\r\n\r\n",
            "Acme|Box|3.0.12|7|© 2026|c?a=b|p|h|s@a|m@a|u?ver=3012|i");
        row("bare line feeds make one line", "companyName=A\nproductName=B\ncompanyName=C", "A\nproductName=B\nC");
        row("blanks around the equals sign", "companyName = A\r\n productName=B", "companyName = A");
        row("version after the address", "updateAddress=u?%1\r\nversion=3.0", "3.0|u?");
        row("address with percent escapes", "version=3.0\r\nupdateAddress=a%20b?v=%1&d=100%", "3.0|a%20b?v=30&d=100%");
        row("zero byte ends its chunk",
            QByteArray("companyName=A\0\r\nproductName=lost\r\n", 33).leftJustified(10240, 'x') + "B", "AB");
        row("character across the chunks", QByteArray(10240 - 15, '-') + "\r\ncompanyName=한국", "한국");
    }
    void identity()
    {
        QFETCH(QByteArray, file);
        CAppSetting &setting = *CAppSetting::instance();
        QString *const fields[] = {&setting.companyName, &setting.productName,   &setting.version,
                                   &setting.buildNum,    &setting.copyright,     &setting.companyURL,
                                   &setting.productURL,  &setting.helpURL,       &setting.supportEmail,
                                   &setting.salesEmail,  &setting.updateAddress, &setting.icloudPrivacy};
        for (QString *field : fields)
            field->clear();
        const QTemporaryDir folder;
        QByteArray path = folder.filePath("설정.dat"_s).toUtf8();
        QVERIFY(writeFile(QString::fromUtf8(path), file));
        std::FILE *const stream = std::fopen(path.constData(), "r");
        QCOMPARE(setting.length(stream), file.size());
        QCOMPARE(std::ftell(stream), 0L);
        std::fclose(stream);
        setting.parseProductInformation(setting.code(path.data()));
        QStringList found;
        for (const QString *field : fields)
            found += *field;
        found.removeAll(QString());
        QTEST(found.join(QLatin1Char('|')), "fields");
    }

    void pathsAndTexts()
    {
        CAppSetting &setting = *CAppSetting::instance();
        setting.parseProductInformation("companyName=A\r\nproductName=B\r\nsupportEmail=s\r\ncompanyURL=c"_s);
        const QStringList found{setting.getSkinPath(true),   setting.getSkinPath(false), setting.getLogFilePath(),
                                setting.getAppLogFilePath(), setting.getHomePath(),      setting.getSupportLink(),
                                setting.getHomePageLink()};
        const QString expected =
            "%1/skin/|:/|%2A B.log|%2A B_App.log|%3/Documents/A/B/|<a href = s>s</a>|<a href = c>c</a>"_s;
        QCOMPARE(found.join(QLatin1Char('|')),
                 expected.arg(QCoreApplication::applicationDirPath(), setting.appHome, QDir::homePath()));
        for (const char *folder : {"/chosen/", "/Videos/A/"}) {
            setting.outputPath = QDir::homePath() + QLatin1String(folder);
            setting.makeDefaultOutputFolder();
            QCOMPARE(QDir(setting.outputPath).exists(), qstrcmp(folder, "/Videos/A/") == 0);
        }
        setting.auto_update = 0;
        setting.setDefaultForOption();
        QCOMPARE(setting.auto_update, 2);
        // To the letter, odd blanks included.
        const QByteArray filter = setting.getFormatFilter().toUtf8();
        QCOMPARE(QCryptographicHash::hash(filter, QCryptographicHash::Sha1).toHex().left(9), QByteArray("9e2ab7869"));
    }

    void options_data()
    {
        QTest::addColumn<QByteArray>("stored"); // null for no file
        QTest::addColumn<QString>("loaded");

        const QString fresh = "QPoint(0,0) QSize(874, 585) false 2 %1 HOME/Videos/%2/ HOME/Documents/"_s.arg(
            QDate::currentDate().toString(Qt::ISODate), m_company);
        QTest::newRow("none") << QByteArray() << fresh;
        QTest::newRow("folder that cannot be made") << QByteArray() << fresh;
        QTest::newRow("a section that never ends") << QByteArray("[Gen") << fresh;
        QTest::newRow("other types") << QByteArray(
            "[General]\nwindowPoint=here\nwindowSize=large\nmaximization=yes\nauto_update=often\n"
            "lastCheckDate=someday\noutputPath=5\nbackupFilePath=\n")
                                     << "QPoint(0,0) QSize(-1, -1) true 0  5 HOME/Documents/";
    }
    // Only a normal exit saves the options, whatever stood there before.
    void options()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QString, loaded);
        const QTemporaryDir home;
        QString path = home.path() + m_options;
        if (!stored.isNull())
            QVERIFY(writeFile(path, stored));
        if (qstrcmp(QTest::currentDataTag(), "folder that cannot be made") == 0) {
            QVERIFY(writeFile(home.filePath("Library"_s), "in the way"));
            path.replace("Library/Application Support"_s, "Documents"_s);
        }
        loaded.replace("HOME"_s, home.path());
        QCOMPARE(optionsOf(home.path(), {"change"_s, "crash"_s}), loaded);
        QCOMPARE(contents(path), stored.isNull() ? "unreadable" : stored);
        QCOMPARE(optionsOf(home.path(), {"change"_s}), loaded);
        QCOMPARE(optionsOf(home.path(), {}),
                 QStringLiteral("QPoint(-7,40) QSize(1000, 700) true 3 2020-02-29 "
                                "/한국어; \"a\"=b/ /backup/ /cloud/"));
        QVERIFY(contents(path).contains("한국어"));
    }

private:
    QString m_company;
    QString m_options; // path below the home
};

int main(int argc, char *argv[])
{
    if (argc > 1 && qstrcmp(argv[1], "probe") == 0)
        return probe(argc, argv);
    return runTests<QCoreApplication, TestSettings>(argc, argv);
}

#include "tst_settings.moc"
