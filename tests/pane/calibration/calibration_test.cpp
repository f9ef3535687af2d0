// The Calibration page through real widgets and keys, fake displays and a fake daemon on a bus.
#include <QtWidgets>

#include "calibration/calibrationviewclt.h"
#include "calibration/hotkeychord.h"
#include "calibration/radiomatrix.h"
#include "pane_test_support.h"
#include "properties_env.h"
#include "snapshot.h"

using namespace tavix;
using tavix::test::row, tavix::test::rows;

namespace {

constexpr std::uint32_t kVendor = 21208, kProduct = 12656, kUnknown = kDisplayVendorIDUnknown;

struct FakeDisplays final : DisplayProvider {
    std::vector<DisplayInfo> list;
    std::vector<DisplayInfo> onlineDisplays() const override { return list; }
};

// A display on connector `name`, w by h, of that vendor and model, named "M <name>".
DisplayInfo dp(const char *name, double w, double h, std::uint32_t vendor, std::uint32_t model,
               bool builtin = false) {
    return {QRectF(0, 0, w, h), vendor, model, builtin, name, QStringLiteral("M ") + name};
}

// 317 lists the 0x717 model too (it must never match); 500 has two entries, the second of which
// matches; 400 has no "Display".
const char kDeviceList[] = R"(<plist version="1.0"><array>
<dict><key>ModelType</key><integer>317</integer><key>Display</key><dict><key>ManufacturerID</key>
<integer>21208</integer><key>ProductID</key><array><integer>12656</integer><integer>1815</integer>
</array></dict></dict>
<dict><key>ModelType</key><integer>500</integer><key>Display</key><dict><key>ManufacturerID</key>
<integer>99</integer><key>ProductID</key><array><integer>7</integer></array></dict></dict>
<dict><key>ModelType</key><integer>500</integer><key>Display</key><dict><key>ManufacturerID</key>
<integer>98</integer><key>ProductID</key><array><integer>8</integer></array></dict></dict>
<dict><key>ModelType</key><integer>400</integer></dict></array></plist>)";
const char kResolutions[] = R"(<plist version="1.0"><array><string>1280x720</string>
<string>1919x1080</string><string>1920x1080</string></array></plist>)";

SettingsDict settings(int calibrationType, int simpleType, int rotateMode, const char *key = "C") {
    SettingsDict d = settingItemsDefaults();
    d.set("CalibrationHotKey", key);
    d.set("CalibrationType", calibrationType);
    d.set("SimpleCalibrationType", simpleType);
    d.set("RotateMode", rotateMode);
    return d;
}

// Counts the key presses that reach it, apart from those of the modifier keys QTest presses first.
struct KeySink : QWidget {
    explicit KeySink(QWidget *parent) : QWidget(parent) { setFocusPolicy(Qt::StrongFocus); }
    int presses = 0;
    void keyPressEvent(QKeyEvent *e) override { presses += e->key() < Qt::Key_Shift; }
};

// The panel's display of model 317, another one, and one whose size is listed when 1920 wide.
const DisplayInfo kPanel = dp("DP-2", 1920, 1080, kVendor, kProduct),
                  kHdmi = dp("HDMI-A-1", 1280, 720, 3, 4);
const auto other = [](double width) { return dp("DP-9", width, 1080, 1, 1); };

