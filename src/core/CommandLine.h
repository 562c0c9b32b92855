#pragma once

#include <QStringList>
#include <QTextStream>

namespace tessoly {

class TessolyApp;

// The `tessoly <command>` interface: runs one command against the same
// services as the window, prints words (or JSON with --json) and returns the
// exit status: 0 done, 1 the operation failed, 2 a wrong command or argument.
class CommandLine {
public:
    CommandLine(TessolyApp &app, QTextStream &out, QTextStream &err);
    int run(const QStringList &arguments);

    [[nodiscard]] static QString usage();

private:
    int status(bool json);
    int history(bool json);
    int restore(const QString &entryId, bool json);
    int usageError(const QString &message);

    TessolyApp &m_app;
    QTextStream &m_out;
    QTextStream &m_err;
};

} // namespace tessoly
