#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

class RealLauncher;

/// Reads the launcher's windows through AT-SPI, like a screen reader. A failure fails the test; in
/// a failed test every call returns at once.
class ScreenReader
{
public:
    /// Starts a session bus for the next starts of @p launcher, or aborts the test program.
    explicit ScreenReader(RealLauncher &launcher);
    ~ScreenReader();
    Q_DISABLE_COPY_MOVE(ScreenReader)

    /// Waits until the launcher shows a line of text that matches.
    void waitForLabel(const QString &pattern) const;
    /// Waits until a widget has the focus.
    void waitForFocus(const QString &role, const QString &name) const;
    /// Waits for a window by its title and returns its widgets, parents first, each as role, name
    /// and description separated by tabs.
    QStringList widgetsOf(const QString &title) const;

private:
    QString read(const QStringList &question) const;

    QProcess bus;
    QString busAddress;
    QString displayName;
};
