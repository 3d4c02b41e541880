#include <QCoreApplication>
#include <QDir>

#include "DoctorTest.h"
#include "zel-doctor/ClientChecks.h"

using namespace Qt::StringLiterals;

class TestClientChecks : public DoctorTest
{
    Q_OBJECT

private slots:
    void theSettingsFileIsGood();
    void theSettingsFileIsMissing();
    void theSettingsFileCannotBeCreated();
    void theSettingsFileCannotBeRead();
    void theSettingsFileHasAnotherFormat();
    void theClientFolderIsGood();
    void theClientFolderIsMissing();
    void theClientFolderIsAFile();
    void noClientFolderIsChosen();
    void theDiskIsNearlyFull_data();
    void theDiskIsNearlyFull();
    void theFreeSpaceIsThatOfTheClientFolder();
    void theExecutableIsFoundByARule();
    void theExecutableIsMissing();
    void theExecutableCannotBeRead();
    void theExecutableIsNotAWindowsProgram();
    void withoutWineTheExecutableMustRunOnLinux();
    void namesDifferOnlyInLetterCase();
    void clientFilesMayBeMissing();
    void clientFilesCannotBeRead_data();
    void clientFilesCannotBeRead();
    void configBinIsChecked();
    void configBinHasValuesThatTheLauncherWouldCorrect_data();
    void configBinHasValuesThatTheLauncherWouldCorrect();
    void serverListIsChecked();
    void snBinIsChecked();
    void serverTxtIsChecked();
    void loginIniIsChecked_data();
    void loginIniIsChecked();
    void filesWrittenByTheLauncherAreValid();
    void nothingIsWritten();

private:
    static QByteArray words(std::initializer_list<qint16> values)
    {
        QByteArray bytes;
        for (const qint16 value : values) {
            bytes += char(value & 0xFF);
            bytes += char((value >> 8) & 0xFF);
        }
        return bytes;
    }
    static QByteArray serverListOf(const QByteArray &ip)
    {
        return "0 0 " + ip + "\n0 1 " + ip + "\n";
    }
};

void TestClientChecks::theSettingsFileIsGood()
{
    QCOMPARE(lines(ClientChecks::settingsFile()),
             u"ok    configuracoes: %1 pode ser lido e gravado.\n"_s.arg(
                 TestEnvironment::settingsFile()));
}

void TestClientChecks::theSettingsFileIsMissing()
{
    resetSettings();
    QCOMPARE(lines(ClientChecks::settingsFile()),
             u"ok    configuracoes: %1 ainda nao existe; valem os valores iniciais.\n"_s.arg(
                 TestEnvironment::settingsFile()));
    QCOMPARE(Disk::names(TestEnvironment::configHome()), QStringList());
}

void TestClientChecks::theSettingsFileCannotBeCreated()
{
    resetSettings();
    Disk::write(TestEnvironment::configHome() + u"/Orvandale"_s, "");
    QCOMPARE(
        lines(ClientChecks::settingsFile()),
        u"erro  configuracoes: %1 nao pode ser criado. Corrija as permissoes da pasta.\n"_s.arg(
            TestEnvironment::settingsFile()));
}

void TestClientChecks::theSettingsFileCannotBeRead()
{
    resetSettings();
    Disk::makeFolder(TestEnvironment::settingsFile());
    QCOMPARE(lines(ClientChecks::settingsFile()),
             u"erro  configuracoes: %1 nao pode ser lido. Corrija as permissoes, por exemplo com "
             "chmod u+rw.\n"_s.arg(TestEnvironment::settingsFile()));
    resetSettings();
}

void TestClientChecks::theSettingsFileHasAnotherFormat()
{
    Disk::write(TestEnvironment::settingsFile(), "[client\nno key\n");
    QCOMPARE(lines(ClientChecks::settingsFile()),
             u"erro  configuracoes: %1 nao esta no formato esperado. Apague o arquivo e "
             "configure o launcher de novo.\n"_s.arg(TestEnvironment::settingsFile()));
}

void TestClientChecks::theClientFolderIsGood()
{
    QCOMPARE(lines(ClientChecks::folder()),
             u"ok    pasta do cliente: %1 pode ser lida e gravada.\n"_s.arg(client()));
}

void TestClientChecks::theClientFolderIsMissing()
{
    set(u"client/dir"_s, at(u"none"_s));
    QCOMPARE(lines(ClientChecks::folder()),
             u"erro  pasta do cliente: nao existe: %1. Escolha a pasta do jogo em "
             "Configuracao.\n"_s.arg(at(u"none"_s)));
    QCOMPARE(lines(ClientChecks::room()), QString());
    QCOMPARE(lines(ClientChecks::names()), QString());
}

