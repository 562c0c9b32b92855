#include "TestSupport.h"
#include "history/HistoryJson.h"

#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

const fs::path kGolden = fs::path(TESSOLY_TEST_DATA) / "history-golden.json";

CleanupHistoryEntry::Item item(const char *id, const char *original, qint64 bytes)
{
    CleanupHistoryEntry::Item value;
    value.id = QUuid(QString::fromLatin1(id));
    value.originalPath = original;
    value.bytes = bytes;
    return value;
}

CleanupHistoryEntry entry(const char *id, CleanupHistoryEntry::Kind kind, CleanupHistoryEntry::Status status,
                          const QString &summary, qint64 bytes, const char *timestamp,
                          std::vector<CleanupHistoryEntry::Item> items)
{
    CleanupHistoryEntry value;
    value.id = QUuid(QString::fromLatin1(id));
    value.kind = kind;
    value.status = status;
    value.summary = summary;
    value.bytesReclaimed = bytes;
    value.timestamp = QDateTime::fromString(QString::fromLatin1(timestamp), Qt::ISODate);
    value.items = std::move(items);
    return value;
}

std::vector<CleanupHistoryEntry> goldenEntries()
{
    using K = CleanupHistoryEntry::Kind;
    using S = CleanupHistoryEntry::Status;
    auto cache = item("A1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF", "/home/ann/Library/Caches/com.example \"quoted\"", 1024000);
    cache.trashedPath = "/home/ann/.local/share/Trash/files/com.example \"quoted\"";
    auto log = item("B1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF", "/home/ann/Library/Logs/tab\there\\back", 512000);
    auto moved = item("C1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF", "/home/ann/Movies/Final Cut — 2026", 4200000000);
    moved.externalPath = "/media/ann/Backup/Tessoly Storage/Final Cut — 2026";
    return {
        entry("0F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C", K::ProfileCleanup, S::PartiallyRestored, "Developer profile cleanup",
              1536000, "2026-11-22T19:08:45Z", {cache, log}),
        entry("1F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C", K::MoveToExternal, S::Unrestorable,
              "Moved Final Cut — 2026 to Backup", 4200000000, "2026-01-02T03:04:05Z", {moved}),
        entry("2F8B2C1E-6A3D-4E21-9B7C-2D4E6F8A0B1C", K::SmartCleanup, S::FullyRestored, "Nothing", 0,
              "2025-12-31T23:59:59Z", {}),
    };
}

} // namespace

TEST(HistoryJson, WritesExactlyTheGoldenBytes)
{
    const QByteArray golden = QByteArray::fromStdString(readFile(kGolden));
    ASSERT_FALSE(golden.isEmpty());
    EXPECT_EQ(encodeHistory(goldenEntries()).toStdString(), golden.toStdString());
}

TEST(HistoryJson, ReadsTheGoldenFileBackToTheSameEntries)
{
    const auto decoded = decodeHistory(QByteArray::fromStdString(readFile(kGolden)));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, goldenEntries());
}

TEST(HistoryJson, EmptyLogAndNonUtf8Paths)
{
    EXPECT_EQ(encodeHistory({}), "[\n\n]");
    auto odd = item("D1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF", "/home/ann/bad\xff\x01name", 1);
    odd.trashedPath = "/home/ann/.local/share/Trash/files/bad\xff\x01name";
    const std::vector<CleanupHistoryEntry> entries{
        CleanupHistoryEntry::make(CleanupHistoryEntry::Kind::BigFileTrash, "Trashed 1 duplicate of x", 1, {odd})};
    const QByteArray json = encodeHistory(entries);
    EXPECT_TRUE(json.contains(R"(\/home\/ann\/bad\udcff\u0001name)")) << json.toStdString();
    const auto decoded = decodeHistory(json);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->front().items.front().originalPath.native(), "/home/ann/bad\xff\x01name");
    EXPECT_EQ(*decoded, entries);
}

TEST(HistoryJson, EscapesSurviveTheRoundTrip)
{
    // Backslashes next to slashes, quotes, control characters and text beyond
    // ASCII, in a summary and in paths of both kinds (ASCII and not).
    auto odd = item("A1B2C3D4-E5F6-4711-8899-AABBCCDDEEFF", "/home/ann/back\\/slash \"q\"\\", 1);
    odd.trashedPath = "/home/ann/.local/share/Trash/files/Caf\xc3\xa9 \xf0\x9f\x93\x81 \\/\t";
    const std::vector<CleanupHistoryEntry> entries{CleanupHistoryEntry::make(
        CleanupHistoryEntry::Kind::ProfileCleanup, "a\\/b \"c\" \\\\/ d\n\u00e9\U0001F4C1 end\\", 1, {odd})};
    const QByteArray json = encodeHistory(entries);
    EXPECT_TRUE(json.contains(R"(back\\\/slash \"q\"\\)")) << json.toStdString();
    const auto decoded = decodeHistory(json);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, entries);
}

TEST(HistoryJson, OneBadValueFailsTheWholeFile)
{
    const QByteArray good = QByteArray::fromStdString(readFile(kGolden));
    EXPECT_TRUE(decodeHistory(good).has_value());
    const std::pair<const char *, const char *> breakages[] = {
        {"\"summary\" : \"Nothing\",", ""},                         // a required key missing
        {"\"kind\" : \"smartCleanup\"", "\"kind\" : \"vacuum\""},   // an unknown kind
        {"\"bytesReclaimed\" : 0", "\"bytesReclaimed\" : 0.5"},     // not an integer
        {"2025-12-31T23:59:59Z", "yesterday"},                       // not a date
        {"\"originalPath\" : \"\\/home\\/ann\\/Movies", "\"originalPath\" : 7, \"x\" : \"\\/"}, // wrong type
    };
    for (const auto &[from, to] : breakages) {
        QByteArray broken = good;
        broken.replace(from, to);
        ASSERT_NE(broken, good) << from;
        EXPECT_FALSE(decodeHistory(broken).has_value()) << from;
    }
    EXPECT_FALSE(decodeHistory("{}").has_value());
    EXPECT_FALSE(decodeHistory("[").has_value());
}

TEST(HistoryJson, NullOptionalPathsReadAsAbsent)
{
    QByteArray json = QByteArray::fromStdString(readFile(kGolden));
    json.replace("\"originalPath\" : \"\\/home\\/ann\\/Library\\/Logs", "\"trashedPath\" : null, \"externalPath\" : null, \"originalPath\" : \"\\/home\\/ann\\/Library\\/Logs");
    const auto decoded = decodeHistory(json);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_FALSE(decoded->front().items.at(1).trashedPath.has_value());
    EXPECT_FALSE(decoded->front().items.at(1).externalPath.has_value());
}
