#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include <functional>

#include "zel-manifest/FileDigest.h"
#include "zel-manifest/Manifest.h"
#include "zel-manifest/PublishedPatch.h"
#include "zel-manifest/Text.h"

/// What a check found.
struct Finding {
    enum Kind {
        Warning, ///< Launchers still install the patch correctly.
        Error,   ///< Launchers fail, or install something else.
    };
    Kind kind;
    QString path; ///< The file concerned, as the manifest lists it; empty for the base URL.
    QString text; ///< For the operator, in English.
};

/// Compares a published patch with its manifest.
class PatchCheck
{
public:
    using Report = std::function<void(const Finding &)>;

    /// @p baseUrl and @p timeout are those of PublishedPatch. @p findingReport is called for each
    /// finding as soon as it is made.
    PatchCheck(const QString &baseUrl, int timeout, Report findingReport);

    /// Checks the base URL and fetches the manifest, which is published as @p name. Returns false,
    /// with the reason reported, when launchers could not fetch it.
    bool fetchManifest(const QString &name = QStringLiteral("manifest.json"));
    /// Fetches the signature of the manifest, which is beside it. Returns false, with the reason
    /// reported, when that failed.
    bool fetchSignature(QByteArray *signature);
    /// Returns false, with the reason reported, unless @p signature is one of the manifest by the
    /// key @p key (see Signature).
    bool checkSignature(const QByteArray &signature, const QString &key);
    /// Reads the manifest. Returns false, with the reason reported, when launchers could not use
    /// it.
    bool readManifest();
    const Manifest &manifest() const { return published; }

    /// Reports an error unless the manifest is byte for byte @p expected, the content of the file
    /// @p name.
    void compareManifest(const QByteArray &expected, const QString &name);
    /// Fetches all files of the manifest and compares their sizes and digests with those listed.
    /// @p progress is called with what is fetched so far.
    void compareFiles(const std::function<void(const FileAmount &done)> &progress = {});

    /// Reports how the answers so far could be better, each kind of fault once.
    void reportFaults(Finding::Kind kind);

    /// How many errors were reported.
    qsizetype errorCount() const { return errors; }

private:
    /// Answers of one fault.
    struct Faulty {
        qsizetype count = 0;
        QString first; ///< Path of the first one.
    };

    void checkBaseUrl();
    void judge(const QString &path);
    void note(AnswerFault fault, const QString &path);
    bool isListed(const ManifestEntry &entry, const FileDigest &file);
    void warn(const QString &path, const QString &text);
    void fail(const QString &path, const QString &text);

    QString baseUrl;
    Report report;
    PublishedPatch patch;
    QString manifestName;
    QByteArray json;
    bool isWebPage = false; // the manifest
    Manifest published;
    QMap<AnswerFault, Faulty> faulty;
    qsizetype answers = 0;
    qsizetype errors = 0;
};
