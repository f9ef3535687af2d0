// The Calibration page driven through its real widgets and key events, with fake displays, real
// support lists and settings files in a temporary HOME, and the commands checked byte for byte
// at a fake daemon on a private session bus.
#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest/QtTest>

#include <sys/stat.h>

#include <functional>

#include "calibration/calibrationviewclt.h"
#include "calibration/radiomatrix.h"
#include "pane_test_support.h"
#include "properties_env.h"

using namespace tavix;

namespace {

constexpr std::uint32_t kVendor = 21208;  // the device list's display of model 317
constexpr std::uint32_t kProduct = 12656;

class FakeDisplays final : public DisplayProvider {
  public:
    std::vector<DisplayInfo> onlineDisplays() const override { return list; }
    std::vector<DisplayInfo> list;
};

DisplayInfo display(const char *name, double w, double h, std::uint32_t vendor, std::uint32_t model,
                    bool builtin = false) {
    return DisplayInfo{QRectF(0, 0, w, h),
                       vendor,
                       model,
                       builtin,
                       QString::fromLatin1(name),
                       QStringLiteral("Monitor %1").arg(QLatin1String(name))};
}

void writeFile(const std::string &path, const QByteArray &bytes) {
    QFile file(QString::fromStdString(path));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray plistArray(const QByteArray &items) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><array>" + items +
           "</array></plist>";
}

QByteArray deviceEntry(qint64 model, const QByteArray &display) {
    return "<dict><key>ModelType</key><integer>" + QByteArray::number(model) + "</integer>" +
           display + "</dict>";
}

QByteArray displayDict(qint64 vendor, std::initializer_list<qint64> products) {
    QByteArray list;
    for (qint64 p : products) {
        list += "<integer>" + QByteArray::number(p) + "</integer>";
    }
    return "<key>Display</key><dict><key>ManufacturerID</key><integer>" +
           QByteArray::number(vendor) + "</integer><key>ProductID</key><array>" + list +
           "</array></dict>";
}

// 317 lists the 0x717 model too (it must never match); 500 has two entries, the second of which
// matches; 400 has no "Display".
void writeSupportLists() {
    writeFile(getSupportDeviceListFilePath(),
              plistArray(deviceEntry(317, displayDict(kVendor, {kProduct, 0x717})) +
                         deviceEntry(500, displayDict(99, {7})) +
                         deviceEntry(500, displayDict(98, {8})) + deviceEntry(400, "")));
    writeFile(getSupportResolutionListFilePath(),
              plistArray("<string>1280x720</string><string>1919x1080</string>"
                         "<string>1920x1080</string>"));
}

SettingsDict settings(int calibrationType, int simpleType, int rotateMode) {
    SettingsDict d = settingItemsDefaults();
    d.set("CalibrationType", calibrationType);
    d.set("SimpleCalibrationType", simpleType);
    d.set("RotateMode", rotateMode);
    return d;
}

ino_t inodeOf(const std::string &path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? st.st_ino : 0;
}

// A widget that writes down the key presses that reach it.
class KeySink : public QWidget {
  public:
    using QWidget::QWidget;
    int presses = 0;

  protected:
    void keyPressEvent(QKeyEvent *event) override {
        // QTest presses each modifier key on its own first.
        presses += event->text().isEmpty() && event->key() >= Qt::Key_Shift &&
                           event->key() <= Qt::Key_ScrollLock
                       ? 0
                       : 1;
    }
};

}  // namespace

Q_DECLARE_METATYPE(std::vector<tavix::DisplayInfo>)

class CalibrationTest : public QObject, public test::PaneFixture {
    Q_OBJECT

  private:
    test::RecordingDaemon daemon_;
    std::unique_ptr<QWidget> window_;
    KeySink *sink_ = nullptr;
    std::shared_ptr<FakeDisplays> displays_;
    CalibrationViewClt *ctl_ = nullptr;

