#include <QFile>

#include "DoctorTest.h"
#include "zel-doctor/WineSetup.h"

using namespace Qt::StringLiterals;

class TestWineSetup : public DoctorTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theLoginShellGivesItsEnvironment();
    void theLoginShellMayPrint();
    void theLoginShellMayEndEarly();
    void theLoginShellMayNotEnd();
    void withoutAScriptTheEnvironmentApplies();
    void theScriptHasItsOwnDefaults();
    void theScriptTakesTheEnvironment();
    void theScriptsSettingsComeFirst();
    void invalidLinesOfTheScriptsSettingsAreIgnored();
    void theScriptsSettingsMayBeUnreadable();
    void theScriptsSettingsAreInTheHomeFolder();
    void theScriptIsKnownThroughALink();
    void commandsAreFoundOnThePathOfTheEnvironment();
    void aProgramThatCannotRunIsNoWine();
    void theLogIsWhereTheScriptWritesIt();
    void supportFollowsFromTheFilesBesideWine_data();
    void supportFollowsFromTheFilesBesideWine();
    void theFilesAreFoundInEveryLayout_data();
    void theFilesAreFoundInEveryLayout();
    void linksToWineAreFollowed();

private:
    static QString home(const QString &name) { return TestEnvironment::home() + u'/' + name; }
    static void profile(const QByteArray &text) { Disk::write(home(u".bash_profile"_s), text); }
    static void conf(const QByteArray &text)
    {
        Disk::write(TestEnvironment::configHome() + u"/Orvandale/wine.conf"_s, text);
    }
    QString program(const QString &name) const
    {
        Disk::writeExecutable(at(name), "#!/bin/sh\n");
        return at(name);
    }
    static QProcessEnvironment environment(const QMap<QString, QString> &variables = {})
    {
        QProcessEnvironment result;
        for (auto it = variables.begin(); it != variables.end(); ++it) {
            result.insert(it.key(), it.value());
        }
        return result;
    }
};

void TestWineSetup::init()
{
    DoctorTest::init();
    LauncherSettings::instance().load();
}

void TestWineSetup::cleanup()
{
    QFile::remove(home(u".bash_profile"_s));
    qunsetenv("XDG_STATE_HOME");
    FolderTest::cleanup();
}

void TestWineSetup::theLoginShellGivesItsEnvironment()
{
    qputenv("ZEL_TEST_GONE", "1");
    profile("export WINEPREFIX=/x=y\nexport LINES2=$'a\\nb'\nunset ZEL_TEST_GONE\n");
    const WineSetup::LoginShell shell = WineSetup::runLoginShell();
    qunsetenv("ZEL_TEST_GONE");
    QVERIFY(shell.isInTime);
    QVERIFY(shell.isReached);
    QCOMPARE(shell.exitCode, 0);
    QCOMPARE(shell.printed, ""_ba);
    QCOMPARE(shell.environment.value(u"WINEPREFIX"_s), u"/x=y"_s);
    QCOMPARE(shell.environment.value(u"LINES2"_s), u"a\nb"_s);
    QCOMPARE(shell.environment.value(u"HOME"_s), TestEnvironment::home());
    QVERIFY(!shell.environment.contains(u"ZEL_TEST_GONE"_s));
}

void TestWineSetup::theLoginShellMayPrint()
{
    profile("echo hello; echo oops >&2\n");
    const WineSetup::LoginShell shell = WineSetup::runLoginShell();
    QVERIFY(shell.isReached);
    QCOMPARE(shell.printed, "hello\noops\n"_ba);
}

void TestWineSetup::theLoginShellMayEndEarly()
{
    profile("echo bye; sleep 0.2; exit 7\n");
    const WineSetup::LoginShell shell = WineSetup::runLoginShell();
    QVERIFY(!shell.isReached);
    QCOMPARE(shell.exitCode, 7);
    QCOMPARE(shell.printed, "bye\n"_ba);
    QVERIFY(shell.elapsedMs >= 200);
    QCOMPARE(shell.environment, QProcessEnvironment::systemEnvironment());
}

void TestWineSetup::theLoginShellMayNotEnd()
{
    profile("sleep 1000\n");
    const WineSetup::LoginShell shell = WineSetup::runLoginShell(300);
    QVERIFY(!shell.isInTime);
    QVERIFY(!shell.isReached);
    QCOMPARE(shell.environment, QProcessEnvironment::systemEnvironment());
}

