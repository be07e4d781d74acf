#pragma once

#include <QWidget>

#include <memory>

namespace Ui {
class MyStatusBar;
}

// Three texts side by side, and room for further widgets after them.
class MyStatusBar : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MyStatusBar)

public:
    explicit MyStatusBar(QWidget *parent = nullptr);
    ~MyStatusBar() override;

    // Appends the widget to the right of the right text and takes ownership.
    void AddWidget(QWidget *widget);
    void SetLeftLable(const QString &text);
    void SetMiddleLable(const QString &text);
    void SetRightLable(const QString &text);

private:
    const std::unique_ptr<Ui::MyStatusBar> ui;
};
