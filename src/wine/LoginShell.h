#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QProcess>

/// The user's login shell, asked where Wine is. It runs from construction on, beside the program;
/// one that still runs at destruction is ended.
class LoginShell
{
public:
    LoginShell();
    ~LoginShell();
    Q_DISABLE_COPY_MOVE(LoginShell)

    /// Waits for the shell's end, up to 2000 ms after its start, and returns what it printed: the
    /// last 16 MB at least. Empty when it could not be started or needs longer. One that ended
    /// meanwhile is heard however late this is called. To be called once.
    QByteArray output();

private:
    QProcess process;
    QDeadlineTimer end;
};
