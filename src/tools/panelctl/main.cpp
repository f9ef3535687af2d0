// tavix-panelctl: command-line access to the touch panel's settings.
#include <QCoreApplication>

#include "panelctl.h"

int main(int argc, char *argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavix-panelctl"));
    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    return tavix::panelctl::run(args);
}
