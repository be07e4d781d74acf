#include "framework/SkMessageBox.h"

#include "framework/SkinFiles.h"

#include <QPixmap>
#include <QScreen>
#include <QScrollArea>

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

void SkMessageBox::setPlainMessageText(const QString &text)
{
    ui->text_label->setTextFormat(Qt::PlainText);
    setMessageText(text);
    ui->text_label->ensurePolished();
    const QSize room = screen()->availableSize() / 2;
    if (ui->text_label->heightForWidth(room.width()) <= room.height() || ui->text_label->parentWidget() != ui->frame)
        return;
    // It would not fit on the screen.
    auto *area = new QScrollArea(ui->frame);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setMinimumSize(room);
    delete ui->horizontalLayout_2->replaceWidget(ui->text_label, area);
    area->setWidget(ui->text_label);
}

void SkMessageBox::setMessageType(Enum_DialogType type)
{
    QString file;
    switch (type) {
    case DialogType_Info:
        file = QStringLiteral("messagebox-info.png");
        break;
    case DialogType_Question:
        file = QStringLiteral("messagebox-quest.png");
        ui->cancel_pushButton->show();
        break;
    case DialogType_Warning:
        file = QStringLiteral("messagebox-warn.png");
        break;
    case DialogType_Critical:
        file = QStringLiteral("messagebox-crit.png");
        break;
    case DialogType_InfoWithOpen:
        file = QStringLiteral("messagebox-info.png");
        ui->open_pushButton->show();
        break;
    }
    if (!file.isEmpty()) {
        ui->icon_label->setPixmap(skinPixmap(file));
        return;
    }
    QPixmap nothing(40, 39);
    nothing.fill(Qt::transparent);
    ui->icon_label->setPixmap(nothing);
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
