#include "settingviewctl.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QTabWidget>
#include <QVBoxLayout>

#include <cmath>
#include <utility>

#include "commands.h"
#include "daemonchannel.h"
#include "globals.h"
#include "paths.h"
#include "rangetext.h"
#include "settings_store.h"
#include "systeminfo.h"
#include "testview.h"
#include "ui_settingview.h"
#include "useraction.h"

namespace tavix {

namespace {

// The current model's settings, or an empty dictionary when the file is missing or unreadable
// (every key then reads as 0 or false).
SettingsDict readCurrentSettings(bool *exists = nullptr) {
    const std::string path = getSettingsFilePath(gModelType.load());
    const bool present = pathExists(path);
    if (exists) {
        *exists = present;
    }
    if (!present) {
        return {};
    }
    return readPlistFile(path).value_or(SettingsDict{});
}

QString formatRange(std::int32_t value) {
    return QString::number(value);
}

}  // namespace

SettingViewCtl::SettingViewCtl(QWidget *page, QObject *parent)
    : SettingViewCtl(page, currentSystemInfo(), parent) {}

SettingViewCtl::SettingViewCtl(QWidget *page, std::shared_ptr<const SystemInfo> systemInfo,
                               QObject *parent)
    : QObject(parent),
      ui_(std::make_unique<Ui::SettingView>()),
      systemInfo_(std::move(systemInfo)) {
    // The form goes into its own widget so that the shell's page keeps its name and properties.
    auto *content = new QWidget(page);
    content_ = content;
    ui_->setupUi(content);
    auto *layout = page->layout();
    if (!layout) {
        layout = new QVBoxLayout(page);
        layout->setContentsMargins(0, 0, 0, 0);
    }
    layout->addWidget(content);

    settingTabView_ = ui_->settingTabView_;
    towFingerSwipeBtn_ = ui_->towFingerSwipeBtn_;
    twoFingerRotationBtn1_ = ui_->twoFingerRotationBtn1_;
    twoFingerPinchBtn_ = ui_->twoFingerPinchBtn_;
    buttonF1_ = ui_->buttonF1_;
    buttonF2_ = ui_->buttonF2_;
    buttonF2Text1_ = ui_->buttonF2Text1_;
    buttonF2Text2_ = ui_->buttonF2Text2_;
    resolutionNoticeFlag_ = ui_->resolutionNoticeFlag_;
    inputMode_ = ui_->inputMode_;
    eraserAreaMode_ = ui_->eraserAreaMode_;
    eraserAreaText_ = ui_->eraserAreaText_;
    rangeView_ = ui_->rangeView_;
    rateView_ = ui_->rateView_;
    testView_ = ui_->testView_;
    rangeSlider_ = ui_->rangeSlider_;
    rateSlider_ = ui_->rateSlider_;
    rengeText_ = ui_->rengeText_;

    connectControls();
    awakeFromNib();
}

SettingViewCtl::~SettingViewCtl() = default;

void SettingViewCtl::setSystemInfo(std::shared_ptr<const SystemInfo> systemInfo) {
    systemInfo_ = std::move(systemInfo);
}

void SettingViewCtl::connectControls() {
    connect(rangeSlider_, &QSlider::valueChanged, this, &SettingViewCtl::rangeSliderValueChange);
    connect(rateSlider_, &QSlider::valueChanged, this, &SettingViewCtl::rateSliderValueChange);
    connect(ui_->rangeNormalButton, &QPushButton::clicked, this,
            &SettingViewCtl::doubleClickRangeNormal);
    connect(ui_->speedNormalButton, &QPushButton::clicked, this,
            &SettingViewCtl::doubleClickSpeedNormal);
    // A screen reader's toggle or item selection sends the command just as a click does.
    for (const FunctionControl &entry : functionControls()) {
        if (auto *box = qobject_cast<QCheckBox *>(entry.control)) {
            onUserChange(box, this, [this, box] { functionChange(box); });
        } else if (auto *menu = qobject_cast<QComboBox *>(entry.control)) {
            onUserChange(menu, this, [this, menu] { functionChange(menu); });
        }
    }
    connect(rengeText_, &QLineEdit::editingFinished, this,
            &SettingViewCtl::rangeTextEditingFinished);
}

void SettingViewCtl::awakeFromNib() {
    rangeView_->setViewType(TestView::RangeDisplay);
    rateView_->setViewType(TestView::SpeedMeasuring);
    testView_->setViewType(TestView::Trial);

    const SettingsDict settings = readCurrentSettings();

    doubleClickRate_ = kRateNormal;
    if (settings.contains("DoubleClickRate")) {
        // Read at single precision here; updateUIState reads the same key at full precision.
        doubleClickRate_ =
            static_cast<double>(static_cast<float>(settings.doubleValue("DoubleClickRate")));
    }
    setRateSliderValue(1.0 - doubleClickRate_);
    setTimeIntervals(doubleClickRate_);

    double rangeSliderValue = kRangeNormal;
    if (settings.contains("DoubleClickRange")) {
        doubleClickRange_ = static_cast<std::int32_t>(settings.intValue("DoubleClickRange"));
        rangeSliderValue = doubleClickRange_;
    }
    {
        const QSignalBlocker blocker(rangeSlider_);
        rangeSlider_->setValue(static_cast<int>(rangeSliderValue));
    }
    // The areas take the value the slider shows, which its bounds may have clamped.
    const double shown = rangeSlider_->value();
    rangeView_->setRange(shown);
    rateView_->setRange(shown);
    testView_->setRange(shown);
    rangeView_->update();
    rengeText_->setText(formatRange(static_cast<std::int32_t>(shown)));

    auto *center = DoubleClickNotificationCenter::defaultCenter();
    connect(center, &DoubleClickNotificationCenter::doubleClickHappenOnRateView, this,
            &SettingViewCtl::doubleClickOnRateView, Qt::UniqueConnection);
    connect(center, &DoubleClickNotificationCenter::doubleClickHappenOnTestView, this,
            &SettingViewCtl::doubleClickOnTestView, Qt::UniqueConnection);
}

void SettingViewCtl::resetTabView() {
    const int minorVersion = systemInfo_ ? systemInfo_->systemMinorVersion() : -1;
    if (minorVersion > 11 && settingTabView_->count() == 4) {
        doubleClickRangeItemTitle_ = settingTabView_->tabText(0);
        doubleClickRangeItem_ = settingTabView_->widget(0);
        // The page stays alive (its parent is the tab view's stack) but is never shown again.
        settingTabView_->removeTab(0);
    }
    settingTabView_->setCurrentIndex(0);
}

bool SettingViewCtl::versionStringIsFixedRangeSystem() const {
    if (!systemInfo_) {
        return false;
    }
    const QString version = systemInfo_->operatingSystemVersionString();
    return version.contains(QLatin1String("10.12")) || version.contains(QLatin1String("10.13"));
}

void SettingViewCtl::updateUIState() {
    bool exists = false;
    const SettingsDict settings = readCurrentSettings(&exists);
    const auto checkState = [](bool on) { return on ? Qt::Checked : Qt::Unchecked; };

    // Showing the file's values is no change of the user's: nothing is sent.
    std::vector<std::unique_ptr<QSignalBlocker>> blockers;
    for (const FunctionControl &entry : functionControls()) {
        blockers.push_back(std::make_unique<QSignalBlocker>(entry.control));
    }
    if (exists) {
        towFingerSwipeBtn_->setCheckState(checkState(settings.boolValue("TwoFingerSwipe")));
        twoFingerRotationBtn1_->setCheckState(checkState(settings.boolValue("TwoFingerRotation")));
        twoFingerPinchBtn_->setCheckState(checkState(settings.boolValue("TwoFingerPinch")));
        buttonF1_->setCurrentIndex(settings.boolValue("FounctionButton1") ? 1 : 0);
        buttonF2_->setCurrentIndex(settings.boolValue("FounctionButton2") ? 1 : 0);
        resolutionNoticeFlag_->setCurrentIndex(settings.boolValue("ShowResolutionNotice") ? 1 : 0);
        eraserAreaMode_->setCurrentIndex(settings.boolValue("EraserAreaMode") ? 1 : 0);
        // An index outside the menu selects nothing.
        const std::int64_t mode = settings.intValue("InputMode");
        inputMode_->setCurrentIndex(mode >= 0 && mode < inputMode_->count() ? static_cast<int>(mode)
                                                                            : -1);
        doubleClickRate_ = settings.doubleValue("DoubleClickRate");
        doubleClickRange_ = versionStringIsFixedRangeSystem()
                                ? 64
                                : static_cast<std::int32_t>(settings.intValue("DoubleClickRange"));
    } else {
        towFingerSwipeBtn_->setCheckState(Qt::Checked);
        twoFingerRotationBtn1_->setCheckState(Qt::Checked);
        twoFingerPinchBtn_->setCheckState(Qt::Checked);
        buttonF1_->setCurrentIndex(1);
        buttonF2_->setCurrentIndex(1);
        resolutionNoticeFlag_->setCurrentIndex(1);
        eraserAreaMode_->setCurrentIndex(1);
        inputMode_->setCurrentIndex(0);
        doubleClickRate_ = kRateNormal;
        doubleClickRange_ = versionStringIsFixedRangeSystem() ? 64 : kRangeNormal;
    }
    blockers.clear();
    setRateSliderValue(1.0 - doubleClickRate_);
    setTimeIntervals(doubleClickRate_);

    setRenge();

    const bool penSupport = settings.boolValue("PenSoftSupport");
    for (QWidget *widget : std::initializer_list<QWidget *>{
             eraserAreaMode_, eraserAreaText_, buttonF2_, buttonF2Text1_, buttonF2Text2_}) {
        widget->setVisible(penSupport);
    }
}

void SettingViewCtl::setRenge() {
    rangeView_->setRange(doubleClickRange_);
    {
        const QSignalBlocker blocker(rangeSlider_);
        rangeSlider_->setValue(doubleClickRange_);
    }
    rateView_->setRange(doubleClickRange_);
    testView_->setRange(doubleClickRange_);
    rengeText_->setText(formatRange(doubleClickRange_));
}

void SettingViewCtl::setRateSliderValue(double value) {
    const QSignalBlocker blocker(rateSlider_);
    const double scaled = std::isfinite(value) ? std::round(value * kRateSliderScale) : 0.0;
    rateSlider_->setValue(static_cast<int>(std::clamp(scaled, -1.0e6, 1.0e6)));
}

double SettingViewCtl::rateSliderValue() const {
    return static_cast<double>(rateSlider_->value()) / kRateSliderScale;
}

void SettingViewCtl::setTimeIntervals(double seconds) {
    rateView_->setTimeInterval(seconds);
    testView_->setTimeInterval(seconds);
}

void SettingViewCtl::sendRange() {
    SendDataToRemotePort(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, doubleClickRange_));
}

