#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

// Counts what is painted while it lives.
class PaintCounter final : public QObject
{
    Q_DISABLE_COPY_MOVE(PaintCounter)

public:
    explicit PaintCounter(QWidget &window)
        : m_window(window)
    {
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest && watched == &m_window)
            ++frames;
        if (event->type() == QEvent::Paint && watched->isWidgetType())
            ++widgets;
        return false;
    }

    int frames = 0;
    int widgets = 0;

private:
    QWidget &m_window;
};
