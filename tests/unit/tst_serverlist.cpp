#include <QFile>

#include <limits>

#include "WriteFaults.h"
#include "client/ServerList.h"

using namespace Qt::StringLiterals;

namespace
{

/// The rows of a list as text: group, channel and address, separated by a bar.
QStringList rowsOf(const QList<ServerEntry> &entries)
{
    QStringList rows;
    for (const ServerEntry &entry : entries) {
        rows += QStringList{QString::number(entry.group), QString::number(entry.channel), entry.ip}
                    .join(u'|');
    }
    return rows;
}

/// The file at @p path names no primary server, and both out-parameters are untouched.
void requireNoPrimary(const QString &path)
{
    QString ip = u"before"_s;
    int channelCount = 77;
    QVERIFY(!ServerList::detectPrimary(path, &ip, &channelCount));
    QCOMPARE(ip, u"before"_s);
    QCOMPARE(channelCount, 77);
}

} // namespace

class TestServerList : public FolderTest
{
    Q_OBJECT

private slots:
    void aNewRowIsTheFirstChannelOfGroupZero();

    void linesAreReadAsRows_data();
    void linesAreReadAsRows();
    void aFileWithoutContentLoadsAsAnEmptyList();
    void aFileThatEndsBeforeItsSizeIsReadToItsEnd();
    void loadingAFolderOrIntoNullFails();

    void thePrimaryServerIsFound_data();
    void thePrimaryServerIsFound();
    void withoutAPrimaryServerNothingIsTouched_data();
    void withoutAPrimaryServerNothingIsTouched();
    void aMissingOutParameterLeavesTheOtherUntouched();

    void theWrittenListHoldsOneGroup_data();
    void theWrittenListHoldsOneGroup();
    void badValuesAreRefusedAndTheFileIsUntouched_data();
    void badValuesAreRefusedAndTheFileIsUntouched();
    void aFileThatCannotBeWrittenFails();

private:
    QString path() const { return at(u"serverlist.txt"_s); }
};

void TestServerList::aNewRowIsTheFirstChannelOfGroupZero()
{
    const ServerEntry entry;
    QCOMPARE(entry.group, 0);
    QCOMPARE(entry.channel, 1);
    QCOMPARE(entry.ip, QString());
    QCOMPARE(entry.name, QString());
}

// ---- load

void TestServerList::linesAreReadAsRows_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("rows");
    const auto row = [](const char *name, const QByteArray &file, const QStringList &rows) {
        QTest::newRow(name) << file << rows;
    };
    row("an empty file", "", {});
    row("a comment and empty lines", "  # comment\n\n   \t \n#\n", {});
    row("a comment that looks like a row", "#0 0 1.2.3.4\n", {});
    row("a number sign later in the line", "0 0 a#b # c\n", {u"0|0|a#b"_s});
    row("an address alone", "192.168.0.10\n", {u"0|1|192.168.0.10"_s});
    row("two tokens", "0 1\n", {});
    row("three tokens", "2 3 10.0.0.1\n", {u"2|3|10.0.0.1"_s});
    row("more than three tokens", "2 3 10.0.0.1 name of it\n", {u"2|3|10.0.0.1"_s});
    row("words in place of numbers", "x y 1.2.3.4\n", {u"0|0|1.2.3.4"_s});
    row("numbers with a suffix", "1x 2.5 1.2.3.4\n", {u"0|0|1.2.3.4"_s});
    row("hexadecimal and binary numbers", "0x10 0b1 1.2.3.4\n", {u"0|0|1.2.3.4"_s});
    row("leading zeros are decimal", "010 007 a\n", {u"10|7|a"_s});
    row("negative numbers", "-1 -2 a\n", {u"-1|-2|a"_s});
    row("numbers too large to hold", "2147483648 99999999999999999999 a\n", {u"0|0|a"_s});
    row("the largest numbers", "2147483647 -2147483648 a\n", {u"2147483647|-2147483648|a"_s});
    row("spaces around a line", "  \t 1 0 a \t \n", {u"1|0|a"_s});
    row("spaces and tabs between the tokens", "1 \t  0\t\ta\n", {u"1|0|a"_s});
    row("vertical white space between the tokens", "1\v0\fa\n", {u"1|0|a"_s});
    row("a no-break space inside a line separates nothing", "1 0 a\xC2\xA0z\n",
        {u"1|0|a\u00a0z"_s});
    row("lines that end with CR LF", "1 0 a\r\n1 1 b\r\n", {u"1|0|a"_s, u"1|1|b"_s});
    row("no line end at the end", "1 0 a\n1 1 b", {u"1|0|a"_s, u"1|1|b"_s});
    row("an address beyond ASCII", "1 0 jogo.ex\xC3\xAAmplo\n", {u"1|0|jogo.exêmplo"_s});
    row("a byte order mark", "\xEF\xBB\xBF\x31 0 a\n", {u"1|0|a"_s});
    row("the order of the file", "2 1 c\n0 0 a\n1 1 b\n0 0 a\n",
        {u"2|1|c"_s, u"0|0|a"_s, u"1|1|b"_s, u"0|0|a"_s});
    row("bytes that are not UTF-8", "1 0 \xff\n", {u"1|0|\ufffd"_s});
    row("a NUL character", "1 0 a\0b\n"_ba, {u"1|0|a\0b"_s});
}

