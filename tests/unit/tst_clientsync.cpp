#include <QFile>
#include <QFileInfo>

#include <limits>

#include "WriteFaults.h"
#include "client/ClientSync.h"

using namespace Qt::StringLiterals;

namespace
{

const QByteArray tail = "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n"; // of "sn.bin"

const ServerProfile profile = {u"Alpha"_s, u"10.0.0.1"_s, 2};

// The files written for this profile.
const QByteArray newServerList = "0 0 10.0.0.1\n0 1 10.0.0.1\n0 2 10.0.0.1\n";
const QByteArray newSnBin = "1 Alpha\n" + tail;
const QByteArray newServerTxt = "10.0.0.1\n";
const QByteArray newLoginIni = "a=1\nserver_ip=10.0.0.1\nb=2\n";

// The files in the client folder before that.
const QByteArray oldServerList = "0 0 old\n";
const QByteArray oldSnBin = "1 Old\n";
const QByteArray oldServerTxt = "an.address.longer.than.the.new.one\nand more\n";
const QByteArray oldLoginIni = "a=1\nserver_ip=old\nb=2\n";

} // namespace

class TestClientSync : public FolderTest
{
    Q_OBJECT

private slots:
    void theChannelCountIsLimitedToOneToTen();

    void theGameConfigIsSavedInTheClientFolder();
    void withoutAFolderNothingIsWritten();

    void everyServerFileIsWritten();
    void missingFilesAreCreatedWithDifferentGroupsDeliberately();
    void theAddressIsTrimmedInAllFiles_data();
    void theAddressIsTrimmedInAllFiles();
    void aBadAddressIsRefusedAndNothingIsWritten();
    void theChannelLinesAreLimited();

    void aFileWithTheSameNameIsNotRewritten_data();
    void aFileWithTheSameNameIsNotRewritten();
    void anyOtherNameFileIsRewritten_data();
    void anyOtherNameFileIsRewritten();

    void theFirstFailureEndsTheWriting_data();
    void theFirstFailureEndsTheWriting();
    void aDiskThatFillsUpAtTheNameFileEndsTheWriting();
    void ignoredFailuresDoNotEndTheWriting_data();
    void ignoredFailuresDoNotEndTheWriting();

    void onlyTheAddressLinesOfTheIniFileChange_data();
    void onlyTheAddressLinesOfTheIniFileChange();
    void aLinkedIniFileIsChangedWhereItIs();

private:
    void fillFolder();
};

/// Makes a client folder with the old files.
void TestClientSync::fillFolder()
{
    Disk::write(at(u"serverlist.txt"_s), oldServerList);
    Disk::write(at(u"sn.bin"_s), oldSnBin);
    Disk::write(at(u"server.txt"_s), oldServerTxt);
    Disk::write(at(u"zel_login.ini"_s), oldLoginIni);
    Disk::write(at(u"ZEL_patched.exe"_s), "MZ");
}

// ---- the channel count

void TestClientSync::theChannelCountIsLimitedToOneToTen()
{
    const QList<int> wanted = {std::numeric_limits<int>::min(), -5, 0, 1, 7, 10, 11, 99,
                               std::numeric_limits<int>::max()};
    const QList<int> counts = {1, 1, 1, 1, 7, 10, 10, 10, 10};
    for (qsizetype i = 0; i < wanted.size(); ++i) {
        QCOMPARE(ClientSync::clampChannelCount(wanted[i]), counts[i]);
    }
    QCOMPARE(ServerProfile().name, QString());
    QCOMPARE(ServerProfile().ip, QString());
    QCOMPARE(ServerProfile().channelCount, 1);
}

// ---- writeGameConfig

