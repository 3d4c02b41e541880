#include "support/TestMain.h"

#include <QDir>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "Outcome.h"
#include "patch/PatchManager.h"
#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"
#include "support/files/HostileNames.h"
#include "support/network/NginxServer.h"

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace
{

constexpr int fileCount = 5000;
constexpr int folderCount = 150;

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

Outcome runManifest(const QStringList &arguments)
{
    return run(QStringLiteral(ZEL_MANIFEST), arguments);
}

} // namespace

/// A patch with hostile file names, published by the real program and served by a real nginx.
class TestPublish : public TestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void launchersGetThePatchAndTheCheckRequestsTheSame();
    void launchersGetAPatchBelowAUrlPrefix();
    void playersOfEveryReleaseGetTheSame();
    void aPathInAnotherLetterCaseIsStoredWherePlayersHaveIt();
    void theLauncherCouldNotReplaceAFileWithARefusedLongName();
    void theLauncherCouldNotStoreARefusedFileOrFolder_data();
    void theLauncherCouldNotStoreARefusedFileOrFolder();
    void theLauncherWouldStoreARefusedColonElsewhere();
    void theCheckShowsWhatIsWrong();
    void theCheckShowsProgressOnATerminal();
    void theSignatureIsCheckedFirst();
    void aBaseUrlWithALonePercentLosesNames();

private:
    QByteArrayList makeNames() const;
    void updateAndCompare();
    /// Runs the launcher's updater. Returns its last message.
    QString update(const QString &client, const QString &path) const;

    QTemporaryDir dir{Disk::memoryFolder() + u"/zel-publish-XXXXXX"_s};
    QString patch;
    QByteArrayList names;
    NginxServer nginx;
};

QByteArrayList TestPublish::makeNames() const
{
    QRandomGenerator random(5000);
    QSet<QString> taken{u"manifest.json"_s};
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
    QByteArrayList result{QByteArray(248, 'n')};
    for (const char *name :
         {".hidden", "~", "%", "%2e%2e", "a b", "a+b", "index.html", "x.gz", "sub/manifest.json",
          "\xEF\xBB\xBFname", "x/\xEF\xBB\xBFname", "http:/host/file"}) {
        result.append(name);
    }
    // As an encoded URL this is longer than most servers allow by default.
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
    patch = dir.filePath(u"patch"_s);
    names = makeNames();
    QCOMPARE(names.size(), fileCount);
    QRandomGenerator random(1);
    for (const QByteArray &name : std::as_const(names)) {
        // Most files are small, some need many reads, some are empty.
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
    const Outcome outcome = runManifest({u"-p"_s, u"2.5.0"_s, patch});
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.messages));
}

void TestPublish::cleanupTestCase()
{
    nginx.stop();
    fs::remove_all(dir.path().toStdString()); // also names that QDir does not list
}

void TestPublish::updateAndCompare()
{
    LauncherSettings::instance().localVersion = u"1.0.0"_s;
    const QString client = dir.filePath(u"client"_s);
    QCOMPARE(update(client, u"patch"_s), u"Atualizacao concluida."_s);
    QCOMPARE(LauncherSettings::instance().localVersion, u"2.5.0"_s);
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
        return u"no end"_s;
    }
    return finished.first().at(1).toString();
}

void TestPublish::launchersGetThePatchAndTheCheckRequestsTheSame()
{
    const qsizetype perRun = names.size() + 1;
    const qsizetype before = nginx.requests().size();
    const auto requests = [&] { return nginx.requests().mid(before); };
    updateAndCompare();
    QTRY_COMPARE(requests().size(), perRun);
    updateAndCompare(); // now every file exists and is replaced
    QTRY_COMPARE(requests().size(), 2 * perRun);

    const Outcome outcome = runManifest({u"--base-url"_s, nginx.url() + u"patch"_s, patch});
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.messages));
    QVERIFY2(outcome.messages.contains(u"5000 files"_s), qPrintable(outcome.messages));
    QTRY_COMPARE(requests().size(), 3 * perRun);
    QCOMPARE(requests().mid(2 * perRun), requests().first(perRun));
}

void TestPublish::launchersGetAPatchBelowAUrlPrefix()
{
    const QString release = dir.filePath(u"store/releases/1 #a"_s);
    const QByteArrayList files{"a b", "d/e%"};
    for (const QByteArray &file : files) {
        write(place(release, file), file);
    }
    const QString manifest = dir.filePath(u"store/manifest.json"_s);
    const Outcome outcome = runManifest({u"--patch-version=1"_s, u"--url-prefix=releases/1 #a"_s,
                                         u"--output"_s, manifest, release});
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.messages));

    const QString client = dir.filePath(u"other client"_s);
    QCOMPARE(update(client, u"store"_s), u"Atualizacao concluida."_s);
    QCOMPARE(filesIn(client), files);
    for (const QByteArray &file : files) {
        QCOMPARE(read(place(client, file)), file);
    }
}

