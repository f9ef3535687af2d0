#include "messageportreceiver.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QVariant>

#include <atomic>
#include <memory>
#include <utility>

namespace tavix::detail {
namespace {

constexpr qsizetype kMaxRememberedCallers = 64;

}  // namespace

MessagePortReceiver::MessagePortReceiver(DeferredPortCallback callback, uint ownerUid)
    : callback_(std::move(callback)), ownerUid_(ownerUid) {}

bool MessagePortReceiver::callerAllowed(const QString &sender) {
    auto cached = callerUids_.constFind(sender);
    if (cached != callerUids_.constEnd()) {
        return *cached == ownerUid_;
    }
    QDBusReply<uint> uid = connection().interface()->serviceUid(sender);
    if (!uid.isValid()) {
        return false;  // the caller left the bus already, or the bus would not say
    }
    if (callerUids_.size() >= kMaxRememberedCallers) {
        callerUids_.clear();
    }
    callerUids_.insert(sender, uid.value());
    return uid.value() == ownerUid_;
}

QByteArray MessagePortReceiver::SendRequest(int msgid, const QByteArray &data) {
    if (!calledFromDBus()) {
        return {};
    }
    if (!callerAllowed(message().service())) {
        sendErrorReply(QDBusError::AccessDenied,
                       QStringLiteral("this port serves only its owner's user"));
        return {};
    }
    setDelayedReply(true);
    PortResponder respond =
        [bus = connection(), request = message(),
         done = std::make_shared<std::atomic_bool>(false)](const QByteArray &reply) {
            if (done->exchange(true)) {
                return;
            }
            bus.send(request.createReply(QVariant::fromValue(reply)));
        };
    ++dispatching_;
    if (callback_) {
        callback_(msgid, data, std::move(respond));
    } else {
        respond(QByteArray());
    }
    --dispatching_;
    return {};
}

}  // namespace tavix::detail
