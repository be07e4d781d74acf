#pragma once

#include <QWidget>

#include <memory>

namespace Ui {
class SelectPathWidget;
}

// A line edit with a button that opens the folder or file chooser. GUI thread only.
class SelectPathWidget : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SelectPathWidget)

public:
    enum SlectType { SlectType_Directory = 0, SlectType_File = 1 };

    explicit SelectPathWidget(QWidget *parent = nullptr);
    ~SelectPathWidget() override;

    // Sets what is chosen and where the chooser starts. The suffixes come without dots; each call adds its group to the
    // name filter.
    void init(SlectType type, const QString &path, const QStringList &suffixes);
    [[nodiscard]] QString currentPath() const;

signals:
    // Comes after each choice with the chosen folder, or the folder of the chosen file.
    void dirPathChanged(const QString &path);

private slots:
    void select();

private:
    const std::unique_ptr<Ui::SelectPathWidget> ui;
    SlectType m_type = SlectType_Directory;
    QString m_path;
    QString m_filter;
};
