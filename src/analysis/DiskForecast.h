#pragma once

#include <QDateTime>
#include <QObject>
#include <functional>
#include <optional>
#include <vector>

namespace tessoly {
namespace platform {
class DefaultsStore;
}

// A short history of how full the home volume has been, extrapolated by a
// least-squares line: days until a fill level, and growth per day. Smart
// Scan records one sample per scan; at most 30 are kept across runs.
class DiskForecast : public QObject {
    Q_OBJECT
    Q_PROPERTY(int sampleCount READ sampleCount NOTIFY samplesChanged)

public:
    struct Sample {
        QDateTime timestamp;
        qint64 usedBytes = 0;
        qint64 totalBytes = 0;
        friend bool operator==(const Sample &, const Sample &) = default;
    };
    using Clock = std::function<QDateTime()>;

    static constexpr int maxSamples = 30;
    static constexpr qint64 minimumSecondsApart = 21600;     // 6 hours
    static constexpr qint64 minimumBytesMoved = 536870912;   // 512 MiB

    explicit DiskForecast(platform::DefaultsStore &defaults, Clock clock = {}, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<Sample> &samples() const { return m_samples; }
    [[nodiscard]] int sampleCount() const { return static_cast<int>(m_samples.size()); }

    void load();
    void recordSample(qint64 usedBytes, qint64 totalBytes);
    [[nodiscard]] std::optional<double> daysUntilFull(double fraction) const;
    [[nodiscard]] std::optional<qint64> growthBytesPerDay() const;

    // The stored form: a JSON array, timestamps in seconds since 2001-01-01 UTC.
    [[nodiscard]] static QByteArray encode(const std::vector<Sample> &samples);
    [[nodiscard]] static std::optional<std::vector<Sample>> decode(const QByteArray &data);

signals:
    void samplesChanged();

private:
    // The fitted slope in bytes per day, when the window has spread in time.
    [[nodiscard]] std::optional<double> slope() const;
    void persist();

    platform::DefaultsStore &m_defaults;
    Clock m_clock;
    std::vector<Sample> m_samples;
};

} // namespace tessoly
