#include <QFile>

#include "WriteFaults.h"
#include "client/SnBin.h"

using namespace Qt::StringLiterals;

namespace
{

const QByteArray tail = "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n"; // ten lines

} // namespace

class TestSnBin : public FolderTest
{
    Q_OBJECT

private slots:
    void theFileHasOneNameInTheClientFolder_data();
    void theFileHasOneNameInTheClientFolder();

    void theFirstLineIsRead_data();
    void theFirstLineIsRead();
    void aFileThatCannotBeOpenedIsNotRead();

    void aNameIsPreparedForTheFile_data();
    void aNameIsPreparedForTheFile();

    void aGroupOutOfRangeIsRefusedAndTheFileIsUntouched();
    void aFileThatCannotBeWrittenFails();

private:
    QString path() const { return at(u"sn.bin"_s); }
};

void TestSnBin::theFileHasOneNameInTheClientFolder_data()
{
    QTest::addColumn<QString>("clientDir");
    QTest::addColumn<QString>("path");
    QTest::newRow("an absolute folder") << u"/games/zel"_s << u"/games/zel/sn.bin"_s;
    QTest::newRow("a slash at the end") << u"/games/zel/"_s << u"/games/zel/sn.bin"_s;
    QTest::newRow("the root folder") << u"/"_s << u"/sn.bin"_s;
    QTest::newRow("a relative folder") << u"zel"_s << u"zel/sn.bin"_s;
    QTest::newRow("no folder is the working directory") << QString() << u"./sn.bin"_s;
    QTest::newRow("a NUL character") << u"/a\0b"_s << u"/a\0b/sn.bin"_s;
}

void TestSnBin::theFileHasOneNameInTheClientFolder()
{
    QFETCH(const QString, clientDir);
    QTEST(SnBin::pathIn(clientDir), "path");
    // Another letter case is another file.
    Disk::write(at(u"SN.BIN"_s), "1 Alpha\n");
    QCOMPARE(SnBin::pathIn(folder()), path());
    QVERIFY(!SnBin::isValid(SnBin::pathIn(folder())));
}

// ---- reading

