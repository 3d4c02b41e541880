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

#include "support/process/ProcessTable.h"
#include "zel-manifest/FileDigest.h"

using namespace Qt::StringLiterals;

namespace
{

using Writer = std::function<void(int file, int count)>;

constexpr off_t longSize =
    256 << 20; // takes longer to read than one tick of the file system's clock

} // namespace

Q_DECLARE_METATYPE(Writer)

class TestFileDigest : public FolderTest
{
    Q_OBJECT

private slots:
    void digestsAreThoseOfSha256InTheOrderOfThePaths();
    void progressGoesFromTheStartToTheEnd();
    void everyFileThatCannotBeReadIsNamed();
    void descriptorZeroIsADescriptor();
    void aFileThatChangesWhileItIsReadIsAnError_data();
    void aFileThatChangesWhileItIsReadIsAnError();

private:
    QByteArray place(const QString &name) const { return at(name).toUtf8(); }
};

void TestFileDigest::digestsAreThoseOfSha256InTheOrderOfThePaths()
{
    QList<qsizetype> sizes{0, 1, 55, 56, 64, 4096, 131071, 131072, 131073, 3 * 131072 + 17};
    QRandomGenerator random(3);
    while (sizes.size() < 300) {
        sizes.append(random.bounded(30000));
    }
    QByteArrayList paths;
    QByteArrayList contents;
    for (const qsizetype size : std::as_const(sizes)) {
        QByteArray content(size, '\0');
        for (qsizetype i = 0; i < size; ++i) {
            content[i] = char((i * 7919 + size) >> 3);
        }
        const QString name = QString::number(paths.size());
        Disk::write(at(name), content);
        contents.append(content);
        paths.append(place(name));
    }
    QList<FileDigest> digests(2, {7, "old"});
    QStringList errors{u"old"_s};
    QVERIFY(digestFiles({}, &digests, &errors));
    QVERIFY(digests.isEmpty());
    const qsizetype open = ProcessTable::openDescriptors();
    QVERIFY(digestFiles(paths, &digests, &errors));
    QCOMPARE(ProcessTable::openDescriptors(), open);
    QCOMPARE(errors, QStringList());
    QCOMPARE(digests.size(), paths.size());
    for (qsizetype i = 0; i < paths.size(); ++i) {
        QCOMPARE(digests.at(i).size, contents.at(i).size());
        QCOMPARE(digests.at(i).sha256,
                 QCryptographicHash::hash(contents.at(i), QCryptographicHash::Sha256).toHex());
    }
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
    Disk::write(at(u"good"_s), "x");
    Disk::makeFolder(at(u"folder"_s));
    QCOMPARE(::mkfifo(place(u"fifo"_s).constData(), 0600), 0);
    const QByteArray none = place(u"none"_s);
    QList<FileDigest> digests;
    QStringList errors;
    QVERIFY(!digestFiles({none, place(u"good"_s), place(u"folder"_s), place(u"fifo"_s), none,
                          "/proc/self/mem",     // nothing is at address 0
                          "/proc/self/status"}, // its size is 0
                         &digests, &errors));
    QCOMPARE(errors, QStringList({quoted(none) + u": No such file or directory"_s,
                                  quoted(place(u"folder"_s)) + u": is no file any more"_s,
                                  quoted(place(u"fifo"_s)) + u": is no file any more"_s,
                                  quoted(none) + u": No such file or directory"_s,
                                  u"\"/proc/self/mem\": Input/output error"_s,
                                  u"\"/proc/self/status\": changed while it was read"_s}));
}

void TestFileDigest::descriptorZeroIsADescriptor()
{
    Disk::write(at(u"file"_s), "content");
    const int input = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO); // the first file opened gets its number
    QList<FileDigest> digests;
    QStringList errors;
    const bool isRead = digestFiles({place(u"file"_s)}, &digests, &errors);
    ::dup2(input, STDIN_FILENO);
    ::close(input);
    QVERIFY2(isRead, qPrintable(errors.join(u'\n')));
    QCOMPARE(digests.constFirst().size, 7);
}

void TestFileDigest::aFileThatChangesWhileItIsReadIsAnError_data()
{
    QTest::addColumn<Writer>("change");
    QTest::newRow("it grows") << Writer(
        [](int file, int count) { ::pwrite(file, "y", 1, longSize + count); });
    QTest::newRow("it is overwritten") << Writer([](int file, int) { ::pwrite(file, "y", 1, 0); });
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
    // The writer may be scheduled late.
    QVERIFY(QTest::qWaitFor([&] { return !digestFiles({log}, &digests, &errors); }, 60000));
    QCOMPARE(errors, QStringList{quoted(log) + u": changed while it was read"_s});
}

ZEL_TEST_MAIN(TestFileDigest)

#include "tst_filedigest.moc"
