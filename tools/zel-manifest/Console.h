#pragma once

#include <QElapsedTimer>
#include <QString>

#include "zel-manifest/Text.h"

/// Messages on standard error, and on a terminal a progress line that the next message replaces.
class Console
{
public:
    /// A quiet console shows warnings and errors only.
    void setQuiet(bool on) { quiet = on; }

    void note(const QString &text);
    void warning(const QString &text);
    void error(const QString &text);

    /// Shows how much of the work is done, at most ten times a second; does nothing unless standard
    /// error is a terminal.
    void progress(const QString &activity, const FileAmount &done, const FileAmount &all);
    /// Clears the progress line.
    void endProgress();

private:
    void print(const QString &text);

    bool quiet = false;
    qsizetype shownLength = 0;
    QElapsedTimer sinceShown;
};
