#include "core/CommandLine.h"

#include "analysis/DiskScanner.h"
#include "cleaning/CleanupHistoryStore.h"
#include "cleaning/HistoryJson.h"
#include "core/ByteFormat.h"
#include "core/RelativeTime.h"
#include "core/SettingsStore.h"
#include "core/TessolyApp.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace tessoly {

CommandLine::CommandLine(TessolyApp &app, QTextStream &out, QTextStream &err)
    : m_app(app)
    , m_out(out)
    , m_err(err)
{
}

QString CommandLine::usage()
{
    return QStringLiteral(
        "Usage: tessoly [<command> [arguments] [--json]]\n"
        "\n"
        "Without a command, opens the window.\n"
        "\n"
        "Commands:\n"
        "  status               capacity, free and used space of the home volume\n"
        "  history              the log of everything Tessoly has done, newest first\n"
        "  restore <entry-id>   put the items of a log entry back from the Trash\n"
        "  help                 this text\n"
        "\n"
        "--json prints the result as JSON for scripts.\n");
}

int CommandLine::usageError(const QString &message)
{
    m_err << "tessoly: " << message << "\n";
    m_err.flush();
    return 2;
}

int CommandLine::run(const QStringList &arguments)
{
    QStringList words;
    bool json = false;
    for (const QString &argument : arguments) {
        if (argument == QLatin1String("--json"))
            json = true;
        else if (argument == QLatin1String("--help") || argument == QLatin1String("-h"))
            words.prepend(QStringLiteral("help"));
        else if (argument.startsWith(QLatin1String("--")))
            return usageError(QStringLiteral("unknown option “%1”. Try “tessoly help”.").arg(argument));
        else
            words.append(argument);
    }
    if (words.isEmpty())
        return usageError(QStringLiteral("no command given. Try “tessoly help”."));

    const QString command = words.takeFirst();
    const auto expectArguments = [&](qsizetype count, const char *shape) -> bool {
        if (words.size() == count)
            return true;
        usageError(QStringLiteral("usage: tessoly %1").arg(QLatin1String(shape)));
        return false;
    };

    int code = 0;
    if (command == QLatin1String("help")) {
        m_out << usage();
    } else if (command == QLatin1String("status")) {
        code = expectArguments(0, "status [--json]") ? status(json) : 2;
    } else if (command == QLatin1String("history")) {
        code = expectArguments(0, "history [--json]") ? history(json) : 2;
    } else if (command == QLatin1String("restore")) {
        code = expectArguments(1, "restore <entry-id> [--json]") ? restore(words.first(), json) : 2;
    } else {
        code = usageError(QStringLiteral("unknown command “%1”. Try “tessoly help”.").arg(command));
    }
    m_out.flush();
    return code;
}

int CommandLine::status(bool json)
{
    const DiskScanner &scanner = *m_app.scanner();
    const qint64 capacity = scanner.totalCapacity();
    const qint64 percent = static_cast<qint64>(scanner.usedFraction() * 100.0);
    const auto &entries = m_app.history().entries();
    const auto restorable = std::count_if(entries.begin(), entries.end(),
                                          [](const CleanupHistoryEntry &entry) { return isRestorable(entry.status); });
    if (json) {
        const QJsonObject object{
            {QStringLiteral("home"), m_app.homePath()},
            {QStringLiteral("capacityBytes"), capacity},
            {QStringLiteral("freeBytes"), scanner.totalFree()},
            {QStringLiteral("usedBytes"), scanner.totalUsed()},
            {QStringLiteral("usedPercent"), percent},
            {QStringLiteral("historyEntries"), static_cast<qint64>(entries.size())},
            {QStringLiteral("restorableEntries"), static_cast<qint64>(restorable)},
            {QStringLiteral("interfaceMode"), m_app.settings()->interfaceMode()},
        };
        m_out << QJsonDocument(object).toJson(QJsonDocument::Indented);
        return 0;
    }
    if (capacity <= 0) {
        m_out << "The volume's figures couldn't be read.\n";
    } else {
        m_out << formatBytes(scanner.totalFree()) << " free of " << formatBytes(capacity) << " · " << percent
              << "% used (" << formatBytes(scanner.totalUsed()) << ")\n";
    }
    m_out << "Home: " << m_app.homePath() << "\n";
    m_out << "History: " << entries.size() << (entries.size() == 1 ? " operation" : " operations") << ", "
          << restorable << " restorable\n";
    return 0;
}

int CommandLine::history(bool json)
{
    const auto &entries = m_app.history().entries();
    if (json) {
        m_out << encodeHistory(entries) << "\n";
        return 0;
    }
    if (entries.empty()) {
        m_out << "Nothing here yet. Every cleanup, trash, and external-move will be logged here so you can audit and undo.\n";
        return 0;
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const CleanupHistoryEntry &entry : entries) {
        m_out << entry.id.toString(QUuid::WithoutBraces).toUpper() << "  " << entry.summary << "\n    " << label(entry.kind)
              << " · " << formatRelativeTime(entry.timestamp, now) << " · " << entry.items.size()
              << (entry.items.size() == 1 ? " item" : " items") << " · " << formatBytes(entry.bytesReclaimed) << " · "
              << label(entry.status) << "\n";
    }
    return 0;
}

int CommandLine::restore(const QString &entryId, bool json)
{
    const QUuid id(entryId.trimmed());
    const CleanupHistoryEntry *entry = id.isNull() ? nullptr : m_app.history().entry(id);
    if (entry == nullptr)
        return usageError(QStringLiteral("no history entry has the id “%1”. “tessoly history” lists them.").arg(entryId));
    // The same gate as the History page's button.
    if (!isRestorable(entry->status)) {
        const QString message = QStringLiteral("Nothing to restore: this entry is “%1”.").arg(label(entry->status));
        if (json)
            m_out << QJsonDocument(QJsonObject{{QStringLiteral("restored"), 0}, {QStringLiteral("failed"), 0},
                                               {QStringLiteral("message"), message},
                                               {QStringLiteral("status"), rawValue(entry->status)}})
                         .toJson(QJsonDocument::Indented);
        else
            m_err << message << "\n";
        return 1;
    }
    const CleanupHistoryStore::RestoreCounts counts = m_app.history().restore(id);
    const QString message = restoreMessage(counts);
    if (json) {
        const CleanupHistoryEntry *after = m_app.history().entry(id);
        m_out << QJsonDocument(QJsonObject{{QStringLiteral("restored"), counts.restored},
                                           {QStringLiteral("failed"), counts.failed},
                                           {QStringLiteral("message"), message},
                                           {QStringLiteral("status"), after ? rawValue(after->status) : QString()}})
                     .toJson(QJsonDocument::Indented);
    } else {
        m_out << message << "\n";
    }
    return counts.failed == 0 ? 0 : 1;
}

} // namespace tessoly
