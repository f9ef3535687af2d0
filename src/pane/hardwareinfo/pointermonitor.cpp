#include "pointermonitor.h"

#include <QCursor>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace tavix {

PointerMonitor::PointerMonitor(QLabel *mouseCoordinate, QObject *parent)
    : QObject(parent),
      mouseCoordinate_(mouseCoordinate),
      pointerSource_([] { return screenPixelPosition(QCursor::pos(), currentScreens()); }) {
    pointerTimer_.setInterval(kPointerIntervalMs);
    connect(&pointerTimer_, &QTimer::timeout, this, &PointerMonitor::getMouseLocation);
}

void PointerMonitor::start() {
    isThreadQuit = false;
    getMouseLocation();
    pointerTimer_.start();
}

void PointerMonitor::stop() {
    isThreadQuit = true;
    pointerTimer_.stop();
}

QString PointerMonitor::pointerText(QPointF position) {
    // Out-of-range values saturate.
    const auto whole = [](double v) {
        if (!std::isfinite(v)) {
            return 0;
        }
        return static_cast<int>(std::clamp(std::trunc(v), -2147483648.0, 2147483647.0));
    };
    return QStringLiteral("x=%1, y=%2").arg(whole(position.x())).arg(whole(position.y()));
}

QPointF PointerMonitor::screenPixelPosition(QPoint logical, const QList<ScreenPlace> &screens) {
    for (const ScreenPlace &screen : screens) {
        if (screen.geometry.contains(logical)) {
            const QPoint origin = screen.geometry.topLeft();
            return QPointF(origin) + QPointF(logical - origin) * screen.ratio;
        }
    }
    return QPointF(logical);
}

QList<ScreenPlace> PointerMonitor::currentScreens() {
    QList<ScreenPlace> places;
    for (const QScreen *screen : QGuiApplication::screens()) {
        places.append({screen->geometry(), screen->devicePixelRatio()});
    }
    return places;
}

void PointerMonitor::getMouseLocation() {
    if (isThreadQuit) {
        pointerTimer_.stop();
        return;
    }
    if (pointerSource_) {
        mouseCoordinate_->setText(pointerText(pointerSource_()));
    }
}

}  // namespace tavix
