#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <sys/stat.h>

#include "support/files/Disk.h"

namespace
{

struct Outcome {
    int exitCode;
    QString output;   ///< What was on standard output.
    QString messages; ///< What was on standard error.
};

Outcome outcomeOf(QProcess *process)
{
    process->waitForFinished(-1);
    return {process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1,
            QString::fromUtf8(process->readAllStandardOutput()),
            QString::fromUtf8(process->readAllStandardError())};
}

Outcome runManifest(const QStringList &arguments, const QString &folder = QString(),
                    const QMap<QString, QString> &variables = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto it = variables.begin(); it != variables.end(); ++it) {
        environment.insert(it.key(), it.value());
    }
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral(ZEL_MANIFEST), arguments);
    return outcomeOf(&process);
}

Outcome runShell(const QString &command, const QString &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral("/bin/bash"),
                  {QStringLiteral("-c"), command, QStringLiteral(ZEL_MANIFEST)});
    return outcomeOf(&process);
}

const QByteArray sha256OfX("2d711642b726b04401627ca9fbac32f5c8530fb1903cc4db02258717921a4881");

} // namespace

/// The real program, as operators run it: in a folder that holds a folder "patch" with one file
/// and an old manifest.
class TestZelManifestCli : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void helpSaysAllAndSucceeds();
    void theManualPageAndTheGuideKnowEveryOption();
    void theManualPageIsCorrect();
    void versionIsThatOfTheLauncher();
    void wrongUsageIsCode2_data();
    void wrongUsageIsCode2();

    void aManifestIsWritten();
    void theManifestDoesNotDependOnTheLocale_data();
    void theManifestDoesNotDependOnTheLocale();
    void anEmptyVersionCanBeAllowed_data();
    void anEmptyVersionCanBeAllowed();
    void aFolderWithoutFilesIsWarnedOf();
    void outputGoesToAnotherFile();
    void outputReplacesNoFileOfThePatch();
    void outputInTheFolderCanBeReplacedByTheNextOne();
    void urlPrefixGoesBeforeEachUrl_data();
    void urlPrefixGoesBeforeEachUrl();
    void excludedNamesAreToldUnlessQuiet();
    void dryRunWritesNothing();
    void quietLeavesWarningsAndErrors();

    void aRefusalIsCode1AndLeavesTheOldManifest();
    void allProblemsAreToldAtOnce();
    void anUnreadablePlaceIsCode3_data();
    void anUnreadablePlaceIsCode3();
    void aFullDiskIsCode3AndLeavesTheOldManifest();
    void aFullStandardOutputIsCode3();
    void aKilledRunLeavesTheOldManifest();
    void anUnreachableServerIsCode5();

    void progressIsShownOnATerminal();
    void progressIsNotShownElsewhere();

private:
    QString manifestPath() const { return at(QStringLiteral("patch/manifest.json")); }
    QStringList filesInPatch() const { return Disk::names(at(QStringLiteral("patch"))); }
    /// A file that takes a while to read, without room on the disk.
    void makeLongFile(qint64 size) const
    {
        QFile file(at(QStringLiteral("patch/long")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(size));
    }

    const QByteArray old = "{\"version\": \"0\", \"files\": []}";
};

void TestZelManifestCli::init()
{
    FolderTest::init();
    Disk::write(at(QStringLiteral("patch/a b")), "x");
    Disk::write(manifestPath(), old);
}

void TestZelManifestCli::helpSaysAllAndSucceeds()
{
    for (const char *option : {"-h", "--help"}) {
        const Outcome outcome = runManifest({QLatin1String(option)});
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.messages, QString());
        QVERIFY(outcome.output.startsWith(
            QStringLiteral("Usage: zel-manifest [options] --patch-version TEXT FOLDER\n")));
        QVERIFY(outcome.output.contains(QStringLiteral("--allow-empty-version")));
        QVERIFY(outcome.output.contains(QStringLiteral("stores the empty one.")));
        for (const char *code : {"0", "1", "2", "3", "4", "5"}) {
            QVERIFY(outcome.output.contains(QStringLiteral("\n  %1  ").arg(QLatin1String(code))));
        }
        const QStringList lines = outcome.output.split(u'\n');
        for (const QString &line : lines) {
            QVERIFY2(line.size() <= 80, qPrintable(line));
        }
    }
}

