// A hung daemon must never freeze the window. tavix-panel-sim is started, then stopped with
// SIGSTOP (or started with --never-reply); the real pane shows its Properties page, and the
// double-click speed slider is moved 200 times. Printed: the longest gap between the ticks of a
// 1 ms timer on the main thread (how long the window ever stood still), the longest single
// slider move, and how long the last pending call took to end by its time-out. Run under
// dbus-run-session, offscreen:
//   QT_QPA_PLATFORM=offscreen dbus-run-session -- build/release/bench/hung_daemon_bench
//   [--never-reply]
#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QSlider>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest/QTest>

#include <signal.h>

#include <algorithm>
#include <cstdio>

#include "commands.h"
#include "daemonchannel.h"
#include "globals.h"
#include "messageport.h"
#include "tavixtouchpanelpref.h"

using namespace tavix;

namespace {

double ms(qint64 ns) {
    return static_cast<double>(ns) / 1e6;
}

bool daemonKnown() {
    return RemoteMessagePort::tracked(QString::fromLatin1(kDaemonPortName)).has_value();
}

}  // namespace

int main(int argc, char **argv) {
    QApplication app(argc, argv);
    const bool neverReply = app.arguments().contains(QStringLiteral("--never-reply"));
    QTemporaryDir roots;
    qputenv("HOME", roots.filePath(QStringLiteral("home")).toLocal8Bit());
    qputenv("TAVIX_SYSTEM_LIBRARY", roots.filePath(QStringLiteral("system")).toLocal8Bit());

    QProcess sim;
    QStringList args{QStringLiteral("--quiet")};
    if (neverReply) {
        args << QStringLiteral("--never-reply");
    }
    sim.start(QStringLiteral(TAVIX_PANEL_SIM), args);
    if (!sim.waitForStarted(5000) || !QTest::qWaitFor(daemonKnown, 10000)) {
        std::fprintf(stderr, "tavix-panel-sim did not start (run under dbus-run-session)\n");
        return 1;
    }

    TavixTouchPanelPref pane;
    QWidget *view = pane.loadMainView();
    view->show();
    pane.mainViewDidLoad();
    pane.willSelect();
    pane.selectView(1);  // Properties
    auto *slider = view->findChild<QSlider *>(QStringLiteral("rateSlider_"));
    if (slider == nullptr || gModelType.load() == 0 || !gDriverEnable.load()) {
        std::fprintf(stderr, "the Properties page is not up (model %d)\n", gModelType.load());
        return 1;
    }
    if (!neverReply) {
        ::kill(static_cast<pid_t>(sim.processId()), SIGSTOP);
    }

    // A 1 ms ticker shows how long the event loop ever stood still; the slider moves come from
    // a timer of their own, so the loop turns between them as it does for a person dragging.
    QElapsedTimer clock;
    clock.start();
    qint64 lastTick = -1, longestGap = 0, longestMove = 0;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        if (lastTick >= 0) {
            longestGap = std::max(longestGap, now - lastTick);
        }
        lastTick = now;
    });
    ticker.start(1);
    int moves = 0;
    bool markerDone = false, markerOk = true;
    qint64 markerSent = 0, markerEnded = 0;
    QTimer mover;
    QObject::connect(&mover, &QTimer::timeout, [&] {
        const qint64 start = clock.nsecsElapsed();
        slider->setValue(moves % 2 == 0 ? slider->minimum() + moves % 50
                                        : slider->maximum() - moves % 50);
        longestMove = std::max(longestMove, clock.nsecsElapsed() - start);
        if (++moves < 200) {
            return;
        }
        mover.stop();
        // Calls end in order of their deadlines: once a marker sent last has ended, all have.
        markerSent = clock.nsecsElapsed();
        SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK), [&](bool ok, const QByteArray &) {
            markerDone = true;
            markerOk = ok;
            markerEnded = clock.nsecsElapsed();
        });
    });
    mover.start(2);
    while (!markerDone && clock.elapsed() < 15000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    std::printf("daemon %s, %d slider moves on the Properties page\n",
                neverReply ? "never replying" : "stopped (SIGSTOP)", moves);
    std::printf("longest gap between 1 ms ticks of the main thread: %.3f ms\n", ms(longestGap));
    std::printf("longest single slider move (handler and send): %.3f ms\n", ms(longestMove));
    std::printf(
        "last pending call ended %.0f ms after it was sent, %s\n", ms(markerEnded - markerSent),
        markerDone ? (markerOk ? "answered" : "failed by its time-out") : "NOT ENDED within 15 s");
    ::kill(static_cast<pid_t>(sim.processId()), SIGCONT);
    sim.terminate();
    sim.waitForFinished(5000);
    return markerDone && !markerOk && longestGap < 16'000'000 ? 0 : 2;
}
