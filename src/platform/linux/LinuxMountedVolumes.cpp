#include "platform/linux/LinuxMountedVolumes.h"

#include "platform/PathText.h"

#include <QSocketNotifier>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/statvfs.h>
#include <unistd.h>

namespace tessoly::platform {
namespace fs = std::filesystem;

namespace {

// mountinfo escapes blanks, tabs, newlines and backslashes as \ooo.
std::string unescapeOctal(const std::string &field)
{
    std::string out;
    out.reserve(field.size());
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            const std::string digits = field.substr(i + 1, 3);
            if (digits.find_first_not_of("01234567") == std::string::npos) {
                out.push_back(static_cast<char>(std::stoi(digits, nullptr, 8)));
                i += 3;
                continue;
            }
        }
        out.push_back(field[i]);
    }
    return out;
}

bool hasOption(const std::string &options, const char *option)
{
    std::stringstream stream(options);
    std::string item;
    while (std::getline(stream, item, ','))
        if (item == option)
            return true;
    return false;
}

bool isUnder(const fs::path &path, const fs::path &root)
{
    return path == root || liesInside(path, root);
}

// File systems that hold no user data of their own, or belong to the system.
bool isPseudoFileSystem(const std::string &type)
{
    static const std::array<const char *, 32> pseudo{
        "proc",      "sysfs",     "tmpfs",    "devtmpfs",   "devpts",   "cgroup",      "cgroup2", "overlay",
        "securityfs", "debugfs",  "tracefs",  "pstore",     "bpf",      "mqueue",      "hugetlbfs", "configfs",
        "fusectl",   "autofs",    "binfmt_misc", "efivarfs", "ramfs",   "nsfs",        "squashfs", "rpc_pipefs",
        "nfsd",      "selinuxfs", "fuse.gvfsd-fuse", "fuse.portal", "fuse.lxcfs", "aufs", "shm", "none"};
    return std::any_of(pseudo.begin(), pseudo.end(), [&](const char *name) { return type == name; });
}

bool isNetworkFileSystem(const std::string &type)
{
    return type == "nfs" || type == "nfs4" || type == "cifs" || type == "smb3" || type == "fuse.sshfs" || type == "9p";
}

bool isSystemMountPoint(const fs::path &mountPoint)
{
    for (const char *root : {"/proc", "/sys", "/dev", "/boot", "/efi", "/snap", "/var/lib", "/var/snap"})
        if (isUnder(mountPoint, root))
            return true;
    return isUnder(mountPoint, "/run") && !isUnder(mountPoint, "/run/media");
}

std::string readFirstLine(const fs::path &file)
{
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

// A block device is removable when the kernel says so of the disk, or when it
// hangs off a USB bus.
bool isRemovableDevice(unsigned major, unsigned minor)
{
    const fs::path node = "/sys/dev/block/" + std::to_string(major) + ":" + std::to_string(minor);
    std::error_code error;
    const fs::path device = fs::canonical(node, error);
    if (error)
        return false;
    if (device.string().find("/usb") != std::string::npos)
        return true;
    for (const fs::path &candidate : {device / "removable", device.parent_path() / "removable"}) {
        if (fs::exists(candidate, error))
            return readFirstLine(candidate) == "1";
    }
    return false;
}

// "\x20" in udev's link names stands for a blank.
std::string decodeUdevName(const std::string &name)
{
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] == '\\' && i + 3 < name.size() && name[i + 1] == 'x') {
            out.push_back(static_cast<char>(std::stoi(name.substr(i + 2, 2), nullptr, 16)));
            i += 3;
        } else {
            out.push_back(name[i]);
        }
    }
    return out;
}

std::optional<std::string> labelFromUdev(const std::string &source)
{
    std::error_code error;
    const fs::path device = fs::canonical(source, error);
    if (error)
        return std::nullopt;
    for (const fs::directory_entry &link : fs::directory_iterator("/dev/disk/by-label", error)) {
        std::error_code linkError;
        if (fs::canonical(link.path(), linkError) == device && !linkError)
            return decodeUdevName(link.path().filename().string());
    }
    return std::nullopt;
}

