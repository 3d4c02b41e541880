#include "client/WholeFile.h"

#include <QFile>

namespace WholeFile
{

bool write(const QString &path, const QByteArray &bytes, QString *error)
{
    QFile file(path);
    if (path.isEmpty() ||
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

} // namespace WholeFile
