#pragma once

#include "cleaning/ActionOutcomes.h"
#include "cleaning/DevToolOutput.h"
#include "cleaning/NodeModulesSearch.h"

#include <QCoroTask>
#include <QObject>
#include <QSet>
#include <QVariantList>
#include <QVariantMap>
#include <chrono>
#include <filesystem>
#include <optional>

namespace tessoly {
namespace platform {
class DefaultsStore;
class ProcessRunner;
class Trash;
} // namespace platform
class CleanupHistoryStore;

// The developer deep clean: node_modules folders of meaningful size in the
// user's projects, what Docker could give back, and simulator runtimes.
// The three jobs of a scan run side by side; every action goes through the
// tools' own commands (or the Trash), one at a time per item, and leaves
// its words in results.
class DevDeepClean : public QObject {
    Q_OBJECT
    // [{id, path, displayPath, bytes, projectName, projectLastUsed (date or null)}], biggest first
    Q_PROPERTY(QVariantList nodeModules READ nodeModuleList NOTIFY nodeModulesChanged)
    Q_PROPERTY(qint64 nodeModulesTotalBytes READ nodeModulesTotalBytes NOTIFY nodeModulesChanged)
    // Why a project folder wasn't searched, one sentence each.
    Q_PROPERTY(QStringList refusedFolders READ refusedFolders NOTIFY nodeModulesChanged)
    // {state: "ready"|"notInstalled"|"notRunning"|"notResponding", reclaimableBytes}
    Q_PROPERTY(QVariantMap docker READ dockerMap NOTIFY dockerChanged)
    // [{id, name, bytes, lastUsedAt (date or null), deletable, state}]
    Q_PROPERTY(QVariantList runtimes READ runtimeList NOTIFY runtimesChanged)
    Q_PROPERTY(int unavailableSimDevices READ unavailableSimDevices NOTIFY runtimesChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(bool hasScanned READ hasScanned NOTIFY isScanningChanged)
    Q_PROPERTY(QStringList workingIds READ workingIdList NOTIFY workingIdsChanged)
    // id -> {message, success}
    Q_PROPERTY(QVariantMap results READ resultMap NOTIFY resultsChanged)

public:
    // Where the tools are; absent means not installed here. Docker's disk
    // usage is asked with a time limit so that a daemon that hangs can't
    // hold the scan: the card then says Docker didn't answer.
    struct Tools {
        std::filesystem::path docker;
        std::optional<std::filesystem::path> xcrun;
        std::chrono::milliseconds dockerAnswerLimit{20000};
    };
    static constexpr const char *dockerId = "docker";
    static constexpr const char *unavailableDevicesId = "sim.unavailable";

    DevDeepClean(std::filesystem::path home, platform::Trash &trash, platform::ProcessRunner &processes,
                 CleanupHistoryStore &history, platform::DefaultsStore &defaults, Tools tools, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<NodeModulesFinding> &nodeModules() const { return m_nodeModules; }
    [[nodiscard]] const QStringList &refusedFolders() const { return m_refusedFolders; }
    [[nodiscard]] QVariantList nodeModuleList() const;
    [[nodiscard]] qint64 nodeModulesTotalBytes() const;
    [[nodiscard]] const DockerStatus &docker() const { return m_docker; }
    [[nodiscard]] QVariantMap dockerMap() const;
    [[nodiscard]] const std::vector<SimRuntime> &runtimes() const { return m_runtimes; }
    [[nodiscard]] QVariantList runtimeList() const;
    [[nodiscard]] int unavailableSimDevices() const { return m_unavailableSimDevices; }
    [[nodiscard]] bool isScanning() const { return m_isScanning; }
    [[nodiscard]] bool hasScanned() const { return m_hasScanned; }
    [[nodiscard]] const QSet<QString> &workingIds() const { return m_outcomes.working(); }
    [[nodiscard]] QStringList workingIdList() const;
    using Result = ActionOutcome;
    [[nodiscard]] std::optional<Result> result(const QString &id) const;
    [[nodiscard]] QVariantMap resultMap() const;

    QCoro::Task<void> scan();
    QCoro::Task<void> deleteNodeModules(NodeModulesFinding finding);
    QCoro::Task<void> pruneDocker();
    QCoro::Task<void> deleteRuntime(SimRuntime runtime);
    QCoro::Task<void> removeUnavailableDevices();

    // For the screens.
    Q_INVOKABLE void startScan();
    Q_INVOKABLE void deleteNodeModulesWithId(const QString &id);
    Q_INVOKABLE void startPruneDocker();
    Q_INVOKABLE void deleteRuntimeWithId(const QString &id);
    Q_INVOKABLE void startRemoveUnavailableDevices();

signals:
    void nodeModulesChanged();
    void dockerChanged();
    void runtimesChanged();
    void isScanningChanged();
    void workingIdsChanged();
    void resultsChanged();

private:
    QCoro::Task<std::vector<NodeModulesFinding>> findNodeModules();
    QCoro::Task<DockerStatus> dockerStatus();
    QCoro::Task<std::pair<std::vector<SimRuntime>, int>> simulators();
    QCoro::Task<std::vector<SimRuntime>> listRuntimes();
    QCoro::Task<int> countUnavailable();
    // The tool's standard output, else its standard error, else "" (also when it couldn't start).
    QCoro::Task<QString> runTool(std::filesystem::path program, QStringList arguments,
                                 std::optional<std::chrono::milliseconds> limit = std::nullopt, bool *timedOut = nullptr);
    bool beginWork(const QString &id);
    void endWork(const QString &id);
    void setResult(const QString &id, QString message, bool success);

    std::filesystem::path m_home;
    platform::Trash &m_trash;
    platform::ProcessRunner &m_processes;
    CleanupHistoryStore &m_history;
    platform::DefaultsStore &m_defaults;
    Tools m_tools;
    std::vector<NodeModulesFinding> m_nodeModules;
    QStringList m_refusedFolders;
    DockerStatus m_docker;
    std::vector<SimRuntime> m_runtimes;
    int m_unavailableSimDevices = 0;
    bool m_isScanning = false;
    bool m_hasScanned = false;
    ActionOutcomes m_outcomes;
};

} // namespace tessoly
