// tavix-settings: its window's life-cycle calls, and as a program its exit status and saved window.
#include <QtTest>
#include <QtWidgets>

#include "daemonchannel.h"
#include "hostwindow.h"
#include "messageport.h"
#include "preferencepane.h"

namespace {

// A pane that writes down the life-cycle calls it gets.
struct RecordingPane : tavix::PreferencePane {
    QWidget *view = new QWidget;  // the host's window takes it
    QStringList calls;
    QWidget *loadMainView() override { return view; }
    void mainViewDidLoad() override { calls << "load"; }
    void willSelect() override { calls << "select"; }
    void willUnselect() override { calls << "unselect"; }
};

}  // namespace

class HostTest : public QObject {
    Q_OBJECT

  private slots:
    // The window is the pane's view, edge to edge; each showing is told once before, each hiding
    // and closing once, and the end of the program only while the pane is still selected.
    void windowLifeCycle() {
        RecordingPane pane;
        auto window = std::make_unique<tavix::HostWindow>(&pane, pane.view);
        window->resize(300, 200);
        window->show();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        QCOMPARE(pane.view->geometry(), window->rect());
        window->close();
        window->unselectPane();
        window->show();
        window->unselectPane();
        window->hide();
        QCOMPARE(pane.calls, (QStringList{"select", "unselect", "select", "unselect"}));
    }

    // 0 for help and a saved window, 1 for no pane or an unwritable file, 2 for a bad option;
    // what is said goes to standard output only with 0. A saved window was selected once and
    // unselected once at the end: leaving the Hardware page gives the mouse back and hides the
    // pointer info ("1D 00" and "1E 00" at the daemon after its last refresh "1B"), as showing it
    // did.
    void exitStatus_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("help") << QStringList{"--help"} << 0 << QString("--log-to-stderr");
        QTest::newRow("saved picture")
            << QStringList{"--log-to-stderr", "--screenshot", "@/a.png"} << 0 << QString();
        QTest::newRow("no pane there")
            << QStringList{"--plugin", "@/junk.so"} << 1 << QString("cannot load the pane");
        QTest::newRow("unwritable shot")
            << QStringList{"--screenshot", "@/no/such/dir/a.png"} << 1 << QString("cannot write");
        QTest::newRow("unknown option") << QStringList{"--bogus"} << 2 << QString("bogus");
    }
    void exitStatus() {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const QString prefs = dir.filePath("home/Library/Preferences/TavixTouchPanel");
        QVERIFY(QDir().mkpath(prefs) && QDir().mkpath(dir.filePath("system")));
        QFile state(prefs + "/Utilities.plist");  // a panel on the Hardware page, verbose
        QVERIFY(state.open(QIODevice::WriteOnly) &&
                state.write("<plist version=\"1.0\"><dict><key>currentPageIndex</key><integer>2"
                            "</integer><key>DriverEnable</key><true/><key>currentDeviceType</key>"
                            "<integer>317</integer><key>VerboseLog</key><true/></dict></plist>"));
        state.close();
        QStringList daemon;
        const auto port = tavix::LocalMessagePort::create(
            QString::fromLatin1(tavix::kDaemonPortName), [&](qint32, const QByteArray &data) {
                daemon << QString::fromLatin1(data.toHex(' ').toUpper());
                return QByteArray();
            });
        QVERIFY(port != nullptr);
        QProcess process;  // in the folder, serving the bus meanwhile
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", dir.filePath("home"));
        env.insert("TAVIX_SYSTEM_LIBRARY", dir.filePath("system"));
        env.insert("LANG", "C.UTF-8");
        process.setProcessEnvironment(env);
        process.start(TAVIX_SETTINGS_EXE, arguments.replaceInStrings("@", dir.path()));
        QTRY_VERIFY_WITH_TIMEOUT(process.state() == QProcess::NotRunning, 60000);
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), status);
        const QString out = process.readAllStandardOutput(), err = process.readAllStandardError();
        QVERIFY2((status == 0 ? out : err).contains(message), qPrintable(message));
        if (!arguments.contains("--screenshot") || status != 0) {
            QVERIFY((status == 0 ? err : out).isEmpty());
            return;
        }
        const QImage image(arguments.last());  // the window, drawn: more than a few colours
        QVERIFY(image.width() >= 560 && image.height() >= 400 && image.width() <= 4000);
        QVERIFY(image.convertToFormat(QImage::Format_Indexed8).colorCount() > 8);
        static const QRegularExpression logged(QStringLiteral("^tavix-settings\\[\\d+\\]: (.*)$"),
                                               QRegularExpression::MultilineOption);
        QStringList log;  // verbose, as the file asks: selected once, the Hardware page shown
        for (const auto &m : logged.globalMatch(err)) {
            log << m.captured(1);
        }
        QCOMPARE(log.count("willSelect"), 1);
        log.removeDuplicates();  // the Hardware page may be refreshed again meanwhile
        QCOMPARE(log, (QStringList{"mainViewDidLoad", "willSelect", "type = 317", "save OK"}));
        const QStringList settings{"1D 00", "1E 00"};
        QTRY_COMPARE(daemon.mid(daemon.lastIndexOf("1B") + 1), settings + settings);
    }
};

QTEST_MAIN(HostTest)
#include "host_test.moc"
