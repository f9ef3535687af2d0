// The loadable module: the pane shell with the plugin metadata the host looks for.
#include "tavixtouchpanelpref.h"

namespace tavix {

class TavixTouchPanelPrefPlugin : public TavixTouchPanelPref {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TavixPreferencePane_iid FILE "TavixTouchPanelPref.json")
    Q_INTERFACES(tavix::PreferencePane)
};

}  // namespace tavix

#include "tavixtouchpanelprefplugin.moc"
