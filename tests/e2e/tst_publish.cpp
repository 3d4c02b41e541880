#include "support/TestMain.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "patch/PatchManager.h"
#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"
#include "support/files/HostileNames.h"
#include "support/network/NginxServer.h"
#include "zel-manifest/Manifest.h"

namespace fs = std::filesystem;

namespace
{

constexpr int fileCount = 5000;
constexpr int folderCount = 150;

/// Where files cost no writes to a disk, each of which the launcher waits for.
QString memoryFolder()
{
    const QFileInfo memory(QStringLiteral("/dev/shm"));
    const QString parent =
        memory.isDir() && memory.isWritable() ? memory.filePath() : QDir::tempPath();
    return parent + QStringLiteral("/zel-publish-XXXXXX");
}

fs::path place(const QString &folder, const QByteArray &path)
{
    return fs::path(folder.toStdString()) / path.toStdString();
}

void write(const fs::path &file, const QByteArray &content)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc) << content.toStdString();
    QCOMPARE(fs::file_size(file), size_t(content.size()));
}

QByteArray read(const fs::path &file)
{
    std::error_code error;
    const auto size = fs::file_size(file, error);
    QByteArray content(error ? 0 : qsizetype(size), Qt::Uninitialized);
    std::ifstream(file, std::ios::binary).read(content.data(), content.size());
    return content;
}

