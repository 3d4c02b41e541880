#pragma once

#include <QByteArray>
#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <functional>

#include "zel-manifest/FileDigest.h"

/// What is wrong with an answer that launchers accept.
enum class AnswerFault {
    Plain,         ///< It came over http.
    Redirected,    ///< Another request was needed.
    Compressed,    ///< The body travels compressed, so that its length is unknown.
    Chunked,       ///< The body travels in chunks, so that its length is unknown.
    WithoutLength, ///< Its length is unknown for another reason.
    Cacheable,     ///< Caches may keep it without asking the server again.
    WebPage,       ///< It is a web page.
};

/// How the server answered a request.
struct PatchAnswer {
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    int status = 0;            ///< HTTP status code; 0 without an answer.
    QUrl asked;                ///< What was asked for.
    QUrl url;                  ///< Where redirections led.
    bool hasLength = false;    ///< The header announces the length of the body.
    bool isCompressed = false; ///< The body travels compressed.
    bool isChunked = false;    ///< The body travels in chunks; never over HTTP/2.
    QByteArray cacheControl;   ///< The Cache-Control header.
    QByteArray contentType;    ///< The Content-Type header.

    /// The faults, but Cacheable and WebPage, which are none in every answer.
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
    /// for @p timeout milliseconds has failed, though the launcher would wait for ever.
    PublishedPatch(const QString &baseUrl, int timeout);

    /// Fetches the manifest, or what else @p url names, into @p content. Returns false, with the
    /// reason in @p error, when the launcher could not.
    bool fetchWhole(const QString &url, QByteArray *content, QString *error);

    /// Fetches the file of a manifest's entry and puts what arrives in @p digest, without keeping
    /// it. @p progress is called with the number of bytes so far. Returns false, with the reason
    /// in @p error, when the launcher could not fetch it.
    bool fetchFile(const QString &url, FileDigest *digest, QString *error,
                   const std::function<void(qint64)> &progress = {});

    /// Asks for the file of a manifest's entry, but drops the connection as soon as its content
    /// begins. Returns false, with the reason in @p error, when the launcher could not fetch it.
    bool tryFile(const QString &url, QString *error);

    /// The answer to the newest request; a default one before the first.
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
