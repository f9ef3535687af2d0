// Controller of the Calibration page (page 0). The page's controls come with their own issue;
// for now it shows its title and keeps the stop flag the shell and the monitor drive.
#pragma once

#include <QObject>
#include <QPointer>

#include "pagecontroller.h"

class QWidget;

namespace tavix {

class CalibrationViewClt : public QObject, public CalibrationPageController {
    Q_OBJECT

  public:
    explicit CalibrationViewClt(QWidget *page, QObject *parent = nullptr);

    void updateUIState() override;
    void unselectedView() override;
    void simpleCalibrationChange() override;
    void hideModelWindow() override;

    // Cleared by updateUIState, set by unselectedView: the page's background work stops.
    bool quitThread = false;
    // Set while an alert runs on top of the hot-key window; hideModelWindow then leaves it up.
    bool doubleModal = false;

  private:
    QPointer<QWidget> page_;  // goes with the main view
};

}  // namespace tavix
