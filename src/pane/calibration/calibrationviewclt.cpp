#include "calibrationviewclt.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <cmath>
#include <limits>
#include <utility>

#include "commands.h"
#include "daemonchannel.h"
#include "globals.h"
#include "hotkeychord.h"
#include "modalwindows.h"
#include "panetranslations.h"
#include "paths.h"
#include "radiomatrix.h"
#include "settings_store.h"
#include "supportlists.h"
#include "useraction.h"

namespace tavix {

namespace {

constexpr std::int32_t kModel317 = 317;

enum DisplayKind { kNone, kMatched, kOther, kBuiltin };

// The current model's settings file: whether something exists at its path, and what it holds
// (empty when it is missing or unreadable, so every key reads as 0).
struct CurrentSettings {
    std::string path;
    bool exists = false;
    SettingsDict dict;
};

CurrentSettings readCurrentSettings() {
    CurrentSettings s;
    s.path = getSettingsFilePath(gModelType.load());
    s.exists = pathExists(s.path);
    if (s.exists) {
        s.dict = readPlistFile(s.path).value_or(SettingsDict{});
    }
    return s;
}

// Truncation toward zero, kept inside the int range.
int truncated(double value) {
    if (!std::isfinite(value)) {
        return 0;
    }
    const double limit = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::trunc(value), -limit, limit));
}

// A caption label beside `value`, named after its field ("<field>Caption") and its buddy.
QLabel *captionFor(QWidget *value, const char *key) {
    auto *caption = new QLabel(localizedText(key), value->parentWidget());
    caption->setObjectName(value->objectName() + QStringLiteral("Caption"));
    caption->setBuddy(value);
    return caption;
}

bool isEmptyRect(const QRectF &r) {
    return !(r.width() > 0) || !(r.height() > 0);
}

}  // namespace

CalibrationViewClt::CalibrationViewClt(QWidget *page, QObject *parent)
    : CalibrationViewClt(page, currentDisplayProvider(), parent) {}

CalibrationViewClt::CalibrationViewClt(QWidget *page,
                                       std::shared_ptr<const DisplayProvider> displays,
                                       QObject *parent)
    : QObject(parent), displays_(std::move(displays)), page_(page) {
    buildPage(page);
    buildHotKeyWindow();
    qApp->installEventFilter(this);
}

CalibrationViewClt::~CalibrationViewClt() {
    qApp->removeEventFilter(this);
    delete hotKeySettingWin_.data();
}

