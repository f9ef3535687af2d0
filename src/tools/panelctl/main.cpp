// tavix-panelctl: command-line access to the touch panel's settings.
#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

#include "panelctl.h"

int main(int argc, char *argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavix-panelctl"));
    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    const int status = tavix::panelctl::run(args);
    // Leave without the static teardown: Qt's bus thread may still be dispatching a late
    // message (its own name signals) while the type registry it needs is being torn down,
    // which prints stray warnings after our one-line answer. Nothing is left to save.
    std::fflush(nullptr);
    std::_Exit(status);
}
