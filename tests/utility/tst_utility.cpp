#include "support/Files.h"
#include "support/TestMain.h"
#include "support/TextTable.h"
#include "utility/AppleEvents.h"
#include "utility/CImportFilter.h"
#include "utility/SystemInfo.h"

#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using Utility::SystemInfo;
using Filter = Utility::CImportFilter;

class TestUtility final : public QObject
{
    Q_OBJECT

private slots:
    // A folder ends in "/", a pipe in "|", a link is "name>target"; then the files, and after a "|" the folders.
    void walks_data()
    {
        textTable("found",
                  {" -> |", "b A c _ B.x Z/ y/ -> /_ /A /b /B.x /c|/y /Z",
                   "a m/n/x m/b m/z q -> /a /m/b /m/n/x /m/z /q|/m /m/n", ".h .d/f .d/e/ s -> /s|",
                   "d/f l>d g>d/f x>nowhere .h>d -> /d/f /g /l/f|/d /l", "p| f l>p| me>me -> /f|",
                   "d/up>.. f -> /f|/d /d/up", "a/b>../b b/a>../a b/f -> /a/b/f /b/f|/a /a/b /a/b/a /b /b/a /b/a/b",
                   "Ä/日.mp4 ß/🎬.txt -> /ß/🎬.txt /Ä/日.mp4|/ß /Ä"});
    }
    void walks()
    {
        const QTemporaryDir tree;
        makeTree(tree.path(), QString::fromUtf8(QTest::currentDataTag()));
        const QString folders = below(tree.path(), Filter::filterDirByPath(tree.path()).mid(1));
        const QString files = below(tree.path(), Filter::filterFileByPath(tree.path()));
        QTEST(QString(files + QLatin1Char('|') + folders), "found");
        QCOMPARE(Filter::filterDirByPath(tree.path()).first(), tree.path());
        QCOMPARE(Filter::HaveSubDir(tree.path()), !folders.isEmpty());
        QVERIFY(QDir::setCurrent(tree.path()));
        QCOMPARE(Filter::HaveSubDir(QString()), !folders.isEmpty());
    }

    void filters_data()
    {
        textTable("found",
                  {"endings .mp4 -> /a.mp4 /d/B.MP4", "endings mp4|4 -> /a.mp4 /a.mp4 /d/B.MP4 /d/B.MP4",
                   "endings d/b.mp4| -> /a.mp4 /c.txt /d/B.MP4 /d/B.MP4 /d/n/d/x.ll /d/noext", "folders d -> /d /d/n/d",
                   "folders n/d -> /d/n/d", "folders D -> ", "named /n|/d .ll -> /d/n/d/x.ll /d/n/d/x.ll /d/n/d/x.ll",
                   "named /e .ll -> ", "media all -> /d/n/d/x.ll /d/B.MP4 /d/noext /a.mp4", "media here -> /a.mp4"});
    }
    void filters()
    {
        const QTemporaryDir tree;
        const QString path = tree.path() + "/root"_s;
        makeTree(path, "a.mp4 c.txt d/B.MP4 d/noext d/n/d/x.ll"_s);
        const QStringList words = QString::fromLatin1(QTest::currentDataTag()).split(QLatin1Char(' '));
        const QHash<QString, QStringList> results{
            {"endings"_s, Filter::filterFileByPathAndSuffix(path, words.at(1))},
            {"folders"_s, Filter::filterDirWithEndString(path, words.at(1))},
            {"named"_s, Filter::filterFilesWithFolderNameAndSuffix(path, words.at(1), words.value(2))},
            {"media"_s,
             words.at(1) == QLatin1String("all") ? Filter::FindAllSpecifiedFile(path)
                                                 : Filter::FindCurSpecifiedFile(path)}};
        QTEST(below(path, results.value(words.first())), "found");
        QCOMPARE(Filter::filterFileByPath("/no/such"_s) + Filter::filterDirByPath("/no/such"_s),
                 QStringList("/no/such"_s));
        QCOMPARE(Filter::FilterSpecificItems({"one"_s, "Two"_s, "TO"_s}, "o"_s), QStringList("TO"_s));
    }

    void macintoshVersions()
    {
        for (const auto &[version, is10_8] : {std::pair(0u, true), {1u, false}, {9u, false}, {10u, true}, {~0u, true}})
            QCOMPARE(SystemInfo::isMac10_8(version), is10_8);
        QVERIFY(SystemInfo::isMac10_8());
    }

