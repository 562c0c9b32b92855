#pragma once

#include <QString>
#include <filesystem>
#include <vector>

namespace tessoly::platform {

// An application the desktop's menus know (beside the bundles of an
// applications folder): one entry of the system's application list.
struct DesktopApp {
    QString fileId;      // the entry's id, "org.gnome.Calculator"
    QString name;        // its display name
    QString program;     // the file name of the program it starts, if any
    QString windowClass; // the window class it announces, if any
    // What the app itself is on disk: its Flatpak folder, its snap, its
    // AppImage, its program, or else the entry's own file.
    std::filesystem::path bundle;
    // When the app came with a system package: the package's files, which
    // together are its size (the bundle is then the program).
    std::vector<std::filesystem::path> bundleFiles;
};

// The applications of the desktop's menus, in order of precedence (the
// user's own entries first); an id met twice counts once, at its first place.
[[nodiscard]] std::vector<DesktopApp> desktopApps(const std::filesystem::path &home);

} // namespace tessoly::platform
