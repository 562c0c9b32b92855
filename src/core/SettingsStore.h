#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace tessoly {
namespace platform {
class DefaultsStore;
}

// The user's preferences, one published property per defaults key. Read once
// at construction; each change is written at once. Construction writes
// nothing, so defaults stay unstored until the user changes a value.
class SettingsStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool notificationsEnabled READ notificationsEnabled WRITE setNotificationsEnabled NOTIFY notificationsEnabledChanged)
    Q_PROPERTY(int lowDiskThresholdPercent READ lowDiskThresholdPercent WRITE setLowDiskThresholdPercent NOTIFY lowDiskThresholdPercentChanged)
    Q_PROPERTY(bool notifyOnScanComplete READ notifyOnScanComplete WRITE setNotifyOnScanComplete NOTIFY notifyOnScanCompleteChanged)
    Q_PROPERTY(QString defaultExternalDriveName READ defaultExternalDriveName WRITE setDefaultExternalDriveName NOTIFY defaultExternalDriveNameChanged)
    Q_PROPERTY(int externalDriveMinFreeGB READ externalDriveMinFreeGB WRITE setExternalDriveMinFreeGB NOTIFY externalDriveMinFreeGBChanged)
    Q_PROPERTY(bool warnOnSlowExternalDrive READ warnOnSlowExternalDrive WRITE setWarnOnSlowExternalDrive NOTIFY warnOnSlowExternalDriveChanged)
    Q_PROPERTY(bool deleteImmediately READ deleteImmediately WRITE setDeleteImmediately NOTIFY deleteImmediatelyChanged)
    Q_PROPERTY(QString interfaceMode READ interfaceMode WRITE setInterfaceMode NOTIFY interfaceModeChanged)
    Q_PROPERTY(bool autopilotEnabled READ autopilotEnabled WRITE setAutopilotEnabled NOTIFY autopilotEnabledChanged)
    Q_PROPERTY(int autopilotMinFreeGB READ autopilotMinFreeGB WRITE setAutopilotMinFreeGB NOTIFY autopilotMinFreeGBChanged)
    Q_PROPERTY(bool autoCleanupEnabled READ autoCleanupEnabled WRITE setAutoCleanupEnabled NOTIFY autoCleanupEnabledChanged)
    Q_PROPERTY(QString autoCleanupProfile READ autoCleanupProfile WRITE setAutoCleanupProfile NOTIFY autoCleanupProfileChanged)
    Q_PROPERTY(QString autoCleanupFrequency READ autoCleanupFrequency WRITE setAutoCleanupFrequency NOTIFY autoCleanupFrequencyChanged)
    Q_PROPERTY(bool animationsEnabled READ animationsEnabled WRITE setAnimationsEnabled NOTIFY animationsEnabledChanged)
    Q_PROPERTY(bool showMenubarIcon READ showMenubarIcon WRITE setShowMenubarIcon NOTIFY showMenubarIconChanged)
    Q_PROPERTY(bool isSimpleMode READ isSimpleMode NOTIFY interfaceModeChanged)

