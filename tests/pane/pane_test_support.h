// Shared pane test pieces: private folders, the state file, recording pages, a bus peer.
#pragma once

#include <QTextDocumentFragment>
#include <QtDBus/QDBusConnection>
#include <QtTest>
#include <QtWidgets>

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include "globals.h"
#include "messageport.h"
#include "panetranslations.h"
#include "paths.h"
#include "settings_store.h"
#include "tavixtouchpanelpref.h"

namespace tavix::test {

using namespace std::chrono_literals;

inline constexpr char kLogIdent[] = "pane-test";

// HOME and TAVIX_SYSTEM_LIBRARY are set once, before any monitor thread; reset() empties them.
class TestEnvironment {
  public:
    TestEnvironment() {
        QVERIFY(root_.isValid());
        reset();
        ::setenv("HOME", qPrintable(home()), 1);
        ::setenv("TAVIX_SYSTEM_LIBRARY", qPrintable(root_.filePath("system/Library")), 1);
        ::openlog(kLogIdent, LOG_PERROR, LOG_USER);  // the pane's log lines go to stderr too
        // The product folder name comes from the string table, as when the plugin is loaded.
        ensurePaneTranslations();
    }
    void reset() {
        for (const char *dir : {"home", "system/Library"}) {
            QDir(root_.filePath(dir)).removeRecursively();
            QDir().mkpath(root_.filePath(dir));
        }
    }
    QString home() const { return root_.filePath("home"); }

