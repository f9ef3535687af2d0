// The Properties page against the panel simulator: a slider moved in the real window changes the
// model's settings file through the simulator, and the page shows the stored value when it is
// next refreshed.
#include <QLineEdit>
#include <QProcess>
#include <QSlider>
#include <QTabWidget>
#include <QtTest/QtTest>

#include <memory>

#include "fake_systeminfo.h"
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

    struct Page {
        std::unique_ptr<QWidget> widget = std::make_unique<QWidget>();
        SettingViewCtl *ctl = new SettingViewCtl(
            widget.get(), std::make_shared<test::FakeSystemInfo>(QStringLiteral("Linux"), -1),
            widget.get());
        template <typename T>
        T *w(const char *name) const {
            return widget->findChild<T *>(QLatin1String(name));
        }
        void show(int tab) {
            w<QTabWidget>("settingTabView_")->setCurrentIndex(tab);
            widget->show();
            QVERIFY(QTest::qWaitForWindowExposed(widget.get()));
        }
    };

  private slots:
    void initTestCase() {
        roots_ = std::make_unique<test::TempRoots>();
        QVERIFY(roots_->isValid());
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

    void rangeSliderReachesTheSettingsFile() {
        Page page;
        page.ctl->updateUIState();
        page.show(0);
        auto *slider = page.w<QSlider>("rangeSlider_");
        QCOMPARE(slider->value(), 32);
        slider->setFocus();
        QTest::keyClick(slider, Qt::Key_End);
        QTest::keyClick(slider, Qt::Key_Left);
        QTRY_COMPARE(storedSettings()->intValue("DoubleClickRange"), 127);

        // A fresh page, as after reopening the pane, shows what the driver side stored.
        Page next;
        QCOMPARE(next.w<QSlider>("rangeSlider_")->value(), 127);  // awakeFromNib
        next.ctl->updateUIState();
        QCOMPARE(next.ctl->doubleClickRange(), 127);
        QCOMPARE(next.w<QSlider>("rangeSlider_")->value(), 127);
        QCOMPARE(next.w<QLineEdit>("rengeText_")->text(), QStringLiteral("127"));
    }

    void rateSliderReachesTheSettingsFile() {
        Page page;
        page.ctl->updateUIState();
        page.show(1);
        auto *slider = page.w<QSlider>("rateSlider_");
        slider->setFocus();
        QTest::keyClick(slider, Qt::Key_Home);  // the longest window, 1.0 s
        QTRY_COMPARE(storedSettings()->doubleValue("DoubleClickRate"), 1.0);

        page.ctl->updateUIState();
        QCOMPARE(page.ctl->doubleClickRate(), 1.0);
        QCOMPARE(slider->value(), 0);
    }
};

QTEST_MAIN(EndToEndTest)
#include "endtoend_test.moc"
