#include "settings/CAppSetting.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>

// Prints the settings as JSON. With "change" it gives every option another value first; with "crash" it then ends
// without the normal process exit.
int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    CAppSetting &setting = *CAppSetting::instance();
    const QStringList wishes = QCoreApplication::arguments();
    if (wishes.contains(QStringLiteral("change"))) {
        setting.windowPoint = QPoint(-7, 40);
        setting.windowSize = QSize(1000, 700);
        setting.maximization = true;
        setting.auto_update = 3;
        setting.lastCheckDate = QDate(2020, 2, 29);
        setting.outputPath = QStringLiteral("/videos/한국어; \"a\"=b/");
        setting.downloadiCloudPath = QStringLiteral("/cloud/");
        setting.backupFilePath = QStringLiteral("/backup/");
    }

    QJsonObject fields{
        {QStringLiteral("windowPoint"), QJsonArray{setting.windowPoint.x(), setting.windowPoint.y()}},
        {QStringLiteral("windowSize"), QJsonArray{setting.windowSize.width(), setting.windowSize.height()}},
        {QStringLiteral("maximization"), setting.maximization},
        {QStringLiteral("auto_update"), setting.auto_update},
        {QStringLiteral("lastCheckDate"), setting.lastCheckDate.toString(Qt::ISODate)},
        {QStringLiteral("formatFilterLength"), setting.getFormatFilter().size()},
    };
    const std::pair<const char *, QString> texts[] = {
        {"outputPath", setting.outputPath},
        {"downloadiCloudPath", setting.downloadiCloudPath},
        {"backupFilePath", setting.backupFilePath},
        {"companyName", setting.companyName},
        {"productName", setting.productName},
        {"version", setting.version},
        {"buildNum", setting.buildNum},
        {"copyright", setting.copyright},
        {"companyURL", setting.companyURL},
        {"productURL", setting.productURL},
        {"helpURL", setting.helpURL},
        {"supportEmail", setting.supportEmail},
        {"salesEmail", setting.salesEmail},
        {"updateAddress", setting.updateAddress},
        {"icloudPrivacy", setting.icloudPrivacy},
        {"appHome", setting.appHome},
        {"iTunesBackupDir", setting.iTunesBackupDir},
        {"homePath", setting.getHomePath()},
        {"logFilePath", setting.getLogFilePath()},
        {"appLogFilePath", setting.getAppLogFilePath()},
        {"skinPath", setting.getSkinPath(false)},
        {"skinPathOnDisk", setting.getSkinPath(true)},
        {"fullProductName", setting.getFullProductName()},
        {"supportLink", setting.getSupportLink()},
        {"homePageLink", setting.getHomePageLink()},
    };
    for (const auto &[name, text] : texts)
        fields.insert(QLatin1String(name), text);
    std::puts(QJsonDocument(fields).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
    if (wishes.contains(QStringLiteral("crash")))
        std::_Exit(0);
    return 0;
}
