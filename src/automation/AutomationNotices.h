#pragma once

#include <QtGlobal>

namespace tessoly {

// What the background jobs tell the person when they have done something
// (or when the disk stays too full). The desktop's notifications deliver it.
class AutomationNotices {
public:
    virtual ~AutomationNotices() = default;
    virtual void notifyAutopilotRan(qint64 freedBytes, qint64 freeBytesNow, int minFreeGB) = 0;
    virtual void notifyAutopilotNudge(qint64 freeBytesNow, int minFreeGB) = 0;
    virtual void notifyCleanupDone(qint64 freedBytes) = 0;
};

} // namespace tessoly
