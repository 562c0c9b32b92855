#pragma once

#include "moves/MoveTypes.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QUuid>
#include <QVariantList>
#include <filesystem>
#include <optional>
#include <vector>

namespace tessoly {

class CleanupHistoryStore;
class ExternalDestinationStore;
class MoveFileOperations;

// One item that was moved to an external drive, and how it stands now.
struct SymlinkRecord {
    enum class Status { Active, ExternalMissing, SymlinkMissing, Broken };
    QUuid id; // the history item's id
    std::filesystem::path originalPath;
    std::filesystem::path externalPath;
    qint64 bytes = 0;
    QDateTime movedAt;
    Status status = Status::Broken;
    friend bool operator==(const SymlinkRecord &, const SymlinkRecord &) = default;
};

[[nodiscard]] QString rawValue(SymlinkRecord::Status status);
[[nodiscard]] QString label(SymlinkRecord::Status status);
// What the user reads after a bring-back that worked.
[[nodiscard]] QString broughtBackMessage();

// Everything ever moved out, rebuilt from the history and the file system at
// each refresh, and the way back for each of it.
class SymlinkInventory : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList records READ recordList NOTIFY recordsChanged)
    Q_PROPERTY(bool isRefreshing READ isRefreshing NOTIFY isRefreshingChanged)
    Q_PROPERTY(qint64 totalBytes READ totalBytes NOTIFY recordsChanged)
    Q_PROPERTY(int activeCount READ activeCount NOTIFY recordsChanged)
    Q_PROPERTY(int attentionCount READ attentionCount NOTIFY recordsChanged)

public:
    // The records follow the history: a change to it (by any process) refreshes them.
    SymlinkInventory(CleanupHistoryStore &history, MoveFileOperations &operations,
                     const ExternalDestinationStore &destinations, std::filesystem::path home, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<SymlinkRecord> &records() const { return m_records; }
    [[nodiscard]] const SymlinkRecord *record(const QUuid &id) const;
    [[nodiscard]] QVariantList recordList() const;
    [[nodiscard]] bool isRefreshing() const { return m_isRefreshing; }
    [[nodiscard]] qint64 totalBytes() const;
    [[nodiscard]] int activeCount() const;
    [[nodiscard]] int attentionCount() const { return static_cast<int>(m_records.size()) - activeCount(); }

    Q_INVOKABLE void refresh();
    // Puts the moved item back in place of its symlink; nothing on success.
    QCoro::Task<std::optional<BringBackError>> bringBack(SymlinkRecord record);
    // For the screens: the bring-back of a listed record, answered by bringBackFinished.
    Q_INVOKABLE void startBringBack(const QString &recordId);
    // Takes a record out of the history for good (a broken one).
    Q_INVOKABLE void dismiss(const QString &recordId);

signals:
    void bringBackFinished(const QString &recordId, const QString &message, bool success);
    void recordsChanged();
    void isRefreshingChanged();

private:
    QCoro::Task<void> runBringBack(SymlinkRecord record);

    CleanupHistoryStore &m_history;
    MoveFileOperations &m_operations;
    const ExternalDestinationStore &m_destinations;
    std::filesystem::path m_home;
    std::vector<SymlinkRecord> m_records;
    bool m_isRefreshing = false;
};

} // namespace tessoly
