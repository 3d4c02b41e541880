#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// What a check found: one line of the report.
struct Result {
    enum State {
        Ok,
        Warning, ///< The game starts, but not as well as it could.
        Error,   ///< The game does not start, or not as the settings say.
    };
    State state = Ok;
    QString subject;        ///< What was checked.
    QString text;           ///< What was found; a sentence in Portuguese without accents.
    QString remedy;         ///< What to do about it; empty when all is well.
    QStringList lines = {}; ///< Printed below the result, such as the end of a log.

    static Result ok(const QString &subject, const QString &text)
    {
        return {Ok, subject, text, {}};
    }
    static Result warning(const QString &subject, const QString &text, const QString &remedy)
    {
        return {Warning, subject, text, remedy};
    }
    static Result error(const QString &subject, const QString &text, const QString &remedy)
    {
        return {Error, subject, text, remedy};
    }

    bool operator==(const Result &other) const = default;
};

using Results = QList<Result>;

/// The remedy for a file that the user has no permission to read or write.
QString permissionRemedy();

/// @p number with one decimal after a comma.
QString decimalText(double number);
