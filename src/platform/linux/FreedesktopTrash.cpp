#include "platform/linux/FreedesktopTrash.h"

#include "core/PathText.h"
#include "platform/AtomicFile.h"

#include <QDateTime>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
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

    // The top of the item's mount: the highest ancestor on the same device.
    fs::path top = item.parent_path();
    for (;;) {
        const fs::path up = top.parent_path();
        struct stat st{};
        if (up == top || ::stat(up.c_str(), &st) != 0 || st.st_dev != device)
            break;
        top = up;
    }

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

TrashOutcome FreedesktopTrash::trashItem(const fs::path &given)
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
        if (::rename(item.c_str(), target.c_str()) != 0) {
            const int error = errno;
            ::unlink(infoPath.c_str());
            return {{}, failure(given, errorText(error))};
        }
        return {target, {}};
    }
    return {{}, failure(given, QStringLiteral("the Trash has no free name for it"))};
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
