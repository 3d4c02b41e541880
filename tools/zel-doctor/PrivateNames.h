#pragma once

#include <QString>
#include <QStringList>

#include "zel-doctor/Result.h"

/// The names of home folders and users, which must not appear in a report.
class PrivateNames
{
public:
    PrivateNames(QStringList homes, QStringList users);

    /// The names of the user who runs this program.
    static PrivateNames own();

    /// @p text with "~" in place of these names and of every folder in /home; on one line, without
    /// control characters except tabs.
    QString hiddenIn(const QString &text) const;
    /// @p result with its texts changed in that way.
    Result hiddenIn(const Result &result) const;

private:
    QStringList homeFolders; ///< Longest first: one may be inside another.
    QStringList userNames;
};
