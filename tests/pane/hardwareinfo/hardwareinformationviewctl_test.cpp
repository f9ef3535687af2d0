// The Hardware information page on a private bus, against a fake daemon and against the simulator.
#include <arpa/inet.h>
#include <ifaddrs.h>

#include "daemonchannel.h"
#include "framepicture.h"
#include "hardwareinformationviewctl.h"
#include "hardwareselftest.h"
#include "hostaddresses.h"
#include "pane_test_support.h"
#include "pointermonitor.h"
#include "snapshot.h"

using namespace tavix;

namespace {

// A self-test report of "area:point:state" records ("1:2:10", state in hex) or of areas alone.
QByteArray records(const QString &list) {
    QByteArray b(1, 1);
    for (const QString &record : list.split(' ', Qt::SkipEmptyParts)) {
        const QStringList r = (record + QStringLiteral(":%1:0").arg(b.size() / 7 + 1)).split(':');
        b += char(r[0].toInt()) + QByteArray(1, char(r[1].toInt())) + QByteArray(2, 0) +
             char(r[2].toInt(nullptr, 16)) + QByteArray(2, 0);
    }
    return b;
}

// One run of Top's LEDs all failed (and a later run good), Left's sensors failed in part, Right
// untested; areas 0 and 200 and Left's point 9 are not on the panel.
const QString kMixedRun =
    "1:1:10 1:2:10 1:3:10 1:4:10 2:1:1 2:2:0 2:9:11 0:1:11 200:1:11 1:1:1 2:3:0";

// Records each command as "1D 01"; answers 28 with type 317, at once or (`late`) when told.
struct Daemon {
    QStringList received;
    bool late = false;
    QList<PortResponder> held;
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "daemon");
    std::unique_ptr<LocalMessagePort> port = LocalMessagePort::createDeferred(
        QString::fromLatin1(kDaemonPortName),
        [this](qint32, const QByteArray &data, const PortResponder &respond) {
            received << QString::fromLatin1(data.toHex(' ').toUpper());
            const bool start = data == QByteArray(1, 28);
            start &&late ? void(held << respond)
                         : respond(start ? QByteArray::fromHex("3d010000") : QByteArray());
        },
        bus);
};

}  // namespace

class HardwareInformationViewCtlTest : public QObject {
    Q_OBJECT

    test::TestEnvironment env_;
    std::unique_ptr<Daemon> daemon_;
    std::unique_ptr<QWidget> page_;
    std::unique_ptr<HardwareInformationViewCtl> ctl_;

    template <typename T = QLabel>
    T *find(const QString &name) {
        T *w = page_->findChild<T *>(name);
        return w ? w : (qFatal("no widget %s", qPrintable(name)), nullptr);
    }
    QString text(const QString &name) { return find(name)->text(); }
    QTabWidget *tabs() { return find<QTabWidget>("hardwareInfoTabView_"); }
    // A table's whole model, a row as "Top|OK".
    QStringList rows(const char *table) {
        QStringList out;
        const QAbstractItemModel *m = find<QTableView>(table)->model();
        for (int r = 0; r < m->rowCount(); ++r) {
            out << QString();
            for (int c = 0; c < m->columnCount(); ++c) {
                out.last() += (c ? "|" : "") + m->index(r, c).data().toString();
            }
        }
        return out;
    }
    void writeSettings(int model, std::initializer_list<std::pair<const char *, PlistValue>> kv) {
        SettingsDict d;
        for (const auto &[k, v] : kv) {
            d.set(k, v);
        }
        QVERIFY(writePlistFileAtomically(d, getSettingsFilePath(model)));
    }
    void press(QWidget *w, const QString &action = QAccessibleActionInterface::pressAction()) {
        QAccessible::queryAccessibleInterface(w)->actionInterface()->doAction(action);
    }
    // What the page sent before a marker sent now, once the bus knows the daemon.
    QStringList settle() {
        const bool announced = QTest::qWaitFor(
            [] { return SendDataToRemotePort(makeCommandU16(COMMAND_SET_INPUT_MODE, 7)); });
        [&] { QTRY_VERIFY(announced && daemon_->received.contains("0F 07 00")); }();
        const QStringList before = std::exchange(daemon_->received, {});
        return before.mid(0, before.indexOf("0F 07 00"));
    }
    void sendReport(const QByteArray &report) { ctl_->hardwareTestPortCallBack(0, report); }

