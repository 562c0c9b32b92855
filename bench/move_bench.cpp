// Times the mover's tree copy and its verification against `cp -a` on the
// same tree, to a destination folder (ideally on another file system, such
// as a loop-mounted drive):
//
//   move_bench <destination folder> [tree folder]
//
// The tree (default /tmp/tessoly-move-bench, made on first use) holds 20,000
// files in 400 folders, 1.2 GB in all, with symlinks and empty folders. Each
// tool copies it three times into a fresh folder (after a sync, with a
// warm source); the best time counts, and the file system is synced after
// each copy so that both pay for getting the data onto the disk.
#include "moves/CopyVerifier.h"
#include "moves/MoveFileOperations.h"
#include "platform/FileCopy.h"
#include "platform/FileWalker.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/LinuxPlatform.h"

#include <QCoreApplication>
#include <QProcess>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

void buildTree(const fs::path &root)
{
    std::mt19937_64 random(42);
    std::vector<char> data(8 << 20);
    for (auto &byte : data)
        byte = static_cast<char>(random());
    std::size_t n = 0;
    for (int a = 0; a < 20; ++a) {
        for (int b = 0; b < 20; ++b) {
            const fs::path folder = root / ("album" + std::to_string(a)) / ("set" + std::to_string(b));
            fs::create_directories(folder);
            for (int i = 0; i < 50; ++i, ++n) {
                // Mostly small files, one in fifty of several megabytes.
                const std::size_t size = i == 0 ? (4 << 20) + (n % 7) * 100'000 : (n * 7919) % 40'000;
                const int fd = ::open((folder / ("file" + std::to_string(i))).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
                if (fd < 0 || ::write(fd, data.data() + (n * 4099) % (data.size() - size), size) < 0)
                    std::perror("write");
                ::close(fd);
            }
            fs::create_symlink("file1", folder / "link");
            fs::create_directory(folder / "empty");
        }
    }
}

double seconds(Clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

void dropCopy(const fs::path &copy)
{
    fs::remove_all(copy);
    ::sync();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: move_bench <destination folder> [tree folder]\n");
        return 2;
    }
    const fs::path destination = argv[1];
    const fs::path tree = argc > 2 ? fs::path(argv[2]) : fs::path("/tmp/tessoly-move-bench");
    if (!fs::exists(tree)) {
        std::printf("building %s ...\n", tree.c_str());
        buildTree(tree);
    }
    const tessoly::platform::WalkTotals totals = tessoly::platform::walkTree(tree);
    const double megabytes = static_cast<double>(totals.allocatedBytes) / 1e6;
    std::printf("tree: %lld files, %.0f MB allocated\n", static_cast<long long>(totals.files), megabytes);

    const fs::path ours = destination / "tessoly-bench-copy";
    const fs::path theirs = destination / "cp-bench-copy";
    dropCopy(ours);
    dropCopy(theirs);
    double best = 1e9;
    double bestCp = 1e9;
    double bestVerify = 1e9;
    tessoly::platform::StatvfsVolumeInfo volumes;
    tessoly::platform::FreedesktopTrash trash("/tmp/tessoly-bench-trash", ::getuid());
    tessoly::MoveFileOperations operations(trash, volumes);
    for (int round = 0; round < 3; ++round) {
        auto start = Clock::now();
        const QString error = tessoly::platform::copyItem(tree, ours); // ends with a sync of the target
        best = std::min(best, seconds(Clock::now() - start));
        if (!error.isEmpty()) {
            std::fprintf(stderr, "copy failed: %s\n", qPrintable(error));
            return 1;
        }
        start = Clock::now();
        const tessoly::VerificationReport report = tessoly::verifyCopy(tree, ours, operations);
        bestVerify = std::min(bestVerify, seconds(Clock::now() - start));
        if (!report.ok || report.repairedFiles != 0) {
            std::fprintf(stderr, "verification: %s\n", qPrintable(report.detail()));
            return 1;
        }
        dropCopy(ours);

        start = Clock::now();
        const int status = QProcess::execute("sh", {"-c", QString("cp -a '%1' '%2' && sync -f '%2'")
                                                              .arg(QString::fromStdString(tree.native()),
                                                                   QString::fromStdString(theirs.native()))});
        bestCp = std::min(bestCp, seconds(Clock::now() - start));
        if (status != 0)
            return 1;
        dropCopy(theirs);
    }
    const double files = static_cast<double>(totals.files);
    std::printf("copy    (ours):  %.2f s  %.0f MB/s  %.0f files/s\n", best, megabytes / best, files / best);
    std::printf("copy    (cp -a): %.2f s  %.0f MB/s  %.0f files/s\n", bestCp, megabytes / bestCp, files / bestCp);
    std::printf("ratio ours / cp -a: %.2f\n", best / bestCp);
    std::printf("verify:          %.2f s  %.0f files/s (%.0f MB/s of data covered)\n", bestVerify, files / bestVerify,
                megabytes / bestVerify);
    return 0;
}
