// The metrics command: the panel's state in Prometheus' text format (0.0.4), for
// node_exporter's textfile collector. Whatever cannot be learned is left out rather than
// guessed; a daemon that is down or slow still gives a complete file.
#include <QDateTime>

#include <algorithm>
#include <map>

#include "cli.h"
#include "paths.h"
#include "settings_store.h"

namespace tavix::panelctl {
namespace {

// Backslash, double quote and line feed are escaped in label values.
QString escapeLabel(const QString &value) {
    QString escaped;
    for (const QChar c : value) {
        if (c == u'\\') {
            escaped += QStringLiteral("\\\\");
        } else if (c == u'"') {
            escaped += QStringLiteral("\\\"");
        } else if (c == u'\n') {
            escaped += QStringLiteral("\\n");
        } else {
            escaped += c;
        }
    }
    return escaped;
}

using Labels = std::vector<std::pair<QString, QString>>;

class Exposition {
  public:
    // Starts a metric family; its samples follow with sample().
    void family(const char *name, const char *help) {
        name_ = QLatin1String(name);
        text_ += QStringLiteral("# HELP %1 %2\n# TYPE %1 gauge\n").arg(name_, QLatin1String(help));
    }
    void sample(double value, const Labels &labels = {}) {
        QStringList parts;
        for (const auto &[key, text] : labels) {
            parts << QStringLiteral("%1=\"%2\"").arg(key, escapeLabel(text));
        }
        text_ += name_;
        if (!parts.isEmpty()) {
            text_ += QLatin1Char('{') + parts.join(u',') + QLatin1Char('}');
        }
        text_ += QLatin1Char(' ') + QString::number(value, 'g', 15) + QLatin1Char('\n');
    }
    void single(const char *name, const char *help, double value) {
        family(name, help);
        sample(value);
    }
    const QString &text() const { return text_; }

