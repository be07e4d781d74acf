#pragma once

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <ctime>

#include <sys/resource.h>

// What the benchmark programs measure of themselves, and how they hand it over: one line of JSON on standard output.
namespace Figures {

// Since the machine was started; comparable between processes.
[[nodiscard]] inline double monotonicSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Of the calling thread so far; what other programs do meanwhile does not count.
[[nodiscard]] inline double threadMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// Of the whole process so far, user and system together.
[[nodiscard]] inline double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// How often the threads of the process have been given the processor so far, ended threads included.
[[nodiscard]] inline long contextSwitches()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw + usage.ru_nivcsw;
}

inline void print(const QJsonObject &figures)
{
    std::puts(QJsonDocument(figures).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

} // namespace Figures
