#include "support/TestMain.h"

#include <QDir>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <filesystem>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "zel-manifest/PatchFolder.h"
#include "zel-manifest/Text.h"

using namespace Qt::StringLiterals;

namespace
{

/// A folder whose names are bytes, so that it can hold what no QString can.
class Folder
{
public:
    QString path() const { return dir.filePath(u"patch"_s); }
    QByteArray place(const QByteArray &name) const { return path().toUtf8() + '/' + name; }

    Folder() { QDir().mkpath(path()); }
    ~Folder() { std::filesystem::remove_all(path().toStdString()); } // also what Qt cannot name
    Q_DISABLE_COPY_MOVE(Folder)

    void makeFolder(const QByteArray &name) const
    {
        for (qsizetype end = name.indexOf('/'); end >= 0; end = name.indexOf('/', end + 1)) {
            ::mkdir(place(name.left(end)).constData(), 0755);
        }
        ::mkdir(place(name).constData(), 0755);
    }

    void write(const QByteArray &name, const QByteArray &content = "x") const
    {
        if (name.contains('/')) {
            makeFolder(name.left(name.lastIndexOf('/')));
        }
        FILE *const file = std::fopen(place(name).constData(), "wb");
        QVERIFY2(file != nullptr, name.constData());
        QCOMPARE(std::fwrite(content.constData(), 1, size_t(content.size()), file),
                 size_t(content.size()));
        std::fclose(file);
    }

    void link(const QByteArray &name, const QByteArray &target) const
    {
        QCOMPARE(::symlink(target.constData(), place(name).constData()), 0);
    }

    PatchFolderScan scan(const QStringList &excludes = {}) const
    {
        QList<ExcludePattern> patterns;
        for (const QString &exclude : excludes) {
            patterns.append(ExcludePattern(exclude));
        }
        return PatchFolder::scan(path(), path() + u"/manifest.json"_s, patterns);
    }

    QTemporaryDir dir;
};

} // namespace

class TestPatchFolder : public TestBase
{
    Q_OBJECT

private slots:
    void theFilesOfAFolderAreListedInBytewiseOrder();
    void theOrderDoesNotDependOnTheLocale();
    void hiddenFilesAreListed();
    void theManifestInTheFolderIsNeverListed();
    void aManifestWrittenElsewhereInTheFolderIsNotListed();
    void aFolderInThePlaceOfTheManifestIsRefused();
    void manifestsOfSubfoldersAreFilesLikeOthers();
    void anEmptyFolderIsWarnedOf();
    void whatCannotBeReadIsAFailure();
    void excludesApplyToNamesOrPaths_data();
    void excludesApplyToNamesOrPaths();
    void whatIsExcludedIsCountedOnceAndNotWalked();
    void aPatternThatExcludesNothingIsWarnedOf();
    void patternsThatAreNone_data();
    void patternsThatAreNone();
    void whatWouldBeRefusedCanBeExcluded();
    void linksInsideTheFolderAreFollowed();
    void linksThatMustNotBeFollowed_data();
    void linksThatMustNotBeFollowed();
    void twoFoldersThatLinkToEachOtherAreRefused();
    void aFolderGivenAsALinkIsWalked();
    void specialFilesAreRefused();
    void aNameThatIsNotUtf8IsRefused_data();
    void aNameThatIsNotUtf8IsRefused();
    void aPathThatTheLauncherTakesForAbsoluteIsRefused();
    void aNameTooLongForTheLaunchersTemporaryFileIsRefused();
    void namesThatDifferInCaseAloneAreRefused_data();
    void namesThatDifferInCaseAloneAreRefused();
    void namesThatDifferInMoreThanCaseAreNotRefused();
    void namesThatWindowsCannotHoldAreWarnedOf_data();
    void namesThatWindowsCannotHoldAreWarnedOf();
    void filesThatTheLauncherWritesItselfAreWarnedOf();
    void aPathTooLongForWindowsProgramsIsWarnedOf();
};

