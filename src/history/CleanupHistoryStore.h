#pragma once

#include "history/CleanupHistoryEntry.h"

#include <QObject>
#include <QStringList>
#include <filesystem>
#include <functional>
#include <memory>

namespace tessoly {
namespace platform {
class Trash;
}
class HistoryJournal;

// The one log and its undo, shared by every Tessoly process of the user.
// Kept in memory for the screens and in "history.json". Each change locks
// the file, re-reads it, applies itself to what is there now and replaces
// the file atomically, so entries written by other processes are kept; at
// most 1000 entries, newest first. A file Tessoly can't decode reads as an
// empty log, and its bytes are kept beside it before the next write.
class CleanupHistoryStore : public QObject {
    Q_OBJECT

public:
    static constexpr std::size_t maxEntries = 1000;

    struct RestoreCounts {
        int restored = 0;
        int failed = 0;
        // Why each failed item stayed, in words; and why the log couldn't
        // record the outcome, if it couldn't.
        QStringList problems;
        QString writeError;
    };

    // A store on a given file; loads it at once (missing or undecodable: empty).
    CleanupHistoryStore(std::filesystem::path file, platform::Trash &trash, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<CleanupHistoryEntry> &entries() const { return m_entries; }
    [[nodiscard]] const std::filesystem::path &file() const { return m_file; }
    [[nodiscard]] const CleanupHistoryEntry *entry(const QUuid &id) const;
    // True when the file held something that isn't a log Tessoly wrote.
    [[nodiscard]] bool fileWasUnreadable() const { return m_unreadable; }

    // Each change returns an empty string once it is on disk, else why not
    // in words; the change then stays in memory and is written with the next one.
    QString append(CleanupHistoryEntry entry);
    // Moves the entry's items back from the Trash to their original paths,
    // never over something that is there now and only from inside a Trash.
    RestoreCounts restore(const QUuid &entryId);
    QString removeItem(const QUuid &itemId);

    // A journal for an operation about to put items in the Trash: what it
    // notes survives a kill of this process, and the next store made on
    // this log (in any process) turns it into an entry. Append the entry
    // with the header's id, then finish the journal.
    [[nodiscard]] std::unique_ptr<HistoryJournal> beginJournal(const CleanupHistoryEntry &header) const;
    // Turns the journals of operations whose processes died into entries.
    void recoverInterrupted();

    // Follows changes other processes make to the file (the window does).
    void watchForChanges();
    // Reads the file again if it differs from what this store last saw.
    void reloadIfChanged();

signals:
    void entriesChanged();
    // The undecodable bytes of the file were kept at this path.
    void unreadableFileKept(const QString &path);

private:
    using Edit = std::function<void(std::vector<CleanupHistoryEntry> &)>;
    // Given the log as the file holds it now, does the change's work and
    // returns the edit that records it.
    using Plan = std::function<Edit(const std::vector<CleanupHistoryEntry> &)>;
    QString commit(const Plan &plan, bool workWithoutLock);
    void applyPending(std::vector<CleanupHistoryEntry> &list) const;

    std::filesystem::path m_file;
    platform::Trash &m_trash;
    std::vector<CleanupHistoryEntry> m_entries;
    std::vector<Edit> m_pending; // changes not yet on disk
    QByteArray m_lastBytes;      // the file as this store last read or wrote it
    bool m_unreadable = false;
};

// The History page's words for the outcome of a restore.
[[nodiscard]] QString restoreMessage(const CleanupHistoryStore::RestoreCounts &counts);

} // namespace tessoly
