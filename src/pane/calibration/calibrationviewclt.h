// The Calibration page (page 0): the calibration type (simple or manual), the simple setting,
// the start of the manual calibration, the resolution of the touch panel's display and which
// display that is, and the two Control+Shift hot keys with the window that changes them. The
// page sends each change to the driver daemon; it writes the settings file only for a hot key.
#pragma once

#include <QDialog>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

#include "displayprovider.h"
#include "pagecontroller.h"

class QComboBox;
class QKeyEvent;
class QLabel;
class QPushButton;
class QWidget;

namespace tavix {

class RadioMatrix;

class CalibrationViewClt : public QObject, public CalibrationPageController {
    Q_OBJECT

  public:
    explicit CalibrationViewClt(QWidget *page, QObject *parent = nullptr);
    CalibrationViewClt(QWidget *page, std::shared_ptr<const DisplayProvider> displays,
                       QObject *parent = nullptr);
    ~CalibrationViewClt() override;

    // CalibrationPageController
    void updateUIState() override;
    void unselectedView() override;
    void simpleCalibrationChange() override;
    void hideModelWindow() override;
    QWidget *modalWindow() const override;

    // Control actions.
    void setCalibrationType(RadioMatrix *sender);
    void setSimpleSettingType(RadioMatrix *sender);
    void startAdvanceCalibration();
    // Hot-key actions.
    void ChangeSimpleSettingType();
    void ChangeCalibrationSettingType();
    // Orders the hot-key window out whatever doubleModal says.
    void hidHotKeyWin();

    // The two chords: Control+Shift (other modifiers ignored) with the simple-switch key, then
    // with the calibration key. Every Control+Shift key-down is consumed (true).
    bool performKeyEquivalent(const QKeyEvent *event);
    // Open the modal hot-key window for one key; they return when it has closed.
    void setCalibrationHotKey();
    void setSimpleSwitchHotKey();
    // The hot-key window's confirm and cancel buttons.
    void setHotKey();
    void closeSetHotKeyPanel();

    QString calibrationHotKey() const { return CHotKey_; }
    QString simpleSwitchHotKey() const { return SSHotKeyString_; }
    QDialog *hotKeyWindow() const { return hotKeySettingWin_; }

    // Cleared by updateUIState, set by unselectedView: the page's background work stops.
    bool quitThread = false;
    // Set while an alert runs on top of the hot-key window; hideModelWindow then leaves it up.
    bool doubleModal = false;

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    void buildPage(QWidget *page);
    void buildHotKeyWindow();
    void openHotKeyWindow(const char *titleKey, const QString &currentKey);
    void runAlert(const QString &message);
    void showTypeControls(bool simple);
    void selectHotKeyItem(const QString &key);
    void showTouchDisplay(int kind, const DisplayInfo &display);

    std::shared_ptr<const DisplayProvider> displays_;
    QPointer<QWidget> page_;
    QWidget *content_ = nullptr;

    QLabel *resolution_ = nullptr;
    QPushButton *calibrationBtn_ = nullptr;
    QPushButton *simpleSwitchBtn_ = nullptr;
    RadioMatrix *calibrationMatrix_ = nullptr;
    RadioMatrix *simpleSetting_ = nullptr;
    RadioMatrix *manualSettingFor317_ = nullptr;
    RadioMatrix *manualSettingForOther_ = nullptr;
    RadioMatrix *manualSetting_ = nullptr;  // one of the two above
    QPointer<QDialog> hotKeySettingWin_;
    QPushButton *startButton_ = nullptr;
    QComboBox *hotKey_ = nullptr;
    QString SSHotKeyString_;
    QString CHotKey_;
    // Which display the page took for the touch panel, in words.
    QLabel *touchDisplay_ = nullptr;
};

}  // namespace tavix
