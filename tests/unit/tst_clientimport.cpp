#include "support/files/Settings.h"

#include <QFile>

#include "WriteFaults.h"

using namespace Qt::StringLiterals;

namespace
{

const QByteArray tail = "0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n"; // of "sn.bin"

} // namespace

class TestClientImport : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void theServerFieldsAreImported_data();
    void theServerFieldsAreImported();
    void withoutAClientFolderNothingIsImported();
    void importingWritesNothingAndChangesNoOtherField();

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

void TestClientImport::theServerFieldsAreImported_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<QByteArray>("nameFile");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *title, const QByteArray &list, const QByteArray &nameFile,
                        const QString &ip, int count, const QString &name) {
        QTest::newRow(title) << list << nameFile << ip << count << name;
    };
    const QByteArray none = "no file";
    const QByteArray list = "2 0 10.0.0.1\n2 3 10.0.0.1\n";
    const QString ip = u"192.168.0.1"_s;
    const QString name = u"Mine"_s;
    row("both files", list, "5  Their   Server\n", u"10.0.0.1"_s, 3, u"Their Server"_s);
    row("no files", none, none, ip, 4, name);
    row("a list alone", list, none, u"10.0.0.1"_s, 3, name);
    row("a name alone", none, "1 Theirs\n", ip, 4, u"Theirs"_s);
    row("a list without a server", "# none\n2 3 a\n", "1 Theirs\n", ip, 4, u"Theirs"_s);
    row("a group out of range has a name too", none, "99 Theirs\n", ip, 4, u"Theirs"_s);
    row("an empty name file has the default name", none, "", ip, 4, u"Orvandale"_s);
    row("a group alone has the default name", none, "1\n", ip, 4, u"Orvandale"_s);
    row("25 channels are ten", "0 0 a\n0 25 a\n", none, u"a"_s, 10, name);
    row("ten channels", "0 0 a\n0 10 a\n", none, u"a"_s, 10, name);
    row("no channel counts as one", "0 0 a\n", none, u"a"_s, 1, name);
    row("a negative channel counts as one", "0 0 a\n0 -9 a\n", none, u"a"_s, 1, name);
}

void TestClientImport::theServerFieldsAreImported()
{
    QFETCH(const QByteArray, list);
    QFETCH(const QByteArray, nameFile);
    if (list != "no file") {
        Disk::write(at(u"serverlist.txt"_s), list);
    }
    if (nameFile != "no file") {
        Disk::write(at(u"sn.bin"_s), nameFile);
    }
    settings().importFromClientFiles();
    QTEST(settings().serverIp, "ip");
    QTEST(settings().channelCount, "count");
    QTEST(settings().serverName, "name");
}

void TestClientImport::withoutAClientFolderNothingIsImported()
{
    // The working directory is not the client folder: bare file names must not be found there.
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

void TestClientImport::importingWritesNothingAndChangesNoOtherField()
{
    const QMap<QString, QByteArray> files = {{u"serverlist.txt"_s, "0 0 10.0.0.1\n"},
                                             {u"sn.bin"_s, "1 Theirs\n"},
                                             {u"Config.bin"_s, QByteArray(30, '\1')}};
    for (auto file = files.begin(); file != files.end(); ++file) {
        Disk::write(at(file.key()), file.value());
    }
    settings().clientConfig.resolution = 7;
    settings().importFromClientFiles();
    QCOMPARE(settings().serverIp, u"10.0.0.1"_s);
    QCOMPARE(int(settings().clientConfig.resolution), 7);
    QCOMPARE(settings().clientDir, folder());
    QCOMPARE(settings().clientExe, u"ZEL.exe"_s);
    QCOMPARE(Disk::files(folder()), files);
    QVERIFY(!QFile::exists(TestEnvironment::settingsFile()));
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
    QCOMPARE(Disk::read(at(u"server.txt"_s)), "192.168.0.1\n"_ba);
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
    QCOMPARE(Disk::read(at(u"Config.bin"_s)), "the game's own options"_ba);
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
    addServerFileFaults();
    QTest::newRow("no address") << u"other"_s << u"."_s << u"Informe o IP do servidor."_s << 0;
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
    QCOMPARE(Disk::read(at(u"sn.bin"_s)).first(18), "1 a name longer t\n"_ba);
    QVERIFY(!QFile::exists(TestEnvironment::settingsFile()));
}

ZEL_TEST_MAIN(TestClientImport)

#include "tst_clientimport.moc"
