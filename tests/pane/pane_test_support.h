// Shared pieces of the pane tests: a private HOME and system Library folder for the whole test
// process (emptied before every test), the shared state file, recording page controllers, a
// second bus connection acting as a peer, and a capture of the pane's syslog lines.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "globals.h"
#include "messageport.h"
#include "panetranslations.h"
#include "paths.h"
#include "settings_store.h"
#include "tavixtouchpanelpref.h"

namespace tavix::test {

inline constexpr char kLogIdent[] = "pane-test";

// HOME and TAVIX_SYSTEM_LIBRARY point into one temporary folder for the life of the process.
// They are set before any pane (and so any monitor thread) exists and never changed again;
// reset() empties them between tests.
class TestEnvironment {
  public:
    TestEnvironment() {
        QVERIFY(root_.isValid());
        home_ = root_.filePath(QStringLiteral("home"));
        system_ = root_.filePath(QStringLiteral("system/Library"));
        reset();
        ::setenv("HOME", qPrintable(home_), 1);
        ::setenv("TAVIX_SYSTEM_LIBRARY", qPrintable(system_), 1);
        // Diagnostic lines are copied to stderr, where LogCapture reads them.
        ::openlog(kLogIdent, LOG_PERROR, LOG_USER);
        // The product folder name comes from the string table: plug it in before the first
        // path is built, as loading the plugin does.
        ensurePaneTranslations();
    }
    void reset() {
        QDir(home_).removeRecursively();
        QDir(system_).removeRecursively();
        QDir().mkpath(home_);
        QDir().mkpath(system_);
    }
    QString home() const { return home_; }

  private:
    QTemporaryDir root_;
    QString home_, system_;
};

// The process-wide pane state as a fresh process has it.
inline void resetPaneGlobals() {
    gModelType = 0;
    gDriverEnable = false;
    verboseLog = false;
    _currentItemIndex = 0;
}

inline QString utilitiesPath() {
    return QString::fromStdString(getUilitiesFilePath());
}

inline void writeUtilities(const SettingsDict &dict) {
    QVERIFY(writePlistFileAtomically(dict, getUilitiesFilePath()));
}

// The usual shared state: a panel of model `model`, the driver on or off, the stored page.
inline SettingsDict utilities(int model, bool driverEnable, int page, bool verbose = false) {
    SettingsDict d;
    d.set("currentPageIndex", page);
    d.set("isShowStatuMenu", false);
    d.set("DriverEnable", driverEnable);
    d.set("currentDeviceType", model);
    d.set("VerboseLog", verbose);
    return d;
}

inline std::optional<SettingsDict> readUtilities() {
    return readPlistFile(getUilitiesFilePath());
}

inline QByteArray utilitiesBytes() {
    QFile file(utilitiesPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Page controllers that only write down what they are asked, as "<page>.<call>".
class RecordingPage : public PageController {
  public:
    RecordingPage(QString name, QStringList *log) : name_(std::move(name)), log_(log) {}
    void updateUIState() override { *log_ << name_ + QStringLiteral(".updateUIState"); }
    void unselectedView() override { *log_ << name_ + QStringLiteral(".unselectedView"); }
    void resetTabView() override { *log_ << name_ + QStringLiteral(".resetTabView"); }

  private:
    QString name_;
    QStringList *log_;
};

class RecordingCalibrationPage : public CalibrationPageController {
  public:
    explicit RecordingCalibrationPage(QStringList *log) : log_(log) {}
    void updateUIState() override { *log_ << QStringLiteral("cal.updateUIState"); }
    void unselectedView() override { *log_ << QStringLiteral("cal.unselectedView"); }
    void resetTabView() override { *log_ << QStringLiteral("cal.resetTabView"); }
    void simpleCalibrationChange() override {
        *log_ << QStringLiteral("cal.simpleCalibrationChange");
    }
    void hideModelWindow() override { *log_ << QStringLiteral("cal.hideModelWindow"); }

  private:
    QStringList *log_;
};

inline PageControllerFactory recordingFactory(QStringList *log) {
    return [log](const PageWidgets &) {
        PageControllers c;
        c.calibrationVC_ = std::make_unique<RecordingCalibrationPage>(log);
        c.settingVC_ = std::make_unique<RecordingPage>(QStringLiteral("set"), log);
        c.hardwareInformationVC_ = std::make_unique<RecordingPage>(QStringLiteral("hw"), log);
        c.VersionVC_ = std::make_unique<RecordingPage>(QStringLiteral("ver"), log);
        return c;
    };
}

inline std::unique_ptr<TavixTouchPanelPref> makeRecordingPane(
    QStringList *log, std::chrono::milliseconds period = std::chrono::milliseconds(20)) {
    TavixTouchPanelPref::Options options;
    options.monitorPeriod = period;
    options.controllerFactory = recordingFactory(log);
    return std::make_unique<TavixTouchPanelPref>(std::move(options));
}

template <typename T>
T *child(TavixTouchPanelPref &pane, const char *name) {
    return pane.loadMainView()->findChild<T *>(QString::fromLatin1(name));
}

// A second connection to the session bus, so that messages reach the pane's port the way they
// come from another program.
inline QDBusConnection peerConnection() {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("peer"));
}

// Sends one message to the pane's port from the peer and waits until the reply has come
// back, by which time the pane has handled it. False when there is no port.
inline bool sendToPane(const QByteArray &data, qint32 msgid = 0) {
    const auto port =
        RemoteMessagePort::lookup(QString::fromLatin1(kPreferencePortName), peerConnection());
    if (!port) {
        return false;
    }
    bool done = false;
    bool ok = false;
    port->sendRequest(msgid, data, 1.0, 1.0, [&](const PortReply &reply) {
        done = true;
        ok = reply.ok;
    });
    if (!QTest::qWaitFor([&] { return done; }, 5000)) {
        return false;
    }
    return ok;
}

// Captures what the pane writes to the system log (copied to stderr by LOG_PERROR) and gives
// back the message texts of our ident, one per line.
class LogCapture {
  public:
    LogCapture() {
        std::fflush(stderr);
        saved_ = ::dup(STDERR_FILENO);
        file_ = std::tmpfile();
        ::dup2(::fileno(file_), STDERR_FILENO);
    }
    ~LogCapture() { stop(); }
    QStringList stop() {
        if (file_ != nullptr) {
            std::fflush(stderr);
            ::dup2(saved_, STDERR_FILENO);
            ::close(saved_);
            std::rewind(file_);
            QByteArray all;
            char buffer[4096];
            std::size_t n = 0;
            while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) {
                all.append(buffer, static_cast<qsizetype>(n));
            }
            std::fclose(file_);
            file_ = nullptr;
            const QByteArray prefix = QByteArray(kLogIdent) + ": ";
            for (const QByteArray &line : all.split('\n')) {
                if (line.startsWith(prefix)) {
                    lines_ << QString::fromUtf8(line.mid(prefix.size()));
                }
            }
        }
        return lines_;
    }

  private:
    int saved_ = -1;
    std::FILE *file_ = nullptr;
    QStringList lines_;
};

}  // namespace tavix::test