void TestZelManifestCli::theManualPageAndTheGuideKnowEveryOption()
{
    static const QRegularExpression option(QStringLiteral("--[a-z-]+"));
    const QString help = runManifest({QStringLiteral("--help")}).output;
    const QString sources = QStringLiteral(ZEL_SOURCES);
    const QString page =
        QString::fromUtf8(Disk::read(sources + QStringLiteral("/packaging/man/zel-manifest.1")))
            .replace(QStringLiteral("\\-"), QStringLiteral("-"));
    const QString guide =
        QString::fromUtf8(Disk::read(sources + QStringLiteral("/docs/operators.md")));
    const auto optionsIn = [](const QString &text) {
        QSet<QString> options;
        for (auto it = option.globalMatch(text); it.hasNext();) {
            options.insert(it.next().captured());
        }
        return options;
    };
    QVERIFY(optionsIn(help).size() >= 11);
    QCOMPARE(optionsIn(page), optionsIn(help));
    const QSet<QString> inGuide = optionsIn(guide);
    for (const char *name :
         {"--patch-version", "--exclude", "--output", "--url-prefix", "--allow-empty-version",
          "--dry-run", "--base-url", "--timeout", "--quiet"}) {
        QVERIFY2(inGuide.contains(QLatin1String(name)), name);
    }
}

void TestZelManifestCli::theManualPageIsCorrect()
{
    const QString man = QStandardPaths::findExecutable(QStringLiteral("man"));
    if (man.isEmpty()) {
        QSKIP("man is not installed");
    }
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("MANROFFSEQ"), QString());
    process.setProcessEnvironment(environment);
    process.start(man, {QStringLiteral("--warnings"), QStringLiteral("-l"),
                        QStringLiteral(ZEL_SOURCES "/packaging/man/zel-manifest.1")});
    const Outcome outcome = outcomeOf(&process);
    QCOMPARE(outcome.messages, QString());
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(outcome.output.contains(QStringLiteral("SYNOPSIS")));
}

void TestZelManifestCli::versionIsThatOfTheLauncher()
{
    const Outcome outcome = runManifest({QStringLiteral("--version")});
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.messages, QString());
    static const QRegularExpression expected(
        QRegularExpression::anchoredPattern(QStringLiteral("zel-manifest \\d+\\.\\d+\\.\\d+\n")));
    QVERIFY(expected.match(outcome.output).hasMatch());
}

void TestZelManifestCli::wrongUsageIsCode2_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    const auto row = [](const char *name, const QString &arguments, const QString &message) {
        QTest::newRow(name) << arguments.split(u' ') << message;
    };
    row("no folder", QStringLiteral("-p 1"), QStringLiteral("which folder?"));
    row("two folders", QStringLiteral("-p 1 patch other"),
        QStringLiteral("one folder at a time: \"other\" is too much"));
    row("no version", QStringLiteral("patch"), QStringLiteral("the version is empty; "));
    row("an empty version", QStringLiteral("--patch-version= patch"),
        QStringLiteral("the version is empty; "));
    row("an unknown option", QStringLiteral("--verbose patch"),
        QStringLiteral("Unknown option 'verbose'."));
    row("a missing value", QStringLiteral("patch -p"), QStringLiteral("Missing value after '-p'."));
    row("no pattern", QStringLiteral("-p 1 --exclude= patch"),
        QStringLiteral("\"\" is no pattern for --exclude"));
    row("an open pattern", QStringLiteral("-p 1 -x a -x [b patch"),
        QStringLiteral("\"[b\" is no pattern for --exclude"));
    row("a prefix out of the base", QStringLiteral("-p 1 --url-prefix a/../.. patch"),
        QStringLiteral("\"a/../..\" is no path of a folder below the base URL"));
    row("a prefix that is no folder", QStringLiteral("-p 1 --url-prefix a//b patch"),
        QStringLiteral("\"a//b\" is no path of a folder below the base URL"));
    row("an absolute prefix", QStringLiteral("-p 1 --url-prefix /a patch"),
        QStringLiteral("\"/a\" is no path of a folder below the base URL"));
    row("an empty prefix", QStringLiteral("-p 1 --url-prefix= patch"),
        QStringLiteral("\"\" is no path of a folder below the base URL"));
    row("a time-out without a check", QStringLiteral("-p 1 --timeout 5 patch"),
        QStringLiteral("--timeout is for --base-url"));
    row("a time-out of nothing", QStringLiteral("-u http://127.0.0.1:1 --timeout 0"),
        QStringLiteral("--timeout takes 1 to 86400 seconds"));
    row("a time-out in words", QStringLiteral("-u http://127.0.0.1:1 --timeout ten"),
        QStringLiteral("--timeout takes 1 to 86400 seconds"));
    row("an endless time-out", QStringLiteral("-u http://127.0.0.1:1 --timeout 86401"),
        QStringLiteral("--timeout takes 1 to 86400 seconds"));
    row("an empty base URL", QStringLiteral("--base-url="),
        QStringLiteral("the base URL is empty; launchers then look for no updates"));
    for (const char *option : {"--patch-version=1", "--allow-empty-version", "--exclude=a",
                               "--url-prefix=a", "--dry-run"}) {
        const QString text = QLatin1String(option);
        QTest::addRow("check and %s", option)
            << QStringList{QStringLiteral("-u"), QStringLiteral("http://127.0.0.1:1"), text}
            << text.section(u'=', 0, 0) +
                   QStringLiteral(" is not for --base-url, which writes no manifest");
    }
}

