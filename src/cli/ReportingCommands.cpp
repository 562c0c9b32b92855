// The command line's reporting command: the storage report as a PDF.
#include "application/TessolyApp.h"
#include "cli/CommandLine.h"
#include "core/ByteFormat.h"
#include "platform/AtomicFile.h"
#include "platform/PathText.h"
#include "platform/Platform.h"
#include "reporting/StorageReportExporter.h"

#include <QDir>
#include <QJsonObject>
#include <sys/stat.h>
#include <unistd.h>

namespace tessoly {

QCoro::Task<int> CommandLine::report(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    const std::filesystem::path target = textToPath(QDir::current().absoluteFilePath(parsed.words.first()));
    // Said before printing, which takes a second: where the file can't go.
    struct stat st{};
    const std::filesystem::path folder = target.parent_path();
    if (::stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        co_return fail(QStringLiteral("the folder %1 doesn't exist. Nothing was written.").arg(displayPath(folder)));
    if (::access(folder.c_str(), W_OK) != 0)
        co_return fail(QStringLiteral("the folder %1 can't be written to. Nothing was written.").arg(displayPath(folder)));
    if (::stat(target.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        co_return usageError(QStringLiteral("%1 is a folder; name the PDF file to write.").arg(displayPath(target)));
    platform::PdfRenderer *renderer = m_app.platform().pdfRenderer.get();
    if (renderer == nullptr)
        co_return fail(QStringLiteral("this build has no PDF printer. Nothing was written."));
    showProgress(QStringLiteral("Printing the storage report…"));
    const QString html = StorageReportExporter::buildHTML(m_app.storageReport());
    const platform::RenderedPdf rendered = co_await renderer->render(html);
    if (!rendered.error.isEmpty())
        co_return fail(QStringLiteral("the report couldn't be printed: %1 Nothing was written.").arg(rendered.error));
    const QString error = platform::writeFileAtomically(target, rendered.pdf, platform::FileAccess::UserDefault);
    if (!error.isEmpty())
        co_return fail(QStringLiteral("the report couldn't be written to %1: %2").arg(displayPath(target), error));
    if (json) {
        printJson(QJsonObject{{QStringLiteral("path"), pathToText(target)},
                              {QStringLiteral("bytes"), static_cast<qint64>(rendered.pdf.size())}});
    } else {
        m_out << "Saved the storage report to " << displayPath(target) << " (" << formatBytes(rendered.pdf.size())
              << ").\n";
    }
    co_return 0;
}

} // namespace tessoly
