#pragma once

#include "TestSupport.h"
#include "application/TessolyApp.h"
#include "history/CleanupHistoryStore.h"
#include "platform/Platform.h"
#include "platform/VolumeInfo.h"
#include "platform/linux/FreedesktopTrash.h"
#include "recommendations/SmartScanService.h"

#include <filesystem>
#include <memory>

namespace tessoly::test {

// A temporary home with the whole service graph on it: the Linux platform
// with scripted volume figures, the log in the home, Smart Scan's result
// pause shortened.
struct ScanHome {
    explicit ScanHome(std::optional<std::filesystem::path> snapshotTool = std::nullopt);
    ~ScanHome();

    TempHome home;
    platform::FreedesktopTrash logTrash;
    CleanupHistoryStore history;
    ScriptedVolumes *volumes = nullptr;
    std::unique_ptr<TessolyApp> app;
    SmartScanService &smart() const { return *app->smartScan(); }
};

// A cheap signature of a tree: each entry's relative path, type, size and
// inode (the same inode means the very file came back, not a copy).
// Without inodes it compares a copy with its original.
[[nodiscard]] std::string inodeListing(const std::filesystem::path &root, bool withInodes = true);

// The visible card whose title starts with the words given.
std::optional<Recommendation> cardTitled(const SmartScanService &smart, const QString &start);

} // namespace tessoly::test
