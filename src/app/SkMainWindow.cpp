#include "app/SkMainWindow.h"

#include "app/Skin.h"
#include "framework/SkAboutDialog.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "update/LiveUpdateDialog.h"

#include "ui_SkMainWindow.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QHoverEvent>
#include <QIcon>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QShortcut>
#include <QUrl>
#include <QWindow>

namespace {

constexpr int resizeBorder = 5; // pixels

constexpr Qt::CursorShape regionCursors[] = {
    Qt::ArrowCursor,     Qt::SizeVerCursor,   Qt::SizeHorCursor,   Qt::SizeVerCursor,   Qt::SizeHorCursor,
    Qt::SizeBDiagCursor, Qt::SizeFDiagCursor, Qt::SizeBDiagCursor, Qt::SizeFDiagCursor,
};

} // namespace

SkMainWindow::SkMainWindow(QWidget *parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags)
    , ui(std::make_unique<Ui::SkMainWindow>())
    , m_pSetting(CAppSetting::instance())
{
    ui->setupUi(this);
    const QIcon icon(QCoreApplication::applicationDirPath() + QStringLiteral("/icon/app.ico"));
    ui->icon_label->setPixmap(icon.pixmap(32, 32, QIcon::Normal, QIcon::Off));
    setWindowIcon(icon);
    ui->revert_pushButton->hide();

    setWindowFlags(windowFlags() & ~Qt::WindowMinimizeButtonHint);
    setWindowFlags(windowFlags() & ~Qt::WindowMaximizeButtonHint);
    setWindowFlags(windowFlags() ^ Qt::WindowCloseButtonHint);

    ui->close_pushButton->hide();
    ui->maximize_pushButton->hide();
    ui->minimize_pushButton->hide();
    ui->menuBar_frame->hide();
    ui->windowTitle_frame->hide();

    buildHelpMenu();
    ui->framePage->hide();

    // The quit command where no menu of the platform offers it; not every platform has a standard key for it.
    connect(new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_Q), this), &QShortcut::activated, this, &QWidget::close);
    setup();
}

SkMainWindow::~SkMainWindow() = default;

void SkMainWindow::showMainWindow()
{
    setTitle();
    show();
    windowHandle()->installEventFilter(this);
}

void SkMainWindow::setTitle()
{
    const QString title = m_pSetting->getFullProductName();
    ui->title_label->setText(title);
    setWindowTitle(title);
}

void SkMainWindow::setup()
{
    if (m_pSetting->maximization)
        maximize(true);
}

void SkMainWindow::loadQSS()
{
    Skin::applyStyleSheet();
}

void SkMainWindow::minimize()
{
    setWindowState(Qt::WindowMinimized);
}

void SkMainWindow::maximize(bool isInit)
{
    if (!isInit)
        m_pSetting->windowPoint = pos();
    m_pSetting->maximization = true;
    move(0, 0);
    resize(QGuiApplication::primaryScreen()->availableGeometry().size());
    ui->maximize_pushButton->hide();
    ui->revert_pushButton->show();
}

void SkMainWindow::revertWindowSize()
{
    m_pSetting->maximization = false;
    move(m_pSetting->windowPoint);
    resize(m_pSetting->windowSize);
    ui->maximize_pushButton->show();
    ui->revert_pushButton->hide();
}

