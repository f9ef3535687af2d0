#include "hardwareinformationviewctl.h"

#include <QBuffer>
#include <QButtonGroup>
#include <QComboBox>
#include <QDateTime>
#include <QFile>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScopedValueRollback>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>

#include "atomic_file.h"
#include "commands.h"
#include "daemonchannel.h"
#include "framepicture.h"
#include "globals.h"
#include "hardware_report_writer.h"
#include "hardwareselftest.h"
#include "hostaddresses.h"
#include "messageport.h"
#include "paths.h"
#include "pointermonitor.h"
#include "settings_store.h"

namespace tavix {

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

// A value: its text is what a screen reader says and hears change; Tab reaches it and the
// keyboard selects its text.
QLabel *field(const char *name, QWidget *parent) {
    auto *label = new QLabel(parent);
    label->setObjectName(QLatin1String(name));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setFocusPolicy(Qt::StrongFocus);
    return label;
}

// The caption of a value, which it labels for a screen reader.
QLabel *captionOf(QWidget *value, const QString &text, QWidget *parent) {
    auto *label = new QLabel(text, parent);
    label->setBuddy(value);
    return label;
}

// Escape and the window's close button end the alert without an answer.
class UnansweredClose : public QObject {
  public:
    using QObject::QObject;
    bool eventFilter(QObject *watched, QEvent *event) override {
        const bool escape = event->type() == QEvent::KeyPress &&
                            static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape;
        if (escape || event->type() == QEvent::Close) {
            static_cast<QDialog *>(watched)->reject();
            return true;
        }
        return false;
    }
};

}  // namespace

HardwareInformationViewCtl::HardwareInformationViewCtl(QWidget *page, QObject *parent)
    : QObject(parent), addressSource_([] { return systemIPv4Addresses(); }) {
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
    // Each row's caption labels its value.
    form->addRow(L("Hardware.modelName"), modelName_);
    form->addRow(L("Hardware.driverVersion"), driverVersion_);
    form->addRow(L("Hardware.computerName"), compName_);
    form->addRow(L("Hardware.address"), IPAddr_);
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
        DIPSW_[n] = field(qPrintable(QStringLiteral("DIPSW%1_").arg(n + 1)), serviceModeView1);
        DIPSW_[n]->setAlignment(Qt::AlignCenter);
        auto *number = captionOf(DIPSW_[n], QString::number(n + 1), serviceModeView1);
        number->setAlignment(Qt::AlignCenter);
        dip->addWidget(number, 0, n);
        dip->addWidget(DIPSW_[n], 1, n);
    }
    serviceModeView2 = new QGroupBox(L("Hardware.functionButtons"), boxes);
    serviceModeView2->setObjectName(QStringLiteral("serviceModeView2"));
    serviceModeView2->setGeometry(0, 105, 340, 100);
    auto *buttons = new QGridLayout(serviceModeView2);
    funByButton1_ = field("funByButton1_", serviceModeView2);
    funByButton2_ = field("funByButton2_", serviceModeView2);
    buttons->addWidget(captionOf(funByButton1_, L("Hardware.button1"), serviceModeView2), 0, 0);
    buttons->addWidget(funByButton1_, 0, 1);
    funByButton2Text_ = captionOf(funByButton2_, L("Hardware.button2"), serviceModeView2);
    funByButton2Text_->setObjectName(QStringLiteral("funByButton2Text_"));
    funByButton2Text2_ = new QLabel(L("Hardware.button2.pen"), serviceModeView2);
    funByButton2Text2_->setObjectName(QStringLiteral("funByButton2Text2_"));
    buttons->addWidget(funByButton2Text_, 1, 0);
    buttons->addWidget(funByButton2_, 1, 1);
    buttons->addWidget(funByButton2Text2_, 2, 0, 1, 2);
    serviceModeView3 = new QGroupBox(L("Hardware.inputModeBox"), boxes);
    serviceModeView3->setObjectName(QStringLiteral("serviceModeView3"));
    serviceModeView3->setGeometry(0, 210, 340, 70);
    auto *mode = new QHBoxLayout(serviceModeView3);
    inputMode_ = field("inputMode_", serviceModeView3);
    mode->addWidget(captionOf(inputMode_, L("Hardware.inputMode"), serviceModeView3));
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
    fw->addRow(L("Hardware.version"), version_);
    fw->addRow(captionOf(checkSum2_, L("Hardware.checksum"), firmwareInfo), sum);
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
    // A click, by mouse or keyboard, chooses its row even when it is checked already. The
    // accessibility interface toggles a row without a click; it is taken once the toggle is
    // through. Rows the page selects itself do not count as a choice.
    connect(rotateGroup_, &QButtonGroup::idToggled, this, [this](int, bool checked) {
        if (checked && !selectingRotation_) {
            rotationToggled_ = true;
            QTimer::singleShot(0, this, [this] {
                if (std::exchange(rotationToggled_, false)) {
                    changeRotateState();
                }
            });
        }
    });
    connect(rotateGroup_, &QButtonGroup::idClicked, this, [this] {
        rotationToggled_ = false;
        changeRotateState();
    });
    rotationLayout->addWidget(rotateMode_);
    auto *angle = new QHBoxLayout;
    rotateAngle_ = field("rotateAngle_", rotation);
    angle->addWidget(captionOf(rotateAngle_, L("Hardware.angle"), rotation));
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
    pointerForm->addRow(L("Hardware.position"), mouseCoordinate_);
    pointerForm->addRow(L("Hardware.buttonL"), stateByButtonL_);
    pointerForm->addRow(L("Hardware.button1"), stateByButton1_);
    pointerForm->addRow(L("Hardware.button2"), stateByButton2_);
    pointerMonitor_ = new PointerMonitor(mouseCoordinate_, this);
    motionLayout->addWidget(pointer, 1);
    hardwareInfoTabView_->addTab(motion, L("Hardware.tab.rotation"));

    // Tab 2: the self-test.
    auto *test = new QWidget;
    auto *save = new QPushButton(L("Hardware.saveReport"), test);
    save->setObjectName(QStringLiteral("saveReportButton"));
    connect(save, &QPushButton::clicked, this, &HardwareInformationViewCtl::requestSaveReport);
    selfTest_ = new HardwareSelfTest(this);
    selfTest_->buildTab(test, save);
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

