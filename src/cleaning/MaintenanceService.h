#pragma once

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QVariantList>
#include <filesystem>
#include <optional>

namespace tessoly {
namespace platform {
class ProcessRunner;
class VolumeInfo;
} // namespace platform

// Local snapshots and the space the system holds "just in case": lists the
// snapshots through the snapshot tool, asks it to thin them and measures
// what came free. Where there is no such tool (Linux) the list is empty
// and thinning frees nothing.
class MaintenanceService : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList localSnapshots READ localSnapshotsForDisplay NOTIFY localSnapshotsChanged)
    Q_PROPERTY(int snapshotCount READ snapshotCount NOTIFY localSnapshotsChanged)
    Q_PROPERTY(bool isLoadingSnapshots READ isLoadingSnapshots NOTIFY isLoadingSnapshotsChanged)
    Q_PROPERTY(bool isReclaiming READ isReclaiming NOTIFY isReclaimingChanged)
    Q_PROPERTY(qint64 lastReclaimedBytes READ lastReclaimedBytes NOTIFY lastReclaimedBytesChanged)

public:
    static constexpr qint64 kDefaultPurgeBytes = 53687091200; // 50 GiB

    struct LocalSnapshot {
        QString id;
        QString label;
        std::optional<QDateTime> createdAt;
        friend bool operator==(const LocalSnapshot &, const LocalSnapshot &) = default;
    };

    MaintenanceService(std::filesystem::path home, const platform::VolumeInfo &volumes, platform::ProcessRunner &processes,
                       std::optional<std::filesystem::path> snapshotTool, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<LocalSnapshot> &localSnapshots() const { return m_localSnapshots; }
    [[nodiscard]] QVariantList localSnapshotsForDisplay() const;
    [[nodiscard]] int snapshotCount() const { return static_cast<int>(m_localSnapshots.size()); }
    [[nodiscard]] bool isLoadingSnapshots() const { return m_isLoadingSnapshots; }
    [[nodiscard]] bool isReclaiming() const { return m_isReclaiming; }
    [[nodiscard]] qint64 lastReclaimedBytes() const { return m_lastReclaimedBytes; }
    [[nodiscard]] const std::optional<QString> &lastError() const { return m_lastError; }

    QCoro::Task<void> refreshSnapshots();
    QCoro::Task<void> reclaim(qint64 purgeBytes = kDefaultPurgeBytes);
    [[nodiscard]] qint64 currentFreeBytes() const;
    // Available for important use minus plainly available, never below 0.
    [[nodiscard]] qint64 purgeableBytes(const std::filesystem::path &path) const;
    Q_INVOKABLE [[nodiscard]] qint64 purgeableBytesAtHome() const { return purgeableBytes(m_home); }

    // The snapshot tool's listing read into snapshots, in order.
    [[nodiscard]] static std::vector<LocalSnapshot> parseListing(const QString &output);

signals:
    void localSnapshotsChanged();
    void isLoadingSnapshotsChanged();
    void isReclaimingChanged();
    void lastReclaimedBytesChanged();

private:
    QCoro::Task<QString> runTool(QStringList arguments);
    void setReclaiming(bool reclaiming);

    std::filesystem::path m_home;
    const platform::VolumeInfo &m_volumes;
    platform::ProcessRunner &m_processes;
    std::optional<std::filesystem::path> m_snapshotTool;
    std::vector<LocalSnapshot> m_localSnapshots;
    bool m_isLoadingSnapshots = false;
    bool m_isReclaiming = false;
    qint64 m_lastReclaimedBytes = 0;
    std::optional<QString> m_lastError;
};

} // namespace tessoly
