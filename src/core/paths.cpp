#include "paths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <system_error>

#ifndef TAVIX_SYSTEM_LIBRARY_DEFAULT
#define TAVIX_SYSTEM_LIBRARY_DEFAULT "/usr/share/tavix/Library"
#endif

namespace tavix {
namespace {

std::mutex &lookupMutex() {
    static std::mutex m;
    return m;
}

StringLookup &lookupSlot() {
    static StringLookup lookup;
    return lookup;
}

// Anything at the path (file, folder, or a link to either) counts as existing; otherwise the
// folder is created with its parents and the outcome is ignored.
void ensureFolder(const std::string &path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) {
        return;
    }
    std::error_code ignored;
    std::filesystem::create_directories(path, ignored);
}

std::string productFolderName() {
    return localizedString("PreferenceFolderName");
}

// The product's application-support folder stands under the machine-wide Library folder,
// which on this system takes the place of "/Library". It is never created here.
std::string applicationSupportFolder() {
    return systemLibraryFolder() + "/Application Support/" + productFolderName();
}

}  // namespace

void setLocalizedStringLookup(StringLookup lookup) {
    std::lock_guard lock(lookupMutex());
    lookupSlot() = std::move(lookup);
}

std::string localizedString(const std::string &key) {
    StringLookup lookup;
    {
        std::lock_guard lock(lookupMutex());
        lookup = lookupSlot();
    }
    return lookup ? lookup(key) : key;
}

std::string homeDirectory() {
    if (const char *home = std::getenv("HOME"); home != nullptr && *home != '\0') {
        return home;
    }
    if (const passwd *pw = ::getpwuid(::getuid()); pw != nullptr && pw->pw_dir != nullptr) {
        return pw->pw_dir;
    }
    return "/";
}

std::string systemLibraryFolder() {
    if (const char *root = std::getenv("TAVIX_SYSTEM_LIBRARY"); root != nullptr && *root != '\0') {
        return root;
    }
    return TAVIX_SYSTEM_LIBRARY_DEFAULT;
}

std::string appendPathComponent(const std::string &base, const std::string &component) {
    std::string left = base;
    while (left.size() > 1 && left.back() == '/') {
        left.pop_back();
    }
    std::size_t start = component.find_first_not_of('/');
    std::string right = start == std::string::npos ? std::string() : component.substr(start);
    if (right.empty()) {
        return left;
    }
    if (left.empty()) {
        return right;
    }
    return left == "/" ? left + right : left + "/" + right;
}

std::string getPreferenceFolderPath() {
    std::string path = homeDirectory();
    path += "/Library/Preferences/";
    path += productFolderName();
    ensureFolder(path);
    return path;
}

std::string getSettingsFileName(std::int32_t modelType) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%d.plist", modelType);
    return std::string("Settings_") + buffer;
}

std::string getSettingsFilePath(std::int32_t modelType) {
    return appendPathComponent(getPreferenceFolderPath(), getSettingsFileName(modelType));
}

std::string getAdvanceCalibrationFilePath() {
    return appendPathComponent(getPreferenceFolderPath(), "advanceCalibrationPoints.plist");
}

std::string getUilitiesFilePath() {
    return appendPathComponent(getPreferenceFolderPath(), "Utilities.plist");
}

std::string calibrationToolFullPath() {
    return applicationSupportFolder() + "/CalibrationTool/CalibrationTool.app";
}

std::string utilitiesAppInStatusBarFullPath() {
    return applicationSupportFolder() + "/StatusBarApp/TavixTouchSettingUtility.app";
}

std::string getSystemPreferenceFolderPath() {
    std::string path = systemLibraryFolder();
    path += "/Preferences/";
    path += "TavixTouchPanel";
    ensureFolder(path);
    return path;
}

std::string getSupportResolutionListFilePath() {
    return getSystemPreferenceFolderPath() + "/SupportResolutionList.plist";
}

std::string getSupportDeviceListFilePath() {
    return getSystemPreferenceFolderPath() + "/DeviceList.plist";
}

}  // namespace tavix
