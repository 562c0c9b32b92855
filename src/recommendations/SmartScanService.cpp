#include "recommendations/SmartScanService.h"

#include "analysis/DiskForecast.h"
#include "analysis/DiskScanner.h"
#include "cleaning/CleanupService.h"
#include "cleaning/MaintenanceService.h"
#include "core/ByteFormat.h"
#include "core/SettingsStore.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/ExternalDriveManager.h"
#include "moves/FolderMover.h"
#include "moves/OffloadScanner.h"
#include "platform/Platform.h"

#include <QCoroTimer>
#include <QPointer>
#include <algorithm>
#include <memory>
#include <set>

namespace tessoly {
namespace fs = std::filesystem;

SmartScanService::SmartScanService(platform::Platform &platform, Shared shared, QObject *parent)
    : QObject(parent)
    , m_platform(platform)
    , m_shared(shared)
    , m_home(platform.locations->home())
{
    m_moveSuggestions = new MoveSuggestions(m_home, this);
}

SmartScanService::~SmartScanService() = default;

std::vector<Recommendation> SmartScanService::visibleRecommendations() const
{
    std::vector<Recommendation> list;
    for (const Recommendation &card : m_recommendations)
        if (!m_appliedIds.contains(card.id) && !m_skippedIds.contains(card.id))
            list.push_back(card);
    return list;
}

std::vector<Recommendation> SmartScanService::skippedRecommendations() const
{
    std::vector<Recommendation> list;
    for (const Recommendation &card : m_recommendations)
        if (m_skippedIds.contains(card.id))
            list.push_back(card);
    return list;
}

namespace {

QVariantList toList(const std::vector<Recommendation> &cards)
{
    QVariantList list;
    for (const Recommendation &card : cards)
        list.append(card.toVariant());
    return list;
}

} // namespace

QString SmartScanService::stateName(ApplyStatus::State state)
{
    switch (state) {
    case ApplyStatus::State::Running: return QStringLiteral("running");
    case ApplyStatus::State::Succeeded: return QStringLiteral("succeeded");
    case ApplyStatus::State::Failed: return QStringLiteral("failed");
    }
    return {};
}

QVariantList SmartScanService::visibleRecommendationList() const
{
    return toList(visibleRecommendations());
}

QVariantList SmartScanService::skippedRecommendationList() const
{
    return toList(skippedRecommendations());
}

QVariantMap SmartScanService::lastToastMap() const
{
    if (!m_lastToast)
        return {};
    return {{QStringLiteral("id"), m_lastToast->id.toString(QUuid::WithoutBraces)},
            {QStringLiteral("title"), m_lastToast->title},
            {QStringLiteral("success"), m_lastToast->success}};
}

std::optional<SmartScanService::ApplyStatus> SmartScanService::applyStatus(const QUuid &id) const
{
    const auto it = m_applyStatuses.find(id);
    if (it == m_applyStatuses.end())
        return std::nullopt;
    return *it;
}

QVariantMap SmartScanService::applyStatusMap() const
{
    QVariantMap map;
    for (auto it = m_applyStatuses.begin(); it != m_applyStatuses.end(); ++it)
        map.insert(it.key().toString(QUuid::WithoutBraces),
                   QVariantMap{{QStringLiteral("state"), stateName(it->state)}, {QStringLiteral("text"), it->text}});
    return map;
}

void SmartScanService::setScanProgress(const QString &text)
{
    m_scanProgress = text;
    emit scanProgressChanged();
}

void SmartScanService::setStatus(const QUuid &id, ApplyStatus status)
{
    m_applyStatuses.insert(id, std::move(status));
    emit applyStatusesChanged();
}

void SmartScanService::clearStatus(const QUuid &id)
{
    if (m_applyStatuses.remove(id) > 0)
        emit applyStatusesChanged();
}

void SmartScanService::setToast(const QString &title, bool success)
{
    m_lastToast = Toast{QUuid::createUuid(), title, success};
    emit lastToastChanged();
}

bool SmartScanService::deleteImmediately() const
{
    // Read at the moment of applying, from the shared defaults.
    return SettingsStore::deleteImmediately(*m_platform.defaults);
}

// ---- The scan ----

QCoro::Task<void> SmartScanService::scan()
{
    if (m_isScanning)
        co_return;
    m_isScanning = true;
    emit isScanningChanged();
    setScanProgress(QStringLiteral("Looking at your disk…"));

    m_shared.scanner.refreshVolumeInfo();
    m_shared.forecast.recordSample(m_shared.scanner.totalUsed(), m_shared.scanner.totalCapacity());
    setScanProgress(QStringLiteral("Measuring caches and developer files…"));

    // The four detectors run side by side; each starts at once.
    QCoro::Task<std::vector<Recommendation>> cleans = detectCleanups();
    QCoro::Task<std::vector<Recommendation>> moves = detectMoves();
    QCoro::Task<std::vector<Recommendation>> snapshots = detectSnapshots();
    const std::vector<Recommendation> forecast = detectForecast();

    std::vector<Recommendation> list = co_await std::move(cleans);
    std::set<fs::path> cleanable;
    for (const Recommendation &card : list)
        if (card.subjectPath)
            cleanable.insert(*card.subjectPath);
    for (Recommendation &card : co_await std::move(moves)) {
        // A folder that can simply be cleaned is never offered as a move.
        if (!card.subjectPath || !cleanable.contains(*card.subjectPath))
            list.push_back(std::move(card));
    }
    for (Recommendation &card : co_await std::move(snapshots))
        list.push_back(std::move(card));
    list.insert(list.end(), forecast.begin(), forecast.end());
    std::stable_sort(list.begin(), list.end(), rankBefore);

    setScanProgress(QStringLiteral("Done"));
    m_recommendations = std::move(list);
    emit recommendationsChanged();
    m_hasScanned = true;
    m_lastScanCompletedAt = QDateTime::currentDateTime();
    emit hasScannedChanged();
    m_isScanning = false;
    emit isScanningChanged();
}

QCoro::Task<std::vector<Recommendation>> SmartScanService::detectCleanups()
{
    // Every target once by the folder it names here: the first profile that lists a folder wins.
    std::vector<CleanupTarget> targets;
    std::vector<fs::path> folders;
    std::set<fs::path> seen;
    for (const CleanupTarget &target : allCleanupTargets()) {
        fs::path folder = CleanupService::resolve(target, m_home);
        if (seen.insert(folder).second) {
            targets.push_back(target);
            folders.push_back(std::move(folder));
        }
    }
    const std::vector<CleanupTargetState> states = co_await m_shared.cleanup.measure(targets);

    std::vector<Recommendation> cards;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const CleanupTargetState &state = states[i];
        if (state.bytes <= cleanCardMinimumBytes)
            continue;
        cards.push_back(makeCleanRecommendation(targets[i], state.bytes, QUuid::createUuid(), folders[i]));
    }
    co_return cards;
}

