#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Runs programs with watcher.cpp preloaded, in a temporary home folder with launcher settings and
/// a client folder with a picture.
class WatchedProgram
{
public:
    /// A finished run of a program.
    struct Run {
        double milliseconds = 0; ///< From the program's start.
        QString output;
    };

    /// @p watcher is the path of the module.
    explicit WatchedProgram(QString watcher);

    QString picturePath() const;
    /// Colour of the client's picture.
    static QString pictureColour();
    /// Writes the client's picture in @p size.
    void setPicture(const QSize &size) const;

    /// Runs @p command until the event @p until, described in watcher.cpp.
    Run run(const QStringList &command, const QString &until) const;
    /// The milliseconds until the window of @p command shows @p colour.
    double runUntilWindow(const QStringList &command, const QString &colour) const;
    /// The instructions executed until the window of @p command shows @p colour, in millions.
    double instructionsUntilWindow(const QStringList &command, const QString &colour) const;

private:
    QString inHome(const QString &name) const;

    QTemporaryDir home;
    QString module;
};
