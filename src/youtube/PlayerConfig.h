#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace PlayerConfig {

// A page's body as text: UTF-8 up to the first zero byte.
[[nodiscard]] QString pageText(const QByteArray &body);

// The player configuration that a watch page embeds. Nothing when the page holds none; an empty object when it holds
// one that is not JSON.
[[nodiscard]] std::optional<QJsonObject> fromPage(const QByteArray &body);

} // namespace PlayerConfig
