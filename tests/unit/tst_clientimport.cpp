#include "support/files/Disk.h"
#include "support/files/Settings.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{

LauncherSettings &settings()
{
    return LauncherSettings::instance();
}

const QByteArray tail = "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n"; // of "sn.bin"

const QString noFolder = u"Configure a pasta do cliente."_s;

} // namespace

class TestClientImport : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void theClientsServerIsImported();
    void aFieldWithoutItsFileKeepsItsValue_data();
    void aFieldWithoutItsFileKeepsItsValue();
    void theChannelCountIsLimited_data();
    void theChannelCountIsLimited();
    void aNameFileWithoutANameGivesTheDefaultName_data();
    void aNameFileWithoutANameGivesTheDefaultName();
    void withoutAClientFolderNothingIsImported();
    void importingWritesNothing();
    void onlyTheServerFieldsAreImported();

    void theServerFilesAndTheOptionsAreWritten();
    void theServerFilesAloneAreWritten();
    void theErrorTextIsOptional();
    void withoutAFolderNothingIsWritten_data();
    void withoutAFolderNothingIsWritten();
    void aServerFileThatIsNotWrittenEndsTheSync_data();
    void aServerFileThatIsNotWrittenEndsTheSync();
    void optionsThatAreNotWrittenLeaveTheServerFiles_data();
    void optionsThatAreNotWrittenLeaveTheServerFiles();
    void aSyncChangesNoField();
};

void TestClientImport::init()
{
    FolderTest::init();
    resetSettings();
    settings().clientDir = folder();
    settings().serverIp = u"192.168.0.1"_s;
    settings().channelCount = 4;
    settings().serverName = u"Mine"_s;
}

// ---- import

void TestClientImport::theClientsServerIsImported()
{
    Disk::write(at(u"serverlist.txt"_s), "2 0 10.0.0.1\n2 3 10.0.0.1\n");
    Disk::write(at(u"sn.bin"_s), "5  Their   Server\n");
    settings().importFromClientFiles();
    QCOMPARE(settings().serverIp, u"10.0.0.1"_s);
    QCOMPARE(settings().channelCount, 3);
    QCOMPARE(settings().serverName, u"Their Server"_s);
}

void TestClientImport::aFieldWithoutItsFileKeepsItsValue_data()
{
    QTest::addColumn<QByteArray>("list"); // no file when empty
    QTest::addColumn<QByteArray>("name"); // no file when empty
    QTest::addColumn<QString>("serverIp");
    QTest::addColumn<int>("channelCount");
    QTest::addColumn<QString>("serverName");
    const QByteArray list = "0 0 10.0.0.1\n0 2 10.0.0.1\n";
    QTest::newRow("no files") << QByteArray() << QByteArray() << u"192.168.0.1"_s << 4 << u"Mine"_s;
    QTest::newRow("a list alone") << list << QByteArray() << u"10.0.0.1"_s << 2 << u"Mine"_s;
    QTest::newRow("a name alone") << QByteArray() << QByteArray("1 Theirs\n") << u"192.168.0.1"_s
                                  << 4 << u"Theirs"_s;
    QTest::newRow("a list without a server")
        << QByteArray("# none\n2 3 a\n") << QByteArray("1 Theirs\n") << u"192.168.0.1"_s << 4
        << u"Theirs"_s;
    QTest::newRow("a name of an invalid group is still a name")
        << list << QByteArray("99 Theirs\n") << u"10.0.0.1"_s << 2 << u"Theirs"_s;
}

void TestClientImport::aFieldWithoutItsFileKeepsItsValue()
{
    QFETCH(const QByteArray, list);
    QFETCH(const QByteArray, name);
    if (!list.isEmpty()) {
        Disk::write(at(u"serverlist.txt"_s), list);
    }
    if (!name.isEmpty()) {
        Disk::write(at(u"sn.bin"_s), name);
    }
    settings().importFromClientFiles();
    QTEST(settings().serverIp, "serverIp");
    QTEST(settings().channelCount, "channelCount");
    QTEST(settings().serverName, "serverName");
}

void TestClientImport::theChannelCountIsLimited_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<int>("count");
    QTest::newRow("25 channels") << QByteArray("0 0 a\n0 25 a\n") << 10;
    QTest::newRow("10 channels") << QByteArray("0 0 a\n0 10 a\n") << 10;
    QTest::newRow("no channel") << QByteArray("0 0 a\n") << 1;
    QTest::newRow("a negative channel") << QByteArray("0 0 a\n0 -9 a\n") << 1;
}

void TestClientImport::theChannelCountIsLimited()
{
    QFETCH(const QByteArray, list);
    Disk::write(at(u"serverlist.txt"_s), list);
    settings().importFromClientFiles();
    QTEST(settings().channelCount, "count");
}

void TestClientImport::aNameFileWithoutANameGivesTheDefaultName_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("an empty file") << QByteArray();
    QTest::newRow("a group alone") << QByteArray("1\n");
}