void TestClientSync::theGameConfigIsSavedInTheClientFolder()
{
    ClientConfig config;
    config.resolution = 11;
    QString error = u"before"_s;
    QVERIFY(ClientSync::writeGameConfig(folder(), config, &error));
    QCOMPARE(error, u"before"_s);
    QCOMPARE(Disk::names(folder()), QStringList{u"Config.bin"_s});
    ClientConfig saved;
    QVERIFY(ConfigBin::load(at(u"Config.bin"_s), &saved, nullptr));
    QCOMPARE(int(saved.resolution), 11);

    const QString path = at(u"Config.bin"_s);
    QFile::remove(path);
    Disk::makeFull(path);
    QVERIFY(!ClientSync::writeGameConfig(folder(), config, &error));
    QCOMPARE(error, u"Falha ao gravar "_s + path);
    QFile::remove(path);
    Disk::makeFolder(path);
    QVERIFY(!ClientSync::writeGameConfig(folder(), config, &error));
    QCOMPARE(error, u"Nao foi possivel gravar "_s + path);
}

void TestClientSync::withoutAFolderNothingIsWritten()
{
    Disk::write(at(u"file"_s), "file");
    Disk::makeLink(at(u"link"_s), u"/nonexistent"_s);
    const Disk::WorkingFolder working(folder());
    const QString text = u"Configure a pasta do cliente."_s;
    for (const QString &name : {QString(), u"nonexistent"_s, u"file"_s, u"link"_s}) {
        QString error;
        QVERIFY(!ClientSync::writeGameConfig(at(name), ClientConfig(), &error));
        QCOMPARE(error, text);
        QVERIFY(!ClientSync::writeGameConfig(at(name), ClientConfig()));

        error.clear();
        QVERIFY(!ClientSync::writeServerFiles(at(name), {}, &error)); // before the address
        QCOMPARE(error, text);
        QVERIFY(!ClientSync::writeServerFiles(at(name), profile));
    }
    QCOMPARE(Disk::names(folder()), QStringList({u"file"_s, u"link"_s}));
    QCOMPARE(Disk::read(at(u"file"_s)), "file"_ba);
}

// ---- writeServerFiles

void TestClientSync::everyServerFileIsWritten()
{
    fillFolder();
    Disk::write(at(u"Config.bin"_s), "options");
    Disk::write(at(u"ZEL.exe"_s), "MZ");
    Disk::write(at(u"zel_patched.exe"_s), "another letter case");
    QString error = u"before"_s;
    QVERIFY(ClientSync::writeServerFiles(folder(), profile, &error));
    QCOMPARE(error, u"before"_s);
    // The second pass changes nothing.
    for (int pass = 0; pass < 2; ++pass) {
        const QMap<QString, QByteArray> expected = {{u"Config.bin"_s, "options"},
                                                    {u"ZEL.exe"_s, "MZ"},
                                                    {u"server.txt"_s, newServerTxt},
                                                    {u"serverlist.txt"_s, newServerList},
                                                    {u"sn.bin"_s, newSnBin},
                                                    {u"zel_login.ini"_s, newLoginIni},
                                                    {u"zel_patched.exe"_s, "another letter case"}};
        QCOMPARE(Disk::files(folder()), expected);
        QVERIFY(ClientSync::writeServerFiles(folder(), profile));
    }
}

void TestClientSync::missingFilesAreCreatedWithDifferentGroupsDeliberately()
{
    QVERIFY(ClientSync::writeServerFiles(folder(), profile));
    const QMap<QString, QByteArray> expected = {{u"server.txt"_s, newServerTxt},
                                                {u"serverlist.txt"_s, newServerList}, // group 0
                                                {u"sn.bin"_s, newSnBin}};             // group 1
    QCOMPARE(Disk::files(folder()), expected);
}

