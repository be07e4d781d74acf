#include "update/UpdateOffer.h"

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <cctype>

namespace {

// The reader's time grows with the square of the attributes of a tag.
constexpr int maximumAttributes = 10000;

// Whatever looks like an attribute: an equals sign before a quote. Telling tags from text takes a parser.
int attributesOf(const QByteArray &message)
{
    int count = 0;
    for (int i = message.indexOf('='); i >= 0; i = message.indexOf('=', i + 1)) {
        int next = i + 1;
        while (next < message.size() && std::isspace(static_cast<unsigned char>(message.at(next))))
            ++next;
        if (next < message.size() && (message.at(next) == '"' || message.at(next) == '\''))
            ++count;
    }
    return count;
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
    if (attributesOf(message) > maximumAttributes)
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

bool UpdateOffer::leadsToTheWeb(const QUrl &url)
{
    const QString scheme = url.scheme();
    if (!scheme.isEmpty())
        return scheme == QLatin1String("http") || scheme == QLatin1String("https");
    return !QDir::isAbsolutePath(url.path()) && (url.path().isEmpty() || !QFileInfo::exists(url.path()));
}
