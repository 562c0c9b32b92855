#include "core/RelativeTime.h"

#include <cstdlib>

namespace tessoly {

QString formatRelativeTime(const QDateTime &when, const QDateTime &now)
{
    const qint64 delta = when.secsTo(now);
    const qint64 distance = std::llabs(delta);
    if (distance == 0)
        return QStringLiteral("now");
    struct Unit {
        const char *name;
        qint64 seconds;
    };
    static constexpr Unit units[] = {{"year", qint64{365} * 86400}, {"month", qint64{30} * 86400}, {"week", qint64{7} * 86400},
                                     {"day", 86400},        {"hour", 3600},        {"minute", 60},
                                     {"second", 1}};
    qint64 count = 0;
    const char *name = "second";
    for (const Unit &unit : units) {
        if (distance >= unit.seconds) {
            count = distance / unit.seconds;
            name = unit.name;
            break;
        }
    }
    const QString phrase = QStringLiteral("%1 %2%3").arg(count).arg(QLatin1String(name), count == 1 ? "" : "s");
    return delta > 0 ? phrase + QStringLiteral(" ago") : QStringLiteral("in ") + phrase;
}

} // namespace tessoly
