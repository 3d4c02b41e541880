#pragma once

#include <QPoint>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "support/windows/VirtualDisplay.h"

/// The launcher's program itself, started on a display of its own and used by mouse and keyboard.
/// A failure here fails the test; in a failed test every call returns at once.
class RealLauncher
{
public:
    /// Starts the display; aborts the test program when it does not start. Windows are shown @p
    /// scale times as large as in device-independent pixels.
    explicit RealLauncher(qreal scale = 1);
    /// Ends the program if it still runs.
    ~RealLauncher();
    Q_DISABLE_COPY_MOVE(RealLauncher)

    const VirtualDisplay &display() const { return screen; }
    /// Sets a variable for the next starts; the others are the test's own.
    void setVariable(const QString &name, const QString &value);
    qint64 pid() const { return process.processId(); }

    /// Replaces the settings file for the next start.
    static void writeSettings(const QVariantMap &values);
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
    /// Waits for the program's end with status 0. It must have printed nothing.
    void waitForEnd();
    /// Closes the idle launcher by its button and waits for its end.
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
