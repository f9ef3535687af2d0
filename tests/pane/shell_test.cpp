// The pane's shell: life cycle, page navigation, every page laid out and heard, the string tables.
#include <QAccessible>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QLayout>
#include <QRegularExpression>
#include <QTabBar>
#include <QtTest>

#include "pane_test_support.h"
#include "snapshot.h"
#include "testview.h"
#include "version/versionviewctl.h"

using namespace tavix;
using namespace tavix::test;

namespace {

// id -> translation of one .ts file under src/pane.
QMap<QString, QString> readTs(const QString &name) {
    static const QRegularExpression message(
        QStringLiteral("<message id=\"([^\"]+)\">.*?<translation>([^<]*)</translation>"),
        QRegularExpression::DotMatchesEverythingOption);
    QFile file(QStringLiteral(TAVIX_SOURCE_DIR "/src/pane/") + name);
    QMap<QString, QString> table;
    for (const auto &m :
         message.globalMatch(file.open(QIODevice::ReadOnly) ? file.readAll() : "")) {
        table.insert(m.captured(1), m.captured(2));
    }
    return table;
}
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
    // shared state file yet; one with no panel is written). Selecting then refreshes the stored
    // page and shows it; an out-of-range one goes to the Version page's controller, unclamped.
    void loadAndSelect_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<bool>("driver");
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("alertKey");    // empty: the pages are usable
        QTest::addColumn<QStringList>("calls");   // those willSelect makes
        QTest::addColumn<QStringList>("logged");  // by willSelect; none: not verbose
        const QStringList none;
        QTest::newRow("first start") << -1 << true << 0 << "Alert.disconnect" << none << none;
        QTest::newRow("panel, page 2, verbose")
            << 317 << true << 2 << QString()
            << QStringList{"hw.updateUIState", "cal.unselectedView", "hw.updateUIState"}
            << QStringList{"willSelect", "save OK"};
        QTest::newRow("panel, page 7")
            << 317 << true << 7 << QString() << QStringList{"ver.updateUIState"} << none;
        QTest::newRow("panel, driver off, verbose")
            << 317 << false << 1 << "Alert.driverDisable" << none << QStringList{"willSelect"};
        QTest::newRow("no panel, driver on")
            << 0 << true << 1 << "Alert.disconnect" << none << none;
        QTest::newRow("no panel, driver off")
            << 0 << false << 1 << "Alert.disconnect" << none << none;
    }
    void loadAndSelect() {
        QFETCH(int, model);
        QFETCH(bool, driver);
        QFETCH(int, page);
        QFETCH(QString, alertKey);
        QFETCH(QStringList, calls);
        QFETCH(QStringList, logged);
        const bool usable = alertKey.isEmpty();
        if (model >= 0) {
            writeUtilities(utilities(model, driver, page, !logged.isEmpty(), true));
        }
        verboseLog = !logged.isEmpty();  // as a monitor pass before the load would have left it
        LogCapture loading;
        startPane();
        QCOMPARE(loading.stop(), logged.isEmpty() ? QStringList{} : QStringList{"mainViewDidLoad"});
        const auto shown = [&] {
            return QList<bool>{tabView()->isVisible(), popUp()->isVisible(),
                               checkBox()->isVisible(), alert()->isVisible()};
        };
        QCOMPARE(shown(), (QList<bool>{usable, usable, usable, !usable}));
        QCOMPARE(popUp()->currentIndex(), usable ? 0 : -1);
        QCOMPARE(gModelType.load(), std::max(model, 0));
        QCOMPARE(gDriverEnable.load(), driver);
        QCOMPARE(log_, (QStringList{"set.resetTabView", "hw.resetTabView"}));
        const auto stored = readUtilities();
        QVERIFY(stored.has_value());
        QCOMPARE(stored->intValue("currentDeviceType"), std::max(model, 0));
        QCOMPARE(stored->boolValue("DriverEnable"), driver);
        QCOMPARE(stored->size(), std::size_t{5});
        QCOMPARE(stored->boolValue("VerboseLog"), !logged.isEmpty());

        log_.clear();
        LogCapture capture;
        pane_->willSelect();
        QCOMPARE(capture.stop(), logged);
        QCOMPARE(log_, calls);
        QCOMPARE(shown(), (QList<bool>{usable, usable, usable, !usable}));
        QCOMPARE(_currentItemIndex.load(), usable ? page : 0);
        QCOMPARE(tabView()->currentIndex(), usable && page < 4 ? page : 0);
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), page);  // the stored page is kept
        QCOMPARE(checkBox()->isChecked() && pane_->statusBarIsShow(), usable);
        if (!usable) {
            QCOMPARE(alert()->text(), localizedText(qPrintable(alertKey)));
        } else if (page < 4) {
            QCOMPARE(popUp()->currentIndex(), page);
        }
    }

    // Which controllers hear about a page change, in which order, for each page entered.
    void tabViewDelegateCalls_data() {
        QTest::addColumn<int>("viaPopUp");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<QStringList>("calls");
        const struct {
            int from, to;
            QStringList calls;
        } cases[] = {
            {3, 0, {"cal.updateUIState", "hw.unselectedView"}},
            {0, 1, {"set.updateUIState", "cal.unselectedView", "hw.unselectedView"}},
            {0, 2, {"cal.unselectedView", "hw.updateUIState"}},
            {0, 3, {"cal.unselectedView", "hw.unselectedView", "ver.updateUIState"}},
        };
        for (const int way : {0, 1, 2}) {  // 2: a screen reader selects the pop-up's item
            for (const auto &c : cases) {
                QTest::addRow("to %d by %s", c.to, way ? way > 1 ? "reader" : "pop-up" : "tab bar")
                    << way << c.from << c.to << c.calls;
            }
        }
    }
    void tabViewDelegateCalls() {
        QFETCH(int, viaPopUp);
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QStringList, calls);
        writeUtilities(utilities(317, true, from));
        startPane(true);
        log_.clear();

        LogCapture capture;
        if (viaPopUp > 1) {  // the pop-up's items are children of its list
            QAccessibleInterface *list = QAccessible::queryAccessibleInterface(popUp())->child(0);
            list->child(to)->actionInterface()->doAction(
                QAccessibleActionInterface::toggleAction());
        } else if (viaPopUp) {
            // What choosing an item in the open pop-up list does.
            popUp()->setCurrentIndex(to);
            emit popUp()->activated(to);
        } else {
            QTabBar *bar = tabView()->tabBar();
            QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(to).center());
        }
        QCOMPARE(log_, calls);
        QCOMPARE(capture.stop(), QStringList{});  // "save OK" only when verbose
        QCOMPARE(tabView()->currentIndex(), to);
        QCOMPARE(popUp()->currentIndex(), to);
        QCOMPARE(_currentItemIndex.load(), to);
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), to);
    }

    // While no panel is known a page change is not taken up, unless the file names one by now.
    void delegateWhileNoPanelKnown() {
        writeUtilities(utilities(0, true, 1));
        startPane(true);
        const QByteArray before = utilitiesBytes();
        log_.clear();
        popUp()->setCurrentIndex(2);
        emit popUp()->activated(2);
        tabView()->setCurrentIndex(1);
        QCOMPARE(popUp()->currentIndex(), 2);  // not moved to follow the tab
        QCOMPARE(utilitiesBytes(), before);
        QVERIFY(log_.isEmpty());
        QCOMPARE(_currentItemIndex.load(), 0);

        writeUtilities(utilities(317, true, 1));
        pane_->selectView(3);
        QCOMPARE(gModelType.load(), 317);
        QCOMPARE(log_,
                 (QStringList{"cal.unselectedView", "hw.unselectedView", "ver.updateUIState"}));
        QCOMPARE(readUtilities()->intValue("currentPageIndex"), 3);
    }

    void portCreatedOnceAndRemovedByWillUnselect() {
        writeUtilities(utilities(317, true, 0));
        startPane();
        QDBusConnection peer = peerConnection();
        const QString service = QStringLiteral("io.tavix.MessagePort.preferenceCommend");
        QDBusServiceWatcher watcher(service, peer, QDBusServiceWatcher::WatchForRegistration);
        int registrations = 0;
        connect(&watcher, &QDBusServiceWatcher::serviceRegistered, this, [&] { ++registrations; });

        for (int i = 0; i < 2; ++i) {
            pane_->willSelect();
            QVERIFY(sendToPane(QByteArray(1, '\x0a')));
        }
        QCOMPARE(registrations, 1);

        log_.clear();
        pane_->willUnselect();
        QCOMPARE(log_, (QStringList{"cal.unselectedView", "hw.unselectedView"}));
        QTRY_VERIFY(!peer.interface()->isServiceRegistered(service).value());
        QVERIFY(!sendToPane(QByteArray(1, '\x02')));

        pane_->willSelect();
        QVERIFY(sendToPane(QByteArray(1, '\x0a')));
    }

    // The real pane with the shipped lists and pen support, in each language (317 in English, a
    // model with the service panels in German): on
    // every page and inner tab no two visible widgets overlap and none leaves the window (a
    // widget left out of its layout sits over its neighbour), every value is heard, no text is a
    // raw key ("Page.version") and every control a person can reach has a name.
    void everyPage_data() {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("language");
        QTest::addColumn<int>("model");
        QTest::addColumn<int>("controls");  // so that a page the walk misses shows
        QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedKingdom) << "en" << 317
                                 << 64;
        QTest::newRow("German") << QLocale(QLocale::German, QLocale::Austria) << "de" << 259 << 64;
    }
    void everyPage() {
        QFETCH(QLocale, locale);
        QFETCH(QString, language);
        QFETCH(int, model);
        QFETCH(int, controls);
        // English first, so that the locale's tables are searched before it; each table has every
        // key of the English one, with a text, and lookups give it; an unknown key stays itself.
        const QStringList installed = installPaneTranslations(locale);
        QVERIFY(installed.first().endsWith(QStringLiteral("_en.qm")));
        for (const char *table : {"translations/pane", "properties/translations/properties",
                                  "hardwareinfo/translations/hardwareinfo"}) {
            const QString name = QString::fromLatin1(table).section(QLatin1Char('/'), -1);
            QVERIFY(installed.contains(QStringLiteral(":/i18n/%1_en.qm").arg(name)));
            QCOMPARE(installed.contains(QStringLiteral(":/i18n/%1_de.qm").arg(name)),
                     language == QLatin1String("de"));
            const auto english = readTs(QStringLiteral("%1_en.ts").arg(table));
            const auto expected = readTs(QStringLiteral("%1_%2.ts").arg(table, language));
            QVERIFY2(english.size() > 10, table);
            QCOMPARE(expected.keys(), english.keys());
            QVERIFY(!expected.values().contains(QString()));
        }
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

        // Pictures at 100 % only: the 200 % run checks the same layout's geometry.
        const auto snapshot = [&](const QString &where) {
            return view()->devicePixelRatio() > 1
                       ? QString()
                       : snapshotMismatch(view(),
                                          QStringLiteral("page-%1-%2").arg(where, language));
        };
        QStringList faults;
        int shown = 0;
        for (int page = 0; page < tabView()->count(); ++page) {
            tabView()->setCurrentIndex(page);
            const auto innerTabs = tabView()->widget(page)->findChildren<QTabWidget *>();
            for (QTabWidget *inner : innerTabs) {
                for (int tab = 0; tab < inner->count(); ++tab) {
                    inner->setCurrentIndex(tab);
                    shown += checkLaidOut(view(), &faults);
                    faults << snapshot(QStringLiteral("%1-%2").arg(page).arg(tab));
                }
            }
            shown += checkLaidOut(view(), &faults);
            if (innerTabs.isEmpty()) {
                faults << snapshot(QString::number(page));
            }
            faults << unheardLabels(view());
        }
        faults.removeDuplicates();
        faults.removeAll(QString());
        QCOMPARE(faults.join(u'\n'), QString());
        QVERIFY(shown > 150);

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
            for (const QString &text : texts) {
                QVERIFY2(!rawKey.match(text).hasMatch(), qPrintable(text));
            }
            // A tab view is named by its tabs' titles; the test areas take no focus but are read.
            const QString name = widget->objectName();
            if (!widget->isHidden() &&
                (widget->focusPolicy() != Qt::NoFocus || qobject_cast<TestView *>(widget)) &&
                !name.isEmpty() && !qobject_cast<QTabWidget *>(widget) &&
                !name.startsWith(QLatin1String("qt_")) &&
                !qobject_cast<QTabBar *>(widget->parentWidget())) {
                ++named;
                if (QAccessible::queryAccessibleInterface(widget)
                        ->text(QAccessible::Name)
                        .isEmpty()) {
                    unnamed << name;
                }
            }
        }
        QCOMPARE(unnamed, QStringList{});
        QCOMPARE(named, controls);
    }

    // The Version page: the driver version of the connected model, read straight from its file.
    void driverVersion_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<QByteArray>("file");  // null: none
        QTest::addColumn<QString>("shown");
        const auto plist = [](const char *key, const PlistValue &value) {
            SettingsDict d;
            d.set(key, value);
            return QByteArray::fromStdString(serializePlist(d));
        };
        QTest::newRow("model 0, no file") << 0 << QByteArray() << QString();
        QTest::newRow("recorded version") << 259 << plist("DriverVersion", "3.1.4.1") << "3.1.4.1";
        QTest::newRow("not a text") << 317 << plist("DriverVersion", 3) << QString();
        QTest::newRow("no DriverVersion") << 317 << plist("InputMode", 1) << QString();
        QTest::newRow("corrupt file") << 317 << QByteArray("<plist><dict><key>") << QString();
    }
    void driverVersion() {
        QFETCH(int, model);
        QFETCH(QByteArray, file);
        QFETCH(QString, shown);
        const QString path = QString::fromStdString(getSettingsFilePath(model));
        QFile out(path);
        QVERIFY(file.isNull() || (out.open(QIODevice::WriteOnly) && out.write(file) > 0));
        out.close();
        gModelType = model;
        QWidget page;
        VersionViewCtl controller(&page);
        auto *label = page.findChild<QLabel *>(QStringLiteral("versionText_"));
        QVERIFY(label != nullptr);
        label->setText(QStringLiteral("stale"));
        controller.updateUIState();
        QCOMPARE(label->text(), shown);
        QCOMPARE(QFile::exists(path), !file.isNull());  // the page never creates the file
    }
};

QTEST_MAIN(ShellTest)
#include "shell_test.moc"
