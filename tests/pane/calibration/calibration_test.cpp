// The Calibration page driven through its real widgets and key events, with fake displays, real
// support lists and settings files in a temporary HOME, and the commands checked byte for byte
// at a fake daemon on a private session bus.
#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>

#include <sys/stat.h>

#include "calibration/calibrationviewclt.h"
#include "calibration/radiomatrix.h"
#include "pane_test_support.h"
#include "properties_env.h"

using namespace tavix;

namespace {

constexpr std::uint32_t kVendor = 21208, kProduct = 12656, kUnknown = kDisplayVendorIDUnknown;

struct FakeDisplays final : DisplayProvider {
    std::vector<DisplayInfo> list;
    std::vector<DisplayInfo> onlineDisplays() const override { return list; }
};

DisplayInfo display(const char *name, double w, double h, std::uint32_t vendor, std::uint32_t model,
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

SettingsDict settings(int calibrationType, int simpleType, int rotateMode) {
    SettingsDict d = settingItemsDefaults();
    d.set("CalibrationType", calibrationType);
    d.set("SimpleCalibrationType", simpleType);
    d.set("RotateMode", rotateMode);
    return d;
}

// Counts the key presses that reach it, leaving out the modifier keys QTest presses first.
struct KeySink : QWidget {
    int presses = 0;
    void keyPressEvent(QKeyEvent *e) override { presses += e->key() < Qt::Key_Escape ? 1 : 0; }
};

}  // namespace

Q_DECLARE_METATYPE(std::vector<tavix::DisplayInfo>)

class CalibrationTest : public QObject, public test::PaneFixture {
    Q_OBJECT

    test::RecordingDaemon daemon_;
    std::unique_ptr<QWidget> window_;
    KeySink *sink_ = nullptr;
    CalibrationViewClt *ctl_ = nullptr;