void SettingViewCtl::sendRate() {
    SendDataToRemotePort(makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, doubleClickRate_));
}

void SettingViewCtl::rangeSliderValueChange() {
    doubleClickRange_ = rangeSlider_->value();  // an integer slider: already whole
    setRenge();
    sendRange();
}

void SettingViewCtl::doubleClickRangeNormal() {
    doubleClickRange_ = kRangeNormal;
    setRenge();
    sendRange();
}

void SettingViewCtl::rateSliderValueChange() {
    doubleClickRate_ = 1.0 - rateSliderValue();
    setTimeIntervals(doubleClickRate_);
    sendRate();
}

void SettingViewCtl::doubleClickSpeedNormal() {
    doubleClickRate_ = kRateNormal;
    setRateSliderValue(kRateNormal);
    setTimeIntervals(doubleClickRate_);
    sendRate();
}

void SettingViewCtl::doubleClickOnRateView() {
    if (!content_) {
        return;  // the page has gone before its controller
    }
    doubleClickRate_ = rateView_->timeInterval();
    setRateSliderValue(1.0 - doubleClickRate_);
    setTimeIntervals(doubleClickRate_);
    sendRate();
}

void SettingViewCtl::doubleClickOnTestView() {
    if (!content_) {
        return;
    }
    testView_->changeDrawType();
    testView_->update();
}

