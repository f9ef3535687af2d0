// What reaches the pane from outside: its command port, the state monitor, the status-bar switch.
#include <QSaveFile>

#include "pane_test_support.h"

Q_DECLARE_METATYPE(std::optional<tavix::PlistValue>)

using namespace tavix;
using namespace tavix::test;

namespace {

QByteArray bytes(int code) {
    return code < 0 ? QByteArray() : QByteArray(1, char(code));
}

const QString kUnselect = "cal.unselectedView|hw.unselectedView", kHw = "hw.updateUIState",
              kNext = "cal.simpleCalibrationChange";

// Each code (-1: an empty message) sent with a panel (on page 2, so that any move shows) or none;
// the port reads the model and driver from the file first, so some rows change it after the start.
const struct Message {
    const char *name;
    int before, model;  // in the file when the pane starts, and when the message comes
    bool driver;
    int code;
    QString calls;
    const char *alert;
    int page;  // tab index and stored page afterwards
} kMessages[] = {
    {"panel: 0", 317, 317, true, 0, "cal.updateUIState|hw.unselectedView", "", 0},
    {"panel: 2, page in use", 317, 317, true, 2, "", "", 2},
    {"panel: 3", 317, 317, true, 3, kUnselect + "|ver.updateUIState", "", 3},
    {"panel: 4 connect", 317, 317, true, 4, kHw, "", 2},
    {"panel: 5 disconnect", 317, 317, true, 5, "", "", 2},
    {"panel: 6 reload", 317, 317, true, 6, kHw, "", 2},
    {"panel: 7 driver disable", 317, 317, true, 7, kUnselect, "Alert.driverDisable", 2},
    {"panel: 8 next simple calibration", 317, 317, true, 8, kNext, "", 2},
    {"panel: 10", 317, 317, true, 10, "", "", 2},
    {"panel: empty message", 317, 317, true, -1, "", "", 2},
    {"no panel: 5", 0, 0, true, 5, kUnselect, "Alert.disconnect", 0},
    {"no panel: 6", 0, 0, true, 6, "", "Alert.disconnect", 0},
    {"no panel: 7", 0, 0, true, 7, kUnselect, "Alert.disconnect", 0},
    {"panel came: 4 connect", 0, 317, true, 4, kHw + "|cal.unselectedView|" + kHw, "", 2},
    {"panel gone: 5 disconnect", 317, 0, true, 5, kUnselect, "Alert.disconnect", 2},
    {"driver went off: 7", 317, 317, false, 7, kUnselect, "Alert.driverDisable", 2},
};

}  // namespace

class CommandPortTest : public QObject, PaneFixture {
    Q_OBJECT

  private slots:
    void init() { resetFixture(); }
    void cleanup() { pane_.reset(); }

    void messageCodes_data() { rows(kMessages); }
    void messageCodes() {
        const auto &[name, before, model, driver, code, calls, alertKey, page] = row(kMessages);
        const int startPage = before != 0 || model != 0 ? 2 : 0;
        writeUtilities(utilities(before, true, startPage, true));
        startPane(true);
        writeUtilities(utilities(model, driver, startPage, true));
        log_.clear();

        LogCapture capture;  // the files ask for verbose logging
        QVERIFY(sendToPane(bytes(code), 0x1234));
        QCOMPARE(capture.stop().contains(" device  COMMAND_DRIVER_DISABLE "), code == 7);
        const QString shownAlert = alert()->isVisibleTo(view()) ? alert()->text() : "";
        QCOMPARE((QVariantList{log_.join('|'), gDriverEnable.load(), tabView()->isVisibleTo(view()),
                               shownAlert, tabView()->currentIndex(),
                               int(readUtilities()->intValue("currentPageIndex"))}),
                 (QVariantList{calls, driver, !*alertKey, localizedText(alertKey), page, page}));
    }

    // Checking the box (by mouse) starts the installed utility; unchecking it (by a screen reader)
    // asks the running one to quit. The pane still answers, and what it sent has arrived by then.
    void statusBarCheckBox() {
        const QString marker = env_.home() + QStringLiteral("/utility-started");
        const QString program = QString::fromStdString(utilitiesAppInStatusBarFullPath());
        QFile script(program);
        QVERIFY(QDir().mkpath(QFileInfo(program).path()) && script.open(QIODevice::WriteOnly));
        script.write(QStringLiteral("#!/bin/sh\ntouch '%1'\n").arg(marker).toUtf8());
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        script.close();
        writeUtilities(utilities(317, true, 0, false, false));
        startPane(true);
        QTest::mouseClick(checkBox(), Qt::LeftButton);
        QVERIFY(readUtilities()->boolValue("isShowStatuMenu") && sendToPane(bytes(10)));
        QTRY_VERIFY(QFile::exists(marker));

        QList<QPair<qint32, QByteArray>> received;
        const auto running = LocalMessagePort::create(
            QString::fromLatin1(kStatusBarPortName),
            [&](qint32 msgid, const QByteArray &data) {
                received.append({msgid, data});
                return QByteArray();
            },
            peerConnection());
        QVERIFY(running != nullptr);
        QAccessible::queryAccessibleInterface(checkBox())
            ->actionInterface()
            ->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(!readUtilities()->boolValue("isShowStatuMenu") && sendToPane(bytes(10)));
        QCOMPARE(received, (QList<QPair<qint32, QByteArray>>{{0x53425154, "SBQT"}}));
    }

