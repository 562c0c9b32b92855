#include "cli/CommandLine.h"

#include "application/TessolyApp.h"
#include "cleaning/CleanupHistoryStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tessoly {

CommandLine::CommandLine(TessolyApp &app, QTextStream &out, QTextStream &err, bool progress)
    : m_app(app)
    , m_stdout(out)
    , m_stderr(err)
    , m_out(out)
    , m_err(err)
    , m_progress(progress)
{
    // A log that isn't what Tessoly wrote is kept beside it at the first
    // write; say so once, since nobody may look at the window.
    QObject::connect(&app.history(), &CleanupHistoryStore::unreadableFileKept, &app.history(), [this](const QString &path) {
        m_err << "tessoly: the log couldn't be read, so its bytes were kept as " << path << " and a new log was started.\n";
        m_err.flush();
    });
}

void CommandLine::printJson(const QJsonValue &value)
{
    m_result = value;
}

void CommandLine::writeJson(int code)
{
    if (!m_rawResult.isEmpty()) {
        m_stdout << m_rawResult << "\n";
        return;
    }
    QJsonValue result = m_result.value_or(QJsonObject{});
    // A failure always says why under "error": the words it gave on stderr,
    // else the message it printed.
    if (code != 0 && result.isObject() && !result.toObject().contains(QLatin1String("error"))) {
        QJsonObject object = result.toObject();
        QString words = m_error;
        for (const char *key : {"message", "logError"})
            if (words.isEmpty())
                words = object.value(QLatin1String(key)).toString();
        object.insert(QStringLiteral("error"), words.isEmpty() ? QStringLiteral("The command failed.") : words);
        result = object;
    }
    m_stdout << (result.isArray() ? QJsonDocument(result.toArray()) : QJsonDocument(result.toObject()))
                    .toJson(QJsonDocument::Indented);
}

void CommandLine::showProgress(const QString &line)
{
    if (!m_progress)
        return;
    m_err << line << "\n";
    m_err.flush();
}

int CommandLine::reportOutcome(bool json, const QString &id, const std::optional<ActionOutcome> &outcome)
{
    const QString message = outcome ? outcome->message : QStringLiteral("Nothing happened.");
    if (json)
        printJson(QJsonObject{{QStringLiteral("id"), id},
                              {QStringLiteral("message"), message},
                              {QStringLiteral("success"), outcome && outcome->success}});
    else
        m_out << message << "\n";
    return outcome && outcome->success ? 0 : 1;
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
        "  smart-scan [--apply <id>[,<id>...]] [--yes]\n"
        "                       ranked recommendations with sizes, risk, what each does and its id;\n"
        "                       --apply applies the cards with those ids (--yes grants a drive's top\n"
        "                       folder for moves)\n"
        "  easy-clean           the one-button clean: every safe cache card, then hidden space, and\n"
        "                       what the disk really gained\n"
        "  devclean             node_modules folders in your projects, Docker's unused data, simulator runtimes\n"
        "  devclean --delete-node-modules <path> | --prune-docker | --delete-runtime <id> | --remove-unavailable\n"
        "                       removes one of them (node_modules to the Trash unless deleteImmediately is on)\n"
        "  xray [--perform <slice-id>]\n"
        "                       what the hidden system figure holds: caches, logs, backups, swap, Trash,\n"
        "                       Docker, app data; --perform runs one slice's action (clean, show, reclaim)\n"
        "  apps                 installed apps and the storage each one owns, biggest first\n"
        "  duplicates [--keep <path>]\n"
        "                       identical files in your personal folders (by SHA-256); --keep keeps that\n"
        "                       file and moves the other copies of its group to the Trash\n"
        "  search [<query>] [--min-mb N] [--limit N]\n"
        "                       files under your home whose name contains the query, biggest first\n"
        "                       (at most 500 unless --limit says otherwise)\n"
        "  autopilot [--run]    the free-space guardrail's status and last run; --run runs it now\n"
        "                       (deletes every safe cache, then thins snapshots if still below the limit)\n"
        "  report <file.pdf>    the storage report (figures, categories, biggest files, recent\n"
        "                       cleanups) as a one-page PDF\n"
        "  settings [<key> [<value>]]\n"
        "                       list the settings, show one, or change one (true/false, a number or a word)\n"
        "  help                 this text\n"
        "\n"
        "--json prints the result as JSON for scripts, and a failure as {\"error\": \"…\"}.\n");
}

