#include "platform/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly::platform {

QString errorText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

namespace {

bool writeAll(int fd, const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

// 0666 less the process's umask, read without changing it.
mode_t userDefaultMode()
{
    mode_t mask = 022;
    if (FILE *status = std::fopen("/proc/self/status", "re")) {
        char line[256];
        while (std::fgets(line, sizeof line, status) != nullptr) {
            unsigned value = 0;
            if (std::sscanf(line, "Umask: %o", &value) == 1) {
                mask = static_cast<mode_t>(value);
                break;
            }
        }
        std::fclose(status);
    }
    return 0666 & ~mask;
}

} // namespace

QString writeFileAtomically(const std::filesystem::path &target, const QByteArray &data, FileAccess access)
{
    const std::filesystem::path folder = target.parent_path();
    std::string tempName = (folder / ("." + target.filename().native() + ".XXXXXX")).native();
    const int fd = ::mkstemp(tempName.data());
    if (fd < 0)
        return QStringLiteral("Couldn't create a file in %1: %2").arg(QString::fromStdString(folder.native()), errorText(errno));

    const auto fail = [&](int error) {
        ::close(fd);
        ::unlink(tempName.c_str());
        return QStringLiteral("Couldn't write %1: %2").arg(QString::fromStdString(target.native()), errorText(error));
    };
    if (!writeAll(fd, data.constData(), static_cast<std::size_t>(data.size())))
        return fail(errno);
    if (access == FileAccess::UserDefault && ::fchmod(fd, userDefaultMode()) != 0)
        return fail(errno);
    if (::fsync(fd) != 0)
        return fail(errno);
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(tempName.c_str());
        return QStringLiteral("Couldn't write %1: %2").arg(QString::fromStdString(target.native()), errorText(error));
    }
    if (::rename(tempName.c_str(), target.c_str()) != 0) {
        const int error = errno;
        ::unlink(tempName.c_str());
        return QStringLiteral("Couldn't replace %1: %2").arg(QString::fromStdString(target.native()), errorText(error));
    }
    const int dirFd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    return {};
}

FileContents readWholeFile(const std::filesystem::path &path)
{
    FileContents result;
    // Opened without blocking and read only when it is a regular file: a pipe
    // or device in the file's place reads as unreadable instead of hanging.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        result.missing = errno == ENOENT;
        return result;
    }
    struct stat st{};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        result.folder = S_ISDIR(st.st_mode);
        ::close(fd);
        return result;
    }
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            ::close(fd);
            return result;
        }
        if (got == 0)
            break;
        result.data.append(buffer, got);
    }
    ::close(fd);
    result.ok = true;
    return result;
}

} // namespace tessoly::platform