void TestSnBin::theFirstLineIsRead_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("name");
    const QString none = u"Orvandale"_s;
    const auto row = [](const char *title, const QByteArray &file, bool valid,
                        const QString &name) { QTest::newRow(title) << file << valid << name; };
    row("as written", "1 Alpha\n" + tail, true, u"Alpha"_s);
    row("the lowest group", "1 Name\n", true, u"Name"_s);
    row("the highest group", "10 Name\n", true, u"Name"_s);
    row("group 0", "0 Name\n", false, u"Name"_s);
    row("group 11", "11 Name\n", false, u"Name"_s);
    row("a negative group", "-1 Name\n", false, u"Name"_s);
    row("a word in place of the group", "x Name\n", false, u"Name"_s);
    row("a group with a suffix", "1x Name\n", false, u"Name"_s);
    row("a hexadecimal group", "0x1 Name\n", false, u"Name"_s);
    row("a group with a leading zero is decimal", "010 Name\n", true, u"Name"_s);
    row("a group too large to hold", "4294967297 Name\n", false, u"Name"_s);
    row("a group that is no whole number", "1.0 Name\n", false, u"Name"_s);
    row("an empty file", "", false, none);
    row("an empty first line", "\n1 Name\n", false, none);
    row("a blank first line", "   \t \n1 Name\n", false, none);
    row("a group alone", "1", true, none);
    row("a group alone and spaces", " 7  \n", true, none);
    row("a word alone", "Name\n", false, none);
    row("runs of spaces", "  2   Old    Server  \n", true, u"Old Server"_s);
    row("only the first line counts", "3 First\n4 Second\n", true, u"First"_s);
    row("no line end", "3 First", true, u"First"_s);
    row("a line that ends with CR LF", "3 First\r\n0\r\n", true, u"First"_s);
    row("a CR inside the line is part of it", "3 Fi\rrst\n", true, u"Fi\rrst"_s);
    row("a tab separates nothing", "1\tAlpha\n", false, none);
    row("a tab inside the name stays", "1 Al\tpha  \tx\n", true, u"Al\tpha \tx"_s);
    row("tabs around the line go", "\t1 Alpha\t\n", true, u"Alpha"_s);
    row("a no-break space separates nothing", "1\xC2\xA0Name\n", false, none);
    row("a no-break space inside the name stays", "1 Al\xC2\xA0pha\n", true, u"Al\u00a0pha"_s);
    row("a no-break space at the end goes", "1 Alpha\xC2\xA0\n", true, u"Alpha"_s);
    row("a name in UTF-8", "1 \xC3\x81guia \xF0\x9F\x90\x89\n", true, u"Águia 🐉"_s);
    row("bytes that are not UTF-8", "1 \xff\n", true, u"\ufffd"_s);
    row("a byte order mark", "\xEF\xBB\xBF\x31 Alpha\n", true, u"Alpha"_s);
    row("a NUL character", "1 A\0B\n"_ba, true, u"A\0B"_s);
    row("a name longer than the launcher writes", "1 A very long server name\n", true,
        u"A very long server name"_s);
    row("a line of many bytes", "1 " + QByteArray(200'000, 'a') + "\n0\n", true,
        QString(200'000, u'a'));
}

void TestSnBin::theFirstLineIsRead()
{
    QFETCH(const QByteArray, file);
    Disk::write(path(), file);
    QTEST(SnBin::isValid(path()), "valid");
    QString name = u"before"_s;
    QVERIFY(SnBin::loadDisplayName(path(), &name));
    QTEST(name, "name");
    QVERIFY(!SnBin::loadDisplayName(path(), nullptr));
    QCOMPARE(Disk::read(path()), file);
}

void TestSnBin::aFileThatCannotBeOpenedIsNotRead()
{
    Disk::write(at(u"other"_s), "1 Alpha\n");
    QString name = u"before"_s;
    for (int call = 0; call < 2; ++call) {
        QTest::ignoreMessage(QtWarningMsg, "QFSFileEngine::open: No file name specified");
    }
    for (const QString &file : {path(), folder(), QString(), at(u"other\0.bin"_s)}) {
        QVERIFY(!SnBin::isValid(file));
        QVERIFY(!SnBin::loadDisplayName(file, &name));
        QCOMPARE(name, u"before"_s);
    }
    QCOMPARE(Disk::names(folder()), QStringList{u"other"_s});

    QVERIFY(!SnBin::isValid(u"/dev/null"_s)); // opens as an empty file
    QVERIFY(SnBin::loadDisplayName(u"/dev/null"_s, &name));
    QCOMPARE(name, u"Orvandale"_s);
}

// ---- the name

void TestSnBin::aNameIsPreparedForTheFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("prepared");
    const auto row = [](const char *title, const QString &name, const QString &prepared) {
        QTest::newRow(title) << name << prepared;
    };
    row("a plain name", u"Alpha"_s, u"Alpha"_s);
    row("no name", QString(), u"Orvandale"_s);
    row("white space alone", u" \t\r\n\u00a0"_s, u"Orvandale"_s);
    row("spaces around it", u"\t  Alpha\r\n "_s, u"Alpha"_s);
    row("spaces inside stay", u"a  \t b"_s, u"a  \t b"_s);
    row("15 characters", u"123456789012345"_s, u"123456789012345"_s);
    row("16 characters", u"1234567890123456"_s, u"123456789012345"_s);
    row("trimmed before truncation", u"  A very long server name"_s, u"A very long ser"_s);
    row("truncation leaves the trailing space deliberately", u"Fourteen chars and more"_s,
        u"Fourteen chars "_s);
    row("line ends inside", u"a\r\nb"_s, u"a  b"_s);
    row("a line feed inside", u"a\nb"_s, u"a b"_s);
    row("a carriage return inside", u"a\rb"_s, u"a b"_s);
    row("a line end at the truncation", u"Fourteen chars\nb"_s, u"Fourteen chars "_s);
    row("placeholders", u"%1 %2 %3"_s, u"%1 %2 %3"_s);
    row("characters of two bytes", u"áéíóúàèìòùâêîôû!"_s, u"áéíóúàèìòùâêîôû"_s);
    row("characters of two code units", u"🐉🐉🐉🐉🐉🐉🐉a🐉"_s, u"🐉🐉🐉🐉🐉🐉🐉a"_s);
}

void TestSnBin::aNameIsPreparedForTheFile()
{
    QFETCH(const QString, name);
    QFETCH(const QString, prepared);
    QCOMPARE(SnBin::preparedName(name), prepared);

    // The file consists of the group, that name and ten lines; nothing of the old file is left.
    for (const int group : {1, 2, 10}) {
        Disk::write(path(), "5 Old\n0\n2 Other\nand more lines of some length\n\n\n\n\n\n\n");
        QString error = u"before"_s;
        QVERIFY(SnBin::writeMainGroup(path(), group, name, &error));
        QCOMPARE(Disk::read(path()),
                 QByteArray::number(group) + ' ' + prepared.toUtf8() + '\n' + tail);
        QCOMPARE(error, u"before"_s);
        QVERIFY(SnBin::isValid(path()));
        QVERIFY(QFile::remove(path()));
        QVERIFY(SnBin::writeMainGroup(path(), group, name));
        QCOMPARE(Disk::names(folder()), QStringList{u"sn.bin"_s});
    }
}

// ---- writeMainGroup

void TestSnBin::aGroupOutOfRangeIsRefusedAndTheFileIsUntouched()
{
    Disk::write(path(), "5 Old\n");
    for (const int group : {0, 11, -1, 1234567}) {
        QString error;
        QVERIFY(!SnBin::writeMainGroup(path(), group, u"New"_s, &error));
        QCOMPARE(error, u"ID de grupo invalido para sn.bin: %1"_s.arg(group));
        QVERIFY(!SnBin::writeMainGroup(path(), group, u"New"_s, nullptr));
        QCOMPARE(Disk::read(path()), "5 Old\n"_ba);
    }
}

void TestSnBin::aFileThatCannotBeWrittenFails()
{
    requireWriteFaults(folder(), "1 New\n" + tail, [](const QString &path, QString *error) {
        return SnBin::writeMainGroup(path, 1, u"New"_s, error);
    });
}

ZEL_TEST_MAIN(TestSnBin)

#include "tst_snbin.moc"
