// The Properties page through its real widgets, its commands checked byte for byte at a daemon.
#include <QtTest/QtTest>
#include <QtWidgets>

#include <optional>

#include "../snapshot.h"
#include "globals.h"
#include "manualclock.h"
#include "paths.h"
#include "properties_env.h"
#include "settings_store.h"
#include "settingviewctl.h"
#include "systeminfo.h"
#include "testview.h"

using namespace tavix;

namespace {

constexpr std::int32_t kModel = 4711;
const QString kPlainLinux = QStringLiteral("Debian GNU/Linux 12 (bookworm)");

struct FakeSystemInfo final : SystemInfo {
    explicit FakeSystemInfo(QString text) : version(std::move(text)) {}
    QString operatingSystemVersionString() const override { return version; }
    int systemMinorVersion() const override { return -1; }
    QString version;
};

SettingsDict dict(std::initializer_list<std::pair<const char *, PlistValue>> entries) {
    SettingsDict d;
    for (const auto &[key, value] : entries) {
        d.set(key, value);
    }
    return d;
}

void writeSettings(const SettingsDict &settings) {
    QVERIFY(writePlistFileAtomically(settings, getSettingsFilePath(kModel)));
}

}  // namespace

Q_DECLARE_METATYPE(std::optional<SettingsDict>)

class SettingViewCtlTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;
    std::unique_ptr<QTranslator> english_;
    test::RecordingDaemon daemon_;
    test::ManualClock clock_;
    std::unique_ptr<QWidget> page_;
    SettingViewCtl *ctl_ = nullptr;

    template <typename T = QWidget>
    T *w(const QString &name) const {
        T *widget = page_->findChild<T *>(name);
        if (!widget) {
            qFatal("no widget %s", qPrintable(name));
        }
        return widget;
    }
    QTabWidget *tabs() const { return w<QTabWidget>("settingTabView_"); }
    void showTabOf(QWidget *widget) {
        for (int i = 0; i < tabs()->count(); ++i) {
            if (tabs()->widget(i)->isAncestorOf(widget)) {
                tabs()->setCurrentIndex(i);
                return;
            }
        }
        QFAIL("widget is on no tab");
    }
    void focus(QWidget *widget) {
        showTabOf(widget);
        widget->setFocus();
        QTRY_VERIFY(widget->hasFocus());
    }
    void makePage() {
        QFile::remove(QString::fromStdString(getSettingsFilePath(kModel)));
        page_ = std::make_unique<QWidget>();
        page_->resize(640, 480);
        ctl_ = new SettingViewCtl(page_.get(), std::make_shared<FakeSystemInfo>(kPlainLinux),
                                  page_.get());
        page_->show();
        QVERIFY(QTest::qWaitForWindowExposed(page_.get()));
        ctl_->updateUIState();
        daemon_.received.clear();
    }
    // Waits for the marker and checks that exactly these commands came before it.
    void expectSent(const QStringList &expected) {
        test::sendMarker();
        QTRY_COMPARE(daemon_.received.size(), expected.size() + 1);
        QCOMPARE(std::exchange(daemon_.received, {}), expected + QStringList{test::kMarker});
    }
    // The range in the page, its field and the three areas; the window in the page and both timed
    // areas (where the sliders stand is in the pictures).
    void checkShown(int range, double rate) {
        QCOMPARE(ctl_->doubleClickRange(), range);
        QCOMPARE(w<QLineEdit>("rengeText_")->text(), QString::number(range));
        for (const char *name : {"rangeView_", "rateView_", "testView_"}) {
            QCOMPARE(w<TestView>(name)->range(), double(range));
        }
        QCOMPARE(ctl_->doubleClickRate(), rate);
        QCOMPARE(w<TestView>("rateView_")->timeInterval(), rate);
        QCOMPARE(w<TestView>("testView_")->timeInterval(), rate);
    }
    // A double click on a test area whose second release comes at `end`.
    void doubleClickOn(TestView *view, double start, double end) {
        view->setClock(&clock_);
        showTabOf(view);
        view->repaint();
        const QPoint c = view->rect().center();
        clock_.setNow(start);
        QTest::mousePress(view, Qt::LeftButton, {}, c);
        clock_.setNow(start + 0.1);
        QTest::mouseRelease(view, Qt::LeftButton, {}, c);
        QTest::mouseDClick(view, Qt::LeftButton, {}, c);
        clock_.setNow(end);
        QTest::mouseRelease(view, Qt::LeftButton, {}, c);
    }

  private slots:
    void initTestCase() {
        roots_ = std::make_unique<test::TempRoots>();
        english_ = std::make_unique<QTranslator>();
        QVERIFY2(english_->load(":/i18n/properties_en.qm"), "the English table is not linked in");
        QCoreApplication::installTranslator(english_.get());
        QVERIFY(daemon_.start());
        gModelType = kModel;
    }
    void init() { makePage(); }
    void cleanup() {
        page_.reset();
        daemon_.received.clear();
    }

    // Return and focus loss both end editing; the formatter allows 8 to 128. Ending again
    // without an edit sends nothing.
    void rangeField_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("endKey");
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<int>("range");
        const int ret = Qt::Key_Return, tab = Qt::Key_Tab;
        QTest::newRow("45.9 truncates") << "45.9" << ret << QStringList{"01 2D 00"} << 45;
        QTest::newRow("upper bound on focus loss")
            << "128" << tab << QStringList{"01 80 00"} << 128;
        QTest::newRow("cleared restores") << "" << ret << QStringList{} << 32;
        // White space passes the formatter but holds no number: a range of 0 is sent.
        QTest::newRow("no number sends 0") << "  " << ret << QStringList{"01 00 00"} << 0;
        QTest::newRow("formatter rejects 129 on focus loss") << "129" << tab << QStringList{} << 32;
    }
    void rangeField() {
        QFETCH(QString, typed);
        QFETCH(int, endKey);
        QFETCH(QStringList, sent);
        QFETCH(int, range);
        auto *field = w<QLineEdit>("rengeText_");
        focus(field);
        QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(field, Qt::Key_Backspace);
        QTest::keyClicks(field, typed);
        QTest::keyClick(field, Qt::Key(endKey));
        QTest::keyClick(field, Qt::Key_Return);
        expectSent(sent);
        checkShown(range, 0.5);
    }

    // Each key moves its slider or resets a value and sends it; the other value stays.
    void slidersAndNormalButtons() {
        // Qt::Key_unknown: a screen reader presses the button.
        const std::tuple<const char *, Qt::Key, QString, int, double> steps[] = {
            {"rangeSlider_", Qt::Key_Right, "01 21 00", 33, 0.5},
            {"rangeSlider_", Qt::Key_End, "01 80 00", 128, 0.5},
            {"rangeSlider_", Qt::Key_Home, "01 08 00", 8, 0.5},
            {"rateSlider_", Qt::Key_End, "02 34 33 33 33 33 33 D3 3F", 8, 1.0 - 0.7},
            {"rateSlider_", Qt::Key_Home, "02 00 00 00 00 00 00 F0 3F", 8, 1.0},
            {"rangeNormalButton", Qt::Key_Space, "01 20 00", 32, 1.0},
            {"speedNormalButton", Qt::Key_unknown, "02 00 00 00 00 00 00 E0 3F", 32, 0.5}};
        for (const auto &[name, key, sent, range, rate] : steps) {
            focus(w(name));
            key == Qt::Key_unknown
                ? QAccessible::queryAccessibleInterface(w(name))->actionInterface()->doAction(
                      QAccessibleActionInterface::pressAction())
                : QTest::keyClick(w(name), key);
            QTRY_COMPARE(ctl_->doubleClickRate(), rate);  // a reader's press clicks a moment later
            expectSent({sent});
            checkShown(range, rate);
        }
        // Without a daemon the page still follows the slider, and nothing is kept for later.
        daemon_.stop();
        focus(w("rangeSlider_"));
        QTest::keyClick(w("rangeSlider_"), Qt::Key_Right);
        checkShown(33, 0.5);
        QVERIFY(daemon_.start());
        expectSent({});
    }

    // functionChange: the check boxes toggled with Space (1 only for the plain on state; states
    // 0 off, 1 mixed, 2 on), the menus stepped with the arrow keys, and the same by screen reader.
    // All eight controls go through one rule: "off" once for each kind, "on" for every control.
    void functionChange_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("after");
        QTest::addColumn<QString>("sent");
        QTest::newRow("swipe off") << "towFingerSwipeBtn_" << 2 << 0 << "08 00 00";
        QTest::newRow("swipe on") << "towFingerSwipeBtn_" << 0 << 2 << "08 01 00";
        QTest::newRow("swipe mixed") << "towFingerSwipeBtn_" << 0 << 1 << "08 00 00";
        QTest::newRow("rotation on") << "twoFingerRotationBtn1_" << 0 << 2 << "09 01 00";
        QTest::newRow("pinch on") << "twoFingerPinchBtn_" << 0 << 2 << "0B 01 00";
        QTest::newRow("pinch mixed -> on") << "twoFingerPinchBtn_" << 1 << 2 << "0B 01 00";
        QTest::newRow("button 1 off") << "buttonF1_" << 1 << 0 << "0D 00 00";
        QTest::newRow("button 1 on") << "buttonF1_" << 0 << 1 << "0D 01 00";
        QTest::newRow("button 2 on") << "buttonF2_" << 0 << 1 << "0E 01 00";
        QTest::newRow("input mode 2") << "inputMode_" << 1 << 2 << "0F 02 00";
        QTest::newRow("input mode 0") << "inputMode_" << 1 << 0 << "0F 00 00";
        QTest::newRow("notice on") << "resolutionNoticeFlag_" << 0 << 1 << "10 01 00";
        QTest::newRow("eraser on") << "eraserAreaMode_" << 0 << 1 << "11 01 00";
    }
    void functionChange() {
        QFETCH(QString, name);
        QFETCH(int, before);
        QFETCH(int, after);
        QFETCH(QString, sent);
        writeSettings(dict({{"PenSoftSupport", true}}));  // shows button 2 and the eraser menu
        ctl_->updateUIState();
        auto *box = page_->findChild<QCheckBox *>(name);
        auto *menu = page_->findChild<QComboBox *>(name);
        // By keyboard, then as a screen reader does it: the toggle action (which knows no mixed
        // state), the selection of a menu item.
        for (bool reader : {false, true}) {
            if (reader && box && (before == 1 || after == 1)) {
                continue;
            }
            {
                const QSignalBlocker blocker(w(name));  // the starting state is no change
                box ? box->setTristate(before == 1 || after == 1),
                    box->setCheckState(Qt::CheckState(before)) : menu->setCurrentIndex(before);
            }
            focus(w(name));
            QAccessibleInterface *item = QAccessible::queryAccessibleInterface(w(name));
            if (!reader) {
                QTest::keyClick(w(name), box              ? Qt::Key_Space
                                         : after > before ? Qt::Key_Down
                                                          : Qt::Key_Up);
            } else {
                // A menu's item is a child of its list.
                (box ? item : item->child(0)->child(after))
                    ->actionInterface()
                    ->doAction(QAccessibleActionInterface::toggleAction());
            }
            QCOMPARE(box ? int(box->checkState()) : menu->currentIndex(), after);
            expectSent({sent});
        }
    }

    // Refreshing from the settings file: what each tab shows (check boxes, menus, the pen's rows
    // shown only with pen support), what the page holds, and nothing sent.
    void updateUIState_data() {
        QTest::addColumn<std::optional<SettingsDict>>("file");
        QTest::addColumn<QString>("version");
        QTest::addColumn<double>("rate");
        QTest::addColumn<int>("range");
        SettingsDict stored = dict({{"TwoFingerSwipe", false},
                                    {"TwoFingerRotation", true},
                                    {"TwoFingerPinch", false},
                                    {"FounctionButton1", false},
                                    {"FounctionButton2", true},
                                    {"ShowResolutionNotice", false},
                                    {"EraserAreaMode", true},
                                    {"InputMode", 2},
                                    {"DoubleClickRate", 0.45},
                                    {"DoubleClickRange", 45},
                                    {"PenSoftSupport", true}});
        QTest::newRow("nofile") << std::optional<SettingsDict>() << "Version 10.12.6" << 0.5 << 64;
        // 10.13 fixes the range.
        QTest::newRow("stored") << std::optional(stored) << "Version 10.13.6 (17G65)" << 0.45 << 64;
        // Missing keys read as false and 0; an input mode outside the menu selects nothing.
        QTest::newRow("missing") << std::optional(
                                        dict({{"InputMode", 7}, {"DoubleClickRange", 70000}}))
                                 << kPlainLinux << 0.0 << 70000;
    }
    void updateUIState() {
        QFETCH(std::optional<SettingsDict>, file);
        QFETCH(QString, version);
        QFETCH(double, rate);
        QFETCH(int, range);
        if (file) {
            writeSettings(*file);
        }
        ctl_->setSystemInfo(std::make_shared<FakeSystemInfo>(version));
        ctl_->updateUIState();
        checkShown(range, rate);
        expectSent({});
        for (int tab = 0; tab < tabs()->count(); ++tab) {
            tabs()->setCurrentIndex(tab);
            QCOMPARE(
                test::snapshotMismatch(page_.get(), QStringLiteral("properties-settings-%1-tab%2")
                                                        .arg(QTest::currentDataTag())
                                                        .arg(tab)),
                QString());
        }
    }

    // A measured double click sets the speed and sends it; a trial only toggles its circle.
    void doubleClicks() {
        doubleClickOn(w<TestView>("rateView_"), 0.0, 0.62);
        expectSent({"02 D7 A3 70 3D 0A D7 E3 3F"});
        checkShown(32, 0.62);
        for (const int drawType : {1, 0}) {
            const double start = drawType ? 10.0 : 20.0;  // within the normal 0.5 s window
            doubleClickOn(w<TestView>("testView_"), start, start + 0.45);
            QCOMPARE(w<TestView>("testView_")->currentDrawType(), drawType);
        }
        expectSent({});
    }
};

QTEST_MAIN(SettingViewCtlTest)
#include "settingviewctl_test.moc"
