#include "cleaning/SystemDataXRay.h"

#include "cleaning/CleanupService.h"
#include "cleaning/MaintenanceService.h"
#include "core/ByteFormat.h"
#include "core/SettingsStore.h"
#include "platform/FileWalker.h"
#include "platform/Locations.h"
#include "platform/PathText.h"
#include "platform/Platform.h"

#include <QCoroFuture>
#include <QPointer>
#include <QtConcurrent>
#include <algorithm>
#include <sys/stat.h>
#include <unordered_set>

namespace tessoly {
namespace fs = std::filesystem;
namespace {

// The places each measured key stands for.
constexpr std::pair<const char *, const char *> kMeasured[] = {
    {"xray.usercaches", "Library/Caches"},
    {"xray.syscaches", "/Library/Caches"},
    {"xray.userlogs", "Library/Logs"},
    {"xray.iosbackups", "Library/Application Support/MobileSync/Backup"},
    {"xray.vm", "/private/var/vm"},
    {"xray.trash", ".Trash (all)"},
    {"xray.docker", "Library/Containers/com.docker.docker/Data/vms/0/data/Docker.raw"},
    {"xray.developer", "Library/Developer"},
    {"xray.mail", "Library/Mail"},
    {"xray.appsupport", "Library/Application Support"},
    {"xray.containers", "Library/Containers"},
};

// Outer slices and the slices whose places may lie inside them: what lies
// inside is counted once, in the inner slice.
constexpr std::pair<const char *, const char *> kNested[] = {
    {"xray.appsupport", "xray.iosbackups"},
    {"xray.containers", "xray.docker"},
    {"xray.appsupport", "xray.trash"},
    {"xray.usercaches", "xray.userlogs"},
};

struct SliceText {
    const char *id;
    QString detail;
    QString explanation;
};

const std::vector<SliceText> &sliceTexts()
{
    static const std::vector<SliceText> texts = {
    {"xray.usercaches", QStringLiteral("Working files apps rebuild automatically — browsers, Spotify, Xcode, everything."),
     QStringLiteral("Every app keeps a cache folder in ~/Library/Caches to avoid re-downloading or re-computing things. macOS counts all of it as System Data and never shows you which app is hoarding. Clearing is safe: apps rebuild what they actually need, though the first launch afterwards can be slower.")},
    {"xray.syscaches", QStringLiteral("Caches shared by all users of this Mac (/Library/Caches)."),
     QStringLiteral("Like app caches, but machine-wide, and kept by the system's own services: the package manager's downloads, font and manual page indexes, and databases that only look like caches. Tessoly never removes files here itself; the system's tools clear what they own (for example \"sudo apt-get clean\" for the package cache).")},
    {"xray.logs", QStringLiteral("App logs and crash reports that pile up forever."),
     QStringLiteral("Apps and macOS write logs and crash reports continuously and never clean them up. Unless you're actively debugging a problem, they're dead weight. Clearing them loses nothing user-visible.")},
    {"xray.iosbackups", QStringLiteral("Full device backups from every iPhone/iPad ever synced to this Mac."),
     QStringLiteral("When you back up an iPhone or iPad to this Mac (or did, years ago), the entire backup lives in ~/Library/Application Support/MobileSync/Backup — and counts as System Data. Old backups of devices you no longer own are pure waste. Review them in Finder and delete the ones you don't need; each folder is one device backup, newest at the top when sorted by date.")},
    {"xray.purgeable", QString(),
     QStringLiteral("macOS keeps local Time Machine snapshots and other \"purgeable\" data, claiming it will release the space when needed. In practice it often doesn't, and you hit \"disk full\" with tens of GB technically available. Reclaim asks macOS to thin local snapshots now — your actual files and your Time Machine drive backups are untouched.")},
    {"xray.vm", QStringLiteral("Virtual memory backing — managed entirely by macOS."),
     QStringLiteral("When RAM fills up, macOS swaps memory to /private/var/vm. You can't (and shouldn't) delete these files; macOS releases them on its own. A restart clears swap if it has grown large. This slice is here so the number stops being a mystery — not because you should act on it.")},
    {"xray.trash", QStringLiteral("Deleted, but still on disk until you empty it."),
     QStringLiteral("Everything in the Trash still occupies disk space — including items Tessoly moved there as a safety net. Empty the Trash from Finder (right-click the Trash icon → Empty Trash) to actually free this space. macOS provides no safe way for apps to empty it for you.")},
    {"xray.docker", QStringLiteral("Docker Desktop's virtual disk — grows, never shrinks on its own."),
     QStringLiteral("Docker Desktop stores all images, containers and volumes inside one growing disk image. Deleting containers does NOT shrink it. To reclaim space: run \"docker system prune -a\" in Terminal, then in Docker Desktop → Settings → Resources reduce the virtual disk limit, which rewrites the image smaller.")},
    {"xray.developer", QStringLiteral("Xcode build products, simulators, device support files."),
     QStringLiteral("~/Library/Developer holds Xcode's DerivedData, iOS simulators, archives and device symbols — routinely 20-100 GB on a dev machine, all filed under System Data. Use the Profiles tab (iOS Developer profile) to clear the rebuildable parts selectively, or Smart Scan on the Overview tab to do it in one click.")},
    {"xray.mail", QStringLiteral("Local copies of every mailbox in Apple Mail."),
     QStringLiteral("Apple Mail keeps a local copy of every message and attachment for every account. If your mail lives on a server (iCloud, Gmail, Exchange), you can remove accounts you no longer read, or in Mail → Settings → Accounts set \"Download Attachments\" to \"Recent\" or \"None\" — the server still has everything.")},
    {"xray.appsupport", QStringLiteral("Per-app data: settings, libraries, downloaded content. (iOS backups counted separately.)"),
     QStringLiteral("Apps store their working data in ~/Library/Application Support — game libraries, Electron app data, plugins, templates. Some of it belongs to apps you deleted long ago: folders named after apps you no longer have are safe to remove. Review before deleting; active apps' folders should stay.")},
    {"xray.containers", QStringLiteral("Sandboxed app data, one container per app. (Docker counted separately.)"),
     QStringLiteral("Sandboxed apps (everything from the App Store) keep their data in ~/Library/Containers. macOS usually removes a container when you delete its app — but not always, and leftovers linger forever. Folders for apps you've deleted are safe to remove.")},
    };
    return texts;
}

const SliceText &textOf(const QString &id)
{
    const auto &texts = sliceTexts();
    return *std::find_if(texts.begin(), texts.end(), [&id](const SliceText &text) { return id == QLatin1String(text.id); });
}

const char *placeOf(const QString &key)
{
    for (const auto &[id, name] : kMeasured)
        if (key == QLatin1String(id))
            return name;
    return "";
}

CleanupTarget xrayTarget(const char *id, const char *name, const char *description, const char *icon, const char *path)
{
    return CleanupTarget{QString::fromLatin1(id), QString::fromUtf8(name), QString::fromUtf8(description),
                         QString::fromLatin1(icon), QString::fromLatin1(path), SafetyLevel::Safe};
}

// What the targets' folders hold now, by the X-Ray's own measure.
qint64 sizeOfTargets(const std::vector<CleanupTarget> &targets, const fs::path &home)
{
    qint64 total = 0;
    for (const CleanupTarget &target : targets)
        total += SystemDataXRay::sizeOf(target.path.toLatin1().constData(), home);
    return total;
}

} // namespace

QString rawValue(XRaySlice::Action action)
{
    switch (action) {
    case XRaySlice::Action::Clean: return QStringLiteral("clean");
    case XRaySlice::Action::Reveal: return QStringLiteral("reveal");
    case XRaySlice::Action::ThinSnapshots: return QStringLiteral("thinSnapshots");
    case XRaySlice::Action::Info: return QStringLiteral("info");
    }
    return {};
}

SystemDataXRay::SystemDataXRay(platform::Platform &platform, CleanupService &cleanup, MaintenanceService &maintenance,
                               QObject *parent)
    : QObject(parent)
    , m_home(cleanup.home())
    , m_platform(platform)
    , m_cleanup(cleanup)
    , m_maintenance(maintenance)
{
}

SystemDataXRay::~SystemDataXRay() = default;

// ---- Measuring and building ----

std::vector<std::pair<QString, const char *>> SystemDataXRay::measuredKeys()
{
    std::vector<std::pair<QString, const char *>> keys;
    for (const auto &[id, name] : kMeasured)
        keys.emplace_back(QString::fromLatin1(id), name);
    return keys;
}

qint64 SystemDataXRay::sizeOf(const char *name, const fs::path &home)
{
    qint64 total = 0;
    for (const platform::WalkTotals &totals : platform::walkTrees(platform::locateAll(name, home)))
        total += totals.allocatedBytes;
    return total;
}

XRayMeasurements SystemDataXRay::measure(const fs::path &home)
{
    // Every place of every key in one walk: the workers share one queue, so
    // all are measured side by side and no core waits for the biggest.
    std::vector<fs::path> places;
    std::vector<QString> keyOfPlace;
    for (const auto &[id, name] : kMeasured) {
        for (fs::path &place : platform::locateAll(name, home)) {
            places.push_back(std::move(place));
            keyOfPlace.push_back(QString::fromLatin1(id));
        }
    }
    // A place lying inside another key's place (the Trash in the data folder)
    // is walked once: as its own root, and skipped inside the outer one. It is
    // given with a trailing "/", which the walker asks about as a root while
    // it spells the same folder without one when it meets it inside.
    std::vector<std::size_t> outerOf(places.size(), places.size());
    for (const auto &[outer, inner] : kNested) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (keyOfPlace[i] != QLatin1String(inner))
                continue;
            for (std::size_t o = 0; o < places.size(); ++o)
                if (keyOfPlace[o] == QLatin1String(outer) && liesInside(places[i], places[o]))
                    outerOf[i] = o;
        }
    }
    std::vector<fs::path> roots = places;
    std::unordered_set<std::string> skipped;
    std::vector<bool> walkedApart(places.size(), false);
    for (std::size_t i = 0; i < places.size(); ++i) {
        struct stat st{};
        // A file inside (a disk image) costs nothing to count twice; only folders are kept apart.
        if (outerOf[i] < places.size() && ::lstat(places[i].c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            const std::string folder = places[i].lexically_normal().native();
            skipped.insert(folder);
            roots[i] = fs::path(folder + "/");
            walkedApart[i] = true;
        }
    }
    platform::WalkOptions options;
    if (!skipped.empty())
        options.skipDescendants = [&skipped](const std::string &folder) { return skipped.contains(folder); };
    const std::vector<platform::WalkTotals> totals = platform::walkTrees(roots, options);
    XRayMeasurements measured;
    for (std::size_t i = 0; i < places.size(); ++i) {
        measured.bytes[keyOfPlace[i]] += totals[i].allocatedBytes;
        if (outerOf[i] < places.size()) {
            // The outer place holds it too: counted there, and noted as nested.
            if (walkedApart[i])
                measured.bytes[keyOfPlace[outerOf[i]]] += totals[i].allocatedBytes;
            measured.nested[keyOfPlace[outerOf[i]]] += totals[i].allocatedBytes;
        }
    }
    return measured;
}