void TestServerList::linesAreReadAsRows()
{
    QFETCH(const QByteArray, file);
    Disk::write(path(), file);
    QList<ServerEntry> entries = {{5, 5, u"old"_s, u"name"_s}, {6, 6, u"older"_s, {}}};
    QString error = u"before"_s;
    QVERIFY(ServerList::load(path(), &entries, &error));
    QTEST(rowsOf(entries), "rows");
    QCOMPARE(error, u"before"_s);
    for (const ServerEntry &entry : std::as_const(entries)) {
        QCOMPARE(entry.name, QString());
    }
    QCOMPARE(Disk::read(path()), file);
}

void TestServerList::aFileWithoutContentLoadsAsAnEmptyList()
{
    QTest::ignoreMessage(QtWarningMsg, "Broken filename passed to function");
    for (const QString &file :
         {path(), path() + u"/serverlist.txt"_s, u"/dev/null"_s, QString(), u"/dev/null\0b"_s}) {
        QList<ServerEntry> entries = {{5, 5, u"old"_s, {}}};
        QString error = u"before"_s;
        QVERIFY(ServerList::load(file, &entries, &error));
        QCOMPARE(rowsOf(entries), QStringList());
        QCOMPARE(error, u"before"_s);
    }
    QCOMPARE(Disk::names(folder()), QStringList());
}

void TestServerList::aFileThatEndsBeforeItsSizeIsReadToItsEnd()
{
    QList<ServerEntry> entries;
    QVERIFY(ServerList::load(u"/sys/devices/system/cpu/online"_s, &entries));
}

void TestServerList::loadingAFolderOrIntoNullFails()
{
    QList<ServerEntry> entries = {{5, 5, u"old"_s, {}}};
    QString error;
    QVERIFY(!ServerList::load(folder(), &entries, &error));
    QCOMPARE(error, u"Nao foi possivel abrir "_s + folder());
    QCOMPARE(rowsOf(entries), QStringList());
    QVERIFY(!ServerList::load(folder(), &entries));

    QVERIFY(!ServerList::load(path(), nullptr, &error));
    QCOMPARE(error, u"Lista invalida."_s);
    QVERIFY(!ServerList::load(path(), nullptr, nullptr));
}

// ---- detectPrimary

