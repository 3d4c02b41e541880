#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

/// A name for messages, in double quotes. What would move the cursor of a terminal or is not
/// UTF-8 appears as "\xNN", so that two different names never look the same.
QString quoted(const QByteArray &name);
QString quoted(const QString &name);

/// A number of bytes for people: "17 bytes", "1.5 MiB".
QString sizeText(qint64 bytes);

/// What the operator sees on standard error: messages, and on a terminal one line of progress that
/// the next message replaces.
class Console
{
public:
    /// A quiet console shows warnings and errors alone.
    void setQuiet(bool on) { quiet = on; }

    void note(const QString &text);
    void warning(const QString &text);
    void error(const QString &text);

    /// Shows how far the work is, at most ten times a second; nothing unless standard error is a
    /// terminal.
    void progress(const QString &activity, qint64 done, qint64 total, const QString &detail);
    /// Takes the line of progress away.
    void endProgress();

private:
    void print(const QString &text);

    bool quiet = false;
    qsizetype shownLength = 0;
    QElapsedTimer sinceShown;
};
