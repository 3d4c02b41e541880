#pragma once

#include <QString>

class QNetworkReply;

/// What a patch server and everything that reads a patch from it agree on.
namespace PatchContract
{

/// The base URL as requests use it: @p baseUrl without white space around it and with one "/"
/// added if it does not end with one. Empty stays empty; no syntax is checked.
QString normalizedBaseUrl(const QString &baseUrl);

/// The size in bytes that the Content-Length of a finished reply promises for its body, 0 when it
/// promises none. A shorter body was cut off, even if the reply reports no error.
qint64 promisedSize(const QNetworkReply &reply);

} // namespace PatchContract
