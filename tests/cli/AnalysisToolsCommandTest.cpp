// `tessoly xray`, `apps`, `duplicates` and `search` as real child processes
// on a temporary home: their JSON, their words and their exit codes.
#include "TestSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 MiB = 1 << 20;

QJsonObject jsonOf(const ProcessRun &run)
{
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    return QJsonDocument::fromJson(run.out).object();
}

QString text(const fs::path &path)
{
    return QString::fromStdString(path.native());
}

} // namespace

TEST(AnalysisToolsCommand, DuplicatesListAndKeep)
{
    TempHome home;
    const std::string content(2 * MiB, 'd');
    writeFile(home.path() / "Documents/report.pdf", content);
    writeFile(home.path() / "Downloads/report (1).pdf", content);
    const QJsonObject listed = jsonOf(runProcess(TESSOLY_BINARY, {"duplicates", "--json"}));
    ASSERT_EQ(listed.value("groups").toArray().size(), 1);
    EXPECT_EQ(listed.value("totalReclaimable").toInteger(), 2 * MiB);

    const ProcessRun wrong = runProcess(TESSOLY_BINARY, {"duplicates", "--keep", text(home.path() / "Documents/none.pdf")});
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_TRUE(wrong.err.contains("isn't one of the duplicates found"));

    const ProcessRun kept = runProcess(TESSOLY_BINARY, {"duplicates", "--keep", text(home.path() / "Documents/report.pdf")});
    EXPECT_EQ(kept.exitCode, 0) << kept.err.toStdString();
    EXPECT_EQ(kept.out, "Kept report.pdf, trashed the rest.\n");
    EXPECT_FALSE(fs::exists(home.path() / "Downloads/report (1).pdf"));
    const QJsonArray history = QJsonDocument::fromJson(runProcess(TESSOLY_BINARY, {"history", "--json"}).out).array();
    ASSERT_EQ(history.size(), 1);
    EXPECT_EQ(history[0].toObject().value("summary").toString(), "Trashed 1 duplicate of report.pdf");
}

TEST(AnalysisToolsCommand, SearchAppsAndXRay)
{
    TempHome home;
    allocate(home.path() / "Documents/annual-report.pdf", 12 * MiB);
    allocate(home.path() / "Documents/report-draft.txt", 64 * 1024);
    const QJsonObject found = jsonOf(runProcess(TESSOLY_BINARY, {"search", "REPORT", "--min-mb", "10", "--json"}));
    ASSERT_EQ(found.value("results").toArray().size(), 1);
    EXPECT_EQ(found.value("results").toArray()[0].toObject().value("path").toString(), text(home.path() / "Documents/annual-report.pdf"));
    EXPECT_EQ(runProcess(TESSOLY_BINARY, {"search", "x", "--limit", "0"}).exitCode, 2);
    const ProcessRun words = runProcess(TESSOLY_BINARY, {"search", "report"});
    EXPECT_TRUE(words.out.startsWith("2 results")) << words.out.toStdString();

    writeFile(home.dataHome() / "applications/org.example.Notes.desktop",
              "[Desktop Entry]\nType=Application\nName=Notes\nExec=/nonexistent/notes\n");
    allocate(home.cacheHome() / "org.example.Notes/index", 256 * 1024);
    const QJsonObject apps = jsonOf(runProcess(TESSOLY_BINARY, {"apps", "--json"}));
    const QJsonArray list = apps.value("apps").toArray();
    const auto notes = std::find_if(list.begin(), list.end(), [](const QJsonValue &v) {
        return v.toObject().value("id").toString() == "org.example.Notes";
    });
    ASSERT_NE(notes, list.end());
    EXPECT_EQ(notes->toObject().value("reclaimableBytes").toInteger(), 256 * 1024);

    const QJsonObject xray = jsonOf(runProcess(TESSOLY_BINARY, {"xray", "--json"}));
    const QJsonArray slices = xray.value("slices").toArray();
    const auto caches = std::find_if(slices.begin(), slices.end(), [](const QJsonValue &v) {
        return v.toObject().value("id").toString() == "xray.usercaches";
    });
    ASSERT_NE(caches, slices.end());
    EXPECT_GE(caches->toObject().value("bytes").toInteger(), 256 * 1024);
    EXPECT_EQ(runProcess(TESSOLY_BINARY, {"xray", "--perform", "xray.nothing"}).exitCode, 2);
    const ProcessRun cleaned = runProcess(TESSOLY_BINARY, {"xray", "--perform", "xray.usercaches"});
    EXPECT_EQ(cleaned.exitCode, 0) << cleaned.err.toStdString();
    EXPECT_TRUE(cleaned.out.startsWith("Moved ")) << cleaned.out.toStdString();
    EXPECT_FALSE(fs::exists(home.cacheHome() / "org.example.Notes"));
}

TEST(AnalysisToolsCommand, ShownInTheFileManagerOnlyWhenItWas)
{
    TempHome home;
    writeFile(home.trash() / "files/old.txt", std::string(64 * 1024, 't'));
    // No session bus here, and an opener that exits with the status in a file.
    const fs::path bin = home.path() / "bin";
    writeFile(bin / "xdg-open", "#!/bin/sh\necho \"$1\" > \"$0.asked\"\nexit $(cat \"$0.status\")\n");
    fs::permissions(bin / "xdg-open", fs::perms::owner_all);
    const QByteArray path = qgetenv("PATH");
    const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("PATH", QByteArray::fromStdString(bin.native()) + ':' + path);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");

    writeFile(bin / "xdg-open.status", "3\n");
    const ProcessRun refused = runProcess(TESSOLY_BINARY, {"xray", "--perform", "xray.trash"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.out.startsWith("Couldn't show ")) << refused.out.toStdString();
    EXPECT_TRUE(refused.out.contains("xdg-open failed (exit status 3)"));
    const ProcessRun refusedJson = runProcess(TESSOLY_BINARY, {"xray", "--perform", "xray.trash", "--json"});
    EXPECT_EQ(refusedJson.exitCode, 1);
    const QJsonObject error = QJsonDocument::fromJson(refusedJson.out).object();
    EXPECT_FALSE(error.value("success").toBool());
    EXPECT_TRUE(error.value("error").toString().startsWith("Couldn't show ")) << refusedJson.out.toStdString();

    writeFile(bin / "xdg-open.status", "0\n");
    const QJsonObject shown = jsonOf(runProcess(TESSOLY_BINARY, {"xray", "--perform", "xray.trash", "--json"}));
    EXPECT_TRUE(shown.value("success").toBool());
    EXPECT_TRUE(shown.value("message").toString().startsWith("Shown in the file manager: "));
    EXPECT_EQ(readFile(bin / "xdg-open.asked"), home.dataHome().native() + "\n");

    qputenv("PATH", path);
    bus.isNull() ? qunsetenv("DBUS_SESSION_BUS_ADDRESS") : qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
}
