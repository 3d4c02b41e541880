#include "support/files/Disk.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>

#include <algorithm>
#include <unistd.h>

#include "Outcome.h"

using namespace Qt::StringLiterals;

namespace
{

/// The messages without the program's name.
QStringList linesOf(const Outcome &outcome)
{
    QStringList lines = outcome.messages.split(u'\n', Qt::SkipEmptyParts);
    lines.replaceInStrings(u"zel-manifest: "_s, QString());
    return lines;
}

/// The last message when @p files together have less than 0.005 MiB.
QString cost(const QString &files)
{
    return u"each start downloads the manifest and %1, 0.00 MiB; 1,000 starts 0.00 GiB"_s.arg(
        files);
}

} // namespace

/// The real program, run in a folder with a subfolder "patch" of one file and an old manifest.
class TestZelManifestCli : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void helpAndVersionArePrinted();
    void theManualPageAndTheGuideKnowEveryOption();
    void aManifestIsWritten();
    void theManifestDoesNotDependOnTheLocale();
    void dryRunPrintsWhatWouldBeWritten();
    void everyRunShowsItsMessagesAndEndsWithItsCode_data();
    void everyRunShowsItsMessagesAndEndsWithItsCode();
    void aFullStandardOutputIsCode3();
    void withoutSha256NoManifestIsWritten();
    void aFolderThatCannotBeReadIsCode3();
    void aServerThatSendsNothingTimesOut();
    void aKilledRunLeavesTheOldManifest();
    void progressIsShownOnATerminalOnly();
    void theProgressOnTheBaseIsShown();
    void onlyFilesThatPlayersNeedAreListed_data();
    void onlyFilesThatPlayersNeedAreListed();
    void aPathInAnotherLetterCaseIsRefusedOrFixed();
    void aFileInThePlaceOfAFolderIsRefused_data();
    void aFileInThePlaceOfAFolderIsRefused();
    void ofManyMissingFilesTheFirstAreNamed();
    void patternsAreReadFromFiles();
    void theManifestIsDownloadedToo();
    void aLargeFileIsWarnedOf();
    void aListedFileOfThePlayersSettingsIsWarnedOf();

private:
    Outcome manifest(const QString &arguments, const QMap<QString, QString> &variables = {}) const
    {
        return run(QStringLiteral(ZEL_MANIFEST), arguments.split(u' '), folder(), variables);
    }
    Outcome shell(const QString &command) const
    {
        return run(u"/bin/bash"_s, {u"-c"_s, command, QStringLiteral(ZEL_MANIFEST)}, folder());
    }
    QString manifestPath() const { return at(u"patch/manifest.json"_s); }
    QStringList filesInPatch() const { return Disk::names(at(u"patch"_s)); }
    /// Values of @p key in the manifest @p name.
    QStringList listedIn(const QString &name, const QString &key) const
    {
        QStringList values;
        const QJsonArray files =
            QJsonDocument::fromJson(Disk::read(at(name))).object().value(u"files").toArray();
        for (const auto &file : files) {
            values.append(file.toObject().value(key).toString());
        }
        return values;
    }
    /// A sparse file, slow to read.
    void makeLongFile(qint64 size) const
    {
        Disk::write(at(u"patch/long"_s), {});
        QVERIFY(QFile::resize(at(u"patch/long"_s), size));
    }

    const QByteArray old = "{\"version\": \"0\", \"files\": []}";
};

void TestZelManifestCli::init()
{
    FolderTest::init();
    Disk::write(at(u"patch/a b"_s), "x");
    Disk::write(manifestPath(), old);
}

void TestZelManifestCli::helpAndVersionArePrinted()
{
    for (const auto &[option, text] : {std::pair{u"--help"_s, u"Usage: zel-manifest [options]"_s},
                                       std::pair{u"--version"_s, u"zel-manifest "_s}}) {
        const Outcome outcome = manifest(option);
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.messages, QString());
        QVERIFY(outcome.output.startsWith(text));
    }
}