// The volume name of an ext2/3/4 super block, where the device can be read.
std::optional<std::string> labelFromExtSuperBlock(const std::string &source)
{
    const int fd = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    std::array<unsigned char, 136> block{};
    const ssize_t got = ::pread(fd, block.data(), block.size(), 1024);
    ::close(fd);
    if (got != static_cast<ssize_t>(block.size()) || block[56] != 0x53 || block[57] != 0xEF)
        return std::nullopt;
    std::string label(reinterpret_cast<const char *>(block.data() + 120), 16);
    label.resize(std::strlen(label.c_str()));
    if (label.empty())
        return std::nullopt;
    return label;
}

// A block device mounted through FUSE says only "fuseblk": its boot sector
// tells the format (exFAT and NTFS name themselves at offset 3).
std::string probeFuseBlockFormat(const std::string &source)
{
    const int fd = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return "fuseblk";
    std::array<char, 11> sector{};
    const ssize_t got = ::pread(fd, sector.data(), sector.size(), 0);
    ::close(fd);
    if (got != static_cast<ssize_t>(sector.size()))
        return "fuseblk";
    const std::string_view name(sector.data() + 3, 8);
    if (name == "EXFAT   ")
        return "exfat";
    if (name == "NTFS    ")
        return "ntfs";
    return "fuseblk";
}

} // namespace

std::vector<MountEntry> parseMountInfo(const std::string &text)
{
    std::vector<MountEntry> entries;
    std::stringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::stringstream fields(line);
        std::vector<std::string> words;
        std::string word;
        while (fields >> word)
            words.push_back(word);
        // id parent major:minor root mountpoint options [optional...] - type source superoptions
        const auto separator = std::find(words.begin(), words.end(), "-");
        if (words.size() < 7 || separator == words.end() || separator - words.begin() < 6 || words.end() - separator < 3)
            continue;
        MountEntry entry;
        if (std::sscanf(words[2].c_str(), "%u:%u", &entry.major, &entry.minor) != 2)
            continue;
        entry.mountPoint = unescapeOctal(words[4]);
        entry.fileSystemType = unescapeOctal(*(separator + 1));
        entry.source = unescapeOctal(*(separator + 2));
        entry.options = words[5] + (separator + 3 != words.end() ? "," + *(separator + 3) : std::string());
        entries.push_back(std::move(entry));
    }
    return entries;
}

LinuxMountedVolumes::LinuxMountedVolumes(fs::path mountInfo, std::vector<fs::path> externalRoots, QObject *parent)
    : QObject(parent)
    , m_mountInfo(std::move(mountInfo))
    , m_externalRoots(std::move(externalRoots))
{
}

LinuxMountedVolumes::~LinuxMountedVolumes()
{
    delete m_notifier;
    if (m_watchFd >= 0)
        ::close(m_watchFd);
}

QString LinuxMountedVolumes::formatDescription(const std::string &type)
{
    static const std::array<std::pair<const char *, const char *>, 12> names{{
        {"vfat", "MS-DOS (FAT)"},
        {"msdos", "MS-DOS (FAT)"},
        {"exfat", "ExFAT"},
        {"ntfs", "NTFS"},
        {"ntfs3", "NTFS"},
        {"fuse.fusefat", "MS-DOS (FAT)"},
        {"apfs", "APFS"},
        {"hfsplus", "Mac OS Extended"},
        {"hfs", "Mac OS Extended"},
        {"cifs", "SMB (Windows file sharing)"},
        {"smb3", "SMB (Windows file sharing)"},
        {"iso9660", "ISO 9660"},
    }};
    for (const auto &[raw, description] : names)
        if (type == raw)
            return QString::fromUtf8(description);
    return QString::fromStdString(type);
}

