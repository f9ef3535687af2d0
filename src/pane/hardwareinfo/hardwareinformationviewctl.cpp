#include "hardwareinformationviewctl.h"

#include <QAbstractTableModel>
#include <QBuffer>
#include <QButtonGroup>
#include <QComboBox>
#include <QCursor>
#include <QDateTime>
#include <QFile>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScopedValueRollback>
#include <QScreen>
#include <QTabWidget>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

#include "atomic_file.h"
#include "commands.h"
#include "daemonchannel.h"
#include "framepicture.h"
#include "globals.h"
#include "hardware_report_writer.h"
#include "hostaddresses.h"
#include "messageport.h"
#include "paths.h"
#include "settings_store.h"

namespace tavix {

// One table's view of the controller's rows: the columns carry the identifiers the data source
// answers by.
class SelfTestTableModel : public QAbstractTableModel {
  public:
    SelfTestTableModel(HardwareInformationViewCtl *controller, QStringList identifiers,
                       QStringList headerKeys, QObject *parent)
        : QAbstractTableModel(parent),
          controller_(controller),
          identifiers_(std::move(identifiers)),
          headerKeys_(std::move(headerKeys)) {}

    void setTable(const QTableView *table) { table_ = table; }
    void reload() {
        beginResetModel();
        endResetModel();
    }
    QString identifier(int column) const { return identifiers_.value(column); }

    int rowCount(const QModelIndex &parent = {}) const override {
        return parent.isValid() ? 0
                                : static_cast<int>(controller_->numberOfRowsInTableView(table_));
    }
    int columnCount(const QModelIndex &parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(identifiers_.size());
    }
    QVariant data(const QModelIndex &index, int role) const override {
        if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::AccessibleTextRole)) {
            return {};
        }
        return controller_->tableViewObjectValue(table_, identifiers_.value(index.column()),
                                                 index.row());
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
            return QAbstractTableModel::headerData(section, orientation, role);
        }
        return qtTrId(qPrintable(headerKeys_.value(section)));
    }

  private:
    HardwareInformationViewCtl *controller_;
    const QTableView *table_ = nullptr;
    QStringList identifiers_;
    QStringList headerKeys_;
};