std::vector<XRaySlice> SystemDataXRay::buildSlices(const XRayMeasurements &measured, qint64 purgeableBytes,
                                                   int snapshotCount, const fs::path &home)
{
    auto bytesOf = [&measured](const char *key) { return measured.bytes.value(QString::fromLatin1(key), 0); };
    auto outerBytes = [&](const char *key) {
        return std::max<qint64>(0, bytesOf(key) - measured.nested.value(QString::fromLatin1(key), 0));
    };
    using Action = XRaySlice::Action;
    struct Row {
        const char *id, *name, *icon, *tint;
        qint64 bytes;
        Action action;
        const char *badge;
    };
    const Row rows[] = {
        // App caches less the logs inside them, which the logs slice counts and clears.
        {"xray.usercaches", "App caches", "archivebox", "accent", outerBytes("xray.usercaches"), Action::Clean, "Safe to clear"},
        // Kept by the system: shown, never emptied by Tessoly.
        {"xray.syscaches", "System-wide caches", "archivebox.fill", "indigo", bytesOf("xray.syscaches"), Action::Reveal,
         "Cleared by system tools"},
        // Only what is cleared is measured: the user's logs, not the system's crash reports.
        {"xray.logs", "Logs & diagnostic reports", "doc.text.below.ecg", "teal", bytesOf("xray.userlogs"), Action::Clean,
         "Safe to clear"},
        {"xray.iosbackups", "iPhone & iPad backups", "iphone.gen3", "orange", bytesOf("xray.iosbackups"), Action::Reveal, "Review first"},
        {"xray.purgeable", "Snapshots & purgeable space", "externaldrive.fill.badge.timemachine", "accent", purgeableBytes,
         Action::ThinSnapshots, "Safe to reclaim"},
        {"xray.vm", "VM & swap files", "memorychip", "gray", bytesOf("xray.vm"), Action::Info, "macOS manages this"},
        {"xray.trash", "Trash", "trash", "red", bytesOf("xray.trash"), Action::Reveal, "Empty via Finder"},
        {"xray.docker", "Docker disk image", "shippingbox.fill", "blue", bytesOf("xray.docker"), Action::Reveal, "Prune via Docker"},
        {"xray.developer", "Developer data", "hammer.fill", "purple", bytesOf("xray.developer"), Action::Reveal, "Clean via Profiles"},
        {"xray.mail", "Mail messages & attachments", "envelope", "cyan", bytesOf("xray.mail"), Action::Reveal, "Review first"},
        {"xray.appsupport", "Application Support", "folder.fill.badge.gearshape", "secondary", outerBytes("xray.appsupport"),
         Action::Reveal, "Review first"},
        {"xray.containers", "App containers", "cube.fill", "mint", outerBytes("xray.containers"), Action::Reveal, "Review first"},
    };
    std::vector<XRaySlice> slices;
    for (const Row &row : rows) {
        const QString id = QString::fromLatin1(row.id);
        const bool purgeable = id == u"xray.purgeable";
        if (purgeable ? !(purgeableBytes > 0 || snapshotCount > 0) : row.bytes < 1)
            continue;
        XRaySlice slice;
        slice.id = id;
        slice.name = QString::fromUtf8(row.name);
        slice.icon = QString::fromLatin1(row.icon);
        slice.tint = QString::fromLatin1(row.tint);
        slice.bytes = row.bytes;
        slice.detail = textOf(id).detail;
        slice.explanation = textOf(id).explanation;
        slice.action = row.action;
        slice.badge = QString::fromUtf8(row.badge);
        if (purgeable) {
            slice.detail = snapshotCount > 0
                ? QStringLiteral("%1 local Time Machine snapshot%2 + space macOS promises to free \"later\".")
                      .arg(snapshotCount).arg(snapshotCount == 1 ? "" : "s")
                : QStringLiteral("Space macOS promises to free \"later\" — but often doesn't when you need it.");
        }
        if (id == u"xray.usercaches")
            slice.targets = {xrayTarget("xray.usercaches", "App caches", "User app caches (~/Library/Caches)", "archivebox", "Library/Caches")};
        else if (id == u"xray.logs")
            slice.targets = {xrayTarget("xray.userlogs", "App logs", "Log files (~/Library/Logs)", "doc.text", "Library/Logs")};
        if (row.action == Action::Reveal) {
            const char *shown = id == u"xray.docker" ? "Library/Containers/com.docker.docker/Data/vms/0/data"
            : id == u"xray.trash"                ? ".Trash"
                                                 : placeOf(id);
            slice.revealURL = platform::locate(shown, home);
        }
        slices.push_back(std::move(slice));
    }
    std::stable_sort(slices.begin(), slices.end(), [](const XRaySlice &a, const XRaySlice &b) { return a.bytes > b.bytes; });
    return slices;
}

