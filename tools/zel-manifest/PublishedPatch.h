#pragma once

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QString>

#include <functional>

#include "zel-manifest/FileDigest.h"

class QNetworkReply;
class QUrl;

/// Fetches a published patch like the launcher: by plain GET requests, one at a time, with paths
/// appended to the base URL as text.
class PublishedPatch
{
public:
    /// @p baseUrl is what a player would enter in the launcher. A transfer that receives nothing
    /// for @p timeout milliseconds has failed, though the launcher would wait for ever.
    PublishedPatch(const QString &baseUrl, int timeout);

    /// Fetches the manifest into @p json. Returns false, with the reason in @p error, when the
    /// launcher could not.
    bool fetchManifest(QByteArray *json, QString *error);

    /// Fetches the file of a manifest's entry and puts what arrives in @p digest, without keeping
    /// it. @p progress is called with the number of bytes so far. Returns false, with the reason
    /// in @p error, when the launcher could not fetch it.
    bool fetchFile(const QString &url, FileDigest *digest, QString *error,
                   const std::function<void(qint64)> &progress = {});

private:
    bool fetch(const QString &address, const std::function<void(const QByteArray &)> &take,
               QString *error);

    QString base;
    int transferTimeout;
    QNetworkAccessManager network;
};
