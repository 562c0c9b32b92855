#include "moves/FolderMover.h"

#include "history/CleanupHistoryStore.h"
#include "history/HistoryJournal.h"
#include "platform/PathText.h"
#include "platform/PlaceGuard.h"
#include "moves/CopyVerifier.h"
#include "moves/MoveFileOperations.h"

#include <QCoroFuture>
#include <QUuid>
#include <QtConcurrent>

namespace tessoly {
namespace fs = std::filesystem;

namespace {

MoveProgress stage(MoveProgress::Stage stage)
{
    MoveProgress progress;
    progress.stage = stage;
    return progress;
}

MoveProgress failure(MoveError::Kind kind, QString text = {})
{
    MoveProgress progress = stage(MoveProgress::Stage::Failed);
    progress.error.kind = kind;
    progress.error.text = std::move(text);
    return progress;
}

VerificationReport verify(MoveFileOperations *operations, const fs::path &source, const fs::path &destination)
{
    return verifyCopy(source, destination, *operations);
}

} // namespace

FolderMover::FolderMover(MoveFileOperations &operations, CleanupHistoryStore &history, fs::path home)
    : m_operations(operations)
    , m_history(history)
    , m_home(std::move(home))
{
}

fs::path FolderMover::pendingPath(const fs::path &source)
{
    const QString tag = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().left(8);
    fs::path name = "." + source.filename().native() + ".tessoly-pending." + tag.toStdString();
    return source.parent_path() / name;
}

QCoro::Task<void> FolderMover::move(fs::path source, fs::path destinationRoot, bool deleteImmediately,
                                    ProgressHandler onProgress)
{
    // 1. Announce.
    if (!source.has_filename())
        source = source.parent_path();
    if (!destinationRoot.has_filename())
        destinationRoot = destinationRoot.parent_path();
    const fs::path destination = destinationRoot / source.filename();
    onProgress(stage(MoveProgress::Stage::Planning));

    // 2, 3. Preflight.
    if (!m_operations.fileExists(source)) {
        onProgress(failure(MoveError::Kind::SourceMissing));
        co_return;
    }
    if (const platform::GuardedPlace guarded = platform::guardRemoval(source, m_home); !guarded.allowed()) {
        onProgress(failure(MoveError::Kind::Refused, guarded.refusal));
        co_return;
    }
    if (m_operations.fileExists(destination)) {
        onProgress(failure(MoveError::Kind::DestinationExists));
        co_return;
    }

    // 4. Room on the drive: what the source occupies against what the drive offers.
    const qint64 needed = co_await QtConcurrent::run(&MoveFileOperations::allocatedSize, &m_operations, source);
    const qint64 free = m_operations.freeSpace(destinationRoot).value_or(0);
    if (free < needed) {
        MoveProgress progress = failure(MoveError::Kind::InsufficientSpace);
        progress.error.needed = needed;
        progress.error.available = free;
        onProgress(progress);
        co_return;
    }

    // 5. Copy.
    MoveProgress copying = stage(MoveProgress::Stage::Copying);
    copying.totalBytes = needed;
    onProgress(copying);
    const QString copyError = co_await QtConcurrent::run(&MoveFileOperations::copyItem, &m_operations, source, destination);
    if (!copyError.isEmpty()) {
        (void)m_operations.removeItem(destination);
        onProgress(failure(MoveError::Kind::CopyFailed, copyError));
        co_return;
    }

    // 6. Verify.
    onProgress(stage(MoveProgress::Stage::Verifying));
    const VerificationReport report = co_await QtConcurrent::run(verify, &m_operations, source, destination);
    if (!report.ok) {
        (void)m_operations.removeItem(destination);
        onProgress(failure(MoveError::Kind::VerificationFailed, report.detail()));
        co_return;
    }

    // 7. The original steps aside under a hidden name.
    const fs::path pending = pendingPath(source);
    if (const QString error = m_operations.moveItem(source, pending); !error.isEmpty()) {
        (void)m_operations.removeItem(destination);
        onProgress(failure(MoveError::Kind::RenameFailed, error));
        co_return;
    }

    // 7b. A last pass now that nothing can write under the old path: what
    // appeared or grew since the check is carried over before the original goes.
    const VerificationReport last = co_await QtConcurrent::run(verify, &m_operations, pending, destination);
    if (!last.ok) {
        (void)m_operations.moveItem(pending, source); // NOLINT(readability-suspicious-call-argument): put back
        (void)m_operations.removeItem(destination);
        onProgress(failure(MoveError::Kind::VerificationFailed, last.detail()));
        co_return;
    }

    // 8. The link takes its place.
    onProgress(stage(MoveProgress::Stage::CreatingSymlink));
    if (const QString error = m_operations.createSymbolicLink(source, destination); !error.isEmpty()) {
        (void)m_operations.moveItem(pending, source); // NOLINT(readability-suspicious-call-argument): put back
        (void)m_operations.removeItem(destination);
        onProgress(failure(MoveError::Kind::SymlinkFailed, error));
        co_return;
    }

    // 9. Dispose of the original; the move has succeeded whatever happens here.
    // From here on the move is noted in a journal, so that a kill still
    // leaves its entry (and the original's place in the Trash) in the log.
    onProgress(stage(MoveProgress::Stage::Finalizing));
    CleanupHistoryEntry::Item item;
    item.originalPath = source;
    item.externalPath = destination;
    item.bytes = needed;
    CleanupHistoryEntry entry = CleanupHistoryEntry::make(
        CleanupHistoryEntry::Kind::MoveToExternal,
        QStringLiteral("Moved %1 to %2").arg(pathToText(source.filename()), pathToText(destinationRoot.filename())),
        needed, {});
    const std::unique_ptr<HistoryJournal> journal = m_history.beginJournal(entry);
    journal->went(item);
    bool disposedToTrash = false;
    const auto toTrash = [&] {
        const platform::TrashOutcome outcome =
            m_operations.trashItem(pending, journal->beforeTrashing(source, pending));
        if (outcome.ok()) {
            disposedToTrash = true;
            if (!outcome.trashedPath.empty())
                item.trashedPath = outcome.trashedPath;
        }
        return outcome.ok();
    };
    if (!deleteImmediately) {
        if (!toTrash())
            (void)m_operations.removeItem(pending);
    } else if (!m_operations.removeItem(pending).isEmpty()) {
        (void)toTrash();
    }
    if (!item.trashedPath)
        journal->went(item); // not in the Trash after all

    // 10. Log.
    entry.items = {item};
    const QString logError = m_history.append(std::move(entry));
    if (logError.isEmpty())
        journal->finish();

    // 11. Done.
    MoveProgress done = stage(MoveProgress::Stage::Done);
    done.symlinkPath = source;
    done.movedTo = destination;
    done.movedBytes = needed;
    done.disposedToTrash = disposedToTrash;
    done.logError = logError;
    onProgress(done);
}

} // namespace tessoly
