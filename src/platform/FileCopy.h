#pragma once

#include <QString>
#include <filesystem>

namespace tessoly::platform {

// Copies a file, a symlink or a whole folder tree to target, which must not
// exist yet. Keeps file modes, owners (where the process may set them),
// access and modification times, extended attributes and ACLs (where the
// target's file system takes them), symlinks as symlinks, hard links inside
// the tree, holes of sparse files, empty folders and every byte of every name. Data is flushed to the
// target's file system before success is reported. Returns an empty string
// on success, otherwise what failed in words; a partial copy is left for
// the caller to remove.
[[nodiscard]] QString copyItem(const std::filesystem::path &source, const std::filesystem::path &target);

} // namespace tessoly::platform