namespace {

QString L(const char *id) {
    return qtTrId(id);
}

// The current model's settings, and whether the file exists.
std::optional<SettingsDict> readCurrentSettings() {
    const std::string path = getSettingsFilePath(gModelType.load());
    if (!pathExists(path)) {
        return std::nullopt;
    }
    return readPlistFile(path).value_or(SettingsDict{});
}

QLabel *field(const char *name, QWidget *parent, const QString &text = QString()) {
    auto *label = new QLabel(text, parent);
    label->setObjectName(QLatin1String(name));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

QLabel *caption(const char *id, QWidget *parent, QWidget *buddy = nullptr) {
    auto *label = new QLabel(L(id), parent);
    if (buddy) {
        label->setBuddy(buddy);
        buddy->setAccessibleName(label->text());
    }
    return label;
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

}  // namespace

HardwareInformationViewCtl::HardwareInformationViewCtl(QWidget *page, QObject *parent)
    : QObject(parent), addressSource_([] { return systemIPv4Addresses(); }), pointerSource_([] {
          // Device pixels of the screen under the pointer.
          const QPoint logical = QCursor::pos();
          const QScreen *screen = QGuiApplication::screenAt(logical);
          const qreal ratio = screen ? screen->devicePixelRatio() : 1.0;
          return QPointF(logical) * ratio;
      }) {
    pointerTimer_.setInterval(kPointerIntervalMs);
    connect(&pointerTimer_, &QTimer::timeout, this, &HardwareInformationViewCtl::updatePointer);
    retryTimer_.setSingleShot(true);
    retryTimer_.setInterval(kRetrySettleMs);
    connect(&retryTimer_, &QTimer::timeout, this, [this] {
        ++testTimes;
        testSelf(false);
    });
    buildPage(page);
}

HardwareInformationViewCtl::~HardwareInformationViewCtl() = default;

void HardwareInformationViewCtl::buildPage(QWidget *page) {
    auto *content = new QWidget(page);
    content->setObjectName(QStringLiteral("hardwareInformationContent"));
    content_ = content;
    auto *layout = page->layout();
    if (!layout) {
        layout = new QVBoxLayout(page);
        layout->setContentsMargins(0, 0, 0, 0);
    }
    layout->addWidget(content);
    auto *outer = new QVBoxLayout(content);
    hardwareInfoTabView_ = new QTabWidget(content);
    hardwareInfoTabView_->setObjectName(QStringLiteral("hardwareInfoTabView_"));
    outer->addWidget(hardwareInfoTabView_);

    // Tab 0: identity, switches and firmware.
    auto *info = new QWidget;
    auto *infoLayout = new QHBoxLayout(info);
    auto *identity = new QGroupBox(L("Hardware.identity"), info);
    auto *form = new QFormLayout(identity);
    modelName_ = field("modelName_", identity);
    driverVersion_ = field("driverVersion_", identity);
    compName_ = field("compName_", identity);
    IPAddr_ = new QComboBox(identity);
    IPAddr_->setObjectName(QStringLiteral("IPAddr_"));
    form->addRow(caption("Hardware.modelName", identity, modelName_), modelName_);
    form->addRow(caption("Hardware.driverVersion", identity, driverVersion_), driverVersion_);
    form->addRow(caption("Hardware.computerName", identity, compName_), compName_);
    form->addRow(caption("Hardware.address", identity, IPAddr_), IPAddr_);
    infoLayout->addWidget(identity, 1);

    // The service panels and the firmware box sit at fixed places, measured from the bottom
    // left as the page's layout is defined; without the panels the box moves up.
    auto *boxes = new QWidget(info);
    boxes->setObjectName(QStringLiteral("serviceArea"));
    boxes->setFixedSize(340, 440);
    serviceModeView1 = new QGroupBox(L("Hardware.dipSwitches"), boxes);
    serviceModeView1->setObjectName(QStringLiteral("serviceModeView1"));
    serviceModeView1->setGeometry(0, 0, 340, 100);
    auto *dip = new QGridLayout(serviceModeView1);
    for (int n = 0; n < 8; ++n) {
        auto *number = new QLabel(QString::number(n + 1), serviceModeView1);
        number->setAlignment(Qt::AlignCenter);
        DIPSW_[n] = field(qPrintable(QStringLiteral("DIPSW%1_").arg(n + 1)), serviceModeView1);
        DIPSW_[n]->setAlignment(Qt::AlignCenter);
        DIPSW_[n]->setAccessibleName(L("Hardware.dipSwitch").arg(n + 1));
        dip->addWidget(number, 0, n);
        dip->addWidget(DIPSW_[n], 1, n);
    }
    serviceModeView2 = new QGroupBox(L("Hardware.functionButtons"), boxes);
    serviceModeView2->setObjectName(QStringLiteral("serviceModeView2"));
    serviceModeView2->setGeometry(0, 105, 340, 100);
    auto *buttons = new QGridLayout(serviceModeView2);
    funByButton1_ = field("funByButton1_", serviceModeView2);
    funByButton2_ = field("funByButton2_", serviceModeView2);
    buttons->addWidget(caption("Hardware.button1", serviceModeView2, funByButton1_), 0, 0);
    buttons->addWidget(funByButton1_, 0, 1);
    funByButton2Text_ = new QLabel(L("Hardware.button2"), serviceModeView2);
    funByButton2Text_->setObjectName(QStringLiteral("funByButton2Text_"));
    funByButton2Text2_ = new QLabel(L("Hardware.button2.pen"), serviceModeView2);
    funByButton2Text2_->setObjectName(QStringLiteral("funByButton2Text2_"));
    funByButton2_->setAccessibleName(funByButton2Text_->text());
    buttons->addWidget(funByButton2Text_, 1, 0);
    buttons->addWidget(funByButton2_, 1, 1);
    buttons->addWidget(funByButton2Text2_, 2, 0, 1, 2);
    serviceModeView3 = new QGroupBox(L("Hardware.inputModeBox"), boxes);
    serviceModeView3->setObjectName(QStringLiteral("serviceModeView3"));
    serviceModeView3->setGeometry(0, 210, 340, 70);
    auto *mode = new QHBoxLayout(serviceModeView3);
    inputMode_ = field("inputMode_", serviceModeView3);
    mode->addWidget(caption("Hardware.inputMode", serviceModeView3, inputMode_));
    mode->addWidget(inputMode_, 1);
    firmwareInfo = new QGroupBox(L("Hardware.firmware"), boxes);
    firmwareInfo->setObjectName(QStringLiteral("firmwareInfo"));
    firmwareInfo->setGeometry(0, 440 - 48 - 100, 340, 100);
    auto *fw = new QFormLayout(firmwareInfo);
    version_ = field("version_", firmwareInfo);
    checkSum2_ = field("checkSum2_", firmwareInfo);
    checkSum1_ = field("checkSum1_", firmwareInfo);
    auto *sum = new QHBoxLayout;
    sum->addWidget(checkSum2_);
    sum->addWidget(checkSum1_, 1);
    fw->addRow(caption("Hardware.version", firmwareInfo, version_), version_);
    fw->addRow(caption("Hardware.checksum", firmwareInfo, checkSum2_), sum);
    checkSum1_->setAccessibleName(L("Hardware.checksumVerdict"));
    infoLayout->addWidget(boxes, 0, Qt::AlignTop);
    hardwareInfoTabView_->addTab(info, L("Hardware.tab.information"));

    // Tab 1: rotation, pointer and buttons.
    auto *motion = new QWidget;
    auto *motionLayout = new QHBoxLayout(motion);
    auto *rotation = new QGroupBox(L("Hardware.rotation"), motion);
    auto *rotationLayout = new QVBoxLayout(rotation);
    rotateMode_ = new QWidget(rotation);
    rotateMode_->setObjectName(QStringLiteral("rotateMode_"));
    rotateMode_->setAccessibleName(L("Hardware.rotation"));
    auto *rows = new QVBoxLayout(rotateMode_);
    rotateGroup_ = new QButtonGroup(this);
    for (int r = 0; r < 4; ++r) {
        auto *radio = new QRadioButton(L("Hardware.rotate").arg(r * 90), rotateMode_);
        radio->setObjectName(QStringLiteral("rotateMode_%1").arg(r));
        rotateGroup_->addButton(radio, r);
        rows->addWidget(radio);
    }
    // Mouse, keyboard and the accessibility interface's toggle all check a row; rows the page
    // selects itself do not count as a choice.
    connect(rotateGroup_, &QButtonGroup::idToggled, this, [this](int, bool checked) {
        if (checked && !selectingRotation_) {
            changeRotateState();
        }
    });
    rotationLayout->addWidget(rotateMode_);
    auto *angle = new QHBoxLayout;
    rotateAngle_ = field("rotateAngle_", rotation);
    angle->addWidget(caption("Hardware.angle", rotation, rotateAngle_));
    angle->addWidget(rotateAngle_, 1);
    rotationLayout->addLayout(angle);
    rotationLayout->addStretch();
    motionLayout->addWidget(rotation);
    auto *pointer = new QGroupBox(L("Hardware.pointer"), motion);
    auto *pointerForm = new QFormLayout(pointer);
    mouseCoordinate_ = field("mouseCoordinate_", pointer);
    stateByButtonL_ = field("stateByButtonL_", pointer);
    stateByButton1_ = field("stateByButton1_", pointer);
    stateByButton2_ = field("stateByButton2_", pointer);
    pointerForm->addRow(caption("Hardware.position", pointer, mouseCoordinate_), mouseCoordinate_);
    pointerForm->addRow(caption("Hardware.buttonL", pointer, stateByButtonL_), stateByButtonL_);
    pointerForm->addRow(caption("Hardware.button1", pointer, stateByButton1_), stateByButton1_);
    pointerForm->addRow(caption("Hardware.button2", pointer, stateByButton2_), stateByButton2_);
    motionLayout->addWidget(pointer, 1);
    hardwareInfoTabView_->addTab(motion, L("Hardware.tab.rotation"));

    // Tab 2: the self-test.
    auto *test = new QWidget;
    auto *testLayout = new QGridLayout(test);
    LEDTable_ = table("LEDTable_", test);
    sensorTable_ = table("sensorTable_", test);
    errTable_ = table("errTable_", test);
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
    framePicture_ = new FramePicture(test);
    framePicture_->setObjectName(QStringLiteral("framePicture"));
    testLayout->addWidget(LEDTable_, 0, 0);
    testLayout->addWidget(sensorTable_, 0, 1);
    testLayout->addWidget(framePicture_, 0, 2, 2, 1);
    testLayout->addWidget(errTable_, 1, 0, 1, 2);
    auto *actions = new QHBoxLayout;
    auto *start = new QPushButton(L("selfTest.start"), test);
    start->setObjectName(QStringLiteral("testSelfButton"));
    auto *stop = new QPushButton(L("selfTest.stop"), test);
    stop->setObjectName(QStringLiteral("restartTestButton"));
    auto *save = new QPushButton(L("Hardware.saveReport"), test);
    save->setObjectName(QStringLiteral("saveReportButton"));
    actions->addWidget(start);
    actions->addWidget(stop);
    actions->addStretch();
    actions->addWidget(save);
    testLayout->addLayout(actions, 2, 0, 1, 3);
    testLayout->setColumnStretch(0, 1);
    testLayout->setColumnStretch(1, 1);
    testLayout->setColumnStretch(2, 2);
    connect(start, &QPushButton::clicked, this, [this] { testSelf(true); });
    connect(stop, &QPushButton::clicked, this, &HardwareInformationViewCtl::restartTest);
    connect(save, &QPushButton::clicked, this, &HardwareInformationViewCtl::requestSaveReport);
    hardwareInfoTabView_->addTab(test, L("Hardware.tab.selfTest"));

    connect(hardwareInfoTabView_, &QTabWidget::currentChanged, this,
            &HardwareInformationViewCtl::tabViewWillSelectTabViewItem);
}

void HardwareInformationViewCtl::openReportPort() {
    if (hardwarePort_) {
        return;  // opened once, kept for the life of the page
    }
    hardwarePort_ = LocalMessagePort::create(QString::fromLatin1(kReportPortName),
                                             [this](qint32 msgid, const QByteArray &data) {
                                                 return hardwareTestPortCallBack(msgid, data);
                                             });
}

std::optional<DeviceEntry> HardwareInformationViewCtl::deviceEntry(std::int32_t modelType) const {
    const std::optional<std::vector<DeviceEntry>> list =
        readDeviceList(getSupportDeviceListFilePath());
    if (!list) {
        return std::nullopt;
    }
    const DeviceEntry *entry = findDeviceEntry(*list, modelType);
    return entry ? std::optional<DeviceEntry>(*entry) : std::nullopt;
}

void HardwareInformationViewCtl::applyRotation(std::int64_t mode) {
    const QScopedValueRollback<bool> selecting(selectingRotation_, true);
    if (QAbstractButton *button = rotateGroup_->button(static_cast<int>(mode))) {
        button->setChecked(true);
    } else {
        // A mode with no row: no row is selected.
        rotateGroup_->setExclusive(false);
        for (QAbstractButton *b : rotateGroup_->buttons()) {
            b->setChecked(false);
        }
        rotateGroup_->setExclusive(true);
    }
    rotateAngle_->setText(QString::number(mode * 90));
}

void HardwareInformationViewCtl::updateUIState() {
    if (!content_) {
        return;
    }
    // 1-2. Fresh rows and records.
    errDataSource_.emplace();
    LEDSensorDataSource_.emplace();
    LEDSens_.emplace();
    judgedEntry_.reset();
    judgement_ = {};
    retryTimer_.stop();
    reloadTables();
    testTimes = 1;
    // 3. The report port.
    openReportPort();
    // 4.
    if (verboseLog) {
        logVerbose(qPrintable(QStringLiteral("type = %1").arg(gModelType.load())));
    }
    // 5. Settings of the current model.
    const std::optional<SettingsDict> settings = readCurrentSettings();
    if (settings) {
        applyRotation(settings->intValue("RotateMode"));
        driverVersion_->setText(QString::fromStdString(settings->stringValue("DriverVersion")));
        funByButton1_->setText(settings->boolValue("FounctionButton1")
                                   ? L("Hardware.FounctionButton1")
                                   : L("Hardware.Disable"));
        funByButton2_->setText(settings->boolValue("FounctionButton2")
                                   ? L("Hardware.FounctionButton2")
                                   : L("Hardware.Disable"));
        compName_->setText(localizedComputerName());
        IPAddr_->clear();
        IPAddr_->addItems(addressMenuItems(getIPAddresss()));
        IPAddr_->setCurrentIndex(IPAddr_->count() > 0 ? 0 : -1);
        switch (settings->intValue("InputMode")) {
            case 0:
                inputMode_->setText(L("Hardware.InputMode.Standard"));
                break;
            case 1:
                inputMode_->setText(L("Hardware.InputMode.HandWrite"));
                break;
            case 2:
                inputMode_->setText(L("Hardware.InputMode.Pen"));
                break;
            default:
                break;  // left as it was
        }
    }
    // 6-8. Model name and the service panels.
    const std::int32_t model = gModelType.load();
    const std::optional<DeviceEntry> entry = deviceEntry(model);
    const bool service = model != 317;
    for (QWidget *view : {serviceModeView1, serviceModeView2, serviceModeView3}) {
        view->setVisible(service);
    }
    const double y = service ? kFirmwareInfoYWithService : kFirmwareInfoYWithoutService;
    const QWidget *parent = firmwareInfo->parentWidget();
    firmwareInfo->move(firmwareInfo->x(),
                       static_cast<int>(parent->height() - y - firmwareInfo->height()));
    // Without an entry for the model no name is known: the field is emptied.
    modelName_->setText(entry ? QString::fromStdString(entry->name) : QString());
    // 9. The pointer updater: one timer, whatever the number of refreshes.
    isThreadQuit = false;
    updatePointer();
    pointerTimer_.start();
    // 10-11.
    hardwareType_ = 0;
    LEDSens_.emplace();
    framePicture_->setResult(std::nullopt, {});
    getDIP_SW();
    checkSumAndVersion();
    // 12.
    const int tab = hardwareInfoTabView_->currentIndex();
    mouseAction(tab != 2);
    showMouseInfo(tab == 1);
    // 13. Without a settings file there is no pen support to show.
    const bool pen = settings && settings->boolValue("PenSoftSupport");
    for (QWidget *w :
         {static_cast<QWidget *>(funByButton2Text_), static_cast<QWidget *>(funByButton2Text2_),
          static_cast<QWidget *>(funByButton2_)}) {
        w->setVisible(pen);
    }
}

void HardwareInformationViewCtl::unselectedView() {
    errDataSource_.reset();
    LEDSensorDataSource_.reset();
    LEDSens_.reset();
    retryTimer_.stop();
    reloadTables();
    isThreadQuit = true;
    pointerTimer_.stop();
    mouseAction(true);
    showMouseInfo(false);
}

void HardwareInformationViewCtl::resetTabView() {
    hardwareInfoTabView_->setCurrentIndex(0);
}

void HardwareInformationViewCtl::tabViewWillSelectTabViewItem(int index) {
    mouseAction(index != 2);
    showMouseInfo(index == 1);
    if (index == 1) {
        if (const std::optional<SettingsDict> settings = readCurrentSettings()) {
            applyRotation(settings->intValue("RotateMode"));
        }
    }
}

void HardwareInformationViewCtl::getDIP_SW() {
    SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW));
}

