// The pane's shell: life cycle, page navigation, every page laid out and heard, the string tables.
#include <QAccessible>
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
        const bool usable = alertKey.isEmpty(), verbose = !logged.isEmpty();
        if (model >= 0) {
            writeUtilities(utilities(model, driver, page, verbose, true));
        }
        verboseLog = verbose;  // as a monitor pass before the load would have left it
        LogCapture loading;
        startPane();
        QCOMPARE(loading.stop(), verbose ? QStringList{"mainViewDidLoad"} : QStringList{});
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
        const SettingsDict stored = utilities(std::max(model, 0), driver, page, verbose, true);
        QVERIFY(readUtilities() == stored);

        log_.clear();
        LogCapture capture;
        pane_->willSelect();
        QCOMPARE(capture.stop(), logged);
        QCOMPARE(log_, calls);
        QCOMPARE(seen("-selected"), QString());
        QCOMPARE(_currentItemIndex.load(), usable ? page : 0);
        QCOMPARE(pane_->statusBarIsShow(), usable);
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
        QTest::addColumn<QList<int>>("after");  // tab, pop-up, page in use, stored page
        const struct {
            int from, to;
            QStringList calls;
        } cases[] = {
            {3, 0, {"cal.updateUIState", "hw.unselectedView"}},
            {0, 1, {"set.updateUIState", "cal.unselectedView", "hw.unselectedView"}},
            {0, 2, {"cal.unselectedView", "hw.updateUIState"}},
            {0, 3, {"cal.unselectedView", "hw.unselectedView", "ver.updateUIState"}},
        };
        for (const int way : {0, 1, 2}) {
            for (const auto &c : cases) {
                QTest::addRow("to %d by %s", c.to, std::array{"tab bar", "pop-up", "reader"}[way])
                    << way << 317 << c.from << c.to << c.calls << QList<int>(4, c.to);
            }
        }
        QTest::newRow("no panel") << 3 << 0 << 1 << 2 << QStringList{} << QList<int>{2, -1, 0, 1};
        QTest::newRow("panel since") << 1 << -317 << 1 << 3 << cases[3].calls << QList<int>(4, 3);
    }
    void tabViewDelegateCalls() {
        QFETCH(int, way);
        QFETCH(int, model);  // negative: none at the start, this one by the change
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QStringList, calls);
        QFETCH(QList<int>, after);
        writeUtilities(utilities(std::max(model, 0), true, from));
        startPane(true);
        writeUtilities(utilities(std::abs(model), true, from));
        log_.clear();
        LogCapture capture;
        if (way == 3) {
            tabView()->setCurrentIndex(to);
        } else if (way == 2) {  // the pop-up's items are children of its list
            QAccessible::queryAccessibleInterface(popUp())
                ->child(0)
                ->child(to)
                ->actionInterface()
                ->doAction(QAccessibleActionInterface::toggleAction());
        } else if (way == 1) {  // what choosing an item in the open pop-up list does
            popUp()->setCurrentIndex(to);
            emit popUp()->activated(to);
        } else {
            QTest::mouseClick(tabView()->tabBar(), Qt::LeftButton, {},
                              tabView()->tabBar()->tabRect(to).center());
        }
        QCOMPARE(log_, calls);
        QCOMPARE(capture.stop(), QStringList{});  // "save OK" only when verbose
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
        QTest::addColumn<QString>("language");
        QTest::addColumn<int>("model");
        QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedKingdom) << "en"
                                 << 317;
        QTest::newRow("German") << QLocale(QLocale::German, QLocale::Austria) << "de" << 259;
    }
    void everyPage() {
        QFETCH(QLocale, locale);
        QFETCH(QString, language);
        QFETCH(int, model);
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
                if (QAccessible::queryAccessibleInterface(widget)
                        ->text(QAccessible::Name)
                        .isEmpty()) {
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
};

QTEST_MAIN(ShellTest)
#include "shell_test.moc"
