// Times one append to a log of 1000 entries as the window and the command
// line make it: take the lock, re-read and decode the file, add the entry,
// encode, write a temporary file, fsync, rename and fsync the folder.
// Also times the parts without the disk (decode + encode) and the lock alone.
//
//   history_bench [folder]    (default: a new folder under /var/tmp, on a real disk)
#include "history/CleanupHistoryStore.h"
#include "history/HistoryJson.h"
#include "platform/AtomicFile.h"
#include "platform/SharedFile.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace tessoly;

namespace {

CleanupHistoryEntry sampleEntry(int n)
{
    std::vector<CleanupHistoryEntry::Item> items;
    for (int i = 0; i < 3; ++i) {
        CleanupHistoryEntry::Item item;
        item.originalPath = "/home/someone/.cache/app-" + std::to_string(n) + "/entry-" + std::to_string(i);
        item.trashedPath = "/home/someone/.local/share/Trash/files/entry-" + std::to_string(n) + "-" + std::to_string(i);
        item.bytes = 4096L * (n + i);
        items.push_back(std::move(item));
    }
    return CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::ProfileCleanup, "General User profile cleanup",
                                     12288L * n, std::move(items));
}

struct Figures {
    double median = 0;
    double p95 = 0;
    double worst = 0;
};

Figures figures(std::vector<double> ms)
{
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms[ms.size() * 95 / 100], ms.back()};
}

void print(const char *what, const Figures &f)
{
    std::printf("%-44s median %7.2f ms   p95 %7.2f ms   worst %7.2f ms\n", what, f.median, f.p95, f.worst);
}

double since(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    char templ[] = "/var/tmp/tessoly-history-bench-XXXXXX";
    const fs::path folder = argc > 1 ? fs::path(argv[1]) : fs::path(::mkdtemp(templ));
    fs::create_directories(folder);
    const fs::path file = folder / "history.json";
    platform::FreedesktopTrash trash(folder / "Trash", ::getuid());

    std::vector<CleanupHistoryEntry> entries;
    for (int i = 1000; i > 0; --i)
        entries.push_back(sampleEntry(i));
    const QByteArray full = encodeHistory(entries);
    (void)platform::writeFileAtomically(file, full);
    std::printf("log of %zu entries, %lld bytes, in %s\n", entries.size(), static_cast<long long>(full.size()),
                folder.c_str());

    constexpr int kRounds = 100;
    std::vector<double> codec;
    std::vector<double> decodeOnly;
    std::vector<double> lock;
    std::vector<double> append;
    for (int round = 0; round < kRounds; ++round) {
        auto start = Clock::now();
        const auto decoded = decodeHistory(full);
        decodeOnly.push_back(since(start));
        (void)encodeHistory(*decoded);
        codec.push_back(since(start));

        start = Clock::now();
        {
            const platform::FileLock held(file);
        }
        lock.push_back(since(start));
    }
    CleanupHistoryStore store(file, trash);
    for (int round = 0; round < kRounds; ++round) {
        const CleanupHistoryEntry entry = sampleEntry(2000 + round);
        const auto start = Clock::now();
        const QString error = store.append(entry);
        append.push_back(since(start));
        if (!error.isEmpty()) {
            std::fprintf(stderr, "append failed: %s\n", qPrintable(error));
            return 1;
        }
    }
    // The same, when another process changed the file since: it is decoded again.
    CleanupHistoryStore other(file, trash);
    std::vector<double> afterOther;
    for (int round = 0; round < kRounds; ++round) {
        (void)other.append(sampleEntry(5000 + round));
        const CleanupHistoryEntry entry = sampleEntry(3000 + round);
        const auto start = Clock::now();
        (void)store.append(entry);
        afterOther.push_back(since(start));
    }
    print("decode of the log (no disk)", figures(decodeOnly));
    print("decode + encode of the log (no disk)", figures(codec));
    print("lock taken and let go", figures(lock));
    print("append: lock, re-read, write, fsync, rename", figures(append));
    print("append after another process wrote the log", figures(afterOther));
    const Figures total = figures(append);
    const Figures foreign = figures(afterOther);
    std::printf("budget 20 ms (medians): %s\n", total.median < 20.0 && foreign.median < 20.0 ? "met" : "MISSED");
    if (argc <= 1)
        fs::remove_all(folder);
    return 0;
}
