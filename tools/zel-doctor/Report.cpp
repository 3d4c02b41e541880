#include "zel-doctor/Report.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace
{

QString stateName(Result::State state)
{
    switch (state) {
    case Result::Ok:
        return QStringLiteral("ok");
    case Result::Warning:
        return QStringLiteral("aviso");
    case Result::Error:
        break;
    }
    return QStringLiteral("erro");
}

} // namespace

QString Report::add(const Result &result)
{
    results.append(result);
    QString text = stateName(result.state).leftJustified(6) + result.subject + QLatin1String(": ") +
                   result.text;
    if (!result.remedy.isEmpty()) {
        text += u' ' + result.remedy;
    }
    for (const QString &line : result.lines) {
        text += QLatin1String("\n    ") + line;
    }
    return text + u'\n';
}

QString Report::summary() const
{
    return QStringLiteral("%1 erro(s), %2 aviso(s)\n")
        .arg(count(Result::Error))
        .arg(count(Result::Warning));
}

QByteArray Report::json() const
{
    QJsonArray array;
    for (const Result &result : results) {
        array.append(toJson(result));
    }
    return QJsonDocument(
               {{QStringLiteral("exitCode"), exitCode()}, {QStringLiteral("checks"), array}})
        .toJson();
}

int Report::exitCode() const
{
    if (count(Result::Error) > 0) {
        return 2;
    }
    return count(Result::Warning) > 0 ? 1 : 0;
}

QJsonObject Report::toJson(const Result &result)
{
    QJsonObject object{{QStringLiteral("state"), stateName(result.state)},
                       {QStringLiteral("subject"), result.subject},
                       {QStringLiteral("text"), result.text},
                       {QStringLiteral("remedy"), result.remedy}};
    if (!result.lines.isEmpty()) {
        object.insert(QStringLiteral("lines"), QJsonArray::fromStringList(result.lines));
    }
    return object;
}

Result Report::fromJson(const QJsonObject &object)
{
    Result result;
    const QString state = object.value(QStringLiteral("state")).toString();
    for (const Result::State known : {Result::Ok, Result::Warning, Result::Error}) {
        if (state == stateName(known)) {
            result.state = known;
        }
    }
    result.subject = object.value(QStringLiteral("subject")).toString();
    result.text = object.value(QStringLiteral("text")).toString();
    result.remedy = object.value(QStringLiteral("remedy")).toString();
    const QJsonArray lines = object.value(QStringLiteral("lines")).toArray();
    for (const auto &line : lines) {
        result.lines.append(line.toString());
    }
    return result;
}

int Report::count(Result::State state) const
{
    return int(std::count_if(results.begin(), results.end(),
                             [state](const Result &result) { return result.state == state; }));
}
