#include "analysis/SearchIndex.h"

#include "platform/PathText.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tessoly {
namespace {

constexpr unsigned char foldAscii(unsigned char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 32) : c;
}

bool isAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Does text at position hold query (already lower case), ignoring ASCII case?
bool equalsFolded(const char *text, std::string_view query)
{
    for (std::size_t i = 0; i < query.size(); ++i)
        if (foldAscii(static_cast<unsigned char>(text[i])) != static_cast<unsigned char>(query[i]))
            return false;
    return true;
}

} // namespace

// ---- Building ----

std::uint32_t SearchIndex::Builder::addFolder(std::string_view path)
{
    m_folderStart.push_back(static_cast<std::uint32_t>(m_folderText.size()));
    m_folderText.append(path);
    return static_cast<std::uint32_t>(m_folderStart.size() - 1);
}

void SearchIndex::Builder::addFile(std::uint32_t folder, std::string_view name, qint64 bytes,
                                   std::optional<qint64> modifiedSeconds)
{
    std::uint32_t modified = kNoTime;
    if (modifiedSeconds && *modifiedSeconds >= 0 && *modifiedSeconds < qint64(kNoTime))
        modified = static_cast<std::uint32_t>(*modifiedSeconds);
    m_files.push_back(File{bytes, modified, folder, static_cast<std::uint32_t>(m_names.size()),
                           static_cast<std::uint32_t>(name.size())});
    m_names.append(name);
}

void SearchIndex::Builder::absorb(Builder &&other)
{
    if (m_files.empty() && m_folderStart.empty()) {
        *this = std::move(other);
        other = Builder();
        return;
    }
    const auto folderBase = static_cast<std::uint32_t>(m_folderStart.size());
    const auto folderTextBase = static_cast<std::uint32_t>(m_folderText.size());
    const auto nameBase = static_cast<std::uint32_t>(m_names.size());
    for (std::uint32_t start : other.m_folderStart)
        m_folderStart.push_back(start + folderTextBase);
    m_folderText.append(other.m_folderText);
    m_names.append(other.m_names);
    m_files.reserve(m_files.size() + other.m_files.size());
    for (File file : other.m_files) {
        file.folder += folderBase;
        file.nameStart += nameBase;
        m_files.push_back(file);
    }
    other = Builder();
}

SearchIndex SearchIndex::Builder::finish() &&
{
    std::vector<std::uint32_t> order(m_files.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(),
                     [this](std::uint32_t a, std::uint32_t b) { return m_files[a].bytes > m_files[b].bytes; });
    SearchIndex index;
    const std::size_t count = m_files.size();
    index.m_bytes.reserve(count);
    index.m_modified.reserve(count);
    index.m_folder.reserve(count);
    index.m_nameStart.reserve(count + 1);
    index.m_names.reserve(m_names.size());
    for (std::uint32_t at : order) {
        const File &file = m_files[at];
        const std::string_view name(m_names.data() + file.nameStart, file.nameLength);
        const Entry entry = static_cast<Entry>(index.m_bytes.size());
        index.m_bytes.push_back(file.bytes);
        index.m_modified.push_back(file.modified);
        const bool ascii = isAscii(name);
        index.m_folder.push_back(file.folder | (ascii ? 0u : kNotAscii));
        if (!ascii)
            index.m_notAscii.push_back(entry);
        index.m_nameStart.push_back(static_cast<std::uint32_t>(index.m_names.size()));
        index.m_names.append(name);
    }
    index.m_nameStart.push_back(static_cast<std::uint32_t>(index.m_names.size()));
    m_files = {};
    m_names = {};
    index.m_notAscii.shrink_to_fit();
    index.m_folderText = std::move(m_folderText);
    index.m_folderText.shrink_to_fit();
    index.m_folderStart = std::move(m_folderStart);
    index.m_folderStart.push_back(static_cast<std::uint32_t>(index.m_folderText.size()));
    index.m_folderStart.shrink_to_fit();
    return index;
}

// ---- Reading ----

std::optional<QDateTime> SearchIndex::modifiedAt(Entry entry) const
{
    if (m_modified[entry] == kNoTime)
        return std::nullopt;
    return QDateTime::fromSecsSinceEpoch(m_modified[entry]);
}

std::string_view SearchIndex::rawName(Entry entry) const
{
    return std::string_view(m_names).substr(m_nameStart[entry], nameEnd(entry) - m_nameStart[entry]);
}

std::string_view SearchIndex::rawFolder(Entry entry) const
{
    const std::uint32_t folder = m_folder[entry] & ~kNotAscii;
    return std::string_view(m_folderText).substr(m_folderStart[folder], m_folderStart[folder + 1] - m_folderStart[folder]);
}

std::filesystem::path SearchIndex::path(Entry entry) const
{
    return std::filesystem::path(rawFolder(entry)) / rawName(entry);
}

