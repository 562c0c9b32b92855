#pragma once

#include "platform/Notifier.h"

#include <QDBusConnection>
#include <optional>

namespace tessoly::platform {

// Notifications through the org.freedesktop.Notifications service of a
// bus (the session's), with the app's name and icon on each.
class FreedesktopNotifier final : public Notifier {
public:
    // On the session bus, connected when first needed (a command line that never notifies never connects).
    FreedesktopNotifier() = default;
    explicit FreedesktopNotifier(QDBusConnection bus);
    QCoro::Task<bool> isAuthorized() override;
    void post(const Notification &notification) override;

    static constexpr int answerLimitMs = 5000;

private:
    QDBusConnection &bus();
    std::optional<QDBusConnection> m_bus;
};

} // namespace tessoly::platform
