#include "testview.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPen>

namespace tavix {

DoubleClickNotificationCenter *DoubleClickNotificationCenter::defaultCenter() {
    // Created on first use and kept for the life of the process, as a notification centre is.
    static DoubleClickNotificationCenter *center = new DoubleClickNotificationCenter;
    return center;
}

TestView::TestView(QWidget *parent)
    : QWidget(parent), ownClock_(std::make_unique<SteadyClock>()), clock_(ownClock_.get()) {
    setFocusPolicy(Qt::NoFocus);
}

TestView::~TestView() {
    invalidateTimer();
}

void TestView::setClock(Clock *clock) {
    invalidateTimer();
    clock_ = clock ? clock : ownClock_.get();
}

void TestView::setViewType(std::int64_t type) {
    v_type = type;
}

void TestView::setRange(double range) {
    range_ = range;
    update();
}

void TestView::setTimeInterval(double seconds) {
    timeInterval_ = seconds;
}

void TestView::setPath(const QPainterPath &path) {
    if (path == path_) {
        return;
    }
    path_ = path;
}

void TestView::changeDrawType() {
    drawType = drawType == 0 ? 1 : 0;
}

QRectF TestView::circleSquare(QSizeF viewSize, double range) {
    const double d = (viewSize.width() - range) * 0.5;
    return {d, d, range, range};
}

QRectF TestView::circleRectInWidget(QSizeF viewSize, double range) {
    const QRectF square = circleSquare(viewSize, range);
    // Flip the vertical axis: the square's lower edge lies square.y() above the bottom.
    return {square.x(), viewSize.height() - square.y() - square.height(), square.width(),
            square.height()};
}

void TestView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), Qt::white);

    QPainterPath oval;
    oval.addEllipse(circleRectInWidget(size(), range_));
    setPath(oval);

    QPen pen(drawType == 0 ? QColor(Qt::red) : QColor(Qt::green));
    pen.setWidthF(drawType == 0 ? 2.0 : 8.0);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(path_);
}

void TestView::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::LeftButton) {
        mouseDown(event->position());
    }
}

// A second press arrives from Qt as a double-click event; it is a press like any other here.
void TestView::mouseDoubleClickEvent(QMouseEvent *event) {
    mousePressEvent(event);
}

void TestView::mouseReleaseEvent(QMouseEvent *event) {
    if (event->button() == Qt::LeftButton) {
        mouseUp(event->position());
    }
}

void TestView::mouseDown(QPointF position) {
    if (!path_.contains(position)) {
        return;
    }
    if (v_type != SpeedMeasuring && v_type != Trial) {
        return;
    }
    ++clickCount;
    if (clickCount == 1) {
        startTime = clock_->now();
        invalidateTimer();
        const double window = v_type == SpeedMeasuring ? 2.0 : timeInterval_;
        timeOutTimer = clock_->startTimer(window, [this] {
            timeOutTimer = 0;
            timeOut();
        });
    }
}

void TestView::mouseUp(QPointF position) {
    if ((v_type != SpeedMeasuring && v_type != Trial) || clickCount != 2) {
        return;
    }
    // The attempt ends here whatever happens next, so a second release outside the circle
    // ends it without a result.
    clickCount = 0;
    invalidateTimer();
    if (!path_.contains(position)) {
        return;
    }
    const double elapsed = clock_->now() - startTime;
    if (v_type == SpeedMeasuring) {
        if (elapsed > 1.0) {
            timeInterval_ = 1.0;
        } else if (elapsed < 0.3) {
            timeInterval_ = 0.3;
        } else {
            timeInterval_ = elapsed;
        }
        emit DoubleClickNotificationCenter::defaultCenter()->doubleClickHappenOnRateView();
    } else if (elapsed <= timeInterval_) {
        emit DoubleClickNotificationCenter::defaultCenter()->doubleClickHappenOnTestView();
    }
}

void TestView::timeOut() {
    if (v_type == SpeedMeasuring || v_type == Trial) {
        clickCount = 0;
    }
}

void TestView::invalidateTimer() {
    if (timeOutTimer != 0) {
        clock_->cancelTimer(timeOutTimer);
        timeOutTimer = 0;
    }
}

}  // namespace tavix
