#include "support/TestMain.h"

#include "wine/LoginShell.h"
#include "wine/WineDiscovery.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <memory>

#include "support/process/FakeSystem.h"

using namespace Qt::StringLiterals;

namespace
{

/// Started with this argument and a file name, the program only writes to that file what
/// discovery finds.
constexpr const char *discoverArgument = "--discover";

/// The entries as "label | path", the form that the tests compare.
QStringList asText(const QList<WineInstallation> &installations)
{
    QStringList lines;
    for (const WineInstallation &wine : installations) {
        lines << wine.label + u" | "_s + wine.path;
    }
    return lines;
}

QString entry(const QString &label, const QString &path)
{
    return label + u" | "_s + path;
}

/// The entry of a file that came without a label.
QString bareEntry(const QString &path)
{
    const QFileInfo file(path);
    return entry(u"%1 (%2)"_s.arg(file.fileName(), file.absolutePath()), path);
}

/// The entry of a file that came with @p label.
QString labelledEntry(const QString &label, const QString &path)
{
    return entry(u"%1 (%2)"_s.arg(label, path), path);
}

void write(const QString &path, const QByteArray &content, bool executable)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
    QCOMPARE(file.write(content), content.size());
    file.close();
    QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner;
    if (executable) {
        permissions |= QFile::ExeOwner;
    }
    QVERIFY(file.setPermissions(permissions));
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool isAlive(qint64 pid)
{
    return kill(pid_t(pid), 0) == 0 || errno != ESRCH;
}

int writeDiscovered(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return 1;
    }
    const QByteArray text = asText(WineDiscovery::discover()).join(u'\n').toUtf8();
    return file.write(text) == text.size() ? 0 : 1;
}

} // namespace

/// Discovery looks at the whole machine. Here it sees a home folder, a search path and a working
/// folder of the test's own; what the machine has besides is left out of the comparisons, unless
/// a test hides it too.
class TestWineDiscovery : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void nothingAnywhereFindsNothing();
    void theSearchPathLabelsWithTheCommand_data();
    void theSearchPathLabelsWithTheCommand();
    void wine64ComesBeforeWine();
    void anEntryCarriesTheResolvedPath();
    void aFileInTheWorkingFolderWinsOverTheSearchPath();
    void aPlainFileInTheWorkingFolderHidesTheSearchPathOnPurpose();
    void aFolderInTheWorkingFolderCountsLikeAFileOnPurpose();
    void placeholdersInAPathStandAsTheyAre();
    void theFirstRouteDecidesTheLabel();
    void aFileWithoutExecutePermissionIsNeverListed();
    void aFileWithoutExecutePermissionIsTestedAgainByALaterRoute();

    void lutrisRunnersAreSortedCaseSensitively();
    void aLutrisRunnerListsWine64BeforeWine();
    void aLutrisRunnerMayHoldWineAlone();
    void hiddenLutrisRunnersAndPlainFilesAreLeftOut();
    void aLinkedLutrisRunnerIsListedAtItsTarget();
    void aDanglingLinkIsLeftOut();

    void theShellIsAskedForBothCommands();
    void theShellIsLookedUpOnTheSearchPath();
    void theShellsLinesAreTrimmedAndResolved();
    void aLineOfTheShellMayBeARelativePath();
    void aShellThatFailsIsStillHeard();
    void aShellThatPrintsNothingAddsNothing();
    void aShellThatCannotBeStartedAddsNothing_data();
    void aShellThatCannotBeStartedAddsNothing();
    void linesThatCannotBePathsAddNothing_data();
    void linesThatCannotBePathsAddNothing();
    void theUsersProfileIsInForce();
    void aProfileThatPrintsDoesNoHarm();
    void aProfileThatFailsDoesNoHarm_data();
    void aProfileThatFailsDoesNoHarm();
    void aFloodBeforeTheAnswerDoesNoHarm_data();
    void aFloodBeforeTheAnswerDoesNoHarm();
    void anAnswerBeforeTheUsualNoiseIsHeard();
    void aSlowShellIsEndedAfterTwoSeconds();
    void theTimeOfAShellBeginsWithItsStart();
    void aShellThatEndedIsHeardHoweverLate();
    void aShellThatNobodyAskedIsEnded();
    void anEndlessFloodIsEndedAfterTwoSeconds_data();
    void anEndlessFloodIsEndedAfterTwoSeconds();
    void aBackgroundProcessOfTheShellIsNotWaitedFor();
    void nothingIsPrinted_data();
    void nothingIsPrinted();

    void theFixedPathsComeFirst();
    void aLinkBetweenTheFixedPathsIsListedOnce();
    void theSearchPathAddsNothingThatTheFixedPathsHave();
    void buildsUnderOptAreSortedCaseSensitively();
    void stagingBuildsUnderOptAreLabelledWineOnPurpose();
    void theFoldersUnderOptAreMatchedInAnyLetterCase();
    void everyRouteHasItsPlaceInTheOrder();

    void anEmptyPathHasNoIndex();
    void aPathFindsItsEntry_data();
    void aPathFindsItsEntry();
    void theFirstOfEqualEntriesIsFound();
    void aVanishedPathMatchesAVanishedEntryOnPurpose();
    void aPathThatIsNoneHasNoIndexAndPrintsNothing();

