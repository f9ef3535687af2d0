// The Hardware information page on a private bus with a fake daemon: fields from the settings
// file and the reports, the commands each inner tab sends, the self-test with its retries and
// tables, rotation, pointer and buttons, the picture and the saved report.
#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableView>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include "hardwareinfo_env.h"
#include "hardwareinformationviewctl.h"
#include "hostaddresses.h"

using namespace tavix;
using namespace tavix::test;

namespace {

QByteArray bytes(std::initializer_list<int> list) {
    QByteArray b;
    for (int v : list) {
        b.append(static_cast<char>(v));
    }
    return b;
}

// A self-test report of (area, point, state byte) records.
QByteArray records(std::initializer_list<std::array<int, 3>> list) {
    QByteArray b(1, 1);
    for (const auto &r : list) {
        b += bytes({r[0], r[1], 0, 0, r[2], 0, 0});
    }
    return b;
}

}  // namespace

class HardwareInformationViewCtlTest : public QObject {
    Q_OBJECT

  private:
    HardwareEnv env_;
    std::unique_ptr<Daemon> daemon_;
    std::unique_ptr<QWidget> page_;
    std::unique_ptr<HardwareInformationViewCtl> ctl_;

    template <typename T>
    T *find(const char *name) {
        T *w = page_->findChild<T *>(QLatin1String(name));
        [&] { QVERIFY2(w, name); }();
        return w;
    }
    QString text(const char *name) { return find<QLabel>(name)->text(); }
    QStringList rows(const char *table) {
        QStringList out;
        auto *model = find<QTableView>(table)->model();
        for (int r = 0; r < model->rowCount(); ++r) {
            QStringList cells;
            for (int c = 0; c < model->columnCount(); ++c) {
                cells << model->index(r, c).data().toString();
            }
            out << cells.join(QLatin1Char('|'));
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
        QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(w);
        QVERIFY(iface && iface->actionInterface());
        iface->actionInterface()->doAction(action);
    }
    // Waits until everything the page sent so far has reached the daemon (sends keep their
    // order, and the page never sends this marker), then gives it back and forgets it.
    QStringList settle() {
        const QString marker = QStringLiteral("0F 07 00");
        SendDataToRemotePort(makeCommandU16(COMMAND_SET_INPUT_MODE, 7));
        [&] { QTRY_VERIFY(daemon_->received.contains(marker)); }();
        QStringList before = daemon_->received.mid(0, daemon_->received.indexOf(marker));
        daemon_->received.clear();
        return before;
    }
    void sendReport(const QByteArray &report) { ctl_->hardwareTestPortCallBack(0, report); }
    // Starts the self-test as the user does and waits for the daemon's answer to arrive.
    void startTest() {
        const int before = daemon_->count(QStringLiteral("1C"));
        press(find<QPushButton>("testSelfButton"));
        QTRY_COMPARE(daemon_->count(QStringLiteral("1C")), before + 1);
        QTRY_COMPARE(ctl_->getHardwareType(), 317);
    }

  private Q_SLOTS:
    void init() {
        writeDeviceList();
        gModelType = 317;
        daemon_ = std::make_unique<Daemon>();
        QVERIFY(daemon_->start());
        page_ = std::make_unique<QWidget>();
        ctl_ = std::make_unique<HardwareInformationViewCtl>(page_.get());
        ctl_->setAddressSource([] { return QStringList{QStringLiteral("192.0.2.7")}; });
        page_->resize(900, 600);
        page_->show();
    }
    void cleanup() {
        ctl_.reset();
        page_.reset();
        daemon_.reset();
        QFile::remove(QString::fromStdString(getSettingsFilePath(317)));
        QFile::remove(QString::fromStdString(getSettingsFilePath(259)));
    }

    void fieldsFromSettingsAndReports_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<int>("inputMode");
        QTest::addColumn<bool>("pen");
        QTest::addColumn<QString>("expectedInputMode");
        QTest::addColumn<double>("firmwareY");
        QTest::addColumn<QString>("version");
        QTest::newRow("317 pen") << 317 << 2 << true << "Pen" << 278.0 << " 1.02a";
        QTest::newRow("259 mode 3 kept") << 259 << 3 << false << "(old)" << 48.0 << "1.23";
    }
    void fieldsFromSettingsAndReports() {
        QFETCH(int, model);
        QFETCH(int, inputMode);
        QFETCH(bool, pen);
        gModelType = model;
        writeSettings(model, {{"RotateMode", 3},
                              {"DriverVersion", "9.1.2"},
                              {"FounctionButton1", true},
                              {"FounctionButton2", false},
                              {"InputMode", inputMode},
                              {"PenSoftSupport", pen}});
        find<QLabel>("inputMode_")->setText(QStringLiteral("(old)"));
        ctl_->updateUIState();
        QCOMPARE(text("modelName_"), QStringLiteral("TX-%1").arg(model));
        QCOMPARE(text("driverVersion_"), QStringLiteral("9.1.2"));
        QCOMPARE(text("rotateAngle_"), QStringLiteral("270"));
        QVERIFY(find<QRadioButton>("rotateMode_3")->isChecked());
        QCOMPARE(text("funByButton1_"), qtTrId("Hardware.FounctionButton1"));
        QCOMPARE(text("funByButton2_"), qtTrId("Hardware.Disable"));
        QTEST(text("inputMode_"), "expectedInputMode");
        QTEST(ctl_->firmwareInfoY(), "firmwareY");
        QCOMPARE(find<QWidget>("serviceModeView2")->isVisible(), model != 317);
        QCOMPARE(!find<QLabel>("funByButton2Text_")->isHidden(), pen);
        QCOMPARE(find<QComboBox>("IPAddr_")->currentText(), QStringLiteral("192.0.2.7"));

        sendReport(
            bytes({6, 0x34, 0x12, 0, model == 259 ? 0x23 : 0x01, model == 259 ? 1 : 2, 'a'}));
        QTEST(text("version_"), "version");
        QCOMPARE(text("checkSum2_"), QStringLiteral("1234"));
        QCOMPARE(text("checkSum1_"), qtTrId("selfTest.OK"));
        sendReport(bytes({6, 0, 0, 1, 1, 1, 1}));
        QCOMPARE(text("checkSum1_"), qtTrId("selfTest.NG"));
        QCOMPARE(find<QLabel>("checkSum1_")->palette().color(QPalette::WindowText),
                 QColor(Qt::red));
    }

