// The node_modules search on real project trees in a temporary home: its
// depth limit, size floor, and what counts as a project's activity.
#include "TestSupport.h"
#include "cleaning/NodeModulesSearch.h"
#include "platform/FileWalker.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 MiB = 1 << 20;

void touch(const fs::path &file, qint64 seconds)
{
    writeFile(file, "x");
    const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ::utimensat(AT_FDCWD, file.c_str(), times, 0);
}

std::vector<std::string> projects(const std::vector<NodeModulesFinding> &findings)
{
    std::vector<std::string> names;
    for (const NodeModulesFinding &finding : findings)
        names.push_back(finding.projectName.toStdString());
    return names;
}

} // namespace

TEST(NodeModulesSearch, DepthFloorLinksHiddenFoldersAndNesting)
{
    TempHome home;
    const fs::path &h = home.path();
    // Depth counts from the root: Projects/a/b/c/d/node_modules is at depth 5.
    fillExactly(h / "Projects/a/b/c/deep5/node_modules/pkg", 60 * MiB);
    fillExactly(h / "Projects/a/b/c/d/deep6/node_modules/pkg", 60 * MiB);
    // The floor: exactly 50 MiB stays out, one block more is in.
    fillExactly(h / "code/exact/node_modules/pkg", 50 * MiB);
    fillExactly(h / "code/above/node_modules/pkg", 50 * MiB + 4096);
    ASSERT_EQ(platform::walkTree(h / "code/exact/node_modules").allocatedBytes, 50 * MiB);
    // Nested node_modules are part of the outer one, never a find of their own.
    fillExactly(h / "work/app/node_modules/left-pad/node_modules/inner", 70 * MiB);
    // A symbolic link named node_modules, a hidden folder and a folder outside the roots.
    fillExactly(h / "elsewhere/store/node_modules", 80 * MiB);
    fs::create_directories(h / "dev/linked");
    fs::create_directory_symlink(h / "elsewhere/store/node_modules", h / "dev/linked/node_modules");
    fillExactly(h / "dev/.hidden-project/node_modules/pkg", 80 * MiB);

    const auto findings = NodeModulesSearch::find(h);
    EXPECT_EQ(projects(findings), (std::vector<std::string>{"app", "deep5", "above"}));
    ASSERT_EQ(findings.size(), 3u);
    EXPECT_EQ(findings[0].url, h / "work/app/node_modules");
    EXPECT_EQ(findings[0].bytes, 70 * MiB);
    EXPECT_EQ(findings[2].bytes, 50 * MiB + 4096);
    EXPECT_EQ(findings[0].id(), QString::fromStdString((h / "work/app/node_modules").native()));
}

TEST(NodeModulesSearch, ProjectActivityIsItsOwnVisibleFilesThreeLevelsDown)
{
    TempHome home;
    const fs::path project = home.path() / "Projects/site";
    fillExactly(project / "node_modules/pkg", 60 * MiB);
    EXPECT_FALSE(NodeModulesSearch::projectLastUsed(project)); // only node_modules: no activity
    touch(project / ".env", 1'800'000'000);                   // hidden: not activity
    EXPECT_FALSE(NodeModulesSearch::projectLastUsed(project));
    touch(project / "src/lib/deeper/too-deep.js", 1'790'000'000); // depth 4: not looked at
    touch(project / "package.json", 1'600'000'000);
    touch(project / "src/lib/util.js", 1'700'000'000); // depth 3: counts
    ASSERT_TRUE(NodeModulesSearch::projectLastUsed(project));
    EXPECT_EQ(NodeModulesSearch::projectLastUsed(project)->toSecsSinceEpoch(), 1'700'000'000);

    const auto findings = NodeModulesSearch::find(home.path());
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].projectName, "site");
    EXPECT_EQ(findings[0].projectLastUsed->toSecsSinceEpoch(), 1'700'000'000);
}

TEST(NodeModulesSearch, RootsAreTheProjectFoldersThatExistWithDocumentsFromUserDirs)
{
    TempHome home;
    const fs::path &h = home.path();
    EXPECT_TRUE(NodeModulesSearch::roots(h).folders.empty());
    fs::create_directories(h / "Dokumente");
    fs::create_directories(h / "code");
    writeFile(h / "work", "a file, not a folder");
    writeFile(h / ".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
    EXPECT_EQ(NodeModulesSearch::roots(h).folders, (std::vector<fs::path>{h / "Dokumente", h / "code"}));
}
