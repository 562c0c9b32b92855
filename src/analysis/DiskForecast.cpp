#include "analysis/DiskForecast.h"

#include "core/DefaultsKeys.h"

#include "platform/DefaultsStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

namespace tessoly {
namespace {

// The stored timestamps count from the start of 2001 (UTC), as the format
// the samples were first written in does.
constexpr qint64 kReferenceEpochSeconds = 978307200;

std::optional<qint64> integerOf(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (std::trunc(number) != number || std::abs(number) > 9.0e18)
        return std::nullopt;
    return static_cast<qint64>(number);
}

} // namespace

DiskForecast::DiskForecast(platform::DefaultsStore &defaults, Clock clock, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_clock(clock ? std::move(clock) : Clock([] { return QDateTime::currentDateTimeUtc(); }))
{
}

QByteArray DiskForecast::encode(const std::vector<Sample> &samples)
{
    QJsonArray list;
    for (const Sample &sample : samples) {
        const double seconds = static_cast<double>(sample.timestamp.toMSecsSinceEpoch()) / 1000.0 -
                               static_cast<double>(kReferenceEpochSeconds);
        list.append(QJsonObject{{QStringLiteral("timestamp"), seconds},
                                {QStringLiteral("usedBytes"), sample.usedBytes},
                                {QStringLiteral("totalBytes"), sample.totalBytes}});
    }
    return QJsonDocument(list).toJson(QJsonDocument::Compact);
}

std::optional<std::vector<DiskForecast::Sample>> DiskForecast::decode(const QByteArray &data)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    std::vector<Sample> samples;
    for (const QJsonValue &value : document.array()) {
        const QJsonObject object = value.toObject();
        const QJsonValue timestamp = object.value(QStringLiteral("timestamp"));
        const auto used = integerOf(object.value(QStringLiteral("usedBytes")));
        const auto total = integerOf(object.value(QStringLiteral("totalBytes")));
        if (!value.isObject() || !timestamp.isDouble() || !used || !total)
            return std::nullopt;
        const double ms = (timestamp.toDouble() + static_cast<double>(kReferenceEpochSeconds)) * 1000.0;
        samples.push_back(Sample{QDateTime::fromMSecsSinceEpoch(std::llround(ms), Qt::UTC), *used, *total});
    }
    return samples;
}

void DiskForecast::load()
{
    const auto stored = m_defaults.object(QString::fromLatin1(keys::forecastSamples));
    if (!stored || stored->typeId() != QMetaType::QByteArray)
        return;
    // Undecodable data reads as no history; it stays stored until the next sample replaces it.
    m_samples = decode(stored->toByteArray()).value_or(std::vector<Sample>{});
    emit samplesChanged();
}

void DiskForecast::recordSample(qint64 usedBytes, qint64 totalBytes)
{
    const Sample sample{m_clock(), usedBytes, totalBytes};
    if (!m_samples.empty()) {
        const Sample &last = m_samples.back();
        const qint64 apart = last.timestamp.msecsTo(sample.timestamp);
        const qint64 moved = std::abs(usedBytes - last.usedBytes);
        if (apart < minimumSecondsApart * 1000 && moved < minimumBytesMoved)
            return;
    }
    m_samples.push_back(sample);
    if (m_samples.size() > static_cast<std::size_t>(maxSamples))
        m_samples.erase(m_samples.begin(), m_samples.end() - maxSamples);
    emit samplesChanged();
    persist();
}

void DiskForecast::persist()
{
    m_defaults.set(QString::fromLatin1(keys::forecastSamples), encode(m_samples));
}

std::optional<double> DiskForecast::slope() const
{
    const std::size_t first = m_samples.size() > 10 ? m_samples.size() - 10 : 0;
    const auto n = static_cast<double>(m_samples.size() - first);
    if (m_samples.size() - first < 2)
        return std::nullopt;
    const QDateTime &origin = m_samples[first].timestamp;
    double sumX = 0, sumY = 0, sumXY = 0, sumXX = 0;
    for (std::size_t i = first; i < m_samples.size(); ++i) {
        const double x = static_cast<double>(origin.msecsTo(m_samples[i].timestamp)) / 1000.0 / 86400.0;
        const auto y = static_cast<double>(m_samples[i].usedBytes);
        sumX += x;
        sumY += y;
        sumXY += x * y;
        sumXX += x * x;
    }
    const double denominator = sumXX * n - sumX * sumX;
    if (!(denominator > 0))
        return std::nullopt;
    return (sumXY * n - sumX * sumY) / denominator;
}

std::optional<double> DiskForecast::daysUntilFull(double fraction) const
{
    if (m_samples.size() < 2)
        return std::nullopt;
    const Sample &last = m_samples.back();
    const auto used = static_cast<double>(last.usedBytes);
    const double target = static_cast<double>(last.totalBytes) * fraction;
    if (!(target > used))
        return 0.0;
    const auto rate = slope();
    if (!rate || !(*rate > 0))
        return std::nullopt;
    return (target - used) / *rate;
}

std::optional<qint64> DiskForecast::growthBytesPerDay() const
{
    if (m_samples.size() < 2)
        return std::nullopt;
    const auto rate = slope();
    if (!rate)
        return std::nullopt;
    return static_cast<qint64>(std::trunc(*rate));
}

} // namespace tessoly
