#include "displayprovider.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QScreen>

#ifdef TAVIX_HAVE_QPA_SCREEN
#include <qpa/qplatformscreen.h>
#endif

#include <cmath>
#include <utility>

Q_LOGGING_CATEGORY(lcDisplays, "tavix.displays")

namespace tavix {

namespace {

constexpr int kEdidBaseBlock = 128;
constexpr int kDescriptorOffset = 54;
constexpr int kDescriptorSize = 18;
constexpr int kDescriptorCount = 4;
constexpr unsigned char kMonitorNameTag = 0xFC;
// A sysfs attribute larger than this is no EDID (the largest has 256 extension blocks).
constexpr qint64 kMaxEdidSize = 256 * 128;

bool hasEdidHeader(const QByteArray &edid) {
    static const char header[8] = {'\x00', '\xFF', '\xFF', '\xFF', '\xFF', '\xFF', '\xFF', '\x00'};
    return edid.size() >= 8 && std::equal(header, header + 8, edid.constData());
}

QString monitorNameFrom(const QByteArray &edid) {
    for (int i = 0; i < kDescriptorCount; ++i) {
        const int at = kDescriptorOffset + i * kDescriptorSize;
        const auto *d = reinterpret_cast<const unsigned char *>(edid.constData() + at);
        // A display descriptor starts with three zero bytes, then its tag.
        if (d[0] != 0 || d[1] != 0 || d[2] != 0 || d[3] != kMonitorNameTag) {
            continue;
        }
        QByteArray text;
        for (int j = 5; j < kDescriptorSize && d[j] != '\n'; ++j) {
            // Printable ASCII only; anything else ends a name that was never terminated.
            if (d[j] < 0x20 || d[j] > 0x7E) {
                break;
            }
            text.append(static_cast<char>(d[j]));
        }
        return QString::fromLatin1(text).trimmed();
    }
    return {};
}

QByteArray readSmallFile(const QString &path, qint64 limit) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.read(limit);
}

bool isBuiltinConnector(const QString &name) {
    for (const char *prefix : {"eDP", "LVDS", "DSI"}) {
        if (name.startsWith(QLatin1String(prefix))) {
            return true;
        }
    }
    return false;
}

std::uint32_t jsonU32(const QJsonValue &value) {
    const double number = value.toDouble();
    if (!std::isfinite(number) || number < 0 || number > 4294967295.0) {
        return 0;
    }
    return static_cast<std::uint32_t>(number);
}

// A vendor number the fixture leaves out (or gives as no number) is unknown, as for a display
// without EDID.
std::uint32_t jsonVendor(const QJsonValue &value) {
    return value.isDouble() ? jsonU32(value) : kDisplayVendorIDUnknown;
}

double jsonReal(const QJsonValue &value) {
    const double number = value.toDouble();
    return std::isfinite(number) ? number : 0.0;
}

}  // namespace

EdidIdentity parseEdid(const QByteArray &edid) {
    EdidIdentity id;
    if (edid.size() < kEdidBaseBlock || !hasEdidHeader(edid)) {
        return id;
    }
    const auto byte = [&edid](int i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(edid.at(i)));
    };
    id.vendor = (byte(8) << 8) | byte(9);
    id.model = byte(10) | (byte(11) << 8);
    id.monitorName = monitorNameFrom(edid);
    return id;
}

std::vector<DrmConnector> connectedDrmConnectors(const QString &root) {
    std::vector<DrmConnector> connectors;
    const QDir dir(root);
    // Connector folders are "card<N>-<connector>"; the card folders themselves have no dash.
    const QStringList entries =
        dir.entryList({QStringLiteral("card*-*")}, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &entry : entries) {
        const QString path = dir.filePath(entry);
        const QByteArray status = readSmallFile(path + QStringLiteral("/status"), 64).trimmed();
        if (status != "connected") {
            continue;
        }
        DrmConnector connector;
        connector.name = entry.mid(entry.indexOf(QLatin1Char('-')) + 1);
        connector.builtin = isBuiltinConnector(connector.name);
        connector.identity = parseEdid(readSmallFile(path + QStringLiteral("/edid"), kMaxEdidSize));
        connectors.push_back(std::move(connector));
    }
    return connectors;
}

QRectF pixelGeometry(const QRect &logical, qreal ratio) {
    // Qt rounds a screen's pixel size divided by the ratio to whole logical pixels; multiplying
    // back lands within half a ratio of it (1097 * 1.75 = 1919.75 for 1920), never on a fraction.
    return QRectF(QPointF(qRound(logical.x() * ratio), qRound(logical.y() * ratio)),
                  QSizeF(qRound(logical.width() * ratio), qRound(logical.height() * ratio)));
}

