#include "globals.h"

#include <syslog.h>

std::atomic<std::int32_t> gModelType{0};
std::atomic<bool> gDriverEnable{false};
std::atomic<bool> verboseLog{false};
std::atomic<std::int32_t> _currentItemIndex{0};
std::atomic<tavix::TavixTouchPanelPref *> _panelPref{nullptr};

namespace tavix {

void logVerbose(const char *text) {
    if (verboseLog.load()) {
        ::syslog(LOG_NOTICE, "%s", text);
    }
}

}  // namespace tavix
