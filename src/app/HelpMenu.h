#pragma once

#include <QMenu>

class SkMainWindow;

// The menu "Help", whose entries call the window's slots.
class HelpMenu final : public QMenu
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HelpMenu)

public:
    HelpMenu(SkMainWindow *window, QWidget *parent);
};
