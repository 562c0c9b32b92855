// The X-Ray's twelve measurements together against the slowest of them
// alone, and against `du -s` of the same places, on a home whose app data
// and Flatpak data dominate (as on a real desktop), all warm.
//
//   xray_bench [home folder]   (default: /tmp/tessoly-xray-bench, made on first use)
#include "cleaning/SystemDataXRay.h"

#include "BenchSupport.h"

#include <QCoreApplication>
#include <QProcess>
#include <cstdio>

namespace fs = std::filesystem;
using namespace bench;
using namespace tessoly;

namespace {

void fill(const fs::path &root, int folders, int files)
{
    for (int d = 0; d < folders; ++d) {
        const fs::path dir = root / ("d" + std::to_string(d / 20)) / ("e" + std::to_string(d));
        fs::create_directories(dir);
        for (int f = 0; f < files; ++f)
            makeFile(dir / ("f" + std::to_string(f)), std::size_t((d * 131 + f * 7919) % 20000));
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const fs::path home = argc > 1 ? fs::path(argv[1]) : fs::path("/tmp/tessoly-xray-bench");
    ::setenv("HOME", home.c_str(), 1);
    for (const char *variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"})
        ::unsetenv(variable);
    if (!fs::exists(home / ".local/share")) {
        std::printf("Building the home in %s…\n", home.c_str());
        fill(home / ".local/share/apps", 1200, 50); // 60,000 files
        fill(home / ".var/app/org.example.Big", 200, 50);
        fill(home / ".cache", 200, 40);
        fill(home / ".local/share/Trash/files", 40, 25);
        fill(home / ".local/state", 20, 25);
        fill(home / ".thunderbird", 40, 25);
    }
    XRayMeasurements measured;
    const double together = median(7, [&] { measured = SystemDataXRay::measure(home); });
    double slowest = 0;
    QString slowestKey;
    QStringList places;
    for (const auto &[key, name] : SystemDataXRay::measuredKeys()) {
        const double alone = median(7, [&, n = name] { (void)SystemDataXRay::sizeOf(n, home); });
        if (alone > slowest) {
            slowest = alone;
            slowestKey = key;
        }
    }
    for (const char *place : {".local/share", ".var/app", ".cache", ".local/state", ".thunderbird"})
        places << QString::fromStdString((home / place).native());
    const double du = median(7, [&] {
        QProcess process;
        process.start("du", QStringList{"-s", "-B1"} + places);
        process.waitForFinished(-1);
    });
    std::printf("twelve together: %.3f s; slowest alone (%s): %.3f s; ratio %.2f\n", together, qPrintable(slowestKey),
                slowest, together / slowest);
    std::printf("du -s of the same places: %.3f s; ratio Tessoly / du %.2f\n", du, together / du);
    return 0;
}