    // A replaced file wakes a pass (periodic ones an hour apart), which takes the model (none
    // when unreadable) and verbose flag, never the driver. A refresh flag reading as 1 is written
    // back as false, the rest kept, and refreshes the Calibration page once; nothing else writes.
    void monitorFollowsTheFile() {
        writeUtilities(utilities(317, true, 0));
        startPane(false, std::chrono::hours(1));
        QVERIFY(waitForPasses(1));
        const auto plist = [](const SettingsDict &d) {
            return QByteArray::fromStdString(serializePlist(d));
        };
        const auto flagged = [&](const PlistValue &flag) {
            SettingsDict d = utilities(317, true, 0);
            d.set("RefreshCalibrationType", flag);
            d.set("DriverSideKey", "kept");
            return plist(d);
        };
        const std::tuple<QByteArray, int, bool, QByteArray> files[] = {
            // and the file after
            {plist(utilities(259, false, 0, true)), 259, true, {}},
            {"not a property list", 0, false, {}},
            {flagged(true), 317, false, flagged(false)},
            {flagged(2), 317, false, {}},
            {flagged(1), 317, false, flagged(false)},
            {plist(utilities(0, true, 0, true)), 0, true, {}}};
        for (const auto &[file, model, verbose, after] : files) {
            log_.clear();
            QSignalSpy spy(pane_.get(), &TavixTouchPanelPref::statePolled);
            QSaveFile out(QString::fromStdString(getUilitiesFilePath()));
            QVERIFY(out.open(QIODevice::WriteOnly) && out.write(file) == file.size() &&
                    out.commit());
            const int refreshes = after.isEmpty() ? 0 : 1;
            QTRY_VERIFY2(!spy.isEmpty() && gModelType.load() == model &&
                             utilitiesBytes() == (refreshes ? after : file) &&
                             log_.count("cal.updateUIState") == refreshes,
                         file.constData());
            QVERIFY(verboseLog.load() == verbose && gDriverEnable.load());
        }
    }

    // Windows over the Calibration page's own modal window stay only while there is a panel, the
    // driver is on and the page recorded in the file is the page in use; the page's own window is
    // the page's to take away.
    void modalWindowRule_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<bool>("driver");
        QTest::addColumn<int>("page");
        QTest::newRow("all hold") << 317 << true << 0;
        QTest::newRow("page changed in the file") << 317 << true << 2;
        QTest::newRow("driver off") << 317 << false << 0;
        QTest::newRow("panel gone") << 0 << true << 0;
    }
    void modalWindowRule() {
        QFETCH(int, model);
        QFETCH(bool, driver);
        QFETCH(int, page);
        const bool ended = QTest::currentDataTag() != QLatin1String("all hold");
        writeUtilities(utilities(317, true, 0));
        startPane(true, 20ms);
        QDialog own(view()), alert(&own);
        pageWindow_ = &own;
        for (QDialog *dialog : {&own, &alert}) {
            dialog->setWindowModality(Qt::ApplicationModal);
            dialog->show();
        }
        QVERIFY(waitForPasses(2));
        log_.clear();

        writeUtilities(utilities(model, driver, page));
        QVERIFY(waitForPasses(3));
        QCOMPARE(alert.isVisible(), !ended);
        QCOMPARE(alert.result(), int(QDialog::Rejected));
        QVERIFY(own.isVisible());
        // Nothing else (once a pass): the monitor never puts the alert up itself.
        log_.removeDuplicates();
        QCOMPARE(log_, ended ? QStringList{"cal.hideModelWindow"} : QStringList{});
    }

    // Messages wait under a modal window shown again and again; those still waiting when the pane
    // is unselected are dropped. The port stays through a second selection, goes with the
    // unselection (which leaves the Calibration and Hardware pages) and comes back with the next.
    void deferredMessagesUnderARecurringWindow() {
        writeUtilities(utilities(317, true, 0));
        startPane(true, std::chrono::hours(1));
        pane_->willSelect();
        QDialog window;
        window.setModal(true);
        for (const int page : {1, 2}) {
            window.show();
            QVERIFY(sendToPane(bytes(page)));
            QCoreApplication::processEvents();
            QCOMPARE(tabView()->currentIndex(), page - 1);  // held while the window is up
            window.hide();
            QTRY_COMPARE(tabView()->currentIndex(), page);
        }
        window.show();
        QVERIFY(sendToPane(bytes(1)));
        log_.clear();
        pane_->willUnselect();
        QCOMPARE(log_.join('|'), kUnselect);
        QVERIFY(!sendToPane(bytes(2)));
        pane_->willSelect();
        window.hide();
        log_.clear();
        QVERIFY(sendToPane(bytes(2)));
        QTRY_COMPARE(tabView()->currentIndex(), 2);
        QCOMPARE(log_.filter("set."), QStringList{});
    }

  private:
    bool waitForPasses(int count) {
        QSignalSpy spy(pane_.get(), &TavixTouchPanelPref::statePolled);
        return QTest::qWaitFor([&] { return spy.count() >= count; }, 5000);
    }
};

QTEST_MAIN(CommandPortTest)
#include "commandport_test.moc"