namespace {

VolumeDescription describe(const MountEntry &entry, const std::vector<fs::path> &externalRoots)
{
    VolumeDescription volume;
    volume.mountPoint = entry.mountPoint;
    volume.isBrowsable = !isPseudoFileSystem(entry.fileSystemType) && !isSystemMountPoint(entry.mountPoint);
    volume.isReadOnly = hasOption(entry.options, "ro");
    const bool removable = entry.source.starts_with("/dev/") && isRemovableDevice(entry.major, entry.minor);
    const bool underExternalRoot = std::any_of(externalRoots.begin(), externalRoots.end(),
                                               [&](const fs::path &root) { return isUnder(entry.mountPoint, root); });
    volume.isRemovable = removable;
    volume.isInternal = entry.mountPoint == "/"
                        || !(removable || underExternalRoot || isNetworkFileSystem(entry.fileSystemType));
    const std::string type = entry.fileSystemType == "fuseblk" ? probeFuseBlockFormat(entry.source) : entry.fileSystemType;
    if (!type.empty() && type != "fuseblk")
        volume.formatDescription = LinuxMountedVolumes::formatDescription(type);
    std::optional<std::string> label;
    if (entry.source.starts_with("/dev/")) {
        label = labelFromUdev(entry.source);
        if (!label && entry.fileSystemType.starts_with("ext"))
            label = labelFromExtSuperBlock(entry.source);
    }
    if (label)
        volume.name = QString::fromUtf8(label->c_str());
    return volume;
}

std::vector<VolumeDescription> listVolumes(const fs::path &mountInfo, const std::vector<fs::path> &externalRoots)
{
    std::ifstream in(mountInfo);
    if (!in)
        return {};
    std::stringstream text;
    text << in.rdbuf();
    std::vector<MountEntry> entries = parseMountInfo(text.str());
    // A mount point mounted over again shows only the newest mount.
    std::vector<MountEntry> visible;
    for (MountEntry &entry : entries) {
        auto same = std::find_if(visible.begin(), visible.end(),
                                 [&](const MountEntry &other) { return other.mountPoint == entry.mountPoint; });
        if (same != visible.end())
            *same = std::move(entry);
        else
            visible.push_back(std::move(entry));
    }
    std::vector<VolumeDescription> volumes;
    for (const MountEntry &entry : visible) {
        VolumeDescription volume = describe(entry, externalRoots);
        if (!volume.isBrowsable.value_or(false))
            continue; // hidden volumes aren't asked about at all
        struct statvfs st{};
        if (::statvfs(entry.mountPoint.c_str(), &st) != 0)
            continue;
        const auto fragment = static_cast<qint64>(st.f_frsize);
        volume.totalCapacity = static_cast<qint64>(st.f_blocks) * fragment;
        volume.availableCapacity = static_cast<qint64>(st.f_bavail) * fragment;
        if ((st.f_flag & ST_RDONLY) != 0)
            volume.isReadOnly = true;
        volumes.push_back(std::move(volume));
    }
    return volumes;
}

} // namespace

MountedVolumes::Listing LinuxMountedVolumes::listing() const
{
    return [mountInfo = m_mountInfo, roots = m_externalRoots] { return listVolumes(mountInfo, roots); };
}

void LinuxMountedVolumes::watch(std::function<void()> onChange)
{
    m_listeners.push_back(std::move(onChange));
    if (m_notifier != nullptr)
        return;
    m_watchFd = ::open(m_mountInfo.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_watchFd < 0)
        return;
    m_notifier = new QSocketNotifier(static_cast<qintptr>(m_watchFd), QSocketNotifier::Exception);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        // Reading the table again re-arms the notification.
        std::array<char, 4096> buffer{};
        ::lseek(m_watchFd, 0, SEEK_SET);
        while (::read(m_watchFd, buffer.data(), buffer.size()) > 0) {
        }
        for (const auto &listener : m_listeners)
            listener();
    });
}

} // namespace tessoly::platform
