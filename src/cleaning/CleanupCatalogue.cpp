#include "cleaning/CleanupCatalogue.h"

#include "cleaning/CleanupCatalogueTable.h"

namespace tessoly {
namespace {

const catalogue::ProfileRow &row(CleanupProfile profile)
{
    return catalogue::profiles()[static_cast<std::size_t>(profile)];
}

CleanupTarget toTarget(const catalogue::Row &row)
{
    return CleanupTarget{QString::fromUtf8(row.id),   QString::fromUtf8(row.name), QString::fromUtf8(row.description),
                         QString::fromUtf8(row.icon), QString::fromUtf8(row.path), row.safety};
}

} // namespace

QString rawValue(SafetyLevel level)
{
    switch (level) {
    case SafetyLevel::Safe: return QStringLiteral("safe");
    case SafetyLevel::Caution: return QStringLiteral("caution");
    case SafetyLevel::Advanced: return QStringLiteral("advanced");
    }
    return {};
}

QString label(SafetyLevel level)
{
    switch (level) {
    case SafetyLevel::Safe: return QStringLiteral("Safe");
    case SafetyLevel::Caution: return QStringLiteral("Caution");
    case SafetyLevel::Advanced: return QStringLiteral("Advanced");
    }
    return {};
}

QString tintName(SafetyLevel level)
{
    switch (level) {
    case SafetyLevel::Safe: return QStringLiteral("green");
    case SafetyLevel::Caution: return QStringLiteral("orange");
    case SafetyLevel::Advanced: return QStringLiteral("red");
    }
    return {};
}

std::optional<SafetyLevel> safetyLevelFromRaw(const QString &raw)
{
    for (const SafetyLevel level : {SafetyLevel::Safe, SafetyLevel::Caution, SafetyLevel::Advanced}) {
        if (rawValue(level) == raw)
            return level;
    }
    return std::nullopt;
}

QString rawValue(CleanupProfile profile) { return QString::fromUtf8(row(profile).raw); }
QString displayName(CleanupProfile profile) { return QString::fromUtf8(row(profile).displayName); }
QString tagline(CleanupProfile profile) { return QString::fromUtf8(row(profile).tagline); }
QString iconName(CleanupProfile profile) { return QString::fromUtf8(row(profile).icon); }
QString tintName(CleanupProfile profile) { return QString::fromUtf8(row(profile).tint); }

std::optional<CleanupProfile> cleanupProfileFromRaw(const QString &raw)
{
    for (const CleanupProfile profile : allCleanupProfiles) {
        if (rawValue(profile) == raw)
            return profile;
    }
    return std::nullopt;
}

std::vector<CleanupTarget> targets(CleanupProfile profile)
{
    std::vector<CleanupTarget> list;
    for (const catalogue::Row &target : row(profile).targets)
        list.push_back(toTarget(target));
    return list;
}

std::vector<CleanupTarget> allCleanupTargets()
{
    std::vector<CleanupTarget> list;
    for (const CleanupProfile profile : allCleanupProfiles) {
        const auto more = targets(profile);
        list.insert(list.end(), more.begin(), more.end());
    }
    return list;
}

std::optional<CleanupTarget> cleanupTargetWithId(const QString &id)
{
    for (const CleanupTarget &target : allCleanupTargets()) {
        if (target.id == id)
            return target;
    }
    return std::nullopt;
}

} // namespace tessoly
