#pragma once

#include "cleaning/CleanupCatalogue.h"
#include "history/CleanupHistoryEntry.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <functional>
#include <optional>
#include <filesystem>

namespace tessoly {
namespace platform {
class Trash;
}
class CleanupHistoryStore;
class HistoryJournal;

// The last measurement of one target.
struct CleanupTargetState {
    CleanupTarget target;
    qint64 bytes = 0;      // allocated bytes of the visible entries in the folder, deep
    bool exists = false;   // a symbolic link counts as existing
    qint64 childCount = 0; // visible entries directly in the folder
};

// Measures catalogue folders and empties them, and keeps nothing between
// calls: each call returns what it found or did. The folder itself never
// goes: each visible entry directly inside it goes on its own, to the Trash
// unless the caller asks for deletion. One clean is one log entry.
class CleanupService : public QObject {
    Q_OBJECT

public:
    // An entry that couldn't go, and why, in words.
    struct LeftBehind {
        std::filesystem::path path;
        QString reason;
    };
    struct TrashResult {
        qint64 totalBytes = 0;
        std::vector<CleanupHistoryEntry::Item> trashed; // one per entry that went, in listing order
        std::vector<LeftBehind> leftBehind;               // the entries that stayed where they were
    };
    // Everything one clean produced: the total, its log entry (none when
    // nothing went), why the log couldn't record it, and what stayed.
    struct CleanOutcome {
        qint64 totalBytes = 0;
        std::optional<CleanupHistoryEntry> entry;
        QString logError;
        std::vector<LeftBehind> leftBehind;
        // Bytes that went to a Trash on their own file system (a cache on
        // tmpfs or another disk): they free that file system only when its
        // Trash is emptied.
        qint64 trashedElsewhereBytes = 0;
        // Words for what the clean couldn't do (empty when it did it all).
        [[nodiscard]] QString notice() const;
    };
    // Told each measurement on the main thread as it finishes.
    using StateSink = std::function<void(const CleanupTargetState &)>;

    CleanupService(std::filesystem::path home, platform::Trash &trash, CleanupHistoryStore &history,
                   QObject *parent = nullptr);

    [[nodiscard]] const std::filesystem::path &home() const { return m_home; }

    // Measures every target at once; the states come back in the targets' order.
    QCoro::Task<std::vector<CleanupTargetState>> measure(std::vector<CleanupTarget> targets, StateSink onState = {});
    // Empties the targets one after another, measuring each before and after.
    QCoro::Task<CleanOutcome> clean(std::vector<CleanupTarget> targets, QString profileName, bool deleteImmediately,
                                    StateSink onState = {});

    // The blocking steps, run off the main thread.
    [[nodiscard]] static std::filesystem::path resolve(const CleanupTarget &target, const std::filesystem::path &home);
    // Whether a target stands for a list of places found now (the logs), files among them.
    [[nodiscard]] static bool isListOfPlaces(const CleanupTarget &target);
    // The folders (or, for logs, also files) a target stands for on this system.
    [[nodiscard]] static std::vector<std::filesystem::path> places(const CleanupTarget &target,
                                                                   const std::filesystem::path &home);
    [[nodiscard]] static CleanupTargetState measureTarget(const CleanupTarget &target, const std::filesystem::path &home);
    [[nodiscard]] static CleanupTargetState measurePlaces(const CleanupTarget &target,
                                                          const std::vector<std::filesystem::path> &places);
    // Empties a folder entry by entry (with wholeFiles, a file goes itself),
    // once the guard allows it; a refused place is left behind with the guard's words.
    [[nodiscard]] static TrashResult emptyPlace(const std::filesystem::path &place, bool wholeFiles,
                                                const std::filesystem::path &home,
                                                bool deleteImmediately, platform::Trash &trash,
                                                HistoryJournal *journal = nullptr);
    [[nodiscard]] static TrashResult disposeEntries(const std::vector<std::filesystem::path> &entries,
                                                    bool deleteImmediately, platform::Trash &trash,
                                                    HistoryJournal *journal = nullptr);

private:
    std::filesystem::path m_home;
    platform::Trash &m_trash;
    CleanupHistoryStore &m_history;
};

// The targets named by ids, in the order given; unknown ids are left out.
[[nodiscard]] std::vector<CleanupTarget> targetsWithIds(const QStringList &ids);

} // namespace tessoly
