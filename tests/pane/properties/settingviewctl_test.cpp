// The Properties page through its real widgets, its commands checked byte for byte at a daemon.
#include <QtTest/QtTest>
#include <QtWidgets>

#include <optional>

#include "../snapshot.h"
#include "globals.h"
#include "manualclock.h"
#include "paths.h"
#include "properties_env.h"
#include "rangetext.h"
#include "settings_store.h"
#include "settingviewctl.h"
#include "systeminfo.h"
#include "testview.h"

using namespace tavix;

namespace {

constexpr std::int32_t kModel = 4711;
const QString kPlainLinux = QStringLiteral("Debian GNU/Linux 12 (bookworm)");

struct FakeSystemInfo final : SystemInfo {
    FakeSystemInfo(QString v, int m) : version(std::move(v)), minor(m) {}
    QString operatingSystemVersionString() const override { return version; }
    int systemMinorVersion() const override { return minor; }
    QString version;
    int minor;
};

template <std::size_t N>
SettingsDict dict(const std::pair<const char *, PlistValue> (&entries)[N]) {
    SettingsDict d;
    for (const auto &[key, value] : entries) {
        d.set(key, value);
    }
    return d;
}

// One step of a user's attempt on a test area: at time t, a press, release or double-click press
// (how a widget gets a second press) at the circle's centre or in the area's corner.
struct Step {
    double t;
    QTest::MouseAction kind;
    bool outside = false;
};

QList<Step> doubleClick(double secondPress, double secondRelease, bool outside = false) {
    return {{0.0, QTest::MousePress, outside},
            {0.05, QTest::MouseRelease, outside},
            {secondPress, QTest::MouseDClick, outside},
            {secondRelease, QTest::MouseRelease, outside}};
}

// A double-click attempt on a test area (a 0.5 s window): a speed area sends the measured time
// clamped to 0.3-1.0 s (0: nothing measured), a trial area toggles its circle within the window.
const struct Attempt {
    const char *name, *area;
    QList<Step> steps;
    double measured = 0.0;
    const char *sent = nullptr;  // the measured time
    int drawType = 0, pressesLeft = 0;
} kAttempts[] = {
    {"speed 0.1 s -> 0.3", "rateView_", doubleClick(0.08, 0.1), 0.3, "02 33 33 33 33 33 33 D3 3F"},
    {"speed 1.4 s -> 1.0", "rateView_", doubleClick(1.3, 1.4), 1.0, "02 00 00 00 00 00 00 F0 3F"},
    {"speed 0.62 s kept", "rateView_", doubleClick(0.5, 0.62), 0.62, "02 D7 A3 70 3D 0A D7 E3 3F"},
    // The second press is in time, but the 2.0 s timer ends the attempt before the release.
    {"speed release after 2.0 s", "rateView_", doubleClick(1.9, 2.1)},
    {"speed second release outside ends the attempt", "rateView_",
     doubleClick(0.2, 0.5).mid(0, 3) +
         QList<Step>{{0.5, QTest::MouseRelease, true}, {0.6, QTest::MouseRelease}}},
    {"speed press outside", "rateView_", doubleClick(0.2, 0.5, true)},
    {"trial release with one press counted", "testView_",
     QList<Step>{{0.0, QTest::MousePress}, {0.1, QTest::MouseRelease}}, 0, nullptr, 0, 1},
    {"trial 0.45 s", "testView_", doubleClick(0.3, 0.45), 0, nullptr, 1},
    // The second press is in time, but the window's timer ends the attempt at 0.5 s.
    {"trial 0.55 s", "testView_", doubleClick(0.4, 0.55)},
    {"trial late second press starts over", "testView_", doubleClick(0.6, 0.7), 0, nullptr, 0, 1},
    {"range display ignores the mouse", "rangeView_", doubleClick(0.2, 0.4)},
};

}  // namespace

class SettingViewCtlTest : public QObject {
    Q_OBJECT

  private:
    test::TempRoots roots_;  // HOME and the system folder, before anything reads them
    std::unique_ptr<QTranslator> english_;
    test::RecordingDaemon daemon_;
    test::ManualClock clock_;
    std::unique_ptr<QWidget> page_;
    SettingViewCtl *ctl_ = nullptr;

