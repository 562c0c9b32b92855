// Loads the real screens with services built on a temporary home. Any QML
// warning fails the run.
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

#include <QPointer>
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

class ScriptedVolumes : public platform::VolumeInfo {
public:
    std::optional<platform::VolumeAttributes> figures = platform::VolumeAttributes{500'000'000'000, 123'400'000'000};
    // When set, the home's own files take their room out of the scripted free
    // space, as on a real disk: deleting frees it, moving to the Trash doesn't.
    fs::path followedHome;
    std::optional<platform::VolumeAttributes> attributesOfFileSystem(const fs::path &) const override
    {
        if (!figures || followedHome.empty())
            return figures;
        platform::VolumeAttributes shown = *figures;
        const qint64 taken = platform::walkTree(followedHome).allocatedBytes;
        for (std::optional<qint64> *free : {&shown.systemFreeSize, &shown.availableCapacity, &shown.availableCapacityForImportantUsage})
            if (free->has_value())
                **free -= taken;
        return shown;
    }
};

class RecordingRevealer : public platform::Revealer {
public:
    QStringList revealed;
    void reveal(const fs::path &item) override { revealed.append(QString::fromStdString(item.native())); }
};

// Drives as the screens' tests set them; each stands for a real folder.
class ScriptedMounts : public platform::MountedVolumes {
public:
    std::vector<platform::VolumeDescription> volumes;
    Listing listing() const override
    {
        return [volumes = volumes] { return volumes; };
    }
    void watch(std::function<void()>) override {}
};

} // namespace

// What the screen tests may do to the world behind the screens.
class TestHooks : public QObject {
    Q_OBJECT
    Q_PROPERTY(QStringList revealed READ revealed CONSTANT)

public:
    TestHooks()
    {
        auto platform = std::make_unique<platform::Platform>();
        platform->locations = std::make_unique<platform::LinuxLocations>();
        platform->defaults = std::make_unique<platform::JsonDefaultsStore>(m_home.defaultsFile());
        auto volumes = std::make_unique<ScriptedVolumes>();
        m_volumes = volumes.get();
        platform->volumes = std::move(volumes);
        platform->trash = std::make_unique<platform::FreedesktopTrash>(m_home.trash(), ::getuid());
        auto revealer = std::make_unique<RecordingRevealer>();
        m_revealer = revealer.get();
        platform->revealer = std::move(revealer);
        platform->processes = std::make_unique<platform::QtProcessRunner>();
        auto mounts = std::make_unique<ScriptedMounts>();
        m_mounts = mounts.get();
        platform->mounts = std::move(mounts);
        // A bus that isn't there: the screens' tests never notify the desktop.
        platform->notifier = std::make_unique<platform::FreedesktopNotifier>(QDBusConnection(QStringLiteral("no bus")));
        // docker and xcrun are looked for in "tools" of the test home, where
        // the tests write fake ones (writeTool); none there reads as not
        // installed. The variables say the same to anything that reads them.
        platform->dockerTool = toolPath(QStringLiteral("docker"));
        platform->simulatorTool = toolPath(QStringLiteral("xcrun"));
        qputenv("TESSOLY_DOCKER", QByteArray::fromStdString(toolPath(QStringLiteral("docker")).native()));
        qputenv("TESSOLY_XCRUN", QByteArray::fromStdString(toolPath(QStringLiteral("xcrun")).native()));
        m_trash = std::make_unique<platform::FreedesktopTrash>(m_home.trash(), ::getuid());
        m_history = std::make_unique<CleanupHistoryStore>(m_home.historyFile(), *m_trash);
        m_app = std::make_unique<TessolyApp>(std::move(platform), m_history.get());
        Services::install(*m_app);
    }

    [[nodiscard]] QStringList revealed() const { return m_revealer->revealed; }