void TestPatchFolder::theFilesOfAFolderAreListedInBytewiseOrder()
{
    const Folder folder;
    // "-" sorts before "/", which sorts before "0": the order is that of whole paths.
    const QByteArrayList paths{"B", "a-b", "a/b", "a/b c", "a/c", "a0/b", "\xC3\xA9.txt"};
    for (auto path = paths.crbegin(); path != paths.crend(); ++path) {
        folder.write(*path, "12345");
    }
    const PatchFolderScan scan = folder.scan();
    QCOMPARE(scan.files, paths);
    QCOMPARE(scan.totalSize, 5 * paths.size());
    QCOMPARE(scan.problems, QStringList());
    QCOMPARE(scan.warnings, QStringList());
    QCOMPARE(scan.failures, QStringList());
    QCOMPARE(scan.absent, QByteArrayList());
    QCOMPARE(scan.excluded, QByteArrayList());
}

void TestPatchFolder::theOrderDoesNotDependOnTheLocale()
{
    const Folder folder;
    for (const char *name : {"a", "B", "c", "D", "\xC3\xA4", "_"}) {
        folder.write(name);
    }
    const QByteArray before = std::setlocale(LC_ALL, nullptr);
    const auto restore = qScopeGuard([&] { std::setlocale(LC_ALL, before.constData()); });
    for (const char *locale : {"C", "C.UTF-8", "en_US.UTF-8"}) {
        std::setlocale(LC_ALL, locale);
        QCOMPARE(folder.scan().files, QByteArrayList({"B", "D", "_", "a", "c", "\xC3\xA4"}));
    }
}

void TestPatchFolder::hiddenFilesAreListed()
{
    const Folder folder;
    folder.write(".hidden");
    folder.write(".folder/...x");
    folder.write("a~");
    folder.write("a.tmp");
    QCOMPARE(folder.scan().files, QByteArrayList({".folder/...x", ".hidden", "a.tmp", "a~"}));
}

void TestPatchFolder::theManifestInTheFolderIsNeverListed()
{
    const Folder folder;
    folder.write("a");
    folder.write("manifest.json");
    QCOMPARE(folder.scan().files, QByteArrayList{"a"});
    QCOMPARE(folder.scan().absent, QByteArrayList{"manifest.json"});

    const PatchFolderScan elsewhere =
        PatchFolder::scan(folder.path(), folder.dir.filePath(u"other.json"_s));
    QCOMPARE(elsewhere.files, QByteArrayList{"a"});
    QCOMPARE(elsewhere.absent, QByteArrayList{"manifest.json"});
}

void TestPatchFolder::aManifestWrittenElsewhereInTheFolderIsNotListed()
{
    const Folder folder;
    folder.write("a");
    folder.write("list/new.json");
    const PatchFolderScan scan =
        PatchFolder::scan(folder.path(), folder.path() + u"/list/../list/new.json"_s);
    QCOMPARE(scan.files, QByteArrayList{"a"});
    QCOMPARE(scan.absent, QByteArrayList{"list/new.json"});
}

void TestPatchFolder::aFolderInThePlaceOfTheManifestIsRefused()
{
    const Folder folder;
    folder.write("manifest.json/a");
    QCOMPARE(folder.scan().files, QByteArrayList());
    QCOMPARE(folder.scan().problems,
             QStringList{u"\"manifest.json\": is a folder; the launcher fetches the "
                         "manifest there"_s});
}

void TestPatchFolder::manifestsOfSubfoldersAreFilesLikeOthers()
{
    const Folder folder;
    folder.write("mods/manifest.json");
    folder.write("manifest.json.old");
    QCOMPARE(folder.scan().files, QByteArrayList({"manifest.json.old", "mods/manifest.json"}));
}

