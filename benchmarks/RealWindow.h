#pragma once

#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "settings/CAppSetting.h"
#include "ui/DownloaderWidget.h"

#include <memory>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <QTreeWidget>

// The application's main window with its skin, whose page starts downloads as if a person had picked a format.
class RealWindow final
{
    Q_DISABLE_COPY_MOVE(RealWindow)

public:
    explicit RealWindow(const QString &outputFolder)
    {
        CAppSetting::instance()->outputPath = outputFolder;
        Skin::registerResource();
        Skin::applyStyleSheet();
        m_window = std::make_unique<SkMainWindow>();
        m_window->showMainWindow();
        settle(300);
    }

    static void settle(int milliseconds)
    {
        QEventLoop loop;
        QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
        loop.exec();
    }

    // Asks for the size of the stream, as an analysis does.
    static VideoItem video(const QString &address, int index)
    {
        Meta meta(itag, address);
        meta.findVideoSize();
        VideoItem video;
        video.setTitle(QStringLiteral("video-%1").arg(index));
        video.setLength(QStringLiteral("00:10:00"));
        video.setAvailaibleFormats({meta});
        return video;
    }

    void startDownload(const VideoItem &video)
    {
        if (!QMetaObject::invokeMethod(&page(), "onStartDownload", Q_ARG(VideoItem, video), Q_ARG(int, itag)))
            qFatal("the page starts no downloads");
    }

    void waitForDownloads()
    {
        constexpr int beat = 2; // milliseconds
        QEventLoop loop;
        QTimer watch;
        QObject::connect(&watch, &QTimer::timeout, &loop, [this, &loop] {
            if (!page().isDownloading())
                loop.quit();
        });
        watch.start(beat);
        loop.exec();
    }

    // Rows that carry no warning.
    [[nodiscard]] int wholeDownloads() const
    {
        const auto *list = m_window->findChild<QTreeWidget *>();
        const int progressColumn = list->columnCount() - 1;
        int whole = 0;
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            whole += list->topLevelItem(i)->toolTip(progressColumn).isEmpty() ? 1 : 0;
        return whole;
    }

    [[nodiscard]] SkMainWindow &window() const { return *m_window; }
    [[nodiscard]] DownloaderWidget &page() const { return *m_window->findChild<DownloaderWidget *>(); }

private:
    static constexpr int itag = 22;

    std::unique_ptr<SkMainWindow> m_window;
};
