// Storage per app on a real temporary home: bundles with XML and binary
// Info.plist files (the binary one made by plistutil), desktop entries with
// Flatpak data and with a real system package, and the matching rules.
#include "TestSupport.h"
#include "analysis/AppStorageScanner.h"

#include <gtest/gtest.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

std::string infoPlist(const std::string &identifier, const std::string &name)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>)" + identifier + R"(</string>
<key>CFBundleName</key><string>)" + name + R"(</string>
</dict></plist>
)";
}

InstalledApp app(std::optional<QString> identifier, QString name, QStringList variants)
{
    InstalledApp installed;
    installed.bundleIdentifier = std::move(identifier);
    installed.displayName = std::move(name);
    installed.nameVariants = std::move(variants);
    return installed;
}

const AppStorage *findApp(const std::vector<AppStorage> &apps, const QString &id)
{
    const auto it = std::find_if(apps.begin(), apps.end(), [&](const AppStorage &a) { return a.id == id; });
    return it == apps.end() ? nullptr : &*it;
}

struct AppStorageScan : ::testing::Test {
    TempHome home;
    fs::path systemData = home.path() / "system-share";
    // The machine's own desktop entries stay out of these tests.
    EnvOverride dataDirs{"XDG_DATA_DIRS", QByteArray::fromStdString(systemData.native())};
    std::vector<AppStorage> scan()
    {
        AppStorageScanner scanner(home.path());
        runTask(scanner.scan());
        return scanner.apps();
    }
};

} // namespace

TEST(AppMatching, IdentifierPrefixAndNameVariantsFollowTheirOwnRules)
{
    const InstalledApp tool = app(QStringLiteral("com.vendor.tool"), "Tool", {"Tool", "com.vendor.tool"});
    // By identifier: a plain prefix, no separator needed; variants aren't consulted.
    EXPECT_TRUE(AppStorageScanner::matches("com.vendor.toolhelper", tool, true));
    EXPECT_TRUE(AppStorageScanner::matches("com.vendor.tool", tool, true));
    EXPECT_FALSE(AppStorageScanner::matches("tool", tool, true));
    // By name: equal, or the variant followed by a dot.
    const InstalledApp photo = app(std::nullopt, "Photo Tool", {"Photo Tool"});
    EXPECT_TRUE(AppStorageScanner::matches("photo tool", photo, false));
    EXPECT_TRUE(AppStorageScanner::matches("photo tool.helper", photo, false));
    EXPECT_FALSE(AppStorageScanner::matches("photo tools", photo, false));
    // Without an identifier, a by-id source falls back to the variants.
    EXPECT_TRUE(AppStorageScanner::matches("photo tool", photo, true));
}

TEST_F(AppStorageScan, BundlesPlistsAndDataFoldersAreAttributed)
{
    const fs::path apps = home.path() / "Applications";
    // An XML plist; the identifier's variant matches the cache folder although caches match by name.
    writeFile(apps / "Photo Tool.app/Contents/Info.plist", infoPlist("com.vendor.PhotoTool", "Photo Tool"));
    allocate(apps / "Photo Tool.app/Contents/MacOS/photo", 64 * 1024);
    allocate(apps / "Photo Tool.app/Contents/Frameworks/Kit.framework/kit", 1024 * 1024); // nested package: not counted
    allocate(home.cacheHome() / "com.vendor.PhotoTool/cache.db", 256 * 1024);
    // .config matches by id: "com.vendor.photoTool.sub.plist" keeps ".sub" and matches by prefix.
    allocate(home.path() / ".config/com.vendor.PhotoTool.sub.plist", 4096);
    // A binary plist, converted by the reference tool.
    const fs::path xml = home.path() / "binary.xml";
    writeFile(xml, infoPlist("org.example.Binary", "Binary App"));
    fs::create_directories(apps / "Binary.app/Contents");
    ASSERT_EQ(runProcess("plistutil", {"-i", qtPath(xml), "-o", qtPath(apps / "Binary.app/Contents/Info.plist"), "-f", "bin"}).exitCode, 0);
    ASSERT_NE(readFile(apps / "Binary.app/Contents/Info.plist").substr(0, 6), "<?xml ");
    allocate(home.dataHome() / "Binary App/data.bin", 128 * 1024);
    // No Info.plist: listed under its file name, matched by name variants, also in a by-id folder.
    fs::create_directories(apps / "Plain.app/Contents");
    allocate(home.path() / ".var/app/plain.helper/state", 8192);
    // Unattributed entries cost nothing and appear nowhere.
    allocate(home.cacheHome() / "someone-else/x", 4096);

    const std::vector<AppStorage> result = scan();
    const AppStorage *photo = findApp(result, "com.vendor.PhotoTool");
    ASSERT_NE(photo, nullptr);
    EXPECT_EQ(photo->displayName, "Photo Tool");
    ASSERT_EQ(photo->locations.size(), 3u);
    EXPECT_EQ(photo->locations[0].kind, AppStorage::Kind::Cache); // largest first
    EXPECT_EQ(photo->locations[0].bytes, 256 * 1024);
    EXPECT_EQ(photo->reclaimableBytes(), 256 * 1024);
    const auto bundle = std::find_if(photo->locations.begin(), photo->locations.end(),
                                     [](const auto &l) { return l.kind == AppStorage::Kind::AppBundle; });
    ASSERT_NE(bundle, photo->locations.end());
    EXPECT_GE(bundle->bytes, 64 * 1024);
    EXPECT_LT(bundle->bytes, 1024 * 1024) << "the nested framework was counted";
    EXPECT_EQ(photo->totalBytes, photo->locations[0].bytes + photo->locations[1].bytes + photo->locations[2].bytes);

    const AppStorage *binary = findApp(result, "org.example.Binary");
    ASSERT_NE(binary, nullptr);
    EXPECT_EQ(binary->displayName, "Binary App");
    ASSERT_EQ(binary->locations.size(), 2u);
    EXPECT_EQ(binary->locations[0].kind, AppStorage::Kind::ApplicationSupport);

    const AppStorage *plain = findApp(result, "Plain");
    ASSERT_NE(plain, nullptr);
    EXPECT_FALSE(plain->bundleIdentifier.has_value());
    ASSERT_EQ(plain->locations.size(), 2u);
    EXPECT_EQ(plain->locations[0].kind, AppStorage::Kind::Container);

    // Apps sorted by total, largest first.
    for (std::size_t i = 1; i < result.size(); ++i)
        EXPECT_GE(result[i - 1].totalBytes, result[i].totalBytes);
}