private:
    QString at(const QString &relative) const { return root->filePath(relative); }
    QString runner(const QString &name) const;
    void makeWine(const QString &path) const { write(path, "#!/bin/true\n", true); }
    void fakeShell(const QByteArray &script) const;
    void realShell(const QByteArray &profile) const;
    QStringList discovered() const;
    QStringList own(const QList<WineInstallation> &installations) const;

    QString fake(const QString &systemPath) const { return fakeSystem->path(systemPath); }
    QStringList discoveredInFakeSystem() const;

    std::unique_ptr<QTemporaryDir> root;
    std::unique_ptr<FakeSystem> fakeSystem;
    QString oldWorkingDir;
    QByteArray oldPath;
    QByteArray oldHome;
};

void TestWineDiscovery::init()
{
    TestBase::init();
    oldWorkingDir = QDir::currentPath();
    oldPath = qgetenv("PATH");
    oldHome = qgetenv("HOME");

    root = std::make_unique<QTemporaryDir>(
        QDir(QFileInfo(QDir::tempPath()).canonicalFilePath()).filePath(u"zel-wine-XXXXXX"_s));
    QVERIFY(root->isValid());
    fakeSystem = std::make_unique<FakeSystem>();
    for (const QString &name : {u"bin"_s, u"home"_s, u"work"_s}) {
        QVERIFY(QDir().mkpath(at(name)));
    }
    qputenv("PATH", at(u"bin"_s).toLocal8Bit());
    qputenv("HOME", at(u"home"_s).toLocal8Bit());
    QVERIFY(QDir::setCurrent(at(u"work"_s)));
}

void TestWineDiscovery::cleanup()
{
    qputenv("PATH", oldPath);
    qputenv("HOME", oldHome);
    QDir::setCurrent(oldWorkingDir);
    fakeSystem.reset();
    root.reset();
}

QString TestWineDiscovery::runner(const QString &name) const
{
    return at(u"home/.local/share/lutris/runners/wine/"_s + name);
}

/// A "bash" on the search path that runs @p script.
void TestWineDiscovery::fakeShell(const QByteArray &script) const
{
    write(at(u"bin/bash"_s), "#!/bin/bash\n" + script, true);
}

/// The machine's bash on the search path, with @p profile as the user's login profile.
void TestWineDiscovery::realShell(const QByteArray &profile) const
{
    QVERIFY(QFile::link(u"/bin/bash"_s, at(u"bin/bash"_s)));
    write(at(u"home/.bash_profile"_s), profile, false);
}

/// What discovery finds within the test's own folder.
QStringList TestWineDiscovery::discovered() const
{
    return own(WineDiscovery::discover());
}

QStringList TestWineDiscovery::own(const QList<WineInstallation> &installations) const
{
    QList<WineInstallation> list;
    for (const WineInstallation &wine : installations) {
        if (wine.path.startsWith(root->path())) {
            list << wine;
        }
    }
    return asText(list);
}

void TestWineDiscovery::nothingAnywhereFindsNothing()
{
    QCOMPARE(discovered(), QStringList());
}

void TestWineDiscovery::theSearchPathLabelsWithTheCommand_data()
{
    QTest::addColumn<QString>("command");

    QTest::newRow("wine64") << u"wine64"_s;
    QTest::newRow("wine") << u"wine"_s;
}

void TestWineDiscovery::theSearchPathLabelsWithTheCommand()
{
    QFETCH(const QString, command);
    const QString path = at(u"bin/"_s + command);
    makeWine(path);
    QCOMPARE(discovered(), QStringList{labelledEntry(command, path)});
}

void TestWineDiscovery::wine64ComesBeforeWine()
{
    makeWine(at(u"bin/wine"_s));
    makeWine(at(u"bin/wine64"_s));
    QCOMPARE(discovered(), QStringList({labelledEntry(u"wine64"_s, at(u"bin/wine64"_s)),
                                        labelledEntry(u"wine"_s, at(u"bin/wine"_s))}));
}

