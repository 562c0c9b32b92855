#pragma once

#include "platform/Trash.h"

#include <QString>
#include <filesystem>
#include <optional>

namespace tessoly {
namespace platform {
class VolumeInfo;
}

// The file operations of a move and a bring-back, each a seam where a test
// can make one step fail. Operations return an empty string on success and
// the platform's words otherwise. Several run on worker threads: overrides
// must be safe to call from any thread.
class MoveFileOperations {
public:
    MoveFileOperations(platform::Trash &trash, const platform::VolumeInfo &volumes);
    virtual ~MoveFileOperations() = default;
    MoveFileOperations(const MoveFileOperations &) = delete;
    MoveFileOperations &operator=(const MoveFileOperations &) = delete;

    // Something is at the path (a symlink counts, whatever it points to).
    [[nodiscard]] virtual bool fileExists(const std::filesystem::path &path) const;
    [[nodiscard]] virtual bool isSymbolicLink(const std::filesystem::path &path) const;
    [[nodiscard]] virtual QString copyItem(const std::filesystem::path &source, const std::filesystem::path &target);
    // A rename that never replaces what is at target.
    [[nodiscard]] virtual QString moveItem(const std::filesystem::path &source, const std::filesystem::path &target);
    [[nodiscard]] virtual QString removeItem(const std::filesystem::path &path);
    [[nodiscard]] virtual platform::TrashOutcome trashItem(const std::filesystem::path &path,
                                                           const platform::Trash::BeforeMove &beforeMove);
    [[nodiscard]] virtual QString createSymbolicLink(const std::filesystem::path &at, const std::filesystem::path &target);
    [[nodiscard]] virtual QString createDirectories(const std::filesystem::path &folder);
    // Free bytes of the volume holding path; nothing when it can't be read.
    [[nodiscard]] virtual std::optional<qint64> freeSpace(const std::filesystem::path &path) const;
    // Allocated bytes of the regular files of an item (a file: its own).
    [[nodiscard]] virtual qint64 allocatedSize(const std::filesystem::path &path) const;

private:
    platform::Trash &m_trash;
    const platform::VolumeInfo &m_volumes;
};

} // namespace tessoly
