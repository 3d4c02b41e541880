#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// What a check found: one line of the report.
struct Result {
    enum State {
        Ok,
        Warning, ///< The game starts, but not as well as it could.
        Error,   ///< The game does not start, or not with what the settings ask for.
    };
    State state = Ok;
    QString subject;        ///< What was looked at.
    QString text;           ///< What was found; a sentence in Portuguese without accents.
    QString remedy;         ///< What to do about it; empty when all is well.
    QStringList lines = {}; ///< Printed below; the end of a log.

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

/// What to do about a file that the user may not read or write.
QString permissionRemedy();

/// @p number with one decimal, as Brazilians write it.
QString decimalText(double number);
