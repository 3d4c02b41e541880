#include "client/Files.h"

#include <QFileInfo>

namespace Files
{

bool isPath(const QString &path)
{
    return !path.isEmpty() && !path.contains(QChar::Null);
}

bool exists(const QString &path)
{
    return isPath(path) && QFileInfo::exists(path);
}

bool openToRead(QFile &file, QIODevice::OpenMode mode)
{
    return isPath(file.fileName()) && QFileInfo(file).isFile() && file.open(mode);
}

bool write(const QString &path, const QByteArray &bytes, QString *error)
{
    QFile file(path);
    if (!isPath(path) ||
        !file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
        return fail(error, QStringLiteral("Nao foi possivel gravar %1").arg(path));
    }
    if (file.write(bytes) != bytes.size()) {
        return fail(error, QStringLiteral("Falha ao gravar %1").arg(path));
    }
    return true;
}

bool fail(QString *error, const QString &text)
{
    if (error != nullptr) {
        *error = text;
    }
    return false;
}

} // namespace Files
