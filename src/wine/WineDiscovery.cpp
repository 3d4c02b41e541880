#include "wine/WineDiscovery.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QStandardPaths>
#include <QStringTokenizer>

#include <algorithm>

#include "wine/LoginShell.h"

namespace
{

// The shell's answer comes last, whatever the user's profile prints before. Of a flood the end is
// enough: so many different lines are looked up.
constexpr qsizetype shellLineLimit = 20'000;

/// False for a path that cannot be handed to the system at all.
bool isUsable(const QString &path)
{
    return !path.isEmpty() && !path.contains(QChar::Null);
}

/// @p path with every symbolic link resolved; empty when no file is there.
QString canonicalPath(const QString &path)
{
    return isUsable(path) ? QFileInfo(path).canonicalFilePath() : QString();
}

QString labelOf(const QString &canonical, const QString &label)
{
    const QString text = QStringLiteral("%1 (%2)");
    if (!label.isEmpty()) {
        return text.arg(label, canonical);
    }
    const QFileInfo file(canonical);
    return text.arg(file.fileName(), file.absolutePath());
}

/// Adds the file at @p path unless an earlier route led to it. Without a label it is named after
/// itself and its folder.
void appendWine(QList<WineInstallation> &list, QSet<QString> &seen, const QString &path,
                const QString &label)
{
    const QString canonical = canonicalPath(path);
    if (canonical.isEmpty() || seen.contains(canonical)) {
        return;
    }
    if (!QFileInfo(canonical).isExecutable()) {
        return;
    }
    seen.insert(canonical);
    list.append({canonical, labelOf(canonical, label)});
}

/// Adds the executable that @p name stands for: the file of that path, which for a bare name is
/// one in the working folder, else the command of that name on the search path.
void appendFromPath(QList<WineInstallation> &list, QSet<QString> &seen, const QString &name,
                    const QString &label)
{
    if (!isUsable(name)) {
        return;
    }
    if (QFileInfo::exists(name)) {
        appendWine(list, seen, name, label);
        return;
    }
    const QString found = QStandardPaths::findExecutable(name);
    if (!found.isEmpty()) {
        appendWine(list, seen, found, label);
    }
}

/// Adds the executables of one unpacked Wine.
void appendBuild(QList<WineInstallation> &list, QSet<QString> &seen, const QString &folder,
                 const QString &label)
{
    appendWine(list, seen, folder + QStringLiteral("/bin/wine64"), label);
    appendWine(list, seen, folder + QStringLiteral("/bin/wine"), label);
}

/// Adds the Wines unpacked in the sub-folders of @p folder whose names match @p nameFilter.
void appendGlobDir(QList<WineInstallation> &list, QSet<QString> &seen, const QString &folder,
                   const QString &nameFilter, const QString &label)
{
    const QDir dir(folder);
    if (!dir.exists()) {
        return;
    }
    QStringList names =
        dir.entryList({nameFilter}, QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
    names.sort(Qt::CaseSensitive);
    for (const QString &name : std::as_const(names)) {
        appendBuild(list, seen, dir.filePath(name), label);
    }
}

/// Adds what the user's login shell finds. A profile may print lines of its own.
void appendFromLoginShell(QList<WineInstallation> &list, QSet<QString> &seen, LoginShell &shell)
{
    const QString output = QString::fromUtf8(shell.output());
    QList<QStringView> lines;
    QSet<QStringView> known;
    for (const QStringView part : qTokenize(output, u'\n', Qt::SkipEmptyParts)) {
        const QStringView line = part.trimmed();
        if (!known.contains(line)) {
            known.insert(line);
            lines.append(line);
        }
    }
    for (const QStringView line : lines.last(std::min(lines.size(), shellLineLimit))) {
        appendFromPath(list, seen, line.toString(), QString());
    }
}

} // namespace

QList<WineInstallation> WineDiscovery::discover()
{
    LoginShell shell;
    return discoverWith(shell);
}

QList<WineInstallation> WineDiscovery::discoverWith(LoginShell &shell)
{
    QList<WineInstallation> list;
    QSet<QString> seen;

    for (const QString &path :
         {QStringLiteral("/usr/bin/wine64"), QStringLiteral("/usr/bin/wine"),
          QStringLiteral("/usr/local/bin/wine64"), QStringLiteral("/usr/local/bin/wine")}) {
        appendFromPath(list, seen, path, QString());
    }
    appendFromPath(list, seen, QStringLiteral("wine64"), QStringLiteral("wine64"));
    appendFromPath(list, seen, QStringLiteral("wine"), QStringLiteral("wine"));

    // Staging builds match the first pattern already and are labelled like the others.
    appendGlobDir(list, seen, QStringLiteral("/opt"), QStringLiteral("wine*"),
                  QStringLiteral("Wine"));
    appendGlobDir(list, seen, QStringLiteral("/opt"), QStringLiteral("wine-staging*"),
                  QStringLiteral("Wine Staging"));
    const QDir runners(QDir::homePath() + QStringLiteral("/.local/share/lutris/runners/wine"));
    if (runners.exists()) {
        QStringList names = runners.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
        names.sort(Qt::CaseSensitive);
        for (const QString &name : std::as_const(names)) {
            appendBuild(list, seen, runners.filePath(name), QStringLiteral("Lutris"));
        }
    }
    appendFromLoginShell(list, seen, shell);
    return list;
}

int WineDiscovery::indexOfPath(const QList<WineInstallation> &installations, const QString &path)
{
    if (path.isEmpty()) {
        return -1;
    }
    // A path that is gone matches an entry that is gone as well.
    const QString target = canonicalPath(path);
    for (qsizetype i = 0; i < installations.size(); ++i) {
        if (canonicalPath(installations.at(i).path) == target) {
            return int(i);
        }
    }
    return -1;
}
