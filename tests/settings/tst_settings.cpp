#include "settings/FileNames.h"
#include "settings/Sizes.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QByteArray acme = QByteArrayLiteral("companyName=Acme\r\nproductName=Video Box\r\n");

// What the probe sets on "change".
const QByteArray changed =
    "{'windowPoint':[-7,40], 'windowSize':[1000,700], 'maximization':true, 'auto_update':3, "
    "'lastCheckDate':'2020-02-29', 'outputPath':'/videos/한국어; \\'a\\'=b/', 'downloadiCloudPath':'/cloud/', "
    "'backupFilePath':'/backup/'}";

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

// An installed product and a home of its own for the person who uses it.
class Product final
{
public:
    explicit Product(const QByteArray &information)
    {
        QVERIFY(QDir().mkpath(home()));
        QVERIFY(QFile::copy(QStringLiteral(SETTINGS_PROBE), program()));
        if (!information.isNull())
            write(m_folder.filePath(QStringLiteral("settings.dat")), information);
    }

    [[nodiscard]] QString home() const { return m_folder.filePath(QStringLiteral("home")); }
    [[nodiscard]] QByteArray log() const { return m_log; }

    // Runs the product once; what it printed must hold the expected fields: JSON with single quotes, HOME for the
    // person's home and TODAY for the date.
    void compare(const QStringList &wishes, const QByteArray &expected)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), home());
        environment.remove(QStringLiteral("XDG_CONFIG_HOME"));
        QDate today;
        QProcess process;
        process.setProcessEnvironment(environment);
        do {
            today = QDate::currentDate();
            process.start(program(), wishes);
            QVERIFY(process.waitForFinished());
        } while (today != QDate::currentDate());
        m_log = process.readAllStandardError();
        QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0, m_log.constData());

        QByteArray json = expected;
        json.replace('\'', '"').replace("HOME", home().toUtf8()).replace("TODAY", today.toString(Qt::ISODate).toUtf8());
        const QJsonObject fields = QJsonDocument::fromJson(json).object();
        QVERIFY(!fields.isEmpty());
        m_printed = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
        for (auto field = fields.begin(); field != fields.end(); ++field) {
            const QString text = m_printed.value(field.key()).toVariant().toString();
            QVERIFY2(m_printed.value(field.key()) == field.value(),
                     qPrintable(field.key() + QStringLiteral(": ") + text));
        }
    }
    [[nodiscard]] QString optionsPath() const
    {
        return m_printed.value(QStringLiteral("appHome")).toString() + QStringLiteral("User.dat");
    }