public:
    explicit SettingsStore(platform::DefaultsStore &defaults, QObject *parent = nullptr);

    // Takes up what the defaults hold now (another process may have changed
    // them) and signals each property that changed.
    void reload();

    // The settings by their defaults keys ("TessolySettings.<property>"), in
    // declared order, for the command line.
    [[nodiscard]] static QStringList keys();
    [[nodiscard]] QVariant value(const QString &key) const;
    // Stores a value of the key's type at once, even when it is what this
    // store last read (another process may have changed it since); false
    // with the reason when the key is unknown, the type wrong or the write failed.
    bool setValue(const QString &key, const QVariant &value, QString *error);

    [[nodiscard]] bool notificationsEnabled() const { return m_notificationsEnabled; }
    [[nodiscard]] int lowDiskThresholdPercent() const { return m_lowDiskThresholdPercent; }
    [[nodiscard]] bool notifyOnScanComplete() const { return m_notifyOnScanComplete; }
    [[nodiscard]] QString defaultExternalDriveName() const { return m_defaultExternalDriveName; }
    [[nodiscard]] int externalDriveMinFreeGB() const { return m_externalDriveMinFreeGB; }
    [[nodiscard]] bool warnOnSlowExternalDrive() const { return m_warnOnSlowExternalDrive; }
    [[nodiscard]] bool deleteImmediately() const { return m_deleteImmediately; }
    // The setting as the shared file holds it now, for the services that
    // remove files: read at the moment of each removal, whichever process
    // changed it last.
    [[nodiscard]] static bool deleteImmediately(const platform::DefaultsStore &defaults);
    [[nodiscard]] QString interfaceMode() const { return m_interfaceMode; }
    [[nodiscard]] bool autopilotEnabled() const { return m_autopilotEnabled; }
    [[nodiscard]] int autopilotMinFreeGB() const { return m_autopilotMinFreeGB; }
    [[nodiscard]] bool autoCleanupEnabled() const { return m_autoCleanupEnabled; }
    [[nodiscard]] QString autoCleanupProfile() const { return m_autoCleanupProfile; }
    // The raw value of an AutoFrequency; anything unknown has been read as "weekly".
    [[nodiscard]] QString autoCleanupFrequency() const { return m_autoCleanupFrequency; }
    [[nodiscard]] bool animationsEnabled() const { return m_animationsEnabled; }
    [[nodiscard]] bool showMenubarIcon() const { return m_showMenubarIcon; }
    // Only the exact string "simple" selects the Easy screen.
    [[nodiscard]] bool isSimpleMode() const { return m_interfaceMode == QLatin1String("simple"); }

    void setNotificationsEnabled(bool value);
    void setLowDiskThresholdPercent(int value);
    void setNotifyOnScanComplete(bool value);
    void setDefaultExternalDriveName(const QString &value);
    void setExternalDriveMinFreeGB(int value);
    void setWarnOnSlowExternalDrive(bool value);
    void setDeleteImmediately(bool value);
    void setInterfaceMode(const QString &value);
    void setAutopilotEnabled(bool value);
    void setAutopilotMinFreeGB(int value);
    void setAutoCleanupEnabled(bool value);
    void setAutoCleanupProfile(const QString &value);
    void setAutoCleanupFrequency(const QString &value);
    void setAnimationsEnabled(bool value);
    void setShowMenubarIcon(bool value);

signals:
    void notificationsEnabledChanged();
    void lowDiskThresholdPercentChanged();
    void notifyOnScanCompleteChanged();
    void defaultExternalDriveNameChanged();
    void externalDriveMinFreeGBChanged();
    void warnOnSlowExternalDriveChanged();
    void deleteImmediatelyChanged();
    void interfaceModeChanged();
    void autopilotEnabledChanged();
    void autopilotMinFreeGBChanged();
    void autoCleanupEnabledChanged();
    void autoCleanupProfileChanged();
    void autoCleanupFrequencyChanged();
    void animationsEnabledChanged();
    void showMenubarIconChanged();

private:
    void readAll();
    template <typename T>
    void update(T &field, const T &value, const char *name, void (SettingsStore::*changed)());

    platform::DefaultsStore &m_defaults;
    bool m_notificationsEnabled = true;
    int m_lowDiskThresholdPercent = 90;
    bool m_notifyOnScanComplete = false;
    QString m_defaultExternalDriveName;
    int m_externalDriveMinFreeGB = 10;
    bool m_warnOnSlowExternalDrive = true;
    bool m_deleteImmediately = false;
    QString m_interfaceMode;
    bool m_autopilotEnabled = false;
    int m_autopilotMinFreeGB = 20;
    bool m_autoCleanupEnabled = false;
    QString m_autoCleanupProfile = QStringLiteral("generalUser");
    QString m_autoCleanupFrequency = QStringLiteral("weekly");
    bool m_animationsEnabled = true;
    bool m_showMenubarIcon = true;
};

} // namespace tessoly