void TestClientImport::aNameFileWithoutANameGivesTheDefaultName()
{
    QFETCH(const QByteArray, file);
    Disk::write(at(u"sn.bin"_s), file);
    settings().importFromClientFiles();
    QCOMPARE(settings().serverName, u"Orvandale"_s);
}

void TestClientImport::withoutAClientFolderNothingIsImported()
{
    // The working folder, where the bare names would be found, is not the client's.
    Disk::write(at(u"serverlist.txt"_s), "0 0 10.0.0.1\n");
    Disk::write(at(u"sn.bin"_s), "1 Theirs\n");
    const Disk::WorkingFolder working(folder());
    for (const QString &clientDir : {QString(), u"/nonexistent"_s, at(u"sn.bin"_s)}) {
        settings().clientDir = clientDir;
        settings().importFromClientFiles();
        QCOMPARE(settings().serverIp, u"192.168.0.1"_s);
        QCOMPARE(settings().channelCount, 4);
        QCOMPARE(settings().serverName, u"Mine"_s);
    }
}

void TestClientImport::importingWritesNothing()
{
    Disk::write(at(u"serverlist.txt"_s), "0 0 10.0.0.1\n");
    settings().importFromClientFiles();
    QCOMPARE(settings().serverIp, u"10.0.0.1"_s);
    QVERIFY(!QFile::exists(TestEnvironment::settingsFile()));
    QCOMPARE(Disk::names(folder()), QStringList{u"serverlist.txt"_s});
    QCOMPARE(Disk::read(at(u"serverlist.txt"_s)), QByteArray("0 0 10.0.0.1\n"));
}

void TestClientImport::onlyTheServerFieldsAreImported()
{
    Disk::write(at(u"serverlist.txt"_s), "0 0 10.0.0.1\n");
    Disk::write(at(u"sn.bin"_s), "1 Theirs\n");
    Disk::write(at(u"Config.bin"_s), QByteArray(30, '\1'));
    settings().clientConfig.resolution = 7;
    settings().importFromClientFiles();
    QCOMPARE(int(settings().clientConfig.resolution), 7);
    QCOMPARE(settings().clientDir, folder());
    QCOMPARE(settings().clientExe, u"ZEL.exe"_s);
}

// ---- sync

void TestClientImport::theServerFilesAndTheOptionsAreWritten()
{
    settings().clientConfig.resolution = 11;
    QString error = u"before"_s;
    QVERIFY(settings().syncClientFiles(&error));
    QCOMPARE(error, u"before"_s);
    QCOMPARE(Disk::names(folder()),
             QStringList({u"Config.bin"_s, u"server.txt"_s, u"serverlist.txt"_s, u"sn.bin"_s}));
    QCOMPARE(Disk::read(at(u"serverlist.txt"_s)),
             QByteArray("0 0 192.168.0.1\n0 1 192.168.0.1\n0 2 192.168.0.1\n"
                        "0 3 192.168.0.1\n0 4 192.168.0.1\n"));
    QCOMPARE(Disk::read(at(u"sn.bin"_s)), "1 Mine\n" + tail);
    QCOMPARE(Disk::read(at(u"server.txt"_s)), QByteArray("192.168.0.1\n"));
    ClientConfig saved;
    QVERIFY(ConfigBin::load(at(u"Config.bin"_s), &saved, nullptr));
    QCOMPARE(int(saved.resolution), 11);

    QVERIFY(settings().syncClientFiles(nullptr));
}

void TestClientImport::theServerFilesAloneAreWritten()
{
    settings().clientConfig.resolution = 11;
    QString error = u"before"_s;
    QVERIFY(settings().syncServerFilesOnly(&error));
    QCOMPARE(error, u"before"_s);
    QCOMPARE(Disk::names(folder()),
             QStringList({u"server.txt"_s, u"serverlist.txt"_s, u"sn.bin"_s}));

    // Options that the player changed in the game survive a start.
    Disk::write(at(u"Config.bin"_s), "the game's own options");
    QVERIFY(settings().syncServerFilesOnly(nullptr));
    QCOMPARE(Disk::read(at(u"Config.bin"_s)), QByteArray("the game's own options"));
}

void TestClientImport::theErrorTextIsOptional()
{
    QVERIFY(settings().syncServerFilesOnly());
    QVERIFY(settings().syncClientFiles());
    settings().clientDir.clear();
    QVERIFY(!settings().syncServerFilesOnly());
    QVERIFY(!settings().syncClientFiles());
}

void TestClientImport::withoutAFolderNothingIsWritten_data()
{
    QTest::addColumn<QString>("clientDir");
    QTest::newRow("no folder") << QString();
    QTest::newRow("a missing folder") << u"nonexistent"_s;
    QTest::newRow("a file") << u"file"_s;
    QTest::newRow("a NUL character") << u".\0"_s;
}

