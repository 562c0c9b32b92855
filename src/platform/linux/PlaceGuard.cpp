#include "platform/PlaceGuard.h"

#include "platform/Locations.h"
#include "platform/PathText.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tessoly::platform {
namespace fs = std::filesystem;
namespace {

// Folders of the system: never a user's place, whatever leads there.
constexpr std::array kSystemFolders = {"/usr", "/etc", "/var", "/boot", "/opt", "/srv", "/proc", "/sys", "/dev", "/run",
    "/bin", "/sbin", "/lib", "/lib64", "/lib32", "/libx32"};

// The personal folders, by the names the locations table knows.
constexpr std::array kPersonal
    = {"Desktop", "Documents", "Downloads", "Music", "Pictures", "Movies", "Templates", "Public"};

std::optional<fs::path> resolved(const fs::path &path)
{
    char buffer[PATH_MAX];
    if (::realpath(path.c_str(), buffer) == nullptr)
        return std::nullopt;
    return fs::path(buffer);
}

bool sameOrInside(const fs::path &path, const fs::path &folder)
{
    return path == folder || liesInside(path, folder);
}

QString quoted(const fs::path &path, const fs::path &home)
{
    return QStringLiteral("“%1”").arg(abbreviateHome(displayPath(path), displayPath(home)));
}

// How the words name the resolved place when a link led there.
QString ledTo(const fs::path &given, const fs::path &place, const fs::path &home)
{
    return given.lexically_normal() == place
        ? quoted(place, home)
        : QStringLiteral("%1 (which leads to %2)").arg(quoted(given, home), quoted(place, home));
}

// The personal folder that the place is, or holds; nullopt when none.
std::optional<QString> personalFolderAt(const fs::path &place, const fs::path &home)
{
    for (const char *name : kPersonal) {
        const std::optional<fs::path> folder = resolved(locate(name, home));
        if (folder && sameOrInside(*folder, place))
            return QString::fromLatin1(name == std::string_view("Movies") ? "Videos" : name);
    }
    return std::nullopt;
}

bool isSystemPlace(const fs::path &place)
{
    for (const char *folder : kSystemFolders)
        if (sameOrInside(place, folder))
            return true;
    return false;
}

// Whether the place lies in the home folder of another user of this system.
bool insideAnotherUsersHome(const fs::path &place, const fs::path &ownHome)
{
    bool inside = false;
    ::setpwent();
    while (const passwd *entry = ::getpwent()) {
        if (entry->pw_uid == ::getuid() || entry->pw_dir == nullptr || entry->pw_dir[0] != '/')
            continue;
        const fs::path other = resolved(entry->pw_dir).value_or(fs::path(entry->pw_dir));
        if (other == "/" || sameOrInside(ownHome, other))
            continue; // "/" or an ancestor of our own home holds everyone's: judged by the other rules
        if (sameOrInside(place, other)) {
            inside = true;
            break;
        }
    }
    ::endpwent();
    return inside;
}

GuardedPlace refused(QString words)
{
    return GuardedPlace{{}, std::move(words)};
}

} // namespace

GuardedPlace guardRemoval(const fs::path &place, const fs::path &home)
{
    const fs::path ownHome = resolved(home).value_or(home.lexically_normal());
    const std::optional<fs::path> real = resolved(place);
    if (!real)
        return {}; // not there: nothing to remove
    const QString named = ledTo(place, *real, home);
    if (*real == "/")
        return refused(QStringLiteral("%1 is the whole system, so Tessoly leaves it alone: nothing in it was touched.")
                           .arg(named));
    if (sameOrInside(ownHome, *real))
        return refused(
            QStringLiteral("%1 is your home folder or holds it, so Tessoly leaves it alone: nothing in it was touched.")
                .arg(named));
    if (const std::optional<QString> personal = personalFolderAt(*real, home))
        return refused(
            QStringLiteral("%1 is your %2 folder or holds it, so Tessoly leaves it alone: nothing in it was touched.")
                .arg(named, *personal));
    if (!liesInside(*real, ownHome))
        return refused(
            QStringLiteral("%1 lies outside your home folder, so Tessoly leaves it alone: nothing in it was touched.")
                .arg(named));
    return GuardedPlace{*real, {}};
}

GuardedPlace guardSearchRoot(const fs::path &root, const QString &name, const fs::path &home)
{
    const fs::path ownHome = resolved(home).value_or(home.lexically_normal());
    const std::optional<fs::path> real = resolved(root);
    if (!real)
        return {};
    const QString named = QStringLiteral("%1 (%2)").arg(name, quoted(*real, home));
    struct stat st { };
    if (::stat(real->c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        return {};
    if (*real == "/")
        return refused(QStringLiteral("%1 is the whole system, so it wasn't searched.").arg(named));
    if (sameOrInside(ownHome, *real))
        return refused(QStringLiteral("%1 is your home folder or holds it, so it wasn't searched.").arg(named));
    if (liesInside(*real, ownHome))
        return GuardedPlace{*real, {}};
    // Elsewhere (a data disk), only a folder of the user's own.
    if (isSystemPlace(*real))
        return refused(QStringLiteral("%1 is a system folder, so it wasn't searched.").arg(named));
    if (st.st_uid != ::getuid() || insideAnotherUsersHome(*real, ownHome))
        return refused(QStringLiteral("%1 belongs to another user, so it wasn't searched.").arg(named));
    return GuardedPlace{*real, {}};
}

} // namespace tessoly::platform
