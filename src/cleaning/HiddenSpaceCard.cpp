#include "cleaning/HiddenSpaceCard.h"

#include "analysis/DiskScanner.h"
#include "cleaning/MaintenanceService.h"

namespace tessoly {

HiddenSpaceCard::HiddenSpaceCard(MaintenanceService &maintenance, DiskScanner &scanner, QObject *parent)
    : QObject(parent)
    , m_maintenance(maintenance)
    , m_scanner(scanner)
{
    connect(&m_maintenance, &MaintenanceService::localSnapshotsChanged, this, &HiddenSpaceCard::changed);
}

bool HiddenSpaceCard::isShown() const
{
    return m_purgeableBytes >= kShowThreshold || m_maintenance.snapshotCount() > 0;
}

QString HiddenSpaceCard::detail() const
{
    const int count = m_maintenance.snapshotCount();
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
    co_await m_maintenance.refreshSnapshots();
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
    co_await m_maintenance.reclaim();
    m_scanner.refreshVolumeInfo();
    m_afterFree = m_scanner.totalFree();
    m_purgeableBytes = m_maintenance.purgeableBytesAtHome();
    m_isReclaiming = false;
    emit changed();
}

} // namespace tessoly
