#include "statusbarutility.h"

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QProcess>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QTranslator>

#include <vector>

#include "commands.h"
#include "daemonchannel.h"
#include "device_list.h"
#include "messageport.h"
#include "paths.h"
#include "settings_store.h"

namespace tavix {
namespace {

constexpr double kPortTimeout = 1.0;

SettingsDict modelSettings(std::int32_t model) {
    return readPlistFile(getSettingsFilePath(model)).value_or(SettingsDict());
}

}  // namespace

void installUtilityTranslations(const QLocale &locale) {
    static std::vector<std::unique_ptr<QTranslator>> installed;
    for (const auto &translator : installed) {
        QCoreApplication::removeTranslator(translator.get());
    }
    installed.clear();
    for (const QString &language : {QStringLiteral("en"), locale.name().left(2)}) {
        auto translator = std::make_unique<QTranslator>();
        if (translator->load(QStringLiteral(":/i18n/utility_%1.qm").arg(language)) &&
            QCoreApplication::installTranslator(translator.get())) {
            installed.push_back(std::move(translator));
        }
    }
}

bool startSettingsWindowProgram() {
    const QString beside =
        QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("tavix-settings"));
    if (QFileInfo(beside).isExecutable()) {
        return QProcess::startDetached(beside, {});
    }
    const QString found = QStandardPaths::findExecutable(QStringLiteral("tavix-settings"));
    return !found.isEmpty() && QProcess::startDetached(found, {});
}

StatusBarUtility::StatusBarUtility(Options options, QObject *parent)
    : QObject(parent), options_(std::move(options)) {}

StatusBarUtility::~StatusBarUtility() = default;

StatusBarUtility::StartResult StatusBarUtility::start() {
    if (!readUtilitiesDictionary().boolValue("isShowStatuMenu")) {
        return StartResult::NotWanted;
    }
    port_ = LocalMessagePort::create(
        QString::fromLatin1(kStatusBarPortName),
        [this](qint32 msgid, const QByteArray &data) { return onPortMessage(msgid, data); });
    if (!port_) {
        return StartResult::AlreadyRunning;
    }
    buildMenu();
    tray_ = std::make_unique<QSystemTrayIcon>();
    tray_->setContextMenu(menu_.get());
    connect(
        tray_.get(), &QSystemTrayIcon::activated, this,
        [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger) {
                openPage(static_cast<int>(readUtilitiesDictionary().intValue("currentPageIndex")));
            }
        });
    poll();
    tray_->show();
    timer_ = new QTimer(this);
    connect(timer_, &QTimer::timeout, this, &StatusBarUtility::poll);
    timer_->start(options_.pollInterval);
    return StartResult::Started;
}

QByteArray StatusBarUtility::onPortMessage(qint32 msgid, const QByteArray &data) {
    if (msgid == kStatusBarQuitMsgId && data == QByteArray(kStatusBarQuitData)) {
        // After the reply has gone out.
        QTimer::singleShot(0, this, [this] { Q_EMIT quitRequested(); });
    }
    return {};
}

QString StatusBarUtility::toolTip() const {
    switch (state_) {
        case PanelState::NoPanel:
            //% "No touch panel connected"
            return qtTrId("Utility.NoPanel");
        case PanelState::DriverDisabled:
            //% "The touch panel driver is disabled"
            return qtTrId("Utility.DriverDisabled");
        case PanelState::Connected:
            //% "Touch panel connected: %1"
            return qtTrId("Utility.Connected")
                .arg(modelName_.isEmpty() ? QString::number(model_) : modelName_);
    }
    return {};
}

QIcon StatusBarUtility::iconFor(PanelState state) const {
    // A panel outline with a status light: green connected, grey no panel, red disabled.
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(0x30, 0x30, 0x30), 5));
    p.setBrush(QColor(0xe8, 0xee, 0xf4));
    p.drawRoundedRect(QRectF(4, 10, 56, 40), 5, 5);
    p.drawLine(QPointF(24, 56), QPointF(40, 56));
    const QColor light = state == PanelState::Connected        ? QColor(0x2e, 0xa0, 0x43)
                         : state == PanelState::DriverDisabled ? QColor(0xd0, 0x30, 0x30)
                                                               : QColor(0x90, 0x90, 0x90);
    p.setPen(Qt::NoPen);
    p.setBrush(light);
    p.drawEllipse(QPointF(46, 38), 10, 10);
    p.end();
    return QIcon(pixmap);
}

void StatusBarUtility::poll() {
    const SettingsDict d = readUtilitiesDictionary();
    const auto model = static_cast<std::int32_t>(d.intValue("currentDeviceType"));
    const PanelState state = model == 0                     ? PanelState::NoPanel
                             : !d.boolValue("DriverEnable") ? PanelState::DriverDisabled
                                                            : PanelState::Connected;
    if (known_ && state == state_ && model == model_) {
        return;
    }
    known_ = true;
    state_ = state;
    model_ = model;
    const auto list = model != 0 ? readDeviceList(getSupportDeviceListFilePath()) : std::nullopt;
    const DeviceEntry *device = list ? findDeviceEntry(*list, model) : nullptr;
    modelName_ = device ? QString::fromStdString(device->name) : QString();
    if (tray_) {
        tray_->setIcon(iconFor(state));
        tray_->setToolTip(toolTip());
    }
    refreshMenu();
    Q_EMIT stateChanged();
}

