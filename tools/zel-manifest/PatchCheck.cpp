#include "zel-manifest/PatchCheck.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

PatchCheck::PatchCheck(const QString &url, int timeout, Report findingReport)
    : baseUrl(url)
    , report(std::move(findingReport))
    , patch(url, timeout)
{
}

bool PatchCheck::fetchManifest(const QString &name)
{
    manifestName = name;
    checkBaseUrl();
    QString error;
    if (!patch.fetchWhole(Manifest::urlOf(name.toUtf8()), &json, &error)) {
        fail(manifestName, error);
        return false;
    }
    if (!Manifest::fromJson(json, &published)) {
        fail(manifestName, QStringLiteral("is not a JSON object"));
        return false;
    }
    return true;
}

void PatchCheck::compareManifest(const QByteArray &expected, const QString &name)
{
    if (json != expected) {
        fail(manifestName, QStringLiteral("is not the one in ") + quoted(name));
    }
}

void PatchCheck::compareFiles(const std::function<void(const FileAmount &)> &progress)
{
    FileAmount done;
    for (const ManifestEntry &entry : std::as_const(published.files)) {
        const auto fileProgress = [&](qint64 received) {
            if (progress) {
                progress({done.files, done.bytes + received});
            }
        };
        FileDigest file;
        QString error;
        if (patch.fetchFile(entry.url, &file, &error, fileProgress)) {
            compare(entry, file);
        } else {
            fail(entry.path, error);
        }
        ++done.files;
        done.bytes += std::max<qint64>(entry.size, 0);
    }
}

/// Warns of characters in the base URL that change the URLs of files.
void PatchCheck::checkBaseUrl()
{
    static const QRegularExpression lonePercent(QStringLiteral("%(?![0-9A-Fa-f]{2})"));
    if (baseUrl.contains(u'#')) {
        warn({}, QStringLiteral("the base URL has a \"#\": what follows it, and so the name of "
                                "every file, never reaches the server"));
    }
    if (baseUrl.contains(lonePercent)) {
        warn({}, QStringLiteral("the base URL has a \"%\" that encodes nothing: the launcher then "
                                "takes every \"%\" in the URL of a file for a character of its "
                                "name"));
    }
}

void PatchCheck::compare(const ManifestEntry &entry, const FileDigest &file)
{
    if (entry.size >= 0 && file.size != entry.size) {
        fail(entry.path, QStringLiteral("%1 bytes are published, %2 are listed")
                             .arg(QString::number(file.size), QString::number(entry.size)));
    } else if (entry.sha256.isEmpty()) {
        warn(entry.path, QStringLiteral("the manifest has no digest to compare with"));
    } else if (entry.sha256.compare(QString::fromLatin1(file.sha256), Qt::CaseInsensitive) != 0) {
        fail(entry.path, QStringLiteral("the content is not what is listed"));
    }
}

void PatchCheck::warn(const QString &path, const QString &text)
{
    report({Finding::Warning, path, text});
}

void PatchCheck::fail(const QString &path, const QString &text)
{
    ++errors;
    report({Finding::Error, path, text});
}