void TestZelManifestCli::wrongUsageIsCode2()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, message);
    const Outcome outcome = runManifest(arguments, folder());
    QVERIFY2(outcome.messages.startsWith(QStringLiteral("zel-manifest: error: ") + message),
             qPrintable(outcome.messages));
    QVERIFY(outcome.messages.endsWith(QStringLiteral("\nzel-manifest: see zel-manifest --help\n")));
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.exitCode, 2);
    QCOMPARE(Disk::read(manifestPath()), old);
}

void TestZelManifestCli::aManifestIsWritten()
{
    const Outcome outcome = runManifest(
        {QStringLiteral("--patch-version"), QStringLiteral("1.0"), QStringLiteral("patch")},
        folder());
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.messages, QStringLiteral("zel-manifest: written: \"patch/manifest.json\": "
                                              "version \"1.0\", 1 file, 1 byte\n"));
    QCOMPARE(Disk::read(manifestPath()),
             "{\n\"version\": \"1.0\",\n\"files\": [\n{\"path\": \"a b\", \"url\": \"a%20b\", "
             "\"size\": 1, \"sha256\": \"" +
                 sha256OfX + "\"}\n]\n}\n");
    QCOMPARE(filesInPatch(), QStringList({QStringLiteral("a b"), QStringLiteral("manifest.json")}));
    const QFile::Permissions everyone = QFile::ReadUser | QFile::ReadGroup | QFile::ReadOther;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    if ((mask & 0444) == 0) {
        QCOMPARE(QFile::permissions(manifestPath()) & everyone, everyone); // a web server reads it
    }
}

void TestZelManifestCli::theManifestDoesNotDependOnTheLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::newRow("none") << "";
    QTest::newRow("C") << "C";
    QTest::newRow("UTF-8") << "C.UTF-8";
    QTest::newRow("unknown") << "xx_XX";
    QTest::newRow("Latin-1") << "pt_BR.ISO-8859-1";
}

void TestZelManifestCli::theManifestDoesNotDependOnTheLocale()
{
    QFETCH(const QString, locale);
    Disk::write(at(QStringLiteral("patch/") + QString::fromUtf8("\xC3\xA7\xC3\xA3o")), "x");
    Disk::write(at(QStringLiteral("patch/B")), "x");
    const Outcome outcome = runManifest(
        {QStringLiteral("-p"), QString::fromUtf8("vers\xC3\xA3o"), QStringLiteral("patch")},
        folder(),
        {{QStringLiteral("LC_ALL"), locale}, {QStringLiteral("LANG"), QStringLiteral("C")}});
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY2(outcome.messages.startsWith(QStringLiteral("zel-manifest: written: ")),
             qPrintable(outcome.messages));
    const QByteArray manifest = Disk::read(manifestPath());
    QVERIFY(manifest.contains("\"version\": \"vers\xC3\xA3o\""));
    QVERIFY(manifest.contains("\"url\": \"%C3%A7%C3%A3o\""));
    QVERIFY(manifest.indexOf("\"B\"") < manifest.indexOf("\"a b\""));
    QVERIFY(manifest.indexOf("\"a b\"") < manifest.indexOf("\"\xC3\xA7\xC3\xA3o\""));
}

void TestZelManifestCli::anEmptyVersionCanBeAllowed_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("left out") << QStringList{QStringLiteral("--allow-empty-version")};
    QTest::newRow("given empty") << QStringList{QStringLiteral("--allow-empty-version"),
                                                QStringLiteral("-p"), QString()};
}

