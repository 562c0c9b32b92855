#include "TestSupport.h"
#include "analysis/DiskScanner.h"
#include "platform/VolumeInfo.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tessoly {
// Places rows in bigFiles, which no operation of the app fills.
struct DiskScannerTestAccess {
    static void setBigFiles(DiskScanner &scanner, QList<DiskItem> items) { scanner.m_bigFiles = std::move(items); }
};
} // namespace tessoly

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

// Volume figures a test sets, with a count of queries.
class ScriptedVolumes : public platform::VolumeInfo {
public:
    std::optional<platform::VolumeAttributes> next;
    mutable int queries = 0;
    std::optional<platform::VolumeAttributes> attributesOfFileSystem(const fs::path &) const override
    {
        ++queries;
        return next;
    }
};

QStringList g_warnings;
void collectWarnings(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtWarningMsg)
        g_warnings.append(message);
}

struct Scanner : ::testing::Test {
    TempHome home;
    ScriptedVolumes volumes;
    platform::FreedesktopTrash trash{home.trash(), ::getuid()};
};

} // namespace

TEST_F(Scanner, ReadsFiguresAtConstructionAndKeepsTheLastGoodOnes)
{
    volumes.next = platform::VolumeAttributes{500'000, 200'000};
    DiskScanner scanner(home.path(), volumes, trash);
    EXPECT_EQ(scanner.totalCapacity(), 500'000);
    EXPECT_EQ(scanner.totalFree(), 200'000);
    EXPECT_EQ(scanner.totalUsed(), 300'000);
    EXPECT_DOUBLE_EQ(scanner.usedFraction(), 0.6);

    volumes.next.reset(); // the query fails
    scanner.refreshVolumeInfo();
    EXPECT_EQ(scanner.totalCapacity(), 500'000);
    EXPECT_EQ(scanner.totalFree(), 200'000);
}

TEST_F(Scanner, MissingFreeFigureCountsAsZero)
{
    volumes.next = platform::VolumeAttributes{800'000, std::nullopt};
    DiskScanner scanner(home.path(), volumes, trash);
    EXPECT_EQ(scanner.totalFree(), 0);
    EXPECT_EQ(scanner.totalUsed(), 800'000);
}

TEST_F(Scanner, UnreadableVolumeLeavesZerosAndNoDivision)
{
    DiskScanner scanner(home.path(), volumes, trash);
    EXPECT_EQ(scanner.totalCapacity(), 0);
    EXPECT_EQ(scanner.usedFraction(), 0.0);
    EXPECT_TRUE(scanner.breakdown().isEmpty());
    EXPECT_TRUE(scanner.bigFiles().isEmpty());
}

TEST_F(Scanner, TrashMovesTheItemDropsItsRowAndRefreshes)
{
    volumes.next = platform::VolumeAttributes{1000, 100};
    DiskScanner scanner(home.path(), volumes, trash);
    const fs::path file = home.path() / "Movies/big.mov";
    writeFile(file, "movie");
    DiskItem row;
    row.url = file;
    row.bytes = 5;
    DiskItem other;
    other.url = home.path() / "other";
    DiskScannerTestAccess::setBigFiles(scanner, {row, other});
    QSignalSpy rows(&scanner, &DiskScanner::bigFilesChanged);

    volumes.next = platform::VolumeAttributes{1000, 400};
    scanner.trash(row);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(fs::exists(home.trash() / "files/big.mov"));
    ASSERT_EQ(scanner.bigFiles().size(), 1);
    EXPECT_EQ(scanner.bigFiles().front().id, other.id);
    EXPECT_EQ(rows.count(), 1);
    EXPECT_EQ(scanner.totalFree(), 400);
}

TEST_F(Scanner, TrashOfAnItemNotListedStillMovesIt)
{
    DiskScanner scanner(home.path(), volumes, trash);
    const fs::path file = home.path() / "loose.bin";
    writeFile(file, "x");
    DiskItem item;
    item.url = file;
    const int before = volumes.queries;
    scanner.trash(item);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(volumes.queries, before + 1);
}

TEST_F(Scanner, FailedTrashLogsOneLineAndChangesNothing)
{
    volumes.next = platform::VolumeAttributes{1000, 100};
    DiskScanner scanner(home.path(), volumes, trash);
    DiskItem ghost;
    ghost.url = home.path() / "vanished.mov";
    DiskScannerTestAccess::setBigFiles(scanner, {ghost});
    const int before = volumes.queries;

    g_warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collectWarnings);
    scanner.trash(ghost);
    qInstallMessageHandler(previous);

    ASSERT_EQ(g_warnings.size(), 1);
    EXPECT_TRUE(g_warnings.front().startsWith("Failed to trash " + QString::fromStdString(ghost.url.native()) + ": "))
        << g_warnings.front().toStdString();
    EXPECT_EQ(scanner.bigFiles().size(), 1);
    EXPECT_EQ(volumes.queries, before);
}
