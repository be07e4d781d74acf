#include "framework/SkAboutDialog.h"

#include "settings/CAppSetting.h"

#include "ui_SkAboutDialog.h"

SkAboutDialog::SkAboutDialog(QWidget *parent)
    : SkDialog(parent, {}, false)
    , ui(std::make_unique<Ui::SkAboutDialog>())
{
    setupForm(*ui);

    CAppSetting *const setting = CAppSetting::instance();
    ui->support_label->setText(setting->getSupportLink());
    ui->homePage_label->setText(setting->getHomePageLink());
    ui->copyRight_label->setText(setting->copyright);
    ui->version_label->setText(setting->version);
    setTitleName(QStringLiteral("AboutUs"));
}

SkAboutDialog::~SkAboutDialog() = default;
