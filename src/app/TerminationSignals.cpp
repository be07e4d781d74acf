#include "app/TerminationSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int watchedSignals[] = {SIGTERM, SIGINT, SIGHUP};

// A handler may do little more than write a byte; the event loop does the rest.
int signalPipe[2] = {-1, -1};

void passOn(int)
{
    const int savedErrno = errno;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], "", 1);
    errno = savedErrno;
}

} // namespace

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
{
    if (::pipe(signalPipe) != 0)
        return;
    for (const int end : signalPipe) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    m_notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [] {
        char byte = 0;
        while (::read(signalPipe[0], &byte, 1) > 0) { }
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = passOn;
    action.sa_flags = SA_RESTART;
    for (const int signal : watchedSignals) {
        struct sigaction inherited = {};
        ::sigaction(signal, nullptr, &inherited);
        // What nohup has switched off stays so.
        if (inherited.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals()
{
    if (!m_notifier)
        return;
    for (const int signal : watchedSignals) {
        struct sigaction current = {};
        ::sigaction(signal, nullptr, &current);
        if (current.sa_handler == passOn)
            std::signal(signal, SIG_DFL);
    }
    delete m_notifier;
    for (int &end : signalPipe) {
        ::close(end);
        end = -1;
    }
}
