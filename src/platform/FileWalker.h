#pragma once

#include <QtGlobal>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tessoly::platform {

// One regular file met by a walk.
struct WalkedFile {
    std::size_t root = 0;          // index of the root it lies under
    const std::string &folder;     // the folder holding it
    std::string_view name;
    qint64 allocatedBytes = 0;     // blocks * 512 (data extents with WalkOptions::dataExtents)
    qint64 logicalSize = 0;        // only with WalkOptions::fileDetails
    qint64 modifiedSeconds = 0;    // only with WalkOptions::fileDetails
    quint64 device = 0;            // only with WalkOptions::fileDetails
    quint64 inode = 0;             // only with WalkOptions::fileDetails
    qint64 modifiedNanoseconds = 0; // whole time in ns since 1970; only with WalkOptions::fileDetails
    qint64 changedNanoseconds = 0;  // inode change time, likewise
};

struct WalkOptions {
    bool skipHidden = false;   // leave out entries whose name starts with "."
    bool skipPackages = false; // don't enter folders that are packages ("X.app", "Y.photoslibrary", ...)
    int maxDepth = -1;         // deepest folder listed, the root being 0; -1: no limit
    unsigned threads = 0;      // 0: one per core
    bool fileDetails = false;  // fill size, time and identity of each file for onFile
    bool foldersOnly = false;  // look at folders only: regular files are neither examined nor counted
    // Count each file's data instead of its blocks: the bytes of its data
    // extents, whole blocks, without the blocks the file system keeps for its
    // own bookkeeping (an extent tree) and without holes. Two copies of the
    // same data on file systems of one block size give the same number,
    // however fragmented either is. For comparing a copy with its original.
    bool dataExtents = false;
    // Asked of each folder before it is listed (from worker threads); true leaves it out.
    std::function<bool(const std::string &folder)> skipDescendants{};
    // Each regular file, from worker threads at the same time.
    std::function<void(const WalkedFile &)> onFile{};
};

struct WalkTotals {
    qint64 allocatedBytes = 0;
    qint64 files = 0;
    qint64 folders = 0;
};

// Walks each root (a folder, a file, or anything else) and returns the
// allocated bytes of the regular files under it. Symbolic links are never
// followed and count 0, folders' own blocks count 0, a hard link counts each
// time it is met, and what can't be read is skipped silently. Workers, one
// per core, share one queue of folders.
[[nodiscard]] std::vector<WalkTotals> walkTrees(const std::vector<std::filesystem::path> &roots,
                                                const WalkOptions &options = {});
[[nodiscard]] WalkTotals walkTree(const std::filesystem::path &root, const WalkOptions &options = {});

// A folder name with a package extension.
[[nodiscard]] bool isPackageName(std::string_view name);

// The visible entries directly in a folder (names not starting with "."), in
// listing order. Empty when the folder can't be listed.
[[nodiscard]] std::vector<std::filesystem::path> listVisibleEntries(const std::filesystem::path &folder);

} // namespace tessoly::platform
