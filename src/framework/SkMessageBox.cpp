#include "framework/SkMessageBox.h"

#include "settings/CAppSetting.h"

#include <QPixmap>

#include "ui_SkMessageBox.h"

SkMessageBox::SkMessageBox(QWidget *parent, Enum_DialogType type, const QString &text)
    : SkMessageBox(parent)
{
    setMessageText(text);
    setMessageType(type);
    connect(ui->cancel_pushButton, &QPushButton::clicked, this, &SkMessageBox::reject);
    connect(ui->open_pushButton, &QPushButton::clicked, this, &SkMessageBox::on_open);
}

SkMessageBox::SkMessageBox(QWidget *parent)
    : SkDialog(parent, {}, false)
    , ui(std::make_unique<Ui::SkMessageBox>())
{
    setupForm(*ui);
    ui->open_pushButton->hide();
    ui->cancel_pushButton->hide();
    ui->ok_pushButton->setFocus();
    connect(ui->ok_pushButton, &QPushButton::clicked, this, &SkMessageBox::accept);
}

SkMessageBox::~SkMessageBox() = default;

void SkMessageBox::setMessageText(const QString &text)
{
    ui->text_label->setText(text);
}

void SkMessageBox::setMessageType(Enum_DialogType type)
{
    const QString skin = CAppSetting::instance()->getSkinPath(false);
    QPixmap icon(40, 39);
    icon.fill(Qt::transparent);

    switch (type) {
    case DialogType_Info:
        icon.load(skin + QStringLiteral("messagebox-info.png"));
        break;
    case DialogType_Question:
        icon.load(skin + QStringLiteral("messagebox-quest.png"));
        ui->cancel_pushButton->show();
        break;
    case DialogType_Warning:
        icon.load(skin + QStringLiteral("messagebox-warn.png"));
        break;
    case DialogType_Critical:
        icon.load(skin + QStringLiteral("messagebox-crit.png"));
        break;
    case DialogType_InfoWithOpen:
        icon.load(skin + QStringLiteral("messagebox-info.png"));
        ui->open_pushButton->show();
        break;
    }
    ui->icon_label->setPixmap(icon);
}

void SkMessageBox::setBtnText(const QString &text)
{
    ui->ok_pushButton->setText(text);
}

void SkMessageBox::on_open()
{
    emit openPath();
    reject();
}
