#include "support/WatchedProgram.h"

#include "support/Bench.h"
#include "support/Spawn.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QSettings>

#include <utility>

WatchedProgram::WatchedProgram(QString watcher)
    : module(std::move(watcher))
{
    QDir().mkpath(inHome(QStringLiteral("client")));
    QSettings settings(inHome(QStringLiteral(".config/Orvandale/zel_launcher.ini")),
                       QSettings::IniFormat);
    settings.setValue(QStringLiteral("client/dir"), inHome(QStringLiteral("client")));
}

QString WatchedProgram::picturePath() const
{
    return inHome(QStringLiteral("client/Launcher.bmp"));
}

QString WatchedProgram::pictureColour()
{
    return QStringLiteral("#305080");
}

void WatchedProgram::setPicture(const QSize &size) const
{
    QImage picture(size, QImage::Format_RGB888);
    picture.fill(QColor(pictureColour()));
    Bench::require(picture.save(picturePath(), "BMP"),
                   QStringLiteral("the picture cannot be written"));
}

WatchedProgram::Run WatchedProgram::run(const QStringList &command, const QString &until) const
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert(QStringLiteral("HOME"), home.path());
    variables.insert(QStringLiteral("LD_PRELOAD"), module);
    variables.insert(QStringLiteral("ZEL_BENCH_UNTIL"), until);
    variables.remove(QStringLiteral("XDG_CONFIG_HOME"));
    QByteArrayList environment;
    for (const QString &variable : variables.toStringList()) {
        environment.append(variable.toLocal8Bit());
    }
    QByteArrayList words;
    for (const QString &word : command) {
        words.append(word.toLocal8Bit());
    }

    const Bench::Clock::time_point start = Bench::Clock::now();
    const Spawn program(words, 3, environment);
    const QByteArray output = program.read();
    return {Bench::millisecondsSince(start), QString::fromLatin1(output)};
}

double WatchedProgram::runUntilWindow(const QStringList &command, const QString &colour) const
{
    const Run done = run(command, QStringLiteral("window"));
    Bench::require(
        done.output == colour,
        QStringLiteral("%1 shows '%2' instead of %3").arg(command.first(), done.output, colour));
    return done.milliseconds;
}

double WatchedProgram::instructionsUntilWindow(const QStringList &command,
                                               const QString &colour) const
{
    const QString output = inHome(QStringLiteral("callgrind"));
    runUntilWindow(QStringList{QStringLiteral("valgrind"), QStringLiteral("--quiet"),
                               QStringLiteral("--tool=callgrind"),
                               QStringLiteral("--callgrind-out-file=") + output} +
                       command,
                   colour);
    QFile file(output);
    Bench::require(file.open(QIODevice::ReadOnly), QStringLiteral("callgrind wrote nothing"));
    static const QRegularExpression total(QStringLiteral("^(?:summary|totals): (\\d+)"),
                                          QRegularExpression::MultilineOption);
    return total.match(QString::fromLatin1(file.readAll())).captured(1).toDouble() / 1e6;
}

QString WatchedProgram::inHome(const QString &name) const
{
    return QDir(home.path()).filePath(name);
}
