#include "cleaning/CleanupHistoryStore.h"

#include "cleaning/HistoryJson.h"
#include "platform/AtomicFile.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/LinuxLocations.h"

#include <cerrno>
#include <fcntl.h>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly {
namespace fs = std::filesystem;

namespace {

// An original place that is occupied again is never overwritten: the kernel
// refuses atomically where the file system supports it, else we look first.
bool moveWithoutReplacing(const fs::path &from, const fs::path &to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL)
        return false;
    struct stat st{};
    if (::lstat(to.c_str(), &st) == 0 || errno != ENOENT)
        return false;
    return ::rename(from.c_str(), to.c_str()) == 0;
}

} // namespace

CleanupHistoryStore &CleanupHistoryStore::shared()
{
    static platform::FreedesktopTrash trash(platform::LinuxLocations::dataHome() / "Trash", ::getuid());
    static CleanupHistoryStore store(platform::LinuxLocations().applicationSupport() / "history.json", trash);
    return store;
}

CleanupHistoryStore::CleanupHistoryStore(fs::path file, platform::Trash &trash, QObject *parent)
    : QObject(parent)
    , m_file(std::move(file))
    , m_trash(trash)
{
    load();
}

void CleanupHistoryStore::load()
{
    std::error_code ignored;
    fs::create_directories(m_file.parent_path(), ignored);
    const platform::FileContents contents = platform::readWholeFile(m_file);
    if (!contents.ok)
        return;
    if (auto decoded = decodeHistory(contents.data))
        m_entries = std::move(*decoded);
}

void CleanupHistoryStore::save()
{
    std::error_code ignored;
    fs::create_directories(m_file.parent_path(), ignored);
    // A failed write keeps the list in memory; the next change tries again.
    (void)platform::writeFileAtomically(m_file, encodeHistory(m_entries));
}

const CleanupHistoryEntry *CleanupHistoryStore::entry(const QUuid &id) const
{
    for (const CleanupHistoryEntry &candidate : m_entries) {
        if (candidate.id == id)
            return &candidate;
    }
    return nullptr;
}

void CleanupHistoryStore::append(CleanupHistoryEntry entry)
{
    m_entries.insert(m_entries.begin(), std::move(entry));
    if (m_entries.size() > maxEntries)
        m_entries.resize(maxEntries);
    save();
    emit entriesChanged();
}

CleanupHistoryStore::RestoreCounts CleanupHistoryStore::restore(const QUuid &entryId)
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const CleanupHistoryEntry &candidate) { return candidate.id == entryId; });
    if (found == m_entries.end())
        return {};

    CleanupHistoryEntry copy = *found;
    RestoreCounts counts;
    for (CleanupHistoryEntry::Item &item : copy.items) {
        if (!item.trashedPath) {
            ++counts.failed;
            continue;
        }
        const fs::path &from = *item.trashedPath;
        struct stat st{};
        if (::lstat(from.c_str(), &st) != 0) { // the Trash has been emptied
            ++counts.failed;
            continue;
        }
        if (!moveWithoutReplacing(from, item.originalPath)) {
            ++counts.failed;
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

    *found = std::move(copy);
    save();
    emit entriesChanged();
    return counts;
}

void CleanupHistoryStore::removeItem(const QUuid &itemId)
{
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        auto &items = entry->items;
        const auto item = std::find_if(items.begin(), items.end(),
                                       [&](const CleanupHistoryEntry::Item &candidate) { return candidate.id == itemId; });
        if (item == items.end())
            continue;
        items.erase(item);
        if (items.empty())
            m_entries.erase(entry);
        save();
        emit entriesChanged();
        return;
    }
}

QString restoreMessage(CleanupHistoryStore::RestoreCounts counts)
{
    if (counts.failed == 0)
        return QStringLiteral("Restored %1 %2 from Trash.").arg(counts.restored).arg(counts.restored == 1 ? "item" : "items");
    if (counts.restored == 0)
        return QStringLiteral("Couldn't restore — items may have been emptied from Trash or the original locations now exist.");
    return QStringLiteral("Restored %1, couldn't restore %2 (originals may now exist).").arg(counts.restored).arg(counts.failed);
}

} // namespace tessoly
