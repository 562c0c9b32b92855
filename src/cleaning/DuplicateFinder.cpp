#include "cleaning/DuplicateFinder.h"

#include "history/CleanupHistoryEntry.h"
#include "history/CleanupHistoryStore.h"
#include "history/HistoryJournal.h"
#include "core/QueuedProgress.h"
#include "platform/FileWalker.h"
#include "platform/Locations.h"
#include "platform/PathText.h"
#include "platform/PlaceGuard.h"
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
    std::vector<char> fromCache;                      // by candidate (bytes: written from several threads)
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
    hashes.fromCache.resize(candidates.size());
    std::atomic<std::size_t> next{0};
    std::atomic<qint64> fromCache{0};
    std::mutex progressLock;
    std::size_t done = 0;
    const QString total = QString::number(candidates.size());
    auto work = [&] {
        for (std::size_t i = next++; i < candidates.size(); i = next++) {
            if (std::optional<Sha256Digest> known = cache.find(candidates[i].identity)) {
                hashes.digests[i] = known;
                hashes.fromCache[i] = 1;
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

// Whether the file at the path is still one of the group: the very file the
// scan hashed, or a file whose bytes hash to the group's digest now. A digest
// only the cache vouched for is never taken on trust.
bool stillInGroup(const DuplicateGroup &group, std::size_t index)
{
    const std::optional<FileIdentity> now = fileIdentity(group.files[index]);
    if (!now || now->size != group.bytes)
        return false;
    if (*now == group.identities[index] && !group.digestFromCache[index])
        return true;
    const std::optional<Sha256Digest> digest = sha256OfFile(group.files[index]);
    return digest && *digest == group.digest && fileIdentity(group.files[index]) == now;
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

platform::SearchRoots DuplicateFinder::roots(const fs::path &home)
{
    platform::SearchRoots roots;
    std::vector<fs::path> found;
    for (const char *name : {"Downloads", "Documents", "Desktop", "Movies", "Music", "Pictures"}) {
        // A personal folder that is a link counts where it leads, if that is the user's own.
        const platform::GuardedPlace guarded =
            platform::guardSearchRoot(platform::locate(name, home), QString::fromLatin1(name), home);
        if (!guarded.allowed())
            roots.refused << guarded.refusal;
        else if (!guarded.resolved.empty())
            found.push_back(guarded.resolved);
    }
    // One folder named twice is searched once.
    for (const fs::path &root : found) {
        const bool inside = std::any_of(found.begin(), found.end(), [&root](const fs::path &other) { return liesInside(root, other); });
        if (!inside && std::find(roots.folders.begin(), roots.folders.end(), root) == roots.folders.end())
            roots.folders.push_back(root);
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
    const platform::SearchRoots searched = roots(m_home);
    m_refusedFolders = searched.refused;
    std::vector<Candidate> candidates = co_await QtConcurrent::run(&indexCandidates, searched.folders);
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
            groups.push_back(DuplicateGroup{key, candidates[i].identity.size, {}, {}, {}, *hashes.digests[i]});
        }
        DuplicateGroup &group = groups[it == byKey.constEnd() ? groups.size() - 1 : *it];
        group.files.push_back(candidates[i].path);
        group.identities.push_back(candidates[i].identity);
        group.digestFromCache.push_back(hashes.fromCache[i] != 0);
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
    auto nothing = [](QString problem) { return KeepOutcome{0, 0, problem, problem}; };
    if (group == m_groups.end())
        return nothing(QStringLiteral("That file isn't in this group any more."));
    const auto keptAt = std::find(group->files.begin(), group->files.end(), file);
    if (keptAt == group->files.end())
        return nothing(QStringLiteral("That file isn't in this group any more."));
    if (!stillInGroup(*group, std::size_t(keptAt - group->files.begin()))) {
        return nothing(QStringLiteral("%1 is no longer there as it was found, so nothing was trashed. Scan again.")
                           .arg(displayPath(file.filename())));
    }
    const QString name = displayPath(file.filename());
    CleanupHistoryEntry header = CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::BigFileTrash,
                                                           QStringLiteral("Trashed duplicates of %1").arg(name), 0, {});
    const std::unique_ptr<HistoryJournal> journal = m_history.beginJournal(header);
    std::vector<CleanupHistoryEntry::Item> items;
    DuplicateGroup remaining = *group;
    remaining.files.clear();
    remaining.identities.clear();
    remaining.digestFromCache.clear();
    int changed = 0;
    int failed = 0;
    for (std::size_t i = 0; i < group->files.size(); ++i) {
        const fs::path &other = group->files[i];
        const auto stay = [&] {
            remaining.files.push_back(other);
            remaining.identities.push_back(group->identities[i]);
            remaining.digestFromCache.push_back(group->digestFromCache[i]);
        };
        if (other == file) {
            stay();
            continue;
        }
        // A copy that changed since the scan is no copy any more: it stays.
        if (!stillInGroup(*group, i)) {
            ++changed;
            continue; // not listed again: a new scan will judge it
        }
        const platform::TrashOutcome outcome =
            m_trash.trashItem(other, journal->beforeTrashing(other));
        if (!outcome.ok()) {
            ++failed;
            stay();
            continue;
        }
        CleanupHistoryEntry::Item item;
        item.originalPath = other;
        if (!outcome.trashedPath.empty())
            item.trashedPath = outcome.trashedPath;
        item.bytes = group->bytes;
        journal->went(item);
        items.push_back(std::move(item));
    }
    const int trashed = int(items.size());
    QString logError;
    if (trashed > 0) {
        header.summary = QStringLiteral("Trashed %1 duplicate%2 of %3").arg(trashed).arg(trashed == 1 ? "" : "s").arg(name);
        header.bytesReclaimed = group->bytes * trashed;
        header.items = std::move(items);
        logError = m_history.append(std::move(header));
    }
    if (logError.isEmpty())
        journal->finish();
    const bool emptied = remaining.files.size() < 2;
    *group = std::move(remaining);
    if (emptied)
        m_groups.erase(group);
    recomputeTotal();
    emit groupsChanged();

    KeepOutcome outcome;
    outcome.trashed = trashed;
    outcome.stayed = changed + failed;
    QStringList words;
    if (outcome.stayed == 0)
        words << QStringLiteral("Kept %1, trashed the rest.").arg(name);
    else
        words << QStringLiteral("Kept %1, trashed %2 of %3 other copies.").arg(name).arg(trashed).arg(trashed + outcome.stayed);
    if (changed > 0)
        words << QStringLiteral("%1 changed or vanished since the scan, so %2 left alone.")
                     .arg(changed == 1 ? QStringLiteral("One copy") : QStringLiteral("%1 copies").arg(changed),
                          changed == 1 ? QStringLiteral("it was") : QStringLiteral("they were"));
    if (failed > 0)
        words << QStringLiteral("%1 couldn't be moved to the Trash and %2 still in place.")
                     .arg(failed == 1 ? QStringLiteral("One copy") : QStringLiteral("%1 copies").arg(failed),
                          failed == 1 ? QStringLiteral("is") : QStringLiteral("are"));
    if (!logError.isEmpty())
        outcome.problem = QStringLiteral("The copies are in the Trash, but the log couldn't record it: %1").arg(logError);
    else if (trashed == 0)
        outcome.problem = QStringLiteral("Nothing was trashed.");
    if (!outcome.problem.isEmpty() && !(trashed == 0 && outcome.stayed > 0))
        words << outcome.problem;
    outcome.words = words.join(u' ');
    return outcome;
}

QString DuplicateFinder::keepFile(const QString &groupId, const QString &path)
{
    return keep(groupId, textToPath(path)).words;
}

} // namespace tessoly
