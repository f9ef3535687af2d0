// The panel simulator: owns the daemon's port, records settings the way the driver side does,
// and plays the driver side's part on the shared state file and the pane's command port.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

#include "commands.h"
#include "hardwarereporter.h"
#include "messageport.h"
#include "settings_dict.h"

namespace tavix::sim {

struct SimOptions {
    std::int32_t modelType = 317;
    std::optional<std::int32_t> hardwareType;  // self-test reply; the model type when unset
    QString dataDir;  // sample DeviceList.plist, SupportResolutionList.plist
    QString logPath;  // one line of hex per command received
    int replyDelayMs = 0;
    bool neverReply = false;
    int vanishOn = 0;  // exit on this command (1-based), 0 for never
    bool quiet = false;
    HardwareOptions hardware;  // reports to the hardware information page
};

class PanelSimulator : public QObject {
    Q_OBJECT

  public:
    explicit PanelSimulator(SimOptions options, QObject *parent = nullptr);
    ~PanelSimulator() override;

    // Installs the sample lists, writes the shared state, creates the model's settings file,
    // and then takes the daemon's port. False, with the reason, when the port is owned
    // elsewhere (nothing is written then) or the log cannot be opened.
    bool start(QString *error);

    // Runs one line of the simulator's console language; returns the one-line answer
    // ("ok: ..." or "error: ...").
    QString handleLine(const QString &line);

    static QString consoleHelp();

  Q_SIGNALS:
    // The simulator dropped off the bus on purpose; the process should end with this status.
    void vanished(int exitCode);
    void quitRequested();

  private:
    void onCommand(const QByteArray &data, const PortResponder &respond);
    void logCommand(const QByteArray &data);
    QString installSampleLists();
    bool writeState(const SettingsDict &items);
    QString notifyPane(PreferenceCode code);
    void note(const QString &text) const;

    SimOptions options_;
    std::unique_ptr<LocalMessagePort> port_;
    QFile log_;
    int received_ = 0;
    bool connected_ = true;
    bool vanishing_ = false;
    int vanishAt_ = 0;  // absolute command number, 0 for never
    HardwareReporter *reporter_ = nullptr;
};

}  // namespace tavix::sim