void TestWineDiscovery::anEntryCarriesTheResolvedPath()
{
    makeWine(at(u"builds/8/wine-preloader"_s));
    QVERIFY(QFile::link(at(u"builds/8/wine-preloader"_s), at(u"bin/wine"_s)));
    QCOMPARE(discovered(), QStringList{labelledEntry(u"wine"_s, at(u"builds/8/wine-preloader"_s))});
}

void TestWineDiscovery::aFileInTheWorkingFolderWinsOverTheSearchPath()
{
    makeWine(at(u"bin/wine"_s));
    makeWine(at(u"work/wine"_s));
    QCOMPARE(discovered(), QStringList{labelledEntry(u"wine"_s, at(u"work/wine"_s))});
}

void TestWineDiscovery::aPlainFileInTheWorkingFolderHidesTheSearchPathOnPurpose()
{
    makeWine(at(u"bin/wine"_s));
    write(at(u"work/wine"_s), "notes", false);
    QCOMPARE(discovered(), QStringList());
}

void TestWineDiscovery::aFolderInTheWorkingFolderCountsLikeAFileOnPurpose()
{
    makeWine(at(u"bin/wine"_s));
    QVERIFY(QDir().mkpath(at(u"work/wine"_s)));
    QCOMPARE(discovered(), QStringList{labelledEntry(u"wine"_s, at(u"work/wine"_s))});
}

void TestWineDiscovery::placeholdersInAPathStandAsTheyAre()
{
    qputenv("PATH", at(u"%1 %2"_s).toLocal8Bit());
    makeWine(at(u"%1 %2/wine64"_s));
    makeWine(runner(u"%2/bin/wine"_s));
    QCOMPARE(discovered(), QStringList({labelledEntry(u"wine64"_s, at(u"%1 %2/wine64"_s)),
                                        labelledEntry(u"Lutris"_s, runner(u"%2/bin/wine"_s))}));
}

void TestWineDiscovery::theFirstRouteDecidesTheLabel()
{
    const QString path = runner(u"ge-8/bin/wine"_s);
    makeWine(path);
    fakeShell("echo " + path.toLocal8Bit());
    QCOMPARE(discovered(), QStringList{labelledEntry(u"Lutris"_s, path)});

    QVERIFY(QFile::link(path, at(u"bin/wine64"_s)));
    QVERIFY(QFile::link(path, at(u"bin/wine"_s)));
    QCOMPARE(discovered(), QStringList{labelledEntry(u"wine64"_s, path)});
}

void TestWineDiscovery::aFileWithoutExecutePermissionIsNeverListed()
{
    write(at(u"bin/wine"_s), "", false);
    write(runner(u"ge-8/bin/wine64"_s), "", false);
    write(at(u"elsewhere/wine"_s), "", false);
    fakeShell("echo " + at(u"elsewhere/wine"_s).toLocal8Bit());
    QCOMPARE(discovered(), QStringList());
}

void TestWineDiscovery::aFileWithoutExecutePermissionIsTestedAgainByALaterRoute()
{
    const QString path = at(u"work/wine64"_s);
    write(path, "", false);
    fakeShell("/bin/chmod u+x " + path.toLocal8Bit() + "\necho " + path.toLocal8Bit());
    QCOMPARE(discovered(), QStringList{bareEntry(path)});
}

void TestWineDiscovery::lutrisRunnersAreSortedCaseSensitively()
{
    QStringList expected;
    for (const QString &name : {u"GE-9"_s, u"b"_s, u"A"_s, u"a"_s, u"GE-10"_s}) {
        makeWine(runner(name + u"/bin/wine"_s));
    }
    for (const QString &name : {u"A"_s, u"GE-10"_s, u"GE-9"_s, u"a"_s, u"b"_s}) {
        expected << labelledEntry(u"Lutris"_s, runner(name + u"/bin/wine"_s));
    }
    QCOMPARE(discovered(), expected);
}

void TestWineDiscovery::aLutrisRunnerListsWine64BeforeWine()
{
    makeWine(runner(u"ge-8/bin/wine"_s));
    makeWine(runner(u"ge-8/bin/wine64"_s));
    makeWine(runner(u"ge-8/bin/wineserver"_s));
    QCOMPARE(discovered(), QStringList({labelledEntry(u"Lutris"_s, runner(u"ge-8/bin/wine64"_s)),
                                        labelledEntry(u"Lutris"_s, runner(u"ge-8/bin/wine"_s))}));
}

