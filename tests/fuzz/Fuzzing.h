#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// What every fuzz target shares.

// Ends the process with a finding unless the condition holds, in every kind of build.
#define FUZZ_VERIFY(condition)                                                                                         \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fputs("broken: " #condition "\n", stderr);                                                            \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)

// The input without a copy; it must not outlive the call.
inline QByteArray inputOf(const uint8_t *data, size_t size)
{
    return QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size));
}

// Debug lines would cost more than what is tested.
inline void silence()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
