#pragma once

#include <QTest>

// Gives the process a home of its own: home, runtime and temporary folder, locale, no display, no proxy. It starts
// itself anew for that, since some of it is read before main(). The home goes when the process ends.
void enterTestHome(char *argv[]);

template <class Application, class Tests> int runTests(int argc, char *argv[])
{
    enterTestHome(argv);
    Application application(argc, argv);
    Tests tests;
    return QTest::qExec(&tests, argc, argv);
}

// As QTEST_MAIN, in that home.
#define FOURFOLD_TEST_MAIN(Application, Tests)                                                                         \
    int main(int argc, char *argv[])                                                                                   \
    {                                                                                                                  \
        return runTests<Application, Tests>(argc, argv);                                                               \
    }
