// Where each file and folder lives, under HOME or the system Library, and when folders appear.
#include "paths.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "temp_env.h"

namespace tavix {
namespace {

namespace fs = std::filesystem;

class PathsTest : public test::TempEnvTest {
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

// Expected paths are relative to HOME ("~") or the system Library folder ("@"); each lookup
// makes the folders it needs.
TEST_F(PathsTest, EveryPathFollowsItsRootAndFolderName) {
    EXPECT_EQ(getUilitiesFilePath(),
              home_ + "/Library/Preferences/PreferenceFolderName/Utilities.plist")
        << "with no lookup the key names the folder";
    useFolderName("");
    EXPECT_EQ(getUilitiesFilePath(), home_ + "/Library/Preferences/Utilities.plist");
    useFolderName("TavixTouch");
    const std::string prefs = "~/Library/Preferences/TavixTouch";
    const std::pair<std::function<std::string()>, std::string> cases[] = {
        {getPreferenceFolderPath, prefs},
        {[] { return getSettingsFilePath(-317); }, prefs + "/Settings_-317.plist"},
        {getAdvanceCalibrationFilePath, prefs + "/advanceCalibrationPoints.plist"},
        {getUilitiesFilePath, prefs + "/Utilities.plist"},
        {calibrationToolFullPath,
         "@/Application Support/TavixTouch/CalibrationTool/CalibrationTool.app"},
        {utilitiesAppInStatusBarFullPath,
         "@/Application Support/TavixTouch/StatusBarApp/TavixTouchSettingUtility.app"},
        {getSupportDeviceListFilePath, "@/Preferences/TavixTouchPanel/DeviceList.plist"},
        {getSupportResolutionListFilePath,
         "@/Preferences/TavixTouchPanel/SupportResolutionList.plist"},
    };
    for (const auto &[call, relative] : cases) {
        fs::remove_all(home_ + "/Library"), fs::remove_all(system_ + "/Preferences");
        const std::string path = call();
        EXPECT_EQ(path, (relative[0] == '~' ? home_ : system_) + relative.substr(1));
        // Each lookup makes its folders (again), except for the applications it names.
        EXPECT_EQ(fs::is_directory(fs::path(path).parent_path()),
                  relative.find("/Application") == std::string::npos)
            << path;
    }
    EXPECT_FALSE(fs::exists(system_ + "/Application Support"));
    // A file in the way of the folders: the path is still given and the file left alone.
    fs::remove_all(home_ + "/Library");
    std::ofstream(home_ + "/Library") << "not a folder";
    EXPECT_EQ(getUilitiesFilePath(), home_ + "/Library/Preferences/TavixTouch/Utilities.plist");
    EXPECT_TRUE(fs::is_regular_file(home_ + "/Library"));
    // Empty variables count as unset.
    ::setenv("HOME", "", 1);
    ::setenv("TAVIX_SYSTEM_LIBRARY", "", 1);
    EXPECT_EQ(homeDirectory(), ::getpwuid(::getuid())->pw_dir);
    EXPECT_EQ(systemLibraryFolder(), TAVIX_SYSTEM_LIBRARY_DEFAULT);
    // Components join with one slash.
    const char *joins[][3] = {{"/a//", "//b", "/a/b"},
                              {"/", "b", "/b"},
                              {"", "b", "b"},
                              {"a", "///", "a"},
                              {"//", "", "/"}};
    for (const auto &[base, component, joined] : joins) {
        EXPECT_EQ(appendPathComponent(base, component), joined) << base << " + " << component;
    }
}

}  // namespace
}  // namespace tavix
