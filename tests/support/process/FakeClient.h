#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class QImage;

/// A temporary client folder with a picture, a login file, and an empty file as client executable.
class FakeClient
{
public:
    /// The name of the client folder is @p folderName.
    explicit FakeClient(const QString &folderName = QStringLiteral("client"));

    QString dir() const { return folder; }
    QString filePath(const QString &name) const;
    void write(const QString &name, const QByteArray &content) const;
    /// Content of a file; null when it does not exist.
    QByteArray read(const QString &name) const;
    void writePicture(const QImage &picture) const;

    /// Resets the launcher's settings in memory: this folder, "ZEL.exe", no update, no Wine.
    void useInLauncher() const;

private:
    QTemporaryDir root;
    QString folder;
};

/// An executable script that replaces Wine or the game. It records its arguments and environment,
/// then waits for exitWith() or dieOf().
class FakeProgram
{
public:
    /// Writes the script to @p path; the shell commands @p body run before the wait.
    explicit FakeProgram(const QString &path, const QByteArray &body = {});
    ~FakeProgram();
    Q_DISABLE_COPY_MOVE(FakeProgram)

    QString path() const { return script; }

    /// Ends the running program, or the next one if none runs.
    void exitWith(int code) { order("exit", code); }
    /// Ends the running program, or the next one if none runs, by a signal.
    void dieOf(int signal) { order("signal", signal); }

    /// How often the program has started.
    int startCount() const;

    // Records of the newest start:
    QStringList arguments() const;
    QString workingFolder() const;
    QProcessEnvironment environment() const;
    qint64 pid() const;

private:
    void order(const char *what, int number);
    QByteArray record(const QString &name) const;

    QTemporaryDir records;
    QString script;
    int orders = -1;
};
