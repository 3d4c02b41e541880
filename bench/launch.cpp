// From the click on "Iniciar" to the game's first instruction, compared with bash running the same
// command line.
//
//   launch GAME

#include "support/Bench.h"
#include "support/Spawn.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

#include "app/MainWindow.h"
#include "settings/LauncherSettings.h"

using namespace Bench;

namespace
{

constexpr int rounds = 41;
constexpr double limitMs = 20;

/// The time of the game's last start.
Clock::time_point stamp()
{
    QFile file(qEnvironmentVariable("ZEL_BENCH_STAMP"));
    require(file.open(QIODevice::ReadOnly), QStringLiteral("the game did not run"));
    const std::chrono::nanoseconds sinceEpoch(file.readAll().toLongLong());
    file.remove();
    return Clock::time_point(std::chrono::duration_cast<Clock::duration>(sinceEpoch));
}

double millisecondsTo(Clock::time_point start, Clock::time_point end)
{
    return std::chrono::duration<double, std::milli>(end - start).count();
}

double runByHand(const QByteArray &commandLine)
{
    const Clock::time_point start = Clock::now();
    Spawn({"/bin/bash", "-lc", commandLine}, STDOUT_FILENO).wait();
    return millisecondsTo(start, stamp());
}

double runByClick(QPushButton *play)
{
    const Clock::time_point start = Clock::now();
    QTest::mouseClick(play, Qt::LeftButton);
    require(!play->isEnabled(), QStringLiteral("the game was not started"));
    require(QTest::qWaitFor([play] { return play->isEnabled(); }),
            QStringLiteral("the game did not end"));
    return millisecondsTo(start, stamp());
}

QPushButton *findButton(const MainWindow &window, const QString &text)
{
    for (QPushButton *button : window.findChildren<QPushButton *>()) {
        if (button->text() == text) {
            return button;
        }
    }
    return nullptr;
}

} // namespace

int main(int argc, char *argv[])
{
    const QApplication app(argc, argv);
    require(argc == 2, QStringLiteral("launch GAME"));
    const QTemporaryDir home;
    const QDir client(home.filePath(QStringLiteral("client")));
    client.mkpath(QStringLiteral("."));
    const QString exe = client.filePath(QStringLiteral("ZEL.exe"));
    require(QFile(exe).open(QIODevice::WriteOnly), QStringLiteral("no client"));
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
    qputenv("ZEL_BENCH_STAMP", QFile::encodeName(home.filePath(QStringLiteral("stamp"))));

    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = client.path();
    settings.winePath = QFile::decodeName(argv[1]);
    const QByteArray commandLine = QFile::encodeName(
        QStringLiteral("cd '%1' && exec '%2' '%3'").arg(client.path(), settings.winePath, exe));

    MainWindow window;
    window.show();
    require(QTest::qWaitForWindowExposed(&window), QStringLiteral("no window"));
    QPushButton *play = findButton(window, QStringLiteral("Iniciar"));

    const Medians time = alternate(
        rounds, [&] { return runByHand(commandLine); }, [play] { return runByClick(play); });
    printRow(QStringLiteral("\"Iniciar\" to the running game"),
             QStringLiteral("bash, ") + milliseconds(time.floor), milliseconds(time.measured),
             QStringLiteral("+ ") + milliseconds(time.difference()),
             QStringLiteral("+ ") + milliseconds(limitMs), time.difference() <= limitMs);
    return exitStatus();
}
