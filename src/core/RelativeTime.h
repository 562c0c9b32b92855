#pragma once

#include <QDateTime>
#include <QString>

namespace tessoly {

// "2 hours ago", "in 3 days", "1 week ago": the largest whole unit of the
// distance between two moments, in full words.
[[nodiscard]] QString formatRelativeTime(const QDateTime &when, const QDateTime &now);

} // namespace tessoly
