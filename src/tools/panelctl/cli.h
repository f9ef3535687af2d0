// What every group of commands shares: the parsed command line, the command table's entry,
// output and failure helpers, and the ways to reach the driver daemon and its reports.
#pragma once

#include <QByteArray>
#include <QEventLoop>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "commands.h"
#include "device_list.h"
#include "hardware_reports.h"
#include "messageport.h"
#include "panelctl.h"
#include "selftest.h"
#include "settings_dict.h"

namespace tavix::panelctl {

struct Invocation {
    QString command;
    QStringList words;  // arguments after the command
    bool json = false;
    bool help = false;
    bool version = false;
    bool second = false;
    bool html = false;
    bool selftest = false;
    bool check = false;
    bool anyModel = false;
    QString output;  // --output FILE; empty: standard output
    int timeoutMs = 3000;
};

// One entry of the command table. Options a command does not list are refused for it.
struct Command {
    const char *name;
    const char *usage;
    const char *summary;
    const char *text;
    int (*handler)(const Invocation &);
};

// The groups of commands, in the order the overview lists them.
const std::vector<Command> &settingsCommands();
const std::vector<Command> &hardwareCommands();
const std::vector<Command> &reportCommands();
const std::vector<Command> &metricsCommands();
const std::vector<Command> &profileCommands();

void out(const QString &text);
int fail(int status, const QString &message);
int badInput(const QString &message);
int noDaemon();
void printJson(const QJsonObject &object);
// Standard output, or the file replaced as a whole; kExitOk or the status to exit with.
int deliver(const QString &text, const QString &file);

QJsonValue jsonOf(const PlistValue &value);
QString textOf(const PlistValue &value);

// The shared state file as it is, empty when it cannot be read.
SettingsDict readState();
std::int32_t currentModel();
bool daemonRunning();

// Sends one request and waits for its answer. kExitOk, or the status to exit with.
int sendAndWait(const std::optional<RemoteMessagePort> &port, qint32 msgid, const QByteArray &data,
                QByteArray *reply = nullptr);
int sendCommand(const Bytes &command, QByteArray *reply = nullptr);

// Owns "HardwareInfoFromDaemon" while a report is awaited.
class ReportListener {
  public:
    int open();
    // The next report of the given type, or nullopt after waiting timeoutMs without one.
    std::optional<QByteArray> next(std::uint8_t type, int timeoutMs);

  private:
    std::unique_ptr<LocalMessagePort> port_;
    std::vector<QByteArray> reports_;
    QEventLoop loop_;
};

// Sends a request and waits for the report of the given layout. A report too short for its
// layout is ignored, as the settings window ignores it.
int awaitReport(ReportListener &listener, CommandCode request, ReportType type, int timeoutMs,
                HardwareReport &report);

struct SelfTestRun {
    std::int32_t hardwareType = 0;
    DeviceEntry device;
    std::vector<SelfTestRecord> records;
};

// A run that misses areas is repeated, as the Hardware information page does, up to ten runs
// in all; each run starts from no records.
int runSelfTest(ReportListener &listener, int timeoutMs, SelfTestRun &run);

struct HotKeyName;
// Stores a hot key in the model's settings file and tells the daemon, as the Calibration page
// does.
int storeAndSendHotKey(const HotKeyName &which, char key, const std::string &path);

// Areas the model has that sent no result in the run.
int missingAreas(const SelfTestRun &run);

}  // namespace tavix::panelctl
