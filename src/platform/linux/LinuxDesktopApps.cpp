#include "platform/DesktopApps.h"

#include "platform/PathText.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly::platform {
namespace fs = std::filesystem;
namespace {

constexpr const char *kPackageLists = "/var/lib/dpkg/info";
constexpr const char *kSystemFlatpak = "/var/lib/flatpak/exports/share";
constexpr const char *kSnapDesktop = "/var/lib/snapd/desktop";

// The folders whose "applications" hold the desktop's entries, most
// important first: the user's data folder, the system's data folders, and
// the Flatpak and snap exports where the session didn't list them.
std::vector<fs::path> dataFolders(const fs::path &home)
{
    std::vector<fs::path> folders;
    auto add = [&folders](const fs::path &folder) {
        if (folder.is_absolute() && std::find(folders.begin(), folders.end(), folder.lexically_normal()) == folders.end())
            folders.push_back(folder.lexically_normal());
    };
    const char *dataHome = std::getenv("XDG_DATA_HOME");
    const fs::path userData = dataHome != nullptr && dataHome[0] == '/' ? fs::path(dataHome) : home / ".local/share";
    add(userData);
    add(userData / "flatpak/exports/share");
    const char *dirs = std::getenv("XDG_DATA_DIRS");
    const std::string list = dirs != nullptr && dirs[0] != '\0' ? dirs : "/usr/local/share:/usr/share";
    for (std::size_t start = 0; start <= list.size();) {
        const std::size_t end = std::min(list.find(':', start), list.size());
        if (end > start)
            add(list.substr(start, end - start));
        start = end + 1;
    }
    add(kSystemFlatpak);
    add(kSnapDesktop);
    return folders;
}

struct Entry {
    QString fileId;
    fs::path file;
    QHash<QString, QString> keys; // of the [Desktop Entry] group
};

std::optional<Entry> readEntry(const fs::path &file, QString fileId)
{
    std::ifstream in(file);
    if (!in)
        return std::nullopt;
    Entry entry{std::move(fileId), file, {}};
    std::string line;
    bool inGroup = false;
    while (std::getline(in, line)) {
        if (line.starts_with('[')) {
            inGroup = line == "[Desktop Entry]";
            continue;
        }
        const auto equals = line.find('=');
        if (!inGroup || line.starts_with('#') || equals == std::string::npos)
            continue;
        auto trim = [](std::string text) {
            const auto first = text.find_first_not_of(" \t");
            const auto last = text.find_last_not_of(" \t\r");
            return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
        };
        const QString key = QString::fromStdString(trim(line.substr(0, equals)));
        if (!entry.keys.contains(key))
            entry.keys.insert(key, QString::fromStdString(trim(line.substr(equals + 1))));
    }
    return entry;
}

// The words of an Exec line, quotes and escapes undone, field codes left out.
QStringList execWords(const QString &exec)
{
    QStringList words;
    QString word;
    bool quoted = false, started = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (quoted) {
            if (c == u'\\' && i + 1 < exec.size())
                word.append(exec[++i]);
            else if (c == u'"')
                quoted = false;
            else
                word.append(c);
        } else if (c == u'"') {
            quoted = started = true;
        } else if (c == u' ' || c == u'\t') {
            if (started)
                words.append(word);
            word.clear();
            started = false;
        } else {
            word.append(c);
            started = true;
        }
    }
    if (started)
        words.append(word);
    words.removeIf([](const QString &w) { return w.size() == 2 && w.startsWith(u'%'); });
    return words;
}

// The program an Exec line starts, past "env" and its assignments.
QString programOf(const QString &exec)
{
    QStringList words = execWords(exec);
    if (!words.isEmpty() && (words.front() == u"env" || words.front().endsWith(u"/env"))) {
        words.removeFirst();
        while (!words.isEmpty() && (words.front().contains(u'=') || words.front().startsWith(u'-')))
            words.removeFirst();
    }
    return words.isEmpty() ? QString() : words.front();
}