void HardwareInformationViewCtl::checkSumAndVersion() {
    SendDataToRemotePort(makeCommand(COMMAND_GET_CHECKSUM_AND_VERSION));
}

void HardwareInformationViewCtl::setDIPSW(int value) {
    dipValue_ = value;
    for (int n = 1; n <= 8; ++n) {
        DIPSW_[n - 1]->setText(QString::number(dipSwitch(value, n)));
    }
}

void HardwareInformationViewCtl::setHardwareInfo(const std::uint8_t *p) {
    const ChecksumAndVersion info{p[0], p[1], p[2], p[3], p[4], p[5]};
    firmware_ = info;
    version_->setText(QString::fromLatin1(formatFirmwareVersion(gModelType.load(), info)));
    checkSum2_->setText(QString::fromLatin1(formatChecksum(info)));
    const bool bad = p[2] != 0;
    QPalette palette = checkSum1_->palette();
    palette.setColor(QPalette::WindowText, bad ? QColor(Qt::red) : QColor(0, 0x90, 0));
    checkSum1_->setPalette(palette);
    checkSum1_->setText(bad ? L("selfTest.NG") : L("selfTest.OK"));
}

QStringList HardwareInformationViewCtl::getIPAddresss() const {
    return addressSource_ ? addressSource_() : QStringList();
}

