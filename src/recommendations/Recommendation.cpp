#include "recommendations/Recommendation.h"

#include "core/ByteFormat.h"
#include "platform/PathText.h"

#include <cmath>

namespace tessoly {
namespace {

constexpr auto kIndigo = "indigo";

} // namespace

QString rawValue(Recommendation::Kind kind)
{
    switch (kind) {
    case Recommendation::Kind::Reclaim: return QStringLiteral("reclaim");
    case Recommendation::Kind::Move: return QStringLiteral("move");
    case Recommendation::Kind::Clean: return QStringLiteral("clean");
    case Recommendation::Kind::Organize: return QStringLiteral("organize");
    case Recommendation::Kind::Info: return QStringLiteral("info");
    case Recommendation::Kind::Maintenance: return QStringLiteral("maintenance");
    }
    return {};
}

QString rawValue(Recommendation::Risk risk)
{
    switch (risk) {
    case Recommendation::Risk::Safe: return QStringLiteral("safe");
    case Recommendation::Risk::Caution: return QStringLiteral("caution");
    case Recommendation::Risk::Advanced: return QStringLiteral("advanced");
    }
    return {};
}

QString label(Recommendation::Risk risk)
{
    switch (risk) {
    case Recommendation::Risk::Safe: return QStringLiteral("Safe");
    case Recommendation::Risk::Caution: return QStringLiteral("Caution");
    case Recommendation::Risk::Advanced: return QStringLiteral("Advanced");
    }
    return {};
}

Recommendation::Risk riskOf(SafetyLevel safety)
{
    switch (safety) {
    case SafetyLevel::Safe: return Recommendation::Risk::Safe;
    case SafetyLevel::Caution: return Recommendation::Risk::Caution;
    case SafetyLevel::Advanced: return Recommendation::Risk::Advanced;
    }
    return Recommendation::Risk::Advanced;
}

double riskWeight(Recommendation::Risk risk)
{
    switch (risk) {
    case Recommendation::Risk::Safe: return 1.0;
    case Recommendation::Risk::Caution: return 0.7;
    case Recommendation::Risk::Advanced: return 0.4;
    }
    return 0.0;
}

bool rankBefore(const Recommendation &a, const Recommendation &b)
{
    const double scoreA = riskWeight(a.riskLevel) * static_cast<double>(a.estimatedSavings);
    const double scoreB = riskWeight(b.riskLevel) * static_cast<double>(b.estimatedSavings);
    if (scoreA != scoreB)
        return scoreA > scoreB;
    return riskWeight(a.riskLevel) > riskWeight(b.riskLevel);
}

QVariantMap Recommendation::toVariant() const
{
    return {{QStringLiteral("id"), id.toString(QUuid::WithoutBraces)},
            {QStringLiteral("key"), key},
            {QStringLiteral("kind"), rawValue(kind)},
            {QStringLiteral("title"), title},
            {QStringLiteral("oneLiner"), oneLiner},
            {QStringLiteral("explanation"), explanation},
            {QStringLiteral("estimatedSavings"), estimatedSavings},
            {QStringLiteral("risk"), rawValue(riskLevel)},
            {QStringLiteral("riskLabel"), label(riskLevel)},
            {QStringLiteral("icon"), icon},
            {QStringLiteral("tint"), tint},
            {QStringLiteral("subjectPath"), subjectPath ? pathToText(*subjectPath) : QString()},
            {QStringLiteral("hasAction"), hasAction()}};
}

Recommendation makeCleanRecommendation(const CleanupTarget &target, qint64 bytes, const QUuid &id,
                                       const std::filesystem::path &folder)
{
    Recommendation card;
    card.id = id;
    card.key = QStringLiteral("clean.") + target.id;
    card.kind = Recommendation::Kind::Clean;
    card.riskLevel = riskOf(target.safety);
    card.title = QStringLiteral("Clear %1 — %2").arg(target.name, formatBytes(bytes));
    card.oneLiner = target.description;
    card.explanation = QStringLiteral("Tessoly will move every item inside the folder to the Trash. The folder itself is "
                                      "preserved because apps may need it. %1 — %2")
                           .arg(label(card.riskLevel), target.description);
    card.estimatedSavings = bytes;
    if (!target.icon.isEmpty()) {
        card.icon = target.icon;
    } else {
        switch (card.riskLevel) {
        case Recommendation::Risk::Safe: card.icon = QStringLiteral("checkmark.seal.fill"); break;
        case Recommendation::Risk::Caution: card.icon = QStringLiteral("exclamationmark.triangle.fill"); break;
        case Recommendation::Risk::Advanced: card.icon = QStringLiteral("exclamationmark.shield.fill"); break;
        }
    }
    switch (card.riskLevel) {
    case Recommendation::Risk::Safe: card.tint = QString::fromLatin1(kIndigo); break;
    case Recommendation::Risk::Caution: card.tint = QStringLiteral("orange"); break;
    case Recommendation::Risk::Advanced: card.tint = QStringLiteral("red"); break;
    }
    card.subjectPath = folder;
    card.action = CleanAction{target};
    return card;
}

Recommendation makeMoveRecommendation(const QString &category, qint64 bytes, const std::filesystem::path &folder)
{
    Recommendation card;
    card.id = QUuid::createUuid();
    card.kind = Recommendation::Kind::Move;
    card.riskLevel = Recommendation::Risk::Safe;
    card.estimatedSavings = bytes;
    card.subjectPath = folder;
    card.title = QStringLiteral("Move %1 to external drive — %2").arg(category, formatBytes(bytes));
    card.oneLiner = QStringLiteral("Tessoly can move this big folder to your external drive and leave a symlink behind "
                                   "so apps still find it.");
    card.explanation =
        QStringLiteral("Path: %1\n\nTessoly copies the folder to the external drive, verifies the copy file-by-file, then "
                       "creates a symlink at the original location. Apps see no change. If anything fails, the original "
                       "is restored exactly as it was.\n\nThis only works if you have an APFS-formatted external drive "
                       "plugged in.")
            .arg(displayPath(folder));
    card.icon = QStringLiteral("externaldrive.badge.plus");
    card.tint = QString::fromLatin1(kIndigo);
    card.action = MoveAction{folder, bytes, category};
    return card;
}

QString moveCardKey(const std::filesystem::path &folder, const std::filesystem::path &home)
{
    const std::filesystem::path below = liesInside(folder, home) ? folder.lexically_relative(home) : folder;
    QString key = QStringLiteral("move.");
    bool separated = true; // no "-" first
    for (const QChar c : pathToText(below).toLower()) {
        if (c.isLetterOrNumber()) {
            key += c;
            separated = false;
        } else if (!separated) {
            key += QLatin1Char('-');
            separated = true;
        }
    }
    if (key.endsWith(QLatin1Char('-')))
        key.chop(1);
    return key;
}

Recommendation makeSnapshotRecommendation(int snapshotCount)
{
    Recommendation card;
    card.id = QUuid::createUuid();
    card.key = QStringLiteral("snapshots");
    card.kind = Recommendation::Kind::Maintenance;
    card.riskLevel = Recommendation::Risk::Safe;
    card.title = QStringLiteral("Free hidden snapshot space (%1 Time Machine snapshot%2)")
                     .arg(snapshotCount)
                     .arg(snapshotCount == 1 ? "" : "s");
    card.oneLiner = QStringLiteral("macOS keeps copies of your data as local Time Machine snapshots — Tessoly can clear them safely.");
    card.explanation = QStringLiteral(
        "Even when Time Machine isn't actively backing up, macOS may keep \"local snapshots\" of your data on the same "
        "disk. They can occupy tens of GB. Removing them does NOT touch your actual files — only the snapshot copies.");
    card.estimatedSavings = 5368709120; // 5 GiB: an estimate that only ranks the card
    card.icon = QStringLiteral("externaldrive.fill.badge.timemachine");
    card.tint = QString::fromLatin1(kIndigo);
    card.action = ThinAction{};
    return card;
}

std::optional<Recommendation> makeForecastRecommendation(std::optional<double> daysUntilFull,
                                                         std::optional<qint64> growthBytesPerDay)
{
    if (!daysUntilFull || *daysUntilFull >= 30)
        return std::nullopt;
    QString when;
    if (*daysUntilFull < 1) {
        when = QStringLiteral("today");
    } else {
        const auto days = static_cast<qint64>(std::trunc(*daysUntilFull));
        when = days == 1 ? QStringLiteral("in 1 day") : QStringLiteral("in about %1 days").arg(days);
    }
    Recommendation card;
    card.id = QUuid::createUuid();
    card.key = QStringLiteral("forecast");
    card.kind = Recommendation::Kind::Info;
    card.riskLevel = Recommendation::Risk::Safe;
    card.estimatedSavings = 0;
    card.title = QStringLiteral("Heads up — disk will hit 95% %1").arg(when);
    card.oneLiner = QStringLiteral("At your current rate (%1/day), your disk fills up soon.")
                        .arg(formatBytes(growthBytesPerDay.value_or(0)));
    card.explanation = QStringLiteral("Tessoly watches how fast your disk is filling up. Right now you're adding data "
                                      "faster than you're freeing it. Apply the recommendations below to slow that down.");
    card.icon = QStringLiteral("chart.line.uptrend.xyaxis");
    card.tint = QStringLiteral("orange");
    return card;
}

QString shortName(const QString &title)
{
    const qsizetype dash = title.indexOf(QStringLiteral(" — "));
    QString name = dash < 0 ? title : title.left(dash);
    name.replace(QStringLiteral("Clear "), QString());
    name.replace(QStringLiteral("Free hidden snapshot space"), QStringLiteral("hidden snapshots"));
    return name;
}

} // namespace tessoly
