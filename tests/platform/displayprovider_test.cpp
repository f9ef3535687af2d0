// The display provider over a fake sysfs tree made of real and broken EDIDs, and over fixtures.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QtTest>

#include "displayprovider.h"

using namespace tavix;

namespace {

QByteArray readAll(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A file under root, its folders made on the way; a null content writes nothing.
void put(const QString &root, const QString &path, const QByteArray &bytes) {
    QDir().mkpath(QFileInfo(root + '/' + path).path());
    QFile file(root + '/' + path);
    QVERIFY(bytes.isNull() || (file.open(QIODevice::WriteOnly) && file.write(bytes) >= 0));
}

// A connector folder "card0-<name>" with its status and EDID.
void connector(const QString &root, const QString &name, const QByteArray &status,
               const QByteArray &edid) {
    put(root, "card0-" + name + "/status", status + '\n');
    put(root, "card0-" + name + "/edid", edid);
}

// A base block with the fixed header, vendor, model and, given one, a monitor-name descriptor.
QByteArray edid(quint16 vendor, quint16 model, const QByteArray &name = {}) {
    QByteArray e = QByteArray::fromHex("00FFFFFFFFFFFF00") + QByteArray(120, '\0');
    e[8] = char(vendor >> 8), e[9] = char(vendor), e[10] = char(model), e[11] = char(model >> 8);
    if (!name.isNull()) {
        e[75] = '\xFC';
        e.replace(77, name.size(), name);
    }
    return e;
}

ScreenSource screens(std::vector<ScreenGeometry> list) {
    return [list] { return list; };
}

}  // namespace

class DisplayProviderTest : public QObject {
    Q_OBJECT

  private slots:
    // Every EDID of the corpus: laptop panels on an eDP connector, the others on DP.
    void realEdids() {
        const QString dir = QStringLiteral(TAVIX_EDID_DIR);
        const QList<QByteArray> lines = readAll(dir + "/MANIFEST.tsv").trimmed().split('\n');
        QCOMPARE(lines.size(), 31);
        for (const QByteArray &line : lines.mid(1)) {
            const QList<QByteArray> f = line.split('\t');  // file, ..., vendor, product, .., laptop
            const bool builtin = f[6] == "yes";
            const QString name = builtin ? QStringLiteral("eDP-1") : QStringLiteral("DP-2");
            QTemporaryDir root;
            connector(root.path(), name, "connected", readAll(dir + '/' + f[0]));
            const auto displays =
                LinuxDisplayProvider(root.path(), screens({{name, {}, QRectF(0, 0, 9, 9)}}))
                    .onlineDisplays();
            QCOMPARE(displays.size(), std::size_t(1));
            QCOMPARE(displays[0].vendor, f[3].toUInt(nullptr, 16));
            QCOMPARE(displays[0].model, f[4].toUInt(nullptr, 16));
            QCOMPARE(displays[0].builtin, builtin);
        }
    }

    void brokenEdids_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<uint>("vendor");
        QTest::addColumn<QString>("monitorName");
        const QByteArray named = edid(0x10AC, 0xA0C4, "DELL U2412M\n  ");
        const uint unknown = kDisplayVendorIDUnknown;
        QTest::newRow("named") << named << 0x10ACu << "DELL U2412M";
        QTest::newRow("no file") << QByteArray() << unknown << "";
        QTest::newRow("127 bytes") << named.left(127) << unknown << "";
        QTest::newRow("name stops at control") << edid(1, 2,
                                                       "AB\x01"
                                                       "CD")
                                               << 1u << "AB";
    }
    void brokenEdids() {
        QFETCH(QByteArray, bytes);
        QFETCH(uint, vendor);
        QFETCH(QString, monitorName);
        QTemporaryDir root;
        connector(root.path(), "LVDS-1", "connected", bytes);
        const std::vector<DrmConnector> found = connectedDrmConnectors(root.path());
        QCOMPARE(found.size(), std::size_t(1));
        QCOMPARE(found[0].identity.vendor, vendor);
        QCOMPARE(found[0].identity.model, vendor == 1 ? 2u : vendor == 0x10AC ? 0xA0C4u : 0u);
        QCOMPARE(found[0].identity.monitorName, monitorName);
        QVERIFY(found[0].builtin);
    }

