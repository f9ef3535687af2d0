// Renders the Properties page offscreen into PNG files, one per pen-support setting, each showing
// the page's four tabs side by side: properties-pen-<on|off>-<scale>.png in the folder named by
// the first argument or TAVIX_SCREENSHOT_DIR (a temporary folder otherwise). Run it with
// QT_SCALE_FACTOR=2 for the 200% pictures. Exits non-zero when a picture is missing or blank.
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QTabWidget>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

#include "globals.h"
#include "paths.h"
#include "properties_env.h"
#include "settings_store.h"
#include "settingviewctl.h"

using namespace tavix;

namespace {

constexpr std::int32_t kModel = 4711;

// The page at a good size, each tab in turn, in a 2 x 2 grid.
QImage renderPage(bool penSupport) {
    SettingsDict settings = settingItemsDefaults();
    settings.set("PenSoftSupport", penSupport);
    settings.set("DoubleClickRange", 48);
    writePlistFileAtomically(settings, getSettingsFilePath(kModel));

    QWidget page;
    auto *ctl = new SettingViewCtl(
        &page, std::make_shared<test::FakeSystemInfo>(QStringLiteral("Linux"), -1), &page);
    ctl->updateUIState();
    page.resize(page.sizeHint().expandedTo(QSize(520, 400)));
    page.show();
    auto *tabs = page.findChild<QTabWidget *>(QStringLiteral("settingTabView_"));

    QList<QImage> shots;
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        QApplication::processEvents();
        shots << page.grab().toImage();
    }
    const QSize cell = shots.first().size();
    const int gap = 8 * shots.first().devicePixelRatio();
    QImage sheet(cell.width() * 2 + gap * 3, cell.height() * 2 + gap * 3, QImage::Format_RGB32);
    sheet.fill(QColor(0x80, 0x80, 0x80));
    QPainter painter(&sheet);
    for (int i = 0; i < shots.size(); ++i) {
        QImage shot = shots[i];
        shot.setDevicePixelRatio(1.0);
        painter.drawImage(gap + (i % 2) * (cell.width() + gap),
                          gap + (i / 2) * (cell.height() + gap), shot);
    }
    return sheet;
}

}  // namespace

int main(int argc, char *argv[]) {
    QApplication app(argc, argv);
    test::TempRoots roots;
    auto english = test::installTranslator(QStringLiteral("en"));
    if (!english) {
        std::fprintf(stderr, "the English string table is missing\n");
        return 1;
    }
    // TAVIX_SCREENSHOT_LANG=de shows the page in the second language (file names gain "-de").
    const QString language = qEnvironmentVariable("TAVIX_SCREENSHOT_LANG");
    std::unique_ptr<QTranslator> second;
    if (!language.isEmpty() && language != QLatin1String("en")) {
        second = test::installTranslator(language);
        if (!second) {
            std::fprintf(stderr, "no string table for %s\n", qPrintable(language));
            return 1;
        }
    }
    const QString suffix = second ? QStringLiteral("-") + language : QString();
    gModelType = kModel;

    QTemporaryDir fallback;
    QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1])
                              : qEnvironmentVariable("TAVIX_SCREENSHOT_DIR", fallback.path());
    QDir().mkpath(folder);
    const int percent = qRound(qApp->devicePixelRatio() * 100);

    int failures = 0;
    for (bool pen : {true, false}) {
        const QImage sheet = renderPage(pen);
        const QString file = QDir(folder).filePath(QStringLiteral("properties-pen-%1-%2%3.png")
                                                       .arg(pen ? "on" : "off")
                                                       .arg(percent)
                                                       .arg(suffix));
        // A blank picture has a single colour; a real page has text, controls and circles.
        const bool blank =
            sheet.isNull() || sheet.convertToFormat(QImage::Format_Indexed8).colorCount() < 8;
        if (blank || !sheet.save(file)) {
            std::fprintf(stderr, "could not render %s\n", qPrintable(file));
            ++failures;
            continue;
        }
        std::printf("%s %dx%d\n", qPrintable(file), sheet.width(), sheet.height());
    }
    return failures == 0 ? 0 : 1;
}
