// The search index: memory per entry for 1,000,000 synthetic files (the
// process's resident growth), query times over them (including the sort and
// the 500 limit) beside `grep -i -m 500` over a file of the same names, and
// building the index from a real tree beside one walk of it and beside
// `find -printf` of the same data.
//
//   search_bench [tree]   (default: /tmp/tessoly-duplicates-bench, made by duplicates_bench)
#include "analysis/SearchIndex.h"
#include "analysis/UniversalSearchService.h"
#include "platform/FileWalker.h"

#include "BenchSupport.h"

#include <QCoreApplication>
#include <QProcess>
#include <cstdio>
#include <fstream>
#include <malloc.h>

namespace fs = std::filesystem;
using namespace bench;
using namespace tessoly;

namespace {

long residentBytes()
{
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

const char *kKinds[] = {"IMG_%06d.jpg", "report-%d-final.pdf", "track%05d.flac", "main%d.cpp", "Notes %d.txt", "cache-%x.bin"};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const fs::path tree = argc > 1 ? fs::path(argv[1]) : fs::path("/tmp/tessoly-duplicates-bench");
    constexpr int kEntries = 1000000;

    // Names written to a file too, for grep.
    const fs::path namesFile = "/tmp/tessoly-search-bench-names.txt";
    std::size_t nameBytes = 0;
    ::malloc_trim(0);
    const long before = residentBytes();
    SearchIndex index;
    {
        std::ofstream names(namesFile);
        SearchIndex::Builder builder;
        std::uint32_t folder = 0;
        char name[64];
        for (int i = 0; i < kEntries; ++i) {
            if (i % 1000 == 0)
                folder = builder.addFolder("/home/user/Documents/project" + std::to_string(i / 20000) + "/part" + std::to_string(i / 1000));
            std::snprintf(name, sizeof name, kKinds[i % 6], i);
            nameBytes += std::strlen(name);
            names << name << '\n';
            builder.addFile(folder, name, qint64((i * 2654435761u) % 4000000000u), 1700000000 + i);
        }
        index = std::move(builder).finish();
    }
    ::malloc_trim(0);
    const long growth = residentBytes() - before;
    std::printf("1,000,000 entries (names %.1f bytes on average): resident growth %.1f MB = %.1f bytes per entry "
                "(index's own count %.1f)\n",
                double(nameBytes) / kEntries, growth / 1e6, double(growth) / kEntries, double(index.memoryBytes()) / kEntries);

    struct Query {
        const char *text;
        double minMB;
    };
    const Query queries[] = {{"", 0}, {"report", 0}, {"REPORT", 100}, {"final.pdf", 0}, {"zzz-nothing", 0},
                             {"e", 0}, {"track0001", 0}, {"ü", 0}, {"", 3000}, {"7", 1500}};
    double slowest = 0;
    for (const Query &query : queries) {
        std::size_t found = 0;
        const double t = median(21, [&] { found = index.search(QString::fromUtf8(query.text), query.minMB, 500).size(); });
        slowest = std::max(slowest, t);
        std::printf("  query %-14s min %6.0f MB: %4zu results in %.2f ms\n", (std::string("\"") + query.text + "\"").c_str(),
                    query.minMB, found, t * 1000);
    }
    std::printf("slowest query: %.2f ms (median of 21 runs each)\n", slowest * 1000);
    const auto grep = [&](const char *pattern) {
        QProcess process;
        process.start("grep", {"-i", "-m", "500", "-c", pattern, QString::fromStdString(namesFile.native())});
        process.waitForFinished(-1);
    };
    grep("report");
    std::printf("grep -i -m 500 over the same names (whole process): \"report\" %.2f ms, \"zzz-nothing\" %.2f ms\n",
                median(11, [&] { grep("report"); }) * 1000, median(11, [&] { grep("zzz-nothing"); }) * 1000);
    fs::remove(namesFile);

    // Building from a real tree.
    if (!fs::exists(tree)) {
        std::printf("no tree at %s: run duplicates_bench first\n", tree.c_str());
        return 0;
    }
    std::size_t indexed = 0;
    const auto build = [&] {
        SearchIndex::Builder builder;
        UniversalSearchService::indexRoot(tree, builder);
        indexed = std::move(builder).finish().size();
    };
    platform::WalkOptions plain;
    const auto walk = [&] { (void)platform::walkTree(tree, plain); };
    const auto find = [&] {
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        process.start("find", {QString::fromStdString(tree.native()), "-type", "f", "-printf", "%s %T@ %p\n"});
        process.waitForFinished(-1);
    };
    build();
    walk();
    find();
    const double buildTime = median(7, build), walkTime = median(7, walk), findTime = median(7, find);
    std::printf("index of %zu files: %.3f s; one walk: %.3f s (walker speed ratio %.2f); find -printf: %.3f s (ratio %.2f)\n",
                indexed, buildTime, walkTime, walkTime / buildTime, findTime, buildTime / findTime);
    return 0;
}
