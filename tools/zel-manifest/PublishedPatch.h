#pragma once

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <functional>

#include "zel-manifest/FileDigest.h"

/// How the server answered a request.
struct PatchAnswer {
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    int status = 0;            ///< HTTP status code; 0 without an answer.
    QUrl url;                  ///< Where redirections led.
    bool hasLength = false;    ///< The header announces the length of the body.
    bool isCompressed = false; ///< The body travels compressed.
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
