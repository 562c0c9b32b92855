#pragma once

#include <QString>
#include <array>
#include <filesystem>
#include <optional>
#include <unordered_map>

namespace tessoly {

using Sha256Digest = std::array<unsigned char, 32>;

// The SHA-256 of a whole file, read 1 MiB at a time; none when the file
// can't be opened or a read fails.
[[nodiscard]] std::optional<Sha256Digest> sha256OfFile(const std::filesystem::path &file);
// 64 lower-case hexadecimal digits.
[[nodiscard]] QString hexDigest(const Sha256Digest &digest);

// What the file system says about one file: while all of it stays the same,
// so does the file's content.
struct FileIdentity {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 modifiedNanoseconds = 0;
    qint64 changedNanoseconds = 0;
    friend bool operator==(const FileIdentity &, const FileIdentity &) = default;
};

// The identity of the regular file at a path now (never following a link),
// as a walk reports it; none for anything else.
[[nodiscard]] std::optional<FileIdentity> fileIdentity(const std::filesystem::path &path);

struct FileIdentityHash {
    std::size_t operator()(const FileIdentity &id) const noexcept;
};

// Digests of files already hashed, kept in a small file between scans so
// that an unchanged file is never read twice. The file is only a cache: one
// that is missing, damaged or of another version reads as empty, and each
// save replaces it whole with the entries of the latest scan.
class ContentHashCache {
public:
    explicit ContentHashCache(std::filesystem::path file);

    [[nodiscard]] const std::filesystem::path &file() const { return m_file; }
    void load();
    // Safe from several threads at once as long as nothing is remembered meanwhile.
    [[nodiscard]] std::optional<Sha256Digest> find(const FileIdentity &identity) const;
    [[nodiscard]] std::size_t size() const { return m_entries.size(); }
    // The entries to save: those of this scan, found or newly hashed.
    void keep(const FileIdentity &identity, const Sha256Digest &digest);
    // Empty when saved, else why not in words.
    [[nodiscard]] QString save() const;

private:
    std::filesystem::path m_file;
    std::unordered_map<FileIdentity, Sha256Digest, FileIdentityHash> m_entries;
    std::unordered_map<FileIdentity, Sha256Digest, FileIdentityHash> m_kept;
};

} // namespace tessoly
