// For the bus tests around the panel simulator: its process, and a port that records messages.
#pragma once

#include <QProcess>
#include <QtTest/QtTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>

#include "atomic_file.h"
#include "messageport.h"
#include "paths.h"
#include "test_support.h"

namespace tavix::test {

// The per-user folder name the tools take when they have no string table.
inline void useShippedFolderName() {
    setLocalizedStringLookup([](const std::string &key) {
        return key == "PreferenceFolderName" ? std::string("TavixTouchPanel") : key;
    });
}

// A device list of model 317 alone, named `name`, with areas "Top" (two points) and "Left" (one).
inline void writeSmallDeviceList(const std::string &name = "Tavix TX-317") {
    std::string list = readSmallFile(TAVIX_SIM_TEST_DIR "/devicelist-317.plist", 4096).value();
    QVERIFY(writeFileAtomically(getSupportDeviceListFilePath(),
                                list.replace(list.find("NAME"), 4, name)));
}

#ifdef TAVIX_PANEL_SIM
// One simulator process: console answers are read line by line; its log lists each command.
class Sim {
  public:
    explicit Sim(const TempRoots &roots) : log_(roots.path(QStringLiteral("sim.log"))) {}
    ~Sim() {
        process.terminate();  // lets it give the port back; QProcess kills it if it hangs
        process.waitForFinished(5000);
    }

    // Starts with the space-separated arguments; false unless it says "ready".
    bool start(const char *args = "") {
        process.start(QStringLiteral(TAVIX_PANEL_SIM),
                      QStringList{QStringLiteral("--quiet"), QStringLiteral("--log"), log_} +
                          QString::fromLatin1(args).split(u' ', Qt::SkipEmptyParts));
        return process.waitForStarted(5000) &&
               readLine().value_or(QString()).startsWith(QStringLiteral("ready:"));
    }
    // Sends one console line and returns its answer: any lines it prints, then the one line
    // "ok: ..." or "error: ...".
    QString console(const QString &line) {
        process.write((line + QLatin1Char('\n')).toUtf8());
        QStringList answer;
        while (answer.isEmpty() || !(answer.back().startsWith(QStringLiteral("ok:")) ||
                                     answer.back().startsWith(QStringLiteral("error:")))) {
            const std::optional<QString> next = readLine();
            if (!next) {
                break;
            }
            answer << *next;
        }
        return answer.join(u'\n');
    }
    // Sends console lines ("; " between them); true when each is answered "ok: ...".
    bool ok(const QString &lines) {
        const QStringList all = lines.split(QStringLiteral("; "));
        return std::all_of(all.begin(), all.end(), [this](const QString &line) {
            return console(line).startsWith(QStringLiteral("ok:"));
        });
    }
    QStringList log() const {
        return QString::fromStdString(readSmallFile(log_.toStdString(), 1 << 20).value_or(""))
            .split(u'\n', Qt::SkipEmptyParts);
    }
    // The exit code once the process has ended; -1 for a crash, -2 while it still runs.
    int exitCode() {
        if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 10000)) {
            return -2;
        }
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    QProcess process;

  private:
    // The next line of its output without its line end; none if none comes in 10 s.
    std::optional<QString> readLine() {
        [[maybe_unused]] const bool ready = QTest::qWaitFor(
            [&] { return process.canReadLine() || process.state() == QProcess::NotRunning; },
            10000);
        if (!process.canReadLine()) {
            return std::nullopt;
        }
        return QString::fromUtf8(process.readLine()).chopped(1);
    }

    QString log_;
};
#endif

// A port that records each message in hex, answers with no data and then runs onMessage.
struct Recorder {
    QStringList messages;
    std::function<void()> onMessage = [] {};
    std::unique_ptr<LocalMessagePort> port;
    explicit Recorder(const char *name)
        : port(LocalMessagePort::create(QString::fromLatin1(name),
                                        [this](qint32, const QByteArray &data) {
                                            messages << hexBytes(data);
                                            onMessage();
                                            return QByteArray();
                                        })) {}
};

}  // namespace tavix::test
