#pragma once

#include "cleaning/ActionOutcomes.h"
#include "cli/TerminalText.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QJsonValue>
#include <QStringList>
#include <QTextStream>
#include <optional>

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

    QCoro::Task<int> runCommand(QStringList arguments);
    int status(const Parsed &parsed);
    int history(const Parsed &parsed);
    int restore(const Parsed &parsed);
    int profiles(const Parsed &parsed);
    QCoro::Task<int> measure(Parsed parsed);
    QCoro::Task<int> clean(Parsed parsed);
    QCoro::Task<int> snapshots(Parsed parsed);
    QCoro::Task<int> reclaim(Parsed parsed);
    QCoro::Task<int> drives(Parsed parsed);
    QCoro::Task<int> move(Parsed parsed);
    int moves(const Parsed &parsed);
    QCoro::Task<int> bringBack(Parsed parsed);
    QCoro::Task<int> offload(Parsed parsed);
    QCoro::Task<int> suggestions(Parsed parsed);
    int settings(const Parsed &parsed);
    QCoro::Task<int> smartScan(Parsed parsed);
    QCoro::Task<int> easyClean(Parsed parsed);
    QCoro::Task<int> devClean(Parsed parsed);
    QCoro::Task<int> xray(Parsed parsed);
    QCoro::Task<int> apps(Parsed parsed);
    QCoro::Task<int> duplicates(Parsed parsed);
    QCoro::Task<int> search(Parsed parsed);
    QCoro::Task<int> autopilot(Parsed parsed);
    QCoro::Task<int> report(Parsed parsed);
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
