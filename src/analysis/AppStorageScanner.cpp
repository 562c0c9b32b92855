#include "analysis/AppStorageScanner.h"

#include "core/QueuedProgress.h"
#include "platform/DesktopApps.h"
#include "platform/FileWalker.h"
#include "platform/Locations.h"
#include "platform/PathText.h"

#include <QCoroFuture>
#include <QFile>
#include <QHash>
#include <QPointer>
#include <QtConcurrent>
#include <algorithm>
#include <plist/plist.h>
#include <sys/stat.h>

namespace tessoly {
namespace fs = std::filesystem;
namespace {

constexpr qint64 kLargestPlist = 8 * 1024 * 1024;

// The text under a key of a property-list dictionary, if it is text.
std::optional<QString> plistText(plist_t dictionary, const char *key)
{
    plist_t node = plist_dict_get_item(dictionary, key);
    if (node == nullptr || plist_get_node_type(node) != PLIST_STRING)
        return std::nullopt;
    char *value = nullptr;
    plist_get_string_val(node, &value);
    if (value == nullptr)
        return std::nullopt;
    QString text = QString::fromUtf8(value);
    std::free(value);
    return text;
}

// A name without its extension, as a file's extension goes: the part after
// the last dot, if there is one that isn't the first or last character.
QString withoutExtension(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 && dot < name.size() - 1 ? name.left(dot) : name;
}

void addVariant(QStringList &variants, const QString &variant)
{
    if (!variant.isEmpty() && !variants.contains(variant))
        variants.append(variant);
}

// The identifier and its last dot-separated part.
void addIdentifierVariants(QStringList &variants, const QString &identifier)
{
    addVariant(variants, identifier);
    const QStringList parts = identifier.split(u'.', Qt::SkipEmptyParts);
    if (!parts.isEmpty())
        addVariant(variants, parts.back());
}

} // namespace

qint64 AppStorage::reclaimableBytes() const
{
    qint64 total = 0;
    for (const Location &location : locations)
        if (isReclaimable(location.kind))
            total += location.bytes;
    return total;
}

QString rawValue(AppStorage::Kind kind)
{
    switch (kind) {
    case AppStorage::Kind::AppBundle: return QStringLiteral("appBundle");
    case AppStorage::Kind::ApplicationSupport: return QStringLiteral("applicationSupport");
    case AppStorage::Kind::Cache: return QStringLiteral("cache");
    case AppStorage::Kind::Container: return QStringLiteral("container");
    case AppStorage::Kind::GroupContainer: return QStringLiteral("groupContainer");
    case AppStorage::Kind::Preferences: return QStringLiteral("preferences");
    case AppStorage::Kind::Logs: return QStringLiteral("logs");
    case AppStorage::Kind::SavedState: return QStringLiteral("savedState");
    }
    return {};
}

QString label(AppStorage::Kind kind)
{
    switch (kind) {
    case AppStorage::Kind::AppBundle: return QStringLiteral("App");
    case AppStorage::Kind::ApplicationSupport: return QStringLiteral("Support");
    case AppStorage::Kind::Cache: return QStringLiteral("Cache");
    case AppStorage::Kind::Container: return QStringLiteral("Container");
    case AppStorage::Kind::GroupContainer: return QStringLiteral("Group");
    case AppStorage::Kind::Preferences: return QStringLiteral("Prefs");
    case AppStorage::Kind::Logs: return QStringLiteral("Logs");
    case AppStorage::Kind::SavedState: return QStringLiteral("Saved state");
    }
    return {};
}

bool isReclaimable(AppStorage::Kind kind)
{
    return kind == AppStorage::Kind::Cache || kind == AppStorage::Kind::Logs || kind == AppStorage::Kind::SavedState;
}

AppStorageScanner::AppStorageScanner(fs::path home, QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
{
}

// ---- Published state ----

QVariantList AppStorageScanner::appList() const
{
    const QString home = displayPath(m_home);
    QVariantList list;
    for (const AppStorage &app : m_apps) {
        QVariantList locations;
        for (const AppStorage::Location &location : app.locations) {
            locations.append(QVariantMap{{QStringLiteral("id"), location.id.toString(QUuid::WithoutBraces)},
                                         {QStringLiteral("path"), pathToText(location.url)},
                                         {QStringLiteral("displayPath"), abbreviateHome(displayPath(location.url), home)},
                                         {QStringLiteral("kind"), rawValue(location.kind)},
                                         {QStringLiteral("label"), label(location.kind)},
                                         {QStringLiteral("bytes"), location.bytes}});
        }
        list.append(QVariantMap{{QStringLiteral("id"), app.id},
                                {QStringLiteral("displayName"), app.displayName},
                                {QStringLiteral("bundleIdentifier"), app.bundleIdentifier.value_or(QString())},
                                {QStringLiteral("totalBytes"), app.totalBytes},
                                {QStringLiteral("reclaimableBytes"), app.reclaimableBytes()},
                                {QStringLiteral("locations"), locations}});
    }
    return list;
}

qint64 AppStorageScanner::totalFootprint() const
{
    qint64 total = 0;
    for (const AppStorage &app : m_apps)
        total += app.totalBytes;
    return total;
}

qint64 AppStorageScanner::totalReclaimable() const
{
    qint64 total = 0;
    for (const AppStorage &app : m_apps)
        total += app.reclaimableBytes();
    return total;
}

void AppStorageScanner::setProgress(const QString &text)
{
    m_scanProgress = text;
    emit scanProgressChanged();
}

// ---- The scan ----

void AppStorageScanner::startScan()
{
    (void)scan();
}

QCoro::Task<void> AppStorageScanner::scan()
{
    if (m_isScanning)
        co_return;
    m_isScanning = true;
    emit isScanningChanged();
    setProgress(QStringLiteral("Reading installed apps…"));
    QPointer<AppStorageScanner> self(this);
    std::vector<InstalledApp> installed = co_await QtConcurrent::run(&AppStorageScanner::installedApps, m_home);
    if (!self)
        co_return;
    setProgress(QStringLiteral("Mapping storage locations…"));
    std::function<void(const QString &)> progress = queuedProgress(this, [this](const QString &text) {
        if (m_isScanning)
            setProgress(text);
    });
    std::vector<AppDataSource> dataSources = sources(m_home);
    std::vector<AppStorage> result = co_await QtConcurrent::run(&AppStorageScanner::buildList, std::move(installed),
                                                                std::move(dataSources), std::move(progress));
    if (!self)
        co_return;
    m_apps = std::move(result);
    emit appsChanged();
    setProgress(QStringLiteral("Done"));
    m_isScanning = false;
    emit isScanningChanged();
}

InstalledApp AppStorageScanner::readBundle(const fs::path &bundle)
{
    InstalledApp app;
    app.bundleURL = bundle;
    const QString fileName = withoutExtension(pathToText(bundle.filename()));
    QFile file(pathToText(bundle / "Contents/Info.plist"));
    if (file.open(QIODevice::ReadOnly) && file.size() <= kLargestPlist) {
        const QByteArray data = file.readAll();
        plist_t root = nullptr;
        plist_from_memory(data.constData(), static_cast<uint32_t>(data.size()), &root);
        if (root != nullptr && plist_get_node_type(root) == PLIST_DICT) {
            app.bundleIdentifier = plistText(root, "CFBundleIdentifier");
            app.displayName = plistText(root, "CFBundleDisplayName")
                                  .value_or(plistText(root, "CFBundleName").value_or(QString()));
        }
        if (root != nullptr)
            plist_free(root);
    }
    if (app.displayName.isEmpty())
        app.displayName = fileName;
    addVariant(app.nameVariants, app.displayName);
    addVariant(app.nameVariants, fileName);
    if (app.bundleIdentifier)
        addIdentifierVariants(app.nameVariants, *app.bundleIdentifier);
    return app;
}

std::vector<InstalledApp> AppStorageScanner::installedApps(const fs::path &home)
{
    std::vector<InstalledApp> apps;
    for (const char *root : {"/Applications", "/Applications/Utilities", "Applications"}) {
        for (const fs::path &entry : platform::listVisibleEntries(platform::locate(root, home))) {
            struct stat st{};
            if (entry.extension() == ".app" && ::stat(entry.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
                apps.push_back(readBundle(entry));
        }
    }
    for (platform::DesktopApp &desktop : platform::desktopApps(home)) {
        InstalledApp app;
        app.bundleURL = std::move(desktop.bundle);
        app.bundleIdentifier = desktop.fileId;
        app.displayName = desktop.name;
        app.bundleFiles = std::move(desktop.bundleFiles);
        addVariant(app.nameVariants, app.displayName);
        addIdentifierVariants(app.nameVariants, desktop.fileId);
        addVariant(app.nameVariants, desktop.program);
        addVariant(app.nameVariants, desktop.windowClass);
        apps.push_back(std::move(app));
    }
    return apps;
}

std::vector<AppDataSource> AppStorageScanner::sources(const fs::path &home)
{
    using Kind = AppStorage::Kind;
    const std::pair<const char *, Kind> table[] = {
        {"Library/Application Support", Kind::ApplicationSupport},
        {"Library/Caches", Kind::Cache},
        {"Library/Containers", Kind::Container},
        {"Library/Group Containers", Kind::GroupContainer},
        {"Library/Logs/<app>", Kind::Logs}, // each app's own folder of logs
        {"Library/Preferences", Kind::Preferences},
        {"Library/Saved Application State", Kind::SavedState},
    };
    std::vector<AppDataSource> list;
    for (const auto &[name, kind] : table) {
        const bool byID = kind == Kind::Container || kind == Kind::GroupContainer || kind == Kind::Preferences
            || kind == Kind::SavedState;
        list.push_back(AppDataSource{platform::locate(name, home), kind, byID});
    }
    return list;
}

bool AppStorageScanner::matches(const QString &lowerName, const InstalledApp &app, bool matchByID)
{
    if (matchByID && app.bundleIdentifier)
        return lowerName.startsWith(app.bundleIdentifier->toLower()); // equal is a prefix too
    for (const QString &variant : app.nameVariants) {
        const QString lower = variant.toLower();
        if (lowerName == lower || (lowerName.startsWith(lower) && lowerName.mid(lower.size()).startsWith(u'.')))
            return true;
    }
    return false;
}

qint64 AppStorageScanner::measure(const fs::path &url)
{
    platform::WalkOptions options;
    options.skipPackages = true; // the root itself is walked even when it is a bundle
    return platform::walkTree(url, options).allocatedBytes;
}

std::vector<AppStorage> AppStorageScanner::buildList(const std::vector<InstalledApp> &apps,
                                                     const std::vector<AppDataSource> &sources,
                                                     const std::function<void(const QString &)> &progress)
{
    QHash<QString, AppStorage> byKey;
    for (const InstalledApp &app : apps) {
        qint64 bytes = 0;
        if (app.bundleFiles.empty()) {
            bytes = measure(app.bundleURL);
        } else {
            for (const platform::WalkTotals &totals : platform::walkTrees(app.bundleFiles))
                bytes += totals.allocatedBytes;
        }
        AppStorage storage;
        storage.id = app.bundleIdentifier.value_or(app.displayName);
        storage.displayName = app.displayName;
        storage.bundleIdentifier = app.bundleIdentifier;
        storage.appBundleURL = app.bundleURL;
        storage.totalBytes = bytes;
        storage.locations.push_back({QUuid::createUuid(), app.bundleURL, AppStorage::Kind::AppBundle, bytes});
        byKey.insert(storage.id, std::move(storage));
    }
    for (const AppDataSource &source : sources) {
        progress(QStringLiteral("Scanning %1…").arg(displayPath(source.url.filename())));
        for (const fs::path &entry : platform::listVisibleEntries(source.url)) {
            // A file loses its extension ("com.vendor.tool.plist"); a folder's name is
            // taken whole, dots and all ("com.vendor.tool").
            struct stat st{};
            const bool folder = ::lstat(entry.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
            const QString fileName = pathToText(entry.filename());
            const QString name = (folder ? fileName : withoutExtension(fileName)).toLower();
            const auto owner = std::find_if(apps.begin(), apps.end(), [&](const InstalledApp &app) {
                return matches(name, app, source.matchByID);
            });
            if (owner == apps.end())
                continue;
            const auto it = byKey.find(owner->bundleIdentifier.value_or(owner->displayName));
            if (it == byKey.end())
                continue;
            const qint64 bytes = measure(entry);
            it->locations.push_back({QUuid::createUuid(), entry, source.kind, bytes});
            it->totalBytes += bytes;
        }
    }
    std::vector<AppStorage> list;
    for (AppStorage &app : byKey) {
        std::stable_sort(app.locations.begin(), app.locations.end(),
                         [](const auto &a, const auto &b) { return a.bytes > b.bytes; });
        list.push_back(std::move(app));
    }
    std::stable_sort(list.begin(), list.end(), [](const AppStorage &a, const AppStorage &b) {
        return a.totalBytes != b.totalBytes ? a.totalBytes > b.totalBytes : a.displayName < b.displayName;
    });
    return list;
}

} // namespace tessoly
