#include "cleaning/DuplicateFinder.h"

#include "cleaning/CleanupHistoryEntry.h"
#include "cleaning/CleanupHistoryStore.h"
#include "cleaning/ContentHashes.h"
#include "core/QueuedProgress.h"
#include "platform/FileWalker.h"
#include "platform/Locations.h"
#include "platform/PathText.h"
#include "platform/Trash.h"

#include <QCoroFuture>
#include <QHash>
#include <QPointer>
#include <QtConcurrent>
#include <algorithm>
#include <atomic>
#include <mutex>
#include <openssl/crypto.h>
#include <sys/stat.h>
#include <thread>

namespace tessoly {
namespace fs = std::filesystem;
namespace {

struct Candidate {
    fs::path path;
    FileIdentity identity;
};

// Files of at least minBytes whose size another file shares, biggest first.
std::vector<Candidate> indexCandidates(const std::vector<fs::path> &roots)
{
    std::mutex lock;
    std::vector<Candidate> files;
    platform::WalkOptions options;
    options.skipHidden = true;
    options.skipPackages = true;
    options.fileDetails = true;
    options.onFile = [&](const platform::WalkedFile &file) {
        if (file.logicalSize < DuplicateFinder::minBytes)
            return;
        std::string path = file.folder;
        if (path.back() != '/')
            path.push_back('/');
        path.append(file.name);
        Candidate candidate{std::move(path), {file.device, file.inode, file.logicalSize, file.modifiedNanoseconds,
                                              file.changedNanoseconds}};
        const std::lock_guard<std::mutex> guard(lock);
        files.push_back(std::move(candidate));
    };
    (void)platform::walkTrees(roots, options);
    std::sort(files.begin(), files.end(), [](const Candidate &a, const Candidate &b) {
        return a.identity.size != b.identity.size ? a.identity.size > b.identity.size : a.path < b.path;
    });
    std::vector<Candidate> kept;
    for (std::size_t i = 0; i < files.size();) {
        std::size_t end = i + 1;
        while (end < files.size() && files[end].identity.size == files[i].identity.size)
            ++end;
        if (end - i >= 2)
            std::move(files.begin() + std::ptrdiff_t(i), files.begin() + std::ptrdiff_t(end), std::back_inserter(kept));
        i = end;
    }
    return kept;
}

struct Hashes {
    std::vector<std::optional<Sha256Digest>> digests; // by candidate
    DuplicateFinder::ScanStats stats;
};

// Hashes the candidates on one worker per core; digests the cache knows are
// taken from it. Progress goes out every progressEvery files, in order.
Hashes hashCandidates(const std::vector<Candidate> &candidates, const fs::path &cacheFile,
                      const std::function<void(const QString &)> &progress)
{
    ContentHashCache cache(cacheFile);
    cache.load();
    Hashes hashes;
    hashes.digests.resize(candidates.size());
    std::atomic<std::size_t> next{0};
    std::atomic<qint64> fromCache{0};
    std::mutex progressLock;
    std::size_t done = 0;
    const QString total = QString::number(candidates.size());
    auto work = [&] {
        for (std::size_t i = next++; i < candidates.size(); i = next++) {
            if (std::optional<Sha256Digest> known = cache.find(candidates[i].identity)) {
                hashes.digests[i] = known;
                ++fromCache;
            } else {
                hashes.digests[i] = sha256OfFile(candidates[i].path);
            }
            const std::lock_guard<std::mutex> guard(progressLock);
            if (++done % DuplicateFinder::progressEvery == 0)
                progress(QStringLiteral("Hashing… %1 / %2").arg(done).arg(total));
        }
    };
    // Workers of their own: the digest library keeps state per thread, which
    // goes with the thread rather than staying in a pooled one.
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    std::vector<std::thread> workers;
    for (unsigned i = 0; i < cores && i < candidates.size(); ++i)
        workers.emplace_back([&work] {
            work();
            OPENSSL_thread_stop();
        });
    for (std::thread &worker : workers)
        worker.join();

    for (std::size_t i = 0; i < candidates.size(); ++i)
        if (hashes.digests[i])
            cache.keep(candidates[i].identity, *hashes.digests[i]);
    (void)cache.save(); // a cache that can't be written only costs time next scan
    hashes.stats.candidates = qint64(candidates.size());
    hashes.stats.cachedFiles = fromCache.load();
    hashes.stats.hashedFiles = qint64(candidates.size()) - fromCache.load();
    return hashes;
}

// Is a regular file of this size at the path (never following a link)?
bool isFileOfSize(const fs::path &path, qint64 bytes)
{
    struct stat st{};
    return ::lstat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_size == bytes;
}

} // namespace

qint64 DuplicateGroup::wastedBytes() const
{
    return files.empty() ? 0 : bytes * qint64(files.size() - 1);
}

DuplicateFinder::DuplicateFinder(fs::path home, platform::Trash &trash, CleanupHistoryStore &history,
                                 fs::path hashCacheFile, QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
    , m_trash(trash)
    , m_history(history)
    , m_hashCacheFile(std::move(hashCacheFile))
{
}

QVariantList DuplicateFinder::groupList() const
{
    const QString home = displayPath(m_home);
    QVariantList list;
    for (const DuplicateGroup &group : m_groups) {
        QVariantList files;
        for (const fs::path &file : group.files)
            files.append(QVariantMap{{QStringLiteral("path"), pathToText(file)},
                                     {QStringLiteral("displayPath"), abbreviateHome(displayPath(file), home)},
                                     {QStringLiteral("name"), displayPath(file.filename())}});
        list.append(QVariantMap{{QStringLiteral("id"), group.id},
                                {QStringLiteral("bytes"), group.bytes},
                                {QStringLiteral("wastedBytes"), group.wastedBytes()},
                                {QStringLiteral("name"), group.files.empty() ? QString() : displayPath(group.files.front().filename())},
                                {QStringLiteral("files"), files}});
    }
    return list;
}

void DuplicateFinder::setProgress(const QString &text)
{
    m_scanProgress = text;
    emit scanProgressChanged();
}

void DuplicateFinder::recomputeTotal()
{
    m_totalReclaimable = 0;
    for (const DuplicateGroup &group : m_groups)
        m_totalReclaimable += group.wastedBytes();
}

std::vector<fs::path> DuplicateFinder::roots(const fs::path &home)
{
    std::vector<fs::path> found;
    for (const char *name : {"Downloads", "Documents", "Desktop", "Movies", "Music", "Pictures"}) {
        std::error_code error;
        // A personal folder that is a link counts where it leads; one folder named twice is searched once.
        const fs::path root = fs::canonical(platform::locate(name, home), error);
        if (error || !fs::is_directory(root, error))
            continue;
        found.push_back(root);
    }
    std::vector<fs::path> roots;
    for (const fs::path &root : found) {
        const bool inside = std::any_of(found.begin(), found.end(), [&root](const fs::path &other) { return liesInside(root, other); });
        if (!inside && std::find(roots.begin(), roots.end(), root) == roots.end())
            roots.push_back(root);
    }
    return roots;
}

void DuplicateFinder::startScan()
{
    (void)scan();
}

QCoro::Task<void> DuplicateFinder::scan()
{
    if (m_isScanning)
        co_return;
    m_isScanning = true;
    emit isScanningChanged();
    m_groups.clear();
    m_totalReclaimable = 0;
    emit groupsChanged();
    setProgress(QStringLiteral("Building file index…"));
    QPointer<DuplicateFinder> self(this);
    std::vector<Candidate> candidates = co_await QtConcurrent::run(&indexCandidates, roots(m_home));
    if (!self)
        co_return;
    setProgress(QStringLiteral("Found %1 candidate files. Hashing…").arg(candidates.size()));
    std::function<void(const QString &)> progress = queuedProgress(this, [this](const QString &text) {
        if (m_isScanning)
            setProgress(text);
    });
    const Hashes hashes = co_await QtConcurrent::run(&hashCandidates, candidates, m_hashCacheFile, std::move(progress));
    if (!self)
        co_return;

    std::vector<DuplicateGroup> groups;
    QHash<QString, std::size_t> byKey;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        if (!hashes.digests[i])
            continue; // couldn't be read: left out
        const QString key = QStringLiteral("%1-%2").arg(candidates[i].identity.size).arg(hexDigest(*hashes.digests[i]));
        const auto it = byKey.constFind(key);
        if (it == byKey.constEnd()) {
            byKey.insert(key, groups.size());
            groups.push_back(DuplicateGroup{key, candidates[i].identity.size, {candidates[i].path}});
        } else {
            groups[*it].files.push_back(candidates[i].path);
        }
    }
    std::erase_if(groups, [](const DuplicateGroup &group) { return group.files.size() < 2; });
    std::stable_sort(groups.begin(), groups.end(),
                     [](const DuplicateGroup &a, const DuplicateGroup &b) { return a.wastedBytes() > b.wastedBytes(); });
    m_stats = hashes.stats;
    m_groups = std::move(groups);
    recomputeTotal();
    emit groupsChanged();
    // Queued progress of the hashing may still be on its way; none may land after "Done".
    m_isScanning = false;
    setProgress(QStringLiteral("Done"));
    emit isScanningChanged();
}

DuplicateFinder::KeepOutcome DuplicateFinder::keep(const QString &groupId, const fs::path &file)
{
    const auto group = std::find_if(m_groups.begin(), m_groups.end(), [&](const DuplicateGroup &g) { return g.id == groupId; });
    auto nothing = [](QString problem) { return KeepOutcome{0, problem, problem}; };
    if (group == m_groups.end() || std::find(group->files.begin(), group->files.end(), file) == group->files.end())
        return nothing(QStringLiteral("That file isn't in this group any more."));
    if (!isFileOfSize(file, group->bytes)) {
        return nothing(QStringLiteral("%1 is no longer there as it was found, so nothing was trashed. Scan again.")
                           .arg(displayPath(file.filename())));
    }
    std::vector<CleanupHistoryEntry::Item> items;
    std::vector<fs::path> remaining;
    for (const fs::path &other : group->files) {
        // A copy that changed size since the scan is no copy any more: it stays.
        if (other == file || !isFileOfSize(other, group->bytes)) {
            remaining.push_back(other);
            continue;
        }
        const platform::TrashOutcome outcome = m_trash.trashItem(other);
        if (!outcome.ok()) {
            remaining.push_back(other);
            continue;
        }
        CleanupHistoryEntry::Item item;
        item.originalPath = other;
        if (!outcome.trashedPath.empty())
            item.trashedPath = outcome.trashedPath;
        item.bytes = group->bytes;
        items.push_back(std::move(item));
    }
    const int trashed = int(items.size());
    QString problem;
    if (trashed > 0) {
        const QString name = remaining.empty() ? QStringLiteral("file") : displayPath(remaining.front().filename());
        const QString summary = QStringLiteral("Trashed %1 duplicate%2 of %3").arg(trashed).arg(trashed == 1 ? "" : "s").arg(name);
        const QString logError = m_history.append(CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::BigFileTrash, summary,
                                                                            group->bytes * trashed, std::move(items)));
        if (!logError.isEmpty())
            problem = QStringLiteral("The copies are in the Trash, but the log couldn't record it: %1").arg(logError);
    }
    group->files = std::move(remaining);
    if (group->files.size() < 2)
        m_groups.erase(group);
    recomputeTotal();
    emit groupsChanged();
    QString words = QStringLiteral("Kept %1, trashed the rest.").arg(displayPath(file.filename()));
    if (!problem.isEmpty())
        words += u' ' + problem;
    return {trashed, problem, words};
}

QString DuplicateFinder::keepFile(const QString &groupId, const QString &path)
{
    return keep(groupId, textToPath(path)).words;
}

} // namespace tessoly
