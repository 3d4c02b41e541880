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

} // namespace

class TestClientImport : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void theClientsServerIsImported();
    void aFieldWithoutItsFileKeepsItsValue_data();
    void aFieldWithoutItsFileKeepsItsValue();
    void theChannelCountIsLimited();
    void aNameFileWithoutANameGivesTheDefaultName();
    void withoutAClientFolderNothingIsImported();
    void importingWritesNothing();
    void onlyTheServerFieldsAreImported();

    void theServerFilesAndTheOptionsAreWritten();
    void theServerFilesAloneAreWritten();
    void withoutAFolderNothingIsWritten();
    void aServerFileThatIsNotWrittenEndsTheSync_data();
    void aServerFileThatIsNotWrittenEndsTheSync();
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

void TestClientImport::theChannelCountIsLimited()
{
    const QList<std::pair<QByteArray, int>> lists = {
        {"0 0 a\n0 25 a\n", 10}, {"0 0 a\n0 10 a\n", 10}, {"0 0 a\n", 1}, {"0 0 a\n0 -9 a\n", 1}};
    for (const auto &[list, count] : lists) {
        Disk::write(at(u"serverlist.txt"_s), list);
        settings().importFromClientFiles();
        QCOMPARE(settings().channelCount, count);
    }
}

void TestClientImport::aNameFileWithoutANameGivesTheDefaultName()
{
    for (const QByteArray &file : {""_ba, "1\n"_ba}) {
        Disk::write(at(u"sn.bin"_s), file);
        settings().serverName = u"Mine"_s;
        settings().importFromClientFiles();
        QCOMPARE(settings().serverName, u"Orvandale"_s);
    }
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

    QVERIFY(settings().syncClientFiles());
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
    QVERIFY(settings().syncServerFilesOnly());
    QCOMPARE(Disk::read(at(u"Config.bin"_s)), QByteArray("the game's own options"));
}

void TestClientImport::withoutAFolderNothingIsWritten()
{
    Disk::write(at(u"file"_s), "file");
    const Disk::WorkingFolder working(folder());
    settings().serverIp.clear(); // checked later
    const QString text = u"Configure a pasta do cliente."_s;
    for (const QString &clientDir : {QString(), u"nonexistent"_s, u"file"_s}) {
        settings().clientDir = clientDir;
        QString error;
        QVERIFY(!settings().syncClientFiles(&error));
        QCOMPARE(error, text);
        error.clear();
        QVERIFY(!settings().syncServerFilesOnly(&error));
        QCOMPARE(error, text);
        QVERIFY(!settings().syncClientFiles());
        QVERIFY(!settings().syncServerFilesOnly());
    }
    const QMap<QString, QByteArray> expected = {{u"file"_s, "file"}};
    QCOMPARE(Disk::files(folder()), expected);
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
    QVERIFY(!settings().syncClientFiles());
    QVERIFY(!settings().syncServerFilesOnly());
    QVERIFY(!QFile::exists(at(u"Config.bin"_s)));
}

void TestClientImport::optionsThatAreNotWrittenLeaveTheServerFiles()
{
    const QString client = at(u"%1 %2"_s); // a name with placeholders
    Disk::makeFolder(client);
    settings().clientDir = client;
    const QString text = u"Servidor configurado, mas Config.bin nao foi gravado:\n"_s;
    const QString path = client + u"/Config.bin"_s;
    QString error;
    Disk::makeFull(path);
    QVERIFY(!settings().syncClientFiles(&error));
    QCOMPARE(error, text + u"Falha ao gravar "_s + path);
    QVERIFY(!settings().syncClientFiles());

    QFile::remove(path);
    Disk::makeFolder(path);
    QVERIFY(!settings().syncClientFiles(&error));
    QCOMPARE(error, text + u"Nao foi possivel gravar "_s + path);
    QCOMPARE(Disk::read(client + u"/server.txt"_s), "192.168.0.1\n"_ba);
    QCOMPARE(Disk::read(client + u"/sn.bin"_s), "1 Mine\n" + tail);
    QVERIFY(QFile::exists(client + u"/serverlist.txt"_s));

    // The server files alone do not need it.
    QVERIFY(settings().syncServerFilesOnly());
}

void TestClientImport::aSyncChangesNoField()
{
    settings().serverIp = u" 10.0.0.1 "_s;
    settings().serverName = u"  a name longer than the file takes "_s;
    settings().channelCount = 50;
    settings().clientConfig.modelQuality = 9;
    QVERIFY(settings().syncClientFiles());
    QCOMPARE(settings().serverIp, u" 10.0.0.1 "_s);
    QCOMPARE(settings().serverName, u"  a name longer than the file takes "_s);
    QCOMPARE(settings().channelCount, 50);
    QCOMPARE(int(settings().clientConfig.modelQuality), 9);
    QCOMPARE(Disk::read(at(u"sn.bin"_s)).first(18), QByteArray("1 a name longer t\n"));
    QVERIFY(!QFile::exists(TestEnvironment::settingsFile()));
}

ZEL_TEST_MAIN(TestClientImport)

#include "tst_clientimport.moc"
