#include "framework/SkDialog.h"

#include "framework/ScreenFit.h"
#include "framework/SkinFiles.h"
#include "settings/CAppSetting.h"

#include <QCoreApplication>
#include <QPointer>
#include <QScreen>

#include "ui_SkDialog.h"

namespace {

bool quitting = false;

} // namespace

SkDialog::SkDialog(QWidget *parent, Qt::WindowFlags flags, bool showBottomButtons)
    : QDialog(parent, flags)
    , ui(std::make_unique<Ui::SkDialog>())
{
    ui->setupUi(this);
    setWindowTitle(CAppSetting::instance()->getFullProductName());

    ui->icon_label->setPixmap(applicationIcon().pixmap(QSize(32, 32), QIcon::Normal, QIcon::Off));

    ui->bottomButton_frame->setVisible(showBottomButtons);
    setWindowFlags(windowFlags() | Qt::WindowCloseButtonHint);
    ui->windowTitle_frame->hide();

    connect(ui->ok_pushButton, &QPushButton::clicked, this, &SkDialog::accept);
    connect(ui->cancel_pushButton, &QPushButton::clicked, this, &SkDialog::reject);
    connect(ui->reset_pushButton, &QPushButton::clicked, this, &SkDialog::reset);
    ui->minimize_pushButton->hide();

    // Buttons in a hidden frame would otherwise be the first that Qt finds to focus, or to press on Enter.
    for (QFrame *frame : {ui->windowTitle_frame, ui->bottomButton_frame}) {
        if (!frame->isHidden())
            continue;
        const auto buttons = frame->findChildren<QPushButton *>();
        for (QPushButton *button : buttons)
            button->setFocusPolicy(Qt::NoFocus);
    }
}

SkDialog::~SkDialog() = default;

int SkDialog::exec()
{
    if (quitting)
        return Rejected;

    const QPointer<SkDialog> self(this);
    const int answer = QDialog::exec();
    // A dialog that was closed is hidden; one that is still visible lost its event loop to the application's quit.
    if (self && isVisible()) {
        quitting = true;
        connect(qApp, &QCoreApplication::aboutToQuit, qApp, [] { quitting = false; });
    }
    return answer;
}

bool SkDialog::isQuitting()
{
    return quitting;
}

void SkDialog::setTitleName(const QString &title)
{
    setWindowTitle(title);
}

QFrame *SkDialog::getContentFrame() const
{
    return ui->content_frame;
}

void SkDialog::showResetButton(bool visible)
{
    ui->reset_pushButton->setVisible(visible);
}

void SkDialog::showOkButton(bool visible)
{
    ui->ok_pushButton->setVisible(visible);
}

void SkDialog::showCancelButton(bool visible)
{
    ui->cancel_pushButton->setVisible(visible);
}

void SkDialog::showMinimiButton(bool visible)
{
    ui->minimize_pushButton->setVisible(visible);
}

void SkDialog::accept()
{
    QDialog::accept();
}

void SkDialog::reject()
{
    QDialog::reject();
}

void SkDialog::reset() { }

void SkDialog::minimize()
{
    setWindowState(Qt::WindowMinimized);
    emit minimizeMainWindow();
}

bool SkDialog::event(QEvent *event)
{
    if (event->type() == QEvent::Show || (event->type() == QEvent::LayoutRequest && isVisible()))
        growToContent();
    return QDialog::event(event);
}

QWidget *SkDialog::contentWidget() const
{
    return ui->content_frame;
}

void SkDialog::adoptForm()
{
    QFrame *const frame = ui->content_frame;
    resize(frame->size());
    setWindowTitle(frame->windowTitle());
    frame->setWindowTitle({});
    QMetaObject::connectSlotsByName(this);
}

int SkDialog::heightForContent(int width) const
{
    return layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width) : sizeHint().height();
}

// Qt itself gives a window the minimum size of its layout only, which clips wrapped text and wide buttons.
void SkDialog::growToContent()
{
    const QSize room = screen()->availableSize() * 2 / 3;
    int wanted = qMax(width(), qMin(sizeHint().width(), room.width()));
    if (heightForContent(wanted) > room.height())
        wanted = qMax(wanted, room.width());
    resize(wanted, qMax(height(), heightForContent(wanted)));
    fitToScreen(*this);
}
