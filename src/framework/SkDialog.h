#pragma once

#include <QDialog>

#include <memory>

class QFrame;
namespace Ui {
class SkDialog;
}

// Base of every dialog: a content frame for the subclass, and bottom buttons where they are asked for. While it is
// shown it grows with its content, wrapped texts and large fonts included. GUI thread only.
class SkDialog : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SkDialog)

public:
    explicit SkDialog(QWidget *parent = nullptr, Qt::WindowFlags flags = {}, bool showBottomButtons = false);
    ~SkDialog() override;

    // As QDialog::exec(); once the application's quit has ended an exec(), later ones are rejected without being shown.
    int exec() override;
    // True from the moment an exec() was ended by the application's quit until the event loops have unwound.
    [[nodiscard]] static bool isQuitting();

    void setTitleName(const QString &title);
    // The frame in which a subclass lays out its widgets; owned by the dialog.
    [[nodiscard]] QFrame *getContentFrame() const;
    void showResetButton(bool visible);
    void showOkButton(bool visible);
    void showCancelButton(bool visible);
    void showMinimiButton(bool visible);

signals:
    void minimizeMainWindow();

protected slots:
    void accept() override;
    void reject() override;
    // For subclasses that have defaults to restore.
    virtual void reset();
    virtual void minimize();

protected:
    // Builds a subclass's form, whose root is a plain QWidget, inside the content frame: the form's top layout becomes
    // the frame's, its size and title become the dialog's, and the slots named on_<object>_<signal> are connected. To
    // be called once, in the subclass's constructor; where form and base share an object name, connect by pointer
    // instead.
    template <class Form> void setupForm(Form &form)
    {
        form.setupUi(contentWidget());
        adoptForm();
    }

    bool event(QEvent *event) override;

private:
    [[nodiscard]] QWidget *contentWidget() const;
    void adoptForm();
    [[nodiscard]] int heightForContent(int width) const;
    void growToContent();

    const std::unique_ptr<Ui::SkDialog> ui;
};
