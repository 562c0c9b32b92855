#pragma once

#include "cleaning/CleanupHistoryEntry.h"

#include <QObject>
#include <filesystem>

namespace tessoly {
namespace platform {
class Trash;
}

// The one log of the process and its undo. Kept in memory for the screens
// and in "history.json", rewritten atomically after every change; at most
// 1000 entries, newest first.
class CleanupHistoryStore : public QObject {
    Q_OBJECT

public:
    static constexpr std::size_t maxEntries = 1000;

    struct RestoreCounts {
        int restored = 0;
        int failed = 0;
    };

    // The instance every writer and screen uses, made on first use in the
    // application support folder with the system Trash.
    [[nodiscard]] static CleanupHistoryStore &shared();

    // A store on a given file; loads it at once (missing or undecodable: empty).
    CleanupHistoryStore(std::filesystem::path file, platform::Trash &trash, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<CleanupHistoryEntry> &entries() const { return m_entries; }
    [[nodiscard]] const std::filesystem::path &file() const { return m_file; }
    [[nodiscard]] const CleanupHistoryEntry *entry(const QUuid &id) const;

    void append(CleanupHistoryEntry entry);
    // Moves the entry's items back from the Trash to their original paths,
    // never over something that is there now.
    RestoreCounts restore(const QUuid &entryId);
    void removeItem(const QUuid &itemId);

signals:
    void entriesChanged();

private:
    void load();
    void save();

    std::filesystem::path m_file;
    platform::Trash &m_trash;
    std::vector<CleanupHistoryEntry> m_entries;
};

// The History page's words for the outcome of a restore.
[[nodiscard]] QString restoreMessage(CleanupHistoryStore::RestoreCounts counts);

} // namespace tessoly
