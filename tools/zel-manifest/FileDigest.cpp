#include "zel-manifest/FileDigest.h"

#include <QScopeGuard>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

Sha256::Sha256()
    : context(EVP_MD_CTX_new())
    , healthy(EVP_DigestInit_ex(context, EVP_sha256(), nullptr) == 1)
{
}

Sha256::~Sha256()
{
    EVP_MD_CTX_free(context);
}

void Sha256::addData(QByteArrayView data)
{
    healthy = healthy && EVP_DigestUpdate(context, data.data(), size_t(data.size())) == 1;
}

QByteArray Sha256::hexResult()
{
    QByteArray digest(EVP_MAX_MD_SIZE, Qt::Uninitialized);
    unsigned int size = 0;
    if (!healthy ||
        EVP_DigestFinal_ex(context, reinterpret_cast<uchar *>(digest.data()), &size) != 1) {
        return {};
    }
    digest.truncate(qsizetype(size));
    return digest.toHex();
}

namespace
{

/// Small enough to stay in the CPU cache between reading and hashing.
constexpr size_t blockSize = 131072;

constexpr int threadCount = 2;

constexpr std::chrono::milliseconds progressInterval{100};

QString systemError(int code)
{
    return QString::fromStdString(std::generic_category().message(code));
}

bool isSameTime(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// A work queue: each thread takes the next file.
class DigestRun
{
public:
    DigestRun(const QByteArrayList &paths, QList<FileDigest> *digests)
        : files(paths)
        , results(digests->data())
        , failures(size_t(paths.size()))
    {
    }

    void work()
    {
        std::vector<char> block(blockSize);
        for (qsizetype i = next++; i < files.size(); i = next++) {
            failures[size_t(i)] = digest(files.at(i), &block, &results[i]);
            ++doneFiles;
        }
    }

    FileAmount done() const { return {doneFiles, doneBytes}; }

    QStringList errors() const
    {
        QStringList lines;
        for (qsizetype i = 0; i < files.size(); ++i) {
            const QString &failure = failures[size_t(i)];
            if (!failure.isEmpty()) {
                lines.append(quoted(files.at(i)) + QLatin1String(": ") + failure);
            }
        }
        return lines;
    }

private:
    /// Returns why the file could not be read; an empty text on success.
    QString digest(const QByteArray &path, std::vector<char> *block, FileDigest *result)
    {
        // Without O_NONBLOCK, opening a FIFO would wait for a writer.
        const int file = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (file < 0) {
            return systemError(errno);
        }
        const auto closer = qScopeGuard([file] { ::close(file); });
        struct stat before = {};
        if (::fstat(file, &before) != 0) {
            return systemError(errno);
        }
        if (!S_ISREG(before.st_mode)) {
            return QStringLiteral("is no file any more");
        }

        Sha256 hash;
        ssize_t count = 0;
        while ((count = ::read(file, block->data(), block->size())) > 0) {
            hash.addData(QByteArrayView(block->data(), count));
            result->size += count;
            doneBytes += count;
        }
        struct stat after = {};
        if (count < 0 || ::fstat(file, &after) != 0) {
            return systemError(errno);
        }
        if (!isSameTime(before.st_mtim, after.st_mtim) || result->size != after.st_size) {
            return QStringLiteral("changed while it was read");
        }
        result->sha256 = hash.hexResult();
        return result->sha256.isEmpty() ? QStringLiteral("libcrypto has no SHA-256") : QString();
    }

    const QByteArrayList &files;
    FileDigest *const results;
    std::vector<QString> failures;

    std::atomic<qsizetype> next = 0;
    std::atomic<qsizetype> doneFiles = 0;
    std::atomic<qint64> doneBytes = 0;
};

} // namespace

bool digestFiles(const QByteArrayList &paths, QList<FileDigest> *digests, QStringList *errors,
                 const DigestProgress &progress)
{
    *digests = QList<FileDigest>(paths.size());
    DigestRun run(paths, digests);
    std::vector<std::future<void>> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i) {
        threads.push_back(std::async(std::launch::async, [&run] { run.work(); }));
    }
    for (const std::future<void> &thread : threads) {
        while (thread.wait_for(progressInterval) == std::future_status::timeout) {
            if (progress) {
                progress(run.done());
            }
        }
    }
    *errors = run.errors();
    return errors->isEmpty();
}