void TestZelManifestCli::anEmptyVersionCanBeAllowed()
{
    QFETCH(const QStringList, arguments);
    const Outcome outcome = runManifest(arguments + QStringList{QStringLiteral("patch")}, folder());
    QCOMPARE(outcome.exitCode, 0);
    const QJsonObject manifest = QJsonDocument::fromJson(Disk::read(manifestPath())).object();
    QCOMPARE(manifest.value(u"version"), QJsonValue(QString()));
}

void TestZelManifestCli::aFolderWithoutFilesIsWarnedOf()
{
    QVERIFY(QDir(folder()).mkpath(QStringLiteral("none")));
    const Outcome outcome = runManifest({QStringLiteral("-p1"), QStringLiteral("none")}, folder());
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(outcome.messages.startsWith(
        QStringLiteral("zel-manifest: warning: the manifest lists no file: ")));
    QCOMPARE(Disk::read(at(QStringLiteral("none/manifest.json"))),
             QByteArray("{\n\"version\": \"1\",\n\"files\": [\n]\n}\n"));
}

void TestZelManifestCli::outputGoesToAnotherFile()
{
    const Outcome outcome = runManifest({QStringLiteral("-p1"), QStringLiteral("--output"),
                                         QStringLiteral("other.json"), QStringLiteral("patch")},
                                        folder());
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(Disk::read(at(QStringLiteral("other.json"))).contains("\"a b\""));
    QCOMPARE(Disk::read(manifestPath()), old);
    QVERIFY(outcome.messages.contains(QStringLiteral("warning: \"manifest.json\": not listed; ")));
    QVERIFY(!Disk::read(at(QStringLiteral("other.json"))).contains("manifest.json"));
}

void TestZelManifestCli::outputReplacesNoFileOfThePatch()
{
    QVERIFY(QFile::link(QStringLiteral("patch/a b"), at(QStringLiteral("link"))));
    for (const char *output : {"patch/a b", "patch/../patch/a b", "link"}) {
        const Outcome outcome = runManifest({QStringLiteral("-p1"), QStringLiteral("-o"),
                                             QLatin1String(output), QStringLiteral("patch")},
                                            folder());
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.messages.contains(
                     QStringLiteral("error: \"a b\": is no manifest, so --output shall not ")),
                 qPrintable(outcome.messages));
        QCOMPARE(Disk::read(at(QStringLiteral("patch/a b"))), QByteArray("x"));
    }
}

void TestZelManifestCli::outputInTheFolderCanBeReplacedByTheNextOne()
{
    const QStringList arguments{QStringLiteral("-p1"), QStringLiteral("-o"),
                                QStringLiteral("patch/list.json"), QStringLiteral("patch")};
    QCOMPARE(runManifest(arguments, folder()).exitCode, 0);
    const QByteArray first = Disk::read(at(QStringLiteral("patch/list.json")));
    QCOMPARE(runManifest(arguments, folder()).exitCode, 0);
    QCOMPARE(Disk::read(at(QStringLiteral("patch/list.json"))), first);
    QVERIFY(!first.contains("list.json"));
}

void TestZelManifestCli::urlPrefixGoesBeforeEachUrl_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QByteArray>("url");
    QTest::newRow("a folder") << "1.0" << QByteArray("1.0/a%20b");
    QTest::newRow("a slash at the end") << "1.0/" << QByteArray("1.0/a%20b");
    QTest::newRow("two folders") << "releases/1.0" << QByteArray("releases/1.0/a%20b");
    QTest::newRow("a name to encode") << "50% #1" << QByteArray("50%25%20%231/a%20b");
}

void TestZelManifestCli::urlPrefixGoesBeforeEachUrl()
{
    QFETCH(const QString, prefix);
    QFETCH(const QByteArray, url);
    const Outcome outcome = runManifest(
        {QStringLiteral("-p1"), QStringLiteral("--url-prefix"), prefix, QStringLiteral("patch")},
        folder());
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(Disk::read(manifestPath()).contains("{\"path\": \"a b\", \"url\": \"" + url + "\", "));
}