void TestWineDiscovery::aLutrisRunnerMayHoldWineAlone()
{
    const QString path = runner(u"lutris-GE-8/bin/wine"_s);
    makeWine(path);
    QCOMPARE(discovered(), QStringList{entry(u"Lutris ("_s + path + u")"_s, path)});
}

void TestWineDiscovery::hiddenLutrisRunnersAndPlainFilesAreLeftOut()
{
    makeWine(runner(u".old/bin/wine"_s));
    makeWine(runner(u"wine"_s));
    QCOMPARE(discovered(), QStringList());
}

void TestWineDiscovery::aLinkedLutrisRunnerIsListedAtItsTarget()
{
    makeWine(at(u"builds/ge-9/bin/wine"_s));
    QVERIFY(QDir().mkpath(runner(QString())));
    QVERIFY(QFile::link(at(u"builds/ge-9"_s), runner(u"linked"_s)));
    QCOMPARE(discovered(), QStringList{labelledEntry(u"Lutris"_s, at(u"builds/ge-9/bin/wine"_s))});
}

void TestWineDiscovery::aDanglingLinkIsLeftOut()
{
    QVERIFY(QDir().mkpath(runner(u"ge-8/bin"_s)));
    QVERIFY(QFile::link(at(u"gone"_s), runner(u"ge-8/bin/wine"_s)));
    QVERIFY(QFile::link(at(u"gone"_s), at(u"bin/wine64"_s)));
    QCOMPARE(discovered(), QStringList());
}

void TestWineDiscovery::theShellIsAskedForBothCommands()
{
    const QString report = at(u"report"_s);
    fakeShell("printf '%s|' \"$#\" \"$@\" > " + report.toLocal8Bit());
    discovered();
    QCOMPARE(contentOf(report), QByteArray("2|-lc|command -v wine64; command -v wine|"));
}

void TestWineDiscovery::theShellIsLookedUpOnTheSearchPath()
{
    makeWine(at(u"elsewhere/wine"_s));
    write(at(u"bin2/bash"_s), "#!/bin/bash\necho " + at(u"elsewhere/wine"_s).toLocal8Bit(), true);
    qputenv("PATH", (at(u"bin"_s) + u':' + at(u"bin2"_s)).toLocal8Bit());
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"elsewhere/wine"_s))});
}

void TestWineDiscovery::theShellsLinesAreTrimmedAndResolved()
{
    makeWine(at(u"elsewhere/wine"_s));
    makeWine(at(u"elsewhere/with blank"_s));
    makeWine(at(u"bin/wine-ge"_s));
    fakeShell("echo\n"
              "printf '  \\t %s \\r\\n\\n' \"" +
              at(u"elsewhere/with blank"_s).toLocal8Bit() +
              "\"\n"
              "echo wine-ge\n"
              "printf %s " +
              at(u"elsewhere/wine"_s).toLocal8Bit());
    QCOMPARE(discovered(),
             QStringList({bareEntry(at(u"elsewhere/with blank"_s)), bareEntry(at(u"bin/wine-ge"_s)),
                          bareEntry(at(u"elsewhere/wine"_s))}));
}

void TestWineDiscovery::aLineOfTheShellMayBeARelativePath()
{
    makeWine(at(u"work/ge/wine"_s));
    fakeShell("echo ge/wine; echo ./ge/../ge/wine");
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"work/ge/wine"_s))});
}

void TestWineDiscovery::aShellThatFailsIsStillHeard()
{
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell("echo " + at(u"elsewhere/wine"_s).toLocal8Bit() + "; exit 127");
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"elsewhere/wine"_s))});

    fakeShell("echo " + at(u"elsewhere/wine"_s).toLocal8Bit() + "; kill -SEGV $$");
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"elsewhere/wine"_s))});
}

void TestWineDiscovery::aShellThatPrintsNothingAddsNothing()
{
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell("echo " + at(u"elsewhere/wine"_s).toLocal8Bit() + " >&2");
    QCOMPARE(discovered(), QStringList());
}

void TestWineDiscovery::aShellThatCannotBeStartedAddsNothing_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("executable");

    QTest::newRow("not executable") << QByteArray("#!/bin/bash\necho bash\n") << false;
    QTest::newRow("not a program") << QByteArray("\x01\x02\x03") << true;
    QTest::newRow("an interpreter that is gone") << QByteArray("#!/nonexistent/sh\n") << true;
}

