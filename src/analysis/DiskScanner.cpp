#include "analysis/DiskScanner.h"

#include "platform/PathText.h"
#include "platform/Trash.h"
#include "platform/VolumeInfo.h"

#include <QDebug>

namespace tessoly {

DiskScanner::DiskScanner(std::filesystem::path home, const platform::VolumeInfo &volumes, platform::Trash &trash,
                         QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
    , m_volumes(volumes)
    , m_trash(trash)
{
    refreshVolumeInfo();
}

double DiskScanner::usedFraction() const
{
    if (m_totalCapacity <= 0)
        return 0.0;
    return static_cast<double>(m_totalUsed) / static_cast<double>(m_totalCapacity);
}

void DiskScanner::refreshVolumeInfo()
{
    const auto attributes = m_volumes.attributesOfFileSystem(m_home);
    if (!attributes)
        return;
    const qint64 capacity = attributes->systemSize.value_or(0);
    const qint64 free = attributes->systemFreeSize.value_or(0);
    if (capacity == m_totalCapacity && free == m_totalFree)
        return;
    m_totalCapacity = capacity;
    m_totalFree = free;
    m_totalUsed = capacity - free;
    emit volumeInfoChanged();
}

void DiskScanner::trash(const DiskItem &item)
{
    const platform::TrashOutcome outcome = m_trash.trashItem(item.url);
    if (!outcome.ok()) {
        qWarning().noquote() << QStringLiteral("Failed to trash %1: %2").arg(displayPath(item.url), outcome.error);
        return;
    }
    const qsizetype before = m_bigFiles.size();
    m_bigFiles.removeIf([&](const DiskItem &row) { return row.id == item.id; });
    if (m_bigFiles.size() != before)
        emit bigFilesChanged();
    refreshVolumeInfo();
}

void DiskScanner::trashItemWithId(const QString &id)
{
    const QUuid uuid(id);
    for (const DiskItem &row : std::as_const(m_bigFiles)) {
        if (row.id == uuid) {
            trash(DiskItem(row));
            return;
        }
    }
}

QVariantList DiskScanner::bigFilesForDisplay() const
{
    QVariantList rows;
    rows.reserve(m_bigFiles.size());
    for (const DiskItem &item : m_bigFiles)
        rows.append(QVariant::fromValue(item));
    return rows;
}

} // namespace tessoly
