#pragma once

#include <QByteArray>
#include <QStringList>
#include <QCoro/QCoroTask>
#include <chrono>
#include <filesystem>
#include <optional>

namespace tessoly::platform {

// What a child process left behind. Callers judge by the output; the exit
// status is there for diagnostics only.
struct ProcessOutput {
    bool started = false;
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;
    bool timedOut = false; // killed at the time limit; the output is what it wrote until then
};

class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;
    // Runs program with an argument vector (never through a shell), waits
    // for it to exit, then returns its output.
    [[nodiscard]] QCoro::Task<ProcessOutput> run(std::filesystem::path program, QStringList arguments)
    {
        return run(std::move(program), std::move(arguments), std::nullopt);
    }
    // The same, killing the program when it hasn't exited within the limit.
    [[nodiscard]] virtual QCoro::Task<ProcessOutput> run(std::filesystem::path program, QStringList arguments,
                                                         std::optional<std::chrono::milliseconds> timeLimit) = 0;
};

} // namespace tessoly::platform
