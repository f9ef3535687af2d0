// The host's window: shows the pane's main view and tells the pane before it is shown and
// before it is hidden (closing hides it).
#pragma once

#include <QWidget>

namespace tavix {

class PreferencePane;

class HostWindow : public QWidget {
    Q_OBJECT

  public:
    HostWindow(PreferencePane *pane, QWidget *mainView);
    void setVisible(bool visible) override;
    // Sends willUnselect if the pane is still selected (the application is ending).
    void unselectPane();

  private:
    PreferencePane *pane_;
    bool selected_ = false;
};

}  // namespace tavix
