#pragma once

#include "cleaning/ActionOutcomes.h"
#include "cleaning/CleanupCatalogue.h"

#include <QCoroTask>
#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QVariantList>
#include <QVariantMap>
#include <filesystem>
#include <optional>
#include <vector>

namespace tessoly {
namespace platform {
struct Platform;
}
class CleanupHistoryStore;
class CleanupService;
class MaintenanceService;

// One named part of the system's hidden "System Data" figure.
struct XRaySlice {
    enum class Action { Clean, Reveal, ThinSnapshots, Info };
    QString id;
    QString name;
    QString icon;
    QString tint; // a theme colour name
    qint64 bytes = 0;
    QString detail;
    QString explanation;
    Action action = Action::Info;
    std::vector<CleanupTarget> targets;  // Clean: what the button empties
    std::filesystem::path revealURL;     // Reveal: what the button shows
    QString badge;
};

[[nodiscard]] QString rawValue(XRaySlice::Action action);

// What a scan measured: bytes by key, and for the outer slices the bytes of
// other slices' places lying inside them (counted once, in the inner slice).
struct XRayMeasurements {
    QHash<QString, qint64> bytes;
    QHash<QString, qint64> nested;
};

// Decodes the hidden figure: measures a fixed list of places side by side,
// explains each, and offers one action per slice (clean, show, thin
// snapshots, or nothing). Nothing is kept between runs.
class SystemDataXRay : public QObject {
    Q_OBJECT
    // [{id, name, icon, tint, bytes, detail, explanation, action, badge, revealPath}], biggest first at scan
    Q_PROPERTY(QVariantList slices READ sliceList NOTIFY slicesChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(bool hasScanned READ hasScanned NOTIFY isScanningChanged)
    Q_PROPERTY(QDateTime lastScanAt READ lastScanAtOrNull NOTIFY isScanningChanged)
    Q_PROPERTY(qint64 purgeableBytes READ purgeableBytes NOTIFY slicesChanged)
    Q_PROPERTY(qint64 totalBytes READ totalBytes NOTIFY slicesChanged)
    Q_PROPERTY(QStringList workingSliceIds READ workingSliceIdList NOTIFY workingSliceIdsChanged)
    // id -> {message, success}
    Q_PROPERTY(QVariantMap results READ resultMap NOTIFY resultsChanged)

public:
    SystemDataXRay(platform::Platform &platform, CleanupService &cleanup, MaintenanceService &maintenance,
                   QObject *parent = nullptr);
    ~SystemDataXRay() override;

    [[nodiscard]] const std::vector<XRaySlice> &slices() const { return m_slices; }
    [[nodiscard]] QVariantList sliceList() const;
    [[nodiscard]] bool isScanning() const { return m_isScanning; }
    [[nodiscard]] bool hasScanned() const { return m_hasScanned; }
    [[nodiscard]] const std::optional<QDateTime> &lastScanAt() const { return m_lastScanAt; }
    [[nodiscard]] QDateTime lastScanAtOrNull() const { return m_lastScanAt.value_or(QDateTime()); }
    [[nodiscard]] qint64 purgeableBytes() const { return m_purgeableBytes; }
    [[nodiscard]] qint64 totalBytes() const;
    [[nodiscard]] const QSet<QString> &workingSliceIds() const { return m_outcomes.working(); }
    [[nodiscard]] QStringList workingSliceIdList() const;
    using Result = ActionOutcome;
    [[nodiscard]] std::optional<Result> result(const QString &sliceId) const;
    [[nodiscard]] QVariantMap resultMap() const;

    QCoro::Task<void> scan();
    QCoro::Task<void> perform(XRaySlice slice);
    Q_INVOKABLE void startScan();
    Q_INVOKABLE void performWithId(const QString &sliceId);

    // The blocking steps and the rules, for the scan and for tests.
    // The measured keys with the names of their places, in scan order.
    [[nodiscard]] static std::vector<std::pair<QString, const char *>> measuredKeys();
    [[nodiscard]] static XRayMeasurements measure(const std::filesystem::path &home);
    // Allocated bytes at every place a name stands for: links count 0.
    [[nodiscard]] static qint64 sizeOf(const char *name, const std::filesystem::path &home);
    [[nodiscard]] static std::vector<XRaySlice> buildSlices(const XRayMeasurements &measured, qint64 purgeableBytes,
                                                            int snapshotCount, const std::filesystem::path &home);

signals:
    void slicesChanged();
    void isScanningChanged();
    void workingSliceIdsChanged();
    void resultsChanged();

private:
    void setResult(const QString &id, QString message, bool success);
    void replaceBytes(const QString &id, qint64 bytes);

    std::filesystem::path m_home;
    platform::Platform &m_platform;
    CleanupService &m_cleanup;
    MaintenanceService &m_maintenance;
    std::vector<XRaySlice> m_slices;
    bool m_isScanning = false;
    bool m_hasScanned = false;
    std::optional<QDateTime> m_lastScanAt;
    qint64 m_purgeableBytes = 0;
    ActionOutcomes m_outcomes;
};

} // namespace tessoly
