// The double-click test areas driven by QTest mouse events and a manual clock.
#include <QSignalSpy>
#include <QTest>

#include <memory>

#include "manualclock.h"
#include "testview.h"

using tavix::DoubleClickNotificationCenter;
using tavix::TestView;
using tavix::test::ManualClock;

namespace {

// One step of a user's attempt: at time t, a press, release or double-click press at a point.
enum class Kind { Press, SecondPress, Release };
struct Step {
    double t;
    Kind kind;
    QPoint at;
};

}  // namespace

Q_DECLARE_METATYPE(QList<Step>)

class TestViewTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<TestView> view_;
    ManualClock clock_;
    // Centre and a point inside the 64-unit circle of a 200x200 view but outside a 32-unit one.
    const QPoint centre_{100, 100};
    const QPoint ring_{100 + 24, 100};
    const QPoint outside_{10, 10};

    void makeView(qint64 type, QSize size = {200, 200}, double range = 64) {
        clock_ = ManualClock();
        view_ = std::make_unique<TestView>();
        view_->setClock(&clock_);
        view_->setViewType(type);
        view_->resize(size);
        view_->setRange(range);
        view_->show();
        QVERIFY(QTest::qWaitForWindowExposed(view_.get()));
        view_->repaint();  // the hit area is what was drawn last
    }
    void play(const QList<Step> &steps) {
        for (const Step &step : steps) {
            clock_.setNow(step.t);
            switch (step.kind) {
                case Kind::Press:
                    QTest::mousePress(view_.get(), Qt::LeftButton, {}, step.at);
                    break;
                case Kind::SecondPress:  // what a widget gets for the second press of a double
                                         // click
                    QTest::mouseDClick(view_.get(), Qt::LeftButton, {}, step.at);
                    break;
                case Kind::Release:
                    QTest::mouseRelease(view_.get(), Qt::LeftButton, {}, step.at);
                    break;
            }
        }
    }
    static QList<Step> doubleClick(double secondPress, double secondRelease, QPoint at) {
        return {{0.0, Kind::Press, at},
                {0.05, Kind::Release, at},
                {secondPress, Kind::SecondPress, at},
                {secondRelease, Kind::Release, at}};
    }

  private slots:
    void cleanup() { view_.reset(); }

    void defaults() {
        TestView view;
        QCOMPARE(view.viewType(), 0);
        QCOMPARE(view.range(), 32.0);
        QCOMPARE(view.timeInterval(), 0.3);
        QCOMPARE(view.currentDrawType(), 0);
        QCOMPARE(view.pressCount(), 0);
        QVERIFY(view.path().isEmpty());
    }

    void circleSquare_data() {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<double>("range");
        QTest::addColumn<QRectF>("square");  // origin at the lower left
        QTest::addColumn<QRectF>("inWidget");
        QTest::newRow("square view")
            << QSize(200, 200) << 64.0 << QRectF(68, 68, 64, 64) << QRectF(68, 68, 64, 64);
        // The vertical origin comes from the width too: the circle hangs off the top.
        QTest::newRow("wide view")
            << QSize(200, 100) << 64.0 << QRectF(68, 68, 64, 64) << QRectF(68, -32, 64, 64);
        QTest::newRow("range wider than view")
            << QSize(100, 100) << 128.0 << QRectF(-14, -14, 128, 128) << QRectF(-14, -14, 128, 128);
    }
    void circleSquare() {
        QFETCH(QSize, size);
        QFETCH(double, range);
        QFETCH(QRectF, square);
        QFETCH(QRectF, inWidget);
        QCOMPARE(TestView::circleSquare(size, range), square);
        makeView(TestView::Trial, size, range);
        QCOMPARE(view_->path().boundingRect(), inWidget);
    }

    // In a 200x100 view the circle's centre is 100 units above the bottom edge, i.e. at the top
    // edge in widget coordinates: a press near the top counts, one near the bottom does not.
    void hitAreaInWideView() {
        makeView(TestView::Trial, {200, 100}, 64);
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, {100, 80});
        QCOMPARE(view_->pressCount(), 0);
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, {100, 5});
        QCOMPARE(view_->pressCount(), 1);
    }

    void drawsRedThinOrGreenThick() {
        makeView(TestView::Trial);
        QImage image = view_->grab().toImage();
        // Right-most point of the outline, the centre, and a point 3 units inside the outline.
        QCOMPARE(image.pixelColor(131, 100), QColor(Qt::red));
        QCOMPARE(image.pixelColor(100, 100), QColor(Qt::white));
        QCOMPARE(image.pixelColor(128, 100), QColor(Qt::white));
        view_->changeDrawType();
        QCOMPARE(view_->currentDrawType(), 1);
        image = view_->grab().toImage();
        QCOMPARE(image.pixelColor(131, 100), QColor(Qt::green));
        QCOMPARE(image.pixelColor(129, 100), QColor(Qt::green));  // 8 units wide
        QCOMPARE(image.pixelColor(100, 100), QColor(Qt::white));  // never filled
        view_->changeDrawType();
        QCOMPARE(view_->currentDrawType(), 0);
    }

    void hitAreaIsWhatWasDrawnLast() {
        makeView(TestView::Trial, {200, 200}, 32);
        view_->setRange(64);  // not yet painted
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, ring_);
        QCOMPARE(view_->pressCount(), 0);
        view_->repaint();
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, ring_);
        QCOMPARE(view_->pressCount(), 1);
    }

    void speedMeasuring_data() {
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<bool>("reported");
        QTest::addColumn<double>("interval");
        const QPoint c(100, 100);
        QTest::newRow("0.1 s clamps to 0.3") << doubleClick(0.08, 0.1, c) << true << 0.3;
        QTest::newRow("1.4 s clamps to 1.0") << doubleClick(1.3, 1.4, c) << true << 1.0;
        QTest::newRow("0.62 s kept") << doubleClick(0.5, 0.62, c) << true << 0.62;
        QTest::newRow("exactly 0.3 kept") << doubleClick(0.2, 0.3, c) << true << 0.3;
        QTest::newRow("exactly 1.0 kept") << doubleClick(0.9, 1.0, c) << true << 1.0;
        // The second press is in time, but the 2.0 s timer ends the attempt before the release.
        QTest::newRow("release after 2.0 s") << doubleClick(1.9, 2.1, c) << false << 0.3;
        // A second press after 2.0 s starts a new attempt, timed from that press.
        QTest::newRow("late second press starts over")
            << QList<Step>{{0.0, Kind::Press, c},       {0.1, Kind::Release, c},
                           {2.5, Kind::Press, c},       {2.6, Kind::Release, c},
                           {2.8, Kind::SecondPress, c}, {3.1, Kind::Release, c}}
            << true << 3.1 - 2.5;
        QTest::newRow("second release outside ends the attempt")
            << QList<Step>{{0.0, Kind::Press, c},
                           {0.1, Kind::Release, c},
                           {0.2, Kind::SecondPress, c},
                           {0.5, Kind::Release, QPoint(5, 5)},
                           {0.6, Kind::Release, c}}
            << false << 0.3;
        QTest::newRow("presses outside the circle never count")
            << doubleClick(0.2, 0.5, QPoint(5, 5)) << false << 0.3;
    }
    void speedMeasuring() {
        QFETCH(QList<Step>, steps);
        QFETCH(bool, reported);
        QFETCH(double, interval);
        makeView(TestView::SpeedMeasuring);
        QSignalSpy rate(DoubleClickNotificationCenter::defaultCenter(),
                        &DoubleClickNotificationCenter::doubleClickHappenOnRateView);
        QSignalSpy trial(DoubleClickNotificationCenter::defaultCenter(),
                         &DoubleClickNotificationCenter::doubleClickHappenOnTestView);
        play(steps);
        QCOMPARE(rate.count(), reported ? 1 : 0);
        QCOMPARE(trial.count(), 0);
        QCOMPARE(view_->timeInterval(), interval);
        QCOMPARE(view_->pressCount(), 0);
        QCOMPARE(clock_.pendingTimers(), std::size_t{0});
    }

    void trial_data() {
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<bool>("reported");
        const QPoint c(100, 100);
        QTest::newRow("0.45 s fits 0.5 s") << doubleClick(0.3, 0.45, c) << true;
        QTest::newRow("0.49 s fits") << doubleClick(0.3, 0.49, c) << true;
        // The second press is within 0.5 s, but the window's timer ends the attempt at 0.5 s.
        QTest::newRow("0.55 s is too slow") << doubleClick(0.4, 0.55, c) << false;
        QTest::newRow("second press after the window starts over")
            << doubleClick(0.6, 0.7, c) << false;
    }
    void trial() {
        QFETCH(QList<Step>, steps);
        QFETCH(bool, reported);
        makeView(TestView::Trial);
        view_->setTimeInterval(0.5);
        QSignalSpy rate(DoubleClickNotificationCenter::defaultCenter(),
                        &DoubleClickNotificationCenter::doubleClickHappenOnRateView);
        QSignalSpy trial(DoubleClickNotificationCenter::defaultCenter(),
                         &DoubleClickNotificationCenter::doubleClickHappenOnTestView);
        play(steps);
        QCOMPARE(trial.count(), reported ? 1 : 0);
        QCOMPARE(rate.count(), 0);
        QCOMPARE(view_->timeInterval(), 0.5);  // a trial never changes its window
    }

    void timerWindowPerType_data() {
        QTest::addColumn<qint64>("type");
        QTest::addColumn<double>("deadline");
        QTest::newRow("speed measuring allows 2.0 s") << qint64(TestView::SpeedMeasuring) << 2.0;
        QTest::newRow("trial allows its window") << qint64(TestView::Trial) << 0.7;
    }
    void timerWindowPerType() {
        QFETCH(qint64, type);
        QFETCH(double, deadline);
        makeView(type);
        view_->setTimeInterval(0.7);
        clock_.setNow(0.0);
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, centre_);
        QCOMPARE(clock_.onlyDeadline(), deadline);
        // The second press changes neither the start time nor the timer.
        clock_.setNow(0.1);
        QTest::mouseRelease(view_.get(), Qt::LeftButton, {}, centre_);
        QTest::mouseDClick(view_.get(), Qt::LeftButton, {}, centre_);
        QCOMPARE(view_->pressCount(), 2);
        QCOMPARE(clock_.onlyDeadline(), deadline);
    }

    void pressOutsideNeitherCountsNorStartsTimer() {
        makeView(TestView::SpeedMeasuring);
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, outside_);
        QCOMPARE(view_->pressCount(), 0);
        QCOMPARE(clock_.pendingTimers(), std::size_t{0});
    }

    void releaseWithOnePressLeavesAttemptRunning() {
        makeView(TestView::Trial);
        view_->setTimeInterval(0.5);
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, centre_);
        clock_.setNow(0.1);
        QTest::mouseRelease(view_.get(), Qt::LeftButton, {}, centre_);
        QCOMPARE(view_->pressCount(), 1);
        QCOMPARE(clock_.pendingTimers(), std::size_t{1});
        clock_.setNow(0.5);  // the window ends the attempt
        QCOMPARE(view_->pressCount(), 0);
    }

    void rangeDisplayIgnoresMouse() {
        makeView(TestView::RangeDisplay);
        QSignalSpy rate(DoubleClickNotificationCenter::defaultCenter(),
                        &DoubleClickNotificationCenter::doubleClickHappenOnRateView);
        QSignalSpy trial(DoubleClickNotificationCenter::defaultCenter(),
                         &DoubleClickNotificationCenter::doubleClickHappenOnTestView);
        play(doubleClick(0.2, 0.4, centre_));
        QCOMPARE(view_->pressCount(), 0);
        QCOMPARE(clock_.pendingTimers(), std::size_t{0});
        QCOMPARE(rate.count() + trial.count(), 0);
    }

    void otherButtonsIgnored() {
        makeView(TestView::Trial);
        QTest::mousePress(view_.get(), Qt::RightButton, {}, centre_);
        QCOMPARE(view_->pressCount(), 0);
    }

    // A view destroyed during an attempt leaves no timer behind to call into it.
    void destroyedViewCancelsTimer() {
        makeView(TestView::SpeedMeasuring);
        QTest::mousePress(view_.get(), Qt::LeftButton, {}, centre_);
        QCOMPARE(clock_.pendingTimers(), std::size_t{1});
        view_.reset();
        QCOMPARE(clock_.pendingTimers(), std::size_t{0});
    }

    // The real clock's timer ends an attempt too (short window, real time).
    void steadyClockTimerFires() {
        TestView view;
        view.setViewType(TestView::Trial);
        view.resize(200, 200);
        view.setRange(64);
        view.setTimeInterval(0.05);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        view.repaint();
        QTest::mousePress(&view, Qt::LeftButton, {}, centre_);
        QCOMPARE(view.pressCount(), 1);
        QTRY_COMPARE(view.pressCount(), 0);
    }
};

QTEST_MAIN(TestViewTest)
#include "testview_test.moc"
