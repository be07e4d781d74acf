#pragma once

#include "framework/SkDialog.h"

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QUrl>

#include <memory>

namespace Ui {
class LiveUpdateDialog;
}
class ReleaseNotes;
class ContentDecoder;
struct UpdateOffer;

// Asks the update service whether a newer build exists and offers what it answers. Modeless; GUI thread only. Each
// check ends on screen in one way: failed, up to date, an offer, or nothing new for an offer that cannot be read.
class LiveUpdateDialog : public SkDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LiveUpdateDialog)

public:
    // Starts a check by itself when the person's interval for automatic checks is over.
    explicit LiveUpdateDialog(QWidget *parent = nullptr);
    ~LiveUpdateDialog() override;

    // Starts a check and shows the dialog.
    void show();
    // A check that is still under way is retired and has no outcome.
    void checkUpdate();

public slots:
    void reject() override;
    void checkUpdateReadyRead();
    void checkUpdateFinished();
    void checkUpdateError(QNetworkReply::NetworkError errCode);
    // Opens the offer's address and closes the dialog.
    void downloadFile();
    // The third page is built and has no behaviour: the browser, not the application, fetches the installer.
    void downloadFinished() { }
    void downloadReadyRead() { }
    void updateDataReadProgress(qint64 /*bytesRead*/, qint64 /*totalBytes*/) { }
    void install() { }

private:
    void checkWhenDue();
    void retireCheck();
    void showFailure();
    void showOffer(const UpdateOffer &offer);

    const std::unique_ptr<Ui::LiveUpdateDialog> ui;
    ReleaseNotes *releaseNotes = nullptr; // owned by its editor
    QNetworkAccessManager networkManager;
    QString newVersion;
    QUrl downloadUrl;
    QNetworkReply *checkReply = nullptr; // owned by networkManager
    bool updateMessageValid = false;
    QByteArray checkData;
    std::unique_ptr<ContentDecoder> m_decoder; // of the check in flight
};
