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
