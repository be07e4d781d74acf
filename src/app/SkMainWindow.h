#pragma once

#include "app/WindowEdges.h"

#include <QMainWindow>
#include <QPoint>

#include <memory>

class CAppSetting;
class LiveUpdateDialog;
class QHoverEvent;
class QMenu;
class QMouseEvent;

namespace Ui {
class SkMainWindow;
}

// The application's only top-level window: the page host, the Help menu, and a frame of the window's own that resizes
// it from its edges and maximises it by a double-click near the top. Position, size and the maximised state are
// options.
class SkMainWindow : public QMainWindow
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SkMainWindow)

public:
    explicit SkMainWindow(QWidget *parent = nullptr, Qt::WindowFlags flags = {});
    ~SkMainWindow() override;

    void showMainWindow();
    // Applies the remembered maximised state.
    void setup();
    // Reloads the application's style sheet from the skin (F12).
    void loadQSS();

public slots:
    void minimize();
    // Fills the screen's available area; at start-up (isInit) the position before it is left as it was stored.
    void maximize(bool isInit = false);
    void revertWindowSize();
    void setTitle();
    void on_actionAbout_triggered();
    void on_actionUpdate_triggered();
    void on_actionHelp_triggered();

protected:
    // Asks first while downloads run.
    void closeEvent(QCloseEvent *event) override;
    bool event(QEvent *event) override;
    // Takes what is meant for the frame before the widgets at the edges do.
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    [[nodiscard]] bool isForFrame(const QEvent &event) const;
    void toggleMaximized(const QMouseEvent &doubleClick);
    void hover(const QHoverEvent &event);
    void drag(const QPoint &globalPos);

    const std::unique_ptr<Ui::SkMainWindow> ui;
    CAppSetting *const m_pSetting;
    bool m_bLeftButtonDown = false;
    QPoint m_lastGlobalPos;
    WindowEdges::ResizeRegion m_resizeRegion = WindowEdges::None;
    LiveUpdateDialog *m_pLiveUpdateDialog = nullptr; // a child, made by the first check
    QMenu *m_pHelpMenu = nullptr; // a child of the menu bar
    bool m_isResizing = false; // the frame has taken the press
};
