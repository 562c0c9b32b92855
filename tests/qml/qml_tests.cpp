// Loads the real screens with services built on a temporary home. Any QML warning fails the run.
#include "core/DefaultsKeys.h"
#include "TestSupport.h"
#include "analysis/DiskForecast.h"
#include "analysis/DiskScanner.h"
#include "history/CleanupHistoryStore.h"
#include "application/TessolyApp.h"
#include "platform/FileWalker.h"
#include "platform/Locations.h"
#include "platform/Platform.h"
#include "platform/linux/FreedesktopNotifier.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/JsonDefaultsStore.h"
#include "platform/linux/LinuxLocations.h"
#include "platform/linux/LinuxPlatform.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/ExternalDriveManager.h"
#include "recommendations/SmartScanService.h"
#include "ui/Services.h"

#include <QQmlEngine>
#include <QQmlExtensionPlugin>
#include <QtQuickTest>
#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

Q_IMPORT_QML_PLUGIN(TessolyPlugin)

namespace tessoly {
struct DiskScannerTestAccess {
    static void setBigFiles(DiskScanner &scanner, QList<DiskItem> items)
    {
        scanner.m_bigFiles = std::move(items);
        emit scanner.bigFilesChanged();
    }
};
} // namespace tessoly

using namespace tessoly;
namespace fs = std::filesystem;

namespace {

std::atomic<int> g_warnings{0};
QtMessageHandler g_previousHandler = nullptr;

void countWarnings(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg || type == QtCriticalMsg || type == QtFatalMsg)
        ++g_warnings;
    g_previousHandler(type, context, message);
}

// Drives as the screens' tests set them; each stands for a real folder.
class ScriptedMounts : public platform::MountedVolumes {
public:
    std::vector<platform::VolumeDescription> volumes;
    Listing listing() const override { return [volumes = volumes] { return volumes; }; }
    void watch(std::function<void()>) override {}
};

} // namespace

// What the screen tests may do to the world behind the screens. Paths are
// under the test home unless absolute.
class TestHooks : public QObject {
    Q_OBJECT

public:
    TestHooks()
    {
        auto platform = std::make_unique<platform::Platform>();
        platform->locations = std::make_unique<platform::LinuxLocations>();
        platform->defaults = std::make_unique<platform::JsonDefaultsStore>(m_home.defaultsFile());
        platform->volumes = std::unique_ptr<test::ScriptedVolumes>(m_volumes = new test::ScriptedVolumes);
        m_volumes->free = 123'400'000'000;
        platform->trash = std::make_unique<platform::FreedesktopTrash>(m_home.trash(), ::getuid());
        platform->revealer = std::unique_ptr<test::RecordingRevealer>(m_revealer = new test::RecordingRevealer);
        platform->processes = std::make_unique<platform::QtProcessRunner>();
        platform->mounts = std::unique_ptr<ScriptedMounts>(m_mounts = new ScriptedMounts);
        // A bus that isn't there: the screens' tests never notify the desktop.
        platform->notifier = std::make_unique<platform::FreedesktopNotifier>(QDBusConnection(QStringLiteral("no bus")));
        // docker and xcrun are looked for in "tools" of the test home, where the
        // tests write fake ones; none there reads as not installed.
        platform->dockerTool = at("tools/docker");
        platform->simulatorTool = at("tools/xcrun");
        m_trash = std::make_unique<platform::FreedesktopTrash>(m_home.trash(), ::getuid());
        m_history = std::make_unique<CleanupHistoryStore>(m_home.historyFile(), *m_trash);
        m_app = std::make_unique<TessolyApp>(std::move(platform), m_history.get());
        Services::install(*m_app);
    }

    Q_INVOKABLE QString lastRevealed() const { return m_revealer->revealed.empty() ? QString() : text(m_revealer->revealed.back()); }
    Q_INVOKABLE QString homePath() const { return text(m_home.path()); }
    Q_INVOKABLE bool exists(const QString &path) const { return fs::exists(at(path)); }
    Q_INVOKABLE bool isSymlink(const QString &path) const { return fs::is_symlink(at(path)); }
    Q_INVOKABLE void removePath(const QString &path)
    {
        std::error_code error;
        fs::remove_all(at(path), error);
    }
    // Where a catalogue location ("Library/Caches/Firefox") lives on this system.
    Q_INVOKABLE QString located(const QString &name) const { return text(platform::locate(name.toStdString(), m_home.path())); }

