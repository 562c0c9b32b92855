#pragma once

#include "history/CleanupHistoryEntry.h"

#include <QByteArray>

namespace tessoly {

// The log file's form: an array of entries, newest first, pretty printed
// with two-space indents, "key" : value, keys sorted, "/" escaped as "\/",
// upper-case UUIDs, whole-second UTC timestamps, absent optional keys left
// out. Paths keep their exact bytes (see PathText).
[[nodiscard]] QByteArray encodeHistory(const std::vector<CleanupHistoryEntry> &entries);

// nullopt when any entry or item is malformed: one bad value fails the file.
[[nodiscard]] std::optional<std::vector<CleanupHistoryEntry>> decodeHistory(const QByteArray &json);

} // namespace tessoly
