#include "messageport.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QLoggingCategory>
#include <QMutex>
#include <QPointer>
#include <QThread>

#include <unistd.h>

#include <atomic>
#include <cmath>
#include <mutex>
#include <utility>
#include <vector>

#include "messageport_adaptor.h"
#include "messageport_proxy.h"
#include "messageportreceiver.h"

Q_LOGGING_CATEGORY(lcMessagePort, "tavix.platform.messageport")

namespace tavix {
namespace {

const QString kObjectPath = QStringLiteral("/io/tavix/MessagePort");
constexpr int kBusDriverTimeoutMs = 1000;

QString busName(const QString &port) {
    return QStringLiteral("io.tavix.MessagePort.") + port;
}

QThread *mainThread() {
    QCoreApplication *app = QCoreApplication::instance();
    return app ? app->thread() : nullptr;
}

// The uid the bus recorded for our own connection; the process's effective uid if the bus
// does not say.
uint ownUid(const QDBusConnection &bus) {
    QDBusReply<uint> uid = bus.interface()->serviceUid(bus.baseService());
    return uid.isValid() ? uid.value() : static_cast<uint>(::geteuid());
}

int timeoutMs(double sendTimeout, double receiveTimeout) {
    const double total = (sendTimeout + receiveTimeout) * 1000.0;
    if (!(total >= 1.0)) {
        return 1;  // zero, negative or NaN: fail at once rather than wait the bus default
    }
    return total > 2'000'000'000.0 ? 2'000'000'000 : static_cast<int>(std::lround(total));
}

// Qt makes a proxy watch its service's owner: a match rule is added when one is built and
// removed when it goes, two extra bus messages for every request if a proxy were built per
// request. So the main thread, where commands come from, keeps the proxy of the owner it last
// talked to. The port handle (from a lookup or the tracked owner) still decides for every
// request whether there is a port and who owns it; the kept proxy only serves requests
// addressed to that very owner.
struct MainThreadProxy {
    QString connectionName;
    QString connectionId;  // our own unique name on that bus
    QString owner;
    std::unique_ptr<MessagePortProxy> proxy;
    bool cleanupRegistered = false;
};

MainThreadProxy &mainThreadProxy() {
    static MainThreadProxy kept;
    return kept;
}

void dropMainThreadProxy() {
    MainThreadProxy &kept = mainThreadProxy();
    kept.proxy.reset();
    kept.owner.clear();
    kept.cleanupRegistered = false;
}

// The proxy for owner on bus: the kept one on the main thread, else a new one in *temporary.
MessagePortProxy *proxyFor(const QDBusConnection &bus, const QString &owner,
                           std::unique_ptr<MessagePortProxy> *temporary) {
    QThread *main = mainThread();
    if (main == nullptr || QThread::currentThread() != main) {
        *temporary = std::make_unique<MessagePortProxy>(owner, kObjectPath, bus);
        return temporary->get();
    }
    MainThreadProxy &kept = mainThreadProxy();
    const QString id = bus.baseService();
    if (!kept.proxy || kept.owner != owner || kept.connectionName != bus.name() ||
        kept.connectionId != id) {
        kept.proxy = std::make_unique<MessagePortProxy>(owner, kObjectPath, bus);
        kept.owner = owner;
        kept.connectionName = bus.name();
        kept.connectionId = id;
        if (!kept.cleanupRegistered) {
            qAddPostRoutine(dropMainThreadProxy);  // gone before the application object
            kept.cleanupRegistered = true;
        }
    }
    return kept.proxy.get();
}

// Who owns a port, as the bus last announced it. The first use asks the bus once; from then
// on the bus's NameOwnerChanged signal keeps it current, so a request makes no lookup round
// trip. The watcher lives in the bus connection's own thread, so the owner changes as soon as
// the signal arrives, whatever the main thread is doing.
struct OwnerTracker {
    QString connectionName;
    QString connectionId;
    QString port;
    QMutex mutex;
    QString owner;           // empty: no owner
    bool announced = false;  // an announcement has come since the first query was sent
    bool settled = false;    // the first query has been answered
};

std::mutex &trackersMutex() {
    static std::mutex mutex;
    return mutex;
}

// Trackers live as long as the process (their watchers belong to the bus's thread).
std::vector<OwnerTracker *> &trackers() {
    static auto *all = new std::vector<OwnerTracker *>;
    return *all;
}

QString queryOwner(const QDBusConnection &bus, const QString &port) {
    QDBusMessage query = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetNameOwner"));
    query << busName(port);
    // The bus driver answers at once; Block (not BlockWithGui) so no event is handled meanwhile.
    const QDBusMessage answer = bus.call(query, QDBus::Block, kBusDriverTimeoutMs);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) {
        return {};
    }
    return answer.arguments().constFirst().toString();
}

OwnerTracker *trackerFor(const QDBusConnection &bus, const QString &port) {
    std::lock_guard lock(trackersMutex());
    const QString id = bus.baseService();
    for (OwnerTracker *t : trackers()) {
        if (t->port == port && t->connectionName == bus.name() && t->connectionId == id) {
            return t;
        }
    }
    auto *tracker = new OwnerTracker;
    tracker->connectionName = bus.name();
    tracker->connectionId = id;
    tracker->port = port;
    trackers().push_back(tracker);
    auto *watcher =
        new QDBusServiceWatcher(busName(port), bus, QDBusServiceWatcher::WatchForOwnerChange);
    QObject::connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, watcher,
                     [tracker](const QString &, const QString &oldOwner, const QString &newOwner) {
                         QMutexLocker hold(&tracker->mutex);
                         // A change that does not start from the owner known now is one this
                         // process noted already (its own port, made or given up) and has
                         // moved beyond since: applying it late would undo a newer state.
                         if (tracker->settled && tracker->owner != oldOwner) {
                             return;
                         }
                         tracker->owner = newOwner;
                         tracker->announced = true;
                     });
    QDBusConnectionInterface *driver = bus.interface();
    QThread *busThread = driver != nullptr ? driver->thread() : mainThread();
    if (busThread != nullptr && watcher->thread() != busThread) {
        watcher->moveToThread(busThread);
    }
    const QString owner = queryOwner(bus, port);  // after the watch, so no change falls between
    QMutexLocker hold(&tracker->mutex);
    if (!tracker->announced) {
        tracker->owner = owner;
    }
    tracker->settled = true;
    return tracker;
}