std::vector<ScreenGeometry> applicationScreens() {
    std::vector<ScreenGeometry> screens;
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance()) == nullptr) {
        return screens;
    }
    for (const QScreen *screen : QGuiApplication::screens()) {
#ifdef TAVIX_HAVE_QPA_SCREEN
        // The window system's own numbers: the mode's real size, unscaled.
        const QRectF pixels = screen->handle() != nullptr
                                  ? QRectF(screen->handle()->geometry())
                                  : pixelGeometry(screen->geometry(), screen->devicePixelRatio());
#else
        const QRectF pixels = pixelGeometry(screen->geometry(), screen->devicePixelRatio());
#endif
        screens.push_back({screen->name(), screen->model(), pixels});
    }
    return screens;
}

LinuxDisplayProvider::LinuxDisplayProvider(QString sysfsRoot, ScreenSource screens)
    : root_(std::move(sysfsRoot)), screens_(std::move(screens)) {}

std::vector<DisplayInfo> LinuxDisplayProvider::onlineDisplays() const {
    std::vector<DisplayInfo> displays;
    const std::vector<DrmConnector> connectors = connectedDrmConnectors(root_);
    std::vector<bool> taken(connectors.size(), false);
    const auto pair = [&](const auto &same) -> const DrmConnector * {
        for (std::size_t i = 0; i < connectors.size(); ++i) {
            if (!taken[i] && same(connectors[i])) {
                taken[i] = true;
                return &connectors[i];
            }
        }
        return nullptr;
    };
    for (const ScreenGeometry &screen : screens_ ? screens_() : std::vector<ScreenGeometry>{}) {
        if (static_cast<int>(displays.size()) == kMaxOnlineDisplays) {
            break;
        }
        const DrmConnector *connector =
            pair([&](const DrmConnector &c) { return c.name == screen.name; });
        if (connector == nullptr && !screen.model.isEmpty()) {
            connector =
                pair([&](const DrmConnector &c) { return c.identity.monitorName == screen.model; });
        }
        DisplayInfo display;
        display.bounds = screen.bounds;
        display.connector = screen.name;
        if (connector != nullptr) {
            display.vendor = connector->identity.vendor;
            display.model = connector->identity.model;
            display.builtin = connector->builtin;
            display.connector = connector->name;
            display.monitorName = connector->identity.monitorName;
        }
        displays.push_back(std::move(display));
    }
    return displays;
}

FixtureDisplayProvider::FixtureDisplayProvider(QString path) : path_(std::move(path)) {}

std::vector<DisplayInfo> FixtureDisplayProvider::onlineDisplays() const {
    std::vector<DisplayInfo> displays;
    QFile file(path_);
    QJsonParseError error{};
    const QJsonDocument doc = file.open(QIODevice::ReadOnly)
                                  ? QJsonDocument::fromJson(file.read(kMaxEdidSize * 4), &error)
                                  : QJsonDocument();
    if (!doc.isArray()) {
        qCWarning(lcDisplays, "display fixture %s unreadable; no displays", qPrintable(path_));
        return displays;
    }
    // Keys of each object, all optional: "name" (connector, ""), "monitor" (EDID monitor name,
    // ""), "x", "y", "width", "height" (pixels, fractions allowed, 0), "vendor" (EDID vendor
    // number, unknown 0x756E6B6E), "model" (EDID model number, 0), "builtin" (false).
    for (const QJsonValue &value : doc.array()) {
        if (static_cast<int>(displays.size()) == kMaxOnlineDisplays) {
            break;
        }
        const QJsonObject o = value.toObject();
        DisplayInfo display;
        display.bounds =
            QRectF(jsonReal(o[QLatin1String("x")]), jsonReal(o[QLatin1String("y")]),
                   jsonReal(o[QLatin1String("width")]), jsonReal(o[QLatin1String("height")]));
        display.vendor = jsonVendor(o[QLatin1String("vendor")]);
        display.model = jsonU32(o[QLatin1String("model")]);
        display.builtin = o[QLatin1String("builtin")].toBool();
        display.connector = o[QLatin1String("name")].toString();
        display.monitorName = o[QLatin1String("monitor")].toString();
        displays.push_back(std::move(display));
    }
    return displays;
}

std::shared_ptr<const DisplayProvider> currentDisplayProvider() {
    const QString fixture = qEnvironmentVariable("TAVIX_DISPLAYS");
    if (!fixture.isEmpty()) {
        return std::make_shared<FixtureDisplayProvider>(fixture);
    }
    return std::make_shared<LinuxDisplayProvider>();
}

QString displayDescription(const DisplayInfo &display) {
    QStringList parts;
    for (const QString &part : {display.connector, display.monitorName}) {
        if (!part.isEmpty()) {
            parts.append(part);
        }
    }
    return parts.join(QStringLiteral(", "));
}

}  // namespace tavix
