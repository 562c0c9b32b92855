#include "moves/CopyVerifier.h"

#include "platform/PathText.h"
#include "moves/MoveFileOperations.h"
#include "platform/FileWalker.h"

#include <algorithm>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/stat.h>
#include <ctime>

namespace tessoly {
namespace fs = std::filesystem;

qint64 fileClockNowNs()
{
    // File times come from the kernel's coarse clock, which may lag the
    // precise one by a tick: a file written right after "now" must not look older.
    struct timespec now{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return qint64(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

namespace {

// Regular files under root by relative path, with their sizes in bytes.
std::map<std::string, qint64> regularFiles(const fs::path &root)
{
    std::map<std::string, qint64> files;
    std::mutex lock;
    const std::string &prefix = root.native();
    platform::WalkOptions options;
    options.fileDetails = true;
    options.onFile = [&](const platform::WalkedFile &file) {
        std::string relative = file.folder.substr(std::min(prefix.size(), file.folder.size()));
        if (!relative.empty() && relative.front() == '/')
            relative.erase(0, 1);
        if (!relative.empty())
            relative.push_back('/');
        relative.append(file.name);
        const std::lock_guard guard(lock);
        files.emplace(std::move(relative), file.logicalSize);
    };
    (void)platform::walkTree(root, options);
    return files;
}

// Changed or born at or after the moment: not held against the copy.
bool isNewerThan(const fs::path &file, qint64 momentNs)
{
    struct statx st{};
    if (::statx(AT_FDCWD, file.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_MTIME, &st) != 0)
        return false;
    const auto ns = [](const statx_timestamp &t) { return qint64(t.tv_sec) * 1'000'000'000 + t.tv_nsec; };
    if ((st.stx_mask & STATX_BTIME) != 0 && ns(st.stx_btime) >= momentNs)
        return true;
    return (st.stx_mask & STATX_MTIME) != 0 && ns(st.stx_mtime) >= momentNs;
}

bool isDirectory(const fs::path &path)
{
    struct stat st{};
    return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool isRegularFile(const fs::path &path)
{
    struct stat st{};
    return ::lstat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

} // namespace

VerificationReport verifyCopy(const fs::path &source, const fs::path &destination, qint64 startedAtNs,
                              MoveFileOperations &operations)
{
    VerificationReport report;
    // A single file has nothing below it to compare.
    if (!isDirectory(source))
        return report;

    const std::map<std::string, qint64> copied = isDirectory(destination) ? regularFiles(destination)
                                                                           : std::map<std::string, qint64>{};
    const std::map<std::string, qint64> originals = regularFiles(source);
    std::vector<std::string> suspects;

    // Pass 1: every file of the copy against its original.
    for (const auto &[relative, size] : copied) {
        const auto original = originals.find(relative);
        if (original == originals.end())
            continue; // gone from the source (or not a file there): nothing to compare
        ++report.checkedFiles;
        if (original->second != size)
            suspects.push_back(relative);
    }
    // Pass 2: originals the copy lacks, unless they are newer than the copy.
    for (const auto &[relative, size] : originals) {
        if (copied.contains(relative) || operations.fileExists(destination / relative))
            continue;
        if (isNewerThan(source / relative, startedAtNs))
            continue;
        suspects.push_back(relative);
    }
    // Pass 3: copy each suspect again.
    for (const std::string &relative : suspects) {
        const fs::path original = source / relative;
        const fs::path copy = destination / relative;
        if (!isRegularFile(original))
            continue; // gone or replaced since: neither repaired nor held against the copy
        (void)operations.removeItem(copy);
        if (operations.createDirectories(copy.parent_path()).isEmpty() && operations.copyItem(original, copy).isEmpty())
            ++report.repairedFiles;
        else
            report.mismatches.append(pathToText(relative));
    }
    report.ok = report.mismatches.isEmpty();
    return report;
}

} // namespace tessoly
