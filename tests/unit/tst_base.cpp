#include "support/files/Disk.h"

#include <QCryptographicHash>

#include "zel-manifest/Base.h"
#include "zel-manifest/Manifest.h"

using namespace Qt::StringLiterals;

namespace
{

FileDigest digestOf(const QByteArray &content)
{
    return {content.size(), QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex()};
}

} // namespace

class TestPatchBase : public FolderTest
{
    Q_OBJECT

private slots:
    void aFileThatTheBaseHasIsEqual_data();
    void aFileThatTheBaseHasIsEqual();
    void aFileThatAReleaseListedIsNotEqual();
    void onlyFilesOfTheRightSizeAreRead();
    void aFileThatCannotBeReadIsNamed();
    void spellingsAreThoseOfThePlayers_data();
    void spellingsAreThoseOfThePlayers();
    void whatTheLauncherCannotReplaceIsFound_data();
    void whatTheLauncherCannotReplaceIsFound();
    void pathsAreInTheOrderOfTheirBytes();
    void anInvalidManifestIsRejected_data();
    void anInvalidManifestIsRejected();

private:
    QString writeManifest(const QString &name, const QMap<QByteArray, QByteArray> &files) const;
};

/// Writes a manifest that lists @p files, contents by path, with digests in upper case, as another
/// program may write them.
QString TestPatchBase::writeManifest(const QString &name,
                                     const QMap<QByteArray, QByteArray> &files) const
{
    Manifest manifest;
    for (auto it = files.begin(); it != files.end(); ++it) {
        const FileDigest digest = digestOf(it.value());
        manifest.files.append({QString::fromUtf8(it.key()), u"unused"_s, digest.size,
                               QString::fromLatin1(digest.sha256).toUpper()});
    }
    Disk::write(at(name), manifest.toJson());
    return at(name);
}

void TestPatchBase::aFileThatTheBaseHasIsEqual_data()
{
    QTest::addColumn<bool>("fromManifest");
    QTest::newRow("a folder") << false;
    QTest::newRow("a manifest") << true;
}

void TestPatchBase::aFileThatTheBaseHasIsEqual()
{
    QFETCH(const bool, fromManifest);
    const QMap<QByteArray, QByteArray> client{{"d/same", "12345"},
                                              {"d/longer", "12345"},
                                              {"d/other", "12345"},
                                              {"empty", ""},
                                              {"size", "12345"}};
    Base base;
    QString error;
    if (fromManifest) {
        QVERIFY(base.setManifest(writeManifest(u"base.json"_s, client), &error));
    } else {
        for (auto it = client.begin(); it != client.end(); ++it) {
            Disk::write(at(u"client/"_s + QString::fromUtf8(it.key())), it.value());
        }
        QCOMPARE(base.setFolder(at(u"client"_s)).failures, QStringList());
    }
    QSet<QByteArray> equal;
    QStringList errors;
    QVERIFY(base.findEqual({"d/longer", "d/other", "d/same", "empty", "new", "same", "size"},
                           {digestOf("123456"),
                            digestOf("54321"),
                            digestOf("12345"),
                            digestOf(""),
                            digestOf("12345"),
                            digestOf("12345"),
                            {4, digestOf("12345").sha256}},
                           &equal, &errors));
    QCOMPARE(equal, (QSet<QByteArray>{"d/same", "empty"}));
    QCOMPARE(errors, QStringList());
}

void TestPatchBase::aFileThatAReleaseListedIsNotEqual()
{
    Base base;
    QString error;
    QVERIFY(base.setManifest(writeManifest(u"base.json"_s, {{"a", "1"}, {"b", "1"}}), &error));
    QVERIFY(base.addRelease(writeManifest(u"1.1.json"_s, {{"b", "2"}, {"c", "2"}}), &error));
    QVERIFY(base.addRelease(writeManifest(u"1.2.json"_s, {{"b", "1"}}), &error));
    QSet<QByteArray> equal;
    QStringList errors;
    QVERIFY(base.findEqual({"a", "b"}, {digestOf("1"), digestOf("1")}, &equal, &errors));
    QCOMPARE(equal, QSet<QByteArray>{"a"});
    QCOMPARE(base.releasedPaths(), QByteArrayList({"b", "c"}));
}

void TestPatchBase::onlyFilesOfTheRightSizeAreRead()
{
    constexpr qint64 size = 512 << 20; // takes longer than a tenth of a second
    for (const QString &name : {u"released"_s, u"right"_s, u"wrong"_s, u"unlisted"_s}) {
        Disk::write(at(u"client/"_s + name), {});
        QVERIFY(QFile::resize(at(u"client/"_s + name), size));
    }
    Base base;
    base.setFolder(at(u"client"_s));
    QString error;
    QVERIFY(base.addRelease(writeManifest(u"1.json"_s, {{"released", ""}}), &error));
    QSet<QByteArray> equal;
    QStringList errors;
    FileAmount toRead;
    QVERIFY(base.findEqual({"new", "released", "right", "wrong"},
                           {{size, "n"}, {size, "n"}, {size, "n"}, {size + 1, "n"}}, &equal,
                           &errors,
                           [&](const FileAmount &, const FileAmount &all) { toRead = all; }));
    QCOMPARE(equal, QSet<QByteArray>());
    QCOMPARE(toRead.files, 1);
    QCOMPARE(toRead.bytes, size);
}

