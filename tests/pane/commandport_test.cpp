// What reaches the pane from outside: its command port, the state monitor, the status-bar switch.
#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QDialog>
#include <QFileInfo>
#include <QSaveFile>
#include <QSignalSpy>
#include <QtTest>

#include "pane_test_support.h"

Q_DECLARE_METATYPE(std::optional<tavix::PlistValue>)

using namespace tavix;
using namespace tavix::test;

namespace {

QByteArray bytes(int code) {
    return QByteArray(1, static_cast<char>(code));
}

}  // namespace

class CommandPortTest : public QObject, PaneFixture {
    Q_OBJECT

  private slots:
    void init() { resetFixture(); }
    void cleanup() { pane_.reset(); }

    // Each code, sent while a panel is recorded (page 2 stored, so that any move shows) or
    // while none is (page 0). The port reads the model and driver state from the file before
    // it looks at the code, so some rows change the file after the pane has started. The page
    // calls and the log lines are joined by '|'.
    void messageCodes_data() {
        QTest::addColumn<int>("before");  // model in the file when the pane starts
        QTest::addColumn<int>("model");   // and when the message comes
        QTest::addColumn<bool>("driver");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QString>("calls");
        QTest::addColumn<QString>("alertKey");  // empty: the pages stay as they were
        QTest::addColumn<int>("page");          // tab index and stored page afterwards
        QTest::addColumn<QString>("log");

        const QString none, unselect = "cal.unselectedView|hw.unselectedView",
                            disable = " device  COMMAND_DRIVER_DISABLE ",
                            next = "cal.simpleCalibrationChange", hw = "hw.updateUIState",
                            driverOff = "Alert.driverDisable", gone = "Alert.disconnect";
        const auto row = [](const char *name, int before, int model, bool driver,
                            const QByteArray &message) -> QTestData & {
            return QTest::newRow(name) << before << model << driver << message;
        };
        const auto panel = [&](const char *name, const QByteArray &message) -> QTestData & {
            return row(name, 317, 317, true, message);
        };
        const auto noPanel = [&](const char *name, const QByteArray &message) -> QTestData & {
            return row(name, 0, 0, true, message);
        };
        panel("panel: 0", bytes(0))
            << "cal.updateUIState|hw.unselectedView" << none << 0 << "save OK";
        panel("panel: 1", bytes(1)) << "set.updateUIState|" + unselect << none << 1 << "save OK";
        panel("panel: 2, page in use", bytes(2)) << none << none << 2 << none;
        panel("panel: 3", bytes(3)) << unselect + "|ver.updateUIState" << none << 3 << "save OK";
        panel("panel: 4 connect", bytes(4)) << hw << none << 2 << "willSelect";
        panel("panel: 5 disconnect", bytes(5)) << none << none << 2 << none;
        panel("panel: 6 reload", bytes(6)) << hw << none << 2 << "willSelect";
        panel("panel: 7 driver disable", bytes(7)) << unselect << driverOff << 2 << disable;
        panel("panel: 8 next simple calibration", bytes(8)) << next << none << 2 << none;
        panel("panel: 9 reload", bytes(9)) << hw << none << 2 << "willSelect";
        panel("panel: 10", bytes(10)) << none << none << 2 << none;
        // No code: nothing is read past its end (a zero byte there would select page 0).
        panel("panel: empty message", {}) << none << none << 2 << none;

        noPanel("no panel: 5", bytes(5)) << unselect << gone << 0 << none;
        noPanel("no panel: 6", bytes(6)) << none << gone << 0 << "willSelect";
        noPanel("no panel: 7", bytes(7)) << unselect << gone << 0 << disable;
        noPanel("no panel: 8", bytes(8)) << next << gone << 0 << none;
        noPanel("no panel: 9", bytes(9)) << none << gone << 0 << "willSelect";
        noPanel("no panel: empty message", {}) << none << gone << 0 << none;

        row("panel came: 4 connect", 0, 317, true, bytes(4))
            << hw + "|cal.unselectedView|" + hw << none << 2 << "willSelect|save OK";
        row("panel gone: 5 disconnect", 317, 0, true, bytes(5)) << unselect << gone << 2 << none;
        row("driver went off: 7", 317, 317, false, bytes(7))
            << unselect << driverOff << 2 << disable;
    }
    void messageCodes() {
        QFETCH(int, before);
        QFETCH(int, model);
        QFETCH(bool, driver);
        QFETCH(QByteArray, message);
        QFETCH(QString, calls);
        QFETCH(QString, alertKey);
        QFETCH(int, page);
        QFETCH(QString, log);
        const int startPage = before != 0 || model != 0 ? 2 : 0;
        writeUtilities(utilities(before, true, startPage, true));
        startPane(true);
        writeUtilities(utilities(model, driver, startPage, true));
        log_.clear();

        LogCapture capture;
        QVERIFY(sendToPane(message, 0x1234));
        QCOMPARE(capture.stop().join('|'), log);
        QCOMPARE(log_.join('|'), calls);
        QCOMPARE(gModelType.load(), model);
        QCOMPARE(gDriverEnable.load(), driver);
        QCOMPARE(tabView()->isVisibleTo(view()), alertKey.isEmpty());
        QCOMPARE(alert()->isVisibleTo(view()), !alertKey.isEmpty());
        if (!alertKey.isEmpty()) {
            QCOMPARE(alert()->text(), localizedText(qPrintable(alertKey)));
        }
        QCOMPARE(tabView()->currentIndex(), page);
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), page);
        if (startPage != 0) {
            QCOMPARE(popUp()->currentIndex(), page);
        }
    }

    // Checking the box starts the installed utility; unchecking asks the running one to quit.
    void statusBarCheckBox_data() {
        QTest::addColumn<bool>("shown");   // the box's state before the click
        QTest::addColumn<bool>("reader");  // toggled by a screen reader instead
        QTest::newRow("on") << false << false;
        QTest::newRow("off") << true << false;
        QTest::newRow("on, by a screen reader") << false << true;
        QTest::newRow("off, by a screen reader") << true << true;
    }
    void statusBarCheckBox() {
        QFETCH(bool, shown);
        QFETCH(bool, reader);
        writeUtilities(utilities(317, true, 0, false, shown));
        const QString marker = env_.home() + QStringLiteral("/utility-started");
        QList<QPair<qint32, QByteArray>> received;
        std::unique_ptr<LocalMessagePort> running;
        if (shown) {
            running = LocalMessagePort::create(
                QString::fromLatin1(kStatusBarPortName),
                [&](qint32 msgid, const QByteArray &data) {
                    received.append({msgid, data});
                    return QByteArray();
                },
                peerConnection());
            QVERIFY(running != nullptr);
        } else {
            const QString program = QString::fromStdString(utilitiesAppInStatusBarFullPath());
            QVERIFY(QDir().mkpath(QFileInfo(program).path()));
            QFile script(program);
            QVERIFY(script.open(QIODevice::WriteOnly));
            script.write(QStringLiteral("#!/bin/sh\ntouch '%1'\n").arg(marker).toUtf8());
            script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        startPane(true);
        QCOMPARE(checkBox()->isChecked(), shown);

        reader ? QAccessible::queryAccessibleInterface(checkBox())
                     ->actionInterface()
                     ->doAction(QAccessibleActionInterface::toggleAction())
               : QTest::mouseClick(checkBox(), Qt::LeftButton);
        QCOMPARE(checkBox()->isChecked(), !shown);
        QCOMPARE(pane_->statusBarIsShow(), !shown);
        QCOMPARE(readUtilities()->boolValue("isShowStatuMenu"), !shown);
        // The pane still answers, and what it sent the utility before has arrived by then.
        QVERIFY(sendToPane(bytes(10)));
        if (shown) {
            QCOMPARE(received, (QList<QPair<qint32, QByteArray>>{{0x53425154, "SBQT"}}));
        } else {
            QTRY_VERIFY(QFile::exists(marker));
        }
    }

    // Each pass, woken at once by a replaced file (an hour between periodic passes here), takes
    // the model and the verbose flag from it, never writing it; an unreadable file reads as no
    // panel. Only the life-cycle calls and the port take the driver.
    void monitorFollowsTheFile() {
        writeUtilities(utilities(317, true, 0));
        startPane(false, std::chrono::hours(1));
        QVERIFY(waitForPasses(1));
        const auto plist = [](const SettingsDict &d) {
            return QByteArray::fromStdString(serializePlist(d));
        };
        const std::tuple<QByteArray, int, bool> files[] = {
            {plist(utilities(259, false, 0, true)), 259, true},
            {"not a property list", 0, false},
            {plist(utilities(317, true, 0)), 317, false},
            {plist(utilities(0, true, 0, true)), 0, true}};
        for (const auto &[file, model, verbose] : files) {
            QSignalSpy spy(pane_.get(), &TavixTouchPanelPref::statePolled);
            QSaveFile out(utilitiesPath());
            QVERIFY(out.open(QIODevice::WriteOnly) && out.write(file) == file.size() &&
                    out.commit());
            QVERIFY(QTest::qWaitFor([&] { return !spy.isEmpty() && gModelType.load() == model; },
                                    5000));
            QCOMPARE(verboseLog.load(), verbose);
            QVERIFY(gDriverEnable.load());
            QCOMPARE(utilitiesBytes(), file);
        }
    }

    // Only a flag that reads as 1 (true or 1) is a request: written back as false, the rest of the
    // file kept, and the Calibration page refreshed once. Anything else leaves the file as it was.
    void calibrationRefreshRequest_data() {
        QTest::addColumn<std::optional<PlistValue>>("value");
        QTest::addColumn<bool>("refresh");
        QTest::newRow("true") << std::optional<PlistValue>(true) << true;
        QTest::newRow("1") << std::optional<PlistValue>(1) << true;
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
        startPane(false, 20ms);
        QVERIFY(waitForPasses(3));
        QCOMPARE(log_.count(QStringLiteral("cal.updateUIState")), refresh ? 1 : 0);
        if (refresh) {
            d.set("RefreshCalibrationType", false);
        }
        QCOMPARE(utilitiesBytes(), QByteArray::fromStdString(serializePlist(d)));
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

    // Messages wait under a modal window shown again and again, watched by one connection at a
    // time and by none once it has closed.
    void deferredMessagesUnderARecurringWindow() {
        writeUtilities(utilities(317, true, 0));
        startPane(true, std::chrono::hours(1));
        struct : QDialog {
            int watchers() const { return receivers(SIGNAL(destroyed(QObject *))); }
        } window;
        window.setModal(true);
        window.show();
        const int others = window.watchers();  // Qt's own
        for (const int page : {1, 2, 3}) {
            window.show();
            QVERIFY(sendToPane(bytes(page)) && window.watchers() == others + 1);
            QCoreApplication::processEvents();
            QCOMPARE(tabView()->currentIndex(), page - 1);  // held while the window is up
            window.hide();
            QTRY_COMPARE(tabView()->currentIndex(), page);
        }
        QCOMPARE(window.watchers(), others);
    }

  private:
    bool waitForPasses(int count) {
        QSignalSpy spy(pane_.get(), &TavixTouchPanelPref::statePolled);
        return QTest::qWaitFor([&] { return spy.count() >= count; }, 5000);
    }
};

QTEST_MAIN(CommandPortTest)
#include "commandport_test.moc"
