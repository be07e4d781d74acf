#include "framework/InertText.h"

#include <QTextDocument>

QString inertText(const QString &text)
{
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}
