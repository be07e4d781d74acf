#include "DemoSite.h"
#include "support/FaultServer.h"
#include "support/ProcessFigures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>
#include <vector>

#include <csignal>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace {

constexpr quint64 seed = 4;
constexpr int streamSize = 2000003; // bytes
constexpr auto noPermissions = QFile::Permissions();
constexpr auto readOnlyFolder = QFile::ReadOwner | QFile::ExeOwner;
constexpr auto ownersFolder = readOnlyFolder | QFile::WriteOwner;

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.errorString()));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

// Permissions bind it even where root runs the tests.
class BoundProcess final : public QProcess
{
protected:
    void setupChildProcess() override
    {
        for (const int power : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH})
            ::prctl(PR_CAPBSET_DROP, power, 0, 0, 0);
    }
};

// The real application with a home, a runtime folder and an output folder of its own, played by the hand inside it.
class Application final
{
    Q_DISABLE_COPY_MOVE(Application)

public:
    Application()
    {
        for (const QString &folder : {home(), run(), output(), QFileInfo(options()).path()})
            QDir().mkpath(folder);
        QFile::setPermissions(run(), ownersFolder);
        QSettings(options(), QSettings::IniFormat).setValue(QStringLiteral("outputPath"), output());
    }
    ~Application()
    {
        if (m_process)
            m_process->kill();
        if (m_process && m_process->state() != QProcess::NotRunning)
            m_process->waitForFinished();
    }

    [[nodiscard]] QString home() const { return m_folder.filePath(QStringLiteral("home")); }
    [[nodiscard]] QString run() const { return m_folder.filePath(QStringLiteral("run")); }
    [[nodiscard]] QString output() const { return m_folder.filePath(QStringLiteral("out")); }
    [[nodiscard]] QString file(const char *title) const
    {
        return output() + QLatin1Char('/') + QString::fromLatin1(title) + QStringLiteral(".mp4");
    }
    [[nodiscard]] QString options() const
    {
        return home() + QStringLiteral("/Library/Application Support/Fourfold/Video Downloader/User.dat");
    }
    [[nodiscard]] QString socket() const
    {
        const QDir folder(run());
        return folder.filePath(folder.entryList({QStringLiteral("*.socket")}, QDir::System).value(0));
    }

    void start(const QMap<QString, QString> &variables = {})
    {
        m_told.clear();
        m_messages.clear();
        m_log.clear();
        m_process = launch(variables);
        QObject::connect(m_process.get(), &QProcess::readyReadStandardOutput, m_process.get(), [this] { listen(); });
        QObject::connect(m_process.get(), &QProcess::readyReadStandardError, m_process.get(),
                         [this] { m_log += m_process->readAllStandardError(); });
        QTRY_VERIFY2_WITH_TIMEOUT(m_told.contains(QStringLiteral("ready")), m_log.constData(), 20000);
    }
    // Another instance of it.
    [[nodiscard]] std::unique_ptr<QProcess> launch(const QMap<QString, QString> &variables = {}) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), home());
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), run());
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("QT_PLUGIN_PATH"), QStringLiteral(FOURFOLD_PLUGINS));
        environment.insert(QStringLiteral("QT_QPA_GENERIC_PLUGINS"), QStringLiteral("fourfoldhand"));
        for (auto variable = variables.begin(); variable != variables.end(); ++variable)
            environment.insert(variable.key(), variable.value());
        auto process = std::make_unique<BoundProcess>();
        process->setProcessEnvironment(environment);
        process->start(QStringLiteral(FOURFOLD_EXECUTABLE), QStringList());
        return process;
    }

    void download(const QString &page) { m_process->write(page.toUtf8() + '\n'); }
    // What the row shows: the bytes, the progress and its tool tip.
    [[nodiscard]] QStringList row(int index) const { return m_told.value(QStringLiteral("row%1").arg(index)); }
    [[nodiscard]] bool isFinished(int index) const { return row(index).value(1) == QLatin1String("Finished"); }
    [[nodiscard]] bool isUnderWay() const { return row(0).value(0) > QLatin1String("0"); }
    [[nodiscard]] QStringList messages() const { return m_messages; }
    [[nodiscard]] QByteArray log() const { return m_log; }

    [[nodiscard]] qint64 processId() const { return m_process->processId(); }
    // True when it ended by itself and well, and promptly.
    bool endsAfter(int signal)
    {
        return isOverAfter(signal) && m_process->exitStatus() == QProcess::NormalExit && m_process->exitCode() == 0;
    }
    bool diesAfter(int signal) { return isOverAfter(signal) && m_process->exitStatus() == QProcess::CrashExit; }