void CalibrationViewClt::buildPage(QWidget *page) {
    content_ = new QWidget(page);
    auto *layout = page->layout();
    if (!layout) {
        layout = new QVBoxLayout(page);
        layout->setContentsMargins(0, 0, 0, 0);
    }
    layout->addWidget(content_);
    auto *column = new QVBoxLayout(content_);

    auto *typeBox = new QGroupBox(localizedText("Calibration.type.title"), content_);
    auto *typeLayout = new QVBoxLayout(typeBox);
    calibrationMatrix_ = new RadioMatrix(1, 2, typeBox);
    calibrationMatrix_->setObjectName(QStringLiteral("calibrationMatrix_"));
    calibrationMatrix_->setCellTitle(0, 0, localizedText("Calibration.simple"));
    calibrationMatrix_->setCellTitle(0, 1, localizedText("Calibration.manual"));
    typeLayout->addWidget(calibrationMatrix_);

    auto *settings = new QHBoxLayout;
    simpleSetting_ = new RadioMatrix(3, 1, typeBox);
    simpleSetting_->setObjectName(QStringLiteral("simpleSetting_"));
    for (int row = 0; row < 3; ++row) {
        const QByteArray key = "Calibration.simpleSetting." + QByteArray::number(row + 1);
        simpleSetting_->setCellTitle(row, 0, localizedText(key.constData()));
    }
    manualSettingFor317_ = new RadioMatrix(2, 1, typeBox);
    manualSettingFor317_->setObjectName(QStringLiteral("manualSettingFor317_"));
    manualSettingFor317_->setCellTitle(0, 0, localizedText("Calibration.manual.first"));
    manualSettingFor317_->setCellTitle(1, 0, localizedText("Calibration.manual.second"));
    manualSettingForOther_ = new RadioMatrix(1, 1, typeBox);
    manualSettingForOther_->setObjectName(QStringLiteral("manualSettingForOther_"));
    manualSettingForOther_->setCellTitle(0, 0, localizedText("Calibration.manual.first"));
    manualSetting_ = manualSettingForOther_;
    settings->addWidget(simpleSetting_, 0, Qt::AlignTop);
    auto *manualColumn = new QVBoxLayout;
    manualColumn->addWidget(manualSettingFor317_);
    manualColumn->addWidget(manualSettingForOther_);
    startButton_ = new QPushButton(localizedText("Calibration.start"), typeBox);
    startButton_->setObjectName(QStringLiteral("startButton_"));
    manualColumn->addWidget(startButton_, 0, Qt::AlignLeft);
    manualColumn->addStretch();
    settings->addLayout(manualColumn);
    typeLayout->addLayout(settings);
    column->addWidget(typeBox);

    auto *displayBox = new QGroupBox(localizedText("Calibration.display.title"), content_);
    auto *displayLayout = new QFormLayout(displayBox);
    resolution_ = new QLabel(QStringLiteral("0 * 0"), displayBox);
    resolution_->setObjectName(QStringLiteral("resolution_"));
    resolution_->setEnabled(false);
    // The caption names its value through the buddy relation; each value keeps its own text as
    // its accessible name, so that what it shows, and each change of it, is what is heard.
    displayLayout->addRow(captionFor(resolution_, "Calibration.resolution"), resolution_);
    touchDisplay_ = new QLabel(displayBox);
    touchDisplay_->setObjectName(QStringLiteral("touchDisplay_"));
    touchDisplay_->setWordWrap(true);
    // A sentence a person reads: a Tab stop, selectable from the keyboard.
    touchDisplay_->setTextInteractionFlags(Qt::TextSelectableByMouse |
                                           Qt::TextSelectableByKeyboard);
    touchDisplay_->setFocusPolicy(Qt::TabFocus);
    showTouchDisplay(kNone, DisplayInfo{});  // as "0 * 0" above, until the first refresh
    displayLayout->addRow(touchDisplay_);
    column->addWidget(displayBox);

    auto *keyBox = new QGroupBox(localizedText("Calibration.hotKeys"), content_);
    auto *keyLayout = new QFormLayout(keyBox);
    keyLayout->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    calibrationBtn_ = new QPushButton(keyBox);
    calibrationBtn_->setObjectName(QStringLiteral("calibrationBtn_"));
    simpleSwitchBtn_ = new QPushButton(keyBox);
    simpleSwitchBtn_->setObjectName(QStringLiteral("simpleSwitchBtn_"));
    keyLayout->addRow(captionFor(calibrationBtn_, "Calibration.hotKey.calibration"),
                      calibrationBtn_);
    keyLayout->addRow(captionFor(simpleSwitchBtn_, "Calibration.hotKey.simple"), simpleSwitchBtn_);
    // The title is the chord and so the button's name; what pressing it does is its description.
    calibrationBtn_->setAccessibleDescription(localizedText("HotKey.calibration.title"));
    simpleSwitchBtn_->setAccessibleDescription(localizedText("HotKey.simple.title"));
    column->addWidget(keyBox);
    column->addStretch();

    calibrationMatrix_->setAction([this] { setCalibrationType(calibrationMatrix_); });
    simpleSetting_->setAction([this] { setSimpleSettingType(simpleSetting_); });
    onUserChange(startButton_, this, [this] { startAdvanceCalibration(); });
    onUserChange(calibrationBtn_, this, [this] { setCalibrationHotKey(); });
    onUserChange(simpleSwitchBtn_, this, [this] { setSimpleSwitchHotKey(); });
}

void CalibrationViewClt::buildHotKeyWindow() {
    // A window of its own (no parent widget), application-modal while it runs.
    auto *win = new QDialog;
    hotKeySettingWin_ = win;
    win->setObjectName(QStringLiteral("hotKeySettingWin_"));
    win->setWindowModality(Qt::ApplicationModal);
    auto *layout = new QVBoxLayout(win);
    auto *row = new QHBoxLayout;
    auto *prompt = new QLabel(localizedText("HotKey.prompt"), win);
    row->addWidget(prompt);
    hotKey_ = new QComboBox(win);
    hotKey_->setObjectName(QStringLiteral("hotKey_"));
    prompt->setBuddy(hotKey_);
    // Single ASCII characters, letters in upper case as the chord is pressed with Shift.
    for (char c = 'A'; c <= 'Z'; ++c) {
        hotKey_->addItem(QString(QChar(c)));
    }
    for (char c = '0'; c <= '9'; ++c) {
        hotKey_->addItem(QString(QChar(c)));
    }
    row->addWidget(hotKey_);
    layout->addLayout(row);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    auto *cancel = new QPushButton(localizedText("HotKey.cancel"), win);
    cancel->setObjectName(QStringLiteral("hotKeyCancel"));
    auto *set = new QPushButton(localizedText("HotKey.set"), win);
    set->setObjectName(QStringLiteral("hotKeySet"));
    set->setDefault(true);
    buttons->addWidget(cancel);
    buttons->addWidget(set);
    layout->addLayout(buttons);
    onUserChange(set, this, [this] { setHotKey(); });
    onUserChange(cancel, this, [this] { closeSetHotKeyPanel(); });
}

