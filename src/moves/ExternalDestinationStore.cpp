#include "moves/ExternalDestinationStore.h"

#include "core/DefaultsKeys.h"

#include "platform/PathText.h"
#include "platform/AtomicFile.h"
#include "platform/DefaultsStore.h"
#include "platform/Prompter.h"
#include "platform/Revealer.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace tessoly {
namespace fs = std::filesystem;

namespace {

struct FolderIdentity {
    QString fsid;
    quint64 inode = 0;
};

std::optional<FolderIdentity> identityOf(const fs::path &folder, QString *error)
{
    struct stat st{};
    struct statfs sfs{};
    if (::stat(folder.c_str(), &st) != 0 || ::statfs(folder.c_str(), &sfs) != 0) {
        if (error != nullptr)
            *error = platform::errorText(errno);
        return std::nullopt;
    }
    if (!S_ISDIR(st.st_mode)) {
        if (error != nullptr)
            *error = QStringLiteral("Not a folder");
        return std::nullopt;
    }
    // statfs's fsid is derived from the file system's UUID where it has one
    // (ext4, btrfs, xfs), so it survives remounting but not reformatting.
    int words[2] = {};
    static_assert(sizeof(words) == sizeof(sfs.f_fsid));
    std::memcpy(words, &sfs.f_fsid, sizeof(words));
    return FolderIdentity{QStringLiteral("%1:%2:%3")
                              .arg(static_cast<quint32>(words[0]), 8, 16, QLatin1Char('0'))
                              .arg(static_cast<quint32>(words[1]), 8, 16, QLatin1Char('0'))
                              .arg(static_cast<qulonglong>(sfs.f_type), 0, 16),
                          static_cast<quint64>(st.st_ino)};
}

// Makes <parent>/<subfolder> unless it exists; false when that fails.
bool makeSubfolder(const fs::path &folder)
{
    std::error_code error;
    if (fs::exists(folder, error))
        return true;
    fs::create_directories(folder, error);
    return !error;
}

// An alert with one "OK" button (built outside the coroutines: g++ 12
// mis-compiles braced lists inside them).
platform::AlertRequest simpleAlert(const QString &title, const QString &text)
{
    platform::AlertRequest alert;
    alert.title = title;
    alert.text = text;
    alert.buttons.append(QStringLiteral("OK"));
    return alert;
}

platform::AlertRequest ownershipAlert(const QString &driveName)
{
    platform::AlertRequest alert;
    alert.title = QStringLiteral("%1 needs one Finder setting changed").arg(driveName);
    alert.text = QStringLiteral(
                     "Your external drive has \"ownership protection\" on, which prevents any app — Tessoly, Finder "
                     "uploads, video editors, anything — from writing to it. There's a single Finder checkbox that "
                     "turns it off.\n\nTessoly will open Finder and show you the drive. Then:\n\n"
                     "1.  Right-click %1 → Get Info\n"
                     "2.  Scroll to the bottom — \"Sharing & Permissions\"\n"
                     "3.  Click the 🔒 icon (bottom right) and enter your password\n"
                     "4.  Check \"Ignore ownership on this volume\"\n"
                     "5.  Close Get Info and come back to Tessoly → try the move again\n\n"
                     "(This is a one-time setting per drive.)")
                     .arg(driveName);
    alert.buttons.append(QStringLiteral("Show me in Finder"));
    alert.buttons.append(QStringLiteral("Not Now"));
    return alert;
}

} // namespace

ScopedURL::ScopedURL(fs::path parent, fs::path url)
    : m_parentURL(std::move(parent))
    , m_url(std::move(url))
{
}

std::unique_ptr<ScopedURL> ScopedURL::fromPath(const fs::path &parent, const QString &subfolder)
{
    const fs::path url = subfolder.isEmpty() ? parent : parent / textToPath(subfolder);
    if (!subfolder.isEmpty() && !makeSubfolder(url))
        return nullptr;
    return std::unique_ptr<ScopedURL>(new ScopedURL(parent, url));
}

