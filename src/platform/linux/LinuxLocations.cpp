#include "platform/linux/LinuxLocations.h"

#include "platform/FileWalker.h"
#include "platform/linux/LinuxMountedVolumes.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <mutex>
#include <fstream>
#include <optional>
#include <pwd.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly::platform {
namespace fs = std::filesystem;
namespace {

constexpr const char *kAppFolder = "com.tessoly.app";

// An XDG variable counts only when it holds an absolute path.
fs::path xdgOr(const char *variable, const fs::path &fallback)
{
    const char *value = std::getenv(variable);
    if (value != nullptr && value[0] == '/')
        return value;
    return fallback;
}

// The base folders the table's rows hang from. Root is an absolute path;
// SwapFiles stands for the swap files the kernel uses now, Logs for the log
// files and folders apps keep, Trashes for the Trash folders of the user on
// every mounted file system.
enum class Base { Home, Cache, Data, Config, State, Root, UserDir, SwapFiles, Logs, Trashes };

struct Place {
    Base base;
    const char *path;
};

struct Row {
    std::string_view name;
    std::array<Place, 2> places; // second entry with path == nullptr when unused
};

// Where each named location's data lives on Linux. Names not listed here
// are taken as they stand under the home folder (or as absolute paths).
constexpr Row kTable[] = {
    // Catalogue folders.
    {"Library/Caches/CocoaPods", {{{Base::Cache, "CocoaPods"}, {Base::Home, nullptr}}}},
    {"Library/Caches/Google", {{{Base::Cache, "Google"}, {Base::Home, nullptr}}}},
    {"Library/Caches/Yarn", {{{Base::Cache, "yarn"}, {Base::Home, nullptr}}}},
    {"Library/pnpm/store", {{{Base::Data, "pnpm/store"}, {Base::Home, nullptr}}}},
    {"Library/Caches/Homebrew", {{{Base::Cache, "Homebrew"}, {Base::Home, nullptr}}}},
    {"Library/Caches/Google/Chrome", {{{Base::Cache, "google-chrome"}, {Base::Home, nullptr}}}},
    {"Library/Caches/Firefox", {{{Base::Cache, "mozilla/firefox"}, {Base::Home, nullptr}}}},
    {"Library/Caches/com.apple.QuickLook.thumbnailcache", {{{Base::Cache, "thumbnails"}, {Base::Home, nullptr}}}},
    // Move suggestions.
    {"AndroidSDK", {{{Base::Home, "AndroidSDK"}, {Base::Home, "Android/Sdk"}}}},
    // The System Data X-Ray, and the data folders apps keep (their storage per app).
    {"Library/Caches", {{{Base::Cache, ""}, {Base::Home, nullptr}}}},
    {"/Library/Caches", {{{Base::Root, "/var/cache"}, {Base::Home, nullptr}}}},
    // Never a whole folder: .local/state also holds shell history, undo files and keys.
    {"Library/Logs", {{{Base::Logs, ""}, {Base::Home, nullptr}}}},
    // Per app (measured, never cleaned): the folders apps keep their state and logs in.
    {"Library/Logs/<app>", {{{Base::State, ""}, {Base::Home, nullptr}}}},
    {"Library/DiagnosticReports", {{{Base::Root, "/var/crash"}, {Base::Root, "/var/lib/systemd/coredump"}}}},
    {"/private/var/vm", {{{Base::SwapFiles, ""}, {Base::Home, nullptr}}}},
    {".Trash", {{{Base::Data, "Trash"}, {Base::Home, nullptr}}}},
    // The home Trash, and the user's Trash folders on other file systems.
    {".Trash (all)", {{{Base::Trashes, ""}, {Base::Home, nullptr}}}},
    {"Library/Containers/com.docker.docker/Data/vms/0/data/Docker.raw",
     {{{Base::Home, ".docker/desktop/vms/0/data/Docker.raw"}, {Base::Root, "/var/lib/docker"}}}},
    {"Library/Containers/com.docker.docker/Data/vms/0/data",
     {{{Base::Home, ".docker/desktop/vms/0/data"}, {Base::Root, "/var/lib/docker"}}}},
    {"Library/Mail", {{{Base::Home, ".thunderbird"}, {Base::Data, "evolution/mail"}}}},
    {"Library/Application Support", {{{Base::Data, ""}, {Base::Home, nullptr}}}},
    {"Library/Containers", {{{Base::Home, ".var/app"}, {Base::Home, nullptr}}}},
    {"Library/Preferences", {{{Base::Config, ""}, {Base::Home, nullptr}}}},
    // Personal folders: the XDG user directories.
    {"Desktop", {{{Base::UserDir, "XDG_DESKTOP_DIR"}, {Base::Home, nullptr}}}},
    {"Documents", {{{Base::UserDir, "XDG_DOCUMENTS_DIR"}, {Base::Home, nullptr}}}},
    {"Downloads", {{{Base::UserDir, "XDG_DOWNLOAD_DIR"}, {Base::Home, nullptr}}}},
    {"Movies", {{{Base::UserDir, "XDG_VIDEOS_DIR"}, {Base::Home, nullptr}}}},
    {"Music", {{{Base::UserDir, "XDG_MUSIC_DIR"}, {Base::Home, nullptr}}}},
    {"Pictures", {{{Base::UserDir, "XDG_PICTURES_DIR"}, {Base::Home, nullptr}}}},
    {"Templates", {{{Base::UserDir, "XDG_TEMPLATES_DIR"}, {Base::Home, nullptr}}}},
    {"Public", {{{Base::UserDir, "XDG_PUBLICSHARE_DIR"}, {Base::Home, nullptr}}}},
};

fs::path configHomeOf(const fs::path &home)
{
    return xdgOr("XDG_CONFIG_HOME", home / ".config");
}

// One directory of user-dirs.dirs ("$HOME/Videos" or an absolute path); a
// directory set to the home folder itself means "not used".
std::optional<fs::path> userDir(const char *variable, const fs::path &home)
{
    std::ifstream file(configHomeOf(home) / "user-dirs.dirs");
    std::string line;
    const std::string prefix = std::string(variable) + "=\"";
    while (std::getline(file, line)) {
        if (!line.starts_with(prefix) || line.size() < prefix.size() + 1 || line.back() != '"')
            continue;
        std::string value = line.substr(prefix.size(), line.size() - prefix.size() - 1);
        fs::path path;
        if (value.starts_with("$HOME/"))
            path = home / value.substr(6);
        else if (value.starts_with('/'))
            path = value;
        else
            return std::nullopt;
        if (path.lexically_normal() == home.lexically_normal() || value == "$HOME/")
            return std::nullopt;
        return path;
    }
    return std::nullopt;
}

fs::path under(const fs::path &base, const char *path)
{
    return path[0] == '\0' ? base : base / path;
}

// The swap files in use (partitions are no files of anyone's and count nothing).
std::vector<fs::path> swapFiles()
{
    std::vector<fs::path> files;
    std::ifstream swaps("/proc/swaps");
    std::string line;
    std::getline(swaps, line); // the header
    while (std::getline(swaps, line)) {
        std::istringstream fields(line);
        std::string written, type;
        if (!(fields >> written >> type) || type != "file")
            continue;
        // The kernel writes a blank in a path as \040.
        std::string path;
        for (std::size_t i = 0; i < written.size(); ++i) {
            if (written.compare(i, 4, "\\040") == 0) {
                path.push_back(' ');
                i += 3;
            } else {
                path.push_back(written[i]);
            }
        }
        files.emplace_back(path);
    }
    return files;
}

bool isLogFolderName(std::string_view name)
{
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower == "log" || lower == "logs";
}

// "log", "x.log", "x.log.1", "x.log.gz", "x.log.2.gz", "x.log.old".
bool isLogFileName(std::string_view name)
{
    if (name == "log")
        return true;
    const std::size_t at = name.rfind(".log");
    if (at == std::string_view::npos || at == 0)
        return false;
    std::string_view rest = name.substr(at + 4);
    if (rest.empty() || rest == ".gz" || rest == ".old")
        return true;
    if (rest.front() != '.')
        return false;
    rest.remove_prefix(1);
    if (rest.ends_with(".gz"))
        rest.remove_suffix(3);
    return !rest.empty() && std::all_of(rest.begin(), rest.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// What really is a log: folders named log or logs and log files in the
// state and cache folders (a few levels down, where apps keep them), and
// the X session's error files in the home. Never one of the folders themselves.
std::vector<fs::path> logPlaces(const fs::path &home, const fs::path &state, const fs::path &cache)
{
    std::vector<fs::path> found;
    std::mutex lock;
    std::vector<fs::path> roots;
    for (const fs::path &root : {state, cache})
        if (std::find(roots.begin(), roots.end(), root) == roots.end() && root != home)
            roots.push_back(root);
    std::vector<std::string> rootNames;
    for (const fs::path &root : roots)
        rootNames.push_back(root.native());
    WalkOptions options;
    options.maxDepth = 3;
    options.skipDescendants = [&](const std::string &folder) {
        const auto slash = folder.rfind('/');
        if (std::find(rootNames.begin(), rootNames.end(), folder) != rootNames.end()
            || !isLogFolderName(std::string_view(folder).substr(slash + 1)))
            return false;
        const std::lock_guard guard(lock);
        found.emplace_back(folder);
        return true;
    };
    options.onFile = [&](const WalkedFile &file) {
        if (!isLogFileName(file.name))
            return;
        const std::lock_guard guard(lock);
        found.push_back(fs::path(file.folder) / std::string(file.name));
    };
    (void)walkTrees(roots, options);
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(home, error))
        if (entry.path().filename().native().starts_with(".xsession-errors") && entry.is_regular_file(error))
            found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

// The home Trash first, then the user's Trash folders at the top of other
// file systems (where items of those file systems go).
std::vector<fs::path> trashes(const fs::path &homeTrash)
{
    std::vector<fs::path> found{homeTrash};
    const std::string uid = std::to_string(::getuid());
    std::ifstream table("/proc/self/mountinfo");
    std::stringstream text;
    text << table.rdbuf();
    for (const MountEntry &mount : parseMountInfo(text.str())) {
        const fs::path &top = mount.mountPoint;
        for (const fs::path &trash : {top / (".Trash-" + uid), top / ".Trash" / uid}) {
            struct stat st{};
            if (::lstat(trash.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::getuid()
                && std::find(found.begin(), found.end(), trash) == found.end())
                found.push_back(trash);
        }
    }
    return found;
}

fs::path placeOf(const Place &place, std::string_view name, const fs::path &home)
{
    switch (place.base) {
    case Base::Home: return under(home, place.path);
    case Base::Cache: return under(cacheHome(home), place.path);
    case Base::Data: return under(xdgOr("XDG_DATA_HOME", home / ".local/share"), place.path);
    case Base::Config: return under(configHomeOf(home), place.path);
    case Base::State: return under(xdgOr("XDG_STATE_HOME", home / ".local/state"), place.path);
    case Base::Root: return place.path;
    case Base::UserDir: return userDir(place.path, home).value_or(home / std::string(name));
    case Base::SwapFiles:
    case Base::Logs:
    case Base::Trashes: break;
    }
    return home / std::string(name);
}

} // namespace

fs::path LinuxLocations::home() const
{
    const char *value = std::getenv("HOME");
    if (value != nullptr && value[0] == '/')
        return value;
    if (const passwd *entry = ::getpwuid(::getuid()); entry != nullptr && entry->pw_dir != nullptr)
        return entry->pw_dir;
    return "/";
}

fs::path LinuxLocations::dataHome()
{
    return xdgOr("XDG_DATA_HOME", LinuxLocations().home() / ".local/share");
}

fs::path LinuxLocations::configHome()
{
    return configHomeOf(LinuxLocations().home());
}

fs::path LinuxLocations::applicationSupport() const
{
    return dataHome() / kAppFolder;
}

fs::path LinuxLocations::preferences() const
{
    return configHome() / kAppFolder;
}

fs::path LinuxLocations::caches() const
{
    return cacheHome(home()) / kAppFolder;
}

fs::path cacheHome(const fs::path &home)
{
    return xdgOr("XDG_CACHE_HOME", home / ".cache");
}

std::vector<fs::path> locateAll(std::string_view name, const fs::path &home)
{
    for (const Row &row : kTable) {
        if (row.name != name)
            continue;
        if (row.places[0].base == Base::SwapFiles)
            return swapFiles();
        if (row.places[0].base == Base::Logs)
            return logPlaces(home, xdgOr("XDG_STATE_HOME", home / ".local/state"), cacheHome(home));
        if (row.places[0].base == Base::Trashes)
            return trashes(xdgOr("XDG_DATA_HOME", home / ".local/share") / "Trash");
        std::vector<fs::path> places;
        for (const Place &place : row.places)
            if (place.path != nullptr)
                places.push_back(placeOf(place, name, home));
        return places;
    }
    if (name.starts_with('/'))
        return {fs::path(name)};
    return {home / fs::path(name)};
}

fs::path locate(std::string_view name, const fs::path &home)
{
    const std::vector<fs::path> places = locateAll(name, home);
    if (places.empty()) // no swap file: the name's own place, which isn't there
        return name.starts_with('/') ? fs::path(name) : home / fs::path(name);
    for (const fs::path &place : places) {
        struct stat st{};
        if (::lstat(place.c_str(), &st) == 0)
            return place;
    }
    return places.front();
}

} // namespace tessoly::platform