  private Q_SLOTS:
    void init() {
        ctl_.reset();  // before the widgets it knows
        page_.reset();
        daemon_.reset();
        env_.reset();
        const QString list = QString::fromStdString(getSupportDeviceListFilePath());
        QVERIFY(QDir().mkpath(QFileInfo(list).path()) &&
                QFile::copy(QFINDTESTDATA("devicelist.plist"), list));
        gModelType = 317;
        daemon_ = std::make_unique<Daemon>();
        page_ = std::make_unique<QWidget>();
        ctl_ = std::make_unique<HardwareInformationViewCtl>(page_.get());
        ctl_->setAddressSource([] { return QStringList{QStringLiteral("192.0.2.7")}; });
        page_->resize(900, 560);
        page_->show();
    }

    // Each tab as the file and lopsided reports make it look; a mode out of the menu keeps the
    // text shown before. The 317 row also shows the rotation tab, a mixed self-test, its report.
    void shownFromSettingsAndReports_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<int>("inputMode");
        QTest::addColumn<QByteArray>("reports");
        QTest::newRow("317") << 317 << 2 << QByteArray::fromHex("00de 0634120001026100");
        QTest::newRow("259") << 259 << 3 << QByteArray::fromHex("007f 06abcd01230161");
        QTest::newRow("420") << 420 << -1 << QByteArray::fromHex("0000 0600000000000000");
    }
    void shownFromSettingsAndReports() {
        QFETCH(int, model);
        QFETCH(int, inputMode);
        QFETCH(QByteArray, reports);
        gModelType = model;
        const auto writeAll = [&](int rotation) {
            writeSettings(model, {{"RotateMode", rotation},
                                  {"DriverVersion", "9.1.2"},
                                  {"FounctionButton1", true},
                                  {"FounctionButton2", false},
                                  {"InputMode", inputMode},
                                  {"PenSoftSupport", model == 317}});
        };
        if (inputMode >= 0) {
            writeAll(3);
        }
        find("inputMode_")->setText(QStringLiteral("(old)"));
        ctl_->updateUIState();
        sendReport(reports.left(2));
        sendReport(reports.mid(2));
        const auto looks = [this](int tab) {
            tabs()->setCurrentIndex(tab);
            return test::snapshotMismatch(
                page_.get(),
                QStringLiteral("hardwareinfo-%1-tab%2").arg(QTest::currentDataTag()).arg(tab));
        };
        QCOMPARE(looks(0), QString());
        if (model == 317) {
            // The rotation tab shows the file's row as it is when the tab is chosen.
            writeAll(1);
            sendReport(QByteArray::fromHex("18010001"));
            // A released button is a blank heard as a word.
            QCOMPARE(QAccessible::queryAccessibleInterface(find("stateByButton1_"))
                         ->text(QAccessible::Name),
                     QStringLiteral("released"));
            QCOMPARE(looks(1), QString());
            press(find<QPushButton>("testSelfButton"));
            QTRY_COMPARE(ctl_->selfTest()->getHardwareType(), 317);
            sendReport(records(kMixedRun));
            QCOMPARE(looks(2), QString());
            QCOMPARE(ctl_->selfTest()->picture()->describe(),
                     "Top: LEDs All failed, sensors All failed (failed points 1, 2, 3, 4, 1); "
                     "Left: LEDs OK, sensors Check (failed points 1); Right: not tested");
            // Saved under the name asked for less its extension; a missing folder is refused.
            const QString base = env_.home() + "/report";
            QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);  // one to answer here
            QTimer::singleShot(0, this, [&] {
                QTRY_VERIFY(qobject_cast<QFileDialog *>(QApplication::activeModalWidget()));
                auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
                dialog->selectFile(base + ".json");
                static_cast<QDialog *>(dialog)->accept();
            });
            QTest::mouseClick(find<QPushButton>("saveReportButton"), Qt::LeftButton);
            QFile json(base + ".json"), html(base + ".html"),
                expected(QFINDTESTDATA("saved-report.json"));
            QVERIFY(json.open(QIODevice::ReadOnly) && html.open(QIODevice::ReadOnly) &&
                    expected.open(QIODevice::ReadOnly));
            QJsonObject o = QJsonDocument::fromJson(json.readAll()).object();
            QVERIFY(o.take("time").toString().endsWith('Z'));
            QCOMPARE(QJsonDocument(o).toJson(), expected.readAll());
            QVERIFY(html.readAll().contains("data:image/png;base64,iVBOR"));
            QVERIFY(!ctl_->saveReport(env_.home() + "/missing/dir/report"));
            // Later reports fill the tables in place, within a bound; a new showing empties them.
            auto *errors = find<QTableView>("errTable_");
            errors->selectRow(3);
            sendReport(records("3:2:11"));
            QCOMPARE(rows("errTable_").mid(5),
                     QStringList({"Top|1|OK|Top|1|E01", "Right|2|E01|Right|2|E01"}));
            QCOMPARE(errors->selectionModel()->selectedRows().value(0).row(), 3);
            sendReport(QByteArray(1, 1) + records("3:1:0").mid(1).repeated(70000));
            QCOMPARE(ctl_->selfTest()->LEDSensorArray()->size(), HardwareSelfTest::kMaxRecords);
            ctl_->updateUIState();
            QCOMPARE(rows("LEDTable_") + rows("sensorTable_") + rows("errTable_") +
                         QStringList(ctl_->selfTest()->picture()->describe()),
                     QStringList("No self-test result yet."));
        }
        // A value beside a caption of its own is labelled by it and reached by Tab.
        QVERIFY(!QAccessible::queryAccessibleInterface(find("DIPSW3_"))
                     ->relations(QAccessible::Label)
                     .isEmpty() &&
                (find("DIPSW3_")->focusPolicy() & Qt::TabFocus));
    }

    // Mouse action ("1D") and button report ("1E") per tab and model, on choosing and showing;
    // leaving and the reset to tab 0 give both back. The position shown follows the pointer.
    void commandsByTab_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<int>("tab");
        QTest::addColumn<QStringList>("sent");
        QTest::newRow("tab 1") << 259 << 1 << QStringList{"1D 00", "1E 01"};
        QTest::newRow("tab 2") << 259 << 2 << QStringList{"1D 01", "1E 00"};
        QTest::newRow("tab 2, 317") << 317 << 2 << QStringList{"1D 00", "1E 00"};
    }
    void commandsByTab() {
        QFETCH(int, model);
        QFETCH(int, tab);
        QFETCH(QStringList, sent);
        gModelType = model;
        tabs()->setCurrentIndex((tab + 1) % 3);
        settle();
        tabs()->setCurrentIndex(tab);
        QCOMPARE(settle(), sent);
        QPointF at(3.5, 4.5);
        ctl_->pointerMonitor()->setPointerSource([&at] { return at; });
        ctl_->updateUIState();
        QCOMPARE(settle(), QStringList({"1A", "1B"}) + sent);
        QCOMPARE(text("mouseCoordinate_"), QStringLiteral("x=3, y=4"));
        at = {640.2, 480.7};
        QTRY_COMPARE(text("mouseCoordinate_"), QStringLiteral("x=640, y=480"));
        ctl_->unselectedView();
        ctl_->resetTabView();
        QCOMPARE(settle(), (QStringList{"1D 00", "1E 00", "1D 00", "1E 00"}));
        QVERIFY(!ctl_->pointerMonitor()->running());
    }

    // One start's runs, step by step: "start", "stop", "leave", "late" (the daemon holds its
    // answer to 28 until "answer"), and reports as the area numbers of their records ("1 1 2").
    void selfTestRuns_data() {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<int>("runs");
        QTest::addColumn<QStringList>("led");
        const QStringList whole{"Top|OK", "Left|OK", "Right|OK"}, half{"Top|OK", "Left|OK"};
        QTest::newRow("incomplete: the next run at once")
            << QStringList{"start", "1 1 2", "1 2 3"} << 2 << whole;
        QTest::newRow("a run in two reports: each judged as it comes")
            << QStringList{"start", "1 2", "3"} << 3 << QStringList{};
        QTest::newRow("ten runs at most, then judged as they come")
            << QStringList{"start"} + QStringList(10, "") + QStringList{"1 2 3"} << 10 << whole;
        QTest::newRow("results before the hardware type")
            << QStringList{"late", "start", "1 2 3", "answer"} << 1 << whole;
        QTest::newRow("stop before the hardware type")
            << QStringList{"late", "start", "1 2", "stop", "answer"} << 1 << half;
        QTest::newRow("left: the picture stays")
            << QStringList{"start", "1 2 3", "leave", "1"} << 1 << QStringList{};
    }
    void selfTestRuns() {
        QFETCH(QStringList, steps);
        ctl_->updateUIState();
        settle();
        QString pictureWhenLeft;
        for (const QString &step : steps) {
            if (step == "late") {
                daemon_->late = true;
            } else if (step == "start") {
                press(find<QPushButton>("testSelfButton"));
                QTRY_VERIFY(daemon_->received.contains("1C") &&
                            ctl_->selfTest()->getHardwareType() == (daemon_->late ? 0 : 317));
            } else if (step == "answer") {
                for (const PortResponder &respond : std::exchange(daemon_->held, {})) {
                    respond(QByteArray::fromHex("3d010000"));
                }
                QTRY_COMPARE(ctl_->selfTest()->getHardwareType(), 317);
            } else if (step == "stop") {
                press(find<QPushButton>("restartTestButton"));
                QTRY_VERIFY(daemon_->received.contains("20"));
            } else if (step == "leave") {
                ctl_->unselectedView();
                pictureWhenLeft = ctl_->selfTest()->picture()->describe();
            } else {
                QTRY_VERIFY(daemon_->late || !ctl_->selfTest()->awaitingHardwareType());
                sendReport(records(step));
            }
        }
        QTRY_VERIFY(daemon_->late || !ctl_->selfTest()->awaitingHardwareType());
        QTEST(int(settle().count("1C")), "runs");  // and nothing more goes out later
        QTEST(rows("LEDTable_"), "led");
        QCOMPARE(steps.contains("leave") ? ctl_->selfTest()->picture()->describe() : QString(),
                 pictureWhenLeft);
    }

    // Choices "how row answer": toggled by a screen reader, clicked or keyed; "-": no alert.
    void rotation_data() {
        QTest::addColumn<int>("saved");
        QTest::addColumn<QStringList>("choices");
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<int>("checkedAfter");
        QTest::newRow("saved row") << 1 << QStringList{"click 1 -"} << QStringList{} << 1;
        QTest::newRow("again after a yes never recorded, past an unanswered alert")
            << 1 << QStringList{"toggle 2 YES", "click 3 Escape", "click 2 YES"}
            << QStringList{"15 02 00", "15 02 00"} << 2;
        QTest::newRow("keyboard") << 1 << QStringList{"key 3 YES"} << QStringList{"15 03 00"} << 3;
        QTest::newRow("no, saved mode without a row")
            << 7 << QStringList{"click 2 NO"} << QStringList{} << -1;
    }
    void rotation() {
        QFETCH(int, saved);
        QFETCH(QStringList, choices);
        QFETCH(int, checkedAfter);
        writeSettings(317, {{"RotateMode", saved}});
        ctl_->updateUIState();
        settle();
        QCOMPARE(QStringList({text("rotateAngle_"), text("inputMode_"),
                              find<QComboBox>("IPAddr_")->currentText()}),
                 QStringList({QString::number(saved * 90), "Standard", "192.0.2.7"}));
        int alerts = 0, expectedAlerts = 0;
        QString answer;
        QTimer answering;
        connect(&answering, &QTimer::timeout, this, [&] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                ++alerts;
                answer == "Escape" ? QTest::keyClick(box, Qt::Key_Escape) : void();
                for (QAbstractButton *b : box->buttons()) {
                    b->text() == qtTrId(qPrintable("Alert.Button." + answer)) ? b->click() : void();
                }
            }
        });
        answering.start(5);
        for (const QString &choice : choices) {
            const QStringList words = choice.split(' ');
            answer = words[2];
            expectedAlerts += answer != "-";
            auto *radio = find<QRadioButton>("rotateMode_" + words[1]);
            if (words[0] == "toggle") {
                press(radio, QAccessibleActionInterface::toggleAction());
            } else if (words[0] == "click") {
                QTest::mouseClick(radio, Qt::LeftButton);
            } else {
                radio->setFocus();
                QTest::keyClick(radio, Qt::Key_Space);
            }
            QTRY_COMPARE(alerts, expectedAlerts);
        }
        QTEST(settle(), "sent");
        QTRY_COMPARE(ctl_->findChild<QButtonGroup *>()->checkedId(), checkedAfter);
    }

    // The pointer in screen pixels (1920 x 1080 at ratio 1, right of it 2560 x 1440 at ratio 2);
    // interfaces without an IPv4 address are skipped; the menu drops loopback unless alone.
    void whatTheMachineReports() {
        const QList<ScreenPlace> screens{{QRect(0, 0, 1920, 1080), 1.0},
                                         {QRect(1920, 0, 1280, 720), 2.0}};
        QCOMPARE(PointerMonitor::screenPixelPosition({2000, 100}, screens), QPointF(2080, 200));
        QCOMPARE(PointerMonitor::screenPixelPosition({3199, 719}, screens), QPointF(4478, 1438));
        sockaddr_in v4 = {AF_INET, 0, {htonl(0xC6336404)}, {}};
        sockaddr v6 = {AF_INET6, {}};
        ifaddrs e[3] = {{&e[1], nullptr, 0, nullptr, {}, {}, {}},
                        {&e[2], nullptr, 0, &v6, {}, {}, {}},
                        {nullptr, nullptr, 0, reinterpret_cast<sockaddr *>(&v4), {}, {}, {}}};
        QCOMPARE(ipv4AddressesOf(e) + ipv4AddressesOf(nullptr), QStringList{"198.51.100.4"});
        QVERIFY(systemIPv4Addresses().contains("127.0.0.1"));
        const QString lo = "127.0.0.1", a = "10.0.0.2";
        QCOMPARE(QList<QStringList>(
                     {addressMenuItems({}), addressMenuItems({lo}), addressMenuItems({a, lo})}),
                 QList<QStringList>({{}, {lo}, {a}}));
        QCOMPARE(prettyHostnameFromMachineInfo("CHASSIS=desk\nPRETTY_HOSTNAME=\"Lab \\\"A\\\"\"\n"),
                 QStringLiteral("Lab \"A\""));
    }

