// A port refuses callers of another uid. Needs root, to run the second caller as user nobody
// on a private bus that admits both users.
#include <QDBusConnection>
#include <QDBusError>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest/QtTest>

#include <unistd.h>

#include <memory>

#include "messageport.h"
#include "test_support.h"

using namespace tavix;

namespace {

constexpr int kNobodyUid = 65534;
const QString kBusConnection = QStringLiteral("foreign-uid-bus");
const QString kPort = QStringLiteral("ForeignUidProbe");

}  // namespace

class ForeignUidTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;
    QProcess bus_;
    QString address_;
    std::unique_ptr<LocalMessagePort> port_;
    int calls_ = 0;

    // dbus-send on the private bus, as root or as nobody; returns (exit code, stderr).
    std::pair<int, QString> callPort(bool asNobody) {
        QStringList args;
        QString program = QStandardPaths::findExecutable(QStringLiteral("dbus-send"));
        if (asNobody) {
            args << QStringLiteral("--reuid=%1").arg(kNobodyUid)
                 << QStringLiteral("--regid=%1").arg(kNobodyUid) << QStringLiteral("--clear-groups")
                 << program;
            program = QStandardPaths::findExecutable(QStringLiteral("setpriv"));
        }
        args << QStringLiteral("--bus=") + address_ << QStringLiteral("--print-reply")
             << QStringLiteral("--reply-timeout=5000")
             << QStringLiteral("--dest=io.tavix.MessagePort.") + kPort
             << QStringLiteral("/io/tavix/MessagePort")
             << QStringLiteral("io.tavix.MessagePort.SendRequest") << QStringLiteral("int32:0")
             << QStringLiteral("array:byte:5");
        QProcess call;
        call.setWorkingDirectory(QStringLiteral("/"));
        call.start(program, args);
        if (!call.waitForStarted(5000)) {
            return {-1, QStringLiteral("could not start ") + program};
        }
        // Keep serving the port while the caller waits for its answer.
        if (!QTest::qWaitFor([&] { return call.state() == QProcess::NotRunning; }, 10000)) {
            call.kill();
            call.waitForFinished();
            return {-1, QStringLiteral("timed out")};
        }
        return {call.exitCode(), QString::fromLocal8Bit(call.readAllStandardError())};
    }

  private Q_SLOTS:
    void initTestCase() {
        if (::geteuid() != 0) {
            QSKIP("needs root to run a second caller as user nobody (uid 65534)");
        }
        if (QStandardPaths::findExecutable(QStringLiteral("setpriv")).isEmpty() ||
            QStandardPaths::findExecutable(QStringLiteral("dbus-send")).isEmpty()) {
            QSKIP("needs setpriv (util-linux) and dbus-send (dbus-bin)");
        }
        roots_ = std::make_unique<test::TempRoots>();
        bus_.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + QStringLiteral(TAVIX_FOREIGN_BUS_CONFIG),
                    QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        QVERIFY(bus_.waitForStarted(5000));
        QVERIFY(QTest::qWaitFor([&] { return bus_.canReadLine(); }, 10000));
        address_ = QString::fromLocal8Bit(bus_.readLine()).trimmed();
        QVERIFY(!address_.isEmpty());

        QDBusConnection bus = QDBusConnection::connectToBus(address_, kBusConnection);
        QVERIFY2(bus.isConnected(), qPrintable(bus.lastError().message()));
        port_ = LocalMessagePort::create(
            kPort,
            [this](qint32, const QByteArray &) {
                ++calls_;
                return QByteArray("ok");
            },
            bus);
        QVERIFY(port_);
    }

    void cleanupTestCase() {
        port_.reset();
        QDBusConnection::disconnectFromBus(kBusConnection);
        if (bus_.state() != QProcess::NotRunning) {
            bus_.terminate();
            bus_.waitForFinished(5000);
        }
    }

    void callerOfTheSameUidIsServed() {
        const int before = calls_;
        auto [code, err] = callPort(false);
        QVERIFY2(code == 0, qPrintable(err));
        QCOMPARE(calls_, before + 1);
    }

    void callerOfAnotherUidIsRefused() {
        const int before = calls_;
        auto [code, err] = callPort(true);
        QVERIFY2(code != 0, "the foreign caller was served");
        QVERIFY2(err.contains(QStringLiteral("org.freedesktop.DBus.Error.AccessDenied")),
                 qPrintable(err));
        QCOMPARE(calls_, before);
        // Refused twice: the remembered uid gives the same answer.
        auto [again, err2] = callPort(true);
        QVERIFY(again != 0);
        QVERIFY2(err2.contains(QStringLiteral("AccessDenied")), qPrintable(err2));
        QCOMPARE(calls_, before);
    }
};

QTEST_GUILESS_MAIN(ForeignUidTest)
#include "foreign_uid_test.moc"