void TestClientSync::theAddressIsTrimmedInAllFiles_data()
{
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QByteArray>("written");
    const auto row = [](const char *name, const QString &ip, const QString &written) {
        QTest::newRow(name) << ip << written.toUtf8();
    };
    const auto kept = [&row](const char *name, const QString &ip) { row(name, ip, ip); };
    row("spaces around it", u" 10.0.0.1 "_s, u"10.0.0.1"_s);
    row("other white space around it", u"\t\n10.0.0.1\r\n\u00a0"_s, u"10.0.0.1"_s);
    kept("a tab inside is no blank", u"a\tb"_s);
    kept("a no-break space inside is no blank", u"a\u00a0b"_s);
    kept("a name in UTF-8", u"exêmplo"_s);
    kept("letters outside Latin-1", u"jogo.пример.🐉"_s);
    kept("references to groups of an expression", u"\\0\\1\\2\\10"_s);
    kept("backslashes", u"a\\b\\\\c\\"_s);
    kept("dollar signs", u"$0$1$&${x}"_s);
    kept("placeholders", u"%1%2%%"_s);
    kept("a NUL character", u"a\0b"_s);
}

void TestClientSync::theAddressIsTrimmedInAllFiles()
{
    QFETCH(const QString, ip);
    QFETCH(const QByteArray, written);
    fillFolder();
    QVERIFY(ClientSync::writeServerFiles(folder(), {u"Alpha"_s, ip, 1}));
    QCOMPARE(Disk::read(at(u"serverlist.txt"_s)), "0 0 " + written + "\n0 1 " + written + "\n");
    QCOMPARE(Disk::read(at(u"server.txt"_s)), written + "\n");
    QCOMPARE(Disk::read(at(u"zel_login.ini"_s)), "a=1\nserver_ip=" + written + "\nb=2\n");
}

void TestClientSync::aBadAddressIsRefusedAndNothingIsWritten()
{
    fillFolder();
    const QMap<QString, QByteArray> before = Disk::files(folder());
    for (const QString &ip : {QString(), u" \t\r\n"_s, u"10.0.0.1 x"_s, u" a b "_s}) {
        QString error;
        QVERIFY(!ClientSync::writeServerFiles(folder(), {u"Alpha"_s, ip, 1}, &error));
        QCOMPARE(error, u"Informe o IP do servidor."_s);
        QVERIFY(!ClientSync::writeServerFiles(folder(), {u"Alpha"_s, ip, 1}));
    }
    QCOMPARE(Disk::files(folder()), before);
}

void TestClientSync::theChannelLinesAreLimited()
{
    const QList<std::pair<int, int>> counts = {{-1, 1}, {0, 1}, {1, 1}, {10, 10}, {50, 10}};
    for (const auto &[wanted, last] : counts) {
        QVERIFY(ClientSync::writeServerFiles(folder(), {u"Alpha"_s, u"a"_s, wanted}));
        QByteArray expected;
        for (int channel = 0; channel <= last; ++channel) {
            expected += "0 " + QByteArray::number(channel) + " a\n";
        }
        QCOMPARE(Disk::read(at(u"serverlist.txt"_s)), expected);
    }
}

// ---- the name

void TestClientSync::aFileWithTheSameNameIsNotRewritten_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *title, const QByteArray &file, const QString &name) {
        QTest::newRow(title) << file << name;
    };
    row("the same name", "1 Alpha\n", u"Alpha"_s);
    row("another letter case, another group", "3 alpha\n0\n", u"ALPHA"_s);
    row("another letter case of an accented letter", "1 \xC3\xA1guia\n", u"ÁGUIA"_s);
    row("further lines", "3 Alpha\n4 Beta\n\xff\n", u"Alpha"_s);
    row("no further lines, no line end", "10 Alpha", u"Alpha"_s);
    row("spaces in the file", "  2   Old    Server  \n", u"Old Server"_s);
    row("a tab in front of the name in the file", "1 \tAlpha\n", u"Alpha"_s);
    row("spaces around the name", "1 Alpha\n", u"  Alpha\n"_s);
    row("a file without a name has the default one", "7\n", u"orvandale"_s);
    row("no name is the default one", "7 ORVANDALE\n", QString());
    row("a name that is truncated", "1 a very long ser\n", u"A very long server name"_s);
    row("the space left by truncation does not count", "1 Fourteen chars\n",
        u"Fourteen chars and more"_s);
    row("a line end inside the name", "1 a b\n", u"a\nb"_s);
}

