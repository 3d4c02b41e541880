#include "support/files/Disk.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QThread>

#include <atomic>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "zel-manifest/FileDigest.h"

using namespace Qt::StringLiterals;

namespace
{

QByteArray sha256(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
}

using Writer = std::function<void(int file, int count)>;

constexpr off_t longSize = 256 << 20; // takes longer to read than the file system's clock ticks

} // namespace

Q_DECLARE_METATYPE(Writer)

class TestFileDigest : public FolderTest
{
    Q_OBJECT

private slots:
    void digestsAreThoseOfSha256_data();
    void digestsAreThoseOfSha256();
    void digestsKeepTheOrderOfThePaths();
    void noFilesHaveNoDigests();
    void progressGoesFromTheStartToTheEnd();
    void everyFileThatCannotBeReadIsNamed();
    void aReadErrorIsAnError();
    void aFileThatChangesWhileItIsReadIsAnError_data();
    void aFileThatChangesWhileItIsReadIsAnError();
    void aFileWithoutATrueSizeIsAnError();
    void aHashStartsOverAfterReset();

private:
    QByteArray place(const QString &name) const { return at(name).toUtf8(); }
};

void TestFileDigest::digestsAreThoseOfSha256_data()
{
    QTest::addColumn<qsizetype>("size");
    for (const int size : {0, 1, 55, 56, 64, 4096, 131071, 131072, 131073, 3 * 131072 + 17}) {
        QTest::addRow("%d bytes", size) << qsizetype(size);
    }
}

void TestFileDigest::digestsAreThoseOfSha256()
{
    QFETCH(const qsizetype, size);
    QByteArray content(size, '\0');
    for (qsizetype i = 0; i < size; ++i) {
        content[i] = char((i * 7919) >> 3);
    }
    Disk::write(at(u"file"_s), content);
    QList<FileDigest> digests;
    QStringList errors{u"old"_s};
    QVERIFY(digestFiles({place(u"file"_s)}, &digests, &errors));
    QCOMPARE(errors, QStringList());
    QCOMPARE(digests.size(), 1);
    QCOMPARE(digests.first().size, size);
    QCOMPARE(digests.first().sha256, sha256(content));
}

void TestFileDigest::digestsKeepTheOrderOfThePaths()
{
    QByteArrayList paths;
    QByteArrayList contents;
    QRandomGenerator random(3);
    for (int i = 0; i < 300; ++i) {
        const QString name = QString::number(i);
        contents.append(name.toLatin1().repeated(int(random.bounded(30000))));
        Disk::write(at(name), contents.constLast());
        paths.append(place(name));
    }
    QList<FileDigest> digests(2, {7, "old"});
    QStringList errors;
    QVERIFY(digestFiles(paths, &digests, &errors));
    QCOMPARE(digests.size(), paths.size());
    for (qsizetype i = 0; i < paths.size(); ++i) {
        QCOMPARE(digests.at(i).size, contents.at(i).size());
        QCOMPARE(digests.at(i).sha256, sha256(contents.at(i)));
    }
}

void TestFileDigest::noFilesHaveNoDigests()
{
    QList<FileDigest> digests{{7, "old"}};
    QStringList errors;
    QVERIFY(digestFiles({}, &digests, &errors));
    QVERIFY(digests.isEmpty());
}

void TestFileDigest::progressGoesFromTheStartToTheEnd()
{
    constexpr qint64 size = 512 << 20; // takes longer than a tenth of a second
    Disk::write(at(u"short"_s), "x");
    Disk::write(at(u"long"_s), {});
    QCOMPARE(::truncate(place(u"long"_s).constData(), size), 0);
    FileAmount last;
    int calls = 0;
    bool inOrder = true;
    QList<FileDigest> digests;
    QStringList errors;
    const QThread *const thread = QThread::currentThread();
    QVERIFY(digestFiles({place(u"short"_s), place(u"long"_s)}, &digests, &errors,
                        [&](const FileAmount &done) {
                            ++calls;
                            inOrder &= thread == QThread::currentThread() &&
                                       done.files >= last.files && done.bytes >= last.bytes;
                            last = done;
                        }));
    QVERIFY(calls > 0);
    QVERIFY(inOrder);
    QCOMPARE(last.files, 1);
    QVERIFY(last.bytes > 1 && last.bytes <= size + 1);
}

