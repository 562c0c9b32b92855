#pragma once

#include "analysis/SearchIndex.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QVariantList>
#include <filesystem>
#include <optional>

namespace tessoly {

// Find any file by name and size: one walk of the applications folder and
// the home folder into an in-memory index, then every query is answered
// from it. Nothing is kept on disk; a new run starts with no index.
class UniversalSearchService : public QObject {
    Q_OBJECT
    Q_PROPERTY(int indexCount READ indexCount NOTIFY indexChanged)
    Q_PROPERTY(bool isIndexing READ isIndexing NOTIFY isIndexingChanged)
    Q_PROPERTY(QDateTime lastIndexedAt READ lastIndexedAtOrNull NOTIFY indexChanged)
    Q_PROPERTY(QString progress READ progress NOTIFY progressChanged)

public:
    // One file found.
    struct IndexEntry {
        SearchIndex::Entry id; // its place in the current index
        std::filesystem::path url;
        qint64 bytes = 0;
        std::optional<QDateTime> modifiedAt;
    };

    explicit UniversalSearchService(std::filesystem::path home, QObject *parent = nullptr);

    [[nodiscard]] const SearchIndex &index() const { return m_index; }
    [[nodiscard]] int indexCount() const { return static_cast<int>(m_index.size()); }
    [[nodiscard]] bool isIndexing() const { return m_isIndexing; }
    [[nodiscard]] const std::optional<QDateTime> &lastIndexedAt() const { return m_lastIndexedAt; }
    [[nodiscard]] QDateTime lastIndexedAtOrNull() const { return m_lastIndexedAt.value_or(QDateTime()); }
    [[nodiscard]] QString progress() const { return m_progress; }

    QCoro::Task<void> rebuildIndex();
    Q_INVOKABLE void startRebuild();
    [[nodiscard]] std::vector<IndexEntry> search(const QString &query, double minMB, int limit) const;
    // For the screen: [{id, name, path, folder, bytes, modifiedAt (date or null)}].
    Q_INVOKABLE [[nodiscard]] QVariantList searchRows(const QString &query, double minMB, int limit) const;

    // The folders indexed, in order.
    [[nodiscard]] static std::vector<std::filesystem::path> roots(const std::filesystem::path &home);
    // One root's visible files, packages left closed, added to the builder.
    static void indexRoot(const std::filesystem::path &root, SearchIndex::Builder &builder);

signals:
    void indexChanged();
    void isIndexingChanged();
    void progressChanged();

private:
    void setProgress(const QString &text);

    std::filesystem::path m_home;
    SearchIndex m_index;
    bool m_isIndexing = false;
    std::optional<QDateTime> m_lastIndexedAt;
    QString m_progress;
};

} // namespace tessoly