private:
    [[nodiscard]] QString program() const { return m_folder.filePath(QStringLiteral("settings-probe")); }

    QTemporaryDir m_folder;
    QByteArray m_log;
    QJsonObject m_printed;
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
            QTest::newRow(text) << bytes << QString::fromUtf8(text);
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
        QTest::addColumn<QString>("cleaned");

        const auto row = [](const char *title, const char *cleaned) {
            QTest::newRow(title) << QString::fromUtf8(cleaned);
        };
        row("AC/DC: Live?", "ACDC Live");
        row("a<b>|c", "abc");
        row("\\/:*?\"<>|", "");
        row(" .. .", " .. .");
        row("한국어*🎬\t'é'", "한국어🎬\t'é'");
    }
    void fileName() { QTEST(Utility::ReplaceBadCharOfFileName(QString::fromUtf8(QTest::currentDataTag())), "cleaned"); }

    void loads_data()
    {
        QTest::addColumn<QByteArray>("information"); // null where the file is missing
        QTest::addColumn<QByteArray>("options"); // the same
        QTest::addColumn<QByteArray>("expected");

        const auto product = [](const char *name, const QByteArray &information, const QByteArray &expected) {
            QTest::newRow(name) << information << QByteArray() << expected;
        };
        product(
            "complete",
            acme
                + "version=3.0.12\r\nbuildNum=7\r\ncopyright=© 2026 Acme\r\ncompanyURL=https://acme.example/?a=b\r\n"
                  "productURL=https://acme.example/box\r\nhelpURL=https://acme.example/help\r\n"
                  "supportEmail=help@acme.example\r\nsalesEmail=sales@acme.example\r\n"
                  "updateAddress=https://acme.example/check?ver=%1\r\nicloudPrivacyX=no\r\n"
                  "icloudPrivacy=https://acme.example/privacy\r\ncolour=blue\r\n\r\n",
            "{'companyName':'Acme', 'productName':'Video Box', 'version':'3.0.12', 'buildNum':'7', "
            "'copyright':'© 2026 Acme', 'companyURL':'https://acme.example/?a=b', "
            "'productURL':'https://acme.example/box', 'helpURL':'https://acme.example/help', "
            "'supportEmail':'help@acme.example', 'salesEmail':'sales@acme.example', "
            "'updateAddress':'https://acme.example/check?ver=3012', 'icloudPrivacy':'https://acme.example/privacy', "
            "'fullProductName':'Acme Video Box', 'skinPath':':/', 'formatFilterLength':1349, "
            "'supportLink':'<a href = help@acme.example>help@acme.example</a>', "
            "'homePageLink':'<a href = https://acme.example/?a=b>https://acme.example/?a=b</a>'}");
        product("missing", {},
                "{'companyName':'', 'fullProductName':' ', 'updateAddress':'', "
                "'appHome':'HOME/Library/Application Support///'}");
        product("bare line feeds make one line", "companyName=Acme\nproductName=Box\ncompanyName=Other",
                "{'companyName':'Acme\\nproductName=Box\\nOther', 'productName':''}");
        product("blanks around the equals sign", "companyName = Acme\r\n productName=Box",
                "{'companyName':'companyName = Acme', 'productName':''}");
        product("key text in the value", "productName=Video productName=Box", "{'productName':'Video Box'}");
        product("key given twice", "companyName=A\r\ncompanyName=B", "{'companyName':'B'}");
        product("other case", "CompanyName=A", "{'companyName':''}");
        product("version after the address", "updateAddress=https://a.example/?ver=%1\r\nversion=3.0",
                "{'updateAddress':'https://a.example/?ver='}");
        product("address without a placeholder", "version=3.0\r\nupdateAddress=https://a.example/?v",
                "{'updateAddress':'https://a.example/?v'}");
        product("address with percent escapes",
                "version=3.0\r\nupdateAddress=https://a.example/a%20b%2Fc%E2?v=%1&d=100%",
                "{'updateAddress':'https://a.example/a%20b%2Fc%E2?v=30&d=100%'}");
        product("zero byte ends its chunk",
                QByteArray("companyName=Acme\0\r\nproductName=lost\r\n", 37).leftJustified(10240, 'x')
                    + "Ltd\r\nproductName=Box",
                "{'companyName':'AcmeLtd', 'productName':'Box'}");
        // The first chunk ends after the first of three bytes.
        product("character across the chunk's end",
                QByteArray(10240 - 15, '-') + "\r\ncompanyName=한국\r\nproductName=Box",
                "{'companyName':'한국', 'productName':'Box'}");
        product("several chunks", "helpURL=" + QByteArray(30000, 'h') + "\r\nproductName=Box",
                "{'productName':'Box', 'helpURL':'" + QByteArray(30000, 'h') + "'}");

        const QByteArray fresh =
            "{'windowPoint':[0,0], 'windowSize':[874,585], 'maximization':false, 'auto_update':2, "
            "'lastCheckDate':'TODAY', 'outputPath':'HOME/Videos/Acme/', 'downloadiCloudPath':'', "
            "'backupFilePath':'HOME/Documents/', 'appHome':'HOME/Library/Application Support/Acme/Video Box/', "
            "'iTunesBackupDir':'HOME/Library/Application Support/MobileSync/Backup', "
            "'homePath':'HOME/Documents/Acme/Video Box/', "
            "'logFilePath':'HOME/Library/Application Support/Acme/Video Box/Acme Video Box.log', "
            "'appLogFilePath':'HOME/Library/Application Support/Acme/Video Box/Acme Video Box_App.log'}";
        QByteArray random;
        for (unsigned value = 1; random.size() < 20000; value = value * 1664525 + 1013904223)
            random.append(static_cast<char>(value >> 24));
        product("fresh person", acme, fresh);
        QTest::newRow("options of random bytes") << acme << random << fresh;
        QTest::newRow("options of zero bytes") << acme << QByteArray(5000, '\0') << fresh;
        QTest::newRow("options with a section that never ends") << acme << QByteArray("[Gen") << fresh;
        QTest::newRow("options of other types")
            << acme
            << QByteArray("[General]\nwindowPoint=here\nwindowSize=large\nmaximization=yes\nauto_update=often\n"
                          "lastCheckDate=someday\noutputPath=5\nbackupFilePath=\n")
            << QByteArray("{'windowPoint':[0,0], 'windowSize':[-1,-1], 'maximization':true, 'auto_update':0, "
                          "'lastCheckDate':'', 'outputPath':'5', 'backupFilePath':'HOME/Documents/'}");
    }
    // Only a normal exit saves the options, whatever stood there before.
    void loads()
    {
        QFETCH(QByteArray, information);
        QFETCH(QByteArray, options);
        QFETCH(QByteArray, expected);
        Product product(information);
        if (!options.isNull())
            write(product.home() + QStringLiteral("/Library/Application Support/Acme/Video Box/User.dat"), options);
        product.compare({QStringLiteral("crash")}, expected);
        product.compare({QStringLiteral("change"), QStringLiteral("crash")}, changed);
        QCOMPARE(contents(product.optionsPath()), options);
        product.compare({QStringLiteral("change")}, changed);
        product.compare({}, changed);
        QVERIFY(contents(product.optionsPath()).contains("한국어"));
    }

    // Permissions do not bind every person who runs the tests, but a file in a folder's place does.
    void fallsBackToTheDocuments()
    {
        Product product(acme);
        write(product.home() + QStringLiteral("/Library"), "in the way");
        product.compare({QStringLiteral("change")}, "{'appHome':'HOME/Documents/Acme/Video Box/'}");
        const QString line = QStringLiteral("QString CAppSetting::getAppHome() can't make dir: "
                                            "\"%1/Library/Application Support/Acme/Video Box/\"")
                                 .arg(product.home());
        QVERIFY2(QString::fromUtf8(product.log()).contains(line), product.log().constData());
        product.compare({}, changed);
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
