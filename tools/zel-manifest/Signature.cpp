#include "zel-manifest/Signature.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "zel-manifest/Manifest.h"

namespace
{

QString program()
{
    return QStandardPaths::findExecutable(QStringLiteral("minisign"));
}

} // namespace

bool Signature::canBeChecked()
{
    return !program().isEmpty();
}

bool Signature::check(const QByteArray &signature, const QByteArray &content, const QString &key,
                      QString *error)
{
    const QTemporaryDir dir;
    const QString contentFile = dir.filePath(QStringLiteral("content"));
    const QString signatureFile = dir.filePath(QStringLiteral("signature"));
    if (!writeWhole(contentFile, content, error) || !writeWhole(signatureFile, signature, error)) {
        return false;
    }
    QProcess minisign;
    minisign.start(program(),
                   {QStringLiteral("-V"),
                    QFile::exists(key) ? QStringLiteral("-p") : QStringLiteral("-P"), key,
                    QStringLiteral("-m"), contentFile, QStringLiteral("-x"), signatureFile});
    if (!minisign.waitForFinished(-1) || minisign.exitStatus() != QProcess::NormalExit ||
        minisign.exitCode() != 0) {
        *error = QString::fromLocal8Bit(minisign.readAllStandardError()).simplified();
        return false;
    }
    return true;
}
