#include "core/SettingsStore.h"

#include "core/DefaultsKeys.h"

#include "core/AutoFrequency.h"
#include "platform/DefaultsStore.h"

#include <QMetaProperty>
#include <cstring>
#include <utility>

namespace tessoly {
namespace {


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
    readAll();
}

void SettingsStore::reload()
{
    readAll();
}

void SettingsStore::readAll()
{
    const platform::DefaultsStore &defaults = m_defaults;
    const auto readBool = [&](const char *name, bool fallback) { return defaults.boolValue(key(name)).value_or(fallback); };
    // A number an int can't hold reads as the default, never as a wrapped one.
    const auto readInt = [&](const char *name, int fallback) {
        const auto value = defaults.integerValue(key(name));
        return value && std::in_range<int>(*value) ? static_cast<int>(*value) : fallback;
    };
    const auto readString = [&](const char *name, const QString &fallback) {
        return defaults.stringValue(key(name)).value_or(fallback);
    };
    // Each field takes what is stored (or its default) and tells the screens
    // when that differs from what they show.
    const auto take = [this](auto &field, const auto &value, void (SettingsStore::*changed)()) {
        if (field == value)
            return;
        field = value;
        emit(this->*changed)();
    };

    take(m_notificationsEnabled, readBool(keys::notificationsEnabled, true), &SettingsStore::notificationsEnabledChanged);
    take(m_lowDiskThresholdPercent, readInt(keys::lowDiskThresholdPercent, 90), &SettingsStore::lowDiskThresholdPercentChanged);
    take(m_notifyOnScanComplete, readBool(keys::notifyOnScanComplete, false), &SettingsStore::notifyOnScanCompleteChanged);
    take(m_defaultExternalDriveName, readString(keys::defaultExternalDriveName, QString()), &SettingsStore::defaultExternalDriveNameChanged);
    take(m_externalDriveMinFreeGB, readInt(keys::externalDriveMinFreeGB, 10), &SettingsStore::externalDriveMinFreeGBChanged);
    take(m_warnOnSlowExternalDrive, readBool(keys::warnOnSlowExternalDrive, true), &SettingsStore::warnOnSlowExternalDriveChanged);
    take(m_deleteImmediately, readBool(keys::deleteImmediately, false), &SettingsStore::deleteImmediatelyChanged);
    // An installation from before the Easy screen has stored settings but no
    // interface mode: it keeps the full app. A new one starts simple.
    const bool upgraded = !defaults.contains(key(keys::interfaceMode)) && defaults.contains(key(keys::notificationsEnabled));
    take(m_interfaceMode, readString(keys::interfaceMode, upgraded ? QStringLiteral("advanced") : QStringLiteral("simple")),
         &SettingsStore::interfaceModeChanged);
    take(m_autopilotEnabled, readBool(keys::autopilotEnabled, false), &SettingsStore::autopilotEnabledChanged);
    take(m_autopilotMinFreeGB, readInt(keys::autopilotMinFreeGB, 20), &SettingsStore::autopilotMinFreeGBChanged);
    take(m_autoCleanupEnabled, readBool(keys::autoCleanupEnabled, false), &SettingsStore::autoCleanupEnabledChanged);
    take(m_autoCleanupProfile, readString(keys::autoCleanupProfile, QStringLiteral("generalUser")), &SettingsStore::autoCleanupProfileChanged);
    take(m_autoCleanupFrequency, rawValue(autoFrequencyFromRaw(readString(keys::autoCleanupFrequency, QStringLiteral("weekly")))),
         &SettingsStore::autoCleanupFrequencyChanged);
    take(m_animationsEnabled, readBool(keys::animationsEnabled, true), &SettingsStore::animationsEnabledChanged);
    take(m_showMenubarIcon, readBool(keys::showMenubarIcon, true), &SettingsStore::showMenubarIconChanged);
}

namespace {


// The writable properties, one per key.
std::vector<QMetaProperty> settingProperties()
{
    std::vector<QMetaProperty> list;
    const QMetaObject &meta = SettingsStore::staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        if (meta.property(i).isWritable())
            list.push_back(meta.property(i));
    }
    return list;
}

std::optional<QMetaProperty> propertyForKey(const QString &name)
{
    if (!name.startsWith(QLatin1String(keys::settingsPrefix)))
        return std::nullopt;
    const QString property = name.mid(static_cast<qsizetype>(std::strlen(keys::settingsPrefix)));
    for (const QMetaProperty &candidate : settingProperties()) {
        if (property == QLatin1String(candidate.name()))
            return candidate;
    }
    return std::nullopt;
}

} // namespace

