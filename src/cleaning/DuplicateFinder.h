#pragma once

#include <QCoroTask>
#include <QObject>
#include <QVariantList>
#include <filesystem>
#include <functional>
#include <vector>

namespace tessoly {
namespace platform {
class Trash;
}
class CleanupHistoryStore;

// One set of files with identical content.
struct DuplicateGroup {
    QString id; // "<size>-<sha256>"
    qint64 bytes = 0; // the size of each file
    std::vector<std::filesystem::path> files;
    [[nodiscard]] qint64 wastedBytes() const;
};

// Finds files with identical content in the person's own folders (Downloads,
// Documents, Desktop, Movies, Music, Pictures): files are grouped by size
// first, and only sizes met twice are hashed whole (SHA-256). Hashes of
// unchanged files come from a cache kept between scans. Extra copies go to
// the Trash, one log entry per keep.
class DuplicateFinder : public QObject {
    Q_OBJECT
    // [{id, bytes, wastedBytes, name, files: [{path, displayPath, name}]}], most wasted first
    Q_PROPERTY(QVariantList groups READ groupList NOTIFY groupsChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(QString scanProgress READ scanProgress NOTIFY scanProgressChanged)
    Q_PROPERTY(qint64 totalReclaimable READ totalReclaimable NOTIFY groupsChanged)

public:
    static constexpr qint64 minBytes = 1048576;
    static constexpr int progressEvery = 50;

    // What the last scan read: files hashed, and files whose hash the cache knew.
    struct ScanStats {
        qint64 candidates = 0;
        qint64 hashedFiles = 0;
        qint64 cachedFiles = 0;
    };

    DuplicateFinder(std::filesystem::path home, platform::Trash &trash, CleanupHistoryStore &history,
                    std::filesystem::path hashCacheFile, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<DuplicateGroup> &groups() const { return m_groups; }
    [[nodiscard]] QVariantList groupList() const;
    [[nodiscard]] bool isScanning() const { return m_isScanning; }
    [[nodiscard]] QString scanProgress() const { return m_scanProgress; }
    [[nodiscard]] qint64 totalReclaimable() const { return m_totalReclaimable; }
    [[nodiscard]] const ScanStats &lastScanStats() const { return m_stats; }

    QCoro::Task<void> scan();
    Q_INVOKABLE void startScan();

    // Keeps one file of a group and moves the others to the Trash. Returns
    // how many went; none when the kept file is no longer what was found
    // (then nothing is touched and problem says why); words say it all.
    struct KeepOutcome {
        int trashed = 0;
        QString problem;
        QString words;
    };
    KeepOutcome keep(const QString &groupId, const std::filesystem::path &file);
    // For the screen: keeps, and returns the words to show under the list.
    Q_INVOKABLE QString keepFile(const QString &groupId, const QString &path);

    // The folders searched, those that exist, none inside another.
    [[nodiscard]] static std::vector<std::filesystem::path> roots(const std::filesystem::path &home);

signals:
    void groupsChanged();
    void isScanningChanged();
    void scanProgressChanged();

private:
    void setProgress(const QString &text);
    void recomputeTotal();

    std::filesystem::path m_home;
    platform::Trash &m_trash;
    CleanupHistoryStore &m_history;
    std::filesystem::path m_hashCacheFile;
    std::vector<DuplicateGroup> m_groups;
    bool m_isScanning = false;
    QString m_scanProgress;
    qint64 m_totalReclaimable = 0;
    ScanStats m_stats;
};

} // namespace tessoly
