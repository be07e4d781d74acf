#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <deque>
#include <functional>

// The visible window of that class, the topmost modal one first; null when there is none.
template <class W> W *visibleTopLevel()
{
    const QWidgetList windows = QWidgetList{QApplication::activeModalWidget()} + QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (auto *found = qobject_cast<W *>(window); found && found->isVisible())
            return found;
    }
    return nullptr;
}

// The descendant of that class and object name, a visible one before others; null when there is none.
template <class W> W *named(const QWidget *window, const char *objectName)
{
    const auto all = window ? window->findChildren<W *>(QString::fromLatin1(objectName)) : QList<W *>();
    const auto shown = std::find_if(all.begin(), all.end(), [](const W *widget) { return widget->isVisible(); });
    return shown == all.end() ? all.value(0) : *shown;
}

// As a person does with mouse and keyboard: nothing happens while the widget is disabled.
inline void click(QWidget *widget)
{
    QTest::mouseClick(widget, Qt::LeftButton);
}
inline void type(QWidget *widget, const QString &text)
{
    QTest::keyClicks(widget, text);
}

// Plays steps one after another through the application's own event loops: the next step is watched even while an
// action waits in a modal dialog. Waiting too long ends the play and closes the open dialogs. GUI thread only.
class Driver final : public QObject
{
public:
    // The name completes "waited in vain until ...". A step without an action only waits.
    void when(const QString &name, std::function<bool()> condition, std::function<void()> action = nullptr)
    {
        m_steps.push_back({name, std::move(condition), std::move(action)});
    }
    void whenIdle(std::function<void()> action)
    {
        when(QStringLiteral("all dialogs are closed"), std::not_fn(openDialog), std::move(action));
    }
    template <class W> void whenOpen(std::function<void(W *)> action)
    {
        const QString name = QLatin1String(W::staticMetaObject.className()) + QStringLiteral(" is open");
        when(name, visibleTopLevel<W>, [action] { action(visibleTopLevel<W>()); });
    }

    void run() // returns at once; the event loop plays the steps
    {
        m_waiting.start();
        QTimer::singleShot(10, this, &Driver::look);
    }
    bool play() // to the end; true when no step failed
    {
        run();
        while (!finished())
            QTest::qWait(10);
        return m_failure.isEmpty();
    }
    // Every action has returned, or a step has failed and the dialogs are closed.
    bool finished() const { return m_running == 0 && (m_failure.isEmpty() ? m_steps.empty() : !openDialog()); }
    QString failure() const { return m_failure; } // what was waited for in vain, if anything

private:
    static QWidget *openDialog() { return QApplication::activeModalWidget(); }
    // A timer does not fire again inside its own slot, so each look has one of its own.
    void look()
    {
        if (finished())
            return;
        QTimer::singleShot(10, this, &Driver::look);
        if (!m_failure.isEmpty()) {
            if (QWidget *dialog = openDialog())
                dialog->close();
        } else if (!m_steps.empty() && m_steps.front().condition()) {
            const Step step = std::move(m_steps.front());
            m_steps.pop_front();
            m_waiting.start();
            ++m_running;
            if (step.action)
                step.action();
            --m_running;
        } else if (m_waiting.hasExpired(30000)) {
            m_failure = m_steps.empty() ? QStringLiteral("the last action returns") : m_steps.front().name;
        }
    }

    struct Step
    {
        QString name;
        std::function<bool()> condition;
        std::function<void()> action;
    };
    std::deque<Step> m_steps;
    QElapsedTimer m_waiting;
    QString m_failure;
    int m_running = 0; // actions that have not returned
};
