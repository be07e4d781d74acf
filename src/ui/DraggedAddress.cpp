#include "ui/DraggedAddress.h"

#include <QMimeData>

QUrl draggedAddress(const QMimeData &data)
{
    const QList<QUrl> urls = data.urls();
    const QUrl url = urls.isEmpty() ? QUrl(data.text().trimmed(), QUrl::StrictMode) : urls.constFirst();
    return url.scheme().startsWith(QLatin1String("http")) ? url : QUrl();
}
