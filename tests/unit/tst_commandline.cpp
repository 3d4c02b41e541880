#include "support/TestMain.h"

#include <QRegularExpression>

#include "zel-manifest/CommandLine.h"

using namespace Qt::StringLiterals;

namespace
{

struct Reading {
    Options options;
    QString error;
};

Reading read(const QStringList &arguments)
{
    Reading result;
    result.options = CommandLine().read(QStringList{u"zel-manifest"_s} + arguments, &result.error);
    return result;
}

Options optionsOf(const QString &arguments)
{
    const Reading reading = read(arguments.split(u' '));
    if (!reading.error.isEmpty()) {
        qWarning().noquote() << reading.error; // fails the test
    }
    return reading.options;
}

} // namespace

class TestCommandLine : public TestBase
{
    Q_OBJECT

private slots:
    void helpSaysAll();
    void theVersionIsThatOfTheProgram();
    void aFolderIsPublished();
    void everyOptionForPublishingIsTaken_data();
    void everyOptionForPublishingIsTaken();
    void anEmptyVersionCanBeAllowed();
    void urlPrefixIsEncodedAndEndsWithASlash_data();
    void urlPrefixIsEncodedAndEndsWithASlash();
    void aBaseUrlIsChecked();
    void thePublishedManifestIsComparedWithThatOfTheFolder_data();
    void thePublishedManifestIsComparedWithThatOfTheFolder();
    void wrongUsageHasAReason_data();
    void wrongUsageHasAReason();
    void wrongUsageCanBeQuiet();
};

void TestCommandLine::helpSaysAll()
{
    for (const QString &option : {u"-h"_s, u"--help"_s, u"-h -p 1 a b"_s}) {
        const Options options = optionsOf(option);
        QCOMPARE(options.task, Options::ShowText);
        QVERIFY(options.text.startsWith(
            u"Usage: zel-manifest [options] --patch-version TEXT FOLDER\n"_s));
        QCOMPARE(options.text.count(u"Usage:"_s), 1);
        QVERIFY(options.text.contains(u"--allow-empty-version"_s));
        QVERIFY(options.text.contains(u"(default: 60)"_s));
        QVERIFY(options.text.contains(u"stores the empty one."_s));
        for (const char code : {'0', '1', '2', '3', '4', '5'}) {
            QVERIFY(options.text.contains(u"\n  %1  "_s.arg(QLatin1Char(code))));
        }
        const QStringList lines = options.text.split(u'\n');
        for (const QString &line : lines) {
            QVERIFY2(line.size() <= 80, qPrintable(line));
        }
    }
}

void TestCommandLine::theVersionIsThatOfTheProgram()
{
    static const QRegularExpression expected(
        QRegularExpression::anchoredPattern(u"zel-manifest \\d+\\.\\d+\\.\\d+\n"_s));
    for (const QString &option : {u"-v"_s, u"--version"_s}) {
        const Options options = optionsOf(option);
        QCOMPARE(options.task, Options::ShowText);
        QVERIFY(expected.match(options.text).hasMatch());
    }
}

void TestCommandLine::aFolderIsPublished()
{
    const Options options = optionsOf(u"-p 1.0 patch"_s);
    QCOMPARE(options.task, Options::Publish);
    QCOMPARE(options.folder, u"patch"_s);
    QCOMPARE(options.manifest, u"patch/manifest.json"_s);
    QCOMPARE(options.version, u"1.0"_s);
    QCOMPARE(options.urlPrefix, QString());
    QVERIFY(options.excludes.isEmpty());
    QVERIFY(!options.dryRun);
    QVERIFY(!options.quiet);
}

void TestCommandLine::everyOptionForPublishingIsTaken_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::newRow("short") << u"-p 1 -x a -x b/ -o x.json --url-prefix r -n -q patch"_s;
    QTest::newRow("long") << u"--patch-version=1 --exclude a --exclude=b/ --output x.json "
                             "--url-prefix=r --dry-run --quiet patch"_s;
}

void TestCommandLine::everyOptionForPublishingIsTaken()
{
    QFETCH(const QString, arguments);
    const Options options = optionsOf(arguments);
    QCOMPARE(options.task, Options::Publish);
    QCOMPARE(options.folder, u"patch"_s);
    QCOMPARE(options.manifest, u"x.json"_s);
    QCOMPARE(options.version, u"1"_s);
    QCOMPARE(options.urlPrefix, u"r/"_s);
    QCOMPARE(options.excludes.size(), 2);
    QCOMPARE(options.excludes.first().text(), u"a"_s);
    QCOMPARE(options.excludes.last().text(), u"b/"_s);
    QVERIFY(options.dryRun);
    QVERIFY(options.quiet);
}

void TestCommandLine::anEmptyVersionCanBeAllowed()
{
    QCOMPARE(optionsOf(u"--allow-empty-version patch"_s).version, QString());
    QCOMPARE(optionsOf(u"--allow-empty-version --patch-version= patch"_s).version, QString());
    QCOMPARE(optionsOf(u"--allow-empty-version -p 1 patch"_s).version, u"1"_s);
}

void TestCommandLine::urlPrefixIsEncodedAndEndsWithASlash_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QString>("encoded");
    QTest::newRow("a folder") << u"1.0"_s << u"1.0/"_s;
    QTest::newRow("a slash at the end") << u"1.0/"_s << u"1.0/"_s;
    QTest::newRow("two folders") << u"releases/1.0"_s << u"releases/1.0/"_s;
    QTest::newRow("a name to encode") << u"50% #1ç"_s << u"50%25%20%231%C3%A7/"_s;
    QTest::newRow("dots in names") << u"..a/.b"_s << u"..a/.b/"_s;
}