/// The paths of all files below a folder, in bytewise order.
QByteArrayList filesIn(const QString &folder)
{
    QByteArrayList paths;
    for (const fs::directory_entry &entry :
         fs::recursive_directory_iterator(folder.toStdString())) {
        if (!entry.is_directory()) {
            paths.append(QByteArray::fromStdString(
                entry.path().lexically_relative(folder.toStdString()).native()));
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

struct Outcome {
    int exitCode;
    QString messages; ///< What was on standard error.
};

Outcome runManifest(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(ZEL_MANIFEST), arguments);
    process.waitForFinished(-1);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

/// A patch of hostile names, made once, published by the real program and served by a real nginx.
class TestPublish : public TestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void everyFileIsListedAsItIs();
    void launchersGetThePatchByteForByte();
    void theCheckAsksForWhatTheLauncherAsksFor();
    void launchersGetAPatchBelowAUrlPrefix();
    void theLauncherCouldNotReplaceAFileWithARefusedLongName();
    void theLauncherWouldStoreARefusedColonElsewhere();
    void theCheckFindsWhatIsWrong_data();
    void theCheckFindsWhatIsWrong();
    void theCheckGoesOnAfterADifference();
    void theCheckFindsAnOldManifest();
    void theCheckNeedsAManifest_data();
    void theCheckNeedsAManifest();
    void theCheckWarnsOfBaseUrlsThatLoseNames();

private:
    QByteArrayList makeNames() const;
    void publish();
    void updateAndCompare();
    /// Runs the launcher's updater; its last message.
    QString update(const QString &client, const QString &path) const;

    QTemporaryDir dir{memoryFolder()};
    QString patch;
    QByteArrayList names;
    NginxServer nginx;
};

QByteArrayList TestPublish::makeNames() const
{
    QRandomGenerator random(5000);
    QSet<QString> taken{QStringLiteral("manifest.json")};
    QByteArrayList folders{QByteArray()};
    const auto fresh = [&] {
        while (true) {
            QByteArray name = hostileName(&random, random.bounded(50) == 0 ? 60 : 12);
            const QByteArray &folder = folders.at(random.bounded(int(folders.size())));
            const QByteArray path =
                folder.isEmpty() && name.startsWith(':') ? 'x' + name : folder + name;
            const QString asOnWindows = QString::fromUtf8("/" + path).toCaseFolded();
            if (!taken.contains(asOnWindows)) {
                taken.insert(asOnWindows);
                return path;
            }
        }
    };
    while (folders.size() < folderCount) {
        const QByteArray folder = fresh();
        if (folder.count('/') < 4) {
            folders.append(folder + '/');
        }
    }
    QByteArrayList result{".hidden",
                          "~",
                          "%",
                          "%2e%2e",
                          "a b",
                          "a+b",
                          "index.html",
                          "x.gz",
                          "sub/manifest.json",
                          "\xEF\xBB\xBF"
                          "bom",
                          "x/\xEF\xBB\xBF"
                          "bom",
                          "http:/host/file",
                          QByteArray(248, 'n')};
    // As an encoded URL this is longer than most servers allow without being told.
    QByteArray deep;
    for (int i = 0; i < 15; ++i) {
        deep += QByteArray("\xC3\xA7").repeated(110) + QByteArray::number(i) + '/';
    }
    result.append(deep + "file");
    while (result.size() < fileCount) {
        result.append(fresh());
    }
    return result;
}

void TestPublish::initTestCase()
{
    if (NginxServer::program().isEmpty()) {
        QSKIP("nginx is not installed");
    }
    patch = dir.filePath(QStringLiteral("patch"));
    names = makeNames();
    QCOMPARE(names.size(), fileCount);
    QRandomGenerator random(1);
    for (const QByteArray &name : std::as_const(names)) {
        // Most are small, some need many reads, some are empty.
        const int kind = random.bounded(100);
        const int size = kind == 0 ? random.bounded(3000000) : kind < 5 ? 0 : random.bounded(5000);
        QList<quint32> words(size / 4 + 1);
        random.fillRange(words.data(), words.size());
        write(place(patch, name), {reinterpret_cast<const char *>(words.constData()), size});
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    std::sort(names.begin(), names.end());
    QCOMPARE(filesIn(patch), names);
    QString error;
    QVERIFY2(nginx.start(dir.path(), &error), qPrintable(error));
    publish();
}

void TestPublish::cleanupTestCase()
{
    nginx.stop();
    fs::remove_all(dir.path().toStdString()); // also names that Qt does not find in a folder
}

void TestPublish::publish()
{
    const Outcome outcome = runManifest({QStringLiteral("-p"), QStringLiteral("2.5.0"), patch});
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.messages));
}

void TestPublish::updateAndCompare()
{
    LauncherSettings::instance().localVersion = QStringLiteral("1.0.0");
    const QString client = dir.filePath(QStringLiteral("client"));
    QCOMPARE(update(client, QStringLiteral("patch")), QStringLiteral("Atualizacao concluida."));
    QCOMPARE(LauncherSettings::instance().localVersion, QStringLiteral("2.5.0"));
    QCOMPARE(filesIn(client), names);
    for (const QByteArray &name : std::as_const(names)) {
        QVERIFY2(read(place(client, name)) == read(place(patch, name)), name.constData());
    }
}

QString TestPublish::update(const QString &client, const QString &path) const
{
    PatchManager manager;
    manager.clientDir = client;
    manager.baseUrl = nginx.url() + path;
    QSignalSpy finished(&manager, &PatchManager::finished);
    manager.checkAndUpdate();
    if (finished.isEmpty() && !finished.wait(500000)) {
        return QStringLiteral("no end");
    }
    return finished.first().at(1).toString();
}

void TestPublish::everyFileIsListedAsItIs()
{
    Manifest manifest;
    QVERIFY(Manifest::fromJson(read(place(patch, "manifest.json")), &manifest));
    QCOMPARE(manifest.version, QStringLiteral("2.5.0"));
    QCOMPARE(manifest.files.size(), names.size());
    for (qsizetype i = 0; i < names.size(); ++i) {
        const ManifestEntry &entry = manifest.files.at(i);
        const QByteArray content = read(place(patch, names.at(i)));
        QCOMPARE(entry.path.toUtf8(), names.at(i));
        QCOMPARE(entry.size, content.size());
        QCOMPARE(entry.sha256.toLatin1(),
                 QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex());
    }
}

void TestPublish::launchersGetThePatchByteForByte()
{
    updateAndCompare();
}

void TestPublish::theCheckAsksForWhatTheLauncherAsksFor()
{
    const qsizetype perRun = names.size() + 1;
    const qsizetype before = nginx.requests().size();
    updateAndCompare(); // now every file replaces an older one
    QTRY_COMPARE(nginx.requests().size(), before + perRun);

    const Outcome outcome =
        runManifest({QStringLiteral("--base-url"), nginx.url() + QStringLiteral("patch"), patch});
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.messages));
    QVERIFY2(outcome.messages.contains(QStringLiteral("5000 files")), qPrintable(outcome.messages));
    QTRY_COMPARE(nginx.requests().size(), before + 2 * perRun);
    const QList<QByteArray> requests = nginx.requests().mid(before);
    QCOMPARE(requests.mid(perRun), requests.first(perRun));
}

void TestPublish::launchersGetAPatchBelowAUrlPrefix()
{
    const QString release = dir.filePath(QStringLiteral("store/releases/1 #a"));
    const QByteArrayList files{"a b", "d/e%"};
    for (const QByteArray &file : files) {
        write(place(release, file), file);
    }
    const QString manifest = dir.filePath(QStringLiteral("store/manifest.json"));
    const Outcome outcome = runManifest({QStringLiteral("--patch-version=1"),
                                         QStringLiteral("--url-prefix=releases/1 #a"),
                                         QStringLiteral("--output"), manifest, release});
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.messages));

    const QString client = dir.filePath(QStringLiteral("other client"));
    QCOMPARE(update(client, QStringLiteral("store")), QStringLiteral("Atualizacao concluida."));
    QCOMPARE(filesIn(client), files);
    for (const QByteArray &file : files) {
        QCOMPARE(read(place(client, file)), file);
    }
}

