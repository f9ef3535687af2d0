// The Hardware information page: the panel's identity, DIP switches, firmware and checksum, the
// machine's name and addresses, the rotation with its confirmation and the button states. The
// live pointer (PointerMonitor) and the self-test (HardwareSelfTest) have classes of their own.
// The driver daemon answers the page's queries with reports on the local port
// "HardwareInfoFromDaemon", which the page opens on its first refresh and hands on from here.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "hardware_reports.h"
#include "pagecontroller.h"

class QButtonGroup;
class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QTabWidget;
class QWidget;

namespace tavix {

class HardwareSelfTest;
class LocalMessagePort;
class PointerMonitor;

class HardwareInformationViewCtl : public QObject, public PageController {
    Q_OBJECT

  public:
    // The report port's name.
    static constexpr char kReportPortName[] = "HardwareInfoFromDaemon";
    // Bottom-left y of the firmware box, without and with the service panels.
    static constexpr double kFirmwareInfoYWithoutService = 278.0;
    static constexpr double kFirmwareInfoYWithService = 48.0;

    explicit HardwareInformationViewCtl(QWidget *page, QObject *parent = nullptr);
    ~HardwareInformationViewCtl() override;

    // PageController
    void updateUIState() override;
    void unselectedView() override;
    void resetTabView() override;

    // Delegate of hardwareInfoTabView_: the tab at index is about to be shown.
    void tabViewWillSelectTabViewItem(int index);

    void getDIP_SW();
    void checkSumAndVersion();
    void setDIPSW(int value);
    // p points at the report after its type byte; it holds at least 6 bytes.
    void setHardwareInfo(const std::uint8_t *p);
    QStringList getIPAddresss() const;

    // The report port's callback: dispatches one report and returns no reply data.
    QByteArray hardwareTestPortCallBack(qint32 msgid, const QByteArray &data);

    // Rotation and button states.
    void changeRotateState();
    void reloadRotateMode();
    void mouseAction(bool on);
    void showMouseInfo(bool show);
    // p points at the report after its type byte; it holds at least 3 bytes.
    void setMouseInfo(const std::uint8_t *p);

    // Writes the page's report as JSON and HTML next to each other (path without extension
    // gets ".json" and ".html"); false when a file could not be written.
    bool saveReport(const QString &basePath) const;

    HardwareSelfTest *selfTest() const { return selfTest_; }
    PointerMonitor *pointerMonitor() const { return pointerMonitor_; }
    // Bottom-left y of firmwareInfo in its parent.
    double firmwareInfoY() const;
    bool hasReportPort() const { return hardwarePort_ != nullptr; }

    // Sources of what the machine reports, replaceable in tests.
    void setAddressSource(std::function<QStringList()> source) {
        addressSource_ = std::move(source);
    }

  Q_SIGNALS:
    // After every report the callback handled (for whoever waits on the page).
    void reportHandled(int type);

  private:
    void buildPage(QWidget *page);
    void openReportPort();
    // Selects the row of the mode, or no row for a mode without one.
    void selectRotateRow(std::int64_t mode);
    void applyRotation(std::int64_t mode);
    void requestSaveReport();

    QPointer<QWidget> content_;
    QTabWidget *hardwareInfoTabView_ = nullptr;
    QWidget *rotateMode_ = nullptr;
    QButtonGroup *rotateGroup_ = nullptr;
    QLabel *driverVersion_ = nullptr;
    QLabel *funByButton1_ = nullptr;
    QLabel *funByButton2_ = nullptr;
    QLabel *funByButton2Text_ = nullptr;
    QLabel *funByButton2Text2_ = nullptr;
    QLabel *stateByButtonL_ = nullptr;
    QLabel *stateByButton1_ = nullptr;
    QLabel *stateByButton2_ = nullptr;
    QLabel *mouseCoordinate_ = nullptr;
    QLabel *rotateAngle_ = nullptr;
    QComboBox *IPAddr_ = nullptr;
    QLabel *compName_ = nullptr;
    QLabel *modelName_ = nullptr;
    QLabel *inputMode_ = nullptr;
    QLabel *DIPSW_[8] = {};
    QLabel *version_ = nullptr;
    QLabel *checkSum1_ = nullptr;
    QLabel *checkSum2_ = nullptr;
    QWidget *serviceModeView1 = nullptr;
    QWidget *serviceModeView2 = nullptr;
    QWidget *serviceModeView3 = nullptr;
    QGroupBox *firmwareInfo = nullptr;
    HardwareSelfTest *selfTest_ = nullptr;
    PointerMonitor *pointerMonitor_ = nullptr;
    std::unique_ptr<LocalMessagePort> hardwarePort_;

    // What the page shows of the firmware and switches, for the saved report.
    std::optional<int> dipValue_;
    std::optional<ChecksumAndVersion> firmware_;

    bool selectingRotation_ = false;  // the page itself is selecting a row
    bool rotationToggled_ = false;    // a row was toggled without a click (a screen reader)
    std::function<QStringList()> addressSource_;
};

}  // namespace tavix
