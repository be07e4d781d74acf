// Asks for the size of that many formats one after another: fourfold-probes COUNT ADDRESS

#include "Figures.h"
#include "Trust.h"

#include "youtube/Meta.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Trust::benchmarkAuthority();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("usage: fourfold-probes COUNT ADDRESS\n", stderr);
        return 2;
    }
    const int count = arguments.at(1).toInt();
    const double processorBefore = Figures::processorSeconds();
    int answered = 0;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < count; ++i) {
        Meta meta(i, arguments.at(2));
        meta.findVideoSize();
        answered += meta.getSize() > 0 ? 1 : 0;
    }
    Figures::print({{QStringLiteral("wall"), double(clock.nsecsElapsed()) / 1e9},
                    {QStringLiteral("processor"), Figures::processorSeconds() - processorBefore}});
    return answered == count ? 0 : 1;
}
