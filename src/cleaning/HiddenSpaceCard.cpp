#include "cleaning/HiddenSpaceCard.h"

#include "analysis/DiskScanner.h"
#include "cleaning/MaintenanceService.h"

namespace tessoly {

HiddenSpaceCard::HiddenSpaceCard(MaintenanceService &maintenance, DiskScanner &scanner, QObject *parent)
    : QObject(parent)
    , m_maintenance(maintenance)
    , m_scanner(scanner)
{
}

bool HiddenSpaceCard::isShown() const
{
    return m_purgeableBytes >= kShowThreshold || m_snapshotCount > 0;
}

QString HiddenSpaceCard::detail() const
{
    const int count = m_snapshotCount;
    if (count > 0) {
        return QStringLiteral("macOS calls this space \"available\" but it's still occupied — mostly by %1 local Time "
                              "Machine snapshot%2.")
            .arg(count)
            .arg(count == 1 ? "" : "s");
    }
    return QStringLiteral("macOS calls this space \"available\" but it's still occupied by evictable system data.");
}

void HiddenSpaceCard::appear()
{
    refresh();
}

QCoro::Task<void> HiddenSpaceCard::refresh()
{
    m_purgeableBytes = m_maintenance.purgeableBytesAtHome();
    emit changed();
    const std::vector<MaintenanceService::LocalSnapshot> snapshots = co_await m_maintenance.listSnapshots();
    m_snapshotCount = int(snapshots.size());
    emit changed();
}

void HiddenSpaceCard::reclaimNow()
{
    if (!m_isReclaiming)
        reclaim();
}

QCoro::Task<void> HiddenSpaceCard::reclaim()
{
    m_isReclaiming = true;
    m_scanner.refreshVolumeInfo();
    m_beforeFree = m_scanner.totalFree();
    m_afterFree.reset();
    emit changed();
    const MaintenanceService::ThinOutcome outcome = co_await m_maintenance.reclaim();
    m_snapshotCount = int(outcome.snapshotsLeft.size());
    m_scanner.refreshVolumeInfo();
    m_afterFree = m_scanner.totalFree();
    m_purgeableBytes = m_maintenance.purgeableBytesAtHome();
    m_isReclaiming = false;
    emit changed();
}

} // namespace tessoly
