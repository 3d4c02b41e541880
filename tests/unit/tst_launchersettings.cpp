#include "support/files/Settings.h"
#include "support/process/Child.h"
#include "support/process/OwnMounts.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSettings>
#include <QThread>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{

/// Every field by name; the resolution represents the client's options.
QJsonObject fields()
{
    return {{u"clientDir"_s, settings().clientDir},
            {u"clientExe"_s, settings().clientExe},
            {u"winePath"_s, settings().winePath},
            {u"useWine"_s, settings().useWine},
            {u"patchBaseUrl"_s, settings().patchBaseUrl},
            {u"serverName"_s, settings().serverName},
            {u"serverIp"_s, settings().serverIp},
            {u"channelCount"_s, settings().channelCount},
            {u"websiteUrl"_s, settings().websiteUrl},
            {u"newsUrl"_s, settings().newsUrl},
            {u"localVersion"_s, settings().localVersion},
            {u"resolution"_s, settings().clientConfig.resolution},
            {u"rawWords"_s, settings().clientConfig.raw.size()}};
}

/// The fields before load().
const QJsonObject initialFields = QJsonDocument::fromJson(R"({
    "clientDir": "", "clientExe": "ZEL.exe", "winePath": "", "useWine": true, "patchBaseUrl": "",
    "serverName": "Orvandale", "serverIp": "127.0.0.1", "channelCount": 1, "websiteUrl": "",
    "newsUrl": "", "localVersion": "1.0.0", "resolution": 3, "rawWords": 0
})")
                                      .object();

/// @p object with other values.
QJsonObject with(QJsonObject object, const QJsonObject &changes)
{
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        object[change.key()] = change.value();
    }
    return object;
}

/// The fields that load() finds without any file.
QJsonObject defaultFields()
{
    return with(initialFields,
                {{u"clientDir"_s, QCoreApplication::applicationDirPath()}, {u"rawWords"_s, 15}});
}

QString settingsPath()
{
    return TestEnvironment::settingsFile();
}

QString settingsFolder()
{
    return QFileInfo(settingsPath()).path();
}

/// Gives every text field but the client folder the value @p text.
void setTexts(const QString &text)
{
    settings().clientExe = settings().winePath = settings().patchBaseUrl = settings().serverName =
        settings().serverIp = settings().websiteUrl = settings().newsUrl = settings().localVersion =
            text;
}

/// Gives every field a value that is not its default.
void setUnusualFields()
{
    settings().clientDir = u"/x"_s;
    setTexts(u"an unsaved edit"_s);
    settings().useWine = false;
    settings().channelCount = 7;
    settings().clientConfig.resolution = 7;
}

/// What save() writes for the initial fields.
const QByteArray initialFile = "[client]\ndir=\nexe=ZEL.exe\nuseWine=true\nwine=\n\n"
                               "[links]\nnews=\nwebsite=\n\n"
                               "[patch]\nbaseUrl=\nlocalVersion=1.0.0\n\n"
                               "[server]\nchannelCount=1\nip=127.0.0.1\nname=Orvandale\n";

/// A "Config.bin" with this resolution code.
QByteArray configBin(char resolution)
{
    QByteArray bytes(30, '\0');
    bytes[2] = resolution;
    return bytes;
}

/// Saves onto a nearly full disk, once for each small number of free pages. Returns the outcomes:
/// the settings file, and other files left in its folder.
QJsonArray saveOnFullDisk(const QString &disk)
{
    constexpr int pageSize = 4096;
    const QByteArray theirs = "[theirs]\nkey=" + QByteArray(80'000, 'k') + '\n';
    const QByteArray oldFile = "[client]\ndir=/old\n\n" + theirs;
    const QString settingsOnDisk = disk + u"/Orvandale"_s;
    const QString ballast = disk + u"/ballast"_s;
    settings().websiteUrl = QString(6000, u'w');

    QJsonArray results;
    for (int freePages = 0; freePages < 50; ++freePages) {
        QFile::remove(ballast);
        writeSettings(oldFile);
        QFile file(ballast);
        if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
            qFatal("no ballast");
        }
        while (file.write(QByteArray(pageSize, 'b')) == pageSize) {
        }
        file.resize(std::max<qint64>(0, file.size() - freePages * pageSize));

        settings().save();
        const QByteArray saved = Disk::read(settingsPath());
        results += QJsonObject{{u"old"_s, saved == oldFile},
                               {u"new"_s, saved.contains("website=" + QByteArray(6000, 'w')) &&
                                              saved.endsWith(theirs)},
                               {u"files"_s, Disk::names(settingsOnDisk).size()}};
    }
    return results;
}