private:
    // A process that is gone has the number 0, which stands for the test's own group.
    bool isOverAfter(int signal)
    {
        return processId() > 0 && ::kill(pid_t(processId()), signal) == 0 && m_process->waitForFinished(5000);
    }
    void listen()
    {
        while (m_process->canReadLine()) {
            const QString line = QString::fromUtf8(m_process->readLine());
            QStringList fields = line.left(line.size() - 1).split(QLatin1Char('\t'));
            const QString subject = fields.takeFirst();
            if (subject == QLatin1String("message"))
                m_messages += fields.value(0);
            else
                m_told.insert(subject + fields.value(0), fields.mid(1));
        }
    }

    QTemporaryDir m_folder;
    std::unique_ptr<QProcess> m_process;
    QMap<QString, QStringList> m_told; // by subject
    QStringList m_messages;
    QByteArray m_log;
};

// A small file system in memory; it goes when the object goes.
class SmallDisk final
{
    Q_DISABLE_COPY_MOVE(SmallDisk)

public:
    SmallDisk(const QString &folder, const char *options, unsigned long flags = 0)
        : m_folder(folder.toLocal8Bit())
        , m_isMounted(::mount("tmpfs", m_folder.constData(), "tmpfs", flags, options) == 0)
    {
    }
    ~SmallDisk()
    {
        if (m_isMounted)
            ::umount2(m_folder.constData(), MNT_DETACH);
    }