    Q_INVOKABLE QString homePath() const { return QString::fromStdString(m_home.path().native()); }
    Q_INVOKABLE bool exists(const QString &path) const { return fs::exists(path.toStdString()); }
    // Where a catalogue location ("Library/Caches/Firefox") lives on this system.
    Q_INVOKABLE QString located(const QString &name) const
    {
        return QString::fromStdString(platform::locate(name.toStdString(), m_home.path()).native());
    }

    Q_INVOKABLE void setFigures(double capacity, double free)
    {
        m_volumes->figures = platform::VolumeAttributes{static_cast<qint64>(capacity), static_cast<qint64>(free)};
        m_app->scanner()->refreshVolumeInfo();
    }

    // Two big files on disk, listed as rows.
    Q_INVOKABLE void seedBigFiles()
    {
        QList<DiskItem> rows;
        for (const char *name : {"Archive.zip", "Season 1.mkv"}) {
            const fs::path file = m_home.path() / "Movies" / name;
            test::writeFile(file, "big");
            DiskItem item;
            item.url = file;
            item.bytes = 1'250'000'000;
            rows.append(item);
        }
        DiskScannerTestAccess::setBigFiles(*m_app->scanner(), rows);
    }

    // A cleanup of three cache folders, really in the Trash; returns the first original path.
    Q_INVOKABLE QString seedHistory()
    {
        std::vector<CleanupHistoryEntry::Item> items;
        for (int i = 0; i < 3; ++i) {
            const fs::path original = m_home.path() / "Library/Caches" / ("com.example." + std::to_string(i));
            test::writeFile(original / "cache.db", "cache");
            CleanupHistoryEntry::Item item;
            item.originalPath = original;
            item.trashedPath = m_trash->trashItem(original).trashedPath;
            item.bytes = 40'960;
            items.push_back(item);
        }
        CleanupHistoryEntry::Item moved;
        moved.originalPath = m_home.path() / "Movies/Final Cut";
        moved.externalPath = "/media/Backup/Tessoly Storage/Final Cut";
        moved.bytes = 4'200'000'000;
        m_history->append(CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::MoveToExternal, "Moved Final Cut to Backup",
                                                    moved.bytes, {moved}));
        m_history->append(CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::ProfileCleanup, "Developer profile cleanup",
                                                    122'880, items));
        return QString::fromStdString(items.front().originalPath.native());
    }

    // Drives [{name, format, free, total}], each mounted at a folder "Volumes/<name>"
    // of the test home; refreshes the drive list.
    Q_INVOKABLE void setDrives(const QVariantList &drives)
    {
        m_mounts->volumes.clear();
        for (const QVariant &value : drives) {
            const QVariantMap drive = value.toMap();
            platform::VolumeDescription volume;
            volume.mountPoint = m_home.path() / "Volumes" / drive.value("name").toString().toStdString();
            fs::create_directories(volume.mountPoint);
            volume.isBrowsable = true;
            volume.isInternal = false;
            volume.name = drive.value("name").toString();
            volume.formatDescription = drive.value("format").toString();
            volume.availableCapacity = drive.value("free").toLongLong();
            volume.totalCapacity = drive.value("total").toLongLong();
            m_mounts->volumes.push_back(volume);
        }
        m_app->drives()->startRefresh();
    }

    // The scripted free space less what the test home's files take up, from now on.
    Q_INVOKABLE void followHome(bool follow)
    {
        m_volumes->followedHome = follow ? m_home.path() : fs::path();
        m_app->scanner()->refreshVolumeInfo();
    }

    // A file of `bytes` allocated bytes (fallocate: fast, and real blocks for
    // every measurement) under the test home; returns its path.
    Q_INVOKABLE QString makeAllocated(const QString &relative, double bytes)
    {
        const fs::path file = m_home.path() / relative.toStdString();
        fs::create_directories(file.parent_path());
        const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const bool made = fd >= 0 && ::posix_fallocate(fd, 0, static_cast<off_t>(bytes)) == 0;
        if (fd >= 0)
            ::close(fd);
        if (!made)
            qWarning("makeAllocated: could not allocate %s", file.c_str());
        return QString::fromStdString(file.native());
    }

