#include "history/CleanupHistoryStore.h"

#include "history/HistoryJournal.h"
#include "history/HistoryJson.h"
#include "platform/AtomicFile.h"
#include "platform/FolderWatcher.h"
#include "platform/PathText.h"
#include "platform/SharedFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly {
namespace fs = std::filesystem;

namespace {

// An original place that is occupied again is never overwritten: the kernel
// refuses atomically where the file system supports it, else we look first.
// Returns 0 or the errno of the failure.
int moveWithoutReplacing(const fs::path &from, const fs::path &to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL)
        return errno;
    struct stat st{};
    if (::lstat(to.c_str(), &st) == 0)
        return EEXIST;
    if (errno != ENOENT)
        return errno;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

struct LogFile {
    enum class State { Missing, Good, Undecodable, Folder, AsKnown };
    State state = State::Missing;
    QByteArray bytes;
    std::vector<CleanupHistoryEntry> entries;
};

// Reads and decodes the log; when it holds exactly the bytes this store
// last read or wrote (`known`), it isn't decoded again: AsKnown.
LogFile readLog(const fs::path &file, const QByteArray *known = nullptr)
{
    LogFile log;
    platform::FileContents contents = platform::readWholeFile(file);
    if (!contents.ok) {
        log.state = contents.missing ? LogFile::State::Missing
                                     : contents.folder ? LogFile::State::Folder : LogFile::State::Undecodable;
        return log;
    }
    log.bytes = std::move(contents.data);
    if (known != nullptr && !known->isEmpty() && log.bytes == *known) {
        log.state = LogFile::State::AsKnown;
        return log;
    }
    if (auto decoded = decodeHistory(log.bytes)) {
        log.entries = std::move(*decoded);
        log.state = LogFile::State::Good;
    } else {
        log.state = LogFile::State::Undecodable;
    }
    return log;
}

void trim(std::vector<CleanupHistoryEntry> &list)
{
    if (list.size() > CleanupHistoryStore::maxEntries)
        list.resize(CleanupHistoryStore::maxEntries);
}

QString restoreProblem(const CleanupHistoryEntry::Item &item, const QString &why)
{
    return QStringLiteral("%1: %2").arg(displayPath(item.originalPath), why);
}

} // namespace

CleanupHistoryStore::CleanupHistoryStore(fs::path file, platform::Trash &trash, QObject *parent)
    : QObject(parent)
    , m_file(std::move(file))
    , m_trash(trash)
{
    std::error_code ignored;
    fs::create_directories(m_file.parent_path(), ignored);
    LogFile log = readLog(m_file);
    m_entries = std::move(log.entries);
    m_lastBytes = std::move(log.bytes);
    m_unreadable = log.state == LogFile::State::Undecodable || log.state == LogFile::State::Folder;
    recoverInterrupted();
}

std::unique_ptr<HistoryJournal> CleanupHistoryStore::beginJournal(const CleanupHistoryEntry &header) const
{
    return std::make_unique<HistoryJournal>(HistoryJournal::folderFor(m_file), header);
}

void CleanupHistoryStore::recoverInterrupted()
{
    recoverJournals(HistoryJournal::folderFor(m_file), m_trash,
                    [this](CleanupHistoryEntry entry) { return append(std::move(entry)).isEmpty(); });
}

void CleanupHistoryStore::applyPending(std::vector<CleanupHistoryEntry> &list) const
{
    for (const Edit &edit : m_pending)
        edit(list);
    trim(list);
}

