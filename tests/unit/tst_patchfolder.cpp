#include "support/TestMain.h"

#include <QDir>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include "zel-manifest/PatchFolder.h"
#include "zel-manifest/Text.h"

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace
{

/// A folder "patch" with names of bytes, which need not be representable in a QString.
class Folder
{
public:
    /// Creates a file of five bytes for each "name", an empty folder for "name/", a link for
    /// "name -> target" ("{dir}" is where "patch" is) and the special file for "name (fifo)" and
    /// "name (socket)".
    explicit Folder(const QByteArrayList &tree)
    {
        fs::create_directories(place({}));
        for (const QByteArray &line : tree) {
            add(line);
        }
    }
    ~Folder() { fs::remove_all(dir.path().toStdString()); } // also names that Qt cannot represent
    Q_DISABLE_COPY_MOVE(Folder)

    QString path() const { return dir.filePath(u"patch"_s); }
    fs::path place(const QByteArray &name) const
    {
        return fs::path(path().toStdString()) / name.toStdString();
    }

    PatchFolderScan scan(const QStringList &excludes = {}) const
    {
        return PatchFolder::scan(path(), path() + u"/manifest.json"_s,
                                 {excludes.begin(), excludes.end()});
    }

    QTemporaryDir dir;

private:
    void add(const QByteArray &line)
    {
        const qsizetype end = line.indexOf(line.contains(" -> ") ? " -> " : " (");
        const QByteArray name = end < 0 ? line : line.first(end);
        QByteArray kind = line.mid(name.size());
        fs::create_directories(place(name).parent_path());
        if (kind.startsWith(" -> ")) {
            kind.replace("{dir}", dir.path().toUtf8());
            fs::create_symlink(kind.mid(4).toStdString(), place(name));
        } else if (!kind.isEmpty()) {
            const mode_t type = kind == " (fifo)" ? S_IFIFO : S_IFSOCK;
            QCOMPARE(::mknod(place(name).c_str(), type | 0600, 0), 0);
        } else if (!name.endsWith('/')) {
            QVERIFY2(std::ofstream(place(name)) << "12345", name.constData());
        }
    }
};

/// The result of a scan, one line per entry.
QByteArrayList linesOf(const PatchFolderScan &scan)
{
    QByteArrayList lines;
    for (const auto &[word, paths] : {std::pair{"file ", scan.files},
                                      {"absent ", scan.absent},
                                      {"excluded ", scan.excluded},
                                      {"twin ", scan.caseTwins}}) {
        for (const QByteArray &path : paths) {
            lines.append(word + path);
        }
    }
    for (const auto &[word, texts] : {std::pair{"warning ", scan.warnings},
                                      {"problem ", scan.problems},
                                      {"failure ", scan.failures}}) {
        for (const QString &text : texts) {
            lines.append(word + text.toUtf8());
        }
    }
    return lines;
}

/// Adds a row: the content of the folder, the expected result and the excluded patterns.
void row(const QByteArray &name, const QByteArrayList &tree, const QByteArrayList &lines,
         const QStringList &excludes = {})
{
    QTest::newRow(name) << tree << lines << excludes;
}

void addColumns()
{
    QTest::addColumn<QByteArrayList>("tree");
    QTest::addColumn<QByteArrayList>("lines");
    QTest::addColumn<QStringList>("excludes");
}

void compareRow()
{
    QFETCH(const QByteArrayList, tree);
    QFETCH(const QByteArrayList, lines);
    QFETCH(const QStringList, excludes);
    const Folder folder(tree);
    const PatchFolderScan scan = folder.scan(excludes);
    const QByteArray dir = QDir(folder.dir.path()).canonicalPath().toUtf8();
    QCOMPARE(linesOf(scan).join('\n').replace(dir, "{dir}"), lines.join('\n'));
    QCOMPARE(scan.totalSize, 5 * scan.files.size());
}

} // namespace

