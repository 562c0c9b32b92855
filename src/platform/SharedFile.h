#pragma once

#include <QString>
#include <chrono>
#include <filesystem>

namespace tessoly::platform {

// An exclusive lock shared by every Tessoly process of the user on one of its
// files, taken on "<file>.lock" beside it with flock. Held for the object's
// life; the kernel lets go of it when the process ends, even by SIGKILL.
// Each change to a shared file re-reads the file inside the lock, changes it
// and replaces it atomically, so no process drops what another wrote.
class FileLock {
public:
    // Waits up to `patience` for other processes; creates the folder if needed.
    explicit FileLock(const std::filesystem::path &file,
                      std::chrono::milliseconds patience = std::chrono::seconds(10));
    ~FileLock();
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

    [[nodiscard]] bool held() const { return m_fd >= 0; }
    // Why the lock isn't held, in words.
    [[nodiscard]] const QString &error() const { return m_error; }

private:
    int m_fd = -1;
    QString m_error;
};

// Keeps the bytes of a file Tessoly can't use beside it, as
// "<file>.corrupt-<yyyyMMdd-HHmmss>" (with "-2", "-3", ... when taken), by a
// rename that never replaces anything. Returns the new path, or an empty path
// and the reason in `error`.
[[nodiscard]] std::filesystem::path keepAside(const std::filesystem::path &file, QString *error = nullptr);

} // namespace tessoly::platform
