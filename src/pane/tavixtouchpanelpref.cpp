#include "tavixtouchpanelpref.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFileSystemWatcher>
#include <QLabel>
#include <QProcess>
#include <QTabWidget>

#include "calibration/calibrationviewclt.h"
#include "globals.h"
#include "hardwareinfo/hardwareinformationviewctl.h"
#include "messageport.h"
#include "modalwindows.h"
#include "panetranslations.h"
#include "paths.h"
#include "settings_store.h"
#include "settingviewctl.h"
#include "ui_tavixtouchpanelpref.h"
#include "useraction.h"
#include "version/versionviewctl.h"

namespace tavix {

PageControllers makePageControllers(const PageWidgets &pages) {
    PageControllers c;
    c.calibrationVC_ = std::make_unique<CalibrationViewClt>(pages.calibration);
    c.settingVC_ = std::make_unique<SettingViewCtl>(pages.properties);
    c.hardwareInformationVC_ =
        std::make_unique<HardwareInformationViewCtl>(pages.hardwareInformation);
    c.VersionVC_ = std::make_unique<VersionViewCtl>(pages.version);
    return c;
}

TavixTouchPanelPref::TavixTouchPanelPref() : TavixTouchPanelPref(Options{}) {}

TavixTouchPanelPref::TavixTouchPanelPref(Options options) : options_(std::move(options)) {
    ensurePaneTranslations();
    if (!options_.controllerFactory) {
        options_.controllerFactory = makePageControllers;
    }
}

TavixTouchPanelPref::~TavixTouchPanelPref() {
    {
        std::lock_guard lock(monitorMutex_);
        monitorStop_ = true;
    }
    monitorWake_.notify_all();
    for (std::thread &thread : monitorThreads_) {
        thread.join();
    }
    localPortForSBApp_.reset();
    TavixTouchPanelPref *self = this;
    _panelPref.compare_exchange_strong(self, nullptr);
    // The controllers go before the view whose pages they built.
    controllers_ = PageControllers{};
    delete mainView_.data();
}

QWidget *TavixTouchPanelPref::loadMainView() {
    if (mainView_) {
        return mainView_;
    }
    auto *view = new QWidget;
    ui_ = std::make_unique<Ui::TavixTouchPanelPref>();
    ui_->setupUi(view);
    mainView_ = view;
    tabPopUp_ = ui_->tabPopUp_;
    tabView_ = ui_->tabView_;
    statusBarState_ = ui_->statusBarState_;
    alertTextField_ = ui_->alertTextField_;
    alertTextField_->hide();

    controllers_ = options_.controllerFactory(PageWidgets{
        ui_->calibrationPage, ui_->propertiesPage, ui_->hardwareInformationPage, ui_->versionPage});

    // Connected after setupUi, so that building the tab view is not taken for a page change.
    connect(tabView_, &QTabWidget::currentChanged, this, &TavixTouchPanelPref::onTabChanged);
    // By mouse, keyboard or screen reader alike; changes made here from code are no choice.
    onUserChange(tabPopUp_, this, [this] { selectItem(tabPopUp_); });
    onUserChange(statusBarState_, this, [this] { showOrHideStatusBarApp(statusBarState_); });
    return view;
}

void TavixTouchPanelPref::mainViewDidLoad() {
    loadMainView();
    {
        std::lock_guard lock(monitorMutex_);
        monitorThreads_.emplace_back([this] { checkDeviceConnectStatus(); });
    }
    watchPreferenceFolder();
    controllers_.settingVC_->resetTabView();
    controllers_.hardwareInformationVC_->resetTabView();

    gModelType = 0;
    gDriverEnable = false;
    refreshState();
    // Only now is the file's logging switch known for certain; the monitor may not have read it.
    logVerbose("mainViewDidLoad");
    if (applyAvailability()) {
        return;
    }
    disableSettingsForString(
        localizedText(gModelType.load() == 0 ? "Alert.disconnect" : "Alert.driverDisable"));
    // No page is checked in the pop-up while the pages are unusable.
    showPopUpItem(-1);
}

void TavixTouchPanelPref::willSelect() {
    loadMainView();
    logVerbose("willSelect");
    const SettingsDict d = refreshState();
    if (!applyAvailability() && gModelType.load() != 0) {
        alertTextField_->setText(localizedText("Alert.driverDisable"));
    }
    _panelPref = this;
    if (!localPortForSBApp_) {
        localPortForSBApp_ = LocalMessagePort::create(
            QString::fromLatin1(kPreferencePortName), [this](qint32 msgid, const QByteArray &data) {
                return myProgressPortCallBack(msgid, data);
            });
    }
    if (gModelType.load() == 0 || !gDriverEnable.load()) {
        return;
    }
    statusBarIsShow_ = d.boolValue("isShowStatuMenu");
    _currentItemIndex = static_cast<std::int32_t>(d.intValue("currentPageIndex"));
    const std::int32_t index = _currentItemIndex.load();
    controllerForIndex(index)->updateUIState();
    {
        const QSignalBlocker block(statusBarState_);  // shows the stored wish, changes nothing
        statusBarState_->setChecked(statusBarIsShow_);
    }
    tabView_->setCurrentIndex(index);
    showPopUpItem(_currentItemIndex.load());
}

void TavixTouchPanelPref::willUnselect() {
    // What waited for a modal window is meant for the pane in use, not for its next showing.
    pendingCommands_.clear();
    unwatchModalWindow();
    unselectedView();
    localPortForSBApp_.reset();
}

void TavixTouchPanelPref::showPopUpItem(int index) {
    const QSignalBlocker block(tabPopUp_);
    tabPopUp_->setCurrentIndex(index);
}

void TavixTouchPanelPref::unselectedView() {
    if (!mainView_) {
        return;
    }
    controllers_.calibrationVC_->unselectedView();
    controllers_.hardwareInformationVC_->unselectedView();
}

SettingsDict TavixTouchPanelPref::refreshState() {
    SettingsDict d = readUtilitiesDictionary();
    verboseLog = d.boolValue("VerboseLog");
    gModelType = static_cast<std::int32_t>(d.intValue("currentDeviceType"));
    gDriverEnable = d.boolValue("DriverEnable");
    return d;
}

bool TavixTouchPanelPref::applyAvailability() {
    const bool usable = gModelType.load() != 0 && gDriverEnable.load();
    tabView_->setVisible(usable);
    statusBarState_->setVisible(usable);
    tabPopUp_->setVisible(usable);
    alertTextField_->setVisible(!usable);
    return usable;
}

void TavixTouchPanelPref::disableSettingsForString(const QString &text) {
    tabView_->hide();
    statusBarState_->hide();
    tabPopUp_->hide();
    alertTextField_->show();
    alertTextField_->setText(text);
}

PageController *TavixTouchPanelPref::controllerForIndex(std::int32_t index) const {
    switch (index) {
        case 0:
            return controllers_.calibrationVC_.get();
        case 1:
            return controllers_.settingVC_.get();
        case 2:
            return controllers_.hardwareInformationVC_.get();
        default:
            return controllers_.VersionVC_.get();
    }
}

void TavixTouchPanelPref::onTabChanged(int index) {
    tabViewWillSelectTabViewItem(index);
    // The pop-up mirrors the tab view when the user picks a tab directly (while no panel is
    // known the change is not taken up, and the pop-up stays as it is).
    if (gModelType.load() != 0 && tabPopUp_->currentIndex() != index) {
        showPopUpItem(index);
    }
}

void TavixTouchPanelPref::tabViewWillSelectTabViewItem(int index) {
    if (gModelType.load() == 0) {
        gModelType =
            static_cast<std::int32_t>(readUtilitiesDictionary().intValue("currentDeviceType"));
        if (gModelType.load() == 0) {
            return;
        }
    }
    _currentItemIndex = index;
    saveItemToInfoPlistForKey(PlistValue(index), "currentPageIndex");
    CalibrationPageController &calibration = *controllers_.calibrationVC_;
    PageController &hardware = *controllers_.hardwareInformationVC_;
    switch (index) {
        case 0:
            calibration.updateUIState();
            hardware.unselectedView();
            break;
        case 1:
            controllers_.settingVC_->updateUIState();
            calibration.unselectedView();
            hardware.unselectedView();
            break;
        case 2:
            calibration.unselectedView();
            hardware.updateUIState();
            break;
        default:
            calibration.unselectedView();
            hardware.unselectedView();
            controllers_.VersionVC_->updateUIState();
            break;
    }
}

void TavixTouchPanelPref::selectItem(QComboBox *sender) {
    tabView_->setCurrentIndex(sender->currentIndex());
}

void TavixTouchPanelPref::selectView(std::int32_t index) {
    _currentItemIndex = index;
    tabView_->setCurrentIndex(index);
    showPopUpItem(_currentItemIndex.load());
}

void TavixTouchPanelPref::doNextSimpleCalibration() {
    controllers_.calibrationVC_->simpleCalibrationChange();
}

void TavixTouchPanelPref::saveItemToInfoPlistForKey(const PlistValue &value,
                                                    const std::string &key) {
    if (saveItemToInfoPlist(value, key)) {
        logVerbose("save OK");
    }
}

void TavixTouchPanelPref::showOrHideStatusBarApp(QCheckBox *sender) {
    if (sender->checkState() == Qt::Checked) {
        statusBarIsShow_ = true;
        // A utility that is not installed simply does not start.
        QProcess::startDetached(QString::fromStdString(utilitiesAppInStatusBarFullPath()), {});
    } else {
        statusBarIsShow_ = false;
        if (const auto port = RemoteMessagePort::lookup(QString::fromLatin1(kStatusBarPortName))) {
            port->sendRequest(kStatusBarQuitMsgId, QByteArrayLiteral("SBQT"), 1.0, 1.0);
        }
    }
    saveItemToInfoPlist(PlistValue(statusBarIsShow_), "isShowStatuMenu");
}

void TavixTouchPanelPref::hideStatusBar() {
    statusBarIsShow_ = false;
    if (statusBarState_ != nullptr) {
        const QSignalBlocker block(statusBarState_);
        statusBarState_->setChecked(false);
    }
    saveItemToInfoPlist(PlistValue(false), "isShowStatuMenu");
}

QByteArray TavixTouchPanelPref::myProgressPortCallBack(qint32 msgid, const QByteArray &data) {
    Q_UNUSED(msgid)
    // Every sender sends at least the code byte; an empty message carries no code. The port
    // lives only while the pane is selected.
    if (data.isEmpty() || !mainView_ || !localPortForSBApp_) {
        return {};
    }
    // A page switch under an open modal window would leave it open for good: wait for it.
    if (QApplication::activeModalWidget() != nullptr || !pendingCommands_.empty()) {
        pendingCommands_.push_back(data);
        watchModalWindow();
        return {};
    }
    handlePortMessage(data);
    return {};
}

void TavixTouchPanelPref::watchModalWindow() {
    QWidget *modal = QApplication::activeModalWidget();
    if (modal == nullptr) {
        QMetaObject::invokeMethod(
            this, [this] { drainPendingCommands(); }, Qt::QueuedConnection);
        return;
    }
    if (watchedModal_ == modal) {
        return;
    }
    unwatchModalWindow();
    watchedModal_ = modal;
    modal->installEventFilter(this);
    // One connection per watch, ended with it: a window shown again and again (the hot-key
    // window lives as long as its page) does not collect them.
    watchedModalGone_ = connect(
        modal, &QObject::destroyed, this, [this] { drainPendingCommands(); }, Qt::QueuedConnection);
}

void TavixTouchPanelPref::unwatchModalWindow() {
    disconnect(watchedModalGone_);
    if (watchedModal_) {
        watchedModal_->removeEventFilter(this);
    }
    watchedModal_ = nullptr;
}

bool TavixTouchPanelPref::eventFilter(QObject *watched, QEvent *event) {
    if (watched == watchedModal_ && event->type() == QEvent::Hide) {
        QMetaObject::invokeMethod(
            this, [this] { drainPendingCommands(); }, Qt::QueuedConnection);
    }
    return QObject::eventFilter(watched, event);
}

void TavixTouchPanelPref::drainPendingCommands() {
    while (!pendingCommands_.empty()) {
        if (QApplication::activeModalWidget() != nullptr) {
            watchModalWindow();
            return;
        }
        const QByteArray data = pendingCommands_.front();
        pendingCommands_.pop_front();
        handlePortMessage(data);
    }
    unwatchModalWindow();
}

void TavixTouchPanelPref::handlePortMessage(const QByteArray &data) {
    if (data.isEmpty() || !mainView_) {
        return;
    }
    const auto code = static_cast<std::uint8_t>(data.at(0));
    const SettingsDict d = readUtilitiesDictionary();
    gModelType = static_cast<std::int32_t>(d.intValue("currentDeviceType"));
    gDriverEnable = d.boolValue("DriverEnable");

    switch (code) {
        case 0:
        case 1:
        case 2:
        case COMMAND_SELECT_PAGE_3:
            if (gModelType.load() != 0) {
                if (TavixTouchPanelPref *pane = _panelPref.load()) {
                    pane->selectView(code);
                }
            }
            break;
        case COMMAND_DEVICE_CONNECT:
            if (gModelType.load() != 0) {
                willSelect();
            }
            break;
        case COMMAND_DEVICE_DISCONNECT:
            if (gModelType.load() == 0) {
                disableSettingsForString(localizedText("Alert.disconnect"));
                unselectedView();
            }
            break;
        case COMMAND_RELOAD:
        case COMMAND_RELOAD_2:
            willSelect();
            break;
        case COMMAND_DRIVER_DISABLE:
            logVerbose(" device  COMMAND_DRIVER_DISABLE ");
            disableSettingsForString(
                localizedText(gModelType.load() != 0 ? "Alert.driverDisable" : "Alert.disconnect"));
            unselectedView();
            break;
        case COMMAND_NEXT_SIMPLE_CALIBRATION:
            doNextSimpleCalibration();
            break;
        default:
            break;
    }
}

void TavixTouchPanelPref::checkDeviceConnectStatus() {
    std::unique_lock lock(monitorMutex_);
    while (!monitorStop_) {
        lock.unlock();
        monitorPass();
        lock.lock();
        monitorWake_.wait_for(lock, options_.monitorPeriod,
                              [this] { return monitorStop_ || monitorKick_; });
        monitorKick_ = false;
    }
}

void TavixTouchPanelPref::watchPreferenceFolder() {
    // The driver side replaces the shared state file rather than writing into it, so the watch
    // is on its folder; the periodic pass stays for whatever a watch can miss.
    const QString folder = QString::fromStdString(getPreferenceFolderPath());
    auto *watch = new QFileSystemWatcher(this);
    if (!watch->addPath(folder)) {
        delete watch;
        return;
    }
    connect(watch, &QFileSystemWatcher::directoryChanged, this, [this] {
        {
            std::lock_guard lock(monitorMutex_);
            monitorKick_ = true;
        }
        monitorWake_.notify_all();
    });
}

void TavixTouchPanelPref::monitorPass() {
    SettingsDict d = readUtilitiesDictionary();
    verboseLog = d.boolValue("VerboseLog");
    // The pass judges by what it read: the main thread resets the shared model while it loads.
    const auto model = static_cast<std::int32_t>(d.intValue("currentDeviceType"));
    gModelType = model;

    // Only exactly true counts as a refresh request; it is written back as false.
    const PlistValue *refresh = d.find("RefreshCalibrationType");
    if (refresh != nullptr && refresh->isNumber() && refresh->toDouble() == 1.0) {
        // Under the writers' lock, on a fresh read: only the flag changes, so a change that
        // another writer made since the read above is kept.
        bool requested = false;
        updatePlistFile(getUilitiesFilePath(), [&requested](SettingsDict &current) {
            const PlistValue *flag = current.find("RefreshCalibrationType");
            requested = flag != nullptr && flag->isNumber() && flag->toDouble() == 1.0;
            if (requested) {
                current.set("RefreshCalibrationType", false);
            }
            return requested;
        });
        if (requested) {
            QMetaObject::invokeMethod(
                this, [this] { controllers_.calibrationVC_->updateUIState(); },
                Qt::QueuedConnection);
        }
    }

    // A modal window stays only while the panel, the driver and the page in use still hold.
    const bool keep = model != 0 && d.boolValue("DriverEnable") &&
                      d.intValue("currentPageIndex") == _currentItemIndex.load();
    if (!keep) {
        QMetaObject::invokeMethod(
            this, [this] { endModalWindow(); }, Qt::QueuedConnection);
    }
    QMetaObject::invokeMethod(
        this, [this] { emit statePolled(); }, Qt::QueuedConnection);
}

void TavixTouchPanelPref::endModalWindow() {
    CalibrationPageController &calibration = *controllers_.calibrationVC_;
    if (QApplication::activeModalWidget() == nullptr) {
        return;
    }
    // Whatever runs on top of the Calibration page's hot-key window ends here; that window itself
    // is its page's to take away (it stays while an alert of the page was up over it).
    endModalWindows(calibration.modalWindow());
    if (mainView_) {
        mainView_->window()->raise();
        mainView_->window()->activateWindow();
    }
    calibration.hideModelWindow();
}

}  // namespace tavix
