// The guard before every clean, trash and project or duplicate search, on
// real folders and links of a temporary home.
#include "platform/PlaceGuard.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

TEST(PlaceGuard, RemovalStaysStrictlyInsideTheHomeAndAwayFromPersonalFolders)
{
    TempHome elsewhere; // a folder of the user's own outside the home (made first: the home's variables win)
    TempHome home;
    const fs::path &h = home.path();
    fs::create_directories(h / "Downloads");
    fs::create_directories(h / "Papers/2026");
    fs::create_directories(h / ".cache/yarn");
    fs::create_directories(elsewhere.path() / "cache");
    writeFile(h / ".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n");
    fs::create_directory_symlink(elsewhere.path() / "cache", h / ".cache/linked");
    fs::create_directory_symlink(h / "Downloads", h / ".cache/downloads-link");

    struct Case {
        fs::path place;
        const char *refusal; // words the refusal contains; nullptr: allowed
    };
    const Case cases[] = {
        {"/", "is the whole system"},
        {h, "your home folder"},
        {h.parent_path(), "your home folder"},
        {h / "Downloads", "your Downloads folder"},
        {h / "Papers", "your Documents folder"}, // named by user-dirs.dirs
        {h / ".cache/downloads-link", "which leads to"}, // a link judged by where it leads
        {h / ".cache/linked", "outside your home folder"},
        {"/var/cache", "outside your home folder"},
        {h / ".cache/yarn", nullptr},
        {h / "Papers/2026", nullptr}, // inside a personal folder, not the folder itself
        {h / ".cache/missing", nullptr},
    };
    for (const Case &c : cases) {
        const platform::GuardedPlace guarded = platform::guardRemoval(c.place, h);
        SCOPED_TRACE(c.place.native());
        if (c.refusal == nullptr) {
            EXPECT_TRUE(guarded.allowed()) << guarded.refusal.toStdString();
        } else {
            EXPECT_FALSE(guarded.allowed());
            EXPECT_TRUE(guarded.refusal.contains(QString::fromUtf8(c.refusal))) << guarded.refusal.toStdString();
            EXPECT_TRUE(guarded.resolved.empty());
        }
    }
}

TEST(PlaceGuard, SearchRootsFollowLinksOnlyToTheUsersOwnFolders)
{
    TempHome disk; // the user's own folder on "another disk"
    TempHome home;
    const fs::path &h = home.path();
    fs::create_directories(disk.path() / "projects");
    fs::create_directory_symlink(disk.path() / "projects", h / "Projects");
    fs::create_directory_symlink("/", h / "Documents");
    fs::create_directory_symlink("/var/cache", h / "Desktop");
    fs::create_directory_symlink(h.parent_path(), h / "code");
    fs::create_directories(h / "work");

    const auto judged
        = [&](const char *name) { return platform::guardSearchRoot(h / name, QString::fromLatin1(name), h); };
    EXPECT_EQ(judged("Projects").resolved, disk.path() / "projects");
    EXPECT_EQ(judged("work").resolved, h / "work");
    EXPECT_TRUE(judged("missing").allowed());
    EXPECT_TRUE(judged("missing").resolved.empty());
    EXPECT_TRUE(judged("Documents").refusal.contains("is the whole system"))
        << judged("Documents").refusal.toStdString();
    EXPECT_TRUE(judged("Desktop").refusal.contains("is a system folder"));
    EXPECT_TRUE(judged("code").refusal.contains("your home folder or holds it"));
    // A folder of another user (root can make one) is never searched.
    if (::getuid() == 0) {
        fs::create_directories(disk.path() / "theirs");
        ASSERT_EQ(::chown((disk.path() / "theirs").c_str(), 65534, 65534), 0);
        fs::create_directory_symlink(disk.path() / "theirs", h / "dev");
        EXPECT_TRUE(judged("dev").refusal.contains("belongs to another user")) << judged("dev").refusal.toStdString();
    }
}
