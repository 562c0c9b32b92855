// The command line's log commands: what Tessoly did, and its undo.
#include "application/TessolyApp.h"
#include "cli/CommandLine.h"
#include "core/ByteFormat.h"
#include "core/RelativeTime.h"
#include "history/CleanupHistoryStore.h"
#include "history/HistoryJson.h"
#include "platform/PathText.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tessoly {

QCoro::Task<int> CommandLine::history(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    const auto &entries = m_app.history().entries();
    if (m_app.history().fileWasUnreadable()) {
        m_err << "tessoly: " << displayPath(m_app.history().file())
              << " isn't a log Tessoly can read, so it shows as empty. The next operation keeps its bytes beside it.\n";
    }
    if (json) {
        m_rawResult = encodeHistory(entries);
        co_return 0;
    }
    if (entries.empty()) {
        m_out << "Nothing here yet. Every cleanup, trash, and external-move will be logged here so you can audit and undo.\n";
        co_return 0;
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const CleanupHistoryEntry &entry : entries) {
        m_out << entry.id.toString(QUuid::WithoutBraces).toUpper() << "  " << entry.summary << "\n    " << label(entry.kind)
              << " · " << formatRelativeTime(entry.timestamp, now) << " · " << entry.items.size()
              << (entry.items.size() == 1 ? " item" : " items") << " · " << formatBytes(entry.bytesReclaimed) << " · "
              << label(entry.status) << "\n";
    }
    co_return 0;
}

QCoro::Task<int> CommandLine::restore(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    const QString &entryId = parsed.words.first();
    const QUuid id(entryId.trimmed());
    const CleanupHistoryEntry *entry = id.isNull() ? nullptr : m_app.history().entry(id);
    if (entry == nullptr)
        co_return usageError(QStringLiteral("no history entry has the id “%1”. “tessoly history” lists them.").arg(entryId));
    // The same gate as the History page's button.
    if (!isRestorable(entry->status)) {
        const QString message = QStringLiteral("Nothing to restore: this entry is “%1”.").arg(label(entry->status));
        if (json)
            printJson(QJsonObject{{QStringLiteral("restored"), 0}, {QStringLiteral("failed"), 0},
                                  {QStringLiteral("message"), message}, {QStringLiteral("status"), rawValue(entry->status)}});
        else
            m_err << message << "\n";
        co_return 1;
    }
    const CleanupHistoryStore::RestoreCounts counts = m_app.history().restore(id);
    const QString message = restoreMessage(counts);
    const QString unrecorded = counts.writeError.isEmpty()
        ? QString()
        : QStringLiteral("The outcome could not be recorded in the log: %1. What was put back is in its place; the "
                         "log still lists it as in the Trash.").arg(counts.writeError);
    if (json) {
        const CleanupHistoryEntry *after = m_app.history().entry(id);
        QJsonObject object{{QStringLiteral("restored"), counts.restored},
                           {QStringLiteral("failed"), counts.failed},
                           {QStringLiteral("message"), message},
                           {QStringLiteral("problems"), QJsonArray::fromStringList(counts.problems)},
                           {QStringLiteral("status"), after ? rawValue(after->status) : QString()}};
        if (!unrecorded.isEmpty())
            object.insert(QStringLiteral("logError"), unrecorded);
        printJson(object);
    } else {
        m_out << message << "\n";
        for (const QString &problem : counts.problems)
            m_out << "  " << problem << "\n";
        if (!unrecorded.isEmpty())
            m_err << unrecorded << "\n";
    }
    co_return counts.failed == 0 && counts.writeError.isEmpty() ? 0 : 1;
}

} // namespace tessoly
