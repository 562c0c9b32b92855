#pragma once

#include <QString>
#include <QtGlobal>

namespace tessoly {

inline constexpr qint64 bytesPerGiB = 1'073'741'824; // the binary unit the thresholds and the guardrail count in

// The one byte formatter of the process: decimal units (1 KB = 1000 bytes),
// KB, MB and GB only, unit always shown. KB without decimals, MB with one,
// GB with two; trailing zeros dropped; "Zero KB" for nothing.
[[nodiscard]] QString formatBytes(qint64 bytes);

// Splits a formatted size at its blank into number and unit, as the big
// free-space figure shows it ("12.3 GB" -> "12.3", "GB"; no blank -> "—").
struct SplitSize {
    QString number;
    QString unit;
};
[[nodiscard]] SplitSize splitFormattedSize(const QString &formatted);

} // namespace tessoly