    void dipSwitchesAndButtons() {
        const struct {
            QByteArray report;
            const char *switches;  // DIPSW1_..DIPSW8_
        } cases[] = {
            {bytes({0, 0xF7}), "10000000"}, {bytes({0}), "10000000"},  // too short: ignored
        };
        for (const auto &c : cases) {
            sendReport(c.report);
            QString shown;
            for (int n = 1; n <= 8; ++n) {
                shown += text(qPrintable(QStringLiteral("DIPSW%1_").arg(n)));
            }
            QCOMPARE(shown, QLatin1String(c.switches));
        }
        sendReport(bytes({24, 1, 0, 2}));
        QCOMPARE(text("stateByButtonL_"), qtTrId("Function.Flag"));
        QCOMPARE(text("stateByButton1_"), QStringLiteral(" "));
        QCOMPARE(text("stateByButton2_"), QStringLiteral(" "));
        sendReport(bytes({24, 0, 1}));  // too short: ignored
        QCOMPARE(text("stateByButton1_"), QStringLiteral(" "));
    }

    void addressMenu_data() {
        QTest::addColumn<QStringList>("addresses");
        QTest::addColumn<QStringList>("items");
        const QString lo = QStringLiteral("127.0.0.1");
        const QString a = QStringLiteral("10.0.0.2"), b = QStringLiteral("192.168.1.5");
        QTest::newRow("none") << QStringList{} << QStringList{};
        QTest::newRow("loopback alone") << QStringList{lo} << QStringList{lo};
        QTest::newRow("loopback dropped") << QStringList{lo, a, b} << QStringList{a, b};
    }
    void addressMenu() {
        QFETCH(QStringList, addresses);
        writeSettings(317, {{"RotateMode", 0}});
        ctl_->setAddressSource([addresses] { return addresses; });
        ctl_->updateUIState();
        auto *menu = find<QComboBox>("IPAddr_");
        QStringList items;
        for (int i = 0; i < menu->count(); ++i) {
            items << menu->itemText(i);
        }
        QTEST(items, "items");
        QCOMPARE(menu->currentIndex(), items.isEmpty() ? -1 : 0);
        // The page update went on to its end.
        QTRY_VERIFY(daemon_->received.contains(QStringLiteral("1B")));
    }

