#include "zel-manifest/PatchCheck.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

#include "zel-manifest/Signature.h"

namespace
{

/// A fault and its consequence.
struct FaultText {
    QString name;
    QString effect;
};

FaultText faultText(AnswerFault fault)
{
    const QString unknownLength = QStringLiteral(
        "without a length the launcher shows no progress and may keep a truncated file");
    switch (fault) {
    case AnswerFault::Plain:
        return {QStringLiteral("over http"),
                QStringLiteral("anyone on the network path can replace them")};
    case AnswerFault::Redirected:
        return {QStringLiteral("redirected"), QStringLiteral("each takes two requests")};
    case AnswerFault::Compressed:
        return {QStringLiteral("compressed"), unknownLength};
    case AnswerFault::Chunked:
        return {QStringLiteral("in chunks"), unknownLength};
    case AnswerFault::WithoutLength:
        return {QStringLiteral("without a length"), unknownLength};
    case AnswerFault::Cacheable:
        return {QStringLiteral("may be kept by caches"),
                QStringLiteral("players then get an old manifest")};
    case AnswerFault::WebPage:
        return {QStringLiteral("a web page (text/html)"),
                QStringLiteral("a missing file has to be answered with an error")};
    }
    return {};
}

} // namespace

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
    recordFaults(manifestName);
    if (patch.answer().url == patch.answer().asked && patch.answer().isCacheable()) {
        note(AnswerFault::Cacheable, manifestName);
    }
    isWebPage = patch.answer().isWebPage();
    return true;
}

bool PatchCheck::fetchSignature(QByteArray *signature)
{
    const QString name = manifestName + QStringLiteral(".minisig");
    QString error;
    if (!patch.fetchWhole(Manifest::urlOf(name.toUtf8()), signature, &error)) {
        fail(name, error);
        return false;
    }
    return true;
}

bool PatchCheck::checkSignature(const QByteArray &signature, const QString &key)
{
    QString error;
    if (!Signature::check(signature, json, key, &error)) {
        fail(manifestName, QStringLiteral("is not signed by the key: ") + error);
        return false;
    }
    return true;
}

bool PatchCheck::readManifest()
{
    if (!Manifest::fromJson(json, &published)) {
        if (isWebPage) {
            note(AnswerFault::WebPage, manifestName);
        }
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
            recordFaults(entry.path);
            if (!isListed(entry, file) && patch.answer().isWebPage()) {
                note(AnswerFault::WebPage, entry.path);
            }
        } else {
            fail(entry.path, error);
        }
        ++done.files;
        done.bytes += std::max<qint64>(entry.size, 0);
    }
}

void PatchCheck::reportFaults(Finding::Kind kind)
{
    for (auto it = faulty.cbegin(); it != faulty.cend(); ++it) {
        const auto [name, effect] = faultText(it.key());
        const QString text = QStringLiteral("%1: %2 of %3 answers, first %4; %5")
                                 .arg(name, QString::number(it->count), QString::number(answers),
                                      quoted(it->first), effect);
        kind == Finding::Error ? fail({}, text) : warn({}, text);
    }
}

/// Records the faults of the latest answer, the one for @p path.
void PatchCheck::recordFaults(const QString &path)
{
    ++answers;
    const QList<AnswerFault> faults = patch.answer().faults();
    for (const AnswerFault fault : faults) {
        note(fault, path);
    }
}

void PatchCheck::note(AnswerFault fault, const QString &path)
{
    Faulty &noted = faulty[fault];
    if (++noted.count == 1) {
        noted.first = path;
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

/// Reports an error and returns false unless the file is as listed.
bool PatchCheck::isListed(const ManifestEntry &entry, const FileDigest &file)
{
    if (entry.size >= 0 && file.size != entry.size) {
        fail(entry.path, QStringLiteral("%1 bytes are published, %2 are listed")
                             .arg(QString::number(file.size), QString::number(entry.size)));
        return false;
    }
    if (entry.sha256.isEmpty()) {
        warn(entry.path, QStringLiteral("the manifest has no digest to compare with"));
        return true;
    }
    if (entry.sha256.compare(QString::fromLatin1(file.sha256), Qt::CaseInsensitive) != 0) {
        fail(entry.path, QStringLiteral("the content is not what is listed"));
        return false;
    }
    return true;
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