void TestZelManifestCli::theManualPageAndTheGuideKnowEveryOption()
{
    const QString sources = QStringLiteral(ZEL_SOURCES);
    const QString page = QString::fromUtf8(Disk::read(sources + u"/packaging/man/zel-manifest.1"_s))
                             .replace(u"\\-"_s, u"-"_s);
    const QSet<QString> options = optionsIn(manifest(u"--help"_s).output);
    QVERIFY(options.size() >= 11);
    QCOMPARE(optionsIn(page), options);
    const QSet<QString> shown{u"--help"_s, u"--version"_s}; // not in the guide
    const QSet<QString> missing =
        options - optionsIn(QString::fromUtf8(Disk::read(sources + u"/docs/operators.md"_s)));
    QCOMPARE(missing - shown, QSet<QString>());
}

void TestZelManifestCli::aManifestIsWritten()
{
    const Outcome outcome = manifest(u"-p 1.0 --url-prefix r patch"_s);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.messages, u"zel-manifest: written: \"patch/manifest.json\": "
                               "version \"1.0\", 1 file, 1 byte\nzel-manifest: "_s +
                                   cost(u"1 file"_s) + u'\n');
    QCOMPARE(Disk::read(manifestPath()),
             "{\n\"version\": \"1.0\",\n\"files\": [\n{\"path\": \"a b\", \"url\": \"r/a%20b\", "
             "\"size\": 1, \"sha256\": "
             "\"2d711642b726b04401627ca9fbac32f5c8530fb1903cc4db02258717921a4881\"}\n]\n}\n"_ba);
    QCOMPARE(filesInPatch(), QStringList({u"a b"_s, u"manifest.json"_s}));
}

void TestZelManifestCli::theManifestDoesNotDependOnTheLocale()
{
    Disk::write(at(u"patch/ção"_s), "x");
    Disk::write(at(u"patch/B"_s), "x");
    for (const QString &locale : {u""_s, u"C"_s, u"C.UTF-8"_s, u"xx_XX"_s, u"pt_BR.ISO-8859-1"_s}) {
        const Outcome outcome =
            manifest(u"-p versão patch"_s, {{u"LC_ALL"_s, locale}, {u"LANG"_s, u"C"_s}});
        QVERIFY(outcome.messages.startsWith(u"zel-manifest: written: \"patch/manifest.json\": "
                                            "version \"versão\", 3 files, 3 bytes\n"_s));
        const QByteArray manifest = Disk::read(manifestPath());
        QVERIFY(manifest.contains("\"version\": \"vers\xC3\xA3o\""));
        QVERIFY(manifest.contains("\"url\": \"%C3%A7%C3%A3o\""));
        QVERIFY(manifest.indexOf("\"B\"") < manifest.indexOf("\"a b\""));
        QVERIFY(manifest.indexOf("\"a b\"") < manifest.indexOf("\"\xC3\xA7\xC3\xA3o\""));
    }
}

void TestZelManifestCli::dryRunPrintsWhatWouldBeWritten()
{
    const Outcome outcome = manifest(u"-p1 -n -o none/x.json patch"_s);
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(outcome.messages.contains(u"zel-manifest: not written: \"none/x.json\": version \"1\", "
                                      "1 file, 1 byte\n"_s));
    QCOMPARE(Disk::read(manifestPath()), old);
    QCOMPARE(filesInPatch(), QStringList({u"a b"_s, u"manifest.json"_s}));
    QCOMPARE(manifest(u"-p1 patch"_s).exitCode, 0);
    QCOMPARE(Disk::read(manifestPath()), outcome.output.toUtf8());
}