void TestPublish::theLauncherCouldNotReplaceAFileWithARefusedLongName()
{
    const QByteArray name(249, 'n');
    write(place(dir.path(), "long/" + name), "x");
    write(place(dir.path(), "long/manifest.json"), "{\"files\": [{\"path\": \"" + name + "\"}]}");
    QCOMPARE(runManifest({QStringLiteral("-p1"), dir.filePath(QStringLiteral("long"))}).exitCode,
             1);
    const QString client = dir.filePath(QStringLiteral("long client"));
    update(client, QStringLiteral("long"));
    write(place(client, name), "old");
    QCOMPARE(update(client, QStringLiteral("long")),
             QStringLiteral("Falha ao salvar %1/%2").arg(client, QString::fromLatin1(name)));
    QCOMPARE(read(place(client, name)), QByteArray("old"));
}

void TestPublish::theLauncherWouldStoreARefusedColonElsewhere()
{
    write(place(dir.path(), "colon/:file"), "x");
    write(place(dir.path(), "colon/manifest.json"), "{\"files\": [{\"path\": \":file\"}]}");
    QCOMPARE(runManifest({QStringLiteral("-p1"), dir.filePath(QStringLiteral("colon"))}).exitCode,
             1);
    const QString client = dir.filePath(QStringLiteral("colon client"));
    fs::create_directories(client.toStdString());
    const QString elsewhere = dir.filePath(QStringLiteral("elsewhere"));
    fs::create_directories(elsewhere.toStdString());
    {
        const Disk::WorkingFolder folder(elsewhere);
        update(client, QStringLiteral("colon"));
    }
    QCOMPARE(filesIn(client), QByteArrayList());
}

void TestPublish::theCheckFindsWhatIsWrong_data()
{
    QTest::addColumn<QByteArray>("published"); // null: not at all
    QTest::addColumn<QString>("message");
    QTest::newRow("as listed") << QByteArray("0123456789") << "";
    QTest::newRow("changed") << QByteArray("0123456_89") << "the content is not what is listed";
    QTest::newRow("cut short") << QByteArray("01234567") << "8 bytes are published, 10 are listed";
    QTest::newRow("emptied") << QByteArray("") << "0 bytes are published, 10 are listed";
    QTest::newRow("grown") << QByteArray("0123456789a") << "11 bytes are published, 10 are listed";
    QTest::newRow("missing") << QByteArray() << "Not Found";
}

void TestPublish::theCheckFindsWhatIsWrong()
{
    QFETCH(const QByteArray, published);
    QFETCH(const QString, message);
    const QString folder = dir.filePath(QStringLiteral("small"));
    const auto remove = qScopeGuard([&] { fs::remove_all(folder.toStdString()); });
    write(place(folder, "before"), "x");
    write(place(folder, "sub/the file"), "0123456789");
    write(place(folder, "z"), "x");
    QCOMPARE(runManifest({QStringLiteral("-p1"), folder}).exitCode, 0);
    if (published.isNull()) {
        fs::remove(place(folder, "sub/the file"));
    } else {
        write(place(folder, "sub/the file"), published);
    }

    const Outcome outcome =
        runManifest({QStringLiteral("-u"), nginx.url() + QStringLiteral("small")});
    if (message.isEmpty()) {
        QCOMPARE(outcome.messages,
                 QStringLiteral("zel-manifest: published as it should be: version \"1\", 3 files, "
                                "12 bytes\n"));
        QCOMPARE(outcome.exitCode, 0);
        return;
    }
    const QStringList lines = outcome.messages.split(u'\n');
    QVERIFY2(lines.first().startsWith(QStringLiteral("zel-manifest: error: \"sub/the file\": ")),
             qPrintable(outcome.messages));
    QVERIFY2(lines.first().endsWith(message), qPrintable(outcome.messages));
    QCOMPARE(lines.mid(1),
             QStringList({QStringLiteral("zel-manifest: 1 wrong in: version \"1\", 3 files, 12 "
                                         "bytes"),
                          QString()}));
    QCOMPARE(outcome.exitCode, 4);
}

