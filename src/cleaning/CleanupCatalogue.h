#pragma once

#include <QString>
#include <array>
#include <optional>
#include <span>
#include <vector>

namespace tessoly {

// How careful a person should be with a target. Information only: every
// level is cleaned the same way.
enum class SafetyLevel { Safe, Caution, Advanced };

[[nodiscard]] QString rawValue(SafetyLevel level);
[[nodiscard]] QString label(SafetyLevel level);
[[nodiscard]] QString tintName(SafetyLevel level); // "green", "orange", "red"
[[nodiscard]] std::optional<SafetyLevel> safetyLevelFromRaw(const QString &raw);

// One folder the cleaner may empty. A path starting with "/" is absolute,
// anything else lies under the home folder.
struct CleanupTarget {
    QString id;
    QString name;
    QString description;
    QString icon;
    QString path;
    SafetyLevel safety = SafetyLevel::Safe;
    friend bool operator==(const CleanupTarget &, const CleanupTarget &) = default;
};

// The personas, in the order the screens list them.
enum class CleanupProfile { IosDeveloper, AndroidDeveloper, AdobeCreative, VideoEditor, WebDeveloper, GeneralUser };

inline constexpr std::array<CleanupProfile, 6> allCleanupProfiles{
    CleanupProfile::IosDeveloper, CleanupProfile::AndroidDeveloper, CleanupProfile::AdobeCreative,
    CleanupProfile::VideoEditor,  CleanupProfile::WebDeveloper,     CleanupProfile::GeneralUser};

[[nodiscard]] QString rawValue(CleanupProfile profile);
[[nodiscard]] std::optional<CleanupProfile> cleanupProfileFromRaw(const QString &raw);
[[nodiscard]] QString displayName(CleanupProfile profile);
[[nodiscard]] QString tagline(CleanupProfile profile);
[[nodiscard]] QString iconName(CleanupProfile profile);
[[nodiscard]] QString tintName(CleanupProfile profile);
// The profile's targets in catalogue order.
[[nodiscard]] std::vector<CleanupTarget> targets(CleanupProfile profile);
// Every row of the catalogue, profile by profile.
[[nodiscard]] std::vector<CleanupTarget> allCleanupTargets();
[[nodiscard]] std::optional<CleanupTarget> cleanupTargetWithId(const QString &id);

} // namespace tessoly
