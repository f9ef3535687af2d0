#include "hardwarereporter.h"

#include <QByteArray>
#include <QCommandLineOption>
#include <QCommandLineParser>

#include <algorithm>
#include <utility>

#include "messageport.h"
#include "paths.h"
#include "selftest.h"

namespace tavix::sim {
namespace {

const QString kReportPort = QStringLiteral("HardwareInfoFromDaemon");
constexpr double kPortTimeout = 1.0;
constexpr std::uint8_t kUnknownReportType = 0x63;
// The self-test reports start after this pause, so that the answer with the hardware type
// reaches the pane first.
constexpr int kSelfTestStartMs = 100;

// "AREA:POINT", POINT 0 or "*" for the whole area.
bool parseFault(const QString &text, std::pair<int, int> *fault) {
    const QStringList parts = text.split(QLatin1Char(':'));
    if (parts.size() != 2) {
        return false;
    }
    bool okArea = false;
    bool okPoint = true;
    const int area = parts[0].toInt(&okArea);
    const int point = parts[1] == QLatin1String("*") ? 0 : parts[1].toInt(&okPoint);
    if (!okArea || !okPoint || area < 1 || area > 255 || point < 0 || point > 255) {
        return false;
    }
    *fault = {area, point};
    return true;
}

bool parseByte(const QString &text, std::uint8_t *value) {
    bool ok = false;
    const uint v = text.toUInt(&ok, 0);
    if (!ok || v > 0xFF) {
        return false;
    }
    *value = static_cast<std::uint8_t>(v);
    return true;
}

// Six bytes in hex: checksum low, high, verdict, version A, B, C ("5a3c00012463").
bool parseFirmware(const QString &text, ChecksumAndVersion *info) {
    const QByteArray bytes = QByteArray::fromHex(text.toLatin1());
    if (text.size() != 12 || bytes.size() != 6 ||
        QString::fromLatin1(bytes.toHex()) != text.toLower()) {
        return false;
    }
    const auto b = [&](int i) { return static_cast<std::uint8_t>(bytes[i]); };
    *info = {b(0), b(1), b(2), b(3), b(4), b(5)};
    return true;
}

bool parseAreaList(const QString &text, std::vector<int> *areas) {
    areas->clear();
    for (const QString &part : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        bool ok = false;
        const int area = part.toInt(&ok);
        if (!ok || area < 1 || area > 255) {
            return false;
        }
        areas->push_back(area);
    }
    return !areas->empty();
}

bool faulty(const std::set<std::pair<int, int>> &faults, int area, int point) {
    return faults.count({area, point}) > 0 || faults.count({area, 0}) > 0;
}

}  // namespace

HardwareReporter::HardwareReporter(HardwareOptions options, QObject *parent)
    : QObject(parent), options_(std::move(options)) {
    selfTestTimer_.setSingleShot(true);
    connect(&selfTestTimer_, &QTimer::timeout, this, &HardwareReporter::sendNextSelfTestReport);
    connect(&buttonTimer_, &QTimer::timeout, this, &HardwareReporter::sendButtonState);
}

QList<QCommandLineOption> HardwareReporter::commandLineOptions() {
    return {
        {QStringLiteral("dip-byte"),
         QStringLiteral("DIP switch byte of the report, active-low with swapped nibbles "
                        "(default 0xF6)."),
         QStringLiteral("BYTE")},
        {QStringLiteral("firmware"),
         QStringLiteral("Checksum low, high, verdict, version A, B, C as 12 hex digits "
                        "(default 5a3c00012463)."),
         QStringLiteral("HEX")},
        {QStringLiteral("faulty-led"),
         QStringLiteral("An LED that fails the self-test (repeatable; POINT * for the area)."),
         QStringLiteral("AREA:POINT")},
        {QStringLiteral("faulty-sensor"),
         QStringLiteral("A sensor that fails the self-test (repeatable; POINT * for the area)."),
         QStringLiteral("AREA:POINT")},
        {QStringLiteral("incomplete-runs"),
         QStringLiteral("The first N self-test runs leave areas out."), QStringLiteral("N")},
        {QStringLiteral("left-out-areas"),
         QStringLiteral("The areas those runs leave out (default: the model's last)."),
         QStringLiteral("A,B,...")},
        {QStringLiteral("short-reports"),
         QStringLiteral("Send every report one byte shorter than its layout.")},
        {QStringLiteral("unknown-reports"),
         QStringLiteral("Send a report of an unknown type before every answer.")},
    };
}

bool HardwareReporter::fromCommandLine(const QCommandLineParser &parser, HardwareOptions *options,
                                       QString *error) {
    if (parser.isSet(QStringLiteral("dip-byte")) &&
        !parseByte(parser.value(QStringLiteral("dip-byte")), &options->dipByte)) {
        *error = QStringLiteral("--dip-byte needs a byte (0 to 255, 0x.. for hex)");
        return false;
    }
    if (parser.isSet(QStringLiteral("firmware")) &&
        !parseFirmware(parser.value(QStringLiteral("firmware")), &options->firmware)) {
        *error = QStringLiteral("--firmware needs 12 hex digits");
        return false;
    }
    const std::pair<const char *, std::set<std::pair<int, int>> *> faultOptions[] = {
        {"faulty-led", &options->faultyLeds}, {"faulty-sensor", &options->faultySensors}};
    for (const auto &[name, set] : faultOptions) {
        for (const QString &value : parser.values(QLatin1String(name))) {
            std::pair<int, int> fault;
            if (!parseFault(value, &fault)) {
                *error = QStringLiteral("--%1 needs AREA:POINT (1-255, 0-255 or *)").arg(name);
                return false;
            }
            set->insert(fault);
        }
    }
    if (parser.isSet(QStringLiteral("incomplete-runs"))) {
        bool ok = false;
        options->incompleteRuns = parser.value(QStringLiteral("incomplete-runs")).toInt(&ok);
        if (!ok || options->incompleteRuns < 0) {
            *error = QStringLiteral("--incomplete-runs needs a count of 0 or more");
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("left-out-areas")) &&
        !parseAreaList(parser.value(QStringLiteral("left-out-areas")), &options->leftOutAreas)) {
        *error = QStringLiteral("--left-out-areas needs area numbers 1-255, comma-separated");
        return false;
    }
    options->shortReports = parser.isSet(QStringLiteral("short-reports"));
    options->unknownReports = parser.isSet(QStringLiteral("unknown-reports"));
    return true;
}

QString HardwareReporter::consoleHelp() {
    return QStringLiteral(
        "  dip BYTE         DIP switch byte of the next reports (active-low, nibbles swapped)\n"
        "  firmware HEX     checksum low, high, verdict, version A, B, C (12 hex digits)\n"
        "  fault led|sensor AREA:POINT   fail that LED or sensor (POINT * for the area)\n"
        "  faults clear     every LED and sensor good again\n"
        "  incomplete N     the next N self-test runs leave areas out\n"
        "  short on|off     reports one byte shorter than their layout\n"
        "  unknown on|off   a report of an unknown type before every answer\n"
        "  buttons L B1 B2  fixed button states for the button reports (\"buttons cycle\": a\n"
        "                   pattern that changes with every report)\n"
        "  flood N          send N reports at once to \"HardwareInfoFromDaemon\"\n");
}

void HardwareReporter::send(std::vector<std::uint8_t> bytes) {
    std::optional<RemoteMessagePort> pane = RemoteMessagePort::lookup(kReportPort);
    if (!pane) {
        return;  // the page is not listening
    }
    if (options_.shortReports && !bytes.empty()) {
        bytes.pop_back();
    }
    ++sent_;
    pane->sendRequest(0,
                      QByteArray(reinterpret_cast<const char *>(bytes.data()),
                                 static_cast<qsizetype>(bytes.size())),
                      kPortTimeout, kPortTimeout);
}

void HardwareReporter::sendUnknown() {
    if (options_.unknownReports) {
        send({kUnknownReportType, 1, 2, 3, 4, 5, 6, 7});
    }
}

std::optional<QString> HardwareReporter::onCommand(const DecodedCommand &command,
                                                   std::int32_t hardwareType) {
    switch (command.code) {
        case COMMAND_GET_DIP_SW:
            sendUnknown();
            send(encodeDipSwitchReport(options_.dipByte));
            return QStringLiteral("reported DIP switch byte 0x%1")
                .arg(options_.dipByte, 2, 16, QLatin1Char('0'));
        case COMMAND_GET_CHECKSUM_AND_VERSION:
            sendUnknown();
            send(encodeChecksumReport(options_.firmware));
            return QStringLiteral("reported checksum %1 and version %2")
                .arg(QString::fromStdString(formatChecksum(options_.firmware)),
                     QString::fromStdString(formatFirmwareVersion(0, options_.firmware)));
        case COMMAND_START_SELF_TEST:
            startSelfTest(hardwareType);
            return QStringLiteral("self-test run %1 started").arg(runs_);
        case COMMAND_SHOW_MOUSE_INFO:
            if (command.integer == 1) {
                buttonTimer_.start(options_.buttonIntervalMs);
                return QStringLiteral("button reports on");
            }
            buttonTimer_.stop();
            return QStringLiteral("button reports off");
        case COMMAND_STOP_CHECK: {
            const bool running = !pending_.empty();
            pending_.clear();
            selfTestTimer_.stop();
            return running ? QStringLiteral("self-test stopped")
                           : QStringLiteral("no self-test running");
        }
        default:
            return std::nullopt;
    }
}

void HardwareReporter::startSelfTest(std::int32_t hardwareType) {
    ++runs_;
    pending_.clear();
    const std::optional<std::vector<DeviceEntry>> list =
        readDeviceList(getSupportDeviceListFilePath());
    const DeviceEntry *entry = list ? findDeviceEntry(*list, hardwareType) : nullptr;
    if (entry != nullptr) {
        std::vector<int> leftOut = options_.leftOutAreas;
        if (leftOut.empty()) {
            leftOut.push_back(static_cast<int>(entry->areas.size()));
        }
        const bool incomplete = runs_ <= options_.incompleteRuns;
        for (std::size_t i = 0; i < entry->areas.size() && i < 255; ++i) {
            const int area = static_cast<int>(i) + 1;
            if (incomplete && std::find(leftOut.begin(), leftOut.end(), area) != leftOut.end()) {
                continue;
            }
            const auto points = std::clamp<std::int64_t>(entry->areas[i].pointCount, 0, 255);
            for (int point = 1; point <= points; ++point) {
                pending_.push_back(
                    {static_cast<std::uint8_t>(area), static_cast<std::uint8_t>(point),
                     static_cast<std::uint8_t>(faulty(options_.faultySensors, area, point) ? 1 : 0),
                     static_cast<std::uint8_t>(faulty(options_.faultyLeds, area, point) ? 1 : 0)});
            }
        }
    }
    sendUnknown();
    // A model without a layout still gets one (empty) report, so the page judges what it has.
    if (pending_.empty()) {
        QTimer::singleShot(kSelfTestStartMs, this, [this] { send(encodeSelfTestReport({})); });
        return;
    }
    selfTestTimer_.start(kSelfTestStartMs);
}

void HardwareReporter::sendNextSelfTestReport() {
    const auto take =
        options_.recordsPerReport > 0
            ? std::min<std::size_t>(pending_.size(),
                                    static_cast<std::size_t>(options_.recordsPerReport))
            : pending_.size();
    std::vector<SelfTestRecord> chunk(pending_.begin(),
                                      pending_.begin() + static_cast<std::ptrdiff_t>(take));
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(take));
    send(encodeSelfTestReport(chunk));
    if (!pending_.empty()) {
        selfTestTimer_.start(options_.reportIntervalMs);
    }
}

