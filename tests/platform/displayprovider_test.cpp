// The display provider over a fake sysfs tree made of real EDIDs, broken EDIDs, and over JSON
// fixtures.
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest/QtTest>

#include "displayprovider.h"

using namespace tavix;

namespace {

const QString kEdidDir = QStringLiteral(TAVIX_EDID_DIR);

QByteArray readAll(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

// One connector folder "card0-<name>" with its status and, unless null, its EDID.
void addConnector(const QString &root, const QString &name, const QByteArray &status,
                  const QByteArray &edid) {
    const QString dir = root + QStringLiteral("/card0-") + name;
    writeFile(dir + QStringLiteral("/status"), status + '\n');
    if (!edid.isNull()) {
        writeFile(dir + QStringLiteral("/edid"), edid);
    }
}

// A base block with the fixed header, vendor, model and, when given, a monitor-name descriptor.
QByteArray syntheticEdid(quint16 vendor, quint16 model, const QByteArray &name = {}) {
    QByteArray edid(128, '\0');
    for (int i = 1; i < 7; ++i) {
        edid[i] = '\xFF';
    }
    edid[8] = char(vendor >> 8);
    edid[9] = char(vendor & 0xFF);
    edid[10] = char(model & 0xFF);
    edid[11] = char(model >> 8);
    if (!name.isNull()) {
        edid[54 + 18 + 3] = '\xFC';
        edid.replace(54 + 18 + 5, name.size(), name);
    }
    return edid;
}

ScreenSource screens(std::vector<ScreenGeometry> list) {
    return [list] { return list; };
}

}  // namespace

class DisplayProviderTest : public QObject {
    Q_OBJECT

  private slots:
    void realEdids_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<uint>("vendor");
        QTest::addColumn<uint>("model");
        QTest::addColumn<bool>("builtin");
        const QList<QByteArray> lines = readAll(kEdidDir + "/MANIFEST.tsv").split('\n');
        QVERIFY(lines.size() > 30);
        for (const QByteArray &line : lines.mid(1)) {
            const QList<QByteArray> f = line.split('\t');
            if (f.size() < 7) {
                continue;
            }
            QTest::newRow(f[0].constData()) << QString::fromLatin1(f[0]) << f[3].toUInt(nullptr, 16)
                                            << f[4].toUInt(nullptr, 16) << (f[6] == "yes");
        }
    }
    // Laptop panels sit on an eDP connector, the others on DP; each screen pairs by name.
    void realEdids() {
        QFETCH(QString, file);
        QFETCH(uint, vendor);
        QFETCH(uint, model);
        QFETCH(bool, builtin);
        QTemporaryDir root;
        const QString name = builtin ? QStringLiteral("eDP-1") : QStringLiteral("DP-2");
        addConnector(root.path(), name, "connected", readAll(kEdidDir + "/" + file));
        addConnector(root.path(), QStringLiteral("HDMI-A-1"), "disconnected", syntheticEdid(1, 2));
        const LinuxDisplayProvider provider(root.path(),
                                            screens({{name, {}, QRectF(0, 0, 1920, 1080)}}));
        const std::vector<DisplayInfo> displays = provider.onlineDisplays();
        QCOMPARE(displays.size(), std::size_t(1));
        QCOMPARE(displays[0].vendor, vendor);
        QCOMPARE(displays[0].model, model);
        QCOMPARE(displays[0].builtin, builtin);
        QCOMPARE(displays[0].connector, name);
    }

    void brokenEdids_data() {
        QTest::addColumn<QByteArray>("edid");
        QTest::addColumn<uint>("vendor");
        QTest::addColumn<uint>("model");
        QTest::addColumn<QString>("monitorName");
        const QByteArray good = syntheticEdid(0x10AC, 0xA0C4, "DELL U2412M\n  ");
        QByteArray garbage(256, '\0');
        for (int i = 0; i < garbage.size(); ++i) {
            garbage[i] = char((i * 37 + 11) & 0xFF);
        }
        QByteArray unterminated = syntheticEdid(1, 2);
        unterminated[54 + 3] = '\xFC';
        unterminated.replace(54 + 5, 13, QByteArray(13, 'A'));
        QByteArray control = syntheticEdid(1, 2,
                                           QByteArray("AB\x01"
                                                      "CD"));
        QTest::newRow("named") << good << 0x10ACu << 0xA0C4u << "DELL U2412M";
        QTest::newRow("no file") << QByteArray() << kDisplayVendorIDUnknown << 0u << "";
        QTest::newRow("empty") << QByteArray("") << kDisplayVendorIDUnknown << 0u << "";
        QTest::newRow("127 bytes") << good.left(127) << kDisplayVendorIDUnknown << 0u << "";
        QTest::newRow("header only") << good.left(8) << kDisplayVendorIDUnknown << 0u << "";
        QTest::newRow("garbage") << garbage << kDisplayVendorIDUnknown << 0u << "";
        QTest::newRow("name fills descriptor") << unterminated << 1u << 2u << "AAAAAAAAAAAAA";
        QTest::newRow("name stops at control") << control << 1u << 2u << "AB";
    }
    void brokenEdids() {
        QFETCH(QByteArray, edid);
        QFETCH(uint, vendor);
        QFETCH(uint, model);
        QFETCH(QString, monitorName);
        QTemporaryDir root;
        addConnector(root.path(), QStringLiteral("LVDS-1"), "connected", edid);
        const std::vector<DrmConnector> found = connectedDrmConnectors(root.path());
        QCOMPARE(found.size(), std::size_t(1));
        QCOMPARE(found[0].identity.vendor, vendor);
        QCOMPARE(found[0].identity.model, model);
        QCOMPARE(found[0].identity.monitorName, monitorName);
        QVERIFY(found[0].builtin);
    }

