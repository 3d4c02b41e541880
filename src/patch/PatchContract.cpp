#include "patch/PatchContract.h"

#include <QNetworkReply>

QString PatchContract::normalizedBaseUrl(const QString &baseUrl)
{
    QString url = baseUrl.trimmed();
    if (!url.isEmpty() && !url.endsWith(u'/')) {
        url += u'/';
    }
    return url;
}

qint64 PatchContract::promisedSize(const QNetworkReply &reply)
{
    // A chunked body marks its own end; Content-Length is ignored then.
    if (reply.rawHeader("Transfer-Encoding").toLower().contains("chunked")) {
        return 0;
    }
    // QNetworkAccessManager drops the length of a body that it decompresses. After a redirect, the
    // header may hold the length of the redirect's body, alone or in front of the final one.
    const QList<QByteArray> lengths = reply.rawHeader("Content-Length").split(',');
    if (lengths.size() == 1 && reply.hasRawHeader("Location")) {
        return 0;
    }
    return lengths.last().trimmed().toLongLong();
}