namespace {

int checkBoxValue(const QWidget *control) {
    // A mixed state sends 0.
    return static_cast<const QCheckBox *>(control)->checkState() == Qt::Checked ? 1 : 0;
}
int menuFlag(const QWidget *control) {
    return static_cast<const QComboBox *>(control)->currentIndex() != 0 ? 1 : 0;
}
int menuIndex(const QWidget *control) {
    return static_cast<const QComboBox *>(control)->currentIndex();
}

}  // namespace

std::vector<SettingViewCtl::FunctionControl> SettingViewCtl::functionControls() const {
    // In the order the page checks them.
    return {
        {towFingerSwipeBtn_, COMMAND_SET_TWO_FINGER_SWIPE, checkBoxValue},
        {twoFingerRotationBtn1_, COMMAND_SET_TWO_FINGER_ROTATION, checkBoxValue},
        {twoFingerPinchBtn_, COMMAND_SET_TWO_FINGER_PINCH, checkBoxValue},
        {buttonF1_, COMMAND_SET_FUNCTION_BUTTON_1, menuFlag},
        {buttonF2_, COMMAND_SET_FUNCTION_BUTTON_2, menuFlag},
        {inputMode_, COMMAND_SET_INPUT_MODE, menuIndex},
        {resolutionNoticeFlag_, COMMAND_SET_RESOLUTION_NOTICE, menuFlag},
        {eraserAreaMode_, COMMAND_SET_ERASER_AREA_MODE, menuFlag},
    };
}

