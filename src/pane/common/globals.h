// Process-wide state of the pane, shared by the shell, its monitor thread and the pages. Each
// writer stores whole values read from the shared state file; the last writer wins.
#pragma once

#include <atomic>
#include <cstdint>

namespace tavix {
class TavixTouchPanelPref;
}

// The model type of the connected panel (0: none), from "currentDeviceType".
extern std::atomic<std::int32_t> gModelType;
// The driver is enabled, from "DriverEnable".
extern std::atomic<bool> gDriverEnable;
// Diagnostic lines go to the system log only while this is set, from "VerboseLog".
extern std::atomic<bool> verboseLog;
// Index of the page in use.
extern std::atomic<std::int32_t> _currentItemIndex;
// The pane instance, for the port callbacks and other controllers; set by willSelect.
extern std::atomic<tavix::TavixTouchPanelPref *> _panelPref;

namespace tavix {

// Writes one line to the system log when verboseLog is set.
void logVerbose(const char *text);

}  // namespace tavix
