// The Properties page against the panel simulator: a slider moved in the real window changes the
// model's settings file through the simulator.
#include <QSlider>
#include <QTabWidget>
#include <QtTest/QtTest>

#include "../../sim/sim_support.h"
#include "globals.h"
#include "properties_env.h"
#include "settings_store.h"
#include "settingviewctl.h"

using namespace tavix;

class EndToEndTest : public QObject {
    Q_OBJECT

  private slots:
    void slidersReachTheSettingsFile() {
        const test::TempRoots roots;
        test::useShippedFolderName();
        const auto english = test::installTranslator(QStringLiteral("en"));
        QVERIFY(english);
        gModelType = 4711;
        const std::string file = getSettingsFilePath(4711);
        test::Sim sim(roots);
        QVERIFY(sim.start("--model 4711"));
        QTRY_VERIFY(readPlistFile(file).has_value());  // the simulator's defaults

        QWidget page;
        auto *ctl = new SettingViewCtl(
            &page, std::make_shared<test::FakeSystemInfo>(QStringLiteral("Linux"), -1), &page);
        ctl->updateUIState();
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        auto *range = page.findChild<QSlider *>(QStringLiteral("rangeSlider_"));
        auto *rate = page.findChild<QSlider *>(QStringLiteral("rateSlider_"));
        QCOMPARE(range->value(), 32);
        range->setFocus();
        QTest::keyClick(range, Qt::Key_End);
        QTest::keyClick(range, Qt::Key_Left);
        page.findChild<QTabWidget *>(QStringLiteral("settingTabView_"))->setCurrentIndex(1);
        rate->setFocus();
        QTest::keyClick(rate, Qt::Key_Home);  // the longest window, 1.0 s
        QTRY_COMPARE(readPlistFile(file)->intValue("DoubleClickRange"), 127);
        QTRY_COMPARE(readPlistFile(file)->doubleValue("DoubleClickRate"), 1.0);
    }
};

QTEST_MAIN(EndToEndTest)
#include "endtoend_test.moc"
