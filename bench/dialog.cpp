// Wine discovery and opening the settings dialog, compared with the login shell that both run.
//
//   dialog LAUNCHER WATCHER

#include "support/Bench.h"
#include "support/Spawn.h"
#include "support/WatchedProgram.h"

#include <QCoreApplication>
#include <QSize>

#include <unistd.h>

#include "wine/WineDiscovery.h"

using namespace Bench;

namespace
{

constexpr int rounds = 31;
constexpr double discoveryFactor = 1.1;
constexpr double discoveryExtraMs = 5;
constexpr double dialogExtraMs = 45;

double runShell()
{
    const Clock::time_point start = Clock::now();
    Spawn shell({"bash", "-lc", "command -v wine64; command -v wine"}, STDOUT_FILENO);
    while (!shell.read().isEmpty()) {
    }
    shell.wait();
    return millisecondsSince(start);
}

double runDiscovery()
{
    const Clock::time_point start = Clock::now();
    WineDiscovery::discover();
    return millisecondsSince(start);
}

QString plus(double value)
{
    return QStringLiteral("+ ") + milliseconds(value);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    require(arguments.size() == 3, QStringLiteral("dialog LAUNCHER WATCHER"));

    const Medians discovery = alternate(rounds, runShell, runDiscovery);
    const double discoveryLimit = discoveryFactor * discovery.floor + discoveryExtraMs;
    printRow(QStringLiteral("Wine discovery"),
             QStringLiteral("login shell, ") + milliseconds(discovery.floor),
             milliseconds(discovery.measured), plus(discovery.difference()),
             milliseconds(discoveryLimit), discovery.measured <= discoveryLimit);

    const WatchedProgram program(arguments[2]);
    program.setPicture({960, 592});
    const Medians opening = alternate(rounds, runShell, [&] {
        const QString output = program.run({arguments[1]}, QStringLiteral("dialog")).output;
        require(!output.isEmpty(), QStringLiteral("the dialog was not opened"));
        return output.toDouble();
    });
    printRow(QStringLiteral("First \"Configuracao\" to the dialog's first paint"),
             QStringLiteral("login shell, ") + milliseconds(opening.floor),
             milliseconds(opening.measured), plus(opening.difference()), plus(dialogExtraMs),
             opening.difference() <= dialogExtraMs);
    return exitStatus();
}