void TestClientImport::withoutAFolderNothingIsWritten()
{
    QFETCH(const QString, clientDir);
    Disk::write(at(u"file"_s), "file");
    const Disk::WorkingFolder working(folder());
    settings().clientDir = clientDir;
    settings().serverIp.clear(); // looked at later

    QString error;
    QVERIFY(!settings().syncClientFiles(&error));
    QCOMPARE(error, noFolder);
    error.clear();
    QVERIFY(!settings().syncServerFilesOnly(&error));
    QCOMPARE(error, noFolder);
    QVERIFY(!settings().syncClientFiles(nullptr));
    QVERIFY(!settings().syncServerFilesOnly(nullptr));
    QCOMPARE(Disk::names(folder()), QStringList{u"file"_s});
    QCOMPARE(Disk::read(at(u"file"_s)), QByteArray("file"));
}

void TestClientImport::aServerFileThatIsNotWrittenEndsTheSync_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("text");
    QTest::newRow("the server list")
        << u"serverlist.txt"_s << u"."_s << u"Nao foi possivel gravar %1"_s;
    QTest::newRow("the server list, a full disk")
        << u"serverlist.txt"_s << u"/dev/full"_s << u"Falha ao gravar %1"_s;
    QTest::newRow("the name file") << u"sn.bin"_s << u"."_s << u"Nao foi possivel gravar %1"_s;
    QTest::newRow("the name file, a full disk")
        << u"sn.bin"_s << u"/dev/full"_s << u"Falha ao gravar %1"_s;
    QTest::newRow("the address file")
        << u"server.txt"_s << u"."_s << u"Nao foi possivel gravar server.txt"_s;
    QTest::newRow("no address") << u"other"_s << u"."_s << u"Informe o IP do servidor."_s;
}

void TestClientImport::aServerFileThatIsNotWrittenEndsTheSync()
{
    QFETCH(const QString, name);
    QFETCH(const QString, target);
    QFETCH(const QString, text);
    Disk::makeLink(at(name), target);
    if (name == u"other"_s) {
        settings().serverIp = u" "_s;
    }
    const QString expected = QString(text).replace(u"%1"_s, at(name));

    QString error;
    QVERIFY(!settings().syncServerFilesOnly(&error));
    QCOMPARE(error, expected);
    error.clear();
    QVERIFY(!settings().syncClientFiles(&error));
    QCOMPARE(error, expected);
    QVERIFY(!settings().syncClientFiles(nullptr));
    QVERIFY(!settings().syncServerFilesOnly(nullptr));
    QVERIFY(!QFile::exists(at(u"Config.bin"_s)));
}

void TestClientImport::optionsThatAreNotWrittenLeaveTheServerFiles_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("text");
    QTest::newRow("a folder in its place") << u"."_s << u"Nao foi possivel gravar "_s;
    QTest::newRow("a full disk") << u"/dev/full"_s << u"Falha ao gravar "_s;
}

void TestClientImport::optionsThatAreNotWrittenLeaveTheServerFiles()
{
    QFETCH(const QString, target);
    QFETCH(const QString, text);
    Disk::makeFolder(at(u"%1 %2"_s)); // a name with placeholders
    settings().clientDir = at(u"%1 %2"_s);
    Disk::makeLink(at(u"%1 %2/Config.bin"_s), target);

    QString error;
    QVERIFY(!settings().syncClientFiles(&error));
    QCOMPARE(error, u"Servidor configurado, mas Config.bin nao foi gravado:\n"_s + text +
                        at(u"%1 %2/Config.bin"_s));
    QVERIFY(!settings().syncClientFiles(nullptr));
    QCOMPARE(Disk::read(at(u"%1 %2/server.txt"_s)), QByteArray("192.168.0.1\n"));
    QCOMPARE(Disk::read(at(u"%1 %2/sn.bin"_s)), "1 Mine\n" + tail);
    QVERIFY(QFile::exists(at(u"%1 %2/serverlist.txt"_s)));

    // The server files alone do not need it.
    QVERIFY(settings().syncServerFilesOnly(nullptr));
}

void TestClientImport::aSyncChangesNoField()
{
    settings().serverIp = u" 10.0.0.1 "_s;
    settings().serverName = u"  a name longer than the file takes "_s;
    settings().channelCount = 50;
    settings().clientConfig.modelQuality = 9;
    QVERIFY(settings().syncClientFiles(nullptr));
    QCOMPARE(settings().serverIp, u" 10.0.0.1 "_s);
    QCOMPARE(settings().serverName, u"  a name longer than the file takes "_s);
    QCOMPARE(settings().channelCount, 50);
    QCOMPARE(int(settings().clientConfig.modelQuality), 9);
    QCOMPARE(Disk::read(at(u"sn.bin"_s)).first(18), QByteArray("1 a name longer t\n"));
    QVERIFY(!QFile::exists(TestEnvironment::settingsFile()));
}

ZEL_TEST_MAIN(TestClientImport)

#include "tst_clientimport.moc"
