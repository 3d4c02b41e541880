#pragma once

#include <QByteArray>
#include <QString>

/// Signatures by the program minisign.
namespace Signature
{

/// True when minisign is installed.
bool canBeChecked();

/// Returns false, with the reason in @p error, unless @p signature is a signature of @p content by
/// the public key @p key, which is the key itself or the path of its file.
bool check(const QByteArray &signature, const QByteArray &content, const QString &key,
           QString *error);

} // namespace Signature
