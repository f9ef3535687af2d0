// The panel's side of the hardware information page: answers to the DIP-switch, firmware,
// self-test, button-report and stop commands, sent as reports to the pane's port
// "HardwareInfoFromDaemon" whenever that port exists, with faults to try the pane against.
#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "commands.h"
#include "hardware_reports.h"

class QCommandLineOption;
class QCommandLineParser;

namespace tavix::sim {

struct HardwareOptions {
    std::uint8_t dipByte = 0xF6;  // switches 1 and 4 on (active-low, nibbles swapped)
    ChecksumAndVersion firmware{0x5A, 0x3C, 0, 0x01, 0x24, 'c'};
    // (area, point) pairs; a point of 0 stands for every point of the area.
    std::set<std::pair<int, int>> faultyLeds;
    std::set<std::pair<int, int>> faultySensors;
    int incompleteRuns = 0;         // self-test runs that leave areas out
    std::vector<int> leftOutAreas;  // the areas they leave out; empty: the model's last area
    bool shortReports = false;      // every report one byte shorter than its layout
    bool unknownReports = false;    // a report of an unknown type before every answer
    int recordsPerReport = 0;       // self-test records per report; 0: a run in one report
    int reportIntervalMs = 20;      // between two self-test reports of one run
    int buttonIntervalMs = 250;     // between two button-state reports
};

class HardwareReporter : public QObject {
    Q_OBJECT

  public:
    explicit HardwareReporter(HardwareOptions options, QObject *parent = nullptr);

    static QList<QCommandLineOption> commandLineOptions();
    // Reads the options above from a parsed command line; false with the reason on bad input.
    static bool fromCommandLine(const QCommandLineParser &parser, HardwareOptions *options,
                                QString *error);
    static QString consoleHelp();

    // Handles codes 26, 27, 28 (after the hardware type was answered), 30 and 32; returns a
    // note for the simulator's log, or nullopt for any other code.
    std::optional<QString> onCommand(const DecodedCommand &command, std::int32_t hardwareType);

    // One console line already split into words; nullopt when the verb is not one of these.
    std::optional<QString> handleLine(const QStringList &words);

    QString status() const;
    int runsStarted() const { return runs_; }

  private:
    void send(std::vector<std::uint8_t> bytes);
    void sendUnknown();
    void startSelfTest(std::int32_t hardwareType);
    void sendNextSelfTestReport();
    void sendButtonState();
    void flood(int count);

    HardwareOptions options_;
    int runs_ = 0;
    std::vector<SelfTestRecord> pending_;  // records of the running check still to send
    QTimer selfTestTimer_;
    QTimer buttonTimer_;
    int buttonStep_ = 0;
    std::optional<ButtonState> fixedButtons_;
    int sent_ = 0;
};

}  // namespace tavix::sim
