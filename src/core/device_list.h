// The two read-only lists shipped with the driver: the device list (per panel model its name,
// the display that carries it and its self-test layout) and the resolutions the simple
// calibration supports. Read by the pane, the simulator and the command-line tool alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavix {

// Keys of the device list's entries and of their "LEDSensorArray" elements.
inline constexpr char kModelType[] = "ModelType";
inline constexpr char kName[] = "Name";
inline constexpr char kLEDSensorArray[] = "LEDSensorArray";
inline constexpr char kArea[] = "Area";
inline constexpr char kPointCount[] = "Point";
inline constexpr char kIndex[] = "Index";

// Element n - 1 of "LEDSensorArray" describes area number n.
struct AreaDefinition {
    std::string label;            // "Area", shown as it is
    std::int64_t pointCount = 0;  // "Point": records with a greater point number are ignored
    std::int64_t index = 0;       // "Index"
};

struct DeviceEntry {
    std::int64_t modelType = 0;
    std::string name;
    // "Display": the display's manufacturer and the product numbers that carry this panel; a
    // missing "Display" reads as manufacturer 0 and no product numbers.
    std::int64_t manufacturerID = 0;
    std::vector<std::int64_t> productIDs;
    bool hasLEDSensorArray = false;
    std::vector<AreaDefinition> areas;
};

// The entries of a device list (a property list whose root is an array of dictionaries);
// elements that are not dictionaries are skipped. nullopt when the file is missing, refused by
// the plist guard (too large, too deep, malformed) or not such a list.
std::optional<std::vector<DeviceEntry>> readDeviceList(const std::string &path);
std::optional<std::vector<DeviceEntry>> parseDeviceList(const std::string &bytes);

// The first entry whose "ModelType" equals the model type, or nullptr.
const DeviceEntry *findDeviceEntry(const std::vector<DeviceEntry> &list, std::int64_t modelType);

// The strings of a resolution list whose root is an array ("1920x1080", ...); other elements
// are skipped. nullopt as for readDeviceList.
std::optional<std::vector<std::string>> readResolutionList(const std::string &path);

}  // namespace tavix
