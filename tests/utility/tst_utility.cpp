#include "utility/AppleEvents.h"
#include "utility/CImportFilter.h"
#include "utility/SystemInfo.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using Filter = Utility::CImportFilter;
using Utility::SystemInfo;

namespace {

const QString homeAtStart = QDir::homePath();

// A real tree: "a/" is a folder, "a|" a named pipe, "a -> b" a symbolic link, anything else a file.
class Tree final
{
public:
    explicit Tree(const QStringList &entries)
    {
        for (const QString &entry : entries)
            add(entry);
    }

    QString path(const QString &below = {}) const { return m_folder.filePath(below); }

    // What stands below the tree, without the tree's own path.
    QStringList relative(QStringList paths) const
    {
        for (QString &each : paths)
            each.replace(path(), QString());
        return paths;
    }

private:
    void add(const QString &entry)
    {
        const QStringList link = entry.split(QStringLiteral(" -> "));
        const QByteArray name = QFile::encodeName(path(link.first()));
        QDir(m_folder.path()).mkpath(QFileInfo(link.first()).path());
        bool made = false;
        if (link.size() == 2)
            made = symlink(QFile::encodeName(link.last()).constData(), name.constData()) == 0;
        else if (entry.endsWith(QLatin1Char('/')))
            made = QDir(m_folder.path()).mkpath(entry);
        else if (entry.endsWith(QLatin1Char('|')))
            made = mkfifo(name.constData(), 0600) == 0;
        else
            made = QFile(path(entry)).open(QIODevice::WriteOnly);
        if (!made)
            qFatal("cannot make %s", name.constData());
    }

    QTemporaryDir m_folder;
};

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(';'), Qt::SkipEmptyParts);
}

} // namespace

class UtilityTest final : public QObject
{
    Q_OBJECT

private slots:
    void walks_data();
    void walks();
    void folderThatIsNone_data();
    void folderThatIsNone();
    void pathsAreBuiltOnTheGivenOne();
    void unreadableFolderIsEmpty();
    void folderMayVanishDuringAWalk();
    void largeTreeIsQuick();
    void filesByEnding_data();
    void filesByEnding();
    void foldersByEnding();
    void filesInNamedFolders_data();
    void filesInNamedFolders();
    void itemsWithoutText();
    void mediaFiles();

    void versionTest_data();
    void versionTest();
    void oneSlashAtTheEnd_data();
    void oneSlashAtTheEnd();
    void folderOfTemporaryFiles_data();
    void folderOfTemporaryFiles();
    void eventToSystemProcess_data();
    void eventToSystemProcess();
};

void UtilityTest::walks_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("folders");

    QTest::newRow("empty") << words("") << words("") << words("");
    QTest::newRow("by name ignoring case") << words("b;A;c;_;B.x;Z/;y/") << words("/_;/A;/b;/B.x;/c") << words("/y;/Z");
    QTest::newRow("depth first, in place")
        << words("a;m/n/x;m/b;m/z;q") << words("/a;/m/b;/m/n/x;/m/z;/q") << words("/m;/m/n");
    QTest::newRow("hidden") << words(".h;.d/f;.d/e/;s") << words("/s") << words("");
    QTest::newRow("links") << words("d/f;l -> d;g -> d/f;dangling -> nowhere;.h -> d") << words("/d/f;/g;/l/f")
                           << words("/d;/l");
    QTest::newRow("neither file nor folder") << words("pipe|;f;link -> pipe|") << words("/f") << words("");
    QTest::newRow("link to itself") << words("me -> me;f") << words("/f") << words("");
    QTest::newRow("link to the start") << words("d/up -> ..;f") << words("/f") << words("/d;/d/up");
    QTest::newRow("links in a circle") << words("a/b -> ../b;b/a -> ../a;b/f") << words("/a/b/f;/b/f")
                                       << words("/a;/a/b;/a/b/a;/b;/b/a;/b/a/b");
    QTest::newRow("not ASCII") << words("Ärger/日本.mp4;ß/naïve 🎬.txt") << words("/ß/naïve 🎬.txt;/Ärger/日本.mp4")
                               << words("/ß;/Ärger");
}