void TestWineDiscovery::aShellThatCannotBeStartedAddsNothing()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, executable);
    write(at(u"bin/bash"_s), content, executable);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(discovered(), QStringList());
    QVERIFY(timer.elapsed() < 2000);
}

void TestWineDiscovery::linesThatCannotBePathsAddNothing_data()
{
    QTest::addColumn<QByteArray>("print");

    QTest::newRow("a NUL") << QByteArray("printf '/bin/tr\\0ue\\n'");
    QTest::newRow("a NUL alone") << QByteArray("printf '\\0'");
    QTest::newRow("bytes that are no text") << QByteArray("printf '\\xff\\xfe\\x80/\\n'");
    QTest::newRow("a line longer than any path")
        << QByteArray("printf '/%.0s' {1..5000}; printf 'x%.0s' {1..5000}");
    QTest::newRow("an alias") << QByteArray("echo \"alias wine='/usr/bin/env wine'\"");
}

void TestWineDiscovery::linesThatCannotBePathsAddNothing()
{
    QFETCH(const QByteArray, print);
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell(print + "\necho\necho " + at(u"elsewhere/wine"_s).toLocal8Bit());
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"elsewhere/wine"_s))});
}

void TestWineDiscovery::theUsersProfileIsInForce()
{
    makeWine(at(u"profile/wine64"_s));
    makeWine(at(u"profile/wine"_s));
    realShell("PATH=" + at(u"profile"_s).toLocal8Bit() + "\n");
    QCOMPARE(discovered(),
             QStringList({bareEntry(at(u"profile/wine64"_s)), bareEntry(at(u"profile/wine"_s))}));
}

void TestWineDiscovery::aProfileThatPrintsDoesNoHarm()
{
    makeWine(at(u"profile/wine"_s));
    realShell("echo 'Welcome back! 100%1 of / is used.'; echo oops >&2\n"
              "PATH=" +
              at(u"profile"_s).toLocal8Bit() + "\n");
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"profile/wine"_s))});
}

void TestWineDiscovery::aProfileThatFailsDoesNoHarm_data()
{
    QTest::addColumn<QByteArray>("failure");
    QTest::addColumn<bool>("answers");

    QTest::newRow("a failing command") << QByteArray("/nonexistent/setup") << true;
    QTest::newRow("an early return") << QByteArray("return 3") << true;
    QTest::newRow("a syntax error") << QByteArray("if [ ; fi )") << true;
    QTest::newRow("an early exit") << QByteArray("exit 3") << false;
}

void TestWineDiscovery::aProfileThatFailsDoesNoHarm()
{
    QFETCH(const QByteArray, failure);
    QFETCH(const bool, answers);
    makeWine(at(u"profile/wine"_s));
    realShell("PATH=" + at(u"profile"_s).toLocal8Bit() + "\n" + failure + "\n");
    QCOMPARE(discovered(), answers ? QStringList{bareEntry(at(u"profile/wine"_s))} : QStringList());
}

void TestWineDiscovery::aFloodBeforeTheAnswerDoesNoHarm_data()
{
    QTest::addColumn<QByteArray>("flood");

    QTest::newRow("many equal lines") << QByteArray("/usr/bin/yes | /usr/bin/head -n 200000");
    QTest::newRow("many lines") << QByteArray("/usr/bin/seq 2000");
    QTest::newRow("more lines than are looked up") << QByteArray("/usr/bin/seq 30000");
    QTest::newRow("more than is remembered")
        << QByteArray("/usr/bin/yes | /usr/bin/head -c 36000000");
}

void TestWineDiscovery::aFloodBeforeTheAnswerDoesNoHarm()
{
    QFETCH(const QByteArray, flood);
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell(flood + "\necho " + at(u"elsewhere/wine"_s).toLocal8Bit());
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"elsewhere/wine"_s))});
}

void TestWineDiscovery::anAnswerBeforeTheUsualNoiseIsHeard()
{
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell("echo " + at(u"elsewhere/wine"_s).toLocal8Bit() +
              "; /usr/bin/seq 10000; /usr/bin/yes | /usr/bin/head -c 1000000");
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"elsewhere/wine"_s))});
}

void TestWineDiscovery::aSlowShellIsEndedAfterTwoSeconds()
{
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell("echo $$ > " + at(u"pid"_s).toLocal8Bit() + "; echo " +
              at(u"elsewhere/wine"_s).toLocal8Bit() + "; exec /bin/sleep 60");
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(discovered(), QStringList());
    QVERIFY(timer.elapsed() >= 1990);
    QVERIFY(timer.elapsed() < 6000);
    const qint64 pid = contentOf(at(u"pid"_s)).trimmed().toLongLong();
    QVERIFY(pid > 0);
    QVERIFY(!isAlive(pid));
}

