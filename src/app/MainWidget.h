#pragma once

#include <QWidget>

#include <memory>

class MyStatusBar;

namespace Ui {
class MainWidget;
}

// The content of the main window: the pages, of which one shows, and the status bar below them, hidden at first.
class MainWidget : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWidget)

public:
    enum EnumStackedWidget { pageWelcome, page1, page2, page3 };

    explicit MainWidget(QWidget *parent = nullptr);
    ~MainWidget() override;

    void SwitchStackedPage(EnumStackedWidget page);
    // While downloads run, the person is asked whether to leave them incomplete.
    [[nodiscard]] bool mayQuit();

public slots:
    void slotSetLeftStatuBarText(QString text);

private:
    const std::unique_ptr<Ui::MainWidget> ui;
    EnumStackedWidget m_currentPage = page1;
    MyStatusBar *m_pStatusBar = nullptr; // owned by the form
};