void TestPatchFolder::anEmptyFolderIsWarnedOf()
{
    const Folder folder;
    folder.makeFolder("logs/old");
    const PatchFolderScan scan = folder.scan();
    QCOMPARE(scan.warnings, QStringList{u"\"logs/old\": the folder is empty; the "
                                        "launcher will not make it"_s});
    QCOMPARE(scan.problems, QStringList());
}

void TestPatchFolder::whatCannotBeReadIsAFailure()
{
    const Folder folder;
    const PatchFolderScan none = PatchFolder::scan(folder.path() + u"/none"_s, QString());
    QCOMPARE(none.failures.size(), 1);
    QVERIFY(none.failures.first().contains(u"No such file"_s));

    folder.write("file");
    const PatchFolderScan file = PatchFolder::scan(folder.path() + u"/file"_s, QString());
    QCOMPARE(file.failures.size(), 1);
    QVERIFY(file.failures.first().contains(u"Not a directory"_s));
}

void TestPatchFolder::excludesApplyToNamesOrPaths_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QByteArrayList>("left");

    const QByteArrayList all{"a.tmp", "b", "d/a.tmp", "d/e/a.tmp", "d/e/b"};
    QTest::newRow("a name at any depth") << u"*.tmp"_s << QByteArrayList{"b", "d/e/b"};
    QTest::newRow("a whole name, not a part of it") << u".tmp"_s << all;
    QTest::newRow("a question mark") << u"a.t?p"_s << QByteArrayList{"b", "d/e/b"};
    QTest::newRow("a set") << u"[b-c]"_s << QByteArrayList{"a.tmp", "d/a.tmp", "d/e/a.tmp"};
    QTest::newRow("a set of others") << u"[!b]*"_s << QByteArrayList{"b"};
    QTest::newRow("a path") << u"d/a.tmp"_s << QByteArrayList{"a.tmp", "b", "d/e/a.tmp", "d/e/b"};
    QTest::newRow("an asterisk stays in its folder")
        << u"d/*.tmp"_s << QByteArrayList{"a.tmp", "b", "d/e/a.tmp", "d/e/b"};
    QTest::newRow("a path from the folder itself")
        << u"/a.tmp"_s << QByteArrayList{"b", "d/a.tmp", "d/e/a.tmp", "d/e/b"};
    QTest::newRow("a folder") << u"e"_s << QByteArrayList{"a.tmp", "b", "d/a.tmp"};
    QTest::newRow("a folder by its path") << u"d/e"_s << QByteArrayList{"a.tmp", "b", "d/a.tmp"};
    QTest::newRow("folders alone: a folder") << u"e/"_s << QByteArrayList{"a.tmp", "b", "d/a.tmp"};
    QTest::newRow("folders alone: a file") << u"b/"_s << all;
    QTest::newRow("letter case counts") << u"*.TMP"_s << all;
    QTest::newRow("no regular expression") << u"a.+"_s << all;
}

void TestPatchFolder::excludesApplyToNamesOrPaths()
{
    QFETCH(const QString, pattern);
    QFETCH(const QByteArrayList, left);
    const Folder folder;
    for (const char *name : {"a.tmp", "b", "d/a.tmp", "d/e/a.tmp", "d/e/b"}) {
        folder.write(name);
    }
    QVERIFY(ExcludePattern(pattern).isValid());
    QCOMPARE(folder.scan({pattern}).files, left);
}

void TestPatchFolder::whatIsExcludedIsCountedOnceAndNotWalked()
{
    const Folder folder;
    folder.write("keep");
    folder.write("tmp/1");
    folder.write("tmp/2");
    folder.write("x.bak");
    const PatchFolderScan scan = folder.scan({u"tmp"_s, u"t*"_s, u"*.bak"_s});
    QCOMPARE(scan.files, QByteArrayList{"keep"});
    QCOMPARE(scan.excluded, QByteArrayList({"tmp", "x.bak"}));
    QCOMPARE(scan.warnings, QStringList());
}