void TestWineDiscovery::theTimeOfAShellBeginsWithItsStart()
{
    fakeShell("exec /bin/sleep 60");
    LoginShell shell;
    QTest::qSleep(1500);
    QElapsedTimer timer;
    timer.start();
    WineDiscovery::discoverWith(shell);
    QVERIFY(timer.elapsed() >= 300);
    QVERIFY(timer.elapsed() < 1500);
}

void TestWineDiscovery::aShellThatEndedIsHeardHoweverLate()
{
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell("echo " + at(u"elsewhere/wine"_s).toLocal8Bit());
    LoginShell shell;
    QTest::qSleep(2100);
    QCOMPARE(own(WineDiscovery::discoverWith(shell)),
             QStringList{bareEntry(at(u"elsewhere/wine"_s))});
}

void TestWineDiscovery::aShellThatNobodyAskedIsEnded()
{
    fakeShell("echo $$ > " + at(u"pid"_s).toLocal8Bit() + "; exec /bin/sleep 60");
    {
        const LoginShell shell;
        QTRY_VERIFY(contentOf(at(u"pid"_s)).endsWith('\n'));
    }
    QVERIFY(!isAlive(contentOf(at(u"pid"_s)).trimmed().toLongLong()));
}

void TestWineDiscovery::anEndlessFloodIsEndedAfterTwoSeconds_data()
{
    QTest::addColumn<QByteArray>("flood");

    QTest::newRow("lines") << QByteArray("exec /usr/bin/yes");
    QTest::newRow("one line without an end") << QByteArray("exec /bin/cat /dev/zero");
}

void TestWineDiscovery::anEndlessFloodIsEndedAfterTwoSeconds()
{
    QFETCH(const QByteArray, flood);
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell("echo $$ > " + at(u"pid"_s).toLocal8Bit() + "; echo " +
              at(u"elsewhere/wine"_s).toLocal8Bit() + "; " + flood);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(discovered(), QStringList());
    QVERIFY(timer.elapsed() >= 1990);
    QVERIFY(timer.elapsed() < 6000);
    QVERIFY(!isAlive(contentOf(at(u"pid"_s)).trimmed().toLongLong()));
}

void TestWineDiscovery::aBackgroundProcessOfTheShellIsNotWaitedFor()
{
    makeWine(at(u"elsewhere/wine"_s));
    fakeShell("/bin/sleep 60 &\necho $! > " + at(u"pid"_s).toLocal8Bit() + "\necho " +
              at(u"elsewhere/wine"_s).toLocal8Bit());
    const auto endSleeper = qScopeGuard(
        [this] { kill(pid_t(contentOf(at(u"pid"_s)).trimmed().toLongLong()), SIGKILL); });
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(discovered(), QStringList{bareEntry(at(u"elsewhere/wine"_s))});
    QVERIFY(timer.elapsed() < 1900);
}

void TestWineDiscovery::nothingIsPrinted_data()
{
    QTest::addColumn<QByteArray>("shell");

    QTest::newRow("a shell that complains") << QByteArray("echo noise; echo noise >&2; exit 1");
    QTest::newRow("a shell that hangs") << QByteArray("echo noise >&2; exec /bin/sleep 60");
    QTest::newRow("a shell that prints no paths") << QByteArray("printf 'a\\0b\\n \\n'");
    QTest::newRow("no shell") << QByteArray();
}

void TestWineDiscovery::nothingIsPrinted()
{
    QFETCH(const QByteArray, shell);
    if (!shell.isEmpty()) {
        fakeShell(shell);
    }
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(),
                {QLatin1String(discoverArgument), at(u"result"_s)});
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput(), QByteArray());
    QCOMPARE(child.readAllStandardError(), QByteArray());
}

/// The whole of what discovery finds where the fake system stands in.
QStringList TestWineDiscovery::discoveredInFakeSystem() const
{
    const QString result = at(u"result"_s);
    const QString complaint = fakeSystem->runSelf({QLatin1String(discoverArgument), result});
    if (!complaint.isEmpty()) {
        return {complaint};
    }
    return QString::fromUtf8(contentOf(result)).split(u'\n', Qt::SkipEmptyParts);
}

