#include "application/TessolyApp.h"

#include "analysis/AppStorageScanner.h"
#include "automation/AutoCleanupScheduler.h"
#include "automation/NotificationManager.h"
#include "automation/StorageAutopilot.h"
#include "analysis/DiskForecast.h"
#include "analysis/UniversalSearchService.h"
#include "analysis/DiskScanner.h"
#include "history/CleanupHistoryModel.h"
#include "history/CleanupHistoryStore.h"
#include "cleaning/CleanupService.h"
#include "cleaning/DevDeepClean.h"
#include "cleaning/DuplicateFinder.h"
#include "cleaning/SystemDataXRay.h"
#include "cleaning/HiddenSpaceCard.h"
#include "cleaning/MaintenanceService.h"
#include "core/DefaultsKeys.h"
#include "core/OnboardingState.h"
#include "platform/PathText.h"
#include "core/SettingsStore.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/ExternalDriveManager.h"
#include "moves/FolderMover.h"
#include "moves/MoveController.h"
#include "moves/MoveFileOperations.h"
#include "moves/OffloadScanner.h"
#include "moves/SymlinkInventory.h"
#include "platform/FolderWatcher.h"
#include "recommendations/EasyCleanFlow.h"
#include "recommendations/SmartScanService.h"
#include "reporting/StorageReportExporter.h"
#include "platform/Prompter.h"
#include "platform/Platform.h"