TEST_F(AppStorageScan, DesktopEntriesBringFlatpakDataAndPackageFilesAndAnEntryCountsOnce)
{
    // A Flatpak: its entry exported by the user's installation, its files in app/<id>, its data in .var/app.
    const fs::path flatpak = home.dataHome() / "flatpak";
    writeFile(flatpak / "exports/share/applications/org.example.Tool.desktop",
              "[Desktop Entry]\nType=Application\nName=Example Tool\n"
              "Exec=/usr/bin/flatpak run --branch=stable org.example.Tool %U\nStartupWMClass=extool\n");
    allocate(flatpak / "app/org.example.Tool/current/files/bin/tool", 512 * 1024);
    allocate(home.path() / ".var/app/org.example.Tool/data/store", 300 * 1024);
    allocate(home.cacheHome() / "extool/cache", 8192); // matched through the window class
    // A system package: the program's package files are its size.
    writeFile(systemData / "applications/cmake-gui.desktop",
              "[Desktop Entry]\nType=Application\nName=CMake\nExec=env LANG=C cmake --help\n");
    // Hidden entries are uninstalled apps; other types aren't apps.
    writeFile(systemData / "applications/gone.desktop", "[Desktop Entry]\nType=Application\nName=Gone\nHidden=true\n");
    writeFile(systemData / "applications/link.desktop", "[Desktop Entry]\nType=Link\nName=Link\nURL=https://example.org\n");
    // A cache matching two apps goes to the first listed: the user's applications folder lists first.
    writeFile(home.path() / "Applications/Editor.app/Contents/Info.plist", infoPlist("com.first.editor", "Editor"));
    writeFile(home.dataHome() / "applications/editor.desktop", "[Desktop Entry]\nType=Application\nName=Editor\nExec=/nonexistent/editor\n");
    allocate(home.cacheHome() / "editor/blob", 40960);

    const std::vector<AppStorage> result = scan();
    const AppStorage *tool = findApp(result, "org.example.Tool");
    ASSERT_NE(tool, nullptr);
    EXPECT_EQ(tool->displayName, "Example Tool");
    ASSERT_TRUE(tool->appBundleURL.has_value());
    EXPECT_EQ(*tool->appBundleURL, flatpak / "app/org.example.Tool");
    ASSERT_EQ(tool->locations.size(), 3u);
    EXPECT_EQ(tool->locations[0].kind, AppStorage::Kind::AppBundle);
    EXPECT_EQ(tool->locations[0].bytes, 512 * 1024);
    EXPECT_EQ(tool->locations[1].kind, AppStorage::Kind::Container);
    EXPECT_EQ(tool->locations[1].bytes, 300 * 1024);
    EXPECT_EQ(tool->locations[2].kind, AppStorage::Kind::Cache);

    const AppStorage *cmake = findApp(result, "cmake-gui");
    ASSERT_NE(cmake, nullptr);
    ASSERT_TRUE(cmake->appBundleURL.has_value());
    EXPECT_EQ(cmake->appBundleURL->filename(), "cmake");
    EXPECT_GT(cmake->totalBytes, 1024 * 1024) << "the cmake package's files weren't measured";
    EXPECT_EQ(findApp(result, "gone"), nullptr);
    EXPECT_EQ(findApp(result, "link"), nullptr);
    ASSERT_NE(findApp(result, "com.first.editor"), nullptr);
    ASSERT_NE(findApp(result, "editor"), nullptr);
    EXPECT_EQ(findApp(result, "com.first.editor")->locations.size(), 2u);
    EXPECT_EQ(findApp(result, "editor")->locations.size(), 1u) << "an app with nothing outside its bundle has one location";
}
