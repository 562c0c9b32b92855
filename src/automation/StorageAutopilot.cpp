#include "automation/StorageAutopilot.h"

#include "core/DefaultsKeys.h"

#include "automation/AutomationNotices.h"
#include "automation/BackgroundJob.h"
#include "cleaning/CleanupService.h"
#include "cleaning/MaintenanceService.h"
#include "core/ByteFormat.h"
#include "core/SettingsStore.h"
#include "platform/Platform.h"

#include <QPointer>
#include <QSet>

namespace tessoly {

StorageAutopilot::StorageAutopilot(platform::Platform &platform, SettingsStore &settings, CleanupService &cleanup,
                                   MaintenanceService &maintenance, AutomationNotices &notices, Clock clock,
                                   QObject *parent)
    : QObject(parent)
    , m_platform(platform)
    , m_settings(settings)
    , m_notices(notices)
    , m_clock(std::move(clock))
    , m_cleanup(cleanup)
    , m_maintenance(maintenance)
{
    reload();
    m_currentFreeBytes = m_maintenance.currentFreeBytes();
    // The status line reads both settings.
    connect(&settings, &SettingsStore::autopilotEnabledChanged, this, &StorageAutopilot::changed);
    connect(&settings, &SettingsStore::autopilotMinFreeGBChanged, this, &StorageAutopilot::changed);
}

StorageAutopilot::~StorageAutopilot() = default;

QDateTime StorageAutopilot::now() const
{
    return m_clock ? m_clock() : QDateTime::currentDateTimeUtc();
}

qint64 StorageAutopilot::limitBytes() const
{
    return qint64(m_settings.autopilotMinFreeGB()) * bytesPerGiB;
}

void StorageAutopilot::reload()
{
    m_lastRunAt = loadRunTime(*m_platform.defaults, keys::autopilotLastRun);
    emit changed();
}

QString StorageAutopilot::statusLine() const
{
    if (!m_settings.autopilotEnabled())
        return QStringLiteral("Off");
    if (m_isRunning)
        return QStringLiteral("Running a guardrail cleanup…");
    if (m_currentFreeBytes >= limitBytes())
        return QStringLiteral("Monitoring — %1 free, guardrail %2 GB").arg(formatBytes(m_currentFreeBytes)).arg(m_settings.autopilotMinFreeGB());
    return QStringLiteral("Below guardrail (%1 free) — next run when the cooldown ends").arg(formatBytes(m_currentFreeBytes));
}

std::vector<CleanupTarget> StorageAutopilot::allSafeTargets()
{
    std::vector<CleanupTarget> list;
    QSet<QString> seen;
    for (CleanupProfile profile : allCleanupProfiles) {
        for (CleanupTarget &target : targets(profile)) {
            if (target.safety != SafetyLevel::Safe || seen.contains(target.id))
                continue;
            seen.insert(target.id);
            list.push_back(std::move(target));
        }
    }
    return list;
}

void StorageAutopilot::start()
{
    armChecks(this, m_timer, checkIntervalSeconds, [this] { (void)check(); });
}

void StorageAutopilot::runNow()
{
    if (!m_isRunning)
        (void)runGuardrail();
}

QCoro::Task<void> StorageAutopilot::check()
{
    m_currentFreeBytes = m_maintenance.currentFreeBytes();
    emit changed();
    if (!m_settings.autopilotEnabled() || m_isRunning)
        co_return;
    if (m_currentFreeBytes >= limitBytes())
        co_return;
    if (m_lastRunAt && m_lastRunAt->secsTo(now()) < runCooldownSeconds)
        co_return;
    co_await runGuardrail();
}

QCoro::Task<void> StorageAutopilot::runGuardrail()
{
    if (m_isRunning)
        co_return;
    m_isRunning = true;
    emit changed();
    QPointer<StorageAutopilot> self(this);
    const qint64 before = m_maintenance.currentFreeBytes();
    QString profile = QStringLiteral("Autopilot");
    // Deleted outright: moving caches to the Trash would free nothing.
    const qint64 cleaned = (co_await m_cleanup.clean(allSafeTargets(), std::move(profile), true)).totalBytes;
    if (!self)
        co_return;
    const qint64 shortfall = limitBytes() - m_maintenance.currentFreeBytes();
    if (shortfall >= 1) {
        co_await m_maintenance.reclaim(std::max(shortfall, minimumThinBytes));
        if (!self)
            co_return;
    }
    const qint64 after = m_maintenance.currentFreeBytes();
    m_currentFreeBytes = after;
    m_lastFreedBytes = std::max(std::max<qint64>(after - before, 0), std::max<qint64>(cleaned, 0));
    m_lastRunAt = now();
    storeRunTime(*m_platform.defaults, keys::autopilotLastRun, *m_lastRunAt);
    if (m_settings.notificationsEnabled()) {
        if (m_lastFreedBytes >= 1)
            m_notices.notifyAutopilotRan(m_lastFreedBytes, after, m_settings.autopilotMinFreeGB());
        else if (after < limitBytes())
            m_notices.notifyAutopilotNudge(after, m_settings.autopilotMinFreeGB());
    }
    m_isRunning = false;
    emit changed();
}

} // namespace tessoly
