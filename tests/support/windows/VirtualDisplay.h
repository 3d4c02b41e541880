#pragma once

#include <QImage>
#include <QPoint>
#include <QProcess>
#include <QSize>
#include <QString>

/// A virtual X server without a window manager, with simulated mouse and keyboard input.
class VirtualDisplay
{
public:
    /// Starts the server; isRunning() is false if that failed.
    explicit VirtualDisplay(QSize size = {1280, 1024});
    ~VirtualDisplay();
    Q_DISABLE_COPY_MOVE(VirtualDisplay)

    bool isRunning() const { return !displayName.isEmpty(); }
    /// For the environment variable DISPLAY.
    QString name() const { return displayName; }

    /// Waits for a visible window with the title @p title that is not one of @p known. Returns its
    /// ID, or nothing on a timeout.
    QString waitForWindow(const QString &title, const QStringList &known = {}) const;
    /// Clicks a place in a window, in pixels from its upper left corner.
    bool click(const QString &window, QPoint place) const;
    /// Sets the keyboard focus, as a window manager would.
    bool focus(const QString &window) const;
    /// Presses a key, named like "Tab" or "alt+y", in a window.
    bool pressKey(const QString &window, const QString &key) const;
    /// Closes a window by a key. Presses the key again if the window did not have the focus yet.
    bool closeByKey(const QString &window, const QString &key) const;
    /// What a window shows, pixel by pixel; null when it cannot be read.
    QImage imageOf(const QString &window) const;

private:
    QStringList visibleWindows(const QString &pattern) const;
    QByteArray output(const QString &program, const QStringList &arguments) const;

    QProcess server;
    QString displayName;
};