void TestClientChecks::theClientFolderIsAFile()
{
    Disk::write(at(u"file"_s), "");
    set(u"client/dir"_s, at(u"file"_s));
    QCOMPARE(lines(ClientChecks::folder()),
             u"erro  pasta do cliente: nao e uma pasta: %1. Escolha a pasta do jogo em "
             "Configuracao.\n"_s.arg(at(u"file"_s)));
    QCOMPARE(lines(ClientChecks::names()), QString());
}

void TestClientChecks::noClientFolderIsChosen()
{
    set(u"client/dir"_s, QString());
    QCOMPARE(lines(ClientChecks::folder()),
             u"erro  pasta do cliente: nenhuma foi escolhida. Escolha a pasta do jogo em "
             "Configuracao.\n"_s);
    // A launcher that is installed in the client folder needs no choice.
    set(u"client/exe"_s, QFileInfo(QCoreApplication::applicationFilePath()).fileName());
    const QString found = lines(ClientChecks::folder());
    QVERIFY2(found.contains(QCoreApplication::applicationDirPath()), qPrintable(found));
}

void TestClientChecks::theDiskIsNearlyFull_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("line");
    const qint64 MiB = 1024 * 1024;
    const QString remedy = u" Libere espaco no disco da pasta do cliente."_s;
    QTest::newRow("none") << qint64(0) << u"erro  espaco em disco: 0 MiB livres."_s + remedy;
    QTest::newRow("too little") << 64 * MiB - 1
                                << u"erro  espaco em disco: 63 MiB livres."_s + remedy;
    QTest::newRow("some") << 64 * MiB << u"aviso espaco em disco: 64 MiB livres."_s + remedy;
    QTest::newRow("not quite enough")
        << 1024 * MiB - 1 << u"aviso espaco em disco: 1023 MiB livres."_s + remedy;
    QTest::newRow("enough") << 1024 * MiB << u"ok    espaco em disco: 1024 MiB livres."_s;
}

void TestClientChecks::theDiskIsNearlyFull()
{
    QFETCH(const qint64, bytes);
    QFETCH(const QString, line);
    QCOMPARE(lines({ClientChecks::roomResult(bytes)}), line + u'\n');
}

void TestClientChecks::theFreeSpaceIsThatOfTheClientFolder()
{
    set(u"client/dir"_s, u"/proc"_s); // a file system without free space
    QVERIFY(lines(ClientChecks::room()).startsWith(u"erro  espaco em disco: 0 MiB livres."_s));
}

void TestClientChecks::theExecutableIsFoundByARule()
{
    Disk::write(client(u"ZELmarind.exe"_s), program64());
    QCOMPARE(lines(ClientChecks::executable()),
             u"aviso executavel: %1, 64 bits (no lugar de ZEL.exe, que nao existe). Escolha o "
             "executavel do jogo em Configuracao.\n"_s.arg(client(u"ZELmarind.exe"_s)));
    Disk::write(client(u"ZEL.exe"_s), program32());
    QCOMPARE(lines(ClientChecks::executable()),
             u"ok    executavel: %1, 32 bits (na pasta do cliente).\n"_s.arg(client(u"ZEL.exe"_s)));
    Disk::write(at(u"other.exe"_s), program64());
    set(u"client/exe"_s, at(u"other.exe"_s));
    QCOMPARE(lines(ClientChecks::executable()),
             u"ok    executavel: %1, 64 bits (o caminho escolhido).\n"_s.arg(at(u"other.exe"_s)));
}

void TestClientChecks::theExecutableIsMissing()
{
    QCOMPARE(lines(ClientChecks::executable()),
             u"erro  executavel: nao foi encontrado: %1. Confira a pasta do cliente e o executavel "
             "em Configuracao.\n"_s.arg(client(u"ZEL.exe"_s)));
}

void TestClientChecks::theExecutableCannotBeRead()
{
    Disk::makeFolder(client(u"ZEL.exe"_s));
    QCOMPARE(lines(ClientChecks::executable()),
             u"erro  executavel: nao pode ser lido: %1. Corrija as permissoes, por exemplo com "
             "chmod u+rw.\n"_s.arg(client(u"ZEL.exe"_s)));
}

