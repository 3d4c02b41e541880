#include "support/files/Disk.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

struct Outcome {
    int exitCode;
    QString output;   ///< What was on standard output.
    QString messages; ///< What was on standard error.
};

Outcome run(const QString &program, const QStringList &arguments, const QString &folder,
            const QMap<QString, QString> &variables = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto it = variables.begin(); it != variables.end(); ++it) {
        environment.insert(it.key(), it.value());
    }
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    process.waitForFinished(-1);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

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

/// The real program, as operators run it: in a folder that holds a folder "patch" with one file
/// and an old manifest.
class TestZelManifestCli : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void helpAndVersionArePrinted();
    void theManualPageAndTheGuideKnowEveryOption();
    void theManualPageIsCorrect();
    void wrongUsageIsCode2();
    void aManifestIsWritten();
    void theManifestDoesNotDependOnTheLocale_data();
    void theManifestDoesNotDependOnTheLocale();
    void aFolderWithoutFilesIsWarnedOf();
    void outputGoesToAnotherFile();
    void outputReplacesNoFileOfThePatch();
    void outputInTheFolderCanBeReplacedByTheNextOne();
    void excludedNamesAreShownUnlessQuiet();
    void dryRunWritesNothing();
    void aRefusalIsCode1AndShowsAllProblems();
    void whatCannotBeReadOrWrittenIsCode3_data();
    void whatCannotBeReadOrWrittenIsCode3();
    void aFullDiskIsCode3AndLeavesTheOldManifest();
    void aFullStandardOutputIsCode3();
    void withoutSha256NoManifestIsWritten();
    void aKilledRunLeavesTheOldManifest();
    void anUnreachableServerIsCode5();
    void progressIsShownOnATerminal();

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
    /// A file that takes a while to read, without room on the disk.
    void makeLongFile(qint64 size) const
    {
        QFile file(at(u"patch/long"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(size));
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

void TestZelManifestCli::wrongUsageIsCode2()
{
    Outcome outcome = manifest(u"-p1"_s);
    QCOMPARE(outcome.messages, u"zel-manifest: error: which folder?\n"
                               "zel-manifest: see zel-manifest --help\n"_s);
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.exitCode, 2);
    outcome = manifest(u"-q -p1"_s);
    QCOMPARE(outcome.messages, u"zel-manifest: error: which folder?\n"_s);
    QCOMPARE(outcome.exitCode, 2);
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

void TestZelManifestCli::theManifestDoesNotDependOnTheLocale_data()
{
    QTest::addColumn<QString>("locale");
    for (const char *locale : {"", "C", "C.UTF-8", "xx_XX", "pt_BR.ISO-8859-1"}) {
        QTest::addRow("locale \"%s\"", locale) << QString::fromLatin1(locale);
    }
}

void TestZelManifestCli::theManifestDoesNotDependOnTheLocale()
{
    QFETCH(const QString, locale);
    Disk::write(at(u"patch/ção"_s), "x");
    Disk::write(at(u"patch/B"_s), "x");
    const Outcome outcome =
        manifest(u"-p versão patch"_s, {{u"LC_ALL"_s, locale}, {u"LANG"_s, u"C"_s}});
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY2(outcome.messages.startsWith(u"zel-manifest: written: "_s),
             qPrintable(outcome.messages));
    const QByteArray manifest = Disk::read(manifestPath());
    QVERIFY(manifest.contains("\"version\": \"vers\xC3\xA3o\""));
    QVERIFY(manifest.contains("\"url\": \"%C3%A7%C3%A3o\""));
    QVERIFY(manifest.indexOf("\"B\"") < manifest.indexOf("\"a b\""));
    QVERIFY(manifest.indexOf("\"a b\"") < manifest.indexOf("\"\xC3\xA7\xC3\xA3o\""));
}

void TestZelManifestCli::aFolderWithoutFilesIsWarnedOf()
{
    Disk::makeFolder(at(u"none"_s));
    const Outcome outcome = manifest(u"-q -p1 none"_s);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.messages, u"zel-manifest: warning: the manifest lists no file: launchers will "
                               "take over the version and download nothing\n"_s);
    QCOMPARE(Disk::read(at(u"none/manifest.json"_s)),
             "{\n\"version\": \"1\",\n\"files\": [\n]\n}\n"_ba);
}

void TestZelManifestCli::outputGoesToAnotherFile()
{
    const Outcome outcome = manifest(u"-p1 --output other.json patch"_s);
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(Disk::read(at(u"other.json"_s)).contains("\"a b\""));
    QCOMPARE(Disk::read(manifestPath()), old);
    QVERIFY(outcome.messages.contains(u"warning: \"manifest.json\": not listed; it is where the "
                                      "launcher looks for the manifest\n"_s));
    QVERIFY(!Disk::read(at(u"other.json"_s)).contains("manifest.json"));
}

void TestZelManifestCli::outputReplacesNoFileOfThePatch()
{
    Disk::makeLink(at(u"link"_s), u"patch/a b"_s);
    for (const QString &output : {u"patch/a b"_s, u"patch/../patch/a b"_s, u"link"_s}) {
        const Outcome outcome =
            run(QStringLiteral(ZEL_MANIFEST), {u"-p1"_s, u"-o"_s, output, u"patch"_s}, folder());
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY(outcome.messages.contains(
            u"error: \"a b\": is no manifest, so --output shall not replace it\n"_s));
        QCOMPARE(Disk::read(at(u"patch/a b"_s)), "x"_ba);
    }
}

void TestZelManifestCli::outputInTheFolderCanBeReplacedByTheNextOne()
{
    QCOMPARE(manifest(u"-p1 -o patch/list.json patch"_s).exitCode, 0);
    const QByteArray first = Disk::read(at(u"patch/list.json"_s));
    QCOMPARE(manifest(u"-p1 -o patch/list.json patch"_s).exitCode, 0);
    QCOMPARE(Disk::read(at(u"patch/list.json"_s)), first);
    QVERIFY(!first.contains("list.json"));
}

void TestZelManifestCli::excludedNamesAreShownUnlessQuiet()
{
    Disk::write(at(u"patch/c.tmp"_s), "x");
    Disk::write(at(u"patch/logs/d"_s), "x");
    Outcome outcome = manifest(u"-p1 -x *.tmp --exclude=logs/ patch"_s);
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY2(outcome.messages.startsWith(u"zel-manifest: \"c.tmp\": excluded\n"
                                         "zel-manifest: \"logs\": excluded\n"_s),
             qPrintable(outcome.messages));
    QCOMPARE(Disk::read(manifestPath()).count("\"path\""), 1);

    outcome = manifest(u"-q -p1 -x *.tmp --exclude=logs/ patch"_s);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.messages, QString());
}

