// The pieces of the Properties page that read text: the range field's number rules and the
// os-release reader behind the system version string.
#include <QSysInfo>
#include <QtTest/QtTest>

#include "rangetext.h"
#include "settingviewctl.h"
#include "systeminfo.h"

using namespace tavix;

class UnitsTest : public QObject {
    Q_OBJECT

  private slots:
    void leadingInteger_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("value");
        QTest::newRow("negative truncates toward zero") << "-3.7" << -3;
        QTest::newRow("leading blanks and sign") << "  +12" << 12;
        QTest::newRow("trailing text") << "12px" << 12;
        QTest::newRow("exponent") << "1.5e2" << 150;
        QTest::newRow("point first") << ".9" << 0;
        QTest::newRow("sign only") << "-" << 0;
        QTest::newRow("inf is not a number") << "inf" << 0;
        QTest::newRow("saturates high") << "1e30" << std::numeric_limits<int>::max();
        QTest::newRow("saturates low") << "-99999999999" << std::numeric_limits<int>::min();
        QTest::newRow("exponent overflow") << "1e999" << std::numeric_limits<int>::max();
        QTest::newRow("exponent underflow") << "1e-999" << 0;
    }
    void leadingInteger() {
        QFETCH(QString, text);
        QFETCH(int, value);
        QCOMPARE(leadingIntegerValue(text), value);
    }

    void formatter_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("empty") << "" << true;
        QTest::newRow("blanks around") << " 45 " << true;
        QTest::newRow("lower bound") << "8" << true;
        QTest::newRow("upper bound") << "128" << true;
        QTest::newRow("below") << "7.99" << false;
        QTest::newRow("above") << "128.01" << false;
        QTest::newRow("trailing letters") << "45px" << false;
        QTest::newRow("infinity") << "inf" << false;
    }
    void formatter() {
        QFETCH(QString, text);
        QFETCH(bool, accepted);
        QCOMPARE(rangeFormatterAccepts(text, SettingViewCtl::kRangeMinimum,
                                       SettingViewCtl::kRangeMaximum),
                 accepted);
    }

    void formatterAcceptsTheUsersDecimalComma() {
        const QLocale saved;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const bool accepted = rangeFormatterAccepts(QStringLiteral("45,9"), 8, 128);
        QLocale::setDefault(saved);
        QVERIFY(accepted);
        QCOMPARE(leadingIntegerValue(QStringLiteral("45,9")), 45);
    }

    void prettyName_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("pretty");
        QTest::newRow("double quotes")
            << QByteArray("NAME=x\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n")
            << "Debian GNU/Linux 12 (bookworm)";
        QTest::newRow("single quotes")
            << QByteArray("PRETTY_NAME='Fedora Linux 39'") << "Fedora Linux 39";
        QTest::newRow("unquoted") << QByteArray("PRETTY_NAME=Arch") << "Arch";
        QTest::newRow("escapes") << QByteArray("PRETTY_NAME=\"A \\\"B\\\" \\\\ C\"")
                                 << "A \"B\" \\ C";
        QTest::newRow("missing key") << QByteArray("NAME=x\nVERSION_ID=1\n") << "Linux";
        QTest::newRow("comment ignored") << QByteArray("#PRETTY_NAME=no\nPRETTY_NAME=yes") << "yes";
        QTest::newRow("last wins") << QByteArray("PRETTY_NAME=a\nPRETTY_NAME=b") << "b";
        QTest::newRow("other key with same prefix") << QByteArray("PRETTY_NAME_X=no") << "Linux";
        QTest::newRow("empty value") << QByteArray("PRETTY_NAME=") << "";
        QTest::newRow("garbage") << QByteArray("\x01\x02=\n=\n\n") << "Linux";
        QTest::newRow("utf-8") << QByteArray("PRETTY_NAME=\"Gr\xc3\xbc\xc3\x9f\"")
                               << QString::fromUtf8("Grüß");
    }
    void prettyName() {
        QFETCH(QByteArray, text);
        QFETCH(QString, pretty);
        QCOMPARE(prettyNameFromOsRelease(text), pretty);
    }

    void linuxSystemInfoReadsTheGivenFile() {
        const LinuxSystemInfo info(QStringLiteral(TAVIX_PROPERTIES_TEST_DATA "/os-release-quoted"));
        QCOMPARE(info.operatingSystemVersionString(), QStringLiteral("Example \"Linux\" 10.13"));
        QCOMPARE(info.systemMinorVersion(), -1);
        const LinuxSystemInfo missing(QStringLiteral(TAVIX_PROPERTIES_TEST_DATA "/no-such-file"));
        QCOMPARE(missing.operatingSystemVersionString(), QStringLiteral("Linux"));
        QCOMPARE(missing.systemMinorVersion(), -1);
    }

    void runningSystemIsNeverTheKernel() {
        const auto info = currentSystemInfo();
        QCOMPARE(info->systemMinorVersion(), -1);
        const QString version = info->operatingSystemVersionString();
        QVERIFY(!version.isEmpty());
        QVERIFY2(!version.contains(QSysInfo::kernelVersion()), qPrintable(version));
    }
};

QTEST_MAIN(UnitsTest)
#include "units_test.moc"