void TestPublish::theCheckGoesOnAfterADifference()
{
    const QString folder = dir.filePath(QStringLiteral("many"));
    for (const char *name : {"1", "2", "3", "4"}) {
        write(place(folder, name), "old");
    }
    QCOMPARE(runManifest({QStringLiteral("-p1"), folder}).exitCode, 0);
    fs::remove(place(folder, "1"));
    write(place(folder, "3"), "new");
    write(place(folder, "4"), "");
    const Outcome outcome = runManifest(
        {QStringLiteral("--quiet"), QStringLiteral("-u"), nginx.url() + QStringLiteral("many")});
    QCOMPARE(outcome.exitCode, 4);
    const QStringList lines = outcome.messages.split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 3);
    QVERIFY(lines.at(0).startsWith(QStringLiteral("zel-manifest: error: \"1\": ")));
    QVERIFY(lines.at(1).startsWith(QStringLiteral("zel-manifest: error: \"3\": ")));
    QVERIFY(lines.at(2).startsWith(QStringLiteral("zel-manifest: error: \"4\": ")));
}

void TestPublish::theCheckFindsAnOldManifest()
{
    const QString folder = dir.filePath(QStringLiteral("upload"));
    write(place(folder, "file"), "x");
    QCOMPARE(runManifest({QStringLiteral("-p1"), folder}).exitCode, 0);
    const QString newer = dir.filePath(QStringLiteral("newer.json"));
    QCOMPARE(runManifest({QStringLiteral("-p2"), QStringLiteral("-o"), newer, folder}).exitCode, 0);

    const QString url = nginx.url() + QStringLiteral("upload");
    QCOMPARE(runManifest({QStringLiteral("-u"), url, folder}).exitCode, 0);
    const Outcome outcome = runManifest({QStringLiteral("-u"), url, QStringLiteral("-o"), newer});
    QCOMPARE(outcome.exitCode, 4);
    QVERIFY2(outcome.messages.startsWith(
                 QStringLiteral("zel-manifest: error: \"manifest.json\": is not the one in ")),
             qPrintable(outcome.messages));
    const Outcome none =
        runManifest({QStringLiteral("-u"), url, dir.filePath(QStringLiteral("no such folder"))});
    QCOMPARE(none.exitCode, 3);
}

void TestPublish::theCheckNeedsAManifest_data()
{
    QTest::addColumn<QByteArray>("manifest"); // null: none
    QTest::addColumn<QString>("message");
    QTest::newRow("none") << QByteArray() << "Not Found";
    QTest::newRow("a page") << QByteArray("<html></html>") << "is not a JSON object";
    QTest::newRow("an array") << QByteArray("[]") << "is not a JSON object";
    QTest::newRow("nothing") << QByteArray("") << "is not a JSON object";
}

void TestPublish::theCheckNeedsAManifest()
{
    QFETCH(const QByteArray, manifest);
    QFETCH(const QString, message);
    const QString folder = dir.filePath(QStringLiteral("bare"));
    const auto remove = qScopeGuard([&] { fs::remove_all(folder.toStdString()); });
    fs::create_directories(folder.toStdString());
    if (!manifest.isNull()) {
        write(place(folder, "manifest.json"), manifest);
    }
    const Outcome outcome =
        runManifest({QStringLiteral("-u"), nginx.url() + QStringLiteral("bare")});
    QVERIFY2(outcome.messages.startsWith(QStringLiteral("zel-manifest: error: manifest.json: ")),
             qPrintable(outcome.messages));
    QVERIFY2(outcome.messages.endsWith(message + u'\n'), qPrintable(outcome.messages));
    QCOMPARE(outcome.exitCode, 5);
}

void TestPublish::theCheckWarnsOfBaseUrlsThatLoseNames()
{
    const QString folder = dir.filePath(QStringLiteral("100%"));
    write(place(folder, "a b"), "x");
    write(place(folder, "c"), "x");
    QCOMPARE(runManifest({QStringLiteral("-p1"), folder}).exitCode, 0);

    Outcome outcome = runManifest({QStringLiteral("-u"), nginx.url() + QStringLiteral("100%25")});
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.messages));

    // The launcher then asks for "a%20b", so the warning is not an idle one.
    outcome = runManifest({QStringLiteral("-u"), nginx.url() + QStringLiteral("100%")});
    QCOMPARE(outcome.exitCode, 4);
    QVERIFY2(outcome.messages.contains(QStringLiteral("\"%\" that encodes nothing")),
             qPrintable(outcome.messages));
    QVERIFY2(outcome.messages.contains(QStringLiteral("error: \"a b\": ")),
             qPrintable(outcome.messages));
    QVERIFY2(outcome.messages.contains(QStringLiteral("1 wrong in")), qPrintable(outcome.messages));

    outcome = runManifest({QStringLiteral("-u"), nginx.url() + QStringLiteral("#")});
    QCOMPARE(outcome.exitCode, 5);
    QVERIFY2(outcome.messages.contains(QStringLiteral("the base URL has a \"#\"")),
             qPrintable(outcome.messages));
}

ZEL_TEST_MAIN(TestPublish)

#include "tst_publish.moc"
