// TavixTouchSettingUtility: the touch panel's status-bar icon and menu.
#include <QApplication>
#include <QCommandLineParser>
#include <QLocale>
#include <QSystemTrayIcon>

#include <cstdio>

#include "paths.h"
#include "statusbarutility.h"

int main(int argc, char *argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("TavixTouchSettingUtility"));
    QApplication::setApplicationVersion(QStringLiteral(TAVIX_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);

    tavix::installUtilityTranslations(QLocale());

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Shows the touch panel's state in the status bar, with a menu that opens the pages of "
        "the settings window and runs the calibration quick actions.\n"
        "It does not start when \"isShowStatuMenu\" is false in Utilities.plist, and only one "
        "copy runs per session; the settings window quits it through the port \"TTSB\"."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.process(app);

    tavix::setLocalizedStringLookup([](const std::string &key) {
        return key == "PreferenceFolderName" ? std::string("TavixTouchPanel") : key;
    });

    tavix::StatusBarUtility utility(
        {std::chrono::milliseconds(500), &tavix::startSettingsWindowProgram});
    switch (utility.start()) {
        case tavix::StatusBarUtility::StartResult::NotWanted:
            std::fprintf(stderr,
                         "TavixTouchSettingUtility: the status-bar menu is switched off "
                         "(\"isShowStatuMenu\" is false); not starting\n");
            return 0;
        case tavix::StatusBarUtility::StartResult::AlreadyRunning:
            std::fprintf(stderr,
                         "TavixTouchSettingUtility: another copy is already running in this "
                         "session (it owns the port \"TTSB\"), or there is no session bus\n");
            return 1;
        case tavix::StatusBarUtility::StartResult::Started:
            if (!QSystemTrayIcon::isSystemTrayAvailable()) {
                std::fprintf(stderr,
                             "TavixTouchSettingUtility: this session has no status bar "
                             "yet; the icon shows once one appears\n");
            }
            break;
    }
    QObject::connect(&utility, &tavix::StatusBarUtility::quitRequested, &app, &QApplication::quit,
                     Qt::QueuedConnection);
    return app.exec();
}
