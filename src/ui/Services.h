#pragma once

#include "analysis/AppStorageScanner.h"
#include "automation/AutoCleanupScheduler.h"
#include "automation/StorageAutopilot.h"
#include "analysis/DiskScanner.h"
#include "analysis/UniversalSearchService.h"
#include "history/CleanupHistoryModel.h"
#include "cleaning/DevDeepClean.h"
#include "cleaning/DuplicateFinder.h"
#include "cleaning/SystemDataXRay.h"
#include "cleaning/HiddenSpaceCard.h"
#include "ui/ProfilesModel.h"
#include "core/OnboardingState.h"
#include "core/SettingsStore.h"
#include "application/TessolyApp.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/ExternalDriveManager.h"
#include "moves/MoveController.h"
#include "moves/OffloadScanner.h"
#include "moves/SymlinkInventory.h"
#include "recommendations/EasyCleanFlow.h"
#include "recommendations/SmartScanService.h"
#include "ui/DialogPrompter.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>

class QQmlEngine;
class QJSEngine;

namespace tessoly {

// The screens' way to the services that TessolyApp built. One instance,
// made by install() and handed to the engine as the QML singleton.
class Services : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(tessoly::DiskScanner *scanner READ scanner CONSTANT)
    Q_PROPERTY(tessoly::OnboardingState *onboarding READ onboarding CONSTANT)
    Q_PROPERTY(tessoly::SettingsStore *settings READ settings CONSTANT)
    Q_PROPERTY(tessoly::CleanupHistoryModel *history READ history CONSTANT)
    Q_PROPERTY(tessoly::ProfilesModel *profiles READ profiles CONSTANT)
    Q_PROPERTY(tessoly::HiddenSpaceCard *hiddenSpace READ hiddenSpace CONSTANT)
    Q_PROPERTY(tessoly::ExternalDriveManager *drives READ drives CONSTANT)
    Q_PROPERTY(tessoly::SymlinkInventory *inventory READ inventory CONSTANT)
    Q_PROPERTY(tessoly::OffloadScanner *offload READ offload CONSTANT)
    Q_PROPERTY(tessoly::MoveController *moveSheet READ moveSheet CONSTANT)
    Q_PROPERTY(tessoly::DialogPrompter *prompter READ prompter CONSTANT)
    Q_PROPERTY(tessoly::SmartScanService *smartScan READ smartScan CONSTANT)
    Q_PROPERTY(tessoly::EasyCleanFlow *easyClean READ easyClean CONSTANT)
    Q_PROPERTY(tessoly::DevDeepClean *devClean READ devClean CONSTANT)
    Q_PROPERTY(tessoly::SystemDataXRay *xray READ xray CONSTANT)
    Q_PROPERTY(tessoly::StorageAutopilot *autopilot READ autopilot CONSTANT)
    Q_PROPERTY(tessoly::AutoCleanupScheduler *autoCleanup READ autoCleanup CONSTANT)
    Q_PROPERTY(tessoly::ExternalDestinationStore *destinations READ destinations CONSTANT)
    Q_PROPERTY(QString homePath READ homePath CONSTANT)
    // "0.1.0 (1)": the version and, in parentheses, the build.
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString makerName READ makerName CONSTANT)
    Q_PROPERTY(QString makerLink READ makerLink CONSTANT)
    Q_PROPERTY(QString supportMail READ supportMail CONSTANT)

public:
    // Makes the instance the screens will see; owned by app.
    static Services *install(TessolyApp &app);
    static Services *create(QQmlEngine *engine, QJSEngine *scriptEngine);
    ~Services() override;

    [[nodiscard]] DiskScanner *scanner() const { return m_app->scanner(); }
    [[nodiscard]] OnboardingState *onboarding() const { return m_app->onboarding(); }
    [[nodiscard]] SettingsStore *settings() const { return m_app->settings(); }
    [[nodiscard]] CleanupHistoryModel *history() const { return m_app->historyModel(); }
    [[nodiscard]] ProfilesModel *profiles() const { return m_profiles; }
    [[nodiscard]] HiddenSpaceCard *hiddenSpace() const { return m_app->hiddenSpace(); }
    [[nodiscard]] ExternalDriveManager *drives() const { return m_app->drives(); }
    [[nodiscard]] SymlinkInventory *inventory() const { return m_app->inventory(); }
    [[nodiscard]] OffloadScanner *offload() const { return m_app->offload(); }
    [[nodiscard]] MoveController *moveSheet() const { return m_app->moveController(); }
    [[nodiscard]] DialogPrompter *prompter() const { return m_prompter; }
    [[nodiscard]] SmartScanService *smartScan() const { return m_app->smartScan(); }
    [[nodiscard]] EasyCleanFlow *easyClean() const { return m_app->easyClean(); }
    [[nodiscard]] DevDeepClean *devClean() const { return m_app->devClean(); }
    [[nodiscard]] SystemDataXRay *xray() const { return m_app->xray(); }
    [[nodiscard]] StorageAutopilot *autopilot() const { return m_app->autopilot(); }
    [[nodiscard]] AutoCleanupScheduler *autoCleanup() const { return m_app->scheduler(); }
    [[nodiscard]] ExternalDestinationStore *destinations() const { return m_app->destinations(); }
    [[nodiscard]] static QString version();
    [[nodiscard]] static QString makerName();
    [[nodiscard]] static QString makerLink();
    [[nodiscard]] static QString supportMail();
    // The Explore tools, new for each screen that asks and gone with it (owner).
    Q_INVOKABLE tessoly::AppStorageScanner *newAppStorageScanner(QObject *owner) const { return m_app->makeAppStorageScanner(owner); }
    Q_INVOKABLE tessoly::DuplicateFinder *newDuplicateFinder(QObject *owner) const { return m_app->makeDuplicateFinder(owner); }
    Q_INVOKABLE tessoly::UniversalSearchService *newSearch(QObject *owner) const { return m_app->makeSearch(owner); }
    [[nodiscard]] QString homePath() const { return m_app->homePath(); }

    Q_INVOKABLE void reveal(const QString &path) { m_app->reveal(path); }
    // "Show me the Trash".
    Q_INVOKABLE void revealTrash() { m_app->revealTrash(); }
    // Ends the welcome tour for good: stores that it was completed and hides it.
    Q_INVOKABLE void finishOnboarding() { m_app->finishOnboarding(); }
    // "Export Storage Report…": the save panel, the PDF, then the file shown in the file manager.
    Q_INVOKABLE void exportReport() { m_app->exportReport(); }

