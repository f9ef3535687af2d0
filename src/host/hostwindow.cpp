#include "hostwindow.h"

#include <QVBoxLayout>

#include "preferencepane.h"

namespace tavix {

HostWindow::HostWindow(PreferencePane *pane, QWidget *mainView) : pane_(pane) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mainView);
}

void HostWindow::setVisible(bool visible) {
    if (visible && !selected_) {
        selected_ = true;
        pane_->willSelect();
    } else if (!visible && selected_) {
        unselectPane();
    }
    QWidget::setVisible(visible);
}

void HostWindow::unselectPane() {
    if (selected_) {
        selected_ = false;
        pane_->willUnselect();
    }
}

}  // namespace tavix