void TestFileDigest::everyFileThatCannotBeReadIsNamed()
{
    Disk::write(at(u"b"_s), "x");
    Disk::makeFolder(at(u"d"_s));
    const QByteArrayList paths{place(u"a"_s), place(u"b"_s), place(u"d"_s), place(u"fifo"_s),
                               place(u"c"_s)};
    QCOMPARE(::mkfifo(paths.at(3).constData(), 0600), 0);
    QList<FileDigest> digests;
    QStringList errors;
    QVERIFY(!digestFiles(paths, &digests, &errors));
    QCOMPARE(errors, QStringList({quoted(paths.at(0)) + u": No such file or directory"_s,
                                  quoted(paths.at(2)) + u": is no file any more"_s,
                                  quoted(paths.at(3)) + u": is no file any more"_s,
                                  quoted(paths.at(4)) + u": No such file or directory"_s}));
}

void TestFileDigest::aReadErrorIsAnError()
{
    QList<FileDigest> digests;
    QStringList errors;
    QVERIFY(!digestFiles({"/proc/self/mem"}, &digests, &errors)); // nothing is at address 0
    QCOMPARE(errors, QStringList{u"\"/proc/self/mem\": Input/output error"_s});
}

void TestFileDigest::aFileThatChangesWhileItIsReadIsAnError_data()
{
    QTest::addColumn<Writer>("change");
    QTest::newRow("it grows") << Writer(
        [](int file, int count) { ::pwrite(file, "y", 1, longSize + count); });
    QTest::newRow("it is written over") << Writer([](int file, int) { ::pwrite(file, "y", 1, 0); });
    QTest::newRow("its time changes by seconds") << Writer([](int file, int count) {
        const timespec times[2] = {{count, 0}, {count, 0}};
        ::futimens(file, times);
    });
}

void TestFileDigest::aFileThatChangesWhileItIsReadIsAnError()
{
    QFETCH(const Writer, change);
    Disk::write(at(u"log"_s), {});
    const QByteArray log = place(u"log"_s);
    QCOMPARE(::truncate(log.constData(), longSize), 0);
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        const int file = ::open(log.constData(), O_WRONLY | O_CLOEXEC);
        for (int count = 0; !stop; ++count) {
            change(file, count);
        }
        ::close(file);
    });
    const auto end = qScopeGuard([&] {
        stop = true;
        writer.join();
    });
    QList<FileDigest> digests;
    QStringList errors;
    // The writer may get its turn late.
    QVERIFY(QTest::qWaitFor([&] { return !digestFiles({log}, &digests, &errors); }, 60000));
    QCOMPARE(errors, QStringList{quoted(log) + u": changed while it was read"_s});
}

void TestFileDigest::aFileWithoutATrueSizeIsAnError()
{
    QList<FileDigest> digests;
    QStringList errors;
    QVERIFY(!digestFiles({"/proc/self/status"}, &digests, &errors)); // its size is 0
    QCOMPARE(errors, QStringList{u"\"/proc/self/status\": changed while it was read"_s});
}

void TestFileDigest::aHashStartsOverAfterReset()
{
    Sha256 hash;
    hash.addData("abc");
    hash.reset();
    hash.addData("a");
    hash.addData("bc");
    QCOMPARE(hash.hexResult(),
             "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_ba);
    QCOMPARE(hash.hexResult(), QByteArray()); // needs a reset first
}

ZEL_TEST_MAIN(TestFileDigest)

#include "tst_filedigest.moc"