    void oneSlashAtTheEnd_data()
    {
        textTable("path", {" -> /", "/tmp -> /tmp/", "/tmp/ -> /tmp/", "C:\\t\\ -> C:\\t/", "/t// -> /t//"});
    }
    void oneSlashAtTheEnd()
    {
        QTEST(QString::fromStdString(SystemInfo::AddBackslash(QTest::currentDataTag())), "path");
    }

    void folderOfTemporaryName_data()
    {
        textTable("folder", {"/var/tmp/f.Ab -> //var/tmp/", "f.Ab -> /", "a/ö/f.Ab -> /a/ö/", "/a//f.Ab -> //a//"});
    }
    void folderOfTemporaryName()
    {
        QTEST(QString::fromStdString(SystemInfo::FolderOfTemporaryName(QTest::currentDataTag())), "folder");
        QCOMPARE(QString::fromStdString(SystemInfo::FolderOfTemporaryName(nullptr)), QDir::homePath());
        QCOMPARE(QString::fromStdString(SystemInfo::FindMaxSizeDisk()),
                 QLatin1Char('/') + QDir::tempPath() + QLatin1Char('/'));
    }

#ifndef Q_OS_MACOS
    // Room for descriptors, and whether the system process runs; then the status, and the event that arrives.
    void appleEvent_data()
    {
        textTable("end", {"2 yes -> 0 61657674 72657374", "0 yes -> -108", "1 yes -> -108", "2 no -> -600"});
    }
    void appleEvent()
    {
        namespace Host = Utility::AppleEventHost;
        const QByteArray tag = QTest::currentDataTag();
        QStringList arrived;
        const auto take = [&](quint32 eventClass, quint32 eventID) {
            arrived << QString::number(eventClass, 16) << QString::number(eventID, 16);
        };
        Host::setRoomForDescriptors(tag.left(1).toInt());
        Host::setSystemProcess(tag.endsWith("yes") ? Host::SystemProcess(take) : nullptr);
        const qint32 status = Utility::SendAppleEventToSystemProcess(Utility::fourCharacterCode("rest"));
        Host::setSystemProcess({});
        QTEST((QStringList{QString::number(status)} + arrived).join(QLatin1Char(' ')), "end");
        QCOMPARE(Utility::AEDisposeDesc(nullptr), Utility::OSErr(-50));
        QCOMPARE(Utility::AECreateAppleEvent(0, 0, nullptr, 0, 0, nullptr), Utility::OSErr(-1704));
        QCOMPARE(Utility::typeProcessSerialNumber, 0x70736e20u);
        Utility::AEDesc empty{1, nullptr};
        QCOMPARE(Utility::AESend(nullptr, &empty, 1, 0, -1, nullptr, nullptr), Utility::OSStatus(-1704));
        QCOMPARE(empty.descriptorType, Utility::typeNull);
        QVERIFY(tag.startsWith('0') || Utility::AECreateDesc(1, nullptr, 0, &empty) == Utility::noErr);
        QCOMPARE(Utility::AEDisposeDesc(&empty), Utility::noErr);
        QCOMPARE(Host::descriptorsInUse(), 0);
    }
#endif

private:
    static void makeTree(const QString &root, const QString &entries)
    {
        for (const QString &entry : entries.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            QString path = root + QLatin1Char('/') + entry.section(QLatin1Char('>'), 0, 0);
            const QByteArray name = QFile::encodeName(path);
            QVERIFY(QDir().mkpath(path.section(QLatin1Char('/'), 0, -2)));
            if (entry.contains(QLatin1Char('>')))
                QCOMPARE(::symlink(QFile::encodeName(entry.section(QLatin1Char('>'), 1)).constData(), name.constData()),
                         0);
            else if (entry.endsWith(QLatin1Char('|')))
                QCOMPARE(::mkfifo(name.constData(), 0600), 0);
            else if (!entry.endsWith(QLatin1Char('/')))
                QVERIFY(writeFile(path, {}));
        }
    }

    // The paths without the root's own, in one text.
    static QString below(const QString &root, const QStringList &paths)
    {
        return paths.join(QLatin1Char(' ')).remove(root);
    }
};

FOURFOLD_TEST_MAIN(QCoreApplication, TestUtility)

#include "tst_utility.moc"
