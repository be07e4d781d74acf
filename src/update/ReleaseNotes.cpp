#include "update/ReleaseNotes.h"

#include <QImage>
#include <QRegularExpression>
#include <QTextEdit>
#include <QTextOption>
#include <QUrl>
#include <QVariant>

namespace {

// Qt's layout takes minutes or the whole stack for crowds of tags, style rules, tables within tables and giant cells.
bool isHarmless(const QString &notes)
{
    static const QRegularExpression heavy(QStringLiteral("<\\s*(table|t[rdh]|tbody|thead|tfoot|style)\\b"),
                                          QRegularExpression::CaseInsensitiveOption);
    return notes.count(QLatin1Char('<')) <= 2000 && !notes.contains(heavy);
}

} // namespace

ReleaseNotes::ReleaseNotes(QTextEdit *editor)
    : QTextDocument(editor)
    , m_editor(editor)
{
    setDefaultFont(editor->font());
    editor->setDocument(this);
    // Breaking a long word elsewhere than between words takes time that grows with the square of its length.
    editor->setWordWrapMode(QTextOption::WordWrap);
}

void ReleaseNotes::setNotes(const QString &notes)
{
    if (isHarmless(notes))
        m_editor->setText(notes);
    else
        m_editor->setPlainText(notes);
}

QVariant ReleaseNotes::loadResource(int type, const QUrl &)
{
    if (type != QTextDocument::ImageResource)
        return {};
    // Left without an image, Qt would look for a file of that name.
    QImage nothing(1, 1, QImage::Format_ARGB32_Premultiplied);
    nothing.fill(Qt::transparent);
    return nothing;
}
