#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

class RealLauncher;

/// Reads the windows of a launcher from outside, the way a screen reader does. What goes wrong
/// fails the test; a test that has failed goes no further here, and waits for nothing.
class ScreenReader
{
public:
    /// Starts a session bus of the test's own, on which @p launcher can be read from its next start
    /// on; isRunning() says whether that worked.
    explicit ScreenReader(RealLauncher &launcher);
    ~ScreenReader();
    Q_DISABLE_COPY_MOVE(ScreenReader)

    bool isRunning() const { return !busAddress.isEmpty(); }

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
