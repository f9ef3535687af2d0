// The hardware commands: dip, firmware and selftest ask the panel through the driver daemon
// and wait for its reports.
#include <QJsonArray>
#include <QJsonObject>

#include "cli.h"

namespace tavix::panelctl {
namespace {

QString verdictText(Verdict verdict) {
    switch (verdict) {
        case Verdict::Check:
            return QStringLiteral("check");
        case Verdict::ALL:
            return QStringLiteral("all failed");
        case Verdict::OK:
            break;
    }
    return QStringLiteral("OK");
}

QJsonArray dipSwitchList(int value) {
    QJsonArray list;
    for (int n = 1; n <= 8; ++n) {
        list.append(dipSwitch(value, n));
    }
    return list;
}

int cmdDipOrFirmware(const Invocation &inv) {
    if (!inv.words.isEmpty()) {
        return badInput(QStringLiteral("%1 takes no arguments").arg(inv.command));
    }
    if (!daemonRunning()) {
        return noDaemon();
    }
    ReportListener listener;
    if (const int status = listener.open(); status != kExitOk) {
        return status;
    }
    const bool dip = inv.command == QLatin1String("dip");
    HardwareReport report;
    if (const int status =
            dip ? awaitReport(listener, COMMAND_GET_DIP_SW, REPORT_DIP_SW, inv.timeoutMs, report)
                : awaitReport(listener, COMMAND_GET_CHECKSUM_AND_VERSION,
                              REPORT_CHECKSUM_AND_VERSION, inv.timeoutMs, report);
        status != kExitOk) {
        return status;
    }
    if (dip) {
        const QJsonArray list = dipSwitchList(report.dipSwitches);
        QStringList words;
        for (const QJsonValue &v : list) {
            words << QString::number(v.toInt());
        }
        inv.json ? printJson(QJsonObject{{QStringLiteral("dipSwitches"), list}})
                 : out(QStringLiteral("DIP switches 1-8: %1\n").arg(words.join(u' ')));
        return kExitOk;
    }
    const QString version =
        QString::fromStdString(formatFirmwareVersion(currentModel(), report.checksum));
    const QString checksum = QString::fromStdString(formatChecksum(report.checksum));
    const bool good = report.checksum.verdict == 0;
    if (inv.json) {
        printJson(QJsonObject{{QStringLiteral("version"), version},
                              {QStringLiteral("checksum"), checksum},
                              {QStringLiteral("checksumGood"), good}});
    } else {
        out(QStringLiteral("firmware version: %1\nchecksum: %2 (%3)\n")
                .arg(version, checksum, good ? QStringLiteral("OK") : QStringLiteral("NG")));
    }
    return kExitOk;
}

int cmdSelfTest(const Invocation &inv) {
    if (!inv.words.isEmpty()) {
        return badInput(QStringLiteral("selftest takes no arguments"));
    }
    if (!daemonRunning()) {
        return noDaemon();
    }
    ReportListener listener;
    if (const int status = listener.open(); status != kExitOk) {
        return status;
    }
    SelfTestRun run;
    if (const int status = runSelfTest(listener, inv.timeoutMs, run); status != kExitOk) {
        return status;
    }
    const SelfTestJudgement result = judgeSelfTest(run.records, run.device);
    const int missing = missingAreas(run);
    if (inv.json) {
        QJsonArray areas, faults;
        for (const AreaSummary &a : result.summaries) {
            areas.append(
                QJsonObject{{QStringLiteral("area"), QString::fromStdString(a.label)},
                            {QStringLiteral("tested"), a.tested},
                            {QStringLiteral("led"), QLatin1String(verdictName(a.led))},
                            {QStringLiteral("sensor"), QLatin1String(verdictName(a.sensor))}});
        }
        for (const ErrorRow &r : result.errors) {
            faults.append(QJsonObject{{QStringLiteral("area"), QString::fromStdString(r.label)},
                                      {QStringLiteral("point"), r.point},
                                      {QStringLiteral("led"), r.ledState == 1},
                                      {QStringLiteral("sensor"), r.sensState == 1}});
        }
        printJson(QJsonObject{{QStringLiteral("hardwareType"), run.hardwareType},
                              {QStringLiteral("areas"), areas},
                              {QStringLiteral("faults"), faults},
                              {QStringLiteral("missingAreas"), missing}});
        return kExitOk;
    }
    QString text = QStringLiteral("self-test of %1 (hardware type %2)\n")
                       .arg(QString::fromStdString(run.device.name))
                       .arg(run.hardwareType);
    for (const AreaSummary &a : result.summaries) {
        text += QStringLiteral("  %1: LED %2, sensor %3 (%4 points)\n")
                    .arg(QString::fromStdString(a.label), verdictText(a.led), verdictText(a.sensor))
                    .arg(a.tested);
    }
    for (const ErrorRow &r : result.errors) {
        text += QStringLiteral("  fault: %1 point %2:%3%4\n")
                    .arg(QString::fromStdString(r.label))
                    .arg(r.point)
                    .arg(r.ledState == 1 ? QStringLiteral(" LED") : QString(),
                         r.sensState == 1 ? QStringLiteral(" sensor") : QString());
    }
    if (missing > 0) {
        text += QStringLiteral("  %1 areas sent no result\n").arg(missing);
    }
    out(text);
    return kExitOk;
}

}  // namespace

const std::vector<Command> &hardwareCommands() {
    static const std::vector<Command> commands = {
        {"dip", "dip [--json] [--timeout MS]", "the eight DIP switches",
         "Asks the panel for its eight DIP switches (switch 1 first).\n", cmdDipOrFirmware},
        {"firmware", "firmware [--json] [--timeout MS]", "firmware version and checksum",
         "Asks the panel for its firmware version and checksum.\n", cmdDipOrFirmware},
        {"selftest", "selftest [--json] [--timeout MS]", "LED and sensor self-test",
         "Runs the LED and sensor self-test and shows a verdict per area and each failed point.\n",
         cmdSelfTest},
    };
    return commands;
}

}  // namespace tavix::panelctl
