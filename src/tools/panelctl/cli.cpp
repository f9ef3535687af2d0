#include "cli.h"

#include <QJsonDocument>
#include <QTimer>

#include <cstdio>

#include "atomic_file.h"
#include "daemonchannel.h"
#include "paths.h"
#include "settings_store.h"

namespace tavix::panelctl {
namespace {

constexpr double kPortTimeout = 1.0;

int noReport() {
    return fail(kExitNoReply, QStringLiteral("no report from the driver daemon in time"));
}

}  // namespace

void out(const QString &text) {
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

int fail(int status, const QString &message) {
    std::fprintf(stderr, "tavix-panelctl: %s\n", message.toUtf8().constData());
    return status;
}

int badInput(const QString &message) {
    return fail(kExitBadInput, message);
}

int noDaemon() {
    return fail(kExitNoDaemon, QStringLiteral("the driver daemon is not running"));
}

void printJson(const QJsonObject &object) {
    out(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) +
        QLatin1Char('\n'));
}

int deliver(const QString &text, const QString &file) {
    if (file.isEmpty()) {
        out(text);
        return kExitOk;
    }
    if (!writeFileAtomically(file.toStdString(), text.toStdString())) {
        return fail(kExitFailure, QStringLiteral("cannot write %1").arg(file));
    }
    return kExitOk;
}

QJsonValue jsonOf(const PlistValue &value) {
    if (value.isInteger()) {
        return static_cast<qint64>(value.toInt());
    }
    if (value.isBool()) {
        return value.toBool();
    }
    if (value.isReal()) {
        return value.toDouble();
    }
    if (value.isString()) {
        return QString::fromStdString(value.toString());
    }
    return QJsonValue();
}

QString textOf(const PlistValue &value) {
    if (value.isBool()) {
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    }
    if (value.isInteger()) {
        return QString::number(value.toInt());
    }
    if (value.isReal()) {
        return QString::number(value.toDouble(), 'g', 6);
    }
    if (value.isString()) {
        return QString::fromStdString(value.toString());
    }
    return QStringLiteral("(other)");
}

SettingsDict readState() {
    return readPlistFile(getUilitiesFilePath()).value_or(SettingsDict());
}

std::int32_t currentModel() {
    return static_cast<std::int32_t>(readState().intValue("currentDeviceType"));
}

bool daemonRunning() {
    return RemoteMessagePort::lookup(QString::fromLatin1(kDaemonPortName)).has_value();
}

// Sends one request and waits for its answer. kExitOk, or the status to exit with.
int sendAndWait(const std::optional<RemoteMessagePort> &port, qint32 msgid, const QByteArray &data,
                QByteArray *reply) {
    if (!port) {
        return noDaemon();
    }
    QEventLoop loop;
    std::optional<PortReply> outcome;
    port->sendRequest(msgid, data, kPortTimeout, kPortTimeout, [&](const PortReply &r) {
        outcome = r;
        loop.quit();
    });
    if (!outcome) {
        loop.exec();
    }
    if (!outcome->ok) {
        return fail(kExitNoReply, QStringLiteral("no reply from \"%1\" in time").arg(port->name()));
    }
    if (reply != nullptr) {
        *reply = outcome->reply;
    }
    return kExitOk;
}

int sendCommand(const Bytes &command, QByteArray *reply) {
    const QByteArray data(reinterpret_cast<const char *>(command.data()),
                          static_cast<qsizetype>(command.size()));
    return sendAndWait(RemoteMessagePort::lookup(QString::fromLatin1(kDaemonPortName)), 0, data,
                       reply);
}

int ReportListener::open() {
    const QString name = QString::fromLatin1(kHardwareInfoPortName);
    if (!RemoteMessagePort::lookup(name)) {
        port_ = LocalMessagePort::create(name, [this](qint32, const QByteArray &data) {
            if (!data.isEmpty()) {
                reports_.push_back(data);
                loop_.quit();
            }
            return QByteArray();
        });
    }
    if (!port_) {
        return fail(kExitFailure,
                    QStringLiteral("the settings window holds the port \"%1\"; leave its "
                                   "Hardware information page and try again")
                        .arg(name));
    }
    return kExitOk;
}

std::optional<QByteArray> ReportListener::next(std::uint8_t type, int timeoutMs) {
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop_, &QEventLoop::quit);
    timer.start(timeoutMs);
    while (true) {
        for (auto it = reports_.begin(); it != reports_.end(); ++it) {
            if (static_cast<std::uint8_t>(it->at(0)) == type) {
                QByteArray report = *it;
                reports_.erase(reports_.begin(), it + 1);
                return report;
            }
        }
        reports_.clear();
        if (!timer.isActive()) {
            return std::nullopt;
        }
        loop_.exec();
    }
}

// Sends a request and waits for the report of the given layout. A report too short for its
// layout is ignored, as the settings window ignores it.
int awaitReport(ReportListener &listener, CommandCode request, ReportType type, int timeoutMs,
                HardwareReport &report) {
    if (const int status = sendCommand(makeCommand(request)); status != kExitOk) {
        return status;
    }
    while (const std::optional<QByteArray> bytes = listener.next(type, timeoutMs)) {
        if (auto decoded =
                decodeHardwareReport(reinterpret_cast<const std::uint8_t *>(bytes->constData()),
                                     static_cast<std::size_t>(bytes->size()))) {
            report = std::move(*decoded);
            return kExitOk;
        }
    }
    return noReport();
}

int runSelfTest(ReportListener &listener, int timeoutMs, SelfTestRun &run) {
    constexpr int kMaxRuns = 10;
    for (int count = 1;; ++count) {
        QByteArray reply;
        if (const int status = sendCommand(makeCommand(COMMAND_START_SELF_TEST), &reply);
            status != kExitOk) {
            return status;
        }
        const std::optional<std::int32_t> type =
            decodeHardwareType(reinterpret_cast<const std::uint8_t *>(reply.constData()),
                               static_cast<std::size_t>(reply.size()));
        if (!type) {
            return fail(kExitNoReply,
                        QStringLiteral("the driver daemon did not say the hardware type"));
        }
        const auto list = readDeviceList(getSupportDeviceListFilePath());
        const DeviceEntry *device = list ? findDeviceEntry(*list, *type) : nullptr;
        if (device == nullptr) {
            return fail(kExitFailure,
                        QStringLiteral("hardware type %1 is not in the device list").arg(*type));
        }
        run.hardwareType = *type;
        run.device = *device;
        // Results may come in several reports: gather them until every area has answered or
        // the daemon has been quiet for a while.
        run.records.clear();
        std::optional<QByteArray> report = listener.next(REPORT_SELF_TEST_RESULT, timeoutMs);
        if (!report) {
            return noReport();
        }
        while (report) {
            const std::vector<SelfTestRecord> more =
                decodeSelfTestRecords(reinterpret_cast<const std::uint8_t *>(report->constData()),
                                      static_cast<std::size_t>(report->size()));
            run.records.insert(run.records.end(), more.begin(), more.end());
            if (!needRestartTestSelf(run.records, &run.device)) {
                break;
            }
            report = listener.next(REPORT_SELF_TEST_RESULT, std::min(timeoutMs, 500));
        }
        if (count == kMaxRuns || !needRestartTestSelf(run.records, &run.device)) {
            return kExitOk;
        }
    }
}

int missingAreas(const SelfTestRun &run) {
    return std::max(0, static_cast<int>(run.device.areas.size()) - countAreaRuns(run.records));
}

}  // namespace tavix::panelctl
