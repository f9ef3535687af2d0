// Where every file of the pane lives. Each function returns a freshly built absolute path and
// never fails: a missing folder is created on the way, and a folder that cannot be created is
// not reported (the caller's later read or write fails in its own way).
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace tavix {

// Localized string lookup used for the product folder name. The pane plugs its translation
// lookup in; until then (and in tools without a string table) a key looks up as itself.
using StringLookup = std::function<std::string(const std::string &key)>;
void setLocalizedStringLookup(StringLookup lookup);
std::string localizedString(const std::string &key);

// The roots: $HOME for the user, and the machine-wide Library folder, which is the build-time
// default unless the environment variable TAVIX_SYSTEM_LIBRARY names another.
std::string homeDirectory();
std::string systemLibraryFolder();

// Joins two path parts with exactly one separator between them.
std::string appendPathComponent(const std::string &base, const std::string &component);

// Per-user preference folder: home + "/Library/Preferences/" + the product folder name.
std::string getPreferenceFolderPath();
std::string getSettingsFileName(std::int32_t modelType);
std::string getSettingsFilePath(std::int32_t modelType);
std::string getAdvanceCalibrationFilePath();
std::string getUilitiesFilePath();
std::string calibrationToolFullPath();
std::string utilitiesAppInStatusBarFullPath();

// Machine-wide folder of the driver's support lists; always "TavixTouchPanel", whatever the
// string table says.
std::string getSystemPreferenceFolderPath();
std::string getSupportResolutionListFilePath();
std::string getSupportDeviceListFilePath();

}  // namespace tavix
