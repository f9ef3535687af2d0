// The state monitor, with a pass every 20 ms here instead of every second.
#include <QDialog>
#include <QSignalSpy>
#include <QtTest>

#include "pane_test_support.h"

Q_DECLARE_METATYPE(std::optional<tavix::PlistValue>)

using namespace tavix;
using namespace tavix::test;

class MonitorTest : public QObject, PaneFixture {
    Q_OBJECT

  private slots:
    void init() { resetFixture(); }
    void cleanup() { pane_.reset(); }

    // Each pass takes the model and the verbose flag from the file, never writing it; an
    // unreadable file reads as no panel. Only the life-cycle calls and the port take the driver.
    void passesFollowTheFile_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("model");
        QTest::addColumn<bool>("verbose");
        QTest::newRow("new model, verbose, driver off")
            << QByteArray::fromStdString(serializePlist(utilities(259, false, 0, true))) << 259
            << true;
        QTest::newRow("unreadable") << QByteArray("not a property list") << 0 << false;
    }
    void passesFollowTheFile() {
        QFETCH(QByteArray, file);
        QFETCH(int, model);
        QFETCH(bool, verbose);
        writeUtilities(utilities(317, true, 0));
        startPane(false, 20ms);
        QFile out(utilitiesPath());
        QVERIFY(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
        out.write(file);
        out.close();
        QVERIFY(waitForPasses(2));
        QCOMPARE(gModelType.load(), model);
        QCOMPARE(verboseLog.load(), verbose);
        QVERIFY(gDriverEnable.load());
        QCOMPARE(utilitiesBytes(), file);
    }

    // Only a true flag is a request: written back as false, the rest of the file kept, and the
    // Calibration page refreshed once. Anything else leaves the file as it was.
    void calibrationRefreshRequest_data() {
        QTest::addColumn<std::optional<PlistValue>>("value");
        QTest::addColumn<bool>("refresh");
        QTest::newRow("true") << std::optional<PlistValue>(true) << true;
        QTest::newRow("false") << std::optional<PlistValue>(false) << false;
        QTest::newRow("2") << std::optional<PlistValue>(2) << false;
        QTest::newRow("string YES") << std::optional<PlistValue>("YES") << false;
        QTest::newRow("absent") << std::optional<PlistValue>() << false;
    }
    void calibrationRefreshRequest() {
        QFETCH(std::optional<PlistValue>, value);
        QFETCH(bool, refresh);
        SettingsDict d = utilities(317, true, 0);
        if (value) {
            d.set("RefreshCalibrationType", *value);
        }
        d.set("DriverSideKey", "kept");
        writeUtilities(d);
        const QByteArray before = utilitiesBytes();
        startPane(false, 20ms);

        QVERIFY(waitForPasses(3));
        QCOMPARE(log_.count(QStringLiteral("cal.updateUIState")), refresh ? 1 : 0);
        if (!refresh) {
            QCOMPARE(utilitiesBytes(), before);
            return;
        }
        const auto after = readUtilities();
        const PlistValue *flag = after->find("RefreshCalibrationType");
        QVERIFY(flag != nullptr && flag->isBool() && !flag->toBool());
        QCOMPARE(after->stringValue("DriverSideKey"), std::string("kept"));
        QCOMPARE(after->intValue("currentDeviceType"), 317);
        QCOMPARE(after->size(), d.size());
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
        startPane(true, 20ms);
        QDialog dialog(view());
        dialog.setWindowModality(Qt::ApplicationModal);
        dialog.show();
        QCOMPARE(QApplication::activeModalWidget(), &dialog);
        QVERIFY(waitForPasses(2));
        QVERIFY(dialog.isVisible());
        log_.clear();

        writeUtilities(utilities(model, driver, page));
        QVERIFY(waitForPasses(3));
        QCOMPARE(dialog.isVisible(), !ended);
        if (ended) {
            QCOMPARE(dialog.result(), int(QDialog::Rejected));
        }
        // Nothing else: the monitor never puts the alert up itself.
        QCOMPARE(log_, ended ? QStringList{"cal.hideModelWindow"} : QStringList{});
    }

    // A replaced state file wakes the monitor at once: with an hour between periodic passes,
    // only the folder watch can bring these passes.
    void replacedFileWakesTheMonitor() {
        writeUtilities(utilities(317, true, 0));
        startPane(false, std::chrono::hours(1));
        QVERIFY(waitForPasses(1));
        for (const int model : {259, 317, 0}) {
            QSignalSpy spy(pane_.get(), &TavixTouchPanelPref::statePolled);
            writeUtilities(utilities(model, true, 0));
            QVERIFY(QTest::qWaitFor([&] { return !spy.isEmpty() && gModelType.load() == model; },
                                    5000));
        }
    }

  private:
    bool waitForPasses(int count) {
        QSignalSpy spy(pane_.get(), &TavixTouchPanelPref::statePolled);
        return QTest::qWaitFor([&] { return spy.count() >= count; }, 5000);
    }
};

QTEST_MAIN(MonitorTest)
#include "monitor_test.moc"