// ---- Published state ----

QVariantList SystemDataXRay::sliceList() const
{
    QVariantList list;
    for (const XRaySlice &slice : m_slices) {
        list.append(QVariantMap{{QStringLiteral("id"), slice.id},
                                {QStringLiteral("name"), slice.name},
                                {QStringLiteral("icon"), slice.icon},
                                {QStringLiteral("tint"), slice.tint},
                                {QStringLiteral("bytes"), slice.bytes},
                                {QStringLiteral("detail"), slice.detail},
                                {QStringLiteral("explanation"), slice.explanation},
                                {QStringLiteral("action"), rawValue(slice.action)},
                                {QStringLiteral("badge"), slice.badge},
                                {QStringLiteral("revealPath"), pathToText(slice.revealURL)}});
    }
    return list;
}

qint64 SystemDataXRay::totalBytes() const
{
    qint64 total = 0;
    for (const XRaySlice &slice : m_slices)
        total += slice.bytes;
    return total;
}

QStringList SystemDataXRay::workingSliceIdList() const
{
    return m_outcomes.workingList();
}

std::optional<SystemDataXRay::Result> SystemDataXRay::result(const QString &sliceId) const
{
    return m_outcomes.outcome(sliceId);
}

QVariantMap SystemDataXRay::resultMap() const
{
    return m_outcomes.map();
}

