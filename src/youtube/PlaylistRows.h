#pragma once

#include <QByteArray>
#include <QStringList>

class QUrl;

namespace PlaylistRows {

// The video ids of a playlist's rows in page order, duplicates and empty ids included. The address tells which of the
// two kinds of page it is: a watch page that plays a playlist, or the playlist's own page.
[[nodiscard]] QStringList videoIds(const QByteArray &body, const QUrl &address);

} // namespace PlaylistRows