QByteArray childAnswer(const QStringList &arguments)
{
    const QString action = arguments.first();
    if (action == u"save on a full disk"_s) {
        return QJsonDocument(saveOnFullDisk(arguments[1])).toJson();
    }
    if (action == u"load without own folder"_s) {
        QDir(QCoreApplication::applicationDirPath()).removeRecursively();
    }
    if (action != u"look"_s) {
        settings().load();
    }
    return QJsonDocument(fields()).toJson();
}

/// The fields of a child process after @p action, run as the program at @p program.
QJsonObject fieldsOfChild(const QString &action, const QString &program = {})
{
    Child child({action});
    if (!program.isEmpty() && QFile::copy(QCoreApplication::applicationFilePath(), program)) {
        child.setProgram(program);
    }
    return QJsonDocument::fromJson(child.output()).object();
}

} // namespace

class TestLauncherSettings : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void thereIsOneObjectThatCanBeCopied();
    void aNewProcessHoldsTheInitialValuesAndTouchesNoFile();

    void everyKeyIsLoadedIntoItsField_data();
    void everyKeyIsLoadedIntoItsField();
    void aListIsNotAString();
    void missingKeysHaveTheirDefaults_data();
    void missingKeysHaveTheirDefaults();

    void theFilesInTheLaunchersOwnFolderAreImported();
    void withoutAnyFolderTheClientFolderStaysEmpty();
    void theClientsFilesWinOverTheSettingsFile();
    void theClientsOptionsAreLoadedEachTimeUnlessUnreadable();

    void savingWritesElevenKeys();
    void everyFieldIsSavedUnderItsKey();
    void otherKeysInTheFileAreKept();
    void theOldChannelKeyIsReadButNeverWrittenDeliberately();
    void savedTextsComeBack_data();
    void savedTextsComeBack();
    void aLinkedSettingsFileStaysALink();

    void aFileThatCannotBeWrittenIsSilent_data();
    void aFileThatCannotBeWrittenIsSilent();
    void aFullDiskKeepsTheOldFile_data();
    void aFullDiskKeepsTheOldFile();
    void aLockOfAKilledLauncherDelaysNoSave();
    void theLockOfARunningLauncherIsWaitedFor();
    void aDiskThatIsNearlyFullHoldsTheOldFileOrTheNewOne_data();
    void aDiskThatIsNearlyFullHoldsTheOldFileOrTheNewOne();
};

void TestLauncherSettings::init()
{
    FolderTest::init();
    resetSettings();
}

// ---- the object

void TestLauncherSettings::thereIsOneObjectThatCanBeCopied()
{
    QCOMPARE(&LauncherSettings::instance(), &LauncherSettings::instance());
    settings().serverName = u"before"_s;
    settings().clientConfig.brightness = 3;
    const LauncherSettings kept = settings();
    settings().serverName = u"after"_s;
    settings().clientConfig.brightness = 7;
    settings() = kept;
    QCOMPARE(settings().serverName, u"before"_s);
    QCOMPARE(settings().clientConfig.brightness, 3);
}

void TestLauncherSettings::aNewProcessHoldsTheInitialValuesAndTouchesNoFile()
{
    QCOMPARE(fieldsOfChild(u"look"_s), initialFields);
    QCOMPARE(Disk::names(TestEnvironment::configHome()), QStringList());

    Disk::write(settingsPath(), "[client]\nexe=other.exe\n[server]\nchannel=3\n");
    const QMap<QString, QByteArray> files = Disk::files(TestEnvironment::configHome());
    QCOMPARE(fieldsOfChild(u"look"_s), initialFields);
    QCOMPARE(Disk::files(TestEnvironment::configHome()), files);
}

