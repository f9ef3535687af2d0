// What the pane shell asks of a page controller. Each controller builds its page inside the
// tab page widget it is given and keeps the widgets' objectNames equal to their field names.
#pragma once

class QWidget;

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

// The Calibration page also answers the state monitor and the command port.
class CalibrationPageController : public PageController {
  public:
    // Moves to the next simple calibration setting (driver message 8).
    virtual void simpleCalibrationChange() = 0;
    // Takes the page's modal window away after the monitor has ended what runs on top of it;
    // the page may keep it up (an alert of its own was up over it).
    virtual void hideModelWindow() = 0;
    // The page's own modal window, which only hideModelWindow takes away; null when none.
    virtual QWidget *modalWindow() const { return nullptr; }
};

}  // namespace tavix
