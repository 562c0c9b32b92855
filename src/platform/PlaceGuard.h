#pragma once

#include <QStringList>
#include <filesystem>
#include <optional>
#include <vector>

namespace tessoly::platform {

// The one guard before every clean, trash, delete and duplicate or project
// search. Every path that removes files is judged as if it deleted outright.

// A place Tessoly may empty or remove things from, with every link resolved,
// or why not in words (then nothing in it may be touched).
struct GuardedPlace {
    std::filesystem::path resolved; // empty when refused or not there
    QString refusal;
    [[nodiscard]] bool allowed() const { return refusal.isEmpty(); }
};

// A folder Tessoly empties, or an item it trashes or deletes whole, must lie
// strictly inside the home folder once links are resolved, and be neither the
// home, an ancestor of it, a personal folder (Desktop, Documents, Downloads,
// Music, Pictures, Videos, Templates, Public) nor an ancestor of one. A place
// that isn't there is allowed and resolves to nothing.
[[nodiscard]] GuardedPlace guardRemoval(const std::filesystem::path &place, const std::filesystem::path &home);

// A personal or project folder searched for duplicates or node_modules. A
// link is followed only to a folder of the user's own that is neither `/`, a
// system folder, the home or an ancestor of it, nor inside another user's
// home; the same holds for a folder that is no link. `name` is how the words
// call it ("Documents").
// The folders a search looks in, resolved, and why any was left out.
struct SearchRoots {
    std::vector<std::filesystem::path> folders;
    QStringList refused;
};

[[nodiscard]] GuardedPlace guardSearchRoot(
    const std::filesystem::path &root, const QString &name, const std::filesystem::path &home);

} // namespace tessoly::platform
