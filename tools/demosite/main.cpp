// The demo site: a small real video site on 127.0.0.1 for trying the application without the network.
// `fourfold-demosite --port 8787 --rate 200000` serves watch pages, playlists, media streams and an update
// service until Ctrl+C, and prints the addresses to paste; with a rate, each connection's stream is slowed
// to that many bytes per second, so that four ranges at once can be watched. The tests use the same class.
// The media are ffmpeg test pictures, made by `make-media`; they are read from the source folder.

#include "DemoSite.h"

#include <csignal>
#include <limits>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

namespace {

// Returns -1 unless the text is a number from 0 to the limit.
qint64 numberUpTo(qint64 limit, const QString &text)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    return isNumber && number >= 0 && number <= limit ? number : -1;
}

int complain(const QString &text)
{
    QTextStream(stderr) << "fourfold-demosite: " << text << '\n';
    return 1;
}

void printAddresses(const DemoSite &site)
{
    QTextStream(stdout) << "Demo site: " << site.address() << "/ (Ctrl+C ends it)\n\n"
                        << "Start the application with\n"
                        << "  FOURFOLD_SITE=" << site.address() << "\n\n"
                        << "Addresses to paste\n"
                        << "  one video                  " << site.videoAddress() << '\n'
                        << "  playlist page              " << site.playlistAddress() << '\n'
                        << "  watch page with a playlist " << site.watchPlaylistAddress() << "\n\n"
                        << "Update address for settings.dat\n"
                        << "  " << site.updateAddress() << '\n';
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Serves a small video site on 127.0.0.1."));
    parser.addHelpOption();
    const QCommandLineOption portOption(QStringLiteral("port"),
                                        QStringLiteral("Port to listen on; 0 picks a free one."),
                                        QStringLiteral("number"), QStringLiteral("8787"));
    const QCommandLineOption rateOption(QStringLiteral("rate"),
                                        QStringLiteral("Bytes per second of each stream's connection; 0 is unlimited."),
                                        QStringLiteral("bytes"), QStringLiteral("0"));
    parser.addOptions({portOption, rateOption});
    parser.process(application);

    const qint64 port = numberUpTo(65535, parser.value(portOption));
    const qint64 rate = numberUpTo(std::numeric_limits<qint64>::max(), parser.value(rateOption));
    if (port < 0 || !parser.positionalArguments().isEmpty() || rate < 0)
        return complain(QStringLiteral("expected --port 0 to 65535 and --rate 0 or more; see --help"));

    // Blocked before the first thread starts, so that only the wait below receives them.
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGINT);
    sigaddset(&endings, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &endings, nullptr);

    DemoSite site({int(port), rate});
    if (!site.start())
        return complain(site.errorString());
    printAddresses(site);

    int ending = 0;
    sigwait(&endings, &ending);
    return 0;
}
