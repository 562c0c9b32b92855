// The command line's analysis commands: the volume's figures.
#include "analysis/DiskScanner.h"
#include "application/TessolyApp.h"
#include "cleaning/CleanupHistoryStore.h"
#include "cli/CommandLine.h"
#include "core/ByteFormat.h"
#include "core/SettingsStore.h"

#include <QJsonObject>

namespace tessoly {

int CommandLine::status(const Parsed &parsed)
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
        return 0;
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
    return 0;
}

} // namespace tessoly
