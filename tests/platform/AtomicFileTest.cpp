#include "TestSupport.h"
#include "platform/AtomicFile.h"

#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

TEST(AtomicFile, ReplacesWholeLeavesNoTemporaryFilesAndSaysWhyItFailed)
{
    TempHome home;
    const fs::path target = home.path() / "state.json";
    writeFile(target, "old");
    EXPECT_TRUE(platform::writeFileAtomically(target, "new contents").isEmpty());
    EXPECT_EQ(readFile(target), "new contents");
    EXPECT_EQ(std::distance(fs::directory_iterator(home.path()), fs::directory_iterator()), 1);

    const QString error = platform::writeFileAtomically(home.path() / "missing-folder/state.json", "data");
    EXPECT_TRUE(error.contains("No such file or directory")) << error.toStdString();
    EXPECT_FALSE(fs::exists(home.path() / "missing-folder"));
}
