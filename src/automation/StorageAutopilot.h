#pragma once

#include "cleaning/CleanupCatalogue.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QVariant>
#include <filesystem>
#include <functional>
#include <optional>

class QTimer;

namespace tessoly {
namespace platform {
struct Platform;
}
class AutomationNotices;
class CleanupService;
class MaintenanceService;
class SettingsStore;

// The free-space guardrail: while it is on, every five minutes it compares
// the home volume's free space with the limit the person chose, and below
// it deletes every safe cache of the catalogue, then asks for snapshots to
// be thinned if that wasn't enough. Runs are at least six hours apart, also
// across restarts.
class StorageAutopilot : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY changed)
    Q_PROPERTY(QDateTime lastRunAt READ lastRunAtOrNull NOTIFY changed)
    Q_PROPERTY(qint64 lastFreedBytes READ lastFreedBytes NOTIFY changed)
    Q_PROPERTY(qint64 currentFreeBytes READ currentFreeBytes NOTIFY changed)
    Q_PROPERTY(QString statusLine READ statusLine NOTIFY changed)

public:
    using Clock = std::function<QDateTime()>;
    static constexpr int checkIntervalSeconds = 300;
    static constexpr qint64 runCooldownSeconds = 21600;
    static constexpr qint64 minimumThinBytes = 5368709120; // 5 GiB

    StorageAutopilot(platform::Platform &platform, SettingsStore &settings, CleanupService &cleanup,
                     MaintenanceService &maintenance, AutomationNotices &notices, Clock clock = {},
                     QObject *parent = nullptr);
    ~StorageAutopilot() override;

    [[nodiscard]] bool isRunning() const { return m_isRunning; }
    [[nodiscard]] const std::optional<QDateTime> &lastRunAt() const { return m_lastRunAt; }
    [[nodiscard]] QDateTime lastRunAtOrNull() const { return m_lastRunAt.value_or(QDateTime()); }
    [[nodiscard]] qint64 lastFreedBytes() const { return m_lastFreedBytes; }
    [[nodiscard]] qint64 currentFreeBytes() const { return m_currentFreeBytes; }
    [[nodiscard]] QString statusLine() const;

    // Arms the five-minute timer and checks at once (the window and the tray do; a command line doesn't).
    void start();
    QCoro::Task<void> check();
    // The run itself; "Run Autopilot Now" calls it without the limit and cooldown tests.
    QCoro::Task<void> runGuardrail();
    Q_INVOKABLE void runNow();
    // Takes up a last run another process recorded.
    void reload();

    // Every safe target of every profile, each id once, in catalogue order.
    [[nodiscard]] static std::vector<CleanupTarget> allSafeTargets();

signals:
    void changed();

private:
    [[nodiscard]] qint64 limitBytes() const;
    [[nodiscard]] QDateTime now() const;

    platform::Platform &m_platform;
    SettingsStore &m_settings;
    AutomationNotices &m_notices;
    Clock m_clock;
    CleanupService &m_cleanup;
    MaintenanceService &m_maintenance;
    QTimer *m_timer = nullptr;
    bool m_isRunning = false;
    std::optional<QDateTime> m_lastRunAt;
    qint64 m_lastFreedBytes = 0;
    qint64 m_currentFreeBytes = 0;
};

} // namespace tessoly
