#include "ui/ShownTitle.h"

namespace {

constexpr int longestTitle = 500; // characters

} // namespace

QString shownTitle(const QString &title)
{
    return title.left(longestTitle);
}
