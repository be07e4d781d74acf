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
struct UpdateOffer;

// Asks the update service whether a newer build exists and offers what it answers. Modeless; GUI thread only. Each
// check ends on screen in one way: failed, up to date, an offer, or nothing new for an offer that cannot be read.
class LiveUpdateDialog final : public SkDialog
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

private slots:
    void checkUpdateReadyRead();
    void checkUpdateFinished();
    void checkUpdateError(QNetworkReply::NetworkError errCode);
    void downloadFile();

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
};