void SkMainWindow::buildHelpMenu()
{
    auto *menuBar = new QMenuBar(this);
    // Without a global menu bar it takes the top row of the window.
    if (!menuBar->isNativeMenuBar())
        ui->verticalLayout->insertWidget(0, menuBar);
    m_pHelpMenu = new QMenu(tr("Help"), menuBar);
    menuBar->addMenu(m_pHelpMenu);

    const auto makeAction = [this](const QString &text, const QString &icon, void (SkMainWindow::*slot)()) {
        auto *action = new QAction(QIcon(m_pSetting->getSkinPath(false) + icon), text, m_pHelpMenu);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    auto *about = makeAction(tr("About"), QStringLiteral("about_icon.png"), &SkMainWindow::on_actionAbout_triggered);
    auto *onlineHelp =
        makeAction(tr("Online Help"), QStringLiteral("help_icon.png"), &SkMainWindow::on_actionHelp_triggered);
    auto *checkUpdate =
        makeAction(tr("Check Update"), QStringLiteral("update_icon.png"), &SkMainWindow::on_actionUpdate_triggered);

    onlineHelp->setShortcut(QKeySequence::HelpContents);
    onlineHelp->setAutoRepeat(false);

    m_pHelpMenu->addAction(onlineHelp);
    m_pHelpMenu->addSeparator();
    m_pHelpMenu->addAction(checkUpdate);
    m_pHelpMenu->addSeparator();
    m_pHelpMenu->addAction(about);
}

void SkMainWindow::on_actionAbout_triggered()
{
    SkAboutDialog dialog(this);
    dialog.exec();
}

void SkMainWindow::on_actionUpdate_triggered()
{
    if (!m_pLiveUpdateDialog) {
        m_pLiveUpdateDialog = new LiveUpdateDialog(this);
        connect(m_pLiveUpdateDialog, &LiveUpdateDialog::minimizeMainWindow, this, &SkMainWindow::minimize);
    }
    m_pLiveUpdateDialog->show();
}

void SkMainWindow::on_actionHelp_triggered()
{
    QDesktopServices::openUrl(QUrl(m_pSetting->helpURL, QUrl::TolerantMode));
}

void SkMainWindow::closeEvent(QCloseEvent *event)
{
    if (ui->widgetMain->isDownloading()) {
        SkMessageBox question(this, SkMessageBox::DialogType_Question,
                              tr("Downloads are still running and will be left incomplete. Quit all the same?"));
        question.setWindowTitle(m_pSetting->getFullProductName());
        question.setBtnText(tr("Quit"));
        if (question.exec() != QDialog::Accepted) {
            event->ignore();
            return;
        }
    }
    QMainWindow::closeEvent(event);
}

bool SkMainWindow::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        const auto *press = static_cast<QMouseEvent *>(event);
        if (press->button() == Qt::LeftButton) {
            m_bLeftButtonDown = true;
            m_lastGlobalPos = press->globalPos();
        }
        break;
    }
    case QEvent::MouseButtonRelease:
        if (static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton)
            m_bLeftButtonDown = false;
        break;
    case QEvent::MouseButtonDblClick:
        toggleMaximized(*static_cast<QMouseEvent *>(event));
        break;
    case QEvent::HoverMove:
        hover(*static_cast<QHoverEvent *>(event));
        break;
    case QEvent::MouseMove: {
        const auto *move = static_cast<QMouseEvent *>(event);
        m_bLeftButtonDown = m_bLeftButtonDown && move->buttons().testFlag(Qt::LeftButton);
        drag(move->globalPos());
        break;
    }
    default:
        break;
    }
    return QMainWindow::event(event);
}

bool SkMainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != windowHandle() || !isForFrame(*event))
        return QMainWindow::eventFilter(watched, event);
    if (event->type() == QEvent::MouseButtonPress)
        m_isResizing = true;
    else if (event->type() == QEvent::MouseButtonRelease)
        m_isResizing = false;
    this->event(event);
    return true;
}

bool SkMainWindow::isForFrame(const QEvent &event) const
{
    switch (event.type()) {
    case QEvent::MouseButtonPress: {
        const auto &press = static_cast<const QMouseEvent &>(event);
        return press.button() == Qt::LeftButton && !m_pSetting->maximization && m_resizeRegion != None
            && regionAt(press.pos()) == m_resizeRegion;
    }
    case QEvent::MouseMove:
        return m_isResizing && static_cast<const QMouseEvent &>(event).buttons().testFlag(Qt::LeftButton);
    case QEvent::MouseButtonRelease:
        return m_isResizing && static_cast<const QMouseEvent &>(event).button() == Qt::LeftButton;
    case QEvent::MouseButtonDblClick: {
        // The menu bar stands where the band is, and has no use for a double-click beside its entries.
        const QPoint pos = static_cast<const QMouseEvent &>(event).pos();
        const auto *menuBar = qobject_cast<QMenuBar *>(childAt(pos));
        return menuBar && !menuBar->actionAt(menuBar->mapFrom(this, pos));
    }
    default:
        return false;
    }
}

void SkMainWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F12 && !event->isAutoRepeat())
        loadQSS();
    QWidget::keyPressEvent(event);
}

void SkMainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    if (!m_pSetting->maximization)
        m_pSetting->windowSize = size();
}

void SkMainWindow::toggleMaximized(const QMouseEvent &doubleClick)
{
    if (doubleClick.button() != Qt::LeftButton || doubleClick.pos().y() >= ui->title_frame->height())
        return;
    if (m_pSetting->maximization)
        revertWindowSize();
    else
        maximize(false);
    m_resizeRegion = None;
    setCursor(Qt::ArrowCursor);
}

SkMainWindow::ResizeRegion SkMainWindow::regionAt(const QPoint &pos) const
{
    const bool isLeft = pos.x() >= 0 && pos.x() < resizeBorder;
    const bool isTop = pos.y() >= 0 && pos.y() < resizeBorder;
    const bool isRight = pos.x() > width() - resizeBorder && pos.x() <= width();
    const bool isBottom = pos.y() > height() - resizeBorder && pos.y() <= height();

    if (isLeft && isBottom)
        return BottomLeft;
    if (isTop && isRight)
        return TopRight;
    if (isLeft && isTop)
        return TopLeft;
    if (isLeft)
        return Left;
    if (isTop)
        return Top;
    if (isBottom && isRight)
        return BottomRight;
    if (isRight)
        return Right;
    return isBottom ? Bottom : None;
}

void SkMainWindow::hover(const QHoverEvent &event)
{
    if (m_pSetting->maximization || m_bLeftButtonDown)
        return;
    m_resizeRegion = regionAt(event.posF().toPoint());
    setCursor(regionCursors[m_resizeRegion]);
}

void SkMainWindow::drag(const QPoint &globalPos)
{
    // Moves without the button come too, from widgets that have no use for them, and after a release that a modal
    // dialog has kept from the window.
    if (!m_bLeftButtonDown || globalPos == m_lastGlobalPos || m_resizeRegion == None)
        return;
    const bool movesLeft = m_resizeRegion == Left || m_resizeRegion == TopLeft || m_resizeRegion == BottomLeft;
    const bool movesRight = m_resizeRegion == Right || m_resizeRegion == TopRight || m_resizeRegion == BottomRight;
    const bool movesTop = m_resizeRegion == Top || m_resizeRegion == TopLeft || m_resizeRegion == TopRight;
    const bool movesBottom = m_resizeRegion == Bottom || m_resizeRegion == BottomLeft || m_resizeRegion == BottomRight;

    const QPoint travel = globalPos - m_lastGlobalPos;
    QSize newSize = size();
    QPoint newPos = pos();
    // A dimension that would reach its minimum stays, and the pointer has to come back before it moves again.
    if (movesLeft || movesRight) {
        const int newWidth = width() + (movesLeft ? -travel.x() : travel.x());
        if (newWidth > minimumSize().width()) {
            newSize.setWidth(newWidth);
            m_lastGlobalPos.setX(globalPos.x());
            if (movesLeft)
                newPos.setX(globalPos.x());
        }
    }
    if (movesTop || movesBottom) {
        const int newHeight = height() + (movesTop ? -travel.y() : travel.y());
        if (newHeight > minimumSize().height()) {
            newSize.setHeight(newHeight);
            m_lastGlobalPos.setY(globalPos.y());
            if (movesTop)
                newPos.setY(globalPos.y());
        }
    }
    if (newSize != size())
        resize(newSize);
    if (newPos != pos())
        move(newPos);
}
