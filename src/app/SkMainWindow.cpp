#include "app/SkMainWindow.h"

#include "app/HelpMenu.h"
#include "app/Skin.h"
#include "framework/ScreenFit.h"
#include "framework/SkAboutDialog.h"
#include "framework/SkinFiles.h"
#include "settings/CAppSetting.h"
#include "update/LiveUpdateDialog.h"

#include "ui_SkMainWindow.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QHoverEvent>
#include <QKeyEvent>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QShortcut>
#include <QUrl>
#include <QWindow>

SkMainWindow::SkMainWindow(QWidget *parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags)
    , ui(std::make_unique<Ui::SkMainWindow>())
    , m_pSetting(CAppSetting::instance())
{
    ui->setupUi(this);
    ui->icon_label->setPixmap(applicationIcon().pixmap(QSize(32, 32), QIcon::Normal, QIcon::Off));
    setWindowIcon(applicationIcon());
    ui->revert_pushButton->hide();

    setWindowFlags(windowFlags() & ~Qt::WindowMinimizeButtonHint);
    setWindowFlags(windowFlags() & ~Qt::WindowMaximizeButtonHint);
    setWindowFlags(windowFlags() ^ Qt::WindowCloseButtonHint);

    ui->close_pushButton->hide();
    ui->maximize_pushButton->hide();
    ui->minimize_pushButton->hide();
    ui->menuBar_frame->hide();
    ui->windowTitle_frame->hide();

    auto *menuBar = new QMenuBar(this);
    m_pHelpMenu = new HelpMenu(this, menuBar);
    menuBar->addMenu(m_pHelpMenu);
    // Without a global menu bar it takes the top row of the window, above the form.
    if (!menuBar->isNativeMenuBar())
        setMenuWidget(menuBar);
    ui->framePage->hide();

    // The quit command where no menu of the platform offers it; not every platform has a standard key for it.
    connect(new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_Q), this), &QShortcut::activated, this, &QWidget::close);
    setup();
}

SkMainWindow::~SkMainWindow() = default;

void SkMainWindow::showMainWindow()
{
    setTitle();
    if (!m_pSetting->maximization)
        fitToScreen(*this);
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
    event->setAccepted(ui->widgetMain->mayQuit());
}

bool SkMainWindow::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        if (const auto *press = static_cast<QMouseEvent *>(event); press->button() == Qt::LeftButton) {
            m_bLeftButtonDown = true;
            m_lastGlobalPos = press->globalPos();
        }
        break;
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
    case QEvent::MouseMove:
        // Moves without the button come too, from widgets that have no use for them.
        if (m_bLeftButtonDown)
            drag(static_cast<QMouseEvent *>(event)->globalPos());
        break;
    case QEvent::WindowBlocked:
    case QEvent::WindowDeactivate:
        // The release goes to what has come between.
        m_bLeftButtonDown = false;
        m_isResizing = false;
        break;
    default:
        break;
    }
    return QMainWindow::event(event);
}

bool SkMainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != windowHandle() || !isForFrame(*event))
        return QMainWindow::eventFilter(watched, event);
    m_isResizing =
        event->type() == QEvent::MouseButtonPress || (m_isResizing && event->type() != QEvent::MouseButtonRelease);
    this->event(event);
    return true;
}

bool SkMainWindow::isForFrame(const QEvent &event) const
{
    switch (event.type()) {
    case QEvent::MouseButtonPress: {
        const auto &press = static_cast<const QMouseEvent &>(event);
        return press.button() == Qt::LeftButton && !m_pSetting->maximization && m_resizeRegion != WindowEdges::None
            && WindowEdges::regionAt(press.pos(), size()) == m_resizeRegion;
    }
    case QEvent::MouseMove:
        return m_isResizing;
    case QEvent::MouseButtonRelease:
        return m_isResizing && static_cast<const QMouseEvent &>(event).button() == Qt::LeftButton;
    case QEvent::MouseButtonDblClick: {
        // The menu bar stands where the band is, and has no use for a double-click beside its entries.
        const QPoint pos = static_cast<const QMouseEvent &>(event).pos();
        const auto *menuBar = qobject_cast<QMenuBar *>(childAt(pos));
        return m_isResizing || (menuBar && !menuBar->actionAt(menuBar->mapFrom(this, pos)));
    }
    default:
        return false;
    }
}

void SkMainWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F12)
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
    m_bLeftButtonDown = false;
    setCursor(Qt::ArrowCursor);
}

void SkMainWindow::hover(const QHoverEvent &event)
{
    if (m_pSetting->maximization || m_bLeftButtonDown)
        return;
    m_resizeRegion = WindowEdges::regionAt(event.posF().toPoint(), size());
    setCursor(WindowEdges::cursorFor(m_resizeRegion));
}

void SkMainWindow::drag(const QPoint &globalPos)
{
    const QRect before(pos(), size());
    const auto [after, last] =
        WindowEdges::dragged({before, m_lastGlobalPos}, m_resizeRegion, globalPos, minimumSize());
    m_lastGlobalPos = last;
    if (after.size() != before.size())
        resize(after.size());
    if (after.topLeft() != before.topLeft())
        move(after.topLeft());
}
