// The Hardware information page: the panel's identity, DIP switches, firmware and checksum, the
// machine's name and addresses, the rotation with its confirmation, the live pointer and button
// states, and the LED and sensor self-test. The driver daemon answers the page's queries with
// reports on the local port "HardwareInfoFromDaemon", which the page opens on its first refresh.
#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "hardware_reports.h"
#include "pagecontroller.h"
#include "selftest.h"

class QAbstractItemModel;
class QButtonGroup;
class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QTabWidget;
class QTableView;
class QWidget;

namespace tavix {

class FramePicture;
class LocalMessagePort;
class SelfTestTableModel;

// A row of the LED and sensor tables: the area's label and its two localized verdicts.
struct AreaSummaryRow {
    QString area;
    QString ledState;
    QString sensorState;
};

class HardwareInformationViewCtl : public QObject, public PageController {
    Q_OBJECT

  public:
    // The report port's name.
    static constexpr char kReportPortName[] = "HardwareInfoFromDaemon";
    // Self-test runs per user start.
    static constexpr int kMaxTestTimes = 10;
    // A self-test result that misses areas is retried once no further report has come for
    // this long, so that a run split over several reports is judged whole.
    static constexpr int kRetrySettleMs = 400;
    static constexpr int kPointerIntervalMs = 20;
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

    // Self-test. userStart is the user's start (sender not nil); retries pass false.
    void testSelf(bool userStart);
    void restartTest();
    bool needRestartTestSelf() const;
    void showTest();

    // The tables' data source; column identifiers as the tables carry them.
    std::int64_t numberOfRowsInTableView(const QTableView *table) const;
    QString tableViewObjectValue(const QTableView *table, const QString &column, int row) const;

    // Rotation and pointer.
    void changeRotateState();
    void reloadRotateMode();
    void mouseAction(bool on);
    void showMouseInfo(bool show);
    // p points at the report after its type byte; it holds at least 3 bytes.
    void setMouseInfo(const std::uint8_t *p);
    static QString pointerText(QPointF position);

    // Writes the page's report as JSON and HTML next to each other (path without extension
    // gets ".json" and ".html"); false when a file could not be written.
    bool saveReport(const QString &basePath) const;

    std::int32_t getHardwareType() const { return hardwareType_; }
    std::uint8_t endArea() const { return endArea_; }
    std::uint8_t endPoint() const { return endPoint_; }
    std::vector<SelfTestRecord> *LEDSensorArray() { return LEDSens_ ? &*LEDSens_ : nullptr; }
    int testTimesCount() const { return testTimes; }
    // Bottom-left y of firmwareInfo in its parent.
    double firmwareInfoY() const;
    bool pointerRunning() const { return pointerTimer_.isActive(); }
    bool hasReportPort() const { return hardwarePort_ != nullptr; }

    // Sources of what the machine reports, replaceable in tests.
    void setAddressSource(std::function<QStringList()> source) {
        addressSource_ = std::move(source);
    }
    void setPointerSource(std::function<QPointF()> source) { pointerSource_ = std::move(source); }

    // Stop flag of the pointer updater: cleared by updateUIState, set by unselectedView.
    bool isThreadQuit = true;

  Q_SIGNALS:
    // After every report the callback handled (for whoever waits on the page).
    void reportHandled(int type);
    // After the tables were rebuilt from a judgement.
    void testShown();

  private:
    void buildPage(QWidget *page);
    void openReportPort();
    void applyRotation(std::int64_t mode);
    void updatePointer();
    void reloadTables();
    void requestSaveReport();
    std::optional<DeviceEntry> deviceEntry(std::int32_t modelType) const;

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
    QTableView *LEDTable_ = nullptr;
    QTableView *sensorTable_ = nullptr;
    QTableView *errTable_ = nullptr;
    QWidget *serviceModeView1 = nullptr;
    QWidget *serviceModeView2 = nullptr;
    QWidget *serviceModeView3 = nullptr;
    QGroupBox *firmwareInfo = nullptr;
    FramePicture *framePicture_ = nullptr;
    SelfTestTableModel *LEDModel_ = nullptr;
    SelfTestTableModel *sensorModel_ = nullptr;
    SelfTestTableModel *errModel_ = nullptr;

    // Rows of the tables and the raw records; absent after unselectedView.
    std::optional<std::vector<ErrorRow>> errDataSource_;
    std::optional<std::vector<AreaSummaryRow>> LEDSensorDataSource_;
    std::optional<std::vector<SelfTestRecord>> LEDSens_;
    std::unique_ptr<LocalMessagePort> hardwarePort_;
    std::int32_t hardwareType_ = 0;
    std::uint8_t endArea_ = 0;
    std::uint8_t endPoint_ = 0;
    int testTimes = 1;

    // The last judgement with its model, for the picture and the saved report.
    std::optional<DeviceEntry> judgedEntry_;
    SelfTestJudgement judgement_;
    // What the page shows of the firmware and switches, for the saved report.
    std::optional<int> dipValue_;
    std::optional<ChecksumAndVersion> firmware_;

    bool selectingRotation_ = false;  // the page itself is selecting a row
    QTimer pointerTimer_;
    QTimer retryTimer_;
    std::function<QStringList()> addressSource_;
    std::function<QPointF()> pointerSource_;
};

}  // namespace tavix
