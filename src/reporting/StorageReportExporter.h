#pragma once

#include "reporting/StorageReport.h"

#include <QCoroTask>
#include <QDate>
#include <QLocale>
#include <filesystem>

namespace tessoly {
namespace platform {
class PdfRenderer;
class Prompter;
class Revealer;
} // namespace platform

// Turns a StorageReport into a one-page PDF: a fixed HTML template, laid out
// off screen and printed.
class StorageReportExporter {
public:
    // Without a renderer every PDF comes out empty.
    StorageReportExporter(platform::PdfRenderer *renderer, platform::Prompter &prompter, platform::Revealer &revealer);

    // Who shows the save panel: the window's dialogs, or nobody.
    void setPrompter(platform::Prompter &prompter) { m_prompter = &prompter; }

    // The window's export: the save panel (cancel ends it silently), the PDF,
    // the file written, then shown in the file manager, also when the
    // writing failed. A PDF that couldn't be made is written as an empty file.
    QCoro::Task<void> exportReport(StorageReport report, std::filesystem::path suggestedFolder);

    // The document, stamped with now and written in locale's date and time.
    [[nodiscard]] static QString buildHTML(const StorageReport &report, const QDateTime &now, const QLocale &locale);
    [[nodiscard]] static QString buildHTML(const StorageReport &report);
    // Escapes &, < and > (in that order); quotes stay.
    [[nodiscard]] static QString escapeHTML(QString text);
    // "Tessoly Storage Report 2026-11-23.pdf".
    [[nodiscard]] static QString suggestedFileName(QDate today);

    // The PDF's bytes; empty when it couldn't be made (the reason is logged).
    [[nodiscard]] QCoro::Task<QByteArray> renderPDF(QString html);

private:
    platform::PdfRenderer *m_renderer;
    platform::Prompter *m_prompter;
    platform::Revealer &m_revealer;
};

} // namespace tessoly
