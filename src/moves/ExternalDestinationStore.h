#pragma once

#include "moves/ExternalDrive.h"

#include <QByteArray>
#include <QCoroTask>
#include <QMap>
#include <QObject>
#include <memory>

namespace tessoly {
namespace platform {
class DefaultsStore;
class Prompter;
class Revealer;
} // namespace platform

// A usable destination on a drive: <parent>/"Tessoly Storage". Holding it is
// what lets a move write; Linux has no access scope to open or close, so
// didStartAccessing is always false here.
class ScopedURL {
public:
    static constexpr const char *storageFolderName = "Tessoly Storage";

    // From a stored grant: nothing when the grant no longer names the same
    // folder on the same volume, or the sub-folder can't be made.
    [[nodiscard]] static std::unique_ptr<ScopedURL> fromGrant(const QByteArray &grant, const QString &subfolder);
    [[nodiscard]] static std::unique_ptr<ScopedURL> fromPath(const std::filesystem::path &parent, const QString &subfolder);

    [[nodiscard]] const std::filesystem::path &url() const { return m_url; }
    [[nodiscard]] const std::filesystem::path &parentURL() const { return m_parentURL; }
    [[nodiscard]] bool didStartAccessing() const { return m_didStartAccessing; }

private:
    ScopedURL(std::filesystem::path parent, std::filesystem::path url);
    std::filesystem::path m_parentURL;
    std::filesystem::path m_url;
    bool m_didStartAccessing = false;
};

// The grant of a folder: its path and the identity of its volume (fsid) and
// of the folder itself (inode). A reformatted drive has a new identity.
[[nodiscard]] std::optional<QByteArray> makeGrant(const std::filesystem::path &folder, QString *error = nullptr);
[[nodiscard]] std::optional<std::filesystem::path> resolveGrant(const QByteArray &grant);

// Creates the folder if needed, writes and removes ".tessoly-write-test".
[[nodiscard]] bool canWrite(const std::filesystem::path &folder);

// One write grant per drive, remembered across restarts, proven by a real
// write before each use, and forgotten when it fails.
class ExternalDestinationStore : public QObject {
    Q_OBJECT

public:

    ExternalDestinationStore(platform::DefaultsStore &defaults, platform::Prompter &prompter,
                             platform::Revealer &revealer, QObject *parent = nullptr);

    [[nodiscard]] const QMap<QString, QByteArray> &bookmarks() const { return m_bookmarks; }

    // The silent path: never shows anything.
    [[nodiscard]] std::unique_ptr<ScopedURL> scopedURL(const ExternalDrive &drive);
    // The path with the folder panel and its alerts.
    [[nodiscard]] QCoro::Task<std::unique_ptr<ScopedURL>> requestAccess(ExternalDrive drive);

    void setPrompter(platform::Prompter &prompter) { m_prompter = &prompter; }

    // The folder granted on the drive mounted at mountPoint, as the grant
    // names it; "" when the drive has none.
    Q_INVOKABLE [[nodiscard]] QString grantedFolder(const QString &mountPoint) const;
    // Forgets the drive's grant: the next move there asks for a folder again.
    Q_INVOKABLE void forget(const QString &mountPoint);

    // Takes up grants another process stored or forgot.
    void reload();
    // Whether an item lies directly in "Tessoly Storage" of a folder granted
    // on a drive that is still the one it was granted on.
    [[nodiscard]] bool holds(const std::filesystem::path &item) const;

signals:
    void bookmarksChanged();

private:
    // Stores (or, with nullopt, forgets) one drive's grant.
    void persist(const QString &driveKey, const std::optional<QByteArray> &grant);
    QCoro::Task<void> showOwnershipAlert(ExternalDrive drive);

    platform::DefaultsStore &m_defaults;
    platform::Prompter *m_prompter;
    platform::Revealer &m_revealer;
    QMap<QString, QByteArray> m_bookmarks;
};

} // namespace tessoly
