// tavix-settings as a user or a script runs it: --help, and --screenshot without a display.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// The shared state file with a panel, the driver on, page 3 stored and verbose logging.
constexpr char kPanelOnPage3[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
    "<key>currentPageIndex</key><integer>3</integer><key>isShowStatuMenu</key><false/>"
    "<key>DriverEnable</key><true/><key>currentDeviceType</key><integer>317</integer>"
    "<key>VerboseLog</key><true/></dict></plist>\n";

void writeFile(const QString &path, const QByteArray &bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

}  // namespace

class HostTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        dir_ = std::make_unique<QTemporaryDir>();
        QVERIFY(dir_->isValid());
        utilities_ = dir_->filePath(
            QStringLiteral("home/Library/Preferences/TavixTouchPanel/Utilities.plist"));
        QVERIFY(QDir().mkpath(QFileInfo(utilities_).path()));
        QVERIFY(QDir().mkpath(dir_->filePath(QStringLiteral("system"))));
    }

    // A panel on page 3 with verbose logging: the window is saved and the life cycle ran.
    void screenshot() {
        writeFile(utilities_, kPanelOnPage3);
        const QString png = dir_->filePath(QStringLiteral("shot.png"));
        QCOMPARE(host({QStringLiteral("--log-to-stderr"), QStringLiteral("--screenshot"), png}), 0);

        // A PNG of a sensible size with more than a few colours: text and controls, not blank.
        QFile file(png);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.read(8), QByteArray("\x89PNG\r\n\x1a\n", 8));
        const QImage image(png);
        QVERIFY(image.width() >= 560 && image.height() >= 400);
        QVERIFY(image.width() <= 4000 && image.height() <= 4000);
        QVERIFY(image.convertToFormat(QImage::Format_Indexed8).colorCount() > 8);

        static const QRegularExpression logLine(QStringLiteral("^tavix-settings\\[\\d+\\]: (.*)$"),
                                                QRegularExpression::MultilineOption);
        QStringList lines;
        for (const auto &match : logLine.globalMatch(err_)) {
            lines << match.captured(1);
        }
        lines.removeAll(QStringLiteral("mainViewDidLoad"));  // depends on the monitor's timing
        QCOMPARE(lines, (QStringList{
                            "willSelect",
                            "save OK"}));  // the life cycle ran; the shell test checks what it does
    }

    // An exit code of 0 is looked up on standard output, any other on standard error.
    void commandLine_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("messages");
        QTest::newRow("help") << QStringList{"--help"} << 0
                              << QStringList{"Usage: tavix-settings", "--screenshot", "--plugin",
                                             "--log-to-stderr", "--help"};
        QTest::newRow("not a plugin")
            << QStringList{"--plugin", "@junk"} << 1 << QStringList{"not the touch panel pane"};
    }
    void commandLine() {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QStringList, messages);
        const QString junk = dir_->filePath(QStringLiteral("TavixTouchPanelPref.so"));
        writeFile(junk, QByteArray("not a shared object"));
        arguments.replaceInStrings(QStringLiteral("@junk"), junk);
        QCOMPARE(host(arguments), exitCode);
        for (const QString &message : messages) {
            QVERIFY2((exitCode == 0 ? out_ : err_).contains(message), qPrintable(message));
        }
    }

  private:
    // Runs the program in the test's folders; its exit code, -1 when it hung or crashed.
    int host(const QStringList &arguments) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), dir_->filePath(QStringLiteral("home")));
        env.insert(QStringLiteral("TAVIX_SYSTEM_LIBRARY"),
                   dir_->filePath(QStringLiteral("system")));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(TAVIX_SETTINGS_EXE), arguments);
        if (!process.waitForFinished(60000)) {
            process.kill();
            process.waitForFinished();
        }
        out_ = QString::fromUtf8(process.readAllStandardOutput());
        err_ = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    std::unique_ptr<QTemporaryDir> dir_;
    QString utilities_, out_, err_;
};

QTEST_GUILESS_MAIN(HostTest)
#include "host_test.moc"
