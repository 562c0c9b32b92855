#pragma once

#include "TestSupport.h"
#include "history/CleanupHistoryStore.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/FolderMover.h"
#include "moves/MoveFileOperations.h"
#include "platform/Prompter.h"
#include "platform/Revealer.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/JsonDefaultsStore.h"
#include "platform/linux/LinuxPlatform.h"

#include <deque>
#include <unistd.h>

// Skips a test that needs loop-mounted drives where mounting isn't permitted.
#define SKIP_UNLESS_MOUNTABLE()                                                                                        \
    if (!::tessoly::test::canMount())                                                                                  \
    GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root"

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

    QCoro::Task<std::optional<std::filesystem::path>> chooseFolder(platform::OpenPanelRequest request) override
    {
        panels.push_back(request);
        const std::optional<std::filesystem::path> answer = folders.empty() ? std::nullopt : folders.front();
        if (!folders.empty())
            folders.pop_front();
        co_return answer;
    }
    // Unscripted alerts take the last button.
    QCoro::Task<int> alert(platform::AlertRequest request) override
    {
        alerts.push_back(request);
        const int answer = buttons.empty() ? static_cast<int>(request.buttons.size()) - 1 : buttons.front();
        if (!buttons.empty())
            buttons.pop_front();
        co_return answer;
    }
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
    using Path = std::filesystem::path;
    template <typename T>
    using Hook = std::function<std::optional<T>(const Path &)>; // nullopt: the real operation

    std::function<QString(const Path &, const Path &)> onCopy, onMove, onSymlink;
    std::function<QString(const Path &)> onRemove;
    Hook<platform::TrashOutcome> onTrash;
    Hook<qint64> onFreeSpace, onSize;

    QString copyItem(const Path &from, const Path &to) override { return onCopy ? onCopy(from, to) : realCopy(from, to); }
    QString moveItem(const Path &from, const Path &to) override
    {
        return onMove ? onMove(from, to) : MoveFileOperations::moveItem(from, to);
    }
    QString removeItem(const Path &path) override { return onRemove ? onRemove(path) : realRemove(path); }
    platform::TrashOutcome trashItem(const Path &path, const platform::Trash::BeforeMove &beforeMove) override
    {
        const std::optional<platform::TrashOutcome> outcome = onTrash ? onTrash(path) : std::nullopt;
        return outcome ? *outcome : realTrash(path, beforeMove);
    }
    QString createSymbolicLink(const Path &at, const Path &target) override
    {
        return onSymlink ? onSymlink(at, target) : MoveFileOperations::createSymbolicLink(at, target);
    }
    std::optional<qint64> freeSpace(const Path &path) const override
    {
        return onFreeSpace ? onFreeSpace(path) : MoveFileOperations::freeSpace(path);
    }
    qint64 allocatedSize(const Path &path) const override
    {
        const std::optional<qint64> size = onSize ? onSize(path) : std::nullopt;
        return size ? *size : MoveFileOperations::allocatedSize(path);
    }

    // The real operations, for hooks that add to them.
    QString realCopy(const Path &from, const Path &to) { return MoveFileOperations::copyItem(from, to); }
    QString realRemove(const Path &path) { return MoveFileOperations::removeItem(path); }
    platform::TrashOutcome realTrash(const Path &path, const platform::Trash::BeforeMove &beforeMove = {})
    {
        return MoveFileOperations::trashItem(path, beforeMove);
    }
};

// A home with its Trash and log, file operations a test may hook (none set:
// the real ones) and the mover on them.
struct MoveHome {
    TempHome home;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
    platform::StatvfsVolumeInfo volumes;
    HookedOperations operations{trash, volumes};
    CleanupHistoryStore history{home.historyFile(), trash};
    FolderMover mover{operations, history, home.path()};
    std::vector<MoveProgress> events; // of the last move

    // Moves `source` into the folder `storage`; the last event.
    MoveProgress move(const std::filesystem::path &source, const std::filesystem::path &storage,
        bool deleteImmediately = false);
    // Brings back the newest moved item, with the folder `granted` granted.
    std::optional<BringBackError> bringBackNewest(const std::filesystem::path &granted);
};

// Whether a name is the hidden staging name of an original during a move.
[[nodiscard]] bool isPendingName(const std::filesystem::path &path);
// Entries of a folder whose names are staging names.
[[nodiscard]] std::vector<std::filesystem::path> pendingEntries(const std::filesystem::path &folder);

// A tree with nested and empty folders, relative, absolute and dangling
// symlinks, a hard link pair, odd modes, old times and a non-UTF-8 name.
void buildRichTree(const std::filesystem::path &root);

} // namespace tessoly::test
