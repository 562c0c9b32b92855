#pragma once

#include <QDateTime>
#include <QString>
#include <optional>
#include <vector>

namespace tessoly {

// What Docker could give back, as its own command line says.
struct DockerStatus {
    // NotResponding: the daemon didn't answer within the time limit (a hang).
    enum class State { Ready, NotInstalled, NotRunning, NotResponding };
    State state = State::NotInstalled;
    qint64 reclaimableBytes = 0; // Ready
    friend bool operator==(const DockerStatus &, const DockerStatus &) = default;
};

// One installed simulator runtime, as the simulator tool lists it.
struct SimRuntime {
    QString id;   // "identifier": what the delete command takes
    QString name; // display name made from "runtimeIdentifier" ("iOS 17.2")
    qint64 bytes = 0;
    std::optional<QDateTime> lastUsedAt{};
    bool deletable = true;
    QString state = QStringLiteral("Unknown");
    friend bool operator==(const SimRuntime &, const SimRuntime &) = default;
};

// Readers of the developer tools' outputs. Nothing here runs a tool: each
// takes the text a tool printed and never fails, reading what it can.
namespace devtools {

// "1.2GB (50%)" -> 1200000000; decimal units B, KB, MB, GB, TB; anything else 0.
// Every size read from a tool lies in [0, INT64_MAX]: a bigger one reads as INT64_MAX.
[[nodiscard]] qint64 parseSize(const QString &text);
// The status from `docker system df --format {{json .}}` (one JSON object a
// line, "Reclaimable" summed); empty output or words of a failing daemon
// mean it isn't running.
[[nodiscard]] DockerStatus dockerStatusFromDiskUsage(const QString &output);
// The last "Total reclaimed space:" of `docker system prune -af`, or 0.
[[nodiscard]] qint64 reclaimedByPrune(const QString &output);
// "com.apple.CoreSimulator.SimRuntime.iOS-17-2" -> "iOS 17.2".
[[nodiscard]] QString runtimeDisplayName(const QString &runtimeIdentifier);
// `simctl runtime list -j`: entries with a size and both identifiers, biggest first.
[[nodiscard]] std::vector<SimRuntime> parseRuntimes(const QString &json);
// `simctl list devices -j`: how many devices are not available.
[[nodiscard]] int countUnavailableDevices(const QString &json);

} // namespace devtools
} // namespace tessoly