// ---- load

void TestLauncherSettings::everyKeyIsLoadedIntoItsField_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QJsonObject>("changes");
    const auto row = [](const char *text, const QString &field, const QJsonValue &value) {
        QTest::newRow(QByteArray(text).replace('\n', ' ').constData())
            << QByteArray(text) << QJsonObject{{field, value}};
    };
    row("[client]\nexe=a b.exe", u"clientExe"_s, u"a b.exe"_s);
    row("[client]\nexe=", u"clientExe"_s, u""_s);
    row("[client]\nwine=/opt/wine/bin/wine", u"winePath"_s, u"/opt/wine/bin/wine"_s);
    row("[client]\nuseWine=true", u"useWine"_s, true);
    row("[client]\nuseWine=false", u"useWine"_s, false);
    row("[client]\nuseWine=False", u"useWine"_s, false);
    row("[client]\nuseWine=\"false\"", u"useWine"_s, false);
    row("[client]\nuseWine=1", u"useWine"_s, true);
    row("[client]\nuseWine=0", u"useWine"_s, false);
    row("[client]\nuseWine=", u"useWine"_s, false);
    row("[client]\nuseWine=no", u"useWine"_s, true);
    row("[client]\nuseWine=true, true", u"useWine"_s, false);
    row("[patch]\nbaseUrl=http://127.0.0.1/p?a=b", u"patchBaseUrl"_s, u"http://127.0.0.1/p?a=b"_s);
    row("[server]\nname=Alpha Beta", u"serverName"_s, u"Alpha Beta"_s);
    row("[server]\nname=", u"serverName"_s, u""_s);
    row("[server]\nname=\xC3\x81guia", u"serverName"_s, u"Águia"_s);
    row("[server]\nname=\"a, b; c\"", u"serverName"_s, u"a, b; c"_s);
    row("[server]\nname=12", u"serverName"_s, u"12"_s);
    row("[server]\nname=true", u"serverName"_s, u"true"_s);
    row("[server]\nip=10.0.0.1", u"serverIp"_s, u"10.0.0.1"_s);
    row("[server]\nip=", u"serverIp"_s, u""_s);
    row("[server]\nchannelCount=4", u"channelCount"_s, 4);
    row("[server]\nchannelCount=10", u"channelCount"_s, 10);
    row("[server]\nchannelCount=11", u"channelCount"_s, 10);
    row("[server]\nchannelCount=0", u"channelCount"_s, 1);
    row("[server]\nchannelCount=-3", u"channelCount"_s, 1);
    row("[server]\nchannelCount=\" 4 \"", u"channelCount"_s, 4);
    row("[server]\nchannelCount=abc", u"channelCount"_s, 1);
    row("[server]\nchannelCount=7.6", u"channelCount"_s, 1);
    row("[server]\nchannelCount=7x", u"channelCount"_s, 1);
    row("[server]\nchannelCount=5, 6", u"channelCount"_s, 1);
    row("[server]\nchannelCount=true", u"channelCount"_s, 1);
    row("[server]\nchannelCount=", u"channelCount"_s, 1);
    row("[server]\nchannel=3", u"channelCount"_s, 3); // written by an older launcher
    row("[server]\nchannel=25", u"channelCount"_s, 10);
    row("[server]\nchannel=0", u"channelCount"_s, 1);
    row("[server]\nchannel=abc", u"channelCount"_s, 1);
    row("[server]\nchannel=3\nchannelCount=5", u"channelCount"_s, 5);
    row("[server]\nchannel=3\nchannelCount=abc", u"channelCount"_s, 1);
    row("[links]\nwebsite=http://site", u"websiteUrl"_s, u"http://site"_s);
    row("[links]\nnews=http://news", u"newsUrl"_s, u"http://news"_s);
    row("[patch]\nlocalVersion=2.0.0", u"localVersion"_s, u"2.0.0"_s);
    row("[patch]\nlocalVersion=", u"localVersion"_s, u""_s);
}