void TestZelManifestCli::everyRunShowsItsMessagesAndEndsWithItsCode_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("messages");
    const auto row = [](const QString &arguments, int code, const QStringList &messages) {
        QTest::newRow(qPrintable(arguments)) << arguments << code << messages;
    };
    row(u"-p1"_s, 2, {u"error: which folder?"_s, u"see zel-manifest --help"_s});
    row(u"-q -p1"_s, 2, {u"error: which folder?"_s});
    row(u"-q -p1 empty"_s, 0,
        {u"warning: the manifest lists no file: launchers will take over the version and download "
         "nothing"_s});
    const QString absent =
        u"warning: \"manifest.json\": not listed; it is where the launcher looks for the manifest"_s;
    row(u"-p1 --output other.json patch"_s, 0,
        {absent, u"written: \"other.json\": version \"1\", 1 file, 1 byte"_s, cost(u"1 file"_s)});
    // An older manifest may be replaced, a file of the patch must not be.
    row(u"-p1 -o more/old.json more"_s, 0,
        {u"written: \"more/old.json\": version \"1\", 3 files, 3 bytes"_s, cost(u"3 files"_s)});
    const QString noManifest =
        u"error: \"c.tmp\": is no manifest, so --output shall not replace it"_s;
    row(u"-p1 -o more/c.tmp more"_s, 1, {noManifest});
    row(u"-p1 -o more/../more/c.tmp more"_s, 1, {noManifest});
    row(u"-p1 -o link more"_s, 1, {noManifest});
    row(u"-p1 -x *.tmp --exclude=logs/ -x old.json more"_s, 0,
        {u"\"c.tmp\": excluded"_s, u"\"logs\": excluded"_s, u"\"old.json\": excluded"_s,
         u"written: \"more/manifest.json\": version \"1\", 1 file, 1 byte"_s, cost(u"1 file"_s)});
    row(u"-q -p1 -x *.tmp --exclude=logs/ more"_s, 0, {});
    for (const QString &arguments : {u"-q -p1 bad"_s, u"-q -p1 -o bad/nowhere bad"_s}) {
        row(arguments, 1,
            {u"warning: \"con\": Windows keeps the name CON for a device"_s,
             u"error: \"nowhere\": is a symbolic link that leads nowhere"_s,
             u"error: \"a\": differs from \"A\" only in letter case, which Windows ignores"_s});
    }
    row(u"-p1 none"_s, 3, {u"error: \"none\" is not a folder"_s});
    row(u"-p1 link"_s, 3, {u"error: \"link\" is not a folder"_s});
    row(u"-p1 -o none/m.json patch"_s, 3,
        {u"error: there is no folder to write \"none/m.json\" in"_s});
    row(u"-p1 -o . patch"_s, 3,
        {absent, u"error: cannot write \".\": Filename refers to a directory"_s});
    const QString none = u"error: \"none\": No such file or directory"_s;
    row(u"-p1 --base-manifest none patch"_s, 3, {none});
    row(u"-p1 --since none patch"_s, 3, {none});
    row(u"-p1 --base more --since more/b patch"_s, 3, {u"error: \"more/b\": is no manifest"_s});
    row(u"-p1 --base none patch"_s, 3, {none});
    row(u"-q -p1 -o more/old.json --base bad -x A more"_s, 0,
        {u"warning: in the base: \"nowhere\": is a symbolic link that leads nowhere"_s,
         u"warning: in the base: \"a\": differs from \"A\" only in letter case, which Windows "
         "ignores"_s,
         u"warning: the pattern \"A\" excludes nothing"_s,
         u"warning: \"a\": the base has it, the folder does not"_s,
         u"warning: \"con\": the base has it, the folder does not"_s,
         u"warning: 2 files in all: players keep them, as the launcher deletes nothing; to replace "
         "one, put an empty or harmless file of its name into the folder"_s});
    row(u"-p1 --exclude-from none patch"_s, 3, {none});
    row(u"-p1 --exclude-from pattern patch"_s, 2, {u"error: \"pattern\": \"[b\" is no pattern"_s});
    row(u"-u http://127.0.0.1:1 -o none.json"_s, 3,
        {u"error: \"none.json\": No such file or directory"_s});
    row(u"-u http://127.0.0.1:1/"_s, 5, {u"error: \"manifest.json\": Connection refused"_s});
}

