// The status-bar utility: a tray icon that shows whether a touch panel is connected and the
// driver enabled, and a menu that opens the settings window's pages and runs the calibration
// quick actions. It owns the port "TTSB" and quits when the settings window asks it to.
#pragma once

#include <QIcon>
#include <QObject>
#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

class QAction;
class QLocale;
class QActionGroup;
class QMenu;
class QSystemTrayIcon;
class QTimer;

namespace tavix {

class LocalMessagePort;

class StatusBarUtility : public QObject {
    Q_OBJECT

  public:
    enum class PanelState { NoPanel, DriverDisabled, Connected };
    enum class StartResult { Started, NotWanted, AlreadyRunning };

    struct Options {
        // How often the shared state file is read.
        std::chrono::milliseconds pollInterval{500};
        // Starts the settings window; returns whether it started.
        std::function<bool()> startSettingsWindow;
    };

    explicit StatusBarUtility(Options options, QObject *parent = nullptr);
    ~StatusBarUtility() override;

    // NotWanted when "isShowStatuMenu" is false (nothing is created); AlreadyRunning when
    // another process owns "TTSB". Started: the icon is up and the state is followed.
    StartResult start();

    PanelState state() const { return state_; }
    std::int32_t modelType() const { return model_; }
    QString toolTip() const;
    QMenu *menu() const { return menu_.get(); }
    QSystemTrayIcon *trayIcon() const { return tray_.get(); }

    // The settings window shows page 0-3: told at once while it runs, else stored and started.
    void openPage(int page);

  Q_SIGNALS:
    void quitRequested();
    void stateChanged();

  private:
    void poll();
    void buildMenu();
    void refreshMenu();
    QIcon iconFor(PanelState state) const;
    QByteArray onPortMessage(qint32 msgid, const QByteArray &data);

    Options options_;
    std::unique_ptr<LocalMessagePort> port_;
    std::unique_ptr<QMenu> menu_;
    std::unique_ptr<QSystemTrayIcon> tray_;
    QTimer *timer_ = nullptr;
    QActionGroup *typeGroup_ = nullptr;
    QActionGroup *simpleGroup_ = nullptr;
    QAction *simpleAction_ = nullptr;
    QAction *manualAction_ = nullptr;
    QAction *startAction_ = nullptr;
    QMenu *simpleMenu_ = nullptr;
    PanelState state_ = PanelState::NoPanel;
    std::int32_t model_ = 0;
    QString modelName_;
    bool known_ = false;
};

// English first, as the fallback for every locale, then the locale's own table (replacing
// the tables of an earlier call).
void installUtilityTranslations(const QLocale &locale);

// The settings window next to this program, else the one on the PATH.
bool startSettingsWindowProgram();

}  // namespace tavix
