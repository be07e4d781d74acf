#pragma once

#include <QDate>
#include <QPoint>
#include <QSize>
#include <QString>

#include <cstdio>

// The product's identity (read once from "settings.dat" beside the executable) and the person's options ("User.dat" in
// the per-user application folder). Made by the first call of instance(), after the application object; GUI thread
// only. The options are written once, at normal process exit. Nothing here reports failure: what cannot
// be read keeps its default.
class CAppSetting
{
    Q_DISABLE_COPY_MOVE(CAppSetting)

public:
    static CAppSetting *instance();

    // The whole file as UTF-8 text, also written to the debug output; empty when the file cannot be read. The name is
    // UTF-8.
    QString code(char *fileName);
    // Takes the product's identity from the text of a "settings.dat"; what it lacks stays as it is.
    void parseProductInformation(const QString &text);
    // The per-user application folder, ending in "/"; made when missing, the documents folder where that fails.
    QString getAppHome();
    // The product's documents folder, ending in "/"; made when missing.
    QString getHomePath();
    [[nodiscard]] QString getLogFilePath();
    [[nodiscard]] QString getAppLogFilePath();
    // Prefix of every skin file: the compiled-in resource root, or the skin folder beside the executable.
    [[nodiscard]] QString getSkinPath(bool fromDisk) const;
    // Media file filter in the form that QFileDialog takes.
    [[nodiscard]] QString getFormatFilter();
    void setDefaultForOption();
    // Once, at the end of the process: later changes are not saved. Without a call it happens when the process exits.
    void saveOptions();
    // A new person's first download needs its folder; one that the person has chosen is not made behind their back.
    void makeDefaultOutputFolder() const;
    // Size in bytes of an open stream, whose position is kept.
    [[nodiscard]] int length(FILE *stream);
    [[nodiscard]] QString getFullProductName();
    [[nodiscard]] QString getSupportLink();
    [[nodiscard]] QString getHomePageLink();

    // Options of the person.
    QPoint windowPoint;
    QSize windowSize;
    bool maximization = false;
    QString outputPath;
    QString backupFilePath;
    int auto_update = 0; // 0 never, 1 daily, 2 weekly, 3 monthly
    QDate lastCheckDate;
    // Identity of the product.
    QString companyName;
    QString productName;
    QString version;
    QString buildNum;
    QString copyright;
    QString productURL;
    QString companyURL;
    QString helpURL;
    QString supportEmail;
    QString salesEmail;
    QString updateAddress; // with the digits of the version filled in
    QString icloudPrivacy;
    // Derived folders.
    QString appHome;
    QString iTunesBackupDir;
    QString downloadiCloudPath; // an option too

private:
    CAppSetting();
    ~CAppSetting();

    void loadOptions();
    template <class Visit> void visitOptions(Visit visit);
    [[nodiscard]] QString defaultOutputPath() const;

    bool m_areOptionsSaved = false;
};
