#pragma once

#include "core/ByteFormat.h"
#include "recommendations/Recommendation.h"

#include <QCoroTask>
#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QVariantList>
#include <chrono>
#include <filesystem>
#include <optional>
#include <vector>

namespace tessoly {
namespace platform {
struct Platform;
}
class CleanupHistoryStore;
class CleanupService;
class DiskForecast;
class DiskScanner;
class ExternalDestinationStore;
class ExternalDriveManager;
class MaintenanceService;
class MoveFileOperations;
class MoveSuggestions;
struct MoveProgress;

// Smart Scan: four detectors (caches to clean, folders to move, local
// snapshots, the disk forecast) run side by side and become one ranked list
// of cards, each with its size, risk, words and action. Applying a card
// cleans, thins or moves, tells the result on the card and in a toast, and
// brings the other cards up to date. Nothing of it is persisted.
class SmartScanService : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList visibleRecommendations READ visibleRecommendationList NOTIFY recommendationsChanged)
    Q_PROPERTY(QVariantList skippedRecommendations READ skippedRecommendationList NOTIFY recommendationsChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(QString scanProgress READ scanProgress NOTIFY scanProgressChanged)
    Q_PROPERTY(bool hasScanned READ hasScanned NOTIFY hasScannedChanged)
    Q_PROPERTY(QDateTime lastScanCompletedAt READ lastScanCompletedAt NOTIFY hasScannedChanged)
    Q_PROPERTY(qint64 totalReclaimedThisSession READ totalReclaimedThisSession NOTIFY totalsChanged)
    Q_PROPERTY(qint64 totalPendingInTrash READ totalPendingInTrash NOTIFY totalsChanged)
    // {id, title, success}, empty when there is no toast.
    Q_PROPERTY(QVariantMap lastToast READ lastToastMap NOTIFY lastToastChanged)
    // id -> {state: "running"|"succeeded"|"failed", text}
    Q_PROPERTY(QVariantMap applyStatuses READ applyStatusMap NOTIFY applyStatusesChanged)

public:
    struct ApplyStatus {
        enum class State { Running, Succeeded, Failed };
        State state = State::Running;
        QString text;
        friend bool operator==(const ApplyStatus &, const ApplyStatus &) = default;
    };
    struct Toast {
        QUuid id;
        QString title;
        bool success = true;
    };
    // The services it shares with the rest of the program.
    struct Shared {
        DiskScanner &scanner;
        ExternalDriveManager &drives;
        DiskForecast &forecast;
        ExternalDestinationStore &destinations;
        MoveFileOperations &moveOperations;
        CleanupHistoryStore &history;
        CleanupService &cleanup;
        MaintenanceService &maintenance;
    };

    static constexpr qint64 cleanCardMinimumBytes = bytesPerGiB; // strictly more than this

    SmartScanService(platform::Platform &platform, Shared shared, QObject *parent = nullptr);
    ~SmartScanService() override;

    [[nodiscard]] const std::vector<Recommendation> &recommendations() const { return m_recommendations; }
    [[nodiscard]] std::vector<Recommendation> visibleRecommendations() const;
    [[nodiscard]] std::vector<Recommendation> skippedRecommendations() const;
    [[nodiscard]] QVariantList visibleRecommendationList() const;
    [[nodiscard]] QVariantList skippedRecommendationList() const;
    [[nodiscard]] bool isScanning() const { return m_isScanning; }
    [[nodiscard]] QString scanProgress() const { return m_scanProgress; }
    [[nodiscard]] bool hasScanned() const { return m_hasScanned; }
    [[nodiscard]] QDateTime lastScanCompletedAt() const { return m_lastScanCompletedAt.value_or(QDateTime()); }
    [[nodiscard]] const QSet<QUuid> &appliedIds() const { return m_appliedIds; }
    [[nodiscard]] const QSet<QUuid> &skippedIds() const { return m_skippedIds; }
    [[nodiscard]] qint64 totalReclaimedThisSession() const { return m_totalReclaimed; }
    [[nodiscard]] qint64 totalPendingInTrash() const { return m_totalPendingInTrash; }
    [[nodiscard]] const std::optional<Toast> &lastToast() const { return m_lastToast; }
    [[nodiscard]] QVariantMap lastToastMap() const;
    [[nodiscard]] const QHash<QUuid, ApplyStatus> &applyStatuses() const { return m_applyStatuses; }
    [[nodiscard]] std::optional<ApplyStatus> applyStatus(const QUuid &id) const;
    [[nodiscard]] QVariantMap applyStatusMap() const;
    // "running", "succeeded" or "failed".
    [[nodiscard]] static QString stateName(ApplyStatus::State state);

    QCoro::Task<void> scan();
    QCoro::Task<void> apply(Recommendation recommendation);
    void skip(const QUuid &id);

    // For the screens.
    Q_INVOKABLE void startScan();
    Q_INVOKABLE void applyById(const QString &id);
    Q_INVOKABLE void skipById(const QString &id);
    // Removes the toast if it is still the one named (the screen's 3.5 s timer).
    Q_INVOKABLE void clearToast(const QString &id);

    // Tests shorten the time a finished card stays readable.
    void setCompletionDelay(std::chrono::milliseconds delay) { m_completionDelay = delay; }

signals:
    void recommendationsChanged();
    void isScanningChanged();
    void scanProgressChanged();
    void hasScannedChanged();
    void totalsChanged();
    void lastToastChanged();
    void applyStatusesChanged();

private:

    QCoro::Task<std::vector<Recommendation>> detectCleanups();
    QCoro::Task<std::vector<Recommendation>> detectMoves();
    QCoro::Task<std::vector<Recommendation>> detectSnapshots();
    std::vector<Recommendation> detectForecast() const;

    QCoro::Task<ApplyResult> applyClean(CleanupTarget target);
    QCoro::Task<ApplyResult> applySnapshots();
    QCoro::Task<ApplyResult> applyMove(QUuid id, MoveAction action);
    void showMoveProgress(const QUuid &id, const QString &driveName, const MoveProgress &progress);
    QCoro::Task<void> completeRecommendation(Recommendation recommendation, QString text);
    QCoro::Task<void> reconcileAfterApply(Recommendation recommendation);

    void setScanProgress(const QString &text);
    void setStatus(const QUuid &id, ApplyStatus status);
    void clearStatus(const QUuid &id);
    void setToast(const QString &title, bool success);
    [[nodiscard]] bool deleteImmediately() const;

    platform::Platform &m_platform;
    Shared m_shared;
    std::filesystem::path m_home;
    MoveSuggestions *m_moveSuggestions = nullptr;

    std::vector<Recommendation> m_recommendations;
    bool m_isScanning = false;
    QString m_scanProgress;
    bool m_hasScanned = false;
    std::optional<QDateTime> m_lastScanCompletedAt;
    QSet<QUuid> m_appliedIds;
    QSet<QUuid> m_skippedIds;
    qint64 m_totalReclaimed = 0;
    qint64 m_totalPendingInTrash = 0;
    std::optional<Toast> m_lastToast;
    QHash<QUuid, ApplyStatus> m_applyStatuses;
    std::chrono::milliseconds m_completionDelay{1200};
};

} // namespace tessoly
