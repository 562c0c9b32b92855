// The command line on a Linux desktop's own caches: where each catalogue
// folder lives here, Smart Scan's cards and applying them by rank, and the
// one-button clean, each as a real child process.
#include "../recommendations/ScanSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 GiB = 1'073'741'824;

QJsonObject targetIn(const QJsonArray &targets, const QString &id)
{
    for (const QJsonValue &value : targets)
        if (value.toObject().value("id").toString() == id)
            return value.toObject();
    return {};
}

} // namespace

TEST(LinuxLocations, BrowserCachesUnderXdgCacheHomeAreMeasuredAndCleaned)
{
    TempHome home;
    const fs::path elsewhere = home.path() / "fast-disk/cache";
    ::setenv("XDG_CACHE_HOME", elsewhere.c_str(), 1);
    writeFile(elsewhere / "google-chrome/Default/Cache/Cache_Data/data_0", std::string(50000, 'c'));
    writeFile(elsewhere / "mozilla/firefox/abc.default-release/cache2/entries/E1", std::string(30000, 'f'));

    const ProcessRun profiles = runTessoly({"profiles"});
    EXPECT_NE(profiles.out.indexOf("~/fast-disk/cache/google-chrome"), -1) << profiles.out.toStdString();
    EXPECT_NE(profiles.out.indexOf("~/Library/Caches/com.apple.Safari"), -1);

    const ProcessRun measured = runTessoly({"measure", "generalUser", "--json"});
    ASSERT_EQ(measured.exitCode, 0) << measured.err.toStdString();
    const QJsonArray targets = QJsonDocument::fromJson(measured.out).object().value("targets").toArray();
    const QJsonObject chrome = targetIn(targets, "user.chrome");
    EXPECT_EQ(chrome.value("location").toString(), QString::fromStdString((elsewhere / "google-chrome").native()));
    EXPECT_EQ(chrome.value("path").toString(), "Library/Caches/Google/Chrome");
    EXPECT_GE(chrome.value("bytes").toInteger(), 50000);
    EXPECT_GE(targetIn(targets, "user.firefox").value("bytes").toInteger(), 30000);
    EXPECT_FALSE(targetIn(targets, "user.safari").value("present").toBool());
    const ProcessRun words = runTessoly({"measure", "generalUser"});
    EXPECT_NE(words.out.indexOf(QByteArray("Safari cache                       Not present")), -1) << words.out.toStdString();

    const ProcessRun cleaned = runTessoly({"clean", "generalUser", "--only", "user.chrome,user.firefox"});
    ASSERT_EQ(cleaned.exitCode, 0) << cleaned.err.toStdString();
    EXPECT_TRUE(fs::is_empty(elsewhere / "google-chrome"));
    EXPECT_TRUE(fs::is_empty(elsewhere / "mozilla/firefox"));
    EXPECT_TRUE(fs::exists(home.trash() / "files/Default/Cache/Cache_Data/data_0"));
    EXPECT_TRUE(fs::exists(home.trash() / "files/abc.default-release/cache2/entries/E1"));
    ::setenv("XDG_CACHE_HOME", home.cacheHome().c_str(), 1);
}

