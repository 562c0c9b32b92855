// Times the shared walker against `du -s -B1` on the same warm tree of about
// 200,000 files, and checks its total against `find -type f` (%b * 512).
//
//   walk_bench [tree folder]    (default: /tmp/tessoly-walk-bench, made on first use)
#include "platform/FileWalker.h"

#include "BenchSupport.h"

#include <QCoreApplication>
#include <QProcess>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace bench;

namespace {

// 40 projects x 10 modules x 5 folders x 100 files, with hidden folders,
// symlinks (to files and folders) and hard links sprinkled in.
void buildTree(const fs::path &root)
{
    std::size_t n = 0;
    for (int p = 0; p < 40; ++p) {
        for (int m = 0; m < 10; ++m) {
            for (int f = 0; f < 5; ++f) {
                const fs::path folder = root / ("project" + std::to_string(p)) / (m == 0 ? ".git" : "module" + std::to_string(m))
                    / ("folder" + std::to_string(f));
                fs::create_directories(folder);
                for (int i = 0; i < 100; ++i) {
                    const fs::path file = folder / ((i % 10 == 0 ? "." : "") + std::string("file") + std::to_string(i));
                    makeFile(file, (n * 7919) % 20000);
                    ++n;
                }
                fs::create_symlink(folder / "file1", folder / "link-to-file");
                fs::create_directory_symlink(root / "project0", folder / "link-to-project");
                fs::create_hard_link(folder / "file2", folder / "hardlink");
            }
        }
    }
}

QByteArray output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(-1);
    return process.readAllStandardOutput();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const fs::path root = argc > 1 ? fs::path(argv[1]) : fs::path("/tmp/tessoly-walk-bench");
    if (!fs::exists(root)) {
        std::printf("Building the tree in %s…\n", root.c_str());
        const auto start = Clock::now();
        buildTree(root);
        std::printf("  built in %.1f s\n", seconds(Clock::now() - start));
    }
    const QString rootText = QString::fromStdString(root.native());

    qint64 findTotal = 0;
    qint64 findFiles = 0;
    for (const QByteArray &line : output("find", {rootText, "-type", "f", "-printf", "%b\\n"}).split('\n')) {
        if (!line.isEmpty()) {
            findTotal += line.toLongLong() * 512;
            ++findFiles;
        }
    }
    const qint64 duTotal = output("du", {"-s", "-B1", rootText}).split('\t').first().toLongLong();

    tessoly::platform::WalkTotals totals;
    tessoly::platform::WalkOptions options;
    if (const char *threads = std::getenv("WALK_THREADS"))
        options.threads = static_cast<unsigned>(std::atoi(threads));
    const auto walk = [&] { totals = tessoly::platform::walkTree(root, options); };
    const auto du = [&] { output("du", {"-s", "-B1", rootText}); };
    walk(); // warm the caches for both
    du();
    const double walkTime = best(5, walk);
    const double duTime = best(5, du);

    std::printf("files: %lld (find: %lld), folders: %lld\n", static_cast<long long>(totals.files),
                static_cast<long long>(findFiles), static_cast<long long>(totals.folders));
    std::printf("Tessoly walker: %.3f s   total %lld bytes\n", walkTime, static_cast<long long>(totals.allocatedBytes));
    std::printf("du -s -B1:      %.3f s   total %lld bytes (adds folder blocks, counts a hard link once)\n", duTime,
                static_cast<long long>(duTotal));
    std::printf("find -type f:   total %lld bytes (sum of %%b * 512)  %s\n", static_cast<long long>(findTotal),
                findTotal == totals.allocatedBytes ? "= walker total" : "DIFFERS from the walker total");
    std::printf("ratio walker / du: %.2f\n", walkTime / duTime);

    // The measure a move's check uses: each file's data extents. Files whose
    // blocks aren't exactly their size in whole blocks are mapped one by one.
    tessoly::platform::WalkOptions dataOptions = options;
    dataOptions.dataExtents = true;
    tessoly::platform::WalkTotals dataTotals;
    const double dataTime = best(5, [&] { dataTotals = tessoly::platform::walkTree(root, dataOptions); });
    std::printf("data-extent walk: %.3f s   total %lld bytes\n", dataTime, static_cast<long long>(dataTotals.allocatedBytes));
    std::printf("ratio data-extent walk / walker: %.2f (budget 2.00)\n", dataTime / walkTime);
    return findTotal == totals.allocatedBytes ? 0 : 1;
}
