#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

#include "zel-manifest/FileDigest.h"
#include "zel-manifest/Manifest.h"
#include "zel-manifest/PublishedPatch.h"
#include "zel-manifest/Text.h"

/// What a check found.
struct Finding {
    enum Kind {
        Warning, ///< The operator should know it, but launchers get the patch right.
        Error,   ///< Launchers get something wrong, or nothing.
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

    /// Fetches the manifest, and judges the base URL. Returns false, with the reason reported, when
    /// launchers get no manifest.
    bool fetchManifest();
    const Manifest &manifest() const { return published; }

    /// Reports a difference unless the manifest is @p expected, byte for byte. @p name is where
    /// that one comes from.
    void compareManifest(const QByteArray &expected, const QString &name);
    /// Fetches all files of the manifest and compares their sizes and digests with those listed.
    /// @p progress is called with what is fetched so far.
    void compareFiles(const std::function<void(const FileAmount &done)> &progress = {});

    /// How many errors were reported.
    qsizetype errorCount() const { return errors; }

private:
    void checkBaseUrl();
    void compare(const ManifestEntry &entry, const FileDigest &file);
    void warn(const QString &path, const QString &text);
    void fail(const QString &path, const QString &text);

    QString baseUrl;
    Report report;
    PublishedPatch patch;
    QByteArray json;
    Manifest published;
    qsizetype errors = 0;
};
