#include "reporting/StorageReportExporter.h"

#include "core/AppInfo.h"
#include "core/ByteFormat.h"
#include "platform/AtomicFile.h"
#include "platform/PdfRenderer.h"
#include "platform/Prompter.h"
#include "platform/Revealer.h"

#include <QDebug>
#include <algorithm>
#include <cmath>

namespace tessoly {

namespace {

constexpr qsizetype maxTopFiles = 25;
constexpr qsizetype maxRecentRows = 15;

// One rule per line: two blanks, the selector, the declarations in braces.
const char *const styleRules[][2] = {
    {"body", "font: 13px -apple-system, Inter, Helvetica, sans-serif; color: #0F172A; margin: 32px;"},
    {"h1", "font-size: 24px; margin-bottom: 4px;"},
    {"h2",
     "font-size: 16px; color: #475569; margin-top: 22px; margin-bottom: 8px; border-bottom: 1px solid #E2E8F0; "
     "padding-bottom: 4px;"},
    {".meta", "color: #64748B; font-size: 12px; margin-bottom: 22px;"},
    {".stat", "display:inline-block; margin-right: 30px;"},
    {".stat .v", "font-size: 22px; font-weight: 700; color: #0F172A;"},
    {".stat .l", "font-size: 11px; color: #64748B; text-transform: uppercase; letter-spacing: 0.04em;"},
    {"table", "width: 100%; border-collapse: collapse; font-size: 12px;"},
    {"th, td", "text-align: left; padding: 6px 10px;"},
    {"tr:nth-child(even)", "background: #F8FAFC;"},
    {"th", "background: #6366F1; color: white; font-weight: 600;"},
    {".bar", "background: #F1F5F9; height: 14px; border-radius: 7px; overflow: hidden; margin: 4px 0 18px;"},
    {".bar > div", "background: linear-gradient(90deg, #6366F1, #7C3AED); height: 100%;"},
    {"footer",
     "margin-top: 32px; color: #94A3B8; font-size: 11px; text-align: center; border-top: 1px solid #E2E8F0; "
     "padding-top: 12px;"},
    {".right", "text-align: right;"},
};

QString styleSheet()
{
    QString css;
    for (const auto &rule : styleRules)
        css += QStringLiteral("  %1 { %2 }\n").arg(QLatin1String(rule[0]), QLatin1String(rule[1]));
    return css;
}

// Used as a whole percentage of capacity, truncated; 0 for no capacity.
qint64 usedPercent(const StorageReport &report)
{
    if (report.totalCapacity < 1)
        return 0;
    return static_cast<qint64>(
        std::trunc(static_cast<double>(report.totalUsed) / static_cast<double>(report.totalCapacity) * 100.0));
}

// The full date and the short time ("Monday, November 23, 2026 at 3:04 PM").
QString generatedAt(const QDateTime &now, const QLocale &locale)
{
    const QDateTime local = now.toLocalTime();
    const QString joint = locale.language() == QLocale::English ? QStringLiteral(" at ") : QStringLiteral(" ");
    return locale.toString(local.date(), QLocale::LongFormat) + joint + locale.toString(local.time(), QLocale::ShortFormat);
}

// The short date and short time ("11/23/26, 3:04 PM").
QString shortDateTime(const QDateTime &when, const QLocale &locale)
{
    const QDateTime local = when.toLocalTime();
    return locale.toString(local.date(), QLocale::ShortFormat) + QStringLiteral(", ")
         + locale.toString(local.time(), QLocale::ShortFormat);
}

} // namespace

StorageReportExporter::StorageReportExporter(platform::PdfRenderer *renderer, platform::Prompter &prompter,
                                             platform::Revealer &revealer)
    : m_renderer(renderer)
    , m_prompter(&prompter)
    , m_revealer(revealer)
{
}

QString StorageReportExporter::escapeHTML(QString text)
{
    text.replace(QLatin1Char('&'), QLatin1String("&amp;"));
    text.replace(QLatin1Char('<'), QLatin1String("&lt;"));
    text.replace(QLatin1Char('>'), QLatin1String("&gt;"));
    return text;
}

QString StorageReportExporter::suggestedFileName(QDate today)
{
    return QStringLiteral("Tessoly Storage Report %1.pdf").arg(today.toString(QStringLiteral("yyyy-MM-dd")));
}

QString StorageReportExporter::buildHTML(const StorageReport &report)
{
    return buildHTML(report, QDateTime::currentDateTime(), QLocale::system());
}

QString StorageReportExporter::buildHTML(const StorageReport &report, const QDateTime &now, const QLocale &locale)
{
    const QString percent = QString::number(usedPercent(report));
    QString html;
    html += QStringLiteral("<!doctype html>\n<html><head><meta charset=\"utf-8\"><style>\n");
    html += styleSheet();
    html += QStringLiteral("</style></head><body>\n\n  <h1>Tessoly Storage Report</h1>\n  <div class=\"meta\">Generated ");
    html += generatedAt(now, locale);
    html += QStringLiteral("</div>\n\n  <div>\n    <span class=\"stat\"><div class=\"v\">");
    html += formatBytes(report.totalCapacity);
    html += QStringLiteral("</div><div class=\"l\">Total capacity</div></span>\n    <span class=\"stat\"><div class=\"v\">");
    html += formatBytes(report.totalUsed);
    html += QStringLiteral("</div><div class=\"l\">Used (") + percent;
    html += QStringLiteral("%)</div></span>\n    <span class=\"stat\"><div class=\"v\">");
    html += formatBytes(report.totalFree);
    html += QStringLiteral("</div><div class=\"l\">Free</div></span>\n  </div>\n\n  <div class=\"bar\"><div style=\"width:")
          + percent;
    html += QStringLiteral("%\"></div></div>\n\n  <h2>Categories</h2>\n  <table>\n"
                           "    <tr><th>Category</th><th class=\"right\">Bytes</th></tr>\n    ");
    // Category titles are the system's own words and go in as they are.
    for (const StorageReport::Category &category : report.categories)
        html += QStringLiteral("<tr><td>%1</td><td class=right>%2</td></tr>").arg(category.title, formatBytes(category.bytes));
    html += QStringLiteral("\n  </table>\n\n  <h2>Top files</h2>\n  <table>\n"
                           "    <tr><th>Name</th><th>Location</th><th class=\"right\">Size</th></tr>\n    ");
    for (const StorageReport::TopFile &file : report.topFiles.first(std::min(report.topFiles.size(), maxTopFiles)))
        html += QStringLiteral("<tr><td>%1</td><td>%2</td><td class=right>%3</td></tr>")
                    .arg(escapeHTML(file.name), escapeHTML(file.path), formatBytes(file.bytes));
    html += QStringLiteral("\n  </table>\n\n  <h2>Recent cleanups</h2>\n  ");
    if (report.recent.isEmpty()) {
        html += QStringLiteral("<p style='color:#94A3B8'>No cleanups recorded yet.</p>");
    } else {
        html += QStringLiteral("<table>\n  <tr><th>When</th><th>Operation</th><th class=\"right\">Reclaimed</th></tr>\n  ");
        for (const StorageReport::RecentCleanup &entry : report.recent.first(std::min(report.recent.size(), maxRecentRows)))
            html += QStringLiteral("<tr><td>%1</td><td>%2</td><td class=right>%3</td></tr>")
                        .arg(shortDateTime(entry.timestamp, locale), escapeHTML(entry.summary),
                             formatBytes(entry.bytesReclaimed));
        html += QStringLiteral("\n</table>");
    }
    html += QStringLiteral("\n\n  <footer>Tessoly — Storage, made obvious. · Tessoly is a %1 product. · %2</footer>\n</body></html>")
                .arg(QLatin1String(appinfo::makerName), QString::fromLatin1(appinfo::makerLink).section(QLatin1String("//"), 1));
    return html;
}

QCoro::Task<QByteArray> StorageReportExporter::renderPDF(QString html)
{
    if (m_renderer == nullptr) {
        qWarning().noquote() << "The storage report couldn't be printed: this build has no PDF printer.";
        co_return QByteArray();
    }
    const platform::RenderedPdf rendered = co_await m_renderer->render(std::move(html));
    if (!rendered.error.isEmpty())
        qWarning().noquote() << "The storage report couldn't be printed:" << rendered.error;
    co_return rendered.pdf;
}

QCoro::Task<void> StorageReportExporter::exportReport(StorageReport report, std::filesystem::path suggestedFolder)
{
    platform::SavePanelRequest request;
    request.title = QStringLiteral("Save Storage Report");
    request.suggestedName = suggestedFileName(QDate::currentDate());
    request.directory = std::move(suggestedFolder);
    request.nameFilters = QStringList{QStringLiteral("PDF document (*.pdf)")};
    const std::optional<std::filesystem::path> target = co_await m_prompter->chooseSaveFile(request);
    if (!target)
        co_return;
    const QString html = buildHTML(report);
    const QByteArray pdf = co_await renderPDF(html);
    // A failed write leaves no file; the file manager opens on the place all the same.
    const QString error = platform::writeFileAtomically(*target, pdf, platform::FileAccess::UserDefault);
    if (!error.isEmpty())
        qWarning().noquote() << "The storage report couldn't be written:" << error;
    m_revealer.reveal(*target);
}

} // namespace tessoly
