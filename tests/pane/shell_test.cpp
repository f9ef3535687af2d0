// The pane's life cycle and page navigation, driven through its real widgets with recording
// page controllers in place of the pages.
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QLabel>
#include <QTabBar>
#include <QTabWidget>
#include <QtTest>

#include "globals.h"
#include "pane_test_support.h"
#include "panetranslations.h"

using namespace tavix;
using namespace tavix::test;

class ShellTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        env_.reset();
        log_.clear();
        resetPaneGlobals();
    }
    void cleanup() { pane_.reset(); }

    void firstStartWithoutStateFile() {
        QVERIFY(!QFile::exists(utilitiesPath()));
        startPane();

        const auto stored = readUtilities();
        QVERIFY(stored.has_value());
        QCOMPARE(stored->intValue("currentDeviceType"), 0);
        QVERIFY(stored->boolValue("DriverEnable"));
        QCOMPARE(stored->size(), std::size_t{5});
        QVERIFY(alert()->isVisible());
        QCOMPARE(alert()->text(), localizedText("Alert.disconnect"));
        QVERIFY(!tabView()->isVisible());
        QVERIFY(!popUp()->isVisible());
        QVERIFY(!checkBox()->isVisible());
        QCOMPARE(popUp()->currentIndex(), -1);
        QCOMPARE(log_, (QStringList{"set.resetTabView", "hw.resetTabView"}));
    }

    void availability_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<bool>("driver");
        QTest::addColumn<bool>("usable");
        QTest::addColumn<QString>("alertKey");
        QTest::addColumn<int>("popUpIndex");
        QTest::newRow("panel, driver on") << 317 << true << true << QString() << 0;
        QTest::newRow("panel, driver off") << 317 << false << false << "Alert.driverDisable" << -1;
        QTest::newRow("no panel, driver on") << 0 << true << false << "Alert.disconnect" << -1;
        QTest::newRow("no panel, driver off") << 0 << false << false << "Alert.disconnect" << -1;
    }
    void availability() {
        QFETCH(int, model);
        QFETCH(bool, driver);
        QFETCH(bool, usable);
        QFETCH(QString, alertKey);
        QFETCH(int, popUpIndex);
        writeUtilities(utilities(model, driver, 0));
        startPane();

        QCOMPARE(tabView()->isVisible(), usable);
        QCOMPARE(popUp()->isVisible(), usable);
        QCOMPARE(checkBox()->isVisible(), usable);
        QCOMPARE(alert()->isVisible(), !usable);
        QCOMPARE(popUp()->currentIndex(), popUpIndex);
        if (!usable) {
            QCOMPARE(alert()->text(), localizedText(alertKey.toLatin1().constData()));
        }
        QCOMPARE(gModelType.load(), model);
        QCOMPARE(gDriverEnable.load(), driver);
    }

    void willSelectRestoresStoredPage() {
        SettingsDict d = utilities(317, true, 2);
        d.set("isShowStatuMenu", true);
        writeUtilities(d);
        startPane();
        log_.clear();

        pane_->willSelect();
        // The stored page is refreshed first, then the tab change goes through the delegate.
        QCOMPARE(log_, (QStringList{"hw.updateUIState", "cal.unselectedView", "hw.updateUIState"}));
        QCOMPARE(tabView()->currentIndex(), 2);
        QCOMPARE(popUp()->currentIndex(), 2);
        QCOMPARE(_currentItemIndex.load(), 2);
        QVERIFY(checkBox()->isChecked());
        QVERIFY(pane_->statusBarIsShow());
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), 2);
    }

    void storedPageOutOfRangeIsNotClamped_data() {
        QTest::addColumn<int>("page");
        QTest::newRow("7") << 7;
        QTest::newRow("-1") << -1;
    }
    void storedPageOutOfRangeIsNotClamped() {
        QFETCH(int, page);
        writeUtilities(utilities(317, true, page));
        startPane();
        log_.clear();
        pane_->willSelect();

        QCOMPARE(log_, QStringList{"ver.updateUIState"});
        QCOMPARE(_currentItemIndex.load(), page);
        QCOMPARE(tabView()->currentIndex(), 0);
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), page);
    }

    // Which controllers hear about a page change, in which order, for each page entered.
    void tabViewDelegateCalls_data() {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<QStringList>("calls");
        QTest::newRow("to calibration")
            << 3 << 0 << QStringList{"cal.updateUIState", "hw.unselectedView"};
        QTest::newRow("to properties")
            << 0 << 1
            << QStringList{"set.updateUIState", "cal.unselectedView", "hw.unselectedView"};
        QTest::newRow("to hardware")
            << 0 << 2 << QStringList{"cal.unselectedView", "hw.updateUIState"};
        QTest::newRow("to version")
            << 0 << 3
            << QStringList{"cal.unselectedView", "hw.unselectedView", "ver.updateUIState"};
    }
    void tabViewDelegateCalls() {
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QStringList, calls);
        for (const char *how : {"tab bar", "pop-up"}) {
            cleanup();
            init();
            writeUtilities(utilities(317, true, from));
            startPane();
            pane_->willSelect();
            log_.clear();

            if (QByteArray(how) == "tab bar") {
                QTabBar *bar = tabView()->tabBar();
                QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(to).center());
            } else {
                // What choosing an item in the open pop-up list does.
                popUp()->setCurrentIndex(to);
                emit popUp()->activated(to);
            }
            QCOMPARE(log_, calls);
            QCOMPARE(tabView()->currentIndex(), to);
            QCOMPARE(popUp()->currentIndex(), to);
            QCOMPARE(_currentItemIndex.load(), to);
            QCOMPARE(readUtilities()->intValue("currentPageIndex"), to);
        }
    }

    void popUpWhileNoPanelChangesNothing() {
        writeUtilities(utilities(0, true, 1));
        startPane();
        pane_->willSelect();
        const QByteArray before = utilitiesBytes();
        log_.clear();

        popUp()->setCurrentIndex(2);
        emit popUp()->activated(2);

        QCOMPARE(utilitiesBytes(), before);
        QVERIFY(log_.isEmpty());
        QCOMPARE(_currentItemIndex.load(), 0);
    }

    // The delegate looks at the file again when no panel was known, and goes on if one is.
    void delegateRereadsModelWhenNoneKnown() {
        writeUtilities(utilities(317, true, 0));
        startPane();
        pane_->willSelect();
        gModelType = 0;
        log_.clear();

        pane_->selectView(2);
        QCOMPARE(gModelType.load(), 317);
        QCOMPARE(log_, (QStringList{"cal.unselectedView", "hw.updateUIState"}));
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), 2);
    }

    void driverDisabledTextKeptByLaterWillSelect() {
        writeUtilities(utilities(317, false, 0));
        startPane();
        pane_->willSelect();
        QCOMPARE(alert()->text(), localizedText("Alert.driverDisable"));

        writeUtilities(utilities(0, true, 0));
        pane_->willSelect();
        QVERIFY(alert()->isVisible());
        QCOMPARE(alert()->text(), localizedText("Alert.driverDisable"));
    }

    void pagesComeBackWhenUsable() {
        writeUtilities(utilities(0, true, 1));
        startPane();
        pane_->willSelect();
        QVERIFY(alert()->isVisible());

        writeUtilities(utilities(317, true, 1));
        log_.clear();
        pane_->willSelect();
        QVERIFY(tabView()->isVisible());
        QVERIFY(!alert()->isVisible());
        QCOMPARE(tabView()->currentIndex(), 1);
        QCOMPARE(popUp()->currentIndex(), 1);
        QCOMPARE(log_.first(), QStringLiteral("set.updateUIState"));
    }

    void portCreatedOnceAndRemovedByWillUnselect() {
        writeUtilities(utilities(317, true, 0));
        startPane();
        QDBusConnection peer = peerConnection();
        const QString service = QStringLiteral("io.tavix.MessagePort.preferenceCommend");
        QDBusServiceWatcher watcher(service, peer, QDBusServiceWatcher::WatchForRegistration);
        int registrations = 0;
        connect(&watcher, &QDBusServiceWatcher::serviceRegistered, this, [&] { ++registrations; });

        pane_->willSelect();
        QVERIFY(sendToPane(QByteArray(1, '\x0a')));
        const QString owner = peer.interface()->serviceOwner(service);
        QVERIFY(!owner.isEmpty());

        pane_->willSelect();
        QVERIFY(sendToPane(QByteArray(1, '\x0a')));
        QCOMPARE(peer.interface()->serviceOwner(service).value(), owner);
        QCOMPARE(registrations, 1);
        QVERIFY(pane_->hasCommandPort());

        log_.clear();
        pane_->willUnselect();
        QCOMPARE(log_, (QStringList{"cal.unselectedView", "hw.unselectedView"}));
        QVERIFY(!pane_->hasCommandPort());
        QTRY_VERIFY(!peer.interface()->isServiceRegistered(service).value());
        QVERIFY(!sendToPane(QByteArray(1, '\x02')));

        pane_->willSelect();
        QVERIFY(sendToPane(QByteArray(1, '\x0a')));
    }

    void portNameHeldElsewhere() {
        writeUtilities(utilities(317, true, 0));
        auto other = LocalMessagePort::create(
            QString::fromLatin1(kPreferencePortName),
            [](qint32, const QByteArray &) { return QByteArray(); }, peerConnection());
        QVERIFY(other != nullptr);
        startPane();
        pane_->willSelect();
        QVERIFY(!pane_->hasCommandPort());
        QVERIFY(tabView()->isVisible());
    }

    void saveOkLoggedOnlyWhenVerbose_data() {
        QTest::addColumn<bool>("verbose");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("verbose") << true << QStringList{"save OK"};
        QTest::newRow("quiet") << false << QStringList{};
    }
    void saveOkLoggedOnlyWhenVerbose() {
        QFETCH(bool, verbose);
        QFETCH(QStringList, lines);
        // The flag comes from the file (the monitor keeps it in step with the file).
        writeUtilities(utilities(0, true, 0, verbose));
        startPane();
        QCOMPARE(verboseLog.load(), verbose);
        LogCapture capture;
        pane_->saveItemToInfoPlistForKey(PlistValue(3), "currentPageIndex");
        QCOMPARE(capture.stop(), lines);
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), 3);
    }

    void lifeCycleLogLines() {
        writeUtilities(utilities(317, true, 0, true));
        LogCapture capture;
        startPane();
        pane_->willSelect();
        const QStringList lines = capture.stop();
        // "mainViewDidLoad" depends on whether the monitor had already read the flag.
        QVERIFY(lines.contains(QStringLiteral("willSelect")));
        QCOMPARE(lines.count(QStringLiteral("willSelect")), 1);
    }

    // The shipped pages, built inside the real main view.
    void realPagesAndAccessibleNames() {
        SettingsDict settings;
        settings.set("DriverVersion", "5.6.7");
        QVERIFY(writePlistFileAtomically(settings, getSettingsFilePath(317)));
        writeUtilities(utilities(317, true, 3));
        pane_ = std::make_unique<TavixTouchPanelPref>();
        QWidget *view = pane_->loadMainView();
        pane_->mainViewDidLoad();
        pane_->willSelect();

        auto *version = view->findChild<QLabel *>(QStringLiteral("versionText_"));
        QVERIFY(version != nullptr);
        QCOMPARE(version->text(), QStringLiteral("5.6.7"));
        QCOMPARE(tabView()->currentIndex(), 3);
        // Every text of the interface files comes from the string table.
        const QList<QPair<QWidget *, const char *>> accessible{
            {tabView(), "Accessible.tabView"},
            {popUp(), "Accessible.tabPopUp"},
            {checkBox(), "Accessible.statusBarState"},
            {alert(), "Accessible.alertTextField"},
            {version, "Accessible.versionText"}};
        for (const auto &[widget, key] : accessible) {
            QVERIFY2(widget != nullptr, key);
            QCOMPARE(widget->accessibleName(), localizedText(key));
            QVERIFY2(widget->accessibleName() != QLatin1String(key), key);
        }
        const char *titles[] = {"Page.calibration", "Page.properties", "Page.hardwareInformation",
                                "Page.version"};
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(tabView()->tabText(i), localizedText(titles[i]));
            QCOMPARE(popUp()->itemText(i), localizedText(titles[i]));
            QVERIFY(tabView()->tabText(i) != QLatin1String(titles[i]));
        }
        QCOMPARE(checkBox()->text(), localizedText("StatusBar.show"));
        auto *caption = view->findChild<QLabel *>(QStringLiteral("versionCaption_"));
        QVERIFY(caption != nullptr);
        QCOMPARE(caption->text(), localizedText("Version.driverVersion"));
        QVERIFY(caption->text() != QStringLiteral("Version.driverVersion"));
    }

    // The same view in German: the texts of the interface files follow the locale.
    void interfaceTextsInGerman() {
        installPaneTranslations(QLocale(QLocale::German));
        writeUtilities(utilities(317, true, 0));
        pane_ = std::make_unique<TavixTouchPanelPref>();
        pane_->loadMainView();
        QCOMPARE(tabView()->tabText(0), QStringLiteral("Kalibrierung"));
        QCOMPARE(popUp()->itemText(2), QStringLiteral("Hardware-Informationen"));
        QCOMPARE(checkBox()->accessibleName(), QStringLiteral("Menü in der Statusleiste"));
        auto *caption =
            pane_->loadMainView()->findChild<QLabel *>(QStringLiteral("versionCaption_"));
        QVERIFY(caption != nullptr);
        QCOMPARE(caption->text(), QStringLiteral("Treiberversion:"));
        installPaneTranslations(QLocale(QLocale::English));
    }

  private:
    void startPane() {
        pane_ = makeRecordingPane(&log_, std::chrono::milliseconds(1000));
        QWidget *view = pane_->loadMainView();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view));
        pane_->mainViewDidLoad();
    }
    QTabWidget *tabView() { return child<QTabWidget>(*pane_, "tabView_"); }
    QComboBox *popUp() { return child<QComboBox>(*pane_, "tabPopUp_"); }
    QCheckBox *checkBox() { return child<QCheckBox>(*pane_, "statusBarState_"); }
    QLabel *alert() { return child<QLabel>(*pane_, "alertTextField_"); }

    TestEnvironment env_;
    QStringList log_;
    std::unique_ptr<TavixTouchPanelPref> pane_;
};

QTEST_MAIN(ShellTest)
#include "shell_test.moc"
