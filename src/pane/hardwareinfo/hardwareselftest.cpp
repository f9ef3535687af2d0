#include "hardwareselftest.h"

#include <QAbstractTableModel>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTableView>

#include <algorithm>
#include <utility>

#include "commands.h"
#include "daemonchannel.h"
#include "framepicture.h"
#include "globals.h"
#include "paths.h"

namespace tavix {

// One table's view of the self-test's rows: the columns carry the identifiers the data source
// answers by. It keeps what it shows and passes on only the rows that changed, so a reader's
// place, the selection and the scroll position survive a running test.
class SelfTestTableModel : public QAbstractTableModel {
  public:
    SelfTestTableModel(HardwareSelfTest *source, QStringList identifiers, QStringList headerKeys,
                       QObject *parent)
        : QAbstractTableModel(parent),
          source_(source),
          identifiers_(std::move(identifiers)),
          headerKeys_(std::move(headerKeys)) {}

    void setTable(const QTableView *table) { table_ = table; }

    void reload() {
        QList<QStringList> fresh;
        const auto count = static_cast<int>(source_->numberOfRowsInTableView(table_));
        for (int row = 0; row < count; ++row) {
            QStringList cells;
            for (const QString &id : identifiers_) {
                cells << source_->tableViewObjectValue(table_, id, row);
            }
            fresh << cells;
        }
        const auto shown = static_cast<int>(rows_.size());
        const int common = std::min(shown, count);
        int first = 0;
        while (first < common && rows_[first] == fresh[first]) {
            ++first;
        }
        int last = common - 1;
        while (last >= first && rows_[last] == fresh[last]) {
            --last;
        }
        for (int row = first; row <= last; ++row) {
            rows_[row] = fresh[row];
        }
        if (first <= last) {
            Q_EMIT dataChanged(index(first, 0), index(last, columnCount() - 1));
        }
        if (count > shown) {
            beginInsertRows({}, shown, count - 1);
            rows_ = std::move(fresh);
            endInsertRows();
        } else if (count < shown) {
            beginRemoveRows({}, count, shown - 1);
            rows_ = std::move(fresh);
            endRemoveRows();
        }
    }

    int rowCount(const QModelIndex &parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(rows_.size());
    }
    int columnCount(const QModelIndex &parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(identifiers_.size());
    }
    QVariant data(const QModelIndex &index, int role) const override {
        if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::AccessibleTextRole)) {
            return {};
        }
        return rows_.value(index.row()).value(index.column());
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
            return QAbstractTableModel::headerData(section, orientation, role);
        }
        return qtTrId(qPrintable(headerKeys_.value(section)));
    }

  private:
    HardwareSelfTest *source_;
    const QTableView *table_ = nullptr;
    QStringList identifiers_;
    QStringList headerKeys_;
    QList<QStringList> rows_;
};

namespace {

QString L(const char *id) {
    return qtTrId(id);
}

QTableView *table(const char *name, QWidget *parent) {
    auto *view = new QTableView(parent);
    view->setObjectName(QLatin1String(name));
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->verticalHeader()->hide();
    view->horizontalHeader()->setStretchLastSection(true);
    view->setAlternatingRowColors(true);
    return view;
}

// The device-list entry of a model, read from the file each time.
std::optional<DeviceEntry> deviceEntry(std::int32_t modelType) {
    const std::optional<std::vector<DeviceEntry>> list =
        readDeviceList(getSupportDeviceListFilePath());
    if (!list) {
        return std::nullopt;
    }
    const DeviceEntry *entry = findDeviceEntry(*list, modelType);
    return entry ? std::optional<DeviceEntry>(*entry) : std::nullopt;
}

const std::vector<SelfTestRecord> kNoRecords;

}  // namespace

HardwareSelfTest::HardwareSelfTest(QObject *parent) : QObject(parent) {}

HardwareSelfTest::~HardwareSelfTest() = default;