void HardwareReporter::sendButtonState() {
    ButtonState state;
    if (fixedButtons_) {
        state = *fixedButtons_;
    } else {
        // L alone, then function button 1, then 2, then none.
        const int step = buttonStep_++ % 4;
        state = {static_cast<std::uint8_t>(step == 0), static_cast<std::uint8_t>(step == 1),
                 static_cast<std::uint8_t>(step == 2)};
    }
    send(encodeButtonReport(state));
}

void HardwareReporter::flood(int count) {
    for (int i = 0; i < count; ++i) {
        switch (i % 4) {
            case 0:
                send(encodeDipSwitchReport(static_cast<std::uint8_t>(i)));
                break;
            case 1:
                send(encodeChecksumReport(options_.firmware));
                break;
            case 2:
                send(encodeButtonReport({static_cast<std::uint8_t>(i & 1), 0, 1}));
                break;
            default:
                send(encodeSelfTestReport({}));
                break;
        }
    }
}

std::optional<QString> HardwareReporter::handleLine(const QStringList &words) {
    const QString verb = words.value(0).toLower();
    const QString arg = words.value(1).toLower();
    const auto error = [](const QString &text) { return QStringLiteral("error: ") + text; };
    const auto ok = [](const QString &text) { return QStringLiteral("ok: ") + text; };
    const auto onOff = [&](bool *flag, const QString &what) -> QString {
        if (words.size() != 2 || (arg != QLatin1String("on") && arg != QLatin1String("off"))) {
            return error(QStringLiteral("say \"%1 on\" or \"%1 off\"").arg(verb));
        }
        *flag = arg == QLatin1String("on");
        return ok(what + QStringLiteral(" ") + arg);
    };
    if (verb == QLatin1String("dip")) {
        if (words.size() != 2 || !parseByte(arg, &options_.dipByte)) {
            return error(QStringLiteral("dip takes a byte (0 to 255, 0x.. for hex)"));
        }
        return ok(
            QStringLiteral("DIP switch byte 0x%1").arg(options_.dipByte, 2, 16, QLatin1Char('0')));
    }
    if (verb == QLatin1String("firmware")) {
        if (words.size() != 2 || !parseFirmware(arg, &options_.firmware)) {
            return error(QStringLiteral("firmware takes 12 hex digits"));
        }
        return ok(QStringLiteral("firmware bytes %1").arg(arg));
    }
    if (verb == QLatin1String("fault")) {
        std::pair<int, int> fault;
        const bool led = arg == QLatin1String("led");
        if (words.size() != 3 || (!led && arg != QLatin1String("sensor")) ||
            !parseFault(words[2], &fault)) {
            return error(
                QStringLiteral("say \"fault led AREA:POINT\" or \"fault sensor "
                               "AREA:POINT\""));
        }
        (led ? options_.faultyLeds : options_.faultySensors).insert(fault);
        return ok(QStringLiteral("%1 %2 fails").arg(arg, words[2]));
    }
    if (verb == QLatin1String("faults")) {
        if (words.size() != 2 || arg != QLatin1String("clear")) {
            return error(QStringLiteral("say \"faults clear\""));
        }
        options_.faultyLeds.clear();
        options_.faultySensors.clear();
        return ok(QStringLiteral("every LED and sensor good"));
    }
    if (verb == QLatin1String("incomplete")) {
        bool valid = false;
        const int n = arg.toInt(&valid);
        if (words.size() != 2 || !valid || n < 0) {
            return error(QStringLiteral("incomplete takes a count of 0 or more"));
        }
        options_.incompleteRuns = runs_ + n;
        return ok(QStringLiteral("the next %1 runs leave areas out").arg(n));
    }
    if (verb == QLatin1String("short")) {
        return onOff(&options_.shortReports, QStringLiteral("short reports"));
    }
    if (verb == QLatin1String("unknown")) {
        return onOff(&options_.unknownReports, QStringLiteral("unknown reports"));
    }
    if (verb == QLatin1String("buttons")) {
        if (words.size() == 2 && arg == QLatin1String("cycle")) {
            fixedButtons_.reset();
            return ok(QStringLiteral("button states cycle"));
        }
        std::uint8_t b[3] = {};
        if (words.size() != 4 || !parseByte(words[1], &b[0]) || !parseByte(words[2], &b[1]) ||
            !parseByte(words[3], &b[2])) {
            return error(QStringLiteral("buttons takes three bytes, or \"cycle\""));
        }
        fixedButtons_ = ButtonState{b[0], b[1], b[2]};
        return ok(QStringLiteral("button states %1 %2 %3").arg(b[0]).arg(b[1]).arg(b[2]));
    }
    if (verb == QLatin1String("flood")) {
        bool valid = false;
        const int n = arg.toInt(&valid);
        if (words.size() != 2 || !valid || n < 1 || n > 100000) {
            return error(QStringLiteral("flood takes a count from 1 to 100000"));
        }
        flood(n);
        return ok(QStringLiteral("%1 reports sent").arg(n));
    }
    return std::nullopt;
}

QString HardwareReporter::status() const {
    return QStringLiteral("%1 self-test runs, %2 reports sent, button reports %3")
        .arg(runs_)
        .arg(sent_)
        .arg(buttonTimer_.isActive() ? QStringLiteral("on") : QStringLiteral("off"));
}

}  // namespace tavix::sim
