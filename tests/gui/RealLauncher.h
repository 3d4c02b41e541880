#pragma once

#include <QPoint>
#include <QProcess>
#include <QString>
#include <QStringList>

#include "support/windows/VirtualDisplay.h"

/// The launcher's program itself, started on a display of its own and used by mouse and keyboard.
/// What goes wrong fails the test; a test that has failed goes no further here, and waits for
/// nothing.
class RealLauncher
{
public:
    /// A window is shown @p scale times as large as it says it is.
    explicit RealLauncher(const QString &programPath, qreal scale = 1);
    /// Ends the program if it still runs.
    ~RealLauncher();
    Q_DISABLE_COPY_MOVE(RealLauncher)

    bool hasDisplay() const { return screen.isRunning(); }
    const VirtualDisplay &display() const { return screen; }
    /// Sets a variable for the next starts; the others are the test's own.
    void setVariable(const QString &name, const QString &value);
    qint64 pid() const { return process.processId(); }

    /// Starts the program and waits for its window.
    void start(const QStringList &arguments = {});
    void clickPlay();
    void clickSettings();
    void clickCancel();
    /// The main window, for the display.
    QString mainWindow() const { return window; }
    /// Waits for the next message box or dialog. Returns its window.
    QString waitForBox(const QString &title);
    /// Waits for the next message box or dialog and closes it by a key, named like "Return" or
    /// "alt+s".
    void answer(const QString &title, const QString &key);
    /// Waits for the program's end, which must be a good one. It must have printed nothing.
    void waitForEnd();
    /// Ends the program whatever it does.
    void kill();

private:
    void click(QPoint place);

    qreal scale;
    VirtualDisplay screen;
    QString program;
    QProcess process;
    QString window;    // the main window
    QStringList known; // that, and the boxes so far
    QPoint playPlace;
    QPoint settingsPlace;
    QPoint cancelPlace;
};