void CalibrationViewClt::updateUIState() {
    // Step 1: the manual matrix of the current model.
    const bool is317 = gModelType.load() == kModel317;
    manualSetting_ = is317 ? manualSettingFor317_ : manualSettingForOther_;
    (is317 ? manualSettingForOther_ : manualSettingFor317_)->hide();
    manualSetting_->show();

    const std::string path = getSettingsFilePath(gModelType.load());
    const bool exists = pathExists(path);
    manualSetting_->selectCell(0, 0);

    // The touch panel's display: the last matched one, else the last other one, else the last
    // built-in one.
    DisplayInfo matched, builtin, other;
    const auto model = static_cast<std::uint16_t>(gModelType.load());
    const std::vector<DisplayInfo> displays =
        displays_ ? displays_->onlineDisplays() : std::vector<DisplayInfo>{};
    for (std::size_t i = 0; i < displays.size() && i < kMaxOnlineDisplays; ++i) {
        const DisplayInfo &display = displays[i];
        if (matchDeviceAndDisplay(model, display)) {
            matched = display;
        } else if (display.builtin) {
            builtin = display;
        } else {
            other = display;
        }
    }
    const DisplayInfo *chosen = &builtin;
    int kind = isEmptyRect(builtin.bounds) ? kNone : kBuiltin;
    if (!isEmptyRect(matched.bounds)) {
        chosen = &matched;
        kind = kMatched;
    } else if (!isEmptyRect(other.bounds)) {
        chosen = &other;
        kind = kOther;
    }
    const int width = truncated(chosen->bounds.width());
    const int height = truncated(chosen->bounds.height());
    resolution_->setText(QString::asprintf("%d * %d", width, height));
    resolution_->setEnabled(false);
    showTouchDisplay(kind, *chosen);

    quitThread = false;

    bool supported = false;
    if (const auto list = readResolutionList(getSupportResolutionListFilePath())) {
        const std::string wanted = QString::asprintf("%dx%d", width, height).toStdString();
        supported = std::find(list->begin(), list->end(), wanted) != list->end();
    }
    const SettingsDict settings =
        exists ? readPlistFile(path).value_or(SettingsDict{}) : SettingsDict{};
    const std::int64_t rotate = settings.intValue("RotateMode");
    const bool allowed = supported && (rotate == 0 || rotate == 2);

    if (!exists) {
        simpleSetting_->selectCell(0, 0);
        return;
    }
    simpleSetting_->selectCell(static_cast<int>(settings.intValue("SimpleCalibrationType")), 0);
    if (!allowed) {
        calibrationMatrix_->selectCell(0, 1);
        calibrationMatrix_->setCellEnabled(0, 0, false);
        showTypeControls(false);
    } else {
        calibrationMatrix_->setCellEnabled(0, 0, true);
        const std::int64_t type = settings.intValue("CalibrationType");
        calibrationMatrix_->selectCell(0, type == 0 ? 0 : 1);
        showTypeControls(type == 0);
        if (type != 0) {
            manualSetting_->selectCell(is317 && type == 2 ? 1 : 0, 0);
        }
    }

    const QString prefix = localizedText("HotKeyString");
    SSHotKeyString_ = QString::fromStdString(settings.stringValue("SimpleHotKey"));
    simpleSwitchBtn_->setText(prefix + SSHotKeyString_);
    CHotKey_ = QString::fromStdString(settings.stringValue("CalibrationHotKey"));
    calibrationBtn_->setText(prefix + CHotKey_);
}

void CalibrationViewClt::showTouchDisplay(int kind, const DisplayInfo &display) {
    QString name = displayDescription(display);
    if (name.isEmpty()) {
        name = localizedText("Calibration.display.unnamed");
    }
    switch (kind) {
        case kMatched:
            touchDisplay_->setText(localizedText("Calibration.display.matched").arg(name));
            break;
        case kOther:
        case kBuiltin:
            touchDisplay_->setText(localizedText("Calibration.display.fallback").arg(name));
            break;
        default:
            touchDisplay_->setText(localizedText("Calibration.display.none"));
            break;
    }
}

