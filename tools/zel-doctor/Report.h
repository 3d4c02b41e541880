#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include "zel-doctor/Result.h"

/// What must not appear in a report.
struct PrivateNames {
    QStringList homes; ///< Home folders.
    QStringList users; ///< User names.

    /// Those of the user who runs this program.
    static PrivateNames own();
};

/// The results of all checks, and how they are shown.
class Report
{
public:
    explicit Report(PrivateNames hiddenNames);

    /// Adds @p result and returns the line, with a line feed, that shows it.
    QString add(const Result &result);

    /// The last line of the report.
    QString summary() const;
    /// The whole report as one JSON object in UTF-8.
    QByteArray json() const;
    /// 0 when all is well, 1 with warnings, 2 with errors.
    int exitCode() const;

    /// @p text with "~" in the place of private names, on one line, without control characters.
    QString shown(const QString &text) const;

    static QJsonObject toJson(const Result &result);
    static Result fromJson(const QJsonObject &object);

private:
    int count(Result::State state) const;

    PrivateNames names;
    Results results;
};
