#pragma once

#include <QLockFile>
#include <QSettings>

/// Drops what Qt has to say, as long as it exists.
class Silence
{
public:
    Silence()
        : previous(
              qInstallMessageHandler([](QtMsgType /*type*/, const QMessageLogContext & /*context*/,
                                        const QString & /*text*/) {}))
    {
    }
    ~Silence() { qInstallMessageHandler(previous); }
    Q_DISABLE_COPY_MOVE(Silence)

private:
    QtMessageHandler previous;
};

/// A settings store that prints nothing. The library remarks on stored values of types that it
/// does not know, when it reads and when it writes them; the file may have been damaged, or
/// written by another program.
class QuietSettings : private Silence, public QSettings
{
public:
    using QSettings::QSettings;

    /// Removes the lock that a killed process left beside the file; the lock of a living one stays.
    /// For one that was killed before it had signed its lock the library would wait half a minute,
    /// at the next write, with the window frozen.
    void removeLeftLock() const
    {
        QLockFile(fileName() + QStringLiteral(".lock")).removeStaleLockFile();
    }
};