void TestLauncherSettings::everyKeyIsLoadedIntoItsField()
{
    QFETCH(const QByteArray, text);
    QFETCH(const QJsonObject, changes);
    const QString client = at(u"client"_s);
    setUnusualFields(); // a key that is absent gives the default
    writeSettings("[client]\ndir=" + client.toUtf8() + "\n" + text + "\n");
    settings().load();
    QCOMPARE(fields(),
             with(with(initialFields, {{u"clientDir"_s, client}, {u"rawWords"_s, 15}}), changes));
}

void TestLauncherSettings::aListIsNotAString()
{
    writeSettings("[client]\ndir=" + folder().toUtf8() +
                  "\nexe=a, b\nwine=a, b\n[patch]\nbaseUrl=a, b\nlocalVersion=a, b\n"
                  "[server]\nname=a, b\nip=a, b\n[links]\nwebsite=a, b\nnews=a, b\n");
    settings().load();
    for (const QString &text : {settings().clientExe, settings().winePath, settings().patchBaseUrl,
                                settings().serverName, settings().serverIp, settings().websiteUrl,
                                settings().newsUrl, settings().localVersion}) {
        QCOMPARE(text, QString());
    }
}

void TestLauncherSettings::missingKeysHaveTheirDefaults_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QJsonObject>("changes"); // to the defaults
    const auto row = [](const char *name, const QByteArray &file, const QJsonObject &changes = {}) {
        QTest::newRow(name) << file << changes;
    };
    row("no file", QByteArray());
    row("an empty file", "");
    row("text that is not INI", "these are no settings\n\n]][[==\n");
    row("bytes", "\xff\xfe\0\x01\x80[client\0\n=\n"_ba);
    row("NUL characters", QByteArray(5000, '\0'));
    row("keys of another program", "[General]\nclient=1\n[x]\ny=z\n");
    row("another key", "[server]\nname=x\n", {{u"serverName"_s, u"x"_s}});
    row("no client folder", "[client]\ndir=\n");
    row("a list is no client folder", "[client]\ndir=/a, /b\n");
    row("a client folder", "[client]\ndir=/nonexistent\n", {{u"clientDir"_s, u"/nonexistent"_s}});
    row("a comment and spaces", "; a comment\n[server]\nchannel=3\n\n[client]\nexe = x\n",
        {{u"channelCount"_s, 3}, {u"clientExe"_s, u"x"_s}});
}

void TestLauncherSettings::missingKeysHaveTheirDefaults()
{
    QFETCH(const QByteArray, file);
    QFETCH(const QJsonObject, changes);
    if (!file.isNull()) {
        writeSettings(file);
    }
    const QDateTime time = QFileInfo(settingsPath()).lastModified();
    const QMap<QString, QByteArray> files = Disk::files(TestEnvironment::configHome());
    for (int pass = 0; pass < 2; ++pass) { // unsaved edits are lost
        setUnusualFields();
        settings().load();
        QCOMPARE(fields(), with(defaultFields(), changes));
    }
    // Loading writes nothing.
    QCOMPARE(Disk::files(TestEnvironment::configHome()), files);
    QCOMPARE(QFileInfo(settingsPath()).lastModified(), time);
}

// ---- the client's files

void TestLauncherSettings::theFilesInTheLaunchersOwnFolderAreImported()
{
    Disk::write(at(u"client/serverlist.txt"_s), "0 0 10.0.0.1\n0 25 10.0.0.1\n");
    Disk::write(at(u"client/sn.bin"_s), "1 Alpha\n");
    Disk::write(at(u"client/Config.bin"_s), configBin(9));
    QCOMPARE(fieldsOfChild(u"load"_s, at(u"client/launcher"_s)),
             with(initialFields, {{u"clientDir"_s, at(u"client"_s)},
                                  {u"serverIp"_s, u"10.0.0.1"_s},
                                  {u"channelCount"_s, 10},
                                  {u"serverName"_s, u"Alpha"_s},
                                  {u"resolution"_s, 9},
                                  {u"rawWords"_s, 15}}));
}

