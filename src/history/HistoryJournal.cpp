#include "history/HistoryJournal.h"

#include "history/HistoryJson.h"
#include "platform/FileWalker.h"
#include "platform/Trash.h"

#include <QUuid>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly {
namespace fs = std::filesystem;
namespace {

constexpr const char *kExtension = ".journal";

// One entry as one line: the log's own form without its line breaks (a JSON
// string never holds a raw one).
QByteArray line(char kind, const CleanupHistoryEntry &entry)
{
    QByteArray text = encodeHistory({entry});
    text.replace('\n', "");
    return kind + text + '\n';
}

bool writeAll(int fd, const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + done, std::size_t(bytes.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += n;
    }
    return true;
}

QByteArray readAll(int fd)
{
    QByteArray bytes;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return bytes;
        bytes.append(buffer, n);
    }
}

// The entry an interrupted operation's journal stands for; nullopt when it
// has no header. Items that reached the Trash by their noted place count,
// as do those noted as gone.
std::optional<CleanupHistoryEntry> entryOf(const QByteArray &journal, platform::Trash &trash)
{
    std::optional<CleanupHistoryEntry> header;
    std::vector<CleanupHistoryEntry::Item> went;
    std::vector<CleanupHistoryEntry::Item> noted;
    std::vector<CleanupHistoryEntry::Item> begun;
    for (const QByteArray &text : journal.split('\n')) {
        if (text.size() < 2)
            continue;
        const std::optional<std::vector<CleanupHistoryEntry>> decoded = decodeHistory(text.mid(1));
        if (!decoded || decoded->size() != 1)
            continue; // a line cut short by the kill
        const CleanupHistoryEntry &entry = decoded->front();
        if (text[0] == 'H' && !header)
            header = entry;
        else if (text[0] == 'B' && entry.items.size() == 1)
            begun.push_back(entry.items.front());
        else if (text[0] == 'I' && entry.items.size() == 1)
            noted.push_back(entry.items.front());
        else if (text[0] == 'D' && entry.items.size() == 1) {
            // A later note of the same item replaces the earlier one.
            const CleanupHistoryEntry::Item &item = entry.items.front();
            std::erase_if(
                went, [&](const CleanupHistoryEntry::Item &seen) { return seen.originalPath == item.originalPath; });
            went.push_back(item);
        }
    }
    if (!header)
        return std::nullopt;
    for (CleanupHistoryEntry::Item &item : noted) {
        if (!item.trashedPath)
            continue;
        const auto known = std::find_if(went.begin(), went.end(),
            [&](const CleanupHistoryEntry::Item &done) { return done.originalPath == item.originalPath; });
        if (known != went.end() && known->trashedPath)
            continue; // its own note says where it went
        struct stat st { };
        if (::lstat(item.trashedPath->c_str(), &st) != 0) {
            trash.forgetTrashedItem(*item.trashedPath); // its record was made, the move never happened
            continue;
        }
        if (known != went.end()) { // noted as gone, the kill came before its place was
            known->trashedPath = item.trashedPath;
            continue;
        }
        item.bytes = platform::walkTree(*item.trashedPath).allocatedBytes;
        went.push_back(std::move(item));
    }
    // Killed between the Trash's record and the note of where the item goes:
    // the record names nothing, and goes.
    for (const CleanupHistoryEntry::Item &start : begun) {
        const auto placed = [&](const CleanupHistoryEntry::Item &item) {
            return item.originalPath == start.originalPath && item.trashedPath;
        };
        if (std::none_of(noted.begin(), noted.end(), placed) && std::none_of(went.begin(), went.end(), placed))
            trash.dropRecordsWithoutItem(start.trashedPath.value_or(start.originalPath));
    }
    CleanupHistoryEntry entry = std::move(*header);
    entry.items = std::move(went);
    entry.bytesReclaimed = 0;
    for (const CleanupHistoryEntry::Item &item : entry.items)
        entry.bytesReclaimed += item.bytes;
    entry.summary += QStringLiteral(" (interrupted)");
    // Nothing of it is in the Trash (deleted outright): nothing to restore.
    if (std::none_of(entry.items.begin(), entry.items.end(),
            [](const CleanupHistoryEntry::Item &item) { return item.trashedPath.has_value(); }))
        entry.status = CleanupHistoryEntry::Status::Unrestorable;
    return entry;
}

} // namespace

fs::path HistoryJournal::folderFor(const fs::path &logFile)
{
    return logFile.parent_path() / "history-journal";
}

HistoryJournal::HistoryJournal(const fs::path &folder, const CleanupHistoryEntry &header)
    : m_header(header)
{
    m_header.items.clear();
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    const std::string name = header.id.toString(QUuid::WithoutBraces).toStdString();
    // Made, locked and headed under a name recovery ignores, then named:
    // recovery never meets a journal before its owner holds it.
    const fs::path temporary = folder / (".new-" + name);
    m_fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (m_fd < 0)
        return;
    m_file = folder / (name + kExtension);
    if (::flock(m_fd, LOCK_EX | LOCK_NB) != 0 || !writeAll(m_fd, line('H', m_header))
        || ::rename(temporary.c_str(), m_file.c_str()) != 0) {
        ::unlink(temporary.c_str());
        ::close(m_fd);
        m_fd = -1;
        m_file.clear();
    }
}

HistoryJournal::~HistoryJournal()
{
    if (m_fd >= 0)
        ::close(m_fd); // the journal stays: its entry isn't known to be in the log
}

void HistoryJournal::writeLine(char kind, const CleanupHistoryEntry &entry)
{
    if (m_fd >= 0)
        (void)writeAll(m_fd, line(kind, entry));
}

platform::Trash::BeforeMove HistoryJournal::beforeTrashing(const fs::path &original, const fs::path &from)
{
    CleanupHistoryEntry entry = m_header;
    CleanupHistoryEntry::Item item;
    item.originalPath = original;
    if (!from.empty())
        item.trashedPath = from; // a begin note's "trashed path" is where the item goes from
    entry.items.push_back(item);
    writeLine('B', entry);
    return [this, entry](const fs::path &trashed) mutable {
        entry.items.front().trashedPath = trashed;
        writeLine('I', entry);
    };
}

void HistoryJournal::went(const CleanupHistoryEntry::Item &item)
{
    CleanupHistoryEntry entry = m_header;
    entry.items.push_back(item);
    writeLine('D', entry);
}

void HistoryJournal::finish()
{
    if (m_fd < 0)
        return;
    ::unlink(m_file.c_str());
    ::close(m_fd);
    m_fd = -1;
}

void recoverJournals(
    const fs::path &folder, platform::Trash &trash, const std::function<bool(CleanupHistoryEntry)> &done)
{
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(folder, error)) {
        const bool unnamed = file.path().filename().native().starts_with(".new-");
        if (file.path().extension() != kExtension && !unnamed)
            continue;
        const int fd = ::open(file.path().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        if (fd < 0)
            continue;
        struct stat st { };
        // Held: its operation is still running.
        if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || ::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            ::close(fd);
            continue;
        }
        if (unnamed) { // its owner died before it held anything
            ::unlink(file.path().c_str());
            ::close(fd);
            continue;
        }
        const std::optional<CleanupHistoryEntry> entry = entryOf(readAll(fd), trash);
        if (!entry || entry->items.empty() || done(*entry))
            ::unlink(file.path().c_str());
        ::close(fd);
    }
}

} // namespace tessoly
