#pragma once

#include "core/ByteFormat.h"

#include <QCoro/QCoroTask>
#include <QObject>

namespace tessoly {
class DiskScanner;
class MaintenanceService;

// The Overview's card for space the system counts as available but still
// holds (local snapshots, purgeable data), with its "Reclaim now" action.
class HiddenSpaceCard : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 purgeableBytes READ purgeableBytes NOTIFY changed)
    Q_PROPERTY(bool isReclaiming READ isReclaiming NOTIFY changed)
    Q_PROPERTY(bool isShown READ isShown NOTIFY changed)
    Q_PROPERTY(QString detail READ detail NOTIFY changed)
    Q_PROPERTY(bool hasRun READ hasRun NOTIFY changed)
    Q_PROPERTY(qint64 beforeFree READ beforeFree NOTIFY changed)
    Q_PROPERTY(qint64 afterFree READ afterFree NOTIFY changed)

public:
    static constexpr qint64 kShowThreshold = bytesPerGiB;

    HiddenSpaceCard(MaintenanceService &maintenance, DiskScanner &scanner, QObject *parent = nullptr);

    [[nodiscard]] qint64 purgeableBytes() const { return m_purgeableBytes; }
    [[nodiscard]] bool isReclaiming() const { return m_isReclaiming; }
    [[nodiscard]] bool isShown() const;
    [[nodiscard]] QString detail() const;
    [[nodiscard]] bool hasRun() const { return m_beforeFree.has_value() && m_afterFree.has_value(); }
    [[nodiscard]] qint64 beforeFree() const { return m_beforeFree.value_or(0); }
    [[nodiscard]] qint64 afterFree() const { return m_afterFree.value_or(0); }

    // When the card appears: the purgeable figure and the snapshot list.
    Q_INVOKABLE void appear();
    Q_INVOKABLE void reclaimNow();

signals:
    void changed();

private:
    QCoro::Task<void> refresh();
    QCoro::Task<void> reclaim();

    MaintenanceService &m_maintenance;
    DiskScanner &m_scanner;
    qint64 m_purgeableBytes = 0;
    int m_snapshotCount = 0; // as last listed
    bool m_isReclaiming = false;
    std::optional<qint64> m_beforeFree;
    std::optional<qint64> m_afterFree;
};

} // namespace tessoly
