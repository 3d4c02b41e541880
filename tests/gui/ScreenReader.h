#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

class RealLauncher;

/// Reads the windows of a launcher from outside, the way a screen reader does. A failure here fails
/// the test; in a failed test every call returns at once.
class ScreenReader
{
public:
    /// Starts a session bus of the test's own, on which @p launcher can be read from its next start
    /// on; aborts the test program when the bus does not start.
    explicit ScreenReader(RealLauncher &launcher);
    ~ScreenReader();
    Q_DISABLE_COPY_MOVE(ScreenReader)

    /// Waits until the launcher shows a line of text that matches.
    void waitForLabel(const QString &pattern) const;
    /// Waits until a widget has the keyboard.
    void waitForFocus(const QString &role, const QString &name) const;
    /// Waits for a window by its title and returns all that it shows, parents first, each as role,
    /// name and description with tabulators between them.
    QStringList widgetsOf(const QString &title) const;

private:
    QString read(const QStringList &question) const;

    QProcess bus;
    QString busAddress;
    QString displayName;
};
