#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Runs programs with the watcher of watcher.cpp, in a home folder of their own in which the
/// launcher is set up: a client folder with a picture.
class WatchedProgram
{
public:
    /// What a program told, and when.
    struct Run {
        double milliseconds = 0; ///< From the program's start.
        QString told;
    };

    /// @p watcher is the path of the module.
    explicit WatchedProgram(QString watcher);

    QString picturePath() const;
    /// Colour of the client's picture.
    static QString pictureColour();
    /// Makes the client's picture anew.
    void setPicture(const QSize &size) const;

    /// Runs @p command until the moment @p until that watcher.cpp describes.
    Run run(const QStringList &command, const QString &until) const;
    /// The milliseconds until the window of @p command shows @p colour.
    double runUntilWindow(const QStringList &command, const QString &colour) const;
    /// The instructions executed until then, in millions.
    double instructionsUntilWindow(const QStringList &command, const QString &colour) const;

private:
    QString inHome(const QString &name) const;

    QTemporaryDir home;
    QString module;
};