void TestLauncherSettings::withoutAnyFolderTheClientFolderStaysEmpty()
{
    Disk::makeFolder(at(u"client"_s));
    QCOMPARE(fieldsOfChild(u"load without own folder"_s, at(u"client/launcher"_s)),
             with(initialFields, {{u"rawWords"_s, 15}}));
}

void TestLauncherSettings::theClientsFilesWinOverTheSettingsFile()
{
    writeSettings("[client]\ndir=" + folder().toUtf8() +
                  "\n[server]\nip=192.168.0.1\nname=Saved\nchannelCount=4\n");
    settings().load();
    QCOMPARE(settings().serverIp, u"192.168.0.1"_s);
    QCOMPARE(settings().serverName, u"Saved"_s);
    QCOMPARE(settings().channelCount, 4);

    Disk::write(at(u"serverlist.txt"_s), "0 0 10.0.0.1\n0 25 10.0.0.1\n");
    Disk::write(at(u"sn.bin"_s), "1 Alpha\n");
    settings().load();
    QCOMPARE(settings().serverIp, u"10.0.0.1"_s);
    QCOMPARE(settings().serverName, u"Alpha"_s);
    QCOMPARE(settings().channelCount, 10);
}

void TestLauncherSettings::theClientsOptionsAreLoadedEachTimeUnlessUnreadable()
{
    writeSettings("[client]\ndir=" + folder().toUtf8() + "\n");
    const auto requireLoaded = [](int resolution, const QList<short> &raw) {
        settings().load();
        QCOMPARE(int(settings().clientConfig.resolution), resolution);
        QCOMPARE(settings().clientConfig.raw, raw);
    };
    const QString path = at(u"Config.bin"_s);
    settings().clientConfig.resolution = 7;
    Disk::write(path, "too short");
    requireLoaded(7, {});
    QFile::remove(path);
    Disk::makeFolder(path);
    requireLoaded(7, {});
    QDir().rmdir(path);
    Disk::write(path, configBin(9));
    requireLoaded(9, {0, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    Disk::write(path, configBin(4));
    requireLoaded(4, {0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    QFile::remove(path);
    requireLoaded(3, {7000, 3, 2, 0, 0, -1, 57, 2, 1, 1, 1, 0, 0, 0, 1});
    QVERIFY(!QFile::exists(path));
}

// ---- save

void TestLauncherSettings::savingWritesElevenKeys()
{
    settings().clientConfig.resolution = 7; // the client's options are not saved
    settings().clientConfig.raw = QList<short>(15, 7);
    settings().save();
    const QMap<QString, QByteArray> expected = {{u"Orvandale/zel_launcher.ini"_s, initialFile}};
    QCOMPARE(Disk::files(TestEnvironment::configHome()), expected);
    const QSettings file(QSettings::IniFormat, QSettings::UserScope, u"Orvandale"_s,
                         u"zel_launcher"_s);
    QCOMPARE(file.fileName(), settingsPath());
    QCOMPARE(file.allKeys().size(), 11);
}

void TestLauncherSettings::everyFieldIsSavedUnderItsKey()
{
    settings().clientDir = u"a"_s;
    settings().clientExe = u"b"_s;
    settings().winePath = u"c"_s;
    settings().useWine = false;
    settings().patchBaseUrl = u"d"_s;
    settings().serverName = u"e"_s;
    settings().serverIp = u"f"_s;
    settings().channelCount = 7;
    settings().websiteUrl = u"g"_s;
    settings().newsUrl = u"h"_s;
    settings().localVersion = u"i"_s;
    settings().save();
    QCOMPARE(Disk::read(settingsPath()), "[client]\ndir=a\nexe=b\nuseWine=false\nwine=c\n\n"
                                         "[links]\nnews=h\nwebsite=g\n\n"
                                         "[patch]\nbaseUrl=d\nlocalVersion=i\n\n"
                                         "[server]\nchannelCount=7\nip=f\nname=e\n"_ba);
}

void TestLauncherSettings::otherKeysInTheFileAreKept()
{
    writeSettings("[General]\nfirst=1\n\n[server]\nother=2\nname=Old\n\n[theirs]\nlist=a, b\n");
    settings().save();
    const QSettings file(settingsPath(), QSettings::IniFormat);
    QCOMPARE(file.value("first").toString(), u"1"_s);
    QCOMPARE(file.value("server/other").toString(), u"2"_s);
    QCOMPARE(file.value("theirs/list").toStringList(), QStringList({u"a"_s, u"b"_s}));
    QCOMPARE(file.value("server/name").toString(), u"Orvandale"_s);
    QCOMPARE(file.allKeys().size(), 14);
}

void TestLauncherSettings::theOldChannelKeyIsReadButNeverWrittenDeliberately()
{
    writeSettings("[client]\ndir=" + folder().toUtf8() + "\n[server]\nchannel=3\n");
    settings().load();
    QCOMPARE(settings().channelCount, 3);
    settings().save();
    QVERIFY(Disk::read(settingsPath()).contains("\nchannel=3\n"));
    QVERIFY(Disk::read(settingsPath()).contains("\nchannelCount=3\n"));

    settings().channelCount = 5;
    settings().save();
    settings().load();
    QCOMPARE(settings().channelCount, 5);
    QVERIFY(Disk::read(settingsPath()).contains("\nchannel=3\n"));
}

void TestLauncherSettings::savedTextsComeBack_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("spaces") << u"  a  b  "_s;
    QTest::newRow("a comma") << u"a, b"_s;
    QTest::newRow("INI characters") << u"a;b=c#[d]\"e'\\f%41"_s;
    QTest::newRow("a line end") << u"a\r\nb\tc"_s;
    QTest::newRow("text that looks like another type") << u"true"_s;
    QTest::newRow("a leading at sign") << u"@Invalid()"_s;
    QTest::newRow("accents and more") << u"Águia 🐉 пример"_s;
    QTest::newRow("a NUL character") << u"a\0b1"_s;
    QTest::newRow("long") << QString(3000, u'á');
}

void TestLauncherSettings::savedTextsComeBack()
{
    QFETCH(const QString, text);
    const Disk::WorkingFolder working(folder());
    settings().clientDir = u"./nonexistent"_s + QString(text).remove(QChar::Null);
    setTexts(text);
    settings().useWine = false;
    settings().channelCount = 9;
    settings().clientConfig.raw = QList<short>(15, 7);
    const QJsonObject saved = fields();
    settings().save();
    resetFields();
    settings().load();
    QCOMPARE(fields(), saved);
}

void TestLauncherSettings::aLinkedSettingsFileStaysALink()
{
    Disk::write(at(u"elsewhere/settings"_s), "[client]\nexe=old.exe\n");
    Disk::makeFolder(settingsFolder());
    Disk::makeLink(settingsPath(), at(u"elsewhere/settings"_s));
    settings().save();
    QVERIFY(QFileInfo(settingsPath()).isSymLink());
    QCOMPARE(Disk::read(at(u"elsewhere/settings"_s)), initialFile);
    QCOMPARE(Disk::names(at(u"elsewhere"_s)), QStringList{u"settings"_s});
}

// ---- failures

void TestLauncherSettings::aFileThatCannotBeWrittenIsSilent_data()
{
    QTest::addColumn<bool>("isFolder");
    QTest::newRow("a folder in the place of the file") << true;
    QTest::newRow("a file in the place of the folder") << false;
}

void TestLauncherSettings::aFileThatCannotBeWrittenIsSilent()
{
    QFETCH(const bool, isFolder);
    Disk::write(isFolder ? settingsPath() + u"/file"_s : settingsFolder(), "in its place");
    const QMap<QString, QByteArray> files = Disk::files(TestEnvironment::configHome());
    setUnusualFields();
    settings().save();
    settings().load(); // what was not saved is not kept in memory
    QCOMPARE(fields(), defaultFields());
    QCOMPARE(Disk::files(TestEnvironment::configHome()), files);
}

void TestLauncherSettings::aFullDiskKeepsTheOldFile_data()
{
    QTest::addColumn<int>("limit");
    QTest::newRow("no space at all") << 0;
    QTest::newRow("space for the lock file") << 200;
    QTest::newRow("space for half of the settings") << 3000;
}

void TestLauncherSettings::aFullDiskKeepsTheOldFile()
{
    QFETCH(const int, limit);
    settings().clientDir = folder();
    settings().serverName = u"Saved"_s;
    settings().save();
    const QByteArray saved = Disk::read(settingsPath());

    settings().serverName = u"Unsaved"_s;
    settings().websiteUrl = QString(6000, u'w');
    {
        const Disk::SizeLimit full(static_cast<rlim_t>(limit));
        settings().save();
    }
    QCOMPARE(Disk::read(settingsPath()), saved);
    QCOMPARE(Disk::names(settingsFolder()), QStringList{u"zel_launcher.ini"_s});
    settings().load();
    QCOMPARE(settings().serverName, u"Saved"_s);
    QCOMPARE(settings().websiteUrl, QString());
    QCOMPARE(Disk::read(settingsPath()), saved);

    // Nor is a file created.
    QVERIFY(QFile::remove(settingsPath()));
    {
        const Disk::SizeLimit full(static_cast<rlim_t>(limit));
        settings().save();
    }
    QCOMPARE(Disk::names(settingsFolder()), QStringList());

    // After the disk has space again, a save succeeds.
    settings().serverName = u"New"_s;
    settings().save();
    settings().load();
    QCOMPARE(settings().serverName, u"New"_s);
}

void TestLauncherSettings::aLockOfAKilledLauncherDelaysNoSave()
{
    // An empty lock file makes QSettings wait 30 s.
    Disk::write(settingsPath() + u".lock"_s, "");
    QElapsedTimer clock;
    clock.start();
    settings().save();
    QVERIFY2(clock.elapsed() < 15'000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(Disk::names(settingsFolder()), QStringList{u"zel_launcher.ini"_s});
}

void TestLauncherSettings::theLockOfARunningLauncherIsWaitedFor()
{
    Disk::makeFolder(settingsFolder());
    QLockFile lock(settingsPath() + u".lock"_s);
    QVERIFY(lock.lock());
    bool wasSaved = true;
    const std::unique_ptr<QThread> other(QThread::create([&] {
        QThread::msleep(300);
        wasSaved = QFile::exists(settingsPath());
        lock.unlock();
    }));
    other->start();
    settings().save();
    other->wait();
    QVERIFY(!wasSaved);
    QCOMPARE(Disk::names(settingsFolder()), QStringList{u"zel_launcher.ini"_s});
}

void TestLauncherSettings::aDiskThatIsNearlyFullHoldsTheOldFileOrTheNewOne_data()
{
    QTest::addColumn<bool>("isLink");
    QTest::newRow("the settings file is on it") << false;
    QTest::newRow("the settings file is a link to one on it") << true;
}

void TestLauncherSettings::aDiskThatIsNearlyFullHoldsTheOldFileOrTheNewOne()
{
    QFETCH(const bool, isLink);
    NEEDS_OWN_MOUNTS();
    const QString disk = at(u"disk"_s);
    Disk::makeFolder(disk);
    Child child({u"save on a full disk"_s, disk});
    child.mountFirst(u"mount -t tmpfs -o size=512k tmpfs '%1' && mkdir '%1/Orvandale'"_s.arg(disk));
    if (isLink) {
        Disk::makeFolder(settingsFolder());
        Disk::makeLink(settingsPath(), disk + u"/Orvandale/settings"_s);
    } else {
        child.setVariable(u"XDG_CONFIG_HOME"_s, disk);
    }
    const QJsonArray results = QJsonDocument::fromJson(child.output()).array();

    QCOMPARE(results.size(), 50);
    for (const auto &result : results) {
        const bool isOld = result[u"old"].toBool();
        QVERIFY(isOld != result[u"new"].toBool());
        QCOMPARE(result[u"files"].toInt(), 1);
    }
    QVERIFY(results.first()[u"old"].toBool());
    QVERIFY(results.last()[u"new"].toBool());
}

int main(int argc, char *argv[])
{
    return runTestWithChildren<TestLauncherSettings>(argc, argv, childAnswer);
}

#include "tst_launchersettings.moc"
