#include "zel-manifest/FileDigest.h"

#include <QScopeGuard>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <fcntl.h>
#include <mutex>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

#include "zel-manifest/Console.h"

struct Sha256::Private {
    EVP_MD *method = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    EVP_MD_CTX *context = EVP_MD_CTX_new();
    bool healthy = false;
};

Sha256::Sha256()
    : d(std::make_unique<Private>())
{
    reset();
}

Sha256::~Sha256()
{
    EVP_MD_CTX_free(d->context);
    EVP_MD_free(d->method);
}

void Sha256::reset()
{
    d->healthy = d->method != nullptr && d->context != nullptr &&
                 EVP_DigestInit_ex2(d->context, d->method, nullptr) == 1;
}

void Sha256::addData(QByteArrayView data)
{
    d->healthy = d->healthy && EVP_DigestUpdate(d->context, data.data(), size_t(data.size())) == 1;
}

QByteArray Sha256::hexResult()
{
    QByteArray digest(EVP_MAX_MD_SIZE, Qt::Uninitialized);
    unsigned int size = 0;
    if (!d->healthy ||
        EVP_DigestFinal_ex(d->context, reinterpret_cast<uchar *>(digest.data()), &size) != 1) {
        return {};
    }
    d->healthy = false;
    digest.truncate(qsizetype(size));
    return digest.toHex();
}

namespace
{

/// Small enough that a block is still in the processor's cache when it is hashed.
constexpr size_t blockSize = 131072;

/// One thread hashes about as fast as a disk delivers; a second one fills the waits.
constexpr int threadCount = 2;

constexpr std::chrono::milliseconds progressInterval{100};

QString systemError(int code)
{
    return QString::fromStdString(std::generic_category().message(code));
}

bool isSameState(const struct stat &a, const struct stat &b)
{
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

/// What the threads share: each takes the next file that nobody has taken.
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
        Sha256 hash;
        std::vector<char> block(blockSize);
        for (qsizetype i = next++; i < files.size(); i = next++) {
            failures[size_t(i)] = digest(files.at(i), &hash, &block, &results[i]);
            ++doneFiles;
        }
        const std::lock_guard lock(mutex);
        ++endedThreads;
        ended.notify_one();
    }

    /// Returns true when all threads have ended, false when @p timeout has passed.
    bool waitForEnd(std::chrono::milliseconds timeout)
    {
        std::unique_lock lock(mutex);
        return ended.wait_for(lock, timeout, [this] { return endedThreads == threadCount; });
    }

    qsizetype filesSoFar() const { return doneFiles; }
    qint64 bytesSoFar() const { return doneBytes; }

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
    QString digest(const QByteArray &path, Sha256 *hash, std::vector<char> *block,
                   FileDigest *result)
    {
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
        if (before.st_size > off_t(block->size())) {
            ::posix_fadvise(file, 0, 0, POSIX_FADV_SEQUENTIAL);
        }

        hash->reset();
        result->size = 0;
        ssize_t count = 0;
        while ((count = ::read(file, block->data(), block->size())) != 0) {
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                return systemError(errno);
            }
            hash->addData(QByteArrayView(block->data(), count));
            result->size += count;
            doneBytes += count;
        }

        struct stat after = {};
        if (::fstat(file, &after) != 0 || !isSameState(before, after) ||
            result->size != after.st_size) {
            return QStringLiteral("changed while it was read");
        }
        result->sha256 = hash->hexResult();
        return result->sha256.isEmpty() ? QStringLiteral("libcrypto has no SHA-256") : QString();
    }

    const QByteArrayList &files;
    FileDigest *const results;
    std::vector<QString> failures;

    std::atomic<qsizetype> next = 0;
    std::atomic<qsizetype> doneFiles = 0;
    std::atomic<qint64> doneBytes = 0;
    std::mutex mutex;
    std::condition_variable ended;
    int endedThreads = 0;
};

} // namespace

bool digestFiles(const QByteArrayList &paths, QList<FileDigest> *digests, QStringList *errors,
                 const DigestProgress &progress)
{
    digests->clear();
    digests->resize(paths.size());
    DigestRun run(paths, digests);
    {
        std::vector<std::jthread> threads;
        threads.reserve(threadCount);
        for (int i = 0; i < threadCount; ++i) {
            threads.emplace_back([&run] { run.work(); });
        }
        while (!run.waitForEnd(progressInterval)) {
            if (progress) {
                progress(run.filesSoFar(), run.bytesSoFar());
            }
        }
    }
    *errors = run.errors();
    return errors->isEmpty();
}
