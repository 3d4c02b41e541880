#include "zel-manifest/PublishedPatch.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QScopedPointer>
#include <QUrl>

namespace
{

/// The size that the Content-Length of a finished reply promised, 0 when there is none to go by:
/// the launcher's own rule.
qint64 promisedSize(const QNetworkReply &reply)
{
    // A chunked body ends by itself, whatever length stands beside it.
    if (reply.rawHeader("Transfer-Encoding").toLower().contains("chunked")) {
        return 0;
    }
    // Of a body that it decompressed the library drops the length. Of a redirect that it followed
    // it sometimes keeps the header, the length in front of the body's own or alone.
    const QList<QByteArray> lengths = reply.rawHeader("Content-Length").split(',');
    if (lengths.size() == 1 && reply.hasRawHeader("Location")) {
        return 0;
    }
    return lengths.last().trimmed().toLongLong();
}

} // namespace

PublishedPatch::PublishedPatch(const QString &baseUrl, int patience)
    : base(baseUrl.trimmed())
    , transferTimeout(patience)
{
    if (!base.isEmpty() && !base.endsWith(u'/')) {
        base += u'/';
    }
}

bool PublishedPatch::fetchManifest(QByteArray *json, QString *error)
{
    json->clear();
    return fetch(
        QStringLiteral("manifest.json"), [json](const QByteArray &block) { json->append(block); },
        error);
}

bool PublishedPatch::fetchFile(const QString &url, FileDigest *digest, QString *error,
                               const std::function<void(qint64)> &progress)
{
    Sha256 hash;
    digest->size = 0;
    const auto take = [&](const QByteArray &block) {
        hash.addData(block);
        digest->size += block.size();
        if (progress) {
            progress(digest->size);
        }
    };
    if (!fetch(url, take, error)) {
        return false;
    }
    digest->sha256 = hash.hexResult();
    return true;
}

bool PublishedPatch::fetch(const QString &address,
                           const std::function<void(const QByteArray &)> &take, QString *error)
{
    const QUrl url(base + address, QUrl::TolerantMode);
    if (!url.isValid()) {
        *error = QStringLiteral("not a valid URL: ") + url.errorString();
        return false;
    }
    QNetworkRequest request(url);
    request.setTransferTimeout(transferTimeout);

    const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(network.get(request));
    qint64 received = 0;
    const auto takeWhatIsThere = [&] {
        const QByteArray block = reply->readAll();
        received += block.size();
        take(block);
    };
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QObject::connect(reply.get(), &QIODevice::readyRead, &loop, takeWhatIsThere);
    if (!reply->isFinished()) {
        loop.exec();
    }

    if (reply->error() == QNetworkReply::OperationCanceledError) {
        *error = QStringLiteral("the server sent nothing for %1 seconds")
                     .arg(double(transferTimeout) / 1000);
        return false;
    }
    if (reply->error() != QNetworkReply::NoError) {
        *error = reply->errorString();
        return false;
    }
    takeWhatIsThere();
    // The network library sometimes takes a connection that closes early for the end of the body.
    if (const qint64 promised = promisedSize(*reply); received < promised) {
        *error = QStringLiteral("the connection closed after %1 of %2 bytes")
                     .arg(received)
                     .arg(promised);
        return false;
    }
    return true;
}
