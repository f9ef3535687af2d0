#include "calibrationviewclt.h"

#include <QWidget>

#include "titleonlypage.h"

namespace tavix {

CalibrationViewClt::CalibrationViewClt(QWidget *page, QObject *parent)
    : QObject(parent), page_(page) {
    buildTitleOnlyPage(page_, "Page.calibration");
}

void CalibrationViewClt::updateUIState() {
    quitThread = false;
    if (page_) {
        page_->update();
    }
}

void CalibrationViewClt::unselectedView() {
    quitThread = true;
}

void CalibrationViewClt::simpleCalibrationChange() {
    if (page_) {
        page_->update();
    }
}

void CalibrationViewClt::hideModelWindow() {
    // The page has no modal window of its own yet; an alert on top of one would keep it.
}

}  // namespace tavix