class TestPatchFolder : public TestBase
{
    Q_OBJECT

private slots:
    void aFolderIsJudged_data();
    void aFolderIsJudged() { compareRow(); }
    void linksAreJudged_data();
    void linksAreJudged() { compareRow(); }
    void namesAreJudged_data();
    void namesAreJudged() { compareRow(); }
    void namesForWindowsAreJudged_data();
    void namesForWindowsAreJudged() { compareRow(); }
    void theManifestIsNotListedWhereverItIs();
    void aFolderThatCannotBeReadIsAFailure();
    void excludesApplyToNamesOrPaths_data();
    void excludesApplyToNamesOrPaths();
    void filesOfThePlayersSettingsAreKnown();
};

void TestPatchFolder::aFolderIsJudged_data()
{
    addColumns();
    // "-" sorts before "/", which sorts before "0": the order is that of whole paths.
    row("files in the order of their bytes",
        {"\xC3\xA9.txt", "a0/b", "a/c", "a/b c", "a/b", "a-b", "B"},
        {"file B", "file a-b", "file a/b", "file a/b c", "file a/c", "file a0/b",
         "file \xC3\xA9.txt"});
    row("hidden files", {".hidden", ".folder/...x", "a~", "a.tmp"},
        {"file .folder/...x", "file .hidden", "file a.tmp", "file a~"});
    row("a folder in the place of the manifest", {"manifest.json/a"},
        {"problem \"manifest.json\": is a folder; the launcher fetches the manifest there"});
    row("manifests of subfolders are files like others",
        {"mods/manifest.json", "manifest.json.old"},
        {"file manifest.json.old", "file mods/manifest.json"});
    row("the manifest's signature", {"manifest.json.minisig", "mods/manifest.json.minisig"},
        {"file mods/manifest.json.minisig", "excluded manifest.json.minisig"});
    row("a folder of that name", {"manifest.json.minisig/a"}, {"file manifest.json.minisig/a"});
    row("an empty folder", {"logs/old/"},
        {"warning \"logs/old\": the folder is empty; the launcher will not make it"});
    row("nothing", {}, {});
    row("an excluded folder is shown once and not entered", {"keep", "tmp/1", "tmp/2", "x.bak"},
        {"file keep", "excluded tmp", "excluded x.bak"}, {u"tmp"_s, u"t*"_s, u"*.bak"_s});
    row("a pattern that excludes nothing", {"a.tmp"},
        {"excluded a.tmp", "warning the pattern \"*.bka\" excludes nothing"},
        {u"*.tmp"_s, u"*.bka"_s});
    row("a byte order mark is part of a name", {"\xEF\xBB\xBFn", "n"},
        {"file \xEF\xBB\xBFn", "excluded n"}, {u"n"_s});
    row("what would be refused can be excluded",
        {"a", "A", "bad\xFF.tmp", ":resource", "out -> /", "loop -> loop"},
        {"file a", "excluded :resource", "excluded A", "excluded bad\xFF.tmp", "excluded loop",
         "excluded out"},
        {u"A"_s, u"*.tmp"_s, u":*"_s, u"out"_s, u"loop"_s});
    row("special files", {"a (fifo)", "b (socket)"},
        {"problem \"a\": is neither a file nor a folder",
         "problem \"b\": is neither a file nor a folder"});
}