// The states the page passes through on one page, in this order, as the settings file, the lists
// and the displays leave it (1920 wide is listed; simple -1: no settings file), each compared with
// its picture "calibration-<name up to a colon>": which display is shown with what resolution,
// what is selected and what enabled. Then a control ("<matrix>_<row>_<column>" or a button)
// clicked, or driven by a screen reader, sends its command.
struct Use {
    const char *control = nullptr, *sent = nullptr;
    bool reader = false;
};
const struct State {
    const char *name;
    int model;
    std::vector<DisplayInfo> displays;
    Use use = {};
    int type = 0, simple = 2, rotate = 0;
    bool resolutionList = true, byDaemon = false;  // the daemon's news of a simple switch
} kStates[] = {
    {"simple", 317, {other(1920)}, {"simpleSetting__1_0", "13 01 00"}},
    {"no settings file", 317, {}, {}, 0, -1},
    {"manual forced: RotateMode 1", 317, {other(1920)}, {}, 0, 2, 1},
    {"type 2 on 317", 317, {other(1920)}, {"startButton_", "1F 00 00"}, 2, 1},
    {"type 2 on model 42", 42, {other(1920)}, {"calibrationMatrix__0_0", "12 00 00"}, 2, 2},
    {"type 1 on 317", 317, {other(1920)}, {"startButton_", "17 00 00", true}, 1, 0},
    {"switched by the daemon", 317, {other(1920)}, {}, 0, 1, 0, true, true},
    {"simple setting with no row", 42, {other(1920)}, {}, 0, 7},
    {"RotateMode 2", 317, {other(1920)}, {"calibrationMatrix__0_1", "12 01 00", true}, 0, 0, 2},
    {"resolution not listed", 317, {other(1024)}},
    {"the later of two matches", 317, {kHdmi, kPanel, dp("DP-3", 2560, 1440, kVendor, kProduct)}},
    {"0x717 never", 317, {dp("DP-4", 1600, 900, kVendor, 0x717), dp("eDP-1", 9, 9, 1, 2, true)}},
    {"vendor unknown", 317, {dp("DP-5", 1280, 720, kUnknown, kProduct)}},
    {"low 16 bits: 1919.6 wide", 317 + 0x10000, {dp("DP-2", 1919.6, 1080.9, kVendor, kProduct)}},
    {"no early exit", 500, {dp("DP-6", 1280, 720, 98, 8)}},
    {"only the first 32 looked at", 317,
     [] {
         std::vector<DisplayInfo> many(kMaxOnlineDisplays, kHdmi);
         many.push_back(kPanel);
         return many;
     }()},
    {"no Display", 400, {dp("DP-7", 1280, 720, 0, 0)}},
    {"manual forced: no resolution list", 317, {other(1920)}, {}, 0, 2, 0, false},
};

// Key events with "SimpleCalibrationType" 2 in the file.
const int kCS = Qt::ControlModifier | Qt::ShiftModifier;
const struct Chord {
    const char *name;
    int key, modifiers;
    bool consumed;
    QStringList sent;
    const char *calibrationKey = "C";
} kChords[] = {
    {"1 as !", Qt::Key_Exclam, kCS, true, {"12 01 00"}, "1"},
    {"Control+Shift+Tab moves the focus", Qt::Key_Backtab, kCS, false, {}},
    {"C", Qt::Key_C, kCS, true, {"12 01 00"}},
    {"S: 2 steps to 0", Qt::Key_S, kCS, true, {"12 00 00", "13 00 00"}},
    {"Control+Option+C", Qt::Key_C, Qt::ControlModifier | Qt::AltModifier, false, {}},
    {"X consumed", Qt::Key_X, kCS, true, {}},
};

// A key confirmed in the hot-key window; the alert named by its text's key.
const struct HotKey {
    const char *name;
    bool simple;
    const char *key;
    bool file, daemon;
    const char *alert, *sent;
} kHotKeys[] = {
    {"calibration key changed", false, "K", true, true, "Alert.CalibrationHotKeyChanged", "18 4B"},
    {"simple key changed", true, "7", true, true, "Alert.SimpleHotKeyChanged", "19 37"},
    {"unchanged", false, "C", true, true, "", "18 43"},
    {"the other key's key", false, "S", true, true, "Alert.HotKeyFailure", ""},
    {"no settings file", false, "K", false, true, "", "00 00"},
    {"no daemon port", false, "K", true, false, "Alert.CalibrationHotKeyChanged", ""},
    {"no key chosen", false, "", true, true, "Alert.HotKeyFailure", ""},
};

}  // namespace

class CalibrationTest : public QObject, public test::PaneFixture {
    Q_OBJECT

    test::RecordingDaemon daemon_;
    std::unique_ptr<QWidget> window_;
    KeySink *sink_ = nullptr;
    std::shared_ptr<FakeDisplays> displays_;
    CalibrationViewClt *ctl_ = nullptr;

