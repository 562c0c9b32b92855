#pragma once

#include "cleaning/CleanupCatalogue.h"
#include "history/CleanupHistoryEntry.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>
#include <QVariantMap>
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

// Measures catalogue folders and empties them. The folder itself never
// goes: each visible entry directly inside it goes on its own, to the Trash
// unless the caller asks for deletion. One clean is one log entry.
class CleanupService : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 lastReclaimedBytes READ lastReclaimedBytes NOTIFY lastReclaimedBytesChanged)
    // Words for what the last clean couldn't do (empty when it did it all).
    Q_PROPERTY(QString lastCleanNotice READ lastCleanNotice NOTIFY lastReclaimedBytesChanged)
    Q_PROPERTY(bool isMeasuring READ isMeasuring NOTIFY isMeasuringChanged)
    // Changes whenever a state is stored, for screens that read stateOf().
    Q_PROPERTY(int statesRevision READ statesRevision NOTIFY statesChanged)

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
    // What the last clean did beyond its total, for callers that owe the
    // person words: the log entry (null when nothing was logged), why the
    // log couldn't record it, and what stayed in place.
    struct CleanReport {
        QUuid entryId;
        QString logError;
        std::vector<LeftBehind> leftBehind;
        // Bytes that went to a Trash on their own file system (a cache on
        // tmpfs or another disk): they free that file system only when its
        // Trash is emptied.
        qint64 trashedElsewhereBytes = 0;
    };

    CleanupService(std::filesystem::path home, platform::Trash &trash, CleanupHistoryStore &history,
                   QObject *parent = nullptr);

    [[nodiscard]] const QHash<QString, CleanupTargetState> &states() const { return m_states; }
    [[nodiscard]] qint64 lastReclaimedBytes() const { return m_lastReclaimedBytes; }
    [[nodiscard]] const CleanReport &lastCleanReport() const { return m_lastCleanReport; }
    [[nodiscard]] QString lastCleanNotice() const;
    [[nodiscard]] bool isMeasuring() const { return m_isMeasuring; }
    [[nodiscard]] int statesRevision() const { return m_statesRevision; }

    // Measures every target at once; states fill in as each one finishes.
    QCoro::Task<void> measure(std::vector<CleanupTarget> targets);
    // Empties the targets one after another and returns the bytes that went.
    QCoro::Task<qint64> clean(std::vector<CleanupTarget> targets, QString profileName, bool deleteImmediately);

    // For the screens: the same by target ids; clean reports through cleanFinished.
    Q_INVOKABLE void measureTargets(const QStringList &ids);
    Q_INVOKABLE void cleanTargets(const QStringList &ids, const QString &profileName, bool deleteImmediately);
    // {bytes, exists, childCount, measured}
    Q_INVOKABLE [[nodiscard]] QVariantMap stateOf(const QString &id) const;
    // The folder a target names on this system, for display ("~/.cache/google-chrome").
    Q_INVOKABLE [[nodiscard]] QString locationOf(const QString &id) const;

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

signals:
    void statesChanged();
    void stateStored(const QString &targetId);
    void lastReclaimedBytesChanged();
    void isMeasuringChanged();
    void measureFinished();
    void cleanFinished(qint64 bytes);

private:
    void store(const CleanupTargetState &state);
    QCoro::Task<void> measureAndReport(std::vector<CleanupTarget> targets);
    QCoro::Task<void> cleanAndReport(std::vector<CleanupTarget> targets, QString profileName, bool deleteImmediately);

    std::filesystem::path m_home;
    platform::Trash &m_trash;
    CleanupHistoryStore &m_history;
    QHash<QString, CleanupTargetState> m_states;
    qint64 m_lastReclaimedBytes = 0;
    CleanReport m_lastCleanReport;
    bool m_isMeasuring = false;
    int m_statesRevision = 0;
};

// The targets named by ids, in the order given; unknown ids are left out.
[[nodiscard]] std::vector<CleanupTarget> targetsWithIds(const QStringList &ids);

} // namespace tessoly
