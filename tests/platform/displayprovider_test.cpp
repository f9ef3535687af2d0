// Displays found in a fake sysfs tree of real and broken EDIDs, paired to screens, and fixtures.
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

// A base block with the fixed header, vendor, model and, given one, a monitor-name descriptor
// in descriptor slot 0 to 3.
QByteArray edid(quint16 vendor, quint16 model, const QByteArray &name = {}, int slot = 3) {
    QByteArray e = QByteArray::fromHex("00FFFFFFFFFFFF00") + QByteArray(120, '\0');
    e[8] = char(vendor >> 8), e[9] = char(vendor), e[10] = char(model), e[11] = char(model >> 8);
    if (!name.isNull()) {
        e[54 + 18 * slot + 3] = '\xFC';
        e.replace(54 + 18 * slot + 5, name.size(), name);
    }
    return e;
}

ScreenSource screens(std::vector<ScreenGeometry> list) {
    return [list] { return list; };
}

// Every field of every display (connector, then monitor name), so that a field taken from the wrong
// place shows.
QString describe(const std::vector<DisplayInfo> &displays) {
    QStringList out;
    for (const DisplayInfo &d : displays) {
        const QRectF &b = d.bounds;
        out << QStringLiteral("%1 %2:%3%4 %5,%6 %7x%8")
                   .arg(displayDescription(d), QString::number(d.vendor, 16),
                        QString::number(d.model, 16), d.builtin ? "builtin" : "")
                   .arg(b.x())
                   .arg(b.y())
                   .arg(b.width())
                   .arg(b.height());
    }
    return out.join(" | ");
}

}  // namespace

class DisplayProviderTest : public QObject {
    Q_OBJECT

  private slots:
    // Screens pair by connector name, then by monitor name (a connector serves one screen);
    // a broken EDID reads as unknown; a screen with no connector keeps its own name. Then the
    // device pixels of a logical screen rectangle.
    void pairing() {
        QTemporaryDir root;
        connector(root.path(), "DSI-1", "connected", edid(2, 0x2021));
        connector(root.path(), "DP-3", "connected", edid(0x10AC, 0xA0C4, "Panel B\n  ", 0));
        connector(root.path(), "DP-4", "connected",
                  edid(5, 6,
                       "~A B\x7F"
                       "CD"));  // ends at 0x7F
        connector(root.path(), "DP-5", "connected", edid(7, 8).left(127));
        connector(root.path(), "HDMI-A-1", "disconnected", edid(4, 40));
        // Real EDIDs: a laptop panel, an odd vendor code with an extension block, a repeated block.
        for (const char *real : {"eDP-1 CMN-1132-DF422F67B588", "DP-6 oddvendor1-0616-1CDB90A7EBCE",
                                 "DP-7 ELO-0000-814E4086B6FC"}) {
            const QStringList parts = QString::fromLatin1(real).split(u' ');
            connector(root.path(), parts[0], "connected",
                      readAll(QStringLiteral(TAVIX_EDID_DIR "/%1.bin").arg(parts[1])));
        }
        const QRectF b(10, 20, 1919.5, 1080);
        const LinuxDisplayProvider provider(root.path(), screens({{"DisplayPort-0", "Panel B", b},
                                                                  {"DSI-1", "", b},
                                                                  {"X", "Panel B", b},
                                                                  {"DP-4", "", b},
                                                                  {"DP-5", "", b},
                                                                  {"HDMI-A-1", "", b},
                                                                  {"eDP-1", "", b},
                                                                  {"DP-6", "", b},
                                                                  {"DP-7", "", b}}));
        QCOMPARE(describe(provider.onlineDisplays()),
                 "DP-3, Panel B 10ac:a0c4 10,20 1919.5x1080 | DSI-1 2:2021builtin 10,20 1919.5x1080"
                 " | X 756e6b6e:0 10,20 1919.5x1080 | DP-4, ~A B 5:6 10,20 1919.5x1080"
                 " | DP-5 756e6b6e:0 10,20 1919.5x1080 | HDMI-A-1 756e6b6e:0 10,20 1919.5x1080"
                 " | eDP-1 dae:1132builtin 10,20 1919.5x1080 | DP-6, SyncMaster 3e:616 10,20 "
                 "1919.5x1080 | DP-7, Elo15 158f:0 10,20 1919.5x1080");
        const LinuxDisplayProvider many(root.path(), screens({40, ScreenGeometry{}}));
        QCOMPARE(many.onlineDisplays().size(), std::size_t(kMaxOnlineDisplays));
        // Qt keeps whole logical pixels (1920 / 1.75 gives 1097): the product is a fraction off.
        QCOMPARE(pixelGeometry(QRect(1097, 0, 1097, 617), 1.75), QRectF(1920, 0, 1920, 1080));
        QCOMPARE(pixelGeometry(QRect(0, 0, 1536, 864), 1.25), QRectF(0, 0, 1920, 1080));
    }

    // The fixture file: the demo's shipped one (the simulated panel's display and a built-in
    // one), a missing one (read with a warning), and one that leaves fields to their defaults.
    void fixture() {
        const std::pair<QByteArray, QString> rows[] = {
            {readAll(TAVIX_DATA_DIR "/displays.json"),
             "DP-2 52d8:3170 0,0 1920x1080 | eDP-1 daf:1132builtin 1920,0 1366x768"},
            {QByteArray(), ""},
            {R"([{"monitor": "M", "height": 2.5, "model": 4294967295}])",
             "M 756e6b6e:ffffffff 0,0 0x2.5"}};
        QTemporaryDir dir;
        qputenv("TAVIX_DISPLAYS", dir.filePath("displays.json").toLocal8Bit());
        for (const auto &[json, displays] : rows) {
            QFile::remove(dir.filePath("displays.json"));
            put(dir.path(), "displays.json", json);
            if (json.isNull()) {
                QTest::ignoreMessage(QtWarningMsg,
                                     QRegularExpression("display fixture .* unreadable"));
            }
            QCOMPARE(describe(currentDisplayProvider()->onlineDisplays()), displays);
        }
        qunsetenv("TAVIX_DISPLAYS");
    }
};

QTEST_GUILESS_MAIN(DisplayProviderTest)
#include "displayprovider_test.moc"
