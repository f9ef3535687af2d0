// Controller of the Hardware information page (page 2). The page's fields come with their own
// issue; for now it shows its title.
#pragma once

#include <QObject>
#include <QPointer>

#include "pagecontroller.h"

class QWidget;

namespace tavix {

class HardwareInformationViewCtl : public QObject, public PageController {
    Q_OBJECT

  public:
    explicit HardwareInformationViewCtl(QWidget *page, QObject *parent = nullptr);

    void updateUIState() override;
    void unselectedView() override;
    void resetTabView() override;

    // Cleared by updateUIState, set by unselectedView: the page's pointer watch stops.
    bool isThreadQuit = true;

  private:
    QPointer<QWidget> page_;  // goes with the main view
};

}  // namespace tavix
