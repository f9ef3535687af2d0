#include "paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "temp_env.h"

namespace tavix {
namespace {

namespace fs = std::filesystem;
using test::TempEnvTest;

class PathsTest : public TempEnvTest {
  protected:
    void TearDown() override {
        setLocalizedStringLookup({});
        TempEnvTest::TearDown();
    }
    void useFolderName(const std::string &name) {
        setLocalizedStringLookup(
            [name](const std::string &key) { return key == "PreferenceFolderName" ? name : key; });
    }
};

struct PathCase {
    const char *label;
    std::function<std::string()> call;
    // Relative to HOME ("~") or the system Library folder ("@").
    const char *expected;
};

TEST_F(PathsTest, EveryPathFollowsItsRootAndFolderName) {
    useFolderName("TavixTouch");
    const PathCase cases[] = {
        {"preference folder", getPreferenceFolderPath, "~/Library/Preferences/TavixTouch"},
        {"settings 317", [] { return getSettingsFilePath(317); },
         "~/Library/Preferences/TavixTouch/Settings_317.plist"},
        {"settings INT32_MIN", [] { return getSettingsFilePath(INT32_MIN); },
         "~/Library/Preferences/TavixTouch/Settings_-2147483648.plist"},
        {"settings INT32_MAX", [] { return getSettingsFileName(INT32_MAX); },
         "Settings_2147483647.plist"},
        {"advance calibration", getAdvanceCalibrationFilePath,
         "~/Library/Preferences/TavixTouch/advanceCalibrationPoints.plist"},
        {"utilities", getUilitiesFilePath, "~/Library/Preferences/TavixTouch/Utilities.plist"},
        {"calibration tool", calibrationToolFullPath,
         "@/Application Support/TavixTouch/CalibrationTool/CalibrationTool.app"},
        {"status-bar utility", utilitiesAppInStatusBarFullPath,
         "@/Application Support/TavixTouch/StatusBarApp/TavixTouchSettingUtility.app"},
        {"system folder", getSystemPreferenceFolderPath, "@/Preferences/TavixTouchPanel"},
        {"device list", getSupportDeviceListFilePath,
         "@/Preferences/TavixTouchPanel/DeviceList.plist"},
        {"resolution list", getSupportResolutionListFilePath,
         "@/Preferences/TavixTouchPanel/SupportResolutionList.plist"},
    };
    for (const auto &c : cases) {
        std::string expected = c.expected;
        if (expected[0] == '~' || expected[0] == '@') {
            expected = (expected[0] == '~' ? home_ : system_) + expected.substr(1);
        }
        EXPECT_EQ(c.call(), expected) << c.label;
    }
}

// No lookup: the key names the folder; the system lists never use the name.
TEST_F(PathsTest, FolderNameFallsBackToTheKeyOrMayBeEmpty) {
    EXPECT_EQ(getUilitiesFilePath(),
              home_ + "/Library/Preferences/PreferenceFolderName/Utilities.plist");
    EXPECT_EQ(utilitiesAppInStatusBarFullPath(),
              system_ +
                  "/Application Support/PreferenceFolderName/StatusBarApp/"
                  "TavixTouchSettingUtility.app");
    EXPECT_EQ(getSupportDeviceListFilePath(),
              system_ + "/Preferences/TavixTouchPanel/DeviceList.plist");
    useFolderName("");
    EXPECT_EQ(getUilitiesFilePath(), home_ + "/Library/Preferences/Utilities.plist");
    EXPECT_EQ(getPreferenceFolderPath(), home_ + "/Library/Preferences/");
}

TEST_F(PathsTest, FoldersAreCreatedOnEachLookupWhileApplicationPathsAreNot) {
    useFolderName("TavixTouch");
    const fs::path folder = home_ + "/Library/Preferences/TavixTouch";
    ASSERT_FALSE(fs::exists(folder));
    getUilitiesFilePath();
    EXPECT_TRUE(fs::is_directory(folder));
    fs::remove_all(folder);
    getSettingsFilePath(259);
    EXPECT_TRUE(fs::is_directory(folder)) << "a folder deleted while running comes back";
    getSupportResolutionListFilePath();
    EXPECT_TRUE(fs::is_directory(system_ + "/Preferences/TavixTouchPanel"));
    utilitiesAppInStatusBarFullPath();
    calibrationToolFullPath();
    EXPECT_FALSE(fs::exists(system_ + "/Application Support"));
}

// A file in the way of the folders: the path is still given and the file left alone.
TEST_F(PathsTest, FileInTheWayOfTheFoldersStillYieldsThePath) {
    useFolderName("TavixTouch");
    for (const std::string &blocker :
         {home_ + "/Library/Preferences/TavixTouch", home_ + "/Library"}) {
        fs::remove_all(home_ + "/Library");
        fs::create_directories(fs::path(blocker).parent_path());
        std::ofstream(blocker) << "not a folder";
        EXPECT_EQ(getUilitiesFilePath(), home_ + "/Library/Preferences/TavixTouch/Utilities.plist");
        EXPECT_TRUE(fs::is_regular_file(blocker)) << blocker;
    }
}

TEST(AppendPathComponent, PlacesExactlyOneSeparator) {
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"/a/b", "c", "/a/b/c"},
        {"/a/b/", "c", "/a/b/c"},
        {"/a/b//", "/c", "/a/b/c"},
        {"/", "c", "/c"},
        {"/a", "", "/a"},
        {"", "c", "c"},
        {"/a", "c.plist", "/a/c.plist"},
    };
    for (const auto &[base, component, expected] : cases) {
        EXPECT_EQ(appendPathComponent(base, component), expected) << base << " + " << component;
    }
}

TEST_F(PathsTest, RootsComeFromTheEnvironment) {
    ::setenv("TAVIX_SYSTEM_LIBRARY", "/elsewhere/Library", 1);
    EXPECT_EQ(systemLibraryFolder(), "/elsewhere/Library");
    ::unsetenv("TAVIX_SYSTEM_LIBRARY");
    EXPECT_EQ(systemLibraryFolder(), TAVIX_SYSTEM_LIBRARY_DEFAULT);
    EXPECT_EQ(homeDirectory(), home_);
}

}  // namespace
}  // namespace tavix
