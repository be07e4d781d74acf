// The demo site: a small real video site on 127.0.0.1 for trying the application without the network.
// `fourfold-demosite --port 8787 --rate 200000` serves watch pages, playlists, media streams and an update
// service until Ctrl+C, and prints the addresses to paste; with a rate, each connection's stream is slowed
// to that many bytes per second, so that four ranges at once can be watched. The tests use the same class.
// The media are ffmpeg test pictures, made by `make-media`; they are read from the source folder.

#include "DemoSite.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Serves a small video site on 127.0.0.1."));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("port"), QStringLiteral("Port to listen on; 0 picks a free one."), QStringLiteral("number"),
         QStringLiteral("8787")},
        {QStringLiteral("rate"), QStringLiteral("Bytes per second of each stream's connection; 0 is unlimited."),
         QStringLiteral("bytes"), QStringLiteral("0")},
    });
    parser.process(application);

    bool portIsNumber = false;
    bool rateIsNumber = false;
    const ushort port = parser.value(QStringLiteral("port")).toUShort(&portIsNumber);
    const uint rate = parser.value(QStringLiteral("rate")).toUInt(&rateIsNumber);
    if (!portIsNumber || !rateIsNumber || !parser.positionalArguments().isEmpty())
        parser.showHelp(1);

    DemoSite site({port, rate});
    if (!site.start()) {
        QTextStream(stderr) << "fourfold-demosite: " << site.errorString() << '\n';
        return 1;
    }
    QTextStream(stdout) << "Demo site: " << site.address() << "/ (Ctrl+C ends it)\n\n"
                        << "Start the application with\n"
                        << "  FOURFOLD_SITE=" << site.address() << "\n\n"
                        << "Addresses to paste\n"
                        << "  one video                  " << site.videoAddress() << '\n'
                        << "  playlist page              " << site.playlistAddress() << '\n'
                        << "  watch page with a playlist " << site.watchPlaylistAddress() << '\n'
                        << "  a stream that breaks off   " << site.address() << "/watch?v=broken\n"
                        << "  a stream that is gone      " << site.address() << "/watch?v=gone\n\n"
                        << "Update address for settings.dat\n"
                        << "  " << site.updateAddress() << '\n';
    // A signal ends the process at once, whatever is being served.
    return QCoreApplication::exec();
}
