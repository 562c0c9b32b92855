#pragma once

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
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
class SettingsStore;

// Cleans the chosen profile on a calendar: while it is on, every ten
// minutes it looks whether the chosen interval has passed since the last
// run (kept across restarts) and, if so, cleans all the profile's targets.
class AutoCleanupScheduler : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY changed)
    Q_PROPERTY(QDateTime lastRunAt READ lastRunAtOrNull NOTIFY changed)
    Q_PROPERTY(qint64 lastFreedBytes READ lastFreedBytes NOTIFY changed)

public:
    using Clock = std::function<QDateTime()>;
    static constexpr int checkIntervalSeconds = 600;

    AutoCleanupScheduler(platform::Platform &platform, SettingsStore &settings, CleanupService &cleanup,
                         AutomationNotices &notices, Clock clock = {}, QObject *parent = nullptr);
    ~AutoCleanupScheduler() override;

    [[nodiscard]] bool isRunning() const { return m_isRunning; }
    [[nodiscard]] const std::optional<QDateTime> &lastRunAt() const { return m_lastRunAt; }
    [[nodiscard]] QDateTime lastRunAtOrNull() const { return m_lastRunAt.value_or(QDateTime()); }
    [[nodiscard]] qint64 lastFreedBytes() const { return m_lastFreedBytes; }

    // Arms the ten-minute timer and checks at once (the window and the tray do; a command line doesn't).
    void start();
    QCoro::Task<void> check();
    QCoro::Task<void> runCleanup();
    // Takes up a last run another process recorded.
    void reload();

signals:
    void changed();

private:
    [[nodiscard]] QDateTime now() const;

    platform::Platform &m_platform;
    SettingsStore &m_settings;
    AutomationNotices &m_notices;
    Clock m_clock;
    CleanupService &m_cleanup;
    QTimer *m_timer = nullptr;
    bool m_isRunning = false;
    std::optional<QDateTime> m_lastRunAt;
    qint64 m_lastFreedBytes = 0;
};

} // namespace tessoly
