#include "settings/FileNames.h"
#include "settings/Sizes.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

const QByteArray acme = QByteArrayLiteral("companyName=Acme\r\nproductName=Video Box\r\n");

void write(const QString &path, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A person's home and an installed product, both of their own for every test.
class Person final
{
public:
    Person() { QVERIFY(QDir().mkpath(home()) && QDir().mkpath(product())); }

    [[nodiscard]] QString home() const { return m_folder.filePath(QStringLiteral("home")); }
    [[nodiscard]] QString product() const { return m_folder.filePath(QStringLiteral("product")); }
    [[nodiscard]] QString appHome() const
    {
        return home() + QStringLiteral("/Library/Application Support/Acme/Video Box/");
    }
    [[nodiscard]] QString options() const { return appHome() + QStringLiteral("User.dat"); }
    void setProductInformation(const QByteArray &content) const
    {
        write(product() + QStringLiteral("/settings.dat"), content);
    }

    // Starts the product and returns the settings that it printed; empty when it did not end well.
    [[nodiscard]] QJsonObject run(const QStringList &wishes = {})
    {
        const QString program = product() + QStringLiteral("/settings-probe");
        if (!QFile::exists(program) && !QFile::copy(QStringLiteral(SETTINGS_PROBE), program))
            return {};
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), home());
        environment.remove(QStringLiteral("XDG_CONFIG_HOME"));
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(program, wishes);
        const bool endedWell =
            process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
        m_log = process.readAllStandardError();
        return endedWell ? QJsonDocument::fromJson(process.readAllStandardOutput()).object() : QJsonObject();
    }
    [[nodiscard]] QByteArray log() const { return m_log; }

private:
    QTemporaryDir m_folder;
    QByteArray m_log;
};

} // namespace

class TestSettings final : public QObject
{
    Q_OBJECT

private slots:
    void sizeText_data()
    {
        QTest::addColumn<quint64>("bytes");
        QTest::addColumn<QString>("text");

        const auto row = [](quint64 bytes, const char *text) {
            QTest::newRow(text) << bytes << QString::fromLatin1(text);
        };
        row(0, "0.00 B");
        row(1024, "1024.00 B");
        row(1025, "1.00 KB");
        row(1536, "1.50 KB");
        row(1048576, "1024.00 KB");
        row(1048577, "1.00 MB");
        row(1073741824, "1024.00 MB");
        row(1073741825, "1.00 GB");
        row(5368709120, "5.00 GB");
        row(~0ULL, "17179869184.00 GB");
    }
    void sizeText()
    {
        QFETCH(quint64, bytes);
        QTEST(Utility::NumberToSizeStr(bytes), "text");
    }

    void fileName_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("cleaned");