void HardwareSelfTest::buildTab(QWidget *tab, QPushButton *extra) {
    auto *testLayout = new QGridLayout(tab);
    LEDTable_ = table("LEDTable_", tab);
    sensorTable_ = table("sensorTable_", tab);
    errTable_ = table("errTable_", tab);
    LEDModel_ = new SelfTestTableModel(
        this, {QStringLiteral("Area"), QStringLiteral("Status")},
        {QStringLiteral("selfTest.column.area"), QStringLiteral("selfTest.column.led")}, this);
    sensorModel_ = new SelfTestTableModel(
        this, {QStringLiteral("Area"), QStringLiteral("Status")},
        {QStringLiteral("selfTest.column.area"), QStringLiteral("selfTest.column.sensor")}, this);
    errModel_ = new SelfTestTableModel(
        this,
        {QStringLiteral("Area1"), QStringLiteral("Point1"), QStringLiteral("Status1"),
         QStringLiteral("Area2"), QStringLiteral("Point2"), QStringLiteral("Status2")},
        {QStringLiteral("selfTest.column.area"), QStringLiteral("selfTest.column.point"),
         QStringLiteral("selfTest.column.led"), QStringLiteral("selfTest.column.area"),
         QStringLiteral("selfTest.column.point"), QStringLiteral("selfTest.column.sensor")},
        this);
    const std::pair<QTableView *, SelfTestTableModel *> pairs[] = {
        {LEDTable_, LEDModel_}, {sensorTable_, sensorModel_}, {errTable_, errModel_}};
    for (const auto &[view, model] : pairs) {
        model->setTable(view);
        view->setModel(model);
    }
    LEDTable_->setAccessibleName(L("selfTest.table.led"));
    sensorTable_->setAccessibleName(L("selfTest.table.sensor"));
    errTable_->setAccessibleName(L("selfTest.table.errors"));
    framePicture_ = new FramePicture(tab);
    framePicture_->setObjectName(QStringLiteral("framePicture"));
    testLayout->addWidget(LEDTable_, 0, 0);
    testLayout->addWidget(sensorTable_, 0, 1);
    testLayout->addWidget(framePicture_, 0, 2, 2, 1);
    testLayout->addWidget(errTable_, 1, 0, 1, 2);
    auto *actions = new QHBoxLayout;
    auto *start = new QPushButton(L("selfTest.start"), tab);
    start->setObjectName(QStringLiteral("testSelfButton"));
    auto *stop = new QPushButton(L("selfTest.stop"), tab);
    stop->setObjectName(QStringLiteral("restartTestButton"));
    actions->addWidget(start);
    actions->addWidget(stop);
    actions->addStretch();
    if (extra) {
        actions->addWidget(extra);
    }
    testLayout->addLayout(actions, 2, 0, 1, 3);
    testLayout->setColumnStretch(0, 1);
    testLayout->setColumnStretch(1, 1);
    testLayout->setColumnStretch(2, 2);
    connect(start, &QPushButton::clicked, this, [this] { testSelf(true); });
    connect(stop, &QPushButton::clicked, this, &HardwareSelfTest::restartTest);
}

void HardwareSelfTest::reset() {
    errDataSource_.emplace();
    LEDSensorDataSource_.emplace();
    LEDSens_.emplace();
    judgedEntry_.reset();
    judgement_ = {};
    running_ = false;
    recordsHeld_ = false;
    testTimes = 1;
    hardwareType_ = 0;
    framePicture_->setResult(std::nullopt, {});
    reloadTables();
}

void HardwareSelfTest::unselectedView() {
    errDataSource_.reset();
    LEDSensorDataSource_.reset();
    LEDSens_.reset();
    // No repetition while the page is hidden: it would start the panel's check unseen.
    running_ = false;
    recordsHeld_ = false;
    reloadTables();
}

void HardwareSelfTest::appendRecords(const std::vector<SelfTestRecord> &records) {
    if (!LEDSens_) {
        return;  // the page was left: the picture and the verdicts stay as they were
    }
    // A daemon that keeps reporting cannot grow the list without bound.
    const std::size_t room = kMaxRecords - std::min(kMaxRecords, LEDSens_->size());
    LEDSens_->insert(LEDSens_->end(), records.begin(),
                     records.begin() + static_cast<std::ptrdiff_t>(std::min(room, records.size())));
    logVerbose("show");
    if (awaitingType_) {
        recordsHeld_ = true;  // judged when the hardware type of the run is known
        return;
    }
    showTest();
}

void HardwareSelfTest::testSelf(bool userStart) {
    if (userStart) {
        testTimes = 1;
        running_ = LEDSens_.has_value();
    }
    if (!running_) {
        return;  // stopped, or the page is not shown
    }
    // The reply carries the hardware type; it comes back on the main thread, possibly after
    // the first results.
    const bool sent = sendStartSelfTest(this, [this](std::optional<std::int32_t> type) {
        awaitingType_ = false;
        if (type) {
            hardwareType_ = *type;
            if (const std::optional<DeviceEntry> entry = deviceEntry(*type)) {
                const bool layout = entry->hasLEDSensorArray && !entry->areas.empty();
                endArea_ = layout ? static_cast<std::uint8_t>(entry->areas.back().index) : 0;
                endPoint_ = layout ? static_cast<std::uint8_t>(entry->areas.back().pointCount) : 0;
            }
        }  // a failed send leaves the hardware type as it was
        if (std::exchange(recordsHeld_, false) && LEDSens_) {
            showTest();
        }
    });
    if (sent) {
        awaitingType_ = true;
        recordsHeld_ = false;
        if (LEDSens_) {
            LEDSens_->clear();
        }
    }
}