void TestZelManifestCli::dryRunWritesNothing()
{
    const Outcome outcome = manifest(u"-p1 -n -o none/x.json patch"_s);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(Disk::read(manifestPath()), old);
    QCOMPARE(filesInPatch(), QStringList({u"a b"_s, u"manifest.json"_s}));
    QVERIFY(outcome.messages.endsWith(u"zel-manifest: not written: \"none/x.json\": version \"1\", "
                                      "1 file, 1 byte\n"_s));
    QCOMPARE(manifest(u"-p1 patch"_s).exitCode, 0);
    QCOMPARE(Disk::read(manifestPath()), outcome.output.toUtf8());
}

void TestZelManifestCli::aRefusalIsCode1AndShowsAllProblems()
{
    Disk::makeLink(at(u"patch/nowhere"_s), u"none"_s);
    Disk::write(at(u"patch/A B"_s), "x");
    Disk::write(at(u"patch/con"_s), "x");
    const Outcome outcome = manifest(u"-q -p1 patch"_s);
    QCOMPARE(outcome.messages,
             u"zel-manifest: warning: \"con\": Windows keeps the name CON for a device\n"
             "zel-manifest: error: \"nowhere\": is a symbolic link that leads nowhere\n"
             "zel-manifest: error: \"a b\": differs from \"A B\" in letter case alone, which "
             "Windows ignores\n"_s);
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(Disk::read(manifestPath()), old);
}

