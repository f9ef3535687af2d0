// The page against tavix-panel-sim on the test's private bus and temporary HOME: the sample
// device list, the switches and firmware as the simulator reports them, a self-test whose first
// run leaves an area out and whose frame has a faulty LED and a dead sensor strip, button
// reports on the rotation tab, and reports cut short, of unknown types and in a flood.
#include <QLabel>
#include <QProcess>
#include <QTabWidget>
#include <QTableView>

#include "framepicture.h"
#include "hardwareinfo_env.h"
#include "hardwareinformationviewctl.h"

using namespace tavix;
using namespace tavix::test;

class HardwareEndToEndTest : public QObject {
    Q_OBJECT

  private:
    HardwareEnv env_;
    QProcess sim_;

    QString simLine(const QString &line) {
        sim_.write((line + QLatin1Char('\n')).toUtf8());
        [&] { QTRY_VERIFY(sim_.canReadLine()); }();
        return QString::fromUtf8(sim_.readLine()).trimmed();
    }

  private Q_SLOTS:
    void initTestCase() {
        sim_.setProcessChannelMode(QProcess::SeparateChannels);
        sim_.start(QStringLiteral(TAVIX_PANEL_SIM),
                   {QStringLiteral("--quiet"), QStringLiteral("--model"), QStringLiteral("317"),
                    QStringLiteral("--faulty-led"), QStringLiteral("2:3"),
                    QStringLiteral("--faulty-sensor"), QStringLiteral("6:*"),
                    QStringLiteral("--incomplete-runs"), QStringLiteral("1")});
        QVERIFY(sim_.waitForStarted(5000));
        QTRY_VERIFY(sim_.canReadLine());
        QVERIFY(sim_.readLine().startsWith("ready:"));
        gModelType = 317;
    }
    void cleanupTestCase() {
        sim_.terminate();
        sim_.waitForFinished(5000);
    }

    void selfTestOfAFaultyFrame() {
        QWidget page;
        HardwareInformationViewCtl ctl(&page);
        page.show();
        ctl.updateUIState();
        QLabel *dip1 = page.findChild<QLabel *>(QStringLiteral("DIPSW1_"));
        QTRY_COMPARE(dip1->text(), QStringLiteral("1"));
        QCOMPARE(page.findChild<QLabel *>(QStringLiteral("DIPSW4_"))->text(), QStringLiteral("1"));
        QTRY_COMPARE(page.findChild<QLabel *>(QStringLiteral("checkSum2_"))->text(),
                     QStringLiteral("3c5a"));
        QCOMPARE(page.findChild<QLabel *>(QStringLiteral("modelName_"))->text(),
                 QStringLiteral("Tavix TX-317"));

        QSignalSpy shown(&ctl, &HardwareInformationViewCtl::testShown);
        ctl.testSelf(true);
        QVERIFY(shown.wait(10000));
        // The first run left "Right" out; the second was complete.
        QCOMPARE(ctl.testTimesCount(), 2);
        auto *led = page.findChild<QTableView *>(QStringLiteral("LEDTable_"))->model();
        auto *sensor = page.findChild<QTableView *>(QStringLiteral("sensorTable_"))->model();
        auto *errors = page.findChild<QTableView *>(QStringLiteral("errTable_"))->model();
        QTRY_COMPARE(errors->rowCount(), 1 + 135);  // each report of the run judges again
        QStringList verdicts;
        for (int r = 0; r < led->rowCount(); ++r) {
            verdicts << led->index(r, 0).data().toString() + QLatin1Char(':') +
                            led->index(r, 1).data().toString() + QLatin1Char('/') +
                            sensor->index(r, 1).data().toString();
        }
        const QString ok = qtTrId("selfTest.OK");
        QCOMPARE(
            verdicts,
            (QStringList{"Top 1:" + ok + "/" + ok, "Top 2:" + qtTrId("selfTest.Check") + "/" + ok,
                         "Bottom 1:" + ok + "/" + ok, "Bottom 2:" + ok + "/" + ok,
                         "Left:" + ok + "/" + ok, "Right:" + ok + "/" + qtTrId("selfTest.ALL")}));
        QCOMPARE(errors->index(0, 1).data().toString(), QStringLiteral("3"));
        const QString said =
            page.findChild<FramePicture *>(QStringLiteral("framePicture"))->accessibleDescription();
        QVERIFY2(said.contains(QStringLiteral("(")) && said.contains(QStringLiteral("Right")),
                 qPrintable(said));

        // Button reports while the rotation tab is shown, none after it is left.
        page.findChild<QTabWidget *>(QStringLiteral("hardwareInfoTabView_"))->setCurrentIndex(1);
        QLabel *buttonL = page.findChild<QLabel *>(QStringLiteral("stateByButtonL_"));
        QTRY_COMPARE(buttonL->text(), qtTrId("Function.Flag"));
        QTRY_COMPARE(buttonL->text(), QStringLiteral(" "));

        // Short, unknown and flooding reports change nothing and break nothing.
        QVERIFY(simLine(QStringLiteral("short on")).startsWith(QStringLiteral("ok:")));
        QVERIFY(simLine(QStringLiteral("unknown on")).startsWith(QStringLiteral("ok:")));
        QVERIFY(simLine(QStringLiteral("dip 0x7F")).startsWith(QStringLiteral("ok:")));
        ctl.updateUIState();
        QVERIFY(simLine(QStringLiteral("flood 400")).startsWith(QStringLiteral("ok:")));
        QTest::qWait(300);
        QCOMPARE(dip1->text(), QStringLiteral("1"));
        QVERIFY(simLine(QStringLiteral("short off")).startsWith(QStringLiteral("ok:")));
        ctl.updateUIState();
        QTRY_COMPARE(page.findChild<QLabel *>(QStringLiteral("DIPSW5_"))->text(),
                     QStringLiteral("1"));
        QCOMPARE(dip1->text(), QStringLiteral("0"));
        ctl.unselectedView();
    }
};

QTEST_MAIN(HardwareEndToEndTest)
#include "endtoend_test.moc"