void TestPatchFolder::aPatternThatExcludesNothingIsWarnedOf()
{
    const Folder folder;
    folder.write("a.tmp");
    const PatchFolderScan scan = folder.scan({u"*.tmp"_s, u"*.bka"_s});
    QCOMPARE(scan.warnings, QStringList{u"the pattern \"*.bka\" excludes nothing"_s});
}

void TestPatchFolder::patternsThatAreNone_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::newRow("empty") << u""_s;
    QTest::newRow("a slash") << u"/"_s;
    QTest::newRow("an open set") << u"[a"_s;
}

void TestPatchFolder::patternsThatAreNone()
{
    QFETCH(const QString, pattern);
    QVERIFY(!ExcludePattern(pattern).isValid());
}

void TestPatchFolder::whatWouldBeRefusedCanBeExcluded()
{
    const Folder folder;
    folder.write("a");
    folder.write("A");
    folder.write("bad\xFF.tmp");
    folder.write(":resource");
    folder.link("out", "/");
    folder.link("loop", "loop");
    QCOMPARE(folder.scan().problems.size(), 5);
    const PatchFolderScan scan = folder.scan({u"A"_s, u"*.tmp"_s, u":*"_s, u"out"_s, u"loop"_s});
    QCOMPARE(scan.problems, QStringList());
    QCOMPARE(scan.files, QByteArrayList{"a"});
}

void TestPatchFolder::linksInsideTheFolderAreFollowed()
{
    const Folder folder;
    folder.write("real/file", "12345");
    folder.link("to-file", "real/file");
    folder.link("to-folder", "real");
    folder.link("to-link", "to-file");
    folder.link("absolute", folder.place("real/file"));
    folder.link("out-and-in", folder.path().toUtf8() + "/../patch/real/file");
    const PatchFolderScan scan = folder.scan();
    QCOMPARE(scan.problems, QStringList());
    QCOMPARE(scan.files, QByteArrayList({"absolute", "out-and-in", "real/file", "to-file",
                                         "to-folder/file", "to-link"}));
    QCOMPARE(scan.totalSize, 6 * 5);
}

void TestPatchFolder::linksThatMustNotBeFollowed_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QString>("reason");

    QTest::newRow("a file outside")
        << "../../outside/file"_ba << u"is a symbolic link that leaves the folder, to "_s;
    QTest::newRow("a folder outside")
        << "../../outside"_ba << u"is a symbolic link that leaves the folder, to "_s;
    QTest::newRow("a neighbour whose name only begins alike")
        << "../../patch-2"_ba << u"is a symbolic link that leaves the folder, to "_s;
    QTest::newRow("nowhere") << "none"_ba << u"is a symbolic link that leads nowhere"_s;
    QTest::newRow("below a file") << "file/x"_ba << u"is a symbolic link that leads nowhere"_s;
    QTest::newRow("itself") << "link"_ba << u"is a symbolic link that leads to itself"_s;
    QTest::newRow("its own folder")
        << "."_ba << u"is a symbolic link to a folder that it is in itself"_s;
    QTest::newRow("the folder above")
        << ".."_ba << u"is a symbolic link to a folder that it is in itself"_s;
    QTest::newRow("the manifest") << "../manifest.json"_ba
                                  << u"is a symbolic link to the manifest"_s;
    QTest::newRow("a special file inside") << "fifo"_ba << u"is neither a file nor a folder"_s;
}

void TestPatchFolder::linksThatMustNotBeFollowed()
{
    QFETCH(const QByteArray, target);
    QFETCH(const QString, reason);
    const Folder folder;
    folder.write("manifest.json");
    folder.write("sub/file");
    folder.write("../outside/file");
    folder.write("../patch-2/file");
    QCOMPARE(::mkfifo(folder.place("sub/fifo").constData(), 0600), 0);
    folder.link("sub/link", target);

    const PatchFolderScan scan = folder.scan({u"fifo"_s});
    QCOMPARE(scan.files, QByteArrayList{"sub/file"});
    QCOMPARE(scan.problems.size(), 1);
    const QString expected = u"\"sub/link\": "_s + reason;
    QVERIFY2(scan.problems.first().startsWith(expected), qPrintable(scan.problems.first()));
}