QCoro::Task<std::vector<Recommendation>> SmartScanService::detectMoves()
{
    co_await m_moveSuggestions->analyze();
    std::vector<Recommendation> cards;
    for (const MoveSuggestions::Suggestion &suggestion : m_moveSuggestions->suggestions()) {
        Recommendation card = makeMoveRecommendation(suggestion.category, suggestion.bytes, suggestion.url);
        card.key = moveCardKey(suggestion.url, m_home);
        cards.push_back(std::move(card));
    }
    co_return cards;
}

QCoro::Task<std::vector<Recommendation>> SmartScanService::detectSnapshots()
{
    const std::vector<MaintenanceService::LocalSnapshot> snapshots = co_await m_shared.maintenance.listSnapshots();
    if (snapshots.empty())
        co_return std::vector<Recommendation>{};
    co_return std::vector<Recommendation>{makeSnapshotRecommendation(int(snapshots.size()))};
}

std::vector<Recommendation> SmartScanService::detectForecast() const
{
    // A trend is only told when it rests on at least a day of samples and its
    // rate is one a disk could really write: two scans a minute apart on a
    // busy disk say nothing about the coming weeks.
    constexpr qint64 minimumSpanSeconds = 86400;
    constexpr qint64 mostBytesPerDay = 2LL * 1024 * 1024 * 1024 * 86400; // 2 GiB/s all day
    const auto &samples = m_shared.forecast.samples();
    if (samples.size() < 2 || samples.front().timestamp.secsTo(samples.back().timestamp) < minimumSpanSeconds)
        return {};
    if (const auto rate = m_shared.forecast.growthBytesPerDay(); rate && *rate > mostBytesPerDay)
        return {};
    if (auto card = makeForecastRecommendation(m_shared.forecast.daysUntilFull(0.95), m_shared.forecast.growthBytesPerDay()))
        return {std::move(*card)};
    return {};
}

// ---- Applying ----

void SmartScanService::skip(const QUuid &id)
{
    m_skippedIds.insert(id);
    emit recommendationsChanged();
}

