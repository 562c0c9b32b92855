#include "core/AutoFrequency.h"

namespace tessoly {

QString rawValue(AutoFrequency frequency)
{
    switch (frequency) {
    case AutoFrequency::Daily: return QStringLiteral("daily");
    case AutoFrequency::Weekly: return QStringLiteral("weekly");
    case AutoFrequency::Biweekly: return QStringLiteral("biweekly");
    case AutoFrequency::Monthly: return QStringLiteral("monthly");
    }
    return QStringLiteral("weekly");
}

QString label(AutoFrequency frequency)
{
    switch (frequency) {
    case AutoFrequency::Daily: return QStringLiteral("Daily");
    case AutoFrequency::Weekly: return QStringLiteral("Weekly");
    case AutoFrequency::Biweekly: return QStringLiteral("Every two weeks");
    case AutoFrequency::Monthly: return QStringLiteral("Monthly");
    }
    return QStringLiteral("Weekly");
}

double intervalSeconds(AutoFrequency frequency)
{
    switch (frequency) {
    case AutoFrequency::Daily: return 86400;
    case AutoFrequency::Weekly: return 604800;
    case AutoFrequency::Biweekly: return 1209600;
    case AutoFrequency::Monthly: return 2592000;
    }
    return 604800;
}

AutoFrequency autoFrequencyFromRaw(const QString &raw)
{
    for (const AutoFrequency frequency : allAutoFrequencies) {
        if (rawValue(frequency) == raw)
            return frequency;
    }
    return AutoFrequency::Weekly;
}

} // namespace tessoly
