#include "support/TestMain.h"

#include "wine/WineDiscovery.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

#include <csignal>
#include <optional>

#include "support/files/Disk.h"
#include "support/process/Child.h"
#include "support/process/FakeSystem.h"
#include "support/process/ProcessTable.h"

using namespace Qt::StringLiterals;

namespace
{

/// The entries as "label | path", the form that the tests compare.
QStringList asText(const QList<WineInstallation> &installations)
{
    QStringList lines;
    for (const WineInstallation &wine : installations) {
        lines << wine.label + u" | "_s + wine.path;
    }
    return lines;
}

QByteArray discoverAsBytes()
{
    return asText(WineDiscovery::discover()).join(u'\n').toUtf8();
}

QStringList listOf(const char *text)
{
    return QString::fromUtf8(text).split(u", "_s, Qt::SkipEmptyParts);
}

} // namespace

/// Discovery searches the whole machine. Each test has its own HOME, PATH and working directory;
/// what discovery finds elsewhere is not compared, unless a FakeSystem hides it.
class TestWineDiscovery : public FolderTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void eachExecutableIsListedOnce_data();
    void eachExecutableIsListedOnce();
    void placeholdersInAPathAreNotFilled();
    void theFirstSourceDecidesTheLabel();
    void theShellComesAfterTheOtherSources();
    void aFileWithoutExecutePermissionIsCheckedAgainByALaterSource();

    void theShellIsAskedForBothCommands();
    void theShellIsLookedUpOnTheSearchPath();
    void theShellsLinesAreResolved_data();
    void theShellsLinesAreResolved();
    void aLineWithANulAddsNothing();
    void aShellThatCannotBeStartedAddsNothing();
    void theUsersProfileApplies();
    void aShellThatNeedsLongerThanTwoSecondsIsKilled_data();
    void aShellThatNeedsLongerThanTwoSecondsIsKilled();
    void aBackgroundProcessOfTheShellIsNotWaitedFor();
    void nothingIsPrinted();

    void anEmptyPathHasNoIndex();
    void aPathFindsItsEntry();
    void theFirstOfEqualEntriesIsFound();

private:
    QString real(const QString &path) const;
    QString place(const QString &path) const;
    void make(const QStringList &files) const;
    QStringList entries(const QStringList &texts) const;
    void fakeShell(QByteArray script, const QString &path = u"bin/bash"_s) const;
    void expect(const QStringList &found) const;
    QStringList discoveredInFakeSystem() const;

    std::optional<FakeSystem> fakeSystem;
    std::optional<Disk::WorkingFolder> workingFolder;
    QByteArray oldPath;
    QByteArray oldHome;
};

void TestWineDiscovery::init()
{
    FolderTest::init();
    oldPath = qgetenv("PATH");
    oldHome = qgetenv("HOME");
    fakeSystem.emplace();
    make({u"bin/"_s, u"home/"_s, u"work/"_s});
    qputenv("PATH", real(u"bin"_s).toLocal8Bit());
    qputenv("HOME", real(u"home"_s).toLocal8Bit());
    workingFolder.emplace(at(u"work"_s));
}

void TestWineDiscovery::cleanup()
{
    qputenv("PATH", oldPath);
    qputenv("HOME", oldHome);
    workingFolder.reset();
    fakeSystem.reset();
    FolderTest::cleanup();
}

/// The canonical path of a file: "L/..." is among the Lutris runners, "/..." in the system, and
/// any other in the test's folder.
QString TestWineDiscovery::real(const QString &path) const
{
    if (path.startsWith(u'/')) {
        return path;
    }
    const QString root = QFileInfo(folder()).canonicalFilePath() + u'/';
    return path.startsWith(u"L/"_s)
               ? root + u"home/.local/share/lutris/runners/wine"_s + path.mid(1)
               : root + path;
}

/// Where to create a file so that discovery sees it at real(@p path).
QString TestWineDiscovery::place(const QString &path) const
{
    return path.startsWith(u'/') ? fakeSystem->path(path) : real(path);
}

/// Creates "folder/", "-plain file" (not executable), "link -> target" and executables.
void TestWineDiscovery::make(const QStringList &files) const
{
    for (const QString &file : files) {
        const QStringList link = file.split(u" -> "_s);
        const QString path = place(link.first().startsWith(u'-') ? file.mid(1) : link.first());
        if (file.endsWith(u'/')) {
            Disk::makeFolder(path);
        } else if (link.size() == 2) {
            Disk::makeFolder(QFileInfo(path).path());
            Disk::makeLink(path, real(link.last()));
        } else {
            Disk::writeExecutable(path, "#!/bin/true\n");
            if (file.startsWith(u'-')) {
                QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
            }
        }
    }
}