QCoro::Task<void> SmartScanService::apply(Recommendation recommendation)
{
    if (!recommendation.hasAction())
        co_return;
    const QUuid id = recommendation.id;
    setStatus(id, {ApplyStatus::State::Running, QStringLiteral("Working…")});

    QPointer<SmartScanService> self(this);
    ApplyResult result;
    if (const auto *clean = std::get_if<CleanAction>(&recommendation.action))
        result = co_await applyClean(clean->target);
    else if (std::holds_alternative<ThinAction>(recommendation.action))
        result = co_await applySnapshots();
    else if (const auto *move = std::get_if<MoveAction>(&recommendation.action))
        result = co_await applyMove(id, *move);
    if (!self)
        co_return;

    m_shared.scanner.refreshVolumeInfo();
    switch (result.outcome) {
    case ApplyResult::Outcome::Success: {
        m_totalReclaimed += result.freedBytes;
        m_totalPendingInTrash += result.pendingTrash;
        emit totalsChanged();
        const QString text = result.message.value_or(QStringLiteral("Reclaimed %1").arg(formatBytes(result.freedBytes)));
        setToast(text, true);
        co_await completeRecommendation(std::move(recommendation), text);
        break;
    }
    case ApplyResult::Outcome::NotNeeded: {
        const QString text = result.message.value_or(QString());
        setToast(text, true);
        co_await completeRecommendation(std::move(recommendation), text);
        break;
    }
    case ApplyResult::Outcome::Failure:
        setStatus(id, {ApplyStatus::State::Failed, result.message.value_or(QString())});
        break;
    }
}

QCoro::Task<void> SmartScanService::completeRecommendation(Recommendation recommendation, QString text)
{
    const QUuid id = recommendation.id;
    setStatus(id, {ApplyStatus::State::Succeeded, text});
    QPointer<SmartScanService> self(this);
    co_await QCoro::sleepFor(m_completionDelay);
    if (!self)
        co_return;
    m_appliedIds.insert(id);
    emit recommendationsChanged();
    clearStatus(id);
    co_await reconcileAfterApply(std::move(recommendation));
}

QCoro::Task<void> SmartScanService::reconcileAfterApply(Recommendation recommendation)
{
    if (recommendation.subjectPath) {
        bool retired = false;
        for (const Recommendation &card : visibleRecommendations()) {
            if (card.subjectPath == recommendation.subjectPath) {
                m_appliedIds.insert(card.id);
                retired = true;
            }
        }
        if (retired)
            emit recommendationsChanged();
    }
    std::vector<std::pair<QUuid, CleanupTarget>> pairs;
    for (const Recommendation &card : visibleRecommendations())
        if (const auto *clean = std::get_if<CleanAction>(&card.action))
            pairs.emplace_back(card.id, clean->target);
    if (pairs.empty())
        co_return;
    std::vector<CleanupTarget> targets;
    for (const auto &pair : pairs)
        targets.push_back(pair.second);
    QPointer<SmartScanService> self(this);
    const std::vector<CleanupTargetState> states = co_await m_shared.cleanup.measure(std::move(targets));
    if (!self)
        co_return;

    bool changed = false;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const auto &[id, target] = pairs[i];
        const CleanupTargetState *state = &states[i];
        const auto card = std::find_if(m_recommendations.begin(), m_recommendations.end(),
                                       [&id](const Recommendation &r) { return r.id == id; });
        if (state->bytes <= cleanCardMinimumBytes) {
            m_appliedIds.insert(id); // retired quietly: no toast, no totals
            changed = true;
        } else if (card != m_recommendations.end() && state->bytes != card->estimatedSavings) {
            // New words and size, same id and place; no re-sort.
            *card = makeCleanRecommendation(target, state->bytes, id, CleanupService::resolve(target, m_home));
            changed = true;
        }
    }
    if (changed)
        emit recommendationsChanged();
}

QCoro::Task<ApplyResult> SmartScanService::applyClean(CleanupTarget target)
{
    const bool immediately = deleteImmediately();
    // Arguments named first: g++ 12 can't take a string literal inside a co_await expression.
    std::vector<CleanupTarget> targets{target};
    QString profileName = QStringLiteral("Smart Scan");
    const qint64 bytes = (co_await m_shared.cleanup.clean(std::move(targets), std::move(profileName), immediately)).totalBytes;
    if (bytes < 1)
        co_return ApplyResult::notNeeded(QStringLiteral("Nothing left to clear in %1 — it's already clean.").arg(target.name));
    if (immediately)
        co_return ApplyResult::success(bytes, 0, QStringLiteral("Reclaimed %1 from %2.").arg(formatBytes(bytes), target.name));
    co_return ApplyResult::success(
        0, bytes,
        QStringLiteral("Moved %1 from %2 to the Trash — empty the Trash to reclaim the space.").arg(formatBytes(bytes), target.name));
}

QCoro::Task<ApplyResult> SmartScanService::applySnapshots()
{
    const qint64 before = m_shared.scanner.totalFree();
    co_await m_shared.maintenance.reclaim();
    m_shared.scanner.refreshVolumeInfo();
    const qint64 gain = std::max<qint64>(0, m_shared.scanner.totalFree() - before);
    if (gain >= 1)
        co_return ApplyResult::success(gain, 0, QStringLiteral("Reclaimed %1 of hidden snapshot space.").arg(formatBytes(gain)));
    co_return ApplyResult::success(0, 0,
                                   QStringLiteral("Asked macOS to thin snapshots. Some systems return the space in the "
                                                  "background — re-check disk meter in a minute."));
}

