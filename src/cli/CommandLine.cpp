#include "cli/CommandLine.h"

#include "application/TessolyApp.h"
#include "history/CleanupHistoryStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

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
    QObject::connect(
        &app.history(), &CleanupHistoryStore::unreadableFileKept, &app.history(), [this](const QString &path) {
            m_err << "tessoly: the log couldn't be read, so its bytes were kept as " << path
                  << " and a new log was started.\n";
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
        printJson(QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("message"), message},
            {QStringLiteral("success"), outcome && outcome->success}});
    else
        m_out << message << "\n";
    return outcome && outcome->success ? 0 : 1;
}

// Every command, once: its name, its arguments and options as the usage
// shows them, its help, and the function that runs it. Parsing, the help
// text and the dispatch all come from this list.
const std::vector<CommandLine::Command> &CommandLine::commands()
{
    static const std::vector<Command> list{
        {"status", "", "capacity, free and used space of the home volume", &CommandLine::status},
        {"history", "", "the log of everything Tessoly has done, newest first", &CommandLine::history},
        {"restore", "<entry-id>", "put the items of a log entry back from the Trash", &CommandLine::restore},
        {"profiles", "", "the cleanup catalogue: six profiles and their folders", &CommandLine::profiles},
        {"measure", "[<profile>|all]", "size, items and presence of each folder of a profile", &CommandLine::measure},
        {"clean", "<profile> [--only <id>,...] [--delete]", "empty a profile's folders (to the Trash unless --delete)",
            &CommandLine::clean},
        {"snapshots", "", "local snapshots the system keeps", &CommandLine::snapshots},
        {"reclaim", "[--bytes N]", "ask the system to thin local snapshots, and measure what came free",
            &CommandLine::reclaim},
        {"drives", "", "external drives that can receive a move", &CommandLine::drives},
        {"move", "<path> --to <drive> [--yes]",
            "copy a file or folder to a drive (its mount point or name), verify\n"
            "the copy and leave a symlink in its place; --yes grants the top\n"
            "folder of the drive without asking",
            &CommandLine::move},
        {"moves", "", "everything moved to a drive so far, and how it stands", &CommandLine::moves},
        {"bring-back", "<record-id>", "copy a moved item back in place of its symlink", &CommandLine::bringBack},
        {"offload", "", "big folders nothing has touched in 6+ months", &CommandLine::offload},
        {"suggestions", "", "known heavy developer and media folders worth moving", &CommandLine::suggestions},
        {"smart-scan", "[--apply <id>[,<id>...]] [--yes]",
            "ranked recommendations with sizes, risk, what each does and its id;\n"
            "--apply applies the cards with those ids (--yes grants a drive's top\n"
            "folder for moves)",
            &CommandLine::smartScan},
        {"easy-clean", "",
            "the one-button clean: every safe cache card, then hidden space, and\n"
            "what the disk really gained",
            &CommandLine::easyClean},
        {"devclean", "[--delete-node-modules <path> | --prune-docker | --delete-runtime <id> | --remove-unavailable]",
            "node_modules folders in your projects, Docker's unused data, simulator\n"
            "runtimes; an option removes one of them (node_modules to the Trash\n"
            "unless deleteImmediately is on)",
            &CommandLine::devClean},
        {"xray", "[--perform <slice-id>]",
            "what the hidden system figure holds: caches, logs, backups, swap, Trash,\n"
            "Docker, app data; --perform runs one slice's action (clean, show, reclaim)",
            &CommandLine::xray},
        {"apps", "", "installed apps and the storage each one owns, biggest first", &CommandLine::apps},
        {"duplicates", "[--keep <path>]",
            "identical files in your personal folders (by SHA-256); --keep keeps that\n"
            "file and moves the other copies of its group to the Trash",
            &CommandLine::duplicates},
        {"search", "[<query>] [--min-mb N] [--limit N]",
            "files under your home whose name contains the query, biggest first\n"
            "(at most 500 unless --limit says otherwise)",
            &CommandLine::search},
        {"autopilot", "[--run]",
            "the free-space guardrail's status and last run; --run runs it now\n"
            "(deletes every safe cache, then thins snapshots if still below the limit)",
            &CommandLine::autopilot},
        {"report", "<file.pdf>",
            "the storage report (figures, categories, biggest files, recent\n"
            "cleanups) as a one-page PDF",
            &CommandLine::report},
        {"settings", "[<key> [<value>]]", "list the settings, show one, or change one (true/false, a number or a word)",
            &CommandLine::settings},
        {"help", "", "this text", &CommandLine::help},
    };
    return list;
}

