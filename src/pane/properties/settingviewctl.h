// The Properties page: double-click range and speed, two-finger gestures, function buttons, input
// mode, resolution notice and eraser area. Every change the user makes goes to the driver daemon
// at once as one command; the page writes no setting itself and shows what the model's settings
// file holds each time it is refreshed.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "pagecontroller.h"
#include "settings_dict.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;
class QTabWidget;
class QWidget;

namespace Ui {
class SettingView;
}

namespace tavix {

class SystemInfo;
class TestView;

class SettingViewCtl : public QObject, public PageController {
    Q_OBJECT

  public:
    // The double-click range slider and the bounds of the range text field's formatter.
    static constexpr int kRangeMinimum = 8;
    static constexpr int kRangeMaximum = 128;
    static constexpr int kRangeNormal = 32;
    // The speed slider shows 1.0 minus the time window in hundredths of a second, from 0.00
    // (a window of 1.0 s) to 0.70 (0.3 s): the span a double click on the speed area can measure.
    static constexpr int kRateSliderScale = 100;
    static constexpr double kRateNormal = 0.5;

    // Builds the page inside the given tab page widget, then runs awakeFromNib.
    explicit SettingViewCtl(QWidget *page, QObject *parent = nullptr);
    SettingViewCtl(QWidget *page, std::shared_ptr<const SystemInfo> systemInfo,
                   QObject *parent = nullptr);
    ~SettingViewCtl() override;

    // Replaces the source of the OS version queries (the running system by default).
    void setSystemInfo(std::shared_ptr<const SystemInfo> systemInfo);

    // Once after the page is loaded: test area types, first values, notification observers.
    // Calling it again only reloads the values.
    void awakeFromNib();
    // PageController
    void updateUIState() override;
    void resetTabView() override;

    // Shows doubleClickRange_ on the range slider, the text field and the three test areas.
    void setRenge();

    // Control actions, as the controls call them.
    void rangeSliderValueChange();
    void doubleClickRangeNormal();
    void rateSliderValueChange();
    void doubleClickSpeedNormal();
    // Sends the command of one of the eight gesture, button and mode controls; any other sender
    // sends nothing.
    void functionChange(QObject *control);
    // Observers of the test areas' notifications.
    void doubleClickOnRateView();
    void doubleClickOnTestView();

    // The range text field's delegate. Both return whether editing may end (always true).
    bool textShouldEndEditing(const QString &text);
    bool didFailToFormatString(const QString &text);

    // Stores item under key in the current model's settings file unless it holds that value
    // already; returns whether it wrote. No action of the page calls it.
    bool saveItemToInfoPlistForKey(const PlistValue &item, const std::string &key);

    double doubleClickRate() const { return doubleClickRate_; }
    std::int32_t doubleClickRange() const { return doubleClickRange_; }

  private:
    // One of the eight gesture, button and mode controls, the command it sends and how the
    // command's value is read from it.
    struct FunctionControl {
        QWidget *control;
        CommandCode code;
        int (*value)(const QWidget *control);
    };
    std::vector<FunctionControl> functionControls() const;

    void connectControls();
    void rangeTextEditingFinished();
    void setRateSliderValue(double value);
    double rateSliderValue() const;
    void setTimeIntervals(double seconds);
    bool versionStringIsFixedRangeSystem() const;
    void sendRange();
    void sendRate();

    std::unique_ptr<Ui::SettingView> ui_;
    // The form's widget inside the page; the controls below live while it does.
    QPointer<QWidget> content_;
    std::shared_ptr<const SystemInfo> systemInfo_;

    QTabWidget *settingTabView_ = nullptr;
    QCheckBox *towFingerSwipeBtn_ = nullptr;
    QCheckBox *twoFingerRotationBtn1_ = nullptr;
    QCheckBox *twoFingerPinchBtn_ = nullptr;
    QComboBox *buttonF1_ = nullptr;
    QComboBox *buttonF2_ = nullptr;
    QLabel *buttonF2Text1_ = nullptr;
    QLabel *buttonF2Text2_ = nullptr;
    QComboBox *resolutionNoticeFlag_ = nullptr;
    QComboBox *inputMode_ = nullptr;
    QComboBox *eraserAreaMode_ = nullptr;
    QLabel *eraserAreaText_ = nullptr;
    TestView *rangeView_ = nullptr;
    TestView *rateView_ = nullptr;
    TestView *testView_ = nullptr;
    QSlider *rangeSlider_ = nullptr;
    QSlider *rateSlider_ = nullptr;
    QLineEdit *rengeText_ = nullptr;
    // The range tab once it is taken out of the tab view, and its title.
    QPointer<QWidget> doubleClickRangeItem_;
    QString doubleClickRangeItemTitle_;
    double doubleClickRate_ = 0.0;
    std::int32_t doubleClickRange_ = 0;
};

}  // namespace tavix
