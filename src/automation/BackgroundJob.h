#pragma once

#include <QDateTime>
#include <functional>
#include <optional>

class QObject;
class QTimer;

namespace tessoly {
namespace platform {
class DefaultsStore;
}

// What the background jobs share: the time of their last run, kept in the
// shared defaults as seconds since 1970 (0 or less, or no number: never),
// and a check repeated on a timer.
[[nodiscard]] std::optional<QDateTime> loadRunTime(const platform::DefaultsStore &defaults, const char *key);
void storeRunTime(platform::DefaultsStore &defaults, const char *key, const QDateTime &when);
// (Re)arms a repeating timer owned by owner and runs check once right away.
void armChecks(QObject *owner, QTimer *&timer, int seconds, const std::function<void()> &check);

} // namespace tessoly
