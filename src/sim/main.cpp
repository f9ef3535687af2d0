// tavix-panel-sim: stands in for the touch-panel driver daemon and its panel on the session bus.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>

#include "panelsimulator.h"
#include "paths.h"

namespace {

int gSignalPipe[2] = {-1, -1};

extern "C" void onTerminationSignal(int) {
    const char byte = 1;
    [[maybe_unused]] ssize_t ignored = ::write(gSignalPipe[1], &byte, 1);
}

QString defaultDataDir() {
    const QString source = QStringLiteral(TAVIX_SIM_SOURCE_DATA_DIR);
    if (QDir(source).exists()) {
        return source;
    }
    return QStringLiteral(TAVIX_SIM_INSTALLED_DATA_DIR);
}

const char kFaultHelp[] =
    "Every command received on \"TavixTouchPanelDaemon\" is written to the --log file as one\n"
    "line of upper-case hex byte pairs separated by single spaces (\"01 20 00\"); an empty\n"
    "message is written as \"(empty)\". Each line is flushed as it is written.\n"
    "\n"
    "Setting commands (codes 1, 2, 8, 9, 11, 13-19, 21, 23, 31) are recorded in the model's\n"
    "settings file while a panel is connected; COMMAND_START_SELF_TEST is answered with the\n"
    "hardware type as 4 little-endian bytes; every other command gets an empty answer.\n"
    "Codes 26, 27 and 28 are answered with reports on \"HardwareInfoFromDaemon\" (DIP\n"
    "switches, checksum and version, self-test records of every area and point of the\n"
    "model's \"LEDSensorArray\"); 30 with 1 starts button-state reports until 30 with 0;\n"
    "32 stops a running self-test.\n"
    "\n"
    "Faults: --reply-delay, --never-reply and --vanish-on, also switchable at run time with\n"
    "\"delay\", \"noreply\" and \"vanish\". A vanished simulator exits with status 3.\n";

// Reads whole lines from standard input and hands them to the simulator.
class ConsoleReader : public QObject {
  public:
    explicit ConsoleReader(tavix::sim::PanelSimulator *sim) : sim_(sim) {
        notifier_ = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
        connect(notifier_, &QSocketNotifier::activated, this, [this] { readAvailable(); });
    }

  private:
    void readAvailable() {
        char chunk[4096];
        const ssize_t n = ::read(STDIN_FILENO, chunk, sizeof chunk);
        if (n <= 0) {
            notifier_->setEnabled(false);  // end of input: keep serving the bus
            return;
        }
        pending_.append(chunk, static_cast<qsizetype>(n));
        qsizetype end;
        while ((end = pending_.indexOf('\n')) >= 0) {
            const QString line = QString::fromUtf8(pending_.left(end));
            pending_.remove(0, end + 1);
            const QString answer = sim_->handleLine(line);
            if (!answer.isEmpty()) {
                std::printf("%s\n", qPrintable(answer));
                std::fflush(stdout);
            }
        }
        if (pending_.size() > 64 * 1024) {
            pending_.clear();  // no line is that long; drop the garbage
        }
    }

    tavix::sim::PanelSimulator *sim_;
    QSocketNotifier *notifier_;
    QByteArray pending_;
};

bool parseIntOption(const QCommandLineParser &parser, const QString &name, int min, int *out) {
    if (!parser.isSet(name)) {
        return true;
    }
    bool ok = false;
    const int value = parser.value(name).toInt(&ok);
    if (!ok || value < min) {
        std::fprintf(stderr, "tavix-panel-sim: --%s needs an integer of at least %d\n",
                     qPrintable(name), min);
        return false;
    }
    *out = value;
    return true;
}

}  // namespace

