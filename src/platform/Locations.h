#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

namespace tessoly::platform {

class Locations {
public:
    virtual ~Locations() = default;
    // The user's home folder.
    [[nodiscard]] virtual std::filesystem::path home() const = 0;
    // The app's own data folder (history lives here); created on demand by callers.
    [[nodiscard]] virtual std::filesystem::path applicationSupport() const = 0;
    // The app's preferences folder (the defaults file lives here).
    [[nodiscard]] virtual std::filesystem::path preferences() const = 0;
    // The app's own caches (what may go at any time); created on demand by callers.
    [[nodiscard]] virtual std::filesystem::path caches() const = 0;
};

// Where the data of a named location lives on this system. Names are the
// catalogue's and the analyses' own ("Library/Caches/Firefox", "Downloads",
// "/Library/Caches"): absolute when they start with "/", else under the home
// folder. A name this system has no counterpart for is taken as it stands,
// so it simply isn't there.
[[nodiscard]] std::filesystem::path locate(std::string_view name, const std::filesystem::path &home);
// Every place the data may live, in order of preference; most names have one.
[[nodiscard]] std::vector<std::filesystem::path> locateAll(std::string_view name, const std::filesystem::path &home);
// The cache folder of this system (the app's own caches live under it).
[[nodiscard]] std::filesystem::path cacheHome(const std::filesystem::path &home);

} // namespace tessoly::platform
