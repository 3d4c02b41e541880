#include "wine/WineDiscovery.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>

namespace
{

constexpr int shellTimeoutMs = 2000;

QString labelOf(const QString &canonical, const QString &label)
{
    const QString text = QStringLiteral("%1 (%2)");
    if (!label.isEmpty()) {
        return text.arg(label, canonical);
    }
    const QFileInfo file(canonical);
    return text.arg(file.fileName(), file.absolutePath());
}

/// Adds the file at @p path unless it is listed already. An empty label becomes the file's name
/// and folder.
void appendWine(QList<WineInstallation> &list, QSet<QString> &seen, const QString &path,
                const QString &label)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    if (canonical.isEmpty() || seen.contains(canonical)) {
        return;
    }
    if (!QFileInfo(canonical).isExecutable()) {
        return; // not inserted into seen: another path to the file is checked again
    }
    seen.insert(canonical);
    list.append({canonical, labelOf(canonical, label)});
}

/// Adds the file @p name if it exists (a bare name is relative to the working directory), else the
/// command @p name on PATH.
void appendFromPath(QList<WineInstallation> &list, QSet<QString> &seen, const QString &name,
                    const QString &label)
{
    if (name.isEmpty()) {
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

/// Adds the executables of the Wine build in @p folder.
void appendBuild(QList<WineInstallation> &list, QSet<QString> &seen, const QString &folder,
                 const QString &label)
{
    appendWine(list, seen, folder + QStringLiteral("/bin/wine64"), label);
    appendWine(list, seen, folder + QStringLiteral("/bin/wine"), label);
}

/// Adds the Wine builds in the sub-folders of @p folder whose names match @p nameFilter.
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

/// Output of "command -v" for both commands in the user's login shell. Empty when the shell cannot
/// be started or is killed after the timeout.
QString loginShellOutput()
{
    QProcess shell;
    shell.setStandardErrorFile(QProcess::nullDevice());
    shell.start(QStringLiteral("bash"),
                {QStringLiteral("-lc"), QStringLiteral("command -v wine64; command -v wine")});
    // Read while the shell runs: a full pipe would block it.
    const QDeadlineTimer deadline(shellTimeoutMs);
    while (!deadline.hasExpired() && shell.waitForReadyRead(int(deadline.remainingTime()))) {
    }
    if (shell.state() != QProcess::NotRunning) {
        shell.kill();
        shell.waitForFinished(); // destroying a QProcess with a running child prints a warning
        return {};
    }
    return QString::fromUtf8(shell.readAllStandardOutput());
}

} // namespace

QList<WineInstallation> WineDiscovery::discover()
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

    // Staging builds match the first pattern already and get its label.
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

    // The user's profile may print other lines; a line that names no file is skipped.
    const QStringList lines = loginShellOutput().split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        appendFromPath(list, seen, line.trimmed(), QString());
    }
    return list;
}

int WineDiscovery::indexOfPath(const QList<WineInstallation> &installations, const QString &path)
{
    if (path.isEmpty()) {
        return -1;
    }
    // Deliberate: a missing file matches an entry whose file is missing, too (both are empty).
    const QString target = QFileInfo(path).canonicalFilePath();
    for (qsizetype i = 0; i < installations.size(); ++i) {
        if (QFileInfo(installations.at(i).path).canonicalFilePath() == target) {
            return int(i);
        }
    }
    return -1;
}