void TestZelManifestCli::everyRunShowsItsMessagesAndEndsWithItsCode()
{
    QFETCH(const QString, arguments);
    QFETCH(const int, code);
    QFETCH(const QStringList, messages);
    for (const QString &name :
         {u"bad/A"_s, u"bad/a"_s, u"bad/con"_s, u"more/b"_s, u"more/c.tmp"_s, u"more/logs/d"_s}) {
        Disk::write(at(name), "x");
    }
    Disk::write(at(u"more/old.json"_s), old);
    Disk::write(at(u"pattern"_s), "a\n[b\n");
    Disk::makeFolder(at(u"empty"_s));
    Disk::makeLink(at(u"bad/nowhere"_s), u"none"_s);
    Disk::makeLink(at(u"link"_s), u"more/c.tmp"_s);
    const Outcome outcome = manifest(arguments);
    QCOMPARE(linesOf(outcome), messages);
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.exitCode, code);
    QCOMPARE(Disk::read(manifestPath()), old);
    QCOMPARE(Disk::read(at(u"more/c.tmp"_s)), "x"_ba);
}

void TestZelManifestCli::aFullStandardOutputIsCode3()
{
    const Outcome outcome = shell(u"exec \"$0\" -np1 patch >/dev/full"_s);
    QCOMPARE(outcome.messages, u"zel-manifest: error: cannot write to standard output\n"_s);
    QCOMPARE(outcome.exitCode, 3);
}

void TestZelManifestCli::withoutSha256NoManifestIsWritten()
{
    Disk::write(at(u"openssl.cnf"_s), "openssl_conf = a\n[a]\nproviders = b\n[b]\nnull = c\n"
                                      "[c]\nactivate = 1\n");
    const Outcome outcome = manifest(u"-p1 patch"_s, {{u"OPENSSL_CONF"_s, at(u"openssl.cnf"_s)}});
    QCOMPARE(outcome.messages, u"zel-manifest: error: \"patch/a b\": libcrypto has no SHA-256\n"_s);
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(Disk::read(manifestPath()), old);
}

void TestZelManifestCli::aFolderThatCannotBeReadIsCode3()
{
    Disk::makeFolder(at(u"patch/sub"_s));
    QVERIFY(QFile::setPermissions(at(u"patch/sub"_s), {}));
    const QString withoutRights = // to every file, which root has
        geteuid() == 0 ? u"setpriv --bounding-set=-dac_override,-dac_read_search "_s : QString();
    const Outcome outcome = shell(withoutRights + u"\"$0\" -p1 patch"_s);
    QVERIFY(QFile::setPermissions(at(u"patch/sub"_s), QFile::ReadOwner | QFile::ExeOwner));
    QCOMPARE(outcome.messages, u"zel-manifest: error: \"sub\": Permission denied\n"_s);
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(Disk::read(manifestPath()), old);
}

void TestZelManifestCli::aServerThatSendsNothingTimesOut()
{
    QTcpServer server; // accepts no connection
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const Outcome outcome =
        manifest(u"--timeout 1 -u http://127.0.0.1:%1"_s.arg(server.serverPort()));
    QCOMPARE(outcome.messages,
             u"zel-manifest: error: \"manifest.json\": the server sent nothing for "
             "1 seconds\n"_s);
    QCOMPARE(outcome.exitCode, 5);
}

void TestZelManifestCli::aKilledRunLeavesTheOldManifest()
{
    makeLongFile(qint64(1) << 40); // takes longer than the test
    QProcess process;
    process.setWorkingDirectory(folder());
    process.start(QStringLiteral(ZEL_MANIFEST), {u"-p1"_s, u"patch"_s});
    QVERIFY(process.waitForStarted());
    // The program is reading while the file is open.
    const QDir open(u"/proc/%1/fd"_s.arg(process.processId()));
    QVERIFY(QTest::qWaitFor(
        [&] {
            const QFileInfoList files =
                open.entryInfoList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
            return std::any_of(files.begin(), files.end(), [](const QFileInfo &file) {
                return file.symLinkTarget().endsWith(u"/patch/long"_s);
            });
        },
        60000));
    process.kill();
    QVERIFY(process.waitForFinished());
    QCOMPARE(Disk::read(manifestPath()), old);
    QCOMPARE(filesInPatch().size(), 3);
}

