// tavix-settings as a user or a script runs it: --help, and --screenshot without a display.
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Run {
    int exitCode = -1;
    QString out;
    QString err;
};

}  // namespace

class HostTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        dir_ = std::make_unique<QTemporaryDir>();
        QVERIFY(dir_->isValid());
        prefs_ = dir_->filePath(QStringLiteral("home/Library/Preferences/TavixTouchPanel"));
        QVERIFY(QDir().mkpath(prefs_));
        QVERIFY(QDir().mkpath(dir_->filePath(QStringLiteral("system"))));
    }

    void help() {
        const Run run = host({QStringLiteral("--help")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains(QStringLiteral("Usage: tavix-settings")));
        for (const char *option : {"--screenshot", "--plugin", "--log-to-stderr", "--help"}) {
            QVERIFY2(run.out.contains(QLatin1String(option)), option);
        }
    }

    void screenshot_data() {
        QTest::addColumn<QByteArray>("utilities");  // empty: no shared state file yet
        QTest::addColumn<QStringList>("logLines");
        QTest::addColumn<int>("storedPage");
        QTest::newRow("first start, no panel") << QByteArray() << QStringList{} << 0;
        QTest::newRow("panel, page 3")
            << state(317, true, 3) << QStringList{"willSelect", "save OK"} << 3;
        QTest::newRow("panel, page 0") << state(317, true, 0) << QStringList{"willSelect"} << 0;
        QTest::newRow("driver disabled") << state(317, false, 2) << QStringList{"willSelect"} << 2;
    }
    void screenshot() {
        QFETCH(QByteArray, utilities);
        QFETCH(QStringList, logLines);
        QFETCH(int, storedPage);
        if (!utilities.isEmpty()) {
            writeFile(prefs_ + QStringLiteral("/Utilities.plist"), utilities);
        }
        const QString png = dir_->filePath(QStringLiteral("shot.png"));
        const Run run =
            host({QStringLiteral("--log-to-stderr"), QStringLiteral("--screenshot"), png});
        QCOMPARE(run.exitCode, 0);

        QFile file(png);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.read(8), QByteArray("\x89PNG\r\n\x1a\n", 8));
        const QImage image(png);
        QVERIFY(!image.isNull());
        QVERIFY2(image.width() >= 560 && image.height() >= 400,
                 qPrintable(QStringLiteral("%1x%2").arg(image.width()).arg(image.height())));
        QVERIFY(image.width() <= 4000 && image.height() <= 4000);
        QVERIFY2(distinctColours(image) > 8, "the window looks empty");

        QStringList lines;
        for (const QString &line : run.err.split(QLatin1Char('\n'))) {
            const int at = line.indexOf(QStringLiteral("]: "));
            if (line.startsWith(QStringLiteral("tavix-settings[")) && at > 0) {
                lines << line.mid(at + 3);
            }
        }
        lines.removeAll(QStringLiteral("mainViewDidLoad"));  // depends on the monitor's timing
        QCOMPARE(lines, logLines);
        QVERIFY(QFile::exists(prefs_ + QStringLiteral("/Utilities.plist")));
        QVERIFY(QFile(prefs_ + QStringLiteral("/Utilities.plist")).size() > 0);
        QCOMPARE(storedPageIndex(), storedPage);
    }

    void failures_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        QTest::newRow("screenshot into a missing folder")
            << QStringList{"--screenshot", "/nonexistent/folder/shot.png"} << 1 << "cannot write";
        QTest::newRow("missing plugin")
            << QStringList{"--plugin", "/nonexistent/TavixTouchPanelPref.so"} << 1
            << "cannot load the pane";
        QTest::newRow("not a plugin")
            << QStringList{"--plugin", "@junk"} << 1 << "not the touch panel pane";
        QTest::newRow("unknown option") << QStringList{"--frobnicate"} << 2 << "frobnicate";
    }
    void failures() {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        const QString junk = dir_->filePath(QStringLiteral("TavixTouchPanelPref.so"));
        writeFile(junk, QByteArray("not a shared object"));
        arguments.replaceInStrings(QStringLiteral("@junk"), junk);
        const Run run = host(arguments);
        QCOMPARE(run.exitCode, exitCode);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
    }

  private:
    static QByteArray state(int model, bool driver, int page) {
        return QStringLiteral(
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                   "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                   "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                   "<plist version=\"1.0\"><dict>"
                   "<key>currentPageIndex</key><integer>%1</integer>"
                   "<key>isShowStatuMenu</key><false/>"
                   "<key>DriverEnable</key><%2/>"
                   "<key>currentDeviceType</key><integer>%3</integer>"
                   "<key>VerboseLog</key><true/>"
                   "</dict></plist>\n")
            .arg(page)
            .arg(driver ? QStringLiteral("true") : QStringLiteral("false"))
            .arg(model)
            .toUtf8();
    }
    static void writeFile(const QString &path, const QByteArray &bytes) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    static int distinctColours(const QImage &image) {
        QSet<QRgb> colours;
        for (int y = 0; y < image.height(); y += 3) {
            for (int x = 0; x < image.width(); x += 3) {
                colours.insert(image.pixel(x, y));
            }
        }
        return int(colours.size());
    }
    int storedPageIndex() const {
        QFile file(prefs_ + QStringLiteral("/Utilities.plist"));
        if (!file.open(QIODevice::ReadOnly)) {
            return -100;
        }
        const QString text =
            QString::fromUtf8(file.readAll()).simplified().remove(QLatin1Char(' '));
        const QString key = QStringLiteral("<key>currentPageIndex</key><integer>");
        const int at = text.indexOf(key);
        if (at < 0) {
            return -100;
        }
        return text.mid(at + key.size()).section(QLatin1Char('<'), 0, 0).toInt();
    }
    Run host(const QStringList &arguments) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), dir_->filePath(QStringLiteral("home")));
        env.insert(QStringLiteral("TAVIX_SYSTEM_LIBRARY"),
                   dir_->filePath(QStringLiteral("system")));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(TAVIX_SETTINGS_EXE), arguments);
        Run run;
        if (!process.waitForFinished(60000)) {
            process.kill();
            process.waitForFinished();
            return run;
        }
        run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
        run.out = QString::fromUtf8(process.readAllStandardOutput());
        run.err = QString::fromUtf8(process.readAllStandardError());
        return run;
    }

    std::unique_ptr<QTemporaryDir> dir_;
    QString prefs_;
};

QTEST_GUILESS_MAIN(HostTest)
#include "host_test.moc"
