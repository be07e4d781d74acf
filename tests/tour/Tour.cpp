#include "tour/Tour.h"

#include "app/SkMainWindow.h"
#include "DemoSite.h"
#include "framework/SkAboutDialog.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "settings/FileNames.h"
#include "ui/VideoInfo.h"
#include "ui/VideoUrlDialog.h"
#include "update/LiveUpdateDialog.h"

#include <QCryptographicHash>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QToolButton>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>

namespace {

enum Column { NameColumn = 1, ProgressColumn = 5 };

QByteArray sha256(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

void say(const QString &line)
{
    std::puts(qPrintable(line));
    std::fflush(stdout);
}

QAction *helpEntry(SkMainWindow &window, const QString &text)
{
    const auto actions = window.findChild<QMenuBar *>()->actions().constFirst()->menu()->actions();
    for (QAction *action : actions) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

} // namespace

Tour::Tour(const DemoSite &site, SkMainWindow &window, const QDir &folder)
    : m_site(site)
    , m_window(window)
    , m_folder(folder)
{
}

void Tour::start()
{
    planEmptyWindow();
    planVideo();
    planPlaylist();
    planFailures();
    planHelp();
    planEnd();
    m_driver.run();

    auto *watch = new QTimer(&m_window);
    QObject::connect(watch, &QTimer::timeout, &m_window, [this] {
        if (!m_driver.failure().isEmpty())
            fail(QStringLiteral("The tour %1.").arg(m_driver.failure()));
    });
    watch->start(100);
}

void Tour::planEmptyWindow()
{
    m_driver.when(
        QStringLiteral("the main window shows"), [this] { return m_window.isVisible(); },
        [this] { screenshot(&m_window, QStringLiteral("main-empty")); });
}

void Tour::planVideo()
{
    m_driver.when(
        QStringLiteral("the page can be used"), [] { return true; },
        [this] { click(named<QToolButton>(&m_window, "addVideo")); });
    m_driver.when(
        QStringLiteral("the address dialog shows"), [] { return visibleTopLevel<VideoUrlDialog>(); },
        [this] {
            auto *dialog = visibleTopLevel<VideoUrlDialog>();
            type(named<QLineEdit>(dialog, "urlLineEdit"), m_site.videoAddress());
            screenshot(dialog, QStringLiteral("url-dialog"));
            click(named<QPushButton>(dialog, "btnGo"));
        });
    choose(22, QStringLiteral("format-dialog"));
    m_driver.when(
        QStringLiteral("the download is under way"),
        [this] {
            const auto *bar = m_window.findChild<QProgressBar *>();
            return bar && bar->value() > bar->maximum() / 3;
        },
        [this] { screenshot(&m_window, QStringLiteral("main-downloading")); });
    m_driver.when(
        QStringLiteral("the download is finished"), [this] { return allFinished(1); },
        [this] { checkFile(m_site.demoVideoIds().constFirst(), 22); });
}

void Tour::planPlaylist()
{
    m_driver.when(
        QStringLiteral("the page can be used again"), [] { return !QApplication::activeModalWidget(); },
        [this] { click(named<QToolButton>(&m_window, "addPlaylist")); });
    m_driver.when(
        QStringLiteral("the playlist dialog shows"), [] { return visibleTopLevel<VideoUrlDialog>(); },
        [this] {
            auto *dialog = visibleTopLevel<VideoUrlDialog>();
            type(named<QLineEdit>(dialog, "urlLineEdit"), m_site.playlistAddress());
            click(named<QPushButton>(dialog, "btnGo"));
        });
    m_driver.when(
        QStringLiteral("the playlist is being analysed"),
        [] { return named<QPushButton>(visibleTopLevel<VideoUrlDialog>(), "btnCancel")->isVisible(); },
        [this] { screenshot(visibleTopLevel<VideoUrlDialog>(), QStringLiteral("url-dialog-analysing")); });
    const QStringList ids = m_site.playlistVideoIds();
    const QVector<int> itags{18, 43, 36};
    for (int i = 0; i < ids.size(); ++i)
        choose(itags.at(i));
    m_driver.when(
        QStringLiteral("several downloads are under way"),
        [this] {
            const auto bars = m_window.findChildren<QProgressBar *>();
            return allFinished(1 + m_site.playlistVideoIds().size())
                || (bars.size() > 1 && !QApplication::activeModalWidget()
                    && std::all_of(bars.begin(), bars.end(),
                                   [](const QProgressBar *bar) { return bar->text().contains(QStringLiteral("/s")); }));
        },
        [this] { screenshot(&m_window, QStringLiteral("main-busy")); });
    m_driver.when(
        QStringLiteral("the playlist is finished"), [this, ids] { return allFinished(1 + ids.size()); },
        [this, ids, itags] {
            for (int i = 0; i < ids.size(); ++i)
                checkFile(ids.at(i), itags.at(i));
        });
}

void Tour::planFailures()
{
    const auto analyse = [this](const QString &address) {
        m_driver.when(
            QStringLiteral("the page can be used for a bad address"), [] { return !QApplication::activeModalWidget(); },
            [this] { click(named<QToolButton>(&m_window, "addVideo")); });
        m_driver.when(
            QStringLiteral("the address dialog shows for a bad address"),
            [] { return visibleTopLevel<VideoUrlDialog>(); },
            [address] {
                auto *dialog = visibleTopLevel<VideoUrlDialog>();
                type(named<QLineEdit>(dialog, "urlLineEdit"), address);
                click(named<QPushButton>(dialog, "btnGo"));
            });
    };
    const auto acknowledge = [this](const QString &name) {
        m_driver.when(
            QStringLiteral("the message box shows"), [] { return visibleTopLevel<SkMessageBox>(); },
            [this, name] {
                auto *box = visibleTopLevel<SkMessageBox>();
                screenshot(box, name);
                const auto buttons = box->findChildren<QPushButton *>(QStringLiteral("ok_pushButton"));
                for (QPushButton *button : buttons) {
                    if (button->isVisible())
                        click(button);
                }
            });
    };
    analyse(m_site.address() + QStringLiteral("/watch?v=nothing-here"));
    acknowledge(QStringLiteral("message-warning"));
    m_driver.when(
        QStringLiteral("the address dialog takes another address"),
        [] { return named<QPushButton>(visibleTopLevel<VideoUrlDialog>(), "btnGo")->isVisible(); },
        [] { visibleTopLevel<VideoUrlDialog>()->close(); });
    analyse(m_site.address() + QStringLiteral("/no-such-page"));
    acknowledge(QStringLiteral("message-critical"));

    // A video whose stream breaks off leaves an incomplete file, and says so.
    analyse(m_site.address() + QStringLiteral("/watch?v=broken"));
    choose(22);
    m_driver.when(
        QStringLiteral("the incomplete download is over"),
        [this] { return !QApplication::activeModalWidget() && allFinished(2 + m_site.playlistVideoIds().size()); },
        [this] {
            const auto *list = m_window.findChild<QTreeWidget *>();
            const auto *row = list->topLevelItem(list->topLevelItemCount() - 1);
            if (row->icon(ProgressColumn).isNull() || row->toolTip(ProgressColumn).isEmpty())
                fail(QStringLiteral("An incomplete download does not say so."));
            screenshot(&m_window, QStringLiteral("main-mixed"));
        });
}

void Tour::planHelp()
{
    m_driver.when(
        QStringLiteral("the Help menu can be opened"), [] { return !QApplication::activeModalWidget(); },
        [this] {
            const auto *bar = m_window.findChild<QMenuBar *>();
            QMenu *help = bar->actions().constFirst()->menu();
            help->popup(bar->mapToGlobal(bar->rect().bottomLeft()));
            screenshot(help, QStringLiteral("help-menu"));
            help->close();
            helpEntry(m_window, QStringLiteral("About"))->trigger();
        });
    m_driver.when(
        QStringLiteral("the about dialog shows"), [] { return visibleTopLevel<SkAboutDialog>(); },
        [this] {
            auto *dialog = visibleTopLevel<SkAboutDialog>();
            screenshot(dialog, QStringLiteral("about"));
            dialog->close();
        });
    m_driver.when(
        QStringLiteral("the update check can be asked for"), [] { return !QApplication::activeModalWidget(); },
        [this] {
            // As if the last offer had been dismissed long ago.
            CAppSetting::instance()->lastCheckDate = QDate(2020, 1, 1);
            helpEntry(m_window, QStringLiteral("Check Update"))->trigger();
        });
    m_driver.when(
        QStringLiteral("an update is offered"),
        [] {
            const auto *button = named<QPushButton>(visibleTopLevel<LiveUpdateDialog>(), "remindMeLater_pushButton");
            return button && button->isVisible();
        },
        [this] {
            auto *dialog = visibleTopLevel<LiveUpdateDialog>();
            screenshot(dialog, QStringLiteral("update"));
            click(named<QPushButton>(dialog, "remindMeLater_pushButton"));
        });
}

void Tour::planEnd()
{
    m_driver.when(
        QStringLiteral("the tour has shown everything"), [] { return !visibleTopLevel<LiveUpdateDialog>(); },
        [this] {
            if (!m_failure.isEmpty())
                return;
            say(QStringLiteral("All went well: %1 files are byte for byte what the site holds.").arg(m_filesChecked));
            say(QStringLiteral("Files:       %1").arg(CAppSetting::instance()->outputPath));
            say(QStringLiteral("Screenshots: %1").arg(m_folder.absolutePath()));
            QCoreApplication::exit(0);
        });
}

void Tour::choose(int itag, const QString &name)
{
    const auto rowOf = [itag](const QTableWidget *table) {
        const auto items = table->findItems(QString::number(itag), Qt::MatchExactly);
        return items.isEmpty() ? -1 : items.constFirst()->row();
    };
    m_driver.when(
        QStringLiteral("format %1 can be chosen").arg(itag),
        [rowOf] {
            auto *table = named<QTableWidget>(visibleTopLevel<VideoInfo>(), "tableWidget");
            // A dialog whose download is being started already is not the next one.
            return table && rowOf(table) >= 0 && !table->property("tour-has-chosen").toBool();
        },
        [this, rowOf, name] {
            auto *dialog = visibleTopLevel<VideoInfo>();
            auto *table = named<QTableWidget>(dialog, "tableWidget");
            if (!name.isEmpty())
                screenshot(dialog, name);
            table->setProperty("tour-has-chosen", true);
            click(table->cellWidget(rowOf(table), table->columnCount() - 1));
        });
}

QString Tour::outputFile(const QString &videoId, int itag) const
{
    const auto *list = m_window.findChild<QTreeWidget *>();
    for (int i = list->topLevelItemCount() - 1; i >= 0; --i) {
        const QTreeWidgetItem *row = list->topLevelItem(i);
        if (row->text(0).toInt() == itag)
            return QDir(CAppSetting::instance()->outputPath)
                .filePath(Utility::ReplaceBadCharOfFileName(row->text(NameColumn)));
    }
    return videoId;
}

void Tour::checkFile(const QString &videoId, int itag)
{
    QFile file(outputFile(videoId, itag));
    const QByteArray expected = sha256(m_site.mediaFile(m_site.mediaFileFor(videoId, itag)));
    if (!file.open(QIODevice::ReadOnly) || sha256(file.readAll()) != expected) {
        fail(QStringLiteral("%1 is not what the site holds.").arg(file.fileName()));
        return;
    }
    ++m_filesChecked;
    say(QStringLiteral("ok  %1  %2").arg(QString::fromLatin1(expected.left(16)), file.fileName()));
}

bool Tour::allFinished(int rows) const
{
    const auto *list = m_window.findChild<QTreeWidget *>();
    if (list->topLevelItemCount() != rows)
        return false;
    for (int i = 0; i < rows; ++i) {
        if (list->topLevelItem(i)->text(ProgressColumn) != QLatin1String("Finished"))
            return false;
    }
    return true;
}

void Tour::screenshot(QWidget *window, const QString &name)
{
    const QString scale = window->devicePixelRatioF() > 1 ? QStringLiteral("@2x") : QString();
    if (!window->grab().save(m_folder.filePath(name + scale + QStringLiteral(".png"))))
        fail(QStringLiteral("The screenshot %1 cannot be saved.").arg(name));
}

void Tour::fail(const QString &reason)
{
    if (!m_failure.isEmpty())
        return;
    m_failure = reason;
    say(reason);
    QCoreApplication::exit(1);
}