void TestClientChecks::theExecutableIsNotAWindowsProgram()
{
    Disk::write(client(u"ZEL.exe"_s), "text");
    QCOMPARE(lines(ClientChecks::executable()),
             u"erro  executavel: nao e um programa do Windows: %1. Escolha o executavel do jogo em "
             "Configuracao.\n"_s.arg(client(u"ZEL.exe"_s)));
}

void TestClientChecks::withoutWineTheExecutableMustRunOnLinux()
{
    set(u"client/useWine"_s, false);
    Disk::write(client(u"ZEL.exe"_s), program32());
    QCOMPARE(lines(ClientChecks::executable()),
             u"erro  executavel: o Wine esta desligado e o Linux nao pode executar %1. Marque "
             "\"Usar Wine no Linux\" em Configuracao.\n"_s.arg(client(u"ZEL.exe"_s)));
    Disk::writeExecutable(client(u"ZEL.exe"_s), "#!/bin/sh\n");
    QCOMPARE(lines(ClientChecks::executable()),
             u"ok    executavel: %1 (na pasta do cliente).\n"_s.arg(client(u"ZEL.exe"_s)));
}

void TestClientChecks::namesDifferOnlyInLetterCase()
{
    Disk::write(client(u"Data/a"_s), "");
    QCOMPARE(lines(ClientChecks::names()), u"ok    nomes de arquivos: nenhum difere de outro so "
                                           "em maiusculas e minusculas.\n"_s);
    Disk::write(client(u"data/b"_s), "");
    const QString remedy = u"Para o Windows sao o mesmo arquivo: apague os que sobram.\n"_s;
    QCOMPARE(
        lines(ClientChecks::names()),
        u"aviso nomes de arquivos: 1 nome(s) so diferem de outro em maiusculas e minusculas; o "
        "primeiro: \"data\". "_s +
            remedy);
    Disk::write(client(u"data/B"_s), "");
    QCOMPARE(
        lines(ClientChecks::names()),
        u"aviso nomes de arquivos: 1 nome(s) so diferem de outro em maiusculas e minusculas; o "
        "primeiro: \"data\". "_s +
            remedy);
    Disk::write(client(u"X"_s), "");
    Disk::write(client(u"x"_s), "");
    QCOMPARE(
        lines(ClientChecks::names()),
        u"aviso nomes de arquivos: 2 nome(s) so diferem de outro em maiusculas e minusculas; o "
        "primeiro: \"data\". "_s +
            remedy);
}

void TestClientChecks::clientFilesMayBeMissing()
{
    const QString atStart = u": ainda nao existe; o launcher o cria ao iniciar o jogo.\n"_s;
    QCOMPARE(lines(ClientChecks::serverList()), u"ok    serverlist.txt"_s + atStart);
    QCOMPARE(lines(ClientChecks::snBin()), u"ok    sn.bin"_s + atStart);
    QCOMPARE(lines(ClientChecks::serverTxt()), u"ok    server.txt"_s + atStart);
    QCOMPARE(lines(ClientChecks::configBin()),
             u"ok    Config.bin: ainda nao existe; o launcher o cria quando voce clica em OK em "
             "Configuracao.\n"_s);
    QCOMPARE(lines(ClientChecks::loginIni()),
             u"ok    zel_login.ini: nao existe; nem todo cliente precisa dele.\n"_s);
}

using CheckFunction = Results (*)();
Q_DECLARE_METATYPE(CheckFunction)

void TestClientChecks::clientFilesCannotBeRead_data()
{
    QTest::addColumn<CheckFunction>("check");
    QTest::newRow("Config.bin") << &ClientChecks::configBin;
    QTest::newRow("serverlist.txt") << &ClientChecks::serverList;
    QTest::newRow("sn.bin") << &ClientChecks::snBin;
    QTest::newRow("server.txt") << &ClientChecks::serverTxt;
    QTest::newRow("zel_login.ini") << &ClientChecks::loginIni;
}

void TestClientChecks::clientFilesCannotBeRead()
{
    QFETCH(const CheckFunction, check);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    Disk::makeFolder(client(name));
    QCOMPARE(lines(check()),
             u"erro  %1: nao pode ser lido: %2. Corrija as permissoes, por exemplo com chmod "
             "u+rw.\n"_s.arg(name, client(name)));
}

void TestClientChecks::configBinIsChecked()
{
    Disk::write(client(u"Config.bin"_s), "short");
    QCOMPARE(lines(ClientChecks::configBin()),
             u"erro  Config.bin: Config.bin invalido (5 bytes, esperado 30). Apague-o e clique em "
             "OK em Configuracao.\n"_s);
    // Any value is valid in the words that only the client interprets: 5, 8, 9 and 11.
    Disk::write(client(u"Config.bin"_s),
                words({7000, 3, 2, 0, 200, 0, 57, 2, 5, 7, 1, -1, 0, 0, 1}));
    QCOMPARE(lines(ClientChecks::configBin()), u"ok    Config.bin: valido.\n"_s);
}