void TestPatchBase::aFileThatCannotBeReadIsNamed()
{
    Disk::write(at(u"client/a"_s), "1");
    Base base;
    base.setFolder(at(u"client"_s));
    QVERIFY(QFile::remove(at(u"client/a"_s)));
    QSet<QByteArray> equal;
    QStringList errors;
    QVERIFY(!base.findEqual({"a"}, {digestOf("1")}, &equal, &errors));
    QCOMPARE(errors, QStringList{quoted(at(u"client/a"_s)) + u": No such file or directory"_s});
    QCOMPARE(equal, QSet<QByteArray>());
    QCOMPARE(base.setFolder(at(u"none"_s)).failures,
             QStringList{quoted(at(u"none"_s)) + u": No such file or directory"_s});
}

void TestPatchBase::spellingsAreThoseOfThePlayers_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("spelling");
    const auto row = [](const char *name, const QByteArray &path, const QByteArray &spelling) {
        QTest::newRow(name) << path << spelling;
    };
    row("a known file", "Data/Map.pak", "Data/Map.pak");
    row("a known file in another letter case", "DATA/map.PAK", "Data/Map.pak");
    row("a new file in a known folder", "data/new", "Data/new");
    row("new folders", "New/folder/File", "New/folder/File");
    row("a folder in another letter case", "DATA", "Data");
    row("not a folder in another letter case", "database/x", "database/x");
    row("letters beyond ASCII", "ação", "Ação");
    // On Linux the base can hold both.
    row("two spellings: the first", "two/a", "two/a");
    row("two spellings: the second", "TWO/b", "TWO/b");
    row("a file in the second spelling", "two/B", "TWO/b");
    row("a new file in the first spelling", "two/c", "two/c");
    row("a third spelling", "Two/c", "TWO/c");
    row("a release's file", "data/ONLY", "Data/Only");
    row("a release's folder", "Release/x", "RELEASE/x");
    row("a release's letters for the base's folder", "data/sub/y", "Data/sub/y");
}

void TestPatchBase::spellingsAreThoseOfThePlayers()
{
    QFETCH(const QByteArray, path);
    QFETCH(const QByteArray, spelling);
    Base base;
    QString error;
    QVERIFY(base.setManifest(
        writeManifest(u"base.json"_s,
                      {{"Data/Map.pak", ""}, {"Ação", ""}, {"TWO/b", ""}, {"two/a", ""}}),
        &error));
    QVERIFY(base.addRelease(
        writeManifest(u"1.json"_s, {{"DATA/Only", ""}, {"DATA/sub/x", ""}, {"RELEASE/a", ""}}),
        &error));
    QCOMPARE(base.spelling(path), spelling);
}

void TestPatchBase::whatTheLauncherCannotReplaceIsFound_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("obstacle");
    const auto row = [](const char *name, const QByteArray &path, const QByteArray &obstacle) {
        QTest::newRow(name) << path << obstacle;
    };
    row("the base's file", "File/x", "File");
    row("the base's file, deeper", "File/d/x", "File");
    row("the base's file in another letter case", "FILE/x", "File");
    row("the base's folder", "Data", "Data");
    row("the base's folder in another letter case", "DATA", "Data");
    row("a release's file", "new/x", "new");
    row("a release's folder", "D/Sub", "d/sub");
    row("a release's folder in the base's", "data/e", "Data/e");
    row("a new file in a release's folder", "d/sub/y", "");
    row("names that begin alike", "File2/x", "");
    row("two spellings: the file", "two/c", "two");
    row("two spellings: the folder", "TWO/c", "");
    // The release listed "file/x" and "data", which no player of the base could store.
    row("the base's file itself", "File", "");
    row("a new file in the base's folder", "Data/x", "");
}

void TestPatchBase::whatTheLauncherCannotReplaceIsFound()
{
    QFETCH(const QByteArray, path);
    QFETCH(const QByteArray, obstacle);
    Base base;
    QString error;
    QVERIFY(base.setManifest(
        writeManifest(u"base.json"_s,
                      {{"Data/Map.pak", ""}, {"File", ""}, {"TWO/b", ""}, {"two", ""}}),
        &error));
    QVERIFY(base.addRelease(
        writeManifest(
            u"1.json"_s,
            {{"DATA/e/x", ""}, {"d/sub/x", ""}, {"data", ""}, {"file/x", ""}, {"new", ""}}),
        &error));
    QCOMPARE(base.obstacle(base.spelling(path)), obstacle);
}

void TestPatchBase::pathsAreInTheOrderOfTheirBytes()
{
    Base base;
    QString error;
    QVERIFY(base.setManifest(writeManifest(u"base.json"_s, {{"a0", ""}, {"a/b", ""}, {"B", ""}}),
                             &error));
    QCOMPARE(base.paths(), QByteArrayList({"B", "a/b", "a0"}));
}

void TestPatchBase::anInvalidManifestIsRejected_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a list of digests") << "00ff  a\n"_ba << u"is no manifest"_s;
    QTest::newRow("an empty file") << ""_ba << u"is no manifest"_s;
    QTest::newRow("no file") << QByteArray() << u"No such file or directory"_s;
}

void TestPatchBase::anInvalidManifestIsRejected()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, reason);
    if (!content.isNull()) {
        Disk::write(at(u"x"_s), content);
    }
    Base base;
    QString error;
    QVERIFY(!base.setManifest(at(u"x"_s), &error));
    QCOMPARE(error, reason);
    error.clear();
    QVERIFY(!base.addRelease(at(u"x"_s), &error));
    QCOMPARE(error, reason);
}

ZEL_TEST_MAIN(TestPatchBase)

#include "tst_base.moc"