int main(int argc, char *argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavix-panel-sim"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Stands in for the touch-panel driver daemon and its panel on the D-Bus session bus."));
    parser.addOptions({
        {QStringLiteral("model"), QStringLiteral("Panel model type (default 317)."),
         QStringLiteral("N")},
        {QStringLiteral("hardware-type"),
         QStringLiteral("Hardware type in the self-test answer (default: the model type)."),
         QStringLiteral("N")},
        {QStringLiteral("data-dir"),
         QStringLiteral("Folder of the sample DeviceList.plist and SupportResolutionList.plist "
                        "(default %1).")
             .arg(defaultDataDir()),
         QStringLiteral("DIR")},
        {QStringLiteral("log"), QStringLiteral("Write each command received to FILE as hex."),
         QStringLiteral("FILE")},
        {QStringLiteral("reply-delay"), QStringLiteral("Answer each command after MS ms."),
         QStringLiteral("MS")},
        {QStringLiteral("never-reply"), QStringLiteral("Never answer a command.")},
        {QStringLiteral("vanish-on"),
         QStringLiteral("Exit (status 3) without answering on the Nth command."),
         QStringLiteral("N")},
        {QStringLiteral("folder-name"),
         QStringLiteral("Product folder name of the per-user files, as the pane's string table "
                        "gives it (default TavixTouchPanel)."),
         QStringLiteral("NAME"), QStringLiteral("TavixTouchPanel")},
        {QStringLiteral("quiet"), QStringLiteral("No notes on standard error.")},
    });
    parser.addOptions(tavix::sim::HardwareReporter::commandLineOptions());
    const QCommandLineOption help = parser.addHelpOption();
    if (!parser.parse(QCoreApplication::arguments())) {
        std::fprintf(stderr, "tavix-panel-sim: %s\n", qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet(help)) {
        std::printf("%s\n%s\n%s", qPrintable(parser.helpText()),
                    qPrintable(tavix::sim::PanelSimulator::consoleHelp() +
                               tavix::sim::HardwareReporter::consoleHelp()),
                    kFaultHelp);
        return 0;
    }
    if (!parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "tavix-panel-sim: unexpected argument %s\n",
                     qPrintable(parser.positionalArguments().first()));
        return 2;
    }

    tavix::sim::SimOptions options;
    QString error;
    int model = options.modelType;
    int hardwareType = 0;
    if (!parseIntOption(parser, QStringLiteral("model"), 1, &model) ||
        !parseIntOption(parser, QStringLiteral("hardware-type"), INT_MIN, &hardwareType) ||
        !parseIntOption(parser, QStringLiteral("reply-delay"), 0, &options.replyDelayMs) ||
        !parseIntOption(parser, QStringLiteral("vanish-on"), 1, &options.vanishOn)) {
        return 2;
    }
    options.modelType = model;
    if (parser.isSet(QStringLiteral("hardware-type"))) {
        options.hardwareType = hardwareType;
    }
    options.dataDir = parser.isSet(QStringLiteral("data-dir"))
                          ? parser.value(QStringLiteral("data-dir"))
                          : defaultDataDir();
    options.logPath = parser.value(QStringLiteral("log"));
    options.neverReply = parser.isSet(QStringLiteral("never-reply"));
    options.quiet = parser.isSet(QStringLiteral("quiet"));
    if (!tavix::sim::HardwareReporter::fromCommandLine(parser, &options.hardware, &error)) {
        std::fprintf(stderr, "tavix-panel-sim: %s\n", qPrintable(error));
        return 2;
    }

    // The per-user files live in the folder the pane's string table names; the simulator has
    // no string table, so it is told the name.
    const std::string folderName = parser.value(QStringLiteral("folder-name")).toStdString();
    if (folderName.empty() || folderName.find('/') != std::string::npos) {
        std::fprintf(stderr, "tavix-panel-sim: --folder-name needs a plain folder name\n");
        return 2;
    }
    tavix::setLocalizedStringLookup([folderName](const std::string &key) {
        return key == "PreferenceFolderName" ? folderName : key;
    });

    tavix::sim::PanelSimulator sim(options);
    if (!sim.start(&error)) {
        std::fprintf(stderr, "tavix-panel-sim: %s\n", qPrintable(error));
        return 1;
    }
    QObject::connect(&sim, &tavix::sim::PanelSimulator::vanished, &app,
                     [](int code) { QCoreApplication::exit(code); });
    QObject::connect(&sim, &tavix::sim::PanelSimulator::quitRequested, &app,
                     &QCoreApplication::quit, Qt::QueuedConnection);

    // SIGINT and SIGTERM end the event loop, so the port is given back in an orderly way.
    if (::pipe2(gSignalPipe, O_CLOEXEC | O_NONBLOCK) == 0) {
        std::signal(SIGINT, onTerminationSignal);
        std::signal(SIGTERM, onTerminationSignal);
        auto *signalNotifier = new QSocketNotifier(gSignalPipe[0], QSocketNotifier::Read, &app);
        QObject::connect(signalNotifier, &QSocketNotifier::activated, &app,
                         &QCoreApplication::quit);
    }
    ConsoleReader console(&sim);

    std::printf("ready: model %d on io.tavix.MessagePort.TavixTouchPanelDaemon\n", model);
    std::fflush(stdout);
    return QCoreApplication::exec();
}
