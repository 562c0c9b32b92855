#pragma once

#include "cleaning/ContentHashes.h"
#include "platform/PlaceGuard.h"

#include <QCoroTask>
#include <QObject>
#include <QStringList>
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
    // By file: what the file system said of it when it was hashed, and
    // whether its digest came from the cache rather than from its bytes.
    std::vector<FileIdentity> identities;
    std::vector<bool> digestFromCache;
    Sha256Digest digest{};
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
    // Why a personal folder wasn't searched, one sentence each.
    Q_PROPERTY(QStringList refusedFolders READ refusedFolders NOTIFY groupsChanged)

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
    [[nodiscard]] const QStringList &refusedFolders() const { return m_refusedFolders; }

    QCoro::Task<void> scan();
    Q_INVOKABLE void startScan();

    // Keeps one file of a group and moves the others to the Trash. Each file
    // is checked first against what the scan saw (device, inode, size and
    // times); one that changed, or whose digest only the cache vouched for,
    // is hashed again, and stays unless it still matches. Returns how many
    // went and how many copies stayed; none when the kept file is no longer
    // what was found (then nothing is touched and problem says why).
    struct KeepOutcome {
        int trashed = 0;
        int stayed = 0; // other copies that didn't go
        QString problem;
        QString words;
    };
    KeepOutcome keep(const QString &groupId, const std::filesystem::path &file);
    // For the screen: keeps, and returns the words to show under the list.
    Q_INVOKABLE QString keepFile(const QString &groupId, const QString &path);

    // The folders searched, those that exist and the guard allows, none inside another.
    [[nodiscard]] static platform::SearchRoots roots(const std::filesystem::path &home);

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
    QStringList m_refusedFolders;
};

} // namespace tessoly
