// The Version page: the driver version of the connected model, read straight from its file.
#include <QLabel>
#include <QtTest>

#include "globals.h"
#include "pane_test_support.h"
#include "version/versionviewctl.h"

using namespace tavix;
using namespace tavix::test;

class VersionTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { env_.reset(); }

    void driverVersion_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<QByteArray>("file");  // "none", "defaults", or the file's bytes
        QTest::addColumn<QString>("shown");
        const auto plist = [](const SettingsDict &d) {
            return QByteArray::fromStdString(serializePlist(d));
        };
        SettingsDict version;
        version.set("DriverVersion", "3.1.4.1");
        SettingsDict noVersion;
        noVersion.set("InputMode", 1);
        SettingsDict number;
        number.set("DriverVersion", 42);

        QTest::newRow("model 0, no file") << 0 << QByteArray("none") << QString();
        QTest::newRow("model 317, no file") << 317 << QByteArray("none") << QString();
        QTest::newRow("defaults") << 317 << QByteArray("defaults") << "0.8.0.3";
        QTest::newRow("recorded version") << 259 << plist(version) << "3.1.4.1";
        QTest::newRow("negative model") << -1 << plist(version) << "3.1.4.1";
        QTest::newRow("no DriverVersion") << 317 << plist(noVersion) << QString();
        QTest::newRow("not a string") << 317 << plist(number) << QString();
        QTest::newRow("corrupt file") << 317 << QByteArray("<plist><dict><key>") << QString();
        QTest::newRow("empty file") << 317 << QByteArray() << QString();
    }
    void driverVersion() {
        QFETCH(int, model);
        QFETCH(QByteArray, file);
        QFETCH(QString, shown);
        const QString path = QString::fromStdString(getSettingsFilePath(model));
        if (file == "defaults") {
            readSettingItemsFromPlist(path.toStdString());
        } else if (file != "none") {
            QFile out(path);
            QVERIFY(out.open(QIODevice::WriteOnly));
            out.write(file);
        }
        gModelType = model;

        QWidget page;
        VersionViewCtl controller(&page);
        auto *label = page.findChild<QLabel *>(QStringLiteral("versionText_"));
        QVERIFY(label != nullptr);
        label->setText(QStringLiteral("stale"));
        controller.updateUIState();
        QCOMPARE(label->text(), shown);
        // The page never creates the file.
        QCOMPARE(QFile::exists(path), file != "none");
    }

  private:
    TestEnvironment env_;
};

QTEST_MAIN(VersionTest)
#include "version_test.moc"
