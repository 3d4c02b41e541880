// From the start of the launcher to its first paint on the screen, compared with an empty window of
// the same size.
//
//   startup LAUNCHER EMPTY PLAIN WATCHER

#include "support/Bench.h"
#include "support/WatchedProgram.h"

#include <QCoreApplication>
#include <QSize>

using namespace Bench;

namespace
{

constexpr int rounds = 41;
constexpr double ratioLimit = 1.5;

QString millions(double value)
{
    return QStringLiteral("%1 million").arg(value, 0, 'f', 1);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    require(arguments.size() == 5, QStringLiteral("startup LAUNCHER EMPTY PLAIN WATCHER"));
    const WatchedProgram program(arguments[4]);
    const QStringList launcher{arguments[1]};
    const QStringList empty{arguments[2]};
    const QStringList plain{arguments[3], program.picturePath()};
    const QString colour = WatchedProgram::pictureColour();
    const QString emptyColour = QStringLiteral("#efefef");
    const QString emptyName = QStringLiteral("empty window, ");
    const QString plainName = QStringLiteral("plain window with picture and text, ");

    for (const QSize size : {QSize(960, 592), QSize(1600, 900)}) {
        program.setPicture(size);
        const QString of =
            QStringLiteral(", picture of %1 by %2").arg(size.width()).arg(size.height());
        const auto runEmpty = [&] { return program.runUntilWindow(empty, emptyColour); };
        const auto runPlain = [&] { return program.runUntilWindow(plain, colour); };
        const auto runLauncher = [&] { return program.runUntilWindow(launcher, colour); };

        const Medians time = alternate(rounds, runEmpty, runLauncher);
        printRow(QStringLiteral("Start to first paint") + of, emptyName + milliseconds(time.floor),
                 milliseconds(time.measured), ratio(time.ratio()), ratio(ratioLimit),
                 time.ratio() <= ratioLimit);
        const Medians plainTime = alternate(rounds, runPlain, runLauncher);
        printRow(QStringLiteral("the same"), plainName + milliseconds(plainTime.floor),
                 milliseconds(plainTime.measured), ratio(plainTime.ratio()));

        const double floor = program.instructionsUntilWindow(empty, emptyColour);
        const double plainFloor = program.instructionsUntilWindow(plain, colour);
        const double measured = program.instructionsUntilWindow(launcher, colour);
        printRow(QStringLiteral("Instructions") + of, emptyName + millions(floor),
                 millions(measured), ratio(measured / floor));
        printRow(QStringLiteral("the same"), plainName + millions(plainFloor), millions(measured),
                 ratio(measured / plainFloor));
    }
    return exitStatus();
}
