#pragma once

#include "framework/SkDialog.h"

namespace Ui {
class SkAboutDialog;
}

// Shows who made the product, with links, and its version. The window's close button or Escape ends it.
class SkAboutDialog : public SkDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SkAboutDialog)

public:
    explicit SkAboutDialog(QWidget *parent = nullptr);
    ~SkAboutDialog() override;

private:
    const std::unique_ptr<Ui::SkAboutDialog> ui;
};
