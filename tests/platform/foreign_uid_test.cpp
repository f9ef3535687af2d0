// A port refuses callers of another uid. Needs root, to run the second caller as user nobody
// on a private bus that admits both users.
#include <QDBusConnection>
#include <QDBusError>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest/QtTest>

#include <unistd.h>

#include <memory>
#include <tuple>

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

    // dbus-send on the private bus as the given user; returns (exit code, stderr).
    std::pair<int, QString> callPort(int uid) {
        const QStringList args =
            QStringLiteral(
                "--reuid=%1 --regid=%1 --clear-groups %2 --bus=%3 --print-reply "
                "--reply-timeout=5000 --dest=io.tavix.MessagePort.%4 "
                "/io/tavix/MessagePort io.tavix.MessagePort.SendRequest int32:0 "
                "array:byte:5")
                .arg(QString::number(uid),
                     QStandardPaths::findExecutable(QStringLiteral("dbus-send")), address_, kPort)
                .split(QLatin1Char(' '));
        const QString program = QStandardPaths::findExecutable(QStringLiteral("setpriv"));
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

    // The same call is served for the owner's uid and refused for another.
    void callerOfAnotherUidIsRefused() {
        auto [code, err] = callPort(0);
        QVERIFY2(code == 0, qPrintable(err));
        QCOMPARE(calls_, 1);
        std::tie(code, err) = callPort(kNobodyUid);
        QVERIFY2(code != 0, "the foreign caller was served");
        QVERIFY2(err.contains(QStringLiteral("org.freedesktop.DBus.Error.AccessDenied")),
                 qPrintable(err));
        QCOMPARE(calls_, 1);
    }
};

QTEST_GUILESS_MAIN(ForeignUidTest)
#include "foreign_uid_test.moc"