    // Screens pair by connector name, then by monitor name; one with neither is unknown.
    void pairing_data() {
        QTest::addColumn<QString>("screen");  // name / model
        QTest::addColumn<uint>("vendor");
        QTest::addColumn<QString>("connector");
        QTest::newRow("by name") << "DSI-1/" << 2u << "DSI-1";
        QTest::newRow("by monitor name") << "DisplayPort-0/Panel B" << 3u << "DP-3";
        QTest::newRow("disconnected") << "HDMI-A-1/" << kDisplayVendorIDUnknown << "HDMI-A-1";
    }
    void pairing() {
        QFETCH(QString, screen);
        QFETCH(uint, vendor);
        QFETCH(QString, connector);
        QTemporaryDir root;
        ::connector(root.path(), "DSI-1", "connected", edid(2, 20));
        ::connector(root.path(), "DP-3", "connected", edid(3, 30, "Panel B"));
        ::connector(root.path(), "HDMI-A-1", "disconnected", edid(4, 40));
        const QRectF bounds(10, 20, 1919.6, 1080);
        const LinuxDisplayProvider provider(
            root.path(), screens({{screen.section('/', 0, 0), screen.section('/', 1), bounds}}));
        const std::vector<DisplayInfo> displays = provider.onlineDisplays();
        QCOMPARE(displays.size(), std::size_t(1));
        QCOMPARE(displays[0].vendor, vendor);
        QCOMPARE(displays[0].builtin, vendor == 2);
        QCOMPARE(displays[0].connector, connector);
        QCOMPARE(displays[0].bounds, bounds);
        const LinuxDisplayProvider many(root.path(), screens({40, ScreenGeometry{}}));
        QCOMPARE(many.onlineDisplays().size(), std::size_t(kMaxOnlineDisplays));
    }

    void fixture_data() {
        QTest::addColumn<QByteArray>("json");  // null: no file
        QTest::addColumn<int>("count");        // -1: unreadable, with a warning
        // The demo's fixture: the simulated panel's display and a built-in one.
        QTest::newRow("shipped") << readAll(TAVIX_DATA_DIR "/displays.json") << 2;
        QTest::newRow("missing") << QByteArray() << -1;
        QTest::newRow("no vendor") << QByteArray(R"([{"name": "DP-9", "width": 1280}])") << 1;
    }
    void fixture() {
        QFETCH(QByteArray, json);
        QFETCH(int, count);
        QTemporaryDir dir;
        put(dir.path(), "displays.json", json);
        qputenv("TAVIX_DISPLAYS", dir.filePath("displays.json").toLocal8Bit());
        if (count < 0) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("display fixture .* unreadable"));
        }
        const std::vector<DisplayInfo> displays = currentDisplayProvider()->onlineDisplays();
        qunsetenv("TAVIX_DISPLAYS");
        QCOMPARE(int(displays.size()), std::max(count, 0));
        if (count == 2) {
            QCOMPARE(displays[0].bounds, QRectF(0, 0, 1920, 1080));
            QCOMPARE(displays[0].model, 12656u);
            QCOMPARE(displays[1].vendor, 3503u);
            QVERIFY(displays[1].builtin);
            QCOMPARE(displayDescription(displays[1]), "eDP-1");
        } else if (count == 1) {
            QCOMPARE(displays[0].vendor, kDisplayVendorIDUnknown);
        }
    }

    // Qt keeps whole logical pixels (1920 / 1.75 gives 1097): the product is a fraction off.
    void pixelGeometry() {
        QCOMPARE(tavix::pixelGeometry(QRect(1097, 0, 1097, 617), 1.75),
                 QRectF(1920, 0, 1920, 1080));
        QCOMPARE(tavix::pixelGeometry(QRect(0, 0, 1536, 864), 1.25), QRectF(0, 0, 1920, 1080));
    }
};

QTEST_GUILESS_MAIN(DisplayProviderTest)
#include "displayprovider_test.moc"
