#pragma once

#include <QString>
#include <array>

namespace tessoly {

// How often the scheduled profile cleanup runs. Stored as its raw string.
enum class AutoFrequency { Daily, Weekly, Biweekly, Monthly };

inline constexpr std::array<AutoFrequency, 4> allAutoFrequencies{AutoFrequency::Daily, AutoFrequency::Weekly,
                                                                 AutoFrequency::Biweekly, AutoFrequency::Monthly};

[[nodiscard]] QString rawValue(AutoFrequency frequency);
[[nodiscard]] QString label(AutoFrequency frequency);
[[nodiscard]] double intervalSeconds(AutoFrequency frequency);
// A string that names no case reads as weekly.
[[nodiscard]] AutoFrequency autoFrequencyFromRaw(const QString &raw);

} // namespace tessoly
