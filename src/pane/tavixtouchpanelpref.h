// The pane shell: the main view with its four pages, the life-cycle calls of the host, page
// navigation, the background watch over the shared state file, the local command port
// "preferenceCommend" and the status-bar utility switch.
#pragma once

#include <QObject>
#include <QPointer>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "commands.h"
#include "pagecontroller.h"
#include "preferencepane.h"
#include "settings_dict.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QTabWidget;
class QWidget;

namespace Ui {
class TavixTouchPanelPref;
}

namespace tavix {

class LocalMessagePort;

// The tab pages, in page-index order, inside which the controllers build their pages.
struct PageWidgets {
    QWidget *calibration = nullptr;
    QWidget *properties = nullptr;
    QWidget *hardwareInformation = nullptr;
    QWidget *version = nullptr;
};

// The four page controllers, owned by the pane.
struct PageControllers {
    std::unique_ptr<CalibrationPageController> calibrationVC_;
    std::unique_ptr<PageController> settingVC_;
    std::unique_ptr<PageController> hardwareInformationVC_;
    std::unique_ptr<PageController> VersionVC_;
};

using PageControllerFactory = std::function<PageControllers(const PageWidgets &pages)>;

// The controllers of the shipped pane.
PageControllers makePageControllers(const PageWidgets &pages);

// The codes received on "preferenceCommend" and the status-bar port names live with the
// daemon's command codes (commands.h); these are the pane's older names for them.
using PreferenceCommand = std::uint8_t;
inline constexpr std::uint8_t COMMAND_SELECT_PAGE_0 = toByte(PreferenceCode::SelectCalibrationPage);
inline constexpr std::uint8_t COMMAND_SELECT_PAGE_3 = toByte(PreferenceCode::SelectVersionPage);
inline constexpr std::uint8_t COMMAND_DEVICE_CONNECT = toByte(PreferenceCode::DeviceConnect);
inline constexpr std::uint8_t COMMAND_DEVICE_DISCONNECT = toByte(PreferenceCode::DeviceDisconnect);
inline constexpr std::uint8_t COMMAND_RELOAD = toByte(PreferenceCode::Reload);
inline constexpr std::uint8_t COMMAND_DRIVER_DISABLE = toByte(PreferenceCode::DriverDisable);
inline constexpr std::uint8_t COMMAND_NEXT_SIMPLE_CALIBRATION =
    toByte(PreferenceCode::NextSimpleCalibration);
inline constexpr std::uint8_t COMMAND_RELOAD_2 = toByte(PreferenceCode::ReloadToo);

class TavixTouchPanelPref : public QObject, public PreferencePane {
    Q_OBJECT
    Q_INTERFACES(tavix::PreferencePane)

  public:
    struct Options {
        // Period of the state monitor (one pass, then this long a pause).
        std::chrono::milliseconds monitorPeriod{1000};
        // Creates the four page controllers; empty means makePageControllers.
        PageControllerFactory controllerFactory;
    };

    TavixTouchPanelPref();
    explicit TavixTouchPanelPref(Options options);
    ~TavixTouchPanelPref() override;

    // PreferencePane
    QWidget *loadMainView() override;
    void mainViewDidLoad() override;
    void willSelect() override;
    void willUnselect() override;

    // Tells the Calibration and Hardware information pages that they are no longer in use.
    void unselectedView();
    // Selects a page from code: tab view and pop-up.
    void selectView(std::int32_t index);
    // Action of the pop-up: selects the tab at the pop-up's selected index.
    void selectItem(QComboBox *sender);
    // Delegate of the tab view, before a page becomes the selected one.
    void tabViewWillSelectTabViewItem(int index);
    void doNextSimpleCalibration();
    // One-key update of the shared state file; logs "save OK" after a successful write.
    void saveItemToInfoPlistForKey(const PlistValue &value, const std::string &key);
    // Replaces the pages by the alert text.
    void disableSettingsForString(const QString &text);
    // Action of the status-bar check box: starts or quits the status-bar utility.
    void showOrHideStatusBarApp(QCheckBox *sender);
    // Switches the status-bar setting off without quitting the utility.
    void hideStatusBar();

    // The port callback: the first byte of data is the code; nothing is ever replied. While a
    // modal window or alert of the pane is open, messages wait and are handled in order once it
    // has closed.
    QByteArray myProgressPortCallBack(qint32 msgid, const QByteArray &data);

    bool statusBarIsShow() const { return statusBarIsShow_; }
    bool hasCommandPort() const { return localPortForSBApp_ != nullptr; }

  signals:
    // Emitted on the main thread after each pass of the state monitor, once that pass's calls
    // into the pages have run.
    void statePolled();

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    void handlePortMessage(const QByteArray &data);
    // Handles the waiting port messages unless a modal window is (again) open.
    void drainPendingCommands();
    void watchModalWindow();
    void unwatchModalWindow();
    // Shows a page's item in the pop-up without taking it for a choice.
    void showPopUpItem(int index);
    // The state monitor's thread body; runs until the pane is destroyed.
    void checkDeviceConnectStatus();
    void monitorPass();
    // Wakes the monitor as soon as a file in the preference folder is replaced.
    void watchPreferenceFolder();
    // Main thread: ends the application's modal window, if one is up.
    void endModalWindow();
    // Reads the shared state file into the globals; returns what it read.
    SettingsDict refreshState();
    // Shows the pages (true) or the alert text (false); returns whether usable.
    bool applyAvailability();
    PageController *controllerForIndex(std::int32_t index) const;
    void onTabChanged(int index);

    Options options_;
    bool statusBarIsShow_ = false;
    QPointer<QWidget> mainView_;
    std::unique_ptr<Ui::TavixTouchPanelPref> ui_;
    QComboBox *tabPopUp_ = nullptr;
    QTabWidget *tabView_ = nullptr;
    QCheckBox *statusBarState_ = nullptr;
    QLabel *alertTextField_ = nullptr;
    PageControllers controllers_;
    std::unique_ptr<LocalMessagePort> localPortForSBApp_;
    std::deque<QByteArray> pendingCommands_;
    QPointer<QWidget> watchedModal_;
    QMetaObject::Connection watchedModalGone_;

    std::mutex monitorMutex_;
    std::condition_variable monitorWake_;
    bool monitorStop_ = false;
    bool monitorKick_ = false;  // a pass is due now
    std::vector<std::thread> monitorThreads_;
};

}  // namespace tavix
