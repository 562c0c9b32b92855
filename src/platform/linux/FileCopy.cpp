#include "platform/FileCopy.h"

#include "platform/PathText.h"
#include "platform/AtomicFile.h"
#include "platform/linux/DataExtents.h"

#include <algorithm>
#include <cstring>
#include <cerrno>
#include <initializer_list>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace tessoly::platform {
namespace fs = std::filesystem;

namespace {

class Fd {
public:
    explicit Fd(int fd = -1) : m_fd(fd) {}
    ~Fd() { reset(); }
    Fd(const Fd &) = delete;
    Fd &operator=(const Fd &) = delete;
    Fd(Fd &&other) noexcept : m_fd(other.m_fd) { other.m_fd = -1; }
    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] bool ok() const { return m_fd >= 0; }
    int release()
    {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }
    void reset()
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
    }

private:
    int m_fd;
};

struct CopyFailure {
    int error = 0;
    std::string relativePath;
};

class TreeCopier {
public:
    std::optional<CopyFailure> copyRoot(const fs::path &source, const fs::path &target)
    {
        Fd sourceParent(::open(source.parent_path().empty() ? "." : source.parent_path().c_str(),
                               O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        Fd targetParent(::open(target.parent_path().empty() ? "." : target.parent_path().c_str(),
                               O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!sourceParent.ok())
            return CopyFailure{errno, {}};
        if (!targetParent.ok())
            return CopyFailure{errno, {}};
        m_targetParent = targetParent.get();
        auto failure = copyEntry(sourceParent.get(), source.filename(), targetParent.get(), target.filename(),
                                 target.filename().string());
        if (failure)
            return failure;
        // The caller deletes the original next: the copy must be on the disk first.
        if (::syncfs(targetParent.get()) != 0)
            return CopyFailure{errno, {}};
        return std::nullopt;
    }

private:
    std::optional<CopyFailure> copyEntry(int sourceDir, const fs::path &name, int targetDir, const fs::path &targetName,
                                         const std::string &relative)
    {
        struct stat st{};
        if (::fstatat(sourceDir, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
            return CopyFailure{errno, relative};
        if (S_ISDIR(st.st_mode))
            return copyFolder(sourceDir, name, st, targetDir, targetName, relative);
        if (S_ISREG(st.st_mode))
            return copyFile(sourceDir, name, st, targetDir, targetName, relative);
        if (S_ISLNK(st.st_mode))
            return copySymlink(sourceDir, name, st, targetDir, targetName, relative);
        if (S_ISSOCK(st.st_mode))
            return std::nullopt; // a socket is a live endpoint, not data
        if (::mknodat(targetDir, targetName.c_str(), st.st_mode, st.st_rdev) != 0)
            return CopyFailure{errno, relative};
        keepOwnerAndTimes(targetDir, targetName, st);
        return std::nullopt;
    }

    static void keepOwnerAndTimes(int targetDir, const fs::path &targetName, const struct stat &st)
    {
        // Owners can only be given away by a privileged process; elsewhere the copy is the user's.
        (void)::fchownat(targetDir, targetName.c_str(), st.st_uid, st.st_gid, AT_SYMLINK_NOFOLLOW);
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        (void)::utimensat(targetDir, targetName.c_str(), times, AT_SYMLINK_NOFOLLOW);
    }

    std::optional<CopyFailure> copyFolder(int sourceDir, const fs::path &name, const struct stat &st, int targetDir,
                                          const fs::path &targetName, const std::string &relative)
    {
        Fd source(::openat(sourceDir, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!source.ok())
            return CopyFailure{errno, relative};
        if (::mkdirat(targetDir, targetName.c_str(), 0700) != 0)
            return CopyFailure{errno, relative};
        Fd target(::openat(targetDir, targetName.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!target.ok())
            return CopyFailure{errno, relative};
        std::vector<std::string> names;
        {
            DIR *listing = ::fdopendir(::dup(source.get()));
            if (listing == nullptr)
                return CopyFailure{errno, relative};
            errno = 0;
            while (const dirent *entry = ::readdir(listing)) {
                const std::string_view child(entry->d_name);
                if (child != "." && child != "..")
                    names.emplace_back(child);
            }
            const int listError = errno;
            ::closedir(listing);
            if (listError != 0)
                return CopyFailure{listError, relative};
        }
        for (const std::string &child : names) {
            if (auto failure = copyEntry(source.get(), child, target.get(), child, std::string(relative).append("/").append(child)))
                return failure;
        }
        copyAttributes(source.get(), target.get());
        (void)::fchown(target.get(), st.st_uid, st.st_gid);
        if (::fchmod(target.get(), st.st_mode & 07777) != 0)
            return CopyFailure{errno, relative};
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        (void)::futimens(target.get(), times);
        return std::nullopt;
    }

    // Extended attributes (and with them ACLs) where the target's file
    // system takes them; a file system without them, or an attribute only a
    // privileged process may set, drops them without failing the copy.
    static void copyAttributes(int source, int target)
    {
        ssize_t size = ::flistxattr(source, nullptr, 0);
        if (size <= 0)
            return;
        std::vector<char> names(static_cast<std::size_t>(size));
        size = ::flistxattr(source, names.data(), names.size());
        if (size <= 0)
            return;
        std::vector<char> value;
        for (const char *name = names.data(); name < names.data() + size; name += std::strlen(name) + 1) {
            const ssize_t length = ::fgetxattr(source, name, nullptr, 0);
            if (length < 0)
                continue;
            value.resize(static_cast<std::size_t>(length));
            const ssize_t got = ::fgetxattr(source, name, value.data(), value.size());
            if (got < 0)
                continue;
            (void)::fsetxattr(target, name, value.data(), static_cast<std::size_t>(got), 0);
        }
    }

    // Copies a file hole for hole: only its data ranges are written, and the
    // holes between them stay holes, so a disk image takes on the target what
    // it takes here. Returns 0 or errno.
    int copySparse(int source, int target, off_t size)
    {
        off_t offset = 0;
        while (offset < size) {
            off_t data = ::lseek(source, offset, SEEK_DATA);
            if (data < 0) {
                if (errno == ENXIO) // nothing but a hole is left
                    break;
                if (offset == 0 && (errno == EINVAL || errno == EOPNOTSUPP))
                    return copyData(source, target); // a file system that can't map its files
                return errno;
            }
            const off_t hole = ::lseek(source, data, SEEK_HOLE);
            if (hole < 0)
                return errno;
            if (const int error = copyRange(source, target, data, hole - data); error != 0)
                return error;
            offset = hole;
        }
        return ::ftruncate(target, size) == 0 ? 0 : errno;
    }

    // One range at the same offset in both files: in the kernel where it
    // can, otherwise through a buffer. Returns 0 or errno.
    int copyRange(int source, int target, off_t start, off_t length)
    {
        loff_t in = start;
        loff_t out = start;
        off_t left = length;
        if (m_mode == Mode::CopyFileRange) {
            while (left > 0) {
                const ssize_t copied = ::copy_file_range(source, &in, target, &out, static_cast<std::size_t>(left), 0);
                if (copied > 0) {
                    left -= copied;
                    continue;
                }
                if (copied == 0)
                    return EIO; // the file shrank under us
                if (errno == EINTR)
                    continue;
                if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
                    return errno;
                m_mode = Mode::SendFile; // the kernel won't copy between these two: do it by hand
                break;
            }
        }
        std::vector<char> buffer(static_cast<std::size_t>(std::min<off_t>(left, off_t{1} << 20)));
        while (left > 0) {
            const ssize_t got = ::pread(source, buffer.data(), static_cast<std::size_t>(std::min<off_t>(left, static_cast<off_t>(buffer.size()))), in);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return got == 0 ? EIO : errno;
            for (ssize_t written = 0; written < got;) {
                const ssize_t put = ::pwrite(target, buffer.data() + written, static_cast<std::size_t>(got - written), out);
                if (put < 0) {
                    if (errno == EINTR)
                        continue;
                    return errno;
                }
                written += put;
                out += put;
            }
            in += got;
            left -= got;
        }
        return 0;
    }

    std::optional<CopyFailure> copySymlink(int sourceDir, const fs::path &name, const struct stat &st, int targetDir,
                                           const fs::path &targetName, const std::string &relative)
    {
        std::vector<char> buffer(static_cast<std::size_t>(st.st_size > 0 ? st.st_size : 255) + 1);
        ssize_t length = 0;
        for (;;) {
            length = ::readlinkat(sourceDir, name.c_str(), buffer.data(), buffer.size());
            if (length < 0)
                return CopyFailure{errno, relative};
            if (static_cast<std::size_t>(length) < buffer.size())
                break;
            buffer.resize(buffer.size() * 2);
        }
        const std::string linkTarget(buffer.data(), static_cast<std::size_t>(length));
        if (::symlinkat(linkTarget.c_str(), targetDir, targetName.c_str()) != 0)
            return CopyFailure{errno, relative};
        keepOwnerAndTimes(targetDir, targetName, st);
        return std::nullopt;
    }

    std::optional<CopyFailure> copyFile(int sourceDir, const fs::path &name, const struct stat &st, int targetDir,
                                        const fs::path &targetName, const std::string &relative)
    {
        if (st.st_nlink > 1) {
            // A second name of a file already copied becomes a second name of the copy.
            const auto known = m_links.find({st.st_dev, st.st_ino});
            if (known != m_links.end()) {
                if (::linkat(m_targetParent, known->second.c_str(), targetDir, targetName.c_str(), 0) == 0)
                    return std::nullopt;
            }
        }
        Fd source(::openat(sourceDir, name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (!source.ok())
            return CopyFailure{errno, relative};
        Fd target(::openat(targetDir, targetName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!target.ok())
            return CopyFailure{errno, relative};
        const bool dense = isDenseFile(static_cast<qint64>(st.st_blocks) * 512, st.st_size, st.st_blksize);
        if (const int error = dense ? copyData(source.get(), target.get()) : copySparse(source.get(), target.get(), st.st_size);
            error != 0)
            return CopyFailure{error, relative};
        copyAttributes(source.get(), target.get());
        (void)::fchown(target.get(), st.st_uid, st.st_gid);
        if (::fchmod(target.get(), st.st_mode & 07777) != 0)
            return CopyFailure{errno, relative};
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        if (::futimens(target.get(), times) != 0)
            return CopyFailure{errno, relative};
        if (::close(target.release()) != 0)
            return CopyFailure{errno, relative};
        if (st.st_nlink > 1)
            m_links.emplace(std::pair{st.st_dev, st.st_ino}, relative);
        return std::nullopt;
    }

    // Runs one in-kernel copy call until the end of the source. Returns 0,
    // errno, or -1 when the call can't serve this pair of files and nothing
    // was written yet (the caller falls back to the next way).
    template <typename Call>
    static int copyInKernel(Call call, int target, std::initializer_list<int> unsupported)
    {
        for (;;) {
            const ssize_t copied = call();
            if (copied == 0)
                return 0;
            if (copied > 0 || errno == EINTR)
                continue;
            const int error = errno;
            if (std::find(unsupported.begin(), unsupported.end(), error) != unsupported.end()
                && ::lseek(target, 0, SEEK_CUR) == 0)
                return -1;
            return error;
        }
    }

    // Copies to the end of the source: in the kernel where it can, otherwise
    // through a buffer. Returns 0 or errno.
    int copyData(int source, int target)
    {
        constexpr std::size_t chunk = std::size_t{1} << 30;
        if (m_mode == Mode::CopyFileRange) {
            const int result = copyInKernel([&] { return ::copy_file_range(source, nullptr, target, nullptr, chunk, 0); },
                                            target, {EXDEV, EINVAL, ENOSYS, EOPNOTSUPP});
            if (result >= 0)
                return result;
            m_mode = Mode::SendFile; // another file system: the kernel won't do it here
        }
        if (m_mode == Mode::SendFile) {
            const int result =
                copyInKernel([&] { return ::sendfile(target, source, nullptr, chunk); }, target, {EINVAL, ENOSYS});
            if (result >= 0)
                return result;
            m_mode = Mode::Buffer;
        }
        std::vector<char> buffer(std::size_t{1} << 20);
        for (;;) {
            const ssize_t got = ::read(source, buffer.data(), buffer.size());
            if (got == 0)
                return 0;
            if (got < 0) {
                if (errno == EINTR)
                    continue;
                return errno;
            }
            for (ssize_t written = 0; written < got;) {
                const ssize_t put = ::write(target, buffer.data() + written, static_cast<std::size_t>(got - written));
                if (put < 0) {
                    if (errno == EINTR)
                        continue;
                    return errno;
                }
                written += put;
            }
        }
    }

    enum class Mode { CopyFileRange, SendFile, Buffer };
    Mode m_mode = Mode::CopyFileRange;
    int m_targetParent = -1;
    std::map<std::pair<dev_t, ino_t>, std::string> m_links; // source file -> its copy, relative to the target's parent
};

} // namespace

QString copyItem(const fs::path &source, const fs::path &target)
{
    TreeCopier copier;
    const std::optional<CopyFailure> failure = copier.copyRoot(source, target);
    if (!failure)
        return {};
    QString reason = errorText(failure->error);
    if (failure->relativePath.empty())
        return reason;
    const QString name = pathToText(fs::path(failure->relativePath).filename());
    return QStringLiteral("“%1” couldn't be copied: %2").arg(name.isEmpty() ? pathToText(failure->relativePath) : name, reason);
}

} // namespace tessoly::platform