void SmartScanService::showMoveProgress(const QUuid &id, const QString &driveName, const MoveProgress &progress)
{
    switch (progress.stage) {
    case MoveProgress::Stage::Planning: setStatus(id, {ApplyStatus::State::Running, QStringLiteral("Preparing…")}); break;
    case MoveProgress::Stage::Copying:
        setStatus(id, {ApplyStatus::State::Running, QStringLiteral("Copying %1 to %2 — this can take a few minutes…")
                                                        .arg(formatBytes(progress.totalBytes), driveName)});
        break;
    case MoveProgress::Stage::Verifying: setStatus(id, {ApplyStatus::State::Running, QStringLiteral("Verifying the copy…")}); break;
    case MoveProgress::Stage::CreatingSymlink:
        setStatus(id, {ApplyStatus::State::Running, QStringLiteral("Creating the symlink…")});
        break;
    case MoveProgress::Stage::Finalizing: setStatus(id, {ApplyStatus::State::Running, QStringLiteral("Finishing up…")}); break;
    case MoveProgress::Stage::Done:
    case MoveProgress::Stage::Failed: break;
    }
}

QCoro::Task<ApplyResult> SmartScanService::applyMove(QUuid id, MoveAction action)
{
    QPointer<SmartScanService> self(this);
    co_await m_shared.drives.refresh();
    if (!self)
        co_return ApplyResult::failure(QStringLiteral("Service unavailable."));
    std::optional<ExternalDrive> drive;
    for (const ExternalDrive &candidate : m_shared.drives.drives()) {
        if (candidate.isSupported && candidate.freeBytes >= action.bytes) {
            drive = candidate; // the first that fits, even if a later one has more room
            break;
        }
    }
    if (!drive)
        co_return ApplyResult::failure(QStringLiteral("No external drive with enough free space is connected. Plug an "
                                                      "APFS-formatted drive in, then retry."));
    std::unique_ptr<ScopedURL> scope = m_shared.destinations.scopedURL(*drive);
    if (!scope)
        scope = co_await m_shared.destinations.requestAccess(*drive);
    if (!self)
        co_return ApplyResult::failure(QStringLiteral("Service unavailable."));
    if (!scope)
        co_return ApplyResult::failure(QStringLiteral("No destination folder chosen on %1. Try again and pick where "
                                                      "Tessoly should put files.")
                                           .arg(drive->name));

    auto cell = std::make_shared<std::optional<ApplyResult>>();
    const QString driveName = drive->name;
    const QString category = action.category;
    // Named, not a temporary of the co_await expression (see MoveController).
    FolderMover::ProgressHandler onProgress = [self, id, driveName, category, cell](const MoveProgress &progress) {
        if (progress.stage == MoveProgress::Stage::Done) {
            const QString size = formatBytes(progress.movedBytes);
            *cell = progress.disposedToTrash
                        ? ApplyResult::success(0, progress.movedBytes,
                                               QStringLiteral("Moved %1 to %2. The original is in the Trash — empty it "
                                                              "to free %3 on this disk.")
                                                   .arg(category, driveName, size))
                        : ApplyResult::success(progress.movedBytes, 0,
                                               QStringLiteral("Moved %1 to %2 — %3 freed on this disk.")
                                                   .arg(category, driveName, size));
        } else if (progress.stage == MoveProgress::Stage::Failed) {
            *cell = ApplyResult::failure(progress.error.errorDescription());
        } else if (self) {
            self->showMoveProgress(id, driveName, progress);
        }
    };
    FolderMover mover(m_shared.moveOperations, m_shared.history, m_platform.locations->home());
    fs::path source = action.source;
    fs::path destination = scope->url();
    co_await mover.move(std::move(source), std::move(destination), deleteImmediately(), std::move(onProgress));
    scope.reset(); // access ends when the move has returned
    if (!cell->has_value())
        co_return ApplyResult::failure(QStringLiteral("The move didn't finish. Your original folder hasn't been changed."));
    co_return std::move(**cell);
}

// ---- For the screens ----

void SmartScanService::startScan()
{
    scan();
}

void SmartScanService::applyById(const QString &id)
{
    const QUuid uuid(id);
    for (const Recommendation &card : m_recommendations) {
        if (card.id == uuid) {
            apply(card);
            return;
        }
    }
}

void SmartScanService::skipById(const QString &id)
{
    skip(QUuid(id));
}

void SmartScanService::clearToast(const QString &id)
{
    if (m_lastToast && m_lastToast->id == QUuid(id)) {
        m_lastToast.reset();
        emit lastToastChanged();
    }
}

} // namespace tessoly
