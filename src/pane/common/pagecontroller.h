// What the pane shell asks of a page controller. Each controller builds its page inside the
// tab page widget it is given and keeps the widgets' objectNames equal to their field names.
#pragma once

namespace tavix {

class PageController {
  public:
    virtual ~PageController() = default;
    // Rebuilds the page from the files.
    virtual void updateUIState() = 0;
    // Stops whatever the page runs while it is in use (Calibration and Hardware information).
    virtual void unselectedView() {}
    // Selects the page's inner tab 0 (Properties and Hardware information).
    virtual void resetTabView() {}
};

}  // namespace tavix
