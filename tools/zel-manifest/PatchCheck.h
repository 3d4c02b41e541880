#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include <functional>

#include "zel-manifest/FileDigest.h"
#include "zel-manifest/Manifest.h"
#include "zel-manifest/PublishedPatch.h"
#include "zel-manifest/Text.h"

/// A warning or an error that a check reports.
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

    /// @p baseUrl and @p timeout are those of PublishedPatch. @p findingReport is called at once
    /// for each finding.
    PatchCheck(const QString &baseUrl, int timeout, Report findingReport);

    /// Checks the base URL and fetches the manifest, which is published as @p name. Reports the
    /// reason and returns false when launchers could not fetch it.
    bool fetchManifest(const QString &name = QStringLiteral("manifest.json"));
    /// Fetches the signature of the manifest, which is beside it. Reports the reason and returns
    /// false on failure.
    bool fetchSignature(QByteArray *signature);
    /// Reports the reason and returns false unless @p signature is a signature of the manifest by
    /// the key @p key (see Signature).
    bool checkSignature(const QByteArray &signature, const QString &key);
    /// Parses the fetched manifest. Reports the reason and returns false when launchers could not
    /// use it.
    bool readManifest();
    const Manifest &manifest() const { return published; }

    /// Reports an error unless the manifest is byte for byte equal to @p expected, the content of
    /// the file @p name.
    void compareManifest(const QByteArray &expected, const QString &name);
    /// Fetches all files of the manifest and compares their sizes and digests with those listed.
    /// @p progress is called with the amount fetched so far.
    void compareFiles(const std::function<void(const FileAmount &done)> &progress = {});

    /// Reports the faults of the answers so far as findings of @p kind, one for each kind of fault.
    void reportFaults(Finding::Kind kind);

    /// The number of errors reported.
    qsizetype errorCount() const { return errors; }

private:
    /// The answers with the same fault.
    struct Faulty {
        qsizetype count = 0;
        QString first; ///< Path of the first one.
    };

    void checkBaseUrl();
    void recordFaults(const QString &path);
    void note(AnswerFault fault, const QString &path);
    bool isListed(const ManifestEntry &entry, const FileDigest &file);
    void warn(const QString &path, const QString &text);
    void fail(const QString &path, const QString &text);

    QString baseUrl;
    Report report;
    PublishedPatch patch;
    QString manifestName;
    QByteArray json;
    bool isWebPage = false; // whether the manifest was sent as one
    Manifest published;
    QMap<AnswerFault, Faulty> faulty;
    qsizetype answers = 0;
    qsizetype errors = 0;
};
