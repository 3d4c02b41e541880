#include "client/Files.h"

namespace Files
{

bool open(QFile &file, QIODevice::OpenMode mode)
{
    return !file.fileName().contains(QChar::Null) && file.open(mode);
}

bool write(const QString &path, const QByteArray &bytes, QString *error)
{
    QFile file(path);
    if (!open(file, QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
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
