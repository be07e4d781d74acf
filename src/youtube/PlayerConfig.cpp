#include "youtube/PlayerConfig.h"

#include <QJsonDocument>
#include <QRegularExpression>

namespace PlayerConfig {

QString pageText(const QByteArray &body)
{
    return QString::fromUtf8(body.constData(), static_cast<int>(qstrnlen(body.constData(), body.size())));
}

std::optional<QJsonObject> fromPage(const QByteArray &body)
{
    static const QRegularExpression pattern(QStringLiteral("ytplayer\\.config = (.*);ytplayer\\.load"));
    const QRegularExpressionMatch match = pattern.match(pageText(body));
    if (!match.hasMatch())
        return std::nullopt;

    // A nested JSON text has its own backslash before each sequence; the "\&" that this leaves is read as "&".
    QString json = match.captured(1);
    json.replace(QStringLiteral("\\u0026"), QStringLiteral("&"));
    json.replace(QStringLiteral("\\u003c"), QStringLiteral("<"));
    json.replace(QStringLiteral("\\u003e"), QStringLiteral(">"));
    return QJsonDocument::fromJson(json.toUtf8()).object();
}

} // namespace PlayerConfig
