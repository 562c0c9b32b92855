// Times the node_modules search of a home of about 300,000 files (projects
// with dependency trees, sources and build output) against
// `find ~ -maxdepth 7 -name node_modules -prune` followed by `du -s` of what
// it finds, both warm, and prints the ratio.
//
//   nodemodules_bench [home folder]   (default: /tmp/tessoly-nodemodules-bench, made on first use)
#include "cleaning/NodeModulesSearch.h"

#include "BenchSupport.h"

#include <QCoreApplication>
#include <QProcess>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace bench;

namespace {

// 60 projects under code/ and Projects/: each has sources, a build folder,
// and a node_modules of 200 packages x 20 files (plus nested node_modules).
void buildHome(const fs::path &home)
{
    std::size_t n = 0;
    for (int p = 0; p < 60; ++p) {
        const fs::path project = home / (p % 2 ? "code" : "Projects") / ("client" + std::to_string(p % 7)) / ("app" + std::to_string(p));
        for (int s = 0; s < 10; ++s) {
            fs::create_directories(project / "src" / ("module" + std::to_string(s)));
            for (int f = 0; f < 50; ++f)
                makeFile(project / "src" / ("module" + std::to_string(s)) / ("file" + std::to_string(f) + ".ts"), (n++ * 7919) % 6000);
        }
        makeFile(project / "package.json", 400);
        for (int k = 0; k < 200; ++k) {
            const fs::path package = project / "node_modules" / ("pkg" + std::to_string(k)) / (k % 10 == 0 ? "node_modules/inner/lib" : "lib");
            fs::create_directories(package);
            for (int f = 0; f < 20; ++f)
                makeFile(package / ("index" + std::to_string(f) + ".js"), (n++ * 104729) % 30000);
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const fs::path home = argc > 1 ? fs::path(argv[1]) : fs::path("/tmp/tessoly-nodemodules-bench");
    ::unsetenv("XDG_CONFIG_HOME");
    if (!fs::exists(home / "code")) {
        std::printf("Building the home in %s…\n", home.c_str());
        const auto start = Clock::now();
        buildHome(home);
        std::printf("  built in %.1f s\n", seconds(Clock::now() - start));
    }
    std::vector<tessoly::NodeModulesFinding> findings;
    qint64 total = 0;
    const auto ours = [&] {
        findings = tessoly::NodeModulesSearch::find(home);
        total = 0;
        for (const auto &finding : findings)
            total += finding.bytes;
    };
    QByteArray duOutput;
    const QString script = QStringLiteral("find \"$1\" -maxdepth 7 -name node_modules -prune -print0 | xargs -0 du -s -B1");
    const auto standard = [&] {
        QProcess process;
        process.start("sh", {"-c", script, "sh", QString::fromStdString(home.native())});
        process.waitForFinished(-1);
        duOutput = process.readAllStandardOutput();
    };
    ours(); // warm the caches for both
    standard();
    const double oursTime = median(7, ours);
    const double standardTime = median(7, standard);
    qint64 duTotal = 0;
    for (const QByteArray &line : duOutput.split('\n'))
        if (!line.isEmpty())
            duTotal += line.split('\t').first().toLongLong();
    std::printf("node_modules found: %zu, %lld bytes (du: %lld, adds folder blocks)\n", findings.size(),
                static_cast<long long>(total), static_cast<long long>(duTotal));
    std::printf("Tessoly search:         %.3f s (median of 7, project activity included)\n", oursTime);
    std::printf("find -prune + du -s:    %.3f s (median of 7)\n", standardTime);
    std::printf("ratio Tessoly / find+du: %.2f\n", oursTime / standardTime);
    return 0;
}
