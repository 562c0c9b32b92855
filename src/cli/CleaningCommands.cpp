// The command line's cleaning commands: the catalogue, measuring, cleaning,
// local snapshots, the System Data X-Ray and duplicates.
#include "analysis/DiskScanner.h"
#include "history/CleanupHistoryStore.h"
#include "cleaning/CleanupService.h"
#include "cleaning/DuplicateFinder.h"
#include "cleaning/SystemDataXRay.h"
#include "history/HistoryJson.h"
#include "cleaning/MaintenanceService.h"
#include "core/ByteFormat.h"
#include "core/RelativeTime.h"
#include "cli/CommandLine.h"
#include "platform/PathText.h"
#include "platform/Platform.h"
#include "core/SettingsStore.h"
#include "application/TessolyApp.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tessoly {
namespace {

// A target with the folder it names on this system ("location").
QJsonObject targetJson(const CleanupTarget &target, const std::filesystem::path &home)
{
    return {{QStringLiteral("id"), target.id},
            {QStringLiteral("name"), target.name},
            {QStringLiteral("path"), target.path},
            {QStringLiteral("location"), pathToText(CleanupService::resolve(target, home))},
            {QStringLiteral("safety"), rawValue(target.safety)},
            {QStringLiteral("description"), target.description}};
}

QString itemCount(qint64 count)
{
    return QStringLiteral("%1 %2").arg(count).arg(count == 1 ? "item" : "items");
}

// The targets of "all" (every row) or of one profile; nullopt for an unknown name.
std::optional<std::vector<CleanupTarget>> targetsNamed(const QString &name)
{
    if (name == QLatin1String("all"))
        return allCleanupTargets();
    if (const auto profile = cleanupProfileFromRaw(name))
        return targets(*profile);
    return std::nullopt;
}

QString profileNames()
{
    QStringList names;
    for (const CleanupProfile profile : allCleanupProfiles)
        names << rawValue(profile);
    return names.join(QStringLiteral(", "));
}

} // namespace

QCoro::Task<int> CommandLine::profiles(Parsed parsed)
{
    const std::filesystem::path home = m_app.platform().locations->home();
    if (parsed.flag("--json")) {
        QJsonArray list;
        for (const CleanupProfile profile : allCleanupProfiles) {
            QJsonArray rows;
            for (const CleanupTarget &target : targets(profile))
                rows.append(targetJson(target, home));
            list.append(QJsonObject{{QStringLiteral("id"), rawValue(profile)},
                                    {QStringLiteral("name"), displayName(profile)},
                                    {QStringLiteral("tagline"), tagline(profile)},
                                    {QStringLiteral("targets"), rows}});
        }
        printJson(list);
        co_return 0;
    }
    for (const CleanupProfile profile : allCleanupProfiles) {
        m_out << displayName(profile) << " (" << rawValue(profile) << ") — " << tagline(profile) << "\n";
        for (const CleanupTarget &target : targets(profile)) {
            m_out << "  " << target.id.leftJustified(22) << " " << target.name << " · " << label(target.safety)
                  << "\n      " << abbreviateHome(displayPath(CleanupService::resolve(target, home)), displayPath(home)) << "\n";
        }
    }
    co_return 0;
}

QCoro::Task<int> CommandLine::measure(Parsed parsed)
{
    const QString name = parsed.words.isEmpty() ? QStringLiteral("all") : parsed.words.first();
    const auto list = targetsNamed(name);
    if (!list)
        co_return usageError(QStringLiteral("no profile is called “%1”. Profiles: %2, or all.").arg(name, profileNames()));

    showProgress(QStringLiteral("Measuring %1 folders…").arg(list->size()));
    qsizetype measured = 0;
    const auto onMeasured = [&](const CleanupTargetState &state) {
        showProgress(QStringLiteral("Measured %1 (%2 of %3)").arg(state.target.name).arg(++measured).arg(list->size()));
    };
    const std::vector<CleanupTargetState> states = co_await m_app.cleanup()->measure(*list, onMeasured);

    qint64 total = 0;
    QJsonArray rows;
    for (const CleanupTargetState &state : states) {
        const CleanupTarget &target = state.target;
        QJsonObject row = targetJson(target, m_app.platform().locations->home());
        row.insert(QStringLiteral("bytes"), state.bytes);
        row.insert(QStringLiteral("items"), state.childCount);
        row.insert(QStringLiteral("present"), state.exists);
        rows.append(row);
        total += state.bytes;
        if (!parsed.flag("--json")) {
            m_out << target.id.leftJustified(22) << " " << target.name.leftJustified(34) << " "
                  << (state.exists ? formatBytes(state.bytes).rightJustified(10) + "  " + itemCount(state.childCount)
                                   : QStringLiteral("Not present"))
                  << "\n";
        }
    }
    if (parsed.flag("--json"))
        printJson(QJsonObject{{QStringLiteral("targets"), rows}, {QStringLiteral("totalBytes"), total}});
    else
        m_out << "Reclaimable now: " << formatBytes(total) << "\n";
    co_return 0;
}

