// A daemon recording the pages' commands, a marker that all have arrived, and a page's Tab stops.
#pragma once

#include <QApplication>
#include <QByteArray>
#include <QDBusConnection>
#include <QStringList>
#include <QTest>
#include <QWidget>

#include <memory>

#include "../../platform/test_support.h"
#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"

namespace tavix::test {

// The daemon's port on its own bus connection, recording each command as "01 2D 00".
class RecordingDaemon {
  public:
    bool start() {
        port_ = LocalMessagePort::create(
            QString::fromLatin1(kDaemonPortName),
            [this](qint32 msgid, const QByteArray &data) {
                received << (msgid == 0 ? hexBytes(data) : QStringLiteral("msgid %1").arg(msgid));
                return QByteArray();
            },
            bus_);
        return port_ != nullptr;
    }
    void stop() { port_.reset(); }
    // Checks that exactly these commands came since the last check, sending a command no page
    // sends behind them: sends keep their order, so once it is in everything earlier is too.
    void expect(const QStringList &expected) {
        SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK));
        QTRY_VERIFY(received.contains(QStringLiteral("20")));
        QCOMPARE(std::exchange(received, {}), expected + QStringList{QStringLiteral("20")});
    }

    QStringList received;

  private:
    QDBusConnection bus_ =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("daemon"));
    std::unique_ptr<LocalMessagePort> port_;
};

// The names of the widgets Tab stops at in `window`, in order, from its first stop round again.
inline QStringList tabStops(QWidget *window) {
    window->activateWindow();
    window->setFocus();
    QTest::keyClick(window, Qt::Key_Tab);
    QWidgetList seen;
    for (QWidget *at; (at = QApplication::focusWidget()) && !seen.contains(at);) {
        seen << at;
        QTest::keyClick(at, Qt::Key_Tab);
    }
    QStringList names;
    for (QWidget *stop : seen) {
        names << stop->objectName();
        stop->clearFocus();  // as it was, for the pictures
    }
    return names;
}

}  // namespace tavix::test
