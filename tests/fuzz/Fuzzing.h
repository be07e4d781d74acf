#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// What every fuzz target shares. Each defines these two; start() is called once, before the first input.
void start(int &argc, char **argv);
void check(const QByteArray &input);

// Ends the process with a finding unless the condition holds, in every kind of build.
#define FUZZ_VERIFY(condition)                                                                                         \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fputs("broken: " #condition "\n", stderr);                                                            \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)

// One source of each target includes this.
// NOLINTNEXTLINE(misc-definitions-in-headers)
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // Debug lines would cost more than what is tested.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    start(*argc, *argv);
    return 0;
}

// NOLINTNEXTLINE(misc-definitions-in-headers)
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    check(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    return 0;
}
