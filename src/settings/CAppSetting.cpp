#include "settings/CAppSetting.h"

#include "settings/FormatFilter.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>
#include <QTextCodec>

#include <array>
#include <memory>

namespace {

constexpr int readChunk = 10240; // bytes
constexpr int defaultAutoUpdate = 2; // weekly

// Taken once, so that every folder of a run stands below the same home.
const QString &homeBase()
{
    static const QString home = QStandardPaths::writableLocation(QStandardPaths::HomeLocation);
    return home;
}

QString documentsFolder()
{
    return QDir::homePath() + QStringLiteral("/Documents/");
}

QSettings *openOptions(const QString &appHome)
{
    auto *options = new QSettings(appHome + QStringLiteral("User.dat"), QSettings::IniFormat);
    options->setIniCodec("UTF-8");
    return options;
}

struct ProductKey
{
    QLatin1String linePrefix;
    QLatin1String removed;
    QString CAppSetting::*field;
};

const std::array<ProductKey, 12> &productKeys()
{
    static const std::array<ProductKey, 12> keys{{
        {QLatin1String("companyName"), QLatin1String("companyName="), &CAppSetting::companyName},
        {QLatin1String("productName"), QLatin1String("productName="), &CAppSetting::productName},
        {QLatin1String("version"), QLatin1String("version="), &CAppSetting::version},
        {QLatin1String("buildNum"), QLatin1String("buildNum="), &CAppSetting::buildNum},
        {QLatin1String("copyright"), QLatin1String("copyright="), &CAppSetting::copyright},
        {QLatin1String("companyURL"), QLatin1String("companyURL="), &CAppSetting::companyURL},
        {QLatin1String("productURL"), QLatin1String("productURL="), &CAppSetting::productURL},
        {QLatin1String("helpURL"), QLatin1String("helpURL="), &CAppSetting::helpURL},
        {QLatin1String("supportEmail"), QLatin1String("supportEmail="), &CAppSetting::supportEmail},
        {QLatin1String("salesEmail"), QLatin1String("salesEmail="), &CAppSetting::salesEmail},
        {QLatin1String("updateAddress"), QLatin1String("updateAddress="), &CAppSetting::updateAddress},
        {QLatin1String("icloudPrivacy="), QLatin1String("icloudPrivacy="), &CAppSetting::icloudPrivacy},
    }};
    return keys;
}

} // namespace

CAppSetting *CAppSetting::instance()
{
    static CAppSetting setting;
    return &setting;
}

CAppSetting::CAppSetting()
{
    QByteArray fileName = (QCoreApplication::applicationDirPath() + QStringLiteral("/settings.dat")).toUtf8();
    parseProductInformation(code(fileName.data()));
    appHome = getAppHome();
    loadOptions();
}

CAppSetting::~CAppSetting()
{
    if (!m_areOptionsSaved)
        saveOptions();
}

QString CAppSetting::code(char *fileName)
{
    QFile file(QString::fromUtf8(fileName));
    if (!file.open(QIODevice::ReadOnly))
        return {};

    // One decoder for the whole file keeps a character whole that lies across two chunks.
    const std::unique_ptr<QTextDecoder> decoder(QTextCodec::codecForName("UTF-8")->makeDecoder());
    QString text;
    for (QByteArray chunk = file.read(readChunk); !chunk.isEmpty(); chunk = file.read(readChunk))
        text += decoder->toUnicode(QByteArray(chunk.constData()));
    qDebug() << text;
    return text;
}

void CAppSetting::parseProductInformation(const QString &text)
{
    const QStringList lines = text.split(QStringLiteral("\r\n"));
    for (const QString &line : lines) {
        for (const ProductKey &key : productKeys()) {
            if (!line.startsWith(key.linePrefix))
                continue;
            QString value = line;
            value.remove(key.removed);
            if (key.field == &CAppSetting::updateAddress) {
                QString digits = version;
                digits.remove(QLatin1Char('.'));
                // arg() warns when there is nothing to fill in; an address without a placeholder is a valid one.
                static const QRegularExpression placeholder(QStringLiteral("%L?[0-9]"));
                if (value.contains(placeholder))
                    value = value.arg(digits);
            }
            this->*key.field = value;
            break;
        }
    }
}

