#include "moves/SymlinkInventory.h"

#include "history/CleanupHistoryStore.h"
#include "platform/PathText.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/MoveFileOperations.h"

#include <QCoroFuture>
#include <QtConcurrent>

namespace tessoly {
namespace fs = std::filesystem;

QString rawValue(SymlinkRecord::Status status)
{
    switch (status) {
    case SymlinkRecord::Status::Active:
        return QStringLiteral("active");
    case SymlinkRecord::Status::ExternalMissing:
        return QStringLiteral("externalMissing");
    case SymlinkRecord::Status::SymlinkMissing:
        return QStringLiteral("symlinkMissing");
    case SymlinkRecord::Status::Broken:
        return QStringLiteral("broken");
    }
    return {};
}

QString label(SymlinkRecord::Status status)
{
    switch (status) {
    case SymlinkRecord::Status::Active:
        return QStringLiteral("Active");
    case SymlinkRecord::Status::ExternalMissing:
        return QStringLiteral("Drive unplugged");
    case SymlinkRecord::Status::SymlinkMissing:
        return QStringLiteral("Symlink gone");
    case SymlinkRecord::Status::Broken:
        return QStringLiteral("Broken");
    }
    return {};
}

QString broughtBackMessage()
{
    return QStringLiteral(
        "Brought back. Original location is the real folder again — external copy moved to Trash as a safety net.");
}

SymlinkInventory::SymlinkInventory(CleanupHistoryStore &history, MoveFileOperations &operations,
                                   const ExternalDestinationStore &destinations, fs::path home, QObject *parent)
    : QObject(parent)
    , m_history(history)
    , m_operations(operations)
    , m_destinations(destinations)
    , m_home(std::move(home))
{
    connect(&m_history, &CleanupHistoryStore::entriesChanged, this, &SymlinkInventory::refresh);
}

const SymlinkRecord *SymlinkInventory::record(const QUuid &id) const
{
    for (const SymlinkRecord &record : m_records)
        if (record.id == id)
            return &record;
    return nullptr;
}

QVariantList SymlinkInventory::recordList() const
{
    QVariantList list;
    for (const SymlinkRecord &record : m_records) {
        list.append(QVariantMap{
            {QStringLiteral("id"), record.id.toString(QUuid::WithoutBraces).toUpper()},
            {QStringLiteral("originalPath"), pathToText(record.originalPath)},
            {QStringLiteral("externalPath"), pathToText(record.externalPath)},
            {QStringLiteral("name"), displayPath(record.originalPath.filename())},
            {QStringLiteral("originalDisplay"), displayPath(record.originalPath)},
            {QStringLiteral("externalDisplay"), displayPath(record.externalPath)},
            {QStringLiteral("bytes"), record.bytes},
            {QStringLiteral("movedAt"), record.movedAt},
            {QStringLiteral("status"), rawValue(record.status)},
            {QStringLiteral("statusLabel"), label(record.status)},
        });
    }
    return list;
}

qint64 SymlinkInventory::totalBytes() const
{
    qint64 total = 0;
    for (const SymlinkRecord &record : m_records)
        total += record.bytes;
    return total;
}

int SymlinkInventory::activeCount() const
{
    return static_cast<int>(std::count_if(m_records.begin(), m_records.end(), [](const SymlinkRecord &record) {
        return record.status == SymlinkRecord::Status::Active;
    }));
}

void SymlinkInventory::refresh()
{
    m_isRefreshing = true;
    emit isRefreshingChanged();
    std::vector<SymlinkRecord> records;
    for (const CleanupHistoryEntry &entry : m_history.entries()) {
        if (entry.kind != CleanupHistoryEntry::Kind::MoveToExternal)
            continue;
        for (const CleanupHistoryEntry::Item &item : entry.items) {
            if (!item.externalPath)
                continue;
            SymlinkRecord record;
            record.id = item.id;
            record.originalPath = item.originalPath;
            record.externalPath = *item.externalPath;
            record.bytes = item.bytes;
            record.movedAt = entry.timestamp;
            const bool linked = m_operations.isSymbolicLink(item.originalPath);
            const bool external = m_operations.fileExists(*item.externalPath);
            record.status = linked ? (external ? SymlinkRecord::Status::Active : SymlinkRecord::Status::ExternalMissing)
                                   : (external ? SymlinkRecord::Status::SymlinkMissing : SymlinkRecord::Status::Broken);
            records.push_back(std::move(record));
        }
    }
    std::stable_sort(records.begin(), records.end(),
                     [](const SymlinkRecord &a, const SymlinkRecord &b) { return a.movedAt > b.movedAt; });
    m_records = std::move(records);
    m_isRefreshing = false;
    emit recordsChanged();
    emit isRefreshingChanged();
}

namespace {

BringBackError bringBackError(BringBackError::Kind kind, QString text = {})
{
    BringBackError error;
    error.kind = kind;
    error.text = std::move(text);
    return error;
}

} // namespace

QCoro::Task<std::optional<BringBackError>> SymlinkInventory::bringBack(SymlinkRecord record)
{
    const fs::path original = record.originalPath;
    const fs::path external = record.externalPath;
    // 1, 2. Both ends as the move left them.
    if (!m_operations.fileExists(external))
        co_return bringBackError(BringBackError::Kind::ExternalMissing);
    if (!m_operations.isSymbolicLink(original))
        co_return bringBackError(BringBackError::Kind::NotASymlink);
    // The log names what to copy back and then put in the Trash: only an item
    // of "Tessoly Storage" on a granted drive is taken.
    if (!m_destinations.holds(external)) {
        co_return bringBackError(BringBackError::Kind::CopyFailed,
                                 QStringLiteral("%1 isn't an item of “Tessoly Storage” on a drive Tessoly may use, so "
                                                "nothing was touched.")
                                     .arg(displayPath(external)));
    }
    // 3, 4. Room on the internal disk; unreadable free space doesn't stop it.
    const qint64 size = co_await QtConcurrent::run(&MoveFileOperations::allocatedSize, &m_operations, external);
    if (const std::optional<qint64> free = m_operations.freeSpace(m_home); free && *free < size) {
        BringBackError error = bringBackError(BringBackError::Kind::NotEnoughSpace);
        error.needed = size;
        error.available = *free;
        co_return error;
    }
    // 5. A staging name beside the original, cleared of any leftover. What
    // stands there may be the person's own: it goes to the Trash, not away.
    const fs::path staging = original.parent_path() / (original.filename().native() + ".tessoly-restore");
    if (m_operations.fileExists(staging)) {
        if (const platform::TrashOutcome first = m_operations.trashItem(staging, {}); !first.ok()) {
            (void)m_operations.trashItem(staging, {});
            if (m_operations.fileExists(staging))
                co_return bringBackError(BringBackError::Kind::CopyFailed, first.error);
        }
    }
    // 6, 7. Copy back and compare the sizes.
    if (const QString error = co_await QtConcurrent::run(&MoveFileOperations::copyItem, &m_operations, external, staging); !error.isEmpty()) {
        (void)m_operations.removeItem(staging);
        co_return bringBackError(BringBackError::Kind::CopyFailed, error);
    }
    const qint64 copied = co_await QtConcurrent::run(&MoveFileOperations::allocatedSize, &m_operations, staging);
    if (copied != size) {
        (void)m_operations.removeItem(staging);
        co_return bringBackError(BringBackError::Kind::VerificationFailed);
    }
    // 8, 9. The link goes, the copy takes its place.
    if (const QString error = m_operations.removeItem(original); !error.isEmpty()) {
        (void)m_operations.removeItem(staging);
        co_return bringBackError(BringBackError::Kind::CopyFailed, error);
    }
    if (const QString error = m_operations.moveItem(staging, original); !error.isEmpty()) {
        (void)m_operations.removeItem(staging);
        co_return bringBackError(BringBackError::Kind::CopyFailed, error);
    }
    // 10. The external copy goes to the Trash as a safety net.
    (void)m_operations.trashItem(external, {});
    refresh();
    co_return std::nullopt;
}

void SymlinkInventory::startBringBack(const QString &recordId)
{
    const SymlinkRecord *found = record(QUuid(recordId));
    if (found == nullptr) {
        emit bringBackFinished(recordId, BringBackError{BringBackError::Kind::NotASymlink}.errorDescription(), false);
        return;
    }
    runBringBack(*found);
}

QCoro::Task<void> SymlinkInventory::runBringBack(SymlinkRecord record)
{
    const QString id = record.id.toString(QUuid::WithoutBraces).toUpper();
    const std::optional<BringBackError> error = co_await bringBack(std::move(record));
    emit bringBackFinished(id, error ? error->errorDescription() : broughtBackMessage(), !error);
}

void SymlinkInventory::dismiss(const QString &recordId)
{
    m_history.removeItem(QUuid(recordId));
    refresh();
}

} // namespace tessoly
