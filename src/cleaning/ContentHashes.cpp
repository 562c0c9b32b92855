#include "cleaning/ContentHashes.h"

#include "platform/AtomicFile.h"

#include <QByteArray>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly {
namespace fs = std::filesystem;
namespace {

constexpr std::size_t kChunk = 1048576;
constexpr char kMagic[8] = {'T', 'S', 'Y', 'H', 'A', 'S', 'H', '1'};
// device, inode, size, modified, changed: five 8-byte numbers, then the digest.
constexpr std::size_t kRecord = 5 * 8 + 32;

struct DigestContextFree {
    void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
};

struct FdCloser {
    int fd;
    ~FdCloser() { ::close(fd); }
};

void putNumber(QByteArray &out, quint64 value)
{
    char bytes[8];
    for (int i = 0; i < 8; ++i)
        bytes[i] = static_cast<char>((value >> (8 * i)) & 0xff);
    out.append(bytes, 8);
}

quint64 takeNumber(const char *in)
{
    quint64 value = 0;
    for (int i = 0; i < 8; ++i)
        value |= quint64(static_cast<unsigned char>(in[i])) << (8 * i);
    return value;
}

} // namespace

std::optional<Sha256Digest> sha256OfFile(const fs::path &file)
{
    // Without blocking: a pipe put in a file's place must not hang the scan.
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0)
        return std::nullopt;
    const FdCloser closer{fd};
    struct stat st{};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))
        return std::nullopt;
    ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    const std::unique_ptr<EVP_MD_CTX, DigestContextFree> context(EVP_MD_CTX_new());
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return std::nullopt;
    thread_local std::unique_ptr<unsigned char[]> buffer(new unsigned char[kChunk]);
    for (;;) {
        const ssize_t got = ::read(fd, buffer.get(), kChunk);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return std::nullopt;
        }
        if (got == 0)
            break;
        if (EVP_DigestUpdate(context.get(), buffer.get(), static_cast<std::size_t>(got)) != 1)
            return std::nullopt;
    }
    Sha256Digest digest{};
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1 || length != digest.size())
        return std::nullopt;
    return digest;
}

QString hexDigest(const Sha256Digest &digest)
{
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(digest.data()), digest.size()).toHex());
}

std::optional<FileIdentity> fileIdentity(const fs::path &path)
{
    struct statx st{};
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &st) != 0 || !S_ISREG(st.stx_mode))
        return std::nullopt;
    const auto ns = [](const statx_timestamp &t) { return qint64(t.tv_sec) * 1'000'000'000 + t.tv_nsec; };
    return FileIdentity{(quint64(st.stx_dev_major) << 32) | st.stx_dev_minor, st.stx_ino, qint64(st.stx_size),
                        ns(st.stx_mtime), ns(st.stx_ctime)};
}

std::size_t FileIdentityHash::operator()(const FileIdentity &id) const noexcept
{
    std::size_t seed = std::hash<quint64>()(id.inode);
    for (quint64 part : {id.device, quint64(id.size), quint64(id.modifiedNanoseconds), quint64(id.changedNanoseconds)})
        seed ^= std::hash<quint64>()(part) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
    return seed;
}

ContentHashCache::ContentHashCache(fs::path file)
    : m_file(std::move(file))
{
}

void ContentHashCache::load()
{
    m_entries.clear();
    const platform::FileContents contents = platform::readWholeFile(m_file);
    const QByteArray &data = contents.data;
    if (!contents.ok || data.size() < qsizetype(sizeof kMagic) || std::memcmp(data.constData(), kMagic, sizeof kMagic) != 0
        || (data.size() - qsizetype(sizeof kMagic)) % qsizetype(kRecord) != 0)
        return;
    for (qsizetype at = sizeof kMagic; at < data.size(); at += kRecord) {
        const char *record = data.constData() + at;
        const FileIdentity identity{takeNumber(record), takeNumber(record + 8), qint64(takeNumber(record + 16)),
                                    qint64(takeNumber(record + 24)), qint64(takeNumber(record + 32))};
        Sha256Digest digest{};
        std::memcpy(digest.data(), record + 40, digest.size());
        m_entries.emplace(identity, digest);
    }
}

std::optional<Sha256Digest> ContentHashCache::find(const FileIdentity &identity) const
{
    const auto it = m_entries.find(identity);
    if (it == m_entries.end())
        return std::nullopt;
    return it->second;
}

void ContentHashCache::keep(const FileIdentity &identity, const Sha256Digest &digest)
{
    m_kept.insert_or_assign(identity, digest);
}

QString ContentHashCache::save() const
{
    QByteArray data;
    data.reserve(qsizetype(sizeof kMagic + m_kept.size() * kRecord));
    data.append(kMagic, sizeof kMagic);
    for (const auto &[identity, digest] : m_kept) {
        putNumber(data, identity.device);
        putNumber(data, identity.inode);
        putNumber(data, quint64(identity.size));
        putNumber(data, quint64(identity.modifiedNanoseconds));
        putNumber(data, quint64(identity.changedNanoseconds));
        data.append(reinterpret_cast<const char *>(digest.data()), digest.size());
    }
    std::error_code error;
    fs::create_directories(m_file.parent_path(), error);
    return platform::writeFileAtomically(m_file, data);
}

} // namespace tessoly
