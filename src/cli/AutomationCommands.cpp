// The command line's automation commands: the free-space guardrail.
#include "application/TessolyApp.h"
#include "automation/AutoCleanupScheduler.h"
#include "automation/NotificationManager.h"
#include "automation/StorageAutopilot.h"
#include "cli/CommandLine.h"
#include "core/ByteFormat.h"
#include "core/RelativeTime.h"
#include "core/SettingsStore.h"

#include <QJsonObject>

namespace tessoly {

QCoro::Task<int> CommandLine::autopilot(Parsed parsed)
{
    StorageAutopilot &autopilot = *m_app.autopilot();
    const bool json = parsed.flag("--json");
    co_await m_app.notifications()->refreshAuthorization(); // a run may notify
    if (parsed.flag("--run")) {
        showProgress(QStringLiteral("Deleting every safe cache, then thinning snapshots if still below the guardrail…"));
        co_await autopilot.runGuardrail();
    } else {
        co_await autopilot.check(); // refreshes the free figure; runs only when the guardrail is on and due
    }
    const AutoCleanupScheduler &scheduler = *m_app.scheduler();
    auto time = [](const std::optional<QDateTime> &when) { return when ? QJsonValue(when->toString(Qt::ISODate)) : QJsonValue(); };
    if (json) {
        printJson(QJsonObject{{QStringLiteral("enabled"), m_app.settings()->autopilotEnabled()},
                              {QStringLiteral("minFreeGB"), m_app.settings()->autopilotMinFreeGB()},
                              {QStringLiteral("status"), autopilot.statusLine()},
                              {QStringLiteral("freeBytes"), autopilot.currentFreeBytes()},
                              {QStringLiteral("lastRunAt"), time(autopilot.lastRunAt())},
                              {QStringLiteral("lastFreedBytes"), autopilot.lastFreedBytes()},
                              {QStringLiteral("scheduledCleanupLastRunAt"), time(scheduler.lastRunAt())}});
        co_return 0;
    }
    const QDateTime now = QDateTime::currentDateTime();
    m_out << "Autopilot: " << autopilot.statusLine() << "\n";
    m_out << "Last run: "
          << (autopilot.lastRunAt() ? formatRelativeTime(autopilot.lastRunAt()->toLocalTime(), now) : QStringLiteral("never"))
          << "\n";
    if (parsed.flag("--run"))
        m_out << "Freed " << formatBytes(autopilot.lastFreedBytes()) << "; " << formatBytes(autopilot.currentFreeBytes())
              << " free now.\n";
    co_return 0;
}

} // namespace tessoly
