#include "cli/TerminalPrompter.h"

#include "cli/TerminalText.h"
#include "platform/PathText.h"

#include <cstdio>

namespace tessoly {
namespace fs = std::filesystem;
namespace {

// A request's own line ends stay; what a name holds is escaped.
QString shownLines(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines)
        line = printable(line);
    return lines.join(QLatin1Char('\n'));
}

} // namespace

TerminalPrompter::TerminalPrompter(QTextStream &err, bool yes)
    : m_err(err)
    , m_yes(yes)
{
}

QCoro::Task<std::optional<fs::path>> TerminalPrompter::chooseFolder(platform::OpenPanelRequest request)
{
    if (m_yes)
        co_return request.directory;
    m_err << shownLines(request.title) << "\n" << shownLines(request.message) << "\n"
          << "Folder to allow (Enter for " << printable(pathToText(request.directory)) << ", “n” to cancel): ";
    m_err.flush();
    char buffer[4096];
    if (std::fgets(buffer, sizeof buffer, stdin) == nullptr)
        co_return std::nullopt;
    const QString answer = QString::fromLocal8Bit(buffer).trimmed();
    if (answer.isEmpty())
        co_return request.directory;
    if (answer.compare(QLatin1String("n"), Qt::CaseInsensitive) == 0
        || answer.compare(QLatin1String("no"), Qt::CaseInsensitive) == 0)
        co_return std::nullopt;
    co_return textToPath(answer);
}

QCoro::Task<int> TerminalPrompter::alert(platform::AlertRequest request)
{
    m_err << shownLines(request.title) << "\n" << shownLines(request.text) << "\n";
    m_err.flush();
    co_return static_cast<int>(request.buttons.size()) - 1;
}

} // namespace tessoly
