// Named message ports on the D-Bus session bus. A port named P is the well-known name
// io.tavix.MessagePort.P, object /io/tavix/MessagePort, interface io.tavix.MessagePort,
// method SendRequest(i msgid, ay data) -> ay reply.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
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

class LocalMessagePort {
  public:
    // Owns the name without queueing. nullptr when another connection owns it already or the
    // bus cannot be reached. Callers of another uid are refused with AccessDenied.
    static std::unique_ptr<LocalMessagePort> create(
        const QString &name, PortCallback callback,
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
    // A port exists while its name has an owner; nullopt otherwise.
    static std::optional<RemoteMessagePort> lookup(
        const QString &name, const QDBusConnection &bus = QDBusConnection::sessionBus());

    // Sends one request and returns at once; the call's time-out is sendTimeout + receiveTimeout
    // seconds. Requests from one thread keep their order. onReply, when given, runs on the main
    // thread with the outcome. Safe to call from any thread.
    void sendRequest(qint32 msgid, const QByteArray &data, double sendTimeout,
                     double receiveTimeout, ReplyCallback onReply = {}) const;

    QString name() const { return name_; }

  private:
    RemoteMessagePort(QString name, QDBusConnection bus);
    QString name_;
    QDBusConnection bus_;
};

}  // namespace tavix
