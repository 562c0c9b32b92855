#pragma once

#include <QDateTime>
#include <QString>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessoly {

// A compact, in-memory list of files for searching by name and size. Names
// live in one block of text and folders in a table of their own, so a file
// costs about 20 bytes plus its name. Files are kept biggest first, which
// makes every search one pass that stops at its limit.
class SearchIndex {
public:
    using Entry = std::uint32_t; // a file's place in the index

    // Collects files, then turns them into an index.
    class Builder {
    public:
        // A folder, before the files in it; returns its number.
        std::uint32_t addFolder(std::string_view path);
        // modifiedSeconds since 1970; none when the file has no known time.
        void addFile(std::uint32_t folder, std::string_view name, qint64 bytes, std::optional<qint64> modifiedSeconds);
        [[nodiscard]] std::size_t size() const { return m_files.size(); }
        // Takes over another builder's folders and files (one built on another thread).
        void absorb(Builder &&other);
        [[nodiscard]] SearchIndex finish() &&;

    private:
        friend class SearchIndex;
        struct File {
            qint64 bytes;
            std::uint32_t modified;
            std::uint32_t folder;
            std::uint32_t nameStart;
            std::uint32_t nameLength;
        };
        std::vector<File> m_files;
        std::string m_names;
        std::string m_folderText;
        std::vector<std::uint32_t> m_folderStart;
    };

    [[nodiscard]] std::size_t size() const { return m_bytes.size(); }
    [[nodiscard]] bool empty() const { return m_bytes.empty(); }
    [[nodiscard]] qint64 bytes(Entry entry) const { return m_bytes[entry]; }
    [[nodiscard]] std::optional<QDateTime> modifiedAt(Entry entry) const;
    [[nodiscard]] std::string_view rawName(Entry entry) const;
    [[nodiscard]] std::string_view rawFolder(Entry entry) const;
    [[nodiscard]] std::filesystem::path path(Entry entry) const;

    // The files of at least minMB mebibytes whose name, in lower case,
    // contains the query (trimmed, in lower case; blank matches all),
    // biggest first, at most limit of them.
    [[nodiscard]] std::vector<Entry> search(const QString &query, double minMB, int limit) const;

    // Heap bytes the index holds.
    [[nodiscard]] std::size_t memoryBytes() const;

private:
    static constexpr std::uint32_t kNoTime = 0xffffffffu;
    static constexpr std::uint32_t kNotAscii = 0x80000000u; // in m_folder: the name has non-ASCII bytes

    [[nodiscard]] std::size_t nameEnd(Entry entry) const { return m_nameStart[entry + 1]; }
    [[nodiscard]] bool matchesUnicode(Entry entry, const QString &query) const;
    void searchAscii(std::string_view query, Entry end, const std::function<bool(Entry)> &found) const;

    std::vector<qint64> m_bytes;             // biggest first
    std::vector<std::uint32_t> m_modified;   // seconds since 1970, or kNoTime
    std::vector<std::uint32_t> m_folder;     // folder number, with kNotAscii
    std::vector<std::uint32_t> m_nameStart;  // one more than there are files: a name ends where the next begins
    std::string m_names;                     // the names, in index order
    std::vector<Entry> m_notAscii;           // the files whose names aren't plain ASCII, in order
    std::string m_folderText;
    std::vector<std::uint32_t> m_folderStart; // one more than there are folders
};

} // namespace tessoly
