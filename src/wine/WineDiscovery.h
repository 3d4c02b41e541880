#pragma once

#include <QList>
#include <QString>

/// A Wine executable found on this machine.
struct WineInstallation {
    QString path;  ///< Canonical absolute path.
    QString label; ///< Text shown to the user, "%1 (%2)".
};

/// Finds the Wine executables of this machine. Never runs Wine.
class WineDiscovery
{
public:
    /// The Wine executables at the well-known paths, on PATH, under /opt, among the Lutris
    /// runners and on the PATH of the user's login shell, in this order. Each file is listed
    /// once, with the label of the first place where it was found.
    ///
    /// Waits up to 2000 ms for the login shell and kills it if it has not ended. Nothing is
    /// reported: places that are missing or unreadable are skipped.
    static QList<WineInstallation> discover();

    /// Index of the first of @p installations that is the same file as @p path, symbolic links
    /// resolved; -1 if there is none or @p path is empty.
    static int indexOfPath(const QList<WineInstallation> &installations, const QString &path);
};