    // A file of `bytes` allocated bytes (fallocate: fast, and real blocks for every measurement).
    Q_INVOKABLE void makeAllocated(const QString &path, double bytes)
    {
        const fs::path file = at(path);
        fs::create_directories(file.parent_path());
        const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const bool made = fd >= 0 && ::posix_fallocate(fd, 0, static_cast<off_t>(bytes)) == 0;
        if (fd < 0 || ::close(fd) != 0 || !made)
            qWarning("makeAllocated: could not allocate %s", file.c_str());
    }

    // A text file, or a fake command-line tool ("docker", "xcrun") where the app looks for it. Written beside
    // and renamed into place, so that a script never runs half-written or while still open for writing.
    Q_INVOKABLE void writeText(const QString &path, const QString &text) { writeWhole(at(path), text.toStdString(), 0644); }
    Q_INVOKABLE void writeTool(const QString &name, const QString &script)
    {
        writeWhole(at("tools/" + name), "#!/bin/sh\n" + script.toStdString(), 0755);
    }

    Q_INVOKABLE void setFigures(double capacity, double free, bool followHome = false)
    {
        m_volumes->capacity = static_cast<qint64>(capacity);
        m_volumes->free = static_cast<qint64>(free);
        m_volumes->followedHome = followHome ? m_home.path() : fs::path();
        m_app->scanner()->refreshVolumeInfo();
    }

    // Drives [{name, format, free, total}], each mounted at "Volumes/<name>"; refreshes the drive list.
    Q_INVOKABLE void setDrives(const QVariantList &drives)
    {
        m_mounts->volumes.clear();
        for (const QVariant &value : drives) {
            const QVariantMap drive = value.toMap();
            const QString name = drive.value("name").toString();
            m_mounts->volumes.push_back({.mountPoint = at("Volumes/" + name), .isBrowsable = true, .isInternal = false, .name = name,
                                         .totalCapacity = drive.value("total").toLongLong(),
                                         .availableCapacity = drive.value("free").toLongLong(),
                                         .formatDescription = drive.value("format").toString()});
            fs::create_directories(m_mounts->volumes.back().mountPoint);
        }
        m_app->drives()->startRefresh();
    }

    // Asks for a write grant on that drive as a first move there does: a folder panel request follows.
    Q_INVOKABLE void requestGrant(const QString &driveName)
    {
        for (const ExternalDrive &drive : m_app->drives()->drives())
            if (drive.name == driveName)
                return (void)m_app->destinations()->requestAccess(drive);
        qWarning("requestGrant: no drive named %s", qPrintable(driveName));
    }

    // Two big files on disk, listed as rows.
    Q_INVOKABLE void seedBigFiles()
    {
        QList<DiskItem> rows;
        for (const char *name : {"Archive.zip", "Season 1.mkv"}) {
            DiskItem item;
            item.url = m_home.path() / "Movies" / name;
            item.bytes = 1'250'000'000;
            test::writeFile(item.url, "big");
            rows.append(item);
        }
        DiskScannerTestAccess::setBigFiles(*m_app->scanner(), rows);
    }