void TestPatchFolder::linksAreJudged_data()
{
    addColumns();
    row("inside the folder",
        {"real/file", "to-file -> real/file", "to-folder -> real", "to-link -> to-file",
         "absolute -> {dir}/patch/real/file", "out-and-in -> ../patch/real/file"},
        {"file absolute", "file out-and-in", "file real/file", "file to-file",
         "file to-folder/file", "file to-link"});
    row("two folders that link to each other", {"a/file", "b/file", "a/b -> ../b", "b/a -> ../a"},
        {"file a/b/file", "file a/file", "file b/a/file", "file b/file",
         "problem \"a/b/a\": is a symbolic link to a folder that it is in itself",
         "problem \"b/a/b\": is a symbolic link to a folder that it is in itself"});
    row("a name that no disk takes", {"link -> " + QByteArray(256, 'n')},
        {"failure \"link\": File name too long"});
    const auto refused = [](const QByteArray &name, const QByteArray &target,
                            const QByteArray &reason) {
        row(name,
            {"manifest.json", "sub/file", "../outside/file", "../patch-2/file", "sub/fifo (fifo)",
             "sub/link -> " + target},
            {"file sub/file", "absent manifest.json", "excluded sub/fifo",
             "problem \"sub/link\": is " + reason},
            {u"fifo"_s});
    };
    const QByteArray leaves = "a symbolic link that leaves the folder, to \"{dir}/";
    refused("a file outside", "../../outside/file", leaves + "outside/file\"");
    refused("a folder outside", "../../outside", leaves + "outside\"");
    refused("a folder outside whose name begins alike", "../../patch-2", leaves + "patch-2\"");
    refused("nowhere", "none", "a symbolic link that leads nowhere");
    refused("below a file", "file/x", "a symbolic link that leads nowhere");
    refused("itself", "link", "a symbolic link that leads to itself");
    refused("its own folder", ".", "a symbolic link to a folder that it is in itself");
    refused("the folder above", "..", "a symbolic link to a folder that it is in itself");
    refused("the manifest", "../manifest.json", "a symbolic link to the manifest");
    refused("a special file inside", "fifo", "neither a file nor a folder");
}

void TestPatchFolder::namesAreJudged_data()
{
    addColumns();
    const auto allowed = [](const QByteArray &name, const QByteArray &path) {
        row(name, {path}, {"file " + path});
    };
    const auto refused = [](const QByteArray &name, const QByteArray &path, const QByteArray &shown,
                            const QByteArray &reason) {
        row(name, {path, "~"}, {"file ~", "problem \"" + shown + "\": " + reason});
    };
    const QByteArray noUtf8 = "the name is not UTF-8";
    refused("Latin-1", "a\xE9o", "a\\xe9o", noUtf8);
    refused("cut off", "x\xC3", "x\\xc3", noUtf8);
    refused("overlong", "\xC1\x81", "\\xc1\\x81", noUtf8);
    refused("a surrogate", "\xED\xA0\x80", "\\xed\\xa0\\x80", noUtf8);
    refused("beyond Unicode", "\xF4\x90\x80\x80", "\\xf4\\x90\\x80\\x80", noUtf8);
    refused("a folder that is not UTF-8", "\xFF/file", "\\xff", noUtf8);
    const QByteArray colon =
        "the launcher would not store a path that begins with \":\" in the client folder";
    refused("a colon first", ":file", ":file", colon);
    refused("a folder with a colon first", ":folder/file", ":folder", colon);
    row("a colon in a subfolder", {"sub/:file"},
        {"file sub/:file", "warning \"sub/:file\": Windows allows no \":\" in a name"});
    const QByteArray tooLong = "the name has more than 248 bytes; the launcher could store the "
                               "file once and never replace it";
    const QByteArray name(249, 'a');
    const QByteArray fewerCharacters = "\xC3\xA9" + name.left(247);
    allowed("248 bytes", name.left(248));
    refused("249 bytes", name, name, tooLong);
    refused("249 bytes, 248 characters", fewerCharacters, fewerCharacters, tooLong);
    const QByteArray longFolder = name + "123456"; // a folder is not replaced
    row("a folder of 255 bytes", {longFolder + "/b/c"},
        {"file " + longFolder + "/b/c", "warning \"" + longFolder +
                                            "/b/c\": the path has more than 256 characters; most "
                                            "Windows programs cannot open it"});
    allowed("a path of 256 characters", name.left(128) + '/' + name.left(127));

    const auto oneToWindows = [](const QByteArray &title, const QByteArrayList &names,
                                 const QByteArray &refusedName, const QByteArray &other) {
        row(title, names,
            {"file " + names.join("\nfile "), "twin " + refusedName,
             "problem \"" + refusedName + "\": differs from \"" + other +
                 "\" only in letter case, which Windows ignores"});
    };
    oneToWindows("letters", {"Data.pak", "data.pak"}, "data.pak", "Data.pak");
    oneToWindows("accents", {"Été", "étÉ"}, "étÉ", "Été");
    oneToWindows("Greek, whose sigma has three shapes", {"ς", "σ"}, "σ", "ς");
    oneToWindows("beyond 16 bits", {"\U00010400", "\U00010428"}, "\U00010428", "\U00010400");
    oneToWindows("files in folders", {"d/A", "d/a"}, "d/a", "d/A");
    oneToWindows("folders, whose files differ", {"Data/1", "data/2", "data/3"}, "data", "Data");
    oneToWindows("a folder and a file", {"DATA", "data/1"}, "data", "DATA");
    row("more than letter case", {"STRASSE", "e\u0301", "straße", "x/A", "y/a", "é"},
        {"file STRASSE", "file e\u0301", "file straße", "file x/A", "file y/a", "file é"});
}