#ifdef TAVIX_PANEL_SIM
    // Against the simulator and its sample device list, through the report port.
    void endToEndWithTheSimulator() {
        daemon_.reset();
        QFile::remove(QString::fromStdString(getSupportDeviceListFilePath()));
        QProcess sim;
        sim.start(TAVIX_PANEL_SIM,
                  {"--quiet", "--model", "420", "--faulty-led", "2:40", "--faulty-led", "2:41",
                   "--faulty-led", "7:12", "--faulty-sensor", "9:*", "--incomplete-runs", "1"});
        QTRY_VERIFY(sim.canReadLine());
        QVERIFY(sim.readLine().startsWith("ready:"));
        const auto simLine = [&sim](const char *line) {
            sim.write(QByteArray(line) + '\n');
            return QTest::qWaitFor([&] { return sim.canReadLine(); }) ? sim.readLine() : "";
        };
        gModelType = 420;
        ctl_->updateUIState();
        QTRY_COMPARE(text("DIPSW1_") + text("checkSum2_"), QStringLiteral("13c5a"));
        QSignalSpy shown(ctl_->selfTest(), &HardwareSelfTest::testShown);
        press(find<QPushButton>("testSelfButton"));
        QVERIFY(shown.wait(10000));
        // The first run left "Right 2" out; the second was complete, with 108 dead sensors.
        QCOMPARE(find<QTableView>("errTable_")->model()->rowCount(), 3 + 108);
        QAccessibleInterface *said =
            QAccessible::queryAccessibleInterface(find<QWidget>("framePicture"));
        QCOMPARE(said->role(), QAccessible::Graphic);
        QVERIFY(said->text(QAccessible::Description).contains("5, 6, 7, 8 and 100 more"));
        QCOMPARE(test::snapshotMismatch(find<QWidget>("framePicture"), "hardwareinfo-sim-picture"),
                 QString());
        // Short, unknown and flooding reports change nothing and break nothing.
        for (const char *line : {"short on", "unknown on", "dip 0x7F"}) {
            QVERIFY(simLine(line).startsWith("ok:"));
        }
        QSignalSpy handled(ctl_.get(), &HardwareInformationViewCtl::reportHandled);
        ctl_->updateUIState();
        QVERIFY(simLine("flood 400").startsWith("ok:"));
        QTRY_COMPARE(handled.count(), 2 * 2 + 400);  // each answer after an unknown report
        QCOMPARE(text("DIPSW1_") + text("checkSum2_"), QStringLiteral("13c5a"));
        QVERIFY(simLine("short off").startsWith("ok:"));
        ctl_->updateUIState();
        QTRY_COMPARE(text("DIPSW1_") + text("DIPSW5_"), QStringLiteral("01"));
        sim.terminate();
        QVERIFY(sim.waitForFinished(5000));
    }
#endif
};

QTEST_MAIN(HardwareInformationViewCtlTest)
#include "hardwareinformationviewctl_test.moc"
