// `tessoly devclean` as a real child process, with a fake docker program.
#include "TestSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

TEST(DevCleanCommand, ListsFindingsAndRunsOneActionAtATime)
{
    TempHome home;
    const fs::path blob = home.path() / "Projects/shop/node_modules/lodash/blob";
    allocate(blob, 80 << 20);
    const fs::path docker = home.path() / "fake-docker";
    writeFile(docker, "#!/bin/sh\ncase \"$1 $2\" in\n'system df') echo '{\"Reclaimable\":\"3.1GB (80%)\"}' ;;\n"
                      "'system prune') echo 'Total reclaimed space: 3.1GB' ;;\nesac\n");
    fs::permissions(docker, fs::perms::owner_all);
    qputenv("TESSOLY_DOCKER", QByteArray::fromStdString(docker.native()));

    const ProcessRun listed = runProcess(TESSOLY_BINARY, {"devclean", "--json"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    const QJsonObject found = QJsonDocument::fromJson(listed.out).object();
    ASSERT_EQ(found.value("nodeModules").toArray().size(), 1);
    EXPECT_EQ(found.value("nodeModules").toArray()[0].toObject().value("projectName").toString(), "shop");
    EXPECT_EQ(found.value("docker").toObject().value("reclaimableBytes").toInteger(), 3'100'000'000);
    EXPECT_EQ(found.value("docker").toObject().value("state").toString(), "ready");

    EXPECT_EQ(runProcess(TESSOLY_BINARY, {"devclean", "--prune-docker", "--remove-unavailable"}).exitCode, 2);
    const ProcessRun wrong = runProcess(TESSOLY_BINARY, {"devclean", "--delete-node-modules", "Projects/shop"});
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_TRUE(fs::exists(blob));

    const ProcessRun pruned = runProcess(TESSOLY_BINARY, {"devclean", "--prune-docker"});
    EXPECT_EQ(pruned.exitCode, 0);
    EXPECT_TRUE(pruned.out.startsWith("Docker reclaimed 3.1 GB.")) << pruned.out.toStdString();

    const ProcessRun deleted = runProcess(
        TESSOLY_BINARY, {"devclean", "--delete-node-modules", QString::fromStdString((home.path() / "Projects/shop/node_modules").native())});
    EXPECT_EQ(deleted.exitCode, 0) << deleted.err.toStdString();
    EXPECT_EQ(deleted.out, "Moved to Trash — empty the Trash to reclaim 83.9 MB.\n");
    EXPECT_TRUE(fs::exists(home.trash() / "files/node_modules/lodash/blob"));

    // --json is one JSON object whatever happens, a failure's with its words under "error".
    const ProcessRun nothing = runProcess(TESSOLY_BINARY, {"devclean", "--remove-unavailable", "--json"});
    EXPECT_EQ(nothing.exitCode, 0);
    EXPECT_EQ(QJsonDocument::fromJson(nothing.out).object().value("message"), "No orphaned simulator devices.");
    qputenv("TESSOLY_DOCKER", QByteArray::fromStdString((home.path() / "no-docker").native()));
    const ProcessRun absent = runProcess(TESSOLY_BINARY, {"devclean", "--prune-docker", "--json"});
    EXPECT_EQ(absent.exitCode, 1);
    EXPECT_EQ(QJsonDocument::fromJson(absent.out).object().value("error"), "Docker isn't installed on this Mac.");
    EXPECT_EQ(absent.err, "tessoly: Docker isn't installed on this Mac.\n");
    qunsetenv("TESSOLY_DOCKER");
}
