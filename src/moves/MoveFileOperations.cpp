#include "moves/MoveFileOperations.h"

#include "platform/AtomicFile.h"
#include "platform/FileCopy.h"
#include "platform/FileWalker.h"
#include "platform/VolumeInfo.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly {
namespace fs = std::filesystem;

MoveFileOperations::MoveFileOperations(platform::Trash &trash, const platform::VolumeInfo &volumes)
    : m_trash(trash)
    , m_volumes(volumes)
{
}

bool MoveFileOperations::fileExists(const fs::path &path) const
{
    struct stat st{};
    return ::lstat(path.c_str(), &st) == 0;
}

bool MoveFileOperations::isSymbolicLink(const fs::path &path) const
{
    struct stat st{};
    return ::lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

QString MoveFileOperations::copyItem(const fs::path &source, const fs::path &target)
{
    return platform::copyItem(source, target);
}

QString MoveFileOperations::moveItem(const fs::path &source, const fs::path &target)
{
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) != 0)
        return platform::errorText(errno);
    return {};
}

QString MoveFileOperations::removeItem(const fs::path &path)
{
    std::error_code error;
    fs::remove_all(path, error);
    if (error)
        return platform::errorText(error.value());
    return {};
}

platform::TrashOutcome MoveFileOperations::trashItem(const fs::path &path, const platform::Trash::BeforeMove &beforeMove)
{
    return m_trash.trashItem(path, beforeMove);
}

QString MoveFileOperations::createSymbolicLink(const fs::path &at, const fs::path &target)
{
    if (::symlink(target.c_str(), at.c_str()) != 0)
        return platform::errorText(errno);
    return {};
}

QString MoveFileOperations::createDirectories(const fs::path &folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        return platform::errorText(error.value());
    return {};
}

std::optional<qint64> MoveFileOperations::freeSpace(const fs::path &path) const
{
    const std::optional<platform::VolumeAttributes> attributes = m_volumes.attributesOfFileSystem(path);
    if (!attributes)
        return std::nullopt;
    if (attributes->systemFreeSize)
        return attributes->systemFreeSize;
    return attributes->availableCapacity;
}

qint64 MoveFileOperations::allocatedSize(const fs::path &path) const
{
    // The data itself, so that a copy compares equal on a fragmented drive.
    platform::WalkOptions options;
    options.dataExtents = true;
    return platform::walkTree(path, options).allocatedBytes;
}

} // namespace tessoly