void TestClientSync::aFileWithTheSameNameIsNotRewritten()
{
    QFETCH(const QByteArray, file);
    QFETCH(const QString, name);
    Disk::write(at(u"sn.bin"_s), file);
    QVERIFY(ClientSync::writeServerFiles(folder(), {name, u"a"_s, 1}));
    QCOMPARE(Disk::read(at(u"sn.bin"_s)), file);
}

void TestClientSync::anyOtherNameFileIsRewritten_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("firstLine");
    const auto row = [](const char *title, const QByteArray &file, const QString &name,
                        const QByteArray &firstLine) {
        QTest::newRow(title) << file << name << firstLine;
    };
    row("another name", "3 alpha\n0\n", u"Beta"_s, "1 Beta\n");
    row("group 0, the same name", "0 Alpha\n", u"Alpha"_s, "1 Alpha\n");
    row("group 11, the same name", "11 Alpha\n", u"Alpha"_s, "1 Alpha\n");
    row("no group, the same name", "x Alpha\n", u"Alpha"_s, "1 Alpha\n");
    row("an empty file", "", u"Orvandale"_s, "1 Orvandale\n");
    row("a file without a name", "1\n", u"Alpha"_s, "1 Alpha\n");
    row("a name that begins with the other", "1 Alpha\n", u"Alpha 2"_s, "1 Alpha 2\n");
    row("a name with an accent more", "1 Aguia\n", u"Águia"_s, "1 \xC3\x81guia\n");
    row("a name that is too long for the launcher", "1 A very long server name\n",
        u"A very long server name"_s, "1 A very long ser\n");
    row("two spaces inside, which no file can keep", "1 a  b\n", u"a  b"_s, "1 a  b\n");
    row("prepared twice, so truncation leaves no space", "1 Old\n", u"Fourteen chars and more"_s,
        "1 Fourteen chars\n");
    row("line ends inside the name", "1 Old\n", u" a\r\nb "_s, "1 a  b\n");
    row("a blank name", "1 Old\n", u" \t "_s, "1 Orvandale\n");
    row("a NUL character in the name", "1 Old\n", u"a\0b"_s, "1 a\0b\n"_ba);
}

void TestClientSync::anyOtherNameFileIsRewritten()
{
    QFETCH(const QByteArray, file);
    QFETCH(const QString, name);
    QFETCH(const QByteArray, firstLine);
    Disk::write(at(u"sn.bin"_s), file);
    QVERIFY(ClientSync::writeServerFiles(folder(), {name, u"a"_s, 1}));
    QCOMPARE(Disk::read(at(u"sn.bin"_s)), firstLine + tail);
}

// ---- failures

void TestClientSync::theFirstFailureEndsTheWriting_data()
{
    addServerFileFaults();
}

void TestClientSync::theFirstFailureEndsTheWriting()
{
    QFETCH(const QString, name);
    QFETCH(const QString, target);
    QFETCH(const QString, text);
    QFETCH(const int, filesWritten);
    fillFolder();
    QFile::remove(at(name));
    QMap<QString, QByteArray> expected = Disk::files(folder());
    if (filesWritten >= 1) {
        expected[u"serverlist.txt"_s] = newServerList;
    }
    if (filesWritten >= 2) {
        expected[u"sn.bin"_s] = newSnBin;
    }
    Disk::makeLink(at(name), target);

    QString error;
    QVERIFY(!ClientSync::writeServerFiles(folder(), profile, &error));
    QCOMPARE(error, QString(text).replace(u"%1"_s, at(name)));
    QVERIFY(!ClientSync::writeServerFiles(folder(), profile));
    QFile::remove(at(name));
    QCOMPARE(Disk::files(folder()), expected);
}

