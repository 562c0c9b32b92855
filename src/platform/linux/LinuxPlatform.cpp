#include "platform/linux/LinuxPlatform.h"

#include "platform/linux/FreedesktopNotifier.h"

#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/HelperPdfRenderer.h"
#include "platform/linux/JsonDefaultsStore.h"
#include "platform/linux/LinuxLocations.h"
#include "platform/linux/LinuxMountedVolumes.h"

#include <QCoroDBus>
#include <QCoroProcess>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QProcess>
#include <QUrl>
#include <sys/statvfs.h>
#include <unistd.h>

namespace tessoly::platform {

std::optional<VolumeAttributes> StatvfsVolumeInfo::attributesOfFileSystem(const std::filesystem::path &path) const
{
    struct statvfs st{};
    if (::statvfs(path.c_str(), &st) != 0)
        return std::nullopt;
    const auto fragment = static_cast<qint64>(st.f_frsize);
    const qint64 available = static_cast<qint64>(st.f_bavail) * fragment;
    return VolumeAttributes{static_cast<qint64>(st.f_blocks) * fragment, available, available, available};
}

QCoro::Task<QString> FileManagerRevealer::show(std::filesystem::path item)
{
    const QString url = QUrl::fromLocalFile(QFile::decodeName(item.c_str())).toString(QUrl::FullyEncoded);
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                                       QStringLiteral("/org/freedesktop/FileManager1"),
                                                       QStringLiteral("org.freedesktop.FileManager1"),
                                                       QStringLiteral("ShowItems"));
    call << QStringList{url} << QString();
    QDBusConnection bus = QDBusConnection::sessionBus();
    QString dbus = QStringLiteral("there is no session bus");
    if (bus.isConnected()) {
        const QDBusMessage reply = co_await bus.asyncCall(call, 5000);
        if (reply.type() == QDBusMessage::ReplyMessage)
            co_return QString();
        dbus = QStringLiteral("no file manager answered on the session bus (%1)").arg(reply.errorMessage());
    }

    // The opener on the parent folder counts only when it exits 0. One that
    // is still running after the limit is left to run (it may be the file
    // manager itself), but nobody has said it showed anything.
    auto *opener = new QProcess(QCoreApplication::instance());
    opener->setStandardOutputFile(QProcess::nullDevice());
    opener->setStandardErrorFile(QProcess::nullDevice());
    opener->setProgram(QStringLiteral("xdg-open"));
    opener->setArguments({QFile::decodeName(item.parent_path().c_str())});
    if (!co_await qCoro(*opener).start()) {
        opener->deleteLater();
        co_return QStringLiteral("%1, and xdg-open couldn't be started").arg(dbus);
    }
    if (!co_await qCoro(*opener).waitForFinished(10000)) {
        QObject::connect(opener, &QProcess::finished, opener, &QObject::deleteLater);
        co_return QStringLiteral("%1, and xdg-open didn't finish within 10 seconds").arg(dbus);
    }
    const bool opened = opener->exitStatus() == QProcess::NormalExit && opener->exitCode() == 0;
    const int status = opener->exitCode();
    opener->deleteLater();
    if (!opened)
        co_return QStringLiteral("%1, and xdg-open failed (exit status %2)").arg(dbus).arg(status);
    co_return QString();
}

void FileManagerRevealer::reveal(const std::filesystem::path &item)
{
    show(item);
}

QCoro::Task<ProcessOutput> QtProcessRunner::run(std::filesystem::path program, QStringList arguments,
                                                std::optional<std::chrono::milliseconds> timeLimit)
{
    ProcessOutput output;
    // A missing program would otherwise be noticed only when waiting for its
    // start times out.
    if (::access(program.c_str(), X_OK) != 0)
        co_return output;
    QProcess process;
    process.setProgram(QFile::decodeName(program.c_str()));
    process.setArguments(arguments);
    output.started = co_await qCoro(process).start();
    if (!output.started)
        co_return output;
    const bool finished = co_await qCoro(process).waitForFinished(timeLimit ? static_cast<int>(timeLimit->count()) : -1);
    if (!finished && process.state() != QProcess::NotRunning) {
        output.timedOut = true;
        process.kill();
        co_await qCoro(process).waitForFinished(-1);
    }
    output.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    output.standardOutput = process.readAllStandardOutput();
    output.standardError = process.readAllStandardError();
    co_return output;
}

std::filesystem::path helperProgram(const char *name)
{
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        const std::filesystem::path beside = self.parent_path() / name;
        if (::access(beside.c_str(), X_OK) == 0)
            return beside;
    }
    return std::filesystem::path(TESSOLY_LIBEXEC_DIR) / name;
}

bool hasGraphicsDevice()
{
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator("/dev/dri", error)) {
        const std::string name = entry.path().filename().native();
        if (name.starts_with("renderD") || name.starts_with("card"))
            return true;
    }
    return false;
}

std::unique_ptr<Platform> makeLinuxPlatform()
{
    auto platform = std::make_unique<Platform>();
    auto locations = std::make_unique<LinuxLocations>();
    platform->defaults = std::make_unique<JsonDefaultsStore>(locations->preferences() / "defaults.json");
    platform->trash = std::make_unique<FreedesktopTrash>(LinuxLocations::dataHome() / "Trash", ::getuid());
    platform->locations = std::move(locations);
    platform->volumes = std::make_unique<StatvfsVolumeInfo>();
    platform->revealer = std::make_unique<FileManagerRevealer>();
    platform->processes = std::make_unique<QtProcessRunner>();
    platform->notifier = std::make_unique<FreedesktopNotifier>();
    platform->pdfRenderer = std::make_unique<HelperPdfRenderer>(*platform->processes, helperProgram("tessoly-render-pdf"));
    // Drives are mounted under these folders; more can be named for demos and tests.
    std::vector<std::filesystem::path> externalRoots{"/media", "/run/media", "/mnt"};
    for (const QByteArray &root : qgetenv("TESSOLY_EXTERNAL_ROOTS").split(':'))
        if (!root.isEmpty())
            externalRoots.emplace_back(root.toStdString());
    platform->mounts = std::make_unique<LinuxMountedVolumes>("/proc/self/mountinfo", std::move(externalRoots));
    // Linux keeps no local snapshots. A program that answers like the macOS
    // snapshot tool can be named here (for demos and end-to-end checks).
    if (const QByteArray tool = qgetenv("TESSOLY_SNAPSHOT_TOOL"); !tool.isEmpty())
        platform->snapshotTool = std::filesystem::path(tool.toStdString());
    // Docker where Linux installs it (the first that exists, else the first,
    // which then reads as not installed); the simulator tool exists only on
    // a Mac. Both can be named for demos and tests.
    platform->dockerTool = "/usr/bin/docker";
    for (const char *candidate : {"/usr/bin/docker", "/usr/local/bin/docker"}) {
        if (::access(candidate, F_OK) == 0) {
            platform->dockerTool = candidate;
            break;
        }
    }
    if (const QByteArray tool = qgetenv("TESSOLY_DOCKER"); !tool.isEmpty())
        platform->dockerTool = std::filesystem::path(tool.toStdString());
    if (const QByteArray tool = qgetenv("TESSOLY_XCRUN"); !tool.isEmpty())
        platform->simulatorTool = std::filesystem::path(tool.toStdString());
    return platform;
}

} // namespace tessoly::platform
