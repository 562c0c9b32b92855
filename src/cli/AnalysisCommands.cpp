// The command line's analysis commands: the volume's figures, storage per
// app, and search.
#include "analysis/AppStorageScanner.h"
#include "analysis/DiskScanner.h"
#include "analysis/UniversalSearchService.h"
#include "application/TessolyApp.h"
#include "history/CleanupHistoryStore.h"
#include "cli/CommandLine.h"
#include "core/ByteFormat.h"
#include "core/RelativeTime.h"
#include "core/SettingsStore.h"
#include "platform/PathText.h"

#include <QJsonArray>
#include <QJsonObject>
#include <cmath>
#include <memory>

namespace tessoly {

QCoro::Task<int> CommandLine::status(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    const DiskScanner &scanner = *m_app.scanner();
    const qint64 capacity = scanner.totalCapacity();
    const qint64 percent = static_cast<qint64>(scanner.usedFraction() * 100.0);
    const auto &entries = m_app.history().entries();
    const auto restorable = std::count_if(entries.begin(), entries.end(),
                                          [](const CleanupHistoryEntry &entry) { return isRestorable(entry.status); });
    if (json) {
        const QJsonObject object{
            {QStringLiteral("home"), m_app.homePath()},
            {QStringLiteral("capacityBytes"), capacity},
            {QStringLiteral("freeBytes"), scanner.totalFree()},
            {QStringLiteral("usedBytes"), scanner.totalUsed()},
            {QStringLiteral("usedPercent"), percent},
            {QStringLiteral("historyEntries"), static_cast<qint64>(entries.size())},
            {QStringLiteral("restorableEntries"), static_cast<qint64>(restorable)},
            {QStringLiteral("interfaceMode"), m_app.settings()->interfaceMode()},
        };
        printJson(object);
        co_return 0;
    }
    if (capacity <= 0) {
        m_out << "The volume's figures couldn't be read.\n";
    } else {
        m_out << formatBytes(scanner.totalFree()) << " free of " << formatBytes(capacity) << " · " << percent
              << "% used (" << formatBytes(scanner.totalUsed()) << ")\n";
    }
    m_out << "Home: " << m_app.homePath() << "\n";
    m_out << "History: " << entries.size() << (entries.size() == 1 ? " operation" : " operations") << ", "
          << restorable << " restorable\n";
    co_return 0;
}

QCoro::Task<int> CommandLine::apps(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    const std::unique_ptr<AppStorageScanner> scanner(m_app.makeAppStorageScanner(nullptr));
    QObject::connect(scanner.get(), &AppStorageScanner::scanProgressChanged, scanner.get(),
                     [this, s = scanner.get()] { showProgress(s->scanProgress()); });
    co_await scanner->scan();
    const QString home = m_app.homePath();
    if (json) {
        QJsonArray list;
        for (const AppStorage &app : scanner->apps()) {
            QJsonArray locations;
            for (const AppStorage::Location &location : app.locations)
                locations.append(QJsonObject{{QStringLiteral("path"), pathToText(location.url)},
                                             {QStringLiteral("kind"), rawValue(location.kind)},
                                             {QStringLiteral("bytes"), location.bytes}});
            list.append(QJsonObject{{QStringLiteral("id"), app.id},
                                    {QStringLiteral("displayName"), app.displayName},
                                    {QStringLiteral("bundleIdentifier"),
                                     app.bundleIdentifier ? QJsonValue(*app.bundleIdentifier) : QJsonValue()},
                                    {QStringLiteral("totalBytes"), app.totalBytes},
                                    {QStringLiteral("reclaimableBytes"), app.reclaimableBytes()},
                                    {QStringLiteral("locations"), locations}});
        }
        printJson(QJsonObject{{QStringLiteral("apps"), list},
                              {QStringLiteral("totalFootprint"), scanner->totalFootprint()},
                              {QStringLiteral("totalReclaimable"), scanner->totalReclaimable()}});
        co_return 0;
    }
    m_out << scanner->apps().size() << " apps tracked · " << formatBytes(scanner->totalFootprint()) << " total footprint · "
          << formatBytes(scanner->totalReclaimable()) << " reclaimable from caches\n";
    for (const AppStorage &app : scanner->apps()) {
        const auto count = app.locations.size();
        m_out << "\n" << app.displayName << " · " << formatBytes(app.totalBytes) << " · " << count
              << (count == 1 ? " location" : " locations");
        if (app.reclaimableBytes() > 0)
            m_out << " · " << formatBytes(app.reclaimableBytes()) << " reclaimable";
        m_out << "\n";
        for (const AppStorage::Location &location : app.locations)
            m_out << "  " << label(location.kind).leftJustified(12) << formatBytes(location.bytes).rightJustified(10) << "  "
                  << abbreviateHome(displayPath(location.url), home) << "\n";
    }
    co_return 0;
}

QCoro::Task<int> CommandLine::search(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    bool ok = true;
    const double minMB = parsed.options.contains(QStringLiteral("--min-mb"))
        ? parsed.options.value(QStringLiteral("--min-mb")).toDouble(&ok) : 0.0;
    if (!ok || !std::isfinite(minMB) || minMB < 0)
        co_return usageError(QStringLiteral("--min-mb takes a size in MB, 0 or more."));
    const int limit = parsed.options.contains(QStringLiteral("--limit"))
        ? parsed.options.value(QStringLiteral("--limit")).toInt(&ok) : 500;
    if (!ok || limit < 1)
        co_return usageError(QStringLiteral("--limit takes a whole number, 1 or more."));
    const QString query = parsed.words.value(0);

    const std::unique_ptr<UniversalSearchService> service(m_app.makeSearch(nullptr));
    QObject::connect(service.get(), &UniversalSearchService::progressChanged, service.get(),
                     [this, s = service.get()] { showProgress(s->progress()); });
    co_await service->rebuildIndex();
    const std::vector<UniversalSearchService::IndexEntry> found = service->search(query, minMB, limit);
    if (json) {
        QJsonArray list;
        for (const auto &entry : found)
            list.append(QJsonObject{{QStringLiteral("path"), pathToText(entry.url)},
                                    {QStringLiteral("bytes"), entry.bytes},
                                    {QStringLiteral("modifiedAt"),
                                     entry.modifiedAt ? QJsonValue(entry.modifiedAt->toString(Qt::ISODate)) : QJsonValue()}});
        printJson(QJsonObject{{QStringLiteral("indexed"), service->indexCount()}, {QStringLiteral("results"), list}});
        co_return 0;
    }
    m_out << found.size() << (found.size() == 1 ? " result" : " results") << " (" << service->indexCount()
          << " files indexed)\n";
    const QString home = m_app.homePath();
    const QDateTime now = QDateTime::currentDateTime();
    for (const auto &entry : found)
        m_out << formatBytes(entry.bytes).rightJustified(10) << "  "
              << (entry.modifiedAt ? formatRelativeTime(*entry.modifiedAt, now) : QStringLiteral("—")).leftJustified(16) << "  "
              << abbreviateHome(displayPath(entry.url), home) << "\n";
    co_return 0;
}

} // namespace tessoly
