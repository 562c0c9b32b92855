#pragma once

#include "cleaning/ActionOutcomes.h"
#include "cli/TerminalText.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QJsonValue>
#include <QStringList>
#include <QTextStream>
#include <optional>
#include <vector>

namespace tessoly {

class TessolyApp;

// The `tessoly <command>` interface: runs one command against the same
// services as the window, prints words (or JSON with --json) and returns the
// exit status: 0 done, 1 the operation failed, 2 a wrong command or argument.
// Progress goes to stderr when it is a terminal. With --json, stdout holds
// one JSON document on every path, a failure's with its words under "error",
// and whatever is worded goes to stderr.
class CommandLine {
public:
    CommandLine(TessolyApp &app, QTextStream &out, QTextStream &err, bool progress);
    QCoro::Task<int> run(QStringList arguments);

    [[nodiscard]] static QString usage();

private:
    struct Parsed {
        QString command;
        QStringList words;
        QHash<QString, QString> options; // "--only" -> "a,b"; flags map to ""
        [[nodiscard]] bool flag(const char *name) const { return options.contains(QLatin1String(name)); }
    };

    // What a command accepts: how many words, and its options (true when
    // one takes a value; --json always applies).
    struct Shape {
        qsizetype minWords = 0;
        qsizetype maxWords = 0;
        QHash<QString, bool> options;
    };
    using Handler = QCoro::Task<int> (CommandLine::*)(Parsed);
    struct Command {
        const char *name;
        const char *arguments; // as the usage shows them: "<path> --to <drive> [--yes]"
        const char *help; // the help's lines, without indentation
        Handler handler;
        [[nodiscard]] Shape shape() const;
    };
    [[nodiscard]] static const std::vector<Command> &commands();

    QCoro::Task<int> runCommand(QStringList arguments);
    // One per command, in the subsystem's file.
    QCoro::Task<int> status(Parsed parsed);
    QCoro::Task<int> history(Parsed parsed);
    QCoro::Task<int> restore(Parsed parsed);
    QCoro::Task<int> profiles(Parsed parsed);
    QCoro::Task<int> measure(Parsed parsed);
    QCoro::Task<int> clean(Parsed parsed);
    QCoro::Task<int> snapshots(Parsed parsed);
    QCoro::Task<int> reclaim(Parsed parsed);
    QCoro::Task<int> drives(Parsed parsed);
    QCoro::Task<int> move(Parsed parsed);
    QCoro::Task<int> moves(Parsed parsed);
    QCoro::Task<int> bringBack(Parsed parsed);
    QCoro::Task<int> offload(Parsed parsed);
    QCoro::Task<int> suggestions(Parsed parsed);
    QCoro::Task<int> settings(Parsed parsed);
    QCoro::Task<int> smartScan(Parsed parsed);
    QCoro::Task<int> easyClean(Parsed parsed);
    QCoro::Task<int> devClean(Parsed parsed);
    QCoro::Task<int> xray(Parsed parsed);
    QCoro::Task<int> apps(Parsed parsed);
    QCoro::Task<int> duplicates(Parsed parsed);
    QCoro::Task<int> search(Parsed parsed);
    QCoro::Task<int> autopilot(Parsed parsed);
    QCoro::Task<int> report(Parsed parsed);
    QCoro::Task<int> help(Parsed parsed);
    // One line on stderr, and the words of the JSON "error"; returns 2.
    int usageError(const QString &message);
    // The same for an operation that failed; returns 1.
    int fail(const QString &message);
    // Prints an action's outcome (or that nothing happened); 0 when it succeeded, else 1.
    int reportOutcome(bool json, const QString &id, const std::optional<ActionOutcome> &outcome);
    // The command's JSON result, written once the command has returned.
    void printJson(const QJsonValue &value);
    void writeJson(int code);
    void showProgress(const QString &line);

    TessolyApp &m_app;
    QTextStream &m_stdout;
    QTextStream &m_stderr;
    TerminalText m_out;
    TerminalText m_err;
    bool m_progress = false;
    bool m_json = false;
    std::optional<QJsonValue> m_result;
    QByteArray m_rawResult; // a document already in its own form (the log)
    QString m_error;
};

} // namespace tessoly
