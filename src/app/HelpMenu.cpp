#include "app/HelpMenu.h"

#include "app/SkMainWindow.h"
#include "framework/SkinFiles.h"

HelpMenu::HelpMenu(SkMainWindow *window, QWidget *parent)
    : QMenu(SkMainWindow::tr("Help"), parent)
{
    const auto makeAction = [this, window](const QString &text, const QString &icon, void (SkMainWindow::*slot)()) {
        auto *action = new QAction(QIcon(skinFile(icon)), text, this);
        connect(action, &QAction::triggered, window, slot);
        return action;
    };
    auto *about = makeAction(SkMainWindow::tr("About"), QStringLiteral("about_icon.png"),
                             &SkMainWindow::on_actionAbout_triggered);
    auto *onlineHelp = makeAction(SkMainWindow::tr("Online Help"), QStringLiteral("help_icon.png"),
                                  &SkMainWindow::on_actionHelp_triggered);
    auto *checkUpdate = makeAction(SkMainWindow::tr("Check Update"), QStringLiteral("update_icon.png"),
                                   &SkMainWindow::on_actionUpdate_triggered);

    onlineHelp->setShortcut(QKeySequence::HelpContents);
    onlineHelp->setAutoRepeat(false);

    addAction(onlineHelp);
    addSeparator();
    addAction(checkUpdate);
    addSeparator();
    addAction(about);
}
