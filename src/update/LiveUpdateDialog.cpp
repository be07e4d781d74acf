#include "update/LiveUpdateDialog.h"

#include "http/ContentDecoder.h"
#include "http/SpareDescriptors.h"
#include "settings/CAppSetting.h"
#include "update/ReleaseNotes.h"
#include "update/UpdateOffer.h"

#include <QDate>
#include <QDebug>
#include <QDesktopServices>
#include <QLoggingCategory>
#include <QMetaEnum>

#include "ui_LiveUpdateDialog.h"

namespace {

Q_LOGGING_CATEGORY(lcUpdate, "fourfold.update", QtWarningMsg)

const QString checkingText = QStringLiteral("Check for updates...");
const QString failedText = QStringLiteral("Update failed,please check your device and network connection.");
const QString latestText = QStringLiteral("You have the latest version now.No update is available at this times.");
const QString linkTemplate =
    QStringLiteral("<br><a href = %1 >Please click here to visit the product page to download.</a>");

constexpr int maximumMessage = 1024 * 1024; // bytes
constexpr int readBuffer = 64 * 1024; // bytes
// A connection, and what the network's thread waits on.
constexpr int neededDescriptors = 1 + 2;

bool startsLikeUpdateMessage(const QByteArray &data)
{
    return data.startsWith("<product name=") || data.startsWith("latest");
}

} // namespace

LiveUpdateDialog::LiveUpdateDialog(QWidget *parent)
    : SkDialog(parent, {}, false)
    , ui(std::make_unique<Ui::LiveUpdateDialog>())
{
    qRegisterMetaType<QNetworkReply::NetworkError>("QNetworkReply::NetworkError");
    networkManager.setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);

    setupForm(*ui);
    releaseNotes = new ReleaseNotes(ui->updateInfo_textEdit);

    connect(ui->cancelCheck_pushButton, &QPushButton::clicked, this, &LiveUpdateDialog::reject);
    connect(ui->remindMeLater_pushButton, &QPushButton::clicked, this, &LiveUpdateDialog::reject);
    connect(ui->cancelDownload_pushButton, &QPushButton::clicked, this, &LiveUpdateDialog::reject);
    connect(ui->updateNow_pushButton, &QPushButton::clicked, this, &LiveUpdateDialog::downloadFile);

    checkWhenDue();
    showMinimiButton(true);
    setTitleName(QStringLiteral("Update"));
}

LiveUpdateDialog::~LiveUpdateDialog()
{
    retireCheck();
}

void LiveUpdateDialog::show()
{
    checkUpdate();
    QWidget::show();
}

void LiveUpdateDialog::checkUpdate()
{
    retireCheck();

    ui->stackedWidget->setCurrentWidget(ui->page);
    ui->label->setText(checkingText);
    updateMessageValid = false;
    checkData.clear();
    if (!descriptorShortage(neededDescriptors).isEmpty()) {
        showFailure();
        return;
    }

    const QUrl address(CAppSetting::instance()->updateAddress, QUrl::TolerantMode);
    QNetworkRequest request(address);
    request.setRawHeader("Accept-Encoding", ContentDecoder::acceptEncoding);
    m_decoder = std::make_unique<ContentDecoder>(maximumMessage);
    checkReply = networkManager.get(request);
    checkReply->setReadBufferSize(readBuffer);
    connect(checkReply, &QNetworkReply::finished, this, &LiveUpdateDialog::checkUpdateFinished);
    connect(checkReply, &QNetworkReply::readyRead, this, &LiveUpdateDialog::checkUpdateReadyRead);
    connect(checkReply, &QNetworkReply::errorOccurred, this, &LiveUpdateDialog::checkUpdateError);
}

void LiveUpdateDialog::reject()
{
    if (ui->stackedWidget->currentWidget() == ui->page) {
        if (checkReply)
            checkReply->abort();
    } else if (ui->stackedWidget->currentWidget() == ui->page_2) {
        CAppSetting::instance()->lastCheckDate = QDate::currentDate();
    }
    SkDialog::reject();
}

void LiveUpdateDialog::checkUpdateReadyRead()
{
    updateMessageValid = false;
    if (!checkReply || checkReply->error() != QNetworkReply::NoError)
        return;

    m_decoder->add(checkReply->readAll(), checkReply->rawHeader("Content-Encoding"));
    checkData = m_decoder->body();
    if (m_decoder->isTooLarge()) {
        qCWarning(lcUpdate, "The update message is longer than %d bytes and is refused.", maximumMessage);
        checkReply->abort();
        return;
    }

    updateMessageValid = startsLikeUpdateMessage(checkData);
    if (!updateMessageValid)
        qDebug() << "Error update message gotten";
}

void LiveUpdateDialog::checkUpdateFinished()
{
    if (checkReply) {
        if (checkReply->bytesAvailable() > 0)
            checkUpdateReadyRead();
        // What is too long has been aborted there, and that has brought the outcome.
        if (!checkReply)
            return;
        // The status of an HTTP error is known only now, after its body.
        if (checkReply->error() != QNetworkReply::NoError || !m_decoder->isWhole())
            updateMessageValid = false;
        checkReply->deleteLater();
        checkReply = nullptr;
    }

    // As text, the message ends at its first zero byte.
    if (!updateMessageValid)
        showFailure();
    else if (QString::fromUtf8(checkData.constData()) == QLatin1String("latest"))
        ui->label->setText(latestText);
    else if (const auto offer = UpdateOffer::fromMessage(checkData))
        showOffer(*offer);
}

void LiveUpdateDialog::checkUpdateError(QNetworkReply::NetworkError errCode)
{
    qDebug() << "update error :" << QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(errCode);
}

void LiveUpdateDialog::downloadFile()
{
    if (UpdateOffer::leadsToThisMachine(downloadUrl))
        qCWarning(lcUpdate) << "The offer leads to this machine and is not opened:" << downloadUrl;
    else
        QDesktopServices::openUrl(downloadUrl);
    reject();
}

void LiveUpdateDialog::checkWhenDue()
{
    int interval = 0; // days
    switch (CAppSetting::instance()->auto_update) {
    case 0:
        return;
    case 1:
        interval = 1;
        break;
    case 2:
        interval = 7;
        break;
    case 3:
        interval = 30;
        break;
    default:
        break;
    }
    if (CAppSetting::instance()->lastCheckDate.daysTo(QDate::currentDate()) >= interval)
        checkUpdate();
}

void LiveUpdateDialog::retireCheck()
{
    if (!checkReply)
        return;
    checkReply->disconnect(this);
    checkReply->abort();
    checkReply->deleteLater();
    checkReply = nullptr;
}

void LiveUpdateDialog::showFailure()
{
    QString link = CAppSetting::instance()->productURL.toHtmlEscaped();
    // Without quotes, Qt ends the address at its first equals sign.
    if (link.contains(QLatin1Char('=')))
        link = QLatin1Char('"') + link + QLatin1Char('"');
    ui->label->setText(failedText + linkTemplate.arg(link));
}

void LiveUpdateDialog::showOffer(const UpdateOffer &offer)
{
    newVersion = offer.version;
    downloadUrl = offer.url;
    releaseNotes->setNotes(offer.notes);
    ui->stackedWidget->setCurrentWidget(ui->page_2);
    QWidget::show();
}
