#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include "zel-doctor/Result.h"

/// The results of all checks, and how they are shown.
class Report
{
public:
    /// Adds @p result and returns its line for the report, with a line feed.
    QString add(const Result &result);

    /// The last line of the report.
    QString summary() const;
    /// The whole report as one JSON object in UTF-8.
    QByteArray json() const;
    /// 0 when all is well, 1 with warnings, 2 with errors.
    int exitCode() const;

    static QJsonObject toJson(const Result &result);
    static Result fromJson(const QJsonObject &object);

private:
    int count(Result::State state) const;

    Results results;
};
