#include "platform/SharedFile.h"

#include "platform/AtomicFile.h"
#include "platform/PathText.h"

#include <QDateTime>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace tessoly::platform {
namespace fs = std::filesystem;

FileLock::FileLock(const fs::path &file, std::chrono::milliseconds patience)
{
    std::error_code ignored;
    fs::create_directories(file.parent_path(), ignored);
    const fs::path lockPath = file.native() + ".lock";
    m_fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (m_fd < 0) {
        m_error = QStringLiteral("Couldn't open the lock file %1: %2").arg(displayPath(lockPath), errorText(errno));
        return;
    }
    // Changes take milliseconds; a process that holds the lock far longer is
    // stopped or hung, and waiting for it must not freeze the window.
    const auto deadline = std::chrono::steady_clock::now() + patience;
    auto pause = std::chrono::milliseconds(1);
    for (;;) {
        if (::flock(m_fd, LOCK_EX | LOCK_NB) == 0)
            return;
        const int error = errno;
        if (error != EWOULDBLOCK && error != EINTR) {
            m_error = QStringLiteral("Couldn't lock %1: %2").arg(displayPath(file), errorText(error));
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            m_error = QStringLiteral("Another Tessoly process has held %1 for over %2 seconds")
                          .arg(displayPath(file))
                          .arg(std::chrono::duration_cast<std::chrono::seconds>(patience).count());
            break;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(50));
    }
    ::close(m_fd);
    m_fd = -1;
}

FileLock::~FileLock()
{
    if (m_fd >= 0)
        ::close(m_fd); // closing the last descriptor lets go of the lock
}

fs::path keepAside(const fs::path &file, QString *error)
{
    const std::string base = file.native() + ".corrupt-"
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")).toStdString();
    for (int n = 1; n < 1000; ++n) {
        const fs::path aside = n == 1 ? fs::path(base) : fs::path(base + "-" + std::to_string(n));
        if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0)
            return aside;
        if (errno == EEXIST)
            continue;
        if (errno == EINVAL) { // a file system without RENAME_NOREPLACE: look first
            if (::access(aside.c_str(), F_OK) == 0)
                continue;
            if (::rename(file.c_str(), aside.c_str()) == 0)
                return aside;
        }
        if (error != nullptr)
            *error = QStringLiteral("Couldn't keep %1 aside: %2").arg(displayPath(file), errorText(errno));
        return {};
    }
    if (error != nullptr)
        *error = QStringLiteral("Couldn't keep %1 aside: no free name").arg(displayPath(file));
    return {};
}

} // namespace tessoly::platform
