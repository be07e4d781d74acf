#include "update/UpdateOffer.h"

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <algorithm>
#include <cctype>

namespace {

// The reader's time grows with the square of the attributes of a tag.
constexpr int maximumAttributes = 500;

// Of any tag, and of the text behind it: whatever looks like an attribute, an equals sign before a quote.
int mostAttributes(const QByteArray &message)
{
    int most = 0;
    int count = 0;
    for (auto i = message.cbegin(); i != message.cend(); ++i) {
        if (*i == '<') {
            count = 0;
        } else if (*i == '=') {
            const auto next =
                std::find_if_not(i + 1, message.cend(), [](unsigned char c) { return std::isspace(c) != 0; });
            count += next != message.cend() && (*next == '"' || *next == '\'') ? 1 : 0;
            most = std::max(most, count);
        }
    }
    return most;
}

// As QXmlStreamReader::readElementText() with child elements, which recurses and so overflows the stack on deep
// nesting.
QString textOfElement(QXmlStreamReader &xml)
{
    QString text;
    for (int depth = 1; depth > 0 && !xml.hasError();) {
        switch (xml.readNext()) {
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::EntityReference:
            text += xml.text();
            break;
        case QXmlStreamReader::StartElement:
            ++depth;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        default:
            break;
        }
    }
    return text;
}

} // namespace

std::optional<UpdateOffer> UpdateOffer::fromMessage(const QByteArray &message)
{
    if (mostAttributes(message) > maximumAttributes)
        return std::nullopt;

    QXmlStreamReader xml(message);
    if (!xml.readNextStartElement())
        return std::nullopt;

    UpdateOffer offer;
    offer.version = xml.attributes().value(QLatin1String("version")).toString();
    offer.url = QUrl(xml.attributes().value(QLatin1String("url")).toString(), QUrl::TolerantMode);
    offer.notes = textOfElement(xml);
    if (xml.hasError())
        return std::nullopt;
    return offer;
}

bool UpdateOffer::leadsToThisMachine(const QUrl &url)
{
    if (!url.scheme().isEmpty())
        return url.isLocalFile();
    return QDir::isAbsolutePath(url.path()) || (!url.path().isEmpty() && QFileInfo::exists(url.path()));
}
