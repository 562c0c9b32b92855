#include "MovesSupport.h"
#include "core/DefaultsKeys.h"
#include "moves/SymlinkInventory.h"

#include <QCryptographicHash>
#include <algorithm>
#include <fcntl.h>
#include <map>
#include <sys/mount.h>
#include <sys/stat.h>

namespace tessoly::test {
namespace fs = std::filesystem;

namespace {

QString q(const fs::path &path)
{
    return QString::fromLocal8Bit(path.c_str());
}

fs::path makeTempFolder(const char *pattern)
{
    std::string name = (fs::temp_directory_path() / pattern).native();
    return ::mkdtemp(name.data());
}

// Raw name bytes with everything outside printable ASCII as \xNN.
std::string escaped(const std::string &bytes)
{
    static const char *hex = "0123456789abcdef";
    std::string out;
    for (const unsigned char c : bytes) {
        if (c >= 0x20 && c < 0x7f && c != '\\') {
            out.push_back(static_cast<char>(c));
        } else {
            out += "\\x";
            out.push_back(hex[c >> 4]);
            out.push_back(hex[c & 15]);
        }
    }
    return out;
}

} // namespace

ExternalRoot::ExternalRoot()
    : m_path(makeTempFolder("tessoly-drives-XXXXXX"))
{
}

ExternalRoot::~ExternalRoot()
{
    std::error_code ignored;
    // Never walk into something still mounted below: unmount leftovers first.
    for (const fs::directory_entry &entry : fs::directory_iterator(m_path, ignored))
        ::umount2(entry.path().c_str(), MNT_DETACH);
    fs::remove_all(m_path, ignored);
}

LoopDrive::LoopDrive(const fs::path &root, const std::string &name, const std::string &fileSystem, int megabytes,
    const std::string &label)
    : m_mountPoint(root / name)
    , m_fileSystem(fileSystem)
    , m_label(label)
{
    m_image = root / ("." + name + ".img");
    fs::create_directories(m_mountPoint);
    const ProcessRun made = runProcess("truncate", {"-s", QString::number(megabytes) + "M", q(m_image)});
    if (made.exitCode != 0) {
        m_error = "truncate failed: " + made.err.toStdString();
        return;
    }
    if (makeFileSystem())
        mount();
}

LoopDrive::~LoopDrive()
{
    if (m_mounted && !unmount())
        ::umount2(m_mountPoint.c_str(), MNT_DETACH);
    std::error_code ignored;
    fs::remove(m_image, ignored);
}

bool LoopDrive::makeFileSystem()
{
    const bool ext4 = m_fileSystem.starts_with("ext4");
    const QString program = ext4 ? QStringLiteral("mkfs.ext4") : "mkfs." + QString::fromStdString(m_fileSystem);
    QStringList arguments;
    // An inode per 4 KiB, so that a test can fill a drive with small files.
    if (ext4)
        arguments << "-q" << "-F" << "-b" << (m_fileSystem == "ext4" ? "4096" : "1024") << "-i" << "4096" << "-E"
                  << "lazy_itable_init=1,nodiscard";
    if (!m_label.empty())
        arguments << (m_fileSystem == "vfat" ? "-n" : "-L") << QString::fromStdString(m_label);
    const ProcessRun made = runProcess(program, arguments << q(m_image));
    if (made.exitCode != 0)
        m_error = program.toStdString() + " failed: " + made.err.toStdString();
    return made.exitCode == 0;
}

bool LoopDrive::mount(const std::string &options)
{
    QString all = "loop";
    if (!options.empty())
        all += "," + QString::fromStdString(options);
    const ProcessRun run
        = runProcess("mount", {"-o", all, "-t", QString::fromStdString(m_fileSystem == "ext4-1k" ? "ext4" : m_fileSystem),
                                q(m_image), q(m_mountPoint)});
    m_mounted = run.exitCode == 0;
    if (!m_mounted && options.empty() && (m_fileSystem == "exfat" || m_fileSystem == "vfat"))
        m_mounted = mountThroughFuse();
    if (!m_mounted)
        m_error = "mount failed: " + run.err.toStdString();
    return m_mounted;
}

// Kernels without FAT or exFAT drivers still mount them through FUSE, as a
// desktop does: exFAT on a loop device (it shows as "fuseblk"), FAT from the image.
bool LoopDrive::mountThroughFuse()
{
    if (m_fileSystem == "vfat")
        return runProcess("fusefat", {"-o", "rw+", q(m_image), q(m_mountPoint)}).exitCode == 0;
    const ProcessRun attached = runProcess("losetup", {"-f", "--show", q(m_image)});
    if (attached.exitCode != 0)
        return false;
    m_loopDevice = attached.out.trimmed().toStdString();
    if (runProcess("mount.exfat-fuse", {QString::fromStdString(m_loopDevice), q(m_mountPoint)}).exitCode == 0)
        return true;
    runProcess("losetup", {"-d", QString::fromStdString(m_loopDevice)});
    m_loopDevice.clear();
    return false;
}

bool LoopDrive::unmount()
{
    if (!m_mounted)
        return true;
    ProcessRun run = runProcess("umount", {q(m_mountPoint)});
    if (run.exitCode != 0)
        run = runProcess("umount", {"-l", q(m_mountPoint)});
    m_mounted = run.exitCode != 0;
    if (!m_mounted && !m_loopDevice.empty()) {
        runProcess("losetup", {"-d", QString::fromStdString(m_loopDevice)});
        m_loopDevice.clear();
    }
    return !m_mounted;
}

bool LoopDrive::remount(const std::string &options)
{
    return runProcess("mount", {"-o", "remount," + QString::fromStdString(options), q(m_mountPoint)}).exitCode == 0;
}

bool LoopDrive::reformat()
{
    return unmount() && makeFileSystem() && mount();
}

std::string treeSignature(const fs::path &root)
{
    std::string out;
    std::map<std::pair<dev_t, ino_t>, std::string> firstName;
    const std::function<void(const fs::path &, const std::string &)> visit = [&](const fs::path &path,
                                                                                 const std::string &relative) {
        struct stat st{};
        out += escaped(relative);
        if (::lstat(path.c_str(), &st) != 0) {
            out += " unreadable\n";
            return;
        }
        out += " mode=" + std::to_string(st.st_mode)
            + " mtime=" + std::to_string(qint64(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec);
        std::vector<std::string> names;
        std::error_code error;
        if (S_ISREG(st.st_mode)) {
            const std::string content = readFile(path);
            out += " size=" + std::to_string(st.st_size) + " read=" + std::to_string(content.size()) + " sha="
                + QCryptographicHash::hash(QByteArray::fromStdString(content), QCryptographicHash::Sha256).toHex().toStdString();
            if (st.st_nlink > 1) {
                const auto [it, fresh] = firstName.emplace(std::pair{st.st_dev, st.st_ino}, relative);
                out += " links=" + std::to_string(st.st_nlink) + (fresh ? std::string() : " same-as=" + escaped(it->second));
            }
        } else if (S_ISLNK(st.st_mode)) {
            out += " -> " + escaped(fs::read_symlink(path, error).native());
        } else if (S_ISDIR(st.st_mode)) {
            for (const fs::directory_entry &entry : fs::directory_iterator(path, error))
                names.push_back(entry.path().filename().native());
            out += error ? " unlistable" : "";
            std::sort(names.begin(), names.end());
        }
        out += "\n";
        for (const std::string &name : names)
            visit(path / name, relative == "." ? name : relative + "/" + name);
    };
    visit(root, ".");
    return out;
}

void setModified(const fs::path &path, qint64 secondsSinceEpoch, long nanoseconds)
{
    const struct timespec times[2] = {{secondsSinceEpoch, nanoseconds}, {secondsSinceEpoch, nanoseconds}};
    ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

GrantedDestinations::GrantedDestinations(const fs::path &defaultsFile, const fs::path &grantedFolder)
    : defaults(defaultsFile)
{
    fs::create_directories(grantedFolder);
    if (const std::optional<QByteArray> grant = makeGrant(grantedFolder)) {
        granted = defaults.set(keys::driveGrants,
                               QVariantMap{{QStringLiteral("granted"), *grant}});
    }
    store.reload();
}

MoveProgress MoveHome::move(const fs::path &source, const fs::path &storage, bool deleteImmediately)
{
    events.clear();
    runTask(mover.move(source, storage, deleteImmediately, [this](const MoveProgress &p) { events.push_back(p); }));
    return events.empty() ? MoveProgress{} : events.back();
}

std::optional<BringBackError> MoveHome::bringBackNewest(const fs::path &granted)
{
    GrantedDestinations destinations(home.defaultsFile(), granted);
    SymlinkInventory inventory(history, operations, destinations.store, home.path());
    inventory.refresh();
    if (inventory.records().empty())
        return BringBackError{BringBackError::Kind::ExternalMissing, QStringLiteral("no moved item is recorded")};
    return runTask(inventory.bringBack(inventory.records().front()));
}

bool isPendingName(const fs::path &path)
{
    const std::string name = path.filename().native();
    const auto at = name.rfind(".tessoly-pending.");
    return name.starts_with(".") && at != std::string::npos && name.size() == at + 17 + 8;
}

std::vector<fs::path> pendingEntries(const fs::path &folder)
{
    std::vector<fs::path> found;
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, error))
        if (entry.path().filename().native().find(".tessoly-pending.") != std::string::npos)
            found.push_back(entry.path());
    return found;
}

void buildRichTree(const fs::path &root)
{
    writeFile(root / "top.txt", "top level text\n");
    writeFile(root / "a/b/c/deep.bin", std::string(70000, '\x5a') + "tail");
    writeFile(root / "a/notes.md", "# notes\n");
    fs::create_directories(root / "empty");
    fs::create_directories(root / "a/b/empty-too");
    writeFile(root / "private.key", "secret");
    ::chmod((root / "private.key").c_str(), 0600);
    writeFile(root / "run.sh", "#!/bin/sh\necho hi\n");
    ::chmod((root / "run.sh").c_str(), 0755);
    writeFile(root / "frozen.txt", "read only");
    ::chmod((root / "frozen.txt").c_str(), 0444);
    writeFile(root / "caf\xe9", "latin-1 name");
    writeFile(root / "dir-\xff\xfe/inner", "under a non-UTF-8 folder");
    writeFile(root / "hard-one", "two names, one file");
    fs::create_hard_link(root / "hard-one", root / "a/hard-two");
    fs::create_symlink("b/c/deep.bin", root / "a/relative-link");
    fs::create_symlink("/etc/hostname", root / "absolute-link");
    fs::create_symlink("does/not/exist", root / "dangling-link");
    // Old times with nanoseconds, on files, links and folders (folders last).
    qint64 when = 1'500'000'000;
    for (const char *name : {"top.txt", "a/b/c/deep.bin", "a/notes.md", "private.key", "run.sh", "frozen.txt",
             "caf\xe9", "dir-\xff\xfe/inner", "hard-one", "a/relative-link", "absolute-link", "dangling-link"})
        setModified(root / name, when += 86'400, 123'456'789);
    for (const char *name : {"a/b/c", "a/b/empty-too", "a/b", "a", "empty", "dir-\xff\xfe", "."})
        setModified(root / name, when += 3'600, 987'654'321);
}

} // namespace tessoly::test
