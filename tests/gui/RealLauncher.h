#pragma once

#include <QPoint>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "support/windows/VirtualDisplay.h"

/// The real program on its own display, used by mouse and keyboard. A failure fails the test; in a
/// failed test every call returns at once.
class RealLauncher
{
public:
    /// Starts the display, or aborts the test program. @p scale is the display's scale factor.
    explicit RealLauncher(qreal scale = 1);
    /// Kills the program if it is still running.
    ~RealLauncher();
    Q_DISABLE_COPY_MOVE(RealLauncher)

    const VirtualDisplay &display() const { return screen; }
    /// Sets an environment variable for the next starts.
    void setVariable(const QString &name, const QString &value);
    qint64 pid() const { return process.processId(); }

    /// Replaces the settings file for the next start.
    static void writeSettings(const QVariantMap &values);
    /// Starts the program and waits for its window.
    void start(const QStringList &arguments = {});
    void clickPlay();
    void clickSettings();
    void clickCancel();
    /// The window ID of the main window.
    QString mainWindow() const { return window; }
    /// Waits for the next message box or dialog. Returns its window ID.
    QString waitForBox(const QString &title);
    /// Waits for the next message box or dialog and closes it by a key, named like "Return" or
    /// "alt+s".
    void answer(const QString &title, const QString &key);
    /// Waits for the program to exit with status 0, without output.
    void waitForEnd();
    /// Closes the idle launcher by its button and waits for it to exit.
    void close();
    void kill();

private:
    void click(QPoint place);

    qreal scale;
    VirtualDisplay screen;
    QProcess process;
    QString window;      // the main window
    QStringList windows; // the main window and the boxes so far
    QPoint playPlace;
    QPoint settingsPlace;
    QPoint cancelPlace;
};
