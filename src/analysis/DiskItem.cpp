#include "analysis/DiskItem.h"

#include "platform/PathText.h"

namespace tessoly {

QString DiskItem::pathText() const
{
    return displayPath(url);
}

QString DiskItem::nameText() const
{
    return displayPath(url.filename());
}

QString rawValue(StorageCategory category)
{
    switch (category) {
    case StorageCategory::Applications: return QStringLiteral("Applications");
    case StorageCategory::Developer: return QStringLiteral("Developer");
    case StorageCategory::Media: return QStringLiteral("Media");
    case StorageCategory::Documents: return QStringLiteral("Documents");
    case StorageCategory::Downloads: return QStringLiteral("Downloads");
    case StorageCategory::Caches: return QStringLiteral("Caches");
    case StorageCategory::System: return QStringLiteral("System");
    case StorageCategory::Other: return QStringLiteral("Other");
    }
    return QStringLiteral("Other");
}

} // namespace tessoly