QByteArray HardwareInformationViewCtl::hardwareTestPortCallBack(qint32, const QByteArray &data) {
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(data.constData());
    const auto size = static_cast<std::size_t>(data.size());
    const std::optional<HardwareReport> report = decodeHardwareReport(bytes, size);
    if (report) {
        switch (report->type) {
            case REPORT_DIP_SW:
                setDIPSW(report->dipSwitches);
                break;
            case REPORT_SELF_TEST_RESULT:
                if (LEDSens_) {
                    LEDSens_->insert(LEDSens_->end(), report->records.begin(),
                                     report->records.end());
                }
                logVerbose("show");
                showTest();
                break;
            case REPORT_CHECKSUM_AND_VERSION:
                setHardwareInfo(bytes + 1);
                break;
            case REPORT_BUTTON_STATE:
                setMouseInfo(bytes + 1);
                break;
        }
    }
    if (content_) {
        content_->update();
    }
    Q_EMIT reportHandled(size > 0 ? bytes[0] : -1);
    return {};
}

void HardwareInformationViewCtl::testSelf(bool userStart) {
    if (userStart) {
        testTimes = 1;
        retryTimer_.stop();
    }
    // The reply carries the hardware type; it comes back on the main thread.
    QPointer<HardwareInformationViewCtl> self(this);
    const bool sent = sendStartSelfTest([self](std::optional<std::int32_t> type) {
        if (!self || !type) {
            return;  // a failed send leaves the hardware type as it was
        }
        self->hardwareType_ = *type;
        if (const std::optional<DeviceEntry> entry = self->deviceEntry(*type)) {
            if (entry->hasLEDSensorArray && !entry->areas.empty()) {
                self->endArea_ = static_cast<std::uint8_t>(entry->areas.back().index);
                self->endPoint_ = static_cast<std::uint8_t>(entry->areas.back().pointCount);
            } else {
                self->endArea_ = 0;
                self->endPoint_ = 0;
            }
        }
    });
    if (sent && LEDSens_) {
        LEDSens_->clear();
    }
}