void SystemDataXRay::setResult(const QString &id, QString message, bool success)
{
    m_outcomes.set(id, std::move(message), success);
    emit resultsChanged();
}

void SystemDataXRay::replaceBytes(const QString &id, qint64 bytes)
{
    for (XRaySlice &slice : m_slices)
        if (slice.id == id)
            slice.bytes = bytes;
    emit slicesChanged();
}

// ---- The scan and the actions ----

void SystemDataXRay::startScan()
{
    (void)scan();
}

void SystemDataXRay::performWithId(const QString &sliceId)
{
    const auto it = std::find_if(m_slices.begin(), m_slices.end(), [&](const XRaySlice &s) { return s.id == sliceId; });
    if (it != m_slices.end())
        (void)perform(*it);
}

QCoro::Task<void> SystemDataXRay::scan()
{
    if (m_isScanning)
        co_return;
    m_isScanning = true;
    emit isScanningChanged();
    QPointer<SystemDataXRay> self(this);
    const XRayMeasurements measured = co_await QtConcurrent::run(&SystemDataXRay::measure, m_home);
    if (!self)
        co_return;
    m_purgeableBytes = m_maintenance.purgeableBytes(m_home);
    const std::vector<MaintenanceService::LocalSnapshot> snapshots = co_await m_maintenance.listSnapshots();
    if (!self)
        co_return;
    m_slices = buildSlices(measured, m_purgeableBytes, int(snapshots.size()), m_home);
    m_hasScanned = true;
    m_lastScanAt = QDateTime::currentDateTime();
    m_isScanning = false;
    emit slicesChanged();
    emit isScanningChanged();
}

