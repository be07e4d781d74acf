#include "app/MainWidget.h"

#include "app/MyStatusBar.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"

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

bool MainWidget::mayQuit()
{
    if (!ui->page1->isDownloading())
        return true;
    SkMessageBox question(this, SkMessageBox::DialogType_Question,
                          tr("Downloads are still running and will be left incomplete. Quit all the same?"));
    question.setWindowTitle(CAppSetting::instance()->getFullProductName());
    question.setBtnText(tr("Quit"));
    return question.exec() == QDialog::Accepted;
}