// Column 0 (simple): the simple setting is usable and the manual choice and start are not;
// column 1 (manual): the other way round.
void CalibrationViewClt::showTypeControls(bool simple) {
    manualSetting_->setEnabled(!simple);
    startButton_->setEnabled(!simple);
    simpleSetting_->setEnabled(simple);
}

void CalibrationViewClt::simpleCalibrationChange() {
    const CurrentSettings s = readCurrentSettings();
    if (s.exists) {
        simpleSetting_->selectCell(static_cast<int>(s.dict.intValue("SimpleCalibrationType")), 0);
        const bool simple = s.dict.intValue("CalibrationType") == 0;
        calibrationMatrix_->selectCell(0, simple ? 0 : 1);
        showTypeControls(simple);
    } else {
        simpleSetting_->selectCell(0, 0);
    }
    if (page_) {
        page_->update();
    }
}

void CalibrationViewClt::setCalibrationType(RadioMatrix *sender) {
    const int column = sender->selectedColumn();
    if (column == 0) {
        showTypeControls(true);
    } else if (column == 1) {
        showTypeControls(false);
        manualSetting_->selectCell(0, 0);
        if (gModelType.load() == kModel317) {
            manualSetting_->setCellEnabled(1, 0, true);
        }
    }
    SendDataToRemotePort(makeCommandU16(COMMAND_SET_CALIBRATION_TYPE, column));
}

void CalibrationViewClt::setSimpleSettingType(RadioMatrix *sender) {
    SendDataToRemotePort(makeCommandU16(COMMAND_SET_SIMPLE_SETTING_TYPE, sender->selectedRow()));
}

void CalibrationViewClt::startAdvanceCalibration() {
    const CommandCode code = manualSetting_->selectedRow() == 0
                                 ? COMMAND_START_ADVANCE_CALIBRATION
                                 : COMMAND_START_ADVANCE_CALIBRATION_2;
    SendDataToRemotePort(makeCommandU16(code, 0));
}

void CalibrationViewClt::ChangeSimpleSettingType() {
    calibrationMatrix_->selectCell(0, 0);
    setCalibrationType(calibrationMatrix_);
    const CurrentSettings s = readCurrentSettings();
    if (s.exists) {
        const std::int64_t t = s.dict.intValue("SimpleCalibrationType");
        // (t + 1) mod 3 with truncating division; the largest value must not overflow.
        const std::int64_t next =
            t == std::numeric_limits<std::int64_t>::max() ? (t % 3 + 1) % 3 : (t + 1) % 3;
        simpleSetting_->selectCell(static_cast<int>(next), 0);
        setSimpleSettingType(simpleSetting_);
    }
}

void CalibrationViewClt::ChangeCalibrationSettingType() {
    calibrationMatrix_->selectCell(0, 1);
    setCalibrationType(calibrationMatrix_);
    // The simple key, not this one: the window's opener selects its own key first.
    selectHotKeyItem(SSHotKeyString_);
}

void CalibrationViewClt::selectHotKeyItem(const QString &key) {
    hotKey_->setCurrentIndex(hotKey_->findText(key, Qt::MatchExactly | Qt::MatchCaseSensitive));
}

void CalibrationViewClt::unselectedView() {
    quitThread = true;
    // An alert over the hot-key window goes with it: nothing of the page stays up once it is
    // left.
    const bool closed = endModalWindows();
    if (closed && page_) {
        page_->window()->activateWindow();
    }
}

QWidget *CalibrationViewClt::modalWindow() const {
    return hotKeySettingWin_;
}

void CalibrationViewClt::hideModelWindow() {
    if (!doubleModal && hotKeySettingWin_) {
        hotKeySettingWin_->done(QDialog::Rejected);
    }
}

void CalibrationViewClt::hidHotKeyWin() {
    if (hotKeySettingWin_) {
        hotKeySettingWin_->hide();
    }
}

bool CalibrationViewClt::performKeyEquivalent(const QKeyEvent *event) {
    if (event->type() != QEvent::KeyPress) {
        return false;
    }
    const Qt::KeyboardModifiers mods = event->modifiers();
    if (!(mods & Qt::ShiftModifier) || !(mods & Qt::ControlModifier)) {
        return false;
    }
    // Pressing a modifier key on its own is no chord yet.
    const int key = event->key();
    if ((key >= Qt::Key_Shift && key <= Qt::Key_ScrollLock) ||
        (key >= Qt::Key_Super_L && key <= Qt::Key_Hyper_R) || key == Qt::Key_AltGr) {
        return false;
    }
    // Control+Shift+Tab moves the focus back; no hot key can be Tab.
    if (key == Qt::Key_Tab || key == Qt::Key_Backtab) {
        return false;
    }
    const QString character = chordCharacter(event);
    if (character == SSHotKeyString_) {
        ChangeSimpleSettingType();
    } else if (character == CHotKey_) {
        ChangeCalibrationSettingType();
    }
    return true;
}