// A port of this very process changed hands: trackers learn it at once, before the bus's
// announcement travels back.
void noteLocalOwner(const QString &port, const QString &owner, const QString &previous) {
    std::lock_guard lock(trackersMutex());
    for (OwnerTracker *t : trackers()) {
        QMutexLocker hold(&t->mutex);
        if (t->port == port && (previous.isEmpty() || t->owner == previous)) {
            t->owner = owner;
            t->announced = true;
        }
    }
}

}  // namespace

namespace detail {

void deliverOnMainThread(const QDBusPendingCall &pending, QPointer<QObject> context, bool bound,
                         ReplyCallback onReply) {
    QThread *main = mainThread();
    if (!onReply || main == nullptr) {
        return;
    }
    auto watch = [pending, context, bound, onReply = std::move(onReply)] {
        auto *watcher = new QDBusPendingCallWatcher(pending);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                         [context, bound, onReply](QDBusPendingCallWatcher *call) {
                             call->deleteLater();
                             if (bound && context.isNull()) {
                                 return;  // whoever asked is gone
                             }
                             QDBusPendingReply<QByteArray> reply = *call;
                             PortReply outcome;
                             outcome.ok = !reply.isError();
                             if (outcome.ok) {
                                 outcome.reply = reply.value();
                             }
                             onReply(outcome);
                         });
    };
    if (QThread::currentThread() == main) {
        watch();
    } else {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(watch),
                                  Qt::QueuedConnection);
    }
}

}  // namespace detail

struct LocalMessagePort::Impl {
    QString name;
    QDBusConnection bus{QString()};
    QString privateConnectionName;  // empty when the port runs on the caller's connection
    detail::MessagePortReceiver *receiver = nullptr;

    QString ownerId;  // our unique name while the port's name is ours

    ~Impl() {
        if (!ownerId.isEmpty()) {
            noteLocalOwner(name, QString(), ownerId);
        }
        if (receiver) {
            bus.unregisterObject(kObjectPath);
            if (bus.isConnected()) {
                bus.interface()->unregisterService(busName(name));
            }
            // The callback may be what is destroying its own port; let it return first.
            if (receiver->dispatching() || receiver->thread() != QThread::currentThread()) {
                receiver->deleteLater();
            } else {
                delete receiver;
            }
        }
        if (!privateConnectionName.isEmpty()) {
            bus = QDBusConnection(QString());
            QDBusConnection::disconnectFromBus(privateConnectionName);
        }
    }
};

