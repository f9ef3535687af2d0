// tavix-panelctl's front: the command line is parsed into an Invocation and handed to the
// command of that name from the groups' tables (settings, hardware, reports, metrics,
// profiles).
#include "panelctl.h"

#include "cli.h"
#include "paths.h"

#ifndef TAVIX_VERSION
#define TAVIX_VERSION "0"
#endif

namespace tavix::panelctl {
namespace {

const char kOverview[] =
    "Usage: tavix-panelctl COMMAND [ARGUMENTS] [OPTIONS]\n"
    "Reads and changes the touch panel's settings through the driver daemon, as the settings\n"
    "window does.\n"
    "\n"
    "Commands:\n"
    "%1\n"
    "Settings (set NAME VALUE, get NAME):\n"
    "  range            double-click range, 8 to 128\n"
    "  speed            double-click time window in seconds, 0.30 to 1.00\n"
    "  FLAG             on or off, where FLAG is swipe, pinch, two-finger-rotation,\n"
    "                   button1, button2, resolution-notice or eraser-area\n"
    "  input-mode       standard, handwrite or pen\n"
    "  calibration-type  simple or manual\n"
    "  simple-setting   0, 1 or 2\n"
    "  rotation         0, 90, 180 or 270\n"
    "\n"
    "Options:\n"
    "  --json           print readings as JSON (status, get, dip, firmware, selftest, watch)\n"
    "  --timeout MS     how long dip, firmware, selftest and metrics wait for the panel's\n"
    "                   report (default 3000)\n"
    "  --output FILE    metrics and export: replace FILE as a whole instead of printing\n"
    "  --selftest       metrics: run the self-test too (it interrupts the panel)\n"
    "  --check          apply: change nothing, say what would change (exit 5 if anything)\n"
    "  --any-model      apply: take a profile made on another model\n"
    "  --folder-name N  product folder of the per-user files (default TavixTouchPanel)\n"
    "  -h, --help       this text; \"tavix-panelctl COMMAND --help\" describes one command\n"
    "  --version        the program's version\n"
    "\n"
    "Exit status: 0 done, 1 other failure, 2 bad input (nothing is sent), 3 the driver daemon\n"
    "is not running, 4 no reply in time, 5 apply --check found something to change.\n";

std::vector<Command> allCommands() {
    std::vector<Command> all;
    for (const auto *group : {&settingsCommands(), &hardwareCommands(), &reportCommands(),
                              &metricsCommands(), &profileCommands()}) {
        all.insert(all.end(), group->begin(), group->end());
    }
    return all;
}

// Options that belong to a few commands only; anywhere else they are refused.
struct OwnedOption {
    const char *option;
    bool Invocation::*flag;
    QStringList commands;
};

}  // namespace

int run(const QStringList &args) {
    // The per-user files live in the folder the settings window's string table names; this
    // program has no string table, so it takes the shipped name unless told another.
    setLocalizedStringLookup([](const std::string &key) {
        return key == "PreferenceFolderName" ? std::string("TavixTouchPanel") : key;
    });
    Invocation inv;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &a = args[i];
        if (a == QLatin1String("--json")) {
            inv.json = true;
        } else if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            inv.help = true;
        } else if (a == QLatin1String("--version")) {
            inv.version = true;
        } else if (a == QLatin1String("--second")) {
            inv.second = true;
        } else if (a == QLatin1String("--html")) {
            inv.html = true;
        } else if (a == QLatin1String("--selftest")) {
            inv.selftest = true;
        } else if (a == QLatin1String("--check")) {
            inv.check = true;
        } else if (a == QLatin1String("--any-model")) {
            inv.anyModel = true;
        } else if (a == QLatin1String("--timeout") || a == QLatin1String("--folder-name") ||
                   a == QLatin1String("--output")) {
            if (i + 1 >= args.size()) {
                return badInput(QStringLiteral("%1 needs a value").arg(a));
            }
            const QString value = args[++i];
            if (a == QLatin1String("--output")) {
                if (value.isEmpty()) {
                    return badInput(QStringLiteral("--output takes a file name"));
                }
                inv.output = value;
            } else if (a == QLatin1String("--timeout")) {
                bool ok = false;
                inv.timeoutMs = value.toInt(&ok);
                if (!ok || inv.timeoutMs < 1 || inv.timeoutMs > 600000) {
                    return badInput(QStringLiteral("--timeout takes milliseconds, 1 to 600000"));
                }
            } else {
                if (value.isEmpty() || value.contains(u'/')) {
                    return badInput(QStringLiteral("--folder-name takes a plain folder name"));
                }
                const std::string folder = value.toStdString();
                setLocalizedStringLookup([folder](const std::string &key) {
                    return key == "PreferenceFolderName" ? folder : key;
                });
            }
        } else if (a.startsWith(u'-') && a.size() > 1 && !a[1].isDigit()) {
            return badInput(QStringLiteral("unknown option %1 (see --help)").arg(a));
        } else if (inv.command.isEmpty()) {
            inv.command = a;
        } else {
            inv.words << a;
        }
    }
    if (inv.version) {
        out(QStringLiteral("tavix-panelctl %1\n").arg(QLatin1String(TAVIX_VERSION)));
        return kExitOk;
    }
    const std::vector<Command> commands = allCommands();
    QStringList names;
    QString list;
    const Command *command = nullptr;
    for (const Command &c : commands) {
        names << QLatin1String(c.name);
        list += QStringLiteral("  %1  %2\n")
                    .arg(QLatin1String(c.usage), -36)
                    .arg(QLatin1String(c.summary));
        command = inv.command == QLatin1String(c.name) ? &c : command;
    }
    if (inv.command.isEmpty()) {
        if (inv.help) {
            out(QString::fromLatin1(kOverview).arg(list));
            return kExitOk;
        }
        return badInput(QStringLiteral("missing command; commands: %1 (see --help)")
                            .arg(names.join(QStringLiteral(", "))));
    }
    if (command == nullptr) {
        return badInput(QStringLiteral("unknown command \"%1\"; commands: %2")
                            .arg(inv.command, names.join(QStringLiteral(", "))));
    }
    if (inv.help) {
        out(QStringLiteral("Usage: tavix-panelctl %1\n%2")
                .arg(QLatin1String(command->usage), QLatin1String(command->text)));
        return kExitOk;
    }
    const OwnedOption owned[] = {
        {"--second", &Invocation::second, {QStringLiteral("calibrate")}},
        {"--selftest", &Invocation::selftest, {QStringLiteral("metrics")}},
        {"--check", &Invocation::check, {QStringLiteral("apply")}},
        {"--any-model", &Invocation::anyModel, {QStringLiteral("apply")}},
    };
    for (const OwnedOption &o : owned) {
        if (inv.*o.flag && !o.commands.contains(inv.command)) {
            return badInput(QStringLiteral("%1 belongs to \"%2\"")
                                .arg(QLatin1String(o.option), o.commands.join(u'|')));
        }
    }
    if (!inv.output.isEmpty() && inv.command != QLatin1String("metrics") &&
        inv.command != QLatin1String("export")) {
        return badInput(QStringLiteral("--output belongs to \"metrics|export\""));
    }
    return command->handler(inv);
}

}  // namespace tavix::panelctl