QCoro::Task<int> CommandLine::clean(Parsed parsed)
{
    const auto profile = cleanupProfileFromRaw(parsed.words.first());
    if (!profile)
        co_return usageError(QStringLiteral("no profile is called “%1”. Profiles: %2.").arg(parsed.words.first(), profileNames()));
    std::vector<CleanupTarget> chosen = targets(*profile);
    if (parsed.options.contains(QStringLiteral("--only"))) {
        const QStringList ids = parsed.options.value(QStringLiteral("--only")).split(QLatin1Char(','), Qt::SkipEmptyParts);
        for (const QString &id : ids) {
            if (std::none_of(chosen.begin(), chosen.end(), [&](const CleanupTarget &t) { return t.id == id; }))
                co_return usageError(QStringLiteral("“%1” is no folder of the %2 profile. “tessoly profiles” lists them.")
                                         .arg(id, rawValue(*profile)));
        }
        std::erase_if(chosen, [&](const CleanupTarget &t) { return !ids.contains(t.id); });
    }
    const bool deleteImmediately = parsed.flag("--delete") || m_app.settings()->deleteImmediately();

    const auto onMeasured = [&](const CleanupTargetState &state) {
        showProgress(QStringLiteral("Cleaning %1…").arg(state.target.name));
    };
    const CleanupService::CleanOutcome report =
        co_await m_app.cleanup()->clean(chosen, displayName(*profile), deleteImmediately, onMeasured);
    m_app.scanner()->refreshVolumeInfo();

    const qint64 total = report.totalBytes;
    const CleanupHistoryEntry *entry = report.entry ? &*report.entry : nullptr;
    const bool recorded = entry != nullptr && report.logError.isEmpty();
    const int code = report.logError.isEmpty() && report.leftBehind.empty() ? 0 : 1;
    QString unrecorded;
    if (entry != nullptr && !report.logError.isEmpty()) {
        unrecorded = deleteImmediately
            ? QStringLiteral("This clean could not be recorded in the log: %1.").arg(report.logError)
            : QStringLiteral("This clean could not be recorded in the log: %1. The items are in the Trash, but "
                             "“tessoly restore” can't put them back; your file manager's Trash still can.")
                  .arg(report.logError);
    }
    if (parsed.flag("--json")) {
        QJsonArray items;
        if (entry != nullptr) {
            for (const auto &item : entry->items) {
                QJsonObject object{{QStringLiteral("originalPath"), pathToText(item.originalPath)},
                                   {QStringLiteral("bytes"), item.bytes}};
                if (item.trashedPath)
                    object.insert(QStringLiteral("trashedPath"), pathToText(*item.trashedPath));
                items.append(object);
            }
        }
        QJsonArray stayed;
        for (const CleanupService::LeftBehind &left : report.leftBehind)
            stayed.append(QJsonObject{{QStringLiteral("path"), pathToText(left.path)}, {QStringLiteral("reason"), left.reason}});
        QJsonObject object{{QStringLiteral("reclaimedBytes"), total},
                           {QStringLiteral("deleted"), deleteImmediately},
                           {QStringLiteral("recorded"), recorded},
                           {QStringLiteral("entryId"), recorded ? entry->id.toString(QUuid::WithoutBraces).toUpper() : QString()},
                           {QStringLiteral("items"), items},
                           {QStringLiteral("leftBehind"), stayed}};
        if (!unrecorded.isEmpty())
            object.insert(QStringLiteral("logError"), unrecorded);
        if (!report.leftBehind.empty()) {
            const QString left = itemCount(static_cast<qint64>(report.leftBehind.size()));
            object.insert(QStringLiteral("error"), QStringLiteral("%1 couldn't be cleaned.").arg(left));
        }
        printJson(object);
        co_return code;
    }
    if (entry == nullptr && report.leftBehind.empty()) {
        m_out << "Nothing to clean: the chosen folders are empty or not present.\n";
        co_return 0;
    }
    if (entry != nullptr) {
        for (const auto &item : entry->items) {
            m_out << displayPath(item.originalPath) << "  " << formatBytes(item.bytes) << "\n    "
                  << (item.trashedPath ? QStringLiteral("→ ") + displayPath(*item.trashedPath) : QStringLiteral("deleted"))
                  << "\n";
        }
        m_out << (deleteImmediately ? "Deleted " : "Moved to the Trash: ")
              << itemCount(static_cast<qint64>(entry->items.size())) << ", " << formatBytes(total) << ".\n";
    }
    if (!report.leftBehind.empty()) {
        const auto count = static_cast<qint64>(report.leftBehind.size());
        m_out << itemCount(count) << (count == 1 ? " stayed where it was:\n" : " stayed where they were:\n");
        for (const CleanupService::LeftBehind &left : report.leftBehind)
            m_out << "  " << left.reason << "\n";
    }
    if (!unrecorded.isEmpty())
        m_err << unrecorded << "\n";
    else if (recorded && !deleteImmediately)
        m_out << "To put everything back: tessoly restore " << entry->id.toString(QUuid::WithoutBraces).toUpper() << "\n";
    co_return code;
}