std::optional<fs::path> findOnPath(const QString &program)
{
    if (program.isEmpty())
        return std::nullopt;
    const fs::path asGiven = textToPath(program);
    if (asGiven.is_absolute())
        return ::access(asGiven.c_str(), F_OK) == 0 ? std::optional(asGiven) : std::nullopt;
    const char *pathVariable = std::getenv("PATH");
    const std::string list = pathVariable != nullptr ? pathVariable : "/usr/local/bin:/usr/bin:/bin";
    for (std::size_t start = 0; start <= list.size();) {
        const std::size_t end = std::min(list.find(':', start), list.size());
        const fs::path candidate = fs::path(list.substr(start, end - start)) / asGiven;
        if (end > start && ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return std::nullopt;
}

// The names a program may be listed under by its package: as given, its
// real path, and both with and without the /usr of merged systems.
std::vector<std::string> packagedNames(const fs::path &program)
{
    std::vector<std::string> names{program.native()};
    std::error_code error;
    const fs::path real = fs::canonical(program, error);
    if (!error)
        names.push_back(real.native());
    const std::size_t count = names.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::string &name = names[i];
        if (name.starts_with("/usr/"))
            names.push_back(name.substr(4));
        else
            names.push_back("/usr" + name);
    }
    return names;
}

// For each wanted program, the package list that names it; every list is read once.
QHash<QString, fs::path> owningPackageLists(const std::vector<fs::path> &programs)
{
    QHash<QString, QString> wanted; // listed name -> program
    for (const fs::path &program : programs)
        for (const std::string &name : packagedNames(program))
            wanted.insert(QString::fromStdString(name), pathToText(program));
    QHash<QString, fs::path> owners;
    if (wanted.isEmpty())
        return owners;
    DIR *dir = ::opendir(kPackageLists);
    if (dir == nullptr)
        return owners;
    while (const dirent *item = ::readdir(dir)) {
        const std::string_view name(item->d_name);
        if (!name.ends_with(".list"))
            continue;
        const fs::path list = fs::path(kPackageLists) / item->d_name;
        std::ifstream in(list);
        std::string line;
        while (std::getline(in, line)) {
            const auto found = wanted.constFind(QString::fromStdString(line));
            if (found != wanted.constEnd() && !owners.contains(*found))
                owners.insert(*found, list);
        }
        if (owners.size() == static_cast<qsizetype>(programs.size()))
            break;
    }
    ::closedir(dir);
    return owners;
}

std::vector<fs::path> regularFilesOf(const fs::path &packageList)
{
    std::vector<fs::path> files;
    std::ifstream in(packageList);
    std::string line;
    while (std::getline(in, line)) {
        struct stat st{};
        if (!line.empty() && ::lstat(line.c_str(), &st) == 0 && S_ISREG(st.st_mode))
            files.emplace_back(line);
    }
    return files;
}

// The entries of one applications folder, by id ("a/b.desktop" is "a-b").
void listEntries(const fs::path &folder, const QString &prefix, std::vector<Entry> &entries)
{
    std::vector<std::pair<QString, fs::path>> found;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const QString name = pathToText(it->path().filename());
        if (it->is_directory(error) && !it->is_symlink(error)) {
            listEntries(it->path(), prefix + name + u'-', entries);
        } else if (name.endsWith(u".desktop")) {
            found.emplace_back(prefix + name.chopped(8), it->path());
        }
    }
    std::sort(found.begin(), found.end());
    for (auto &[id, file] : found)
        if (std::optional<Entry> entry = readEntry(file, id))
            entries.push_back(std::move(*entry));
}

} // namespace

std::vector<DesktopApp> desktopApps(const fs::path &home)
{
    std::vector<Entry> entries;
    for (const fs::path &folder : dataFolders(home))
        listEntries(folder / "applications", {}, entries);

    QSet<QString> seen;
    std::vector<DesktopApp> apps;
    std::vector<std::size_t> packaged; // apps whose bundle is a program a package may own
    for (const Entry &entry : entries) {
        if (seen.contains(entry.fileId))
            continue;
        seen.insert(entry.fileId); // a hidden or broken entry still shadows those after it
        if (entry.keys.value(QStringLiteral("Type")) != u"Application"
            || entry.keys.value(QStringLiteral("Hidden")) == u"true")
            continue;
        DesktopApp app;
        app.fileId = entry.fileId;
        app.name = entry.keys.value(QStringLiteral("Name"));
        if (app.name.isEmpty())
            app.name = entry.fileId;
        app.windowClass = entry.keys.value(QStringLiteral("StartupWMClass"));
        const QString program = programOf(entry.keys.value(QStringLiteral("Exec")));
        app.program = pathToText(textToPath(program).filename());
        app.bundle = entry.file;
        const std::string entryFile = entry.file.native();
        if (const auto exports = entryFile.find("/exports/share/applications/"); exports != std::string::npos) {
            // A Flatpak: <installation>/exports/share/applications/<id>.desktop, its files in <installation>/app/<id>.
            app.bundle = fs::path(entryFile.substr(0, exports)) / "app" / textToPath(entry.fileId);
            app.program.clear(); // the program is flatpak itself, no name of the app's
        } else if (program.startsWith(u"/snap/bin/")) {
            app.bundle = fs::path("/snap") / textToPath(app.program.section(u'.', 0, 0));
        } else if (const std::optional<fs::path> found = findOnPath(program)) {
            app.bundle = *found;
            if (!app.program.endsWith(u".AppImage", Qt::CaseInsensitive))
                packaged.push_back(apps.size());
        }
        apps.push_back(std::move(app));
    }

    std::vector<fs::path> programs;
    for (std::size_t index : packaged)
        programs.push_back(apps[index].bundle);
    const QHash<QString, fs::path> owners = owningPackageLists(programs);
    QHash<QString, std::vector<fs::path>> filesOfList;
    for (std::size_t index : packaged) {
        const auto owner = owners.constFind(pathToText(apps[index].bundle));
        if (owner == owners.constEnd())
            continue;
        const QString list = pathToText(*owner);
        if (!filesOfList.contains(list))
            filesOfList.insert(list, regularFilesOf(*owner));
        apps[index].bundleFiles = filesOfList.value(list);
    }
    return apps;
}

} // namespace tessoly::platform
