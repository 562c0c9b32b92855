#include "platform/FileWalker.h"

#include "platform/linux/DataExtents.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace tessoly::platform {
namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

// A file's data bytes (see WalkOptions::dataExtents): its blocks when it is
// dense, else its mapped data ranges; its blocks when it can't be opened.
qint64 dataExtentBytes(int folder, const char *name, const struct statx &st)
{
    const auto blocks = static_cast<qint64>(st.stx_blocks) * 512;
    const auto size = static_cast<qint64>(st.stx_size);
    if (isDenseFile(blocks, size, st.stx_blksize))
        return blocks;
    int fd = ::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOATIME);
    if (fd < 0 && errno == EPERM) // O_NOATIME is only for the file's owner
        fd = ::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return blocks;
    const qint64 mapped = mappedDataBytes(fd, size);
    ::close(fd);
    return mapped >= 0 ? mapped : blocks;
}

struct Job {
    std::string folder;
    std::size_t root;
    int depth;
};

// The shared queue of folders still to list, and the count of folders
// being listed right now; the walk ends when both are empty.
class JobQueue {
public:
    void push(std::vector<Job> &jobs)
    {
        if (jobs.empty())
            return;
        {
            const std::lock_guard lock(m_mutex);
            for (Job &job : jobs)
                m_jobs.push_back(std::move(job));
        }
        jobs.clear();
        m_ready.notify_all();
    }

    bool pop(Job &job)
    {
        std::unique_lock lock(m_mutex);
        m_ready.wait(lock, [&] { return !m_jobs.empty() || m_busy == 0; });
        if (m_jobs.empty())
            return false;
        job = std::move(m_jobs.back()); // depth first keeps the queue short
        m_jobs.pop_back();
        ++m_busy;
        return true;
    }

    void finished()
    {
        const std::lock_guard lock(m_mutex);
        if (--m_busy == 0 && m_jobs.empty())
            m_ready.notify_all();
    }

    void seed(std::vector<Job> jobs) { m_jobs = std::move(jobs); }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::vector<Job> m_jobs;
    int m_busy = 0;
};

struct Dirent64 {
    ino64_t d_ino;
    off64_t d_off;
    unsigned short d_reclen;
    unsigned char d_type;
    char d_name[];
};

qint64 nanoseconds(const struct statx_timestamp &time)
{
    return static_cast<qint64>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

class Worker {
public:
    Worker(const WalkOptions &options, JobQueue &queue, std::size_t roots)
        : m_options(options)
        , m_queue(queue)
        , m_totals(roots)
        , m_buffer(std::make_unique<char[]>(kBufferSize))
    {
    }

    void run()
    {
        Job job;
        while (m_queue.pop(job)) {
            list(job);
            m_queue.push(m_found);
            m_queue.finished();
        }
    }

    [[nodiscard]] const std::vector<WalkTotals> &totals() const { return m_totals; }

private:
    void list(const Job &job)
    {
        const int fd = ::open(job.folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0)
            return;
        WalkTotals &totals = m_totals[job.root];
        ++totals.folders;
        const unsigned mask = m_options.fileDetails || m_options.dataExtents
            ? (STATX_TYPE | STATX_BLOCKS | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_INO)
            : (STATX_TYPE | STATX_BLOCKS);
        for (;;) {
            const ssize_t got = ::getdents64(fd, m_buffer.get(), kBufferSize);
            if (got <= 0)
                break;
            for (ssize_t offset = 0; offset < got;) {
                const auto *entry = reinterpret_cast<const Dirent64 *>(m_buffer.get() + offset);
                offset += entry->d_reclen;
                const std::string_view name(entry->d_name);
                if (name == "." || name == "..")
                    continue;
                if (m_options.skipHidden && name.front() == '.')
                    continue;
                unsigned char type = entry->d_type;
                struct statx st{};
                bool haveStat = false;
                if (type == DT_UNKNOWN) {
                    if (::statx(fd, entry->d_name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC, mask, &st) != 0)
                        continue;
                    haveStat = true;
                    type = S_ISREG(st.stx_mode) ? DT_REG : S_ISDIR(st.stx_mode) ? DT_DIR : DT_LNK;
                }
                if (type == DT_REG) {
                    if (m_options.foldersOnly)
                        continue;
                    if (!haveStat
                        && ::statx(fd, entry->d_name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC, mask, &st) != 0)
                        continue;
                    if (!S_ISREG(st.stx_mode)) // replaced since it was listed
                        continue;
                    const auto bytes = m_options.dataExtents ? dataExtentBytes(fd, entry->d_name, st)
                                                             : static_cast<qint64>(st.stx_blocks) * 512;
                    totals.allocatedBytes += bytes;
                    ++totals.files;
                    if (m_options.onFile) {
                        m_options.onFile(WalkedFile{job.root, job.folder, name, bytes, static_cast<qint64>(st.stx_size),
                                                    static_cast<qint64>(st.stx_mtime.tv_sec),
                                                    (quint64(st.stx_dev_major) << 32) | st.stx_dev_minor, st.stx_ino,
                                                    nanoseconds(st.stx_mtime), nanoseconds(st.stx_ctime)});
                    }
                } else if (type == DT_DIR) {
                    if (m_options.maxDepth >= 0 && job.depth + 1 > m_options.maxDepth)
                        continue;
                    if (m_options.skipPackages && isPackageName(name))
                        continue;
                    std::string child = job.folder;
                    if (child.back() != '/')
                        child.push_back('/');
                    child.append(name);
                    if (m_options.skipDescendants && m_options.skipDescendants(child))
                        continue;
                    m_found.push_back(Job{std::move(child), job.root, job.depth + 1});
                }
            }
        }
        ::close(fd);
    }

    const WalkOptions &m_options;
    JobQueue &m_queue;
    std::vector<WalkTotals> m_totals;
    std::vector<Job> m_found;
    std::unique_ptr<char[]> m_buffer;
};

} // namespace