    // The queries and the mouse-action and button-report switches, by inner tab and model.
    void commandsByTab_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<int>("tab");
        QTest::addColumn<QStringList>("sent");
        QTest::newRow("tab 0") << 317 << 0 << QStringList{"1A", "1B", "1D 00", "1E 00"};
        QTest::newRow("tab 1") << 259 << 1 << QStringList{"1A", "1B", "1D 00", "1E 01"};
        QTest::newRow("tab 2") << 259 << 2 << QStringList{"1A", "1B", "1D 01", "1E 00"};
        QTest::newRow("tab 2, 317") << 317 << 2 << QStringList{"1A", "1B", "1D 00", "1E 00"};
    }
    void commandsByTab() {
        QFETCH(int, model);
        QFETCH(int, tab);
        QFETCH(QStringList, sent);
        gModelType = model;
        find<QTabWidget>("hardwareInfoTabView_")->setCurrentIndex(tab);
        settle();
        ctl_->updateUIState();
        QTRY_COMPARE(daemon_->received, sent);
        QVERIFY(ctl_->hasReportPort());
        daemon_->received.clear();
        ctl_->unselectedView();
        QTRY_COMPARE(daemon_->received, (QStringList{"1D 00", "1E 00"}));
        QVERIFY(!ctl_->pointerRunning());
    }

    void selfTestRetriesAndJudges() {
        ctl_->updateUIState();
        // Runs 1,1,2 miss area 3: retried once no further report comes.
        startTest();
        sendReport(records({{1, 1, 0}, {1, 2, 0}, {2, 1, 0}}));
        QTRY_COMPARE(daemon_->count(QStringLiteral("1C")), 2);
        QCOMPARE(ctl_->testTimesCount(), 2);
        // Runs 1,2,1 count three: judged although area 3 is missing.
        sendReport(records({{1, 1, 0x10},
                            {1, 2, 0x10},
                            {1, 3, 0x10},
                            {1, 4, 0x10},
                            {2, 1, 0x01},
                            {2, 2, 0},
                            {2, 9, 0x11},
                            {0, 1, 0x11},
                            {200, 1, 0x11}}));
        QCOMPARE(rows("LEDTable_"),
                 (QStringList{"Top|" + qtTrId("selfTest.ALL"), "Left|" + qtTrId("selfTest.OK")}));
        QCOMPARE(rows("sensorTable_"),
                 (QStringList{"Top|" + qtTrId("selfTest.OK"), "Left|" + qtTrId("selfTest.Check")}));
        const QString e = qtTrId("selfTest.E01"), ok = qtTrId("selfTest.OK");
        QCOMPARE(rows("errTable_").size(), 5);
        QCOMPARE(rows("errTable_").at(4), QStringList({"Left", "1", ok, "Left", "1", e}).join('|'));
        QTest::qWait(HardwareInformationViewCtl::kRetrySettleMs * 2);
        QCOMPARE(daemon_->count(QStringLiteral("1C")), 2);  // no further retry

        // A short report (6 bytes) adds nothing but is judged; 15 bytes carry two records.
        sendReport(QByteArray(6, 1));
        QCOMPARE(ctl_->LEDSensorArray()->size(), 9u);
        sendReport(records({{3, 1, 0}, {3, 2, 0}}).left(15));
        QCOMPARE(ctl_->LEDSensorArray()->size(), 11u);
    }

    // Ten runs without a record: shown as they are, one row for area 1; later reports are
    // judged as they come, and none reach a page that was left.
    void tenRunsThenShownAsTheyAre() {
        ctl_->updateUIState();
        startTest();
        for (int run = 1; run <= HardwareInformationViewCtl::kMaxTestTimes; ++run) {
            sendReport(QByteArray(1, 1));
            QTRY_COMPARE(daemon_->count(QStringLiteral("1C")), std::min(run + 1, 10));
        }
        QTRY_COMPARE(rows("LEDTable_"), QStringList{"Top|" + qtTrId("selfTest.OK")});
        sendReport(records({{1, 1, 0x01}}));
        QCOMPARE(rows("sensorTable_"), QStringList{"Top|" + qtTrId("selfTest.ALL")});
        QTest::qWait(HardwareInformationViewCtl::kRetrySettleMs * 2);
        QCOMPARE(daemon_->count(QStringLiteral("1C")), HardwareInformationViewCtl::kMaxTestTimes);
        ctl_->unselectedView();
        sendReport(records({{1, 1, 0x11}}));
        QCOMPARE(rows("LEDTable_"), QStringList{});
        QCOMPARE(ctl_->LEDSensorArray(), nullptr);
        // Stop sends 32; a new start counts from one again.
        press(find<QPushButton>("restartTestButton"));
        QTRY_VERIFY(daemon_->received.contains(QStringLiteral("20")));
        ctl_->updateUIState();
        startTest();
        QCOMPARE(ctl_->testTimesCount(), 1);
        QCOMPARE(ctl_->endArea(), 3);
        QCOMPARE(ctl_->endPoint(), 4);
    }

    void rotation_data() {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<int>("row");
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<int>("checkedAfter");
        QTest::newRow("yes") << "Alert.Button.YES" << 2 << QStringList{"15 02 00"} << 2;
        QTest::newRow("no") << "Alert.Button.NO" << 2 << QStringList{} << 1;
        QTest::newRow("same row") << "" << 1 << QStringList{} << 1;
    }
    void rotation() {
        QFETCH(QString, answer);
        QFETCH(int, row);
        writeSettings(317, {{"RotateMode", 1}});
        ctl_->updateUIState();
        settle();
        bool shown = false;
        if (!answer.isEmpty()) {
            answerAlert(qtTrId(qPrintable(answer)), &shown);
        }
        // Through the accessibility interface, as a screen reader would choose the row.
        press(find<QRadioButton>(qPrintable(QStringLiteral("rotateMode_%1").arg(row))),
              QAccessibleActionInterface::toggleAction());
        QCOMPARE(shown, !answer.isEmpty());
        QTEST(settle(), "sent");
        QFETCH(int, checkedAfter);
        QTRY_VERIFY(
            find<QRadioButton>(qPrintable(QStringLiteral("rotateMode_%1").arg(checkedAfter)))
                ->isChecked());
        QCOMPARE(text("rotateAngle_"), QStringLiteral("90"));
    }

    void pointer() {
        QCOMPARE(HardwareInformationViewCtl::pointerText({100.9, -0.5}),
                 QStringLiteral("x=100, y=0"));
        QPointF at(3.5, 4.5);
        ctl_->setPointerSource([&at] { return at; });
        ctl_->updateUIState();
        ctl_->updateUIState();  // still one updater
        QCOMPARE(text("mouseCoordinate_"), QStringLiteral("x=3, y=4"));
        at = {640.2, 480.7};
        QTRY_COMPARE(text("mouseCoordinate_"), QStringLiteral("x=640, y=480"));
        ctl_->unselectedView();
        at = {1, 1};
        QTest::qWait(HardwareInformationViewCtl::kPointerIntervalMs * 3);
        QCOMPARE(text("mouseCoordinate_"), QStringLiteral("x=640, y=480"));
    }

    void savedReport() {
        writeSettings(317, {{"RotateMode", 2}, {"InputMode", 1}, {"DriverVersion", "1.0"}});
        ctl_->updateUIState();
        sendReport(bytes({0, 0xF7}));
        sendReport(bytes({6, 0x34, 0x12, 1, 0x01, 0x02, 'a'}));
        startTest();
        sendReport(records({{1, 1, 0}, {2, 3, 0x10}, {3, 1, 0}}));
        const QString base = env_.path(QStringLiteral("report"));
        QVERIFY(ctl_->saveReport(base));
        QFile json(base + QStringLiteral(".json"));
        QVERIFY(json.open(QIODevice::ReadOnly));
        QJsonParseError error;
        const QJsonObject o = QJsonDocument::fromJson(json.readAll(), &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        const QJsonObject failed = o["selfTest"]["failedPoints"][0].toObject();
        const std::pair<QJsonValue, QJsonValue> fields[] = {
            {o["modelName"], "TX-317"},
            {o["checksum"], "1234"},
            {o["checksumGood"], false},
            {o["dipSwitches"][0], 1},
            {o["rotationDegrees"], 180},
            {o["inputModeName"], "HandWrite"},
            {o["selfTest"]["failedPoints"].toArray().size(), 1},
            {failed["label"], "Left"},
            {failed["led"], true},
        };
        for (const auto &[actual, expected] : fields) {
            QCOMPARE(actual, expected);
        }
        QFile html(base + QStringLiteral(".html"));
        QVERIFY(html.open(QIODevice::ReadOnly));
        QVERIFY(html.readAll().contains("data:image/png;base64,iVBOR"));
        QVERIFY(!ctl_->saveReport(env_.path(QStringLiteral("missing/dir/report"))));
    }

    // Entries without an address or of another family are skipped; loopback is kept here.
    void addressesFromTheInterfaceList() {
        sockaddr_in v4[2] = {};
        const char *dotted[] = {"127.0.0.1", "198.51.100.4"};
        for (int i = 0; i < 2; ++i) {
            v4[i].sin_family = AF_INET;
            QCOMPARE(inet_pton(AF_INET, dotted[i], &v4[i].sin_addr), 1);
        }
        sockaddr_in6 v6 = {};
        v6.sin6_family = AF_INET6;
        ifaddrs e[4] = {};
        e[0].ifa_addr = reinterpret_cast<sockaddr *>(&v4[0]);
        e[1].ifa_addr = nullptr;  // e.g. a tunnel without an address
        e[2].ifa_addr = reinterpret_cast<sockaddr *>(&v6);
        e[3].ifa_addr = reinterpret_cast<sockaddr *>(&v4[1]);
        for (int i = 0; i < 3; ++i) {
            e[i].ifa_next = &e[i + 1];
        }
        QCOMPARE(ipv4AddressesOf(e), (QStringList{"127.0.0.1", "198.51.100.4"}));
        QCOMPARE(ipv4AddressesOf(nullptr), QStringList{});
        QCOMPARE(prettyHostnameFromMachineInfo("CHASSIS=desk\nPRETTY_HOSTNAME=\"Lab \\\"A\\\"\"\n"),
                 QStringLiteral("Lab \"A\""));
        QCOMPARE(prettyHostnameFromMachineInfo("HOSTNAME=x\n"), QString());
    }
};

QTEST_MAIN(HardwareInformationViewCtlTest)
#include "hardwareinformationviewctl_test.moc"
