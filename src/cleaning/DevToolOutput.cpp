#include "cleaning/DevToolOutput.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <algorithm>
#include <limits>

namespace tessoly::devtools {
namespace {

// A tool's figure as a byte count: whole bytes in [0, INT64_MAX], so that a
// wild figure (1e308, a negative one, NaN) can neither wrap nor read negative.
qint64 clampedBytes(double bytes)
{
    if (!(bytes > 0))
        return 0;
    if (bytes >= 0x1p63)
        return std::numeric_limits<qint64>::max();
    return static_cast<qint64>(bytes);
}

qint64 saturatingAdd(qint64 a, qint64 b)
{
    qint64 sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? std::numeric_limits<qint64>::max() : sum;
}

} // namespace

qint64 parseSize(const QString &text)
{
    const QString trimmed = text.trimmed();
    qsizetype i = 0;
    while (i < trimmed.size() && (trimmed.at(i).isDigit() || trimmed.at(i) == QLatin1Char('.')))
        ++i;
    bool ok = false;
    const double number = trimmed.left(i).toDouble(&ok);
    if (!ok)
        return 0;
    qsizetype end = i;
    while (end < trimmed.size() && trimmed.at(end).isLetter())
        ++end;
    const QString unit = trimmed.mid(i, end - i).toUpper();
    double scale = 0;
    if (unit == QLatin1String("B"))
        scale = 1;
    else if (unit == QLatin1String("KB"))
        scale = 1e3;
    else if (unit == QLatin1String("MB"))
        scale = 1e6;
    else if (unit == QLatin1String("GB"))
        scale = 1e9;
    else if (unit == QLatin1String("TB"))
        scale = 1e12;
    return clampedBytes(number * scale);
}

DockerStatus dockerStatusFromDiskUsage(const QString &output)
{
    if (output.isEmpty() || output.contains(QLatin1String("cannot connect"), Qt::CaseInsensitive)
        || output.contains(QLatin1String("error"), Qt::CaseInsensitive))
        return {DockerStatus::State::NotRunning, 0};
    qint64 total = 0;
    for (const QString &line : output.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QJsonDocument document = QJsonDocument::fromJson(line.toUtf8());
        if (!document.isObject())
            continue;
        total = saturatingAdd(total, parseSize(document.object().value(QStringLiteral("Reclaimable")).toString()));
    }
    return {DockerStatus::State::Ready, total};
}

qint64 reclaimedByPrune(const QString &output)
{
    const QStringList lines = output.split(QLatin1Char('\n'));
    for (auto line = lines.crbegin(); line != lines.crend(); ++line) {
        if (line->contains(QLatin1String("Total reclaimed space:")))
            return parseSize(line->split(QLatin1Char(':')).last());
    }
    return 0;
}

QString runtimeDisplayName(const QString &runtimeIdentifier)
{
    QString name = runtimeIdentifier.split(QStringLiteral("SimRuntime.")).last();
    name.replace(QLatin1Char('-'), QLatin1Char(' '));
    static const QRegularExpression version(QStringLiteral("(\\d+) (\\d+)"));
    name.replace(version, QStringLiteral("\\1.\\2"));
    return name;
}

std::vector<SimRuntime> parseRuntimes(const QString &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    std::vector<SimRuntime> runtimes;
    if (!document.isObject())
        return runtimes;
    const QJsonObject all = document.object();
    for (auto it = all.begin(); it != all.end(); ++it) {
        const QJsonObject entry = it.value().toObject();
        const QJsonValue size = entry.value(QStringLiteral("sizeBytes"));
        const QJsonValue identifier = entry.value(QStringLiteral("runtimeIdentifier"));
        const QJsonValue id = entry.value(QStringLiteral("identifier"));
        if (!size.isDouble() || size.toDouble() <= 0 || !identifier.isString() || !id.isString())
            continue;
        SimRuntime runtime;
        runtime.id = id.toString();
        runtime.name = runtimeDisplayName(identifier.toString());
        runtime.bytes = clampedBytes(size.toDouble());
        if (const QJsonValue used = entry.value(QStringLiteral("lastUsedAt")); used.isString()) {
            const QDateTime when = QDateTime::fromString(used.toString(), Qt::ISODate);
            if (when.isValid())
                runtime.lastUsedAt = when;
        }
        if (const QJsonValue deletable = entry.value(QStringLiteral("deletable")); deletable.isBool())
            runtime.deletable = deletable.toBool();
        if (const QJsonValue state = entry.value(QStringLiteral("state")); state.isString())
            runtime.state = state.toString();
        runtimes.push_back(std::move(runtime));
    }
    std::stable_sort(runtimes.begin(), runtimes.end(), [](const SimRuntime &a, const SimRuntime &b) { return a.bytes > b.bytes; });
    return runtimes;
}

int countUnavailableDevices(const QString &json)
{
    const QJsonObject devices = QJsonDocument::fromJson(json.toUtf8()).object().value(QStringLiteral("devices")).toObject();
    int count = 0;
    for (const QJsonValue &list : devices)
        for (const QJsonValue &device : list.toArray())
            count += device.toObject().value(QStringLiteral("isAvailable")) == QJsonValue(false) ? 1 : 0;
    return count;
}

} // namespace tessoly::devtools
