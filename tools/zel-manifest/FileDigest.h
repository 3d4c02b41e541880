#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>
#include <QList>
#include <QStringList>

#include <functional>

#include "zel-manifest/Text.h"

struct evp_md_ctx_st;

/// Incremental SHA-256 by libcrypto.
class Sha256
{
public:
    Sha256();
    ~Sha256();
    Q_DISABLE_COPY_MOVE(Sha256)

    void addData(QByteArrayView data);
    /// The digest of all bytes in 64 lower-case hex digits; call it once. Empty when libcrypto
    /// provides no SHA-256.
    QByteArray hexResult();

private:
    evp_md_ctx_st *const context;
    bool healthy;
};

/// Size and digest of a file.
struct FileDigest {
    qint64 size = 0;   ///< Bytes.
    QByteArray sha256; ///< Lower-case hex digits.
};

/// Called on the caller's thread, about ten times a second, with the amount read so far.
using DigestProgress = std::function<void(const FileAmount &done)>;

/// Computes the digests of the files at @p paths, two at a time, and stores them in @p digests in
/// the same order. Returns false when a file could not be read whole, or changed while it was read;
/// @p errors then has a line for each such file, in the order of the paths.
bool digestFiles(const QByteArrayList &paths, QList<FileDigest> *digests, QStringList *errors,
                 const DigestProgress &progress = {});
