#include "framework/WrappingLabel.h"

#include <QAbstractTextDocumentLayout>
#include <QFontInfo>
#include <QPainter>
#include <QTextDocument>
#include <QTextOption>

#include <cmath>

namespace {

constexpr int narrowestLine = 24; // average characters
constexpr int usualLine = 20; // times the font's size

void layOut(QTextDocument &document, const QLabel &label, int width)
{
    QTextOption option(label.alignment());
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document.setDocumentMargin(0);
    document.setDefaultFont(label.font());
    document.setDefaultTextOption(option);
    document.setPlainText(label.text());
    document.setTextWidth(width);
}

} // namespace

WrappingLabel::WrappingLabel(QWidget *parent)
    : QLabel(parent)
{
}

int WrappingLabel::heightForWidth(int width) const
{
    if (!isPlain())
        return QLabel::heightForWidth(width);
    QTextDocument document;
    layOut(document, *this, width - margins().width());
    return static_cast<int>(std::ceil(document.size().height())) + margins().height();
}

QSize WrappingLabel::minimumSizeHint() const
{
    const QSize hint = QLabel::minimumSizeHint();
    if (!isPlain())
        return hint;
    const int narrowest = narrowestLine * fontMetrics().averageCharWidth() + margins().width();
    return {std::min(hint.width(), narrowest), fontMetrics().height() + margins().height()};
}

QSize WrappingLabel::sizeHint() const
{
    return QLabel::sizeHint().expandedTo({usualLine * QFontInfo(font()).pixelSize(), 0});
}

void WrappingLabel::paintEvent(QPaintEvent *event)
{
    if (!isPlain()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    drawFrame(&painter);
    const QRect area = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    QTextDocument document;
    layOut(document, *this, area.width());
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette = palette();
    context.palette.setColor(QPalette::Text, palette().color(foregroundRole()));
    const int spare = area.height() - static_cast<int>(document.size().height());
    painter.translate(area.left(), area.top() + std::max(0, spare / 2));
    document.documentLayout()->draw(&painter, context);
}

bool WrappingLabel::isPlain() const
{
    return textFormat() == Qt::PlainText || (textFormat() == Qt::AutoText && !Qt::mightBeRichText(text()));
}

QSize WrappingLabel::margins() const
{
    return {width() - contentsRect().width() + 2 * margin(), height() - contentsRect().height() + 2 * margin()};
}