std::unique_ptr<ScopedURL> ScopedURL::fromGrant(const QByteArray &grant, const QString &subfolder)
{
    const std::optional<fs::path> folder = resolveGrant(grant);
    if (!folder)
        return nullptr;
    return fromPath(*folder, subfolder);
}

std::optional<QByteArray> makeGrant(const fs::path &folder, QString *error)
{
    const std::optional<FolderIdentity> identity = identityOf(folder, error);
    if (!identity)
        return std::nullopt;
    const QJsonObject object{{QStringLiteral("path"), pathToText(folder)},
                             {QStringLiteral("volume"), identity->fsid},
                             {QStringLiteral("inode"), QString::number(identity->inode)}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<fs::path> resolveGrant(const QByteArray &grant)
{
    const QJsonObject object = QJsonDocument::fromJson(grant).object();
    const QString text = object.value(QStringLiteral("path")).toString();
    if (text.isEmpty())
        return std::nullopt;
    const fs::path folder = textToPath(text);
    const std::optional<FolderIdentity> identity = identityOf(folder, nullptr);
    if (!identity || identity->fsid != object.value(QStringLiteral("volume")).toString()
        || QString::number(identity->inode) != object.value(QStringLiteral("inode")).toString())
        return std::nullopt;
    return folder;
}

bool canWrite(const fs::path &folder)
{
    std::error_code error;
    if (!fs::exists(folder, error)) {
        fs::create_directories(folder, error);
        if (error)
            return false;
    }
    const fs::path probe = folder / ".tessoly-write-test";
    const int fd = ::open(probe.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (fd < 0)
        return false;
    const bool closed = ::close(fd) == 0;
    return ::unlink(probe.c_str()) == 0 && closed;
}

namespace {

// The grants as stored: one bad entry discards them all.
QMap<QString, QByteArray> grantsFrom(const std::optional<QVariant> &stored)
{
    if (!stored || stored->typeId() != QMetaType::QVariantMap)
        return {};
    const QVariantMap map = stored->toMap();
    QMap<QString, QByteArray> bookmarks;
    for (auto it = map.begin(); it != map.end(); ++it) {
        if (it.value().typeId() != QMetaType::QByteArray)
            return {};
        bookmarks.insert(it.key(), it.value().toByteArray());
    }
    return bookmarks;
}

} // namespace

ExternalDestinationStore::ExternalDestinationStore(platform::DefaultsStore &defaults, platform::Prompter &prompter,
                                                   platform::Revealer &revealer, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_prompter(&prompter)
    , m_revealer(revealer)
{
    m_bookmarks = grantsFrom(m_defaults.object(QString::fromLatin1(keys::driveGrants)));
}

void ExternalDestinationStore::reload()
{
    QMap<QString, QByteArray> bookmarks = grantsFrom(m_defaults.object(QString::fromLatin1(keys::driveGrants)));
    if (bookmarks == m_bookmarks)
        return;
    m_bookmarks = std::move(bookmarks);
    emit bookmarksChanged();
}

void ExternalDestinationStore::persist(const QString &driveKey, const std::optional<QByteArray> &grant)
{
    // Only this drive's grant changes: another process may have stored
    // grants of other drives since this store read them.
    QMap<QString, QByteArray> latest = m_bookmarks;
    m_defaults.update(QString::fromLatin1(keys::driveGrants), [&](const std::optional<QVariant> &stored) {
        latest = grantsFrom(stored);
        if (grant)
            latest.insert(driveKey, *grant);
        else
            latest.remove(driveKey);
        QVariantMap map;
        for (auto it = latest.begin(); it != latest.end(); ++it)
            map.insert(it.key(), it.value());
        return std::optional<QVariant>(map);
    });
    m_bookmarks = std::move(latest);
    emit bookmarksChanged();
}

QString ExternalDestinationStore::grantedFolder(const QString &mountPoint) const
{
    const auto found = m_bookmarks.constFind(mountPoint);
    if (found == m_bookmarks.constEnd())
        return {};
    return QJsonDocument::fromJson(found.value()).object().value(QStringLiteral("path")).toString();
}

void ExternalDestinationStore::forget(const QString &mountPoint)
{
    persist(mountPoint, std::nullopt);
}

bool ExternalDestinationStore::holds(const fs::path &item) const
{
    if (!item.has_filename() || item.filename() == "." || item.filename() == "..")
        return false;
    char resolved[PATH_MAX];
    if (::realpath(item.parent_path().c_str(), resolved) == nullptr)
        return false;
    const fs::path folder(resolved);
    for (const QByteArray &grant : m_bookmarks) {
        const std::optional<fs::path> granted = resolveGrant(grant);
        if (!granted)
            continue;
        const fs::path storage = *granted / ScopedURL::storageFolderName;
        if (::realpath(storage.c_str(), resolved) != nullptr && fs::path(resolved) == folder)
            return true;
    }
    return false;
}

std::unique_ptr<ScopedURL> ExternalDestinationStore::scopedURL(const ExternalDrive &drive)
{
    const QString key = pathToText(drive.mountPoint);
    const auto found = m_bookmarks.constFind(key);
    if (found == m_bookmarks.constEnd())
        return nullptr;
    std::unique_ptr<ScopedURL> scoped = ScopedURL::fromGrant(found.value(), QString::fromLatin1(ScopedURL::storageFolderName));
    if (!scoped || !canWrite(scoped->url())) {
        persist(key, std::nullopt);
        return nullptr;
    }
    return scoped;
}

QCoro::Task<void> ExternalDestinationStore::showOwnershipAlert(ExternalDrive drive)
{
    const platform::AlertRequest alert = ownershipAlert(drive.name);
    const int pressed = co_await m_prompter->alert(alert);
    if (pressed == 0)
        m_revealer.reveal(drive.mountPoint);
}

QCoro::Task<std::unique_ptr<ScopedURL>> ExternalDestinationStore::requestAccess(ExternalDrive drive)
{
    platform::OpenPanelRequest panel;
    panel.title = QStringLiteral("Allow Tessoly access to %1").arg(drive.name);
    panel.message = QStringLiteral("Allow Tessoly to write to %1. Tessoly will create a \"Tessoly Storage\" folder for "
                                   "moved files automatically — you don't need to pick or name anything. Just click Allow.")
                        .arg(drive.name);
    panel.prompt = QStringLiteral("Allow");
    panel.directory = drive.mountPoint;
    const std::optional<fs::path> picked = co_await m_prompter->chooseFolder(panel);
    if (!picked || picked->empty())
        co_return std::unique_ptr<ScopedURL>{};

    if (!picked->string().starts_with(drive.mountPoint.string())) {
        co_await m_prompter->alert(simpleAlert(
            QStringLiteral("Pick a folder on %1").arg(drive.name),
            QStringLiteral("The folder you chose is on a different drive. Try again and pick anywhere inside %1 — the "
                           "drive itself is fine.")
                .arg(drive.name)));
        co_return std::unique_ptr<ScopedURL>{};
    }

    if (!canWrite(*picked / ScopedURL::storageFolderName)) {
        co_await showOwnershipAlert(drive);
        co_return std::unique_ptr<ScopedURL>{};
    }

    QString error;
    if (const std::optional<QByteArray> grant = makeGrant(*picked, &error)) {
        persist(pathToText(drive.mountPoint), *grant);
    } else {
        co_await m_prompter->alert(simpleAlert(
            QStringLiteral("Couldn't remember that permission"),
            QStringLiteral("Tessoly couldn't save permission to %1. %2. The move will still run for this one operation.")
                .arg(pathToText(picked->filename()), error)));
    }
    co_return ScopedURL::fromPath(*picked, QString::fromLatin1(ScopedURL::storageFolderName));
}

} // namespace tessoly
