#pragma once

#include <QTextDocument>

class QTextEdit;

// Release notes that came from outside: what they refer to is neither fetched nor read from this machine, and no markup
// can hold up the GUI. Owned by the editor that shows them.
class ReleaseNotes final : public QTextDocument
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReleaseNotes)

public:
    explicit ReleaseNotes(QTextEdit *editor);

    // As rich text where the notes look like it and are harmless, as they stand otherwise.
    void setNotes(const QString &notes);

protected:
    QVariant loadResource(int type, const QUrl &name) override;

private:
    QTextEdit *const m_editor;
};
