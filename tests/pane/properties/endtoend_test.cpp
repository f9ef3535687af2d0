// The Properties page against the panel simulator: a slider moved in the real window changes the
// model's settings file through the simulator.
#include <QProcess>
#include <QSlider>
#include <QTabWidget>
#include <QtTest/QtTest>

#include <memory>

#include "globals.h"
#include "paths.h"
#include "properties_env.h"
#include "settings_store.h"
#include "settingviewctl.h"

using namespace tavix;

namespace {

constexpr std::int32_t kModel = 4711;

std::optional<SettingsDict> storedSettings() {
    return readPlistFile(getSettingsFilePath(kModel));
}

}  // namespace

class EndToEndTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;
    std::unique_ptr<QTranslator> english_;
    QProcess sim_;

  private slots:
    void initTestCase() {
        roots_ = std::make_unique<test::TempRoots>();
        english_ = test::installTranslator(QStringLiteral("en"));
        QVERIFY(english_);
        // The per-user folder carries the product's name, as the pane's string table gives it.
        setLocalizedStringLookup([](const std::string &key) {
            return key == "PreferenceFolderName" ? std::string("TavixTouchPanel") : key;
        });
        gModelType = kModel;

        sim_.setProgram(QStringLiteral(TAVIX_PANEL_SIM));
        sim_.setArguments({QStringLiteral("--model"), QString::number(kModel),
                           QStringLiteral("--folder-name"), QStringLiteral("TavixTouchPanel"),
                           QStringLiteral("--quiet")});
        sim_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        sim_.start();
        QVERIFY(sim_.waitForStarted());
        QByteArray output;
        const auto ready = [&] {
            output += sim_.readAllStandardOutput();
            return output.contains("ready:") || sim_.state() != QProcess::Running;
        };
        QTRY_VERIFY_WITH_TIMEOUT(ready(), 10000);
        QCOMPARE(sim_.state(), QProcess::Running);
        // The simulator creates the model's settings file with its defaults.
        QTRY_VERIFY(storedSettings().has_value());
        QCOMPARE(storedSettings()->intValue("DoubleClickRange"), 32);
    }
    void cleanupTestCase() {
        sim_.terminate();
        QVERIFY(sim_.waitForFinished(5000));
    }

    void slidersReachTheSettingsFile() {
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
        QTRY_COMPARE(storedSettings()->intValue("DoubleClickRange"), 127);
        QTRY_COMPARE(storedSettings()->doubleValue("DoubleClickRate"), 1.0);
    }
};

QTEST_MAIN(EndToEndTest)
#include "endtoend_test.moc"
