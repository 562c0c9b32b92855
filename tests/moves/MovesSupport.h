#pragma once

#include "TestSupport.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/MoveFileOperations.h"
#include "moves/MoveTypes.h"
#include "platform/Prompter.h"
#include "platform/Revealer.h"
#include "platform/linux/JsonDefaultsStore.h"

#include <QStringList>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessoly::test {

// A folder under which a mount counts as an external drive (given to
// LinuxMountedVolumes or TESSOLY_EXTERNAL_ROOTS); removed at the end.
class ExternalRoot {
public:
    ExternalRoot();
    ~ExternalRoot();
    ExternalRoot(const ExternalRoot &) = delete;
    ExternalRoot &operator=(const ExternalRoot &) = delete;
    [[nodiscard]] const std::filesystem::path &path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// A real drive: an image file formatted with mkfs and loop-mounted at
// <root>/<name>. Unmounted (lazily if it is busy) and deleted at the end,
// also when the test failed half way.
class LoopDrive {
public:
    // fileSystem: "ext4", "ext4-1k" (ext4 with 1 KiB blocks), "vfat" or "exfat".
    LoopDrive(const std::filesystem::path &root, const std::string &name, const std::string &fileSystem, int megabytes,
        const std::string &label = {});
    ~LoopDrive();
    LoopDrive(const LoopDrive &) = delete;
    LoopDrive &operator=(const LoopDrive &) = delete;

    [[nodiscard]] bool ok() const { return m_mounted; }
    [[nodiscard]] const std::string &error() const { return m_error; }
    [[nodiscard]] const std::filesystem::path &mountPoint() const { return m_mountPoint; }

    bool unmount();
    bool mount(const std::string &options = {});
    bool remount(const std::string &options);
    // Unmounts, makes a new file system on the image and mounts it again at
    // the same place (a reformatted drive).
    bool reformat();

private:
    bool makeFileSystem();
    std::filesystem::path m_image;
    std::filesystem::path m_mountPoint;
    std::string m_fileSystem;
    std::string m_label;
    bool mountThroughFuse();

    bool m_mounted = false;
    std::string m_loopDevice; // attached by hand for a FUSE mount
    std::string m_error;
};

// A signature of a tree, one line per entry: relative path (non-UTF-8 bytes
// escaped), type, mode, size, mtime in nanoseconds, symlink target, content
// digest, and for hard links the first path of the group. Two trees with the
// same signature hold the same data, names, modes, times and links.
[[nodiscard]] std::string treeSignature(const std::filesystem::path &root);

// Sets a file's (or a link's own) modification time.
void setModified(const std::filesystem::path &path, qint64 secondsSinceEpoch, long nanoseconds = 0);

// A folder prompt and alerts answered from a script, all requests kept.
class ScriptedPrompter final : public platform::Prompter {
public:
    std::deque<std::optional<std::filesystem::path>> folders;
    std::deque<int> buttons;
    std::vector<platform::OpenPanelRequest> panels;
    std::vector<platform::AlertRequest> alerts;

    QCoro::Task<std::optional<std::filesystem::path>> chooseFolder(platform::OpenPanelRequest request) override;
    QCoro::Task<int> alert(platform::AlertRequest request) override;
};

class RecordingRevealer final : public platform::Revealer {
public:
    std::vector<std::filesystem::path> revealed;
    void reveal(const std::filesystem::path &item) override { revealed.push_back(item); }
};

// Write grants with one folder granted, as after "Allow" in the grant panel
// (the folder is made if needed).
struct GrantedDestinations {
    GrantedDestinations(const std::filesystem::path &defaultsFile, const std::filesystem::path &grantedFolder);
    platform::JsonDefaultsStore defaults;
    bool granted = false;
    ScriptedPrompter prompter;
    RecordingRevealer revealer;
    ExternalDestinationStore store{defaults, prompter, revealer};
};

// File operations whose steps a test can replace one by one; unset hooks
// run the real operation.
class HookedOperations : public MoveFileOperations {
public:
    using MoveFileOperations::MoveFileOperations;

    std::function<QString(const std::filesystem::path &, const std::filesystem::path &)> onCopy;
    std::function<QString(const std::filesystem::path &, const std::filesystem::path &)> onMove;
    std::function<QString(const std::filesystem::path &)> onRemove;
    std::function<std::optional<platform::TrashOutcome>(const std::filesystem::path &)> onTrash;
    std::function<QString(const std::filesystem::path &, const std::filesystem::path &)> onSymlink;
    std::function<std::optional<qint64>(const std::filesystem::path &)> onFreeSpace;
    std::function<std::optional<qint64>(const std::filesystem::path &)> onSize;

    QString copyItem(const std::filesystem::path &source, const std::filesystem::path &target) override;
    QString moveItem(const std::filesystem::path &source, const std::filesystem::path &target) override;
    QString removeItem(const std::filesystem::path &path) override;
    platform::TrashOutcome trashItem(const std::filesystem::path &path, const platform::Trash::BeforeMove &beforeMove) override;
    QString createSymbolicLink(const std::filesystem::path &at, const std::filesystem::path &target) override;
    std::optional<qint64> freeSpace(const std::filesystem::path &path) const override;
    qint64 allocatedSize(const std::filesystem::path &path) const override;

    // The real operations, for hooks that add to them.
    QString realCopy(const std::filesystem::path &source, const std::filesystem::path &target)
    {
        return MoveFileOperations::copyItem(source, target);
    }
    QString realRemove(const std::filesystem::path &path) { return MoveFileOperations::removeItem(path); }
    platform::TrashOutcome realTrash(const std::filesystem::path &path, const platform::Trash::BeforeMove &beforeMove = {})
    {
        return MoveFileOperations::trashItem(path, beforeMove);
    }
};

// Whether a name is the hidden staging name of an original during a move.
[[nodiscard]] bool isPendingName(const std::filesystem::path &path);
// Entries of a folder whose names are staging names.
[[nodiscard]] std::vector<std::filesystem::path> pendingEntries(const std::filesystem::path &folder);

// A tree with nested and empty folders, relative, absolute and dangling
// symlinks, a hard link pair, odd modes, old times and a non-UTF-8 name.
void buildRichTree(const std::filesystem::path &root);

} // namespace tessoly::test