    // Screens pair by connector name, then by monitor name; a screen with neither is unknown.
    void pairing_data() {
        QTest::addColumn<QString>("screenName");
        QTest::addColumn<QString>("screenModel");
        QTest::addColumn<uint>("vendor");
        QTest::addColumn<bool>("builtin");
        QTest::addColumn<QString>("connector");
        QTest::newRow("by name") << "DSI-1"
                                 << "" << 0x0002u << true << "DSI-1";
        QTest::newRow("by monitor name") << "DisplayPort-0"
                                         << "Panel B" << 0x0003u << false << "DP-3";
        QTest::newRow("Xvfb screen") << ":99.0"
                                     << "" << kDisplayVendorIDUnknown << false << ":99.0";
        QTest::newRow("name of a disconnected one")
            << "HDMI-A-1"
            << "" << kDisplayVendorIDUnknown << false << "HDMI-A-1";
    }
    void pairing() {
        QFETCH(QString, screenName);
        QFETCH(QString, screenModel);
        QFETCH(uint, vendor);
        QFETCH(bool, builtin);
        QFETCH(QString, connector);
        QTemporaryDir root;
        addConnector(root.path(), QStringLiteral("DSI-1"), "connected", syntheticEdid(2, 20));
        addConnector(root.path(), QStringLiteral("DP-3"), "connected",
                     syntheticEdid(3, 30, "Panel B"));
        addConnector(root.path(), QStringLiteral("HDMI-A-1"), "disconnected", syntheticEdid(4, 40));
        const LinuxDisplayProvider provider(
            root.path(), screens({{screenName, screenModel, QRectF(10, 20, 1919.6, 1080)}}));
        const std::vector<DisplayInfo> displays = provider.onlineDisplays();
        QCOMPARE(displays.size(), std::size_t(1));
        QCOMPARE(displays[0].vendor, vendor);
        QCOMPARE(displays[0].builtin, builtin);
        QCOMPARE(displays[0].connector, connector);
        QCOMPARE(displays[0].bounds, QRectF(10, 20, 1919.6, 1080));
    }

    void atMost32Displays() {
        std::vector<ScreenGeometry> many(40, ScreenGeometry{QStringLiteral("X"), {}, {}});
        const LinuxDisplayProvider provider(QStringLiteral("/nonexistent"), screens(many));
        QCOMPARE(provider.onlineDisplays().size(), std::size_t(kMaxOnlineDisplays));
    }

    void fixture_data() {
        QTest::addColumn<QByteArray>("json");  // null: no file
        QTest::addColumn<int>("count");
        QTest::newRow("two displays")
            << QByteArray(R"([{"name": "DP-2", "x": 0, "y": 0, "width": 1919.6, "height": 1080,
                 "vendor": 21208, "model": 12656, "builtin": false},
                 {"name": "eDP-1", "x": 1920, "y": 0, "width": 1366, "height": 768,
                 "vendor": 3503, "model": 4402, "builtin": true}])")
            << 2;
        QTest::newRow("missing file") << QByteArray() << -1;
        QTest::newRow("not JSON") << QByteArray("[{\"name\": ") << -1;
        QTest::newRow("not an array") << QByteArray(R"({"name": "DP-2"})") << -1;
        QTest::newRow("odd entries") << QByteArray(R"([3, {"vendor": -5, "width": "wide"}])") << 2;
    }
    void fixture() {
        QFETCH(QByteArray, json);
        QFETCH(int, count);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("displays.json"));
        if (!json.isNull()) {
            writeFile(path, json);
        }
        qputenv("TAVIX_DISPLAYS", path.toLocal8Bit());
        if (count < 0) {
            QTest::ignoreMessage(
                QtWarningMsg, QRegularExpression(QStringLiteral("display fixture .* unreadable")));
        }
        const std::vector<DisplayInfo> displays = currentDisplayProvider()->onlineDisplays();
        qunsetenv("TAVIX_DISPLAYS");
        QCOMPARE(int(displays.size()), std::max(count, 0));
        if (count == 2 && displays[0].connector == QLatin1String("DP-2")) {
            QCOMPARE(displays[0].bounds, QRectF(0, 0, 1919.6, 1080));
            QCOMPARE(displays[0].vendor, 21208u);
            QCOMPARE(displays[0].model, 12656u);
            QCOMPARE(displays[1].builtin, true);
            QCOMPARE(displayDescription(displays[1]), QStringLiteral("eDP-1"));
        } else if (count == 2) {
            QCOMPARE(displays[1].vendor, 0u);
            QCOMPARE(displays[1].bounds, QRectF());
        }
    }

    // Every display fixture shipped in data/ keeps exactly the format other tools read.
    void shippedFixtures() {
        const QDir data(QStringLiteral(TAVIX_DATA_DIR));
        const QStringList files = data.entryList({QStringLiteral("*.json")}, QDir::Files);
        QVERIFY(!files.isEmpty());
        const QStringList keys{"builtin", "height", "model", "name", "vendor", "width", "x", "y"};
        for (const QString &file : files) {
            const QJsonDocument doc = QJsonDocument::fromJson(readAll(data.filePath(file)));
            QVERIFY2(doc.isArray() && !doc.array().isEmpty(), qPrintable(file));
            for (const QJsonValue &entry : doc.array()) {
                QCOMPARE(entry.toObject().keys(), keys);
            }
            const FixtureDisplayProvider provider(data.filePath(file));
            QCOMPARE(int(provider.onlineDisplays().size()), int(doc.array().size()));
        }
    }
};

QTEST_GUILESS_MAIN(DisplayProviderTest)
#include "displayprovider_test.moc"
