#include "cleaning/NodeModulesSearch.h"

#include "platform/FileWalker.h"
#include "platform/Locations.h"
#include "platform/PathText.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <sys/stat.h>

namespace tessoly {
namespace fs = std::filesystem;
namespace {

bool isNodeModules(std::string_view folder)
{
    const auto slash = folder.rfind('/');
    return folder.substr(slash == std::string_view::npos ? 0 : slash + 1) == "node_modules";
}

} // namespace

QString NodeModulesFinding::id() const
{
    return pathToText(url);
}

platform::SearchRoots NodeModulesSearch::roots(const fs::path &home)
{
    platform::SearchRoots roots;
    for (const char *name : {"Documents", "Desktop", "Developer", "Projects", "dev", "code", "work"}) {
        // A root that is a link is followed when it leads to the user's own folder; nothing below it is.
        const platform::GuardedPlace guarded =
            platform::guardSearchRoot(platform::locate(name, home), QString::fromLatin1(name), home);
        if (!guarded.allowed())
            roots.refused << guarded.refusal;
        else if (!guarded.resolved.empty()
                 && std::find(roots.folders.begin(), roots.folders.end(), guarded.resolved) == roots.folders.end())
            roots.folders.push_back(guarded.resolved);
    }
    return roots;
}

QString NodeModulesSearch::refusalToRemove(const fs::path &folder, const fs::path &home)
{
    std::error_code error;
    const fs::path real = fs::canonical(folder, error);
    if (error == std::errc::no_such_file_or_directory)
        return {}; // gone: nothing to remove, and the removal says so
    const QString named = QStringLiteral("“%1”").arg(displayPath(folder));
    if (error || real.filename() != "node_modules")
        return QStringLiteral("%1 is no node_modules folder now, so it was left alone.").arg(named);
    const platform::SearchRoots searched = roots(home);
    if (std::none_of(searched.folders.begin(), searched.folders.end(), [&](const fs::path &root) { return liesInside(real, root); }))
        return QStringLiteral("%1 lies in none of your project folders, so it was left alone.").arg(named);
    return {};
}

std::vector<NodeModulesFinding> NodeModulesSearch::find(const fs::path &home)
{
    // Folders only: a find is noted and not entered, so nested ones are never seen.
    std::mutex lock;
    std::vector<fs::path> folders;
    platform::WalkOptions search;
    search.skipHidden = true;
    search.foldersOnly = true;
    search.maxDepth = maxDepth;
    search.skipDescendants = [&](const std::string &folder) {
        if (!isNodeModules(folder))
            return false;
        const std::lock_guard<std::mutex> guard(lock);
        folders.emplace_back(folder);
        return true;
    };
    (void)platform::walkTrees(roots(home).folders, search);

    std::vector<NodeModulesFinding> findings;
    const std::vector<platform::WalkTotals> sizes = platform::walkTrees(folders);
    for (std::size_t i = 0; i < folders.size(); ++i) {
        if (sizes[i].allocatedBytes <= minimumBytes)
            continue;
        const fs::path project = folders[i].parent_path();
        findings.push_back(NodeModulesFinding{folders[i], sizes[i].allocatedBytes, displayPath(project.filename()),
                                              projectLastUsed(project)});
    }
    std::stable_sort(findings.begin(), findings.end(),
                     [](const NodeModulesFinding &a, const NodeModulesFinding &b) { return a.bytes > b.bytes; });
    return findings;
}

std::optional<QDateTime> NodeModulesSearch::projectLastUsed(const fs::path &project)
{
    std::atomic<qint64> newest{-1};
    platform::WalkOptions walk;
    walk.skipHidden = true;
    walk.fileDetails = true;
    walk.maxDepth = activityDepth - 1; // folders listed down to depth 2: files down to depth 3
    walk.threads = 1;
    walk.skipDescendants = [](const std::string &folder) { return isNodeModules(folder); };
    walk.onFile = [&newest](const platform::WalkedFile &file) {
        qint64 seen = newest.load();
        while (file.modifiedSeconds > seen && !newest.compare_exchange_weak(seen, file.modifiedSeconds)) {
        }
    };
    (void)platform::walkTree(project, walk);
    if (newest.load() < 0)
        return std::nullopt;
    return QDateTime::fromSecsSinceEpoch(newest.load());
}

} // namespace tessoly
