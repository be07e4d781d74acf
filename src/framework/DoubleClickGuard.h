#pragma once

#include <QObject>

class QWidget;

// Keeps the second half of a double-click from a widget that has taken the place of the one that the first half hit:
// only a double-click whose first press came to the widget itself, since it was shown, reaches it. Single presses, keys
// and calls always do. Owned by the widget that it guards.
class DoubleClickGuard final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DoubleClickGuard)

public:
    explicit DoubleClickGuard(QWidget *widget);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool m_hasFirstPress = false;
};