void UtilityTest::walks()
{
    QFETCH(QStringList, entries);
    QFETCH(QStringList, files);
    QFETCH(QStringList, folders);

    const Tree tree(entries);
    QCOMPARE(tree.relative(Filter::filterFileByPath(tree.path())), files);
    QCOMPARE(tree.relative(Filter::filterDirByPath(tree.path())), QStringList(QString()) + folders);
    QCOMPARE(Filter::HaveSubDir(tree.path()), !folders.isEmpty());
}

void UtilityTest::folderThatIsNone_data()
{
    QTest::addColumn<QString>("path");

    QTest::newRow("missing") << QStringLiteral("/no/such/folder");
    QTest::newRow("empty text") << QString();
    QTest::newRow("file") << QCoreApplication::applicationFilePath();
}

void UtilityTest::folderThatIsNone()
{
    QFETCH(QString, path);

    QVERIFY(!Filter::HaveSubDir(path));
    QCOMPARE(Filter::filterFileByPath(path), QStringList());
    QCOMPARE(Filter::FindAllSpecifiedFile(path), QStringList());
    QCOMPARE(Filter::FindCurSpecifiedFile(path), QStringList());
    QCOMPARE(Filter::filterDirByPath(path), QStringList(path));
    QCOMPARE(Filter::filterDirWithEndString(path, path.right(3)), QStringList(path));
    QCOMPARE(Filter::filterDirWithEndString(path, QStringLiteral("other")), QStringList());
}

void UtilityTest::pathsAreBuiltOnTheGivenOne()
{
    const Tree tree(words("d/f"));
    QCOMPARE(Filter::filterDirByPath(tree.path() + QLatin1Char('/')),
             QStringList({tree.path() + QLatin1Char('/'), tree.path() + QStringLiteral("//d")}));
    QCOMPARE(Filter::filterFileByPath(tree.path(QStringLiteral("d/../"))),
             QStringList(tree.path(QStringLiteral("d/f"))));

    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(tree.path()));
    QCOMPARE(Filter::filterDirByPath(QStringLiteral(".")), words(".;./d"));
    QCOMPARE(Filter::filterFileByPath(QStringLiteral("d")), QStringList(QDir::currentPath() + QStringLiteral("/d/f")));
    QVERIFY(QDir::setCurrent(before));
}

void UtilityTest::unreadableFolderIsEmpty()
{
    const Tree tree(words("locked/f;locked/d/g;open"));
    QVERIFY(chmod(QFile::encodeName(tree.path()).constData(), 0755) == 0);
    QVERIFY(chmod(QFile::encodeName(tree.path(QStringLiteral("locked"))).constData(), 0) == 0);

    // Nothing is locked for the superuser, so the walk steps down for its duration.
    const bool superuser = geteuid() == 0;
    if (superuser)
        QVERIFY(seteuid(65534) == 0);
    const QStringList files = Filter::filterFileByPath(tree.path());
    const QStringList folders = Filter::filterDirByPath(tree.path());
    if (superuser)
        QVERIFY(seteuid(0) == 0);

    QVERIFY(chmod(QFile::encodeName(tree.path(QStringLiteral("locked"))).constData(), 0700) == 0);
    QCOMPARE(tree.relative(files), words("/open"));
    QCOMPARE(tree.relative(folders), QStringList({QString(), QStringLiteral("/locked")}));
}

void UtilityTest::folderMayVanishDuringAWalk()
{
    QStringList entries;
    for (int i = 0; i < 400; ++i)
        entries << QStringLiteral("d%1/e/f").arg(i % 40) + QString::number(i);
    const Tree tree(entries);

    std::atomic<bool> gone{false};
    std::thread remover([&] {
        for (int i = 0; i < 40; ++i)
            QDir(tree.path(QStringLiteral("d%1").arg(i))).removeRecursively();
        gone = true;
    });
    int most = 0;
    while (!gone)
        most = qMax(most, Filter::filterFileByPath(tree.path()).size());
    remover.join();
    QVERIFY(most <= entries.size());
    QCOMPARE(Filter::filterFileByPath(tree.path()), QStringList());
}

void UtilityTest::largeTreeIsQuick()
{
    QStringList entries;
    for (int i = 0; i < 4000; ++i)
        entries << QStringLiteral("d%1/f%2.mp4").arg(i % 100).arg(i);
    entries << QStringLiteral("x/").repeated(1000);
    const Tree tree(entries);

    QElapsedTimer clock;
    clock.start();
    QCOMPARE(Filter::filterFileByPath(tree.path()).size(), 4000);
    QCOMPARE(Filter::FindAllSpecifiedFile(tree.path()).size(), 4000);
    QCOMPARE(Filter::filterDirByPath(tree.path()).size(), 1101);
    QVERIFY2(clock.elapsed() < 1500, qPrintable(QString::number(clock.elapsed()) + QStringLiteral(" ms")));
}