  private:
    QTemporaryDir root_;
};

inline void writeUtilities(const SettingsDict &dict) {
    QVERIFY(writePlistFileAtomically(dict, getUilitiesFilePath()));
}

// The usual shared state: a panel of model `model` (0: none), the driver on or off, the page.
inline SettingsDict utilities(int model, bool driverEnable, int page, bool verbose = false,
                              bool statusMenu = false) {
    SettingsDict d;
    d.set("currentPageIndex", page);
    d.set("isShowStatuMenu", statusMenu);
    d.set("DriverEnable", driverEnable);
    d.set("currentDeviceType", model);
    d.set("VerboseLog", verbose);
    return d;
}

inline std::optional<SettingsDict> readUtilities() {
    return readPlistFile(getUilitiesFilePath());
}

inline QByteArray utilitiesBytes() {
    QFile file(QString::fromStdString(getUilitiesFilePath()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A page controller that only writes down what it is asked, as "<page>.<call>"; its own modal
// window is whatever `window` points to.
class RecordingPage : public CalibrationPageController {
  public:
    RecordingPage(const char *name, QStringList *log, QWidget *const *window = nullptr)
        : name_(name), log_(log), window_(window) {}
    QWidget *modalWindow() const override { return window_ ? *window_ : nullptr; }
    void updateUIState() override { record("updateUIState"); }
    void unselectedView() override { record("unselectedView"); }
    void resetTabView() override { record("resetTabView"); }
    void simpleCalibrationChange() override { record("simpleCalibrationChange"); }
    void hideModelWindow() override { record("hideModelWindow"); }

  private:
    void record(const char *call) { *log_ << name_ + QLatin1Char('.') + QLatin1String(call); }
    QString name_;
    QStringList *log_;
    QWidget *const *window_;
};

// The environment, the pane under test with recording pages, and the calls they recorded.
class PaneFixture {
  protected:
    void resetFixture() {
        pane_.reset();
        env_.reset();
        log_.clear();
        gModelType = 0;
        gDriverEnable = false;
        verboseLog = false;
        _currentItemIndex = 0;
        pageWindow_ = nullptr;
    }
    // Shows and loads a pane with recording pages; with `select`, the host then selects it.
    void startPane(bool select = false, std::chrono::milliseconds monitorPeriod = 1000ms) {
        TavixTouchPanelPref::Options options;
        options.monitorPeriod = monitorPeriod;
        options.controllerFactory = [log = &log_, window = &pageWindow_](const PageWidgets &) {
            PageControllers c;
            c.calibrationVC_ = std::make_unique<RecordingPage>("cal", log, window);
            c.settingVC_ = std::make_unique<RecordingPage>("set", log);
            c.hardwareInformationVC_ = std::make_unique<RecordingPage>("hw", log);
            c.VersionVC_ = std::make_unique<RecordingPage>("ver", log);
            return c;
        };
        pane_ = std::make_unique<TavixTouchPanelPref>(std::move(options));
        view()->show();
        QVERIFY(QTest::qWaitForWindowExposed(view()));
        pane_->mainViewDidLoad();
        if (select) {
            pane_->willSelect();
        }
    }
    QWidget *view() { return pane_->loadMainView(); }
    QTabWidget *tabView() { return view()->findChild<QTabWidget *>("tabView_"); }
    QComboBox *popUp() { return view()->findChild<QComboBox *>("tabPopUp_"); }
    QCheckBox *checkBox() { return view()->findChild<QCheckBox *>("statusBarState_"); }
    QLabel *alert() { return view()->findChild<QLabel *>("alertTextField_"); }

    TestEnvironment env_;
    QStringList log_;
    QWidget *pageWindow_ = nullptr;  // the Calibration page's own modal window
    std::unique_ptr<TavixTouchPanelPref> pane_;
};

// The visible labels and buttons under `root` whose text a screen reader cannot hear, as "name:
// text": a label must be heard with its own text as its name or value (alone or as "caption:
// value"), a button's name holds its visible words, and a label of blanks needs a word of its own.
inline QStringList unheardLabels(QWidget *root) {
    QStringList unheard;
    for (QWidget *label : root->findChildren<QWidget *>()) {
        QString text = label->property("text").toString();
        const bool button = qobject_cast<QAbstractButton *>(label) != nullptr;
        if (!label->isVisible() || text.isEmpty() || (!button && !qobject_cast<QLabel *>(label))) {
            continue;
        }
        if (Qt::mightBeRichText(text) && !button) {
            text = QTextDocumentFragment::fromHtml(text).toPlainText();
        }
        text = text.remove(QLatin1Char('&')).simplified();  // a mnemonic is not said
        const QAccessibleInterface *said = QAccessible::queryAccessibleInterface(label);
        const QString name = said->text(QAccessible::Name).simplified().remove(QLatin1Char('&'));
        const bool ok = text.isEmpty() ? !name.isEmpty()
                        : button       ? name.contains(text)
                                       : name == text || name.endsWith(": " + text) ||
                                       said->text(QAccessible::Value).simplified() == text;
        if (!ok) {
            unheard << label->objectName() + QStringLiteral(": ") + text;
        }
    }
    return unheard;
}

// Adds to `faults` the widgets of `window`, shown or not, that their parent's layout leaves out,
// and the visible leaf widgets that overlap one another or reach outside it; returns how many
// leaves it looked at.
inline int checkLaidOut(QWidget *window, QStringList *faults) {
    const auto name = [](const QWidget *w) {
        return (w->objectName().isEmpty() ? w->metaObject()->className() : w->objectName()) + '@' +
               w->parentWidget()->objectName();
    };
    const auto area = [window](QWidget *w) { return QRect(w->mapTo(window, QPoint()), w->size()); };
    QList<QWidget *> leaves;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        QLayout *layout = widget->parentWidget()->layout();
        if (widget->window() != window) {
            continue;
        }
        if (layout && std::ranges::none_of(layout->findChildren<QLayout *>() << layout,
                                           [&](QLayout *l) { return l->indexOf(widget) >= 0; })) {
            *faults << name(widget) + " not in its layout";
        }
        const auto children = widget->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
        if (widget->isVisible() && !widget->size().isEmpty() &&
            std::ranges::none_of(children, &QWidget::isVisible)) {
            leaves << widget;
        }
    }
    for (qsizetype i = 0; i < leaves.size(); ++i) {
        if (!window->rect().contains(area(leaves[i]))) {
            *faults << name(leaves[i]) + " outside the window";
        }
        for (qsizetype j = i + 1; j < leaves.size(); ++j) {
            if (area(leaves[i]).intersects(area(leaves[j]))) {
                *faults << name(leaves[i]) + " over " + name(leaves[j]);
            }
        }
    }
    return int(leaves.size());
}

// Table-driven tests name their rows after the first member of each entry.
template <typename T, std::size_t N>
void rows(const T (&table)[N]) {
    QTest::addColumn<int>("i");
    for (std::size_t i = 0; i < N; ++i) {
        QTest::newRow(table[i].name) << int(i);
    }
}
template <typename T, std::size_t N>
const T &row(const T (&table)[N]) {
    QFETCH(int, i);
    return table[i];
}

// A second bus connection: messages reach the pane's port as from another program.
inline QDBusConnection peerConnection() {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("peer"));
}

// Sends one message to the pane's port from the peer; true once the pane has handled it.
inline bool sendToPane(const QByteArray &data, qint32 msgid = 0) {
    const auto port =
        RemoteMessagePort::lookup(QString::fromLatin1(kPreferencePortName), peerConnection());
    std::optional<bool> ok;
    if (port) {
        port->sendRequest(msgid, data, 1.0, 1.0, [&](const PortReply &reply) { ok = reply.ok; });
    }
    return port && QTest::qWaitFor([&] { return ok.has_value(); }, 5000) && *ok;
}

}  // namespace tavix::test
