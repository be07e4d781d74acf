#pragma once

#include "framework/SkDialog.h"

namespace Ui {
class SkMessageBox;
}

// A message with an icon and up to three buttons; "OK" accepts, every other way out rejects. The box grows with its
// text. A text that looks like HTML is shown as such, links included: escape what comes from outside.
class SkMessageBox : public SkDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SkMessageBox)

public:
    enum Enum_DialogType {
        DialogType_Info = 0,
        DialogType_Question = 1,
        DialogType_Warning = 2,
        DialogType_Critical = 3,
        DialogType_InfoWithOpen = 4
    };

    SkMessageBox(QWidget *parent, Enum_DialogType type, const QString &text);
    explicit SkMessageBox(QWidget *parent);
    ~SkMessageBox() override;

    void setMessageText(const QString &text);
    // As it stands, letter by letter, whatever it looks like: for what comes from outside.
    void setPlainMessageText(const QString &text);
    // Shows the type's icon and its extra button; a button that an earlier type has shown stays.
    void setMessageType(Enum_DialogType type);
    // Replaces the text of the "OK" button.
    void setBtnText(const QString &text);

signals:
    // The person asks for the output folder; the box is rejected next.
    void openPath();

private slots:
    void on_open();

private:
    const std::unique_ptr<Ui::SkMessageBox> ui;
};