std::size_t SearchIndex::memoryBytes() const
{
    return m_bytes.capacity() * sizeof(qint64) + m_modified.capacity() * 4 + m_folder.capacity() * 4
        + m_nameStart.capacity() * 4 + m_names.capacity() + m_notAscii.capacity() * 4 + m_folderText.capacity()
        + m_folderStart.capacity() * 4;
}

// ---- Searching ----

bool SearchIndex::matchesUnicode(Entry entry, const QString &query) const
{
    return displayPath(std::filesystem::path(rawName(entry))).toLower().contains(query);
}

// Finds the entries before end whose plain-ASCII names hold the query
// (lower-case ASCII), in order, until found returns false. The names are
// searched as one block, 16 bytes at a time for the query's first two
// characters; a match that runs across two names doesn't count.
void SearchIndex::searchAscii(std::string_view query, Entry end, const std::function<bool(Entry)> &found) const
{
    const std::size_t limit = m_nameStart[end];
    const char *names = m_names.data();
    const std::size_t length = query.size();
    if (length == 0 || limit < length)
        return;
    const std::size_t last = limit - length; // the last position a match can start at
    const auto first = static_cast<unsigned char>(query[0]);
    const auto second = static_cast<unsigned char>(length > 1 ? query[1] : 0);
    // A lower-case letter also matches its capital: set bit 5 of each byte, then compare.
    const bool firstLetter = first >= 'a' && first <= 'z', secondLetter = second >= 'a' && second <= 'z';
    Entry entry = 0;
    // Checks a candidate position; returns where to go on from, or limit to stop.
    auto check = [&](std::size_t at) -> std::size_t {
        if (!equalsFolded(names + at, query))
            return at + 1;
        while (m_nameStart[entry + 1] <= at)
            ++entry;
        if (at + length > m_nameStart[entry + 1] || (m_folder[entry] & kNotAscii) != 0)
            return at + 1; // across two names, or a name the Unicode pass judges
        if (!found(entry))
            return limit;
        return m_nameStart[entry + 1]; // on to the next name
    };
    std::size_t at = 0;
#if defined(__SSE2__)
    const __m128i wantFirst = _mm_set1_epi8(static_cast<char>(first));
    const __m128i wantSecond = _mm_set1_epi8(static_cast<char>(second));
    const __m128i foldFirst = _mm_set1_epi8(firstLetter ? 0x20 : 0);
    const __m128i foldSecond = _mm_set1_epi8(secondLetter ? 0x20 : 0);
    while (at + 17 <= limit && at <= last) {
        const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i *>(names + at));
        int mask = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_or_si128(here, foldFirst), wantFirst));
        if (length > 1) {
            const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i *>(names + at + 1));
            mask &= _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_or_si128(next, foldSecond), wantSecond));
        }
        std::size_t resume = at + 16;
        while (mask != 0) {
            const std::size_t candidate = at + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
            mask &= mask - 1;
            if (candidate > last)
                break;
            const std::size_t next = check(candidate);
            if (next >= limit)
                return;
            if (next > candidate + 1) { // a whole name was taken: go on past it
                resume = next;
                break;
            }
        }
        at = resume;
    }
#endif
    while (at <= last) {
        const auto c = static_cast<unsigned char>(names[at]);
        if ((firstLetter ? (c | 0x20) : c) != first) {
            ++at;
            continue;
        }
        at = check(at);
    }
}

std::vector<SearchIndex::Entry> SearchIndex::search(const QString &query, double minMB, int limit) const
{
    std::vector<Entry> results;
    if (limit <= 0)
        return results;
    const QString folded = query.toLower().trimmed();
    const double minBytes = std::isfinite(minMB) && minMB > 0 ? std::trunc(minMB * 1024 * 1024) : 0;
    // Files are biggest first: those big enough are a prefix.
    const Entry end = static_cast<Entry>(
        std::partition_point(m_bytes.begin(), m_bytes.end(), [minBytes](qint64 b) { return double(b) >= minBytes; })
        - m_bytes.begin());
    const auto wanted = static_cast<std::size_t>(limit);
    if (folded.isEmpty()) {
        for (Entry entry = 0; entry < end && results.size() < wanted; ++entry)
            results.push_back(entry);
        return results;
    }
    const QByteArray utf8 = folded.toUtf8();
    const std::string_view text(utf8.constData(), static_cast<std::size_t>(utf8.size()));
    // Names with other than ASCII are judged on their Unicode lower case, and
    // merged in order with the ASCII names' matches.
    auto nonAscii = m_notAscii.begin();
    auto takeNonAsciiBefore = [&](Entry before) {
        for (; nonAscii != m_notAscii.end() && *nonAscii < before && results.size() < wanted; ++nonAscii)
            if (matchesUnicode(*nonAscii, folded))
                results.push_back(*nonAscii);
        return results.size() < wanted;
    };
    if (isAscii(text)) {
        searchAscii(text, end, [&](Entry entry) {
            if (!takeNonAsciiBefore(entry))
                return false;
            results.push_back(entry);
            return results.size() < wanted;
        });
    }
    (void)takeNonAsciiBefore(end);
    return results;
}

} // namespace tessoly
