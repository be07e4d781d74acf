#include "support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>

#include <unistd.h>

void enterTestHome(char *argv[])
{
    constexpr const char *variable = "FOURFOLD_TEST_HOME";
    if (qEnvironmentVariableIsSet(variable)) {
        struct Home
        {
            const QString path;
            ~Home() { QDir(path).removeRecursively(); }
        };
        // Older than what the tests make, it outlives the settings that are saved at the end.
        static const Home home{qEnvironmentVariable(variable)};
        qunsetenv(variable);
        return;
    }

    // Short names, since sockets stand below them.
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/XXXXXX"));
    home.setAutoRemove(false);
    for (const char *name : {"XDG_RUNTIME_DIR", "TMPDIR"}) {
        const QString folder = home.filePath(QString(QLatin1Char(*name)));
        QDir().mkdir(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(name, QFile::encodeName(folder));
    }
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "FOURFOLD_SITE"})
        qunsetenv(name);
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("no_proxy", "*");
    qputenv(variable, QFile::encodeName(home.path()));
    ::execvp(argv[0], argv);
    qFatal("The test cannot start itself anew.");
}
