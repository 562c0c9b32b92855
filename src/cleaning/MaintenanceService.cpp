#include "cleaning/MaintenanceService.h"

#include "platform/ProcessRunner.h"
#include "platform/VolumeInfo.h"

#include <QStringDecoder>
#include <QTimeZone>

namespace tessoly {
namespace {

QStringList listArguments()
{
    return {QStringLiteral("listlocalsnapshots"), QStringLiteral("/")};
}

// The last argument is the urgency, always 4.
QStringList thinArguments(qint64 purgeBytes)
{
    return {QStringLiteral("thinLocalSnapshots"), QStringLiteral("/"), QString::number(purgeBytes), QStringLiteral("4")};
}

} // namespace

MaintenanceService::MaintenanceService(std::filesystem::path home, const platform::VolumeInfo &volumes,
                                       platform::ProcessRunner &processes,
                                       std::optional<std::filesystem::path> snapshotTool, QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
    , m_volumes(volumes)
    , m_processes(processes)
    , m_snapshotTool(std::move(snapshotTool))
{
}

std::vector<MaintenanceService::LocalSnapshot> MaintenanceService::parseListing(const QString &output)
{
    std::vector<LocalSnapshot> snapshots;
    for (const QString &rawLine : output.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString line = rawLine.trimmed();
        if (!line.contains(QLatin1String("com.apple.TimeMachine.")))
            continue; // the header, and anything else
        QString stamp = line;
        stamp.remove(QStringLiteral("com.apple.TimeMachine.")).remove(QStringLiteral(".local"));
        QDateTime date = QDateTime::fromString(stamp, QStringLiteral("yyyy-MM-dd-HHmmss"));
        LocalSnapshot snapshot{stamp, stamp, std::nullopt};
        if (date.isValid()) {
            date.setTimeZone(QTimeZone::utc());
            snapshot.createdAt = date;
        }
        snapshots.push_back(std::move(snapshot));
    }
    return snapshots;
}

QCoro::Task<QString> MaintenanceService::runTool(QStringList arguments)
{
    if (!m_snapshotTool)
        co_return QString();
    const platform::ProcessOutput output = co_await m_processes.run(*m_snapshotTool, std::move(arguments));
    if (!output.started)
        co_return QString();
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder(output.standardOutput);
    co_return decoder.hasError() ? QString() : text;
}

QCoro::Task<std::vector<MaintenanceService::LocalSnapshot>> MaintenanceService::listSnapshots()
{
    // (Argument lists are built outside the coroutine frame: g++ 12 rejects braced lists of literals there.)
    const QString listing = co_await runTool(listArguments());
    co_return parseListing(listing);
}

QCoro::Task<MaintenanceService::ThinOutcome> MaintenanceService::reclaim(qint64 purgeBytes)
{
    ThinOutcome outcome;
    const qint64 before = currentFreeBytes();
    if (m_snapshotTool) {
        co_await runTool(thinArguments(purgeBytes));
        // With no tool nothing ran, so nothing was freed, whatever else changed on the disk.
        outcome.reclaimedBytes = std::max<qint64>(0, currentFreeBytes() - before);
    }
    outcome.snapshotsLeft = co_await listSnapshots();
    co_return outcome;
}

qint64 MaintenanceService::currentFreeBytes() const
{
    const auto attributes = m_volumes.attributesOfFileSystem(m_home);
    return attributes ? attributes->systemFreeSize.value_or(0) : 0;
}

qint64 MaintenanceService::purgeableBytes(const std::filesystem::path &path) const
{
    const auto attributes = m_volumes.attributesOfFileSystem(path);
    if (!attributes)
        return 0;
    const qint64 available = attributes->availableCapacity.value_or(0);
    const qint64 important = attributes->availableCapacityForImportantUsage.value_or(0);
    return std::max<qint64>(0, important - available);
}

} // namespace tessoly
