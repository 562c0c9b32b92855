#pragma once

#include "moves/MoveTypes.h"

#include <QtGlobal>
#include <filesystem>

namespace tessoly {

class MoveFileOperations;

// The moment a copy began, on the clock the file system stamps files with.
[[nodiscard]] qint64 fileClockNowNs();

// Compares a copy with its original by file metadata, in three passes: each
// regular file of the copy against the same file of the source (sizes), each
// regular file of the source that the copy lacks (unless it appeared or
// changed after startedAtNs), then a repair of every suspect by copying it
// again. Symlinks and folders are compared by nothing.
[[nodiscard]] VerificationReport verifyCopy(const std::filesystem::path &source, const std::filesystem::path &destination,
                                            qint64 startedAtNs, MoveFileOperations &operations);

} // namespace tessoly