    template <typename T = RadioMatrix>
    T *w(const QString &name) const {
        T *widget = window_->findChild<T *>(name);
        return widget ? widget : (qFatal("no widget %s", qPrintable(name)), nullptr);
    }
    void expectSent(const QStringList &expected) {
        test::sendMarker();
        QTRY_VERIFY(daemon_.received.contains(test::kMarker));
        QCOMPARE(std::exchange(daemon_.received, {}), expected + QStringList{test::kMarker});
    }
    std::string path() const { return getSettingsFilePath(gModelType.load()); }
    // A page for the model, with the displays and, unless null, the settings file.
    void makePage(int model, std::vector<DisplayInfo> list, std::optional<SettingsDict> file) {
        gModelType = model;
        QFile::remove(QString::fromStdString(path()));
        QVERIFY(!file || writePlistFileAtomically(*file, path()));
        window_ = std::make_unique<QWidget>();
        window_->resize(700, 560);
        auto *page = new QWidget(window_.get());
        page->resize(window_->size());
        sink_ = new KeySink;
        sink_->setParent(window_.get());
        sink_->setFocusPolicy(Qt::StrongFocus);
        auto displays = std::make_shared<FakeDisplays>();
        displays->list = std::move(list);
        ctl_ = new CalibrationViewClt(page, displays, page);
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
        ctl_->updateUIState();
    }
    // Runs `inside` once the modal window opened by `open` is up, then closes what is left.
    void whileModal(const std::function<void()> &open, const std::function<void()> &inside) {
        bool ran = false;
        QTimer::singleShot(0, this, [&] {
            QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
            inside();
            ran = true;
            while (QWidget *modal = QApplication::activeModalWidget()) {
                modal->close();
            }
        });
        open();
        QVERIFY(ran);
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

    void displayChoice_data() {
        const DisplayInfo panel = display("DP-2", 1920, 1080, kVendor, kProduct),
                          laptop = display("eDP-1", 1366, 768, 1, 2, true),
                          hdmi = display("HDMI-A-1", 1280, 720, 3, 4);
        QTest::addColumn<int>("model");
        QTest::addColumn<std::vector<DisplayInfo>>("list");
        QTest::addColumn<QString>("resolution");
        QTest::addColumn<QString>("shown");  // text key and connector
        const auto row = [](const char *name, int model, std::vector<DisplayInfo> list,
                            const char *resolution, const char *shown) {
            QTest::newRow(name) << model << list << resolution << shown;
        };
        row("matched after another", 317, {hdmi, panel}, "1920 * 1080", "matched DP-2");
        row("two matches: the later", 317, {panel, display("DP-3", 2560, 1440, kVendor, kProduct)},
            "2560 * 1440", "matched DP-3");
        row("0x717 never", 317, {display("DP-4", 1600, 900, kVendor, 0x717), laptop}, "1600 * 900",
            "fallback DP-4");
        row("vendor unknown", 317, {display("DP-5", 1280, 720, kUnknown, kProduct)}, "1280 * 720",
            "matched DP-5");
        row("vendor unknown, model not listed", 317,
            {display("DP-5", 1280, 720, kUnknown, 5), laptop}, "1280 * 720", "fallback DP-5");
        row("external over built-in", 317, {hdmi, laptop}, "1280 * 720", "fallback HDMI-A-1");
        row("built-in only", 317, {laptop}, "1366 * 768", "fallback eDP-1");
        row("none", 317, {}, "0 * 0", "none -");
        row("1919.6 wide", 317, {display("DP-2", 1919.6, 1080.9, kVendor, kProduct)}, "1919 * 1080",
            "matched DP-2");
        row("equal low 16 bits", 317 + 0x10000, {panel}, "1920 * 1080", "matched DP-2");
        row("no early exit", 500, {display("DP-6", 1280, 720, 98, 8)}, "1280 * 720",
            "matched DP-6");
        row("no Display", 400, {display("DP-7", 1280, 720, 0, 0)}, "1280 * 720", "fallback DP-7");
        row("empty match loses", 317, {display("DP-2", 0, 1080, kVendor, kProduct), laptop},
            "1366 * 768", "fallback eDP-1");
    }
    void displayChoice() {
        QFETCH(int, model);
        QFETCH(std::vector<DisplayInfo>, list);
        QFETCH(QString, resolution);
        QFETCH(QString, shown);
        makePage(model, list, std::nullopt);
        QCOMPARE(w<QLabel>("resolution_")->text(), resolution);
        QVERIFY(!w<QLabel>("resolution_")->isEnabled());
        const QString name = shown.section(' ', 1);
        const QByteArray key = "Calibration.display." + shown.section(' ', 0, 0).toLatin1();
        const QString text = localizedText(key.constData());
        QCOMPARE(w<QLabel>("touchDisplay_")->text(),
                 text.contains("%1") ? text.arg(name + ", M " + name) : text);
    }

    // The page as the settings file and the lists leave it (1920 wide is listed, 1024 is not);
    // nothing is sent and the file keeps its type.
    void pageState_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<double>("width");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("rotate");
        QTest::addColumn<bool>("simple");       // simple type shown and its cell enabled
        QTest::addColumn<bool>("cellEnabled");  // the simple cell
        QTest::addColumn<int>("manualRow");
        QTest::newRow("simple") << 317 << 1920.0 << 0 << 0 << true << true << 0;
        QTest::newRow("manual, model 42") << 42 << 1920.0 << 1 << 0 << false << true << 0;
        QTest::newRow("type 2 on 317") << 317 << 1920.0 << 2 << 0 << false << true << 1;
        QTest::newRow("type 2 on model 42") << 42 << 1920.0 << 2 << 0 << false << true << 0;
        QTest::newRow("RotateMode 1") << 317 << 1920.0 << 0 << 1 << false << false << 0;
        QTest::newRow("RotateMode 3") << 317 << 1920.0 << 0 << 3 << false << false << 0;
        QTest::newRow("RotateMode 2") << 317 << 1920.0 << 0 << 2 << true << true << 0;
        QTest::newRow("resolution not listed") << 317 << 1024.0 << 0 << 0 << false << false << 0;
    }
    void pageState() {
        QFETCH(int, model);
        QFETCH(double, width);
        QFETCH(int, type);
        QFETCH(int, rotate);
        QFETCH(bool, simple);
        QFETCH(bool, cellEnabled);
        QFETCH(int, manualRow);
        SettingsDict file = settings(type, 2, rotate);
        file.set("CalibrationHotKey", "K");
        makePage(model, {display("DP-9", width, 1080, 1, 1)}, file);
        RadioMatrix *manual = w(model == 317 ? "manualSettingFor317_" : "manualSettingForOther_");
        QCOMPARE(w("calibrationMatrix_")->selectedColumn(), simple ? 0 : 1);
        QCOMPARE(w("calibrationMatrix_")->cell(0, 0)->isEnabled(), cellEnabled);
        QCOMPARE(w("simpleSetting_")->selectedRow(), 2);
        QCOMPARE(w("simpleSetting_")->isEnabled(), simple);
        QVERIFY(manual->isVisible());
        QCOMPARE(manual->selectedRow(), manualRow);
        QCOMPARE(manual->isEnabled(), !simple);
        QCOMPARE(w<QPushButton>("startButton_")->isEnabled(), !simple);
        QCOMPARE(w<QPushButton>("calibrationBtn_")->text(), localizedText("HotKeyString") + "K");
        QCOMPARE(w<QPushButton>("simpleSwitchBtn_")->text(), localizedText("HotKeyString") + "S");
        expectSent({});
        QCOMPARE(readPlistFile(path())->intValue("CalibrationType"), type);
        // Without the file only the simple setting goes back to row 0.
        QFile::remove(QString::fromStdString(path()));
        ctl_->updateUIState();
        QCOMPARE(w("simpleSetting_")->selectedRow(), 0);
        QCOMPARE(w("calibrationMatrix_")->selectedColumn(), simple ? 0 : 1);
        QCOMPARE(w<QPushButton>("calibrationBtn_")->text(), localizedText("HotKeyString") + "K");
    }

