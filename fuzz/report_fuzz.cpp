// Feeds arbitrary bytes to the Hardware information page's report callback, as the daemon's
// reports arrive on "HardwareInfoFromDaemon": every report must be handled or ignored, never
// read past its end. The records are also judged against a frame of three areas.
#include <QApplication>
#include <QByteArray>
#include <QWidget>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "hardware_reports.h"
#include "hardwareinformationviewctl.h"
#include "selftest.h"

namespace {

struct Page {
    Page() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int argc = 1;
        static char name[] = "report_fuzz";
        static char *argv[] = {name, nullptr};
        app = std::make_unique<QApplication>(argc, argv);
        widget = std::make_unique<QWidget>();
        controller = std::make_unique<tavix::HardwareInformationViewCtl>(widget.get());
    }
    std::unique_ptr<QApplication> app;
    std::unique_ptr<QWidget> widget;
    std::unique_ptr<tavix::HardwareInformationViewCtl> controller;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static Page page;
    // An exact-size copy, so that a read past the end is caught.
    const QByteArray report(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (!page.controller->hardwareTestPortCallBack(0, report).isEmpty()) {
        std::abort();  // the callback never replies with data
    }
    tavix::DeviceEntry frame;
    frame.areas = {{"Top", 60, 1}, {"Left", 40, 2}, {"Right", 40, 3}};
    const auto records = tavix::decodeSelfTestRecords(data, size);
    const tavix::SelfTestJudgement judged = tavix::judgeSelfTest(records, frame);
    std::size_t tested = 0;
    for (const tavix::AreaSummary &row : judged.summaries) {
        if (row.area < 1 || row.area > 3 || row.ledFaults > row.tested ||
            row.sensorFaults > row.tested) {
            std::abort();
        }
        tested += static_cast<std::size_t>(row.tested);
    }
    if (tested > records.size() || judged.errors.size() > tested) {
        std::abort();
    }
    return 0;
}
