// The command line's developer deep clean.
#include "application/TessolyApp.h"
#include "cleaning/DevDeepClean.h"
#include "cli/CommandLine.h"
#include "core/ByteFormat.h"
#include "core/RelativeTime.h"
#include "platform/PathText.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tessoly {
namespace {

QString dockerWords(const DockerStatus &docker)
{
    switch (docker.state) {
    case DockerStatus::State::NotInstalled: return QStringLiteral("Docker isn't installed on this Mac.");
    case DockerStatus::State::NotRunning:
        return QStringLiteral("Docker isn't running. Start Docker Desktop, then re-scan to see how much is reclaimable.");
    case DockerStatus::State::NotResponding:
        return QStringLiteral("Docker didn't answer within 20 seconds — it may be starting or stuck. Re-scan to try again.");
    case DockerStatus::State::Ready: return QStringLiteral("%1 reclaimable").arg(formatBytes(docker.reclaimableBytes));
    }
    return {};
}

} // namespace

QCoro::Task<int> CommandLine::devClean(Parsed parsed)
{
    DevDeepClean &dev = *m_app.devClean();
    const bool json = parsed.flag("--json");
    int actions = 0;
    for (const char *action : {"--delete-node-modules", "--prune-docker", "--delete-runtime", "--remove-unavailable"})
        actions += parsed.flag(action) ? 1 : 0;
    if (actions > 1)
        co_return usageError(QStringLiteral("devclean takes one action at a time."));
    showProgress(QStringLiteral("Looking for node_modules folders, Docker's unused data and simulator runtimes…"));
    co_await dev.scan();

    // At most one action, on what the scan found.
    QString actedOn;
    if (parsed.options.contains(QStringLiteral("--delete-node-modules"))) {
        const std::filesystem::path wanted = std::filesystem::absolute(textToPath(parsed.options.value(QStringLiteral("--delete-node-modules"))));
        // Any spelling that resolves to a found folder names it ("x/node_modules/", a link to the project).
        std::error_code error;
        std::filesystem::path real = std::filesystem::weakly_canonical(wanted, error);
        if (error)
            real = wanted.lexically_normal();
        if (!real.has_filename())
            real = real.parent_path();
        const auto finding = std::find_if(dev.nodeModules().begin(), dev.nodeModules().end(),
                                          [&](const NodeModulesFinding &f) { return f.url == real; });
        if (finding == dev.nodeModules().end())
            co_return usageError(QStringLiteral("“%1” isn't one of the node_modules folders found. Run “tessoly devclean” to list them.")
                                     .arg(displayPath(wanted)));
        actedOn = finding->id();
        showProgress(QStringLiteral("Removing %1…").arg(displayPath(finding->url)));
        co_await dev.deleteNodeModules(*finding);
    } else if (parsed.flag("--prune-docker")) {
        if (dev.docker().state != DockerStatus::State::Ready)
            co_return fail(dockerWords(dev.docker()));
        actedOn = QString::fromLatin1(DevDeepClean::dockerId);
        showProgress(QStringLiteral("Running docker system prune -af…"));
        co_await dev.pruneDocker();
    } else if (parsed.options.contains(QStringLiteral("--delete-runtime"))) {
        const QString id = parsed.options.value(QStringLiteral("--delete-runtime"));
        const auto runtime = std::find_if(dev.runtimes().begin(), dev.runtimes().end(), [&](const SimRuntime &r) { return r.id == id; });
        if (runtime == dev.runtimes().end())
            co_return usageError(QStringLiteral("no simulator runtime has the id “%1”.").arg(id));
        if (!runtime->deletable)
            co_return fail(QStringLiteral("the simulator tool says %1 can't be deleted.").arg(runtime->name));
        actedOn = id;
        co_await dev.deleteRuntime(*runtime);
    } else if (parsed.flag("--remove-unavailable")) {
        if (dev.unavailableSimDevices() < 1)
            co_return reportOutcome(json, QString::fromLatin1(DevDeepClean::unavailableDevicesId),
                                    ActionOutcome{QStringLiteral("No orphaned simulator devices."), true});
        actedOn = QString::fromLatin1(DevDeepClean::unavailableDevicesId);
        co_await dev.removeUnavailableDevices();
    }
    if (!actedOn.isEmpty()) {
        co_return reportOutcome(json, actedOn, dev.result(actedOn));
    }

    if (json) {
        QJsonArray modules;
        for (const NodeModulesFinding &f : dev.nodeModules())
            modules.append(QJsonObject{{QStringLiteral("path"), pathToText(f.url)},
                                       {QStringLiteral("bytes"), f.bytes},
                                       {QStringLiteral("projectName"), f.projectName},
                                       {QStringLiteral("projectLastUsed"),
                                        f.projectLastUsed ? QJsonValue(f.projectLastUsed->toString(Qt::ISODate)) : QJsonValue()}});
        QJsonArray runtimes;
        for (const SimRuntime &r : dev.runtimes())
            runtimes.append(QJsonObject{{QStringLiteral("id"), r.id}, {QStringLiteral("name"), r.name},
                                        {QStringLiteral("bytes"), r.bytes}, {QStringLiteral("deletable"), r.deletable},
                                        {QStringLiteral("lastUsedAt"), r.lastUsedAt ? QJsonValue(r.lastUsedAt->toString(Qt::ISODate)) : QJsonValue()}});
        printJson(QJsonObject{{QStringLiteral("nodeModules"), modules},
                              {QStringLiteral("nodeModulesTotalBytes"), dev.nodeModulesTotalBytes()},
                              {QStringLiteral("refusedFolders"), QJsonArray::fromStringList(dev.refusedFolders())},
                              {QStringLiteral("docker"), QJsonObject::fromVariantMap(dev.dockerMap())},
                              {QStringLiteral("runtimes"), runtimes},
                              {QStringLiteral("unavailableSimDevices"), dev.unavailableSimDevices()}});
        co_return 0;
    }
    const QDateTime now = QDateTime::currentDateTime();
    m_out << "node_modules — " << formatBytes(dev.nodeModulesTotalBytes()) << "\n";
    if (dev.nodeModules().empty())
        m_out << "  No node_modules folders of meaningful size found in your project folders.\n";
    for (const QString &refusal : dev.refusedFolders())
        m_out << "  " << refusal << "\n";
    for (const NodeModulesFinding &f : dev.nodeModules()) {
        m_out << "  " << f.projectName << " · " << formatBytes(f.bytes) << " · "
              << (f.projectLastUsed ? QStringLiteral("project last touched %1").arg(formatRelativeTime(*f.projectLastUsed, now))
                                    : QStringLiteral("no project activity found"))
              << "\n      " << displayPath(f.url) << "\n";
    }
    m_out << "\nDocker — " << dockerWords(dev.docker()) << "\n";
    m_out << "\niOS simulator runtimes\n";
    if (dev.runtimes().empty())
        m_out << "  No simulator runtimes installed (or Xcode isn't set up on this Mac).\n";
    for (const SimRuntime &r : dev.runtimes())
        m_out << "  " << r.name << " · " << formatBytes(r.bytes)
              << (r.lastUsedAt ? QStringLiteral(" · last used %1").arg(formatRelativeTime(*r.lastUsedAt, now)) : QString())
              << (r.deletable ? QString() : QStringLiteral(" · can't be deleted")) << "   (id " << r.id << ")\n";
    if (dev.unavailableSimDevices() > 0)
        m_out << "  " << dev.unavailableSimDevices() << " orphaned simulator device" << (dev.unavailableSimDevices() == 1 ? "" : "s") << "\n";
    co_return 0;
}

} // namespace tessoly
