// Times a whole duplicates scan of a home of 100,000 small files plus 40
// files of 5 MiB in same-size groups (some identical, some differing in the
// last or a middle byte) against `jdupes -r` and `rdfind -dryrun true` on
// the same tree, all warm; the hashing stage against `openssl speed -evp
// sha256` per core; and a second scan (hash cache warm) against one walk.
//
//   duplicates_bench [home folder]   (default: /tmp/tessoly-duplicates-bench, made on first use)
#include "history/CleanupHistoryStore.h"
#include "cleaning/DuplicateFinder.h"
#include "platform/FileWalker.h"
#include "platform/linux/FreedesktopTrash.h"

#include "BenchSupport.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QProcess>
#include <QRegularExpression>
#include <cstdio>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;
using namespace bench;
using namespace tessoly;

namespace {

constexpr std::size_t kBig = 5 << 20;

// Small files of unique content in 1,000 folders; 40 big files in groups of
// four sizes: per size five identical, three differing in the last byte,
// two in a middle byte.
void buildHome(const fs::path &documents)
{
    for (int folder = 0; folder < 1000; ++folder) {
        const fs::path dir = documents / ("project" + std::to_string(folder / 50)) / ("part" + std::to_string(folder));
        fs::create_directories(dir);
        for (int f = 0; f < 100; ++f) {
            const std::size_t n = std::size_t(folder) * 100 + std::size_t(f);
            std::ofstream out(dir / ("note" + std::to_string(f) + ".txt"), std::ios::binary);
            std::string content = "file " + std::to_string(n) + " ";
            content.resize((n * 7919) % 12000 + content.size(), char('a' + n % 26));
            out << content;
        }
    }
    const fs::path media = documents / "media";
    fs::create_directories(media);
    std::string data(kBig, '\0');
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = char((i * 2654435761u) >> 24);
    for (int size = 0; size < 4; ++size) {
        for (int copy = 0; copy < 10; ++copy) {
            std::string content = data.substr(0, kBig - std::size_t(size) * 4096);
            if (copy >= 5 && copy < 8)
                content.back() = char(copy);
            else if (copy >= 8)
                content[content.size() / 2] = char(copy);
            std::ofstream(media / ("clip" + std::to_string(size) + "-" + std::to_string(copy) + ".mov"), std::ios::binary) << content;
        }
    }
}

QByteArray run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(-1);
    return process.readAllStandardOutput();
}

int jdupesGroups(const QByteArray &output)
{
    int groups = 0;
    bool inGroup = false;
    for (const QByteArray &line : output.split('\n')) {
        if (line.isEmpty())
            inGroup = false;
        else if (!inGroup) {
            inGroup = true;
            ++groups;
        }
    }
    return groups;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const fs::path home = argc > 1 ? fs::path(argv[1]) : fs::path("/tmp/tessoly-duplicates-bench");
    const fs::path documents = home / "Documents";
    ::setenv("HOME", home.c_str(), 1);
    for (const char *variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        ::unsetenv(variable);
    if (!fs::exists(documents / "media")) {
        std::printf("Building the tree in %s…\n", documents.c_str());
        buildHome(documents);
    }
    platform::FreedesktopTrash trash(home / ".local/share/Trash", ::getuid());
    CleanupHistoryStore history(home / "bench-history.json", trash);
    const fs::path cache = home / ".cache/com.tessoly.app/content-hashes";

    std::size_t groups = 0;
    double hashStart = 0, hashEnd = 0;
    const auto scan = [&](bool cold) {
        if (cold)
            fs::remove(cache);
        DuplicateFinder finder(home, trash, history, cache);
        const auto start = Clock::now();
        QObject::connect(&finder, &DuplicateFinder::scanProgressChanged, [&] {
            if (finder.scanProgress().startsWith(QStringLiteral("Found")))
                hashStart = seconds(Clock::now() - start);
        });
        QCoro::waitFor(finder.scan());
        hashEnd = seconds(Clock::now() - start);
        groups = finder.groups().size();
    };
    QByteArray jdupesOut, rdfindOut;
    const auto jdupes = [&] { jdupesOut = run("jdupes", {"-r", "-q", QString::fromStdString(documents.native())}); };
    const auto rdfind = [&] {
        rdfindOut = run("rdfind", {"-dryrun", "true", "-outputname", QString::fromStdString((home / "rdfind.txt").native()),
                                   QString::fromStdString(documents.native())});
    };
    scan(true); // warm the page cache for everyone
    jdupes();
    rdfind();

    std::vector<double> hashing;
    const double ours = median(7, [&] {
        scan(true);
        hashing.push_back(hashEnd - hashStart);
    });
    std::sort(hashing.begin(), hashing.end());
    const double jdupesTime = median(5, jdupes);
    const double rdfindTime = median(5, rdfind);
    const double second = median(7, [&] { scan(false); });
    platform::WalkOptions walkOptions;
    const double walk = median(7, [&] { (void)platform::walkTree(home, walkOptions); });

    const QByteArray speed = run("openssl", {"speed", "-evp", "sha256", "-seconds", "2", "-bytes", "1048576"});
    const QRegularExpressionMatch m = QRegularExpression(QStringLiteral("sha256\\s+([0-9.]+)k")).match(QString::fromUtf8(speed));
    const double opensslPerCore = m.hasMatch() ? m.captured(1).toDouble() * 1000 : 0; // bytes per second
    const double hashedBytes = 40.0 * double(kBig);
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    const double perCore = hashedBytes / hashing[hashing.size() / 2] / cores;
    const QByteArray rdfindReport = QByteArray::fromStdString([&] {
        std::ifstream in(home / "rdfind.txt");
        return std::string(std::istreambuf_iterator<char>(in), {});
    }());

    std::printf("groups: Tessoly %zu, jdupes %d, rdfind %lld first-occurrence lines\n", groups, jdupesGroups(jdupesOut),
                static_cast<long long>(rdfindReport.count("DUPTYPE_FIRST_OCCURRENCE")));
    std::printf("whole scan, cold hash cache: Tessoly %.3f s, jdupes -r %.3f s, rdfind -dryrun %.3f s (medians)\n", ours,
                jdupesTime, rdfindTime);
    std::printf("ratio Tessoly / jdupes: %.2f, Tessoly / rdfind: %.2f\n", ours / jdupesTime, ours / rdfindTime);
    std::printf("hashing stage: %.3f s for %.0f MiB on %u workers = %.0f MB/s per core; openssl speed: %.0f MB/s per core (%.0f%%)\n",
                hashing[hashing.size() / 2], hashedBytes / 1048576, cores, perCore / 1e6, opensslPerCore / 1e6,
                opensslPerCore > 0 ? 100 * perCore / opensslPerCore : 0.0);
    std::printf("second scan (cache warm): %.3f s; one walk: %.3f s; ratio %.2f\n", second, walk, second / walk);
    return 0;
}
