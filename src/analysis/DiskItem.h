#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>
#include <filesystem>
#include <optional>

namespace tessoly {

// One file or folder shown as a big file.
struct DiskItem {
    Q_GADGET
    Q_PROPERTY(QString id READ idText CONSTANT)
    Q_PROPERTY(QString path READ pathText CONSTANT)
    Q_PROPERTY(QString name READ nameText CONSTANT)
    Q_PROPERTY(qint64 bytes MEMBER bytes CONSTANT)
    Q_PROPERTY(bool isDirectory MEMBER isDirectory CONSTANT)

public:
    QUuid id = QUuid::createUuid();
    std::filesystem::path url;
    qint64 bytes = 0;
    std::optional<QDateTime> modifiedAt;
    bool isDirectory = false;

    [[nodiscard]] QString idText() const { return id.toString(QUuid::WithoutBraces); }
    [[nodiscard]] QString pathText() const;
    [[nodiscard]] QString nameText() const;
    friend bool operator==(const DiskItem &, const DiskItem &) = default;
};

// The categories of the storage breakdown; the raw value is the title shown.
enum class StorageCategory { Applications, Developer, Media, Documents, Downloads, Caches, System, Other };
[[nodiscard]] QString rawValue(StorageCategory category);

struct StorageBreakdown {
    QUuid id = QUuid::createUuid();
    StorageCategory category = StorageCategory::Other;
    qint64 bytes = 0;
};

} // namespace tessoly
