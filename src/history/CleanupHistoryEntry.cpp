#include "history/CleanupHistoryEntry.h"

#include <array>
#include <utility>

namespace tessoly {
namespace {

using Kind = CleanupHistoryEntry::Kind;
using Status = CleanupHistoryEntry::Status;

struct KindInfo {
    Kind kind;
    const char *raw;
    const char *label;
    const char *icon;
    const char *tint;
};
constexpr std::array<KindInfo, 4> kKinds{{
    {Kind::ProfileCleanup, "profileCleanup", "Profile cleanup", "person.crop.square.filled.and.at.rectangle", "indigo"},
    {Kind::BigFileTrash, "bigFileTrash", "Big file trashed", "trash", "red"},
    {Kind::MoveToExternal, "moveToExternal", "Moved to external", "externaldrive.badge.plus", "indigo"},
    {Kind::SmartCleanup, "smartCleanup", "Smart cleanup", "sparkles", "violet"},
}};

struct StatusInfo {
    Status status;
    const char *raw;
    const char *label;
    const char *tint;
};
constexpr std::array<StatusInfo, 4> kStatuses{{
    {Status::Active, "active", "In Trash · restorable", "orange"},
    {Status::PartiallyRestored, "partiallyRestored", "Partially restored", "yellow"},
    {Status::FullyRestored, "fullyRestored", "Restored", "green"},
    {Status::Unrestorable, "unrestorable", "Final", "secondary"},
}};

const KindInfo &info(Kind kind)
{
    return kKinds.at(static_cast<std::size_t>(kind));
}

const StatusInfo &info(Status status)
{
    return kStatuses.at(static_cast<std::size_t>(status));
}

} // namespace

CleanupHistoryEntry CleanupHistoryEntry::make(Kind kind, QString summary, qint64 bytesReclaimed, std::vector<Item> items)
{
    CleanupHistoryEntry entry;
    entry.id = QUuid::createUuid();
    const QDateTime now = QDateTime::currentDateTimeUtc();
    entry.timestamp = QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), Qt::UTC);
    entry.kind = kind;
    entry.summary = std::move(summary);
    entry.bytesReclaimed = bytesReclaimed;
    entry.items = std::move(items);
    entry.status = kind == Kind::MoveToExternal ? Status::Unrestorable : Status::Active;
    return entry;
}

QString rawValue(Kind kind) { return QString::fromUtf8(info(kind).raw); }
QString label(Kind kind) { return QString::fromUtf8(info(kind).label); }
QString iconName(Kind kind) { return QString::fromUtf8(info(kind).icon); }
QString tintName(Kind kind) { return QString::fromUtf8(info(kind).tint); }

std::optional<Kind> kindFromRaw(const QString &raw)
{
    for (const KindInfo &candidate : kKinds) {
        if (raw == QLatin1String(candidate.raw))
            return candidate.kind;
    }
    return std::nullopt;
}

QString rawValue(Status status) { return QString::fromUtf8(info(status).raw); }
QString label(Status status) { return QString::fromUtf8(info(status).label); }
QString tintName(Status status) { return QString::fromUtf8(info(status).tint); }

std::optional<Status> statusFromRaw(const QString &raw)
{
    for (const StatusInfo &candidate : kStatuses) {
        if (raw == QLatin1String(candidate.raw))
            return candidate.status;
    }
    return std::nullopt;
}

bool isRestorable(Status status)
{
    return status == Status::Active || status == Status::PartiallyRestored;
}

} // namespace tessoly
