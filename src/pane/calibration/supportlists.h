// The two read-only lists shipped with the driver, as far as the Calibration page reads them:
// which display carries each panel model (DeviceList.plist) and which resolutions the simple
// calibration supports (SupportResolutionList.plist).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "displayprovider.h"

namespace tavix {

// The display part of one device-list entry. A missing "Display" reads as manufacturer 0 and
// no product numbers.
struct DeviceListEntry {
    std::int64_t modelType = 0;
    std::int64_t manufacturerID = 0;
    std::vector<std::int64_t> productIDs;
};

// Files larger than this are refused: both lists are small.
inline constexpr std::size_t kMaxSupportListSize = 1024 * 1024;

// The entries of a device list file whose root is an array; entries that are not dictionaries
// are skipped. nullopt when the file is missing, too large, nested too deeply or not an array.
std::optional<std::vector<DeviceListEntry>> readDeviceList(const std::string &path);
// The strings of a resolution list file whose root is an array; other elements are skipped.
std::optional<std::vector<std::string>> readResolutionList(const std::string &path);

// Whether the display is the one the device list names for the model (the low 16 bits of the
// model type). Display model 0x717 never matches; the vendor-unknown value passes every
// manufacturer test. Reads the device list at getSupportDeviceListFilePath() on every call.
bool matchDeviceAndDisplay(std::uint16_t modelType, const DisplayInfo &display);

}  // namespace tavix
