// One daemon command, sent the way every page sends it (the daemon as the bus announced it,
// call, reply by callback), against a bare asynchronous QtDBus call of the same bytes to the
// same peer.
// The peer is tavix-panel-sim on the session bus; run under dbus-run-session.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"

namespace {

const tavix::Bytes kCommand = tavix::makeCommand(tavix::COMMAND_GET_DIP_SW);

void waitFor(const bool &done) {
    while (!done) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

void BM_SendDataToRemotePort(benchmark::State &state) {
    for (auto _ : state) {
        bool done = false, ok = false;
        if (!tavix::SendDataToRemotePort(kCommand, [&](bool sent, const QByteArray &) {
                ok = sent;
                done = true;
            })) {
            state.SkipWithError("the daemon port is absent");
            return;
        }
        waitFor(done);
        if (!ok) {
            state.SkipWithError("the send failed");
            return;
        }
    }
}

void BM_BareQtDBusCall(benchmark::State &state) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const QByteArray data(reinterpret_cast<const char *>(kCommand.data()),
                          static_cast<qsizetype>(kCommand.size()));
    for (auto _ : state) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("io.tavix.MessagePort.TavixTouchPanelDaemon"),
            QStringLiteral("/io/tavix/MessagePort"), QStringLiteral("io.tavix.MessagePort"),
            QStringLiteral("SendRequest"));
        call << qint32{0} << data;
        bool done = false, ok = false;
        auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 2000));
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                         [&](QDBusPendingCallWatcher *w) {
                             ok = !w->isError();
                             done = true;
                             w->deleteLater();
                         });
        waitFor(done);
        if (!ok) {
            state.SkipWithError("the call failed");
            return;
        }
    }
}

// What a send does instead of a lookup: reading the owner the bus last announced.
void BM_TrackedPresenceOnly(benchmark::State &state) {
    for (auto _ : state) {
        auto port = tavix::RemoteMessagePort::tracked(QStringLiteral("TavixTouchPanelDaemon"));
        if (!port) {
            state.SkipWithError("the daemon port is absent");
            return;
        }
        benchmark::DoNotOptimize(port);
    }
}

// A lookup round trip to the bus, as every send made before presence was tracked.
void BM_PortLookupOnly(benchmark::State &state) {
    for (auto _ : state) {
        auto port = tavix::RemoteMessagePort::lookup(QStringLiteral("TavixTouchPanelDaemon"));
        if (!port) {
            state.SkipWithError("the daemon port is absent");
            return;
        }
        benchmark::DoNotOptimize(port);
    }
}

BENCHMARK(BM_SendDataToRemotePort)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_BareQtDBusCall)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TrackedPresenceOnly)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PortLookupOnly)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (!QDBusConnection::sessionBus().isConnected()) {
        std::fprintf(stderr, "no session bus: run under dbus-run-session\n");
        return 1;
    }
    QTemporaryDir roots;
    qputenv("HOME", roots.filePath(QStringLiteral("home")).toLocal8Bit());
    qputenv("TAVIX_SYSTEM_LIBRARY", roots.filePath(QStringLiteral("system")).toLocal8Bit());
    QProcess sim;
    sim.start(QStringLiteral(TAVIX_PANEL_SIM), {QStringLiteral("--quiet")});
    if (!sim.waitForStarted(5000) || !sim.waitForReadyRead(10000) ||
        !sim.readLine().startsWith("ready:")) {
        std::fprintf(stderr, "tavix-panel-sim did not start\n");
        return 1;
    }
    // A daemon is used from the first command after the bus has announced it.
    while (!tavix::RemoteMessagePort::tracked(QStringLiteral("TavixTouchPanelDaemon"))) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    sim.terminate();
    sim.waitForFinished(5000);
    return 0;
}
