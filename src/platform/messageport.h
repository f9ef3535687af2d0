// Named message ports on the D-Bus session bus. A port named P is the well-known name
// io.tavix.MessagePort.P, object /io/tavix/MessagePort, interface io.tavix.MessagePort,
// method SendRequest(i msgid, ay data) -> ay reply.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace tavix {

// Receives (msgid, data) on the main thread and returns the reply bytes (empty for none).
using PortCallback = std::function<QByteArray(qint32 msgid, const QByteArray &data)>;

// Outcome of one request: ok when a method return arrived; reply holds its bytes.
struct PortReply {
    bool ok = false;
    QByteArray reply;
};
using ReplyCallback = std::function<void(const PortReply &)>;

// For ports that answer later: the callback gets a responder that sends the reply when called
// (on the main thread, at most once; later calls are ignored). A responder that is never called
// leaves the caller to its time-out.
using PortResponder = std::function<void(const QByteArray &reply)>;
using DeferredPortCallback =
    std::function<void(qint32 msgid, const QByteArray &data, PortResponder respond)>;

class LocalMessagePort {
  public:
    // Owns the name without queueing. nullptr when another connection owns it already or the
    // bus cannot be reached. Callers of another uid are refused with AccessDenied.
    // A port on the session bus holds a bus connection of its own, because one connection
    // cannot tell which of its names a request was addressed to; a port made on any other
    // connection uses that connection, which then serves one port at a time.
    static std::unique_ptr<LocalMessagePort> create(
        const QString &name, PortCallback callback,
        const QDBusConnection &bus = QDBusConnection::sessionBus());
    static std::unique_ptr<LocalMessagePort> createDeferred(
        const QString &name, DeferredPortCallback callback,
        const QDBusConnection &bus = QDBusConnection::sessionBus());
    ~LocalMessagePort();  // gives the name back
    LocalMessagePort(const LocalMessagePort &) = delete;
    LocalMessagePort &operator=(const LocalMessagePort &) = delete;

    QString name() const;

  private:
    struct Impl;
    explicit LocalMessagePort(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

class RemoteMessagePort {
  public:
    // A port exists while its name has an owner; nullopt otherwise. Asks the bus itself (a
    // short blocking query that never waits on the port's owner).
    static std::optional<RemoteMessagePort> lookup(
        const QString &name, const QDBusConnection &bus = QDBusConnection::sessionBus());

    // The port as the bus last announced it, without a round trip: the first call for a name
    // asks the bus once and watches its owner-change signal from then on (ports of this
    // process are known as soon as they are made or given up). nullopt while it has no owner.
    static std::optional<RemoteMessagePort> tracked(
        const QString &name, const QDBusConnection &bus = QDBusConnection::sessionBus());

    // Sends one request to the owner found at lookup (a port that went away and came back is
    // a different port: the request then fails) and returns at once; the call's time-out is
    // sendTimeout + receiveTimeout seconds. Requests from one thread keep their order. onReply,
    // when given, runs on the main thread with the outcome. Safe to call from any thread.
    void sendRequest(qint32 msgid, const QByteArray &data, double sendTimeout,
                     double receiveTimeout, ReplyCallback onReply = {}) const;
    // The same, with onReply bound to context: when context is destroyed before the outcome
    // arrives, onReply does not run. context must live on the main thread.
    void sendRequest(qint32 msgid, const QByteArray &data, double sendTimeout,
                     double receiveTimeout, QObject *context, ReplyCallback onReply) const;

    QString name() const { return name_; }

  private:
    RemoteMessagePort(QString name, QString owner, QDBusConnection bus);
    void send(qint32 msgid, const QByteArray &data, double sendTimeout, double receiveTimeout,
              QObject *context, bool bound, ReplyCallback onReply) const;
    QString name_;
    QString owner_;  // the unique bus name that owned the port at lookup
    QDBusConnection bus_;
};

}  // namespace tavix
