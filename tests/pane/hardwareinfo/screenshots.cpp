// Renders the Hardware information page against tavix-panel-sim into PNG files: each inner tab
// (hardwareinfo-<tab>-<lang>-<scale>.png) and the self-test picture of a frame with a faulty LED
// strip and a dead sensor strip (hardwareinfo-picture-<lang>-<scale>.png), in the folder named
// by the first argument or TAVIX_SCREENSHOT_DIR (a temporary folder otherwise). The language
// follows the locale (LANG=de_DE.UTF-8), the scale QT_SCALE_FACTOR. Run on a private bus; exits
// non-zero when a picture is missing or blank.
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QLocale>
#include <QProcess>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

#include "framepicture.h"
#include "hardwareinfo_env.h"
#include "hardwareinformationviewctl.h"

using namespace tavix;

namespace {

bool blank(const QImage &image) {
    const QRgb first = image.pixel(0, 0);
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3) {
            if (image.pixel(x, y) != first) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    QApplication app(argc, argv);
    test::HardwareEnv env;
    QTemporaryDir fallback;
    QString dir = argc > 1 ? QString::fromLocal8Bit(argv[1])
                           : qEnvironmentVariable("TAVIX_SCREENSHOT_DIR", fallback.path());
    QDir().mkpath(dir);

    QProcess sim;
    sim.start(
        QStringLiteral(TAVIX_PANEL_SIM),
        {QStringLiteral("--quiet"), QStringLiteral("--model"), QStringLiteral("420"),
         QStringLiteral("--faulty-led"), QStringLiteral("2:40"), QStringLiteral("--faulty-led"),
         QStringLiteral("2:41"), QStringLiteral("--faulty-led"), QStringLiteral("7:12"),
         QStringLiteral("--faulty-sensor"), QStringLiteral("9:*")});
    if (!sim.waitForStarted(5000) || !sim.waitForReadyRead(5000)) {
        std::fprintf(stderr, "the simulator did not start\n");
        return 1;
    }
    gModelType = 420;
    QWidget page;
    HardwareInformationViewCtl ctl(&page);
    ctl.setAddressSource([] {
        return QStringList{QStringLiteral("127.0.0.1"), QStringLiteral("192.0.2.15")};
    });
    ctl.setPointerSource([] { return QPointF(1283.6, 742.2); });
    page.resize(QSize(900, 560));
    page.show();
    ctl.updateUIState();
    QTest::qWait(300);
    QSignalSpy shown(&ctl, &HardwareInformationViewCtl::testShown);
    ctl.testSelf(true);
    shown.wait(5000);
    QTest::qWait(800);  // the run's last reports

    const QString lang =
        QLocale().language() == QLocale::German ? QStringLiteral("de") : QStringLiteral("en");
    const QString scale = QString::number(qRound(page.devicePixelRatioF() * 100));
    auto *tabs = page.findChild<QTabWidget *>(QStringLiteral("hardwareInfoTabView_"));
    const char *names[] = {"information", "rotation", "selftest"};
    int failures = 0;
    const auto save = [&](const QImage &image, const QString &name) {
        const QString file =
            QStringLiteral("%1/hardwareinfo-%2-%3-%4.png").arg(dir, name, lang, scale);
        if (image.isNull() || blank(image) || !image.save(file)) {
            std::fprintf(stderr, "no picture %s\n", qPrintable(file));
            ++failures;
        } else {
            std::printf("%s\n", qPrintable(file));
        }
    };
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        QTest::qWait(i == 1 ? 400 : 50);  // button reports on the rotation tab
        save(page.grab().toImage(), QLatin1String(names[i]));
    }
    auto *picture = page.findChild<FramePicture *>(QStringLiteral("framePicture"));
    picture->resize(picture->sizeHint() * 1.4);
    save(picture->grab().toImage(), QStringLiteral("picture"));
    std::printf("%s\n", qPrintable(picture->accessibleDescription()));
    ctl.unselectedView();
    sim.terminate();
    sim.waitForFinished(5000);
    return failures == 0 ? 0 : 1;
}