/// The entries for "label: path", or ": path" for a label made of the path.
QStringList TestWineDiscovery::entries(const QStringList &texts) const
{
    QStringList lines;
    for (const QString &text : texts) {
        const QString label = text.section(u": "_s, 0, 0);
        const QFileInfo file(real(text.section(u": "_s, 1)));
        lines << (label.isEmpty() ? file.fileName() + u" ("_s + file.path()
                                  : label + u" ("_s + file.filePath()) +
                     u") | "_s + file.filePath();
    }
    return lines;
}

/// Creates a "bash" that runs @p script, in which "@" is the test's folder.
void TestWineDiscovery::fakeShell(QByteArray script, const QString &path) const
{
    Disk::writeExecutable(at(path),
                          "#!/bin/bash\n" + script.replace('@', real(QString()).toLocal8Bit()));
}

/// Compares with what discovery finds in the test's folder.
void TestWineDiscovery::expect(const QStringList &found) const
{
    QStringList own = asText(WineDiscovery::discover());
    own.removeIf([this](const QString &line) { return !line.contains(u" | "_s + real({})); });
    QCOMPARE(own, entries(found));
}

/// All that discovery finds in the fake system.
QStringList TestWineDiscovery::discoveredInFakeSystem() const
{
    Child child({u"discover"_s});
    child.mountFirst(fakeSystem->mountScript());
    return QString::fromUtf8(child.output()).split(u'\n', Qt::SkipEmptyParts);
}

void TestWineDiscovery::eachExecutableIsListedOnce_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("found");

    const auto row = [](const char *name, const char *files, const char *found) {
        QTest::newRow(name) << listOf(files) << listOf(found);
    };
    row("nothing", "", "");
    row("wine64 on PATH", "bin/wine64", "wine64: bin/wine64");
    row("wine on PATH", "bin/wine", "wine: bin/wine");
    row("wine64 before wine", "bin/wine, bin/wine64", "wine64: bin/wine64, wine: bin/wine");
    row("a link at its target", "builds/8/preloader, bin/wine -> builds/8/preloader",
        "wine: builds/8/preloader");
    row("both commands one file", "bin/wine, bin/wine64 -> bin/wine", "wine64: bin/wine");
    row("the working directory before PATH", "bin/wine, work/wine", "wine: work/wine");
    row("a plain file in the working directory hides PATH, deliberate", "bin/wine, -work/wine", "");
    row("a folder in the working directory counts as a file, deliberate", "bin/wine, work/wine/",
        "wine: work/wine");
    row("no execute permission", "-bin/wine, -L/ge-8/bin/wine64", "");

    row("Lutris runners in case-sensitive order",
        "L/GE-9/bin/wine, L/b/bin/wine, L/A/bin/wine, L/a/bin/wine, L/GE-10/bin/wine",
        "Lutris: L/A/bin/wine, Lutris: L/GE-10/bin/wine, Lutris: L/GE-9/bin/wine, Lutris: "
        "L/a/bin/wine, Lutris: L/b/bin/wine");
    row("a Lutris runner's wine64 before its wine",
        "L/ge-8/bin/wine, L/ge-8/bin/wine64, L/ge-8/bin/wineserver",
        "Lutris: L/ge-8/bin/wine64, Lutris: L/ge-8/bin/wine");
    row("a Lutris runner with wine alone", "L/lutris-GE-8/bin/wine",
        "Lutris: L/lutris-GE-8/bin/wine");
    row("a hidden Lutris runner and a plain file", "L/.old/bin/wine, L/wine", "");
    row("the runners' folder and the one above are no runners", "L/bin/wine, L/../bin/wine64", "");
    row("a linked Lutris runner", "builds/ge-9/bin/wine, L/linked -> builds/ge-9",
        "Lutris: builds/ge-9/bin/wine");
    row("dangling links", "L/ge-8/bin/wine -> gone, bin/wine64 -> gone", "");

    row("the fixed paths first",
        "/usr/local/bin/wine, /usr/local/bin/wine64, /usr/bin/wine, /usr/bin/wine64, bin/wine64",
        ": /usr/bin/wine64, : /usr/bin/wine, : /usr/local/bin/wine64, : /usr/local/bin/wine, "
        "wine64: bin/wine64");
    row("fixed paths without execute permission",
        "-/usr/local/bin/wine, -/usr/local/bin/wine64, -/usr/bin/wine, -/usr/bin/wine64, "
        "bin/wine64",
        "wine64: bin/wine64");
    row("links between the fixed paths",
        "/usr/bin/wine64, /usr/bin/wine -> /usr/bin/wine64, /usr/local/bin/wine -> /usr/bin/wine",
        ": /usr/bin/wine64");
    row("PATH leads to a fixed path", "/usr/bin/wine64, bin/wine64 -> /usr/bin/wine64",
        ": /usr/bin/wine64");
    row("builds under /opt in case-sensitive order",
        "/opt/wine-b/bin/wine, /opt/wine-B/bin/wine, /opt/wine-a/bin/wine, /opt/wine-a/bin/wine64, "
        "/opt/wine/bin/wine64, /opt/.wine-hidden/bin/wine, /opt/another-wine/bin/wine, "
        "/opt/wine-file",
        "Wine: /opt/wine/bin/wine64, Wine: /opt/wine-B/bin/wine, Wine: /opt/wine-a/bin/wine64, "
        "Wine: /opt/wine-a/bin/wine, Wine: /opt/wine-b/bin/wine");
    row("staging builds under /opt are labelled Wine, deliberate",
        "/opt/wine-staging-9/bin/wine64, /opt/wine-staging-9/bin/wine, /opt/wine-8/bin/wine64, "
        "/opt/wine-8/bin/wine",
        "Wine: /opt/wine-8/bin/wine64, Wine: /opt/wine-8/bin/wine, Wine: "
        "/opt/wine-staging-9/bin/wine64, Wine: /opt/wine-staging-9/bin/wine");
    row("folders under /opt match in any letter case", "/opt/Wine-GE/bin/wine",
        "Wine: /opt/Wine-GE/bin/wine");
    row("every source in its place",
        "/usr/local/bin/wine, bin/wine64, bin/wine, /opt/wine-8/bin/wine, L/ge-8/bin/wine, "
        "elsewhere/wine",
        ": /usr/local/bin/wine, wine64: bin/wine64, wine: bin/wine, Wine: /opt/wine-8/bin/wine, "
        "Lutris: L/ge-8/bin/wine, : elsewhere/wine");
}