QString CleanupHistoryStore::commit(const Plan &plan, bool workWithoutLock)
{
    const platform::FileLock lock(m_file);
    if (!lock.held()) {
        if (!workWithoutLock)
            return lock.error();
        // The work is done already (the items are in the Trash): keep its
        // record in memory and write it with the next change that can lock.
        std::vector<CleanupHistoryEntry> list = m_entries;
        if (const Edit edit = plan(list)) {
            edit(list);
            trim(list);
            m_pending.push_back(edit);
        }
        m_entries = std::move(list);
        emit entriesChanged();
        return lock.error();
    }

    // Unchanged since this store last saw it, the file needs no decoding:
    // memory already holds it (with the changes not yet written).
    LogFile fresh = readLog(m_file, m_unreadable ? nullptr : &m_lastBytes);
    std::vector<CleanupHistoryEntry> list = fresh.state == LogFile::State::AsKnown ? m_entries : std::move(fresh.entries);
    applyPending(list);
    const Edit edit = plan(list);
    if (!edit && m_pending.empty()) {
        // Nothing to record: the file stays untouched; memory follows it.
        if (fresh.state != LogFile::State::Undecodable && fresh.state != LogFile::State::Folder) {
            m_lastBytes = fresh.bytes;
            m_entries = std::move(list);
            emit entriesChanged();
        }
        return {};
    }
    if (edit) {
        edit(list);
        trim(list);
    }

    QString error;
    if (fresh.state == LogFile::State::Folder) {
        error = QStringLiteral("%1 is a folder, not Tessoly's log, so nothing could be written there")
                    .arg(displayPath(m_file));
    } else if (fresh.state == LogFile::State::Undecodable) {
        // One bad byte must not cost the log: its bytes stay beside it.
        const fs::path kept = platform::keepAside(m_file, &error);
        if (!kept.empty())
            emit unreadableFileKept(displayPath(kept));
    }
    const QByteArray bytes = encodeHistory(list);
    if (error.isEmpty())
        error = platform::writeFileAtomically(m_file, bytes);
    if (error.isEmpty()) {
        m_pending.clear();
        m_lastBytes = bytes;
        m_unreadable = false;
    } else if (edit) {
        m_pending.push_back(edit);
    }
    m_entries = std::move(list);
    emit entriesChanged();
    return error;
}

const CleanupHistoryEntry *CleanupHistoryStore::entry(const QUuid &id) const
{
    for (const CleanupHistoryEntry &candidate : m_entries) {
        if (candidate.id == id)
            return &candidate;
    }
    return nullptr;
}

QString CleanupHistoryStore::append(CleanupHistoryEntry entry)
{
    return commit(
        [&](const std::vector<CleanupHistoryEntry> &) -> Edit {
            return [entry](std::vector<CleanupHistoryEntry> &list) {
                const bool present = std::any_of(list.begin(), list.end(),
                                                 [&](const CleanupHistoryEntry &e) { return e.id == entry.id; });
                if (!present)
                    list.insert(list.begin(), entry);
            };
        },
        true);
}