void TestPatchFolder::twoFoldersThatLinkToEachOtherAreRefused()
{
    const Folder folder;
    folder.write("a/file");
    folder.write("b/file");
    folder.link("a/b", "../b");
    folder.link("b/a", "../a");
    const PatchFolderScan scan = folder.scan();
    const QString reason = u"is a symbolic link to a folder that it is in itself"_s;
    QCOMPARE(scan.problems, QStringList({u"\"a/b/a\": "_s + reason, u"\"b/a/b\": "_s + reason}));
}

void TestPatchFolder::aFolderGivenAsALinkIsWalked()
{
    const Folder folder;
    folder.write("sub/file");
    folder.write("manifest.json");
    folder.link("../alias", "patch");
    const QString alias = folder.dir.filePath(u"alias"_s);
    const PatchFolderScan scan = PatchFolder::scan(alias, alias + u"/manifest.json"_s);
    QCOMPARE(scan.problems, QStringList());
    QCOMPARE(scan.files, QByteArrayList{"sub/file"});
    QCOMPARE(scan.absent, QByteArrayList{"manifest.json"});
}

void TestPatchFolder::specialFilesAreRefused()
{
    const Folder folder;
    QCOMPARE(::mkfifo(folder.place("fifo").constData(), 0600), 0);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const auto closer = qScopeGuard([&] { ::close(socket); });
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray place = folder.place("socket");
    QVERIFY(size_t(place.size()) < sizeof address.sun_path);
    std::copy(place.begin(), place.end(), address.sun_path);
    QCOMPARE(::bind(socket, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);

    QCOMPARE(folder.scan().problems,
             QStringList({u"\"fifo\": is neither a file nor a folder"_s,
                          u"\"socket\": is neither a file nor a folder"_s}));
}

void TestPatchFolder::aNameThatIsNotUtf8IsRefused_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("Latin-1") << "a\xE9o"_ba << u"\"a\\xe9o\""_s;
    QTest::newRow("cut off") << "x\xC3"_ba << u"\"x\\xc3\""_s;
    QTest::newRow("overlong") << "\xC1\x81"_ba << u"\"\\xc1\\x81\""_s;
    QTest::newRow("a surrogate") << "\xED\xA0\x80"_ba << u"\"\\xed\\xa0\\x80\""_s;
    QTest::newRow("beyond Unicode") << "\xF4\x90\x80\x80"_ba << u"\"\\xf4\\x90\\x80\\x80\""_s;
    QTest::newRow("a folder") << "\xFF/file"_ba << u"\"\\xff\""_s;
}

void TestPatchFolder::aNameThatIsNotUtf8IsRefused()
{
    QFETCH(const QByteArray, name);
    QFETCH(const QString, shown);
    const Folder folder;
    folder.write(name);
    folder.write("good");
    const PatchFolderScan scan = folder.scan();
    QCOMPARE(scan.problems, QStringList{shown + u": the name is not UTF-8"_s});
    QCOMPARE(scan.files, QByteArrayList{"good"});
}

void TestPatchFolder::aPathThatTheLauncherTakesForAbsoluteIsRefused()
{
    const Folder folder;
    folder.write(":file");
    folder.write(":folder/file");
    folder.write("sub/:file");
    folder.write("a:b");
    const PatchFolderScan scan = folder.scan();
    QCOMPARE(scan.problems.size(), 2);
    QVERIFY(scan.problems.at(0).startsWith(u"\":file\": "_s));
    QVERIFY(scan.problems.at(1).startsWith(u"\":folder\": "_s));
    QCOMPARE(scan.files, QByteArrayList({"a:b", "sub/:file"}));
    // This is how the launcher finds the place of a file.
    const QDir client(u"/client"_s);
    QCOMPARE(client.filePath(u":file"_s), u":file"_s);
    QCOMPARE(client.filePath(u"sub/:file"_s), u"/client/sub/:file"_s);
}

