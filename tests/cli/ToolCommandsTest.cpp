// The analysis and tool commands as real child processes on a temporary
// home: `apps`, `xray`, `devclean` (with a fake docker), `smart-scan`
// (cards named by id, never by rank) and `easy-clean`: their JSON, their
// words and their exit codes.
#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

constexpr qint64 GiB = 1'073'741'824;

TEST(AnalysisToolsCommand, AppsAndXRayAsJson)
{
    TempHome home;
    writeFile(home.dataHome() / "applications/org.example.Notes.desktop",
              "[Desktop Entry]\nType=Application\nName=Notes\nExec=/nonexistent/notes\n");
    allocate(home.cacheHome() / "org.example.Notes/index", 256 * 1024);
    const ProcessRun apps = runTessoly({"apps", "--json"});
    ASSERT_EQ(apps.exitCode, 0) << apps.err.toStdString();
    const QJsonObject notes = rowWhere(jsonObject(apps.out).value("apps").toArray(), "id", "org.example.Notes");
    EXPECT_EQ(notes.value("reclaimableBytes").toInteger(), 256 * 1024);

    const ProcessRun xray = runTessoly({"xray", "--json"});
    ASSERT_EQ(xray.exitCode, 0) << xray.err.toStdString();
    const QJsonObject caches = rowWhere(jsonObject(xray.out).value("slices").toArray(), "id", "xray.usercaches");
    EXPECT_GE(caches.value("bytes").toInteger(), 256 * 1024);
}

