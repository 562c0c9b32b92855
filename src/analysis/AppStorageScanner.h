#pragma once

#include <QCoroTask>
#include <QObject>
#include <QStringList>
#include <QUuid>
#include <QVariantList>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace tessoly {

// Storage per app: the installed applications, and for each the data it
// keeps in the per-user data folders, attributed by name or identifier.
// Read-only; nothing is kept between scans.
struct AppStorage {
    enum class Kind { AppBundle, ApplicationSupport, Cache, Container, GroupContainer, Preferences, Logs, SavedState };
    struct Location {
        QUuid id;
        std::filesystem::path url;
        Kind kind = Kind::AppBundle;
        qint64 bytes = 0;
    };
    QString id; // the bundle identifier, else the display name
    QString displayName;
    std::optional<QString> bundleIdentifier;
    std::optional<std::filesystem::path> appBundleURL;
    qint64 totalBytes = 0;
    std::vector<Location> locations; // largest first; the bundle is one of them

    // Caches, logs and saved state: what could go without harm.
    [[nodiscard]] qint64 reclaimableBytes() const;
};

[[nodiscard]] QString rawValue(AppStorage::Kind kind);
[[nodiscard]] QString label(AppStorage::Kind kind);
[[nodiscard]] bool isReclaimable(AppStorage::Kind kind);

// One installed application as the scan knows it.
struct InstalledApp {
    std::filesystem::path bundleURL;
    std::optional<QString> bundleIdentifier;
    QString displayName;
    QStringList nameVariants;
    // When set, the bundle's size is that of these files (a system package's).
    std::vector<std::filesystem::path> bundleFiles;
};

// A folder where apps keep data, and how its entries are matched to apps.
struct AppDataSource {
    std::filesystem::path url;
    AppStorage::Kind kind;
    bool matchByID = false;
};

class AppStorageScanner : public QObject {
    Q_OBJECT
    // [{id, displayName, bundleIdentifier, totalBytes, reclaimableBytes,
    //   locations: [{id, path, displayPath, kind, label, bytes}]}], biggest first
    Q_PROPERTY(QVariantList apps READ appList NOTIFY appsChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(QString scanProgress READ scanProgress NOTIFY scanProgressChanged)
    Q_PROPERTY(qint64 totalFootprint READ totalFootprint NOTIFY appsChanged)
    Q_PROPERTY(qint64 totalReclaimable READ totalReclaimable NOTIFY appsChanged)

public:
    explicit AppStorageScanner(std::filesystem::path home, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<AppStorage> &apps() const { return m_apps; }
    [[nodiscard]] QVariantList appList() const;
    [[nodiscard]] bool isScanning() const { return m_isScanning; }
    [[nodiscard]] QString scanProgress() const { return m_scanProgress; }
    [[nodiscard]] qint64 totalFootprint() const;
    [[nodiscard]] qint64 totalReclaimable() const;

    QCoro::Task<void> scan();
    Q_INVOKABLE void startScan();

    // The blocking steps, run off the main thread.
    // The applications folders' bundles, then the desktop's applications.
    [[nodiscard]] static std::vector<InstalledApp> installedApps(const std::filesystem::path &home);
    // One bundle, with what its Info.plist says (XML or binary); a bundle
    // whose plist can't be read keeps its file name.
    [[nodiscard]] static InstalledApp readBundle(const std::filesystem::path &bundle);
    [[nodiscard]] static std::vector<AppDataSource> sources(const std::filesystem::path &home);
    // Whether a data folder's entry (its name without extension, in lower
    // case) belongs to the app.
    [[nodiscard]] static bool matches(const QString &lowerName, const InstalledApp &app, bool matchByID);
    [[nodiscard]] static std::vector<AppStorage> buildList(const std::vector<InstalledApp> &apps,
                                                           const std::vector<AppDataSource> &sources,
                                                           const std::function<void(const QString &)> &progress);
    // Allocated bytes of a file, or of the files in a folder, hidden ones
    // included, nested packages left out.
    [[nodiscard]] static qint64 measure(const std::filesystem::path &url);

signals:
    void appsChanged();
    void isScanningChanged();
    void scanProgressChanged();

private:
    void setProgress(const QString &text);

    std::filesystem::path m_home;
    std::vector<AppStorage> m_apps;
    bool m_isScanning = false;
    QString m_scanProgress;
};

} // namespace tessoly
