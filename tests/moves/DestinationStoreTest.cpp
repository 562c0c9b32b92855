// Write grants per drive: asked for once, remembered across restarts,
// proven by a real write before each use, forgotten when they fail.
#include "MovesSupport.h"
#include "core/DefaultsKeys.h"
#include "platform/PathText.h"

#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

ExternalDrive driveAt(const fs::path &mountPoint)
{
    return {mountPoint, QStringLiteral("Archive"), mountPoint, 0, 0, QStringLiteral("ext4"), true};
}

struct Grants : ::testing::Test {
    TempHome home;
    ScriptedPrompter prompter;
    RecordingRevealer revealer;
    std::unique_ptr<platform::JsonDefaultsStore> defaults
        = std::make_unique<platform::JsonDefaultsStore>(home.defaultsFile());
    std::unique_ptr<ExternalDestinationStore> store
        = std::make_unique<ExternalDestinationStore>(*defaults, prompter, revealer);
    fs::path mount = home.path() / "media/Archive";
    ExternalDrive drive = driveAt(mount);

    void SetUp() override { fs::create_directories(mount); }
    // A new process: everything read back from the disk.
    void restart()
    {
        store.reset();
        defaults = std::make_unique<platform::JsonDefaultsStore>(home.defaultsFile());
        store = std::make_unique<ExternalDestinationStore>(*defaults, prompter, revealer);
    }
    std::unique_ptr<ScopedURL> ask(const ExternalDrive &to) { return runTask(store->requestAccess(to)); }
};

} // namespace

TEST_F(Grants, FirstMoveAsksThenTheGrantIsUsedSilentlyAfterARestart)
{
    EXPECT_EQ(store->scopedURL(drive), nullptr); // nothing granted yet, nothing shown

    prompter.folders.push_back(mount);
    const std::unique_ptr<ScopedURL> scoped = ask(drive);
    ASSERT_NE(scoped, nullptr);
    EXPECT_EQ(scoped->url(), mount / "Tessoly Storage");
    EXPECT_TRUE(fs::is_directory(mount / "Tessoly Storage"));
    EXPECT_FALSE(fs::exists(mount / "Tessoly Storage/.tessoly-write-test"));
    ASSERT_EQ(prompter.panels.size(), 1u);
    EXPECT_EQ(prompter.panels[0].directory, mount);
    EXPECT_TRUE(prompter.alerts.empty());
    const QString key = pathToText(mount);
    ASSERT_EQ(store->bookmarks().keys(), QStringList{key});
    // A value under the key that isn't data, or no map at all, empties the whole map.
    const QByteArray good = store->bookmarks().value(key);
    for (const QVariant &bad : {QVariant(QVariantMap{{key, good}, {"/media/Other", "not data"}}),
             QVariant(QVariantMap{{key, good}, {"/media/Other", qint64(7)}}), QVariant("not a map")}) {
        ASSERT_TRUE(defaults->set(keys::driveGrants, bad));
        restart();
        EXPECT_TRUE(store->bookmarks().isEmpty()) << bad.toString().toStdString();
        EXPECT_EQ(store->scopedURL(drive), nullptr);
    }
    ASSERT_TRUE(defaults->set(keys::driveGrants, QVariantMap{{key, good}}));

    restart();
    // A write test left behind by a crash is overwritten and removed.
    writeFile(mount / "Tessoly Storage/.tessoly-write-test", "left by a crash");
    const std::unique_ptr<ScopedURL> again = store->scopedURL(drive);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->url(), mount / "Tessoly Storage");
    EXPECT_FALSE(fs::exists(mount / "Tessoly Storage/.tessoly-write-test"));
    EXPECT_EQ(prompter.panels.size(), 1u); // the silent path showed nothing
    // "Tessoly Storage" removed meanwhile: made again.
    fs::remove_all(mount / "Tessoly Storage");
    ASSERT_NE(store->scopedURL(drive), nullptr);
    EXPECT_TRUE(fs::is_directory(mount / "Tessoly Storage"));
    // Another folder now at the granted path (new identity): forgotten.
    fs::rename(mount, home.path() / "media/Archive-old"); // kept, so its inode isn't reused
    fs::create_directories(mount);
    EXPECT_EQ(store->scopedURL(drive), nullptr);
    EXPECT_TRUE(store->bookmarks().isEmpty());
    restart();
    EXPECT_TRUE(store->bookmarks().isEmpty());
}