void TestZelManifestCli::progressIsShownOnATerminalOnly()
{
    if (QStandardPaths::findExecutable(u"script"_s).isEmpty()) {
        QSKIP("script, which makes a terminal, is not installed");
    }
    makeLongFile(qint64(1) << 30);
    const Outcome outcome =
        shell(u"script --quiet --return --command \"'$0' -p1 patch\" /dev/null"_s);
    QCOMPARE(outcome.exitCode, 0);
    // The progress line is erased before the result.
    static const QRegularExpression shown(
        u"\rreading \\d+ %, \\S+ (MiB|GiB) of 1\\.0 GiB, [01] of 2 files *\r +\r"
        "zel-manifest: [^\r]*\r\nzel-manifest: written: "_s);
    QVERIFY2(shown.match(outcome.output).hasMatch(), qPrintable(outcome.output));

    QCOMPARE(manifest(u"-p1 patch"_s).messages,
             u"zel-manifest: warning: \"long\": has 1.0 GiB; the launcher holds a whole file in "
             "memory\n"
             "zel-manifest: written: \"patch/manifest.json\": version \"1\", 2 files, 1.0 GiB\n"
             "zel-manifest: each start downloads the manifest and 2 files, 1024.00 MiB; 1,000 "
             "starts 1000.00 GiB\n"_s);
}

void TestZelManifestCli::theProgressOnTheBaseIsShown()
{
    if (QStandardPaths::findExecutable(u"script"_s).isEmpty()) {
        QSKIP("script, which makes a terminal, is not installed");
    }
    makeLongFile(qint64(1) << 30);
    Disk::makeLink(at(u"client"_s), u"patch"_s);
    const Outcome outcome =
        shell(u"script --quiet --return --command \"'$0' -np1 --base client patch\" /dev/null"_s);
    QCOMPARE(outcome.exitCode, 0);
    static const QRegularExpression shown(
        u"\rreading the base \\d+ %, \\S+ (MiB|GiB) of 1\\.0 GiB, [01] of 2 files *\r +\r"
        "\\{\r\n\"version\": \"1\",\r\n\"files\": \\[\r\n\\]\r\n\\}\r\n"
        "zel-manifest: warning: the manifest lists no file: .*\r\n"
        "zel-manifest: left out, as the base has them: 2 files, 1.0 GiB\r\n"_s);
    QVERIFY2(shown.match(outcome.output).hasMatch(), qPrintable(outcome.output));
}

