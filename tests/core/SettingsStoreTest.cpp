#include "TestSupport.h"
#include "core/SettingsStore.h"
#include "platform/linux/JsonDefaultsStore.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace tessoly;
using tessoly::test::TempHome;
using tessoly::test::readFile;
using tessoly::test::writeFile;

namespace {

struct Settings : ::testing::Test {
    TempHome home;
    std::filesystem::path file = home.defaultsFile();
};

} // namespace

TEST_F(Settings, FreshInstallationWritesNothingAndStoredValuesSurviveRestarts)
{
    platform::JsonDefaultsStore defaults(file);
    SettingsStore settings(defaults);
    // Nothing is deleted outright and nothing runs by itself until the person says so.
    EXPECT_FALSE(settings.deleteImmediately());
    EXPECT_FALSE(settings.autopilotEnabled() || settings.autoCleanupEnabled());
    EXPECT_TRUE(settings.isSimpleMode());
    EXPECT_FALSE(std::filesystem::exists(file));
    // An installation from before the Easy screen keeps the full app.
    platform::JsonDefaultsStore(file).set("TessolySettings.notificationsEnabled", true);
    platform::JsonDefaultsStore older(file);
    EXPECT_FALSE(SettingsStore(older).isSimpleMode());
    // Stored false and zero are respected across restarts.
    {
        SettingsStore changed(older);
        QSignalSpy spy(&changed, &SettingsStore::notificationsEnabledChanged);
        changed.setNotificationsEnabled(false);
        changed.setAutopilotMinFreeGB(0);
        changed.setInterfaceMode("something else");
        EXPECT_EQ(spy.count(), 1);
    }
    platform::JsonDefaultsStore reread(file);
    SettingsStore restarted(reread);
    EXPECT_FALSE(restarted.notificationsEnabled());
    EXPECT_EQ(restarted.autopilotMinFreeGB(), 0);
    EXPECT_EQ(restarted.interfaceMode(), "something else");
    EXPECT_FALSE(restarted.isSimpleMode()); // only the exact "simple" picks the Easy screen
}

TEST_F(Settings, WronglyTypedValuesReadAsDefaultsAndStayInPlace)
{
    const std::string content = R"({
        "TessolySettings.notificationsEnabled": {"int": 0},
        "TessolySettings.lowDiskThresholdPercent": {"string": "95"},
        "TessolySettings.autopilotMinFreeGB": {"int": 2.5},
        "TessolySettings.externalDriveMinFreeGB": {"int": 3000000000},
        "TessolySettings.interfaceMode": {"bool": true},
        "TessolySettings.showMenubarIcon": "false",
        "TessolySettings.autoCleanupFrequency": {"string": "yearly"},
        "TessolyAutopilot.lastRunAt": {"int": 1e300}
    })";
    writeFile(file, content);
    platform::JsonDefaultsStore defaults(file);
    SettingsStore settings(defaults);
    EXPECT_TRUE(settings.notificationsEnabled());
    EXPECT_EQ(settings.lowDiskThresholdPercent(), 90);
    EXPECT_EQ(settings.autopilotMinFreeGB(), 20);
    EXPECT_EQ(settings.externalDriveMinFreeGB(), 10); // too big for an int: not wrapped to a negative
    EXPECT_FALSE(defaults.integerValue("TessolyAutopilot.lastRunAt").has_value()); // beyond 64 bits
    EXPECT_TRUE(settings.showMenubarIcon());
    EXPECT_EQ(settings.autoCleanupFrequency(), "weekly");
    // The interface mode key is present (if unusable), so this is no upgrade: "simple".
    EXPECT_EQ(settings.interfaceMode(), "simple");
    EXPECT_EQ(readFile(file), content);
}

TEST_F(Settings, CorruptFileIsLeftAloneUntilAValueChanges)
{
    const std::string garbage = "{ this is not json";
    writeFile(file, garbage);
    {
        platform::JsonDefaultsStore defaults(file);
        SettingsStore settings(defaults);
        EXPECT_EQ(settings.interfaceMode(), "simple");
        EXPECT_EQ(readFile(file), garbage);
        settings.setDeleteImmediately(true);
    }
    ASSERT_EQ(test::keptCopies(file).size(), 1u);
    EXPECT_EQ(readFile(test::keptCopies(file).at(0)), garbage); // kept aside, not lost
    {
        platform::JsonDefaultsStore defaults(file);
        SettingsStore settings(defaults);
        EXPECT_TRUE(settings.deleteImmediately());
    }
    // A second bad file is kept too, beside the first, never over it.
    writeFile(file, "\x01\x02binary");
    platform::JsonDefaultsStore defaults(file);
    SettingsStore settings(defaults);
    settings.setNotificationsEnabled(false);
    ASSERT_EQ(test::keptCopies(file).size(), 2u);
    EXPECT_EQ(readFile(test::keptCopies(file).at(0)), garbage);
    EXPECT_EQ(readFile(test::keptCopies(file).at(1)), "\x01\x02binary");
}

TEST_F(Settings, EveryValueTypeRoundTrips)
{
    {
        platform::JsonDefaultsStore defaults(file);
        defaults.set("b", true);
        defaults.set("i", qint64(1) << 40);
        defaults.set("d", 2.5);
        defaults.set("s", QString("héllo"));
        defaults.set("data", QByteArray("\x00\x01\xff", 3));
        defaults.set("map", QVariantMap{{"k", QByteArray("v")}});
    }
    platform::JsonDefaultsStore defaults(file);
    EXPECT_EQ(defaults.boolValue("b"), true);
    EXPECT_EQ(defaults.integerValue("i"), qint64(1) << 40);
    EXPECT_EQ(defaults.object("d")->toDouble(), 2.5);
    EXPECT_EQ(defaults.stringValue("s"), QString("héllo"));
    EXPECT_EQ(defaults.object("data")->toByteArray(), QByteArray("\x00\x01\xff", 3));
    EXPECT_EQ(defaults.object("map")->toMap().value("k").toByteArray(), QByteArray("v"));
    EXPECT_FALSE(defaults.boolValue("i").has_value());
    EXPECT_TRUE(defaults.remove("b"));
    EXPECT_FALSE(platform::JsonDefaultsStore(file).contains("b"));
}