LocalMessagePort::LocalMessagePort(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

LocalMessagePort::~LocalMessagePort() = default;

QString LocalMessagePort::name() const {
    return impl_->name;
}

std::unique_ptr<LocalMessagePort> LocalMessagePort::create(const QString &name,
                                                           PortCallback callback,
                                                           const QDBusConnection &bus) {
    DeferredPortCallback deferred;
    if (callback) {
        deferred = [callback = std::move(callback)](qint32 msgid, const QByteArray &data,
                                                    const PortResponder &respond) {
            respond(callback(msgid, data));
        };
    }
    return createDeferred(name, std::move(deferred), bus);
}

std::unique_ptr<LocalMessagePort> LocalMessagePort::createDeferred(const QString &name,
                                                                   DeferredPortCallback callback,
                                                                   const QDBusConnection &bus) {
    QThread *main = mainThread();
    if (!main) {
        qCWarning(lcMessagePort) << "port" << name << "needs a QCoreApplication";
        return nullptr;
    }
    auto impl = std::make_unique<Impl>();
    impl->name = name;
    if (bus.name() == QDBusConnection::sessionBus().name()) {
        static std::atomic_int serial{0};
        impl->privateConnectionName =
            QStringLiteral("tavix-port-%1-%2").arg(name).arg(serial.fetch_add(1));
        impl->bus =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, impl->privateConnectionName);
    } else {
        impl->bus = bus;
    }
    if (!impl->bus.isConnected()) {
        qCWarning(lcMessagePort) << "port" << name
                                 << "cannot reach the bus:" << impl->bus.lastError().message();
        return nullptr;
    }

    auto *receiver = new detail::MessagePortReceiver(std::move(callback), ownUid(impl->bus));
    new MessagePortAdaptor(receiver);
    if (receiver->thread() != main) {
        receiver->moveToThread(main);  // callbacks run on the main thread
    }
    if (!impl->bus.registerObject(kObjectPath, receiver, QDBusConnection::ExportAdaptors)) {
        qCWarning(lcMessagePort) << "port" << name << "cannot export its object on this connection";
        if (receiver->thread() == QThread::currentThread()) {
            delete receiver;
        } else {
            receiver->deleteLater();
        }
        return nullptr;
    }
    impl->receiver = receiver;

    QDBusReply<QDBusConnectionInterface::RegisterServiceReply> owned =
        impl->bus.interface()->registerService(busName(name),
                                               QDBusConnectionInterface::DontQueueService,
                                               QDBusConnectionInterface::DontAllowReplacement);
    if (!owned.isValid() || owned.value() != QDBusConnectionInterface::ServiceRegistered) {
        qCInfo(lcMessagePort) << "port" << name << "is owned by another connection";
        return nullptr;  // Impl's destructor unexports the object and closes the connection
    }
    impl->ownerId = impl->bus.baseService();
    noteLocalOwner(name, impl->ownerId, QString());
    return std::unique_ptr<LocalMessagePort>(new LocalMessagePort(std::move(impl)));
}

RemoteMessagePort::RemoteMessagePort(QString name, QString owner, QDBusConnection bus)
    : name_(std::move(name)), owner_(std::move(owner)), bus_(std::move(bus)) {}

std::optional<RemoteMessagePort> RemoteMessagePort::lookup(const QString &name,
                                                           const QDBusConnection &bus) {
    if (!bus.isConnected()) {
        return std::nullopt;
    }
    QString owner = queryOwner(bus, name);
    if (owner.isEmpty()) {
        return std::nullopt;
    }
    return RemoteMessagePort(name, std::move(owner), bus);
}

std::optional<RemoteMessagePort> RemoteMessagePort::tracked(const QString &name,
                                                            const QDBusConnection &bus) {
    if (!bus.isConnected()) {
        return std::nullopt;
    }
    OwnerTracker *tracker = trackerFor(bus, name);
    QString owner;
    {
        QMutexLocker hold(&tracker->mutex);
        owner = tracker->owner;
    }
    if (owner.isEmpty()) {
        return std::nullopt;
    }
    return RemoteMessagePort(name, std::move(owner), bus);
}

void RemoteMessagePort::sendRequest(qint32 msgid, const QByteArray &data, double sendTimeout,
                                    double receiveTimeout, ReplyCallback onReply) const {
    send(msgid, data, sendTimeout, receiveTimeout, nullptr, false, std::move(onReply));
}

void RemoteMessagePort::sendRequest(qint32 msgid, const QByteArray &data, double sendTimeout,
                                    double receiveTimeout, QObject *context,
                                    ReplyCallback onReply) const {
    send(msgid, data, sendTimeout, receiveTimeout, context, true, std::move(onReply));
}

void RemoteMessagePort::send(qint32 msgid, const QByteArray &data, double sendTimeout,
                             double receiveTimeout, QObject *context, bool bound,
                             ReplyCallback onReply) const {
    // Addressed to the owner found at lookup: a port that went away and came back is a new port.
    std::unique_ptr<MessagePortProxy> temporary;
    MessagePortProxy *proxy = proxyFor(bus_, owner_, &temporary);
    proxy->setTimeout(timeoutMs(sendTimeout, receiveTimeout));
    const QDBusPendingCall pending = proxy->SendRequest(msgid, data);
    detail::deliverOnMainThread(pending, context, bound, std::move(onReply));
}

}  // namespace tavix