void TestCommandLine::urlPrefixIsEncodedAndEndsWithASlash()
{
    QFETCH(const QString, prefix);
    QFETCH(const QString, encoded);
    const Reading reading = read({u"-p1"_s, u"--url-prefix"_s, prefix, u"patch"_s});
    QCOMPARE(reading.error, QString());
    QCOMPARE(reading.options.urlPrefix, encoded);
}

void TestCommandLine::aBaseUrlIsChecked()
{
    Options options = optionsOf(u"-u http://host"_s);
    QCOMPARE(options.task, Options::Check);
    QCOMPARE(options.baseUrl, u"http://host"_s);
    QCOMPARE(options.timeout, 60);
    options = optionsOf(u"--base-url=http://host --timeout 1 -q"_s);
    QCOMPARE(options.timeout, 1);
    QVERIFY(options.quiet);
    QCOMPARE(optionsOf(u"-u http://host --timeout 86400"_s).timeout, 86400);
}

void TestCommandLine::thePublishedManifestIsComparedWithThatOfTheFolder_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("manifest");
    QTest::newRow("no folder") << u"-u http://host"_s << u""_s;
    QTest::newRow("a folder") << u"-u http://host patch"_s << u"patch/manifest.json"_s;
    QTest::newRow("a file") << u"-u http://host -o x.json"_s << u"x.json"_s;
    QTest::newRow("both") << u"-u http://host -o x.json patch"_s << u"x.json"_s;
}

void TestCommandLine::thePublishedManifestIsComparedWithThatOfTheFolder()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, manifest);
    QCOMPARE(optionsOf(arguments).manifest, manifest);
}

void TestCommandLine::wrongUsageHasAReason_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("message");
    const QString noVersion =
        u"the version is empty; give one with --patch-version (or --allow-empty-version if you "
        "know what the launcher then does)"_s;
    const QString noPrefix = u" is no path of a folder below the base URL"_s;
    const QString timeouts = u"--timeout takes 1 to 86400 seconds"_s;
    const QString noBase = u"the base URL is empty; launchers then look for no updates"_s;
    const auto row = [](const char *name, const QString &arguments, const QString &message) {
        QTest::newRow(name) << arguments << message;
    };
    row("no folder", u"-p 1"_s, u"which folder?"_s);
    row("two folders", u"-p 1 patch other"_s, u"one folder at a time: \"other\" is too much"_s);
    row("no version", u"patch"_s, noVersion);
    row("an empty version", u"--patch-version= patch"_s, noVersion);
    row("a version that was no UTF-8", u"-p \uFFFD patch"_s, u"the version is not UTF-8"_s);
    row("an unknown option", u"--verbose patch"_s, u"Unknown option 'verbose'."_s);
    row("a missing value", u"patch -p"_s, u"Missing value after '-p'."_s);
    row("help beside an error", u"--help --verbose"_s, u"Unknown option 'verbose'."_s);
    row("no pattern", u"-p 1 --exclude= patch"_s, u"\"\" is no pattern for --exclude"_s);
    row("an open pattern", u"-p 1 -x a -x [b patch"_s, u"\"[b\" is no pattern for --exclude"_s);
    row("a prefix above", u"-p 1 --url-prefix a/../.. patch"_s, u"\"a/../..\""_s + noPrefix);
    row("a prefix with a dot", u"-p 1 --url-prefix a/. patch"_s, u"\"a/.\""_s + noPrefix);
    row("a prefix without a name", u"-p 1 --url-prefix a//b patch"_s, u"\"a//b\""_s + noPrefix);
    row("an absolute prefix", u"-p 1 --url-prefix /a patch"_s, u"\"/a\""_s + noPrefix);
    row("an empty prefix", u"-p 1 --url-prefix= patch"_s, u"\"\""_s + noPrefix);
    row("a timeout for publishing", u"-p 1 --timeout 5 patch"_s, u"--timeout is for --base-url"_s);
    row("a timeout of 0", u"-u x --timeout 0"_s, timeouts);
    row("a timeout in words", u"-u x --timeout ten"_s, timeouts);
    row("a timeout of more than a day", u"-u x --timeout 86401"_s, timeouts);
    row("an empty base URL", u"--base-url="_s, noBase);
    row("a base URL of white space", u"--base-url=\t"_s, noBase);
    for (const char *option : {"--patch-version=1", "--allow-empty-version", "--exclude=a",
                               "--url-prefix=a", "--dry-run"}) {
        const QString text = QLatin1String(option);
        QTest::addRow("a check with %s", option)
            << u"-u http://host "_s + text
            << text.section(u'=', 0, 0) + u" is not for --base-url, which writes no manifest"_s;
    }
}

void TestCommandLine::wrongUsageHasAReason()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, message);
    const Reading reading = read(arguments.split(u' '));
    QCOMPARE(reading.error, message);
    QVERIFY(!reading.options.quiet);
}

void TestCommandLine::wrongUsageCanBeQuiet()
{
    for (const QString &arguments : {u"-q"_s, u"--quiet --verbose"_s, u"-q a b"_s}) {
        const Reading reading = read(arguments.split(u' '));
        QVERIFY(!reading.error.isEmpty());
        QVERIFY(reading.options.quiet);
    }
}

ZEL_TEST_MAIN(TestCommandLine)

#include "tst_commandline.moc"
