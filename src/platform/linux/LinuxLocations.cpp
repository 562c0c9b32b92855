#include "platform/linux/LinuxLocations.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace tessoly::platform {
namespace {

constexpr const char *kAppFolder = "com.tessoly.app";

// An XDG variable counts only when it holds an absolute path.
std::filesystem::path xdgOr(const char *variable, const std::filesystem::path &fallback)
{
    const char *value = std::getenv(variable);
    if (value != nullptr && value[0] == '/')
        return value;
    return fallback;
}

} // namespace

std::filesystem::path LinuxLocations::home() const
{
    const char *value = std::getenv("HOME");
    if (value != nullptr && value[0] == '/')
        return value;
    if (const passwd *entry = ::getpwuid(::getuid()); entry != nullptr && entry->pw_dir != nullptr)
        return entry->pw_dir;
    return "/";
}

std::filesystem::path LinuxLocations::dataHome()
{
    return xdgOr("XDG_DATA_HOME", LinuxLocations().home() / ".local/share");
}

std::filesystem::path LinuxLocations::configHome()
{
    return xdgOr("XDG_CONFIG_HOME", LinuxLocations().home() / ".config");
}

std::filesystem::path LinuxLocations::applicationSupport() const
{
    return dataHome() / kAppFolder;
}

std::filesystem::path LinuxLocations::preferences() const
{
    return configHome() / kAppFolder;
}

} // namespace tessoly::platform