void StatusBarUtility::buildMenu() {
    menu_ = std::make_unique<QMenu>();
    const char *pageIds[] = {
        //% "Calibration"
        QT_TRID_NOOP("Utility.Page.Calibration"),
        //% "Properties"
        QT_TRID_NOOP("Utility.Page.Properties"),
        //% "Hardware information"
        QT_TRID_NOOP("Utility.Page.HardwareInfo"),
        //% "Version"
        QT_TRID_NOOP("Utility.Page.Version"),
    };
    for (int page = 0; page < 4; ++page) {
        QAction *action = menu_->addAction(qtTrId(pageIds[page]));
        action->setObjectName(QStringLiteral("page%1").arg(page));
        connect(action, &QAction::triggered, this, [this, page] { openPage(page); });
    }
    menu_->addSeparator();

    typeGroup_ = new QActionGroup(menu_.get());
    //% "Simple calibration"
    simpleAction_ = menu_->addAction(qtTrId("Utility.SimpleCalibration"));
    //% "Manual calibration"
    manualAction_ = menu_->addAction(qtTrId("Utility.ManualCalibration"));
    simpleAction_->setObjectName(QStringLiteral("simpleCalibration"));
    manualAction_->setObjectName(QStringLiteral("manualCalibration"));
    for (QAction *action : {simpleAction_, manualAction_}) {
        action->setCheckable(true);
        typeGroup_->addAction(action);
    }
    connect(simpleAction_, &QAction::triggered, this,
            [] { SendDataToRemotePort(makeCommandU16(COMMAND_SET_CALIBRATION_TYPE, 0)); });
    connect(manualAction_, &QAction::triggered, this,
            [] { SendDataToRemotePort(makeCommandU16(COMMAND_SET_CALIBRATION_TYPE, 1)); });

    //% "Simple calibration setting"
    simpleMenu_ = menu_->addMenu(qtTrId("Utility.SimpleSetting"));
    simpleMenu_->setObjectName(QStringLiteral("simpleSettingMenu"));
    menu_->insertMenu(manualAction_, simpleMenu_);
    simpleGroup_ = new QActionGroup(simpleMenu_);
    for (int row = 0; row < 3; ++row) {
        //% "Setting %1"
        QAction *action = simpleMenu_->addAction(qtTrId("Utility.SimpleSetting.Row").arg(row + 1));
        action->setObjectName(QStringLiteral("simpleSetting%1").arg(row));
        action->setCheckable(true);
        simpleGroup_->addAction(action);
        connect(action, &QAction::triggered, this, [row] {
            SendDataToRemotePort(makeCommandU16(COMMAND_SET_SIMPLE_SETTING_TYPE, row));
        });
    }

    //% "Start the manual calibration"
    startAction_ = menu_->addAction(qtTrId("Utility.StartCalibration"));
    startAction_->setObjectName(QStringLiteral("startCalibration"));
    connect(startAction_, &QAction::triggered, this, [this] {
        // The second manual calibration is the stored choice on model 317 only.
        const bool second = model_ == 317 && modelSettings(model_).intValue("CalibrationType") == 2;
        SendDataToRemotePort(makeCommandU16(
            second ? COMMAND_START_ADVANCE_CALIBRATION_2 : COMMAND_START_ADVANCE_CALIBRATION, 0));
    });
    menu_->addSeparator();
    //% "Quit"
    QAction *quit = menu_->addAction(qtTrId("Utility.Quit"));
    quit->setObjectName(QStringLiteral("quit"));
    connect(quit, &QAction::triggered, this, &StatusBarUtility::quitRequested);
    connect(menu_.get(), &QMenu::aboutToShow, this, &StatusBarUtility::refreshMenu);
}

void StatusBarUtility::refreshMenu() {
    if (!menu_) {
        return;
    }
    const bool usable = state_ == PanelState::Connected;
    const SettingsDict settings = usable ? modelSettings(model_) : SettingsDict();
    const bool manual = settings.intValue("CalibrationType") != 0;
    for (QAction *action : {simpleAction_, manualAction_, startAction_}) {
        action->setEnabled(usable);
    }
    // The rows themselves too: a screen reader reaches them inside a disabled menu.
    simpleMenu_->setEnabled(usable && !manual);
    simpleGroup_->setEnabled(usable && !manual);
    startAction_->setEnabled(usable && manual);
    (manual ? manualAction_ : simpleAction_)->setChecked(true);
    const QList<QAction *> rows = simpleGroup_->actions();
    const std::int64_t row = settings.intValue("SimpleCalibrationType");
    if (row >= 0 && row < rows.size()) {
        rows[static_cast<qsizetype>(row)]->setChecked(true);
    }
}

void StatusBarUtility::openPage(int page) {
    const std::optional<PreferenceCode> code = selectPageCode(page);
    if (!code) {
        return;
    }
    if (auto window = RemoteMessagePort::lookup(QString::fromLatin1(kPreferencePortName))) {
        window->sendRequest(0, QByteArray(1, static_cast<char>(toByte(*code))), kPortTimeout,
                            kPortTimeout);
        return;
    }
    saveItemToInfoPlist(PlistValue(page), "currentPageIndex");
    if (options_.startSettingsWindow) {
        options_.startSettingsWindow();
    }
}

}  // namespace tavix