    template <typename T = QWidget>
    T *w(const char *name) const {
        T *widget = window_->findChild<T *>(QLatin1String(name));
        if (!widget) {
            qFatal("no widget %s", name);
        }
        return widget;
    }
    RadioMatrix *matrix(const char *name) const { return w<RadioMatrix>(name); }
    QDialog *keyWin() const { return ctl_->hotKeyWindow(); }
    void expectSent(const QStringList &expected) {
        test::sendMarker();
        QTRY_COMPARE(daemon_.received.size(), expected.size() + 1);
        QCOMPARE(daemon_.received, expected + QStringList{test::kMarker});
        daemon_.received.clear();
    }
    void makePage(int model, std::vector<DisplayInfo> list) {
        gModelType = model;
        window_ = std::make_unique<QWidget>();
        window_->resize(700, 560);
        auto *page = new QWidget(window_.get());
        page->resize(600, 500);
        sink_ = new KeySink(window_.get());
        sink_->setFocusPolicy(Qt::StrongFocus);
        displays_ = std::make_shared<FakeDisplays>();
        displays_->list = std::move(list);
        ctl_ = new CalibrationViewClt(page, displays_, page);
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
        ctl_->updateUIState();
    }
    std::string settingsPath() const { return getSettingsFilePath(gModelType.load()); }
    void writeSettings(const SettingsDict &d) {
        QVERIFY(writePlistFileAtomically(d, settingsPath()));
    }
    SettingsDict storedSettings() const {
        return readPlistFile(settingsPath()).value_or(SettingsDict{});
    }
    // Runs `inside` once the modal window opened by `open` is up; `open` returns when it closes.
    void whileModal(const std::function<void()> &open, const std::function<void()> &inside) {
        bool ran = false;
        QTimer::singleShot(0, this, [&] {
            QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
            inside();
            ran = true;
            // A failed check leaves nothing open behind it.
            while (QWidget *modal = QApplication::activeModalWidget()) {
                modal->close();
            }
        });
        open();
        QVERIFY(ran);
    }
    // Picks a key in the open hot-key window and confirms; an alert that comes up is answered
    // after its text has been written to `alert`.
    void confirmKey(const QString &key, QString *alert = nullptr, bool *doubleModalSeen = nullptr) {
        QComboBox *keys = keyWin()->findChild<QComboBox *>(QStringLiteral("hotKey_"));
        keys->setCurrentIndex(keys->findText(key));
        QTimer::singleShot(0, this, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (box != nullptr) {
                if (alert) {
                    *alert = box->text();
                }
                if (doubleModalSeen && ctl_->doubleModal) {
                    ctl_->hideModelWindow();  // the monitor, under the key-changed alert
                    *doubleModalSeen = keyWin()->isVisible();
                }
                box->buttons().first()->click();
            }
        });
        QTest::mouseClick(keyWin()->findChild<QPushButton *>(QStringLiteral("hotKeySet")),
                          Qt::LeftButton);
    }

  private slots:
    void initTestCase() { QVERIFY(daemon_.start()); }
    void init() {
        resetFixture();
        writeSupportLists();
    }
    void cleanup() {
        window_.reset();
        daemon_.received.clear();
    }

    void displayChoice_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<std::vector<DisplayInfo>>("list");
        QTest::addColumn<QString>("resolution");
        QTest::addColumn<QString>("which");  // the text key and the display named
        const std::uint32_t unknown = kDisplayVendorIDUnknown;
        const DisplayInfo panel = display("DP-2", 1920, 1080, kVendor, kProduct);
        const DisplayInfo laptop = display("eDP-1", 1366, 768, 1, 2, true);
        const DisplayInfo external = display("HDMI-A-1", 1280, 720, 3, 4);
        QTest::newRow("matched after another")
            << 317 << std::vector{external, panel} << "1920 * 1080"
            << "matched DP-2";
        QTest::newRow("two matches: the later")
            << 317 << std::vector{panel, display("DP-3", 2560, 1440, kVendor, kProduct)}
            << "2560 * 1440"
            << "matched DP-3";
        QTest::newRow("0x717 never matches")
            << 317 << std::vector{display("DP-4", 1600, 900, kVendor, 0x717), laptop}
            << "1600 * 900"
            << "fallback DP-4";
        QTest::newRow("vendor unknown passes")
            << 317 << std::vector{display("DP-5", 1280, 720, unknown, kProduct)} << "1280 * 720"
            << "matched DP-5";
        QTest::newRow("vendor unknown, product not listed")
            << 317 << std::vector{display("DP-5", 1280, 720, unknown, 5), laptop} << "1280 * 720"
            << "fallback DP-5";
        QTest::newRow("external over built-in")
            << 317 << std::vector{external, laptop} << "1280 * 720"
            << "fallback HDMI-A-1";
        QTest::newRow("built-in only") << 317 << std::vector{laptop} << "1366 * 768"
                                       << "fallback eDP-1";
        QTest::newRow("none") << 317 << std::vector<DisplayInfo>{} << "0 * 0"
                              << "none ";
        QTest::newRow("1919.6 wide")
            << 317 << std::vector{display("DP-2", 1919.6, 1080.9, kVendor, kProduct)}
            << "1919 * 1080"
            << "matched DP-2";
        QTest::newRow("model equal in the low 16 bits")
            << (317 + 0x10000) << std::vector{external, panel} << "1920 * 1080"
            << "matched DP-2";
        QTest::newRow("no early exit")
            << 500 << std::vector{display("DP-6", 1280, 720, 98, 8)} << "1280 * 720"
            << "matched DP-6";
        QTest::newRow("missing Display never matches")
            << 400 << std::vector{display("DP-7", 1280, 720, 0, 0)} << "1280 * 720"
            << "fallback DP-7";
        QTest::newRow("empty match loses")
            << 317 << std::vector{display("DP-2", 0, 1080, kVendor, kProduct), laptop}
            << "1366 * 768"
            << "fallback eDP-1";
    }
    void displayChoice() {
        QFETCH(int, model);
        QFETCH(std::vector<DisplayInfo>, list);
        QFETCH(QString, resolution);
        QFETCH(QString, which);
        makePage(model, list);
        QCOMPARE(w<QLabel>("resolution_")->text(), resolution);
        QVERIFY(!w<QLabel>("resolution_")->isEnabled());
        const QString key = which.section(QLatin1Char(' '), 0, 0);
        const QString name = which.section(QLatin1Char(' '), 1);
        const QString expected =
            key == QLatin1String("none")
                ? localizedText("Calibration.display.none")
                : localizedText(("Calibration.display." + key).toLatin1().constData())
                      .arg(name + QStringLiteral(", Monitor ") + name);
        QCOMPARE(w<QLabel>("touchDisplay_")->text(), expected);
    }

    // The page as the settings file and the support lists leave it; nothing is sent.
    void pageState_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<double>("width");  // 1920 is supported, 1024 is not
        QTest::addColumn<int>("calibrationType");
        QTest::addColumn<int>("rotateMode");
        QTest::addColumn<int>("column");          // selected in calibrationMatrix_
        QTest::addColumn<bool>("simpleAllowed");  // cell 0 enabled
        QTest::addColumn<int>("manualRow");       // selected in the visible manual matrix
        QTest::addColumn<QString>("manualMatrix");
        QTest::newRow("simple") << 317 << 1920.0 << 0 << 0 << 0 << true << 0
                                << "manualSettingFor317_";
        QTest::newRow("manual, other model")
            << 42 << 1920.0 << 1 << 0 << 1 << true << 0 << "manualSettingForOther_";
        QTest::newRow("type 2 on 317")
            << 317 << 1920.0 << 2 << 0 << 1 << true << 1 << "manualSettingFor317_";
        QTest::newRow("type 2 on another model")
            << 42 << 1920.0 << 2 << 0 << 1 << true << 0 << "manualSettingForOther_";
        QTest::newRow("RotateMode 1")
            << 317 << 1920.0 << 0 << 1 << 1 << false << 0 << "manualSettingFor317_";
        QTest::newRow("RotateMode 3")
            << 317 << 1920.0 << 0 << 3 << 1 << false << 0 << "manualSettingFor317_";
        QTest::newRow("RotateMode 2")
            << 317 << 1920.0 << 0 << 2 << 0 << true << 0 << "manualSettingFor317_";
        QTest::newRow("resolution not listed")
            << 317 << 1024.0 << 0 << 0 << 1 << false << 0 << "manualSettingFor317_";
    }
    void pageState() {
        QFETCH(int, model);
        QFETCH(double, width);
        QFETCH(int, calibrationType);
        QFETCH(int, rotateMode);
        QFETCH(int, column);
        QFETCH(bool, simpleAllowed);
        QFETCH(int, manualRow);
        QFETCH(QString, manualMatrix);
        gModelType = model;
        SettingsDict d = settings(calibrationType, 2, rotateMode);
        d.set("CalibrationHotKey", "K");
        writeSettings(d);
        makePage(model, {display("DP-9", width, 1080, 1, 1)});
        const bool manual = column == 1;
        QCOMPARE(matrix("calibrationMatrix_")->selectedColumn(), column);
        QCOMPARE(matrix("calibrationMatrix_")->cell(0, 0)->isEnabled(), simpleAllowed);
        QCOMPARE(matrix("simpleSetting_")->selectedRow(), 2);
        QCOMPARE(matrix("simpleSetting_")->isEnabled(), !manual);
        RadioMatrix *shown = matrix(manualMatrix.toLatin1().constData());
        QVERIFY(shown->isVisible());
        QCOMPARE(shown->selectedRow(), manualRow);
        QCOMPARE(shown->isEnabled(), manual);
        QCOMPARE(w<QPushButton>("startButton_")->isEnabled(), manual);
        const QString prefix = localizedText("HotKeyString");
        QCOMPARE(w<QPushButton>("calibrationBtn_")->text(), prefix + "K");
        QCOMPARE(w<QPushButton>("simpleSwitchBtn_")->text(), prefix + "S");
        expectSent({});
        QCOMPARE(storedSettings().intValue("CalibrationType"), calibrationType);
    }

    // Without a settings file only the simple setting goes back to row 0.
    void missingSettingsFileKeepsControls() {
        gModelType = 317;
        writeSettings(settings(1, 2, 0));
        makePage(317, {display("DP-2", 1920, 1080, kVendor, kProduct)});
        QFile::remove(QString::fromStdString(settingsPath()));
        ctl_->updateUIState();
        QCOMPARE(matrix("simpleSetting_")->selectedRow(), 0);
        QCOMPARE(matrix("calibrationMatrix_")->selectedColumn(), 1);
        QVERIFY(w<QPushButton>("startButton_")->isEnabled());
        QCOMPARE(w<QPushButton>("simpleSwitchBtn_")->text(), localizedText("HotKeyString") + "S");
    }

    // Each control sends its command, whether clicked or driven by a screen reader.
    void controls_data() {
        QTest::addColumn<QString>("control");  // "<matrix>_<row>_<column>" or a button
        QTest::addColumn<int>("calibrationType");
        QTest::addColumn<bool>("accessible");
        QTest::addColumn<QStringList>("sent");
        for (bool a : {false, true}) {
            const char *how = a ? "accessibility" : "click";
            QTest::addRow("simple type, %s", how)
                << "calibrationMatrix__0_0" << 1 << a << QStringList{"12 00 00"};
            QTest::addRow("manual type, %s", how)
                << "calibrationMatrix__0_1" << 0 << a << QStringList{"12 01 00"};
            QTest::addRow("simple setting 3, %s", how)
                << "simpleSetting__2_0" << 0 << a << QStringList{"13 02 00"};
            QTest::addRow("start, row 0, %s", how)
                << "startButton_" << 1 << a << QStringList{"17 00 00"};
            QTest::addRow("start, second manual, %s", how)
                << "startButton_" << 2 << a << QStringList{"1F 00 00"};
        }
    }
    void controls() {
        QFETCH(QString, control);
        QFETCH(int, calibrationType);
        QFETCH(bool, accessible);
        QFETCH(QStringList, sent);
        gModelType = 317;
        writeSettings(settings(calibrationType, 0, 0));
        makePage(317, {display("DP-2", 1920, 1080, kVendor, kProduct)});
        auto *button = window_->findChild<QAbstractButton *>(control);
        QVERIFY(button != nullptr);
        if (accessible) {
            QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(button);
            QVERIFY(iface && iface->actionInterface());
            const QString action = qobject_cast<QRadioButton *>(button)
                                       ? QAccessibleActionInterface::toggleAction()
                                       : QAccessibleActionInterface::pressAction();
            iface->actionInterface()->doAction(action);
            QTRY_VERIFY(!button->isDown());  // a press clicks after a short delay
        } else {
            QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
        }
        expectSent(sent);
    }

    // Chords reach the page wherever the focus is in its window.
    void chords_data() {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<bool>("consumed");
        QTest::addColumn<QStringList>("sent");
        const int cs = Qt::ControlModifier | Qt::ShiftModifier;
        QTest::newRow("C: manual") << int(Qt::Key_C) << cs << true << QStringList{"12 01 00"};
        QTest::newRow("S: simple, 2 steps to 0")
            << int(Qt::Key_S) << cs << true << QStringList{"12 00 00", "13 00 00"};
        QTest::newRow("Control+Option+C")
            << int(Qt::Key_C) << int(Qt::ControlModifier | Qt::AltModifier) << false
            << QStringList{};
        QTest::newRow("Control+Shift+Command+C")
            << int(Qt::Key_C) << int(cs | Qt::MetaModifier) << true << QStringList{"12 01 00"};
        QTest::newRow("Control+Shift+X consumed") << int(Qt::Key_X) << cs << true << QStringList{};
        QTest::newRow("Shift+C") << int(Qt::Key_C) << int(Qt::ShiftModifier) << false
                                 << QStringList{};
    }
    void chords() {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(bool, consumed);
        QFETCH(QStringList, sent);
        gModelType = 317;
        writeSettings(settings(0, 2, 0));
        makePage(317, {display("DP-2", 1920, 1080, kVendor, kProduct)});
        sink_->setFocus();
        QTRY_VERIFY(sink_->hasFocus());
        QTest::keyClick(sink_, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(sink_->presses, consumed ? 0 : 1);
        expectSent(sent);
    }

    // The hot-key window: the key chosen, what is stored and sent, whether the window closes.
    void hotKeyWindow_data() {
        QTest::addColumn<bool>("simpleMode");
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("settingsFile");
        QTest::addColumn<bool>("daemon");
        QTest::addColumn<QString>("alert");  // key of the alert text, empty for none
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<bool>("closes");
        QTest::newRow("calibration key changed")
            << false << "K" << true << true << "Alert.CalibrationHotKeyChanged"
            << QStringList{"18 4B"} << true;
        QTest::newRow("simple key changed")
            << true << "7" << true << true << "Alert.SimpleHotKeyChanged" << QStringList{"19 37"}
            << true;
        QTest::newRow("unchanged: no alert, still stored and sent")
            << false << "C" << true << true << "" << QStringList{"18 43"} << true;
        QTest::newRow("the other key's key")
            << false << "S" << true << true << "Alert.HotKeyFailure" << QStringList{} << false;
        QTest::newRow("no settings file: two zero bytes")
            << false << "K" << false << true << "" << QStringList{"00 00"} << true;
        QTest::newRow("no daemon port: the window stays")
            << false << "K" << true << false << "Alert.CalibrationHotKeyChanged" << QStringList{}
            << false;
    }
    void hotKeyWindow() {
        QFETCH(bool, simpleMode);
        QFETCH(QString, key);
        QFETCH(bool, settingsFile);
        QFETCH(bool, daemon);
        QFETCH(QString, alert);
        QFETCH(QStringList, sent);
        QFETCH(bool, closes);
        gModelType = 317;
        writeSettings(settings(0, 0, 0));
        makePage(317, {display("DP-2", 1920, 1080, kVendor, kProduct)});
        if (!settingsFile) {
            QFile::remove(QString::fromStdString(settingsPath()));
        }
        const ino_t before = inodeOf(settingsPath());
        if (!daemon) {
            daemon_.stop();
        }
        QString alertText;
        bool stayedUnderAlert = false;
        bool stillOpen = false;
        auto *opener = w<QPushButton>(simpleMode ? "simpleSwitchBtn_" : "calibrationBtn_");
        whileModal([&] { QTest::mouseClick(opener, Qt::LeftButton); },
                   [&] {
                       const QRect pane = window_->geometry();
                       const QRect win = keyWin()->geometry();
                       QCOMPARE(win.topLeft(),
                                pane.topLeft() + QPoint((pane.width() - win.width()) / 2,
                                                        (pane.height() - win.height()) / 2));
                       QCOMPARE(keyWin()->windowTitle(),
                                localizedText(simpleMode ? "HotKey.simple.title"
                                                         : "HotKey.calibration.title"));
                       confirmKey(key, &alertText, &stayedUnderAlert);
                       stillOpen = keyWin()->isVisible();
                       if (stillOpen) {
                           ctl_->closeSetHotKeyPanel();
                       }
                   });
        if (!daemon) {
            QVERIFY(daemon_.start());
        }
        QCOMPARE(stillOpen, !closes);
        QCOMPARE(alertText, alert.isEmpty() ? QString()
                            : alert.endsWith(QLatin1String("Changed"))
                                ? localizedText(alert.toLatin1().constData()) + key
                                : localizedText(alert.toLatin1().constData()));
        QCOMPARE(stayedUnderAlert, alert.endsWith(QLatin1String("Changed")));
        QCOMPARE(ctl_->doubleModal, !daemon);
        const bool stored = settingsFile && !alert.endsWith(QLatin1String("Failure"));
        const char *storeKey = simpleMode ? "SimpleHotKey" : "CalibrationHotKey";
        QCOMPARE(QString::fromStdString(storedSettings().stringValue(storeKey)),
                 !settingsFile ? QString()
                 : stored      ? key
                               : QString(simpleMode ? "S" : "C"));
        QCOMPARE(inodeOf(settingsPath()) != before, stored);
        QCOMPARE(w<QPushButton>(simpleMode ? "simpleSwitchBtn_" : "calibrationBtn_")->text(),
                 localizedText("HotKeyString") + (stored ? key : QString(simpleMode ? "S" : "C")));
        expectSent(sent);
    }

    // After the calibration key the window lists the simple-switch key; each opener selects its
    // own key first.
    void hotKeySelectionCrossOver() {
        gModelType = 317;
        writeSettings(settings(0, 0, 0));
        makePage(317, {});
        auto *keys = keyWin()->findChild<QComboBox *>(QStringLiteral("hotKey_"));
        ctl_->ChangeCalibrationSettingType();
        QCOMPARE(keys->currentText(), QStringLiteral("S"));
        whileModal([&] { QTest::mouseClick(w<QPushButton>("calibrationBtn_"), Qt::LeftButton); },
                   [&] {
                       QCOMPARE(keys->currentText(), QStringLiteral("C"));
                       ctl_->closeSetHotKeyPanel();
                   });
        expectSent({"12 01 00"});
    }

    // The demo: the display fixture and the sample lists shipped in data/ give model 317 its
    // display, with the simple calibration allowed.
    void demoFixtureMatchesTheSampleLists() {
        const QDir data(QStringLiteral(TAVIX_DATA_DIR));
        for (const auto &[name, path] :
             {std::pair{"DeviceList.plist", getSupportDeviceListFilePath()},
              std::pair{"SupportResolutionList.plist", getSupportResolutionListFilePath()}}) {
            QFile::remove(QString::fromStdString(path));
            QVERIFY(QFile::copy(data.filePath(QLatin1String(name)), QString::fromStdString(path)));
        }
        gModelType = 317;
        writeSettings(settings(0, 1, 0));
        makePage(317, FixtureDisplayProvider(data.filePath(QStringLiteral("displays.json")))
                          .onlineDisplays());
        QCOMPARE(w<QLabel>("resolution_")->text(), QStringLiteral("1920 * 1080"));
        QCOMPARE(w<QLabel>("touchDisplay_")->text(),
                 localizedText("Calibration.display.matched").arg(QStringLiteral("DP-2")));
        QVERIFY(matrix("calibrationMatrix_")->cell(0, 0)->isEnabled());
    }

    // A page switch that arrives while the hot-key window is open waits until it has closed.
    void pageSwitchWaitsForTheHotKeyWindow() {
        test::writeUtilities(test::utilities(317, true, 0));
        gModelType = 317;
        writeSettings(settings(0, 0, 0));
        TavixTouchPanelPref::Options options;
        options.monitorPeriod = std::chrono::hours(1);
        pane_ = std::make_unique<TavixTouchPanelPref>(std::move(options));
        view()->show();
        QVERIFY(QTest::qWaitForWindowExposed(view()));
        pane_->mainViewDidLoad();
        pane_->willSelect();
        QCOMPARE(tabView()->currentIndex(), 0);
        auto *opener = view()->findChild<QPushButton *>(QStringLiteral("calibrationBtn_"));
        QDialog *window = nullptr;
        whileModal([&] { QTest::mouseClick(opener, Qt::LeftButton); },
                   [&] {
                       window = qobject_cast<QDialog *>(QApplication::activeModalWidget());
                       QVERIFY(test::sendToPane(QByteArray(1, '\x01')));
                       QVERIFY(window->isVisible());
                       QCOMPARE(tabView()->currentIndex(), 0);
                       QVERIFY(test::sendToPane(QByteArray(1, '\x03')));
                       window->reject();
                   });
        QTRY_COMPARE(tabView()->currentIndex(), 3);
        QCOMPARE(test::readUtilities()->intValue("currentPageIndex"), 3);
    }
};

QTEST_MAIN(CalibrationTest)
#include "calibration_test.moc"
