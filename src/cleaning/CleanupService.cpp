#include "cleaning/CleanupService.h"

#include "history/CleanupHistoryStore.h"
#include "history/HistoryJournal.h"
#include "core/ByteFormat.h"
#include "platform/FileWalker.h"
#include "platform/Locations.h"
#include "platform/PathText.h"
#include "platform/PlaceGuard.h"
#include "platform/Trash.h"

#include <QCoroFuture>
#include <QtConcurrent>
#include <sys/stat.h>

namespace tessoly {
namespace fs = std::filesystem;

CleanupService::CleanupService(fs::path home, platform::Trash &trash, CleanupHistoryStore &history, QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
    , m_trash(trash)
    , m_history(history)
{
}

fs::path CleanupService::resolve(const CleanupTarget &target, const fs::path &home)
{
    // The catalogue names folders as they are on a Mac; the platform says where that data lives here.
    return platform::locate(target.path.toStdString(), home);
}

bool CleanupService::isListOfPlaces(const CleanupTarget &target)
{
    return target.path == QLatin1String("Library/Logs");
}

std::vector<fs::path> CleanupService::places(const CleanupTarget &target, const fs::path &home)
{
    // Most targets are one folder; the log target is the log folders and files found now.
    if (isListOfPlaces(target))
        return platform::locateAll(target.path.toStdString(), home);
    return {resolve(target, home)};
}

CleanupTargetState CleanupService::measureTarget(const CleanupTarget &target, const fs::path &home)
{
    return measurePlaces(target, places(target, home));
}

CleanupTargetState CleanupService::measurePlaces(const CleanupTarget &target, const std::vector<fs::path> &all)
{
    CleanupTargetState state{target, 0, false, 0};
    std::vector<fs::path> entries;
    for (const fs::path &place : all) {
        struct stat st{};
        if (::lstat(place.c_str(), &st) != 0)
            continue;
        state.exists = true;
        if (S_ISLNK(st.st_mode))
            continue; // a link (to an external drive, say) is present and empty: never measured, never cleaned
        if (S_ISREG(st.st_mode) && isListOfPlaces(target)) {
            entries.push_back(place); // a log file is an entry of its own
            continue;
        }
        if (!S_ISDIR(st.st_mode))
            continue;
        const std::vector<fs::path> inside = platform::listVisibleEntries(place);
        entries.insert(entries.end(), inside.begin(), inside.end());
    }
    state.childCount = static_cast<qint64>(entries.size());
    for (const platform::WalkTotals &totals : platform::walkTrees(entries))
        state.bytes += totals.allocatedBytes;
    return state;
}

CleanupService::TrashResult CleanupService::emptyPlace(const fs::path &place, bool wholeFiles, const fs::path &home,
                                                       bool deleteImmediately, platform::Trash &trash, HistoryJournal *journal)
{
    struct stat st{};
    if (::lstat(place.c_str(), &st) != 0 || S_ISLNK(st.st_mode) || (S_ISREG(st.st_mode) && !wholeFiles))
        return {};
    // Judged as if deleting outright: the guard knows no Trash.
    const platform::GuardedPlace guarded = platform::guardRemoval(place, home);
    if (!guarded.allowed()) {
        TrashResult refused;
        refused.leftBehind.push_back({place, guarded.refusal});
        return refused;
    }
    if (guarded.resolved.empty())
        return {};
    if (S_ISREG(st.st_mode))
        return disposeEntries({guarded.resolved}, deleteImmediately, trash, journal);
    return disposeEntries(platform::listVisibleEntries(guarded.resolved), deleteImmediately, trash, journal);
}

CleanupService::TrashResult CleanupService::disposeEntries(const std::vector<fs::path> &entries, bool deleteImmediately,
                                                           platform::Trash &trash, HistoryJournal *journal)
{
    TrashResult result;
    for (const fs::path &entry : entries) {
        const qint64 bytes = platform::walkTree(entry).allocatedBytes; // sized before it goes
        CleanupHistoryEntry::Item item;
        item.originalPath = entry;
        item.bytes = bytes;
        if (deleteImmediately) {
            std::error_code error;
            fs::remove_all(entry, error);
            if (error) {
                result.leftBehind.push_back(
                    {entry, QStringLiteral("“%1” couldn't be deleted completely: %2. What remains of it is still in its place.")
                                .arg(displayPath(entry.filename()), QString::fromLocal8Bit(error.message()))});
                continue;
            }
        } else {
            const platform::TrashOutcome outcome =
                trash.trashItem(entry, journal != nullptr ? journal->beforeTrashing(entry) : platform::Trash::BeforeMove{});
            if (!outcome.ok()) {
                // A protected entry stays; it is left out of the total and the log.
                result.leftBehind.push_back({entry, outcome.error});
                continue;
            }
            item.trashedPath = outcome.trashedPath;
        }
        if (journal != nullptr)
            journal->went(item);
        result.totalBytes += bytes;
        result.trashed.push_back(std::move(item));
    }
    return result;
}


QCoro::Task<std::vector<CleanupTargetState>> CleanupService::measure(std::vector<CleanupTarget> targets, StateSink onState)
{
    std::vector<QFuture<CleanupTargetState>> running;
    running.reserve(targets.size());
    for (const CleanupTarget &target : targets)
        running.push_back(QtConcurrent::run(&CleanupService::measureTarget, target, m_home));
    // All run at once; each is told in the targets' order, before this returns.
    std::vector<CleanupTargetState> states;
    states.reserve(running.size());
    for (QFuture<CleanupTargetState> &future : running) {
        states.push_back(co_await future);
        if (onState)
            onState(states.back());
    }
    co_return states;
}

QCoro::Task<CleanupService::CleanOutcome> CleanupService::clean(std::vector<CleanupTarget> targets, QString profileName,
                                                                bool deleteImmediately, StateSink onState)
{
    const auto tell = [&onState](const CleanupTargetState &state) {
        if (onState)
            onState(state);
    };
    std::vector<CleanupHistoryEntry::Item> items;
    CleanOutcome outcome;
    // Noted item by item, so that a kill halfway still leaves an entry.
    const CleanupHistoryEntry header = CleanupHistoryEntry::make(
        CleanupHistoryEntry::Kind::ProfileCleanup, QStringLiteral("%1 profile cleanup").arg(profileName), 0, {});
    const std::unique_ptr<HistoryJournal> journal = m_history.beginJournal(header);
    for (const CleanupTarget &target : targets) {
        const CleanupTargetState before = co_await QtConcurrent::run(&CleanupService::measureTarget, target, m_home);
        tell(before);
        if (!before.exists || before.bytes < 1)
            continue;
        for (const fs::path &place : places(target, m_home)) {
            const TrashResult result = co_await QtConcurrent::run(&CleanupService::emptyPlace, place, isListOfPlaces(target), m_home,
                                                                  deleteImmediately, std::ref(m_trash), journal.get());
            outcome.totalBytes += result.totalBytes;
            items.insert(items.end(), result.trashed.begin(), result.trashed.end());
            outcome.leftBehind.insert(outcome.leftBehind.end(), result.leftBehind.begin(), result.leftBehind.end());
        }
        tell(co_await QtConcurrent::run(&CleanupService::measureTarget, target, m_home));
    }
    for (const CleanupHistoryEntry::Item &item : items)
        if (item.trashedPath && !liesInside(*item.trashedPath, m_trash.homeTrashFiles()))
            outcome.trashedElsewhereBytes += item.bytes;
    if (!items.empty()) {
        CleanupHistoryEntry entry = header;
        entry.bytesReclaimed = outcome.totalBytes;
        entry.items = std::move(items);
        outcome.entry = entry;
        outcome.logError = m_history.append(std::move(entry));
    }
    if (outcome.logError.isEmpty())
        journal->finish();
    co_return outcome;
}

QString CleanupService::CleanOutcome::notice() const
{
    QStringList words;
    const auto stayed = static_cast<qsizetype>(leftBehind.size());
    if (stayed == 1)
        words << leftBehind.front().reason;
    else if (stayed > 1)
        words << QStringLiteral("%1 items stayed where they were, for example: %2").arg(stayed).arg(leftBehind.front().reason);
    if (trashedElsewhereBytes > 0)
        words << QStringLiteral("%1 of it went to a Trash on the file system it lives on, so it frees space only when "
                                "that Trash is emptied.")
                     .arg(formatBytes(trashedElsewhereBytes));
    if (!logError.isEmpty())
        words << QStringLiteral("This clean couldn't be recorded in the log (%1), so History can't put it back; "
                                "what went to the Trash can still be restored from the Trash itself.")
                     .arg(logError);
    return words.join(QLatin1Char(' '));
}

std::vector<CleanupTarget> targetsWithIds(const QStringList &ids)
{
    std::vector<CleanupTarget> list;
    for (const QString &id : ids) {
        if (auto target = cleanupTargetWithId(id))
            list.push_back(std::move(*target));
    }
    return list;
}

} // namespace tessoly