TEST(AnalysisToolsCommand, ShownInTheFileManagerOnlyWhenItWas)
{
    TempHome home;
    writeFile(home.trash() / "files/old.txt", std::string(64 * 1024, 't'));
    // No session bus here, and an opener that exits with the status in a file.
    const fs::path bin = home.path() / "bin";
    writeExecutable(bin / "xdg-open", "echo \"$1\" > \"$0.asked\"\nexit $(cat \"$0.status\")\n");
    EnvOverride path("PATH", QByteArray::fromStdString(bin.native()) + ':' + qgetenv("PATH"));
    EnvOverride bus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");

    writeFile(bin / "xdg-open.status", "3\n");
    EXPECT_TRUE(runTessoly({"xray", "--perform", "xray.trash"}).out.contains("exit status 3"));
    const ProcessRun refused = runTessoly({"xray", "--perform", "xray.trash", "--json"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_FALSE(jsonObject(refused.out).value("success").toBool());
    EXPECT_TRUE(jsonObject(refused.out).value("error").toString().contains("exit status 3")) << refused.out.toStdString();

    writeFile(bin / "xdg-open.status", "0\n");
    const ProcessRun shown = runTessoly({"xray", "--perform", "xray.trash", "--json"});
    EXPECT_EQ(shown.exitCode, 0) << shown.err.toStdString();
    EXPECT_TRUE(jsonObject(shown.out).value("success").toBool());
    EXPECT_EQ(readFile(bin / "xdg-open.asked"), home.dataHome().native() + "\n");
}

TEST(DevCleanCommand, ListsFindingsAndRunsOneActionAtATime)
{
    TempHome home;
    const fs::path modules = home.path() / "Projects/shop/node_modules";
    allocate(modules / "lodash/blob", 80 << 20);
    const fs::path docker = home.path() / "fake-docker";
    writeExecutable(docker, "case \"$1 $2\" in\n'system df') echo '{\"Reclaimable\":\"3.1GB (80%)\"}' ;;\n"
                            "'system prune') echo 'Total reclaimed space: 3.1GB' ;;\nesac\n");
    EnvOverride tool("TESSOLY_DOCKER", QByteArray::fromStdString(docker.native()));

    const ProcessRun listed = runTessoly({"devclean", "--json"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    const QJsonObject found = jsonObject(listed.out);
    ASSERT_EQ(found.value("nodeModules").toArray().size(), 1);
    EXPECT_EQ(found.value("nodeModules").toArray()[0].toObject().value("projectName").toString(), "shop");
    EXPECT_EQ(found.value("docker").toObject().value("reclaimableBytes").toInteger(), 3'100'000'000);

    // A relative path names no finding: refused, nothing touched.
    EXPECT_EQ(runTessoly({"devclean", "--delete-node-modules", "Projects/shop"}).exitCode, 2);
    EXPECT_TRUE(fs::exists(modules / "lodash/blob"));

    const ProcessRun pruned = runTessoly({"devclean", "--prune-docker"});
    EXPECT_EQ(pruned.exitCode, 0);
    EXPECT_TRUE(pruned.out.contains("3.1 GB")) << pruned.out.toStdString();

    const ProcessRun deleted = runTessoly({"devclean", "--delete-node-modules", qtPath(modules)});
    EXPECT_EQ(deleted.exitCode, 0) << deleted.err.toStdString();
    EXPECT_FALSE(fs::exists(modules));
    EXPECT_TRUE(fs::exists(home.trash() / "files/node_modules/lodash/blob"));

    // A failure is one JSON object with its words under "error", and the same words on stderr.
    EnvOverride missing("TESSOLY_DOCKER", QByteArray::fromStdString((home.path() / "no-docker").native()));
    const ProcessRun absent = runTessoly({"devclean", "--prune-docker", "--json"});
    EXPECT_EQ(absent.exitCode, 1);
    EXPECT_EQ(jsonObject(absent.out).value("error").toString().toUtf8(), absent.err.mid(9).chopped(1));
}

TEST(SmartScanCommand, ListsCardsAndAppliesTheCardNamedEvenAfterTheRanksMoved)
{
    TempHome home;
    allocate(home.cacheHome() / "google-chrome/Default/Cache/data", GiB + (300 << 20));
    allocate(home.path() / ".npm/_cacache/blob", GiB + (100 << 20));

    const ProcessRun listed = runTessoly({"smart-scan", "--json"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    const QJsonArray cards = jsonObject(listed.out).value("recommendations").toArray();
    ASSERT_EQ(cards.size(), 2) << listed.out.toStdString();
    EXPECT_EQ(cards[0].toObject().value("id").toString(), "clean.user.chrome");
    EXPECT_EQ(cards[1].toObject().value("id").toString(), "clean.web.npm");
    EXPECT_EQ(cards[1].toObject().value("rank").toInt(), 2);
    EXPECT_TRUE(runTessoly({"smart-scan"}).out.contains(" · id clean.web.npm\n"));

    // A card that isn't there stops everything before anything is applied.
    const ProcessRun gone = runTessoly({"smart-scan", "--apply", "clean.web.npm,clean.web.yarn", "--json"});
    EXPECT_EQ(gone.exitCode, 2);
    EXPECT_TRUE(gone.err.contains("clean.web.yarn")) << gone.err.toStdString();
    EXPECT_TRUE(jsonObject(gone.out).value("error").toString().contains("clean.web.yarn")) << gone.out.toStdString();
    EXPECT_FALSE(fs::is_empty(home.path() / ".npm"));

    // npm grows past Chrome: rank 1 is npm now, but the card named is Chrome's.
    allocate(home.path() / ".npm/_cacache/blob2", GiB);
    const ProcessRun applied = runTessoly({"smart-scan", "--apply", "clean.user.chrome"});
    ASSERT_EQ(applied.exitCode, 0) << applied.err.toStdString();
    EXPECT_TRUE(applied.out.contains("Chrome cache")) << applied.out.toStdString();
    EXPECT_TRUE(fs::is_empty(home.cacheHome() / "google-chrome"));
    EXPECT_FALSE(fs::is_empty(home.path() / ".npm"));
}

TEST(SmartScanCommand, EasyCleanPrintsEachStepAndLogsWhatItCleaned)
{
    TempHome home;
    const ProcessRun nothing = runTessoly({"easy-clean"});
    ASSERT_EQ(nothing.exitCode, 0) << nothing.err.toStdString();
    EXPECT_FALSE(fs::exists(home.historyFile()));

    allocate(home.path() / ".npm/_cacache/blob", GiB + (100 << 20));
    const ProcessRun json = runTessoly({"easy-clean", "--json"});
    ASSERT_EQ(json.exitCode, 0) << json.err.toStdString();
    const QJsonObject result = jsonObject(json.out);
    EXPECT_TRUE(result.value("steps").toArray().at(1).toString().contains("npm cache")) << json.out.toStdString();
    EXPECT_GE(result.value("inTrash").toInteger(), GiB);
    EXPECT_GE(result.value("freedNow").toInteger(), 0);
    EXPECT_TRUE(fs::is_empty(home.path() / ".npm"));
    EXPECT_EQ(jsonArray(runTessoly({"history", "--json"}).out).size(), 1);
}