void TestClientSync::aDiskThatFillsUpAtTheNameFileEndsTheWriting()
{
    QString error;
    {
        const Disk::SizeLimit limit(12); // of the server list
        QVERIFY(!ClientSync::writeServerFiles(folder(), {u"Alpha"_s, u"a"_s, 1}, &error));
    }
    QCOMPARE(error, u"Falha ao gravar "_s + at(u"sn.bin"_s));
    const QMap<QString, QByteArray> expected = {{u"serverlist.txt"_s, "0 0 a\n0 1 a\n"},
                                                {u"sn.bin"_s, newSnBin.first(12)}};
    QCOMPARE(Disk::files(folder()), expected);
}

void TestClientSync::ignoredFailuresDoNotEndTheWriting_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("target"); // none: a folder that is not empty
    const auto row = [](const char *title, const QString &name, const QString &target) {
        QTest::newRow(title) << name << target;
    };
    row("no space for the address file", u"server.txt"_s, u"/dev/full"_s);
    row("the ini file is a folder", u"zel_login.ini"_s, QString());
    row("the ini file is the null device", u"zel_login.ini"_s, u"/dev/null"_s);
    row("the ini file is a link to nothing", u"zel_login.ini"_s, u"nonexistent"_s);
    row("the patched client cannot be removed", u"ZEL_patched.exe"_s, QString());
    row("the patched client is a link to nothing", u"ZEL_patched.exe"_s, u"nonexistent"_s);
}

void TestClientSync::ignoredFailuresDoNotEndTheWriting()
{
    QFETCH(const QString, name);
    QFETCH(const QString, target);
    fillFolder();
    QFile::remove(at(name));
    QMap<QString, QByteArray> expected = {{u"server.txt"_s, newServerTxt},
                                          {u"serverlist.txt"_s, newServerList},
                                          {u"sn.bin"_s, newSnBin},
                                          {u"zel_login.ini"_s, newLoginIni}};
    expected.remove(name);
    if (target.isEmpty()) {
        Disk::write(at(name + u"/file"_s), "in a folder of that name");
        expected[name + u"/file"_s] = "in a folder of that name";
    } else {
        Disk::makeLink(at(name), target);
    }

    QString error = u"before"_s;
    QVERIFY(ClientSync::writeServerFiles(folder(), profile, &error));
    QCOMPARE(error, u"before"_s);
    if (!target.isEmpty()) {
        QVERIFY(QFileInfo(at(name)).isSymLink());
        QFile::remove(at(name));
    }
    QCOMPARE(Disk::files(folder()), expected);
}

// ---- the ini file

