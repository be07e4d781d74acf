#pragma once

#include <QObject>

class QSocketNotifier;

// While it lives, SIGTERM, SIGINT and SIGHUP end the application as its quit command does: without a question, options
// saved. One at a time, on the GUI thread.
class TerminationSignals final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TerminationSignals)

public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

private:
    QSocketNotifier *m_notifier = nullptr; // a child
};