QCoro::Task<int> CommandLine::snapshots(Parsed parsed)
{
    MaintenanceService &maintenance = *m_app.maintenance();
    const std::vector<MaintenanceService::LocalSnapshot> snapshots = co_await maintenance.listSnapshots();
    const qint64 purgeable = maintenance.purgeableBytesAtHome();
    if (parsed.flag("--json")) {
        QJsonArray list;
        for (const auto &snapshot : snapshots) {
            list.append(QJsonObject{{QStringLiteral("id"), snapshot.id},
                                    {QStringLiteral("createdAt"), snapshot.createdAt
                                         ? QJsonValue(snapshot.createdAt->toString(Qt::ISODate)) : QJsonValue()}});
        }
        printJson(QJsonObject{{QStringLiteral("snapshots"), list}, {QStringLiteral("purgeableBytes"), purgeable}});
        co_return 0;
    }
    if (snapshots.empty())
        m_out << "No local snapshots.\n";
    for (const auto &snapshot : snapshots)
        m_out << snapshot.label << "\n";
    m_out << "Purgeable space: " << formatBytes(purgeable) << "\n";
    co_return 0;
}

QCoro::Task<int> CommandLine::reclaim(Parsed parsed)
{
    qint64 bytes = MaintenanceService::kDefaultPurgeBytes;
    if (parsed.options.contains(QStringLiteral("--bytes"))) {
        bool ok = false;
        bytes = parsed.options.value(QStringLiteral("--bytes")).toLongLong(&ok);
        if (!ok || bytes <= 0)
            co_return usageError(QStringLiteral("--bytes wants a whole number of bytes above 0."));
    }
    MaintenanceService &maintenance = *m_app.maintenance();
    showProgress(QStringLiteral("Asking the system to thin local snapshots…"));
    const MaintenanceService::ThinOutcome outcome = co_await maintenance.reclaim(bytes);
    const qint64 freed = outcome.reclaimedBytes;
    if (parsed.flag("--json")) {
        printJson(QJsonObject{{QStringLiteral("reclaimedBytes"), freed},
                              {QStringLiteral("snapshotsLeft"), qint64(outcome.snapshotsLeft.size())}});
        co_return 0;
    }
    if (freed > 0)
        m_out << "Reclaimed " << formatBytes(freed) << ".\n";
    else
        m_out << "No space came free yet. The system may release it in the background over a few minutes.\n";
    co_return 0;
}

QCoro::Task<int> CommandLine::xray(Parsed parsed)
{
    SystemDataXRay &xray = *m_app.xray();
    const bool json = parsed.flag("--json");
    showProgress(QStringLiteral("Measuring caches, logs, backups, swap, the Trash and app data…"));
    co_await xray.scan();

    if (parsed.options.contains(QStringLiteral("--perform"))) {
        const QString id = parsed.options.value(QStringLiteral("--perform"));
        const auto slice = std::find_if(xray.slices().begin(), xray.slices().end(), [&](const XRaySlice &s) { return s.id == id; });
        if (slice == xray.slices().end())
            co_return usageError(QStringLiteral("no slice “%1” in this X-Ray (it is left out when it measures nothing). "
                                                "Run “tessoly xray” to list them.").arg(id));
        const XRaySlice chosen = *slice;
        if (chosen.action == XRaySlice::Action::Info) {
            const QString words = QStringLiteral("%1: %2. There is nothing to do here.").arg(chosen.name, chosen.badge);
            co_return reportOutcome(json, id, ActionOutcome{words, true});
        }
        if (chosen.action == XRaySlice::Action::Reveal) {
            // Said only once the file manager (or the opener) has answered.
            const QString problem = co_await m_app.platform().revealer->show(chosen.revealURL);
            const QString shown = displayPath(chosen.revealURL);
            const QString words = problem.isEmpty()
                ? QStringLiteral("Shown in the file manager: %1").arg(shown)
                : QStringLiteral("Couldn't show %1 in the file manager: %2").arg(shown, problem);
            co_return reportOutcome(json, id, ActionOutcome{words, problem.isEmpty()});
        }
        if (chosen.action == XRaySlice::Action::Clean)
            showProgress(QStringLiteral("Clearing %1…").arg(chosen.name));
        co_await xray.perform(chosen);
        co_return reportOutcome(json, id, xray.result(id));
    }

    if (json) {
        QJsonArray slices;
        for (const XRaySlice &slice : xray.slices())
            slices.append(QJsonObject{{QStringLiteral("id"), slice.id},
                                      {QStringLiteral("name"), slice.name},
                                      {QStringLiteral("bytes"), slice.bytes},
                                      {QStringLiteral("detail"), slice.detail},
                                      {QStringLiteral("badge"), slice.badge},
                                      {QStringLiteral("action"), rawValue(slice.action)},
                                      {QStringLiteral("revealPath"), slice.revealURL.empty() ? QJsonValue() : QJsonValue(pathToText(slice.revealURL))}});
        printJson(QJsonObject{{QStringLiteral("totalBytes"), xray.totalBytes()},
                              {QStringLiteral("purgeableBytes"), xray.purgeableBytes()},
                              {QStringLiteral("slices"), slices}});
        co_return 0;
    }
    m_out << formatBytes(xray.totalBytes()) << " decoded · " << xray.slices().size()
          << (xray.slices().size() == 1 ? " contributor" : " contributors") << "\n\n";
    for (const XRaySlice &slice : xray.slices())
        m_out << formatBytes(slice.bytes).rightJustified(10) << "  " << slice.name << " — " << slice.badge << "   (" << slice.id
              << ")\n            " << slice.detail << "\n";
    co_return 0;
}

