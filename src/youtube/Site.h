#pragma once

#include <QString>

// The video site, or what stands in for it.
namespace Site {

// Scheme and host, without a slash at the end.
[[nodiscard]] QString address();

// The domain that is known to speak https only, subdomains included; empty where something stands in for the site.
[[nodiscard]] QString secureDomain();

} // namespace Site
