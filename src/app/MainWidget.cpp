#include "app/MainWidget.h"

#include "app/MyStatusBar.h"

#include "ui_MainWidget.h"

MainWidget::MainWidget(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::MainWidget>())
{
    ui->setupUi(this);
    m_pStatusBar = ui->widgetStatus;
    SwitchStackedPage(page1);
    ui->frameStatus->hide();
}

MainWidget::~MainWidget() = default;

void MainWidget::SwitchStackedPage(EnumStackedWidget page)
{
    m_currentPage = page;
    ui->stackedWidget->setCurrentIndex(m_currentPage);
}

void MainWidget::slotSetLeftStatuBarText(QString text)
{
    m_pStatusBar->SetLeftLable(text);
}

bool MainWidget::isDownloading() const
{
    return ui->page1->isDownloading();
}