void TestPublish::playersOfEveryReleaseGetTheSame()
{
    const QString store = dir.filePath(u"many"_s);
    const auto at = [&store](const QString &name) { return store + u'/' + name; };
    const auto publish = [&](const QString &release, const QStringList &since) {
        QStringList arguments{u"-q"_s,       u"-p"_s + release,      u"--base"_s,
                              at(u"base"_s), u"--url-prefix"_s,      release,
                              u"-o"_s,       at(u"manifest.json"_s), at(release)};
        for (const QString &earlier : since) {
            arguments += {u"--since"_s, at(earlier + u".json"_s)};
        }
        const Outcome outcome = runManifest(arguments);
        QVERIFY2(outcome.exitCode == 0 && outcome.messages.isEmpty(), qPrintable(outcome.messages));
        fs::copy_file(place(store, "manifest.json"), place(store, (release + u".json"_s).toUtf8()));
    };
    const auto copy = [&](const QString &from, const QString &to) {
        fs::copy(at(from).toStdString(), at(to).toStdString(), fs::copy_options::recursive);
    };
    write(place(store, "base/changes back"), "1");
    write(place(store, "base/changes"), "1");
    write(place(store, "base/d/stays"), "1");
    copy(u"base"_s, u"1.1"_s);
    write(place(store, "1.1/changes back"), "2");
    write(place(store, "1.1/d/new"), "1");
    copy(u"1.1"_s, u"1.2"_s);
    write(place(store, "1.2/changes back"), "1");
    write(place(store, "1.2/changes"), "2");

    for (const QString &player : {u"met all"_s, u"met the second"_s}) {
        copy(u"base"_s, player);
    }
    publish(u"1.1"_s, {});
    QCOMPARE(update(at(u"met all"_s), u"many"_s), u"Atualizacao concluida."_s);
    publish(u"1.2"_s, {u"1.1"_s});
    const qsizetype before = nginx.requests().size();
    for (const QString &player : {u"met all"_s, u"met the second"_s}) {
        QCOMPARE(update(at(player), u"many"_s), u"Atualizacao concluida."_s);
        QCOMPARE(Disk::files(at(player)), Disk::files(at(u"1.2"_s)));
    }
    // Each player requests the manifest and three files, but no file of the base.
    QTRY_COMPARE(nginx.requests().size(), before + 8);
}

void TestPublish::aPathInAnotherLetterCaseIsStoredWherePlayersHaveIt()
{
    const QString store = dir.filePath(u"letters"_s);
    write(place(store, "client/Data/Map.pak"), "1");
    write(place(store, "patch/data/map.pak"), "2");
    const Outcome outcome = runManifest({u"-p1"_s, u"--base"_s, store + u"/client"_s,
                                         u"--fix-case"_s, u"--url-prefix=patch"_s, u"-o"_s,
                                         store + u"/manifest.json"_s, store + u"/patch"_s});
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.messages));
    QCOMPARE(update(store + u"/client"_s, u"letters"_s), u"Atualizacao concluida."_s);
    QCOMPARE(Disk::files(store + u"/client"_s),
             (QMap<QString, QByteArray>{{u"Data/Map.pak"_s, "2"}}));
}

void TestPublish::theLauncherCouldNotReplaceAFileWithARefusedLongName()
{
    const QByteArray name(249, 'n');
    write(place(dir.path(), "long/" + name), "x");
    write(place(dir.path(), "long/manifest.json"), "{\"files\": [{\"path\": \"" + name + "\"}]}");
    QCOMPARE(runManifest({u"-p1"_s, dir.filePath(u"long"_s)}).exitCode, 1);
    const QString client = dir.filePath(u"long client"_s);
    update(client, u"long"_s);
    write(place(client, name), "old");
    QCOMPARE(update(client, u"long"_s),
             u"Falha ao salvar %1/%2"_s.arg(client, QString::fromLatin1(name)));
    QCOMPARE(read(place(client, name)), QByteArray("old"));
}

void TestPublish::theLauncherCouldNotStoreARefusedFileOrFolder_data()
{
    QTest::addColumn<QByteArray>("theirs");
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("folder") << "a"_ba
                            << "a/b"_ba;
    QTest::newRow("file") << "a/b"_ba
                          << "a"_ba;
}

