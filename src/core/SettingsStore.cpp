#include "core/SettingsStore.h"

#include "core/AutoFrequency.h"
#include "platform/DefaultsStore.h"

namespace tessoly {
namespace {

constexpr const char *kNotificationsEnabled = "TessolySettings.notificationsEnabled";
constexpr const char *kLowDiskThresholdPercent = "TessolySettings.lowDiskThresholdPercent";
constexpr const char *kNotifyOnScanComplete = "TessolySettings.notifyOnScanComplete";
constexpr const char *kDefaultExternalDriveName = "TessolySettings.defaultExternalDriveName";
constexpr const char *kExternalDriveMinFreeGB = "TessolySettings.externalDriveMinFreeGB";
constexpr const char *kWarnOnSlowExternalDrive = "TessolySettings.warnOnSlowExternalDrive";
constexpr const char *kInterfaceMode = "TessolySettings.interfaceMode";
constexpr const char *kAutopilotEnabled = "TessolySettings.autopilotEnabled";
constexpr const char *kAutopilotMinFreeGB = "TessolySettings.autopilotMinFreeGB";
constexpr const char *kAutoCleanupEnabled = "TessolySettings.autoCleanupEnabled";
constexpr const char *kAutoCleanupProfile = "TessolySettings.autoCleanupProfile";
constexpr const char *kAutoCleanupFrequency = "TessolySettings.autoCleanupFrequency";
constexpr const char *kAnimationsEnabled = "TessolySettings.animationsEnabled";
constexpr const char *kShowMenubarIcon = "TessolySettings.showMenubarIcon";

QString key(const char *name)
{
    return QString::fromLatin1(name);
}

QVariant stored(bool value) { return QVariant(value); }
QVariant stored(int value) { return QVariant(static_cast<qint64>(value)); }
QVariant stored(const QString &value) { return QVariant(value); }

} // namespace

SettingsStore::SettingsStore(platform::DefaultsStore &defaults, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
{
    const auto readBool = [&](const char *name, bool fallback) { return defaults.boolValue(key(name)).value_or(fallback); };
    const auto readInt = [&](const char *name, int fallback) {
        const auto value = defaults.integerValue(key(name));
        return value ? static_cast<int>(*value) : fallback;
    };
    const auto readString = [&](const char *name, const QString &fallback) {
        return defaults.stringValue(key(name)).value_or(fallback);
    };

    m_notificationsEnabled = readBool(kNotificationsEnabled, true);
    m_lowDiskThresholdPercent = readInt(kLowDiskThresholdPercent, 90);
    m_notifyOnScanComplete = readBool(kNotifyOnScanComplete, false);
    m_defaultExternalDriveName = readString(kDefaultExternalDriveName, QString());
    m_externalDriveMinFreeGB = readInt(kExternalDriveMinFreeGB, 10);
    m_warnOnSlowExternalDrive = readBool(kWarnOnSlowExternalDrive, true);
    m_deleteImmediately = readBool(kDeleteImmediatelyKey, false);
    // An installation from before the Easy screen has stored settings but no
    // interface mode: it keeps the full app. A new one starts simple.
    const bool upgraded = !defaults.contains(key(kInterfaceMode)) && defaults.contains(key(kNotificationsEnabled));
    m_interfaceMode = readString(kInterfaceMode, upgraded ? QStringLiteral("advanced") : QStringLiteral("simple"));
    m_autopilotEnabled = readBool(kAutopilotEnabled, false);
    m_autopilotMinFreeGB = readInt(kAutopilotMinFreeGB, 20);
    m_autoCleanupEnabled = readBool(kAutoCleanupEnabled, false);
    m_autoCleanupProfile = readString(kAutoCleanupProfile, QStringLiteral("generalUser"));
    m_autoCleanupFrequency = rawValue(autoFrequencyFromRaw(readString(kAutoCleanupFrequency, QStringLiteral("weekly"))));
    m_animationsEnabled = readBool(kAnimationsEnabled, true);
    m_showMenubarIcon = readBool(kShowMenubarIcon, true);
}

template <typename T>
void SettingsStore::update(T &field, const T &value, const char *name, void (SettingsStore::*changed)())
{
    if (field == value)
        return;
    field = value;
    m_defaults.set(key(name), stored(value));
    emit(this->*changed)();
}

void SettingsStore::setNotificationsEnabled(bool value) { update(m_notificationsEnabled, value, kNotificationsEnabled, &SettingsStore::notificationsEnabledChanged); }
void SettingsStore::setLowDiskThresholdPercent(int value) { update(m_lowDiskThresholdPercent, value, kLowDiskThresholdPercent, &SettingsStore::lowDiskThresholdPercentChanged); }
void SettingsStore::setNotifyOnScanComplete(bool value) { update(m_notifyOnScanComplete, value, kNotifyOnScanComplete, &SettingsStore::notifyOnScanCompleteChanged); }
void SettingsStore::setDefaultExternalDriveName(const QString &value) { update(m_defaultExternalDriveName, value, kDefaultExternalDriveName, &SettingsStore::defaultExternalDriveNameChanged); }
void SettingsStore::setExternalDriveMinFreeGB(int value) { update(m_externalDriveMinFreeGB, value, kExternalDriveMinFreeGB, &SettingsStore::externalDriveMinFreeGBChanged); }
void SettingsStore::setWarnOnSlowExternalDrive(bool value) { update(m_warnOnSlowExternalDrive, value, kWarnOnSlowExternalDrive, &SettingsStore::warnOnSlowExternalDriveChanged); }
void SettingsStore::setDeleteImmediately(bool value) { update(m_deleteImmediately, value, kDeleteImmediatelyKey, &SettingsStore::deleteImmediatelyChanged); }
void SettingsStore::setInterfaceMode(const QString &value) { update(m_interfaceMode, value, kInterfaceMode, &SettingsStore::interfaceModeChanged); }
void SettingsStore::setAutopilotEnabled(bool value) { update(m_autopilotEnabled, value, kAutopilotEnabled, &SettingsStore::autopilotEnabledChanged); }
void SettingsStore::setAutopilotMinFreeGB(int value) { update(m_autopilotMinFreeGB, value, kAutopilotMinFreeGB, &SettingsStore::autopilotMinFreeGBChanged); }
void SettingsStore::setAutoCleanupEnabled(bool value) { update(m_autoCleanupEnabled, value, kAutoCleanupEnabled, &SettingsStore::autoCleanupEnabledChanged); }
void SettingsStore::setAutoCleanupProfile(const QString &value) { update(m_autoCleanupProfile, value, kAutoCleanupProfile, &SettingsStore::autoCleanupProfileChanged); }
void SettingsStore::setAutoCleanupFrequency(const QString &value) { update(m_autoCleanupFrequency, rawValue(autoFrequencyFromRaw(value)), kAutoCleanupFrequency, &SettingsStore::autoCleanupFrequencyChanged); }
void SettingsStore::setAnimationsEnabled(bool value) { update(m_animationsEnabled, value, kAnimationsEnabled, &SettingsStore::animationsEnabledChanged); }
void SettingsStore::setShowMenubarIcon(bool value) { update(m_showMenubarIcon, value, kShowMenubarIcon, &SettingsStore::showMenubarIconChanged); }

} // namespace tessoly
