#pragma once

#include <filesystem>

namespace tessoly::platform {

// Shows an item selected in the system's file manager.
class Revealer {
public:
    virtual ~Revealer() = default;
    virtual void reveal(const std::filesystem::path &item) = 0;
};

} // namespace tessoly::platform
