// The compact search index: its rules on synthetic entries, a comparison
// with a plain search over thousands of random names (the block search must
// agree with it), and the service on a real temporary home.
#include "TestSupport.h"
#include "analysis/SearchIndex.h"
#include "analysis/UniversalSearchService.h"
#include "platform/PathText.h"

#include <gtest/gtest.h>
#include <random>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr qint64 MiB = 1 << 20;

struct Named {
    std::string folder;
    std::string name;
    qint64 bytes;
};

SearchIndex indexOf(const std::vector<Named> &files)
{
    SearchIndex::Builder builder;
    for (const Named &file : files)
        builder.addFile(builder.addFolder(file.folder), file.name, file.bytes, 1700000000);
    return std::move(builder).finish();
}

std::vector<std::string> namesFound(const SearchIndex &index, const QString &query, double minMB = 0, int limit = 500)
{
    std::vector<std::string> names;
    for (SearchIndex::Entry entry : index.search(query, minMB, limit))
        names.emplace_back(index.rawName(entry));
    return names;
}

} // namespace

TEST(SearchIndexRules, NamesOnlySizesBlankQueriesAndNonAsciiNames)
{
    const SearchIndex index = indexOf({{"/home/u/2024", "annual-report.pdf", 5 * MiB}, {"/home/u/docs", "Notes.txt", 10 * MiB},
                                       {"/home/u/docs", "notes-old.txt", 10 * MiB - 1}, {"/home/u/docs", "ab", 1},
                                       {"/home/u/docs", "cd", 2}});
    EXPECT_EQ(namesFound(index, "REPORT"), std::vector<std::string>{"annual-report.pdf"});
    EXPECT_TRUE(namesFound(index, "2024/report").empty()) << "folders count in the match";
    EXPECT_TRUE(namesFound(index, "bc").empty()) << "a match ran across two names";
    EXPECT_EQ(namesFound(index, "   ").size(), 5u);
    EXPECT_EQ(namesFound(index, "  notes ").size(), 2u);
    // The exact boundary: 10 MB means 10,485,760 bytes and more.
    EXPECT_EQ(namesFound(index, "", 10), std::vector<std::string>{"Notes.txt"});
    EXPECT_EQ(namesFound(index, "", 0, 2), (std::vector<std::string>{"Notes.txt", "notes-old.txt"}));
    EXPECT_EQ(index.path(index.search("annual", 0, 1).front()), fs::path("/home/u/2024/annual-report.pdf"));

    // Names beyond ASCII match on their lower case, and the order by size holds.
    const SearchIndex other = indexOf({{"/d", "Ärger.txt", 30}, {"/d", "aerger.txt", 20}, {"/d", "ÄRGER-2.TXT", 10},
                                       {"/d", "TXT-ascii", 25}, {"/d", std::string("bad\xff" "name.txt"), 5}});
    EXPECT_EQ(namesFound(other, "ärger"), (std::vector<std::string>{"Ärger.txt", "ÄRGER-2.TXT"}));
    EXPECT_EQ(namesFound(other, "ÄR"), (std::vector<std::string>{"Ärger.txt", "ÄRGER-2.TXT"}));
    EXPECT_EQ(namesFound(other, ".txt"),
              (std::vector<std::string>{"Ärger.txt", "aerger.txt", "ÄRGER-2.TXT", std::string("bad\xff" "name.txt")}));
    EXPECT_EQ(namesFound(other, "txt", 0, 3), (std::vector<std::string>{"Ärger.txt", "TXT-ascii", "aerger.txt"}));
}

TEST(SearchIndexRules, AgreesWithAPlainSearchOverRandomNames)
{
    std::mt19937 random(7);
    const std::string letters = "abcXYZ-._0Aé";
    std::vector<Named> files;
    for (int i = 0; i < 20000; ++i) {
        std::string name;
        const int length = 1 + int(random() % 24);
        for (int c = 0; c < length; ++c) {
            const std::size_t pick = random() % (letters.size() - 1);
            if (letters[pick] == '\xc3')
                name += "é";
            else
                name.push_back(letters[pick]);
        }
        files.push_back({"/f" + std::to_string(i % 37), name, qint64(random() % 4000)});
    }
    const SearchIndex index = indexOf(files);
    for (const QString query : {"a", "ab", "AB", "x-", "._", "c0a", "zz", "é", "aé", "b", "-", "xyzab"}) {
        for (const double minMB : {0.0, 0.002}) {
            std::vector<std::pair<qint64, std::string>> expected;
            for (const Named &file : files)
                if (double(file.bytes) >= std::trunc(minMB * 1024 * 1024)
                    && QString::fromUtf8(file.name.c_str()).toLower().contains(query.toLower()))
                    expected.emplace_back(file.bytes, file.name);
            std::vector<std::pair<qint64, std::string>> got;
            for (SearchIndex::Entry entry : index.search(query, minMB, 1 << 30))
                got.emplace_back(index.bytes(entry), std::string(index.rawName(entry)));
            ASSERT_TRUE(std::is_sorted(got.begin(), got.end(), [](const auto &a, const auto &b) { return a.first > b.first; }));
            std::sort(expected.begin(), expected.end());
            std::sort(got.begin(), got.end());
            EXPECT_EQ(got, expected) << "query " << query.toStdString() << " minMB " << minMB;
            EXPECT_EQ(index.search(query, minMB, 500).size(), std::min<std::size_t>(500, expected.size()));
        }
    }
}

TEST(SearchService, IndexesTheHomeWithoutHiddenFilesOrPackageInsides)
{
    TempHome home;
    allocate(home.path() / "Documents/annual-report.pdf", 64 * 1024);
    allocate(home.path() / "Documents/old/annual-report-2019.pdf", 4096);
    allocate(home.path() / ".secret/report.txt", 4096);
    allocate(home.path() / "Documents/Viewer.app/Contents/report-viewer", 4096);
    allocate(home.path() / "Documents/.hidden-report", 4096);
    UniversalSearchService service(home.path());
    EXPECT_EQ(service.indexCount(), 0);

    // Two rebuilds asked at once: the second returns while the first works.
    int indexingChanges = 0;
    QObject::connect(&service, &UniversalSearchService::isIndexingChanged, [&] { ++indexingChanges; });
    QCoro::Task<void> first = service.rebuildIndex();
    EXPECT_TRUE(service.isIndexing());
    runTask(service.rebuildIndex());
    EXPECT_TRUE(service.isIndexing());
    runTask(std::move(first));
    EXPECT_EQ(indexingChanges, 2);
    EXPECT_FALSE(service.isIndexing());
    EXPECT_TRUE(service.lastIndexedAt().has_value());

    const auto found = service.search("report", 0, 500);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].url, home.path() / "Documents/annual-report.pdf");
    ASSERT_TRUE(found[0].modifiedAt.has_value());
    EXPECT_EQ(service.progress(), QStringLiteral("Indexed %1 files").arg(service.indexCount()));
    const QVariantList rows = service.searchRows("REPORT-2019", 0, 500);
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].toMap().value("name").toString(), "annual-report-2019.pdf");
    EXPECT_EQ(rows[0].toMap().value("folder").toString(), "~/Documents/old");
}
