#pragma once

#include <QByteArray>
#include <QString>
#include <filesystem>

namespace tessoly::platform {

// Replaces target with data so that a crash leaves either the old or the new
// file: a temporary file in the same folder is written, synced and checked,
// renamed over the target, and the folder is synced. Returns an empty string
// on success, otherwise what went wrong in words; the old file is then intact.
// Tessoly's own files are the user's alone (0600); a document the user saves
// somewhere gets the mode any new file of theirs gets (0666 less the umask).
enum class FileAccess { Private, UserDefault };
[[nodiscard]] QString writeFileAtomically(const std::filesystem::path &target, const QByteArray &data,
                                          FileAccess access = FileAccess::Private);

// Reads a whole file; ok=false when it can't be read (missing: nothing is
// there; folder: a folder stands at the path).
struct FileContents {
    bool ok = false;
    bool missing = false;
    bool folder = false;
    QByteArray data;
};
[[nodiscard]] FileContents readWholeFile(const std::filesystem::path &path);

// errno in words, for messages.
[[nodiscard]] QString errorText(int error);

} // namespace tessoly::platform
