#pragma once

#include <QByteArray>
#include <QString>

/// Signatures made with the program minisign, which checks them, too.
namespace Signature
{

/// True when minisign is installed.
bool canBeChecked();

/// Returns false, with the reason in @p error, unless @p signature is one of @p content by the
/// public key @p key: the key itself, or the path of its file.
bool check(const QByteArray &signature, const QByteArray &content, const QString &key,
           QString *error);

} // namespace Signature
