#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

#include "zel-manifest/Text.h"

/// One file of a manifest, as the launcher reads it.
struct ManifestEntry {
    QString path;    ///< Where the launcher stores the file, below the client folder.
    QString url;     ///< What the launcher appends to its base URL to fetch the file.
    qint64 size = 0; ///< Bytes.
    QString sha256;  ///< Lower-case hex digits.
};

/// The "manifest.json" of a patch.
struct Manifest {
    QString version;
    QList<ManifestEntry> files;

    /// The number of files listed and the sum of their sizes.
    FileAmount amount() const;

    /// The manifest as JSON in UTF-8, one line for each file, in the order of the list.
    QByteArray toJson() const;

    /// Reads a manifest as the launcher does: a missing "url" is the "path", entries without a
    /// "path" are dropped. A missing "size" is -1. Returns false, and leaves @p manifest unchanged,
    /// when @p json is not a JSON object.
    static bool fromJson(const QByteArray &json, Manifest *manifest);

    /// The text that the launcher has to append to a base URL to fetch the file at @p path. All
    /// bytes but letters, digits, "-", ".", "_", "~" and "/" are percent-encoded: the launcher
    /// encodes nothing that a URL may hold ("#" and "?" would end the path), and a single "%"
    /// would make it encode every other "%" once more.
    static QString urlOf(const QByteArray &path);
};

/// Returns the content of the file at @p path; nothing, with the reason in @p error, when it could
/// not be read.
std::optional<QByteArray> readWhole(const QString &path, QString *error);

/// Replaces the file @p target by @p content. Returns false, with the reason in @p error, when that
/// failed; the old file is then unchanged.
bool writeWhole(const QString &target, const QByteArray &content, QString *error);
