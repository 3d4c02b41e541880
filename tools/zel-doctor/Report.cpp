#include "zel-doctor/Report.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>
#include <pwd.h>
#include <unistd.h>
#include <utility>

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

/// Matches @p folder in the spelling of Linux and in those of Windows, where Wine shows it.
QRegularExpression folderPattern(const QString &folder)
{
    QStringList parts = folder.split(u'/', Qt::SkipEmptyParts);
    for (QString &part : parts) {
        part = QRegularExpression::escape(part);
    }
    return QRegularExpression(
        QStringLiteral(R"([/\\]+%1(?![\w-]))").arg(parts.join(QStringLiteral(R"([/\\]+)"))),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
}

QRegularExpression wordPattern(const QString &word)
{
    return QRegularExpression(
        QStringLiteral(R"((?<![\w-])%1(?![\w-]))").arg(QRegularExpression::escape(word)),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
}

} // namespace

PrivateNames PrivateNames::own()
{
    PrivateNames names;
    names.homes = {QDir::homePath(), QFileInfo(QDir::homePath()).canonicalFilePath()};
    names.users = {qEnvironmentVariable("USER"), qEnvironmentVariable("LOGNAME")};
    if (const passwd *entry = ::getpwuid(::getuid())) {
        names.homes.append(QString::fromLocal8Bit(entry->pw_dir));
        names.users.append(QString::fromLocal8Bit(entry->pw_name));
    }
    names.homes.removeAll(QString());
    names.homes.removeAll(QStringLiteral("/"));
    names.homes.removeDuplicates();
    names.users.removeAll(QString());
    names.users.removeDuplicates();
    return names;
}

Report::Report(PrivateNames hiddenNames)
    : names(std::move(hiddenNames))
{
    // One home may lie in another.
    std::sort(names.homes.begin(), names.homes.end(),
              [](const QString &a, const QString &b) { return a.size() > b.size(); });
}

QString Report::add(const Result &result)
{
    Result clean = result;
    clean.text = shown(result.text);
    clean.remedy = shown(result.remedy);
    for (QString &line : clean.lines) {
        line = shown(line);
    }
    results.append(clean);

    QString text =
        stateName(clean.state).leftJustified(6) + clean.subject + QLatin1String(": ") + clean.text;
    if (!clean.remedy.isEmpty()) {
        text += u' ' + clean.remedy;
    }
    for (const QString &line : std::as_const(clean.lines)) {
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

QString Report::shown(const QString &text) const
{
    static const QRegularExpression otherHome(
        QStringLiteral(R"((?<![\w.-])[/\\]+home[/\\]+[^/\\\s"':;,]+)"));
    QString result = text;
    for (QChar &c : result) {
        if (c == u'\n') {
            c = u' ';
        } else if (c.category() == QChar::Other_Control && c != u'\t') {
            c = u'?';
        }
    }
    for (const QString &home : names.homes) {
        result.replace(folderPattern(home), QStringLiteral("~"));
    }
    result.replace(otherHome, QStringLiteral("~"));
    for (const QString &user : names.users) {
        result.replace(wordPattern(user), QStringLiteral("~"));
    }
    return result;
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