    // Each control sends its command, clicked or driven by a screen reader; the hot keys switch.
    void controls_data() {
        QTest::addColumn<QString>("control");  // "<matrix>_<row>_<column>", a button or a key
        QTest::addColumn<int>("type");
        QTest::addColumn<QStringList>("sent");
        QTest::newRow("simple type") << "calibrationMatrix__0_0" << 1 << QStringList{"12 00 00"};
        QTest::newRow("manual type") << "calibrationMatrix__0_1" << 0 << QStringList{"12 01 00"};
        QTest::newRow("simple setting 2") << "simpleSetting__1_0" << 0 << QStringList{"13 01 00"};
        QTest::newRow("start, row 0") << "startButton_" << 1 << QStringList{"17 00 00"};
        QTest::newRow("start, second manual") << "startButton_" << 2 << QStringList{"1F 00 00"};
        QTest::newRow("hot key: 2 steps to 0") << "S" << 1 << QStringList{"12 00 00", "13 00 00"};
        QTest::newRow("hot key: manual") << "C" << 0 << QStringList{"12 01 00"};
    }
    void controls() {
        QFETCH(QString, control);
        QFETCH(int, type);
        QFETCH(QStringList, sent);
        for (bool reader : {false, true}) {
            makePage(317, {display("DP-2", 1920, 1080, kVendor, kProduct)}, settings(type, 2, 0));
            if (control.size() == 1) {
                ctl_->hotKeyWindow()->findChild<QComboBox *>()->setCurrentIndex(-1);
                (control == "S" ? ctl_->ChangeSimpleSettingType()
                                : ctl_->ChangeCalibrationSettingType());
                // The calibration key selects the simple-switch key in the window: kept so.
                QCOMPARE(ctl_->hotKeyWindow()->findChild<QComboBox *>()->currentText(),
                         control == "C" ? "S" : "");
                expectSent(sent);
                return;
            }
            auto *button = w<QAbstractButton>(control);
            if (!reader) {
                QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
            } else {
                QAccessible::queryAccessibleInterface(button)->actionInterface()->doAction(
                    qobject_cast<QRadioButton *>(button)
                        ? QAccessibleActionInterface::toggleAction()
                        : QAccessibleActionInterface::pressAction());
                QTRY_VERIFY(!button->isDown());  // a press clicks after a short delay
            }
            expectSent(sent);
        }
    }