void TestWineDiscovery::eachExecutableIsListedOnce()
{
    QFETCH(const QStringList, files);
    QFETCH(const QStringList, found);
    make(files);
    if (!files.join(u' ').contains(u"/usr/"_s) && !files.join(u' ').contains(u"/opt/"_s)) {
        expect(found);
        return;
    }
    NEEDS_OWN_MOUNTS();
    if (files.contains(u"elsewhere/wine"_s)) { // the fake system may hide the machine's bash
        QVERIFY(QFile::copy(u"/bin/bash"_s, at(u"interpreter"_s)));
        const QByteArray root = real(QString()).toLocal8Bit();
        Disk::writeExecutable(at(u"bin/bash"_s),
                              "#!" + root + "interpreter\necho " + root + "elsewhere/wine");
    }
    QCOMPARE(discoveredInFakeSystem(), entries(found));
}

void TestWineDiscovery::placeholdersInAPathAreNotFilled()
{
    qputenv("PATH", at(u"%1 %2"_s).toLocal8Bit());
    make({u"%1 %2/wine64"_s, u"L/%2/bin/wine"_s});
    expect({u"wine64: %1 %2/wine64"_s, u"Lutris: L/%2/bin/wine"_s});
}

void TestWineDiscovery::theFirstSourceDecidesTheLabel()
{
    make({u"L/ge-8/bin/wine"_s});
    fakeShell("echo " + real(u"L/ge-8/bin/wine"_s).toLocal8Bit());
    expect({u"Lutris: L/ge-8/bin/wine"_s});

    make({u"bin/wine64 -> L/ge-8/bin/wine"_s, u"bin/wine -> L/ge-8/bin/wine"_s});
    expect({u"wine64: L/ge-8/bin/wine"_s});
}

void TestWineDiscovery::theShellComesAfterTheOtherSources()
{
    for (int i = 0; i < 500; ++i) { // a shell started earlier would reach the last ones in time
        make({u"-L/%1/bin/wine"_s.arg(i)});
    }
    fakeShell("/bin/chmod -R u+x @home");
    expect({});
}

void TestWineDiscovery::aFileWithoutExecutePermissionIsCheckedAgainByALaterSource()
{
    make({u"-work/wine64"_s});
    fakeShell("/bin/chmod u+x @work/wine64; echo @work/wine64");
    expect({u": work/wine64"_s});
}

void TestWineDiscovery::theShellIsAskedForBothCommands()
{
    fakeShell("printf '%s|' $# \"$1\" \"$2\" > @report");
    expect({});
    QCOMPARE(Disk::read(at(u"report"_s)), "2|-lc|command -v wine64; command -v wine|"_ba);
}