private:
    explicit Services(TessolyApp &app);
    QPointer<TessolyApp> m_app;
    DialogPrompter *m_prompter = nullptr;
    ProfilesModel *m_profiles = nullptr;
};

// Sizes and other numbers as every screen shows them.
class Format : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;
    Q_INVOKABLE static QString bytes(qint64 bytes);
    Q_INVOKABLE static QString sizeNumber(qint64 bytes);
    Q_INVOKABLE static QString sizeUnit(qint64 bytes);
    // "3 days ago", against now.
    Q_INVOKABLE static QString relativeTime(const QDateTime &when);
    // How long ago something finished: a moment of this very second (or a
    // clock a little ahead) reads "1 second ago", never "now" or "in …".
    Q_INVOKABLE static QString timeSince(const QDateTime &when);
};

// The cleanup catalogue as the screens list it.
class Catalogue : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;
    // [{id, displayName, tagline, icon, tint}] in declared order.
    Q_INVOKABLE static QVariantList profiles();
    // [{id, name, description, icon, safety, safetyTint}] in catalogue order.
    Q_INVOKABLE static QVariantList targets(const QString &profileId);
};

// Fonts bundled with the app (Inter for text, Material Icons for symbols).
void registerBundledFonts();
// What an engine needs before it loads a screen: the screens, in folders of
// the module, find each other through "import Tessoly", which Qt 6.4 looks up
// only on an import path.
void prepareEngine(QQmlEngine &engine);

// Foreign registrations so that QML knows the services' types.
struct DiskScannerForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::DiskScanner)
    QML_ANONYMOUS
};
struct SettingsStoreForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::SettingsStore)
    QML_ANONYMOUS
};
struct OnboardingStateForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::OnboardingState)
    QML_ANONYMOUS
};
struct HiddenSpaceCardForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::HiddenSpaceCard)
    QML_ANONYMOUS
};
struct ExternalDriveManagerForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::ExternalDriveManager)
    QML_ANONYMOUS
};
struct SymlinkInventoryForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::SymlinkInventory)
    QML_ANONYMOUS
};
struct OffloadScannerForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::OffloadScanner)
    QML_ANONYMOUS
};
struct MoveControllerForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::MoveController)
    QML_ANONYMOUS
};
struct SmartScanServiceForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::SmartScanService)
    QML_ANONYMOUS
};
struct DevDeepCleanForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::DevDeepClean)
    QML_ANONYMOUS
};
struct SystemDataXRayForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::SystemDataXRay)
    QML_ANONYMOUS
};
struct AppStorageScannerForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::AppStorageScanner)
    QML_ANONYMOUS
};
struct DuplicateFinderForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::DuplicateFinder)
    QML_ANONYMOUS
};
struct UniversalSearchServiceForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::UniversalSearchService)
    QML_ANONYMOUS
};
struct EasyCleanFlowForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::EasyCleanFlow)
    QML_ANONYMOUS
};
struct StorageAutopilotForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::StorageAutopilot)
    QML_ANONYMOUS
};
struct AutoCleanupSchedulerForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::AutoCleanupScheduler)
    QML_ANONYMOUS
};
struct ExternalDestinationStoreForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::ExternalDestinationStore)
    QML_ANONYMOUS
};
struct CleanupHistoryModelForeign {
    Q_GADGET
    QML_FOREIGN(tessoly::CleanupHistoryModel)
    QML_ANONYMOUS
};

} // namespace tessoly
