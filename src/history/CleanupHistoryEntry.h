#pragma once

#include <QDateTime>
#include <QString>
#include <QUuid>
#include <filesystem>
#include <optional>
#include <vector>

namespace tessoly {

// One logged operation and the things it touched.
struct CleanupHistoryEntry {
    enum class Kind { ProfileCleanup, BigFileTrash, MoveToExternal, SmartCleanup };
    enum class Status { Active, PartiallyRestored, FullyRestored, Unrestorable };

    struct Item {
        QUuid id = QUuid::createUuid();
        std::filesystem::path originalPath;
        std::optional<std::filesystem::path> trashedPath; // absent: deleted outright, or restored
        std::optional<std::filesystem::path> externalPath; // a moved item's place on the drive
        qint64 bytes = 0;
        friend bool operator==(const Item &, const Item &) = default;
    };

    QUuid id;
    QDateTime timestamp; // UTC, whole seconds
    Kind kind = Kind::ProfileCleanup;
    QString summary;
    qint64 bytesReclaimed = 0;
    std::vector<Item> items;
    Status status = Status::Active;

    // A new entry stamped now. A move starts "Final" (its way back is the
    // bring-back, not the Trash); every other kind starts restorable.
    [[nodiscard]] static CleanupHistoryEntry make(Kind kind, QString summary, qint64 bytesReclaimed,
                                                  std::vector<Item> items);
    friend bool operator==(const CleanupHistoryEntry &, const CleanupHistoryEntry &) = default;
};

[[nodiscard]] QString rawValue(CleanupHistoryEntry::Kind kind);
[[nodiscard]] QString label(CleanupHistoryEntry::Kind kind);
[[nodiscard]] QString iconName(CleanupHistoryEntry::Kind kind);
// A theme colour name ("indigo", "red", "violet").
[[nodiscard]] QString tintName(CleanupHistoryEntry::Kind kind);
[[nodiscard]] std::optional<CleanupHistoryEntry::Kind> kindFromRaw(const QString &raw);

[[nodiscard]] QString rawValue(CleanupHistoryEntry::Status status);
[[nodiscard]] QString label(CleanupHistoryEntry::Status status);
// A theme colour name ("orange", "yellow", "green", "secondary").
[[nodiscard]] QString tintName(CleanupHistoryEntry::Status status);
[[nodiscard]] std::optional<CleanupHistoryEntry::Status> statusFromRaw(const QString &raw);
[[nodiscard]] bool isRestorable(CleanupHistoryEntry::Status status);

} // namespace tessoly
