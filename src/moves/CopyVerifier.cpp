#include "moves/CopyVerifier.h"

#include "platform/PathText.h"
#include "moves/MoveFileOperations.h"
#include "platform/FileWalker.h"

#include <algorithm>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/stat.h>

namespace tessoly {
namespace fs = std::filesystem;

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

VerificationReport verifyCopy(const fs::path &source, const fs::path &destination, MoveFileOperations &operations)
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
    // Pass 2: originals the copy lacks, also those born during the copy:
    // whatever the copy lacks would otherwise go away with the original.
    for (const auto &[relative, size] : originals) {
        if (copied.contains(relative) || operations.fileExists(destination / relative))
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
