#pragma once

#include <QByteArray>
#include <QStringList>
#include <QCoro/QCoroTask>
#include <filesystem>

namespace tessoly::platform {

// What a child process left behind. Callers judge by the output; the exit
// status is there for diagnostics only.
struct ProcessOutput {
    bool started = false;
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;
};

class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;
    // Runs program with an argument vector (never through a shell), waits
    // for it to exit, then returns its output.
    [[nodiscard]] virtual QCoro::Task<ProcessOutput> run(std::filesystem::path program, QStringList arguments) = 0;
};

} // namespace tessoly::platform
