#pragma once

#include <QString>
#include <QUrl>

#include <optional>

class QByteArray;

// A newer build, as the update service describes it.
struct UpdateOffer
{
    QString version;
    QUrl url;
    QString notes;

    // Nothing where the first element of the message cannot be read to its end.
    static std::optional<UpdateOffer> fromMessage(const QByteArray &message);

    // True for an address that leads, or may lead, to a file or a program of this machine.
    static bool leadsToThisMachine(const QUrl &url);
};
