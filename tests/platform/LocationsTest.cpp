// Where the named locations live on Linux: the XDG variables, the user
// directories, and names with no counterpart.
#include "TestSupport.h"
#include "platform/Locations.h"

#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

TEST(Locations, FollowTheXdgVariablesAndUserDirectories)
{
    TempHome home;
    const fs::path &h = home.path();
    EXPECT_EQ(platform::locate("Library/Caches/Firefox", h), h / ".cache/mozilla/firefox");
    EXPECT_EQ(platform::locate("Library/pnpm/store", h), h / ".local/share/pnpm/store");
    EXPECT_EQ(platform::locate(".gradle/caches", h), h / ".gradle/caches");
    // The X-Ray's and the app data's places.
    EXPECT_EQ(platform::locate("/Library/Caches", h), fs::path("/var/cache"));
    EXPECT_EQ(platform::locate("Library/Caches", h), h / ".cache");
    // Logs are what really is a log, never the whole state folder (history, keys).
    for (const char *file : {".local/state/zsh/history", ".local/state/syncthing/key.pem", ".local/state/app/logs/a.txt",
                             ".local/state/nvim/log", ".local/state/x/y/run.log.2.gz", ".cache/b/debug.log", ".cache/b/catalog",
                             ".xsession-errors.old", "notes.log"})
        writeFile(h / file, "x");
    EXPECT_EQ(platform::locateAll("Library/Logs", h),
              (std::vector<fs::path>{h / ".cache/b/debug.log", h / ".local/state/app/logs", h / ".local/state/nvim/log",
                                     h / ".local/state/x/y/run.log.2.gz",
                                     h / ".xsession-errors.old"}));
    EXPECT_EQ(platform::locate(".Trash", h), h / ".local/share/Trash");
    EXPECT_EQ(platform::locate("Library/Containers", h), h / ".var/app");
    EXPECT_EQ(platform::locate("Library/Preferences", h), h / ".config");
    EXPECT_EQ(platform::locateAll("Library/DiagnosticReports", h),
              (std::vector<fs::path>{"/var/crash", "/var/lib/systemd/coredump"}));
    for (const fs::path &swap : platform::locateAll("/private/var/vm", h))
        EXPECT_TRUE(fs::is_regular_file(swap)) << swap; // swap files only, never a partition
    EXPECT_EQ(platform::locate("/Library/Caches/com.apple.x", h), fs::path("/Library/Caches/com.apple.x"));
    // No counterpart: the name as it stands, which simply isn't there.
    EXPECT_EQ(platform::locate("Library/Caches/com.apple.Safari", h), h / "Library/Caches/com.apple.Safari");

    const fs::path elsewhere = h / "elsewhere-cache";
    ::setenv("XDG_CACHE_HOME", elsewhere.c_str(), 1);
    EXPECT_EQ(platform::locate("Library/Caches/Google/Chrome", h), elsewhere / "google-chrome");
    ::setenv("XDG_CACHE_HOME", "relative/ignored", 1);
    EXPECT_EQ(platform::locate("Library/Caches/Yarn", h), h / ".cache/yarn");
    ::setenv("XDG_CACHE_HOME", home.cacheHome().c_str(), 1);

    EXPECT_EQ(platform::locate("Movies", h), h / "Movies");
    writeFile(h / ".config/user-dirs.dirs", "# written by xdg-user-dirs-update\n"
                                           "XDG_VIDEOS_DIR=\"$HOME/Videos\"\n"
                                           "XDG_DOWNLOAD_DIR=\"/srv/downloads\"\n"
                                           "XDG_MUSIC_DIR=\"$HOME/\"\n");
    EXPECT_EQ(platform::locate("Movies", h), h / "Videos");
    EXPECT_EQ(platform::locate("Downloads", h), fs::path("/srv/downloads"));
    EXPECT_EQ(platform::locate("Music", h), h / "Music"); // set to the home folder: not used
    // Two places: the first that exists.
    EXPECT_EQ(platform::locateAll("AndroidSDK", h), (std::vector<fs::path>{h / "AndroidSDK", h / "Android/Sdk"}));
    fs::create_directories(h / "Android/Sdk");
    EXPECT_EQ(platform::locate("AndroidSDK", h), h / "Android/Sdk");
}
