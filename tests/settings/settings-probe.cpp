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

    const QJsonObject fields{
        {QStringLiteral("windowPoint"), QJsonArray{setting.windowPoint.x(), setting.windowPoint.y()}},
        {QStringLiteral("windowSize"), QJsonArray{setting.windowSize.width(), setting.windowSize.height()}},
        {QStringLiteral("maximization"), setting.maximization},
        {QStringLiteral("auto_update"), setting.auto_update},
        {QStringLiteral("lastCheckDate"), setting.lastCheckDate.toString(Qt::ISODate)},
        {QStringLiteral("outputPath"), setting.outputPath},
        {QStringLiteral("downloadiCloudPath"), setting.downloadiCloudPath},
        {QStringLiteral("backupFilePath"), setting.backupFilePath},
        {QStringLiteral("companyName"), setting.companyName},
        {QStringLiteral("productName"), setting.productName},
        {QStringLiteral("version"), setting.version},
        {QStringLiteral("buildNum"), setting.buildNum},
        {QStringLiteral("copyright"), setting.copyright},
        {QStringLiteral("companyURL"), setting.companyURL},
        {QStringLiteral("productURL"), setting.productURL},
        {QStringLiteral("helpURL"), setting.helpURL},
        {QStringLiteral("supportEmail"), setting.supportEmail},
        {QStringLiteral("salesEmail"), setting.salesEmail},
        {QStringLiteral("updateAddress"), setting.updateAddress},
        {QStringLiteral("icloudPrivacy"), setting.icloudPrivacy},
        {QStringLiteral("appHome"), setting.appHome},
        {QStringLiteral("iTunesBackupDir"), setting.iTunesBackupDir},
        {QStringLiteral("homePath"), setting.getHomePath()},
        {QStringLiteral("logFilePath"), setting.getLogFilePath()},
        {QStringLiteral("appLogFilePath"), setting.getAppLogFilePath()},
        {QStringLiteral("skinPath"), setting.getSkinPath(false)},
        {QStringLiteral("skinPathOnDisk"), setting.getSkinPath(true)},
        {QStringLiteral("fullProductName"), setting.getFullProductName()},
        {QStringLiteral("supportLink"), setting.getSupportLink()},
        {QStringLiteral("homePageLink"), setting.getHomePageLink()},
        {QStringLiteral("formatFilter"), setting.getFormatFilter()},
    };
    std::puts(QJsonDocument(fields).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
    if (wishes.contains(QStringLiteral("crash")))
        std::_Exit(0);
    return 0;
}