// Every option once: its key in the file, its field, and what it is where the file has none.
template <class Visit> void CAppSetting::visitOptions(Visit visit)
{
    visit("windowPoint", windowPoint, QPoint());
    visit("windowSize", windowSize, QSize(874, 585));
    visit("maximization", maximization, false);
    visit("auto_update", auto_update, defaultAutoUpdate);
    visit("lastCheckDate", lastCheckDate, QDate::currentDate());
    visit("outputPath", outputPath, defaultOutputPath());
    visit("downloadiCloudPath", downloadiCloudPath, QString());
    visit("backupFilePath", backupFilePath, QString());
}

void CAppSetting::loadOptions()
{
    const std::unique_ptr<QSettings> options(openOptions(appHome));
    visitOptions([&options](const char *key, auto &field, const auto &byDefault) {
        field = options->value(QLatin1String(key), byDefault).template value<std::decay_t<decltype(field)>>();
    });
    if (backupFilePath.isEmpty())
        backupFilePath = documentsFolder();
}

void CAppSetting::saveOptions()
{
    m_areOptionsSaved = true;
    const std::unique_ptr<QSettings> options(openOptions(appHome));
    visitOptions([&options](const char *key, const auto &field, const auto & /*byDefault*/) {
        options->setValue(QLatin1String(key), field);
    });
}

QString CAppSetting::defaultOutputPath() const
{
    const QString movies = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    return movies + QLatin1Char('/') + companyName + QLatin1Char('/');
}

void CAppSetting::makeDefaultOutputFolder() const
{
    if (outputPath == defaultOutputPath())
        QDir().mkpath(outputPath);
}

QString CAppSetting::getAppHome()
{
    const QString base = homeBase() + QStringLiteral("/Library/Application Support/");
    iTunesBackupDir = base + QStringLiteral("MobileSync/Backup");

    QString path = base + companyName + QLatin1Char('/') + productName + QLatin1Char('/');
    if (!QFileInfo::exists(path)) {
        if (QDir().mkpath(path))
            return path;
        qCritical() << "QString CAppSetting::getAppHome()"
                    << "can't make dir:" << path;
    } else {
        if (QFileInfo(path).isWritable())
            return path;
        qCritical() << "QString CAppSetting::getAppHome()"
                    << " the dir can't write:" << path;
    }
    return documentsFolder() + companyName + QLatin1Char('/') + productName + QLatin1Char('/');
}

QString CAppSetting::getHomePath()
{
    QString path =
        homeBase() + QStringLiteral("/Documents/") + companyName + QLatin1Char('/') + productName + QLatin1Char('/');
    QDir().mkpath(path);
    return path;
}

QString CAppSetting::getLogFilePath()
{
    return appHome + getFullProductName() + QStringLiteral(".log");
}

QString CAppSetting::getAppLogFilePath()
{
    return appHome + getFullProductName() + QStringLiteral("_App.log");
}

QString CAppSetting::getSkinPath(bool fromDisk) const
{
    if (fromDisk)
        return QCoreApplication::applicationDirPath() + QStringLiteral("/skin/");
    return QStringLiteral(":/");
}

QString CAppSetting::getFormatFilter()
{
    return Utility::mediaFormatFilter();
}

void CAppSetting::setDefaultForOption()
{
    auto_update = defaultAutoUpdate;
}

int CAppSetting::length(FILE *stream)
{
    const long position = std::ftell(stream);
    std::fseek(stream, 0, SEEK_END);
    const long size = std::ftell(stream);
    std::fseek(stream, position, SEEK_SET);
    return static_cast<int>(size);
}

QString CAppSetting::getFullProductName()
{
    return companyName + QLatin1Char(' ') + productName;
}

QString CAppSetting::getSupportLink()
{
    return QStringLiteral("<a href = %1>%2</a>").arg(supportEmail, supportEmail);
}

QString CAppSetting::getHomePageLink()
{
    return QStringLiteral("<a href = %1>%2</a>").arg(companyURL, companyURL);
}