bool isPackageName(std::string_view name)
{
    static constexpr std::array<std::string_view, 12> extensions{
        ".app", ".bundle", ".framework", ".photoslibrary", ".fcpbundle", ".plugin",
        ".kext", ".xcodeproj", ".xcworkspace", ".musiclibrary", ".tvlibrary", ".imovielibrary"};
    return std::any_of(extensions.begin(), extensions.end(), [&](std::string_view extension) {
        return name.size() > extension.size() && name.ends_with(extension);
    });
}

std::vector<WalkTotals> walkTrees(const std::vector<fs::path> &roots, const WalkOptions &options)
{
    std::vector<WalkTotals> totals(roots.size());
    std::vector<Job> seeds;
    for (std::size_t i = 0; i < roots.size(); ++i) {
        struct statx st{};
        if (::statx(AT_FDCWD, roots[i].c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                    STATX_TYPE | STATX_BLOCKS | STATX_SIZE, &st) != 0)
            continue;
        if (S_ISREG(st.stx_mode)) {
            totals[i].allocatedBytes = options.dataExtents ? dataExtentBytes(AT_FDCWD, roots[i].c_str(), st)
                                                           : static_cast<qint64>(st.stx_blocks) * 512;
            totals[i].files = 1;
        } else if (S_ISDIR(st.stx_mode)) {
            if (!options.skipDescendants || !options.skipDescendants(roots[i].native()))
                seeds.push_back(Job{roots[i].native(), i, 0});
        }
    }
    if (seeds.empty())
        return totals;

    JobQueue queue;
    queue.seed(std::move(seeds));
    const unsigned count = options.threads > 0 ? options.threads : std::max(2u, std::thread::hardware_concurrency());
    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned i = 0; i < count; ++i)
        workers.push_back(std::make_unique<Worker>(options, queue, roots.size()));
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < count; ++i)
        threads.emplace_back(&Worker::run, workers[i].get());
    workers[0]->run(); // the calling thread works too
    for (std::thread &thread : threads)
        thread.join();

    for (const auto &worker : workers) {
        for (std::size_t i = 0; i < roots.size(); ++i) {
            totals[i].allocatedBytes += worker->totals()[i].allocatedBytes;
            totals[i].files += worker->totals()[i].files;
            totals[i].folders += worker->totals()[i].folders;
        }
    }
    return totals;
}

WalkTotals walkTree(const fs::path &root, const WalkOptions &options)
{
    return walkTrees({root}, options).front();
}

std::vector<fs::path> listVisibleEntries(const fs::path &folder)
{
    std::vector<fs::path> entries;
    DIR *dir = ::opendir(folder.c_str());
    if (dir == nullptr)
        return entries;
    while (const dirent *entry = ::readdir(dir)) {
        if (entry->d_name[0] == '.')
            continue;
        entries.push_back(folder / entry->d_name);
    }
    ::closedir(dir);
    return entries;
}

} // namespace tessoly::platform