void UtilityTest::filesByEnding_data()
{
    QTest::addColumn<QString>("endings");
    QTest::addColumn<QStringList>("files");

    QTest::newRow("one") << ".mp4" << words("/a.mp4;/d/B.MP4");
    QTest::newRow("two for one file") << "mp4|4" << words("/a.mp4;/a.mp4;/d/B.MP4;/d/B.MP4");
    QTest::newRow("empty item") << "mp4|" << words("/a.mp4;/a.mp4;/c;/d/B.MP4;/d/B.MP4");
    QTest::newRow("part of the path") << "d/b.mp4" << words("/d/B.MP4");
    QTest::newRow("blank counts") << "mp4 |c " << words("");
}

void UtilityTest::filesByEnding()
{
    QFETCH(QString, endings);

    const Tree tree(words("a.mp4;c;d/B.MP4"));
    QTEST(tree.relative(Filter::filterFileByPathAndSuffix(tree.path(), endings)), "files");
}

void UtilityTest::foldersByEnding()
{
    const Tree tree(words("aVideo/;video/x/Video/;Video.d/"));
    const auto ending = [&](const char *end) {
        return tree.relative(Filter::filterDirWithEndString(tree.path(), QString::fromUtf8(end)));
    };
    QCOMPARE(ending("Video"), words("/aVideo;/video/x/Video"));
    QCOMPARE(ending("x/Video"), words("/video/x/Video"));
    QCOMPARE(ending("none"), QStringList());
    QCOMPARE(Filter::filterDirWithEndString(tree.path(), tree.path().right(4)), QStringList(tree.path()));
}

void UtilityTest::filesInNamedFolders_data()
{
    QTest::addColumn<QString>("folders");
    QTest::addColumn<QString>("endings");
    QTest::addColumn<QStringList>("files");

    QTest::newRow("in the order of the names") << "/b|/a"
                                               << "4" << words("/b/q.mp4;/a/n/a/p.mp4;/a/n/a/p.mp4");
    QTest::newRow("folder inside folder") << "/a"
                                          << "p.mp4|.txt" << words("/a/n/a/p.mp4;/a/t.txt;/a/n/a/p.mp4");
    QTest::newRow("no such folder") << "/c"
                                    << "4" << words("");
    QTest::newRow("case of the folder") << "/A"
                                        << "4" << words("");
}

void UtilityTest::filesInNamedFolders()
{
    QFETCH(QString, folders);
    QFETCH(QString, endings);

    const Tree tree(words("a/n/a/p.mp4;a/t.txt;b/q.mp4;r.mp4"));
    QTEST(tree.relative(Filter::filterFilesWithFolderNameAndSuffix(tree.path(), folders, endings)), "files");
}

void UtilityTest::itemsWithoutText()
{
    const QStringList items = words("one;two;One;three");
    QCOMPARE(Filter::FilterSpecificItems(items, QStringLiteral("o")), words("One;three"));
    QCOMPARE(Filter::FilterSpecificItems(items, QString()), QStringList());
}

void UtilityTest::mediaFiles()
{
    const Tree tree(words("a.mp4;b.MOV;c.txt;noext;dot.;x.ll;B/z.tar.flv;a/y.jpg;a/x.Mkv;C.mp3"));
    QCOMPARE(tree.relative(Filter::FindCurSpecifiedFile(tree.path())),
             words("/a.mp4;/b.MOV;/C.mp3;/dot.;/noext;/x.ll"));
    QCOMPARE(tree.relative(Filter::FindAllSpecifiedFile(tree.path())),
             words("/B/z.tar.flv;/a/x.Mkv;/C.mp3;/a.mp4;/b.MOV;/dot.;/noext;/x.ll"));
}

void UtilityTest::versionTest_data()
{
    QTest::addColumn<unsigned int>("version");
    QTest::addColumn<bool>("is10_8");

    QTest::newRow("unknown") << 0u << true;
    QTest::newRow("first") << 1u << false;
    QTest::newRow("10.7") << 9u << false;
    QTest::newRow("10.8") << 10u << true;
    QTest::newRow("not a Macintosh") << 0xffffu << true;
}

