// A small drawing area of the Properties page that shows the double-click range as a circle and
// recognises double clicks made inside it. Type 1 only draws (range display); type 2 measures
// the user's own double click (speed measuring); type 3 tells whether a double click fits the
// current time window (trial). What it recognises it announces through the process-wide
// DoubleClickNotificationCenter; it never talks to the daemon.
#pragma once

#include <QPainterPath>
#include <QWidget>

#include <cstdint>
#include <memory>

#include "clock.h"

namespace tavix {

// The process's notification centre for the test areas: every TestView posts here, whoever
// observes hears all of them.
class DoubleClickNotificationCenter : public QObject {
    Q_OBJECT
  public:
    static DoubleClickNotificationCenter *defaultCenter();

  signals:
    // A speed measuring area (type 2) has measured a double click; read its timeInterval().
    void doubleClickHappenOnRateView();
    // A trial area (type 3) has seen a double click within its time window.
    void doubleClickHappenOnTestView();

  private:
    DoubleClickNotificationCenter() = default;
};

class TestView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(double timeInterval READ timeInterval WRITE setTimeInterval)

  public:
    enum ViewType : std::int64_t { Unset = 0, RangeDisplay = 1, SpeedMeasuring = 2, Trial = 3 };

    explicit TestView(QWidget *parent = nullptr);
    ~TestView() override;

    // Takes time and timers from clock (not owned; it must outlive the view) instead of the
    // steady system clock. Stops a running attempt's timer.
    void setClock(Clock *clock);

    void setViewType(std::int64_t type);  // no redraw
    std::int64_t viewType() const { return v_type; }
    void setRange(double range);  // redraws
    double range() const { return range_; }
    double timeInterval() const { return timeInterval_; }
    void setTimeInterval(double seconds);  // no redraw
    void setPath(const QPainterPath &path);
    // The circle drawn last, in widget coordinates; also the area in which presses count.
    const QPainterPath &path() const { return path_; }
    // 0 = thin red circle, 1 = thick green circle. The caller asks for the redraw.
    void changeDrawType();
    std::int32_t currentDrawType() const { return drawType; }
    // Presses counted in the current attempt (0, 1 or 2).
    std::int32_t pressCount() const { return clickCount; }

    // The square that holds the circle for a view of the given size, with the origin at the
    // lower left as the area's geometry is defined: (d, d) with d = (width - range) / 2 for both
    // coordinates, so the circle is centred vertically only in a square view.
    static QRectF circleSquare(QSizeF viewSize, double range);
    // The same square in widget coordinates (origin at the top left).
    static QRectF circleRectInWidget(QSizeF viewSize, double range);

    QSize sizeHint() const override { return {140, 140}; }

  protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

  private:
    void mouseDown(QPointF position);
    void mouseUp(QPointF position);
    void timeOut();
    void invalidateTimer();

    double range_ = 32.0;
    QPainterPath path_;
    std::int64_t v_type = Unset;
    std::int32_t clickCount = 0;
    double timeInterval_ = 0.3;
    double startTime = 0.0;
    std::int32_t drawType = 0;
    Clock::TimerId timeOutTimer = 0;

    std::unique_ptr<Clock> ownClock_;
    Clock *clock_ = nullptr;
};

}  // namespace tavix