    // A move to a drive, and a cleanup of three cache folders really in the Trash; returns the first's original path.
    Q_INVOKABLE QString seedHistory()
    {
        std::vector<CleanupHistoryEntry::Item> items;
        for (int i = 0; i < 3; ++i) {
            const fs::path original = at("Library/Caches/com.example." + QString::number(i));
            test::writeFile(original / "cache.db", "cache");
            items.push_back({.originalPath = original, .trashedPath = m_trash->trashItem(original).trashedPath, .externalPath = {},
                             .bytes = 40'960});
        }
        recordMove("Moved Final Cut to Backup", at("Movies/Final Cut"), "/media/Backup/Tessoly Storage/Final Cut", 4'200'000'000);
        m_history->append(CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::ProfileCleanup, "Developer profile cleanup", 122'880, items));
        return text(items.front().originalPath);
    }

    // Three moves to "Volumes/Archive": one active, one whose copy is gone, one whose link is gone.
    Q_INVOKABLE void seedMoves()
    {
        struct Move { const char *name; bool link, copy; };
        for (const auto &[name, link, copy] : {Move{"Active", true, true}, Move{"Unplugged", true, false}, Move{"Gone", false, false}}) {
            const fs::path original = at(QStringLiteral("Movies/") + name);
            const fs::path external = at(QStringLiteral("Volumes/Archive/Tessoly Storage/") + name);
            fs::remove_all(original);
            fs::remove_all(external);
            if (copy)
                test::writeFile(external / "clip.mov", "data");
            fs::create_directories(original.parent_path());
            if (link)
                fs::create_directory_symlink(external, original);
            recordMove(QStringLiteral("Moved %1 to Tessoly Storage").arg(name), original, external, 2'000'000'000);
        }
        m_app->inventory()->refresh();
    }
    Q_INVOKABLE void clearHistory()
    {
        while (!m_history->entries().empty() && !m_history->entries().front().items.empty())
            m_history->removeItem(m_history->entries().front().items.front().id);
    }

    // A disk history that fills the disk within days (the next scan shows the forecast card), or none.
    Q_INVOKABLE void seedForecast(bool filling)
    {
        std::vector<DiskForecast::Sample> samples;
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (int day = 3; filling && day >= 1; --day)
            samples.push_back({now.addDays(-day), 440'000'000'000 - day * 5'000'000'000LL, 500'000'000'000});
        m_app->platform().defaults->set(keys::forecastSamples, DiskForecast::encode(samples));
        m_app->forecast()->load();
    }

    // How long a finished card stays readable before it leaves.
    Q_INVOKABLE void setCompletionDelay(int milliseconds) { m_app->smartScan()->setCompletionDelay(std::chrono::milliseconds(milliseconds)); }

    // What the defaults file holds under a key (undefined when absent), and taking a key out of it.
    Q_INVOKABLE QVariant storedValue(const QString &key) const { return m_app->platform().defaults->object(key).value_or(QVariant()); }
    Q_INVOKABLE void removeStored(const QString &key) { m_app->platform().defaults->remove(key); }

    // The window's start task, as at a launch.
    Q_INVOKABLE void runStartTask() { m_app->start(); }

private:
    [[nodiscard]] fs::path at(const QString &path) const { return m_home.path() / path.toStdString(); }
    static QString text(const fs::path &path) { return QString::fromStdString(path.native()); }

    void recordMove(const QString &title, const fs::path &original, const fs::path &external, qint64 bytes)
    {
        const CleanupHistoryEntry::Item item{.originalPath = original, .trashedPath = {}, .externalPath = external, .bytes = bytes};
        m_history->append(CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::MoveToExternal, title, bytes, {item}));
    }

    static void writeWhole(const fs::path &file, const std::string &content, mode_t mode)
    {
        fs::create_directories(file.parent_path());
        const fs::path part = file.native() + ".part";
        const int fd = ::open(part.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
        bool written = fd >= 0 && ::write(fd, content.data(), content.size()) == static_cast<ssize_t>(content.size());
        if (fd >= 0)
            written = ::close(fd) == 0 && written;
        if (!written || ::chmod(part.c_str(), mode) != 0 || ::rename(part.c_str(), file.c_str()) != 0)
            qWarning("could not write %s", file.c_str());
    }

    test::TempHome m_home;
    ScriptedMounts *m_mounts = nullptr;
    test::ScriptedVolumes *m_volumes = nullptr;
    test::RecordingRevealer *m_revealer = nullptr;
    std::unique_ptr<platform::FreedesktopTrash> m_trash;
    std::unique_ptr<CleanupHistoryStore> m_history;
    std::unique_ptr<TessolyApp> m_app;
};

class Setup : public QObject {
    Q_OBJECT
public slots:
    void qmlEngineAvailable(QQmlEngine *engine)
    {
        registerBundledFonts();
        prepareEngine(*engine);
        // Each file gets a home and an app of its own. The last file's go
        // first: a home gives HOME back as it found it when it goes.
        m_hooks.reset();
        m_hooks = std::make_unique<TestHooks>();
        qmlRegisterSingletonInstance("TessolyTest", 1, 0, "Hooks", m_hooks.get());
    }

private:
    std::unique_ptr<TestHooks> m_hooks;
};

int main(int argc, char **argv)
{
    // A private runtime folder, so that Qt has nothing to warn about, and no
    // system data folders: the machine's own desktop entries would join the
    // test home's installed apps.
    std::vector<std::string> folders;
    for (const char *variable : {"XDG_RUNTIME_DIR", "XDG_DATA_DIRS"}) {
        std::string folder = (fs::temp_directory_path() / "tessoly-screens-XXXXXX").native();
        if (::mkdtemp(folder.data()) != nullptr)
            qputenv(variable, QByteArray::fromStdString(folders.emplace_back(folder)));
    }
    g_previousHandler = qInstallMessageHandler(countWarnings);
    Setup setup;
    const int failures = quick_test_main_with_setup(argc, argv, "tessoly_screens", QUICK_TEST_SOURCE_DIR, &setup);
    for (const std::string &folder : folders) {
        std::error_code error;
        fs::remove_all(folder, error);
    }
    if (g_warnings > 0)
        fprintf(stderr, "FAIL: %d QML warning(s) were printed above\n", g_warnings.load());
    return failures != 0 || g_warnings > 0 ? 1 : 0;
}

#include "qml_tests.moc"