TEST(SmartScanCommand, ListsRankedCardsAndAppliesTheCardNamedEvenAfterTheRanksMoved)
{
    TempHome home;
    allocate(home.cacheHome() / "google-chrome/Default/Cache/data", GiB + (300 << 20));
    allocate(home.path() / ".npm/_cacache/blob", GiB + (100 << 20));
    allocate(home.path() / ".android/avd/Pixel.avd/snapshots/default_boot/ram.img", 2 * GiB); // caution

    const ProcessRun listed = runTessoly({"smart-scan", "--json"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    const QJsonArray cards = QJsonDocument::fromJson(listed.out).object().value("recommendations").toArray();
    ASSERT_EQ(cards.size(), 3) << listed.out.toStdString();
    // Chrome 1.4 GB and npm 1.2 GB are safe; the caution 2.1 GB card scores 1.5 GB.
    EXPECT_TRUE(cards[0].toObject().value("title").toString().startsWith("Clear Android Virtual Device snapshots — "));
    EXPECT_EQ(cards[0].toObject().value("id").toString(), "clean.android.avd");
    EXPECT_EQ(cards[0].toObject().value("risk").toString(), "caution");
    EXPECT_EQ(cards[1].toObject().value("id").toString(), "clean.user.chrome");
    EXPECT_EQ(cards[2].toObject().value("id").toString(), "clean.web.npm");
    EXPECT_EQ(cards[2].toObject().value("rank").toInt(), 3);

    const ProcessRun text = runTessoly({"smart-scan"});
    EXPECT_TRUE(text.out.startsWith("3 recommendations\n\n1. Clear Android Virtual Device snapshots — ")) << text.out.toStdString();
    EXPECT_NE(text.out.indexOf("   Caution · est. savings "), -1);
    EXPECT_NE(text.out.indexOf(" · id clean.web.npm\n"), -1);

    // Ranks are refused; a card that isn't there stops everything before anything is applied.
    EXPECT_EQ(runTessoly({"smart-scan", "--apply", "3"}).exitCode, 2);
    const ProcessRun gone = runTessoly({"smart-scan", "--apply", "clean.web.npm,clean.web.yarn", "--json"});
    EXPECT_EQ(gone.exitCode, 2);
    EXPECT_TRUE(gone.err.startsWith("tessoly: no card “clean.web.yarn” in this scan")) << gone.err.toStdString();
    const QString error = QJsonDocument::fromJson(gone.out).object().value("error").toString();
    EXPECT_TRUE(error.startsWith("no card “clean.web.yarn”")) << error.toStdString();
    EXPECT_FALSE(fs::is_empty(home.path() / ".npm"));

    // npm grows past Chrome: rank 2 is npm now, but the card named is Chrome's.
    allocate(home.path() / ".npm/_cacache/blob2", GiB);
    const ProcessRun applied = runTessoly({"smart-scan", "--apply", "clean.user.chrome"});
    ASSERT_EQ(applied.exitCode, 0) << applied.err.toStdString();
    EXPECT_NE(applied.out.indexOf(" from Chrome cache to the Trash — empty the Trash to reclaim the space.\n   Status: succeeded"), -1)
        << applied.out.toStdString();
    EXPECT_TRUE(fs::is_empty(home.cacheHome() / "google-chrome"));
    EXPECT_FALSE(fs::is_empty(home.path() / ".npm"));
    EXPECT_NE(applied.out.indexOf(" waiting in Trash\n"), -1);
}

TEST(SmartScanCommand, EasyCleanPrintsEachStepAndWhatTheDiskGained)
{
    TempHome home;
    const ProcessRun clean = runTessoly({"easy-clean"});
    ASSERT_EQ(clean.exitCode, 0) << clean.err.toStdString();
    // Nothing to clean; what the real disk gained meanwhile is whatever other programs did.
    EXPECT_TRUE(clean.out.startsWith("Looking at your disk…\nReleasing hidden space macOS was holding…\n\n")) << clean.out.toStdString();
    EXPECT_TRUE(clean.out.endsWith("Your Mac is already clean — nothing safe needed clearing.\n") || clean.out.contains("on your disk.\n"))
        << clean.out.toStdString();

    allocate(home.path() / ".npm/_cacache/blob", GiB + (100 << 20));
    const ProcessRun json = runTessoly({"easy-clean", "--json"});
    ASSERT_EQ(json.exitCode, 0) << json.err.toStdString();
    const QJsonObject result = QJsonDocument::fromJson(json.out).object();
    EXPECT_EQ(result.value("steps").toArray().at(1).toString(), "Cleaning 1 of 1 — npm cache…");
    EXPECT_GE(result.value("inTrash").toInteger(), GiB);
    EXPECT_GE(result.value("freedNow").toInteger(), 0);
    EXPECT_TRUE(result.value("result").toArray().last().toString().startsWith("Another "));
    const ProcessRun history = runTessoly({"history"});
    EXPECT_NE(history.out.indexOf("Smart Scan profile cleanup"), -1);
}