void TestZelManifestCli::excludedNamesAreToldUnlessQuiet()
{
    Disk::write(at(QStringLiteral("patch/c.tmp")), "x");
    Disk::write(at(QStringLiteral("patch/logs/d")), "x");
    const QStringList arguments{QStringLiteral("-p1"), QStringLiteral("-x"),
                                QStringLiteral("*.tmp"), QStringLiteral("--exclude=logs/"),
                                QStringLiteral("patch")};
    Outcome outcome = runManifest(arguments, folder());
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY2(outcome.messages.startsWith(QStringLiteral("zel-manifest: \"c.tmp\": excluded\n"
                                                        "zel-manifest: \"logs\": excluded\n")),
             qPrintable(outcome.messages));
    QCOMPARE(Disk::read(manifestPath()).count("\"path\""), 1);

    outcome = runManifest(QStringList{QStringLiteral("-q")} + arguments, folder());
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.messages, QString());
}

void TestZelManifestCli::dryRunWritesNothing()
{
    for (const char *option : {"-n", "--dry-run"}) {
        const Outcome outcome = runManifest(
            {QStringLiteral("-p1"), QLatin1String(option), QStringLiteral("patch")}, folder());
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(Disk::read(manifestPath()), old);
        QCOMPARE(filesInPatch(),
                 QStringList({QStringLiteral("a b"), QStringLiteral("manifest.json")}));
        const QJsonObject manifest = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
        QCOMPARE(manifest.value(u"version"), QJsonValue(QStringLiteral("1")));
        QVERIFY(outcome.messages.startsWith(QStringLiteral("zel-manifest: not written: ")));

        QCOMPARE(runManifest({QStringLiteral("-p1"), QStringLiteral("patch")}, folder()).exitCode,
                 0);
        QCOMPARE(Disk::read(manifestPath()), outcome.output.toUtf8());
        Disk::write(manifestPath(), old);
    }
}

void TestZelManifestCli::quietLeavesWarningsAndErrors()
{
    Disk::write(at(QStringLiteral("patch/nul")), "x");
    Outcome outcome = runManifest(
        {QStringLiteral("-q"), QStringLiteral("-p1"), QStringLiteral("patch")}, folder());
    QCOMPARE(outcome.messages, QStringLiteral("zel-manifest: warning: \"nul\": Windows keeps the "
                                              "name NUL for a device\n"));
    QCOMPARE(outcome.exitCode, 0);
    outcome = runManifest({QStringLiteral("--quiet"), QStringLiteral("-p1")}, folder());
    QCOMPARE(outcome.messages, QStringLiteral("zel-manifest: error: which folder?\n"));
}

void TestZelManifestCli::aRefusalIsCode1AndLeavesTheOldManifest()
{
    Disk::write(at(QStringLiteral("patch/A B")), "x");
    const Outcome outcome = runManifest({QStringLiteral("-p1"), QStringLiteral("patch")}, folder());
    QCOMPARE(outcome.messages,
             QStringLiteral("zel-manifest: error: \"a b\": differs from \"A B\" in letter case "
                            "alone, which Windows ignores\n"));
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(Disk::read(manifestPath()), old);
}

void TestZelManifestCli::allProblemsAreToldAtOnce()
{
    QVERIFY(QFile::link(QStringLiteral("/etc"), at(QStringLiteral("patch/out"))));
    QVERIFY(QFile::link(QStringLiteral("none"), at(QStringLiteral("patch/nowhere"))));
    Disk::write(at(QStringLiteral("patch/A B")), "x");
    Disk::write(at(QStringLiteral("patch/con")), "x");
    const Outcome outcome = runManifest({QStringLiteral("-p1"), QStringLiteral("patch")}, folder());
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.messages.count(QStringLiteral("error: ")), 3);
    QCOMPARE(outcome.messages.count(QStringLiteral("warning: ")), 1);
}

void TestZelManifestCli::anUnreadablePlaceIsCode3_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("no such folder")
        << QStringList{QStringLiteral("-p1"), QStringLiteral("none")} << "\"none\" is not a folder";
    QTest::newRow("a file") << QStringList{QStringLiteral("-p1"), QStringLiteral("patch/a b")}
                            << "\"patch/a b\" is not a folder";
    QTest::newRow("no folder for the manifest")
        << QStringList{QStringLiteral("-p1"), QStringLiteral("-o"), QStringLiteral("none/m.json"),
                       QStringLiteral("patch")}
        << "there is no folder to write \"none/m.json\" in";
    QTest::newRow("a folder in place of the manifest")
        << QStringList{QStringLiteral("-p1"), QStringLiteral("-o"), QStringLiteral("."),
                       QStringLiteral("patch")}
        << "cannot write \".\": ";
    QTest::newRow("a file that reads longer than it is")
        << QStringList{QStringLiteral("-np1"), QStringLiteral("/proc/sys/kernel/random")}
        << "\"/proc/sys/kernel/random/boot_id\": changed while it was read";
}

