#pragma once

#include "automation/AutomationNotices.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <functional>
#include <optional>

namespace tessoly {
namespace platform {
class Notifier;
}

// The background jobs' notifications: posted only while the desktop lets
// this program notify, and the attention notice at most every six hours.
class NotificationManager : public QObject, public AutomationNotices {
    Q_OBJECT
    Q_PROPERTY(bool authorizationGranted READ authorizationGranted NOTIFY authorizationGrantedChanged)

public:
    using Clock = std::function<QDateTime()>;
    static constexpr qint64 nudgeCooldownSeconds = 21600;

    explicit NotificationManager(platform::Notifier &notifier, Clock clock = {}, QObject *parent = nullptr);

    [[nodiscard]] bool authorizationGranted() const { return m_authorizationGranted; }
    QCoro::Task<void> refreshAuthorization();

    void notifyCleanupDone(qint64 freedBytes) override;
    void notifyAutopilotRan(qint64 freedBytes, qint64 freeBytesNow, int minFreeGB) override;
    void notifyAutopilotNudge(qint64 freeBytesNow, int minFreeGB) override;

signals:
    void authorizationGrantedChanged();

private:
    void post(const char *prefix, const QString &title, const QString &body);

    platform::Notifier &m_notifier;
    Clock m_clock;
    bool m_authorizationGranted = false;
    std::optional<QDateTime> m_autopilotNudgeFiredAt;
};

} // namespace tessoly
