#include "automation/NotificationManager.h"

#include "core/ByteFormat.h"
#include "platform/Notifier.h"

#include <QPointer>
#include <QUuid>

namespace tessoly {

NotificationManager::NotificationManager(platform::Notifier &notifier, Clock clock, QObject *parent)
    : QObject(parent)
    , m_notifier(notifier)
    , m_clock(std::move(clock))
{
}

QCoro::Task<void> NotificationManager::refreshAuthorization()
{
    QPointer<NotificationManager> self(this);
    const bool granted = co_await m_notifier.isAuthorized();
    if (!self)
        co_return;
    m_authorizationGranted = granted;
    emit authorizationGrantedChanged();
}

void NotificationManager::post(const char *prefix, const QString &title, const QString &body)
{
    m_notifier.post({QString::fromLatin1(prefix) + QUuid::createUuid().toString(QUuid::WithoutBraces), title, body});
}

void NotificationManager::notifyCleanupDone(qint64 freedBytes)
{
    if (!m_authorizationGranted)
        return;
    post("reclaim-complete-", QStringLiteral("Reclaimed %1").arg(formatBytes(freedBytes)),
         QStringLiteral("Local snapshots thinned. Disk space restored."));
}

void NotificationManager::notifyAutopilotRan(qint64 freedBytes, qint64 freeBytesNow, int minFreeGB)
{
    if (!m_authorizationGranted)
        return;
    post("autopilot-run-", QStringLiteral("Autopilot reclaimed %1").arg(formatBytes(freedBytes)),
         QStringLiteral("Free space dropped below your %1 GB guardrail. Safe caches were cleaned — %2 free now.")
             .arg(minFreeGB)
             .arg(formatBytes(freeBytesNow)));
}

void NotificationManager::notifyAutopilotNudge(qint64 freeBytesNow, int minFreeGB)
{
    if (!m_authorizationGranted)
        return;
    const QDateTime now = m_clock ? m_clock() : QDateTime::currentDateTimeUtc();
    if (m_autopilotNudgeFiredAt && m_autopilotNudgeFiredAt->secsTo(now) < nudgeCooldownSeconds)
        return;
    m_autopilotNudgeFiredAt = now;
    post("autopilot-attention-", QStringLiteral("Disk below your %1 GB guardrail").arg(minFreeGB),
         QStringLiteral("Autopilot found nothing more that's safe to clean automatically (%1 free). Open Tessoly to "
                        "review what's taking space.")
             .arg(formatBytes(freeBytesNow)));
}

} // namespace tessoly
