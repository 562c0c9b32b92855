#pragma once

// Every key Tessoly keeps in the defaults file, in one place. The settings
// share a prefix so that the settings command can list them all.
namespace tessoly::keys {

inline constexpr const char *settingsPrefix = "TessolySettings.";
inline constexpr const char *notificationsEnabled = "TessolySettings.notificationsEnabled";
inline constexpr const char *lowDiskThresholdPercent = "TessolySettings.lowDiskThresholdPercent";
inline constexpr const char *notifyOnScanComplete = "TessolySettings.notifyOnScanComplete";
inline constexpr const char *defaultExternalDriveName = "TessolySettings.defaultExternalDriveName";
inline constexpr const char *externalDriveMinFreeGB = "TessolySettings.externalDriveMinFreeGB";
inline constexpr const char *warnOnSlowExternalDrive = "TessolySettings.warnOnSlowExternalDrive";
inline constexpr const char *deleteImmediately = "TessolySettings.deleteImmediately";
inline constexpr const char *interfaceMode = "TessolySettings.interfaceMode";
inline constexpr const char *autopilotEnabled = "TessolySettings.autopilotEnabled";
inline constexpr const char *autopilotMinFreeGB = "TessolySettings.autopilotMinFreeGB";
inline constexpr const char *autoCleanupEnabled = "TessolySettings.autoCleanupEnabled";
inline constexpr const char *autoCleanupProfile = "TessolySettings.autoCleanupProfile";
inline constexpr const char *autoCleanupFrequency = "TessolySettings.autoCleanupFrequency";
inline constexpr const char *animationsEnabled = "TessolySettings.animationsEnabled";
inline constexpr const char *showMenubarIcon = "TessolySettings.showMenubarIcon";

inline constexpr const char *onboardingCompleted = "TessolyOnboardingCompletedV1";
inline constexpr const char *autopilotLastRun = "TessolyAutopilot.lastRunAt";
inline constexpr const char *autoCleanupLastRun = "TessolyAutoCleanup.lastRunAt";
inline constexpr const char *forecastSamples = "TessolyForecast.samples";
inline constexpr const char *driveGrants = "TessolyExternalBookmarks.v1"; // write grants per drive

} // namespace tessoly::keys
