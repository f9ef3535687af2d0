// The object a local port exports at /io/tavix/MessagePort: the generated adaptor forwards each
// SendRequest here, where the caller's uid is checked before the port's callback sees anything.
#pragma once

#include <QByteArray>
#include <QDBusContext>
#include <QDBusPendingCall>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>

#include "messageport.h"

namespace tavix::detail {

// Reports the outcome of pending to onReply on the main thread, unless bound is set and context
// is gone by then. The watcher is always made on the main thread: one made on a worker thread
// that runs no event loop would never report a call that had already failed.
void deliverOnMainThread(const QDBusPendingCall &pending, QPointer<QObject> context, bool bound,
                         ReplyCallback onReply);

class MessagePortReceiver : public QObject, protected QDBusContext {
    Q_OBJECT

  public:
    MessagePortReceiver(DeferredPortCallback callback, uint ownerUid);

    // True while a request is being handed to the callback (the callback may destroy its port).
    bool dispatching() const { return dispatching_ > 0; }

  public Q_SLOTS:
    QByteArray SendRequest(int msgid, const QByteArray &data);

  private:
    bool callerAllowed(const QString &sender);

    DeferredPortCallback callback_;
    uint ownerUid_;
    // Unique bus names are never reused while the bus runs, so a sender's uid can be kept.
    QHash<QString, uint> callerUids_;
    int dispatching_ = 0;
};

}  // namespace tavix::detail
