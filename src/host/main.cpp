// tavix-settings: loads the touch panel pane plugin and shows it in a window.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QPluginLoader>
#include <QTimer>

#include <syslog.h>

#include <cstdio>
#include <memory>

#include "hostwindow.h"
#include "preferencepane.h"

namespace {

constexpr char kPluginFileName[] = "TavixTouchPanelPref.so";
constexpr char kBundleIdentifier[] = "io.tavix.TouchPanelPref";
// How long the screenshot waits for the pane's start-up work to settle.
constexpr int kScreenshotSettleMs = 400;

// The build folder first when this program runs from the build tree, then the install folder.
QStringList pluginCandidates(const QString &explicitPath) {
    if (!explicitPath.isEmpty()) {
        return {explicitPath};
    }
    QStringList candidates;
    const QString here = QFileInfo(QCoreApplication::applicationDirPath()).canonicalFilePath();
    const QString buildHost = QFileInfo(QStringLiteral(TAVIX_HOST_BUILD_DIR)).canonicalFilePath();
    if (!buildHost.isEmpty() && here == buildHost) {
        candidates << QDir(QStringLiteral(TAVIX_PLUGIN_BUILD_DIR)).filePath(kPluginFileName);
    }
    candidates << QDir(QStringLiteral(TAVIX_PLUGIN_INSTALL_DIR)).filePath(kPluginFileName);
    return candidates;
}

tavix::PreferencePane *loadPane(QPluginLoader &loader, const QStringList &candidates,
                                QString *error, QString *name) {
    for (const QString &path : candidates) {
        loader.setFileName(path);
        const QJsonObject meta = loader.metaData();
        const QJsonObject bundle = meta.value(QStringLiteral("MetaData")).toObject();
        if (meta.value(QStringLiteral("IID")).toString() !=
                QLatin1String(TavixPreferencePane_iid) ||
            bundle.value(QStringLiteral("BundleIdentifier")).toString() !=
                QLatin1String(kBundleIdentifier)) {
            *error += QStringLiteral("%1: not the touch panel pane (%2)\n")
                          .arg(path, loader.errorString());
            continue;
        }
        if (auto *pane = qobject_cast<tavix::PreferencePane *>(loader.instance())) {
            *name = bundle.value(QStringLiteral("Name")).toString();
            return pane;
        }
        *error += QStringLiteral("%1: %2\n").arg(path, loader.errorString());
    }
    return nullptr;
}

}  // namespace

int main(int argc, char *argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows the settings pane of the Tavix touch panel driver in a window."));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this help and exits."));
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"),
        QStringLiteral("Shows the pane, lets it settle, saves a PNG of the window to <file> "
                       "and exits."),
        QStringLiteral("file"));
    const QCommandLineOption plugin(
        QStringLiteral("plugin"),
        QStringLiteral("Loads the pane from <file> instead of the build or install folder."),
        QStringLiteral("file"));
    const QCommandLineOption logToStderr(
        QStringLiteral("log-to-stderr"),
        QStringLiteral("Copies the pane's diagnostic log lines to standard error."));
    parser.addOptions({help, screenshot, plugin, logToStderr});
    // Parsed before the application exists, so that --help works without a display.
    if (!parser.parse(arguments)) {
        std::fprintf(stderr, "%s\n", qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet(help)) {
        QString text = parser.helpText();
        // Without an application object the parser cannot name the program itself.
        text.replace(QStringLiteral("<executable_name>"), QStringLiteral("tavix-settings"));
        text += QStringLiteral(
                    "\nThe pane is loaded from %1 (or, when run from the build tree, "
                    "from %2).\n")
                    .arg(QStringLiteral(TAVIX_PLUGIN_INSTALL_DIR),
                         QStringLiteral(TAVIX_PLUGIN_BUILD_DIR));
        std::fputs(qPrintable(text), stdout);
        return 0;
    }

    ::openlog("tavix-settings", LOG_PID | (parser.isSet(logToStderr) ? LOG_PERROR : 0), LOG_USER);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tavix-settings"));

    QPluginLoader loader;
    QString error;
    QString name;
    tavix::PreferencePane *pane =
        loadPane(loader, pluginCandidates(parser.value(plugin)), &error, &name);
    if (pane == nullptr) {
        std::fprintf(stderr, "tavix-settings: cannot load the pane:\n%s", qPrintable(error));
        return 1;
    }

    QWidget *mainView = pane->loadMainView();
    auto window = std::make_unique<tavix::HostWindow>(pane, mainView);
    window->setWindowTitle(name);
    window->resize(mainView->size().expandedTo(mainView->minimumSizeHint()));
    pane->mainViewDidLoad();
    window->show();

    int status = 0;
    if (parser.isSet(screenshot)) {
        const QString file = parser.value(screenshot);
        QTimer::singleShot(kScreenshotSettleMs, window.get(), [&] {
            const bool saved = window->grab().save(file, "PNG");
            if (!saved) {
                std::fprintf(stderr, "tavix-settings: cannot write %s\n", qPrintable(file));
            }
            window->hide();
            QCoreApplication::exit(saved ? 0 : 1);
        });
        status = QApplication::exec();
    } else {
        status = QApplication::exec();
    }
    window->unselectPane();
    window.reset();
    // The pane stops its monitor before the application goes away.
    delete loader.instance();
    ::closelog();
    return status;
}
