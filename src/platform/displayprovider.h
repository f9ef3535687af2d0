// The displays the window system has online, with what the Calibration page needs to find the
// touch panel's display: bounds in pixels, vendor and model number, the built-in flag, and for
// people the connector name ("DP-2") and the monitor name from the EDID.
#pragma once

#include <QByteArray>
#include <QRectF>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace tavix {

// The vendor number of a display whose EDID could not be read ('unkn').
inline constexpr std::uint32_t kDisplayVendorIDUnknown = 0x756E6B6E;
// No more displays than this are ever listed.
inline constexpr int kMaxOnlineDisplays = 32;

struct DisplayInfo {
    QRectF bounds;  // in pixels; width and height may be fractional
    std::uint32_t vendor = kDisplayVendorIDUnknown;
    std::uint32_t model = 0;
    bool builtin = false;
    QString connector;    // "DP-2"; empty when the window system names none
    QString monitorName;  // the EDID's monitor name; empty when it has none
};

class DisplayProvider {
  public:
    virtual ~DisplayProvider() = default;
    // The online displays in the platform's order, at most kMaxOnlineDisplays.
    virtual std::vector<DisplayInfo> onlineDisplays() const = 0;
};

// What an EDID tells: bytes 8-9 big-endian are the vendor number, bytes 10-11 little-endian the
// model number, and a display descriptor of type 0xFC holds the monitor name. A block shorter
// than the 128-byte base block, or one without the fixed header, gives the vendor-unknown value,
// model 0 and no name.
struct EdidIdentity {
    std::uint32_t vendor = kDisplayVendorIDUnknown;
    std::uint32_t model = 0;
    QString monitorName;
};
EdidIdentity parseEdid(const QByteArray &edid);

// A connected DRM connector as sysfs shows it.
struct DrmConnector {
    QString name;  // "DP-2", without the "card0-" prefix
    bool builtin = false;
    EdidIdentity identity;
};
// Every connector whose status reads "connected" under root (normally /sys/class/drm), in name
// order. eDP, LVDS and DSI connectors are built in.
std::vector<DrmConnector> connectedDrmConnectors(const QString &root);

// One screen of the window system: its name (the connector name on X11 and Wayland), its model
// (the EDID's monitor name where the window system reports it) and its bounds in device pixels.
struct ScreenGeometry {
    QString name;
    QString model;
    QRectF bounds;
};
using ScreenSource = std::function<std::vector<ScreenGeometry>()>;
// The screens of the running application (QGuiApplication::screens), bounds in the mode's real
// pixels as the window system reports them.
std::vector<ScreenGeometry> applicationScreens();
// A screen's bounds in whole device pixels from its scaled geometry and ratio, where the window
// system's own numbers are not at hand.
QRectF pixelGeometry(const QRect &logical, qreal ratio);

// Linux: the screens of the window system, each paired with its DRM connector by name, failing
// that by the EDID's monitor name. A screen with no connector (Xvfb, a remote or virtual
// display) counts as vendor-unknown, model 0, not built in.
class LinuxDisplayProvider final : public DisplayProvider {
  public:
    explicit LinuxDisplayProvider(QString sysfsRoot = QStringLiteral("/sys/class/drm"),
                                  ScreenSource screens = applicationScreens);
    std::vector<DisplayInfo> onlineDisplays() const override;

  private:
    QString root_;
    ScreenSource screens_;
};

// Displays read from a JSON file: an array of objects {"name": "DP-2", "monitor": "PN-L705H",
// "x": 0, "y": 0, "width": 1920, "height": 1080, "vendor": 5519, "model": 8705,
// "builtin": false}, sizes in pixels. Every key may be left out: a missing vendor is unknown
// (0x756E6B6E), the rest read as empty, 0 or false. A missing or unreadable file means no
// displays, with one warning line.
class FixtureDisplayProvider final : public DisplayProvider {
  public:
    explicit FixtureDisplayProvider(QString path);
    std::vector<DisplayInfo> onlineDisplays() const override;

  private:
    QString path_;
};

// The fixture named by the environment variable TAVIX_DISPLAYS when it is set, else the Linux
// provider.
std::shared_ptr<const DisplayProvider> currentDisplayProvider();

// "DP-2, DELL U2412M", or whichever of the two parts is known; empty when neither is.
QString displayDescription(const DisplayInfo &display);

}  // namespace tavix