void TestZelManifestCli::onlyFilesThatPlayersNeedAreListed_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<QStringList>("listed"); // path and URL
    const auto row = [](const char *name, const QString &arguments, const QStringList &listed,
                        const QStringList &messages) {
        QTest::newRow(name) << arguments << messages << listed;
    };
    const auto unlisted = [](const QString &path) {
        return u"warning: \"%1\": an earlier release listed it, this one does not"_s.arg(path);
    };
    const QString keptFromReleases =
        u" in all: players of that release keep theirs, as the launcher deletes nothing; to give "
        "all players the same, put one into the folder, such as the base's"_s;
    const QStringList ofReleases{unlisted(u"1.1"_s), unlisted(u"gone"_s),
                                 u"warning: 2 files"_s + keptFromReleases};
    const QString gone = u"warning: \"gone\": the base has it, the folder does not"_s;
    const QString goneAdvice =
        u"warning: 1 file in all: players keep them, as the launcher deletes nothing; to replace "
        "one, put an empty or harmless file of its name into the folder"_s;
    const QStringList needed{u"changed"_s, u"d/new"_s};
    const QStringList leftOut{gone, goneAdvice,
                              u"left out, as the base has them: 2 files, 2 bytes"_s};
    row("without a base", u"new"_s, {u"changed"_s, u"d/new"_s, u"d/same"_s, u"same"_s}, {});
    row("a folder as base", u"--base client -x gone/ new"_s, needed,
        QStringList{u"warning: the pattern \"gone/\" excludes nothing"_s} + leftOut);
    row("a manifest as base", u"--base-manifest client.json new"_s, needed, leftOut);
    row("releases since then", u"--base client --since 1.1.json --since 1.2.json new"_s,
        {u"changed"_s, u"d/new"_s, u"same"_s},
        ofReleases + QStringList{u"left out, as the base has them: 1 file, 1 byte"_s});
    row("releases without a base", u"--since 1.1.json new"_s,
        {u"changed"_s, u"d/new"_s, u"d/same"_s, u"same"_s}, ofReleases);
    row("an excluded file of the base is not missing", u"--base client -x gon? -x d/ new"_s,
        {u"changed"_s},
        {u"\"d\": excluded"_s, u"warning: the pattern \"gon?\" excludes nothing"_s,
         u"left out, as the base has them: 1 file, 1 byte"_s});
    row("an excluded file of a release is missing", u"--since 1.2.json -x same new"_s,
        {u"changed"_s, u"d/new"_s},
        {u"\"d/same\": excluded"_s, u"\"same\": excluded"_s, unlisted(u"same"_s),
         u"warning: 1 file"_s + keptFromReleases});
}

void TestZelManifestCli::onlyFilesThatPlayersNeedAreListed()
{
    QFETCH(const QString, arguments);
    QFETCH(const QStringList, messages);
    QFETCH(const QStringList, listed);
    for (const auto &[name, content] : {std::pair{u"client/same"_s, "1"},
                                        {u"client/d/same"_s, "1"},
                                        {u"client/changed"_s, "1"},
                                        {u"client/gone"_s, "1"},
                                        {u"client/Config.bin"_s, "1"},
                                        {u"new/same"_s, "1"},
                                        {u"new/d/same"_s, "1"},
                                        {u"new/changed"_s, "2"},
                                        {u"new/d/new"_s, "1"},
                                        {u"1.1/1.1"_s, "1"},
                                        {u"1.1/changed"_s, "3"},
                                        {u"1.1/gone"_s, "2"},
                                        {u"1.2/same"_s, "2"}}) {
        Disk::write(at(name), content);
    }
    for (const QString &name : {u"client"_s, u"1.1"_s, u"1.2"_s}) {
        QCOMPARE(manifest(u"-q -p0 -o %1.json %1"_s.arg(name)).exitCode, 0);
    }
    const Outcome outcome = manifest(u"-p2 -o out.json "_s + arguments);
    QCOMPARE(outcome.exitCode, 0);
    QStringList lines = linesOf(outcome);
    QCOMPARE(lines.takeLast(),
             cost(u"%1 file%2"_s.arg(listed.size()).arg(listed.size() == 1 ? u""_s : u"s"_s)));
    QVERIFY(lines.takeLast().startsWith(u"written: \"out.json\": version \"2\", "_s));
    QCOMPARE(lines, messages);
    QCOMPARE(listedIn(u"out.json"_s, u"path"_s), listed);
}

