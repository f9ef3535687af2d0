// The contract between the settings host and a preference pane plugin. The host includes only
// this header: it loads the plugin, asks it for its main view, and drives it through the three
// life-cycle calls.
#pragma once

#include <QtPlugin>

class QWidget;

namespace tavix {

class PreferencePane {
  public:
    virtual ~PreferencePane() = default;

    // Builds the main view on the first call and returns it; later calls return the same view.
    // The pane keeps ownership unless the host reparents the view (it is then deleted with its
    // new parent).
    virtual QWidget *loadMainView() = 0;
    // Called once, after the main view has been loaded.
    virtual void mainViewDidLoad() = 0;
    // Called before each showing of the main view.
    virtual void willSelect() = 0;
    // Called before each hiding of the main view, and when its window closes.
    virtual void willUnselect() = 0;
};

}  // namespace tavix

#define TavixPreferencePane_iid "io.tavix.PreferencePane/1.0"
Q_DECLARE_INTERFACE(tavix::PreferencePane, TavixPreferencePane_iid)