void TestPatchFolder::namesForWindowsAreJudged_data()
{
    addColumns();
    const auto allowed = [](const QByteArray &title, const QByteArray &name) {
        row(title, {name}, {"file " + name});
    };
    const auto warned = [](const QByteArray &title, const QByteArray &name,
                           const QByteArray &reason) {
        const QByteArray shown = quoted(name).chopped(1).toUtf8();
        row(title, {name, "sub/" + name + "/file"},
            {"file " + name, "file sub/" + name + "/file",
             "warning " + shown + "\": Windows " + reason,
             "warning \"sub/" + shown.mid(1) + "\": Windows " + reason});
    };
    for (const char c : QByteArrayLiteral("<>:|?*")) {
        warned(QByteArray("a ") + c, QByteArray("a") + c,
               QByteArray("allows no \"") + c + "\" in a name");
    }
    warned("a quote", "a\"", "allows no \"\\\"\" in a name");
    warned("a backslash", "a\\b", "allows no \"\\\\\" in a name");
    warned("a line break", "a\nb", "allows no \"\\x0a\" in a name");
    warned("the last control character", "a\x1f", "allows no \"\\x1f\" in a name");
    warned("a dot at the end", "a.", "drops the last character of the name");
    warned("a blank at the end", "a ", "drops the last character of the name");
    warned("a device", "aux", "keeps the name AUX for a device");
    warned("a device with an ending", "Nul.tar.gz", "keeps the name NUL for a device");
    warned("a device, blank and ending", "con .txt", "keeps the name CON for a device");
    warned("a numbered device", "lpt9.x", "keeps the name LPT9 for a device");
    warned("a device with a superscript", "com²", "keeps the name COM² for a device");
    warned("the console", "conin$", "keeps the name CONIN$ for a device");
    for (const QByteArray &device : {"PRN"_ba, "CONOUT$"_ba, "COM1"_ba, "LPT¹"_ba, "COM³"_ba}) {
        warned(device, device, "keeps the name " + device + " for a device");
    }
    allowed("delete", "a\x7f");
    allowed("a blank at the start", " a");
    allowed("number zero", "com0");
    allowed("longer than a device", "console.txt");
    allowed("a device as an ending", "x.aux");
    allowed("hidden", ".x");
    allowed("signs", "a+b,c;d=e[f]{g}~!@#$%^&()'`-_");
}

