// The pane's shell: life cycle, pages, what reaches it from outside, every page seen and heard.
#include <QAccessible>
#include <QLayout>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTabBar>
#include <QtTest>

#include "pane_test_support.h"
#include "snapshot.h"
#include "testview.h"
#include "version/versionviewctl.h"

using namespace tavix;
using namespace tavix::test;

namespace {

// The ids of one .ts file under src/pane that have a translation, sorted.
QStringList translatedIds(const QString &name) {
    static const QRegularExpression message(
        QStringLiteral(
            "<message id=\"([^\"]+)\">((?!</message>).)*<translation>[^<]+</translation>"),
        QRegularExpression::DotMatchesEverythingOption);
    QFile file(QStringLiteral(TAVIX_SOURCE_DIR "/src/pane/") + name);
    QStringList ids;
    for (const auto &m :
         message.globalMatch(file.open(QIODevice::ReadOnly) ? file.readAll() : "")) {
        ids << m.captured(1);
    }
    ids.sort();
    return ids;
}

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
    {"panel: 3", 317, 317, true, 3, kUnselect + "|ver.updateUIState", "", 3},
    {"panel: 5 disconnect", 317, 317, true, 5, "", "", 2},
    {"panel: 6 reload", 317, 317, true, 6, kHw, "", 2},
    {"panel: 8 next simple calibration", 317, 317, true, 8, kNext, "", 2},
    {"panel: 10", 317, 317, true, 10, "", "", 2},
    {"panel: empty message", 317, 317, true, -1, "", "", 2},
    {"no panel: 7", 0, 0, true, 7, kUnselect, "Alert.disconnect", 0},
    {"panel came: 4 connect", 0, 317, true, 4, kHw + "|cal.unselectedView|" + kHw, "", 2},
    {"panel gone: 5 disconnect", 317, 0, true, 5, kUnselect, "Alert.disconnect", 2},
    {"driver went off: 7", 317, 317, false, 7, kUnselect, "Alert.driverDisable", 2},
};
}  // namespace

class ShellTest : public QObject, PaneFixture {
    Q_OBJECT

  private slots:
    void init() { resetFixture(); }
    void cleanup() {
        pane_.reset();
        installPaneTranslations(QLocale());
    }

