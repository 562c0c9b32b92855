#include "core/CommandLine.h"

#include "analysis/DiskScanner.h"
#include "cleaning/CleanupHistoryStore.h"
#include "cleaning/HistoryJson.h"
#include "core/ByteFormat.h"
#include "core/RelativeTime.h"
#include "core/SettingsStore.h"
#include "core/TessolyApp.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tessoly {

CommandLine::CommandLine(TessolyApp &app, QTextStream &out, QTextStream &err, bool progress)
    : m_app(app)
    , m_out(out)
    , m_err(err)
    , m_progress(progress)
{
}

void CommandLine::printJson(const QJsonValue &value)
{
    m_out << (value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject()))
                 .toJson(QJsonDocument::Indented);
}

void CommandLine::showProgress(const QString &line)
{
    if (!m_progress)
        return;
    m_err << line << "\n";
    m_err.flush();
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
        "  profiles             the cleanup catalogue: six profiles and their folders\n"
        "  measure [<profile>|all]\n"
        "                       size, items and presence of each folder of a profile\n"
        "  clean <profile> [--only <id>,...] [--delete]\n"
        "                       empty a profile's folders (to the Trash unless --delete)\n"
        "  snapshots            local snapshots the system keeps\n"
        "  reclaim [--bytes N]  ask the system to thin local snapshots, and measure what came free\n"
        "  drives               external drives that can receive a move\n"
        "  move <path> --to <drive> [--yes]\n"
        "                       copy a file or folder to a drive (its mount point or name), verify\n"
        "                       the copy and leave a symlink in its place; --yes grants the top\n"
        "                       folder of the drive without asking\n"
        "  moves                everything moved to a drive so far, and how it stands\n"
        "  bring-back <record-id>\n"
        "                       copy a moved item back in place of its symlink\n"
        "  offload              big folders nothing has touched in 6+ months\n"
        "  suggestions          known heavy developer and media folders worth moving\n"
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

QCoro::Task<int> CommandLine::run(QStringList arguments)
{
    static const QStringList flags{QStringLiteral("--json"), QStringLiteral("--delete"), QStringLiteral("--yes")};
    static const QStringList valued{QStringLiteral("--only"), QStringLiteral("--bytes"), QStringLiteral("--to")};
    Parsed parsed;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            parsed.words.prepend(QStringLiteral("help"));
        } else if (flags.contains(argument)) {
            parsed.options.insert(argument, QString());
        } else if (valued.contains(argument)) {
            if (i + 1 >= arguments.size())
                co_return usageError(QStringLiteral("%1 needs a value.").arg(argument));
            parsed.options.insert(argument, arguments.at(++i));
        } else if (argument.startsWith(QLatin1String("--"))) {
            co_return usageError(QStringLiteral("unknown option “%1”. Try “tessoly help”.").arg(argument));
        } else {
            parsed.words.append(argument);
        }
    }
    if (parsed.words.isEmpty())
        co_return usageError(QStringLiteral("no command given. Try “tessoly help”."));
    parsed.command = parsed.words.takeFirst();

    struct Shape {
        const char *command;
        qsizetype minWords;
        qsizetype maxWords;
        const char *usage;
        QStringList options;
    };
    const Shape shapes[] = {
        {"help", 0, 0, "help", {}},
        {"status", 0, 0, "status [--json]", {"--json"}},
        {"history", 0, 0, "history [--json]", {"--json"}},
        {"restore", 1, 1, "restore <entry-id> [--json]", {"--json"}},
        {"profiles", 0, 0, "profiles [--json]", {"--json"}},
        {"measure", 0, 1, "measure [<profile>|all] [--json]", {"--json"}},
        {"clean", 1, 1, "clean <profile> [--only <id>,...] [--delete] [--json]", {"--json", "--only", "--delete"}},
        {"snapshots", 0, 0, "snapshots [--json]", {"--json"}},
        {"reclaim", 0, 0, "reclaim [--bytes N] [--json]", {"--json", "--bytes"}},
        {"drives", 0, 0, "drives [--json]", {"--json"}},
        {"move", 1, 1, "move <path> --to <mount point or drive name> [--yes] [--json]", {"--json", "--to", "--yes"}},
        {"moves", 0, 0, "moves [--json]", {"--json"}},
        {"bring-back", 1, 1, "bring-back <record-id> [--json]", {"--json"}},
        {"offload", 0, 0, "offload [--json]", {"--json"}},
        {"suggestions", 0, 0, "suggestions [--json]", {"--json"}},
    };
    const Shape *shape = nullptr;
    for (const Shape &candidate : shapes) {
        if (parsed.command == QLatin1String(candidate.command))
            shape = &candidate;
    }
    if (shape == nullptr)
        co_return usageError(QStringLiteral("unknown command “%1”. Try “tessoly help”.").arg(parsed.command));
    if (parsed.words.size() < shape->minWords || parsed.words.size() > shape->maxWords)
        co_return usageError(QStringLiteral("usage: tessoly %1").arg(QLatin1String(shape->usage)));
    for (auto it = parsed.options.begin(); it != parsed.options.end(); ++it) {
        if (!shape->options.contains(it.key()))
            co_return usageError(QStringLiteral("%1 doesn't apply to “%2”. Usage: tessoly %3")
                                     .arg(it.key(), parsed.command, QLatin1String(shape->usage)));
    }

    int code = 0;
    if (parsed.command == QLatin1String("help"))
        m_out << usage();
    else if (parsed.command == QLatin1String("status"))
        code = status(parsed);
    else if (parsed.command == QLatin1String("history"))
        code = history(parsed);
    else if (parsed.command == QLatin1String("restore"))
        code = restore(parsed);
    else if (parsed.command == QLatin1String("profiles"))
        code = profiles(parsed);
    else if (parsed.command == QLatin1String("measure"))
        code = co_await measure(parsed);
    else if (parsed.command == QLatin1String("clean"))
        code = co_await clean(parsed);
    else if (parsed.command == QLatin1String("snapshots"))
        code = co_await snapshots(parsed);
    else if (parsed.command == QLatin1String("reclaim"))
        code = co_await reclaim(parsed);
    else if (parsed.command == QLatin1String("drives"))
        code = co_await drives(parsed);
    else if (parsed.command == QLatin1String("move"))
        code = co_await move(parsed);
    else if (parsed.command == QLatin1String("moves"))
        code = moves(parsed);
    else if (parsed.command == QLatin1String("bring-back"))
        code = co_await bringBack(parsed);
    else if (parsed.command == QLatin1String("offload"))
        code = co_await offload(parsed);
    else if (parsed.command == QLatin1String("suggestions"))
        code = co_await suggestions(parsed);
    m_out.flush();
    m_err.flush();
    co_return code;
}

