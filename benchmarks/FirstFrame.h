#pragma once

#include "Figures.h"
#include "ProcessFigures.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMainWindow>
#include <QObject>
#include <QTimer>

// Notes when the first frame of a main window has been painted, lets the process come to rest, prints and quits.
class FirstFrame final : public QObject
{
    Q_DISABLE_COPY_MOVE(FirstFrame)

public:
    FirstFrame() { qApp->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && qobject_cast<QMainWindow *>(watched)) {
            qApp->removeEventFilter(this);
            // The turn after the painting, when the frame has been handed to the screen.
            QTimer::singleShot(0, this, &FirstFrame::shown);
        }
        return false;
    }

private:
    static constexpr int restingTime = 150; // milliseconds

    void shown()
    {
        m_shownAt = Figures::monotonicSeconds();
        m_processor = Figures::processorSeconds();
        QTimer::singleShot(restingTime, this, [this] {
            Figures::print({{QStringLiteral("shown"), m_shownAt},
                            {QStringLiteral("processor"), m_processor},
                            {QStringLiteral("idle"), ProcessFigures::residentBytes()}});
            QCoreApplication::quit();
        });
    }

    double m_shownAt = 0;
    double m_processor = 0;
};
