#include "recommendations/EasyCleanFlow.h"

#include "analysis/DiskScanner.h"
#include "cleaning/MaintenanceService.h"
#include "recommendations/SmartScanService.h"

#include <QPointer>
#include <algorithm>

namespace tessoly {

EasyCleanFlow::EasyCleanFlow(DiskScanner &scanner, SmartScanService &smartScan, MaintenanceService &maintenance,
                             QObject *parent)
    : QObject(parent)
    , m_scanner(scanner)
    , m_smartScan(smartScan)
    , m_maintenance(maintenance)
{
}

QString EasyCleanFlow::phaseName() const
{
    switch (m_phase) {
    case Phase::Idle: return QStringLiteral("idle");
    case Phase::Running: return QStringLiteral("running");
    case Phase::Done: return QStringLiteral("done");
    }
    return {};
}

void EasyCleanFlow::setRunning(const QString &step)
{
    m_phase = Phase::Running;
    m_step = step;
    emit phaseChanged();
}

void EasyCleanFlow::start()
{
    run();
}

QCoro::Task<void> EasyCleanFlow::run()
{
    if (m_phase == Phase::Running)
        co_return;
    QPointer<EasyCleanFlow> self(this);
    setRunning(QStringLiteral("Looking at your disk…"));
    m_scanner.refreshVolumeInfo();
    const qint64 freeBefore = m_scanner.totalFree();
    const qint64 pendingBefore = m_smartScan.totalPendingInTrash();

    co_await m_smartScan.scan();
    if (!self)
        co_return;
    // Safe cards with an action, never a move: caution, advanced and move
    // cards stay for the full interface.
    std::vector<Recommendation> chosen;
    for (const Recommendation &card : m_smartScan.visibleRecommendations())
        if (card.riskLevel == Recommendation::Risk::Safe && card.hasAction() && card.kind != Recommendation::Kind::Move)
            chosen.push_back(card);
    const auto count = static_cast<int>(chosen.size());
    for (int i = 0; i < count; ++i) {
        setRunning(QStringLiteral("Cleaning %1 of %2 — %3…").arg(i + 1).arg(count).arg(shortName(chosen[i].title)));
        co_await m_smartScan.apply(chosen[i]); // a failure of one doesn't stop the next
        if (!self)
            co_return;
    }

    setRunning(QStringLiteral("Releasing hidden space macOS was holding…"));
    co_await m_maintenance.reclaim();
    if (!self)
        co_return;
    m_scanner.refreshVolumeInfo();
    m_freedNow = std::max<qint64>(0, m_scanner.totalFree() - freeBefore);
    m_inTrash = std::max<qint64>(0, m_smartScan.totalPendingInTrash() - pendingBefore);
    m_phase = Phase::Done;
    m_step.clear();
    emit phaseChanged();
}

} // namespace tessoly