    template <typename T = QWidget>
    T *w(const QString &name) const {
        T *widget = page_->findChild<T *>(name);
        return widget ? widget : (qFatal("no widget %s", qPrintable(name)), nullptr);
    }
    QTabWidget *tabs() const { return w<QTabWidget>("settingTabView_"); }
    void focus(QWidget *widget) {
        for (QWidget *up = widget; up; up = up->parentWidget()) {
            tabs()->indexOf(up) < 0 ? void() : tabs()->setCurrentWidget(up);
        }
        widget->setFocus();
        QTRY_VERIFY(widget->hasFocus());
    }
    // The range in the page, its field and the areas; the window in the page and the timed areas.
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

  private slots:
    void initTestCase() {
        english_ = std::make_unique<QTranslator>();
        QVERIFY2(english_->load(":/i18n/properties_en.qm"), "the English table is not linked in");
        QCoreApplication::installTranslator(english_.get());
        QVERIFY(daemon_.start());
        gModelType = kModel;
    }
    void init() {
        QFile::remove(QString::fromStdString(getSettingsFilePath(kModel)));
        clock_ = test::ManualClock();
        page_ = std::make_unique<QWidget>();
        page_->resize(640, 480);
        ctl_ = new SettingViewCtl(page_.get(), std::make_shared<FakeSystemInfo>(kPlainLinux, -1),
                                  page_.get());
        page_->show();
        QVERIFY(QTest::qWaitForWindowExposed(page_.get()));
        ctl_->updateUIState();
    }
    void cleanup() {
        page_.reset();
        daemon_.received.clear();
    }

    // The range field's text beyond what can be typed: the number the page takes from it and
    // whether the formatter lets it stand (8 to 128, blank allowed).
    void rangeText() {
        const int max = std::numeric_limits<int>::max(), min = std::numeric_limits<int>::min();
        const std::tuple<const char *, int, bool> rows[] = {
            {"", 0, true},         {"8", 8, true},         {"128", 128, true},
            {"7.99", 7, false},    {"128.01", 128, false}, {"45px", 45, false},
            {"inf", 0, false},     {"-3.7", -3, false},    {" \t+12", 12, true},
            {"1.5e2", 150, false}, {"1e30", max, false},   {"-99999999999", min, false},
            {"1e999", max, false}, {"1e-999", 0, false},   {"\n\r-9", -9, false}};
        for (const auto &[text, value, accepted] : rows) {
            const auto got = std::pair(leadingIntegerValue(text),
                                       rangeFormatterAccepts(text, SettingViewCtl::kRangeMinimum,
                                                             SettingViewCtl::kRangeMaximum));
            QVERIFY2(got == std::pair(value, accepted), text);
        }
    }

    // The system's name from os-release; "Linux" without a usable PRETTY_NAME.
    void prettyName() {
        const std::pair<const char *, const char *> rows[] = {
            {"NAME=x\nPRETTY_NAME=\"Debian GNU/Linux 12\"\n", "Debian GNU/Linux 12"},
            {"PRETTY_NAME='Fedora Linux 39'", "Fedora Linux 39"},
            {"PRETTY_NAME=Arch", "Arch"},
            {"PRETTY_NAME=\"A \\\"B\\\" \\\\ C\"", "A \"B\" \\ C"},
            {"PRETTY_NAME_X=no", "Linux"},
            {"\x01\x02=\n=\n\n", "Linux"},
            {"PRETTY_NAME=\"Gr\xc3\xbc\xc3\x9f\"", "Gr\xc3\xbc\xc3\x9f"}};
        for (const auto &[text, pretty] : rows) {
            QCOMPARE(prettyNameFromOsRelease(text), QString::fromUtf8(pretty));
        }
    }