void TestServerList::thePrimaryServerIsFound_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<int>("channelCount");
    const auto row = [](const char *name, const QByteArray &file, const QString &ip, int count) {
        QTest::newRow(name) << file << ip << count;
    };
    row("an address alone", "192.168.0.10\n", u"192.168.0.10"_s, 1);
    row("a main line alone", "3 0 a\n", u"a"_s, 1);
    row("the first main line decides", "1 0 a\n0 0 b\n1 3 a\n", u"a"_s, 3);
    row("a main line wins over earlier channel lines", "2 9 c\n1 0 a\n", u"a"_s, 1);
    row("no main line", "2 1 c\n2 4 c\n", u"c"_s, 4);
    row("no main line, the first channel line decides", "2 4 c\n1 1 b\n2 1 d\n", u"d"_s, 4);
    row("no main line, the first of two first channels", "2 1 c\n2 1 d\n", u"c"_s, 1);
    row("the main line's address wins over the channels'", "1 1 b\n1 0 a\n1 2 c\n", u"a"_s, 2);
    row("a later main line of the group replaces the earlier", "1 0 a\n1 2 x\n1 0 b\n", u"b"_s, 2);
    row("a later main line of another group does not", "1 0 a\n2 0 b\n", u"a"_s, 1);
    row("channels of other groups do not count", "1 0 a\n2 9 b\n1 2 a\n0 7 c\n", u"a"_s, 2);
    row("the count is the highest channel, not the lines", "1 1 a\n1 5 a\n", u"a"_s, 5);
    row("the order of the channels does not matter", "1 5 a\n1 0 a\n1 2 a\n", u"a"_s, 5);
    row("negative channels do not count", "1 0 a\n1 -4 b\n", u"a"_s, 1);
    row("no limit here", "1 0 a\n1 25 a\n", u"a"_s, 25);
    row("after a negative main line, the channel lines decide", "-1 0 a\n2 1 b\n2 3 b\n", u"b"_s,
        3);
    row("after a negative main line, the next group with a channel line is used",
        "-1 0 a\n5 1 b\n4 0 c\n", u"b"_s, 1);
    row("after a negative main line, the main line of that group is used", "-1 0 a\n4 1 b\n4 0 c\n",
        u"c"_s, 1);
    row("a negative channel decides nothing", "1 -1 a\n2 1 b\n", u"b"_s, 1);
    row("a negative channel line before is ignored for a main line", "-3 1 x\n1 0 a\n", u"a"_s, 1);
    row("comments and short lines are skipped", "# 0 0 x\n7 0\n1 0 a\n", u"a"_s, 1);
}

void TestServerList::thePrimaryServerIsFound()
{
    QFETCH(const QByteArray, file);
    Disk::write(path(), file);
    QString ip = u"before"_s;
    int channelCount = 77;
    QVERIFY(ServerList::detectPrimary(path(), &ip, &channelCount));
    QTEST(ip, "ip");
    QTEST(channelCount, "channelCount");
}

void TestServerList::withoutAPrimaryServerNothingIsTouched_data()
{
    QTest::addColumn<QByteArray>("file");
    const auto row = [](const char *name, const QByteArray &file) { QTest::newRow(name) << file; };
    row("an empty file", "");
    row("a comment and empty lines", "  # comment\n\n");
    row("two tokens", "0 1\n");
    row("a negative main line alone", "-1 0 a\n");
    row("a negative group", "-1 0 a\n-1 1 a\n");
    row("the first channel line is of a negative group", "-2 1 a\n1 1 b\n");
    row("a negative main line, then a negative channel line", "-1 0 a\n-2 1 b\n1 1 c\n3 0 d\n");
    row("negative channels alone", "1 -1 a\n");
    row("no main line and no channel 1", "2 3 c\n2 4 c\n");
    row("channel 1 in another group only", "2 3 c\n1 1 b\n");
}

void TestServerList::withoutAPrimaryServerNothingIsTouched()
{
    QFETCH(const QByteArray, file);
    requireNoPrimary(path()); // no such file
    Disk::write(path(), file);
    requireNoPrimary(path());
    requireNoPrimary(folder());
    requireNoPrimary(u"/dev/null"_s);
    requireNoPrimary(QString());
}

void TestServerList::aMissingOutParameterLeavesTheOtherUntouched()
{
    Disk::write(path(), "1 0 a\n1 3 a\n");
    QString ip = u"before"_s;
    int channelCount = 77;
    QVERIFY(!ServerList::detectPrimary(path(), nullptr, &channelCount));
    QCOMPARE(channelCount, 77);
    QVERIFY(!ServerList::detectPrimary(path(), &ip, nullptr));
    QCOMPARE(ip, u"before"_s);
    QVERIFY(!ServerList::detectPrimary(path(), nullptr, nullptr));
}

// ---- writeMinimal

