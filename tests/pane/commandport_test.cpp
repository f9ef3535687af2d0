// The command port "preferenceCommend", fed by a real peer on the bus, and the status-bar
// utility switch.
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QTabWidget>
#include <QtTest>

#include "globals.h"
#include "pane_test_support.h"
#include "panetranslations.h"

using namespace tavix;
using namespace tavix::test;

namespace {

const QStringList kUnselect{"cal.unselectedView", "hw.unselectedView"};

}  // namespace

class CommandPortTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        env_.reset();
        log_.clear();
        resetPaneGlobals();
    }
    void cleanup() { pane_.reset(); }

    // Each code, sent while a panel is recorded (the pages on page 0) or while none is.
    void messageCodes_data() {
        QTest::addColumn<bool>("panel");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QString>("alertKey");  // empty: the pages stay as they were
        QTest::addColumn<int>("page");          // tab index and stored page afterwards
        QTest::addColumn<QStringList>("logLines");

        const QString pages;
        QTest::newRow("panel: 0, page in use")
            << true << bytes(0) << QStringList{} << pages << 0 << QStringList{};
        QTest::newRow("panel: 1") << true << bytes(1)
                                  << QStringList{"set.updateUIState", "cal.unselectedView",
                                                 "hw.unselectedView"}
                                  << pages << 1 << QStringList{"save OK"};
        QTest::newRow("panel: 2") << true << bytes(2)
                                  << QStringList{"cal.unselectedView", "hw.updateUIState"} << pages
                                  << 2 << QStringList{"save OK"};
        QTest::newRow("panel: 3") << true << bytes(3)
                                  << QStringList{"cal.unselectedView", "hw.unselectedView",
                                                 "ver.updateUIState"}
                                  << pages << 3 << QStringList{"save OK"};
        QTest::newRow("panel: 4 connect") << true << bytes(4) << QStringList{"cal.updateUIState"}
                                          << pages << 0 << QStringList{"willSelect"};
        QTest::newRow("panel: 5 disconnect")
            << true << bytes(5) << QStringList{} << pages << 0 << QStringList{};
        QTest::newRow("panel: 6 reload") << true << bytes(6) << QStringList{"cal.updateUIState"}
                                         << pages << 0 << QStringList{"willSelect"};
        QTest::newRow("panel: 7 driver disable")
            << true << bytes(7) << kUnselect << "Alert.driverDisable" << 0
            << QStringList{" device  COMMAND_DRIVER_DISABLE "};
        QTest::newRow("panel: 8 next simple calibration")
            << true << bytes(8) << QStringList{"cal.simpleCalibrationChange"} << pages << 0
            << QStringList{};
        QTest::newRow("panel: 9 reload") << true << bytes(9) << QStringList{"cal.updateUIState"}
                                         << pages << 0 << QStringList{"willSelect"};
        QTest::newRow("panel: 10")
            << true << bytes(10) << QStringList{} << pages << 0 << QStringList{};
        QTest::newRow("panel: 128")
            << true << bytes(128) << QStringList{} << pages << 0 << QStringList{};
        QTest::newRow("panel: 255")
            << true << bytes(255) << QStringList{} << pages << 0 << QStringList{};
        QTest::newRow("panel: empty message")
            << true << QByteArray() << QStringList{} << pages << 0 << QStringList{};
        QTest::newRow("panel: extra bytes ignored")
            << true << QByteArray("\x02\xff\x00\x07", 4)
            << QStringList{"cal.unselectedView", "hw.updateUIState"} << pages << 2
            << QStringList{"save OK"};

        const QString gone = QStringLiteral("Alert.disconnect");
        QTest::newRow("no panel: 2")
            << false << bytes(2) << QStringList{} << gone << 0 << QStringList{};
        QTest::newRow("no panel: 4")
            << false << bytes(4) << QStringList{} << gone << 0 << QStringList{};
        QTest::newRow("no panel: 5")
            << false << bytes(5) << kUnselect << gone << 0 << QStringList{};
        QTest::newRow("no panel: 6")
            << false << bytes(6) << QStringList{} << gone << 0 << QStringList{"willSelect"};
        QTest::newRow("no panel: 7") << false << bytes(7) << kUnselect << gone << 0
                                     << QStringList{" device  COMMAND_DRIVER_DISABLE "};
        QTest::newRow("no panel: 8")
            << false << bytes(8) << QStringList{"cal.simpleCalibrationChange"} << gone << 0
            << QStringList{};
        QTest::newRow("no panel: 9")
            << false << bytes(9) << QStringList{} << gone << 0 << QStringList{"willSelect"};
        QTest::newRow("no panel: 200")
            << false << bytes(200) << QStringList{} << gone << 0 << QStringList{};
        QTest::newRow("no panel: empty message")
            << false << QByteArray() << QStringList{} << gone << 0 << QStringList{};
    }
    void messageCodes() {
        QFETCH(bool, panel);
        QFETCH(QByteArray, message);
        QFETCH(QStringList, calls);
        QFETCH(QString, alertKey);
        QFETCH(int, page);
        QFETCH(QStringList, logLines);
        writeUtilities(utilities(panel ? 317 : 0, true, 0, true));
        startPane();
        log_.clear();

        LogCapture capture;
        QVERIFY(sendToPane(message, 0x1234));
        const QStringList lines = capture.stop();

        QCOMPARE(log_, calls);
        QCOMPARE(lines, logLines);
        if (alertKey.isEmpty()) {
            QVERIFY(tabView()->isVisibleTo(view()));
            QVERIFY(!alert()->isVisibleTo(view()));
        } else {
            QVERIFY(!tabView()->isVisibleTo(view()));
            QVERIFY(alert()->isVisibleTo(view()));
            QCOMPARE(alert()->text(), localizedText(alertKey.toLatin1().constData()));
        }
        QCOMPARE(tabView()->currentIndex(), page);
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), page);
        if (panel && page != 0) {
            QCOMPARE(popUp()->currentIndex(), page);
        }
    }

    // An empty message has no code: nothing is read past its end (a zero byte there would
    // select page 0).
    void emptyMessageOnAnotherPage() {
        writeUtilities(utilities(317, true, 2));
        startPane();
        log_.clear();
        QVERIFY(sendToPane(QByteArray()));
        QVERIFY(sendToPane(QByteArray("", 0)));
        QVERIFY(log_.isEmpty());
        QCOMPARE(tabView()->currentIndex(), 2);
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), 2);
    }

    // The port takes the model and driver state from the file before it looks at the code.
    void codesUseTheFileNotTheOldGlobals() {
        writeUtilities(utilities(317, true, 0));
        startPane();
        writeUtilities(utilities(0, true, 0));
        log_.clear();
        QVERIFY(sendToPane(bytes(5)));
        QCOMPARE(log_, kUnselect);
        QCOMPARE(alert()->text(), localizedText("Alert.disconnect"));
        QCOMPARE(gModelType.load(), 0);

        writeUtilities(utilities(317, false, 0));
        QVERIFY(sendToPane(bytes(7)));
        QCOMPARE(alert()->text(), localizedText("Alert.driverDisable"));
        QVERIFY(!gDriverEnable.load());
    }

    void reconnectShowsPagesAgain() {
        writeUtilities(utilities(0, true, 2));
        startPane();
        QVERIFY(alert()->isVisibleTo(view()));
        writeUtilities(utilities(317, true, 2));
        log_.clear();
        QVERIFY(sendToPane(bytes(4)));
        QVERIFY(tabView()->isVisibleTo(view()));
        QCOMPARE(tabView()->currentIndex(), 2);
        QCOMPARE(log_.first(), QStringLiteral("hw.updateUIState"));
    }

    void checkBoxOnStartsUtility() {
        writeUtilities(utilities(317, true, 0));
        const QString program = QString::fromStdString(utilitiesAppInStatusBarFullPath());
        const QString marker = env_.home() + QStringLiteral("/utility-started");
        QVERIFY(QDir().mkpath(QFileInfo(program).path()));
        QFile script(program);
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write(QStringLiteral("#!/bin/sh\ntouch '%1'\n").arg(marker).toUtf8());
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        startPane();

        QTest::mouseClick(checkBox(), Qt::LeftButton);
        QVERIFY(checkBox()->isChecked());
        QVERIFY(pane_->statusBarIsShow());
        QVERIFY(readUtilities()->boolValue("isShowStatuMenu"));
        QTRY_VERIFY(QFile::exists(marker));
    }

    void checkBoxOnWithoutUtilityInstalled() {
        writeUtilities(utilities(317, true, 0));
        startPane();
        QVERIFY(!QFile::exists(QString::fromStdString(utilitiesAppInStatusBarFullPath())));
        QTest::mouseClick(checkBox(), Qt::LeftButton);
        QVERIFY(readUtilities()->boolValue("isShowStatuMenu"));
    }

    void checkBoxOffSendsQuitRequest() {
        SettingsDict d = utilities(317, true, 0);
        d.set("isShowStatuMenu", true);
        writeUtilities(d);
        QList<QPair<qint32, QByteArray>> received;
        auto utility = LocalMessagePort::create(
            QString::fromLatin1(kStatusBarPortName),
            [&](qint32 msgid, const QByteArray &data) {
                received.append({msgid, data});
                return QByteArray();
            },
            peerConnection());
        QVERIFY(utility != nullptr);
        startPane();
        QVERIFY(checkBox()->isChecked());

        QTest::mouseClick(checkBox(), Qt::LeftButton);
        QVERIFY(!pane_->statusBarIsShow());
        QVERIFY(!readUtilities()->boolValue("isShowStatuMenu"));
        QTRY_COMPARE(received.size(), 1);
        QCOMPARE(received.first().first, 0x53425154);
        QCOMPARE(received.first().second, QByteArray("SBQT"));
    }

    void checkBoxOffWithNoUtilityRunning() {
        SettingsDict d = utilities(317, true, 0);
        d.set("isShowStatuMenu", true);
        writeUtilities(d);
        startPane();
        QTest::mouseClick(checkBox(), Qt::LeftButton);
        QVERIFY(!checkBox()->isChecked());
        QVERIFY(!readUtilities()->boolValue("isShowStatuMenu"));
        // The pane is still answering.
        QVERIFY(sendToPane(bytes(10)));
    }

    void hideStatusBarNeitherQuitsNorStarts() {
        SettingsDict d = utilities(317, true, 0);
        d.set("isShowStatuMenu", true);
        writeUtilities(d);
        int quitRequests = 0;
        auto utility = LocalMessagePort::create(
            QString::fromLatin1(kStatusBarPortName),
            [&](qint32, const QByteArray &) {
                ++quitRequests;
                return QByteArray();
            },
            peerConnection());
        startPane();

        pane_->hideStatusBar();
        QVERIFY(!checkBox()->isChecked());
        QVERIFY(!pane_->statusBarIsShow());
        const auto stored = readUtilities();
        QVERIFY(!stored->boolValue("isShowStatuMenu"));
        QVERIFY(stored->contains("isShowStatuMenu"));

        // A real quit request afterwards is the first one the utility sees.
        checkBox()->setChecked(true);
        QTest::mouseClick(checkBox(), Qt::LeftButton);
        QTRY_VERIFY(quitRequests >= 1);
        QCOMPARE(quitRequests, 1);
    }

  private:
    static QByteArray bytes(int code) { return QByteArray(1, static_cast<char>(code)); }

    void startPane() {
        pane_ = makeRecordingPane(&log_, std::chrono::milliseconds(1000));
        QWidget *v = pane_->loadMainView();
        v->show();
        QVERIFY(QTest::qWaitForWindowExposed(v));
        pane_->mainViewDidLoad();
        pane_->willSelect();
    }
    QWidget *view() { return pane_->loadMainView(); }
    QTabWidget *tabView() { return child<QTabWidget>(*pane_, "tabView_"); }
    QComboBox *popUp() { return child<QComboBox>(*pane_, "tabPopUp_"); }
    QCheckBox *checkBox() { return child<QCheckBox>(*pane_, "statusBarState_"); }
    QLabel *alert() { return child<QLabel>(*pane_, "alertTextField_"); }

    TestEnvironment env_;
    QStringList log_;
    std::unique_ptr<TavixTouchPanelPref> pane_;
};

QTEST_MAIN(CommandPortTest)
#include "commandport_test.moc"