QCoro::Task<int> CommandLine::duplicates(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    const std::unique_ptr<DuplicateFinder> finder(m_app.makeDuplicateFinder(nullptr));
    QObject::connect(finder.get(), &DuplicateFinder::scanProgressChanged, finder.get(),
                     [this, f = finder.get()] { showProgress(f->scanProgress()); });
    co_await finder->scan();

    if (parsed.options.contains(QStringLiteral("--keep"))) {
        std::error_code error;
        const std::filesystem::path given = textToPath(parsed.options.value(QStringLiteral("--keep")));
        // The groups name files by their real paths.
        std::filesystem::path wanted = std::filesystem::weakly_canonical(std::filesystem::absolute(given), error);
        if (error)
            wanted = std::filesystem::absolute(given).lexically_normal();
        const auto group = std::find_if(finder->groups().begin(), finder->groups().end(), [&](const DuplicateGroup &g) {
            return std::find(g.files.begin(), g.files.end(), wanted) != g.files.end();
        });
        if (group == finder->groups().end())
            co_return usageError(QStringLiteral("“%1” isn't one of the duplicates found. Run “tessoly duplicates” to list them.")
                                     .arg(displayPath(given)));
        const QString groupId = group->id;
        const DuplicateFinder::KeepOutcome outcome = finder->keep(groupId, wanted);
        const QString &words = outcome.words;
        if (json)
            printJson(QJsonObject{{QStringLiteral("kept"), pathToText(wanted)},
                                  {QStringLiteral("trashed"), outcome.trashed},
                                  {QStringLiteral("stayed"), outcome.stayed},
                                  {QStringLiteral("message"), words}});
        else
            m_out << words << "\n";
        // Done only when every other copy went and the log holds it.
        co_return outcome.trashed > 0 && outcome.stayed == 0 && outcome.problem.isEmpty() ? 0 : 1;
    }

    if (json) {
        QJsonArray groups;
        for (const DuplicateGroup &group : finder->groups()) {
            QJsonArray files;
            for (const auto &file : group.files)
                files.append(pathToText(file));
            groups.append(QJsonObject{{QStringLiteral("id"), group.id},
                                      {QStringLiteral("bytes"), group.bytes},
                                      {QStringLiteral("wastedBytes"), group.wastedBytes()},
                                      {QStringLiteral("files"), files}});
        }
        printJson(QJsonObject{{QStringLiteral("groups"), groups},
                              {QStringLiteral("totalReclaimable"), finder->totalReclaimable()},
                              {QStringLiteral("refusedFolders"), QJsonArray::fromStringList(finder->refusedFolders())}});
        co_return 0;
    }
    for (const QString &refusal : finder->refusedFolders())
        m_out << refusal << "\n";
    const auto count = finder->groups().size();
    m_out << count << (count == 1 ? " duplicate group" : " duplicate groups") << " · "
          << formatBytes(finder->totalReclaimable()) << " reclaimable now\n";
    const QString home = m_app.homePath();
    for (const DuplicateGroup &group : finder->groups()) {
        m_out << "\n" << displayPath(group.files.front().filename()) << " · " << formatBytes(group.wastedBytes())
              << " reclaimable · " << group.files.size() << " identical copies, " << formatBytes(group.bytes) << " each\n";
        for (const auto &file : group.files)
            m_out << "  " << abbreviateHome(displayPath(file), home) << "\n";
    }
    co_return 0;
}

} // namespace tessoly