    // One control after another: a slider moved by its keys, a value reset by its button
    // (Qt::Key_unknown: a screen reader presses it), the range field edited and ended by Return
    // or focus loss (the formatter allows 8 to 128; ending again without an edit sends nothing).
    // Each sends its value, and the other value stays.
    void rangeAndSpeed() {
        const std::tuple<const char *, const char *, Qt::Key, QString, int, double> steps[] = {
            {"rangeSlider_", nullptr, Qt::Key_Right, "01 21 00", 33, 0.5},
            {"rangeSlider_", nullptr, Qt::Key_End, "01 80 00", 128, 0.5},
            {"rangeSlider_", nullptr, Qt::Key_Home, "01 08 00", 8, 0.5},
            {"rateSlider_", nullptr, Qt::Key_End, "02 34 33 33 33 33 33 D3 3F", 8, 1.0 - 0.7},
            {"rateSlider_", nullptr, Qt::Key_Home, "02 00 00 00 00 00 00 F0 3F", 8, 1.0},
            {"rangeNormalButton", nullptr, Qt::Key_Space, "01 20 00", 32, 1.0},
            {"speedNormalButton", nullptr, Qt::Key_unknown, "02 00 00 00 00 00 00 E0 3F", 32, 0.5},
            {"rengeText_", "45.9", Qt::Key_Return, "01 2D 00", 45, 0.5},  // truncated
            {"rengeText_", "128", Qt::Key_Tab, "01 80 00", 128, 0.5},
            {"rengeText_", "", Qt::Key_Return, "", 128, 0.5},           // cleared: restored
            {"rengeText_", "129", Qt::Key_Tab, "", 128, 0.5},           // refused: restored
            {"rengeText_", "  ", Qt::Key_Return, "01 00 00", 0, 0.5}};  // no number in it: 0
        for (const auto &[name, typed, key, sent, range, rate] : steps) {
            focus(w(name));
            if (typed) {
                QTest::keyClick(w(name), Qt::Key_A, Qt::ControlModifier);
                QTest::keyClick(w(name), Qt::Key_Backspace);
                QTest::keyClicks(w(name), typed);
            }
            key == Qt::Key_unknown
                ? QAccessible::queryAccessibleInterface(w(name))->actionInterface()->doAction(
                      QAccessibleActionInterface::pressAction())
                : QTest::keyClick(w(name), key);
            if (typed) {
                QTest::keyClick(w(name), Qt::Key_Return);
            }
            QTRY_COMPARE(ctl_->doubleClickRate(), rate);  // a reader's press clicks a moment later
            daemon_.expect(sent.isEmpty() ? QStringList{} : QStringList{sent});
            checkShown(range, rate);
            QCOMPARE(w<QSlider>("rateSlider_")->value(), qRound((1.0 - rate) * 100));
        }
    }