void UtilityTest::versionTest()
{
    QFETCH(unsigned int, version);
    QTEST(SystemInfo::isMac10_8(version), "is10_8");

    QVERIFY(SystemInfo::isMac10_8());
    QVERIFY(!SystemInfo::isWindowsXp() && !SystemInfo::isVista() && !SystemInfo::isWindows7()
            && !SystemInfo::isWindows8());
}

void UtilityTest::oneSlashAtTheEnd_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("folder");

    QTest::newRow("empty") << QByteArray() << QByteArray("/");
    QTest::newRow("none") << QByteArray("/tmp") << QByteArray("/tmp/");
    QTest::newRow("one") << QByteArray("/tmp/") << QByteArray("/tmp/");
    QTest::newRow("backslash") << QByteArray("C:\\tmp\\") << QByteArray("C:\\tmp/");
    QTest::newRow("only the last counts") << QByteArray("/tmp//") << QByteArray("/tmp//");
    QTest::newRow("not ASCII") << QByteArray("/ä") << QByteArray("/ä/");
}

void UtilityTest::oneSlashAtTheEnd()
{
    QFETCH(QByteArray, path);
    QTEST(QByteArray::fromStdString(SystemInfo::AddBackslash(path.toStdString())), "folder");
}

void UtilityTest::folderOfTemporaryFiles_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("folder");

    QTest::newRow("absolute") << QByteArray("/var/tmp/tmpf.Ab12") << QByteArray("//var/tmp/");
    QTest::newRow("without a slash") << QByteArray("tmpf.Ab12") << QByteArray("/");
    QTest::newRow("relative") << QByteArray("a/b/tmpf.Ab12") << QByteArray("/a/b/");
    QTest::newRow("doubled slash") << QByteArray("/a//tmpf.Ab12") << QByteArray("//a//");
    QTest::newRow("no name") << QByteArray() << homeAtStart.toUtf8();
}

void UtilityTest::folderOfTemporaryFiles()
{
    QFETCH(QByteArray, name);
    const char *const text = name.isNull() ? nullptr : name.constData();
    QTEST(QByteArray::fromStdString(SystemInfo::FolderOfTemporaryName(text)), "folder");

    const QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/größe-XXXXXX"));
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(folder.path()));
    QCOMPARE(QString::fromStdString(SystemInfo::FindMaxSizeDisk()),
             QLatin1Char('/') + folder.path() + QLatin1Char('/'));
    QVERIFY2(QDir(folder.path()).isEmpty(), "asking for the folder leaves a file behind");
    before.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before);
}

void UtilityTest::eventToSystemProcess_data()
{
#ifdef Q_OS_MACOS
    QSKIP("an event would reach the real system process");
#else
    QTest::addColumn<int>("room");
    QTest::addColumn<bool>("running");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("arrives");

    QTest::newRow("sent") << 2 << true << 0 << true;
    QTest::newRow("no address") << 0 << true << -108 << false;
    QTest::newRow("no event") << 1 << true << -108 << false;
    QTest::newRow("nobody there") << 2 << false << -600 << false;
#endif
}

void UtilityTest::eventToSystemProcess()
{
#ifndef Q_OS_MACOS
    QFETCH(int, room);
    QFETCH(bool, running);
    QFETCH(bool, arrives);

    namespace Host = Utility::AppleEventHost;
    QByteArray arrived;
    Host::setRoomForDescriptors(room);
    Host::setSystemProcess({});
    if (running) {
        Host::setSystemProcess([&](quint32 eventClass, quint32 eventID) {
            arrived += QByteArray::number(eventClass, 16) + ' ' + QByteArray::number(eventID, 16) + ';';
        });
    }

    const unsigned int restart = 0x72657374; // 'rest'
    QTEST(Utility::SendAppleEventToSystemProcess(restart), "status");
    QCOMPARE(arrived, QByteArray(arrives ? "61657674 72657374;" : ""));
    QCOMPARE(Host::descriptorsInUse(), 0);
    Host::setSystemProcess({});
#endif
}

int main(int argc, char *argv[])
{
    // The settings are written into this home when the process ends, so it must outlive them.
    static const QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());

    QCoreApplication application(argc, argv);
    UtilityTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_utility.moc"
