// The state monitor: a pass every 20 ms here instead of every second.
#include <QDialog>
#include <QSignalSpy>
#include <QtTest>

#include "globals.h"
#include "pane_test_support.h"

Q_DECLARE_METATYPE(tavix::PlistValue)

using namespace tavix;
using namespace tavix::test;

class MonitorTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        env_.reset();
        log_.clear();
        resetPaneGlobals();
    }
    void cleanup() { pane_.reset(); }

    void keepsModelAndVerboseCurrentButNotDriver() {
        writeUtilities(utilities(317, true, 0));
        startPane();
        QVERIFY(gDriverEnable.load());

        writeUtilities(utilities(259, false, 0, true));
        QVERIFY(waitForPasses(2));
        QCOMPARE(gModelType.load(), 259);
        QVERIFY(verboseLog.load());
        // Only the life-cycle calls and the command port take the driver state.
        QVERIFY(gDriverEnable.load());
    }

    void calibrationRefreshRequest_data() {
        QTest::addColumn<PlistValue>("value");
        QTest::addColumn<bool>("refresh");
        QTest::newRow("true") << PlistValue(true) << true;
        QTest::newRow("false") << PlistValue(false) << false;
        QTest::newRow("2") << PlistValue(2) << false;
        QTest::newRow("0.5") << PlistValue(0.5) << false;
        QTest::newRow("string YES") << PlistValue("YES") << false;
    }
    void calibrationRefreshRequest() {
        QFETCH(PlistValue, value);
        QFETCH(bool, refresh);
        SettingsDict d = utilities(317, true, 0);
        d.set("RefreshCalibrationType", value);
        d.set("DriverSideKey", "kept");
        writeUtilities(d);
        const QByteArray before = utilitiesBytes();
        startPane();

        if (refresh) {
            QTRY_VERIFY(readUtilities()->contains("RefreshCalibrationType") &&
                        !readUtilities()->boolValue("RefreshCalibrationType"));
        }
        QVERIFY(waitForPasses(3));
        QCOMPARE(log_.count(QStringLiteral("cal.updateUIState")), refresh ? 1 : 0);
        if (refresh) {
            const auto after = readUtilities();
            const PlistValue *flag = after->find("RefreshCalibrationType");
            QVERIFY(flag != nullptr && flag->isBool());
            QCOMPARE(after->stringValue("DriverSideKey"), std::string("kept"));
            QCOMPARE(after->intValue("currentDeviceType"), 317);
            QCOMPARE(after->size(), d.size());
        } else {
            QCOMPARE(utilitiesBytes(), before);
        }
    }

    void refreshAbsentWritesNothing() {
        writeUtilities(utilities(317, true, 0));
        const QByteArray before = utilitiesBytes();
        startPane();
        QVERIFY(waitForPasses(3));
        QCOMPARE(utilitiesBytes(), before);
        QVERIFY(!log_.contains(QStringLiteral("cal.updateUIState")));
    }

    // A modal window stays only while there is a panel, the driver is on and the page recorded
    // in the file is the page in use.
    void modalWindowRule_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<bool>("driver");
        QTest::addColumn<int>("page");
        QTest::addColumn<bool>("ended");
        QTest::newRow("all hold") << 317 << true << 0 << false;
        QTest::newRow("page changed in the file") << 317 << true << 2 << true;
        QTest::newRow("driver off") << 317 << false << 0 << true;
        QTest::newRow("panel gone") << 0 << true << 0 << true;
    }
    void modalWindowRule() {
        QFETCH(int, model);
        QFETCH(bool, driver);
        QFETCH(int, page);
        QFETCH(bool, ended);
        writeUtilities(utilities(317, true, 0));
        startPane();
        pane_->willSelect();
        QCOMPARE(_currentItemIndex.load(), 0);

        QDialog dialog(pane_->loadMainView());
        dialog.setWindowModality(Qt::ApplicationModal);
        dialog.show();
        QCOMPARE(QApplication::activeModalWidget(), &dialog);
        QVERIFY(waitForPasses(2));
        QVERIFY(dialog.isVisible());
        log_.clear();

        writeUtilities(utilities(model, driver, page));
        if (ended) {
            QTRY_VERIFY(!dialog.isVisible());
            QCOMPARE(dialog.result(), int(QDialog::Rejected));
        }
        QVERIFY(waitForPasses(3));
        QCOMPARE(dialog.isVisible(), !ended);
        QCOMPARE(log_.count(QStringLiteral("cal.hideModelWindow")), ended ? 1 : 0);
        // The monitor never puts the alert up itself.
        QVERIFY(!log_.contains(QStringLiteral("cal.unselectedView")));
    }

    void blockingModalLoopIsEnded() {
        writeUtilities(utilities(317, true, 0));
        startPane();
        pane_->willSelect();
        QDialog dialog(pane_->loadMainView());
        QTimer::singleShot(0, this, [] { writeUtilities(utilities(317, true, 1)); });
        // exec() returns only when the monitor ends the session.
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QTRY_COMPARE(log_.count(QStringLiteral("cal.hideModelWindow")), 1);
    }

    void unreadableFileReadsAsNoPanel() {
        writeUtilities(utilities(317, true, 0));
        startPane();
        QFile file(utilitiesPath());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("not a property list");
        file.close();
        QVERIFY(waitForPasses(2));
        QCOMPARE(gModelType.load(), 0);
        QCOMPARE(utilitiesBytes(), QByteArray("not a property list"));
    }

  private:
    void startPane() {
        pane_ = makeRecordingPane(&log_, std::chrono::milliseconds(20));
        pane_->loadMainView()->show();
        pane_->mainViewDidLoad();
    }
    bool waitForPasses(int count) {
        QSignalSpy spy(pane_.get(), &TavixTouchPanelPref::statePolled);
        return QTest::qWaitFor([&] { return spy.count() >= count; }, 5000);
    }

    TestEnvironment env_;
    QStringList log_;
    std::unique_ptr<TavixTouchPanelPref> pane_;
};

QTEST_MAIN(MonitorTest)
#include "monitor_test.moc"