void TestPublish::theLauncherCouldNotStoreARefusedFileOrFolder()
{
    QFETCH(const QByteArray, theirs);
    QFETCH(const QByteArray, path);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const QString folder = dir.filePath(name);
    const QString client = dir.filePath(name + u" client"_s);
    write(place(client, theirs), "x");
    write(place(folder, path), "x");
    QCOMPARE(runManifest({u"-p1"_s, folder}).exitCode, 0);
    QCOMPARE(runManifest({u"-p1"_s, u"--base"_s, client, folder}).exitCode, 1);
    QCOMPARE(update(client, name),
             u"Nao foi possivel gravar %1/%2"_s.arg(client, QString::fromLatin1(path)));
    QCOMPARE(filesIn(client), QByteArrayList{theirs});
}

void TestPublish::theLauncherWouldStoreARefusedColonElsewhere()
{
    write(place(dir.path(), "colon/:file"), "x");
    write(place(dir.path(), "colon/manifest.json"), "{\"files\": [{\"path\": \":file\"}]}");
    QCOMPARE(runManifest({u"-p1"_s, dir.filePath(u"colon"_s)}).exitCode, 1);
    const QString client = dir.filePath(u"colon client"_s);
    fs::create_directories(client.toStdString());
    const QString elsewhere = dir.filePath(u"elsewhere"_s);
    fs::create_directories(elsewhere.toStdString());
    {
        const Disk::WorkingFolder folder(elsewhere);
        update(client, u"colon"_s);
    }
    QCOMPARE(filesIn(client), QByteArrayList());
}

void TestPublish::theCheckShowsWhatIsWrong()
{
    const QString folder = dir.filePath(u"small"_s);
    write(place(folder, "sub/the file"), "0123456789");
    write(place(folder, "z"), "x");
    QCOMPARE(runManifest({u"-p1"_s, folder}).exitCode, 0);
    const QString url = nginx.url() + u"small"_s;
    Outcome outcome = runManifest({u"-u"_s, url, folder});
    const QString http = u"over http: 3 of 3 answers, first \"manifest.json\"; anyone on the "
                         "network path can replace them\n"_s;
    const QString kept = u"may be kept by caches: 1 of 3 answers, first \"manifest.json\"; players "
                         "then get an old manifest\n"_s;
    const QString warnings =
        u"zel-manifest: warning: "_s + http + u"zel-manifest: warning: "_s + kept;
    QCOMPARE(outcome.messages, warnings + u"zel-manifest: published as it should be: version "
                                          "\"1\", 2 files, 11 bytes\n"_s);
    QCOMPARE(outcome.exitCode, 0);
    outcome = runManifest({u"-u"_s, url, u"--strict"_s, u"-q"_s});
    QCOMPARE(outcome.messages,
             u"zel-manifest: error: "_s + http + u"zel-manifest: error: "_s + kept);
    QCOMPARE(outcome.exitCode, 4);

    write(place(folder, "sub/the file"), "01234567");
    const QString newer = dir.filePath(u"newer.json"_s);
    QCOMPARE(runManifest({u"-p2"_s, u"-o"_s, newer, folder}).exitCode, 0);
    outcome = runManifest({u"-u"_s, url, u"-o"_s, newer});
    QCOMPARE(outcome.messages,
             u"zel-manifest: error: \"manifest.json\": is not the one in \"%1\"\n"
             "zel-manifest: error: \"sub/the file\": 8 bytes are published, 10 are listed\n"_s.arg(
                 newer) +
                 warnings + u"zel-manifest: 2 wrong in: version \"1\", 2 files, 11 bytes\n"_s);
    QCOMPARE(outcome.exitCode, 4);
    QCOMPARE(runManifest({u"-q"_s, u"-u"_s, url}).messages.count(u'\n'), 3);

    write(place(folder, "manifest.json"), "[]");
    outcome = runManifest({u"-u"_s, url});
    QCOMPARE(outcome.messages,
             u"zel-manifest: error: \"manifest.json\": is not a JSON object\n"_s +
                 QString(warnings).replace(u"of 3"_s, u"of 1"_s).replace(u"3 of"_s, u"1 of"_s));
    QCOMPARE(outcome.exitCode, 5);
}

void TestPublish::theCheckShowsProgressOnATerminal()
{
    if (QStandardPaths::findExecutable(u"script"_s).isEmpty()) {
        QSKIP("script, which makes a terminal, is not installed");
    }
    const Outcome outcome =
        run(u"script"_s,
            {u"--quiet"_s, u"--return"_s, u"--command"_s,
             QStringLiteral(ZEL_MANIFEST " -u ") + nginx.url() + u"patch"_s, u"/dev/null"_s});
    QCOMPARE(outcome.exitCode, 0);
    static const QRegularExpression shown(
        u"\rfetching \\d+ %, .* of .*, \\d+ of 5000 files *\r +\r(zel-manifest: warning: .*\r\n)+zel-manifest: published as .*\r\n$"_s);
    QVERIFY2(shown.match(outcome.output).hasMatch(), qPrintable(outcome.output.right(500)));
}