void TestWineDiscovery::theShellIsLookedUpOnTheSearchPath()
{
    make({u"elsewhere/wine"_s});
    fakeShell("echo @elsewhere/wine", u"bin2/bash"_s);
    qputenv("PATH", (at(u"bin"_s) + u':' + at(u"bin2"_s)).toLocal8Bit());
    expect({u": elsewhere/wine"_s});
}

void TestWineDiscovery::theShellsLinesAreResolved_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("found");

    const char *wine = ": elsewhere/wine";
    const auto row = [](const char *name, const QByteArray &script, const char *found) {
        QTest::newRow(name) << script << listOf(found);
    };
    row("trimmed", "printf '\\n  \\t %s \\r\\n \\n\\n' '@elsewhere/with blank'",
        ": elsewhere/with blank");
    row("a command on PATH", "echo wine-ge", ": bin/wine-ge");
    row("a relative path", "echo ge/wine; echo ./ge/../ge/wine", ": work/ge/wine");
    row("in their order", "echo wine-ge; echo @elsewhere/wine", ": bin/wine-ge, : elsewhere/wine");
    row("without an end of line", "printf @elsewhere/wine", wine);
    row("not ASCII", "printf '@elsewhere/a\xc3\xa7\xc3\xa3o'", ": elsewhere/ação");
    row("no execute permission", "echo @elsewhere/plain", "");
    row("an exit code", "echo @elsewhere/wine; exit 127", wine);
    row("a crash", "echo @elsewhere/wine; kill -SEGV $$", wine);
    row("standard output closed early", "echo @elsewhere/wine; exec >&-; /bin/sleep 0.1", wine);
    row("standard error alone", "echo @elsewhere/wine >&2", "");
    row("bytes that are no text", "printf '\\xff\\xfe\\x80/\\n'; echo @elsewhere/wine", wine);
    row("a line longer than any path",
        "printf '/%.0s' {1..5000}; printf 'x%.0s' {1..5000}; echo; echo @elsewhere/wine", wine);
    row("an alias", "echo \"alias wine='/usr/bin/env wine'\"; echo @elsewhere/wine", wine);
    row("after many lines", "/usr/bin/seq 2000; echo @elsewhere/wine", wine);
    row("before many lines", "echo @elsewhere/wine; /usr/bin/seq 2000", wine);
    row("more than a pipe holds",
        "/usr/bin/head -c 300000 /dev/zero | /usr/bin/tr '\\0' x; echo; echo @elsewhere/wine",
        wine);
    row("many errors", "/usr/bin/head -c 300000000 /dev/zero >&2; echo @elsewhere/wine", wine);
}

void TestWineDiscovery::theShellsLinesAreResolved()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QStringList, found);
    make({u"elsewhere/wine"_s, u"elsewhere/with blank"_s, u"elsewhere/ação"_s,
          u"-elsewhere/plain"_s, u"bin/wine-ge"_s, u"work/ge/wine"_s});
    fakeShell(script);
    const qint64 peak = ProcessTable::memory("VmHWM");
    expect(found);
    QVERIFY(ProcessTable::memory("VmHWM") - peak < 100'000); // errors are not kept
}

void TestWineDiscovery::aLineWithANulAddsNothing()
{
    // Qt warns about such a name; the launcher drops the message.
    const QtMessageHandler old =
        qInstallMessageHandler([](QtMsgType /*type*/, const QMessageLogContext & /*context*/,
                                  const QString & /*text*/) {});
    const auto restore = qScopeGuard([old] { qInstallMessageHandler(old); });
    make({u"elsewhere/wine"_s});
    fakeShell("printf '@elsewhere/wine\\0\\n\\0\\n'; echo @elsewhere/wine");
    expect({u": elsewhere/wine"_s});
}

void TestWineDiscovery::aShellThatCannotBeStartedAddsNothing()
{
    const QString shell = at(u"bin/bash"_s);
    QElapsedTimer timer;
    timer.start();
    Disk::write(shell, "#!/bin/bash\necho bash\n"); // not executable
    expect({});
    for (const char *content : {"\x01\x02\x03", "#!/nonexistent/sh\n"}) {
        Disk::writeExecutable(shell, content);
        expect({});
    }
    QVERIFY(timer.elapsed() < 2000);
}

