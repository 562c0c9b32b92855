// The external-move commands of the real binary against a real loop drive:
// drives, move (asked on the terminal or with --yes), moves, bring-back.
#include "../moves/MovesSupport.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

struct MoveCommands : ::testing::Test {
    TempHome home;
    ExternalRoot root;
    std::unique_ptr<LoopDrive> drive;

    void SetUp() override
    {
        if (!canMount())
            GTEST_SKIP() << "mounting isn't permitted here (needs root with mount rights); CI runs this as root";
        drive = std::make_unique<LoopDrive>(root.path(), "Archive", "ext4", 32, "MoveCmdTest");
        ASSERT_TRUE(drive->ok()) << drive->error();
        roots.emplace("TESSOLY_EXTERNAL_ROOTS", QByteArray::fromStdString(root.path().native()));
    }
    std::optional<EnvOverride> roots;
    QString mount() const { return qtPath(drive->mountPoint()); }
};

} // namespace

TEST_F(MoveCommands, DrivesMoveAskBringBackAndTheirExitCodes)
{
    const ProcessRun drives = runTessoly({"drives", "--json"});
    ASSERT_EQ(drives.exitCode, 0) << drives.err.toStdString();
    const QJsonObject archive = rowWhere(jsonArray(drives.out), "mountPoint", mount());
    EXPECT_EQ(archive.value("name").toString(), "MoveCmdTest") << drives.out.toStdString();
    EXPECT_EQ(archive.value("fileSystem").toString(), "ext4");
    EXPECT_TRUE(archive.value("isSupported").toBool());
    EXPECT_TRUE(runTessoly({"drives"}).out.contains(("MoveCmdTest  " + mount() + "\n").toUtf8()));

    const fs::path film = home.path() / "Projects/Film";
    buildRichTree(film);
    const std::string before = treeSignature(film);
    const QString filmText = qtPath(film);

    // Wrong use: status 2, one line, nothing touched.
    for (const QStringList &wrong :
        QList<QStringList>{{"move", filmText}, {"move", (home.path() / "nothing").c_str(), "--to", mount()},
            {"move", filmText, "--to", "No Such Drive"}}) {
        const ProcessRun run = runTessoly(wrong);
        EXPECT_EQ(run.exitCode, 2) << wrong.join(' ').toStdString() << "\n" << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("tessoly: ")) << run.err.toStdString();
    }
    EXPECT_EQ(treeSignature(film), before);

    // Asked on the terminal, answered "n": nothing happens.
    const ProcessRun declined = runTessoly({"move", filmText, "--to", mount()}, "n\n");
    EXPECT_EQ(declined.exitCode, 1);
    EXPECT_TRUE(declined.err.contains("Allow Tessoly access to MoveCmdTest\n")) << declined.err.toStdString();
    EXPECT_TRUE(declined.out.isEmpty());
    EXPECT_EQ(treeSignature(film), before);
    EXPECT_FALSE(fs::exists(drive->mountPoint() / "Tessoly Storage/Film"));

    // --yes grants the top of the drive and moves; progress on stderr.
    const ProcessRun moved = runTessoly({"move", filmText, "--to", mount(), "--yes", "--json"});
    ASSERT_EQ(moved.exitCode, 0) << moved.err.toStdString();
    const QJsonObject result = jsonObject(moved.out);
    const fs::path external = drive->mountPoint() / "Tessoly Storage/Film";
    EXPECT_TRUE(result.value("ok").toBool());
    EXPECT_EQ(result.value("symlinkPath").toString(), filmText);
    EXPECT_EQ(result.value("movedTo").toString().toStdString(), external.native());
    EXPECT_GT(result.value("movedBytes").toInteger(), 0);
    EXPECT_TRUE(result.value("disposedToTrash").toBool());
    EXPECT_TRUE(QRegularExpression("^Preparing…\nCopying Zero KB of [0-9.]+ [KMG]B\nVerifying the copy…\nCreating the "
                                   "symlink…\nFinalizing…\n$")
                    .match(QString::fromUtf8(moved.err))
                    .hasMatch())
        << moved.err.toStdString();
    EXPECT_EQ(treeSignature(external), before);
    EXPECT_EQ(fs::read_symlink(film), external);

    // The same name again: refused, status 1, the words on stdout as JSON.
    const fs::path other = home.path() / "Other/Film";
    writeFile(other / "x.txt", "another folder of the same name");
    const ProcessRun again = runTessoly({"move", other.c_str(), "--to", "MoveCmdTest", "--json"});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_FALSE(jsonObject(again.out).value("error").toString().isEmpty()) << again.out.toStdString();
    EXPECT_EQ(readFile(other / "x.txt"), "another folder of the same name");

    // A second move, in words; the grant is used without asking.
    const fs::path music = home.path() / "Music Library";
    writeFile(music / "song.flac", std::string(40000, 's'));
    const ProcessRun words = runTessoly({"move", music.c_str(), "--to", "MoveCmdTest"});
    ASSERT_EQ(words.exitCode, 0) << words.err.toStdString();
    EXPECT_FALSE(words.err.contains("Allow Tessoly"));
    EXPECT_TRUE(words.out.contains((" → " + mount() + "/Tessoly Storage/Music Library\n").toUtf8())) << words.out.toStdString();

    // The inventory.
    const ProcessRun listed = runTessoly({"moves", "--json"});
    ASSERT_EQ(listed.exitCode, 0);
    const QJsonObject inventory = jsonObject(listed.out);
    const QJsonArray records = inventory.value("records").toArray();
    ASSERT_EQ(records.size(), 2);
    EXPECT_EQ(inventory.value("activeSymlinks").toInt(), 2);
    EXPECT_EQ(inventory.value("needsAttention").toInt(), 0);
    const QString filmId = rowWhere(records, "originalPath", filmText).value("id").toString();
    ASSERT_FALSE(filmId.isEmpty());
    const ProcessRun listedWords = runTessoly({"moves"});
    EXPECT_TRUE(listedWords.out.contains((filmId + "  Film · ").toUtf8())) << listedWords.out.toStdString();

    // Back again.
    const ProcessRun back = runTessoly({"bring-back", filmId.toLower(), "--json"});
    ASSERT_EQ(back.exitCode, 0) << back.err.toStdString() << back.out.toStdString();
    EXPECT_FALSE(fs::is_symlink(film));
    EXPECT_EQ(treeSignature(film), before);
    const ProcessRun twice = runTessoly({"bring-back", filmId});
    EXPECT_EQ(twice.exitCode, 1);
    EXPECT_EQ(twice.err.count('\n'), 1) << twice.err.toStdString();
    const ProcessRun afterwards = runTessoly({"moves", "--json"});
    EXPECT_EQ(jsonObject(afterwards.out).value("needsAttention").toInt(), 1);
}