QStringList SettingsStore::keys()
{
    QStringList list;
    for (const QMetaProperty &property : settingProperties())
        list << QLatin1String(keys::settingsPrefix) + QLatin1String(property.name());
    return list;
}

QVariant SettingsStore::value(const QString &name) const
{
    const auto property = propertyForKey(name);
    return property ? property->read(this) : QVariant();
}

bool SettingsStore::setValue(const QString &name, const QVariant &value, QString *error)
{
    const auto property = propertyForKey(name);
    if (!property) {
        *error = QStringLiteral("“%1” is no setting.").arg(name);
        return false;
    }
    if (value.metaType() != property->metaType()) {
        *error = QStringLiteral("%1 holds %2, not %3.").arg(name, QLatin1String(property->metaType().name()),
                                                              QLatin1String(value.metaType().name()));
        return false;
    }
    const QVariant storedValue = value.typeId() == QMetaType::Int ? QVariant(static_cast<qint64>(value.toInt())) : value;
    if (!m_defaults.set(name, storedValue)) {
        *error = QStringLiteral("The settings file %1 couldn't be written.").arg(QString::fromStdString(m_defaults.location().native()));
        return false;
    }
    readAll();
    return true;
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

void SettingsStore::setNotificationsEnabled(bool value) { update(m_notificationsEnabled, value, keys::notificationsEnabled, &SettingsStore::notificationsEnabledChanged); }
void SettingsStore::setLowDiskThresholdPercent(int value) { update(m_lowDiskThresholdPercent, value, keys::lowDiskThresholdPercent, &SettingsStore::lowDiskThresholdPercentChanged); }
void SettingsStore::setNotifyOnScanComplete(bool value) { update(m_notifyOnScanComplete, value, keys::notifyOnScanComplete, &SettingsStore::notifyOnScanCompleteChanged); }
void SettingsStore::setDefaultExternalDriveName(const QString &value) { update(m_defaultExternalDriveName, value, keys::defaultExternalDriveName, &SettingsStore::defaultExternalDriveNameChanged); }
void SettingsStore::setExternalDriveMinFreeGB(int value) { update(m_externalDriveMinFreeGB, value, keys::externalDriveMinFreeGB, &SettingsStore::externalDriveMinFreeGBChanged); }
void SettingsStore::setWarnOnSlowExternalDrive(bool value) { update(m_warnOnSlowExternalDrive, value, keys::warnOnSlowExternalDrive, &SettingsStore::warnOnSlowExternalDriveChanged); }
bool SettingsStore::deleteImmediately(const platform::DefaultsStore &defaults)
{
    return defaults.boolValue(QString::fromLatin1(keys::deleteImmediately)).value_or(false);
}

void SettingsStore::setDeleteImmediately(bool value) { update(m_deleteImmediately, value, keys::deleteImmediately, &SettingsStore::deleteImmediatelyChanged); }
void SettingsStore::setInterfaceMode(const QString &value) { update(m_interfaceMode, value, keys::interfaceMode, &SettingsStore::interfaceModeChanged); }
void SettingsStore::setAutopilotEnabled(bool value) { update(m_autopilotEnabled, value, keys::autopilotEnabled, &SettingsStore::autopilotEnabledChanged); }
void SettingsStore::setAutopilotMinFreeGB(int value) { update(m_autopilotMinFreeGB, value, keys::autopilotMinFreeGB, &SettingsStore::autopilotMinFreeGBChanged); }
void SettingsStore::setAutoCleanupEnabled(bool value) { update(m_autoCleanupEnabled, value, keys::autoCleanupEnabled, &SettingsStore::autoCleanupEnabledChanged); }
void SettingsStore::setAutoCleanupProfile(const QString &value) { update(m_autoCleanupProfile, value, keys::autoCleanupProfile, &SettingsStore::autoCleanupProfileChanged); }
void SettingsStore::setAutoCleanupFrequency(const QString &value) { update(m_autoCleanupFrequency, rawValue(autoFrequencyFromRaw(value)), keys::autoCleanupFrequency, &SettingsStore::autoCleanupFrequencyChanged); }
void SettingsStore::setAnimationsEnabled(bool value) { update(m_animationsEnabled, value, keys::animationsEnabled, &SettingsStore::animationsEnabledChanged); }
void SettingsStore::setShowMenubarIcon(bool value) { update(m_showMenubarIcon, value, keys::showMenubarIcon, &SettingsStore::showMenubarIconChanged); }

} // namespace tessoly