    [[nodiscard]] bool isMounted() const { return m_isMounted; }
    // Takes what is left of it.
    void fill() const
    {
        QFile file(QString::fromLocal8Bit(m_folder) + QStringLiteral("/filling"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (file.write(QByteArray(4096, 'x')) == 4096) { }
    }

private:
    const QByteArray m_folder;
    const bool m_isMounted;
};

// Each quarter holds the stream from its start on, and nothing after the byte that failed.
bool holdsOnlyTheStream(const QByteArray &file, const QByteArray &stream)
{
    const int chunk = stream.size() / 4;
    for (int i = 0; i < 4; ++i) {
        const int first = i * chunk;
        const int end = i == 3 ? stream.size() : first + chunk;
        const auto stop = std::mismatch(file.begin() + first, file.begin() + end, stream.begin() + first).first;
        if (!std::all_of(stop, file.begin() + end, [](char byte) { return byte == 0; }))
            return false;
    }
    return file.size() == stream.size();
}

} // namespace

class TestMachine final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_site.start(), qPrintable(m_site.errorString()));
        m_stream = DemoSite::streamBytes(seed, 0, streamSize);
    }

    void fullDisk()
    {
        Application application;
        const SmallDisk disk(application.output(), "size=1m");
        if (!disk.isMounted())
            QSKIP("A small file system can be mounted by root only.");
        application.start();
        application.download(page("film"));
        QTRY_VERIFY(application.isFinished(0));
        QVERIFY2(application.row(0).value(2).contains(QStringLiteral("No space left")),
                 qPrintable(application.row(0).value(2)));
        QVERIFY(application.log().contains("bytes are missing: No space left"));
        QVERIFY(holdsOnlyTheStream(contents(application.file("film")), m_stream));

        QVERIFY(QFile::remove(application.file("film")));
        application.download(page("short", 100003));
        QTRY_VERIFY(application.isFinished(1));
        QVERIFY(contents(application.file("short")) == m_stream.left(100003));
        QVERIFY(application.endsAfter(SIGTERM));
    }

    void unusablePlace_data()
    {
        QTest::addColumn<bool>("isFolder");
        QTest::newRow("read-only folder") << true;
        QTest::newRow("unreadable file") << false;
    }
    void unusablePlace()
    {
        QFETCH(bool, isFolder);
        Application application;
        const QString place = isFolder ? application.output() : application.file("film");
        if (!isFolder)
            write(place, "old");
        QVERIFY(QFile::setPermissions(place, isFolder ? readOnlyFolder : noPermissions));
        application.start();
        application.download(page("film"));
        QTRY_COMPARE(application.messages(), QStringList{QStringLiteral("Invalid file path")});
        QTRY_COMPARE(application.row(0), (QStringList{QStringLiteral("0"), QString(), QString()}));

        QVERIFY(QFile::setPermissions(place, ownersFolder));
        QCOMPARE(contents(application.file("film")), QByteArray(isFolder ? "unreadable" : "old"));
        application.download(page("film"));
        QTRY_VERIFY(application.isFinished(1));
        QVERIFY(contents(application.file("film")) == m_stream);
        QVERIFY(application.endsAfter(SIGTERM));
    }

    void changesDuringTheDownload_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("toolTip");
        const QString lost = QStringLiteral("The file is incomplete: The file was moved or removed");
        QTest::newRow("folder removed") << QStringLiteral("remove folder") << lost;
        QTest::newRow("file removed") << QStringLiteral("remove file") << lost;
        QTest::newRow("file made unreadable") << QStringLiteral("lock file") << QString();
        QTest::newRow("folder made read-only") << QStringLiteral("lock folder") << QString();
    }
    void changesDuringTheDownload()
    {
        QFETCH(QString, change);
        QFETCH(QString, toolTip);
        Application application;
        application.start();
        application.download(slowPage("film"));
        QTRY_VERIFY(application.isUnderWay());
        const QString file = application.file("film");
        if (change == QLatin1String("remove folder"))
            QVERIFY(QDir(application.output()).removeRecursively());
        else if (change == QLatin1String("remove file"))
            QVERIFY(QFile::remove(file));
        else if (change == QLatin1String("lock file"))
            QVERIFY(QFile::setPermissions(file, noPermissions));
        else
            QVERIFY(QFile::setPermissions(application.output(), readOnlyFolder));

        QTRY_VERIFY(application.isFinished(0));
        QCOMPARE(application.row(0).value(2), toolTip);
        QCOMPARE(application.log().contains("bytes are missing"), !toolTip.isEmpty());
        if (toolTip.isEmpty()) {
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner) && contents(file) == m_stream);
        } else {
            // The next one finds its folder again.
            application.download(page("film"));
            QTRY_VERIFY(application.isFinished(1));
            QVERIFY(contents(file) == m_stream);
        }
        QVERIFY(QFile::setPermissions(application.output(), ownersFolder));
    }

    void descriptorLimit()
    {
        Application application;
        application.start();
        application.download(page("film"));
        QTRY_VERIFY(application.isFinished(0));
        const auto limitTo = [&application](int descriptors) {
            const rlimit limit{rlim_t(descriptors), 4096};
            QVERIFY(application.processId() > 0);
            QCOMPARE(::prlimit(pid_t(application.processId()), RLIMIT_NOFILE, &limit, nullptr), 0);
        };
        // Enough for the analysis and for opening the file once.
        limitTo(ProcessFigures::descriptors(application.processId()) + 3);
        application.download(page("film"));
        QTRY_VERIFY(application.isFinished(1));
        QCOMPARE(application.row(1).value(2), QStringLiteral("The file is incomplete: Too many open files"));
        limitTo(1024);
        application.download(page("film"));
        QTRY_VERIFY(application.isFinished(2));
        QVERIFY(contents(application.file("film")) == m_stream);
        QVERIFY(application.endsAfter(SIGTERM));
    }

    void unusableHome_data()
    {
        QTest::addColumn<QString>("place"); // below the application's folder
        QTest::addColumn<QByteArray>("logged");
        QTest::newRow("read-only home") << QStringLiteral("home") << QByteArray("can't make dir:");
        QTest::newRow("read-only runtime folder") << QStringLiteral("run") << QByteArray();
        QTest::newRow("read-only application folder")
            << QStringLiteral("options") << QByteArray(" the dir can't write:");
        QTest::newRow("a folder in the place of User.dat") << QStringLiteral("folder") << QByteArray();
    }
    void unusableHome()
    {
        QFETCH(QString, place);
        QFETCH(QByteArray, logged);
        Application application;
        const QString optionFolder = QFileInfo(application.options()).path();
        QString locked;
        std::unique_ptr<SmallDisk> disk;
        if (place == QLatin1String("home")) {
            QVERIFY(QDir(application.home()).removeRecursively() && QDir().mkdir(application.home()));
            locked = application.home();
        } else if (place == QLatin1String("run")) {
            // Qt itself would make a mere folder writable again.
            disk = std::make_unique<SmallDisk>(application.run(), "mode=0700", MS_RDONLY);
            if (!disk->isMounted())
                QSKIP("A file system can be mounted by root only.");
        } else if (place == QLatin1String("options")) {
            locked = optionFolder;
        } else {
            QVERIFY(QFile::remove(application.options()) && QDir().mkdir(application.options()));
        }
        if (!locked.isEmpty())
            QVERIFY(QFile::setPermissions(locked, readOnlyFolder));
        application.start();
        QVERIFY2(application.log().contains(logged), application.log().constData());
        QVERIFY(application.endsAfter(SIGTERM));
        if (!locked.isEmpty())
            QVERIFY(QFile::setPermissions(locked, ownersFolder));
        QCOMPARE(QFileInfo(application.options()).isDir(), place == QLatin1String("folder"));
    }

    void fullHomeKeepsTheOldOptions()
    {
        Application application;
        const QString folder = QFileInfo(application.options()).path();
        const QByteArray options = contents(application.options());
        const SmallDisk disk(folder, "size=64k");
        if (!disk.isMounted())
            QSKIP("A small file system can be mounted by root only.");
        write(application.options(), options);
        disk.fill();
        application.start();
        QVERIFY(application.endsAfter(SIGTERM));
        QCOMPARE(contents(application.options()), options);
        QVERIFY(QFile::remove(folder + QStringLiteral("/filling")));
        application.start();
        QVERIFY(application.endsAfter(SIGTERM));
        QVERIFY(contents(application.options()).contains("windowSize"));
    }

    void endsBySignal_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<bool>("isAnalysing"); // or downloading
        QTest::newRow("SIGTERM during a download") << SIGTERM << false;
        QTest::newRow("SIGINT during a download") << SIGINT << false;
        QTest::newRow("SIGHUP during a download") << SIGHUP << false;
        QTest::newRow("SIGTERM during an analysis") << SIGTERM << true;
        QTest::newRow("SIGKILL during a download") << SIGKILL << false;
    }
    void endsBySignal()
    {
        QFETCH(int, signal);
        QFETCH(bool, isAnalysing);
        FaultServer silent({});
        silent.setFault(FaultServer::Fault::Silence, 0, 0, 1);
        Application application;
        const QByteArray options = contents(application.options());
        application.start();
        application.download(isAnalysing ? silent.address() : slowPage("film"));
        if (isAnalysing)
            QTRY_COMPARE(silent.requests().size(), 1);
        else
            QTRY_VERIFY(application.isUnderWay());
        if (signal == SIGKILL) {
            QVERIFY(application.diesAfter(signal));
            QCOMPARE(contents(application.options()), options);
        } else {
            QVERIFY(application.endsAfter(signal));
            QVERIFY(contents(application.options()).contains("windowSize"));
        }
        QCOMPARE(application.messages(), QStringList());

        // Nothing that was left behind stands in the way.
        application.start();
        application.download(page("film"));
        QTRY_VERIFY(application.isFinished(0));
        QVERIFY(contents(application.file("film")) == m_stream);
        QVERIFY(application.endsAfter(SIGTERM));
        QVERIFY(contents(application.options()).contains("windowSize"));
    }

    void killedWhileSaving_data()
    {
        QTest::addColumn<QString>("call");
        QTest::newRow("half of the options written") << QStringLiteral("write");
        QTest::newRow("written and not yet in place") << QStringLiteral("rename");
    }
    void killedWhileSaving()
    {
        QFETCH(QString, call);
        Application application;
        const QByteArray options = contents(application.options());
        application.start({{QStringLiteral("LD_PRELOAD"), QStringLiteral(FOURFOLD_KILL_LIBRARY)},
                           {QStringLiteral("FOURFOLD_KILL_AT"), call},
                           {QStringLiteral("ASAN_OPTIONS"), QStringLiteral("verify_asan_link_order=0")}});
        QVERIFY(application.diesAfter(SIGTERM));
        QCOMPARE(contents(application.options()), options);
        application.start();
        QVERIFY(application.endsAfter(SIGTERM));
        const QSettings saved(application.options(), QSettings::IniFormat);
        QCOMPARE(saved.value(QStringLiteral("outputPath")).toString(), application.output());
        QVERIFY(saved.contains(QStringLiteral("windowSize")));
    }

    void strangersOnTheSocket()
    {
        Application application;
        application.start();
        QVERIFY(!(QFileInfo(application.socket()).permissions()
                  & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther)));
        const int descriptors = ProcessFigures::descriptors(application.processId());
        const qint64 memory = ProcessFigures::residentBytes(application.processId());

        std::vector<std::unique_ptr<QLocalSocket>> silent;
        for (int i = 0; i < 50; ++i) {
            silent.push_back(std::make_unique<QLocalSocket>());
            silent.back()->connectToServer(application.socket());
            QVERIFY2(silent.back()->waitForConnected(), qPrintable(silent.back()->errorString()));
        }
        QLocalSocket chatty;
        chatty.connectToServer(application.socket());
        qint64 sent = 0;
        const QByteArray megabyte(1024 * 1024, 'x');
        while (sent < 1024 && chatty.write(megabyte) == megabyte.size() && chatty.waitForBytesWritten(5000))
            ++sent;
        QVERIFY2(sent < 2, qPrintable(QString::number(sent)));

        // Those who have something to say are heard meanwhile.
        const auto second = application.launch();
        QVERIFY(second->waitForFinished(3000) && second->exitCode() == 0);
        const qint64 growth = ProcessFigures::residentBytes(application.processId()) - memory;
        QVERIFY2(growth < 4 * 1024 * 1024, qPrintable(QString::number(growth)));
        const auto isGone = [](const auto &socket) { return socket->state() == QLocalSocket::UnconnectedState; };
        QTRY_VERIFY_WITH_TIMEOUT(std::all_of(silent.begin(), silent.end(), isGone), 10000);
        QTRY_COMPARE(ProcessFigures::descriptors(application.processId()), descriptors);
        QVERIFY(application.endsAfter(SIGTERM));
    }

private:
    // The address of a page whose video is a stream; a rate (bytes per second) counts for each of its four ranges.
    QString page(const char *title, int size = streamSize, int rate = 0)
    {
        const QString stream =
            QStringLiteral("%1/stream?size=%2&seed=%3&rate=%4")
                .arg(m_site.address(), QString::number(size), QString::number(seed), QString::number(rate));
        return pageOf(title, stream);
    }
    // Its download takes a second.
    QString slowPage(const char *title) { return page(title, streamSize, streamSize / 4); }
    QString pageOf(const char *title, const QString &stream)
    {
        DemoSite::Page watch;
        watch.body =
            DemoSite::watchPage({{QStringLiteral("title"), QString::fromLatin1(title)},
                                 {QStringLiteral("url_encoded_fmt_stream_map"), DemoSite::streamMap({{22, stream}})}});
        const QString path = QStringLiteral("/watch?v=") + QString::fromLatin1(title);
        m_site.setPage(path, watch);
        return m_site.address() + path;
    }

    DemoSite m_site;
    QByteArray m_stream;
};

QTEST_GUILESS_MAIN(TestMachine)
#include "tst_machine.moc"