void TestWineSetup::withoutAScriptTheEnvironmentApplies()
{
    conf("WINE=/other\nPREFIX=/other\nWINEARCH=win32\n");
    const QString wine = program(u"wine"_s);
    WineSetup::Choice choice = WineSetup::choiceFor(wine, environment());
    QCOMPARE(choice.wine, wine);
    QCOMPARE(choice.prefix, home(u".wine"_s));
    QCOMPARE(choice.arch, QString());
    QVERIFY(!choice.isScript);
    choice = WineSetup::choiceFor(
        wine, environment({{u"WINEPREFIX"_s, u"/p"_s}, {u"WINEARCH"_s, u"win64"_s}}));
    QCOMPARE(choice.prefix, u"/p"_s);
    QCOMPARE(choice.arch, u"win64"_s);
}

void TestWineSetup::theScriptHasItsOwnDefaults()
{
    const QString script = program(u"zel-wine"_s);
    LauncherSettings::instance().winePath = script;
    const WineSetup::Choice choice = WineSetup::choiceFor(script, environment());
    QVERIFY(choice.isScript);
    QVERIFY(choice.wine != script);
    QCOMPARE(choice.prefix, home(u".local/share/Orvandale/prefix"_s));
    QCOMPARE(choice.arch, QString());
}

void TestWineSetup::theScriptTakesTheEnvironment()
{
    const QString wine = program(u"wine"_s);
    const WineSetup::Choice choice = WineSetup::choiceFor(
        program(u"zel-wine"_s),
        environment({{u"WINE"_s, wine}, {u"WINEPREFIX"_s, u"/p"_s}, {u"WINEARCH"_s, u"win64"_s}}));
    QCOMPARE(choice.wine, wine);
    QCOMPARE(choice.prefix, u"/p"_s);
    QCOMPARE(choice.arch, u"win64"_s);
}

void TestWineSetup::theScriptsSettingsComeFirst()
{
    const QString wine = program(u"wine"_s);
    conf("# WINE=/a\n#WINE=/b\n  WINE = " + wine.toUtf8() +
         " \nPREFIX=~/a=b\nWINEARCH=win32\nbroken\n=x\n");
    const WineSetup::Choice choice =
        WineSetup::choiceFor(program(u"zel-wine"_s), environment({{u"WINE"_s, u"/c"_s},
                                                                  {u"WINEPREFIX"_s, u"/p"_s},
                                                                  {u"WINEARCH"_s, u"win64"_s}}));
    QCOMPARE(choice.wine, wine);
    QCOMPARE(choice.prefix, home(u"a=b"_s));
    QCOMPARE(choice.arch, u"win32"_s);
}

void TestWineSetup::invalidLinesOfTheScriptsSettingsAreIgnored()
{
    const QString wine = program(u"wine"_s);
    conf("WINE=" + wine.toUtf8() + "\nWINE=\nPREFIX=/a\nPREFIX=b\nPREFIX\n");
    const WineSetup::Choice choice =
        WineSetup::choiceFor(program(u"zel-wine"_s), environment({{u"WINEPREFIX"_s, u"/p"_s}}));
    QCOMPARE(choice.wine, wine);
    QCOMPARE(choice.prefix, u"/a"_s);
}

void TestWineSetup::theScriptsSettingsMayBeUnreadable()
{
    Disk::makeFolder(TestEnvironment::configHome() + u"/Orvandale/wine.conf"_s);
    QCOMPARE(WineSetup::choiceFor(program(u"zel-wine"_s), environment()).prefix,
             home(u".local/share/Orvandale/prefix"_s));
}

void TestWineSetup::theScriptsSettingsAreInTheHomeFolder()
{
    Disk::write(home(u".config/Orvandale/wine.conf"_s), "PREFIX=/a\n");
    const QByteArray before = qgetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_CONFIG_HOME");
    const QString prefix = WineSetup::choiceFor(program(u"zel-wine"_s), environment()).prefix;
    qputenv("XDG_CONFIG_HOME", before);
    QCOMPARE(prefix, u"/a"_s);
}

void TestWineSetup::theScriptIsKnownThroughALink()
{
    program(u"zel-wine"_s);
    Disk::makeLink(at(u"link"_s), at(u"zel-wine"_s));
    QVERIFY(WineSetup::choiceFor(at(u"link"_s), environment()).isScript);
}

void TestWineSetup::commandsAreFoundOnThePathOfTheEnvironment()
{
    program(u"bin/some-wine"_s);
    const WineSetup::Choice choice = WineSetup::choiceFor(
        u"some-wine"_s, environment({{u"PATH"_s, u"/none:"_s + at(u"bin"_s)}}));
    QCOMPARE(choice.wanted, u"some-wine"_s);
    QCOMPARE(choice.wine, at(u"bin/some-wine"_s));
}

void TestWineSetup::aProgramThatCannotRunIsNoWine()
{
    Disk::write(at(u"wine"_s), "");
    QCOMPARE(WineSetup::choiceFor(at(u"wine"_s), environment()).wine, QString());
    QCOMPARE(WineSetup::choiceFor(u"no-such-wine"_s, environment()).wine, QString());
}