void TestServerList::theWrittenListHoldsOneGroup_data()
{
    QTest::addColumn<int>("group");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<int>("channelCount");
    QTest::addColumn<QByteArray>("file");
    const auto row = [](const char *name, int group, const QString &ip, int channelCount,
                        const QByteArray &file) {
        QTest::newRow(name) << group << ip << channelCount << file;
    };
    const QByteArray ten = "0 0 a\n0 1 a\n0 2 a\n0 3 a\n0 4 a\n0 5 a\n"
                           "0 6 a\n0 7 a\n0 8 a\n0 9 a\n0 10 a\n";
    row("three channels", 0, u"1.2.3.4"_s, 3,
        "0 0 1.2.3.4\n0 1 1.2.3.4\n0 2 1.2.3.4\n0 3 1.2.3.4\n");
    row("the highest group", 9, u"a"_s, 1, "9 0 a\n9 1 a\n");
    row("no channel counts as one", 0, u"a"_s, 0, "0 0 a\n0 1 a\n");
    row("the lowest count is one", 0, u"a"_s, std::numeric_limits<int>::min(), "0 0 a\n0 1 a\n");
    row("nine channels", 0, u"a"_s, 9, ten.chopped(7));
    row("ten channels", 0, u"a"_s, 10, ten);
    row("eleven channels are ten", 0, u"a"_s, 11, ten);
    row("25 channels are ten", 0, u"a"_s, 25, ten);
    row("the highest count is ten", 0, u"a"_s, std::numeric_limits<int>::max(), ten);
    row("spaces around the address", 1, u" \t a\u00a0\n"_s, 1, "1 0 a\n1 1 a\n");
    row("a tab inside the address is no space", 1, u"a\tb"_s, 1, "1 0 a\tb\n1 1 a\tb\n");
    row("a no-break space inside the address is no space", 1, u"a\u00a0z"_s, 1,
        "1 0 a\xC2\xA0z\n1 1 a\xC2\xA0z\n");
    row("an address in UTF-8", 1, u"exêmplo"_s, 1, "1 0 ex\xC3\xAAmplo\n1 1 ex\xC3\xAAmplo\n");
    row("placeholders in the address", 1, u"%1%2%3"_s, 1, "1 0 %1%2%3\n1 1 %1%2%3\n");
}

void TestServerList::theWrittenListHoldsOneGroup()
{
    QFETCH(const int, group);
    QFETCH(const QString, ip);
    QFETCH(const int, channelCount);
    QString error = u"before"_s;
    QVERIFY(ServerList::writeMinimal(path(), group, ip, channelCount, &error));
    QTEST(Disk::read(path()), "file");
    QCOMPARE(error, u"before"_s);

    // Nothing of the old file is left.
    Disk::write(path(), "# a comment\n3 0 b\n" + QByteArray("0 1 old\n").repeated(20));
    QVERIFY(ServerList::writeMinimal(path(), group, ip, channelCount));
    QTEST(Disk::read(path()), "file");
    QCOMPARE(Disk::names(folder()), QStringList{u"serverlist.txt"_s});
}

void TestServerList::badValuesAreRefusedAndTheFileIsUntouched_data()
{
    QTest::addColumn<int>("group");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("text");
    QTest::newRow("group 10") << 10 << u"a"_s << u"Grupo invalido: 10"_s;
    QTest::newRow("group -1") << -1 << u"a"_s << u"Grupo invalido: -1"_s;
    QTest::newRow("a large group") << 1234567 << u"a"_s << u"Grupo invalido: 1234567"_s;
    QTest::newRow("the group is checked first") << 10 << QString() << u"Grupo invalido: 10"_s;
    QTest::newRow("no address") << 0 << QString() << u"IP invalido."_s;
    QTest::newRow("a blank address") << 0 << u" \t\n"_s << u"IP invalido."_s;
    QTest::newRow("a space in the address") << 0 << u"1.2.3.4 x"_s << u"IP invalido."_s;
}

void TestServerList::badValuesAreRefusedAndTheFileIsUntouched()
{
    QFETCH(const int, group);
    QFETCH(const QString, ip);
    Disk::write(path(), "old");
    QString error;
    QVERIFY(!ServerList::writeMinimal(path(), group, ip, 1, &error));
    QTEST(error, "text");
    QVERIFY(!ServerList::writeMinimal(path(), group, ip, 1, nullptr));
    QCOMPARE(Disk::read(path()), "old"_ba);

    QFile::remove(path());
    QVERIFY(!ServerList::writeMinimal(path(), group, ip, 1, nullptr));
    QVERIFY(!QFile::exists(path()));
}

void TestServerList::aFileThatCannotBeWrittenFails()
{
    requireWriteFaults(folder(), "0 0 a\n0 1 a\n", [](const QString &path, QString *error) {
        return ServerList::writeMinimal(path, 0, u"a"_s, 1, error);
    });
}

ZEL_TEST_MAIN(TestServerList)

#include "tst_serverlist.moc"