  private:
    QString name_;
    QString text_;
};

struct PanelFacts {
    std::optional<HardwareReport> dip;
    std::optional<HardwareReport> firmware;
    std::optional<SelfTestRun> selfTest;
    std::optional<qint64> selfTestTime;
    int errors = 0;  // answers that did not come in time
};

// Asks the daemon what the metrics need; each question that goes unanswered counts an error
// and the rest are still asked.
PanelFacts askPanel(const Invocation &inv) {
    PanelFacts facts;
    ReportListener listener;
    if (listener.open() != kExitOk) {
        facts.errors += inv.selftest ? 3 : 2;
        return facts;
    }
    const auto ask = [&](CommandCode request, ReportType type, std::optional<HardwareReport> &to) {
        HardwareReport report;
        if (awaitReport(listener, request, type, inv.timeoutMs, report) == kExitOk) {
            to = std::move(report);
        } else {
            ++facts.errors;
        }
    };
    ask(COMMAND_GET_DIP_SW, REPORT_DIP_SW, facts.dip);
    ask(COMMAND_GET_CHECKSUM_AND_VERSION, REPORT_CHECKSUM_AND_VERSION, facts.firmware);
    if (inv.selftest) {
        SelfTestRun run;
        if (runSelfTest(listener, inv.timeoutMs, run) == kExitOk) {
            facts.selfTest = std::move(run);
            facts.selfTestTime = QDateTime::currentSecsSinceEpoch();
        } else {
            ++facts.errors;
        }
    }
    return facts;
}

void addSelfTest(Exposition &e, const SelfTestRun &run, qint64 time) {
    const SelfTestJudgement judgement = judgeSelfTest(run.records, run.device);
    const auto failed = [&](bool led) {
        return std::count_if(
            judgement.errors.begin(), judgement.errors.end(),
            [&](const ErrorRow &r) { return (led ? r.ledState : r.sensState) == 1; });
    };
    e.family("tavix_selftest_failed_points", "Points that failed the last self-test, by kind.");
    e.sample(static_cast<double>(failed(true)), {{QStringLiteral("kind"), QStringLiteral("led")}});
    e.sample(static_cast<double>(failed(false)),
             {{QStringLiteral("kind"), QStringLiteral("sensor")}});
    // An area run more than once is OK only if every run of it was.
    std::vector<std::string> order;
    std::map<std::string, std::pair<bool, bool>> ok;
    for (const AreaSummary &a : judgement.summaries) {
        if (a.tested == 0) {
            continue;
        }
        auto [it, added] = ok.try_emplace(a.label, true, true);
        if (added) {
            order.push_back(a.label);
        }
        it->second.first = it->second.first && a.led == Verdict::OK;
        it->second.second = it->second.second && a.sensor == Verdict::OK;
    }
    e.family("tavix_selftest_area_ok",
             "1 when every tested point of the area passed the last self-test, by kind.");
    for (const std::string &label : order) {
        const QString area = QString::fromStdString(label);
        e.sample(ok[label].first ? 1 : 0,
                 {{QStringLiteral("area"), area}, {QStringLiteral("kind"), QStringLiteral("led")}});
        e.sample(ok[label].second ? 1 : 0, {{QStringLiteral("area"), area},
                                            {QStringLiteral("kind"), QStringLiteral("sensor")}});
    }
    e.single("tavix_selftest_last_run_timestamp_seconds",
             "When the last self-test finished, in seconds since the epoch.",
             static_cast<double>(time));
}

int cmdMetrics(const Invocation &inv) {
    if (!inv.words.isEmpty()) {
        return badInput(QStringLiteral("metrics takes no arguments"));
    }
    const std::optional<SettingsDict> state = readPlistFile(getUilitiesFilePath());
    const auto model = static_cast<std::int32_t>(state ? state->intValue("currentDeviceType") : 0);
    const std::optional<SettingsDict> settings =
        model != 0 ? readPlistFile(getSettingsFilePath(model)) : std::nullopt;
    const bool daemon = daemonRunning();
    const PanelFacts facts = daemon && model != 0 ? askPanel(inv) : PanelFacts();

    Exposition e;
    e.single("tavix_daemon_up", "1 when the driver daemon's port has an owner.", daemon ? 1 : 0);
    if (state) {
        e.single("tavix_panel_connected", "1 when a touch panel is connected.", model != 0 ? 1 : 0);
        e.single("tavix_driver_enabled", "1 when the touch panel driver is enabled.",
                 state->boolValue("DriverEnable") ? 1 : 0);
    }
    Labels info;
    if (model != 0) {
        info.emplace_back(QStringLiteral("model"), QString::number(model));
        const auto list = readDeviceList(getSupportDeviceListFilePath());
        if (const DeviceEntry *entry = list ? findDeviceEntry(*list, model) : nullptr) {
            info.emplace_back(QStringLiteral("name"), QString::fromStdString(entry->name));
        }
    }
    if (settings && !settings->stringValue("DriverVersion").empty()) {
        info.emplace_back(QStringLiteral("driver_version"),
                          QString::fromStdString(settings->stringValue("DriverVersion")));
    }
    if (facts.firmware) {
        // The version is padded to the page's width; the label carries it without the padding.
        const std::string version = formatFirmwareVersion(model, facts.firmware->checksum);
        info.emplace_back(QStringLiteral("firmware"), QString::fromStdString(version).trimmed());
        info.emplace_back(QStringLiteral("checksum"),
                          QString::fromStdString(formatChecksum(facts.firmware->checksum)));
    }
    if (!info.empty()) {
        e.family("tavix_panel_info", "The connected panel's identity; always 1.");
        e.sample(1, info);
    }
    if (facts.firmware) {
        e.single("tavix_panel_firmware_checksum_ok",
                 "1 when the panel reports its firmware checksum as good.",
                 facts.firmware->checksum.verdict == 0 ? 1 : 0);
    }
    if (facts.dip) {
        e.family("tavix_panel_dip_switch", "1 when the DIP switch is on.");
        for (int n = 1; n <= 8; ++n) {
            e.sample(dipSwitch(facts.dip->dipSwitches, n),
                     {{QStringLiteral("switch"), QString::number(n)}});
        }
    }
    if (settings && settings->contains("RotateMode")) {
        e.single("tavix_panel_rotation_degrees", "The panel's rotation.",
                 static_cast<double>(settings->intValue("RotateMode") * 90));
    }
    if (facts.selfTest) {
        addSelfTest(e, *facts.selfTest, *facts.selfTestTime);
    }
    e.single("tavix_metrics_errors", "Answers from the driver daemon that did not come in time.",
             facts.errors);
    // Written once the whole text is known; a failed write is the one failure reported.
    return deliver(e.text(), inv.output);
}

}  // namespace

const std::vector<Command> &metricsCommands() {
    static const std::vector<Command> commands = {
        {"metrics", "metrics [--output FILE] [--selftest]", "panel health for Prometheus",
         "Prints the panel's state in Prometheus' text format: daemon up, panel connected,\n"
         "driver enabled, the panel's model, name, driver version, firmware and checksum (as\n"
         "labels of tavix_panel_info), its DIP switches and rotation, and how many answers did\n"
         "not come in time. --selftest runs the self-test too, which interrupts the panel.\n"
         "--output FILE replaces FILE as a whole (for node_exporter's textfile collector). A\n"
         "daemon that is down or slow still gives a complete file; what is not known is left\n"
         "out. --timeout MS bounds each wait for a report.\n",
         cmdMetrics},
    };
    return commands;
}

}  // namespace tavix::panelctl