bool CalibrationViewClt::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() != QEvent::KeyPress || !page_ || !page_->isVisible()) {
        return false;
    }
    auto *widget = qobject_cast<QWidget *>(watched);
    if (widget == nullptr || widget->window() != page_->window()) {
        return false;
    }
    return performKeyEquivalent(static_cast<QKeyEvent *>(event));
}

void CalibrationViewClt::setCalibrationHotKey() {
    openHotKeyWindow("HotKey.calibration.title", CHotKey_);
}

void CalibrationViewClt::setSimpleSwitchHotKey() {
    openHotKeyWindow("HotKey.simple.title", SSHotKeyString_);
}

void CalibrationViewClt::openHotKeyWindow(const char *titleKey, const QString &currentKey) {
    if (!hotKeySettingWin_ || hotKeySettingWin_->isVisible()) {
        return;
    }
    QDialog *win = hotKeySettingWin_;
    win->setWindowTitle(localizedText(titleKey));
    selectHotKeyItem(currentKey);
    win->adjustSize();
    const QRect pane = page_ ? page_->window()->geometry() : QRect(0, 0, 0, 0);
    const double x = pane.x() + (pane.width() - win->width()) / 2.0;
    const double y = pane.y() + (pane.height() - win->height()) / 2.0;
    win->setGeometry(QRect(QPoint(static_cast<int>(x), static_cast<int>(y)), win->size()));
    win->raise();
    win->activateWindow();
    win->exec();
}

void CalibrationViewClt::runAlert(const QString &message) {
    QMessageBox alert(QMessageBox::NoIcon, localizedText("Alert.HotKey.Title"), message,
                      QMessageBox::NoButton, hotKeySettingWin_);
    alert.setObjectName(QStringLiteral("hotKeyAlert"));
    alert.setWindowModality(Qt::ApplicationModal);
    alert.addButton(localizedText("Alert.Button.OK"), QMessageBox::AcceptRole);
    alert.exec();
}

void CalibrationViewClt::setHotKey() {
    Bytes message(2, 0);
    const CurrentSettings s = readCurrentSettings();
    if (s.exists) {
        const bool calibration =
            hotKeySettingWin_->windowTitle() == localizedText("HotKey.calibration.title");
        const QString key = hotKey_->currentText();
        const QString &otherKey = calibration ? SSHotKeyString_ : CHotKey_;
        QString &currentKey = calibration ? CHotKey_ : SSHotKeyString_;
        // No key chosen is no hot key: refused as a key that is taken is.
        if (key.isEmpty() || key == otherKey) {
            runAlert(localizedText("Alert.HotKeyFailure"));
            return;
        }
        if (key != currentKey) {
            doubleModal = true;
            runAlert(localizedText(calibration ? "Alert.CalibrationHotKeyChanged"
                                               : "Alert.SimpleHotKeyChanged") +
                     key);
        }
        currentKey = key;
        (calibration ? calibrationBtn_ : simpleSwitchBtn_)
            ->setText(localizedText("HotKeyString") + key);
        message[0] =
            calibration ? COMMAND_SET_CALIBRATION_HOT_KEY : COMMAND_SET_SIMPLE_SETTING_HOT_KEY;
        const QByteArray ascii = key.toLatin1();
        message[1] = ascii.isEmpty() ? 0 : static_cast<std::uint8_t>(ascii.at(0));
        const std::string hotKeyName = calibration ? "CalibrationHotKey" : "SimpleHotKey";
        updatePlistFile(s.path, [&](SettingsDict &stored) {
            stored.set(hotKeyName, key.toStdString());
            return true;
        });
    }
    if (SendDataToRemotePort(message)) {
        doubleModal = false;
        if (hotKeySettingWin_) {
            hotKeySettingWin_->done(QDialog::Accepted);
        }
        if (page_) {
            page_->window()->activateWindow();
        }
    }
}

void CalibrationViewClt::closeSetHotKeyPanel() {
    if (hotKeySettingWin_) {
        hotKeySettingWin_->done(QDialog::Rejected);
    }
    if (page_) {
        page_->window()->activateWindow();
    }
}

}  // namespace tavix
