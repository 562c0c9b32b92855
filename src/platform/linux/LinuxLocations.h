#pragma once

#include "platform/Locations.h"

namespace tessoly::platform {

// $HOME, $XDG_DATA_HOME and $XDG_CONFIG_HOME, read at each call so that a
// test can point them at a temporary folder.
class LinuxLocations final : public Locations {
public:
    [[nodiscard]] std::filesystem::path home() const override;
    [[nodiscard]] std::filesystem::path applicationSupport() const override;
    [[nodiscard]] std::filesystem::path preferences() const override;
    [[nodiscard]] std::filesystem::path caches() const override;

    [[nodiscard]] static std::filesystem::path dataHome();
    [[nodiscard]] static std::filesystem::path configHome();
};

} // namespace tessoly::platform
