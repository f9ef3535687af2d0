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
        const auto plist = [](const char *key, const PlistValue &value) {
            SettingsDict d;
            d.set(key, value);
            return QByteArray::fromStdString(serializePlist(d));
        };
        QTest::newRow("model 0, no file") << 0 << QByteArray("none") << QString();
        QTest::newRow("model 317, no file") << 317 << QByteArray("none") << QString();
        QTest::newRow("defaults") << 317 << QByteArray("defaults") << "0.8.0.3";
        QTest::newRow("recorded version") << 259 << plist("DriverVersion", "3.1.4.1") << "3.1.4.1";
        QTest::newRow("negative model") << -1 << plist("DriverVersion", "3.1.4.1") << "3.1.4.1";
        QTest::newRow("no DriverVersion") << 317 << plist("InputMode", 1) << QString();
        QTest::newRow("not a string") << 317 << plist("DriverVersion", 42) << QString();
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
