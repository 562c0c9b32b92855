#pragma once

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QObject>
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

public:
    static constexpr qint64 kDefaultPurgeBytes = 53687091200; // 50 GiB

    struct LocalSnapshot {
        QString id;
        QString label;
        std::optional<QDateTime> createdAt;
        friend bool operator==(const LocalSnapshot &, const LocalSnapshot &) = default;
    };
    // What one thinning did: the space that came free and the snapshots left.
    struct ThinOutcome {
        qint64 reclaimedBytes = 0;
        std::vector<LocalSnapshot> snapshotsLeft;
    };

    MaintenanceService(std::filesystem::path home, const platform::VolumeInfo &volumes, platform::ProcessRunner &processes,
                       std::optional<std::filesystem::path> snapshotTool, QObject *parent = nullptr);

    QCoro::Task<std::vector<LocalSnapshot>> listSnapshots();
    QCoro::Task<ThinOutcome> reclaim(qint64 purgeBytes = kDefaultPurgeBytes);
    [[nodiscard]] qint64 currentFreeBytes() const;
    // Available for important use minus plainly available, never below 0.
    [[nodiscard]] qint64 purgeableBytes(const std::filesystem::path &path) const;
    [[nodiscard]] qint64 purgeableBytesAtHome() const { return purgeableBytes(m_home); }

    // The snapshot tool's listing read into snapshots, in order.
    [[nodiscard]] static std::vector<LocalSnapshot> parseListing(const QString &output);

private:
    QCoro::Task<QString> runTool(QStringList arguments);

    std::filesystem::path m_home;
    const platform::VolumeInfo &m_volumes;
    platform::ProcessRunner &m_processes;
    std::optional<std::filesystem::path> m_snapshotTool;
};

} // namespace tessoly
