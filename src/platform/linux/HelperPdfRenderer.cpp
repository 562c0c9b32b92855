#include "platform/linux/HelperPdfRenderer.h"

#include "platform/AtomicFile.h"
#include "platform/PathText.h"
#include "platform/ProcessRunner.h"

#include <QTemporaryDir>
#include <unistd.h>

namespace tessoly::platform {

HelperPdfRenderer::HelperPdfRenderer(ProcessRunner &processes, std::filesystem::path helper,
                                     std::chrono::milliseconds timeLimit)
    : m_processes(processes)
    , m_helper(std::move(helper))
    , m_timeLimit(timeLimit)
{
}

QCoro::Task<RenderedPdf> HelperPdfRenderer::render(QString html)
{
    RenderedPdf result;
    if (::access(m_helper.c_str(), X_OK) != 0) {
        result.error = QStringLiteral("the PDF printer %1 isn't installed.").arg(displayPath(m_helper));
        co_return result;
    }
    const QTemporaryDir work;
    if (!work.isValid()) {
        result.error = QStringLiteral("no temporary folder could be made (%1).").arg(work.errorString());
        co_return result;
    }
    const std::filesystem::path document = textToPath(work.filePath(QStringLiteral("report.html")));
    const std::filesystem::path pdf = textToPath(work.filePath(QStringLiteral("report.pdf")));
    if (const QString error = writeFileAtomically(document, html.toUtf8()); !error.isEmpty()) {
        result.error = error;
        co_return result;
    }
    QStringList arguments;
    arguments << pathToText(document) << pathToText(pdf);
    const ProcessOutput output = co_await m_processes.run(m_helper, arguments, m_timeLimit);
    if (!output.started) {
        result.error = QStringLiteral("the PDF printer %1 couldn't start.").arg(displayPath(m_helper));
        co_return result;
    }
    if (output.timedOut) {
        result.error = QStringLiteral("the PDF printer didn't finish within %1 seconds and was stopped.")
                           .arg(std::chrono::duration_cast<std::chrono::seconds>(m_timeLimit).count());
        co_return result;
    }
    if (output.exitCode != 0) {
        const QString said = QString::fromUtf8(output.standardError).trimmed().section(QLatin1Char('\n'), -1);
        result.error = said.isEmpty() ? QStringLiteral("the PDF printer failed (exit status %1).").arg(output.exitCode)
                                      : said;
        co_return result;
    }
    const FileContents printed = readWholeFile(pdf);
    if (!printed.ok || !printed.data.startsWith("%PDF")) {
        result.error = QStringLiteral("the PDF printer wrote no PDF.");
        co_return result;
    }
    result.pdf = printed.data;
    co_return result;
}

} // namespace tessoly::platform
