#include "supportlists.h"

#include "paths.h"

namespace tavix {

bool matchDeviceAndDisplay(std::uint16_t modelType, const DisplayInfo &display) {
    // This one display model is never the touch panel's, whatever the device list says.
    constexpr std::uint32_t kExcludedDisplayModel = 0x717;
    if (display.model == kExcludedDisplayModel) {
        return false;
    }
    const auto entries = readDeviceList(getSupportDeviceListFilePath());
    if (!entries || entries->empty()) {
        return false;
    }
    bool result = false;
    // No early exit: every entry is visited, and a later one never clears a match.
    for (const DeviceEntry &entry : *entries) {
        if (static_cast<std::uint16_t>(entry.modelType) != modelType) {
            continue;
        }
        const bool manufacturer =
            display.vendor == kDisplayVendorIDUnknown ||
            static_cast<std::uint32_t>(entry.manufacturerID) == display.vendor;
        if (!manufacturer) {
            continue;
        }
        for (const std::int64_t product : entry.productIDs) {
            if (static_cast<std::uint32_t>(product) == display.model) {
                result = true;
                break;
            }
        }
    }
    return result;
}

}  // namespace tavix
