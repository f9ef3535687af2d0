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

// Expected paths are relative to HOME ("~") or the system Library folder ("@").
TEST_F(PathsTest, EveryPathFollowsItsRootAndFolderName) {
    useFolderName("TavixTouch");
    const std::string prefs = "~/Library/Preferences/TavixTouch";
    const std::pair<std::function<std::string()>, std::string> cases[] = {
        {getPreferenceFolderPath, prefs},
        {[] { return getSettingsFilePath(317); }, prefs + "/Settings_317.plist"},
        {getAdvanceCalibrationFilePath, prefs + "/advanceCalibrationPoints.plist"},
        {getUilitiesFilePath, prefs + "/Utilities.plist"},
        {calibrationToolFullPath,
         "@/Application Support/TavixTouch/CalibrationTool/CalibrationTool.app"},
        {utilitiesAppInStatusBarFullPath,
         "@/Application Support/TavixTouch/StatusBarApp/TavixTouchSettingUtility.app"},
        {getSystemPreferenceFolderPath, "@/Preferences/TavixTouchPanel"},
        {getSupportDeviceListFilePath, "@/Preferences/TavixTouchPanel/DeviceList.plist"},
        {getSupportResolutionListFilePath,
         "@/Preferences/TavixTouchPanel/SupportResolutionList.plist"},
    };
    for (const auto &[call, relative] : cases) {
        std::string expected = relative;
        if (expected[0] == '~' || expected[0] == '@') {
            expected = (expected[0] == '~' ? home_ : system_) + expected.substr(1);
        }
        EXPECT_EQ(call(), expected);
    }
}

// No lookup: the key names the folder.
TEST_F(PathsTest, FolderNameFallsBackToTheKeyOrMayBeEmpty) {
    EXPECT_EQ(getUilitiesFilePath(),
              home_ + "/Library/Preferences/PreferenceFolderName/Utilities.plist");
    useFolderName("");
    EXPECT_EQ(getUilitiesFilePath(), home_ + "/Library/Preferences/Utilities.plist");
    EXPECT_EQ(getPreferenceFolderPath(), home_ + "/Library/Preferences/");
}

TEST_F(PathsTest, FoldersAreCreatedOnEachLookupUnlessAFileIsInTheWay) {
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
    // A file in the way of the folders: the path is still given and the file left alone.
    fs::remove_all(home_ + "/Library");
    std::ofstream(home_ + "/Library") << "not a folder";
    EXPECT_EQ(getUilitiesFilePath(), home_ + "/Library/Preferences/TavixTouch/Utilities.plist");
    EXPECT_TRUE(fs::is_regular_file(home_ + "/Library"));
}

}  // namespace
}  // namespace tavix
