#include "core/ByteFormat.h"

#include <cmath>
#include <cstdlib>

namespace tessoly {
namespace {

QString groupThousands(const QString &integerPart)
{
    QString out;
    const qsizetype n = integerPart.size();
    for (qsizetype i = 0; i < n; ++i) {
        if (i > 0 && (n - i) % 3 == 0)
            out += QLatin1Char(',');
        out += integerPart.at(i);
    }
    return out;
}

QString formatNumber(double value, int decimals)
{
    QString text = QString::number(value, 'f', decimals);
    if (decimals > 0) {
        while (text.endsWith(QLatin1Char('0')))
            text.chop(1);
        if (text.endsWith(QLatin1Char('.')))
            text.chop(1);
    }
    const qsizetype dot = text.indexOf(QLatin1Char('.'));
    const QString integerPart = dot < 0 ? text : text.left(dot);
    const QString fraction = dot < 0 ? QString() : text.mid(dot);
    return groupThousands(integerPart) + fraction;
}

} // namespace

QString formatBytes(qint64 bytes)
{
    if (bytes == 0)
        return QStringLiteral("Zero KB");
    const bool negative = bytes < 0;
    const double magnitude = std::fabs(static_cast<double>(bytes));

    struct Unit {
        const char *name;
        double size;
        int decimals;
    };
    static constexpr Unit units[] = {{"KB", 1e3, 0}, {"MB", 1e6, 1}, {"GB", 1e9, 2}};

    // Pick the smallest unit whose rounded value stays below 1000, so that
    // 999,999 bytes reads "1 MB" rather than "1,000 KB".
    std::size_t index = 0;
    for (; index + 1 < std::size(units); ++index) {
        const double scale = std::pow(10.0, units[index].decimals);
        const double rounded = std::round(magnitude / units[index].size * scale) / scale;
        if (rounded < 1000.0)
            break;
    }
    const Unit &unit = units[index];
    double value = magnitude / unit.size;
    if (index == 0 && value < 1.0)
        value = 1.0; // a few bytes still show as "1 KB", never "0 KB"
    QString text = formatNumber(value, unit.decimals);
    return (negative ? QStringLiteral("-") : QString()) + text + QLatin1Char(' ') + QLatin1String(unit.name);
}

SplitSize splitFormattedSize(const QString &formatted)
{
    const qsizetype blank = formatted.indexOf(QLatin1Char(' '));
    if (blank < 0)
        return {QStringLiteral("—"), formatted};
    return {formatted.left(blank), formatted.mid(formatted.lastIndexOf(QLatin1Char(' ')) + 1)};
}

} // namespace tessoly
