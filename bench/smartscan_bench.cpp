// Times a whole Smart Scan of a home with about 200,000 files spread over
// the catalogue's folders (as they lie on Linux) against measuring those
// folders once with the shared walker, both warm, and prints the ratio.
// Some folders are also move candidates (.gradle/caches, .android/avd), as
// on a real developer's machine.
//
//   smartscan_bench [home folder]   (default: /tmp/tessoly-smartscan-bench, made on first use)
#include "application/TessolyApp.h"
#include "cleaning/CleanupCatalogue.h"
#include "history/CleanupHistoryStore.h"
#include "cleaning/CleanupService.h"
#include "platform/FileWalker.h"
#include "platform/Platform.h"
#include "platform/linux/FreedesktopTrash.h"
#include "recommendations/SmartScanService.h"

#include "BenchSupport.h"

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <set>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace bench;

namespace {

// Files per catalogue folder, under the home (XDG defaults).
struct Spread {
    const char *folder;
    int files;
};
constexpr Spread kSpread[] = {
    {".npm/_cacache", 40000},
    {".cache/google-chrome/Default/Cache", 30000},
    {".cache/mozilla/firefox/x.default/cache2", 20000},
    {".cache/yarn/v6", 25000},
    {".gradle/caches/modules-2", 35000},
    {".cache/thumbnails/large", 10000},
    {".local/share/pnpm/store/v3", 15000},
    {"Library/Application Support/Adobe/Common/Media Cache", 5000},
    {".android/avd/Pixel.avd", 10000},
    {".cache/Google/AndroidStudio2023.1", 10000},
};

void buildHome(const fs::path &home)
{
    std::size_t n = 0;
    for (const Spread &spread : kSpread) {
        for (int i = 0; i < spread.files; ++i) {
            const fs::path folder = home / spread.folder / ("d" + std::to_string(i / 100)) / ("e" + std::to_string(i % 7));
            if (i % 100 == 0 || i % 100 < 7)
                fs::create_directories(folder);
            makeFile(folder / ("f" + std::to_string(i)), (n++ * 7919) % 12000);
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    const fs::path home = argc > 1 ? fs::path(argv[1]) : fs::path("/tmp/tessoly-smartscan-bench");
    ::setenv("HOME", home.c_str(), 1);
    for (const char *variable : {"XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
        ::unsetenv(variable);
    QCoreApplication application(argc, argv);
    if (!fs::exists(home / ".npm")) {
        std::printf("Building the home in %s…\n", home.c_str());
        const auto start = Clock::now();
        buildHome(home);
        std::printf("  built in %.1f s\n", seconds(Clock::now() - start));
    }

    // The catalogue's folders here, each once.
    std::vector<fs::path> folders;
    std::set<fs::path> seen;
    for (const tessoly::CleanupTarget &target : tessoly::allCleanupTargets()) {
        const fs::path folder = tessoly::CleanupService::resolve(target, home);
        if (seen.insert(folder).second)
            folders.push_back(folder);
    }
    tessoly::platform::WalkTotals walked;
    const auto walkOnce = [&] {
        walked = {};
        for (const tessoly::platform::WalkTotals &totals : tessoly::platform::walkTrees(folders)) {
            walked.files += totals.files;
            walked.allocatedBytes += totals.allocatedBytes;
        }
    };

    tessoly::platform::FreedesktopTrash trash(home / ".local/share/Trash", ::getuid());
    tessoly::CleanupHistoryStore history(home / ".local/share/com.tessoly.app/history.json", trash);
    tessoly::TessolyApp app(tessoly::platform::makeLinuxPlatform(), &history);
    tessoly::SmartScanService &smart = *app.smartScan();
    const auto scanOnce = [&] { QCoro::waitFor(smart.scan()); };

    walkOnce(); // warm the caches for both
    scanOnce();
    const double walkTime = median(7, walkOnce);
    const double scanTime = median(7, scanOnce);
    std::printf("folders: %zu, files: %lld, bytes: %lld\n", folders.size(), static_cast<long long>(walked.files),
                static_cast<long long>(walked.allocatedBytes));
    std::printf("walker, each catalogue folder once: %.3f s (median of 7)\n", walkTime);
    std::printf("Smart Scan, four detectors:         %.3f s (median of 7), %zu cards\n", scanTime,
                smart.visibleRecommendations().size());
    std::printf("ratio Smart Scan / walker: %.2f (budget 1.30)\n", scanTime / walkTime);
    return 0;
}
