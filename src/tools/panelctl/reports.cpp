// The reports command: the Hardware information page's report saved as JSON or HTML.
#include <QDateTime>

#include "atomic_file.h"
#include "cli.h"
#include "hardware_report_writer.h"
#include "hostaddresses.h"
#include "paths.h"
#include "settings_store.h"

namespace tavix::panelctl {
namespace {

// The Hardware information page's report, from what the panel answers and the shared files.
int cmdHardwareReport(const Invocation &inv) {
    if (inv.words.size() != 1 || inv.json == inv.html) {
        return badInput(QStringLiteral("report takes --json FILE or --html FILE"));
    }
    if (!daemonRunning()) {
        return noDaemon();
    }
    ReportListener listener;
    if (const int status = listener.open(); status != kExitOk) {
        return status;
    }
    HardwareReport dip, firmware;
    SelfTestRun run;
    if (int status = awaitReport(listener, COMMAND_GET_DIP_SW, REPORT_DIP_SW, inv.timeoutMs, dip);
        status != kExitOk ||
        (status = awaitReport(listener, COMMAND_GET_CHECKSUM_AND_VERSION,
                              REPORT_CHECKSUM_AND_VERSION, inv.timeoutMs, firmware)) != kExitOk ||
        (status = runSelfTest(listener, inv.timeoutMs, run)) != kExitOk) {
        return status;
    }
    const SettingsDict state = readState();
    HardwareInfoReport report;
    report.time = QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toStdString();
    report.modelType = static_cast<std::int32_t>(state.intValue("currentDeviceType"));
    report.modelName = run.device.name;
    report.firmware = firmware.checksum;
    report.dipSwitches = dip.dipSwitches;
    if (const auto settings = readPlistFile(getSettingsFilePath(report.modelType))) {
        report.driverVersion = settings->stringValue("DriverVersion");
        report.rotateMode = settings->intValue("RotateMode");
        report.inputMode = settings->intValue("InputMode");
        report.functionButton1 = settings->boolValue("FounctionButton1");
        report.functionButton2 = settings->boolValue("FounctionButton2");
    }
    report.computerName = localizedComputerName().toStdString();
    for (const QString &address : addressMenuItems(systemIPv4Addresses())) {
        report.addresses.push_back(address.toStdString());
    }
    const SelfTestJudgement judgement = judgeSelfTest(run.records, run.device);
    report.selfTestJudged = true;
    report.areas = judgement.summaries;
    report.failedPoints = judgement.errors;
    const std::string text =
        inv.json ? hardwareReportJson(report) : hardwareReportHtml(report, std::string());
    if (!writeFileAtomically(inv.words.first().toStdString(), text)) {
        return fail(kExitFailure, QStringLiteral("cannot write %1").arg(inv.words.first()));
    }
    return kExitOk;
}

}  // namespace

const std::vector<Command> &reportCommands() {
    static const std::vector<Command> commands = {
        {"report", "report --json FILE | --html FILE", "save the hardware report",
         "Asks the panel for its DIP switches, firmware and self-test and saves them, with the\n"
         "model, driver version, rotation, input mode, function buttons and host name, as the\n"
         "Hardware information page's report: JSON, or a printable HTML page (without the\n"
         "page's picture of the frame).\n",
         cmdHardwareReport},
    };
    return commands;
}

}  // namespace tavix::panelctl
