#include "zel-doctor/PrivateNames.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <pwd.h>
#include <unistd.h>
#include <utility>

namespace
{

/// Matches @p folder as a Linux path or as a Windows path, as Wine shows it.
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

PrivateNames::PrivateNames(QStringList homes, QStringList users)
    : homeFolders(std::move(homes))
    , userNames(std::move(users))
{
    homeFolders.removeAll(QString());
    homeFolders.removeAll(QStringLiteral("/"));
    userNames.removeAll(QString());
    std::sort(homeFolders.begin(), homeFolders.end(),
              [](const QString &a, const QString &b) { return a.size() > b.size(); });
}

PrivateNames PrivateNames::own()
{
    const QString home = QDir::homePath();
    QStringList homes{home, QFileInfo(home).canonicalFilePath()};
    QStringList users{qEnvironmentVariable("USER"), qEnvironmentVariable("LOGNAME")};
    if (const passwd *entry = ::getpwuid(::getuid())) {
        homes.append(QString::fromLocal8Bit(entry->pw_dir));
        users.append(QString::fromLocal8Bit(entry->pw_name));
    }
    return {homes, users};
}

QString PrivateNames::hiddenIn(const QString &text) const
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
    for (const QString &home : homeFolders) {
        result.replace(folderPattern(home), QStringLiteral("~"));
    }
    result.replace(otherHome, QStringLiteral("~"));
    for (const QString &user : userNames) {
        result.replace(wordPattern(user), QStringLiteral("~"));
    }
    return result;
}

Result PrivateNames::hiddenIn(const Result &result) const
{
    Result hidden = result;
    hidden.text = hiddenIn(result.text);
    hidden.remedy = hiddenIn(result.remedy);
    for (QString &line : hidden.lines) {
        line = hiddenIn(line);
    }
    return hidden;
}
