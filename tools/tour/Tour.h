#pragma once

#include "tour/Driver.h"

#include <QDir>
#include <QStringList>

class DemoSite;
class QTreeWidget;
class SkMainWindow;

// Plays the whole application through its own controls, as a person would: a video, a playlist, failures, the Help
// menu. Leaves screenshots and the downloaded files in the folder. The site and the window must outlive it.
class Tour final
{
    Q_DISABLE_COPY_MOVE(Tour)

public:
    Tour(const DemoSite &site, SkMainWindow &window, const QDir &folder);

    // Returns true where all went well; says what it has checked, and what is wrong.
    bool play();

private:
    void planDownloads();
    void planFailures();
    void planHelp();
    void enter(const char *button, const QString &address, const char *screenshotName = nullptr);
    void choose(int itag, const char *screenshotName = nullptr);
    void acknowledge(const char *screenshotName);

    void checkFiles(int from, int to);
    void check(bool isRight, const QString &failure);
    void screenshot(QWidget *window, const char *name);
    bool isFinished(int rows) const;

    const DemoSite &m_site;
    SkMainWindow &m_window;
    const QDir m_folder;
    QTreeWidget *const m_list;
    Driver m_driver;
    QStringList m_failures;
};