        QTest::newRow("slash, colon, question mark") << QStringLiteral("AC/DC: Live?") << QStringLiteral("ACDC Live");
        QTest::newRow("angles and bar") << QStringLiteral("a<b>|c") << QStringLiteral("abc");
        QTest::newRow("nothing but bad ones") << QStringLiteral("\\/:*?\"<>|") << QString();
        QTest::newRow("dots and blanks") << QStringLiteral(" .. .") << QStringLiteral(" .. .");
        QTest::newRow("other scripts") << QStringLiteral("한국어*🎬\t'é'") << QStringLiteral("한국어🎬\t'é'");
    }
    void fileName()
    {
        QFETCH(QString, title);
        QTEST(Utility::ReplaceBadCharOfFileName(title), "cleaned");
    }

    void productInformation_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QJsonObject>("fields");

        const auto row = [](const char *name, const QByteArray &file, const QJsonObject &fields) {
            QTest::newRow(name) << file << fields;
        };
        const QString company = QStringLiteral("companyName");
        const QString product = QStringLiteral("productName");
        const QString update = QStringLiteral("updateAddress");
        row("complete",
            acme
                + "version=3.0.12\r\nbuildNum=7\r\ncopyright=© 2026 Acme\r\ncompanyURL=https://acme.example/?a=b\r\n"
                  "productURL=https://acme.example/box\r\nhelpURL=https://acme.example/"
                  "help\r\nsupportEmail=help@acme.example\r\n"
                  "salesEmail=sales@acme.example\r\nupdateAddress=https://acme.example/check?ver=%1\r\n"
                  "icloudPrivacyX=no\r\nicloudPrivacy=https://acme.example/privacy\r\ncolour=blue\r\n\r\n",
            {{company, QStringLiteral("Acme")},
             {product, QStringLiteral("Video Box")},
             {QStringLiteral("version"), QStringLiteral("3.0.12")},
             {QStringLiteral("buildNum"), QStringLiteral("7")},
             {QStringLiteral("copyright"), QStringLiteral("© 2026 Acme")},
             {QStringLiteral("companyURL"), QStringLiteral("https://acme.example/?a=b")},
             {QStringLiteral("productURL"), QStringLiteral("https://acme.example/box")},
             {QStringLiteral("helpURL"), QStringLiteral("https://acme.example/help")},
             {QStringLiteral("supportEmail"), QStringLiteral("help@acme.example")},
             {QStringLiteral("salesEmail"), QStringLiteral("sales@acme.example")},
             {update, QStringLiteral("https://acme.example/check?ver=3012")},
             {QStringLiteral("icloudPrivacy"), QStringLiteral("https://acme.example/privacy")},
             {QStringLiteral("fullProductName"), QStringLiteral("Acme Video Box")},
             {QStringLiteral("supportLink"), QStringLiteral("<a href = help@acme.example>help@acme.example</a>")},
             {QStringLiteral("homePageLink"),
              QStringLiteral("<a href = https://acme.example/?a=b>https://acme.example/?a=b</a>")},
             {QStringLiteral("skinPath"), QStringLiteral(":/")}});
        row("bare line feeds make one line", "companyName=Acme\nproductName=Box\ncompanyName=Other",
            {{company, QStringLiteral("Acme\nproductName=Box\nOther")}, {product, QString()}});
        row("empty file", "",
            {{company, QString()},
             {product, QString()},
             {update, QString()},
             {QStringLiteral("fullProductName"), QStringLiteral(" ")}});
        row("blanks around the equals sign", "companyName = Acme\r\n productName=Box",
            {{company, QStringLiteral("companyName = Acme")}, {product, QString()}});
        row("key text in the value", "productName=Video productName=Box", {{product, QStringLiteral("Video Box")}});
        row("key given twice", "companyName=A\r\ncompanyName=B", {{company, QStringLiteral("B")}});
        row("other case", "CompanyName=A", {{company, QString()}});
        row("version after the address", "updateAddress=https://a.example/?ver=%1\r\nversion=3.0",
            {{update, QStringLiteral("https://a.example/?ver=")}});
        row("address without a placeholder", "version=3.0\r\nupdateAddress=https://a.example/?v",
            {{update, QStringLiteral("https://a.example/?v")}});
        row("address with percent escapes", "version=3.0\r\nupdateAddress=https://a.example/a%20b%2Fc%E2?v=%1&d=100%",
            {{update, QStringLiteral("https://a.example/a%20b%2Fc%E2?v=30&d=100%")}});
        row("zero byte ends its chunk",
            QByteArray("companyName=Acme\0\r\nproductName=lost\r\n", 37).leftJustified(10240, 'x')
                + "Ltd\r\nproductName=Box",
            {{company, QStringLiteral("AcmeLtd")}, {product, QStringLiteral("Box")}});
        // The first chunk ends after the first of three bytes.
        row("character across the chunk's end", QByteArray(10240 - 15, '-') + "\r\ncompanyName=한국\r\nproductName=Box",
            {{company, QStringLiteral("한국")}, {product, QStringLiteral("Box")}});
        row("several chunks", "helpURL=" + QByteArray(30000, 'h') + "\r\nproductName=Box",
            {{QStringLiteral("helpURL"), QString(30000, QLatin1Char('h'))}, {product, QStringLiteral("Box")}});
    }
    void productInformation()
    {
        QFETCH(QByteArray, file);
        QFETCH(QJsonObject, fields);
        Person person;
        person.setProductInformation(file);
        const QJsonObject printed = person.run();
        QVERIFY2(!printed.isEmpty(), person.log().constData());
        for (auto field = fields.begin(); field != fields.end(); ++field)
            QVERIFY2(printed.value(field.key()) == field.value(),
                     qPrintable(field.key() + QStringLiteral(" is ") + printed.value(field.key()).toString()));
    }

    void missingProductInformation()
    {
        Person person;
        const QJsonObject printed = person.run();
        QCOMPARE(printed.value(QStringLiteral("companyName")).toString(), QString());
        QCOMPARE(printed.value(QStringLiteral("fullProductName")).toString(), QStringLiteral(" "));
        QCOMPARE(printed.value(QStringLiteral("updateAddress")).toString(), QString());
        QCOMPARE(printed.value(QStringLiteral("appHome")).toString(),
                 person.home() + QStringLiteral("/Library/Application Support///"));
    }

    void freshPerson()
    {
        Person person;
        person.setProductInformation(acme);
        const QDate before = QDate::currentDate();
        const QJsonObject printed = person.run();
        const auto text = [&printed](const char *key) { return printed.value(QLatin1String(key)).toString(); };
        const QDate date = QDate::fromString(text("lastCheckDate"), Qt::ISODate);
        QVERIFY(date >= before && date <= QDate::currentDate());
        compareOptions(printed, defaults(person), {QStringLiteral("lastCheckDate")});
        QCOMPARE(text("appHome"), person.appHome());
        QCOMPARE(text("iTunesBackupDir"),
                 person.home() + QStringLiteral("/Library/Application Support/MobileSync/Backup"));
        QCOMPARE(text("homePath"), person.home() + QStringLiteral("/Documents/Acme/Video Box/"));
        QVERIFY(QFileInfo(text("homePath")).isDir());
        QCOMPARE(text("logFilePath"), person.appHome() + QStringLiteral("Acme Video Box.log"));
        QCOMPARE(text("appLogFilePath"), person.appHome() + QStringLiteral("Acme Video Box_App.log"));
        QCOMPARE(text("skinPathOnDisk"), QFileInfo(person.product()).canonicalFilePath() + QStringLiteral("/skin/"));
        QCOMPARE(text("formatFilter").size(), 1349);
        QCOMPARE(text("formatFilter").split(QStringLiteral(";;")).size(), 29);
    }

    void savesOptionsAtNormalExitOnly()
    {
        Person person;
        person.setProductInformation(acme);
        (void)person.run({QStringLiteral("change"), QStringLiteral("crash")});
        QVERIFY(!QFile::exists(person.options()));
        compareOptions(person.run({QStringLiteral("change")}), changed());
        compareOptions(person.run(), changed());
        const QByteArray saved = contents(person.options());
        QVERIFY(saved.contains("windowSize=@Size(1000 700)"));
        QVERIFY(saved.contains("한국어"));
    }

    void readsDamagedOptions_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QJsonObject>("differences"); // from a fresh person's options

        const auto random = [] {
            QByteArray bytes;
            for (unsigned value = 1; bytes.size() < 20000; value = value * 1664525 + 1013904223)
                bytes.append(static_cast<char>(value >> 24));
            return bytes;
        };
        QTest::newRow("empty") << QByteArray() << QJsonObject();
        QTest::newRow("random bytes") << random() << QJsonObject();
        QTest::newRow("zero bytes") << QByteArray(5000, '\0') << QJsonObject();
        QTest::newRow("section that never ends") << QByteArray("[Gen") << QJsonObject();
        QTest::newRow("values of other types")
            << QByteArray("[General]\nwindowPoint=here\nwindowSize=large\nmaximization=yes\nauto_update=often\n"
                          "lastCheckDate=someday\noutputPath=5\nbackupFilePath=\n")
            << QJsonObject{{QStringLiteral("windowSize"), QJsonArray{-1, -1}},
                           {QStringLiteral("maximization"), true},
                           {QStringLiteral("auto_update"), 0},
                           {QStringLiteral("lastCheckDate"), QString()},
                           {QStringLiteral("outputPath"), QStringLiteral("5")}};
    }
    void readsDamagedOptions()
    {
        QFETCH(QByteArray, file);
        QFETCH(QJsonObject, differences);
        Person person;
        person.setProductInformation(acme);
        write(person.options(), file);
        QJsonObject expected = defaults(person);
        for (auto difference = differences.begin(); difference != differences.end(); ++difference)
            expected.insert(difference.key(), difference.value());
        compareOptions(person.run({QStringLiteral("crash")}), expected,
                       differences.isEmpty() ? QStringList{QStringLiteral("lastCheckDate")} : QStringList());
        // What is saved over it is read again.
        compareOptions(person.run({QStringLiteral("change")}), changed());
        compareOptions(person.run(), changed());
    }

    // Permissions do not bind every person who runs the tests, but a file in a folder's place does.
    void fallsBackToTheDocuments()
    {
        Person person;
        person.setProductInformation(acme);
        write(person.home() + QStringLiteral("/Library"), "in the way");
        const QString fallback = person.home() + QStringLiteral("/Documents/Acme/Video Box/");
        const QJsonObject printed = person.run({QStringLiteral("change")});
        QCOMPARE(printed.value(QStringLiteral("appHome")).toString(), fallback);
        const QString line =
            QStringLiteral("QString CAppSetting::getAppHome() can't make dir: \"%1\"").arg(person.appHome());
        QVERIFY2(QString::fromUtf8(person.log()).contains(line), person.log().constData());
        compareOptions(person.run(), changed());
    }

