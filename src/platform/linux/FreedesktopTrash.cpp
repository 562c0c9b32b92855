#include "platform/linux/FreedesktopTrash.h"

#include "platform/PathText.h"
#include "platform/AtomicFile.h"

#include <QDateTime>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly::platform {
namespace fs = std::filesystem;

namespace {

QString quoted(const fs::path &item)
{
    return QStringLiteral("“%1”").arg(displayPath(item.filename()));
}

QString failure(const fs::path &item, const QString &why)
{
    return QStringLiteral("%1 couldn't be moved to the Trash: %2. It is still in its place.").arg(quoted(item), why);
}

// mkdir -p with mode 0700 for every folder it creates.
bool makePrivateFolders(const fs::path &folder)
{
    struct stat st{};
    if (::stat(folder.c_str(), &st) == 0)
        return S_ISDIR(st.st_mode);
    if (folder.has_parent_path() && folder.parent_path() != folder && !makePrivateFolders(folder.parent_path()))
        return false;
    return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

// Device of a path, or of its nearest existing ancestor.
bool deviceOfNearest(fs::path path, dev_t &device)
{
    struct stat st{};
    while (!path.empty()) {
        if (::stat(path.c_str(), &st) == 0) {
            device = st.st_dev;
            return true;
        }
        if (path == path.parent_path())
            break;
        path = path.parent_path();
    }
    return false;
}

// The candidate name number n for a base name: "a.txt", "a 2.txt", "a 3.txt".
std::string candidateName(const fs::path &name, int n)
{
    // Leave room for ".trashinfo" within NAME_MAX.
    constexpr std::size_t kMaxBase = NAME_MAX - 10 - 12;
    std::string stem = name.stem().native();
    std::string extension = name.extension().native();
    if (extension.size() > 32) { // not a real extension: keep the name whole
        stem = name.native();
        extension.clear();
    }
    if (stem.size() + extension.size() > kMaxBase)
        stem.resize(kMaxBase > extension.size() ? kMaxBase - extension.size() : 1);
    if (n > 1)
        stem += " " + std::to_string(n);
    return stem + extension;
}

// The highest ancestor of a folder that lies on the same device: the top
// directory of its mount.
fs::path mountTop(const fs::path &folder, dev_t device)
{
    fs::path top = folder;
    for (;;) {
        const fs::path up = top.parent_path();
        struct stat st{};
        if (up == top || ::stat(up.c_str(), &st) != 0 || st.st_dev != device)
            return top;
        top = up;
    }
}

// A path with its folder resolved (links followed), the last name kept as it is.
fs::path withResolvedFolder(const fs::path &path)
{
    char resolved[PATH_MAX];
    if (!path.has_parent_path() || ::realpath(path.parent_path().c_str(), resolved) == nullptr)
        return path.lexically_normal();
    return fs::path(resolved) / path.filename();
}

bool isRealFolder(const fs::path &path, struct stat *st = nullptr)
{
    struct stat own{};
    struct stat &info = st != nullptr ? *st : own;
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool writeAllFd(int fd, const std::string &text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

FreedesktopTrash::FreedesktopTrash(fs::path homeTrash, uid_t uid)
    : m_homeTrash(std::move(homeTrash))
    , m_uid(uid)
{
}

std::string FreedesktopTrash::encodePath(const std::string &bytes)
{
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(bytes.size());
    for (const char ch : bytes) {
        const auto c = static_cast<unsigned char>(ch);
        const bool unreserved = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'
            || c == '_' || c == '.' || c == '~' || c == '/';
        if (unreserved) {
            out.push_back(static_cast<char>(c));
        } else {
            out.push_back('%');
            out.push_back(hex[c >> 4]);
            out.push_back(hex[c & 0xF]);
        }
    }
    return out;
}

FreedesktopTrash::Location FreedesktopTrash::locate(const fs::path &item, dev_t device) const
{
    dev_t homeDevice = 0;
    if (deviceOfNearest(m_homeTrash, homeDevice) && homeDevice == device) {
        if (!makePrivateFolders(m_homeTrash / "files") || !makePrivateFolders(m_homeTrash / "info"))
            return {{}, {}, QStringLiteral("the Trash folder %1 can't be created").arg(displayPath(m_homeTrash))};
        return {m_homeTrash, {}, {}};
    }

    const fs::path top = mountTop(item.parent_path(), device);

    const std::string uid = std::to_string(m_uid);
    std::vector<fs::path> candidates;
    struct stat shared{};
    const fs::path sharedTrash = top / ".Trash";
    if (::lstat(sharedTrash.c_str(), &shared) == 0 && S_ISDIR(shared.st_mode) && (shared.st_mode & S_ISVTX) != 0)
        candidates.push_back(sharedTrash / uid);
    candidates.push_back(top / (".Trash-" + uid));

    for (const fs::path &candidate : candidates) {
        if (::mkdir(candidate.c_str(), 0700) != 0 && errno != EEXIST)
            continue;
        struct stat st{};
        if (::lstat(candidate.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_dev != device)
            continue;
        if (!makePrivateFolders(candidate / "files") || !makePrivateFolders(candidate / "info"))
            continue;
        return {candidate, top, {}};
    }
    return {{}, {}, QStringLiteral("no Trash can be written on the volume at %1").arg(displayPath(top))};
}

TrashOutcome FreedesktopTrash::trashItem(const fs::path &given, const BeforeMove &beforeMove)
{
    if (given.empty() || !given.has_filename())
        return {{}, failure(given, QStringLiteral("it has no name"))};
    const fs::path absolute = given.is_absolute() ? given.lexically_normal() : fs::absolute(given).lexically_normal();
    if (!absolute.has_filename() || absolute.filename() == "." || absolute.filename() == "..")
        return {{}, failure(given, QStringLiteral("it is not a movable item"))};

    // Resolve the folder it lies in, never the item itself (a symlink is trashed as a link).
    char resolved[PATH_MAX];
    if (::realpath(absolute.parent_path().c_str(), resolved) == nullptr)
        return {{}, failure(given, errorText(errno))};
    const fs::path item = fs::path(resolved) / absolute.filename();

    struct stat st{};
    if (::lstat(item.c_str(), &st) != 0)
        return {{}, failure(given, errorText(errno))};

    const Location location = locate(item, st.st_dev);
    if (!location.error.isEmpty())
        return {{}, failure(given, location.error)};
    if (item == location.trashDir || location.trashDir.native().starts_with(item.native() + "/"))
        return {{}, failure(given, QStringLiteral("it holds the Trash itself"))};

    const std::string recordedPath = location.topDir.empty() ? item.native()
                                                             : item.lexically_relative(location.topDir).native();
    const std::string info = "[Trash Info]\nPath=" + encodePath(recordedPath) + "\nDeletionDate="
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toStdString() + "\n";

    for (int n = 1; n < 10000; ++n) {
        const std::string name = candidateName(item.filename(), n);
        const fs::path infoPath = location.trashDir / "info" / (name + ".trashinfo");
        const fs::path target = location.trashDir / "files" / name;
        const int fd = ::open(infoPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return {{}, failure(given, errorText(errno))};
        }
        struct stat existing{};
        if (::lstat(target.c_str(), &existing) == 0) { // a stray file without a record: leave it, take another name
            ::close(fd);
            ::unlink(infoPath.c_str());
            continue;
        }
        const bool written = writeAllFd(fd, info);
        const int writeError = errno;
        if (::close(fd) != 0 || !written) {
            ::unlink(infoPath.c_str());
            return {{}, failure(given, errorText(written ? errno : writeError))};
        }
        if (beforeMove)
            beforeMove(target);
        if (::rename(item.c_str(), target.c_str()) != 0) {
            const int error = errno;
            ::unlink(infoPath.c_str());
            return {{}, failure(given, errorText(error))};
        }
        return {target, {}};
    }
    return {{}, failure(given, QStringLiteral("the Trash has no free name for it"))};
}

std::string FreedesktopTrash::decodePath(const std::string &encoded)
{
    const auto hexValue = [](char c) -> int {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        return -1;
    };
    std::string out;
    out.reserve(encoded.size());
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (encoded[i] == '%' && i + 2 < encoded.size() && hexValue(encoded[i + 1]) >= 0 && hexValue(encoded[i + 2]) >= 0) {
            out.push_back(static_cast<char>(hexValue(encoded[i + 1]) * 16 + hexValue(encoded[i + 2])));
            i += 2;
        } else {
            out.push_back(encoded[i]);
        }
    }
    return out;
}

QString FreedesktopTrash::checkRestorable(const fs::path &trashedPath, const fs::path &originalPath) const
{
    const QString outside = QStringLiteral("the log names %1, which isn't an item of the Trash, so it was left alone")
                                .arg(displayPath(trashedPath));
    if (!trashedPath.is_absolute() || !trashedPath.has_filename())
        return outside;
    for (const fs::path &component : trashedPath) {
        if (component == "." || component == "..")
            return outside;
    }
    // Directly inside a real "files" folder of a trash directory: no link on
    // the way may lead out of the Trash.
    const fs::path files = trashedPath.parent_path();
    if (files.filename() != "files" || !isRealFolder(files))
        return outside;
    char resolved[PATH_MAX];
    if (::realpath(files.c_str(), resolved) == nullptr)
        return outside;
    const fs::path resolvedFiles(resolved);
    const fs::path trashDir = resolvedFiles.parent_path();

    fs::path topDir; // empty for the home trash, whose records hold absolute paths
    const fs::path homeFiles = m_homeTrash / "files";
    const bool isHome = isRealFolder(homeFiles) && ::realpath(homeFiles.c_str(), resolved) != nullptr
        && fs::path(resolved) == resolvedFiles;
    if (!isHome) {
        // A volume's trash: "$top/.Trash-$uid", or "$top/.Trash/$uid" in a
        // sticky shared folder, owned by this user.
        struct stat st{};
        if (!isRealFolder(trashDir, &st) || st.st_uid != m_uid)
            return outside;
        const std::string uid = std::to_string(m_uid);
        fs::path candidateTop;
        if (trashDir.filename() == ".Trash-" + uid) {
            candidateTop = trashDir.parent_path();
        } else if (trashDir.filename() == uid && trashDir.parent_path().filename() == ".Trash") {
            struct stat shared{};
            if (!isRealFolder(trashDir.parent_path(), &shared) || (shared.st_mode & S_ISVTX) == 0)
                return outside;
            candidateTop = trashDir.parent_path().parent_path();
        } else {
            return outside;
        }
        if (mountTop(candidateTop, st.st_dev) != candidateTop)
            return outside;
        topDir = candidateTop;
    }

    // The Trash's own record of where the item came from.
    const std::optional<std::string> recorded =
        recordedPath(trashDir / "info" / (trashedPath.filename().native() + ".trashinfo"));
    if (!recorded || recorded->empty())
        return QStringLiteral("the Trash has no record of where %1 came from, so it was left alone").arg(quoted(trashedPath));
    fs::path from(*recorded);
    if (from.is_relative()) {
        if (topDir.empty())
            return QStringLiteral("the Trash's record of %1 is not a full path, so it was left alone").arg(quoted(trashedPath));
        from = topDir / from;
    }
    if (withResolvedFolder(from) != withResolvedFolder(originalPath))
        return QStringLiteral("the Trash's record says %1 came from %2, so it was left alone")
            .arg(quoted(trashedPath), displayPath(from));
    return {};
}

std::optional<std::string> FreedesktopTrash::recordedPath(const fs::path &infoPath)
{
    struct stat infoStat{};
    const FileContents info = ::lstat(infoPath.c_str(), &infoStat) == 0 && S_ISREG(infoStat.st_mode)
        ? readWholeFile(infoPath) : FileContents{};
    std::optional<std::string> recorded;
    if (info.ok) {
        bool inGroup = false;
        for (const QByteArray &line : info.data.split('\n')) {
            if (line.startsWith('['))
                inGroup = line.trimmed() == "[Trash Info]";
            else if (inGroup && line.startsWith("Path="))
                recorded = decodePath(line.mid(5).trimmed().toStdString());
        }
    }
    return recorded;
}

void FreedesktopTrash::dropRecordsWithoutItem(const fs::path &originalPath)
{
    dev_t device = 0;
    if (!originalPath.is_absolute() || !deviceOfNearest(originalPath.parent_path(), device))
        return;
    const Location location = locate(originalPath, device);
    if (!location.error.isEmpty())
        return;
    const fs::path wanted = withResolvedFolder(originalPath);
    std::error_code error;
    for (const fs::directory_entry &info : fs::directory_iterator(location.trashDir / "info", error)) {
        const std::string name = info.path().filename().native();
        if (!name.ends_with(".trashinfo"))
            continue;
        struct stat st{};
        const fs::path item = location.trashDir / "files" / name.substr(0, name.size() - 10);
        if (::lstat(item.c_str(), &st) == 0)
            continue; // a record with its item: a real entry of the Trash
        const std::optional<std::string> recorded = recordedPath(info.path());
        if (!recorded || recorded->empty()) {
            // Killed before the record was written: known by the name it took.
            const std::string base = name.substr(0, name.size() - 10);
            const std::string own = originalPath.filename().native();
            const std::string stem = originalPath.stem().native();
            if (base == own || (base.starts_with(stem + " ") && base.size() > stem.size() + 1))
                ::unlink(info.path().c_str());
            continue;
        }
        const fs::path from = fs::path(*recorded).is_relative() ? location.topDir / *recorded : fs::path(*recorded);
        if (from.lexically_normal() == wanted)
            ::unlink(info.path().c_str());
    }
}

void FreedesktopTrash::forgetTrashedItem(const fs::path &trashedPath)
{
    const fs::path files = trashedPath.parent_path();
    if (files.filename() != "files")
        return;
    struct stat st{};
    if (::lstat(trashedPath.c_str(), &st) == 0)
        return; // still in the Trash: its record stays
    const fs::path infoPath = files.parent_path() / "info" / (trashedPath.filename().native() + ".trashinfo");
    ::unlink(infoPath.c_str());
}

} // namespace tessoly::platform