int CommandLine::usageError(const QString &message)
{
    m_err << "tessoly: " << message << "\n";
    m_err.flush();
    m_error = message;
    return 2;
}

int CommandLine::fail(const QString &message)
{
    usageError(message);
    return 1;
}

QCoro::Task<int> CommandLine::run(QStringList arguments)
{
    // With --json, stdout is the JSON document's alone, even for a wrong command.
    m_json = arguments.contains(QStringLiteral("--json"));
    if (m_json)
        m_out.redirect(m_stderr);
    const int code = co_await runCommand(std::move(arguments));
    if (m_json)
        writeJson(code);
    m_stdout.flush();
    m_stderr.flush();
    co_return code;
}

QCoro::Task<int> CommandLine::runCommand(QStringList arguments)
{
    static const QStringList flags{QStringLiteral("--json"), QStringLiteral("--delete"), QStringLiteral("--yes"),
                                   QStringLiteral("--prune-docker"), QStringLiteral("--remove-unavailable"),
                                   QStringLiteral("--run")};
    static const QStringList valued{QStringLiteral("--only"), QStringLiteral("--bytes"), QStringLiteral("--to"),
                                      QStringLiteral("--apply"), QStringLiteral("--delete-node-modules"),
                                      QStringLiteral("--delete-runtime"), QStringLiteral("--perform"), QStringLiteral("--keep"),
                                      QStringLiteral("--min-mb"), QStringLiteral("--limit")};
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
        {"settings", 0, 2, "settings [<key> [<value>]] [--json]", {"--json"}},
        {"smart-scan", 0, 0, "smart-scan [--apply <id>[,<id>...]] [--yes] [--json]", {"--json", "--apply", "--yes"}},
        {"easy-clean", 0, 0, "easy-clean [--json]", {"--json"}},
        {"devclean", 0, 0,
         "devclean [--delete-node-modules <path> | --prune-docker | --delete-runtime <id> | --remove-unavailable] [--json]",
         {"--json", "--delete-node-modules", "--prune-docker", "--delete-runtime", "--remove-unavailable"}},
        {"xray", 0, 0, "xray [--perform <slice-id>] [--json]", {"--json", "--perform"}},
        {"apps", 0, 0, "apps [--json]", {"--json"}},
        {"duplicates", 0, 0, "duplicates [--keep <path>] [--json]", {"--json", "--keep"}},
        {"autopilot", 0, 0, "autopilot [--run] [--json]", {"--json", "--run"}},
        {"report", 1, 1, "report <file.pdf> [--json]", {"--json"}},
        {"search", 0, 1, "search [<query>] [--min-mb N] [--limit N] [--json]", {"--json", "--min-mb", "--limit"}},
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
        m_stdout << usage();
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
    else if (parsed.command == QLatin1String("settings"))
        code = settings(parsed);
    else if (parsed.command == QLatin1String("smart-scan"))
        code = co_await smartScan(parsed);
    else if (parsed.command == QLatin1String("easy-clean"))
        code = co_await easyClean(parsed);
    else if (parsed.command == QLatin1String("devclean"))
        code = co_await devClean(parsed);
    else if (parsed.command == QLatin1String("xray"))
        code = co_await xray(parsed);
    else if (parsed.command == QLatin1String("apps"))
        code = co_await apps(parsed);
    else if (parsed.command == QLatin1String("duplicates"))
        code = co_await duplicates(parsed);
    else if (parsed.command == QLatin1String("autopilot"))
        code = co_await autopilot(parsed);
    else if (parsed.command == QLatin1String("report"))
        code = co_await report(parsed);
    else if (parsed.command == QLatin1String("search"))
        code = co_await search(parsed);
    co_return code;
}

} // namespace tessoly
