#pragma once

#include "support/Driver.h"

#include <QDir>
#include <QString>

class DemoSite;
class SkMainWindow;

// Plays the whole application through its own controls, as a person would: a video, a playlist, the Help menu. Leaves
// screenshots and the downloaded files in the folder.
class Tour final
{
    Q_DISABLE_COPY_MOVE(Tour)

public:
    // The site and the window must outlive the tour.
    Tour(const DemoSite &site, SkMainWindow &window, const QDir &folder);

    // Returns at once; the event loop plays it and ends with 0 where all went well, else with 1 after a message.
    void start();

private:
    void planEmptyWindow();
    void planVideo();
    void planPlaylist();
    void planFailures();
    void planHelp();
    void planEnd();

    void choose(int itag, const QString &screenshot = {});
    void checkFile(const QString &videoId, int itag);
    void screenshot(QWidget *window, const QString &name);
    void fail(const QString &reason);

    [[nodiscard]] bool allFinished(int rows) const;
    [[nodiscard]] QString outputFile(const QString &videoId, int itag) const;

    const DemoSite &m_site;
    SkMainWindow &m_window;
    const QDir m_folder;
    Driver m_driver{30000};
    QString m_failure;
    int m_filesChecked = 0;
};
