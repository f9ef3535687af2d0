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

    QStringList received;

  private:
    QDBusConnection bus_ =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("daemon"));
    std::unique_ptr<LocalMessagePort> port_;
};

// A command no page sends, used to prove that nothing else was sent before it: sends keep
// their order, so once the marker has arrived everything sent earlier has arrived too.
inline const QString kMarker = QStringLiteral("20");
inline void sendMarker() {
    SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK));
}

// The names of the widgets Tab stops at in `window`, in order, from its first stop round again.
inline QStringList tabStops(QWidget *window) {
    QWidgetList seen;
    window->activateWindow();
    window->setFocus();
    QTest::keyClick(window, Qt::Key_Tab);
    for (QWidget *at = QApplication::focusWidget(); at && !seen.contains(at);
         at = QApplication::focusWidget()) {
        seen << at;
        QTest::keyClick(at, Qt::Key_Tab);
    }
    if (QWidget *at = QApplication::focusWidget()) {
        at->clearFocus();  // as it was, for the pictures
    }
    QStringList names;
    for (QWidget *widget : seen) {
        names << widget->objectName();
    }
    return names;
}

}  // namespace tavix::test
