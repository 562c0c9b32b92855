#include "automation/StatusMenu.h"

#include "core/ByteFormat.h"

namespace tessoly {

std::vector<StatusMenuRow> StatusMenu::rows(const StatusFigures &figures)
{
    using Action = StatusMenuRow::Action;
    const bool purgeable = figures.purgeableBytes >= purgeableThreshold;
    const StatusMenuRow separator{true, {}, {}, {}, false, Action::None};
    std::vector<StatusMenuRow> rows;
    rows.push_back({false, QStringLiteral("%1 free of %2").arg(formatBytes(figures.freeBytes), formatBytes(figures.capacityBytes)),
                    {}, {}, false, Action::None});
    if (figures.autopilotEnabled)
        rows.push_back({false, QStringLiteral("Autopilot: %1").arg(figures.autopilotStatusLine), {}, {}, false, Action::None});
    if (purgeable)
        rows.push_back({false, QStringLiteral("%1 purgeable").arg(formatBytes(figures.purgeableBytes)), {}, {}, false, Action::None});
    rows.push_back(separator);
    rows.push_back({false, QStringLiteral("Open Tessoly"), QStringLiteral("o"), QStringLiteral("macwindow"), true, Action::OpenApp});
    if (figures.autopilotEnabled)
        rows.push_back({false, QStringLiteral("Run Autopilot Now"), {}, QStringLiteral("autostartstop"), true, Action::RunAutopilot});
    if (purgeable)
        rows.push_back({false, QStringLiteral("Reclaim Purgeable Space"), {}, QStringLiteral("sparkles"), true, Action::ReclaimPurgeable});
    rows.push_back(separator);
    rows.push_back({false, QStringLiteral("Quit Tessoly"), QStringLiteral("q"), QStringLiteral("power"), true, Action::Quit});
    return rows;
}

QString StatusMenu::symbol(const StatusFigures &figures)
{
    if (figures.autopilotEnabled && figures.freeBytes < qint64(figures.autopilotMinFreeGB) * bytesPerGiB)
        return QStringLiteral("externaldrive.fill.trianglebadge.exclamationmark");
    return QStringLiteral("internaldrive");
}

QString StatusMenu::title(const StatusFigures &figures)
{
    return u' ' + formatBytes(figures.freeBytes);
}

} // namespace tessoly
