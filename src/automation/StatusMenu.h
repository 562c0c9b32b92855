#pragma once

#include "core/ByteFormat.h"

#include <QString>
#include <vector>

namespace tessoly {

// The status item's menu, built afresh each time it opens from the figures
// of that moment; the tray (or a menu bar) only draws it.
struct StatusMenuRow {
    enum class Action { None, OpenApp, RunAutopilot, ReclaimPurgeable, Quit };
    bool separator = false;
    QString title;
    QString key;    // a shortcut letter, or empty
    QString symbol; // a symbol name, or empty
    bool enabled = false;
    Action action = Action::None;
    friend bool operator==(const StatusMenuRow &, const StatusMenuRow &) = default;
};

struct StatusFigures {
    qint64 freeBytes = 0;
    qint64 capacityBytes = 0;
    bool autopilotEnabled = false;
    QString autopilotStatusLine;
    qint64 purgeableBytes = 0;
    int autopilotMinFreeGB = 0;
};

class StatusMenu {
public:
    static constexpr qint64 purgeableThreshold = bytesPerGiB;

    [[nodiscard]] static std::vector<StatusMenuRow> rows(const StatusFigures &figures);
    // The item's symbol: a warning only while the guardrail is on and free space is under it.
    [[nodiscard]] static QString symbol(const StatusFigures &figures);
    // The text beside the symbol: " <free size>".
    [[nodiscard]] static QString title(const StatusFigures &figures);
    static constexpr const char *accessibleName = "Tessoly disk status";
};

} // namespace tessoly
