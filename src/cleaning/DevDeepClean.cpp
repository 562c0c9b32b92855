#include "cleaning/DevDeepClean.h"

#include "history/CleanupHistoryEntry.h"
#include "history/CleanupHistoryStore.h"
#include "core/ByteFormat.h"
#include "core/SettingsStore.h"
#include "platform/DefaultsStore.h"
#include "platform/PathText.h"
#include "platform/ProcessRunner.h"
#include "platform/Trash.h"

#include <QCoroFuture>
#include <QPointer>
#include <QtConcurrent>
#include <sys/stat.h>

namespace tessoly {
namespace fs = std::filesystem;
namespace {

QString dockerStateName(DockerStatus::State state)
{
    switch (state) {
    case DockerStatus::State::Ready: return QStringLiteral("ready");
    case DockerStatus::State::NotInstalled: return QStringLiteral("notInstalled");
    case DockerStatus::State::NotRunning: return QStringLiteral("notRunning");
    case DockerStatus::State::NotResponding: return QStringLiteral("notResponding");
    }
    return {};
}

// Deletes or trashes one folder whole; empty on success, else the reason.
QString disposeFolder(const fs::path &folder, bool deleteImmediately, platform::Trash &trash)
{
    if (!deleteImmediately) {
        const platform::TrashOutcome outcome = trash.trashItem(folder);
        return outcome.ok() ? QString() : outcome.error;
    }
    std::error_code error;
    fs::remove_all(folder, error);
    return error ? QString::fromLocal8Bit(error.message()) : QString();
}

} // namespace

DevDeepClean::DevDeepClean(fs::path home, platform::Trash &trash, platform::ProcessRunner &processes,
                           CleanupHistoryStore &history, platform::DefaultsStore &defaults, Tools tools, QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
    , m_trash(trash)
    , m_processes(processes)
    , m_history(history)
    , m_defaults(defaults)
    , m_tools(std::move(tools))
{
}

// ---- Published state ----

QVariantList DevDeepClean::nodeModuleList() const
{
    QVariantList list;
    for (const NodeModulesFinding &finding : m_nodeModules) {
        list.append(QVariantMap{{QStringLiteral("id"), finding.id()},
                                {QStringLiteral("path"), pathToText(finding.url)},
                                {QStringLiteral("displayPath"), abbreviateHome(displayPath(finding.url), displayPath(m_home))},
                                {QStringLiteral("bytes"), finding.bytes},
                                {QStringLiteral("projectName"), finding.projectName},
                                {QStringLiteral("projectLastUsed"), finding.projectLastUsed.value_or(QDateTime())}});
    }
    return list;
}

qint64 DevDeepClean::nodeModulesTotalBytes() const
{
    qint64 total = 0;
    for (const NodeModulesFinding &finding : m_nodeModules)
        total += finding.bytes;
    return total;
}

QVariantMap DevDeepClean::dockerMap() const
{
    return {{QStringLiteral("state"), dockerStateName(m_docker.state)},
            {QStringLiteral("reclaimableBytes"), m_docker.reclaimableBytes}};
}

QVariantList DevDeepClean::runtimeList() const
{
    QVariantList list;
    for (const SimRuntime &runtime : m_runtimes) {
        list.append(QVariantMap{{QStringLiteral("id"), runtime.id},
                                {QStringLiteral("name"), runtime.name},
                                {QStringLiteral("bytes"), runtime.bytes},
                                {QStringLiteral("lastUsedAt"), runtime.lastUsedAt.value_or(QDateTime())},
                                {QStringLiteral("deletable"), runtime.deletable},
                                {QStringLiteral("state"), runtime.state}});
    }
    return list;
}

QStringList DevDeepClean::workingIdList() const
{
    return m_outcomes.workingList();
}

std::optional<DevDeepClean::Result> DevDeepClean::result(const QString &id) const
{
    return m_outcomes.outcome(id);
}

QVariantMap DevDeepClean::resultMap() const
{
    return m_outcomes.map();
}

bool DevDeepClean::beginWork(const QString &id)
{
    if (!m_outcomes.begin(id))
        return false;
    emit workingIdsChanged();
    return true;
}

void DevDeepClean::endWork(const QString &id)
{
    m_outcomes.end(id);
    emit workingIdsChanged();
}

void DevDeepClean::setResult(const QString &id, QString message, bool success)
{
    m_outcomes.set(id, std::move(message), success);
    emit resultsChanged();
}

// ---- Running the tools ----

QCoro::Task<QString> DevDeepClean::runTool(fs::path program, QStringList arguments,
                                           std::optional<std::chrono::milliseconds> limit, bool *timedOut)
{
    const platform::ProcessOutput output = co_await m_processes.run(std::move(program), std::move(arguments), limit);
    if (timedOut != nullptr)
        *timedOut = output.timedOut;
    if (!output.started)
        co_return QString();
    if (!output.standardOutput.isEmpty())
        co_return QString::fromUtf8(output.standardOutput);
    co_return QString::fromUtf8(output.standardError);
}

QCoro::Task<DockerStatus> DevDeepClean::dockerStatus()
{
    struct stat st{};
    if (::stat(m_tools.docker.c_str(), &st) != 0)
        co_return DockerStatus{DockerStatus::State::NotInstalled, 0};
    bool timedOut = false;
    QStringList arguments{QStringLiteral("system"), QStringLiteral("df"), QStringLiteral("--format"), QStringLiteral("{{json .}}")};
    const QString output = co_await runTool(m_tools.docker, std::move(arguments), m_tools.dockerAnswerLimit, &timedOut);
    if (timedOut)
        co_return DockerStatus{DockerStatus::State::NotResponding, 0};
    co_return devtools::dockerStatusFromDiskUsage(output);
}

QCoro::Task<std::vector<SimRuntime>> DevDeepClean::listRuntimes()
{
    if (!m_tools.xcrun)
        co_return std::vector<SimRuntime>{};
    QStringList arguments{QStringLiteral("simctl"), QStringLiteral("runtime"), QStringLiteral("list"), QStringLiteral("-j")};
    co_return devtools::parseRuntimes(co_await runTool(*m_tools.xcrun, std::move(arguments)));
}

QCoro::Task<int> DevDeepClean::countUnavailable()
{
    if (!m_tools.xcrun)
        co_return 0;
    QStringList arguments{QStringLiteral("simctl"), QStringLiteral("list"), QStringLiteral("devices"), QStringLiteral("-j")};
    co_return devtools::countUnavailableDevices(co_await runTool(*m_tools.xcrun, std::move(arguments)));
}

QCoro::Task<std::pair<std::vector<SimRuntime>, int>> DevDeepClean::simulators()
{
    std::vector<SimRuntime> runtimes = co_await listRuntimes();
    const int unavailable = co_await countUnavailable();
    co_return std::pair{std::move(runtimes), unavailable};
}

QCoro::Task<std::vector<NodeModulesFinding>> DevDeepClean::findNodeModules()
{
    co_return co_await QtConcurrent::run(&NodeModulesSearch::find, m_home);
}

// ---- The scan and the actions ----

QCoro::Task<void> DevDeepClean::scan()
{
    if (m_isScanning)
        co_return;
    m_isScanning = true;
    m_outcomes.clear();
    emit resultsChanged();
    emit isScanningChanged();
    QPointer<DevDeepClean> self(this);
    // The three jobs side by side; each starts at once.
    QCoro::Task<std::vector<NodeModulesFinding>> search = findNodeModules();
    QCoro::Task<DockerStatus> docker = dockerStatus();
    QCoro::Task<std::pair<std::vector<SimRuntime>, int>> simulatorJob = simulators();
    std::vector<NodeModulesFinding> findings = co_await std::move(search);
    const DockerStatus status = co_await std::move(docker);
    auto [runtimes, unavailable] = co_await std::move(simulatorJob);
    if (!self)
        co_return;
    m_nodeModules = std::move(findings);
    m_refusedFolders = NodeModulesSearch::roots(m_home).refused;
    m_docker = status;
    m_runtimes = std::move(runtimes);
    m_unavailableSimDevices = unavailable;
    emit nodeModulesChanged();
    emit dockerChanged();
    emit runtimesChanged();
    m_hasScanned = true;
    m_isScanning = false;
    emit isScanningChanged();
}

QCoro::Task<void> DevDeepClean::deleteNodeModules(NodeModulesFinding finding)
{
    const QString id = finding.id();
    if (!beginWork(id))
        co_return;
    const bool immediately =
        SettingsStore::deleteImmediately(m_defaults);
    QPointer<DevDeepClean> self(this);
    // Judged as if deleting outright, whatever the setting.
    if (const QString refusal = NodeModulesSearch::refusalToRemove(finding.url, m_home); !refusal.isEmpty()) {
        setResult(id, refusal, false);
        endWork(id);
        co_return;
    }
    const QString error = co_await QtConcurrent::run(&disposeFolder, finding.url, immediately, std::ref(m_trash));
    if (!self)
        co_return;
    if (error.isEmpty()) {
        CleanupHistoryEntry::Item item;
        item.originalPath = finding.url;
        item.bytes = finding.bytes;
        // No Trash path is recorded, also when the folder went to the Trash:
        // dependencies are reinstalled, not restored.
        m_history.append(CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::SmartCleanup,
                                                   QStringLiteral("Deleted node_modules from %1").arg(finding.projectName),
                                                   finding.bytes, {item}));
        setResult(id,
                  immediately ? QStringLiteral("Deleted — run npm install in %1 if you return to it.").arg(finding.projectName)
                              : QStringLiteral("Moved to Trash — empty the Trash to reclaim %1.").arg(formatBytes(finding.bytes)),
                  true);
        std::erase_if(m_nodeModules, [&id](const NodeModulesFinding &f) { return f.id() == id; });
        emit nodeModulesChanged();
    } else {
        setResult(id, QStringLiteral("Couldn't delete %1 — check folder permissions.").arg(displayPath(finding.url.filename())),
                  false);
    }
    endWork(id);
}

QCoro::Task<void> DevDeepClean::pruneDocker()
{
    const QString id = QString::fromLatin1(dockerId);
    if (!beginWork(id))
        co_return;
    QPointer<DevDeepClean> self(this);
    QStringList arguments{QStringLiteral("system"), QStringLiteral("prune"), QStringLiteral("-af")};
    const QString output = co_await runTool(m_tools.docker, std::move(arguments));
    if (!self)
        co_return;
    const qint64 reclaimed = devtools::reclaimedByPrune(output);
    setResult(id,
              reclaimed > 0 ? QStringLiteral("Docker reclaimed %1. To shrink the disk image file itself, lower the disk "
                                             "limit in Docker Desktop → Settings → Resources.")
                                  .arg(formatBytes(reclaimed))
                            : QStringLiteral("Prune ran — nothing unused to remove."),
              true);
    const DockerStatus status = co_await dockerStatus();
    if (!self)
        co_return;
    m_docker = status;
    emit dockerChanged();
    endWork(id);
}

QCoro::Task<void> DevDeepClean::deleteRuntime(SimRuntime runtime)
{
    if (!m_tools.xcrun || !beginWork(runtime.id))
        co_return;
    QPointer<DevDeepClean> self(this);
    QStringList arguments{QStringLiteral("simctl"), QStringLiteral("runtime"), QStringLiteral("delete"), runtime.id};
    const QString output = co_await runTool(*m_tools.xcrun, std::move(arguments));
    std::vector<SimRuntime> runtimes = co_await listRuntimes();
    if (!self)
        co_return;
    m_runtimes = std::move(runtimes);
    emit runtimesChanged();
    // Success is read off the new list, never off the exit status.
    const bool gone = std::none_of(m_runtimes.begin(), m_runtimes.end(), [&](const SimRuntime &r) { return r.id == runtime.id; });
    setResult(runtime.id,
              gone ? QStringLiteral("Deleted %1 — Xcode re-downloads it on demand.").arg(runtime.name)
                   : QStringLiteral("Couldn't delete %1: %2").arg(runtime.name, output.trimmed()),
              gone);
    endWork(runtime.id);
}

QCoro::Task<void> DevDeepClean::removeUnavailableDevices()
{
    const QString id = QString::fromLatin1(unavailableDevicesId);
    if (!m_tools.xcrun || !beginWork(id))
        co_return;
    QPointer<DevDeepClean> self(this);
    QStringList arguments{QStringLiteral("simctl"), QStringLiteral("delete"), QStringLiteral("unavailable")};
    co_await runTool(*m_tools.xcrun, std::move(arguments));
    if (!self)
        co_return;
    setResult(id, QStringLiteral("Removed simulator devices whose runtime is gone."), true);
    const int unavailable = co_await countUnavailable();
    if (!self)
        co_return;
    m_unavailableSimDevices = unavailable;
    emit runtimesChanged();
    endWork(id);
}

void DevDeepClean::startScan()
{
    scan();
}

void DevDeepClean::deleteNodeModulesWithId(const QString &id)
{
    for (const NodeModulesFinding &finding : m_nodeModules)
        if (finding.id() == id) {
            deleteNodeModules(finding);
            return;
        }
}

void DevDeepClean::startPruneDocker()
{
    pruneDocker();
}

void DevDeepClean::deleteRuntimeWithId(const QString &id)
{
    for (const SimRuntime &runtime : m_runtimes)
        if (runtime.id == id) {
            deleteRuntime(runtime);
            return;
        }
}

void DevDeepClean::startRemoveUnavailableDevices()
{
    removeUnavailableDevices();
}

} // namespace tessoly