void SettingViewCtl::functionChange(QObject *control) {
    if (control == nullptr) {
        return;
    }
    for (const FunctionControl &entry : functionControls()) {
        if (entry.control == control) {
            SendDataToRemotePort(makeCommandU16(entry.code, entry.value(entry.control)));
            return;
        }
    }
}

void SettingViewCtl::rangeTextEditingFinished() {
    // Qt reports the end of editing on Return and on focus loss; only an edit counts.
    if (!rengeText_->isModified()) {
        return;
    }
    const QString text = rengeText_->text();
    rengeText_->setModified(false);
    if (!rangeFormatterAccepts(text, kRangeMinimum, kRangeMaximum)) {
        didFailToFormatString(text);
        return;
    }
    textShouldEndEditing(text);
}

bool SettingViewCtl::textShouldEndEditing(const QString &text) {
    if (text.isEmpty()) {
        rengeText_->setText(formatRange(doubleClickRange_));
        return true;
    }
    // No bounds here: the formatter has had its say.
    doubleClickRange_ = leadingIntegerValue(text);
    setRenge();
    sendRange();
    return true;
}

bool SettingViewCtl::didFailToFormatString(const QString &) {
    rengeText_->setText(formatRange(doubleClickRange_));
    return true;
}

bool SettingViewCtl::saveItemToInfoPlistForKey(const PlistValue &item, const std::string &key) {
    // Read, compare and replace under the writers' lock, so that a change another of our
    // writers makes meanwhile is kept. A file that exists but cannot be read is left alone.
    bool changed = false;
    updatePlistFile(getSettingsFilePath(gModelType.load()), [&](SettingsDict &settings) {
        if (const PlistValue *stored = settings.find(key)) {
            // Numbers compare by value, as a boolean true equals the integer 1.
            const bool equal = stored->isNumber() && item.isNumber()
                                   ? stored->toDouble() == item.toDouble()
                                   : *stored == item;
            if (equal) {
                return false;
            }
        }
        settings.set(key, item);
        changed = true;
        return true;
    });
    return changed;
}

}  // namespace tavix