void TestClientChecks::configBinHasValuesThatTheLauncherWouldCorrect_data()
{
    QTest::addColumn<int>("word");
    QTest::addColumn<int>("value");
    QTest::newRow("model quality") << 2 << 0;
    QTest::newRow("sound") << 3 << 201;
    QTest::newRow("music") << 4 << -1;
    QTest::newRow("brightness") << 6 << 101;
}

void TestClientChecks::configBinHasValuesThatTheLauncherWouldCorrect()
{
    QFETCH(const int, word);
    QFETCH(const int, value);
    QByteArray bytes = words({7000, 3, 2, 0, 0, -1, 57, 2, 1, 1, 1, 0, 0, 0, 1});
    bytes.replace(2 * word, 2, words({qint16(value)}));
    Disk::write(client(u"Config.bin"_s), bytes);
    QCOMPARE(lines(ClientChecks::configBin()),
             u"aviso Config.bin: tem valores fora dos limites. Clique em OK em Configuracao: o "
             "launcher os corrige.\n"_s);
    QCOMPARE(Disk::read(client(u"Config.bin"_s)), bytes);
}

void TestClientChecks::serverListIsChecked()
{
    const QString path = client(u"serverlist.txt"_s);
    const QString start = u"Clique em Iniciar: o launcher grava o arquivo de novo.\n"_s;
    Disk::write(path, "# nothing\n");
    QCOMPARE(lines(ClientChecks::serverList()),
             u"aviso serverlist.txt: nao indica nenhum servidor. "_s + start);
    Disk::write(path, serverListOf("10.0.0.1"));
    QCOMPARE(lines(ClientChecks::serverList()),
             u"ok    serverlist.txt: 10.0.0.1, 1 canal(is).\n"_s);
    Disk::write(path, serverListOf("10.0.0.1") + "1 0 10.0.0.2\n");
    QCOMPARE(lines(ClientChecks::serverList()),
             u"aviso serverlist.txt: 10.0.0.1, 1 canal(is); o resto nao e o que o launcher "
             "gravaria. "_s +
                 start);

    Disk::write(path, serverListOf("10.0.0.1"));
    const QString save = u"Vale o arquivo. Confira o servidor em Configuracao e clique em OK.\n"_s;
    set(u"server/ip"_s, u" 10.0.0.1 "_s);
    set(u"server/channelCount"_s, 3);
    QCOMPARE(lines(ClientChecks::serverList()),
             u"aviso serverlist.txt: 10.0.0.1, 1 canal(is); as configuracoes salvas dizem "
             "10.0.0.1, 3 canal(is). "_s +
                 save);
    set(u"server/ip"_s, u"10.0.0.9"_s);
    set(u"server/channelCount"_s, 0); // counts as 1
    QCOMPARE(lines(ClientChecks::serverList()),
             u"aviso serverlist.txt: 10.0.0.1, 1 canal(is); as configuracoes salvas dizem "
             "10.0.0.9, 1 canal(is). "_s +
                 save);
    set(u"server/ip"_s, u"10.0.0.1"_s);
    QCOMPARE(lines(ClientChecks::serverList()),
             u"ok    serverlist.txt: 10.0.0.1, 1 canal(is).\n"_s);
}

void TestClientChecks::snBinIsChecked()
{
    const QString path = client(u"sn.bin"_s);
    Disk::write(path, "0 Alpha\n");
    QCOMPARE(lines(ClientChecks::snBin()),
             u"aviso sn.bin: nao e valido. Clique em Iniciar: o launcher grava o arquivo de "
             "novo.\n"_s);
    Disk::write(path, "3 Alpha\n");
    QCOMPARE(lines(ClientChecks::snBin()), u"ok    sn.bin: \"Alpha\".\n"_s);
    set(u"server/name"_s, u" ALPHA "_s);
    QCOMPARE(lines(ClientChecks::snBin()), u"ok    sn.bin: \"Alpha\".\n"_s);
    Disk::write(path, "3 Fifteen letters\n");
    set(u"server/name"_s, u"Fifteen letters and more"_s);
    QCOMPARE(lines(ClientChecks::snBin()), u"ok    sn.bin: \"Fifteen letters\".\n"_s);
    Disk::write(path, "3 Alpha\n");
    set(u"server/name"_s, u"Beta"_s);
    QCOMPARE(lines(ClientChecks::snBin()),
             u"aviso sn.bin: \"Alpha\"; as configuracoes salvas dizem \"Beta\". Vale o arquivo. "
             "Confira o servidor em Configuracao e clique em OK.\n"_s);
}