    // Loading shows the pages only for a panel with the driver on (model -1: first start, no
    // shared state file yet; the defaults with no panel are written). Selecting then refreshes the
    // stored page and shows it; an out-of-range one goes to the Version page's controller,
    // unclamped, and the stored page is kept.
    void loadAndSelect_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<bool>("driver");
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("alertKey");   // empty: the pages are usable
        QTest::addColumn<QStringList>("calls");  // those willSelect makes
        QTest::newRow("first start") << -1 << true << 0 << "Alert.disconnect" << QStringList{};
        QTest::newRow("panel, page 2")
            << 317 << true << 2 << QString()
            << QStringList{"hw.updateUIState", "cal.unselectedView", "hw.updateUIState"};
        QTest::newRow("panel, page 7")
            << 317 << true << 7 << QString() << QStringList{"ver.updateUIState"};
        QTest::newRow("panel, driver off")
            << 317 << false << 1 << "Alert.driverDisable" << QStringList{};
        QTest::newRow("no panel, driver off")
            << 0 << false << 1 << "Alert.disconnect" << QStringList{};
    }
    void loadAndSelect() {
        QFETCH(int, model);
        QFETCH(bool, driver);
        QFETCH(int, page);
        QFETCH(QString, alertKey);
        QFETCH(QStringList, calls);
        const bool usable = alertKey.isEmpty();
        if (model >= 0) {
            writeUtilities(utilities(model, driver, page, false, true));
        }
        startPane();
        // Tabs, pop-up, box and alert as a person sees them, and hears them, after each step.
        const auto seen = [&](const char *step) {
            QString name = QString::fromLatin1(QTest::currentDataTag()).toLower();
            return snapshotMismatch(
                       view(), "shell-" + name.replace(QRegularExpression("\\W+"), "-") + step) +
                   unheardLabels(view()).join(u' ');
        };
        QCOMPARE(seen("-loaded"), QString());
        QCOMPARE(QPair(gModelType.load(), gDriverEnable.load()), QPair(std::max(model, 0), driver));
        QCOMPARE(log_, (QStringList{"set.resetTabView", "hw.resetTabView"}));
        const SettingsDict stored = utilities(std::max(model, 0), driver, page, false, true);
        QVERIFY(readUtilities() == stored);

        log_.clear();
        pane_->willSelect();
        QCOMPARE(log_, calls);
        QCOMPARE(seen("-selected"), QString());
        QCOMPARE(QPair(_currentItemIndex.load(), pane_->statusBarIsShow()),
                 QPair(usable ? page : 0, usable));
        QVERIFY(readUtilities() == stored);
    }

    // Which controllers hear about a page change, in which order, for each page entered by the
    // tab bar, the pop-up or a screen reader selecting the pop-up's item; the page is stored. While
    // no panel is known a change is not taken up (nor followed by the pop-up), unless the file
    // names one by now.
    void tabViewDelegateCalls_data() {
        QTest::addColumn<int>("way");  // 3: the tab view set from code
        QTest::addColumn<int>("model");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<QStringList>("calls");
        const QStringList toVersion{"cal.unselectedView", "hw.unselectedView", "ver.updateUIState"},
            toHardware{"cal.unselectedView", "hw.updateUIState"};
        QTest::newRow("to 0 by tab bar")
            << 0 << 317 << 3 << 0 << QStringList{"cal.updateUIState", "hw.unselectedView"};
        QTest::newRow("to 1 by tab bar")
            << 0 << 317 << 0 << 1
            << QStringList{"set.updateUIState", "cal.unselectedView", "hw.unselectedView"};
        QTest::newRow("to 2 by tab bar") << 0 << 317 << 0 << 2 << toHardware;
        QTest::newRow("to 3 by tab bar") << 0 << 317 << 0 << 3 << toVersion;
        QTest::newRow("to 2 by pop-up") << 1 << 317 << 0 << 2 << toHardware;
        QTest::newRow("to 3 by reader") << 2 << 317 << 0 << 3 << toVersion;
        QTest::newRow("no panel") << 3 << 0 << 1 << 2 << QStringList{};
        QTest::newRow("panel since") << 1 << -317 << 1 << 3 << toVersion;
    }
    void tabViewDelegateCalls() {
        QFETCH(int, way);
        QFETCH(int, model);  // negative: none at the start, this one by the change
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QStringList, calls);
        // Tab, pop-up, page in use, stored page: with no panel only the tab moves.
        const QList<int> after = model ? QList<int>(4, to) : QList<int>{to, -1, 0, from};
        writeUtilities(utilities(std::max(model, 0), true, from));
        startPane(true);
        writeUtilities(utilities(std::abs(model), true, from));
        log_.clear();
        if (way == 3) {
            tabView()->setCurrentIndex(to);
        } else if (way == 2) {  // the pop-up's items are children of its list
            auto *item = QAccessible::queryAccessibleInterface(popUp())->child(0)->child(to);
            item->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        } else if (way == 1) {  // what choosing an item in the open pop-up list does
            popUp()->setCurrentIndex(to);
            emit popUp()->activated(to);
        } else {
            QTest::mouseClick(tabView()->tabBar(), Qt::LeftButton, {},
                              tabView()->tabBar()->tabRect(to).center());
        }
        QCOMPARE(log_, calls);
        QCOMPARE((QList<int>{tabView()->currentIndex(), popUp()->currentIndex(),
                             _currentItemIndex.load(),
                             int(readUtilities()->intValue("currentPageIndex"))}),
                 after);
    }

    // The real pane with the shipped lists and pen support, in each language (317 in English, a
    // model with the service panels in German): on every page and inner tab no two visible
    // widgets overlap and none leaves the window (a widget left out of its layout sits over its
    // neighbour), each looks as its picture, every value is heard, no text is a raw key
    // ("Page.version") and every control a person can reach has a name.
    void everyPage_data() {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<int>("model");
        QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedKingdom) << 317;
        QTest::newRow("German") << QLocale(QLocale::German, QLocale::Austria) << 259;
    }
    void everyPage() {
        QFETCH(QLocale, locale);
        QFETCH(int, model);
        const QString language = QLocale::languageToCode(locale.language());
        // English first, so that the locale's tables are searched after it; an unknown language
        // gets English only. Each table has every key of the English one, with a text.
        const QStringList tables{"hardwareinfo/translations/hardwareinfo", "translations/pane",
                                 "properties/translations/properties"};
        QStringList english, local;
        for (const QString &table : tables) {
            english << QStringLiteral(":/i18n/%1_en.qm").arg(table.section('/', -1));
            local << QStringLiteral(":/i18n/%1_%2.qm").arg(table.section('/', -1), language);
            const QStringList ids = translatedIds(QStringLiteral("%1_%2.ts").arg(table, language));
            QVERIFY(ids.size() > 10);
            QCOMPARE(ids, translatedIds(table + "_en.ts"));
        }
        QCOMPARE(installPaneTranslations(QLocale(QLocale::Swahili)), english);
        QCOMPARE(installPaneTranslations(locale), language == "en" ? english : english + local);
        QCOMPARE(localizedText("No.such.key"), QStringLiteral("No.such.key"));
        for (const char *list : {"SupportResolutionList", "DeviceList"}) {
            const QString to =
                QString::fromStdString(getSystemPreferenceFolderPath()) + "/" + list + ".plist";
            QVERIFY(QDir().mkpath(QFileInfo(to).path()) &&
                    QFile::copy(QStringLiteral(TAVIX_SOURCE_DIR "/data/%1.plist").arg(list), to));
        }
        SettingsDict settings = settingItemsDefaults();
        settings.set("PenSoftSupport", true);
        QVERIFY(writePlistFileAtomically(settings, getSettingsFilePath(model)));
        writeUtilities(utilities(model, true, 3));
        pane_ = std::make_unique<TavixTouchPanelPref>();
        view()->resize(view()->minimumSizeHint());
        view()->show();
        pane_->mainViewDidLoad();
        pane_->willSelect();

        QStringList faults;
        int shown = 0;
        // Pictures at 100 % only: the 200 % run checks the same layout's geometry.
        const auto check = [&](const QString &where) {
            shown += checkLaidOut(view(), &faults);
            if (view()->devicePixelRatio() == 1) {
                faults << snapshotMismatch(view(),
                                           QStringLiteral("page-%1-%2").arg(where, language));
            }
        };
        for (int page = 0; page < tabView()->count(); ++page) {
            tabView()->setCurrentIndex(page);
            const auto innerTabs = tabView()->widget(page)->findChildren<QTabWidget *>();
            for (QTabWidget *inner : innerTabs) {
                for (int tab = 0; tab < inner->count(); ++tab) {
                    inner->setCurrentIndex(tab);
                    check(QStringLiteral("%1-%2").arg(page).arg(tab));
                }
            }
            if (innerTabs.isEmpty()) {
                check(QString::number(page));
            }
            faults << unheardLabels(view());
        }
        faults.removeDuplicates();
        faults.removeAll(QString());
        QCOMPARE(faults.join(u'\n'), QString());
        QVERIFY(shown > 115);

        // A tab view is named by its tabs' titles; the test areas take no focus but are read.
        static const QRegularExpression rawKey(QStringLiteral("^[A-Z][A-Za-z]*(\\.[A-Za-z]+)+$"));
        QStringList unnamed;
        int named = 0;
        for (QWidget *widget : view()->findChildren<QWidget *>()) {
            QStringList texts{widget->accessibleName(), widget->property("text").toString(),
                              widget->property("title").toString()};
            if (auto *menu = qobject_cast<QComboBox *>(widget)) {
                for (int i = 0; i < menu->count(); ++i) {
                    texts << menu->itemText(i);
                }
            }
            QCOMPARE(texts.filter(rawKey), QStringList{});
            const QString name = widget->objectName();
            if (!widget->isHidden() &&
                (widget->focusPolicy() != Qt::NoFocus || qobject_cast<TestView *>(widget)) &&
                !name.isEmpty() && !name.startsWith("qt_") && !qobject_cast<QTabWidget *>(widget) &&
                !qobject_cast<QTabBar *>(widget->parentWidget())) {
                ++named;
                QAccessibleInterface *heard = QAccessible::queryAccessibleInterface(widget);
                if (heard->text(QAccessible::Name).isEmpty()) {
                    unnamed << name;
                }
            }
        }
        QCOMPARE(unnamed, QStringList{});
        QCOMPARE(named, 64);  // so that a page the walk misses shows
    }

    // The Version page: the driver version of the connected model, read straight from its file,
    // which the page never creates; nothing when there is no file, no such text or no plist.
    void driverVersion() {
        const auto plist = [](const char *key, const PlistValue &value) {
            SettingsDict d;
            d.set(key, value);
            return QByteArray::fromStdString(serializePlist(d));
        };
        const std::tuple<int, QByteArray, QString> rows[] = {
            {0, {}, ""},
            {259, plist("DriverVersion", "3.1.4.1"), "3.1.4.1"},
            {317, plist("DriverVersion", 3), ""},
            {420, plist("InputMode", 1), ""},
            {421, "<plist><dict><key>", ""}};
        QWidget page;
        VersionViewCtl controller(&page);
        auto *label = page.findChild<QLabel *>(QStringLiteral("versionText_"));
        for (const auto &[model, file, shown] : rows) {
            QFile out(QString::fromStdString(getSettingsFilePath(model)));
            QVERIFY(file.isNull() || (out.open(QIODevice::WriteOnly) && out.write(file) > 0));
            out.close();
            gModelType = model;
            label->setText(QStringLiteral("stale"));
            controller.updateUIState();
            QCOMPARE(label->text(), shown);
            QCOMPARE(out.exists(), !file.isNull());
        }
    }

    void messageCodes_data() { rows(kMessages); }
    void messageCodes() {
        const auto &[name, before, model, driver, code, calls, alertKey, page] = row(kMessages);
        const int startPage = before != 0 || model != 0 ? 2 : 0;
        writeUtilities(utilities(before, true, startPage, true));
        startPane(true);
        writeUtilities(utilities(model, driver, startPage, true));
        log_.clear();

        QVERIFY(sendToPane(bytes(code), 0x1234));
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
        QVERIFY(waitForPasses(1));  // what the load's passes queued has run before the windows
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

QTEST_MAIN(ShellTest)
#include "shell_test.moc"
