#pragma once

#include <QString>

class QNetworkReply;

/// The rules that every reader of a patch server follows.
namespace PatchContract
{

/// The base URL for requests: @p baseUrl trimmed, with "/" appended unless it ends with one. Empty
/// stays empty; the syntax is not checked.
QString normalizedBaseUrl(const QString &baseUrl);

/// The size in bytes of a finished reply's body according to its Content-Length, 0 if unknown. A
/// shorter body was truncated, even if the reply reports no error.
qint64 promisedSize(const QNetworkReply &reply);

} // namespace PatchContract
