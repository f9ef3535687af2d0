// How soon the pane's monitor sees a driver-side replacement of the shared state file: the
// file is replaced (written elsewhere, then renamed over it, as the driver side does) and the time
// until the monitor's next pass has read the new model is taken, 50 times. The periodic pass is
// left at its one second, so anything well under that comes from the folder watch. Run offscreen:
//   QT_QPA_PLATFORM=offscreen build/release/bench/monitor_latency_bench
#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "globals.h"
#include "paths.h"
#include "settings_store.h"
#include "tavixtouchpanelpref.h"

using namespace tavix;

int main(int argc, char **argv) {
    QApplication app(argc, argv);
    QTemporaryDir roots;
    qputenv("HOME", roots.filePath(QStringLiteral("home")).toLocal8Bit());
    qputenv("TAVIX_SYSTEM_LIBRARY", roots.filePath(QStringLiteral("system")).toLocal8Bit());
    SettingsDict state = utilitiesDefaults();
    state.set("currentDeviceType", 317);
    writePlistFileAtomically(state, getUilitiesFilePath());

    TavixTouchPanelPref pane;  // the shipped monitor period of one second
    pane.loadMainView();
    pane.mainViewDidLoad();
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 300) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }

    std::vector<double> latencies;
    int missed = 0;
    for (int i = 0; i < 50; ++i) {
        const int model = i % 2 == 0 ? 259 : 317;
        state.set("currentDeviceType", model);
        // Written beside the folder, then renamed into it: the clock starts at the replacement.
        const std::string staged = roots.filePath(QStringLiteral("staged.plist")).toStdString();
        writePlistFileAtomically(state, staged);
        QElapsedTimer clock;
        clock.start();
        if (std::rename(staged.c_str(), getUilitiesFilePath().c_str()) != 0) {
            return 1;
        }
        while (gModelType.load() != model && clock.elapsed() < 3000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        }
        if (gModelType.load() != model) {
            ++missed;
            continue;
        }
        latencies.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        // Spread the replacements out so that each is seen on its own.
        QElapsedTimer gap;
        gap.start();
        while (gap.elapsed() < 20) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
    }
    if (latencies.empty()) {
        std::printf("no replacement was seen\n");
        return 1;
    }
    std::sort(latencies.begin(), latencies.end());
    std::printf("replace -> monitor pass read it, %zu replacements (%d missed):\n",
                latencies.size(), missed);
    std::printf("median %.2f ms, 90th percentile %.2f ms, max %.2f ms\n",
                latencies[latencies.size() / 2], latencies[latencies.size() * 9 / 10],
                latencies.back());
    return latencies.back() < 50.0 && missed == 0 ? 0 : 2;
}
