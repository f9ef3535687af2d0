// The status-bar utility: its state display and menu, what its actions send, and its program.
#include <QAccessible>
#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QtTest/QtTest>

#include "commands.h"
#include "daemonchannel.h"
#include "settings_store.h"
#include "sim_support.h"
#include "snapshot.h"
#include "statusbarutility.h"

using namespace tavix;
using State = StatusBarUtility::PanelState;

namespace {

void writeState(int model, bool driver, bool showMenu = true) {
    SettingsDict state = utilitiesDefaults();
    state.set("isShowStatuMenu", showMenu);
    state.set("DriverEnable", driver);
    state.set("currentDeviceType", model);
    QVERIFY(writePlistFileAtomically(state, getUilitiesFilePath()));
}

// Presses a menu item the way a screen reader does, through its menu's accessible children.
void press(const StatusBarUtility &u, const char *name) {
    auto *item = u.menu()->findChild<QAction *>(QLatin1String(name));
    QAccessibleInterface *menu =
        QAccessible::queryAccessibleInterface(qobject_cast<QWidget *>(item->parent()));
    for (int i = 0; i < menu->childCount(); ++i) {
        if (menu->child(i)->object() == item) {
            return menu->child(i)->actionInterface()->doAction(
                QAccessibleActionInterface::pressAction());
        }
    }
    QFAIL(name);
}

// A letter per item of the menu, then of its simple setting menu (disabled with it): "o" usable,
// "X" usable and checked, "-" disabled, "x" disabled and checked, " " a separator.
QString menuState(const StatusBarUtility &u) {
    const auto *sub = u.menu()->findChild<QMenu *>(QStringLiteral("simpleSettingMenu"));
    QString letters;
    for (const QAction *a : u.menu()->actions() + sub->actions()) {
        const bool on = a->isEnabled() && (a->parent() != sub || sub->isEnabled());
        letters += QLatin1Char(a->isSeparator() ? ' ' : "-xoX"[on * 2 + a->isChecked()]);
    }
    return letters;
}

}  // namespace

class UtilityTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;

  private Q_SLOTS:
    void initTestCase() { test::useShippedFolderName(); }
    void init() {
        roots_ = std::make_unique<test::TempRoots>();
        QVERIFY(QFile::copy(QStringLiteral(TAVIX_DATA_DIR "/DeviceList.plist"),
                            QString::fromStdString(getSupportDeviceListFilePath())));
    }
    void cleanup() { roots_.reset(); }

    // The state, tool tip, icon and menu follow the files at the next poll; an action sends what
    // the Calibration page sends, only with a panel and the simple settings only in simple
    // calibration, pressed as a screen reader does.
    void stateMenuAndActionsFollowTheFiles() {
        writeState(0, true);
        test::Recorder daemon(kDaemonPortName);
        const QString marker = test::hexBytes(QByteArray(1, char(COMMAND_GET_DIP_SW)));
        int launches = 0;
        auto u = std::make_unique<StatusBarUtility>(StatusBarUtility::Options{
            std::chrono::milliseconds(20), [&] { return ++launches, true; }});
        QCOMPARE(u->start(), StatusBarUtility::StartResult::Started);
        const struct {
            int model;
            bool driver;
            int type, row;  // the model's CalibrationType and SimpleCalibrationType
            const char *tip, *menu, *action, *bytes;
            QLocale::Language language = QLocale::English;
        } rows[] = {
            {317, true, 0, 2, "Touch panel connected: Tavix TX-317", "oooo Xoo- oooX",
             "simpleCalibration", "12 00 00"},
            {317, true, 2, 1, "Touch panel connected: Tavix TX-317", "oooo o-Xo o-x-",
             "startCalibration", "1F 00 00"},  // the second manual calibration is stored
            {317, true, 2, 1, "Touch panel connected: Tavix TX-317", "oooo o-Xo o-x-",
             "simpleSetting1", ""},
            {999, true, 1, 0, "Touch panel connected: 999", "oooo o-Xo ox--", "manualCalibration",
             "12 01 00"},
            {420, true, 0, 0, "Touch panel connected: Tavix TX-420", "oooo Xoo- oXoo",
             "simpleSetting2", "13 02 00"},
            {259, true, 2, 0, "Touch panel connected: Tavix TX-259", "oooo o-Xo ox--",
             "startCalibration", "17 00 00"},
            {0, true, 1, 1, "No touch panel connected", "oooo x--- ox--", "startCalibration", ""},
            {317, false, 0, 0, "Der Touch-Panel-Treiber ist deaktiviert", "oooo x--- ox--",
             "simpleCalibration", "", QLocale::German},
        };
        for (const auto &row : rows) {
            installUtilityTranslations(QLocale(row.language));
            SettingsDict settings = settingItemsDefaults();
            settings.set("CalibrationType", row.type);
            settings.set("SimpleCalibrationType", row.row);
            QVERIFY(writePlistFileAtomically(settings, getSettingsFilePath(row.model)));
            writeState(row.model, row.driver);
            const State state = !row.model    ? State::NoPanel
                                : !row.driver ? State::DriverDisabled
                                              : State::Connected;
            QTRY_VERIFY(u->state() == state && u->modelType() == row.model);
            Q_EMIT u->menu()->aboutToShow();
            QCOMPARE(u->trayIcon()->toolTip(), QLatin1String(row.tip));
            QCOMPARE(menuState(*u), QLatin1String(row.menu));
            QLabel icon;
            icon.setPixmap(u->trayIcon()->icon().pixmap(64));
            icon.resize(64, 64);
            const char *name = std::array{"no-panel", "driver-off", "connected"}[int(state)];
            QCOMPARE(test::snapshotMismatch(&icon, QString("utility-icon-") + name), QString());
            daemon.messages.clear();
            press(*u, row.action);
            // A command sent after the press arrives after anything the press sent.
            QVERIFY(SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
            QTRY_COMPARE(daemon.messages.size() > 0 ? daemon.messages.back() : QString(), marker);
            daemon.messages.removeLast();
            QCOMPARE(daemon.messages.join(u'|'), QLatin1String(row.bytes));
        }
        // A page goes to the running window, or to the state file for the window it starts.
        press(*u, "page2");
        QCOMPARE(readPlistFile(getUilitiesFilePath())->intValue("currentPageIndex"), 2);
        QCOMPARE(launches, 1);
        test::Recorder window(kPreferencePortName);
        press(*u, "page3");
        QTRY_COMPARE(window.messages, QStringList{QStringLiteral("03")});
        QCOMPARE(launches, 1);
        QCOMPARE(readPlistFile(getUilitiesFilePath())->intValue("currentPageIndex"), 2);
        // A click on the icon opens the stored page; Quit asks the program to end.
        Q_EMIT u->trayIcon()->activated(QSystemTrayIcon::Trigger);
        QTRY_COMPARE(window.messages.join(u'|'), QStringLiteral("03|02"));
        QSignalSpy quit(u.get(), &StatusBarUtility::quitRequested);
        press(*u, "quit");
        QCOMPARE(quit.count(), 1);
    }

    // The program itself: switched off, a second copy, and the quit request.
    void programRefusesAndQuitsAsAsked() {
        const auto run = [](const QStringList &args, int exit, const char *text) {
            QProcess p;
            p.setProcessChannelMode(QProcess::MergedChannels);
            p.start(QStringLiteral(TAVIX_UTILITY), args);
            QVERIFY(p.waitForFinished(5000));
            QCOMPARE(p.exitCode(), exit);
            QVERIFY2(p.readAll().contains(text), text);
        };
        writeState(317, true, false);
        run({}, 0, "\"isShowStatuMenu\" is false");
        writeState(317, true, true);
        QProcess first;
        first.start(QStringLiteral(TAVIX_UTILITY), QStringList());
        QTRY_VERIFY_WITH_TIMEOUT(
            RemoteMessagePort::lookup(QString::fromLatin1(kStatusBarPortName)).has_value(), 5000);
        run({}, 1, "another copy is already running");
        // Only the exact request (last) quits it: a quit too early leaves the next one unanswered.
        const std::pair<qint32, QByteArray> rows[] = {{0, "SBQT"},
                                                      {kStatusBarQuitMsgId, "SBQ"},
                                                      {kStatusBarQuitMsgId, "SBQTX"},
                                                      {kStatusBarQuitMsgId, kStatusBarQuitData}};
        for (const auto &[msgid, data] : rows) {
            std::optional<PortReply> reply;
            RemoteMessagePort::lookup(QString::fromLatin1(kStatusBarPortName))
                ->sendRequest(msgid, data, 1.0, 1.0, [&](const PortReply &r) { reply = r; });
            QTRY_VERIFY(reply.has_value());
            QVERIFY(reply->ok && reply->reply.isEmpty());
        }
        QTRY_COMPARE_WITH_TIMEOUT(first.state(), QProcess::NotRunning, 5000);
        QVERIFY(first.exitStatus() == QProcess::NormalExit && first.exitCode() == 0);
    }
};

QTEST_MAIN(UtilityTest)
#include "utility_test.moc"
