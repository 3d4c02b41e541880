#pragma once

#include <QByteArray>
#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <functional>

#include "zel-manifest/FileDigest.h"

/// A fault of an answer that launchers accept.
enum class AnswerFault {
    Plain,         ///< It came over http.
    Redirected,    ///< It came after a redirect, which takes another request.
    Compressed,    ///< The body was sent compressed, so that its length is unknown.
    Chunked,       ///< The body was sent in chunks, so that its length is unknown.
    WithoutLength, ///< Its length is unknown for another reason.
    Cacheable,     ///< Caches may keep it without asking the server again.
    WebPage,       ///< It is a web page.
};

/// How the server answered a request.
struct PatchAnswer {
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    int status = 0;            ///< HTTP status code; 0 without an answer.
    QUrl asked;                ///< The URL requested.
    QUrl url;                  ///< The URL after redirects.
    bool hasLength = false;    ///< The header announces the length of the body.
    bool isCompressed = false; ///< The body was sent compressed.
    bool isChunked = false;    ///< The body was sent in chunks; never over HTTP/2.
    QByteArray cacheControl;   ///< The Cache-Control header.
    QByteArray contentType;    ///< The Content-Type header.

    /// The faults except Cacheable and WebPage, which are not faults of every answer.
    QList<AnswerFault> faults() const;
    bool isCacheable() const;
    bool isWebPage() const;
};

/// Fetches a published patch like the launcher: by plain GET requests, one at a time, with paths
/// appended to the base URL as text.
class PublishedPatch
{
public:
    /// @p baseUrl is what a player would enter in the launcher. A transfer that receives nothing
    /// for @p timeout milliseconds fails; the launcher would wait forever.
    PublishedPatch(const QString &baseUrl, int timeout);

    /// Fetches @p url, such as the manifest's, into @p content. Returns false, with the reason in
    /// @p error, when the launcher could not fetch it.
    bool fetchWhole(const QString &url, QByteArray *content, QString *error);

    /// Fetches the file of a manifest entry and computes its @p digest, without storing the file.
    /// @p progress is called with the number of bytes so far. Returns false, with the reason in
    /// @p error, when the launcher could not fetch it.
    bool fetchFile(const QString &url, FileDigest *digest, QString *error,
                   const std::function<void(qint64)> &progress = {});

    /// Requests the file of a manifest entry, but aborts the transfer as soon as its content
    /// begins. Returns false, with the reason in @p error, when the launcher could not fetch it.
    bool tryFile(const QString &url, QString *error);

    /// The answer to the latest request; a default-constructed one before the first.
    const PatchAnswer &answer() const { return newestAnswer; }

private:
    using Take = std::function<void(const QByteArray &)>;
    bool fetch(const QString &address, const Take &take, QString *error);
    void record(const QNetworkReply &reply);

    QString base;
    int transferTimeout;
    QNetworkAccessManager network;
    PatchAnswer newestAnswer;
};
