#pragma once

#include <filesystem>

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
};

} // namespace tessoly::platform
