// The storage report: its HTML against hand-written documents, the PDF the
// real printer makes of it (one page, the figures in its text), the printer's
// failures, the window's export flow, and `tessoly report` as a child process.
#include "TestSupport.h"
#include "platform/Prompter.h"
#include "platform/Revealer.h"
#include "platform/linux/HelperPdfRenderer.h"
#include "platform/linux/LinuxPlatform.h"
#include "reporting/StorageReportExporter.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

const QLocale usEnglish(QLocale::English, QLocale::UnitedStates);
const QDateTime generated(QDate(2026, 11, 23), QTime(15, 4), Qt::LocalTime);

QString golden(const char *name)
{
    return QString::fromStdString(readFile(fs::path(TESSOLY_TEST_DATA) / name));
}

StorageReport escapingReport()
{
    StorageReport report;
    report.totalCapacity = 500'000'000'000;
    report.totalUsed = 123'456'789'012;
    report.totalFree = 376'543'210'988;
    report.categories = {{QStringLiteral("Developer"), 2'500'000'000}, {QStringLiteral("<i>Caches</i> & more"), 1'000'000}};
    report.topFiles = {{QStringLiteral("<b>Tom & Jerry</b>.mov"),
                        QStringLiteral("/home/u/\"quoted\" & 'single'/<b>Tom & Jerry</b>.mov"), 2'000'000'000},
                       {QStringLiteral("&lt;already&gt;.txt"), QStringLiteral("/tmp/&lt;already&gt;.txt"), 600'000'000}};
    report.recent = {{QDateTime(QDate(2026, 11, 20), QTime(9, 5), Qt::LocalTime), QStringLiteral("Cleaned <Caches> & logs"),
                      52'300'000}};
    return report;
}

// A report as tall as it gets: 25 files with long paths and 15 cleanups.
StorageReport fullReport()
{
    StorageReport report = escapingReport();
    report.topFiles.clear();
    for (int i = 0; i < 30; ++i)
        report.topFiles.append({QStringLiteral("clip-%1 <final> & cut.mov").arg(i),
                                QStringLiteral("/home/someone/Videos/projects/a rather long folder name/clip-%1.mov").arg(i),
                                4'000'000'000 - i * 1'000'000});
    report.recent.clear();
    for (int i = 0; i < 20; ++i)
        report.recent.append({generated.addDays(-i), QStringLiteral("Profile cleanup: General User (%1)").arg(i), 1'000'000});
    return report;
}

// Text of a PDF as pdftotext reads it, without any white space (its word
// breaks follow the glyphs' spacing), and its page count.
struct PdfText {
    int pages = 0;
    QString text;
};
PdfText readPdf(const fs::path &pdf)
{
    PdfText result;
    const ProcessRun info = runProcess(QStringLiteral("pdfinfo"), {QString::fromStdString(pdf.native())});
    const QRegularExpressionMatch pages = QRegularExpression(QStringLiteral("Pages:\\s+(\\d+)")).match(QString::fromUtf8(info.out));
    result.pages = pages.hasMatch() ? pages.captured(1).toInt() : 0;
    result.text = QString::fromUtf8(
        runProcess(QStringLiteral("pdftotext"), {QString::fromStdString(pdf.native()), QStringLiteral("-")}).out);
    result.text.remove(QRegularExpression(QStringLiteral("\\s")));
    return result;
}

void writeScript(const fs::path &path, const std::string &body)
{
    writeFile(path, "#!/bin/sh\n" + body);
    fs::permissions(path, fs::perms::owner_all);
}

class CountingRenderer : public platform::PdfRenderer {
public:
    int calls = 0;
    platform::RenderedPdf answer{QByteArray("%PDF-1.4 fake"), {}};
    QCoro::Task<platform::RenderedPdf> render(QString) override
    {
        ++calls;
        platform::RenderedPdf copy = answer; // g++ 12 moves from a member named in co_return
        co_return copy;
    }
};

class OneAnswerPrompter : public platform::Prompter {
public:
    std::optional<fs::path> answer;
    std::vector<platform::SavePanelRequest> asked;
    QCoro::Task<std::optional<fs::path>> chooseFolder(platform::OpenPanelRequest) override { co_return std::nullopt; }
    QCoro::Task<int> alert(platform::AlertRequest) override { co_return 0; }
    QCoro::Task<std::optional<fs::path>> chooseSaveFile(platform::SavePanelRequest request) override
    {
        asked.push_back(request);
        std::optional<fs::path> copy = answer;
        co_return copy;
    }
};

class ListRevealer : public platform::Revealer {
public:
    std::vector<fs::path> shown;
    void reveal(const fs::path &item) override { shown.push_back(item); }
};

} // namespace

TEST(StorageReportHtml, MatchesTheDocumentsWrittenByHandLimitsRowsAndKeepsFiguresInBounds)
{
    EXPECT_EQ(StorageReportExporter::buildHTML(StorageReport{}, generated, usEnglish), golden("empty-report.html"));
    EXPECT_EQ(StorageReportExporter::buildHTML(escapingReport(), generated, usEnglish), golden("escaped-report.html"));
    // Rows are limited and figures kept in bounds.
    const QString html = StorageReportExporter::buildHTML(fullReport(), generated, usEnglish);
    EXPECT_EQ(html.count(QStringLiteral("<tr><td>clip-")), 25); // files: 25 of 30
    EXPECT_EQ(html.count(QStringLiteral("<td>Profile cleanup:")), 15); // history: 15 of 20

    StorageReport full;
    full.totalCapacity = 1000;
    full.totalUsed = 999;
    EXPECT_TRUE(StorageReportExporter::buildHTML(full, generated, usEnglish).contains(QStringLiteral("Used (99%)")));
    full.totalCapacity = 0; // no capacity: no division, 0%
    full.totalUsed = 5000;
    const QString none = StorageReportExporter::buildHTML(full, generated, usEnglish);
    EXPECT_TRUE(none.contains(QStringLiteral("Used (0%)")));
    EXPECT_TRUE(none.contains(QStringLiteral("style=\"width:0%\"")));

    EXPECT_EQ(StorageReportExporter::escapeHTML(QStringLiteral("a&lt;\"b\"'>")), QStringLiteral("a&amp;lt;\"b\"'&gt;"));
}

TEST(StorageReportPdf, OnePageWithTheFiguresAndLiteralNames)
{
    TempHome home;
    const std::unique_ptr<platform::Platform> platform = platform::makeLinuxPlatform();
    platform::HelperPdfRenderer renderer(*platform->processes, TESSOLY_RENDER_PDF);

    for (const StorageReport &report : {escapingReport(), fullReport()}) {
        const platform::RenderedPdf rendered = runTask(renderer.render(StorageReportExporter::buildHTML(report, generated, usEnglish)));
        ASSERT_TRUE(rendered.error.isEmpty()) << rendered.error.toStdString();
        const fs::path pdf = home.path() / "report.pdf";
        writeFile(pdf, rendered.pdf.toStdString());
        const PdfText read = readPdf(pdf);
        EXPECT_EQ(read.pages, 1);
        for (const char *figure : {"500GB", "123.46GB", "376.54GB"})
            EXPECT_TRUE(read.text.contains(QString::fromLatin1(figure))) << figure;
        EXPECT_TRUE(read.text.contains(QStringLiteral("USED(24%)"), Qt::CaseInsensitive)) << read.text.toStdString();
        if (report.topFiles.size() == 2) {
            EXPECT_TRUE(read.text.contains(QStringLiteral("<b>Tom&Jerry</b>.mov"))) << read.text.toStdString();
            EXPECT_TRUE(read.text.contains(QStringLiteral("Cleaned<Caches>&logs")));
        } else {
            EXPECT_TRUE(read.text.contains(QStringLiteral("clip-24<final>&cut.mov")));
            EXPECT_FALSE(read.text.contains(QStringLiteral("clip-25")));
            EXPECT_TRUE(read.text.contains(QStringLiteral("Profilecleanup:GeneralUser(14)")));
        }
    }
}

TEST(StorageReportPdf, PrinterFailuresAreSaidInWords)
{
    TempHome home;
    const std::unique_ptr<platform::Platform> platform = platform::makeLinuxPlatform();
    const QString html = StorageReportExporter::buildHTML(StorageReport{}, generated, usEnglish);
    auto renderWith = [&](const fs::path &helper, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        platform::HelperPdfRenderer renderer(*platform->processes, helper, limit);
        return runTask(renderer.render(html));
    };

    const platform::RenderedPdf missing = renderWith(home.path() / "nowhere/tessoly-render-pdf");
    EXPECT_TRUE(missing.pdf.isEmpty());
    EXPECT_TRUE(missing.error.contains(QStringLiteral("isn't installed"))) << missing.error.toStdString();

    writeScript(home.path() / "hangs", "exec sleep 30\n");
    const platform::RenderedPdf hung = renderWith(home.path() / "hangs", std::chrono::milliseconds(500));
    EXPECT_TRUE(hung.pdf.isEmpty());
    EXPECT_TRUE(hung.error.contains(QStringLiteral("didn't finish"))) << hung.error.toStdString();

    writeScript(home.path() / "fails", "echo 'engine noise' >&2\necho 'the document didn'\"'\"'t load.' >&2\nexit 1\n");
    EXPECT_EQ(renderWith(home.path() / "fails").error, QStringLiteral("the document didn't load."));

    writeScript(home.path() / "writes-junk", "echo 'not a pdf' > \"$2\"\n");
    EXPECT_TRUE(renderWith(home.path() / "writes-junk").error.contains(QStringLiteral("no PDF")));
}

TEST(StorageReportExport, SavePanelThenFileThenFileManager)
{
    TempHome home;
    CountingRenderer renderer;
    OneAnswerPrompter prompter;
    ListRevealer revealer;
    StorageReportExporter exporter(&renderer, prompter, revealer);
    // Cancelled: nothing printed, written or shown.
    runTask(exporter.exportReport(escapingReport(), home.path()));
    ASSERT_EQ(prompter.asked.size(), 1U);
    EXPECT_EQ(prompter.asked[0].directory, home.path());
    EXPECT_EQ(renderer.calls, 0);
    EXPECT_TRUE(revealer.shown.empty());
    // Chosen: the PDF at the place, over what stood there, readable as any
    // new file of the user's is (the umask says 0640 here), and shown.
    const fs::path target = home.path() / "Documents/report.pdf";
    writeFile(target, "an older report");
    prompter.answer = target;
    const mode_t oldMask = ::umask(027);
    runTask(exporter.exportReport(escapingReport(), home.path()));
    ::umask(oldMask);
    EXPECT_EQ(readFile(target), "%PDF-1.4 fake");
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
    ASSERT_EQ(revealer.shown.size(), 1U);
    EXPECT_EQ(revealer.shown.back(), target);
    // A PDF that couldn't be made: an empty file, shown all the same.
    renderer.answer = {QByteArray(), QStringLiteral("the document didn't load.")};
    runTask(exporter.exportReport(escapingReport(), home.path()));
    EXPECT_EQ(fs::file_size(target), 0U);
    EXPECT_EQ(revealer.shown.size(), 2U);
    // A place that can't be written: no file, and the file manager still opens.
    renderer.answer = {QByteArray("%PDF-1.4 fake"), {}};
    prompter.answer = home.path() / "gone/report.pdf";
    runTask(exporter.exportReport(escapingReport(), home.path()));
    EXPECT_FALSE(fs::exists(home.path() / "gone"));
    EXPECT_EQ(revealer.shown.size(), 3U);
}

TEST(StorageReportCommand, WritesOnePagePdfOrSaysWhyNot)
{
    TempHome home;
    const fs::path pdf = home.path() / "Reports/storage report.pdf";
    fs::create_directories(pdf.parent_path());
    const ProcessRun made = runProcess(TESSOLY_BINARY, {QStringLiteral("report"), QString::fromStdString(pdf.native()), QStringLiteral("--json")});
    ASSERT_EQ(made.exitCode, 0) << made.err.toStdString();
    const QJsonObject said = QJsonDocument::fromJson(made.out).object();
    EXPECT_EQ(said.value(QStringLiteral("path")).toString(), QString::fromStdString(pdf.native()));
    EXPECT_EQ(said.value(QStringLiteral("bytes")).toInteger(), static_cast<qint64>(fs::file_size(pdf)));
    const PdfText read = readPdf(pdf);
    EXPECT_EQ(read.pages, 1);
    EXPECT_TRUE(read.text.contains(QStringLiteral("Nocleanupsrecordedyet.")));

    const ProcessRun noFolder = runProcess(TESSOLY_BINARY, {QStringLiteral("report"), QString::fromStdString((home.path() / "missing/r.pdf").native())});
    EXPECT_EQ(noFolder.exitCode, 1);
    EXPECT_TRUE(noFolder.err.contains("doesn't exist")) << noFolder.err.toStdString();
    EXPECT_FALSE(fs::exists(home.path() / "missing"));

    EXPECT_EQ(runProcess(TESSOLY_BINARY, {QStringLiteral("report"), QString::fromStdString(home.path().native())}).exitCode, 2);
    EXPECT_EQ(runProcess(TESSOLY_BINARY, {QStringLiteral("report")}).exitCode, 2);
}