int CommandLine::status(const Parsed &parsed)
{
    const bool json = parsed.flag("--json");
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
        printJson(object);
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

int CommandLine::history(const Parsed &parsed)
{
    const bool json = parsed.flag("--json");
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

int CommandLine::restore(const Parsed &parsed)
{
    const bool json = parsed.flag("--json");
    const QString &entryId = parsed.words.first();
    const QUuid id(entryId.trimmed());
    const CleanupHistoryEntry *entry = id.isNull() ? nullptr : m_app.history().entry(id);
    if (entry == nullptr)
        return usageError(QStringLiteral("no history entry has the id “%1”. “tessoly history” lists them.").arg(entryId));
    // The same gate as the History page's button.
    if (!isRestorable(entry->status)) {
        const QString message = QStringLiteral("Nothing to restore: this entry is “%1”.").arg(label(entry->status));
        if (json)
            printJson(QJsonObject{{QStringLiteral("restored"), 0}, {QStringLiteral("failed"), 0},
                                  {QStringLiteral("message"), message}, {QStringLiteral("status"), rawValue(entry->status)}});
        else
            m_err << message << "\n";
        return 1;
    }
    const CleanupHistoryStore::RestoreCounts counts = m_app.history().restore(id);
    const QString message = restoreMessage(counts);
    if (json) {
        const CleanupHistoryEntry *after = m_app.history().entry(id);
        printJson(QJsonObject{{QStringLiteral("restored"), counts.restored},
                              {QStringLiteral("failed"), counts.failed},
                              {QStringLiteral("message"), message},
                              {QStringLiteral("status"), after ? rawValue(after->status) : QString()}});
    } else {
        m_out << message << "\n";
    }
    return counts.failed == 0 ? 0 : 1;
}

} // namespace tessoly
