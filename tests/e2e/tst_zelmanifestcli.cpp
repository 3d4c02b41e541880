#include "support/files/Disk.h"

#include <QDir>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>

#include "Outcome.h"

using namespace Qt::StringLiterals;

namespace
{

QSet<QString> optionsIn(const QString &text)
{
    static const QRegularExpression option(u"--[a-z-]+"_s);
    QSet<QString> options;
    for (auto it = option.globalMatch(text); it.hasNext();) {
        options.insert(it.next().captured());
    }
    return options;
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
    void theManualPageIsCorrect();
    void aManifestIsWritten();
    void theManifestDoesNotDependOnTheLocale();
    void dryRunPrintsWhatWouldBeWritten();
    void everyRunShowsItsMessagesAndEndsWithItsCode_data();
    void everyRunShowsItsMessagesAndEndsWithItsCode();
    void aFullStandardOutputIsCode3();
    void withoutSha256NoManifestIsWritten();
    void aKilledRunLeavesTheOldManifest();
    void progressIsShownOnATerminalOnly();

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
    const QSet<QString> missing =
        options - optionsIn(QString::fromUtf8(Disk::read(sources + u"/docs/operators.md"_s)));
    QCOMPARE(missing, (QSet<QString>{u"--help"_s, u"--version"_s}));
}

void TestZelManifestCli::theManualPageIsCorrect()
{
    const QString man = QStandardPaths::findExecutable(u"man"_s);
    if (man.isEmpty()) {
        QSKIP("man is not installed");
    }
    const Outcome outcome =
        run(man,
            {u"--warnings"_s, u"-l"_s, QStringLiteral(ZEL_SOURCES "/packaging/man/zel-manifest.1")},
            folder(), {{u"LC_ALL"_s, u"C.UTF-8"_s}, {u"MANROFFSEQ"_s, {}}});
    QCOMPARE(outcome.messages, QString());
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(outcome.output.contains(u"SYNOPSIS"_s));
}

void TestZelManifestCli::aManifestIsWritten()
{
    const Outcome outcome = manifest(u"-p 1.0 --url-prefix r patch"_s);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.messages, u"zel-manifest: written: \"patch/manifest.json\": "
                               "version \"1.0\", 1 file, 1 byte\n"_s);
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
        QCOMPARE(outcome.messages, u"zel-manifest: written: \"patch/manifest.json\": version "
                                   "\"versão\", 3 files, 3 bytes\n"_s);
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
    QVERIFY(outcome.messages.endsWith(u"zel-manifest: not written: \"none/x.json\": version \"1\", "
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
        {absent, u"written: \"other.json\": version \"1\", 1 file, 1 byte"_s});
    // An older manifest may be replaced, a file of the patch must not be.
    row(u"-p1 -o more/old.json more"_s, 0,
        {u"written: \"more/old.json\": version \"1\", 3 files, 3 bytes"_s});
    const QString noManifest =
        u"error: \"c.tmp\": is no manifest, so --output shall not replace it"_s;
    row(u"-p1 -o more/c.tmp more"_s, 1, {noManifest});
    row(u"-p1 -o more/../more/c.tmp more"_s, 1, {noManifest});
    row(u"-p1 -o link more"_s, 1, {noManifest});
    row(u"-p1 -x *.tmp --exclude=logs/ -x old.json more"_s, 0,
        {u"\"c.tmp\": excluded"_s, u"\"logs\": excluded"_s, u"\"old.json\": excluded"_s,
         u"written: \"more/manifest.json\": version \"1\", 1 file, 1 byte"_s});
    row(u"-q -p1 -x *.tmp --exclude=logs/ more"_s, 0, {});
    row(u"-q -p1 bad"_s, 1,
        {u"warning: \"con\": Windows keeps the name CON for a device"_s,
         u"error: \"nowhere\": is a symbolic link that leads nowhere"_s,
         u"error: \"a\": differs from \"A\" only in letter case, which Windows ignores"_s});
    row(u"-p1 none"_s, 3, {u"error: \"none\" is not a folder"_s});
    row(u"-p1 link"_s, 3, {u"error: \"link\" is not a folder"_s});
    row(u"-p1 -o none/m.json patch"_s, 3,
        {u"error: there is no folder to write \"none/m.json\" in"_s});
    row(u"-p1 -o . patch"_s, 3,
        {absent, u"error: cannot write \".\": Filename refers to a directory"_s});
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
    Disk::makeFolder(at(u"empty"_s));
    Disk::makeLink(at(u"bad/nowhere"_s), u"none"_s);
    Disk::makeLink(at(u"link"_s), u"more/c.tmp"_s);
    const Outcome outcome = manifest(arguments);
    QStringList lines = outcome.messages.split(u"zel-manifest: "_s);
    QCOMPARE(lines.takeFirst(), QString());
    lines.replaceInStrings(u"\n"_s, QString());
    QCOMPARE(lines, messages);
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

void TestZelManifestCli::aKilledRunLeavesTheOldManifest()
{
    makeLongFile(qint64(1) << 40); // takes longer than the test
    QProcess process;
    process.setWorkingDirectory(folder());
    process.start(QStringLiteral(ZEL_MANIFEST), {u"-p1"_s, u"patch"_s});
    QVERIFY(process.waitForStarted());
    // It is reading when it has the file open.
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
    // The line is gone when the result is there.
    static const QRegularExpression shown(
        u"\rreading \\d+ %, \\S+ (MiB|GiB) of 1\\.0 GiB, [01] of 2 files *\r +\r"
        "zel-manifest: written: .*\r\n$"_s);
    QVERIFY2(shown.match(outcome.output).hasMatch(), qPrintable(outcome.output));

    QCOMPARE(
        manifest(u"-p1 patch"_s).messages,
        u"zel-manifest: written: \"patch/manifest.json\": version \"1\", 2 files, 1.0 GiB\n"_s);
}

ZEL_TEST_MAIN(TestZelManifestCli)

#include "tst_zelmanifestcli.moc"
