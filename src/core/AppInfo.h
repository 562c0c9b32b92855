#pragma once

#include <QString>

namespace tessoly::appinfo {

// The version people see ("0.1.0") and the build it came from ("1"); set by the build.
inline QString version()
{
    return QStringLiteral(TESSOLY_VERSION);
}
inline QString build()
{
    return QStringLiteral(TESSOLY_BUILD_NUMBER);
}
// The maker, its site and where people write for help.
inline constexpr const char *makerName = "Mavendry";
inline constexpr const char *makerLink = "https://tessoly.com";
inline constexpr const char *supportMail = "support@tessoly.com";

} // namespace tessoly::appinfo