void TestWineDiscovery::theFixedPathsComeFirst()
{
    NEEDS_OWN_MOUNTS();
    QCOMPARE(discoveredInFakeSystem(), QStringList());

    const QStringList paths{u"/usr/bin/wine64"_s, u"/usr/bin/wine"_s, u"/usr/local/bin/wine64"_s,
                            u"/usr/local/bin/wine"_s};
    QStringList expected;
    for (const QString &path : paths) {
        makeWine(fake(path));
        expected << bareEntry(path);
    }
    makeWine(at(u"bin/wine64"_s));
    expected << labelledEntry(u"wine64"_s, at(u"bin/wine64"_s));
    QCOMPARE(discoveredInFakeSystem(), expected);

    for (const QString &path : paths) {
        write(fake(path), "", false);
    }
    QCOMPARE(discoveredInFakeSystem(), QStringList{expected.last()});
}

void TestWineDiscovery::aLinkBetweenTheFixedPathsIsListedOnce()
{
    NEEDS_OWN_MOUNTS();
    makeWine(fake(u"/usr/bin/wine64"_s));
    QVERIFY(QFile::link(u"wine64"_s, fake(u"/usr/bin/wine"_s)));
    QVERIFY(QFile::link(u"/usr/bin/wine"_s, fake(u"/usr/local/bin/wine"_s)));
    QCOMPARE(discoveredInFakeSystem(),
             QStringList{entry(u"wine64 (/usr/bin)"_s, u"/usr/bin/wine64"_s)});
}

void TestWineDiscovery::theSearchPathAddsNothingThatTheFixedPathsHave()
{
    NEEDS_OWN_MOUNTS();
    makeWine(fake(u"/usr/bin/wine64"_s));
    qputenv("PATH", "/usr/bin");
    QCOMPARE(discoveredInFakeSystem(),
             QStringList{entry(u"wine64 (/usr/bin)"_s, u"/usr/bin/wine64"_s)});
}

void TestWineDiscovery::buildsUnderOptAreSortedCaseSensitively()
{
    NEEDS_OWN_MOUNTS();
    for (const QString &path :
         {u"/opt/wine-b/bin/wine"_s, u"/opt/wine-B/bin/wine"_s, u"/opt/wine-a/bin/wine"_s,
          u"/opt/wine-a/bin/wine64"_s, u"/opt/wine/bin/wine64"_s, u"/opt/.wine-hidden/bin/wine"_s,
          u"/opt/another-wine/bin/wine"_s, u"/opt/wine-file"_s}) {
        makeWine(fake(path));
    }
    QCOMPARE(discoveredInFakeSystem(),
             QStringList({labelledEntry(u"Wine"_s, u"/opt/wine/bin/wine64"_s),
                          labelledEntry(u"Wine"_s, u"/opt/wine-B/bin/wine"_s),
                          labelledEntry(u"Wine"_s, u"/opt/wine-a/bin/wine64"_s),
                          labelledEntry(u"Wine"_s, u"/opt/wine-a/bin/wine"_s),
                          labelledEntry(u"Wine"_s, u"/opt/wine-b/bin/wine"_s)}));
}

void TestWineDiscovery::stagingBuildsUnderOptAreLabelledWineOnPurpose()
{
    NEEDS_OWN_MOUNTS();
    makeWine(fake(u"/opt/wine-staging-9/bin/wine64"_s));
    makeWine(fake(u"/opt/wine-staging-9/bin/wine"_s));
    makeWine(fake(u"/opt/wine-8/bin/wine64"_s));
    makeWine(fake(u"/opt/wine-8/bin/wine"_s));
    QCOMPARE(discoveredInFakeSystem(),
             QStringList({labelledEntry(u"Wine"_s, u"/opt/wine-8/bin/wine64"_s),
                          labelledEntry(u"Wine"_s, u"/opt/wine-8/bin/wine"_s),
                          labelledEntry(u"Wine"_s, u"/opt/wine-staging-9/bin/wine64"_s),
                          labelledEntry(u"Wine"_s, u"/opt/wine-staging-9/bin/wine"_s)}));
}

void TestWineDiscovery::theFoldersUnderOptAreMatchedInAnyLetterCase()
{
    NEEDS_OWN_MOUNTS();
    makeWine(fake(u"/opt/Wine-GE/bin/wine"_s));
    QCOMPARE(discoveredInFakeSystem(),
             QStringList{labelledEntry(u"Wine"_s, u"/opt/Wine-GE/bin/wine"_s)});
}