void HardwareSelfTest::restartTest() {
    // Stop sticks: neither a repetition nor a report already on its way starts another run.
    running_ = false;
    if (SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK))) {
        logVerbose("stop check");
    }
}

bool HardwareSelfTest::needRestartTestSelf() const {
    return needRestart(deviceEntry(hardwareType_));
}

bool HardwareSelfTest::needRestart(const std::optional<DeviceEntry> &entry) const {
    const std::vector<SelfTestRecord> &records = LEDSens_ ? *LEDSens_ : kNoRecords;
    if (verboseLog) {
        std::uint8_t previous = 0;
        for (const SelfTestRecord &r : records) {
            if (r.number != previous) {
                previous = r.number;
                logVerbose(qPrintable(QStringLiteral("count ++     %1").arg(r.number)));
            }
        }
        logVerbose(qPrintable(QStringLiteral("count %1").arg(countAreaRuns(records))));
    }
    return tavix::needRestartTestSelf(records, entry ? &*entry : nullptr);
}

void HardwareSelfTest::showTest() {
    // The device list is read once for the whole judgement.
    const std::optional<DeviceEntry> entry = deviceEntry(hardwareType_);
    if (running_ && testTimes < kMaxTestTimes && needRestart(entry)) {
        // The results miss areas: the next run starts at once.
        ++testTimes;
        testSelf(false);
        reloadTables();
        return;
    }
    running_ = false;
    if (LEDSensorDataSource_) {
        LEDSensorDataSource_->clear();
    }
    if (errDataSource_) {
        errDataSource_->clear();
    }
    if (!entry) {
        reloadTables();
        return;
    }
    judgement_ = judgeSelfTest(LEDSens_ ? *LEDSens_ : kNoRecords, *entry);
    judgedEntry_ = entry;
    if (LEDSensorDataSource_) {
        for (const AreaSummary &row : judgement_.summaries) {
            LEDSensorDataSource_->push_back({QString::fromStdString(row.label),
                                             qtTrId(verdictKey(row.led)),
                                             qtTrId(verdictKey(row.sensor))});
        }
    }
    if (errDataSource_) {
        *errDataSource_ = judgement_.errors;
    }
    logVerbose("showTest 4");
    framePicture_->setResult(judgedEntry_, judgement_);
    reloadTables();
    Q_EMIT testShown();
}

void HardwareSelfTest::reloadTables() {
    errModel_->reload();
    LEDModel_->reload();
    sensorModel_->reload();
}

std::int64_t HardwareSelfTest::numberOfRowsInTableView(const QTableView *table) const {
    if (table == errTable_) {
        return errDataSource_ ? static_cast<std::int64_t>(errDataSource_->size()) : 0;
    }
    return LEDSensorDataSource_ ? static_cast<std::int64_t>(LEDSensorDataSource_->size()) : 0;
}

QString HardwareSelfTest::tableViewObjectValue(const QTableView *table, const QString &column,
                                               int row) const {
    if (row < 0 || row >= numberOfRowsInTableView(table)) {
        return {};
    }
    const auto r = static_cast<std::size_t>(row);
    if (table == errTable_) {
        const ErrorRow &e = (*errDataSource_)[r];
        if (column == QLatin1String("Area1") || column == QLatin1String("Area2")) {
            return QString::fromStdString(e.label);
        }
        if (column == QLatin1String("Point1") || column == QLatin1String("Point2")) {
            return QString::number(e.point);
        }
        const int state = column == QLatin1String("Status1") ? e.ledState : e.sensState;
        return state == 1 ? L("selfTest.E01") : L("selfTest.OK");
    }
    const AreaSummaryRow &s = (*LEDSensorDataSource_)[r];
    if (column == QLatin1String("Area")) {
        return s.area;
    }
    if (column == QLatin1String("Status")) {
        return table == LEDTable_ ? s.ledState : s.sensorState;
    }
    return {};
}

}  // namespace tavix
