#include "ScanSupport.h"

#include "platform/linux/LinuxPlatform.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly::test {
namespace fs = std::filesystem;

ScanHome::ScanHome(std::optional<fs::path> snapshotTool)
    : logTrash(home.trash(), ::getuid())
    , history(home.historyFile(), logTrash)
{
    auto platform = platform::makeLinuxPlatform();
    auto scripted = std::make_unique<ScriptedVolumes>();
    volumes = scripted.get();
    platform->volumes = std::move(scripted);
    platform->snapshotTool = std::move(snapshotTool);
    app = std::make_unique<TessolyApp>(std::move(platform), &history);
    smart().setCompletionDelay(std::chrono::milliseconds(5));
}

ScanHome::~ScanHome() = default;

void allocate(const fs::path &file, qint64 bytes)
{
    fs::create_directories(file.parent_path());
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        throw std::runtime_error("can't create " + file.native());
    const int failed = bytes > 0 ? ::posix_fallocate(fd, 0, bytes) : 0;
    ::close(fd);
    if (failed != 0)
        throw std::runtime_error("can't allocate " + file.native());
}

void fillExactly(const fs::path &folder, qint64 bytes)
{
    constexpr qint64 piece = 64LL << 20;
    for (int i = 0; bytes > 0; ++i) {
        const qint64 size = std::min(bytes, piece);
        allocate(folder / ("part-" + std::to_string(i)), size);
        bytes -= size;
    }
}

std::string inodeListing(const fs::path &root, bool withInodes)
{
    std::vector<std::string> lines;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        struct stat st{};
        ::lstat(entry.path().c_str(), &st);
        lines.push_back(fs::relative(entry.path(), root).native() + " " + std::to_string(st.st_mode) + " " +
                        std::to_string(st.st_size) + (withInodes ? " " + std::to_string(st.st_ino) : std::string()) + "\n");
    }
    std::sort(lines.begin(), lines.end());
    std::string listing;
    for (const std::string &line : lines)
        listing += line;
    return listing;
}

std::optional<Recommendation> cardTitled(const SmartScanService &smart, const QString &start)
{
    for (const Recommendation &card : smart.visibleRecommendations())
        if (card.title.startsWith(start))
            return card;
    return std::nullopt;
}

} // namespace tessoly::test