void TestZelManifestCli::anUnreadablePlaceIsCode3()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, message);
    const Outcome outcome = runManifest(arguments, folder());
    QVERIFY2(outcome.messages.contains(QStringLiteral("zel-manifest: error: ") + message),
             qPrintable(outcome.messages));
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(Disk::read(manifestPath()), old);
}

void TestZelManifestCli::aFullDiskIsCode3AndLeavesTheOldManifest()
{
    for (int i = 0; i < 40; ++i) {
        Disk::write(at(QStringLiteral("patch/file %1").arg(i)), "x");
    }
    // Writes beyond a size fail; "ulimit -f" counts in 1024 bytes.
    const Outcome outcome =
        runShell(QStringLiteral("trap '' XFSZ; ulimit -f 2; exec \"$0\" -p1 patch"), folder());
    QVERIFY2(outcome.messages.startsWith(
                 QStringLiteral("zel-manifest: error: cannot write \"patch/manifest.json\": ")),
             qPrintable(outcome.messages));
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(Disk::read(manifestPath()), old);
    QCOMPARE(filesInPatch().size(), 42); // no temporary is left
}

void TestZelManifestCli::aFullStandardOutputIsCode3()
{
    const Outcome outcome = runShell(QStringLiteral("exec \"$0\" -np1 patch >/dev/full"), folder());
    QCOMPARE(outcome.messages,
             QStringLiteral("zel-manifest: error: cannot write to standard output\n"));
    QCOMPARE(outcome.exitCode, 3);
}

void TestZelManifestCli::aKilledRunLeavesTheOldManifest()
{
    makeLongFile(qint64(1) << 40); // more than anyone waits for
    QProcess process;
    process.setWorkingDirectory(folder());
    process.start(QStringLiteral(ZEL_MANIFEST), {QStringLiteral("-p1"), QStringLiteral("patch")});
    QVERIFY(process.waitForStarted());
    // It is reading when it has the file open.
    const QDir open(QStringLiteral("/proc/%1/fd").arg(process.processId()));
    QVERIFY(QTest::qWaitFor(
        [&] {
            const QFileInfoList files =
                open.entryInfoList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
            return std::any_of(files.begin(), files.end(), [](const QFileInfo &file) {
                return file.symLinkTarget().endsWith(QStringLiteral("/patch/long"));
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
    const Outcome outcome =
        runManifest({QStringLiteral("-u"), QStringLiteral("http://127.0.0.1:1/")}, folder());
    QCOMPARE(outcome.messages,
             QStringLiteral("zel-manifest: error: manifest.json: Connection refused\n"));
    QCOMPARE(outcome.exitCode, 5);
}

void TestZelManifestCli::progressIsShownOnATerminal()
{
    if (QStandardPaths::findExecutable(QStringLiteral("script")).isEmpty()) {
        QSKIP("script, which makes a terminal, is not installed");
    }
    makeLongFile(qint64(2) << 30);
    const QString command =
        QStringLiteral("script --quiet --return --command \"'$0' %1 -p1 patch\" /dev/null");
    const Outcome shown = runShell(command.arg(QString()), folder());
    QCOMPARE(shown.exitCode, 0);
    static const QRegularExpression line(
        QStringLiteral("\rreading \\d+ %, \\S+ (MiB|GiB) of 2\\.0 GiB, [01] of 2 files *\r"));
    QVERIFY2(line.match(shown.output).hasMatch(), qPrintable(shown.output));
    // The line is gone when the result is there.
    static const QRegularExpression end(QStringLiteral("\r +\rzel-manifest: written: .*\r\n$"));
    QVERIFY2(end.match(shown.output).hasMatch(), qPrintable(shown.output));

    const Outcome quiet = runShell(command.arg(QStringLiteral("-q")), folder());
    QCOMPARE(quiet.exitCode, 0);
    QCOMPARE(quiet.output, QString());
}

void TestZelManifestCli::progressIsNotShownElsewhere()
{
    makeLongFile(qint64(1) << 30);
    const Outcome outcome = runManifest({QStringLiteral("-p1"), QStringLiteral("patch")}, folder());
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.messages, QStringLiteral("zel-manifest: written: \"patch/manifest.json\": "
                                              "version \"1\", 2 files, 1.0 GiB\n"));
}

ZEL_TEST_MAIN(TestZelManifestCli)

#include "tst_zelmanifestcli.moc"