void HardwareInformationViewCtl::selectRotateRow(std::int64_t mode) {
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
}

void HardwareInformationViewCtl::applyRotation(std::int64_t mode) {
    selectRotateRow(mode);
    rotateAngle_->setText(QString::number(mode * 90));
}

void HardwareInformationViewCtl::updateUIState() {
    if (!content_) {
        return;
    }
    // 1-2, 10. Fresh rows and records, no run, hardware type 0.
    selfTest_->reset();
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
    const std::optional<std::vector<DeviceEntry>> list =
        readDeviceList(getSupportDeviceListFilePath());
    const DeviceEntry *entry = list ? findDeviceEntry(*list, model) : nullptr;
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
    // 9. The pointer updater: one, whatever the number of refreshes.
    pointerMonitor_->start();
    // 11.
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
    selfTest_->unselectedView();
    pointerMonitor_->stop();
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
                selfTest_->appendRecords(report->records);
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
    UnansweredClose unanswered;
    alert.installEventFilter(&unanswered);
    alert.exec();
    if (alert.clickedButton() == yes) {
        SendDataToRemotePort(makeCommandU16(COMMAND_SET_ROTATE_MODE, row));
    } else if (alert.clickedButton() == no) {
        QTimer::singleShot(10, this, &HardwareInformationViewCtl::reloadRotateMode);
    }
}

void HardwareInformationViewCtl::reloadRotateMode() {
    const std::optional<SettingsDict> settings = readCurrentSettings();
    selectRotateRow(settings ? settings->intValue("RotateMode") : 0);
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
        // A released button shows a blank; a screen reader says the word instead.
        const bool pressed = state == 1;
        label->setAccessibleName(pressed ? QString() : L("Hardware.buttonReleased"));
        label->setText(pressed ? L("Function.Flag") : QStringLiteral(" "));
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
    report.selfTestJudged = selfTest_->judgedEntry().has_value();
    report.areas = selfTest_->judgement().summaries;
    report.failedPoints = selfTest_->judgement().errors;

    QByteArray png;
    if (report.selfTestJudged) {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        selfTest_->picture()->grab().save(&buffer, "PNG");
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