private:
    static QJsonObject defaults(const Person &person)
    {
        return {{QStringLiteral("windowPoint"), QJsonArray{0, 0}},
                {QStringLiteral("windowSize"), QJsonArray{874, 585}},
                {QStringLiteral("maximization"), false},
                {QStringLiteral("auto_update"), 2},
                {QStringLiteral("lastCheckDate"), QString()},
                {QStringLiteral("outputPath"), QString(person.home() + QStringLiteral("/Videos/Acme/"))},
                {QStringLiteral("downloadiCloudPath"), QString()},
                {QStringLiteral("backupFilePath"), QString(person.home() + QStringLiteral("/Documents/"))}};
    }
    // What the probe sets on "change".
    static QJsonObject changed()
    {
        return {{QStringLiteral("windowPoint"), QJsonArray{-7, 40}},
                {QStringLiteral("windowSize"), QJsonArray{1000, 700}},
                {QStringLiteral("maximization"), true},
                {QStringLiteral("auto_update"), 3},
                {QStringLiteral("lastCheckDate"), QStringLiteral("2020-02-29")},
                {QStringLiteral("outputPath"), QStringLiteral("/videos/한국어; \"a\"=b/")},
                {QStringLiteral("downloadiCloudPath"), QStringLiteral("/cloud/")},
                {QStringLiteral("backupFilePath"), QStringLiteral("/backup/")}};
    }
    static void compareOptions(const QJsonObject &printed, const QJsonObject &expected, const QStringList &except = {})
    {
        QVERIFY2(!printed.isEmpty(), "The product did not end well.");
        for (auto option = expected.begin(); option != expected.end(); ++option) {
            if (!except.contains(option.key()))
                QVERIFY2(printed.value(option.key()) == option.value(),
                         qPrintable(option.key() + QStringLiteral(" is ")
                                    + printed.value(option.key()).toVariant().toString()));
        }
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