TEST_F(Grants, WhatThePanelMayAnswerAndWhereAWriteTestFails)
{
    const fs::path elsewhere = home.path() / "Documents";
    const fs::path lookalike = home.path() / "media/Archive2"; // same leading characters
    for (const fs::path &p : {mount / "Projects/2024", elsewhere, lookalike})
        fs::create_directories(p);
    // Cancelled: nothing, silently.
    prompter.folders.push_back(std::nullopt);
    EXPECT_EQ(ask(drive), nullptr);
    EXPECT_TRUE(prompter.alerts.empty());
    EXPECT_TRUE(store->bookmarks().isEmpty());
    EXPECT_FALSE(fs::exists(home.defaultsFile()));
    // Another drive: one alert, nothing stored, no retry.
    prompter.folders.push_back(elsewhere);
    EXPECT_EQ(ask(drive), nullptr);
    EXPECT_EQ(prompter.alerts.size(), 1u);
    EXPECT_EQ(prompter.panels.size(), 2u);
    EXPECT_TRUE(store->bookmarks().isEmpty());
    EXPECT_FALSE(fs::exists(elsewhere / "Tessoly Storage"));
    // The prefix test is on the strings: a look-alike path passes it.
    prompter.folders.push_back(lookalike);
    EXPECT_NE(ask(drive), nullptr);
    EXPECT_EQ(prompter.alerts.size(), 1u);
    // A sub-folder of the drive: "Tessoly Storage" goes inside it, the grant is for it.
    prompter.folders.push_back(mount / "Projects/2024");
    const std::unique_ptr<ScopedURL> scoped = ask(drive);
    ASSERT_NE(scoped, nullptr);
    EXPECT_EQ(scoped->url(), mount / "Projects/2024/Tessoly Storage");
    EXPECT_TRUE(fs::is_directory(mount / "Projects/2024/Tessoly Storage"));
    EXPECT_FALSE(fs::exists(mount / "Tessoly Storage"));
    restart();
    const std::unique_ptr<ScopedURL> silent = store->scopedURL(drive);
    ASSERT_NE(silent, nullptr);
    EXPECT_EQ(silent->url(), mount / "Projects/2024/Tessoly Storage");
    // The write test makes the folder, and fails where nothing can be written.
    EXPECT_TRUE(canWrite(home.path() / "new/deeper"));
    EXPECT_TRUE(fs::is_directory(home.path() / "new/deeper"));
    EXPECT_FALSE(fs::exists(home.path() / "new/deeper/.tessoly-write-test"));
    writeFile(home.path() / "a-file", "x");
    EXPECT_FALSE(canWrite(home.path() / "a-file"));
    EXPECT_FALSE(canWrite(home.path() / "a-file/below"));
    // A grant names one folder on one volume.
    const std::optional<QByteArray> grant = makeGrant(home.path());
    ASSERT_TRUE(grant.has_value());
    EXPECT_EQ(resolveGrant(*grant), home.path());
    EXPECT_FALSE(makeGrant(home.path() / "a-file").has_value());
    EXPECT_FALSE(resolveGrant("{}").has_value());
    EXPECT_FALSE(resolveGrant("not json").has_value());
}

TEST_F(Grants, ReformattedReadOnlyAndProtectedDrivesOnARealMount)
{
    SKIP_UNLESS_MOUNTABLE();
    ExternalRoot root;
    LoopDrive loop(root.path(), "Archive", "ext4", 16, "Archive");
    ASSERT_TRUE(loop.ok()) << loop.error();
    drive = driveAt(loop.mountPoint());

    prompter.folders.push_back(loop.mountPoint());
    ASSERT_NE(ask(drive), nullptr);
    ASSERT_EQ(store->bookmarks().size(), 1);
    restart();
    ASSERT_NE(store->scopedURL(drive), nullptr);
    // Formatted again and mounted at the same path: the grant no longer
    // resolves, forgets itself, and the next request asks again.
    ASSERT_TRUE(loop.reformat()) << loop.error();
    restart();
    ASSERT_EQ(store->bookmarks().size(), 1);
    EXPECT_EQ(store->scopedURL(drive), nullptr);
    EXPECT_TRUE(store->bookmarks().isEmpty());
    restart();
    EXPECT_TRUE(store->bookmarks().isEmpty()); // the removal was persisted
    const std::size_t panels = prompter.panels.size();
    prompter.folders.push_back(loop.mountPoint());
    ASSERT_NE(ask(drive), nullptr);
    EXPECT_EQ(prompter.panels.size(), panels + 1);
    ASSERT_EQ(store->bookmarks().size(), 1);
    // The write test fails (read-only): the grant is removed.
    ASSERT_TRUE(loop.remount("ro"));
    EXPECT_EQ(store->scopedURL(drive), nullptr);
    EXPECT_TRUE(store->bookmarks().isEmpty());
    ASSERT_TRUE(loop.remount("rw"));
    // A folder nothing may write into: the ownership alert, no grant.
    const fs::path locked = loop.mountPoint() / "Locked";
    fs::create_directories(locked);
    ASSERT_EQ(runProcess("chattr", {"+i", QString::fromStdString(locked.native())}).exitCode, 0);
    prompter.folders.push_back(locked);
    prompter.buttons.push_back(0);
    EXPECT_EQ(ask(drive), nullptr);
    EXPECT_EQ(prompter.alerts.size(), 1u);
    EXPECT_EQ(revealer.revealed, std::vector<fs::path>{loop.mountPoint()});
    EXPECT_TRUE(store->bookmarks().isEmpty());
    prompter.folders.push_back(locked);
    prompter.buttons.push_back(1); // "Not Now"
    EXPECT_EQ(ask(drive), nullptr);
    EXPECT_EQ(revealer.revealed.size(), 1u);
    runProcess("chattr", {"-i", QString::fromStdString(locked.native())});
}
