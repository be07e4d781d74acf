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

#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QTextStream>
#include <QToolButton>
#include <QTreeWidget>

#include <algorithm>

namespace {

enum Column { IdColumn, NameColumn, ProgressColumn = 5 };

// The video and the playlist; after them come the rows that fail.
constexpr int wholeFiles = 4;

} // namespace

Tour::Tour(const DemoSite &site, SkMainWindow &window, const QDir &folder)
    : m_site(site)
    , m_window(window)
    , m_folder(folder)
    , m_list(window.findChild<QTreeWidget *>())
{
    m_driver.whenIdle([this] { screenshot(&m_window, "main-empty"); });
    planDownloads();
    planFailures();
    planHelp();
}

bool Tour::play()
{
    if (!m_driver.play())
        m_failures += QStringLiteral("The tour waited in vain until %1.").arg(m_driver.failure());
    const QString success = QStringLiteral("All went well: %1 files are byte for byte what the site holds.");
    QTextStream(stdout) << (m_failures.isEmpty() ? success.arg(wholeFiles) : m_failures.join(QLatin1Char('\n')))
                        << "\nFiles:       " << CAppSetting::instance()->outputPath
                        << "\nScreenshots: " << m_folder.absolutePath() << '\n';
    return m_failures.isEmpty();
}

void Tour::planDownloads()
{
    const auto areHalfDone = [this] {
        const auto bars = m_list->findChildren<QProgressBar *>();
        return std::all_of(bars.begin(), bars.end(),
                           [](const QProgressBar *bar) { return bar->value() > bar->maximum() / 2; });
    };
    enter("addVideo", m_site.videoAddress(), "url-dialog");
    choose(22, "format-dialog");
    m_driver.whenIdle(nullptr);
    m_driver.when(QStringLiteral("the download is under way"), areHalfDone,
                  [this] { screenshot(&m_window, "main-downloading"); });
    m_driver.when(
        QStringLiteral("the download is finished"), [this] { return isFinished(1); }, [this] { checkFiles(0, 1); });

    enter("addPlaylist", m_site.playlistAddress());
    m_driver.whenOpen<VideoUrlDialog>([this](VideoUrlDialog *dialog) { screenshot(dialog, "url-dialog-analysing"); });
    for (const int itag : {18, 43, 36})
        choose(itag);
    m_driver.whenIdle(nullptr);
    m_driver.when(QStringLiteral("several downloads are under way"), areHalfDone,
                  [this] { screenshot(&m_window, "main-busy"); });
    m_driver.when(
        QStringLiteral("the playlist is finished"), [this] { return isFinished(wholeFiles); },
        [this] { checkFiles(1, wholeFiles); });
}

void Tour::planFailures()
{
    enter("addVideo", m_site.address() + QStringLiteral("/watch?v=nothing-here"));
    acknowledge("message-warning");
    m_driver.whenOpen<VideoUrlDialog>([](VideoUrlDialog *dialog) { dialog->close(); });
    enter("addVideo", m_site.address() + QStringLiteral("/no-such-page"));
    acknowledge("message-critical");

    enter("addVideo", m_site.address() + QStringLiteral("/watch?v=broken"));
    choose(22);
    m_driver.when(QStringLiteral("the stream has broken off"), [this] { return isFinished(wholeFiles + 1); });
    enter("addVideo", m_site.address() + QStringLiteral("/watch?v=gone"));
    choose(22);
    m_driver.whenIdle([this] {
        const QTreeWidgetItem *broken = m_list->topLevelItem(wholeFiles);
        check(!broken->icon(ProgressColumn).isNull() && !broken->toolTip(ProgressColumn).isEmpty(),
              QStringLiteral("An incomplete download does not say so."));
        QTreeWidgetItem *gone = m_list->topLevelItem(wholeFiles + 1);
        check(gone && m_list->itemWidget(gone, ProgressColumn) && !gone->icon(NameColumn).isNull(),
              QStringLiteral("A download that did not start does not say so."));
        screenshot(&m_window, "main-mixed");
    });
}