void TestWineDiscovery::theUsersProfileApplies()
{
    make({u"profile/wine64"_s, u"profile/wine"_s});
    Disk::makeLink(at(u"bin/bash"_s), u"/bin/bash"_s);
    const QByteArray path = "PATH=" + real(u"profile"_s).toLocal8Bit() + '\n';
    for (const char *rest : {"", "echo 'Hello! 100%1 of / used.'; echo oops >&2",
                             "/nonexistent/setup", "return 3", "if [ ; fi )"}) {
        Disk::write(at(u"home/.bash_profile"_s), path + rest + '\n');
        expect({u": profile/wine64"_s, u": profile/wine"_s});
    }
    Disk::write(at(u"home/.bash_profile"_s), path + "exit 3\n");
    expect({});
}

void TestWineDiscovery::aShellThatNeedsLongerThanTwoSecondsIsKilled_data()
{
    QTest::addColumn<QByteArray>("script");

    QTest::newRow("it sleeps") << "exec /bin/sleep 60"_ba;
    QTest::newRow("it prints lines") << "while :; do echo x; done"_ba;
    QTest::newRow("it prints one line without an end") << "while :; do printf x; done"_ba;
    QTest::newRow("it ignores a request to end") << "trap '' TERM HUP; exec /bin/sleep 60"_ba;
}

void TestWineDiscovery::aShellThatNeedsLongerThanTwoSecondsIsKilled()
{
    QFETCH(const QByteArray, script);
    make({u"elsewhere/wine"_s});
    fakeShell("echo $$ > @pid; echo @elsewhere/wine; " + script);
    QElapsedTimer timer;
    timer.start();
    expect({});
    QVERIFY(timer.elapsed() >= 1990);
    QVERIFY(timer.elapsed() < 6000);
    const qint64 pid = Disk::read(at(u"pid"_s)).trimmed().toLongLong();
    QVERIFY(pid > 0);
    QVERIFY(!ProcessTable::isAlive(pid));
}

void TestWineDiscovery::aBackgroundProcessOfTheShellIsNotWaitedFor()
{
    make({u"elsewhere/wine"_s});
    fakeShell("/bin/sleep 60 &\necho $! > @pid; echo @elsewhere/wine");
    const auto endSleeper = qScopeGuard(
        [this] { kill(pid_t(Disk::read(at(u"pid"_s)).trimmed().toLongLong()), SIGKILL); });
    expect({u": elsewhere/wine"_s});
}

void TestWineDiscovery::nothingIsPrinted()
{
    for (const char *script : {"", "echo noise; echo noise >&2; exit 1",
                               "echo noise >&2; exec /bin/sleep 60", "printf '\\n \\n\\t\\n'"}) {
        if (*script != '\0') { // without a shell first
            fakeShell(script);
        }
        QCOMPARE(Child({u"discover"_s}).output(), discoverAsBytes());
    }
}

void TestWineDiscovery::anEmptyPathHasNoIndex()
{
    QCOMPARE(WineDiscovery::indexOfPath({}, QString()), -1);
    QCOMPARE(WineDiscovery::indexOfPath({{at(u"vanished"_s), u"gone"_s}}, QString()), -1);
}

void TestWineDiscovery::aPathFindsItsEntry()
{
    make({u"bin/wine64"_s, u"bin/wine"_s, u"copy"_s, u"link -> bin/wine"_s});
    const QList<WineInstallation> list{{at(u"bin/wine64"_s), u"a"_s}, {at(u"bin/wine"_s), u"b"_s}};
    for (const QString &path : {u"bin/wine"_s, u"link"_s, u"bin/../bin//wine"_s}) {
        QCOMPARE(WineDiscovery::indexOfPath(list, at(path)), 1);
        QCOMPARE(WineDiscovery::indexOfPath(list, u"../"_s + path),
                 1); // relative to the working directory
    }
    for (const QString &path : {u"copy"_s, u"bin/WINE"_s, u"nowhere"_s}) {
        QCOMPARE(WineDiscovery::indexOfPath(list, at(path)), -1);
        QCOMPARE(WineDiscovery::indexOfPath(list, u"../"_s + path), -1);
    }
}

void TestWineDiscovery::theFirstOfEqualEntriesIsFound()
{
    make({u"bin/wine"_s, u"link -> bin/wine"_s});
    const QList<WineInstallation> list{
        {at(u"link"_s), u"a"_s}, {at(u"bin/wine"_s), u"b"_s}, {at(u"vanished"_s), u"c"_s}};
    QCOMPARE(WineDiscovery::indexOfPath(list, at(u"bin/wine"_s)), 0);
    // Deliberate: a missing file matches an entry whose file is missing.
    QCOMPARE(WineDiscovery::indexOfPath(list, at(u"never there"_s)), 2);
}

int main(int argc, char *argv[])
{
    return runTestWithChildren<TestWineDiscovery>(
        argc, argv, [](const QStringList &) { return discoverAsBytes(); });
}

#include "tst_winediscovery.moc"
