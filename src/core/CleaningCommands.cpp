// The command line's cleaning commands: the catalogue, measuring, cleaning
// and local snapshots.
#include "analysis/DiskScanner.h"
#include "cleaning/CleanupHistoryStore.h"
#include "cleaning/CleanupService.h"
#include "cleaning/MaintenanceService.h"
#include "core/ByteFormat.h"
#include "core/CommandLine.h"
#include "core/PathText.h"
#include "core/SettingsStore.h"
#include "core/TessolyApp.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tessoly {
namespace {

QJsonObject targetJson(const CleanupTarget &target)
{
    return {{QStringLiteral("id"), target.id},
            {QStringLiteral("name"), target.name},
            {QStringLiteral("path"), target.path},
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

int CommandLine::profiles(const Parsed &parsed)
{
    if (parsed.flag("--json")) {
        QJsonArray list;
        for (const CleanupProfile profile : allCleanupProfiles) {
            QJsonArray rows;
            for (const CleanupTarget &target : targets(profile))
                rows.append(targetJson(target));
            list.append(QJsonObject{{QStringLiteral("id"), rawValue(profile)},
                                    {QStringLiteral("name"), displayName(profile)},
                                    {QStringLiteral("tagline"), tagline(profile)},
                                    {QStringLiteral("targets"), rows}});
        }
        printJson(list);
        return 0;
    }
    for (const CleanupProfile profile : allCleanupProfiles) {
        m_out << displayName(profile) << " (" << rawValue(profile) << ") — " << tagline(profile) << "\n";
        for (const CleanupTarget &target : targets(profile)) {
            m_out << "  " << target.id.leftJustified(22) << " " << target.name << " · " << label(target.safety)
                  << "\n      ~/" << target.path << "\n";
        }
    }
    return 0;
}

QCoro::Task<int> CommandLine::measure(Parsed parsed)
{
    const QString name = parsed.words.isEmpty() ? QStringLiteral("all") : parsed.words.first();
    const auto list = targetsNamed(name);
    if (!list)
        co_return usageError(QStringLiteral("no profile is called “%1”. Profiles: %2, or all.").arg(name, profileNames()));

    CleanupService &cleanup = *m_app.cleanup();
    const auto connection = QObject::connect(&cleanup, &CleanupService::stateStored, &cleanup, [&](const QString &id) {
        showProgress(QStringLiteral("Measured %1 (%2 of %3)").arg(cleanup.states().value(id).target.name)
                         .arg(cleanup.states().size()).arg(list->size()));
    });
    showProgress(QStringLiteral("Measuring %1 folders…").arg(list->size()));
    co_await cleanup.measure(*list);
    QObject::disconnect(connection);

    qint64 total = 0;
    QJsonArray rows;
    for (const CleanupTarget &target : *list) {
        const CleanupTargetState state = cleanup.states().value(target.id);
        QJsonObject row = targetJson(target);
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

    CleanupService &cleanup = *m_app.cleanup();
    const auto connection = QObject::connect(&cleanup, &CleanupService::stateStored, &cleanup, [&](const QString &id) {
        showProgress(QStringLiteral("Cleaning %1…").arg(cleanup.states().value(id).target.name));
    });
    const std::vector<CleanupHistoryEntry> &entries = m_app.history().entries();
    const QUuid newestBefore = entries.empty() ? QUuid() : entries.front().id;
    const qint64 total = co_await cleanup.clean(chosen, displayName(*profile), deleteImmediately);
    QObject::disconnect(connection);
    m_app.scanner()->refreshVolumeInfo();

    const CleanupHistoryEntry *entry = entries.empty() || entries.front().id == newestBefore ? nullptr : &entries.front();
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
        printJson(QJsonObject{{QStringLiteral("reclaimedBytes"), total},
                              {QStringLiteral("deleted"), deleteImmediately},
                              {QStringLiteral("entryId"), entry ? entry->id.toString(QUuid::WithoutBraces).toUpper() : QString()},
                              {QStringLiteral("items"), items}});
        co_return 0;
    }
    if (entry == nullptr) {
        m_out << "Nothing to clean: the chosen folders are empty or not present.\n";
        co_return 0;
    }
    for (const auto &item : entry->items) {
        m_out << displayPath(item.originalPath) << "  " << formatBytes(item.bytes) << "\n    "
              << (item.trashedPath ? QStringLiteral("→ ") + displayPath(*item.trashedPath) : QStringLiteral("deleted"))
              << "\n";
    }
    m_out << (deleteImmediately ? "Deleted " : "Moved to the Trash: ") << itemCount(static_cast<qint64>(entry->items.size()))
          << ", " << formatBytes(total) << ".\n";
    if (!deleteImmediately)
        m_out << "To put everything back: tessoly restore " << entry->id.toString(QUuid::WithoutBraces).toUpper() << "\n";
    co_return 0;
}

QCoro::Task<int> CommandLine::snapshots(Parsed parsed)
{
    MaintenanceService &maintenance = *m_app.maintenance();
    co_await maintenance.refreshSnapshots();
    const qint64 purgeable = maintenance.purgeableBytesAtHome();
    if (parsed.flag("--json")) {
        QJsonArray list;
        for (const auto &snapshot : maintenance.localSnapshots()) {
            list.append(QJsonObject{{QStringLiteral("id"), snapshot.id},
                                    {QStringLiteral("createdAt"), snapshot.createdAt
                                         ? QJsonValue(snapshot.createdAt->toString(Qt::ISODate)) : QJsonValue()}});
        }
        printJson(QJsonObject{{QStringLiteral("snapshots"), list}, {QStringLiteral("purgeableBytes"), purgeable}});
        co_return 0;
    }
    if (maintenance.localSnapshots().empty())
        m_out << "No local snapshots.\n";
    for (const auto &snapshot : maintenance.localSnapshots())
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
    co_await maintenance.reclaim(bytes);
    const qint64 freed = maintenance.lastReclaimedBytes();
    if (parsed.flag("--json")) {
        printJson(QJsonObject{{QStringLiteral("reclaimedBytes"), freed},
                              {QStringLiteral("snapshotsLeft"), maintenance.snapshotCount()}});
        co_return 0;
    }
    if (freed > 0)
        m_out << "Reclaimed " << formatBytes(freed) << ".\n";
    else
        m_out << "No space came free yet. The system may release it in the background over a few minutes.\n";
    co_return 0;
}

} // namespace tessoly