    // Chords reach the page wherever the focus is in its window.
    void chords_data() {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<bool>("consumed");
        QTest::addColumn<QStringList>("sent");
        const int cs = Qt::ControlModifier | Qt::ShiftModifier;
        QTest::newRow("C") << int(Qt::Key_C) << cs << true << QStringList{"12 01 00"};
        QTest::newRow("S") << int(Qt::Key_S) << cs << true << QStringList{"12 00 00", "13 00 00"};
        QTest::newRow("Control+Option+C")
            << int(Qt::Key_C) << int(Qt::ControlModifier | Qt::AltModifier) << false
            << QStringList{};
        QTest::newRow("Control+Shift+Command+C")
            << int(Qt::Key_C) << int(cs | Qt::MetaModifier) << true << QStringList{"12 01 00"};
        QTest::newRow("X consumed") << int(Qt::Key_X) << cs << true << QStringList{};
        QTest::newRow("Shift+C") << int(Qt::Key_C) << int(Qt::ShiftModifier) << false
                                 << QStringList{};
    }
    void chords() {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(bool, consumed);
        QFETCH(QStringList, sent);
        makePage(317, {display("DP-2", 1920, 1080, kVendor, kProduct)}, settings(0, 2, 0));
        sink_->setFocus();
        QTRY_VERIFY(sink_->hasFocus());
        QTest::keyClick(sink_, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(sink_->presses, consumed ? 0 : 1);
        expectSent(sent);
    }

    // The hot-key window: the alert, what is stored and sent, whether the window closes.
    void hotKeyWindow_data() {
        QTest::addColumn<bool>("simple");
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("file");
        QTest::addColumn<bool>("daemon");
        QTest::addColumn<QString>("alert");  // the alert text's key
        QTest::addColumn<QStringList>("sent");
        QTest::newRow("calibration key changed")
            << false << "K" << true << true << "Alert.CalibrationHotKeyChanged"
            << QStringList{"18 4B"};
        QTest::newRow("simple key changed")
            << true << "7" << true << true << "Alert.SimpleHotKeyChanged" << QStringList{"19 37"};
        QTest::newRow("unchanged") << false << "C" << true << true << "" << QStringList{"18 43"};
        QTest::newRow("the other key's key")
            << false << "S" << true << true << "Alert.HotKeyFailure" << QStringList{};
        QTest::newRow("no settings file")
            << false << "K" << false << true << "" << QStringList{"00 00"};
        QTest::newRow("no daemon port")
            << false << "K" << true << false << "Alert.CalibrationHotKeyChanged" << QStringList{};
    }
    void hotKeyWindow() {
        QFETCH(bool, simple);
        QFETCH(QString, key);
        QFETCH(bool, file);
        QFETCH(bool, daemon);
        QFETCH(QString, alert);
        QFETCH(QStringList, sent);
        makePage(317, {}, file ? std::optional(settings(0, 0, 0)) : std::nullopt);
        struct stat before {};
        ::stat(path().c_str(), &before);
        daemon ? void() : daemon_.stop();
        QString alertText;
        bool keptUnderAlert = false, open = false;
        QDialog *win = ctl_->hotKeyWindow();
        const bool changed = alert.endsWith("Changed"), stored = file && !alert.endsWith("Failure");
        whileModal(
            [&] {
                QTest::mouseClick(w<QPushButton>(simple ? "simpleSwitchBtn_" : "calibrationBtn_"),
                                  Qt::LeftButton);
            },
            [&] {
                const QRect pane = window_->geometry();
                QCOMPARE(win->geometry().topLeft(),
                         pane.topLeft() + QPoint((pane.width() - win->width()) / 2,
                                                 (pane.height() - win->height()) / 2));
                QCOMPARE(win->windowTitle(), localizedText(simple ? "HotKey.simple.title"
                                                                  : "HotKey.calibration.title"));
                auto *keys = win->findChild<QComboBox *>();
                keys->setCurrentIndex(keys->findText(key));
                QTimer::singleShot(0, this, [&] {
                    if (auto *box =
                            qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
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
            });
        QVERIFY(daemon || daemon_.start());
        QCOMPARE(open, !daemon || alert.endsWith("Failure"));
        QCOMPARE(alertText, alert.isEmpty() ? QString()
                                            : localizedText(alert.toLatin1().constData()) +
                                                  (changed ? key : ""));
        QCOMPARE(keptUnderAlert, changed);
        QCOMPARE(ctl_->doubleModal, !daemon);
        const QString now = stored ? key : file ? (simple ? "S" : "C") : "";
        QCOMPARE(readPlistFile(path())
                     .value_or(SettingsDict{})
                     .stringValue(simple ? "SimpleHotKey" : "CalibrationHotKey"),
                 now.toStdString());
        struct stat after {};
        ::stat(path().c_str(), &after);
        QCOMPARE(after.st_ino != before.st_ino, stored);  // replaced, even when unchanged
        QCOMPARE(w<QPushButton>(simple ? "simpleSwitchBtn_" : "calibrationBtn_")->text(),
                 file ? localizedText("HotKeyString") + now : "");
        expectSent(sent);
    }

    // The display fixture and the sample lists of the demo give model 317 its display.
    void demoFixture() {
        const QDir data(QStringLiteral(TAVIX_DATA_DIR));
        for (const auto &[name, path] :
             {std::pair{"DeviceList.plist", getSupportDeviceListFilePath()},
              {"SupportResolutionList.plist", getSupportResolutionListFilePath()}}) {
            QVERIFY(QFile::remove(QString::fromStdString(path)) &&
                    QFile::copy(data.filePath(name), QString::fromStdString(path)));
        }
        makePage(317, FixtureDisplayProvider(data.filePath("displays.json")).onlineDisplays(),
                 settings(0, 1, 0));
        QCOMPARE(w<QLabel>("resolution_")->text(), "1920 * 1080");
        QCOMPARE(w<QLabel>("touchDisplay_")->text(),
                 localizedText("Calibration.display.matched").arg("DP-2"));
        QVERIFY(w("calibrationMatrix_")->cell(0, 0)->isEnabled());
    }

    // A page switch that arrives while the hot-key window is open waits until it has closed.
    void pageSwitchWaitsForTheHotKeyWindow() {
        test::writeUtilities(test::utilities(317, true, 0));
        gModelType = 317;
        QVERIFY(writePlistFileAtomically(settings(0, 0, 0), path()));
        TavixTouchPanelPref::Options options;
        options.monitorPeriod = std::chrono::hours(1);
        pane_ = std::make_unique<TavixTouchPanelPref>(std::move(options));
        view()->show();
        pane_->mainViewDidLoad();
        pane_->willSelect();
        QCOMPARE(tabView()->currentIndex(), 0);
        whileModal(
            [&] {
                QTest::mouseClick(view()->findChild<QPushButton *>("calibrationBtn_"),
                                  Qt::LeftButton);
            },
            [&] {
                QVERIFY(test::sendToPane(QByteArray(1, '\x01')) &&
                        test::sendToPane(QByteArray(1, '\x03')));
                QVERIFY(QApplication::activeModalWidget()->isVisible());
                QCOMPARE(tabView()->currentIndex(), 0);
            });
        QTRY_COMPARE(tabView()->currentIndex(), 3);
        QCOMPARE(test::readUtilities()->intValue("currentPageIndex"), 3);
    }
};

QTEST_MAIN(CalibrationTest)
#include "calibration_test.moc"
