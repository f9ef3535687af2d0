// The live pointer position of the Hardware information page, shown as "x=%d, y=%d" in screen
// (device) pixels and refreshed every 20 ms while the page is shown.
#pragma once

#include <QList>
#include <QObject>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QString>
#include <QTimer>

#include <functional>

class QLabel;

namespace tavix {

// A screen as Qt places it: its geometry in logical pixels and its device pixel ratio. Qt keeps
// each screen's top-left at its device-pixel position and scales only what lies inside it.
struct ScreenPlace {
    QRect geometry;
    qreal ratio = 1.0;
};

class PointerMonitor : public QObject {
    Q_OBJECT

  public:
    static constexpr int kPointerIntervalMs = 20;

    // Shows the position in mouseCoordinate_.
    explicit PointerMonitor(QLabel *mouseCoordinate, QObject *parent = nullptr);

    // Clears isThreadQuit, shows the position at once and keeps it fresh; one updater however
    // often it is started.
    void start();
    // Sets isThreadQuit; the field keeps its last text.
    void stop();
    bool running() const { return pointerTimer_.isActive(); }

    // Where the pointer is, in screen pixels; replaceable in tests.
    void setPointerSource(std::function<QPointF()> source) { pointerSource_ = std::move(source); }

    // Truncated toward zero: (100.9, -0.5) is "x=100, y=0".
    static QString pointerText(QPointF position);
    // A logical position in screen pixels: the top-left of the screen that holds it plus the
    // offset inside that screen times the screen's ratio. Off every screen it stays as it is.
    static QPointF screenPixelPosition(QPoint logical, const QList<ScreenPlace> &screens);
    // The screens of this session.
    static QList<ScreenPlace> currentScreens();

    // The updater runs while this is false.
    bool isThreadQuit = true;

  private:
    void getMouseLocation();

    QLabel *mouseCoordinate_;
    QTimer pointerTimer_;
    std::function<QPointF()> pointerSource_;
};

}  // namespace tavix