    // Removes a file or folder under the test home (and the Trash's copies
    // are removed with "the Trash" = ".local/share/Trash").
    Q_INVOKABLE void removePath(const QString &relative)
    {
        std::error_code error;
        fs::remove_all(m_home.path() / relative.toStdString(), error);
    }

    // How long a finished card stays readable before it leaves.
    Q_INVOKABLE void setCompletionDelay(int milliseconds)
    {
        m_app->smartScan()->setCompletionDelay(std::chrono::milliseconds(milliseconds));
    }

    // A disk history that fills the disk within days: the next scan shows
    // the forecast card. With `filling` false the history is cleared.
    Q_INVOKABLE void seedForecast(bool filling)
    {
        std::vector<DiskForecast::Sample> samples;
        if (filling) {
            const QDateTime now = QDateTime::currentDateTimeUtc();
            for (int day = 3; day >= 1; --day)
                samples.push_back({now.addDays(-day), 440'000'000'000 - day * 5'000'000'000LL, 500'000'000'000});
        }
        m_app->platform().defaults->set(keys::forecastSamples, DiskForecast::encode(samples));
        m_app->forecast()->load();
    }

    // A fake command-line tool ("docker", "xcrun"): a shell script at the
    // place the app looks for it. Written beside and renamed into place, so
    // that a script never runs half-written or while still open for writing.
    Q_INVOKABLE QString writeTool(const QString &name, const QString &script)
    {
        const fs::path file = toolPath(name);
        writeWhole(file, "#!/bin/sh\n" + script.toStdString(), 0755);
        return QString::fromStdString(file.native());
    }

    // A text file under the test home, or at an absolute path (recorded outputs for the fake tools, project files).
    Q_INVOKABLE QString writeText(const QString &relative, const QString &text)
    {
        const fs::path file = m_home.path() / relative.toStdString();
        writeWhole(file, text.toStdString(), 0644);
        return QString::fromStdString(file.native());
    }

    // A file of `bytes` bytes whose content follows from `seed`: files written
    // with one seed and size are identical, with two seeds they differ.
    Q_INVOKABLE QString writeBytes(const QString &relative, double bytes, int seed)
    {
        std::string content(static_cast<std::size_t>(bytes), '\0');
        quint32 state = 2166136261u ^ static_cast<quint32>(seed);
        for (char &c : content) {
            state = state * 1664525u + 1013904223u;
            c = static_cast<char>(state >> 24);
        }
        const fs::path file = m_home.path() / relative.toStdString();
        writeWhole(file, content, 0644);
        return QString::fromStdString(file.native());
    }

    // Keeps an eye on one object, to tell later whether it still exists.
    Q_INVOKABLE void watch(QObject *object) { m_watched = object; }
    Q_INVOKABLE bool watchedExists() const { return !m_watched.isNull(); }

    // The blocks a file or a folder's files take up, as the disk counts them.
    Q_INVOKABLE double allocatedBytes(const QString &relative) const
    {
        const fs::path item = m_home.path() / relative.toStdString();
        struct stat st{};
        if (::lstat(item.c_str(), &st) == 0 && S_ISREG(st.st_mode))
            return static_cast<double>(st.st_blocks) * 512;
        return static_cast<double>(platform::walkTree(item).allocatedBytes);
    }

    // Sets a file's modification time to `secondsAgo` before now.
    Q_INVOKABLE void setModified(const QString &relative, double secondsAgo)
    {
        const fs::path file = m_home.path() / relative.toStdString();
        timespec times[2]{};
        ::clock_gettime(CLOCK_REALTIME, &times[0]);
        times[0].tv_sec -= static_cast<time_t>(secondsAgo);
        times[1] = times[0];
        if (::utimensat(AT_FDCWD, file.c_str(), times, 0) != 0)
            qWarning("setModified: could not set the time of %s", file.c_str());
    }

    // What the defaults file holds under a key (undefined when absent), and
    // taking a key out of it.
    Q_INVOKABLE QVariant storedValue(const QString &key) const
    {
        return m_app->platform().defaults->object(key).value_or(QVariant());
    }
    Q_INVOKABLE void removeStored(const QString &key) { m_app->platform().defaults->remove(key); }

    // The window's start task, as at a launch.
    Q_INVOKABLE void runStartTask() { m_app->start(); }

    // Asks for a write grant on the drive of that name, as a first move there
    // does: the prompter's folder panel request follows.
    Q_INVOKABLE void requestGrant(const QString &driveName)
    {
        for (const ExternalDrive &drive : m_app->drives()->drives()) {
            if (drive.name == driveName) {
                (void)m_app->destinations()->requestAccess(drive);
                return;
            }
        }
        qWarning("requestGrant: no drive named %s", qPrintable(driveName));
    }

    Q_INVOKABLE bool isSymlink(const QString &path) const { return fs::is_symlink(path.toStdString()); }
    Q_INVOKABLE void clearHistory()
    {
        while (!m_history->entries().empty() && !m_history->entries().front().items.empty())
            m_history->removeItem(m_history->entries().front().items.front().id);
    }

    // Three moves: one active, one whose copy is gone, one whose link is gone.
    Q_INVOKABLE void seedMoves()
    {
        const fs::path drive = m_home.path() / "Volumes/Archive/Tessoly Storage";
        const auto moved = [&](const char *name, bool link, bool copy) {
            const fs::path original = m_home.path() / "Movies" / name;
            const fs::path external = drive / name;
            fs::remove_all(original);
            fs::remove_all(external);
            if (copy)
                test::writeFile(external / "clip.mov", "data");
            fs::create_directories(original.parent_path());
            if (link)
                fs::create_directory_symlink(external, original);
            CleanupHistoryEntry::Item item;
            item.originalPath = original;
            item.externalPath = external;
            item.bytes = 2'000'000'000;
            m_history->append(CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::MoveToExternal,
                                                        QStringLiteral("Moved %1 to Tessoly Storage").arg(name),
                                                        item.bytes, {item}));
        };
        moved("Active", true, true);
        moved("Unplugged", true, false);
        moved("Gone", false, false);
        m_app->inventory()->refresh();
    }

private:
    [[nodiscard]] fs::path toolPath(const QString &name) const { return m_home.path() / "tools" / name.toStdString(); }

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
    QPointer<QObject> m_watched;
    ScriptedMounts *m_mounts = nullptr;
    ScriptedVolumes *m_volumes = nullptr;
    RecordingRevealer *m_revealer = nullptr;
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
    // A private runtime folder, so that Qt has nothing to warn about.
    std::string runtime = (fs::temp_directory_path() / "tessoly-runtime-XXXXXX").native();
    if (::mkdtemp(runtime.data()) != nullptr)
        qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(runtime));
    // No system data folders: the machine's own desktop entries would join
    // the test home's installed apps.
    std::string dataDirs = (fs::temp_directory_path() / "tessoly-data-dirs-XXXXXX").native();
    if (::mkdtemp(dataDirs.data()) != nullptr)
        qputenv("XDG_DATA_DIRS", QByteArray::fromStdString(dataDirs));
    g_previousHandler = qInstallMessageHandler(countWarnings);
    Setup setup;
    const int failures = quick_test_main_with_setup(argc, argv, "tessoly_screens", QUICK_TEST_SOURCE_DIR, &setup);
    std::error_code error;
    fs::remove(dataDirs, error);
    if (g_warnings > 0)
        fprintf(stderr, "FAIL: %d QML warning(s) were printed above\n", g_warnings.load());
    return failures != 0 || g_warnings > 0 ? 1 : 0;
}

#include "qml_tests.moc"
