// The external-move commands of the real binary against a real loop drive:
// drives, move (asked on the terminal or with --yes), moves, bring-back.
#include "../moves/MovesSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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
        qputenv("TESSOLY_EXTERNAL_ROOTS", QByteArray::fromStdString(root.path().native()));
    }
    void TearDown() override { qunsetenv("TESSOLY_EXTERNAL_ROOTS"); }

    ProcessRun tessoly(const QStringList &arguments, const QByteArray &input = {})
    {
        return runProcess(QStringLiteral(TESSOLY_BINARY), arguments, input);
    }
    QString mount() const { return QString::fromStdString(drive->mountPoint().native()); }
};

QJsonObject driveNamed(const QJsonArray &drives, const QString &mountPoint)
{
    for (const QJsonValue &value : drives)
        if (value.toObject().value("mountPoint").toString() == mountPoint)
            return value.toObject();
    return {};
}

} // namespace

TEST_F(MoveCommands, DrivesListsTheLoopDrive)
{
    const ProcessRun json = tessoly({"drives", "--json"});
    ASSERT_EQ(json.exitCode, 0) << json.err.toStdString();
    const QJsonObject archive = driveNamed(QJsonDocument::fromJson(json.out).array(), mount());
    ASSERT_FALSE(archive.isEmpty()) << json.out.toStdString();
    EXPECT_EQ(archive.value("name").toString(), "MoveCmdTest");
    EXPECT_EQ(archive.value("fileSystem").toString(), "ext4");
    EXPECT_TRUE(archive.value("isSupported").toBool());
    EXPECT_FALSE(archive.contains("unsupportedReason"));
    EXPECT_GT(archive.value("totalBytes").toInteger(), 0);

    const ProcessRun words = tessoly({"drives"});
    ASSERT_EQ(words.exitCode, 0);
    EXPECT_TRUE(words.out.contains(("MoveCmdTest  " + mount() + "\n    ").toUtf8())) << words.out.toStdString();
    EXPECT_TRUE(words.out.contains(" · ext4\n"));
    EXPECT_EQ(tessoly({"drives", "extra"}).exitCode, 2);
}

TEST_F(MoveCommands, MoveAskBringBackAndTheirExitCodes)
{
    const fs::path film = home.path() / "Projects/Film";
    buildRichTree(film);
    const std::string before = treeSignature(film);
    const QString filmText = QString::fromStdString(film.native());

    // Wrong use: status 2, one line, nothing touched.
    for (const QStringList &wrong :
        QList<QStringList>{{"move", filmText}, {"move", (home.path() / "nothing").c_str(), "--to", mount()},
            {"move", filmText, "--to", "No Such Drive"}, {"move", "--to", mount()}, {"bring-back", "not-an-id"},
            {"bring-back", "0F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C"}}) {
        const ProcessRun run = tessoly(wrong);
        EXPECT_EQ(run.exitCode, 2) << wrong.join(' ').toStdString() << "\n" << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("tessoly: ")) << run.err.toStdString();
    }
    EXPECT_EQ(treeSignature(film), before);

    // Asked on the terminal, answered "n": nothing happens.
    const ProcessRun declined = tessoly({"move", filmText, "--to", mount()}, "n\n");
    EXPECT_EQ(declined.exitCode, 1);
    EXPECT_TRUE(declined.err.contains("Allow Tessoly access to MoveCmdTest\n")) << declined.err.toStdString();
    EXPECT_TRUE(
        declined.err.endsWith("Couldn't copy to the external drive: No destination folder chosen on MoveCmdTest.\n"))
        << declined.err.toStdString();
    EXPECT_TRUE(declined.out.isEmpty());
    EXPECT_EQ(treeSignature(film), before);
    EXPECT_FALSE(fs::exists(drive->mountPoint() / "Tessoly Storage/Film"));

    // --yes grants the top of the drive and moves; progress on stderr.
    const ProcessRun moved = tessoly({"move", filmText, "--to", mount(), "--yes", "--json"});
    ASSERT_EQ(moved.exitCode, 0) << moved.err.toStdString();
    const QJsonObject result = QJsonDocument::fromJson(moved.out).object();
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
    const ProcessRun again = tessoly({"move", other.c_str(), "--to", "MoveCmdTest", "--json"});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(QJsonDocument::fromJson(again.out).object().value("error").toString(),
        "A folder with that name already exists on the external drive. Move or rename it first.");
    EXPECT_EQ(readFile(other / "x.txt"), "another folder of the same name");

    // A second move, in words; the grant is used without asking.
    const fs::path music = home.path() / "Music Library";
    writeFile(music / "song.flac", std::string(40000, 's'));
    const ProcessRun words = tessoly({"move", music.c_str(), "--to", "MoveCmdTest"});
    ASSERT_EQ(words.exitCode, 0) << words.err.toStdString();
    EXPECT_FALSE(words.err.contains("Allow Tessoly"));
    EXPECT_EQ(QString::fromUtf8(words.out),
        "Moved successfully\nApps will keep finding the data at the original path. The original is in the "
        "Trash — empty the Trash to free the space on this disk.\n"
            + QString::fromStdString(music.native()) + " → " + mount() + "/Tessoly Storage/Music Library\n");

    // The inventory.
    const ProcessRun listed = tessoly({"moves", "--json"});
    ASSERT_EQ(listed.exitCode, 0);
    const QJsonObject inventory = QJsonDocument::fromJson(listed.out).object();
    const QJsonArray records = inventory.value("records").toArray();
    ASSERT_EQ(records.size(), 2);
    EXPECT_EQ(inventory.value("activeSymlinks").toInt(), 2);
    EXPECT_EQ(inventory.value("needsAttention").toInt(), 0);
    QString filmId;
    for (const QJsonValue &value : records) {
        EXPECT_EQ(value.toObject().value("status").toString(), "active");
        if (value.toObject().value("originalPath").toString() == filmText)
            filmId = value.toObject().value("id").toString();
    }
    ASSERT_FALSE(filmId.isEmpty());
    const ProcessRun listedWords = tessoly({"moves"});
    EXPECT_TRUE(listedWords.out.startsWith("Space freed by moves: ")) << listedWords.out.toStdString();
    EXPECT_TRUE(listedWords.out.contains((filmId + "  Film · ").toUtf8()));
    EXPECT_TRUE(listedWords.out.contains(" · Active\n    Original: "));

    // Back again.
    const ProcessRun back = tessoly({"bring-back", filmId.toLower(), "--json"});
    ASSERT_EQ(back.exitCode, 0) << back.err.toStdString() << back.out.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(back.out).object().value("message").toString(),
        "Brought back. Original location is the real folder again — external copy moved to Trash as a safety net.");
    EXPECT_FALSE(fs::is_symlink(film));
    EXPECT_EQ(treeSignature(film), before);
    const ProcessRun twice = tessoly({"bring-back", filmId});
    EXPECT_EQ(twice.exitCode, 1);
    EXPECT_EQ(twice.err, "The external copy isn't reachable. Plug the drive back in and try again.\n");
    const ProcessRun afterwards = tessoly({"moves", "--json"});
    EXPECT_EQ(QJsonDocument::fromJson(afterwards.out).object().value("needsAttention").toInt(), 1);
}