void TestClientSync::onlyTheAddressLinesOfTheIniFileChange_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    const auto row = [](const char *name, const QByteArray &before, const QByteArray &after) {
        QTest::newRow(name) << before << after;
    };
    const auto kept = [&row](const char *name, const QByteArray &file) { row(name, file, file); };
    row("among others", "a=1\nserver_ip=old\nb=2\n", "a=1\nserver_ip=10.0.0.1\nb=2\n");
    row("the first line", "server_ip=old\nb=2\n", "server_ip=10.0.0.1\nb=2\n");
    row("the last line, no line end", "a=1\nserver_ip=old", "a=1\nserver_ip=10.0.0.1");
    row("alone, no line end", "server_ip=", "server_ip=10.0.0.1");
    row("no value", "server_ip=\nb=2\n", "server_ip=10.0.0.1\nb=2\n");
    row("a longer value", "server_ip=" + QByteArray(500, 'x') + "\nb=2", "server_ip=10.0.0.1\nb=2");
    row("a value with special characters", "server_ip=a=b ; # \"c\" \t\\1\n",
        "server_ip=10.0.0.1\n");
    row("several", "server_ip=1\nb\nserver_ip=2\nserver_ip=3",
        "server_ip=10.0.0.1\nb\nserver_ip=10.0.0.1\nserver_ip=10.0.0.1");
    row("after empty lines", "\n\nserver_ip=old\n\n\n", "\n\nserver_ip=10.0.0.1\n\n\n");
    row("bytes that are not UTF-8 elsewhere", "a=\xff\xfe\x80\nserver_ip=old\nb=\xC3\n",
        "a=\xff\xfe\x80\nserver_ip=10.0.0.1\nb=\xC3\n");
    row("bytes that are not UTF-8 in the value", "server_ip=\xff\xC3\nb\n",
        "server_ip=10.0.0.1\nb\n");
    row("UTF-8 elsewhere", "a=\xC3\xA1\xE2\x82\xAC\xF0\x9F\x90\x89\nserver_ip=old\n",
        "a=\xC3\xA1\xE2\x82\xAC\xF0\x9F\x90\x89\nserver_ip=10.0.0.1\n");
    row("a byte order mark before the line", "\xEF\xBB\xBFserver_ip=old\nb\n",
        "\xEF\xBB\xBFserver_ip=10.0.0.1\nb\n");
    row("a byte order mark before another line", "\xEF\xBB\xBFx=1\nserver_ip=old\n",
        "\xEF\xBB\xBFx=1\nserver_ip=10.0.0.1\n");
    row("NUL characters", "a\0b\nserver_ip=o\0d\n\0"_ba, "a\0b\nserver_ip=10.0.0.1\n\0"_ba);
    row("other line separators in the value", "server_ip=a\vb\fc\xC2\x85y\xE2\x80\xA8z\nb\n",
        "server_ip=10.0.0.1\nb\n");
    row("text mode drops carriage returns deliberately", "a=1\r\nserver_ip=old\r\nb=2\r\n",
        "a=1\nserver_ip=10.0.0.1\nb=2\n");
    row("carriage returns, no such line", "a=1\r\n\r\nb=2\r\n", "a=1\n\nb=2\n");
    row("a carriage return alone", "a\rb\n", "ab\n");
    row("a long file", QByteArray(70'000, 'x') + "\nserver_ip=old\n" + QByteArray(70'000, 'y'),
        QByteArray(70'000, 'x') + "\nserver_ip=10.0.0.1\n" + QByteArray(70'000, 'y'));

    kept("an empty file", "");
    kept("no such line", "a=1\nb=2\n");
    kept("no such line, no line end", "a=1\nb=2");
    kept("no such line, no UTF-8", "a=\xff\n\xC3\x28\n");
    kept("no such line, a byte order mark", "\xEF\xBB\xBFx=1\n");
    kept("a longer key", "xserver_ip=old\n");
    kept("a blank before the key", " server_ip=old\n\tserver_ip=old\n");
    kept("a blank after the key", "server_ip =old\n");
    kept("another letter case", "Server_IP=old\nSERVER_IP=old\n");
    kept("the key alone", "server_ip\n");
    kept("a comment", "#server_ip=old\n;server_ip=old\n");
    kept("a byte order mark that is not at the start", "a\n\xEF\xBB\xBFserver_ip=old\n");
    kept("other line separators before the key",
         "a\vserver_ip=1\fserver_ip=2\xC2\x85server_ip=3\xE2\x80\xA8server_ip=4\n");
}

void TestClientSync::onlyTheAddressLinesOfTheIniFileChange()
{
    QFETCH(const QByteArray, before);
    Disk::write(at(u"zel_login.ini"_s), before);
    QString error = u"before"_s;
    QVERIFY(ClientSync::writeServerFiles(folder(), profile, &error));
    QTEST(Disk::read(at(u"zel_login.ini"_s)), "after");
    QCOMPARE(error, u"before"_s);
}

void TestClientSync::aLinkedIniFileIsChangedWhereItIs()
{
    Disk::write(at(u"elsewhere"_s), oldLoginIni);
    Disk::makeLink(at(u"zel_login.ini"_s), at(u"elsewhere"_s));
    QVERIFY(ClientSync::writeServerFiles(folder(), profile));
    QCOMPARE(Disk::read(at(u"elsewhere"_s)), newLoginIni);
    QVERIFY(QFileInfo(at(u"zel_login.ini"_s)).isSymLink());
}

ZEL_TEST_MAIN(TestClientSync)

#include "tst_clientsync.moc"
