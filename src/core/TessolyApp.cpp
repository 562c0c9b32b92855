#include "core/TessolyApp.h"

#include "analysis/DiskScanner.h"
#include "cleaning/CleanupHistoryModel.h"
#include "cleaning/CleanupHistoryStore.h"
#include "cleaning/CleanupService.h"
#include "cleaning/HiddenSpaceCard.h"
#include "cleaning/MaintenanceService.h"
#include "core/OnboardingState.h"
#include "core/PathText.h"
#include "core/SettingsStore.h"
#include "platform/Platform.h"

namespace tessoly {

TessolyApp::TessolyApp(std::unique_ptr<platform::Platform> platform, CleanupHistoryStore *history, QObject *parent)
    : QObject(parent)
    , m_platform(std::move(platform))
    , m_history(history != nullptr ? history : &CleanupHistoryStore::shared())
{
    const std::filesystem::path home = m_platform->locations->home();
    m_scanner = new DiskScanner(home, *m_platform->volumes, *m_platform->trash, this);
    m_onboarding = new OnboardingState(this);
    m_settings = new SettingsStore(*m_platform->defaults, this);
    m_maintenance = new MaintenanceService(home, *m_platform->volumes, *m_platform->processes, m_platform->snapshotTool, this);
    // Screen-level objects.
    m_cleanup = new CleanupService(home, *m_platform->trash, *m_history, this);
    m_hiddenSpace = new HiddenSpaceCard(*m_maintenance, *m_scanner, this);
    m_historyModel = new CleanupHistoryModel(*m_history, homePath(), this);
}

TessolyApp::~TessolyApp() = default;

QString TessolyApp::homePath() const
{
    return displayPath(m_platform->locations->home());
}

void TessolyApp::start()
{
    m_scanner->refreshVolumeInfo();
    if (!m_platform->defaults->boolValue(QString::fromLatin1(OnboardingState::kCompletedKey)).value_or(false))
        m_onboarding->setShowing(true);
}

void TessolyApp::reveal(const QString &path)
{
    m_platform->revealer->reveal(textToPath(path));
}

} // namespace tessoly