void TestZelManifestCli::whatCannotBeReadOrWrittenIsCode3_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("no such folder") << u"-p1 none"_s << u"\"none\" is not a folder"_s;
    QTest::newRow("a file") << u"-p1 patch/manifest.json"_s
                            << u"\"patch/manifest.json\" is not a folder"_s;
    QTest::newRow("no folder for the manifest")
        << u"-p1 -o none/m.json patch"_s << u"there is no folder to write \"none/m.json\" in"_s;
    QTest::newRow("a folder in place of the manifest")
        << u"-p1 -o . patch"_s << u"cannot write \".\": "_s;
    QTest::newRow("a file without a true size")
        << u"-np1 /proc/sys/kernel/random"_s
        << u"\"/proc/sys/kernel/random/boot_id\": changed while it was read"_s;
    QTest::newRow("no manifest to compare with")
        << u"-u http://127.0.0.1:1 -o none.json"_s << u"\"none.json\": No such file"_s;
}

void TestZelManifestCli::whatCannotBeReadOrWrittenIsCode3()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, message);
    const Outcome outcome = manifest(arguments);
    QVERIFY2(outcome.messages.contains(u"zel-manifest: error: "_s + message),
             qPrintable(outcome.messages));
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(Disk::read(manifestPath()), old);
}

void TestZelManifestCli::aFullDiskIsCode3AndLeavesTheOldManifest()
{
    for (int i = 0; i < 40; ++i) {
        Disk::write(at(u"patch/file %1"_s.arg(i)), "x");
    }
    // Writes beyond a size fail; "ulimit -f" counts in 1024 bytes.
    const Outcome outcome = shell(u"trap '' XFSZ; ulimit -f 2; exec \"$0\" -p1 patch"_s);
    QVERIFY2(outcome.messages.startsWith(
                 u"zel-manifest: error: cannot write \"patch/manifest.json\": "_s),
             qPrintable(outcome.messages));
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(Disk::read(manifestPath()), old);
    QCOMPARE(filesInPatch().size(), 42); // no temporary is left
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
    makeLongFile(qint64(1) << 40); // more than anyone waits for
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

void TestZelManifestCli::anUnreachableServerIsCode5()
{
    const Outcome outcome = manifest(u"-u http://127.0.0.1:1/"_s);
    QCOMPARE(outcome.messages, u"zel-manifest: error: \"manifest.json\": Connection refused\n"_s);
    QCOMPARE(outcome.exitCode, 5);
}

void TestZelManifestCli::progressIsShownOnATerminal()
{
    if (QStandardPaths::findExecutable(u"script"_s).isEmpty()) {
        QSKIP("script, which makes a terminal, is not installed");
    }
    makeLongFile(qint64(1) << 30);
    const Outcome outcome =
        shell(u"script --quiet --return --command \"'$0' -p1 patch\" /dev/null"_s);
    QCOMPARE(outcome.exitCode, 0);
    static const QRegularExpression line(
        u"\rreading \\d+ %, \\S+ (MiB|GiB) of 1\\.0 GiB, [01] of 2 files *\r"_s);
    QVERIFY2(line.match(outcome.output).hasMatch(), qPrintable(outcome.output));
    // The line is gone when the result is there.
    static const QRegularExpression end(u"\r +\rzel-manifest: written: .*\r\n$"_s);
    QVERIFY2(end.match(outcome.output).hasMatch(), qPrintable(outcome.output));
}

ZEL_TEST_MAIN(TestZelManifestCli)

#include "tst_zelmanifestcli.moc"