void TestZelManifestCli::aPathInAnotherLetterCaseIsRefusedOrFixed()
{
    for (const QString &name : {u"client/Data/Map/a"_s, u"client/Data/Map/b"_s, u"client/x"_s}) {
        Disk::write(at(name), "1");
    }
    for (const QString &name : {u"new/data/MAP/B"_s, u"new/data/c"_s, u"new/X"_s}) {
        Disk::write(at(name), "2");
    }
    Disk::write(at(u"new/data/MAP/a"_s), "1");
    Disk::write(at(u"out.json"_s), old);
    const QString refused = u"error: \"%1\": differs from \"%2\", which players have, only in "
                            "letter case, which Windows ignores; --fix-case publishes it under "
                            "that name"_s;
    Outcome outcome = manifest(u"-p2 -o out.json --base client new"_s);
    QCOMPARE(linesOf(outcome),
             QStringList({refused.arg(u"X"_s, u"x"_s), refused.arg(u"data"_s, u"Data"_s),
                          refused.arg(u"data/MAP"_s, u"Data/Map"_s),
                          refused.arg(u"data/MAP/B"_s, u"Data/Map/b"_s)}));
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(Disk::read(at(u"out.json"_s)), old);

    // The URL remains that of the file.
    const QString fixed = u"\"%1\": published as \"%2\", which players have"_s;
    outcome = manifest(u"-p2 -o out.json --base client --fix-case --url-prefix r new"_s);
    QCOMPARE(linesOf(outcome).first(4),
             QStringList({fixed.arg(u"X"_s, u"x"_s), fixed.arg(u"data"_s, u"Data"_s),
                          fixed.arg(u"data/MAP"_s, u"Data/Map"_s),
                          fixed.arg(u"data/MAP/B"_s, u"Data/Map/b"_s)}));
    QVERIFY(linesOf(outcome).contains(u"left out, as the base has them: 1 file, 1 byte"_s));
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(listedIn(u"out.json"_s, u"path"_s),
             QStringList({u"Data/Map/b"_s, u"Data/c"_s, u"x"_s}));
    QCOMPARE(listedIn(u"out.json"_s, u"url"_s),
             QStringList({u"r/data/MAP/B"_s, u"r/data/c"_s, u"r/X"_s}));

    // The manifest of a release has the base's letter case, too.
    outcome = manifest(u"-p3 -n --base client --since out.json --fix-case new"_s);
    QVERIFY2(!outcome.messages.contains(u"warning"_s), qPrintable(outcome.messages));

    // All errors are reported together; two paths of the patch cannot be fixed.
    Disk::write(at(u"new/data/map/B"_s), "2");
    const QString twin = u"error: \"data/map\": differs from \"data/MAP\" only in letter case, "
                         "which Windows ignores"_s;
    const QStringList lines = linesOf(manifest(u"-q -p2 -o none.json --base client new"_s));
    QCOMPARE(lines.first(2), QStringList({twin, refused.arg(u"X"_s, u"x"_s)}));
    outcome = manifest(u"-q -p2 -o none.json --base client --fix-case new"_s);
    QCOMPARE(linesOf(outcome), QStringList{twin});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(!QFile::exists(at(u"none.json"_s)));
}

void TestZelManifestCli::aFileInThePlaceOfAFolderIsRefused_data()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("usually") << u"-q"_s;
    QTest::newRow("with --fix-case") << u"--fix-case"_s;
}

void TestZelManifestCli::aFileInThePlaceOfAFolderIsRefused()
{
    QFETCH(const QString, option);
    for (const QString &name :
         {u"client/Data/x"_s, u"client/file"_s, u"1/released"_s, u"new/data"_s, u"new/file/a"_s,
          u"new/file/b"_s, u"new/released/a"_s}) {
        Disk::write(at(name), "1");
    }
    Disk::write(at(u"out.json"_s), old);
    QCOMPARE(manifest(u"-p1 -o 1.json 1"_s).exitCode, 0);
    const Outcome outcome =
        manifest(option + u" -p2 -o out.json --base client --since 1.json new"_s);
    const QString byFolder =
        u"error: \"%1\": players have a file \"%2\", which the launcher cannot replace by a folder"_s;
    QCOMPARE(linesOf(outcome),
             QStringList({u"error: \"data\": players have a folder \"Data\", which the launcher "
                          "cannot replace by a file"_s,
                          byFolder.arg(u"file/a"_s, u"file"_s),
                          byFolder.arg(u"released/a"_s, u"released"_s)}));
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(Disk::read(at(u"out.json"_s)), old);
}