void HardwareInformationViewCtl::restartTest() {
    // A pending retry would start the check again.
    retryTimer_.stop();
    if (SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK))) {
        logVerbose("stop check");
    }
}

bool HardwareInformationViewCtl::needRestartTestSelf() const {
    static const std::vector<SelfTestRecord> none;
    const std::vector<SelfTestRecord> &records = LEDSens_ ? *LEDSens_ : none;
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
    const std::optional<DeviceEntry> entry = deviceEntry(hardwareType_);
    return tavix::needRestartTestSelf(records, entry ? &*entry : nullptr);
}

void HardwareInformationViewCtl::showTest() {
    if (needRestartTestSelf() && testTimes < kMaxTestTimes) {
        // Retried once the run's last report is in; a further report judges again first.
        retryTimer_.start();
        reloadTables();
        return;
    }
    retryTimer_.stop();
    if (LEDSensorDataSource_) {
        LEDSensorDataSource_->clear();
    }
    if (errDataSource_) {
        errDataSource_->clear();
    }
    const std::optional<DeviceEntry> entry = deviceEntry(hardwareType_);
    if (!entry) {
        reloadTables();
        return;
    }
    static const std::vector<SelfTestRecord> none;
    judgement_ = judgeSelfTest(LEDSens_ ? *LEDSens_ : none, *entry);
    judgedEntry_ = entry;
    for (const AreaSummary &row : judgement_.summaries) {
        if (LEDSensorDataSource_) {
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

void HardwareInformationViewCtl::reloadTables() {
    errModel_->reload();
    LEDModel_->reload();
    sensorModel_->reload();
}

std::int64_t HardwareInformationViewCtl::numberOfRowsInTableView(const QTableView *table) const {
    if (table == errTable_) {
        return errDataSource_ ? static_cast<std::int64_t>(errDataSource_->size()) : 0;
    }
    return LEDSensorDataSource_ ? static_cast<std::int64_t>(LEDSensorDataSource_->size()) : 0;
}

QString HardwareInformationViewCtl::tableViewObjectValue(const QTableView *table,
                                                         const QString &column, int row) const {
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

void HardwareInformationViewCtl::changeRotateState() {
    const int row = rotateGroup_->checkedId();
    const std::optional<SettingsDict> settings = readCurrentSettings();
    const std::int64_t saved = settings ? settings->intValue("RotateMode") : 0;
    if (row == saved) {
        return;
    }
    QMessageBox alert(QMessageBox::NoIcon, L("Alert.HotKey.Title"), L("Alert.Rotate"),
                      QMessageBox::NoButton, content_ ? content_->window() : nullptr);
    alert.setObjectName(QStringLiteral("rotateAlert"));
    QPushButton *yes = alert.addButton(L("Alert.Button.YES"), QMessageBox::AcceptRole);
    QPushButton *no = alert.addButton(L("Alert.Button.NO"), QMessageBox::RejectRole);
    alert.setDefaultButton(yes);
    alert.setEscapeButton(no);
    alert.exec();
    if (alert.clickedButton() == yes) {
        SendDataToRemotePort(makeCommandU16(COMMAND_SET_ROTATE_MODE, row));
    } else if (alert.clickedButton() == no) {
        QTimer::singleShot(10, this, &HardwareInformationViewCtl::reloadRotateMode);
    }
}

void HardwareInformationViewCtl::reloadRotateMode() {
    const std::optional<SettingsDict> settings = readCurrentSettings();
    const std::int64_t mode = settings ? settings->intValue("RotateMode") : 0;
    const QScopedValueRollback<bool> selecting(selectingRotation_, true);
    if (QAbstractButton *button = rotateGroup_->button(static_cast<int>(mode))) {
        button->setChecked(true);
    }
}

void HardwareInformationViewCtl::mouseAction(bool on) {
    const std::uint8_t off = (on || gModelType.load() == 317) ? 0 : 1;
    SendDataToRemotePort(makeCommandU8(COMMAND_SET_MOUSE_ACTION, off));
}

void HardwareInformationViewCtl::showMouseInfo(bool show) {
    SendDataToRemotePort(makeCommandU8(COMMAND_SHOW_MOUSE_INFO, show ? 1 : 0));
}

void HardwareInformationViewCtl::setMouseInfo(const std::uint8_t *p) {
    const std::pair<std::uint8_t, QLabel *> fields[] = {
        {p[1], stateByButton1_}, {p[2], stateByButton2_}, {p[0], stateByButtonL_}};
    for (const auto &[state, label] : fields) {
        label->setText(state == 1 ? L("Function.Flag") : QStringLiteral(" "));
    }
}

QString HardwareInformationViewCtl::pointerText(QPointF position) {
    // Truncated toward zero; out-of-range values saturate.
    const auto whole = [](double v) {
        if (!std::isfinite(v)) {
            return 0;
        }
        return static_cast<int>(std::clamp(std::trunc(v), -2147483648.0, 2147483647.0));
    };
    return QStringLiteral("x=%1, y=%2").arg(whole(position.x())).arg(whole(position.y()));
}

void HardwareInformationViewCtl::updatePointer() {
    if (isThreadQuit) {
        pointerTimer_.stop();
        return;
    }
    if (pointerSource_) {
        mouseCoordinate_->setText(pointerText(pointerSource_()));
    }
}

double HardwareInformationViewCtl::firmwareInfoY() const {
    const QWidget *parent = firmwareInfo->parentWidget();
    return parent->height() - firmwareInfo->y() - firmwareInfo->height();
}

bool HardwareInformationViewCtl::saveReport(const QString &basePath) const {
    HardwareInfoReport report;
    report.time = QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toStdString();
    report.modelType = gModelType.load();
    report.modelName = modelName_->text().toStdString();
    report.driverVersion = driverVersion_->text().toStdString();
    report.firmware = firmware_;
    report.dipSwitches = dipValue_;
    if (const std::optional<SettingsDict> settings = readCurrentSettings()) {
        report.rotateMode = settings->intValue("RotateMode");
        report.inputMode = settings->intValue("InputMode");
        report.functionButton1 = settings->boolValue("FounctionButton1");
        report.functionButton2 = settings->boolValue("FounctionButton2");
    }
    report.computerName = compName_->text().toStdString();
    for (int i = 0; i < IPAddr_->count(); ++i) {
        report.addresses.push_back(IPAddr_->itemText(i).toStdString());
    }
    report.selfTestJudged = judgedEntry_.has_value();
    report.areas = judgement_.summaries;
    report.failedPoints = judgement_.errors;

    QByteArray png;
    if (report.selfTestJudged) {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        framePicture_->grab().save(&buffer, "PNG");
    }
    const std::string base = basePath.toStdString();
    return writeFileAtomically(base + ".json", hardwareReportJson(report)) &&
           writeFileAtomically(base + ".html",
                               hardwareReportHtml(report, png.toBase64().toStdString()));
}

void HardwareInformationViewCtl::requestSaveReport() {
    QWidget *parent = content_ ? content_->window() : nullptr;
    QString path = QFileDialog::getSaveFileName(parent, L("Hardware.saveReport.title"),
                                                QDir::homePath() + QStringLiteral("/panel-report"),
                                                L("Hardware.saveReport.filter"));
    if (path.isEmpty()) {
        return;
    }
    for (const char *ext : {".json", ".html"}) {
        if (path.endsWith(QLatin1String(ext))) {
            path.chop(static_cast<int>(qstrlen(ext)));
        }
    }
    if (!saveReport(path)) {
        QMessageBox::warning(parent, L("Hardware.saveReport.title"),
                             L("Hardware.saveReport.failed").arg(path));
    }
}

}  // namespace tavix
