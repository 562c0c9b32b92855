#pragma once

#include "analysis/DiskItem.h"

#include <QObject>
#include <QVariantList>
#include <filesystem>

namespace tessoly {
namespace platform {
class Trash;
class VolumeInfo;
} // namespace platform

// The single source of the home volume's capacity, free and used figures.
// It reads volume attributes only and never walks a folder: breakdown and
// bigFiles have no producer and stay empty (trash may shorten bigFiles).
class DiskScanner : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 totalCapacity READ totalCapacity NOTIFY volumeInfoChanged)
    Q_PROPERTY(qint64 totalFree READ totalFree NOTIFY volumeInfoChanged)
    Q_PROPERTY(qint64 totalUsed READ totalUsed NOTIFY volumeInfoChanged)
    Q_PROPERTY(double usedFraction READ usedFraction NOTIFY volumeInfoChanged)
    Q_PROPERTY(QVariantList bigFiles READ bigFilesForDisplay NOTIFY bigFilesChanged)
    Q_PROPERTY(bool isScanning READ isScanning CONSTANT)
    Q_PROPERTY(QString scanProgress READ scanProgress CONSTANT)

public:
    DiskScanner(std::filesystem::path home, const platform::VolumeInfo &volumes, platform::Trash &trash,
                QObject *parent = nullptr);

    [[nodiscard]] qint64 totalCapacity() const { return m_totalCapacity; }
    [[nodiscard]] qint64 totalFree() const { return m_totalFree; }
    [[nodiscard]] qint64 totalUsed() const { return m_totalUsed; }
    // used / capacity, 0 when capacity is unknown.
    [[nodiscard]] double usedFraction() const;
    [[nodiscard]] const QList<StorageBreakdown> &breakdown() const { return m_breakdown; }
    [[nodiscard]] const QList<DiskItem> &bigFiles() const { return m_bigFiles; }
    [[nodiscard]] QVariantList bigFilesForDisplay() const;
    [[nodiscard]] bool isScanning() const { return m_isScanning; }
    [[nodiscard]] QString scanProgress() const { return m_scanProgress; }

    // Reads the volume figures again; a failed query keeps the last good ones.
    Q_INVOKABLE void refreshVolumeInfo();
    // Moves the item to the Trash; on failure logs one line and changes nothing.
    void trash(const DiskItem &item);
    // The same, for a row of bigFiles named by its id.
    Q_INVOKABLE void trashItemWithId(const QString &id);

signals:
    void volumeInfoChanged();
    void bigFilesChanged();

private:
    friend struct DiskScannerTestAccess; // tests place rows in bigFiles, which nothing else fills
    std::filesystem::path m_home;
    const platform::VolumeInfo &m_volumes;
    platform::Trash &m_trash;
    qint64 m_totalCapacity = 0;
    qint64 m_totalFree = 0;
    qint64 m_totalUsed = 0;
    QList<StorageBreakdown> m_breakdown;
    QList<DiskItem> m_bigFiles;
    bool m_isScanning = false;
    QString m_scanProgress;
};

} // namespace tessoly
