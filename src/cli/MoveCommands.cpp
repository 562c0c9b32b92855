// The command line's external-move commands: drives, moving, the moves made
// so far and the way back, and what is worth moving.
#include "core/ByteFormat.h"
#include "cli/CommandLine.h"
#include "platform/PathText.h"
#include "core/RelativeTime.h"
#include "application/TessolyApp.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/ExternalDriveManager.h"
#include "moves/MoveFileOperations.h"
#include "moves/MoveController.h"
#include "moves/OffloadScanner.h"
#include "moves/SymlinkInventory.h"
#include "cli/TerminalPrompter.h"

#include <QCoroFuture>
#include <QJsonArray>
#include <QJsonObject>
#include <QtConcurrent>
#include <cstdio>

namespace tessoly {
namespace fs = std::filesystem;

namespace {

QJsonObject driveJson(const ExternalDrive &drive)
{
    QJsonObject object{{QStringLiteral("name"), drive.name},
                       {QStringLiteral("mountPoint"), pathToText(drive.mountPoint)},
                       {QStringLiteral("totalBytes"), drive.totalBytes},
                       {QStringLiteral("freeBytes"), drive.freeBytes},
                       {QStringLiteral("fileSystem"), drive.fileSystem},
                       {QStringLiteral("isSupported"), drive.isSupported}};
    if (drive.unsupportedReason)
        object.insert(QStringLiteral("unsupportedReason"), *drive.unsupportedReason);
    return object;
}

QString recordId(const SymlinkRecord &record)
{
    return record.id.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace

QCoro::Task<int> CommandLine::drives(Parsed parsed)
{
    co_await m_app.drives()->refresh();
    const std::vector<ExternalDrive> &list = m_app.drives()->drives();
    if (parsed.flag("--json")) {
        QJsonArray array;
        for (const ExternalDrive &drive : list)
            array.append(driveJson(drive));
        printJson(array);
        co_return 0;
    }
    if (list.empty()) {
        m_out << "No external drives detected\n"
              << "Connect an APFS-formatted external drive and try again. ExFAT drives aren't supported because "
                 "symlinks misbehave on them.\n";
        co_return 0;
    }
    for (const ExternalDrive &drive : list) {
        m_out << drive.name << "  " << pathToText(drive.mountPoint) << "\n    " << formatBytes(drive.freeBytes)
              << " free of " << formatBytes(drive.totalBytes) << " · " << drive.fileSystem << "\n";
        if (drive.unsupportedReason)
            m_out << "    " << *drive.unsupportedReason << "\n";
    }
    co_return 0;
}

QCoro::Task<int> CommandLine::move(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    if (!parsed.options.contains(QStringLiteral("--to")))
        co_return usageError(QStringLiteral("say where to with --to <mount point or drive name>. “tessoly drives” lists them."));
    std::error_code error;
    const fs::path item = fs::absolute(textToPath(parsed.words.first()), error).lexically_normal();
    const fs::path source = item.has_filename() ? item : item.parent_path();
    if (error || !fs::exists(fs::symlink_status(source, error)))
        co_return usageError(QStringLiteral("nothing at “%1”.").arg(parsed.words.first()));

    co_await m_app.drives()->refresh();
    const QString to = parsed.options.value(QStringLiteral("--to"));
    const ExternalDrive *found = m_app.drives()->drive(to);
    if (found == nullptr) {
        const fs::path asPath = fs::absolute(textToPath(to), error).lexically_normal();
        const fs::path normal = asPath.has_filename() ? asPath : asPath.parent_path();
        found = m_app.drives()->drive(pathToText(normal));
    }
    if (found == nullptr)
        co_return usageError(QStringLiteral("no external drive “%1”. “tessoly drives” lists them.").arg(to));
    // A copy: another refresh (the one started at launch, a mount event) may
    // replace the list while this command waits below.
    const ExternalDrive chosen = *found;
    const ExternalDrive *drive = &chosen;
    if (!drive->isSupported)
        co_return fail(*drive->unsupportedReason);
    const qint64 bytes = co_await QtConcurrent::run(&MoveFileOperations::allocatedSize, &m_app.moveOperations(), source);
    if (drive->freeBytes < bytes)
        co_return fail(QStringLiteral("Not enough free space — needs %1").arg(formatBytes(bytes)));

    TerminalPrompter prompter(m_stderr, parsed.flag("--yes"));
    m_app.setPrompter(&prompter);
    MoveController &controller = *m_app.moveController();
    controller.open(source, bytes);
    controller.selectDrive(*drive);
    QString lastLine;
    controller.setProgressObserver([this, &lastLine](const MoveProgress &progress) {
        if (!progress.isTerminal() && progress.text() != lastLine) {
            lastLine = progress.text();
            m_err << lastLine << "\n";
            m_err.flush();
        }
    });
    co_await controller.startMove();
    controller.setProgressObserver({});
    m_app.setPrompter(nullptr);

    const std::optional<MoveProgress> &last = controller.progress();
    const bool done = last && last->stage == MoveProgress::Stage::Done;
    const QString unrecorded = done && !last->logError.isEmpty()
        ? QStringLiteral("The move could not be recorded in the log: %1. The data is on the drive at %2, behind the "
                         "link at %3, but Tessoly's list of moves won't show it.")
              .arg(last->logError, displayPath(last->movedTo), displayPath(last->symlinkPath))
        : QString();
    if (json) {
        QJsonObject object{{QStringLiteral("ok"), done}};
        if (done) {
            object.insert(QStringLiteral("symlinkPath"), pathToText(last->symlinkPath));
            object.insert(QStringLiteral("movedTo"), pathToText(last->movedTo));
            object.insert(QStringLiteral("movedBytes"), last->movedBytes);
            object.insert(QStringLiteral("disposedToTrash"), last->disposedToTrash);
            object.insert(QStringLiteral("recorded"), unrecorded.isEmpty());
            if (!unrecorded.isEmpty())
                object.insert(QStringLiteral("logError"), unrecorded);
        } else if (last) {
            object.insert(QStringLiteral("error"), last->text());
        }
        printJson(object);
    } else if (done) {
        m_out << "Moved successfully\n"
              << (last->disposedToTrash
                      ? "Apps will keep finding the data at the original path. The original is in the Trash — empty "
                        "the Trash to free the space on this disk.\n"
                      : "Apps will keep finding the data at the original path. The original was deleted — the space is "
                        "free now, and your copy lives on the external drive.\n")
              << pathToText(last->symlinkPath) << " → " << pathToText(last->movedTo) << "\n";
        if (!unrecorded.isEmpty())
            m_err << unrecorded << "\n";
    } else if (last) {
        m_err << last->text() << "\n";
    }
    co_return done && unrecorded.isEmpty() ? 0 : 1;
}

QCoro::Task<int> CommandLine::moves(Parsed parsed)
{
    SymlinkInventory &inventory = *m_app.inventory();
    inventory.refresh();
    const std::vector<SymlinkRecord> &records = inventory.records();
    if (parsed.flag("--json")) {
        QJsonArray array;
        for (const SymlinkRecord &record : records) {
            array.append(QJsonObject{{QStringLiteral("id"), recordId(record)},
                                     {QStringLiteral("originalPath"), pathToText(record.originalPath)},
                                     {QStringLiteral("externalPath"), pathToText(record.externalPath)},
                                     {QStringLiteral("bytes"), record.bytes},
                                     {QStringLiteral("movedAt"), record.movedAt.toString(Qt::ISODate)},
                                     {QStringLiteral("status"), rawValue(record.status)}});
        }
        printJson(QJsonObject{{QStringLiteral("records"), array},
                              {QStringLiteral("spaceFreedBytes"), inventory.totalBytes()},
                              {QStringLiteral("activeSymlinks"), inventory.activeCount()},
                              {QStringLiteral("needsAttention"), inventory.attentionCount()}});
        co_return 0;
    }
    if (records.empty()) {
        m_out << "No moves yet\n";
        co_return 0;
    }
    m_out << "Space freed by moves: " << formatBytes(inventory.totalBytes()) << " · Active symlinks: "
          << inventory.activeCount() << " · Needs attention: " << inventory.attentionCount() << "\n";
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const SymlinkRecord &record : records) {
        m_out << recordId(record) << "  " << pathToText(record.originalPath.filename()) << " · "
              << formatBytes(record.bytes) << " · " << formatRelativeTime(record.movedAt, now) << " · "
              << label(record.status) << "\n    Original: " << pathToText(record.originalPath)
              << "\n    Now on:   " << pathToText(record.externalPath) << "\n";
    }
    co_return 0;
}

QCoro::Task<int> CommandLine::bringBack(Parsed parsed)
{
    SymlinkInventory &inventory = *m_app.inventory();
    inventory.refresh();
    const QUuid id(parsed.words.first().trimmed());
    const SymlinkRecord *found = id.isNull() ? nullptr : inventory.record(id);
    if (found == nullptr)
        co_return usageError(QStringLiteral("no moved item has the id “%1”. “tessoly moves” lists them.")
                                 .arg(parsed.words.first()));
    const SymlinkRecord record = *found;
    if (m_progress)
        showProgress(QStringLiteral("Bringing back…"));
    const std::optional<BringBackError> error = co_await inventory.bringBack(record);
    const QString message = error ? error->errorDescription() : broughtBackMessage();
    if (parsed.flag("--json"))
        printJson(QJsonObject{{QStringLiteral("ok"), !error}, {QStringLiteral("message"), message}});
    else
        (error ? m_err : m_out) << message << "\n";
    co_return error ? 1 : 0;
}

QCoro::Task<int> CommandLine::offload(Parsed parsed)
{
    OffloadScanner &scanner = *m_app.offload();
    co_await scanner.scan();
    const std::vector<OffloadCandidate> &candidates = scanner.candidates();
    if (parsed.flag("--json")) {
        QJsonArray array;
        for (const OffloadCandidate &candidate : candidates) {
            array.append(QJsonObject{
                {QStringLiteral("path"), pathToText(candidate.url)},
                {QStringLiteral("bytes"), candidate.bytes},
                {QStringLiteral("lastUsed"), candidate.lastUsed ? candidate.lastUsed->toString(Qt::ISODate) : QString()},
                {QStringLiteral("category"), candidate.category},
                {QStringLiteral("displayName"), candidate.displayName}});
        }
        printJson(array);
        co_return 0;
    }
    if (candidates.empty()) {
        m_out << "Nothing stale and large found — your big folders are all in active use.\n";
        co_return 0;
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const OffloadCandidate &candidate : candidates) {
        m_out << candidate.displayName << " · " << candidate.category << " · " << formatBytes(candidate.bytes)
              << " · last used " << formatRelativeTime(candidate.lastUsed.value_or(now), now) << "\n    "
              << pathToText(candidate.url) << "\n";
    }
    co_return 0;
}

QCoro::Task<int> CommandLine::suggestions(Parsed parsed)
{
    MoveSuggestions &finder = *m_app.moveSuggestions();
    co_await finder.analyze();
    const auto &list = finder.suggestions();
    if (parsed.flag("--json")) {
        QJsonArray array;
        for (const MoveSuggestions::Suggestion &suggestion : list) {
            array.append(QJsonObject{{QStringLiteral("path"), pathToText(suggestion.url)},
                                     {QStringLiteral("bytes"), suggestion.bytes},
                                     {QStringLiteral("category"), suggestion.category}});
        }
        printJson(array);
        co_return 0;
    }
    if (list.empty()) {
        m_out << "Nothing worth moving found among the known heavy folders.\n";
        co_return 0;
    }
    for (const MoveSuggestions::Suggestion &suggestion : list)
        m_out << suggestion.category << " · " << formatBytes(suggestion.bytes) << "\n    " << pathToText(suggestion.url)
              << "\n";
    co_return 0;
}

} // namespace tessoly