void Tour::planHelp()
{
    const auto *bar = m_window.findChild<QMenuBar *>();
    QMenu *menu = bar->actions().constFirst()->menu();
    const auto trigger = [menu](const QString &text) {
        const auto entries = menu->actions();
        const auto isIt = [&text](const QAction *entry) { return entry->text() == text; };
        (*std::find_if(entries.begin(), entries.end(), isIt))->trigger();
    };
    m_driver.whenIdle([this, bar, menu, trigger] {
        menu->popup(bar->mapToGlobal(bar->rect().bottomLeft()));
        screenshot(menu, "help-menu");
        menu->close();
        trigger(QStringLiteral("About"));
    });
    m_driver.whenOpen<SkAboutDialog>([this](SkAboutDialog *dialog) {
        screenshot(dialog, "about");
        dialog->close();
    });
    m_driver.whenIdle([trigger] {
        // As if the last offer had been dismissed long ago.
        CAppSetting::instance()->lastCheckDate = QDate(2020, 1, 1);
        trigger(QStringLiteral("Check Update"));
    });
    const auto laterButton = [] {
        auto *button = named<QPushButton>(visibleTopLevel<LiveUpdateDialog>(), "remindMeLater_pushButton");
        return button && button->isVisible() ? button : nullptr;
    };
    m_driver.when(QStringLiteral("an update is offered"), laterButton, [this, laterButton] {
        screenshot(laterButton()->window(), "update");
        click(laterButton());
    });
}

void Tour::enter(const char *button, const QString &address, const char *screenshotName)
{
    m_driver.whenIdle([this, button] { click(named<QToolButton>(&m_window, button)); });
    m_driver.whenOpen<VideoUrlDialog>([this, address, screenshotName](VideoUrlDialog *dialog) {
        type(named<QLineEdit>(dialog, "urlLineEdit"), address);
        screenshot(dialog, screenshotName);
        click(named<QPushButton>(dialog, "btnGo"));
    });
}

void Tour::choose(int itag, const char *screenshotName)
{
    // A dialog whose download is being started already is not the next one.
    constexpr auto chosen = "tour-has-chosen";
    const auto button = [itag]() -> QWidget * {
        const auto *table = named<QTableWidget>(visibleTopLevel<VideoInfo>(), "tableWidget");
        if (!table || table->window()->property(chosen).toBool())
            return nullptr;
        const auto cells = table->findItems(QString::number(itag), Qt::MatchExactly);
        return cells.isEmpty() ? nullptr : table->cellWidget(cells.constFirst()->row(), table->columnCount() - 1);
    };
    m_driver.when(QStringLiteral("format %1 can be chosen").arg(itag), button, [=] {
        QWidget *download = button();
        screenshot(download->window(), screenshotName);
        download->window()->setProperty(chosen, true);
        click(download);
    });
}

void Tour::acknowledge(const char *screenshotName)
{
    m_driver.whenOpen<SkMessageBox>([this, screenshotName](SkMessageBox *box) {
        screenshot(box, screenshotName);
        click(named<QPushButton>(box, "ok_pushButton"));
    });
}

void Tour::checkFiles(int from, int to)
{
    const QDir folder(CAppSetting::instance()->outputPath);
    for (int i = from; i < to; ++i) {
        const QTreeWidgetItem *row = m_list->topLevelItem(i);
        const QString media = m_site.mediaFileFor(m_site.demoVideoIds().constFirst(), row->text(IdColumn).toInt());
        QFile file(folder.filePath(Utility::ReplaceBadCharOfFileName(row->text(NameColumn))));
        check(file.open(QIODevice::ReadOnly) && file.readAll() == m_site.mediaFile(media),
              QStringLiteral("%1 is not what the site holds.").arg(file.fileName()));
    }
}

void Tour::check(bool isRight, const QString &failure)
{
    if (!isRight)
        m_failures += failure;
}

void Tour::screenshot(QWidget *window, const char *name)
{
    if (!name)
        return;
    const QString scale = window->devicePixelRatioF() > 1 ? QStringLiteral("@2x") : QString();
    check(window->grab().save(m_folder.filePath(QLatin1String(name) + scale + QStringLiteral(".png"))),
          QStringLiteral("The screenshot %1 cannot be saved.").arg(QLatin1String(name)));
}

bool Tour::isFinished(int rows) const
{
    return m_list->findItems(QStringLiteral("Finished"), Qt::MatchExactly, ProgressColumn).size() == rows;
}
