// The Properties page's parts: the double-click areas, the range text rules, the os-release name.
#include <QtTest/QtTest>

#include "../snapshot.h"
#include "manualclock.h"
#include "rangetext.h"
#include "settingviewctl.h"
#include "systeminfo.h"
#include "testview.h"

using namespace tavix;
using tavix::test::ManualClock;

namespace {

// One step of a user's attempt: at time t, a press, release or double-click press at a point.
enum class Kind { Press, SecondPress, Release };
struct Step {
    double t;
    Kind kind;
    QPoint at;
};

const QPoint kCentre(100, 100);
const QPoint kOutside(5, 5);

QList<Step> doubleClick(double secondPress, double secondRelease, QPoint at = kCentre,
                        double start = 0.0) {
    return {{start, Kind::Press, at},
            {start + 0.05, Kind::Release, at},
            {secondPress, Kind::SecondPress, at},
            {secondRelease, Kind::Release, at}};
}

}  // namespace

Q_DECLARE_METATYPE(QList<Step>)

class PropertiesPartsTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<TestView> view_;
    ManualClock clock_;

    void makeView(qint64 type) {
        view_.reset();
        clock_ = ManualClock();
        view_ = std::make_unique<TestView>();
        view_->setClock(&clock_);
        view_->setViewType(type);
        view_->setTimeInterval(0.5);
        view_->resize(200, 200);
        view_->setRange(64);
        view_->show();
        QVERIFY(QTest::qWaitForWindowExposed(view_.get()));
        view_->repaint();  // the hit area is what was drawn last
    }

  private slots:
    void cleanup() { view_.reset(); }

    // A 200 by 200 view with a range of 64 draws its circle in the middle square of 64, red and
    // thin, or green and 8 units thick, never filled.
    void circle() {
        makeView(TestView::Trial);
        QCOMPARE(view_->path().boundingRect(), QRectF(68, 68, 64, 64));
        for (const char *look : {"thin", "thick"}) {
            QCOMPARE(
                test::snapshotMismatch(view_.get(), QStringLiteral("properties-circle-") + look),
                QString());
            view_->changeDrawType();
        }
        QCOMPARE(view_->currentDrawType(), 0);
    }

    // Each view here starts with a 0.5 s window. Speed areas report and store the measured time
    // clamped to 0.3-1.0 s; trial areas report a double click within their window.
    void attempts_data() {
        QTest::addColumn<qint64>("type");
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<bool>("reported");
        QTest::addColumn<double>("interval");
        QTest::addColumn<int>("pressesLeft");
        const qint64 speed = TestView::SpeedMeasuring;
        const qint64 trial = TestView::Trial;
        QTest::newRow("speed 0.1 s -> 0.3") << speed << doubleClick(0.08, 0.1) << true << 0.3 << 0;
        QTest::newRow("speed 1.4 s -> 1.0") << speed << doubleClick(1.3, 1.4) << true << 1.0 << 0;
        QTest::newRow("speed 0.62 s kept") << speed << doubleClick(0.5, 0.62) << true << 0.62 << 0;
        // The second press is in time, but the 2.0 s timer ends the attempt before the release.
        QTest::newRow("speed release after 2.0 s")
            << speed << doubleClick(1.9, 2.1) << false << 0.5 << 0;
        const QList<Step> firstPressOnly{{0.0, Kind::Press, kCentre},
                                         {0.1, Kind::Release, kCentre}};
        QTest::newRow("speed second press after 2.0 s starts over, timed from it")
            << speed << firstPressOnly + doubleClick(2.8, 3.1, kCentre, 2.5) << true << 3.1 - 2.5
            << 0;
        QList<Step> releasedOutside = doubleClick(0.2, 0.5);
        releasedOutside.last().at = kOutside;
        QTest::newRow("speed second release outside ends the attempt")
            << speed << releasedOutside + QList<Step>{{0.6, Kind::Release, kCentre}} << false << 0.5
            << 0;
        QTest::newRow("speed press outside")
            << speed << doubleClick(0.2, 0.5, kOutside) << false << 0.5 << 0;
        QTest::newRow("trial release with one press counted")
            << trial << firstPressOnly << false << 0.5 << 1;
        QTest::newRow("trial 0.45 s") << trial << doubleClick(0.3, 0.45) << true << 0.5 << 0;
        // The second press is in time, but the window's timer ends the attempt at 0.5 s.
        QTest::newRow("trial 0.55 s") << trial << doubleClick(0.4, 0.55) << false << 0.5 << 0;
        QTest::newRow("trial late second press starts over")
            << trial << doubleClick(0.6, 0.7) << false << 0.5 << 1;
        QTest::newRow("range display ignores the mouse")
            << qint64(TestView::RangeDisplay) << doubleClick(0.2, 0.4) << false << 0.5 << 0;
    }
    void attempts() {
        QFETCH(qint64, type);
        QFETCH(QList<Step>, steps);
        QFETCH(bool, reported);
        QFETCH(double, interval);
        QFETCH(int, pressesLeft);
        makeView(type);
        auto *center = DoubleClickNotificationCenter::defaultCenter();
        QSignalSpy rate(center, &DoubleClickNotificationCenter::doubleClickHappenOnRateView);
        QSignalSpy trial(center, &DoubleClickNotificationCenter::doubleClickHappenOnTestView);
        for (const Step &step : steps) {
            clock_.setNow(step.t);
            if (step.kind == Kind::Press) {
                QTest::mousePress(view_.get(), Qt::LeftButton, {}, step.at);
            } else if (step.kind == Kind::SecondPress) {  // how a widget gets a second press
                QTest::mouseDClick(view_.get(), Qt::LeftButton, {}, step.at);
            } else {
                QTest::mouseRelease(view_.get(), Qt::LeftButton, {}, step.at);
            }
        }
        QCOMPARE(rate.count(), reported && type == TestView::SpeedMeasuring ? 1 : 0);
        QCOMPARE(trial.count(), reported && type == TestView::Trial ? 1 : 0);
        QCOMPARE(view_->timeInterval(), interval);
        QCOMPARE(view_->pressCount(), pressesLeft);
        QCOMPARE(clock_.deadlines.size(), size_t(pressesLeft));
    }

    // A trial's first press starts a timer of its window (a speed area's 2.0 s shows above).
    void trialTimerFollowsTheWindow() {
        makeView(TestView::Trial);
        view_->setTimeInterval(0.7);
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, kCentre);
        QCOMPARE(clock_.deadlines.size(), size_t(1));
        QCOMPARE(clock_.deadlines.begin()->second.first, 0.7);
    }

    // The range field's text: the number the page takes from it and whether the formatter lets
    // it stand (8 to 128, blank allowed).
    void rangeText_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("value");
        QTest::addColumn<bool>("accepted");
        const int max = std::numeric_limits<int>::max(), min = std::numeric_limits<int>::min();
        const std::tuple<const char *, int, bool> rows[] = {
            {"", 0, true},         {"8", 8, true},         {"128", 128, true},
            {"7.99", 7, false},    {"128.01", 128, false}, {"45px", 45, false},
            {"inf", 0, false},     {"-3.7", -3, false},    {" \t+12", 12, true},
            {"1.5e2", 150, false}, {"1e30", max, false},   {"-99999999999", min, false},
            {"1e999", max, false}, {"1e-999", 0, false},   {"\n\r-9", -9, false}};
        for (const auto &[text, value, accepted] : rows) {
            QTest::newRow(text) << QString::fromLatin1(text) << value << accepted;
        }
    }
    void rangeText() {
        QFETCH(QString, text);
        QFETCH(int, value);
        QFETCH(bool, accepted);
        QCOMPARE(leadingIntegerValue(text), value);
        QCOMPARE(rangeFormatterAccepts(text, SettingViewCtl::kRangeMinimum,
                                       SettingViewCtl::kRangeMaximum),
                 accepted);
    }

    // The system's name from os-release; "Linux" without a usable PRETTY_NAME.
    void prettyName_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("pretty");
        const std::pair<const char *, const char *> rows[] = {
            {"NAME=x\nPRETTY_NAME=\"Debian GNU/Linux 12\"\n", "Debian GNU/Linux 12"},
            {"PRETTY_NAME='Fedora Linux 39'", "Fedora Linux 39"},
            {"PRETTY_NAME=Arch", "Arch"},
            {"PRETTY_NAME=\"A \\\"B\\\" \\\\ C\"", "A \"B\" \\ C"},
            {"PRETTY_NAME_X=no", "Linux"},
            {"\x01\x02=\n=\n\n", "Linux"},
            {"PRETTY_NAME=\"Gr\xc3\xbc\xc3\x9f\"", "Gr\xc3\xbc\xc3\x9f"}};
        for (const auto &[text, pretty] : rows) {
            QTest::newRow(text) << QByteArray(text) << QString::fromUtf8(pretty);
        }
    }
    void prettyName() {
        QFETCH(QByteArray, text);
        QFETCH(QString, pretty);
        QCOMPARE(prettyNameFromOsRelease(text), pretty);
    }
};

QTEST_MAIN(PropertiesPartsTest)
#include "testview_test.moc"
