#include "app/MyStatusBar.h"

#include "ui_MyStatusBar.h"

MyStatusBar::MyStatusBar(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::MyStatusBar>())
{
    ui->setupUi(this);
}

MyStatusBar::~MyStatusBar() = default;

void MyStatusBar::AddWidget(QWidget *widget)
{
    ui->horizontalLayout->addWidget(widget);
}

void MyStatusBar::SetLeftLable(const QString &text)
{
    ui->labelLeft->setText(text);
}

void MyStatusBar::SetMiddleLable(const QString &text)
{
    ui->labelMiddle->setText(text);
}

void MyStatusBar::SetRightLable(const QString &text)
{
    ui->labelRight->setText(text);
}
