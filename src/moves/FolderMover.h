#pragma once

#include "moves/MoveTypes.h"

#include <QCoroTask>
#include <filesystem>
#include <functional>

namespace tessoly {

class CleanupHistoryStore;
class MoveFileOperations;

// Moves one file or folder to a folder on an external drive and leaves a
// symbolic link in its place. The original is disposed of only after the
// copy has been verified and the link stands; every failure before that
// takes back what was done and says in words where the data is.
class FolderMover {
public:
    using ProgressHandler = std::function<void(const MoveProgress &)>;

    // Only what the guard lets Tessoly remove from `home` may be moved: the
    // original goes away once the copy stands.
    FolderMover(MoveFileOperations &operations, CleanupHistoryStore &history, std::filesystem::path home);

    // Never throws; the outcome is the last event given to onProgress.
    QCoro::Task<void> move(std::filesystem::path source, std::filesystem::path destinationRoot, bool deleteImmediately,
                           ProgressHandler onProgress);

    // "." + name + ".tessoly-pending." + 8 characters of a new UUID, beside the original.
    [[nodiscard]] static std::filesystem::path pendingPath(const std::filesystem::path &source);

private:
    MoveFileOperations &m_operations;
    CleanupHistoryStore &m_history;
    std::filesystem::path m_home;
};

} // namespace tessoly