void TestWineSetup::theLogIsWhereTheScriptWritesIt()
{
    QCOMPARE(WineSetup::logPath(), home(u".local/state/Orvandale/wine.log"_s));
    qputenv("XDG_STATE_HOME", "/state");
    QCOMPARE(WineSetup::logPath(), u"/state/Orvandale/wine.log"_s);
}

void TestWineSetup::supportFollowsFromTheFilesBesideWine_data()
{
    using Support = WineSetup::Support;
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<Support>("bits32");
    QTest::addColumn<Support>("bits64");
    QTest::addColumn<Support>("win32Prefix");
    const QString unix64 = u"x86_64-unix/ntdll.so"_s;
    const QString unix32 = u"i386-unix/ntdll.so"_s;
    const QString windows32 = u"i386-windows/ntdll.dll"_s;
    const QString wow64 = u"x86_64-windows/wow64.dll"_s;
    const Support yes = Support::Yes;
    const Support no = Support::No;
    const Support unknown = Support::Unknown;
    QTest::newRow("nothing") << QStringList() << unknown << unknown << unknown;
    QTest::newRow("only Windows libraries")
        << QStringList{windows32, wow64} << unknown << unknown << unknown;
    QTest::newRow("64 bits") << QStringList{unix64, wow64} << no << yes << no;
    QTest::newRow("64 bits, no wow64") << QStringList{unix64, windows32} << no << yes << no;
    QTest::newRow("64 bits with wow64")
        << QStringList{unix64, windows32, wow64} << yes << yes << no;
    QTest::newRow("32 bits") << QStringList{unix32} << yes << no << yes;
    QTest::newRow("both") << QStringList{unix32, unix64} << yes << yes << yes;
    const QString elsewhere = u"../../lib64/wine/"_s;
    QTest::newRow("64 bits, all for 32 bits elsewhere")
        << QStringList{unix64, elsewhere + windows32, elsewhere + wow64} << no << yes << no;
    QTest::newRow("64 bits, 32-bit Windows libraries elsewhere")
        << QStringList{unix64, elsewhere + windows32, wow64} << no << yes << no;
    QTest::newRow("both with Debian's loaders")
        << QStringList{unix32, unix64, u"wine"_s, u"wine64"_s} << yes << yes << yes;
    QTest::newRow("both, no 32-bit loader")
        << QStringList{unix32, unix64, u"wine64"_s} << no << yes << no;
    QTest::newRow("both, no 64-bit loader")
        << QStringList{unix32, unix64, u"wine"_s} << yes << no << yes;
}

void TestWineSetup::supportFollowsFromTheFilesBesideWine()
{
    QFETCH(const QStringList, files);
    QFETCH(const WineSetup::Support, bits32);
    QFETCH(const WineSetup::Support, bits64);
    QFETCH(const WineSetup::Support, win32Prefix);
    const QString wine = program(u"bin/wine"_s);
    for (const QString &file : files) {
        Disk::write(at(u"lib/wine/"_s + file), "");
    }
    QCOMPARE(WineSetup::support(wine, ProgramKind::Bits32), bits32);
    QCOMPARE(WineSetup::support(wine, ProgramKind::Bits64), bits64);
    QCOMPARE(WineSetup::win32PrefixSupport(wine), win32Prefix);
    QCOMPARE(WineSetup::support(wine, ProgramKind::Foreign), WineSetup::Support::Unknown);
    QCOMPARE(WineSetup::support({}, ProgramKind::Bits64), WineSetup::Support::Unknown);
}

void TestWineSetup::theFilesAreFoundInEveryLayout_data()
{
    QTest::addColumn<QString>("folder");
    for (const char *folder :
         {"lib", "lib64", "lib32", "lib/x86_64-linux-gnu", "lib/i386-linux-gnu"}) {
        QTest::newRow(folder) << QString::fromLatin1(folder);
    }
}

void TestWineSetup::theFilesAreFoundInEveryLayout()
{
    QFETCH(const QString, folder);
    const QString wine = program(u"bin/wine"_s);
    Disk::write(at(folder + u"/wine/i386-unix/ntdll.so"_s), "");
    QCOMPARE(WineSetup::support(wine, ProgramKind::Bits32), WineSetup::Support::Yes);
}

void TestWineSetup::linksToWineAreFollowed()
{
    program(u"bin/wine"_s);
    Disk::write(at(u"lib/wine/x86_64-unix/ntdll.so"_s), "");
    Disk::makeFolder(at(u"other"_s));
    Disk::makeLink(at(u"other/wine"_s), at(u"bin/wine"_s));
    QCOMPARE(WineSetup::support(at(u"other/wine"_s), ProgramKind::Bits64), WineSetup::Support::Yes);
}

ZEL_TEST_MAIN(TestWineSetup)

#include "tst_winesetup.moc"
