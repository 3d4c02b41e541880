#include "zel-manifest/PublishedPatch.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QScopedPointer>
#include <QUrl>

#include "patch/PatchContract.h"

namespace
{

/// The value of a Cache-Control directive such as "max-age=60"; nothing without it.
QByteArray valueOf(const QByteArray &name, const QByteArrayList &directives)
{
    for (const QByteArray &directive : directives) {
        if (directive.startsWith(name + '=')) {
            return directive.mid(name.size() + 1);
        }
    }
    return {};
}

} // namespace

QList<AnswerFault> PatchAnswer::faults() const
{
    QList<AnswerFault> faults;
    if (asked.scheme() == QLatin1String("http")) {
        faults.append(AnswerFault::Plain);
    }
    if (url != asked) {
        // After a redirect Qt reports the headers of several answers.
        faults.append(AnswerFault::Redirected);
    } else if (isCompressed) {
        faults.append(AnswerFault::Compressed);
    } else if (isChunked) {
        faults.append(AnswerFault::Chunked);
    } else if (!hasLength) {
        faults.append(AnswerFault::WithoutLength);
    }
    return faults;
}

bool PatchAnswer::isCacheable() const
{
    QByteArrayList directives = cacheControl.toLower().split(',');
    for (QByteArray &directive : directives) {
        directive = directive.trimmed();
    }
    for (const char *forbidding : {"no-cache", "no-store", "private"}) {
        if (directives.contains(forbidding)) {
            return false;
        }
    }
    const QByteArray shared = valueOf("s-maxage", directives);
    return (shared.isEmpty() ? valueOf("max-age", directives) : shared) != "0";
}

bool PatchAnswer::isWebPage() const
{
    // After a redirect there may be several types; the last one is that of the final answer.
    return contentType.toLower().split(',').constLast().trimmed().startsWith("text/html");
}

PublishedPatch::PublishedPatch(const QString &baseUrl, int timeout)
    : base(PatchContract::normalizedBaseUrl(baseUrl))
    , transferTimeout(timeout)
{
}

bool PublishedPatch::fetchWhole(const QString &url, QByteArray *content, QString *error)
{
    content->clear();
    return fetch(
        url, [content](const QByteArray &block) { content->append(block); }, error);
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

bool PublishedPatch::tryFile(const QString &url, QString *error)
{
    return fetch(url, {}, error);
}

/// Fetches @p address and passes its content to @p take; if that is empty, stops when the content
/// begins.
bool PublishedPatch::fetch(const QString &address, const Take &take, QString *error)
{
    const QUrl url(base + address, QUrl::TolerantMode);
    if (!url.isValid()) {
        *error = QStringLiteral("not a valid URL: ") + url.errorString();
        return false;
    }
    newestAnswer.asked = url;
    QNetworkRequest request(url);
    request.setTransferTimeout(transferTimeout);

    const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(network.get(request));
    qint64 received = 0;
    bool enough = false;
    const auto takeReceived = [&] {
        record(*reply);
        if (!take && newestAnswer.status < 400) {
            enough = true;
            reply->abort();
            return;
        }
        const QByteArray block = reply->readAll();
        received += block.size();
        if (take) {
            take(block);
        }
    };
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QObject::connect(reply.get(), &QIODevice::readyRead, &loop, takeReceived);
    if (!reply->isFinished()) {
        loop.exec();
    }

    if (enough) {
        return true;
    }
    record(*reply);
    if (newestAnswer.error == QNetworkReply::TimeoutError) {
        *error = QStringLiteral("the server sent nothing for %1 seconds")
                     .arg(double(transferTimeout) / 1000);
        return false;
    }
    if (reply->error() != QNetworkReply::NoError) {
        *error = reply->errorString();
        return false;
    }
    takeReceived();
    // Qt sometimes treats an early close of the connection as the end of the body.
    if (const qint64 promised = PatchContract::promisedSize(*reply); received < promised) {
        *error = QStringLiteral("the connection closed after %1 of %2 bytes")
                     .arg(received)
                     .arg(promised);
        return false;
    }
    return true;
}

void PublishedPatch::record(const QNetworkReply &reply)
{
    // Before Qt 6.10, a transfer that times out reports that it was cancelled.
    newestAnswer.error = reply.error() == QNetworkReply::OperationCanceledError
                             ? QNetworkReply::TimeoutError
                             : reply.error();
    newestAnswer.status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    newestAnswer.url = reply.url();
    newestAnswer.hasLength = reply.header(QNetworkRequest::ContentLengthHeader).isValid();
    newestAnswer.isCompressed = reply.hasRawHeader("Content-Encoding");
    newestAnswer.isChunked = reply.rawHeader("Transfer-Encoding").toLower().contains("chunked");
    newestAnswer.cacheControl = reply.rawHeader("Cache-Control");
    newestAnswer.contentType = reply.rawHeader("Content-Type");
}
