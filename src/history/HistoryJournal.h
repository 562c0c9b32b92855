#pragma once

#include "history/CleanupHistoryEntry.h"
#include "platform/Trash.h"

#include <filesystem>
#include <memory>

namespace tessoly {

// The record an operation keeps on disk while it runs, so that a process
// killed at any moment leaves a log entry behind: one file per operation in
// a folder beside the log, holding the entry's header, each item's place in
// the Trash just before it moves there, and each item once it went. The file
// is locked while its operation lives; a file nobody locks is an interrupted
// operation, and `recoverJournals` turns it into an entry.
//
// Lines are appended without a sync: a killed process loses nothing the
// kernel was given. The operation appends its entry (with the same id) and
// then drops the journal.
class HistoryJournal {
public:
    // Starts a journal for the entry whose id, kind and summary are given; a
    // journal that can't be written is no journal (the operation still runs).
    HistoryJournal(const std::filesystem::path &folder, const CleanupHistoryEntry &header);
    ~HistoryJournal();
    HistoryJournal(const HistoryJournal &) = delete;
    HistoryJournal &operator=(const HistoryJournal &) = delete;

    // Notes that the item known by `original` is about to go to the Trash
    // (from `from`, when it goes from another place: a move's original under
    // its staging name), and returns the hook that notes its place there
    // just before it moves.
    [[nodiscard]] platform::Trash::BeforeMove beforeTrashing(
        const std::filesystem::path &original, const std::filesystem::path &from = {});
    // The item went (to the Trash, or deleted outright).
    void went(const CleanupHistoryEntry::Item &item);
    // The operation's own entry is in the log: the journal goes.
    void finish();

    // The folder beside a log file.
    [[nodiscard]] static std::filesystem::path folderFor(const std::filesystem::path &logFile);

private:
    void writeLine(char kind, const CleanupHistoryEntry &entry);

    std::filesystem::path m_file;
    CleanupHistoryEntry m_header; // each line is a whole entry: the header with one item
    int m_fd = -1;
};

// Entries for the operations whose journals nobody holds (their processes
// died), each with every item that reached the Trash or was deleted; the
// journals are removed once `done` accepts their entry. Orphaned Trash
// records of items that never moved are dropped.
void recoverJournals(
    const std::filesystem::path &folder, platform::Trash &trash, const std::function<bool(CleanupHistoryEntry)> &done);

} // namespace tessoly
