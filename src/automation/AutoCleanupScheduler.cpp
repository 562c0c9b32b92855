#include "automation/AutoCleanupScheduler.h"

#include "core/DefaultsKeys.h"

#include "automation/AutomationNotices.h"
#include "automation/BackgroundJob.h"
#include "cleaning/CleanupCatalogue.h"
#include "cleaning/CleanupService.h"
#include "core/AutoFrequency.h"
#include "core/SettingsStore.h"
#include "platform/Platform.h"

#include <QPointer>

namespace tessoly {

AutoCleanupScheduler::AutoCleanupScheduler(platform::Platform &platform, SettingsStore &settings, CleanupService &cleanup,
                                           AutomationNotices &notices, Clock clock,
                                           QObject *parent)
    : QObject(parent)
    , m_platform(platform)
    , m_settings(settings)
    , m_notices(notices)
    , m_clock(std::move(clock))
    , m_cleanup(cleanup)
{
    reload();
}

AutoCleanupScheduler::~AutoCleanupScheduler() = default;

QDateTime AutoCleanupScheduler::now() const
{
    return m_clock ? m_clock() : QDateTime::currentDateTimeUtc();
}

void AutoCleanupScheduler::reload()
{
    m_lastRunAt = loadRunTime(*m_platform.defaults, keys::autoCleanupLastRun);
    emit changed();
}

void AutoCleanupScheduler::start()
{
    armChecks(this, m_timer, checkIntervalSeconds, [this] { (void)check(); });
}

QCoro::Task<void> AutoCleanupScheduler::check()
{
    if (!m_settings.autoCleanupEnabled())
        co_return;
    const double interval = intervalSeconds(autoFrequencyFromRaw(m_settings.autoCleanupFrequency()));
    if (m_lastRunAt && double(m_lastRunAt->msecsTo(now())) / 1000.0 < interval)
        co_return;
    co_await runCleanup();
}

QCoro::Task<void> AutoCleanupScheduler::runCleanup()
{
    if (m_isRunning)
        co_return;
    m_isRunning = true;
    emit changed();
    const std::optional<CleanupProfile> profile = cleanupProfileFromRaw(m_settings.autoCleanupProfile());
    if (!profile) {
        m_isRunning = false;
        emit changed();
        co_return;
    }
    QPointer<AutoCleanupScheduler> self(this);
    const bool immediately =
        SettingsStore::deleteImmediately(*m_platform.defaults);
    QString name = displayName(*profile);
    const qint64 freed = (co_await m_cleanup.clean(targets(*profile), std::move(name), immediately)).totalBytes;
    if (!self)
        co_return;
    m_lastFreedBytes = freed;
    m_lastRunAt = now();
    storeRunTime(*m_platform.defaults, keys::autoCleanupLastRun, *m_lastRunAt);
    if (freed >= 1 && m_settings.notificationsEnabled())
        m_notices.notifyCleanupDone(freed);
    m_isRunning = false;
    emit changed();
}

} // namespace tessoly