    template <typename T>
    T *w(const QString &name) const {
        T *widget = window_->findChild<T *>(name);
        return widget ? widget : (qFatal("no widget %s", qPrintable(name)), nullptr);
    }
    std::string path() const { return getSettingsFilePath(gModelType.load()); }
    // A page for model 317 and its panel, with the settings file unless it is null.
    void makePage(std::optional<SettingsDict> file) {
        gModelType = 317;
        QFile::remove(QString::fromStdString(path()));
        QVERIFY(!file || writePlistFileAtomically(*file, path()));
        window_ = std::make_unique<QWidget>();
        window_->resize(700, 560);
        sink_ = new KeySink(window_.get());
        displays_ = std::make_shared<FakeDisplays>();
        displays_->list = {kPanel};
        ctl_ = new CalibrationViewClt(window_.get(), displays_, window_.get());
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
        ctl_->updateUIState();
    }
  private slots:
    void initTestCase() { QVERIFY(daemon_.start()); }
    void init() {
        resetFixture();
        for (const auto &[path, text] : {std::pair{getSupportDeviceListFilePath(), kDeviceList},
                                         {getSupportResolutionListFilePath(), kResolutions}}) {
            QFile file(QString::fromStdString(path));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) > 0);
        }
    }
    void cleanup() { window_.reset(); }

    // A digit's key on the number row, told by its place (XKB codes) or by its symbol.
    void chordCharacters() {
        const QLocale de(QLocale::German), us(QLocale::English, QLocale::UnitedStates);
        QCOMPARE(chordCharacter(Qt::Key_Slash, 16, ScanCodes::Xkb, us), "7");
        QCOMPARE(chordCharacter(Qt::Key_Ampersand, 0, ScanCodes::Unknown, us), "7");
        QCOMPARE(chordCharacter(Qt::Key_Ampersand, 0, ScanCodes::Unknown, de), "6");
    }

    // Loading each state after the one before it, and after a control was used in it, leaves
    // nothing of that one behind and sends nothing; Tab stops at every control and the sentence.
    void pageStates() {
        RadioMatrix lone(1, 2);  // a cell disabled under the group's Tab stop hands it on
        lone.selectCell(0, 0), lone.setCellEnabled(0, 0, false);
        QVERIFY(lone.cell(0, 1)->focusPolicy() & Qt::TabFocus);
        makePage(std::nullopt);
        QStringList faults;
        for (const State &s : kStates) {
            gModelType = s.model;
            QFile::remove(QString::fromStdString(path()));
            QVERIFY(s.simple < 0 ||
                    writePlistFileAtomically(settings(s.type, s.simple, s.rotate, "K"), path()));
            if (!s.resolutionList) {
                QFile::remove(QString::fromStdString(getSupportResolutionListFilePath()));
            }
            displays_->list = s.displays;
            s.byDaemon ? ctl_->simpleCalibrationChange() : ctl_->updateUIState();
            const QString name = QString(s.name).section(':', 0, 0).replace(' ', '-');
            faults << test::snapshotMismatch(window_.get(), "calibration-" + name)
                   << test::unheardLabels(window_.get());  // values heard as shown
            daemon_.expect({});
            const QStringList stops = test::tabStops(window_.get());  // one cell per usable group
            for (const auto *m : window_->findChildren<RadioMatrix *>()) {
                const auto cells = m->findChildren<QRadioButton *>();
                const bool usable = m->isVisible() && std::any_of(cells.begin(), cells.end(),
                                                                  std::mem_fn(&QWidget::isEnabled));
                const auto in = stops.filter(QRegularExpression('^' + m->objectName() + "_\\d"));
                QVERIFY2(in.size() == usable, s.name);
            }
            // The key sink, each group at its selected cell, the sentence, the keys.
            if (&s == kStates) {
                QCOMPARE(stops,
                         (QStringList{"", "calibrationMatrix__0_0", "simpleSetting__2_0",
                                      "touchDisplay_", "calibrationBtn_", "simpleSwitchBtn_"}));
            }
            if (s.use.control) {
                auto *button = w<QAbstractButton>(s.use.control);
                if (!s.use.reader) {
                    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
                } else {
                    QAccessible::queryAccessibleInterface(button)->actionInterface()->doAction(
                        qobject_cast<QRadioButton *>(button)
                            ? QAccessibleActionInterface::toggleAction()
                            : QAccessibleActionInterface::pressAction());
                    QTRY_VERIFY(!button->isDown());  // a press clicks after a short delay
                }
                daemon_.expect({s.use.sent});
                button->clearFocus();  // the pictures show no focus
            }
        }
        faults.removeAll(QString());
        QCOMPARE(faults, QStringList{});
    }

    // Chords reach the page wherever the focus is in its window.
    void chords_data() { rows(kChords); }
    void chords() {
        const Chord &c = row(kChords);
        makePage(settings(0, 2, 0, c.calibrationKey));
        sink_->setFocus();
        QTRY_VERIFY(sink_->hasFocus());
        auto *keys = ctl_->hotKeyWindow()->findChild<QComboBox *>();
        keys->setCurrentIndex(-1);
        QTest::keyClick(sink_, Qt::Key(c.key), Qt::KeyboardModifiers(c.modifiers));
        QCOMPARE(sink_->presses, c.consumed ? 0 : 1);
        daemon_.expect(c.sent);
        // The calibration key selects the simple-switch key in the window: kept so.
        QCOMPARE(keys->currentText(), c.sent.endsWith("12 01 00") ? "S" : "");
    }

    // The hot-key window: the alert, what is stored and sent, whether the window closes.
    void hotKeyWindow_data() { rows(kHotKeys); }
    void hotKeyWindow() {
        const auto &[name, simple, key, file, daemon, alertKey, sent] = row(kHotKeys);
        const QString alert = QString::fromLatin1(alertKey);
        const char *button = simple ? "simpleSwitchBtn_" : "calibrationBtn_";
        makePage(file ? std::optional(settings(0, 0, 0)) : std::nullopt);
        daemon ? void() : daemon_.stop();
        QString alertText;
        bool keptUnderAlert = false, open = false;
        QDialog *win = ctl_->hotKeyWindow();
        const bool changed = alert.endsWith("Changed"), stored = file && !alert.endsWith("Failure");
        bool ran = false;  // once the window is up; what is left open is closed after
        QTimer::singleShot(0, this, [&] {
            const auto closeLeftOpen = qScopeGuard([] {
                while (QWidget *modal = QApplication::activeModalWidget()) {
                    modal->close();
                }
            });
            QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
            auto *keys = win->findChild<QComboBox *>();
            keys->setCurrentIndex(keys->findText(key));
            if (&row(kHotKeys) == kHotKeys) {
                QCOMPARE(test::snapshotMismatch(win, "calibration-hotkey-window"), QString());
            }
            QTimer::singleShot(0, this, [&] {
                if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                    alertText = box->text();
                    if (ctl_->doubleModal) {
                        ctl_->hideModelWindow();  // the monitor, under the alert
                        keptUnderAlert = win->isVisible();
                    }
                    box->buttons().first()->click();
                }
            });
            QTest::mouseClick(win->findChild<QPushButton *>("hotKeySet"), Qt::LeftButton);
            open = win->isVisible();
            ran = true;
        });
        QTest::mouseClick(w<QPushButton>(button), Qt::LeftButton);
        QVERIFY(ran);
        QVERIFY(daemon || daemon_.start());
        QCOMPARE(open, !daemon || alert.endsWith("Failure"));
        QCOMPARE(alertText, alert.isEmpty() ? QString()
                                            : localizedText(alert.toLatin1().constData()) +
                                                  (changed ? QString(key) : ""));
        QCOMPARE(keptUnderAlert, changed);
        const QString now = stored ? QString(key) : file ? (simple ? "S" : "C") : "";
        QCOMPARE(readPlistFile(path())
                     .value_or(SettingsDict{})
                     .stringValue(simple ? "SimpleHotKey" : "CalibrationHotKey"),
                 now.toStdString());
        QCOMPARE(w<QPushButton>(button)->text(), file ? localizedText("HotKeyString") + now : "");
        daemon_.expect(*sent ? QStringList{sent} : QStringList{});
    }
};

QTEST_MAIN(CalibrationTest)
#include "calibration_test.moc"
