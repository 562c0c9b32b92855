#pragma once

#include "cleaning/CleanupCatalogue.h"

#include <QString>
#include <QUuid>
#include <QVariantMap>
#include <filesystem>
#include <optional>
#include <variant>

namespace tessoly {

// What an applied card did, in words for the person.
struct ApplyResult {
    enum class Outcome { Success, NotNeeded, Failure };
    Outcome outcome = Outcome::Failure;
    qint64 freedBytes = 0;   // Success
    qint64 pendingTrash = 0; // Success
    std::optional<QString> message{};

    static ApplyResult success(qint64 freed, qint64 pending, std::optional<QString> message)
    {
        return {Outcome::Success, freed, pending, std::move(message)};
    }
    static ApplyResult notNeeded(QString message) { return {Outcome::NotNeeded, 0, 0, std::move(message)}; }
    static ApplyResult failure(QString message) { return {Outcome::Failure, 0, 0, std::move(message)}; }
};

// What applying a card does: empty a catalogue folder, move a folder to an
// external drive, or thin local snapshots. Cards that only inform have none.
struct CleanAction {
    CleanupTarget target;
};
struct MoveAction {
    std::filesystem::path source;
    qint64 bytes = 0;
    QString category;
};
struct ThinAction {};
using RecommendationAction = std::variant<std::monostate, CleanAction, MoveAction, ThinAction>;

// One ranked suggestion of Smart Scan: its words, size, risk and its action.
struct Recommendation {
    enum class Kind { Reclaim, Move, Clean, Organize, Info, Maintenance };
    enum class Risk { Safe, Caution, Advanced };

    QUuid id;
    // What the card acts on, the same in every scan, for naming a card from
    // outside ("clean.<target id>", "move.<folder>", "snapshots", "forecast").
    QString key;
    Kind kind = Kind::Info;
    QString title;
    QString oneLiner;
    QString explanation;
    qint64 estimatedSavings = 0;
    Risk riskLevel = Risk::Safe;
    QString icon;
    QString tint; // "indigo", "orange" or "red"
    std::optional<std::filesystem::path> subjectPath{};
    RecommendationAction action{};

    [[nodiscard]] bool hasAction() const { return !std::holds_alternative<std::monostate>(action); }

    // For the screens and --json: id, key, kind, title, oneLiner, explanation,
    // estimatedSavings, risk, riskLabel, icon, tint, subjectPath, hasAction.
    [[nodiscard]] QVariantMap toVariant() const;
};

[[nodiscard]] QString rawValue(Recommendation::Kind kind);
[[nodiscard]] QString rawValue(Recommendation::Risk risk);
[[nodiscard]] QString label(Recommendation::Risk risk);
[[nodiscard]] Recommendation::Risk riskOf(SafetyLevel safety);
[[nodiscard]] double riskWeight(Recommendation::Risk risk);
// The ranking: bigger expected win, discounted by risk, first; at a tie the safer.
[[nodiscard]] bool rankBefore(const Recommendation &a, const Recommendation &b);

// The cards, as each detector words them.
[[nodiscard]] Recommendation makeCleanRecommendation(const CleanupTarget &target, qint64 bytes, const QUuid &id,
                                                     const std::filesystem::path &folder);
[[nodiscard]] Recommendation makeMoveRecommendation(const QString &category, qint64 bytes, const std::filesystem::path &folder);
// A move card's key: "move." and the folder below the home (else the whole
// path) in lower case, each run of other characters than letters and digits
// one "-": ~/Android/Sdk is "move.android-sdk".
[[nodiscard]] QString moveCardKey(const std::filesystem::path &folder, const std::filesystem::path &home);
[[nodiscard]] Recommendation makeSnapshotRecommendation(int snapshotCount);
// None when there is no answer or it is 30 days or more.
[[nodiscard]] std::optional<Recommendation> makeForecastRecommendation(std::optional<double> daysUntilFull,
                                                                       std::optional<qint64> growthBytesPerDay);

// The one-button flow's short name of a card: the title before " — ",
// without "Clear ", and "hidden snapshots" for the snapshot card.
[[nodiscard]] QString shortName(const QString &title);

} // namespace tessoly