void TestPatchFolder::aNameTooLongForTheLaunchersTemporaryFileIsRefused()
{
    const Folder folder;
    folder.write(QByteArray(248, 'a'));
    QCOMPARE(folder.scan().problems, QStringList());
    folder.write(QByteArray(255, 'b') + "/file"); // a folder is not replaced
    QCOMPARE(folder.scan().problems, QStringList());
    folder.write(QByteArray(249, 'c'));
    folder.write("\xC3\xA9" + QByteArray(247, 'd'));
    const PatchFolderScan scan = folder.scan();
    QCOMPARE(scan.problems.size(), 2);
    QVERIFY(scan.problems.first().contains(u"more than 248 bytes"_s));
}

void TestPatchFolder::namesThatDifferInCaseAloneAreRefused_data()
{
    QTest::addColumn<QByteArrayList>("names");
    QTest::addColumn<QString>("refused");
    QTest::addColumn<QString>("other");

    QTest::newRow("letters") << QByteArrayList{"Data.pak", "data.pak"} << u"data.pak"_s
                             << u"Data.pak"_s;
    QTest::newRow("accents") << QByteArrayList{"\xC3\x89t\xC3\xA9", "\xC3\xA9t\xC3\x89"} << u"étÉ"_s
                             << u"Été"_s;
    QTest::newRow("Greek, whose sigma has three shapes")
        << QByteArrayList{"\xCF\x82", "\xCF\x83"} << u"σ"_s << u"ς"_s;
    QTest::newRow("beyond 16 bits") << QByteArrayList{"\xF0\x90\x90\x80", "\xF0\x90\x90\xA8"}
                                    << u"\U00010428"_s << u"\U00010400"_s;
    QTest::newRow("files in folders") << QByteArrayList{"d/A", "d/a"} << u"d/a"_s << u"d/A"_s;
    QTest::newRow("folders, whose files differ")
        << QByteArrayList{"Data/1", "data/2", "data/3"} << u"data"_s << u"Data"_s;
    QTest::newRow("a folder and a file")
        << QByteArrayList{"DATA", "data/1"} << u"data"_s << u"DATA"_s;
}

void TestPatchFolder::namesThatDifferInCaseAloneAreRefused()
{
    QFETCH(const QByteArrayList, names);
    QFETCH(const QString, refused);
    QFETCH(const QString, other);
    const Folder folder;
    for (const QByteArray &name : names) {
        folder.write(name);
    }
    QCOMPARE(folder.scan().problems,
             QStringList({u"\"%1\": differs from \"%2\" in letter case alone, which "
                          "Windows ignores"_s.arg(refused, other)}));
}

void TestPatchFolder::namesThatDifferInMoreThanCaseAreNotRefused()
{
    const Folder folder;
    const QByteArrayList names{"STRASSE", "e\xCC\x81", "stra\xC3\x9F\x65",
                               "x/A",     "y/a",       "\xC3\xA9"};
    for (const QByteArray &name : names) {
        folder.write(name);
    }
    QCOMPARE(folder.scan().problems, QStringList());
    QCOMPARE(folder.scan().files, names);
}

