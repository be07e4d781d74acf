#include "youtube/Site.h"

#include <QtGlobal>

namespace {

// The demo site and the tests stand in for the site through the environment.
QString standIn()
{
    return qEnvironmentVariable("FOURFOLD_SITE");
}

} // namespace

namespace Site {

QString address()
{
    return standIn().isEmpty() ? QStringLiteral("https://www.youtube.com") : standIn();
}

QString secureDomain()
{
    return standIn().isEmpty() ? QStringLiteral("youtube.com") : QString();
}

} // namespace Site
