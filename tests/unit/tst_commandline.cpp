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
    void theHelpIsComplete();
    void theVersionIsThatOfTheProgram();
    void everyOptionIsParsed_data();
    void everyOptionIsParsed();
    void wrongUsageHasAReason_data();
    void wrongUsageHasAReason();
};

void TestCommandLine::theHelpIsComplete()
{
    for (const QString &option : {u"-h"_s, u"--help"_s, u"-h -p 1 a b"_s}) {
        const Options options = optionsOf(option);
        QCOMPARE(options.task, Options::ShowText);
        QVERIFY(options.text.startsWith(
            u"Usage: zel-manifest [options] --patch-version TEXT FOLDER\n"
            "       zel-manifest [options] --base-url URL [FOLDER]\n\nTurns FOLDER into "_s));
        QCOMPARE(options.text.count(u"Usage:"_s), 1);
        QVERIFY(options.text.contains(u"--allow-empty-version"_s));
        QVERIFY(options.text.contains(u"\nArguments:\n  FOLDER "_s));
        for (const QString &value : {u"60"_s, u"256"_s, u"manifest.json"_s}) {
            QVERIFY(options.text.simplified().contains(u"(default: %1)"_s.arg(value)));
        }
        QVERIFY(options.text.contains(u"keeps the installed version."_s));
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

void TestCommandLine::everyOptionIsParsed_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("taken");
    const auto row = [](const QString &arguments, const QString &taken) {
        QTest::newRow(qPrintable(arguments)) << arguments << taken;
    };
    row(u"-p 1.0 patch"_s, u"publish patch in patch/manifest.json as 1.0, excluding"_s);
    const QString all = u"publish patch in x.json as 1, prefix r/, excluding a b/, dry, quiet"_s;
    row(u"-p 1 -x a -x b/ -o x.json --url-prefix r -n -q patch"_s, all);
    row(u"--patch-version=1 --exclude a --exclude=b/ --output x.json --url-prefix=r --dry-run "
        "--quiet patch"_s,
        all);
    const QString empty = u"publish patch in patch/manifest.json as , excluding"_s;
    row(u"--allow-empty-version patch"_s, empty);
    row(u"--allow-empty-version --patch-version= patch"_s, empty);
    row(u"--allow-empty-version -p 1 patch"_s,
        u"publish patch in patch/manifest.json as 1, excluding"_s);
    const QString plain = u"publish patch in patch/manifest.json as 1, excluding"_s;
    row(u"-p 1 --exclude-from a --exclude-from=b patch"_s, plain + u" from a b"_s);
    row(u"-p 1 --base c patch"_s, plain + u", base c"_s);
    row(u"-p 1 --base=c --since 1 --since=2 --fix-case patch"_s,
        plain + u", base c, since 1 2, fix case"_s);
    row(u"-p 1 --base-manifest c --fix-case patch"_s, plain + u", base manifest c, fix case"_s);
    row(u"-p 1 --since 1 --fix-case patch"_s, plain + u", since 1, fix case"_s);
    row(u"-p 1 --warn-size 0 patch"_s, plain + u", warn above 0"_s);
    row(u"-p 1 --warn-size=2147483647 patch"_s, plain + u", warn above 2147483647"_s);
    // The prefix is encoded and ends with a slash.
    for (const auto &[prefix, encoded] : {std::pair{u"1.0"_s, u"1.0/"_s},
                                          {u"1.0/"_s, u"1.0/"_s},
                                          {u"releases/1.0"_s, u"releases/1.0/"_s},
                                          {u"50%#1ç"_s, u"50%25%231%C3%A7/"_s},
                                          {u"..a/.b"_s, u"..a/.b/"_s}}) {
        row(u"-p1 -o x --url-prefix "_s + prefix + u" patch"_s,
            u"publish patch in x as 1, prefix "_s + encoded + u", excluding"_s);
    }
    row(u"-u http://host"_s, u"check http://host for 60 s"_s);
    row(u"--base-url=http://host --timeout 1 -q"_s, u"check http://host for 1 s, quiet"_s);
    row(u"-u http://host --timeout 86400"_s, u"check http://host for 86400 s"_s);
    row(u"-u http://host --manifest-name new.json"_s, u"check http://host/new.json for 60 s"_s);
    row(u"-u http://host --key k.pub"_s, u"check http://host for 60 s, key k.pub"_s);
    row(u"-u http://host --strict"_s, u"check http://host for 60 s, strict"_s);
    // The published manifest is compared with FILE, or with that of the folder.
    row(u"-u http://host patch"_s, u"check http://host for 60 s with patch/manifest.json"_s);
    row(u"-u http://host -o x.json"_s, u"check http://host for 60 s with x.json"_s);
    row(u"-u http://host -o x.json patch"_s, u"check http://host for 60 s with x.json"_s);
}

void TestCommandLine::everyOptionIsParsed()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, taken);
    const Options options = optionsOf(arguments);
    QString text;
    if (options.task == Options::Publish) {
        text = u"publish %1 in %2 as %3"_s.arg(options.folder, options.manifest, options.version);
        text += options.urlPrefix.isEmpty() ? u""_s : u", prefix "_s + options.urlPrefix;
        text += u", excluding"_s;
        for (const ExcludePattern &pattern : options.excludes) {
            text += u' ' + pattern.text();
        }
        const auto add = [&text](const QString &name, const QStringList &values) {
            text += values.join(QString()).isEmpty() ? u""_s : name + values.join(u' ');
        };
        add(u" from "_s, options.excludeFiles);
        add(u", base "_s, {options.base});
        add(u", base manifest "_s, {options.baseManifest});
        add(u", since "_s, options.since);
        text += options.fixCase ? u", fix case"_s : u""_s;
        text += options.warnSize == 256 ? u""_s : u", warn above %1"_s.arg(options.warnSize);
        text += options.dryRun ? u", dry"_s : u""_s;
    } else {
        QCOMPARE(options.task, Options::Check);
        const QString name =
            options.manifestName == u"manifest.json"_s ? QString() : u'/' + options.manifestName;
        text = u"check %1 for %2 s"_s.arg(options.baseUrl + name).arg(options.timeout);
        text += options.manifest.isEmpty() ? u""_s : u" with "_s + options.manifest;
        text += options.key.isEmpty() ? u""_s : u", key "_s + options.key;
        text += options.strict ? u", strict"_s : u""_s;
    }
    QCOMPARE(text + (options.quiet ? u", quiet"_s : u""_s), taken);
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
    row("no folder, quietly", u"-q"_s, u"which folder?"_s);
    row("an unknown option, quietly", u"--quiet --verbose"_s, u"Unknown option 'verbose'."_s);
    row("two folders", u"-p 1 patch other"_s, u"one folder at a time: \"other\" is too much"_s);
    row("no version", u"patch"_s, noVersion);
    row("an empty version", u"--patch-version= patch"_s, noVersion);
    row("a version that is not UTF-8", u"-p \uFFFD patch"_s, u"the version is not UTF-8"_s);
    row("an unknown option", u"--verbose patch"_s, u"Unknown option 'verbose'."_s);
    row("a missing value", u"patch -p"_s, u"Missing value after '-p'."_s);
    row("help beside an error", u"--help --verbose"_s, u"Unknown option 'verbose'."_s);
    row("no pattern", u"-p 1 --exclude= patch"_s, u"\"\" is no pattern for --exclude"_s);
    row("a slash as pattern", u"-p 1 -x / patch"_s, u"\"/\" is no pattern for --exclude"_s);
    row("an open pattern", u"-p 1 -x a -x [b patch"_s, u"\"[b\" is no pattern for --exclude"_s);
    row("a prefix above", u"-p 1 --url-prefix a/../.. patch"_s, u"\"a/../..\""_s + noPrefix);
    row("a prefix with a dot", u"-p 1 --url-prefix a/. patch"_s, u"\"a/.\""_s + noPrefix);
    row("a prefix without a name", u"-p 1 --url-prefix a//b patch"_s, u"\"a//b\""_s + noPrefix);
    row("an absolute prefix", u"-p 1 --url-prefix /a patch"_s, u"\"/a\""_s + noPrefix);
    row("an empty prefix", u"-p 1 --url-prefix= patch"_s, u"\"\""_s + noPrefix);
    row("two bases", u"-p 1 --base a --base-manifest b patch"_s,
        u"--base and --base-manifest exclude each other"_s);
    row("--fix-case without a base", u"-p 1 --fix-case patch"_s,
        u"--fix-case is for --base, --base-manifest and --since"_s);
    for (const QString &option : {u"base"_s, u"base-manifest"_s, u"since"_s}) {
        QTest::addRow("an empty name for --%s", qPrintable(option))
            << u"-p 1 --since x --%1= patch"_s.arg(option)
            << u"--%1 has an empty name"_s.arg(option);
    }
    for (const QString &size : {u"-1"_s, u"1.5"_s, u"2G"_s, u"2147483648"_s}) {
        QTest::addRow("%s as size to warn of", qPrintable(size))
            << u"-p 1 --warn-size=%1 patch"_s.arg(size)
            << u"--warn-size takes a whole number of MiB"_s;
    }
    row("a manifest's name for publishing", u"-p 1 --manifest-name x patch"_s,
        u"--manifest-name is for --base-url"_s);
    for (const QString &name : {u""_s, u"."_s, u".."_s, u"a/b"_s}) {
        QTest::addRow("\"%s\" as name of the manifest", qPrintable(name))
            << u"-u x --manifest-name="_s + name << u"\"%1\" is no file name"_s.arg(name);
    }
    row("an empty key", u"-u x --key="_s, u"the key is empty"_s);
    row("a key for publishing", u"-p 1 --key x patch"_s, u"--key is for --base-url"_s);
    row("a strict publishing", u"-p 1 --strict patch"_s, u"--strict is for --base-url"_s);
    row("a timeout for publishing", u"-p 1 --timeout 5 patch"_s, u"--timeout is for --base-url"_s);
    row("a timeout of 0", u"-u x --timeout 0"_s, timeouts);
    row("a timeout in words", u"-u x --timeout ten"_s, timeouts);
    row("a timeout of more than a day", u"-u x --timeout 86401"_s, timeouts);
    row("an empty base URL", u"--base-url="_s, noBase);
    row("a base URL of white space", u"--base-url=\t"_s, noBase);
    for (const char *option : {"--patch-version=1", "--allow-empty-version", "--exclude=a",
                               "--exclude-from=a", "--base=a", "--base-manifest=a", "--since=a",
                               "--fix-case", "--warn-size=1", "--url-prefix=a", "--dry-run"}) {
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
    QCOMPARE(reading.options.quiet, arguments.contains(u"-q"_s));
}

ZEL_TEST_MAIN(TestCommandLine)

#include "tst_commandline.moc"
