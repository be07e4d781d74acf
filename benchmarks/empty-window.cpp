// What any program of this toolkit needs for a window of the same size: the yardstick for start.cpp.

#include "FirstFrame.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argc, argv);
    const FirstFrame firstFrame;
    QMainWindow window;
    window.resize(874, 585);
    window.show();
    return QApplication::exec();
}