void TestPatchFolder::namesThatWindowsCannotHoldAreWarnedOf_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("reason"); // empty: Windows can hold it

    for (const char c : QByteArrayLiteral("<>:|?*")) {
        QTest::addRow("a %c", c) << QByteArray("a") + c
                                 << u"Windows allows no \"%1\" in a name"_s.arg(QLatin1Char(c));
    }
    QTest::newRow("a quote") << "a\""_ba << u"Windows allows no \"\\\"\" in a name"_s;
    QTest::newRow("a backslash") << "a\\b"_ba << u"Windows allows no \"\\\\\" in a name"_s;
    QTest::newRow("a line break") << "a\nb"_ba << u"Windows allows no \"\\x0a\" in a name"_s;
    QTest::newRow("the last control character")
        << "a\x1f"_ba << u"Windows allows no \"\\x1f\" in a name"_s;
    QTest::newRow("delete, which is allowed") << "a\x7f"_ba << u""_s;
    QTest::newRow("a dot at the end")
        << "a."_ba << u"Windows drops the last character of the name"_s;
    QTest::newRow("a blank at the end")
        << "a "_ba << u"Windows drops the last character of the name"_s;
    QTest::newRow("a blank at the start, which is allowed") << " a"_ba << u""_s;
    QTest::newRow("a device") << "aux"_ba << u"Windows keeps the name AUX for a device"_s;
    QTest::newRow("a device with an ending")
        << "Nul.tar.gz"_ba << u"Windows keeps the name NUL for a device"_s;
    QTest::newRow("a device, blank and ending")
        << "con .txt"_ba << u"Windows keeps the name CON for a device"_s;
    QTest::newRow("a numbered device")
        << "lpt9.x"_ba << u"Windows keeps the name LPT9 for a device"_s;
    QTest::newRow("a device with a superscript")
        << "com\xC2\xB2"_ba << u"Windows keeps the name COM² for a device"_s;
    QTest::newRow("the console") << "conin$"_ba << u"Windows keeps the name CONIN$ for a device"_s;
    QTest::newRow("no device: number zero") << "com0"_ba << u""_s;
    QTest::newRow("no device: longer") << "console.txt"_ba << u""_s;
    QTest::newRow("no device: as an ending") << "x.aux"_ba << u""_s;
    QTest::newRow("hidden") << ".x"_ba << u""_s;
    QTest::newRow("signs") << "a+b,c;d=e[f]{g}~!@#$%^&()'`-_"_ba << u""_s;
}

void TestPatchFolder::namesThatWindowsCannotHoldAreWarnedOf()
{
    QFETCH(const QByteArray, name);
    QFETCH(const QString, reason);
    const Folder folder;
    folder.write("sub/" + name);
    folder.write("sub2/" + name + "/file");
    const PatchFolderScan scan = folder.scan();
    QCOMPARE(scan.problems, QStringList());
    QCOMPARE(scan.files, QByteArrayList({"sub/" + name, "sub2/" + name + "/file"}));
    QStringList expected;
    if (!reason.isEmpty()) {
        expected = {quoted("sub/" + name) + u": "_s + reason,
                    quoted("sub2/" + name) + u": "_s + reason};
    }
    QCOMPARE(scan.warnings, expected);
}

void TestPatchFolder::filesThatTheLauncherWritesItselfAreWarnedOf()
{
    const Folder folder;
    for (const char *name : {"Config.bin", "SN.BIN", "server.txt", "serverlist.txt",
                             "sub/server.txt", "zel_login.ini"}) {
        folder.write(name);
    }
    const QStringList warnings = folder.scan().warnings;
    QCOMPARE(warnings.size(), 5);
    QVERIFY(warnings.filter(u"sub"_s).isEmpty());
    QCOMPARE(warnings.first(), u"\"Config.bin\": the launcher writes this file from the player's "
                               "settings; the patch will replace it at every start"_s);
}

void TestPatchFolder::aPathTooLongForWindowsProgramsIsWarnedOf()
{
    const Folder folder;
    folder.write(QByteArray(128, 'a') + '/' + QByteArray(127, 'b'));
    QCOMPARE(folder.scan().warnings, QStringList());
    folder.write(QByteArray(128, 'a') + '/' + QByteArray(128, 'b'));
    QCOMPARE(folder.scan().warnings.size(), 1);
    QVERIFY(folder.scan().warnings.first().contains(u"more than 256 characters"_s));
}

ZEL_TEST_MAIN(TestPatchFolder)

#include "tst_patchfolder.moc"