QCoro::Task<void> SystemDataXRay::perform(XRaySlice slice)
{
    const QString id = slice.id;
    if (!m_outcomes.begin(id))
        co_return;
    emit workingSliceIdsChanged();
    QPointer<SystemDataXRay> self(this);
    switch (slice.action) {
    case XRaySlice::Action::Clean: {
        const bool immediately =
            SettingsStore::deleteImmediately(*m_platform.defaults);
        QString profile = QStringLiteral("System Data X-Ray");
        const CleanupService::CleanOutcome report = co_await m_cleanup.clean(slice.targets, std::move(profile), immediately);
        if (!self)
            co_return;
        const qint64 freed = report.totalBytes;
        // Nothing went although something was there to go: a failure, in words.
        const bool failed = freed <= 0 && !report.leftBehind.empty();
        QString message = failed        ? report.leftBehind.front().reason
            : freed <= 0                ? QStringLiteral("Nothing left to clear here.")
            : immediately               ? QStringLiteral("Reclaimed %1.").arg(formatBytes(freed))
                                        : QStringLiteral("Moved %1 to the Trash — empty the Trash to finish.").arg(formatBytes(freed));
        if (const QString notice = report.notice(); !notice.isEmpty() && !failed)
            message += u' ' + notice;
        else if (!report.logError.isEmpty())
            message += QStringLiteral(" The log couldn't record it: %1").arg(report.logError);
        setResult(id, message, !failed);
        const qint64 remaining = co_await QtConcurrent::run(&sizeOfTargets, slice.targets, m_home);
        if (!self)
            co_return;
        replaceBytes(id, remaining);
        break;
    }
    case XRaySlice::Action::Reveal:
        m_platform.revealer->reveal(slice.revealURL);
        break;
    case XRaySlice::Action::ThinSnapshots: {
        const MaintenanceService::ThinOutcome thinned = co_await m_maintenance.reclaim();
        if (!self)
            co_return;
        const qint64 released = thinned.reclaimedBytes;
        setResult(id,
                  released > 0 ? QStringLiteral("macOS released %1.").arg(formatBytes(released))
                               : QStringLiteral("Asked macOS to thin snapshots — some systems release the space in the "
                                                "background over a few minutes."),
                  true);
        m_purgeableBytes = m_maintenance.purgeableBytes(m_home);
        replaceBytes(id, m_purgeableBytes);
        break;
    }
    case XRaySlice::Action::Info:
        break;
    }
    m_outcomes.end(id);
    emit workingSliceIdsChanged();
}

} // namespace tessoly
