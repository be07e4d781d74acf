#pragma once

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QObject>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <deque>
#include <functional>
#include <limits>
#include <utility>

// The visible window of that class, the topmost modal one first; null when there is none.
template <class W> W *visibleTopLevel()
{
    if (auto *modal = qobject_cast<W *>(QApplication::activeModalWidget()))
        return modal;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        auto *found = qobject_cast<W *>(window);
        if (found && found->isVisible())
            return found;
    }
    return nullptr;
}

// The descendant of that class and object name, a visible one before others; null when there is none.
template <class W> W *named(const QWidget *window, const char *objectName)
{
    const auto found = window ? window->findChildren<W *>(QString::fromLatin1(objectName)) : QList<W *>();
    for (W *widget : found) {
        if (widget->isVisible())
            return widget;
    }
    return found.value(0);
}

// As a person does with the mouse: nothing happens while the widget is disabled.
inline void click(QWidget *widget)
{
    QTest::mouseClick(widget, Qt::LeftButton);
}

inline void type(QWidget *widget, const QString &text)
{
    QTest::keyClicks(widget, text);
}

// Plays steps one after another while the application runs its own event loops, modal dialogs included: as soon as the
// condition of a step holds, its action is called, and the next step is watched even while that action has not
// returned. A step that waits too long ends the play, and the open dialogs are closed so that no exec() waits for ever.
// GUI thread only.
class Driver final
{
    Q_DISABLE_COPY_MOVE(Driver)

public:
    using Condition = std::function<bool()>;
    using Action = std::function<void()>;

    // The limit, in milliseconds, counts for each step anew.
    explicit Driver(int stepLimit = 10000)
        : m_stepLimit(stepLimit)
    {
    }

    // The name completes "waited in vain until ..."; a step without an action only waits.
    void when(const QString &name, Condition condition, Action action = {})
    {
        m_steps.push_back({name, std::move(condition), std::move(action)});
    }

    // A step for the moment when no modal dialog is open.
    void whenIdle(Action action)
    {
        when(
            QStringLiteral("no dialog is open"), [] { return !openDialog(); }, std::move(action));
    }

    // A step for the moment when a window of that class is visible, which the action gets.
    template <class W, class WindowAction> void whenOpen(WindowAction action)
    {
        when(
            QStringLiteral("a window of the class %1 is open").arg(QLatin1String(W::staticMetaObject.className())),
            [] { return visibleTopLevel<W>() != nullptr; }, [action] { action(visibleTopLevel<W>()); });
    }

    // Returns at once; the steps are played from the event loop.
    void run()
    {
        m_waiting.start();
        scheduleLook();
    }

    // Plays to the end and returns true when no step failed.
    bool play()
    {
        run();
        return QTest::qWaitFor([this] { return finished(); }, std::numeric_limits<int>::max()) && m_failure.isEmpty();
    }

    // Every step's action has returned, or a step has failed and the dialogs are closed.
    [[nodiscard]] bool finished() const
    {
        return m_actionsOnStack == 0 && (m_failure.isEmpty() ? m_steps.empty() : !openDialog());
    }
    // Empty while all goes well.
    [[nodiscard]] QString failure() const { return m_failure; }

private:
    struct Step
    {
        QString name;
        Condition condition;
        Action action;
    };

    // A timer does not fire again inside its own slot, so each look has one of its own.
    void scheduleLook()
    {
        QTimer::singleShot(10, &m_context, [this] { look(); });
    }

    void look()
    {
        if (!m_failure.isEmpty()) {
            if (QDialog *dialog = openDialog()) {
                scheduleLook();
                dialog->reject();
            }
            return;
        }
        if (m_steps.empty())
            return;
        scheduleLook();
        if (!m_steps.front().condition()) {
            if (m_waiting.hasExpired(m_stepLimit))
                m_failure = QStringLiteral("waited in vain until %1").arg(m_steps.front().name);
            return;
        }
        const Step step = std::move(m_steps.front());
        m_steps.pop_front();
        m_waiting.start();
        if (step.action) {
            ++m_actionsOnStack;
            step.action();
            --m_actionsOnStack;
        }
    }

    [[nodiscard]] static QDialog *openDialog() { return qobject_cast<QDialog *>(QApplication::activeModalWidget()); }

    const int m_stepLimit;
    QObject m_context;
    std::deque<Step> m_steps;
    QElapsedTimer m_waiting;
    QString m_failure;
    int m_actionsOnStack = 0;
};
