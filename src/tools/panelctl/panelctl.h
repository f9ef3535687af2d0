// tavix-panelctl: reads and changes the touch panel's settings through the same ports and files
// as the settings window. Exit statuses: 0 done, 1 other failure, 2 bad input (nothing sent),
// 3 the driver daemon is not running, 4 no reply in time, 5 apply --check found a change.
#pragma once

#include <QStringList>

namespace tavix::panelctl {

enum ExitStatus {
    kExitOk = 0,
    kExitFailure = 1,
    kExitBadInput = 2,
    kExitNoDaemon = 3,
    kExitNoReply = 4,
    kExitWouldChange = 5,
};

// Runs one command line (without the program name) and returns the exit status. Needs a
// QCoreApplication; waits in local event loops.
int run(const QStringList &args);

}  // namespace tavix::panelctl
