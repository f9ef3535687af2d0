#include "hardwareinformationviewctl.h"

#include <QWidget>

#include "titleonlypage.h"

namespace tavix {

HardwareInformationViewCtl::HardwareInformationViewCtl(QWidget *page, QObject *parent)
    : QObject(parent), page_(page) {
    buildTitleOnlyPage(page_, "Page.hardwareInformation");
}

void HardwareInformationViewCtl::updateUIState() {
    isThreadQuit = false;
    if (page_) {
        page_->update();
    }
}

void HardwareInformationViewCtl::unselectedView() {
    isThreadQuit = true;
}

void HardwareInformationViewCtl::resetTabView() {
    // The page has a single view until its inner tabs arrive.
}

}  // namespace tavix
