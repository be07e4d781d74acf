#include "framework/DoubleClickGuard.h"

#include <QEvent>
#include <QWidget>

DoubleClickGuard::DoubleClickGuard(QWidget *widget)
    : QObject(widget)
{
    widget->installEventFilter(this);
}

bool DoubleClickGuard::eventFilter(QObject * /*watched*/, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Show:
        m_hasFirstPress = false;
        return false;
    case QEvent::MouseButtonPress:
        m_hasFirstPress = true;
        return false;
    case QEvent::MouseButtonDblClick:
        return !m_hasFirstPress;
    default:
        return false;
    }
}