void TestZelManifestCli::ofManyMissingFilesTheFirstAreNamed()
{
    for (int i = 10; i < 22; ++i) {
        Disk::write(at(u"client/%1"_s.arg(i)), "1");
    }
    const QStringList lines = linesOf(manifest(u"-q -p1 --base client patch"_s));
    QCOMPARE(lines.size(), 11);
    QVERIFY(lines.first().startsWith(u"warning: \"10\": "_s));
    QVERIFY(lines.at(9).startsWith(u"warning: \"19\": "_s));
    QVERIFY(lines.last().startsWith(u"warning: 12 files in all: "_s));
}

void TestZelManifestCli::patternsAreReadFromFiles()
{
    for (const QString &name : {u"new/a.tmp"_s, u"new/#b"_s, u"new/ c"_s, u"new/d"_s, u"new/e"_s}) {
        Disk::write(at(name), "1");
    }
    Disk::write(at(u"1"_s), "# temporary\r\n*.tmp\r\n\r\n \t\n c");
    Disk::write(at(u"2"_s), "[#]b\n");
    QCOMPARE(manifest(u"-q -p1 -o o.json --exclude-from 1 --exclude-from 2 -x d new"_s).exitCode,
             0);
    QCOMPARE(listedIn(u"o.json"_s, u"path"_s), QStringList{u"e"_s});
}

void TestZelManifestCli::theManifestIsDownloadedToo()
{
    for (int i = 0; i < 100; ++i) {
        Disk::write(at(u"new/"_s + QString::number(i).rightJustified(200, u'0')), {});
    }
    const QString last = linesOf(manifest(u"-p1 new"_s)).constLast();
    const double bytes = double(QFileInfo(at(u"new/manifest.json"_s)).size());
    QVERIFY(bytes > 50000);
    QCOMPARE(last,
             u"each start downloads the manifest and 100 files, %1 MiB; 1,000 starts %2 GiB"_s.arg(
                 QString::number(bytes / 1024 / 1024, 'f', 2),
                 QString::number(1000 * bytes / 1024 / 1024 / 1024, 'f', 2)));
}

void TestZelManifestCli::aLargeFileIsWarnedOf()
{
    makeLongFile((qint64(256) << 20) + 1);
    const QString warning =
        u"warning: \"long\": has 256.0 MiB; the launcher holds a whole file in memory"_s;
    QCOMPARE(linesOf(manifest(u"-q -p1 patch"_s)), QStringList{warning});
    QCOMPARE(linesOf(manifest(u"-q -p1 --warn-size 257 patch"_s)), QStringList());
    QCOMPARE(linesOf(manifest(u"-q -p1 --warn-size 0 patch"_s)),
             QStringList({u"warning: \"a b\": has 1 byte; the launcher holds a whole file in "
                          "memory"_s,
                          warning}));
    // No player downloads a file that the base has.
    Disk::makeLink(at(u"client"_s), u"patch"_s);
    QCOMPARE(linesOf(manifest(u"-q -p1 --base client -x a* patch"_s)).size(), 1);
    makeLongFile(qint64(256) << 20);
    QCOMPARE(linesOf(manifest(u"-q -p1 patch"_s)), QStringList());
}

void TestZelManifestCli::aListedFileOfThePlayersSettingsIsWarnedOf()
{
    Disk::write(at(u"patch/sn.bin"_s), "1");
    Disk::write(at(u"client/sn.bin"_s), "1");
    QCOMPARE(linesOf(manifest(u"-q -p1 --base client patch"_s)), QStringList());
    Disk::write(at(u"client/sn.bin"_s), "2");
    QCOMPARE(linesOf(manifest(u"-q -p1 --base client patch"_s)),
             QStringList{u"warning: \"sn.bin\": the launcher writes this file from the player's "
                         "settings; the patch will replace it at every start"_s});
}

ZEL_TEST_MAIN(TestZelManifestCli)

#include "tst_zelmanifestcli.moc"
