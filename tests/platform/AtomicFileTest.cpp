#include "TestSupport.h"
#include "platform/AtomicFile.h"

#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

TEST(AtomicFile, ReplacesWholeAndLeavesNoTemporaryFiles)
{
    TempHome home;
    const fs::path target = home.path() / "state.json";
    writeFile(target, "old");
    EXPECT_TRUE(platform::writeFileAtomically(target, "new contents").isEmpty());
    EXPECT_EQ(readFile(target), "new contents");
    int files = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator(home.path()))
        ++files;
    EXPECT_EQ(files, 1);
}

TEST(AtomicFile, FailureLeavesTheOldFileAndSaysWhy)
{
    TempHome home;
    const fs::path target = home.path() / "missing-folder/state.json";
    const QString error = platform::writeFileAtomically(target, "data");
    EXPECT_FALSE(error.isEmpty());
    EXPECT_TRUE(error.contains("No such file or directory")) << error.toStdString();
    EXPECT_FALSE(fs::exists(target));
}
