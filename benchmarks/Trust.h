#pragma once

#include <QSslConfiguration>

// The authority of the benchmarks' own servers, named by the environment and trusted by the program that asks for it.
namespace Trust {

inline void benchmarkAuthority()
{
    const QString path = qEnvironmentVariable("FOURFOLD_BENCH_CA");
    if (path.isEmpty())
        return;
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    if (!configuration.addCaCertificates(path))
        qFatal("no certificate in %s", qPrintable(path));
    QSslConfiguration::setDefaultConfiguration(configuration);
}

} // namespace Trust
