// Lists the files below a folder: fourfold-walk FOLDER [--media]

#include "Figures.h"

#include "utility/CImportFilter.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2) {
        std::fputs("usage: fourfold-walk FOLDER [--media]\n", stderr);
        return 2;
    }
    QElapsedTimer clock;
    clock.start();
    const QStringList files = arguments.contains(QLatin1String("--media"))
        ? Utility::CImportFilter::FindAllSpecifiedFile(arguments.at(1))
        : Utility::CImportFilter::filterFileByPath(arguments.at(1));
    Figures::print(
        {{QStringLiteral("wall"), double(clock.nsecsElapsed()) / 1e9}, {QStringLiteral("files"), files.size()}});
    return 0;
}
