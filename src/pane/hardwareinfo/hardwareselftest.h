// The panel's LED and sensor self-test on the Hardware information page: the start and stop
// buttons, the runs with their automatic repetitions, the judging of the records that arrive on
// "HardwareInfoFromDaemon", and what the tab shows of them (two verdict tables, the table of
// failed points and the frame picture).
#pragma once

#include <QObject>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

#include "selftest.h"

class QPushButton;
class QTableView;
class QWidget;

namespace tavix {

class FramePicture;
class SelfTestTableModel;

// A row of the LED and sensor tables: the area's label and its two localized verdicts.
struct AreaSummaryRow {
    QString area;
    QString ledState;
    QString sensorState;
};

class HardwareSelfTest : public QObject {
    Q_OBJECT

  public:
    // Runs per user start.
    static constexpr int kMaxTestTimes = 10;
    // Records kept at most: every point of every area once.
    static constexpr std::size_t kMaxRecords = 255 * 256;

    explicit HardwareSelfTest(QObject *parent = nullptr);
    ~HardwareSelfTest() override;

    // Fills the tab: the tables, the picture, start and stop, then `extra` at the row's end.
    void buildTab(QWidget *tab, QPushButton *extra);

    // The page is shown: empty results, no run, the first run counts one.
    void reset();
    // The page is left: the results go, the runs end, and reports that still come change
    // nothing.
    void unselectedView();

    // Records of a REPORT_SELF_TEST_RESULT, judged once the hardware type of the run is known.
    void appendRecords(const std::vector<SelfTestRecord> &records);

    // userStart: the user's start (sender not nil); repetitions pass false.
    void testSelf(bool userStart);
    void restartTest();
    bool needRestartTestSelf() const;
    void showTest();

    // The tables' data source; column identifiers as the tables carry them.
    std::int64_t numberOfRowsInTableView(const QTableView *table) const;
    QString tableViewObjectValue(const QTableView *table, const QString &column, int row) const;

    std::int32_t getHardwareType() const { return hardwareType_; }
    std::uint8_t endArea() const { return endArea_; }
    std::uint8_t endPoint() const { return endPoint_; }
    std::vector<SelfTestRecord> *LEDSensorArray() { return LEDSens_ ? &*LEDSens_ : nullptr; }
    int testTimesCount() const { return testTimes; }
    // Code 28 is out and its reply not yet in.
    bool awaitingHardwareType() const { return awaitingType_; }

    // The last judgement with its model (none before the first), and its picture.
    const std::optional<DeviceEntry> &judgedEntry() const { return judgedEntry_; }
    const SelfTestJudgement &judgement() const { return judgement_; }
    FramePicture *picture() const { return framePicture_; }

  Q_SIGNALS:
    // After the tables were rebuilt from a judgement.
    void testShown();

  private:
    bool needRestart(const std::optional<DeviceEntry> &entry) const;
    void reloadTables();

    QTableView *LEDTable_ = nullptr;
    QTableView *sensorTable_ = nullptr;
    QTableView *errTable_ = nullptr;
    SelfTestTableModel *LEDModel_ = nullptr;
    SelfTestTableModel *sensorModel_ = nullptr;
    SelfTestTableModel *errModel_ = nullptr;
    FramePicture *framePicture_ = nullptr;

    // Rows of the tables and the raw records; absent while the page is not shown.
    std::optional<std::vector<ErrorRow>> errDataSource_;
    std::optional<std::vector<AreaSummaryRow>> LEDSensorDataSource_;
    std::optional<std::vector<SelfTestRecord>> LEDSens_;
    std::int32_t hardwareType_ = 0;
    std::uint8_t endArea_ = 0;
    std::uint8_t endPoint_ = 0;
    int testTimes = 1;

    // A user start repeats until the results are whole, Stop, or the page is left.
    bool running_ = false;
    // Code 28 went out and its reply with the hardware type has not come back yet; records
    // that arrive meanwhile wait for it.
    bool awaitingType_ = false;
    bool recordsHeld_ = false;

    std::optional<DeviceEntry> judgedEntry_;
    SelfTestJudgement judgement_;
};

}  // namespace tavix
