#pragma once

#include <QCoroTask>
#include <QString>

namespace tessoly::platform {

// One notification for the person, delivered at once.
struct Notification {
    QString identifier; // unique: no notification replaces another
    QString title;
    QString body;
};

// The desktop's notifications.
class Notifier {
public:
    virtual ~Notifier() = default;
    // Whether this program may notify now (on Linux: the notification service answers).
    virtual QCoro::Task<bool> isAuthorized() = 0;
    // Fire and forget: a delivery failure isn't observed.
    virtual void post(const Notification &notification) = 0;
};

} // namespace tessoly::platform
