#include "client/SnBin.h"

#include <QDir>
#include <QFile>

#include <optional>

#include "client/Files.h"

namespace
{

constexpr int maxNameLength = 15;
constexpr int trailingLineCount = 10;

bool isGroupId(int group)
{
    return group >= 1 && group <= 10;
}

/// Tokens of the file's first line; nothing when the file cannot be opened. Only the space
/// character separates: a tab is part of a token.
std::optional<QStringList> firstLineTokens(const QString &path)
{
    QFile file(path);
    if (!Files::open(file, QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return QString::fromUtf8(file.readLine()).trimmed().split(u' ', Qt::SkipEmptyParts);
}

} // namespace

QString SnBin::pathIn(const QString &clientDir)
{
    return QDir(clientDir).filePath(QStringLiteral("sn.bin"));
}

bool SnBin::isValid(const QString &path)
{
    const std::optional<QStringList> tokens = firstLineTokens(path);
    if (!tokens || tokens->isEmpty()) {
        return false;
    }
    bool isNumber = false;
    const int group = tokens->constFirst().toInt(&isNumber);
    return isNumber && isGroupId(group);
}

bool SnBin::loadDisplayName(const QString &path, QString *name)
{
    if (name == nullptr) {
        return false;
    }
    const std::optional<QStringList> tokens = firstLineTokens(path);
    if (!tokens) {
        return false;
    }
    *name = tokens->size() < 2 ? defaultName() : tokens->sliced(1).join(u' ');
    return true;
}

QString SnBin::defaultName()
{
    return QStringLiteral("Orvandale");
}

QString SnBin::preparedName(const QString &name)
{
    QString prepared = name.trimmed();
    prepared.replace(u'\n', u' ').replace(u'\r', u' ');
    prepared.truncate(maxNameLength);
    return prepared.isEmpty() ? defaultName() : prepared;
}

bool SnBin::writeMainGroup(const QString &path, int group, const QString &name, QString *error)
{
    if (!isGroupId(group)) {
        return Files::fail(error,
                           QStringLiteral("ID de grupo invalido para sn.bin: %1").arg(group));
    }
    const QString firstLine =
        QStringLiteral("%1 %2\n").arg(QString::number(group), preparedName(name));
    return Files::write(path, firstLine.toUtf8() + QByteArray("0\n").repeated(trailingLineCount),
                        error);
}
