// The page against tavix-panel-sim on the test's private bus and temporary HOME: the sample
// device list, the switches and firmware as the simulator reports them, a self-test whose first
// run leaves an area out on a frame with faulty LEDs and a dead sensor strip, button reports on
// the rotation tab, and reports cut short, of unknown types and in a flood. On the way it saves
// each inner tab and the frame picture as hardwareinfo-<tab>-<lang>-<scale>.png into
// TAVIX_SCREENSHOT_DIR (a temporary folder otherwise); run with QT_SCALE_FACTOR=2 and
// LANG=de_DE.UTF-8 for the other pictures in docs/screenshots.
#include <QAccessible>
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
    QTemporaryDir pictures_;

    QString simLine(const QString &line) {
        sim_.write((line + QLatin1Char('\n')).toUtf8());
        [&] { QTRY_VERIFY(sim_.canReadLine()); }();
        return QString::fromUtf8(sim_.readLine()).trimmed();
    }
    // Saves the widget's picture; it must not be blank.
    void save(QWidget *widget, const char *name) {
        QTest::qWait(50);  // pending layout requests first
        const QImage image = widget->grab().toImage();
        QVERIFY(image.size() == widget->size() * widget->devicePixelRatioF());
        QVERIFY(image.convertToFormat(QImage::Format_Indexed8).colorCount() > 4);
        const QString dir = qEnvironmentVariable("TAVIX_SCREENSHOT_DIR", pictures_.path());
        const QString lang = QLocale().language() == QLocale::German ? "de" : "en";
        QVERIFY(image.save(QStringLiteral("%1/hardwareinfo-%2-%3-%4.png")
                               .arg(dir, QLatin1String(name), lang)
                               .arg(qRound(widget->devicePixelRatioF() * 100))));
    }

  private Q_SLOTS:
    void initTestCase() {
        sim_.start(QStringLiteral(TAVIX_PANEL_SIM),
                   {"--quiet", "--model", "420", "--faulty-led", "2:40", "--faulty-led", "2:41",
                    "--faulty-led", "7:12", "--faulty-sensor", "9:*", "--incomplete-runs", "1"});
        QVERIFY(sim_.waitForStarted(5000));
        QTRY_VERIFY(sim_.canReadLine());
        QVERIFY(sim_.readLine().startsWith("ready:"));
        gModelType = 420;
    }
    void cleanupTestCase() {
        sim_.terminate();
        sim_.waitForFinished(5000);
    }

    void selfTestOfAFaultyFrame() {
        QWidget page;
        HardwareInformationViewCtl ctl(&page);
        ctl.setAddressSource([] { return QStringList{"127.0.0.1", "192.0.2.15"}; });
        ctl.setPointerSource([] { return QPointF(1283.6, 742.2); });
        page.resize(900, 560);
        page.show();
        ctl.updateUIState();
        QLabel *dip1 = page.findChild<QLabel *>(QStringLiteral("DIPSW1_"));
        QTRY_COMPARE(dip1->text(), QStringLiteral("1"));
        QTRY_COMPARE(page.findChild<QLabel *>(QStringLiteral("checkSum2_"))->text(),
                     QStringLiteral("3c5a"));
        auto *tabs = page.findChild<QTabWidget *>(QStringLiteral("hardwareInfoTabView_"));
        save(&page, "information");

        QSignalSpy shown(&ctl, &HardwareInformationViewCtl::testShown);
        ctl.testSelf(true);
        QVERIFY(shown.wait(10000));
        // The first run left "Right 2" out; the second was complete.
        QCOMPARE(ctl.testTimesCount(), 2);
        auto *errors = page.findChild<QTableView *>(QStringLiteral("errTable_"))->model();
        QTRY_COMPARE(errors->rowCount(), 3 + 108);  // each report of the run judges again
        QCOMPARE(errors->index(0, 1).data().toString(), QStringLiteral("40"));
        auto *led = page.findChild<QTableView *>(QStringLiteral("LEDTable_"))->model();
        auto *sensor = page.findChild<QTableView *>(QStringLiteral("sensorTable_"))->model();
        QStringList faulty;
        for (int r = 0; r < led->rowCount(); ++r) {
            for (auto *model : {led, sensor}) {
                if (model->index(r, 1).data() != qtTrId("selfTest.OK")) {
                    faulty << model->index(r, 0).data().toString() + QLatin1Char(':') +
                                  model->index(r, 1).data().toString();
                }
            }
        }
        QCOMPARE(led->rowCount(), 10);
        QCOMPARE(faulty, (QStringList{"Top 2:" + qtTrId("selfTest.Check"),
                                      "Left 1:" + qtTrId("selfTest.Check"),
                                      "Right 1:" + qtTrId("selfTest.ALL")}));
        auto *picture = page.findChild<FramePicture *>(QStringLiteral("framePicture"));
        QAccessibleInterface *said = QAccessible::queryAccessibleInterface(picture);
        QCOMPARE(said->role(), QAccessible::Graphic);
        QVERIFY2(said->text(QAccessible::Description).contains(QStringLiteral("40, 41")),
                 qPrintable(said->text(QAccessible::Description)));

        // Button reports while the rotation tab is shown.
        tabs->setCurrentIndex(1);
        QLabel *buttonL = page.findChild<QLabel *>(QStringLiteral("stateByButtonL_"));
        QTRY_COMPARE(buttonL->text(), qtTrId("Function.Flag"));
        save(&page, "rotation");
        QTRY_COMPARE(buttonL->text(), QStringLiteral(" "));
        tabs->setCurrentIndex(2);
        save(&page, "selftest");
        picture->resize(picture->sizeHint() * 1.4);
        save(picture, "picture");

        // Short, unknown and flooding reports change nothing and break nothing.
        for (const char *line : {"short on", "unknown on", "dip 0x7F"}) {
            QVERIFY(simLine(QLatin1String(line)).startsWith(QStringLiteral("ok:")));
        }
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
