#pragma once

#include "core/ByteFormat.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QUuid>
#include <QVariantList>
#include <filesystem>
#include <optional>
#include <vector>

namespace tessoly {

// A big folder nothing has touched for half a year.
struct OffloadCandidate {
    std::filesystem::path url;
    qint64 bytes = 0;
    std::optional<QDateTime> lastUsed{};
    QString category;
    QString displayName;
    friend bool operator==(const OffloadCandidate &, const OffloadCandidate &) = default;
};

// The Moves screen's symbol for a candidate's category.
[[nodiscard]] QString offloadSymbol(const QString &category);

// Looks through the personal folders, device backups and archives for
// folders of at least 1 GiB whose newest file is at least 180 days old.
class OffloadScanner : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList candidates READ candidateList NOTIFY candidatesChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(bool hasScanned READ hasScanned NOTIFY hasScannedChanged)

public:
    static constexpr qint64 minimumBytes = bytesPerGiB;
    static constexpr qint64 staleSeconds = 15'552'000;

    explicit OffloadScanner(std::filesystem::path home, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<OffloadCandidate> &candidates() const { return m_candidates; }
    [[nodiscard]] QVariantList candidateList() const;
    [[nodiscard]] bool isScanning() const { return m_isScanning; }
    [[nodiscard]] bool hasScanned() const { return m_hasScanned; }

    QCoro::Task<void> scan();
    Q_INVOKABLE void startScan();
    // Drops every candidate whose folder is now a symbolic link (just moved).
    Q_INVOKABLE void dropMovedCandidates();

    // The whole search, as the background task runs it.
    [[nodiscard]] static std::vector<OffloadCandidate> findCandidates(const std::filesystem::path &home, const QDateTime &now);

signals:
    void candidatesChanged();
    void isScanningChanged();
    void hasScannedChanged();

private:
    std::filesystem::path m_home;
    std::vector<OffloadCandidate> m_candidates;
    bool m_isScanning = false;
    bool m_hasScanned = false;
};

// Known heavy developer and media locations of 2 GiB or more, whatever their age.
class MoveSuggestions : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList suggestions READ suggestionList NOTIFY suggestionsChanged)
    Q_PROPERTY(bool isAnalyzing READ isAnalyzing NOTIFY isAnalyzingChanged)

public:
    struct Suggestion {
        QUuid id;
        std::filesystem::path url;
        qint64 bytes = 0;
        QString category;
    };
    struct Candidate {
        const char *path;
        const char *label;
    };
    static constexpr qint64 minimumBytes = 2'147'483'648;
    static const std::vector<Candidate> candidates;

    explicit MoveSuggestions(std::filesystem::path home, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<Suggestion> &suggestions() const { return m_suggestions; }
    [[nodiscard]] QVariantList suggestionList() const;
    [[nodiscard]] bool isAnalyzing() const { return m_isAnalyzing; }

    QCoro::Task<void> analyze();
    [[nodiscard]] static std::vector<Suggestion> findSuggestions(const std::filesystem::path &home);

signals:
    void suggestionsChanged();
    void isAnalyzingChanged();

private:
    std::filesystem::path m_home;
    std::vector<Suggestion> m_suggestions;
    bool m_isAnalyzing = false;
};

} // namespace tessoly
