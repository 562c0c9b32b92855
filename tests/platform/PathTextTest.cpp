#include "platform/PathText.h"

#include <gtest/gtest.h>

using namespace tessoly;

TEST(PathText, EveryByteSurvivesTheRoundTripAndTheHomeIsShortenedForDisplay)
{
    const std::string names[] = {
        "/home/a/plain.txt",
        "/home/a/caf\xc3\xa9 \xf0\x9f\x93\x81.txt", // valid UTF-8, with a 4-byte sequence
        "/home/a/bad\xff\xfe name",                 // invalid bytes
        "/home/a/\xc3",                             // truncated sequence
        "/home/a/\xed\xa0\x80",                     // an encoded surrogate is not valid UTF-8
    };
    for (const std::string &name : names) {
        const std::filesystem::path original(name);
        EXPECT_EQ(textToPath(pathToText(original)).native(), name);
    }
    // Shortened for display.
    EXPECT_EQ(abbreviateHome("/home/ann/Library/Caches", "/home/ann"), "~/Library/Caches");
    EXPECT_EQ(abbreviateHome("/home/ann", "/home/ann"), "~");
    EXPECT_EQ(abbreviateHome("/home/annex/file", "/home/ann"), "/home/annex/file");
    EXPECT_EQ(displayPath("/tmp/bad\xff"), QString("/tmp/bad") + QChar(0xFFFD));
}
