#pragma once

#include <QUrl>

class QMimeData;

// The web address that is being dragged, as a link or as text; an invalid one when there is none.
[[nodiscard]] QUrl draggedAddress(const QMimeData &data);