    // functionChange: the check boxes toggled with Space (states 0 off, 2 on), the menus stepped
    // with the arrow keys, and the same by screen reader. Each control once, "off" once for each
    // kind.
    void functionChange() {
        QVERIFY(writePlistFileAtomically(dict({{"PenSoftSupport", true}}),  // button 2, eraser
                                         getSettingsFilePath(kModel)));
        ctl_->updateUIState();
        const std::tuple<QString, int, int, QString> changes[] = {
            {"towFingerSwipeBtn_", 2, 0, "08 00 00"},
            {"twoFingerRotationBtn1_", 0, 2, "09 01 00"},
            {"twoFingerPinchBtn_", 0, 2, "0B 01 00"},
            {"buttonF1_", 1, 0, "0D 00 00"},
            {"buttonF2_", 0, 1, "0E 01 00"},
            {"inputMode_", 1, 2, "0F 02 00"},
            {"resolutionNoticeFlag_", 0, 1, "10 01 00"},
            {"eraserAreaMode_", 0, 1, "11 01 00"}};
        for (const auto &[name, before, after, sent] : changes) {
            auto *box = page_->findChild<QCheckBox *>(name);
            auto *menu = page_->findChild<QComboBox *>(name);
            // By keyboard, then as a screen reader does it: the toggle action, the selection of a
            // menu item.
            for (bool reader : {false, true}) {
                {
                    const QSignalBlocker blocker(w(name));  // the starting state is no change
                    box ? box->setCheckState(Qt::CheckState(before))
                        : menu->setCurrentIndex(before);
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
                daemon_.expect({sent});
            }
        }
    }

    // Refreshing from the settings file, one after another: what each tab shows (check boxes,
    // menus, the pen's rows shown only with pen support; from system minor version 12 on, no
    // range tab), what the page holds, the Tab stops (never a test area), and nothing sent.
    void updateUIState() {
        const std::pair<const char *, PlistValue> storedEntries[] = {
            {"TwoFingerSwipe", false},  {"TwoFingerRotation", true},
            {"TwoFingerPinch", false},  {"FounctionButton1", false},
            {"FounctionButton2", true}, {"ShowResolutionNotice", false},
            {"EraserAreaMode", true},   {"InputMode", 2},
            {"DoubleClickRate", 0.45},  {"DoubleClickRange", 45},
            {"PenSoftSupport", true}};
        const std::tuple<QString, std::optional<SettingsDict>, QString, int, double, int> loads[] =
            {{"nofile", std::nullopt, "Version 10.12.6", 11, 0.5, 64},
             // Missing keys read as false and 0; an input mode outside the menu selects nothing.
             {"missing", dict({{"InputMode", 7}, {"DoubleClickRange", 70000}}), kPlainLinux, -1,
              0.0, 70000},
             // 10.13 fixes the range.
             {"stored", dict(storedEntries), "Version 10.13.6 (17G65)", 12, 0.45, 64}};
        QStringList faults, stops;
        for (const auto &[name, file, version, minor, rate, range] : loads) {
            QVERIFY(!file || writePlistFileAtomically(*file, getSettingsFilePath(kModel)));
            ctl_->setSystemInfo(std::make_shared<FakeSystemInfo>(version, minor));
            ctl_->resetTabView();
            ctl_->updateUIState();
            checkShown(range, rate);
            for (int tab = 0; tab < tabs()->count(); ++tab) {
                tabs()->setCurrentIndex(tab);
                faults << test::snapshotMismatch(
                    page_.get(), QStringLiteral("properties-settings-%1-tab%2").arg(name).arg(tab));
                if (minor > 11) {
                    stops << test::tabStops(page_.get()).join(u' ');
                }
            }
        }
        faults.removeAll(QString());
        QCOMPARE(faults, QStringList{});
        daemon_.expect({});
        // The pen's controls shown, the range tab gone.
        const QString bar = "qt_tabwidget_tabbar ";
        QCOMPARE(stops,
                 (QStringList{bar + "rateSlider_ speedNormalButton",
                              bar + "towFingerSwipeBtn_ twoFingerRotationBtn1_ twoFingerPinchBtn_",
                              bar + "buttonF1_ buttonF2_ inputMode_ resolutionNoticeFlag_ "
                                    "eraserAreaMode_"}));
    }

    void attempts_data() {
        QTest::addColumn<int>("i");
        for (const Attempt &a : kAttempts) {
            QTest::newRow(a.name) << int(&a - kAttempts);
        }
    }
    void attempts() {
        QFETCH(int, i);
        const auto &[name, area, steps, measured, sent, drawType, pressesLeft] = kAttempts[i];
        auto *view = w<TestView>(area);
        view->setClock(&clock_);
        focus(view);
        view->repaint();  // the hit area is what was drawn last
        for (const Step &step : steps) {
            clock_.setNow(step.t);
            const QPoint at = step.outside ? QPoint(5, 5) : view->rect().center();
            QTest::mouseEvent(step.kind, view, Qt::LeftButton, {}, at);
        }
        QCOMPARE(view->pressCount(), pressesLeft);
        QCOMPARE(clock_.pending(), pressesLeft);  // the attempt's timer runs while it is open
        daemon_.expect(sent ? QStringList{sent} : QStringList{});
        checkShown(32, measured ? measured : 0.5);
        QCOMPARE(w<TestView>("testView_")->currentDrawType(), drawType);
        if (drawType) {  // thick and green, not filled
            QCOMPARE(test::snapshotMismatch(view, "properties-circle-thick"), QString());
        }
    }
};

QTEST_MAIN(SettingViewCtlTest)
#include "settingviewctl_test.moc"