void TestClientChecks::serverTxtIsChecked()
{
    const QString path = client(u"server.txt"_s);
    set(u"server/ip"_s, u" 10.0.0.1 "_s);
    Disk::write(path, "10.0.0.1\n");
    QCOMPARE(lines(ClientChecks::serverTxt()), u"ok    server.txt: 10.0.0.1.\n"_s);
    Disk::write(path, "10.0.0.10\n");
    QCOMPARE(lines(ClientChecks::serverTxt()),
             u"aviso server.txt: nao contem 10.0.0.1. Clique em Iniciar: o launcher grava o "
             "arquivo de novo.\n"_s);
}

void TestClientChecks::loginIniIsChecked_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("line");
    const QString good = u"ok    zel_login.ini: 10.0.0.1.\n"_s;
    const QString other = u"aviso zel_login.ini: server_ip nao e 10.0.0.1. Clique em Iniciar: o "
                          "launcher grava o arquivo de novo.\n"_s;
    QTest::newRow("right") << "a=1\nserver_ip=10.0.0.1\nb=2\n"_ba << good;
    QTest::newRow("right, Windows line ends") << "server_ip=10.0.0.1\r\n"_ba << good;
    QTest::newRow("right, byte order mark") << "\xEF\xBB\xBFserver_ip=10.0.0.1\n"_ba << good;
    QTest::newRow("other") << "server_ip=10.0.0.2\n"_ba << other;
    QTest::newRow("the second one other") << "server_ip=10.0.0.1\nserver_ip=x\n"_ba << other;
    QTest::newRow("without the line")
        << "a=1\n xserver_ip=1\n"_ba
        << u"aviso zel_login.ini: nao tem a linha server_ip=. Se o jogo nao conectar, restaure o "
           "arquivo original.\n"_s;
}

void TestClientChecks::loginIniIsChecked()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, line);
    set(u"server/ip"_s, u" 10.0.0.1 "_s);
    Disk::write(client(u"zel_login.ini"_s), content);
    QCOMPARE(lines(ClientChecks::loginIni()), line);
}

void TestClientChecks::filesWrittenByTheLauncherAreValid()
{
    Disk::write(client(u"zel_login.ini"_s), "server_ip=1\n");
    LauncherSettings &launcher = LauncherSettings::instance();
    launcher.clientDir = client();
    launcher.serverName = u"Some server"_s;
    launcher.serverIp = u"10.0.0.7"_s;
    launcher.channelCount = 3;
    launcher.save();
    QVERIFY(launcher.syncClientFiles(nullptr));
    QCOMPARE(lines(ClientChecks::serverList() + ClientChecks::snBin() + ClientChecks::serverTxt() +
                   ClientChecks::loginIni() + ClientChecks::configBin()),
             u"ok    serverlist.txt: 10.0.0.7, 3 canal(is).\n"
             "ok    sn.bin: \"Some server\".\n"
             "ok    server.txt: 10.0.0.7.\n"
             "ok    zel_login.ini: 10.0.0.7.\n"
             "ok    Config.bin: valido.\n"_s);
}

void TestClientChecks::nothingIsWritten()
{
    Disk::write(client(u"serverlist.txt"_s), serverListOf("10.0.0.1"));
    Disk::write(client(u"ZEL_patched.exe"_s), "");
    Disk::write(client(u"Config.bin"_s), QByteArray(30, '\0'));
    const QMap<QString, QByteArray> before = Disk::files(folder());
    const QMap<QString, QByteArray> configBefore = Disk::files(TestEnvironment::configHome());
    for (const CheckFunction check :
         {ClientChecks::settingsFile, ClientChecks::folder, ClientChecks::room,
          ClientChecks::executable, ClientChecks::names, ClientChecks::configBin,
          ClientChecks::serverList, ClientChecks::snBin, ClientChecks::serverTxt,
          ClientChecks::loginIni}) {
        check();
    }
    QCOMPARE(Disk::files(folder()), before);
    QCOMPARE(Disk::files(TestEnvironment::configHome()), configBefore);
}

ZEL_TEST_MAIN(TestClientChecks)

#include "tst_clientchecks.moc"