void TestWineDiscovery::everyRouteHasItsPlaceInTheOrder()
{
    NEEDS_OWN_MOUNTS();
    makeWine(fake(u"/usr/local/bin/wine"_s));
    makeWine(at(u"bin/wine64"_s));
    makeWine(at(u"bin/wine"_s));
    makeWine(fake(u"/opt/wine-8/bin/wine"_s));
    makeWine(runner(u"ge-8/bin/wine"_s));
    makeWine(at(u"elsewhere/wine"_s));
    QVERIFY(QDir().mkpath(at(u"tools"_s)));
    QVERIFY(QFile::copy(u"/bin/bash"_s, at(u"tools/bash"_s)));
    write(at(u"bin/bash"_s),
          "#!" + at(u"tools/bash"_s).toLocal8Bit() + "\necho " +
              at(u"elsewhere/wine"_s).toLocal8Bit(),
          true);
    QCOMPARE(discoveredInFakeSystem(),
             QStringList({bareEntry(u"/usr/local/bin/wine"_s),
                          labelledEntry(u"wine64"_s, at(u"bin/wine64"_s)),
                          labelledEntry(u"wine"_s, at(u"bin/wine"_s)),
                          labelledEntry(u"Wine"_s, u"/opt/wine-8/bin/wine"_s),
                          labelledEntry(u"Lutris"_s, runner(u"ge-8/bin/wine"_s)),
                          bareEntry(at(u"elsewhere/wine"_s))}));
}

void TestWineDiscovery::anEmptyPathHasNoIndex()
{
    QCOMPARE(WineDiscovery::indexOfPath({}, QString()), -1);
    QCOMPARE(WineDiscovery::indexOfPath({{at(u"vanished"_s), u"gone"_s}}, QString()), -1);
}

void TestWineDiscovery::aPathFindsItsEntry_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("index");

    QTest::newRow("the entry's own path") << u"bin/wine"_s << 1;
    QTest::newRow("a link to it") << u"link"_s << 1;
    QTest::newRow("another spelling") << u"bin/../bin//wine"_s << 1;
    QTest::newRow("a copy of it") << u"copy"_s << -1;
    QTest::newRow("another letter case") << u"bin/WINE"_s << -1;
    QTest::newRow("a path that does not exist") << u"nowhere"_s << -1;
}

void TestWineDiscovery::aPathFindsItsEntry()
{
    QFETCH(const QString, path);
    QFETCH(const int, index);
    makeWine(at(u"bin/wine64"_s));
    makeWine(at(u"bin/wine"_s));
    makeWine(at(u"copy"_s));
    QVERIFY(QFile::link(at(u"bin/wine"_s), at(u"link"_s)));
    const QList<WineInstallation> list{{at(u"bin/wine64"_s), u"a"_s}, {at(u"bin/wine"_s), u"b"_s}};
    QCOMPARE(WineDiscovery::indexOfPath(list, at(path)), index);
    // Relative to the working folder.
    QCOMPARE(WineDiscovery::indexOfPath(list, u"../"_s + path), index);
}

void TestWineDiscovery::theFirstOfEqualEntriesIsFound()
{
    makeWine(at(u"bin/wine"_s));
    QVERIFY(QFile::link(at(u"bin/wine"_s), at(u"link"_s)));
    const QList<WineInstallation> list{
        {at(u"vanished"_s), u"a"_s}, {at(u"link"_s), u"b"_s}, {at(u"bin/wine"_s), u"c"_s}};
    QCOMPARE(WineDiscovery::indexOfPath(list, at(u"bin/wine"_s)), 1);
}

void TestWineDiscovery::aVanishedPathMatchesAVanishedEntryOnPurpose()
{
    makeWine(at(u"bin/wine"_s));
    const QList<WineInstallation> list{{at(u"bin/wine"_s), u"a"_s}, {at(u"vanished"_s), u"b"_s}};
    QCOMPARE(WineDiscovery::indexOfPath(list, at(u"never there"_s)), 1);
}

void TestWineDiscovery::aPathThatIsNoneHasNoIndexAndPrintsNothing()
{
    makeWine(at(u"bin/wine"_s));
    const QList<WineInstallation> list{{at(u"bin/wine"_s), u"a"_s}};
    QCOMPARE(WineDiscovery::indexOfPath(list, at(u"bin/wine"_s) + QChar(u'\0')), -1);
    QCOMPARE(WineDiscovery::indexOfPath(list, QString(QChar(u'\0'))), -1);
}

int main(int argc, char *argv[])
{
    if (argc == 3 && qstrcmp(argv[1], discoverArgument) == 0) {
        return writeDiscovered(QFile::decodeName(argv[2]));
    }
    const TestEnvironment environment;
    const QCoreApplication app(argc, argv);
    TestEnvironment::nameApplication();
    TestWineDiscovery test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_winediscovery.moc"
