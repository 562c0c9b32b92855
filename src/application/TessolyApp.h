#pragma once

#include <QObject>
#include <QString>
#include <memory>

namespace tessoly {
namespace platform {
struct Platform;
class Prompter;
} // namespace platform
class ExternalDestinationStore;
class ExternalDriveManager;
class FolderMover;
class MoveController;
class MoveFileOperations;
class MoveSuggestions;
class OffloadScanner;
class SymlinkInventory;
class CleanupHistoryModel;
class CleanupService;
class DevDeepClean;
class HiddenSpaceCard;
class MaintenanceService;
class CleanupHistoryStore;
class DiskForecast;
class DiskScanner;
class AutoCleanupScheduler;
class NotificationManager;
class StorageAutopilot;
class AppStorageScanner;
class DuplicateFinder;
class SystemDataXRay;
class UniversalSearchService;
class EasyCleanFlow;
class SmartScanService;
class OnboardingState;
class SettingsStore;
class StorageReportExporter;
struct StorageReport;

// The owner of the service graph: builds every long-lived service once, in
// a fixed order, and hands each the collaborators it needs. The window and
// the command line both run on one of these; the screens reach it through
// the Services singleton.
class TessolyApp : public QObject {
    Q_OBJECT

public:
    // The log is history.json in the application support folder, on the
    // platform's Trash, unless a store is given (tests).
    explicit TessolyApp(std::unique_ptr<platform::Platform> platform, CleanupHistoryStore *history = nullptr,
                        QObject *parent = nullptr);
    ~TessolyApp() override;

    [[nodiscard]] platform::Platform &platform() const { return *m_platform; }
    [[nodiscard]] DiskScanner *scanner() const { return m_scanner; }
    [[nodiscard]] OnboardingState *onboarding() const { return m_onboarding; }
    [[nodiscard]] DiskForecast *forecast() const { return m_forecast; }
    [[nodiscard]] SmartScanService *smartScan() const { return m_smartScan; }
    // The one-button flow of the Easy screen and `tessoly easy-clean`.
    [[nodiscard]] EasyCleanFlow *easyClean() const { return m_easyClean; }
    // node_modules, Docker and simulator runtimes.
    [[nodiscard]] DevDeepClean *devClean() const { return m_devClean; }
    [[nodiscard]] SettingsStore *settings() const { return m_settings; }
    // The System Data X-Ray.
    [[nodiscard]] SystemDataXRay *xray() const { return m_xray; }
    // The free-space guardrail and the scheduled profile cleanup.
    [[nodiscard]] StorageAutopilot *autopilot() const { return m_autopilot; }
    [[nodiscard]] AutoCleanupScheduler *scheduler() const { return m_scheduler; }
    [[nodiscard]] NotificationManager *notifications() const { return m_notifications; }
    // The Explore tools live as long as their screen: each call makes a new one, owned by parent.
    [[nodiscard]] AppStorageScanner *makeAppStorageScanner(QObject *parent) const;
    [[nodiscard]] DuplicateFinder *makeDuplicateFinder(QObject *parent) const;
    [[nodiscard]] UniversalSearchService *makeSearch(QObject *parent) const;
    [[nodiscard]] CleanupHistoryStore &history() const { return *m_history; }
    [[nodiscard]] CleanupHistoryModel *historyModel() const { return m_historyModel; }
    [[nodiscard]] MaintenanceService *maintenance() const { return m_maintenance; }
    // The one cleaner, shared by every service and screen.
    [[nodiscard]] CleanupService *cleanup() const { return m_cleanup; }
    [[nodiscard]] HiddenSpaceCard *hiddenSpace() const { return m_hiddenSpace; }
    [[nodiscard]] ExternalDriveManager *drives() const { return m_drives; }
    [[nodiscard]] ExternalDestinationStore *destinations() const { return m_destinations; }
    [[nodiscard]] FolderMover &mover() const { return *m_mover; }
    [[nodiscard]] MoveFileOperations &moveOperations() const { return *m_moveOperations; }
    [[nodiscard]] SymlinkInventory *inventory() const { return m_inventory; }
    [[nodiscard]] OffloadScanner *offload() const { return m_offload; }
    [[nodiscard]] MoveSuggestions *moveSuggestions() const { return m_moveSuggestions; }
    // The move sheet's controller.
    [[nodiscard]] MoveController *moveController() const { return m_moveController; }
    [[nodiscard]] QString homePath() const;

    // Who answers the grant panel and alerts: the window's dialogs or the
    // terminal. Without one (nullptr), every question is declined.
    void setPrompter(platform::Prompter *prompter);

    // The window follows the log and the settings that other Tessoly
    // processes (command lines, scheduled runs) change while it is open.
    void followSharedFiles();
    // Starts the background jobs' timers (the window does; a command line doesn't).
    void startAutomation();

    // The window's start task: fresh figures, then the tour on first launch.
    Q_INVOKABLE void start();
    // The tour's end (its last button or a skip): it won't open by itself again.
    Q_INVOKABLE void finishOnboarding();
    Q_INVOKABLE void reveal(const QString &path);
    // "Export Storage Report…": today's figures and recent history as a PDF
    // where the user chooses, then shown in the file manager. Runs on its own;
    // choosing it again starts another.
    void exportReport();
    // The figures of a report as they stand now: volume, breakdown, the 25
    // biggest files and the 50 newest log entries.
    [[nodiscard]] StorageReport storageReport() const;
    // Shows the folder the user sees as the Trash.
    Q_INVOKABLE void revealTrash();

private:
    std::unique_ptr<platform::Platform> m_platform;
    std::unique_ptr<platform::Prompter> m_decliningPrompter;
    std::unique_ptr<MoveFileOperations> m_moveOperations;
    std::unique_ptr<FolderMover> m_mover;
    std::unique_ptr<StorageReportExporter> m_reportExporter;
    std::unique_ptr<CleanupHistoryStore> m_ownHistory; // the log in the application support folder
    CleanupHistoryStore *m_history = nullptr;
    // Services, in construction order; all are children of this object.
    DiskScanner *m_scanner = nullptr;
    OnboardingState *m_onboarding = nullptr;
    DiskForecast *m_forecast = nullptr;
    SmartScanService *m_smartScan = nullptr;
    EasyCleanFlow *m_easyClean = nullptr;
    DevDeepClean *m_devClean = nullptr;
    SettingsStore *m_settings = nullptr;
    MaintenanceService *m_maintenance = nullptr;
    SystemDataXRay *m_xray = nullptr;
    NotificationManager *m_notifications = nullptr;
    StorageAutopilot *m_autopilot = nullptr;
    AutoCleanupScheduler *m_scheduler = nullptr;
    CleanupService *m_cleanup = nullptr;
    CleanupHistoryModel *m_historyModel = nullptr;
    HiddenSpaceCard *m_hiddenSpace = nullptr;
    ExternalDriveManager *m_drives = nullptr;
    ExternalDestinationStore *m_destinations = nullptr;
    SymlinkInventory *m_inventory = nullptr;
    OffloadScanner *m_offload = nullptr;
    MoveSuggestions *m_moveSuggestions = nullptr;
    MoveController *m_moveController = nullptr;
};

} // namespace tessoly
