#pragma once

#include <QString>
#include <QStringList>

#include "zel-doctor/Result.h"

/// What must not appear in a report.
class PrivateNames
{
public:
    PrivateNames(QStringList homes, QStringList users);

    /// Those of the user who runs this program.
    static PrivateNames own();

    /// @p text with "~" in the place of these names, and of every folder in /home; on one line,
    /// without control characters.
    QString hiddenIn(const QString &text) const;
    /// The same for all that @p result says.
    Result hiddenIn(const Result &result) const;

private:
    QStringList homeFolders; ///< The longest first: one may lie in another.
    QStringList userNames;
};