void TestPatchFolder::theManifestIsNotListedWhereverItIs()
{
    const Folder folder({"list/new.json", "manifest.json", "../alias -> patch",
                         "to-new -> list/new.json", "to-old -> manifest.json"});
    const auto linesFor = [&folder](const QString &path, const QString &manifest) {
        return linesOf(PatchFolder::scan(folder.dir.filePath(path), folder.dir.filePath(manifest)));
    };
    const QByteArray link = "is a symbolic link to the manifest";
    const QByteArrayList listed{"file list/new.json", "file to-new", "absent manifest.json",
                                "problem \"to-old\": " + link};
    const QByteArrayList absent{"absent list/new.json", "absent manifest.json",
                                "problem \"to-new\": " + link, "problem \"to-old\": " + link};
    QCOMPARE(linesFor(u"patch"_s, u"patch/manifest.json"_s), listed);
    QCOMPARE(linesFor(u"patch"_s, u"other.json"_s), listed);
    QCOMPARE(linesFor(u"patch"_s, u"patch/list/../list/new.json"_s), absent);
    QCOMPARE(linesFor(u"alias"_s, u"alias/list/new.json"_s), absent);
}

void TestPatchFolder::aFolderThatCannotBeReadIsAFailure()
{
    const Folder folder({"file"});
    for (const auto &[name, reason] : {std::pair{u"/none"_s, u"\": No such file or directory"_s},
                                       std::pair{u"/file"_s, u"\": Not a directory"_s}}) {
        const PatchFolderScan scan = PatchFolder::scan(folder.path() + name, QString());
        QCOMPARE(linesOf(scan).size(), 1);
        QVERIFY(scan.failures.value(0).endsWith(name + reason));
    }
}

void TestPatchFolder::excludesApplyToNamesOrPaths_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QByteArrayList>("left");
    const auto row = [](const char *name, const QString &pattern, const QByteArrayList &left) {
        QTest::newRow(name) << pattern << left;
    };
    const QByteArrayList all{"a.tmp", "b", "d/a.tmp", "d/e/a.tmp", "d/e/b"};
    row("a name at any depth", u"*.tmp"_s, {"b", "d/e/b"});
    row("a whole name, not a part of it", u".tmp"_s, all);
    row("a question mark", u"a.t?p"_s, {"b", "d/e/b"});
    row("a set", u"[b-c]"_s, {"a.tmp", "d/a.tmp", "d/e/a.tmp"});
    row("a set of others", u"[!b]*"_s, {"b"});
    row("a path", u"d/a.tmp"_s, {"a.tmp", "b", "d/e/a.tmp", "d/e/b"});
    row("an asterisk stays in its folder", u"d/*.tmp"_s, {"a.tmp", "b", "d/e/a.tmp", "d/e/b"});
    row("a path from the folder itself", u"/a.tmp"_s, {"b", "d/a.tmp", "d/e/a.tmp", "d/e/b"});
    row("a folder", u"e"_s, {"a.tmp", "b", "d/a.tmp"});
    row("a folder by its path", u"d/e"_s, {"a.tmp", "b", "d/a.tmp"});
    row("only folders: a folder", u"e/"_s, {"a.tmp", "b", "d/a.tmp"});
    row("only folders: a file", u"b/"_s, all);
    row("letter case counts", u"*.TMP"_s, all);
    row("no regular expression", u"a.+"_s, all);
}

void TestPatchFolder::excludesApplyToNamesOrPaths()
{
    QFETCH(const QString, pattern);
    QFETCH(const QByteArrayList, left);
    const Folder folder({"a.tmp", "b", "d/a.tmp", "d/e/a.tmp", "d/e/b"});
    QVERIFY(ExcludePattern(pattern).isValid());
    QCOMPARE(folder.scan({pattern}).files, left);
}

void TestPatchFolder::filesOfThePlayersSettingsAreKnown()
{
    for (const QString &file :
         {u"Config.bin"_s, u"SN.BIN"_s, u"server.txt"_s, u"serverlist.txt"_s, u"zel_login.ini"_s}) {
        QVERIFY(PatchFolder::isPlayersOwn(file));
        QVERIFY(!PatchFolder::isPlayersOwn(u"sub/"_s + file));
        QVERIFY(!PatchFolder::isPlayersOwn(file + u"/a"_s));
    }
}

ZEL_TEST_MAIN(TestPatchFolder)

#include "tst_patchfolder.moc"
