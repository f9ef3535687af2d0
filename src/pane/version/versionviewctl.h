// Controller of the Version page (page 3): the driver version recorded for the connected
// panel model.
#pragma once

#include <QObject>
#include <QPointer>

#include <memory>

#include "pagecontroller.h"

class QLabel;
class QWidget;

namespace Ui {
class VersionView;
}

namespace tavix {

class VersionViewCtl : public QObject, public PageController {
    Q_OBJECT

  public:
    explicit VersionViewCtl(QWidget *page, QObject *parent = nullptr);
    ~VersionViewCtl() override;

    // Shows "DriverVersion" of the current model's settings file; empty when the file is
    // missing, unreadable or has no such string. No file is created.
    void updateUIState() override;
    // Ends the application's current modal session.
    void close();

  private:
    std::unique_ptr<Ui::VersionView> ui_;
    QPointer<QLabel> versionText_;  // goes with the main view
};

}  // namespace tavix