CleanupHistoryStore::RestoreCounts CleanupHistoryStore::restore(const QUuid &entryId)
{
    if (entry(entryId) == nullptr)
        return {};
    RestoreCounts counts;
    bool worked = false;
    const auto plan = [&](const std::vector<CleanupHistoryEntry> &list) -> Edit {
        worked = true;
        // The entry as the file holds it now: another process may have restored some of it.
        const auto found = std::find_if(list.begin(), list.end(),
                                        [&](const CleanupHistoryEntry &candidate) { return candidate.id == entryId; });
        if (found == list.end())
            return {};
        CleanupHistoryEntry copy = *found;
        for (CleanupHistoryEntry::Item &item : copy.items) {
            if (!item.trashedPath) {
                ++counts.failed;
                counts.problems << restoreProblem(item, QStringLiteral("it was deleted outright or restored before"));
                continue;
            }
            const fs::path &from = *item.trashedPath;
            struct stat st{};
            if (::lstat(from.c_str(), &st) != 0) { // the Trash has been emptied
                ++counts.failed;
                counts.problems << restoreProblem(item, QStringLiteral("it is no longer in the Trash"));
                continue;
            }
            // The log names what to move: it must be an item of a Trash
            // that remembers it came from this very place.
            if (const QString refused = m_trash.checkRestorable(from, item.originalPath); !refused.isEmpty()) {
                ++counts.failed;
                counts.problems << restoreProblem(item, refused);
                continue;
            }
            if (const int error = moveWithoutReplacing(from, item.originalPath); error != 0) {
                ++counts.failed;
                counts.problems << restoreProblem(
                    item, error == EEXIST || error == ENOTEMPTY ? QStringLiteral("something is at its original place now")
                        : error == ENOENT ? QStringLiteral("the folder it came from no longer exists")
                                          : platform::errorText(error));
                continue;
            }
            m_trash.forgetTrashedItem(from);
            item.trashedPath.reset();
            ++counts.restored;
        }
        if (counts.failed == 0)
            copy.status = CleanupHistoryEntry::Status::FullyRestored;
        else if (counts.restored > 0)
            copy.status = CleanupHistoryEntry::Status::PartiallyRestored;
        else
            copy.status = CleanupHistoryEntry::Status::Unrestorable;
        return [copy](std::vector<CleanupHistoryEntry> &entries) {
            for (CleanupHistoryEntry &candidate : entries) {
                if (candidate.id == copy.id)
                    candidate = copy;
            }
        };
    };
    counts.writeError = commit(plan, false);
    if (!worked) { // the log couldn't be locked: nothing was moved
        counts.failed = static_cast<int>(entry(entryId)->items.size());
        counts.problems << counts.writeError;
    }
    return counts;
}

QString CleanupHistoryStore::removeItem(const QUuid &itemId)
{
    return commit(
        [&](const std::vector<CleanupHistoryEntry> &list) -> Edit {
            const bool present = std::any_of(list.begin(), list.end(), [&](const CleanupHistoryEntry &entry) {
                return std::any_of(entry.items.begin(), entry.items.end(),
                                   [&](const CleanupHistoryEntry::Item &item) { return item.id == itemId; });
            });
            if (!present)
                return {};
            return [itemId](std::vector<CleanupHistoryEntry> &entries) {
                for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
                    auto &items = entry->items;
                    const auto item = std::find_if(items.begin(), items.end(), [&](const CleanupHistoryEntry::Item &candidate) {
                        return candidate.id == itemId;
                    });
                    if (item == items.end())
                        continue;
                    items.erase(item);
                    if (items.empty())
                        entries.erase(entry);
                    return;
                }
            };
        },
        true);
}

void CleanupHistoryStore::watchForChanges()
{
    auto *watcher = new platform::FolderWatcher(m_file.parent_path(), this);
    connect(watcher, &platform::FolderWatcher::changed, this, &CleanupHistoryStore::reloadIfChanged);
}

void CleanupHistoryStore::reloadIfChanged()
{
    LogFile log = readLog(m_file, m_unreadable ? nullptr : &m_lastBytes);
    if (log.state == LogFile::State::AsKnown)
        return;
    const bool unreadable = log.state == LogFile::State::Undecodable || log.state == LogFile::State::Folder;
    if (log.bytes == m_lastBytes && unreadable == m_unreadable)
        return;
    m_lastBytes = std::move(log.bytes);
    m_unreadable = unreadable;
    std::vector<CleanupHistoryEntry> list = std::move(log.entries);
    applyPending(list);
    m_entries = std::move(list);
    emit entriesChanged();
}

QString restoreMessage(const CleanupHistoryStore::RestoreCounts &counts)
{
    if (counts.failed == 0)
        return QStringLiteral("Restored %1 %2 from Trash.").arg(counts.restored).arg(counts.restored == 1 ? "item" : "items");
    if (counts.restored == 0)
        return QStringLiteral("Couldn't restore — items may have been emptied from Trash or the original locations now exist.");
    return QStringLiteral("Restored %1, couldn't restore %2 (originals may now exist).").arg(counts.restored).arg(counts.failed);
}

} // namespace tessoly