namespace tessoly {

TessolyApp::TessolyApp(std::unique_ptr<platform::Platform> platform, CleanupHistoryStore *history, QObject *parent)
    : QObject(parent)
    , m_platform(std::move(platform))
    , m_ownHistory(history != nullptr ? nullptr
                                      : std::make_unique<CleanupHistoryStore>(
                                            m_platform->locations->applicationSupport() / "history.json", *m_platform->trash))
    , m_history(history != nullptr ? history : m_ownHistory.get())
{
    const std::filesystem::path home = m_platform->locations->home();
    // The long-lived services, in their fixed order.
    m_scanner = new DiskScanner(home, *m_platform->volumes, *m_platform->trash, this);
    m_drives = new ExternalDriveManager(*m_platform->mounts, this);
    m_onboarding = new OnboardingState(this);
    m_settings = new SettingsStore(*m_platform->defaults, this);
    m_forecast = new DiskForecast(*m_platform->defaults, {}, this);
    m_forecast->load();
    m_decliningPrompter = std::make_unique<platform::DecliningPrompter>();
    m_destinations = new ExternalDestinationStore(*m_platform->defaults, *m_decliningPrompter, *m_platform->revealer, this);
    // One cleaner and one snapshot thinner for every part of the program.
    m_cleanup = new CleanupService(home, *m_platform->trash, *m_history, this);
    m_maintenance = new MaintenanceService(home, *m_platform->volumes, *m_platform->processes, m_platform->snapshotTool, this);
    m_xray = new SystemDataXRay(*m_platform, *m_cleanup, *m_maintenance, this);
    m_notifications = new NotificationManager(*m_platform->notifier, {}, this);
    m_autopilot = new StorageAutopilot(*m_platform, *m_settings, *m_cleanup, *m_maintenance, *m_notifications, {}, this);
    m_scheduler = new AutoCleanupScheduler(*m_platform, *m_settings, *m_cleanup, *m_notifications, {}, this);
    m_moveOperations = std::make_unique<MoveFileOperations>(*m_platform->trash, *m_platform->volumes);
    m_mover = std::make_unique<FolderMover>(*m_moveOperations, *m_history, home);
    m_smartScan = new SmartScanService(
        *m_platform, {*m_scanner, *m_drives, *m_forecast, *m_destinations, *m_moveOperations, *m_history, *m_cleanup, *m_maintenance}, this);
    m_devClean = new DevDeepClean(home, *m_platform->trash, *m_platform->processes, *m_history, *m_platform->defaults,
                                  {m_platform->dockerTool, m_platform->simulatorTool}, this);
    // Screen-level objects.
    m_hiddenSpace = new HiddenSpaceCard(*m_maintenance, *m_scanner, this);
    m_historyModel = new CleanupHistoryModel(*m_history, homePath(), this);
    m_inventory = new SymlinkInventory(*m_history, *m_moveOperations, *m_destinations, home, this);
    m_offload = new OffloadScanner(home, this);
    m_moveSuggestions = new MoveSuggestions(home, this);
    m_easyClean = new EasyCleanFlow(*m_scanner, *m_smartScan, *m_maintenance, this);
    m_moveController = new MoveController(*m_drives, *m_destinations, *m_mover, *m_platform->defaults, homePath(), this);
    m_reportExporter = std::make_unique<StorageReportExporter>(m_platform->pdfRenderer.get(), *m_decliningPrompter,
                                                               *m_platform->revealer);
}

AppStorageScanner *TessolyApp::makeAppStorageScanner(QObject *parent) const
{
    return new AppStorageScanner(m_platform->locations->home(), parent);
}

DuplicateFinder *TessolyApp::makeDuplicateFinder(QObject *parent) const
{
    return new DuplicateFinder(m_platform->locations->home(), *m_platform->trash, *m_history,
                               m_platform->locations->caches() / "content-hashes", parent);
}

UniversalSearchService *TessolyApp::makeSearch(QObject *parent) const
{
    return new UniversalSearchService(m_platform->locations->home(), parent);
}

void TessolyApp::setPrompter(platform::Prompter *prompter)
{
    platform::Prompter &asked = prompter != nullptr ? *prompter : *m_decliningPrompter;
    m_destinations->setPrompter(asked);
    m_reportExporter->setPrompter(asked);
}

TessolyApp::~TessolyApp()
{
    // The services refer to the platform and the mover: they go first.
    while (!children().isEmpty())
        delete children().constLast();
}

QString TessolyApp::homePath() const
{
    return displayPath(m_platform->locations->home());
}

void TessolyApp::followSharedFiles()
{
    m_history->watchForChanges();
    auto *settingsWatcher = new platform::FolderWatcher(m_platform->defaults->location().parent_path(), this);
    connect(settingsWatcher, &platform::FolderWatcher::changed, this, [this] {
        if (!m_platform->defaults->reload())
            return;
        m_settings->reload();
        m_destinations->reload();
        m_forecast->load();
        m_autopilot->reload();
        m_scheduler->reload();
    });
}

void TessolyApp::startAutomation()
{
    (void)m_notifications->refreshAuthorization();
    m_autopilot->start();
    m_scheduler->start();
}

void TessolyApp::start()
{
    m_scanner->refreshVolumeInfo();
    if (!m_platform->defaults->boolValue(QString::fromLatin1(keys::onboardingCompleted)).value_or(false))
        m_onboarding->setShowing(true);
}

void TessolyApp::finishOnboarding()
{
    m_platform->defaults->set(QString::fromLatin1(keys::onboardingCompleted), true);
    m_onboarding->setShowing(false);
}

void TessolyApp::revealTrash()
{
    m_platform->revealer->reveal(m_platform->trash->homeTrashFiles());
}

StorageReport TessolyApp::storageReport() const
{
    StorageReport report;
    report.totalCapacity = m_scanner->totalCapacity();
    report.totalUsed = m_scanner->totalUsed();
    report.totalFree = m_scanner->totalFree();
    for (const StorageBreakdown &part : m_scanner->breakdown())
        report.categories.append({rawValue(part.category), part.bytes});
    for (const DiskItem &file : m_scanner->bigFiles().first(std::min<qsizetype>(m_scanner->bigFiles().size(), 25)))
        report.topFiles.append({file.nameText(), file.pathText(), file.bytes});
    const std::vector<CleanupHistoryEntry> &entries = m_history->entries();
    for (std::size_t i = 0; i < std::min<std::size_t>(entries.size(), 50); ++i)
        report.recent.append({entries[i].timestamp, entries[i].summary, entries[i].bytesReclaimed});
    return report;
}

void TessolyApp::exportReport()
{
    // Each choice of the command is a task of its own; the window stays live meanwhile.
    (void)m_reportExporter->exportReport(storageReport(), m_platform->locations->home());
}

void TessolyApp::reveal(const QString &path)
{
    m_platform->revealer->reveal(textToPath(path));
}

} // namespace tessoly
