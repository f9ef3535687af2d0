// Which display carries the touch panel, as the device list (DeviceList.plist) says.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "device_list.h"
#include "displayprovider.h"

namespace tavix {

// Whether the display is the one the device list names for the model (the low 16 bits of the
// model type). Display model 0x717 never matches; the vendor-unknown value passes every
// manufacturer test. Reads the device list at getSupportDeviceListFilePath() on every call.
bool matchDeviceAndDisplay(std::uint16_t modelType, const DisplayInfo &display);

}  // namespace tavix
