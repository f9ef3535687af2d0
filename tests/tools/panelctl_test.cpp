// tavix-panelctl's exit status, output and bytes sent: with a panel, with none, with no daemon.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QtTest/QtTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "commands.h"
#include "daemonchannel.h"
#include "hardware_reports.h"
#include "settings_store.h"
#include "sim_support.h"

using namespace tavix;
using test::Sim;

namespace {

struct Outcome {
    int exit = -1;
    QString out;
    QString err;
};

// Runs the tool while this process keeps serving its own ports.
Outcome runTool(const QString &line) {
    QProcess tool;
    tool.start(QStringLiteral(TAVIX_PANELCTL), line.split(u' ', Qt::SkipEmptyParts));
    if (!QTest::qWaitFor([&] { return tool.state() == QProcess::NotRunning; }, 15000)) {
        return {};  // QProcess kills it
    }
    return {tool.exitStatus() == QProcess::NormalExit ? tool.exitCode() : -1,
            QString::fromUtf8(tool.readAllStandardOutput()),
            QString::fromUtf8(tool.readAllStandardError())};
}

// A row: the command line, exit status, bytes the simulator receives ("|" between commands),
// and the whole output (status 0, or 5 from apply --check) or part of the one error line.
// Metrics must pass promtool; their "# " lines and the self-test's time ("T") are not compared.
struct Row {
    QByteArray line;
    int exit;
    QByteArray bytes, text;
};

void checkRow(const Row &row, const Sim *sim) {
    const qsizetype before = sim ? sim->log().size() : 0;
    Outcome o = runTool(QString::fromUtf8(row.line));
    if (row.line.startsWith("metrics")) {
        QProcess check;
        check.start(QStringLiteral(TAVIX_PROMTOOL), {"check", "metrics"});
        check.write(o.out.toUtf8());
        check.closeWriteChannel();
        QVERIFY(check.waitForFinished(15000) && check.exitCode() == 0);
        o.out.remove(
            QRegularExpression(QStringLiteral("^# .*\n"), QRegularExpression::MultilineOption));
        o.out.replace(QRegularExpression(QStringLiteral("seconds \\d{10}\n")), "seconds T\n");
    }
    const QString text = QString::fromUtf8(row.text);
    const bool output = row.exit == 0 || row.exit == 5;
    QVERIFY2(o.exit == row.exit && (output ? o.out == text : o.err.contains(text)),
             qPrintable(QStringLiteral("%1: exit %2, %3%4")
                            .arg(QString::fromUtf8(row.line))
                            .arg(o.exit)
                            .arg(o.out, o.err)));
    QVERIFY(output || o.err.count(u'\n') == 1);
    QCOMPARE(sim ? sim->log().mid(before).join(u'|') : QString(), QString::fromUtf8(row.bytes));
}

// Runs a transcript under tests/tools/expected (its opening comment says how it reads).
void runTranscript(const char *name, const Sim *sim) {
    const std::string text =
        readSmallFile(std::string(TAVIX_EXPECTED_DIR "/") + name, 1 << 20).value_or("");
    std::optional<Row> row;
    int typed = 0;
    for (const QByteArray &line : QByteArray::fromStdString(text).split('\n')) {
        if (line == "$" || line.startsWith("$ ")) {
            if (row) {
                checkRow(*row, sim);
            }
            row = Row{line.mid(2), 0, {}, {}};
            ++typed;
        } else if (row && line.startsWith("> ")) {
            row->bytes = line.mid(2);
        } else if (row && line.startsWith("? ")) {
            row->exit = line.split(' ').value(1).toInt();
            row->text = line.mid(line.indexOf(' ', 2) + 1);
        } else if (row && !line.isEmpty()) {
            row->text += line + '\n';
        }
    }
    if (row) {
        checkRow(*row, sim);
    }
    QVERIFY2(typed > 10, name);
}

QJsonObject readJson(const QString &file) {
    return QJsonDocument::fromJson(readSmallFile(file.toStdString(), 1 << 20).value_or("").c_str())
        .object();
}

// What node_exporter's textfile collector serves from `folder`, scraped on 127.0.0.1.
QString servedByNodeExporter(const QString &folder) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);  // a port free at the moment of asking
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    const bool bound = ::bind(fd, generic, size) == 0 && ::getsockname(fd, generic, &size) == 0;
    ::close(fd);
    const QString listen = QStringLiteral("127.0.0.1:%1").arg(ntohs(address.sin_port));
    QProcess exporter;
    exporter.start(QStringLiteral(TAVIX_NODE_EXPORTER),
                   {"--collector.disable-defaults", "--collector.textfile",
                    "--collector.textfile.directory=" + folder, "--web.listen-address=" + listen});
    QString served;
    const bool up = QTest::qWaitFor(
        [&] {
            QProcess curl;
            curl.start(QStringLiteral(TAVIX_CURL), {"-sf", "http://" + listen + "/metrics"});
            curl.waitForFinished(5000);
            served = QString::fromUtf8(curl.readAllStandardOutput());
            return !bound || !served.isEmpty();
        },
        10000);
    exporter.terminate();
    exporter.waitForFinished(5000);
    return up ? served : QString();
}

}  // namespace

class PanelCtlTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;

  private Q_SLOTS:
    void initTestCase() { test::useShippedFolderName(); }
    void init() { roots_ = std::make_unique<test::TempRoots>(); }
    void cleanup() { roots_.reset(); }

    // With a panel: the bytes each command sends, what the driver recorded, and refusals.
    void commandsSendTheirBytesAndTheDriverRecordsThem() {
        test::writeSmallDeviceList();
        Sim sim(*roots_);
        QVERIFY(
            sim.start("--dip-byte 0xF7 --firmware 341200230141 --faulty-led 1:2 "
                      "--faulty-led 2:* --faulty-sensor 2:1"));
        runTranscript("with-panel.txt", &sim);
        QVERIFY(runTool(QStringLiteral("status"))
                    .out.startsWith(
                        QStringLiteral(
                            "model: 317 (Tavix TX-317)\ndaemon: running\ndriver: enabled\npage: 0 "
                            "(Calibration)\nsettings: %1\n  CalibrationHotKey: K\n")
                            .arg(QString::fromStdString(getSettingsFilePath(317)))));
        // The saved report holds what the simulated panel answered and the settings recorded.
        const QString json = roots_->path(QStringLiteral("report.json"));
        const QString html = roots_->path(QStringLiteral("report.html"));
        QCOMPARE(runTool(QStringLiteral("report --json ") + json).exit, 0);
        QCOMPARE(runTool(QStringLiteral("report --html ") + html).exit, 0);
        QVERIFY(readSmallFile(html.toStdString(), 1 << 20)
                    .value_or("")
                    .find("<td>1234 <span class=\"good\">OK</span></td>") != std::string::npos);
        QJsonObject report = readJson(json);
        QCOMPARE(report.take("selfTest")["failedPoints"].toArray().size(), 2);
        QVERIFY(!report.take("addresses").toArray().isEmpty());  // loopback at least
        report.remove("time");
        report.remove("computerName");
        QCOMPARE(report, readJson(TAVIX_EXPECTED_DIR "/report-with-panel.json"));
    }

    // First without a daemon, then with one and no panel connected (model 0).
    void withoutADaemonOrAPanel() {
        SettingsDict state = utilitiesDefaults();
        state.set("currentDeviceType", PlistValue(317));
        QVERIFY(writePlistFileAtomically(state, getUilitiesFilePath()));
        QVERIFY(writePlistFileAtomically(settingItemsDefaults(), getSettingsFilePath(317)));
        test::writeSmallDeviceList("Tavix \"TX\"\n\\317");  // a name to escape in a label
        QProcess watch;
        watch.start(QStringLiteral(TAVIX_PANELCTL), {QStringLiteral("watch")});
        QVERIFY(watch.waitForStarted());
        const char *none = "the driver daemon is not running";
        const QString profile = roots_->path(QStringLiteral("profile.json"));
        QVERIFY(writeFileAtomically(profile.toStdString(),
                                    "{\"model\":317,\"settings\":{\"range\":40}}"));
        const QByteArray apply = ("apply " + profile).toUtf8();
        const QByteArray report = ("report --json " + profile).toUtf8();
        const auto stored = readPlistFile(getSettingsFilePath(317));
        for (const QByteArray &line :
             {QByteArray("set range 40"), QByteArray("calibrate start"),
              QByteArray("hotkey calibration Q"), QByteArray("dip"), QByteArray("firmware"),
              QByteArray("selftest"), report, apply}) {
            checkRow({line.constData(), 3, "", none}, nullptr);
        }
        checkRow({"metrics", 0, "",
                  "tavix_daemon_up 0\ntavix_panel_connected 1\ntavix_driver_enabled 1\n"
                  "tavix_panel_info{model=\"317\",name=\"Tavix \\\"TX\\\"\\n\\\\317\","
                  "driver_version=\"0.8.0.3\"} 1\ntavix_panel_rotation_degrees 0\n"
                  "tavix_metrics_errors 0\n"},
                 nullptr);
        QCOMPARE(readPlistFile(getSettingsFilePath(317)), stored);  // the hot key was not stored
        // The product folder named on the command line is the one read.
        checkRow({"get range --folder-name Other", 1, "", "no panel is connected"}, nullptr);
        checkRow({"get range --folder-name TavixTouchPanel", 0, "", "32\n"}, nullptr);
        QVERIFY(
            runTool(QStringLiteral("status")).out.contains(QStringLiteral("daemon: not running")));
        // By now watch has read the files it compares against.
        QCOMPARE(runTool(QStringLiteral("page hardware")).exit, 0);
        QCOMPARE(readPlistFile(getUilitiesFilePath())->intValue("currentPageIndex"), 2);
        {
            test::Recorder pane(kPreferencePortName);
            QCOMPARE(runTool(QStringLiteral("page 3")).exit, 0);
            QCOMPARE(pane.messages, QStringList{QStringLiteral("03")});
        }
        SettingsDict change;
        change.set("DoubleClickRange", PlistValue(99));
        QVERIFY(saveSettingItemsToPlist(change, getSettingsFilePath(317)));
        QVERIFY(QTest::qWaitFor([&] { return watch.bytesAvailable() > 80; }, 5000));
        watch.terminate();
        QVERIFY(watch.waitForFinished(5000));
        QCOMPARE(watch.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(watch.readAllStandardOutput()),
                 QStringLiteral("Utilities.plist currentPageIndex: 0 -> 2\n"
                                "Settings_317.plist DoubleClickRange: 32 -> 99\n"));

        Sim sim(*roots_);
        QVERIFY(sim.start("--incomplete-runs 1 --unknown-reports") && sim.ok("disconnect"));
        runTranscript("no-panel.txt", &sim);
        checkRow({apply, 1, "", "no panel is connected"}, &sim);
        // A driver switched off reads 0, also in the file node_exporter's textfile collector
        // serves, which it reads without an error.
        QVERIFY(sim.ok(QStringLiteral("driver off")));
        checkRow({"metrics", 0, "",
                  "tavix_daemon_up 1\ntavix_panel_connected 0\ntavix_driver_enabled 0\n"
                  "tavix_metrics_errors 0\n"},
                 &sim);
        const QString textfiles = roots_->path(QStringLiteral("textfile"));
        QVERIFY(QDir().mkpath(textfiles));
        QCOMPARE(runTool("metrics --output " + textfiles + "/tavix-panel.prom").exit, 0);
        const QString served = servedByNodeExporter(textfiles);
        for (const char *line : {"node_textfile_scrape_error 0", "tavix_daemon_up 1",
                                 "tavix_panel_connected 0", "tavix_driver_enabled 0"}) {
            QVERIFY2(served.contains(QLatin1String(line) + u'\n'), line);
        }
        QVERIFY(sim.ok(QStringLiteral("driver on")));
        QCOMPARE(readPlistFile(getSettingsFilePath(317))->intValue("DoubleClickRange"), 99);
        QCOMPARE(readPlistFile(getUilitiesFilePath())->intValue("currentPageIndex"), 1);

        // Reports the tool waits for: a self-test run that misses areas is repeated from no
        // records; other report types are passed over; reports too short are ignored.
        QVERIFY(sim.ok(QStringLiteral("connect")));
        checkRow({"selftest --json", 0, "1C|1C",
                  "{\"areas\":[{\"area\":\"Top\",\"led\":\"OK\",\"sensor\":\"OK\",\"tested\":2},"
                  "{\"area\":\"Left\",\"led\":\"OK\",\"sensor\":\"OK\",\"tested\":1}],"
                  "\"faults\":[],\"hardwareType\":317,\"missingAreas\":0}\n"},
                 &sim);
        QVERIFY(sim.ok(QStringLiteral("short on")));
        checkRow({"dip --timeout 100", 4, "1A", "no report from the driver daemon in time"}, &sim);
        QVERIFY(sim.ok(QStringLiteral("short off")));
        checkRow({"dip", 0, "1A", "DIP switches 1-8: 1 0 0 1 0 0 0 0\n"}, &sim);
        // The settings window's Hardware information page holds the report port.
        auto window =
            LocalMessagePort::create(QString::fromLatin1(kHardwareInfoPortName),
                                     [](qint32, const QByteArray &) { return QByteArray(); });
        checkRow({"firmware", 1, "", "settings window holds the port"}, &sim);
        // Metrics count each answer that did not come, and still describe the panel.
        const char *partial =
            "tavix_daemon_up 1\ntavix_panel_connected 1\ntavix_driver_enabled 1\n"
            "tavix_panel_info{model=\"317\",name=\"Tavix \\\"TX\\\"\\n\\\\317\","
            "driver_version=\"0.8.0.3\"} 1\n"
            "tavix_panel_rotation_degrees 0\ntavix_metrics_errors 2\n";
        checkRow({"metrics", 0, "", partial}, &sim);
        window.reset();
        QVERIFY(sim.ok(QStringLiteral("noreply on")));
        checkRow({"metrics --timeout 200", 0, "1A|1B", partial}, &sim);
        QVERIFY(sim.ok(QStringLiteral("noreply off; vanish 1")));
        checkRow({"set range 40", 4, "01 28 00", "no reply"}, &sim);
    }

    // Each profile in turn: a refusal sends nothing, even when other entries are good.
    void profilesApplyOnlyWhatDiffers() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
        const char *differ = R"({"model":317,"settings":{"range":40,"swipe":false},)"
                             R"("hotkeys":{"calibration":"K"}})";
        const char *changes = "range: 32 -> 40\nswipe: on -> off\ncalibration-hotkey: C -> K\n";
        const char *other = R"({"model":259,"settings":{"range":50}})";
        // Each profile with the options that go with it, as a row.
        const std::pair<const char *, Row> rows[] = {
            {differ, {"--check", 5, "", changes}},
            {differ, {"", 0, "01 28 00|08 00 00|18 4B", changes}},
            {differ, {"", 0, "", ""}},  // the second time nothing differs
            {differ, {"--check", 0, "", ""}},
            {other, {"", 2, "", "profile is for model 259"}},
            {other, {"--check --any-model", 5, "", "range: 40 -> 50\n"}},
            // Swapped hot keys: the pair differs in the end, so both are sent.
            {R"({"model":317,"hotkeys":{"simple":"K","calibration":"S"}})",
             {"", 0, "18 53|19 4B", "calibration-hotkey: K -> S\nsimple-hotkey: S -> K\n"}},
        };
        // "PROFILE|part of the error": nothing is sent, even when other entries are good.
        const QString refused = QStringLiteral(
            R"({"model":317,"settings":{"range":50,"speed":1.5}}|speed;)"
            R"({"model":317,"settings":{"range":7}}|from 8 to 128;)"
            R"({"model":317,"settings":{"swipe":"on"}}|on, off;)"
            R"({"model":317,"settings":{"volume":3}}|setting "volume";)"
            R"({"model":317,"settings":5}|must be an object;{"model":317,"colour":1}|key "colour";)"
            R"({"model":317,"hotkeys":{"pen":"A"}}|unknown hot key;)"
            R"({"model":317,"hotkeys":{"simple":"S"}}|must differ;)"
            R"({"settings":{"range":50}}|no whole-number "model";{"model":317,|not a profile)");
        const QString file = roots_->path(QStringLiteral("profile.json"));
        const auto apply = [&](const QByteArray &profile, Row row) {
            QVERIFY(writeFileAtomically(file.toStdString(), profile.toStdString()));
            const QByteArray line = ("apply " + file + " " + row.line).toUtf8();
            row.line = line.constData();
            checkRow(row, &sim);
        };
        for (const auto &[profile, row] : rows) {
            apply(profile, row);
        }
        for (const QString &refusal : refused.split(u';')) {
            const QByteArray text = refusal.section(u'|', 1).toUtf8();
            apply(refusal.section(u'|', 0, 0).toUtf8(), {"", 2, "", text.constData()});
        }
        // What export writes, apply takes back without a change.
        QCOMPARE(runTool(QStringLiteral("export --output ") + file).exit, 0);
        QCOMPARE(runTool(QStringLiteral("apply --check ") + file).exit, 0);
        QCOMPARE(readJson(file), readJson(TAVIX_EXPECTED_DIR "/profile-export.json"));
    }
};

QTEST_GUILESS_MAIN(PanelCtlTest)
#include "panelctl_test.moc"
