#pragma once

#include "moves/MoveTypes.h"

#include <QtGlobal>
#include <filesystem>

namespace tessoly {

class MoveFileOperations;

// Compares a copy with its original by file metadata, in three passes: each
// regular file of the copy against the same file of the source (sizes), each
// regular file of the source that the copy lacks (also one born during the
// copy), then a repair of every suspect by copying it again. Symlinks and
// folders are compared by nothing.
[[nodiscard]] VerificationReport verifyCopy(const std::filesystem::path &source, const std::filesystem::path &destination,
                                            MoveFileOperations &operations);

} // namespace tessoly