CommandLine::Shape CommandLine::Command::shape() const
{
    // Words in brackets are optional; an option followed by "<…>" or "N"
    // takes that as its value.
    Shape shape;
    const QStringList tokens = QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    int depth = 0;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        QString token = tokens.at(i);
        const int opened = static_cast<int>(token.size() - QString(token).remove(QLatin1Char('[')).size());
        const bool optional = depth + opened > 0;
        depth += opened - static_cast<int>(token.count(QLatin1Char(']')));
        token.remove(QLatin1Char('[')).remove(QLatin1Char(']'));
        if (token.startsWith(QLatin1String("--"))) {
            const QString next = i + 1 < tokens.size()
                ? QString(tokens.at(i + 1)).remove(QLatin1Char('[')).remove(QLatin1Char(']'))
                : QString();
            const bool valued = next.startsWith(QLatin1Char('<')) || next == QLatin1String("N");
            shape.options.insert(token, valued);
            if (valued) {
                depth += static_cast<int>(
                    tokens.at(i + 1).count(QLatin1Char('[')) - tokens.at(i + 1).count(QLatin1Char(']')));
                ++i;
            }
        } else if (token.startsWith(QLatin1Char('<'))) {
            ++shape.maxWords;
            if (!optional)
                ++shape.minWords;
        }
    }
    shape.options.insert(QStringLiteral("--json"), false);
    return shape;
}

QString CommandLine::usage()
{
    QString text = QStringLiteral("Usage: tessoly [<command> [arguments] [--json]]\n\n"
                                  "Without a command, opens the window.\n\nCommands:\n");
    constexpr qsizetype helpColumn = 23;
    for (const Command &command : commands()) {
        QString line = QStringLiteral("  ") + QLatin1String(command.name);
        if (*command.arguments != '\0')
            line += QLatin1Char(' ') + QLatin1String(command.arguments);
        const QStringList help = QString::fromUtf8(command.help).split(QLatin1Char('\n'));
        for (qsizetype i = 0; i < help.size(); ++i) {
            if (line.size() + 1 > helpColumn) {
                text += line + QLatin1Char('\n');
                line.clear();
            }
            text += line.leftJustified(helpColumn, QLatin1Char(' ')) + help.at(i) + QLatin1Char('\n');
            line.clear();
        }
    }
    return text
        + QStringLiteral("\n--json prints the result as JSON for scripts, and a failure as {\"error\": \"…\"}.\n");
}

QCoro::Task<int> CommandLine::help(Parsed)
{
    m_stdout << usage();
    co_return 0;
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
    // Options may stand anywhere; whether one takes a value is the same for every command.
    QHash<QString, bool> takesValue;
    for (const Command &command : commands())
        takesValue.insert(command.shape().options);
    Parsed parsed;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            parsed.words.prepend(QStringLiteral("help"));
        } else if (takesValue.contains(argument) && !takesValue.value(argument)) {
            parsed.options.insert(argument, QString());
        } else if (takesValue.contains(argument)) {
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

    const auto command = std::find_if(commands().begin(), commands().end(),
        [&](const Command &c) { return parsed.command == QLatin1String(c.name); });
    if (command == commands().end())
        co_return usageError(QStringLiteral("unknown command “%1”. Try “tessoly help”.").arg(parsed.command));
    const Shape shape = command->shape();
    const QString usage = QStringLiteral("%1 %2 [--json]")
                              .arg(QLatin1String(command->name), QLatin1String(command->arguments))
                              .simplified();
    if (parsed.words.size() < shape.minWords || parsed.words.size() > shape.maxWords)
        co_return usageError(QStringLiteral("usage: tessoly %1").arg(usage));
    for (auto it = parsed.options.cbegin(); it != parsed.options.cend(); ++it) {
        if (!shape.options.contains(it.key()))
            co_return usageError(
                QStringLiteral("%1 doesn't apply to “%2”. Usage: tessoly %3").arg(it.key(), parsed.command, usage));
    }
    co_return co_await (this->*(command->handler))(std::move(parsed));
}

} // namespace tessoly