void TestPublish::theSignatureIsCheckedFirst()
{
    const QString minisign = QStandardPaths::findExecutable(u"minisign"_s);
    if (minisign.isEmpty()) {
        QSKIP("minisign is not installed");
    }
    const auto makeKey = [&](const QString &name) {
        const QString file = dir.filePath(name);
        QCOMPARE(
            run(minisign, {u"-G"_s, u"-W"_s, u"-p"_s, file, u"-s"_s, file + u".secret"_s}).exitCode,
            0);
    };
    makeKey(u"own"_s);
    makeKey(u"other"_s);
    const QString folder = dir.filePath(u"signed"_s);
    write(place(folder, "a"), "x");
    QCOMPARE(runManifest({u"-p1"_s, folder}).exitCode, 0);
    QCOMPARE(run(minisign, {u"-S"_s, u"-s"_s, dir.filePath(u"own.secret"_s), u"-m"_s,
                            folder + u"/manifest.json"_s})
                 .exitCode,
             0);
    const auto check = [&](const QString &key, const QMap<QString, QString> &variables = {}) {
        return run(QStringLiteral(ZEL_MANIFEST),
                   {u"-q"_s, u"-u"_s, nginx.url() + u"signed"_s, u"--key"_s, key}, {}, variables);
    };
    const QString own = dir.filePath(u"own"_s);
    QCOMPARE(check(own).exitCode, 0);
    const QByteArray keyText = read(own.toStdString()).trimmed().split('\n').constLast();
    QCOMPARE(check(QString::fromLatin1(keyText)).exitCode, 0);

    const QString wrong = u"zel-manifest: error: \"manifest.json\": is not signed by the key: "_s;
    Outcome outcome = check(dir.filePath(u"other"_s));
    QCOMPARE(outcome.exitCode, 4);
    QVERIFY2(outcome.messages.startsWith(wrong + u"Signature key id in "_s),
             qPrintable(outcome.messages));
    outcome = check(u"nonsense"_s);
    QCOMPARE(outcome.exitCode, 4);
    QVERIFY2(outcome.messages.startsWith(wrong), qPrintable(outcome.messages));
    // A program that does not start verifies nothing.
    Disk::writeExecutable(dir.filePath(u"bin/minisign"_s), "#!/none\n");
    QCOMPARE(check(own, {{u"PATH"_s, dir.filePath(u"bin"_s)}}).exitCode, 4);
    write(place(folder, "manifest.json"), "[]");
    outcome = check(own);
    QCOMPARE(outcome.exitCode, 4);
    QVERIFY2(
        outcome.messages.startsWith(wrong + u"Signature verification failed\nzel-manifest: "_s),
        qPrintable(outcome.messages));
    QVERIFY2(!outcome.messages.contains(u"JSON"_s), qPrintable(outcome.messages));
    fs::remove(place(folder, "manifest.json.minisig"));
    outcome = check(own);
    QCOMPARE(outcome.exitCode, 5);
    QVERIFY2(outcome.messages.startsWith(u"zel-manifest: error: \"manifest.json.minisig\": "_s),
             qPrintable(outcome.messages));
    // Only the first two checks requested the file.
    QTRY_COMPARE(nginx.requests().count("GET /signed/manifest.json HTTP/1.1"), 7);
    QCOMPARE(nginx.requests().count("GET /signed/a HTTP/1.1"), 2);

    outcome = check(own, {{u"PATH"_s, dir.path()}});
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(outcome.messages, u"zel-manifest: error: --key needs the program minisign, which is "
                               "not installed\n"_s);
}

void TestPublish::aBaseUrlWithALonePercentLosesNames()
{
    const QString folder = dir.filePath(u"100%"_s);
    write(place(folder, "a b"), "x");
    write(place(folder, "c"), "x");
    QCOMPARE(runManifest({u"-p1"_s, folder}).exitCode, 0);
    QCOMPARE(runManifest({u"-u"_s, nginx.url() + u"100%25"_s}).exitCode, 0);
    // The launcher then requests "a%20b", so the warning is justified.
    const Outcome outcome = runManifest({u"-u"_s, nginx.url() + u"100%"_s});
    QCOMPARE(outcome.exitCode, 4);
    QVERIFY(
        outcome.messages.startsWith(u"zel-manifest: warning: the base URL has a \"%\" that "_s));
    QVERIFY(outcome.messages.contains(u"error: \"a b\": "_s));
    QVERIFY(outcome.messages.contains(u"1 wrong in"_s));
}

ZEL_TEST_MAIN(TestPublish)

#include "tst_publish.moc"
