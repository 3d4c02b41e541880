#include <QFile>
#include <QRegularExpression>

#include <unistd.h>

#include "DoctorTest.h"
#include "zel-doctor/WineChecks.h"

using namespace Qt::StringLiterals;

class TestWineChecks : public DoctorTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void withoutWineNoCheckOfWineRuns();
    void wineRunsTheExecutable_data();
    void wineRunsTheExecutable();
    void theExecutableMayBeMissing();
    void theChosenWineIsGone();
    void theChosenWineCannotBeRun();
    void theScriptFindsNoWine();
    void theScriptStartsAWine();
    void winePrintsNoVersion_data();
    void winePrintsNoVersion();
    void thePrefixIsChecked();
    void thePrefixIsNotAFolder();
    void thePrefixIsOwnedByAnotherUser();
    void thePrefixHasAnotherArchitecture();
    void thePrefixIsOf32Bits();
    void thePrefixLacksThe32BitFiles();
    void thePrefixComesFromTheProfile();
    void theProfileIsGood();
    void theProfileEndsTheShell_data();
    void theProfileEndsTheShell();
    void theProfilePrints();
    void theProfileIsSlow();
    void theProfileDoesNotEnd();
    void theLogIsShown();
    void theLogIsMissing();
    void theLogCannotBeRead();
    void aLongLogIsReadAtItsEnd();

private:
    static QString home(const QString &name) { return TestEnvironment::home() + u'/' + name; }
    static void profile(const QByteArray &text) { Disk::write(home(u".bash_profile"_s), text); }
    QString wine() const { return at(u"bin/wine"_s); }
    QString log() const { return at(u"state/Orvandale/wine.log"_s); }
    void chooseWine(const QByteArray &script) const
    {
        Disk::writeExecutable(wine(), "#!/bin/sh\n" + script + '\n');
        set(u"client/wine"_s, wine());
    }
    /// Chooses zel-wine with these lines in its wine.conf.
    void chooseScript(const QByteArray &conf) const
    {
        Disk::writeExecutable(at(u"zel-wine"_s), "#!/bin/sh\n");
        set(u"client/wine"_s, at(u"zel-wine"_s));
        Disk::write(TestEnvironment::configHome() + u"/Orvandale/wine.conf"_s, conf);
    }
    /// Creates a prefix, which the login profile selects.
    void choosePrefix(const QByteArray &registry) const
    {
        Disk::write(at(u"prefix/system.reg"_s), registry);
        Disk::write(at(u"prefix/drive_c/windows/syswow64/ntdll.dll"_s), "");
        profile("export WINEPREFIX='" + at(u"prefix"_s).toUtf8() + "'\n");
    }
};

void TestWineChecks::init()
{
    DoctorTest::init();
    qputenv("XDG_STATE_HOME", at(u"state"_s).toUtf8());
    chooseWine("echo wine-9.9; echo more");
    Disk::write(client(u"ZEL.exe"_s), program32());
}

void TestWineChecks::cleanup()
{
    QFile::remove(home(u".bash_profile"_s));
    FolderTest::cleanup();
}

void TestWineChecks::withoutWineNoCheckOfWineRuns()
{
    set(u"client/useWine"_s, false);
    profile("exit 1\n");
    const QString text = u": nao e usado: \"Usar Wine no Linux\" esta desmarcado.\n"_s;
    QCOMPARE(lines(WineChecks::wine()), u"ok    wine"_s + text);
    QCOMPARE(lines(WineChecks::prefix()), u"ok    prefixo do wine"_s + text);
    QCOMPARE(lines(WineChecks::profile()), u"ok    perfil do bash"_s + text);
}

void TestWineChecks::wineRunsTheExecutable_data()
{
    QTest::addColumn<QString>("library");
    QTest::addColumn<bool>("is32");
    QTest::addColumn<QString>("line");
    const QString remedy32 = u"Debian e Ubuntu: sudo dpkg --add-architecture i386 && sudo apt "
                             "update && sudo apt install wine32:i386\n"_s;
    const QString remedy64 = u"Debian e Ubuntu: sudo apt install wine64\n"_s;
    const QString unknown = u"nao foi possivel saber se executa programas de %2 bits, como o jogo. "
                            "Se o jogo fechar logo ao abrir, instale o Wine de %2 bits. "_s;
    QTest::newRow("32 bits") << u"i386-unix"_s << true
                             << u"ok    wine: %1, wine-9.9; executa programas de 32 bits.\n"_s;
    QTest::newRow("no 32 bits")
        << u"x86_64-unix"_s << true
        << u"erro  wine: %1, wine-9.9; nao executa programas de 32 bits, como o jogo. "_s +
               remedy32;
    QTest::newRow("64 bits") << u"x86_64-unix"_s << false
                             << u"ok    wine: %1, wine-9.9; executa programas de 64 bits.\n"_s;
    QTest::newRow("no 64 bits")
        << u"i386-unix"_s << false
        << u"erro  wine: %1, wine-9.9; nao executa programas de 64 bits, como o jogo. "_s +
               remedy64;
    QTest::newRow("perhaps 32 bits")
        << u"x"_s << true
        << u"aviso wine: %1, wine-9.9; "_s + QString(unknown).replace(u"%2"_s, u"32"_s) + remedy32;
    QTest::newRow("perhaps 64 bits")
        << u"x"_s << false
        << u"aviso wine: %1, wine-9.9; "_s + QString(unknown).replace(u"%2"_s, u"64"_s) + remedy64;
}

void TestWineChecks::wineRunsTheExecutable()
{
    QFETCH(const QString, library);
    QFETCH(const bool, is32);
    QFETCH(const QString, line);
    Disk::write(at(u"lib/wine/%1/ntdll.so"_s.arg(library)), "");
    Disk::write(client(u"ZEL.exe"_s), is32 ? program32() : program64());
    QCOMPARE(lines(WineChecks::wine()), line.arg(wine()));
}

void TestWineChecks::theExecutableMayBeMissing()
{
    QFile::remove(client(u"ZEL.exe"_s));
    QCOMPARE(lines(WineChecks::wine()), u"ok    wine: %1, wine-9.9.\n"_s.arg(wine()));
}

void TestWineChecks::theChosenWineIsGone()
{
    QFile::remove(wine());
    const QString text = lines(WineChecks::wine());
    QVERIFY2(text.startsWith(u"aviso wine: o Wine escolhido nao existe: %1. Escolha outro em "
                             "Configuracao.\n"_s.arg(wine())),
             qPrintable(text));
    QCOMPARE(text.count(u'\n'), 2);
}

void TestWineChecks::theChosenWineCannotBeRun()
{
    QFile::remove(wine());
    Disk::write(wine(), "");
    QCOMPARE(
        lines(WineChecks::wine()),
        u"erro  wine: nao pode ser executado: %1. Escolha outro em Configuracao.\n"_s.arg(wine()));
}

void TestWineChecks::theScriptFindsNoWine()
{
    chooseScript("WINE=/none\n");
    QCOMPARE(lines(WineChecks::wine()),
             u"erro  wine: nao foi encontrado: /none. Confira WINE em wine.conf. Debian e Ubuntu: "
             "sudo apt install wine\n"_s);
    Disk::write(at(u"no program"_s), "");
    chooseScript("WINE=" + at(u"no program"_s).toUtf8() + '\n');
    QCOMPARE(lines(WineChecks::wine()),
             u"erro  wine: nao pode ser executado: %1. Confira WINE em wine.conf.\n"_s.arg(
                 at(u"no program"_s)));
}

void TestWineChecks::theScriptStartsAWine()
{
    const QString line =
        u"ok    wine: %1, wine-9.9, iniciado pelo zel-wine; executa programas de 32 bits.\n"_s.arg(
            wine());
    Disk::write(at(u"lib/wine/i386-unix/ntdll.so"_s), "");
    chooseScript("WINE=" + wine().toUtf8() + '\n');
    QCOMPARE(lines(WineChecks::wine()), line);
    chooseScript({});
    profile("export WINE='" + wine().toUtf8() + "'\n");
    QCOMPARE(lines(WineChecks::wine()), line);
}

void TestWineChecks::winePrintsNoVersion_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("nothing") << "exit 0"_ba;
    QTest::newRow("it fails") << "echo wine; exit 1"_ba;
    QTest::newRow("it crashes") << "echo wine; kill -9 $$"_ba;
    QTest::newRow("on standard error alone") << "echo wine >&2"_ba;
    QTest::newRow("it does not end") << "echo wine; exec sleep 1000"_ba;
    QTest::newRow("output for other arguments only") << "[ \"$*\" = --version ] || echo wine"_ba;
}

void TestWineChecks::winePrintsNoVersion()
{
    QFETCH(const QByteArray, script);
    chooseWine(script);
    QCOMPARE(lines(WineChecks::wine()),
             u"erro  wine: %1 nao informa a sua versao. Escolha outro em Configuracao ou "
             "instale-o de novo. Debian e Ubuntu: sudo apt install wine\n"_s.arg(wine()));
}

void TestWineChecks::thePrefixIsChecked()
{
    QCOMPARE(
        lines(WineChecks::prefix()),
        u"ok    prefixo do wine: %1 ainda nao foi usado; o Wine o prepara na primeira vez.\n"_s.arg(
            home(u".wine"_s)));
    choosePrefix("WINE REGISTRY Version 2\n;; text\n\n#arch=win64\n");
    const QString path = at(u"prefix"_s);
    QCOMPARE(lines(WineChecks::prefix()), u"ok    prefixo do wine: %1, win64.\n"_s.arg(path));
    choosePrefix("WINE REGISTRY Version 2\n");
    QCOMPARE(lines(WineChecks::prefix()),
             u"aviso prefixo do wine: %1 nao informa a sua arquitetura. Se o jogo nao abrir, "
             "escolha outro WINEPREFIX.\n"_s.arg(path));
    QFile::remove(path + u"/system.reg"_s);
    QCOMPARE(
        lines(WineChecks::prefix()),
        u"ok    prefixo do wine: %1 ainda nao foi usado; o Wine o prepara na primeira vez.\n"_s.arg(
            path));
}

void TestWineChecks::thePrefixIsNotAFolder()
{
    Disk::write(at(u"file"_s), "");
    profile("export WINEPREFIX='" + at(u"file"_s).toUtf8() + "'\n");
    QCOMPARE(lines(WineChecks::prefix()),
             u"erro  prefixo do wine: %1 nao e uma pasta. Apague esse arquivo ou escolha outro "
             "WINEPREFIX.\n"_s.arg(at(u"file"_s)));
}

void TestWineChecks::thePrefixIsOwnedByAnotherUser()
{
    QString path = u"/usr"_s; // root's
    if (geteuid() == 0) {
        Disk::makeFolder(at(u"prefix"_s));
        path = at(u"prefix"_s);
        QCOMPARE(chown(qPrintable(path), 12345, 12345), 0);
    }
    profile("export WINEPREFIX='" + path.toUtf8() + "'\n");
    QCOMPARE(lines(WineChecks::prefix()),
             u"erro  prefixo do wine: %1 pertence a outro usuario; o Wine nao o aceita. Mude o "
             "dono da pasta com sudo chown -R, ou escolha outro WINEPREFIX.\n"_s.arg(path));
}

void TestWineChecks::thePrefixHasAnotherArchitecture()
{
    const QString path = at(u"prefix"_s);
    const QByteArray variable = "export WINEPREFIX='" + path.toUtf8() + "' WINEARCH=";
    const QString refusal =
        u"erro  prefixo do wine: %1 e %2, mas WINEARCH pede %3; o Wine nao o aceita. Remova "
        "WINEARCH ou escolha outro WINEPREFIX.\n"_s;
    choosePrefix("#arch=win32\n");
    profile(variable + "win64\n");
    QCOMPARE(lines(WineChecks::prefix()), refusal.arg(path, u"win32"_s, u"win64"_s));
    choosePrefix("#arch=win64\n");
    QCOMPARE(lines(WineChecks::prefix()), u"ok    prefixo do wine: %1, win64.\n"_s.arg(path));
    profile(variable + "win32\n");
    QCOMPARE(lines(WineChecks::prefix()), refusal.arg(path, u"win64"_s, u"win32"_s));
    profile(variable + "wow64\n");
    QCOMPARE(lines(WineChecks::prefix()), u"ok    prefixo do wine: %1, win64.\n"_s.arg(path));
    chooseScript("PREFIX=" + path.toUtf8() + "\nWINEARCH=win32\n");
    QCOMPARE(lines(WineChecks::prefix()), refusal.arg(path, u"win64"_s, u"win32"_s)
                                              .replace(u"WINEPREFIX"_s, u"PREFIX em wine.conf"_s));
}

void TestWineChecks::thePrefixIsOf32Bits()
{
    const QString path = at(u"prefix"_s);
    const QString remedy = u" Remova WINEARCH, se houver, e escolha outro WINEPREFIX.\n"_s;
    choosePrefix("#arch=win32\n");
    QCOMPARE(lines(WineChecks::prefix()), u"ok    prefixo do wine: %1, win32.\n"_s.arg(path));
    Disk::write(client(u"ZEL.exe"_s), program64());
    QCOMPARE(lines(WineChecks::prefix()),
             u"erro  prefixo do wine: %1 e win32; nele nao rodam programas de 64 bits, como o "
             "jogo."_s.arg(path) +
                 remedy);
    Disk::write(at(u"lib/wine/x86_64-unix/ntdll.so"_s), "");
    QCOMPARE(lines(WineChecks::prefix()),
             u"erro  prefixo do wine: %1 e win32; este Wine nao aceita prefixos de 32 bits."_s.arg(
                 path) +
                 remedy);
    QFile::remove(path + u"/system.reg"_s);
    QCOMPARE(lines(WineChecks::prefix()),
             u"ok    prefixo do wine: %1 ainda nao foi usado; o Wine o prepara na primeira "
             "vez.\n"_s.arg(path));
    profile("export WINEPREFIX='" + path.toUtf8() + "' WINEARCH=win32\n");
    QCOMPARE(lines(WineChecks::prefix()),
             u"erro  prefixo do wine: %1 seria win32 por causa de WINEARCH; este Wine nao aceita "
             "prefixos de 32 bits. Remova WINEARCH.\n"_s.arg(path));
}

void TestWineChecks::thePrefixLacksThe32BitFiles()
{
    const QString path = at(u"prefix"_s);
    const QString line =
        u"aviso prefixo do wine: %1 nao tem os arquivos de 32 bits de que o jogo precisa. Com o "
        "Wine de 32 bits instalado, inicie o jogo; se ele fechar logo, "_s.arg(path);
    choosePrefix("#arch=win64\n");
    QFile::remove(path + u"/drive_c/windows/syswow64/ntdll.dll"_s);
    QCOMPARE(lines(WineChecks::prefix()), line + u"renomeie essa pasta.\n"_s);
    chooseScript("PREFIX=" + path.toUtf8() + '\n');
    QCOMPARE(lines(WineChecks::prefix()), line + u"execute zel-wine --reset.\n"_s);
    Disk::write(client(u"ZEL.exe"_s), program64());
    QCOMPARE(lines(WineChecks::prefix()), u"ok    prefixo do wine: %1, win64.\n"_s.arg(path));
}

void TestWineChecks::thePrefixComesFromTheProfile()
{
    profile("export WINEPREFIX=/from/profile\n");
    QVERIFY(lines(WineChecks::prefix()).contains(u"/from/profile ainda nao foi usado"_s));
}

void TestWineChecks::theProfileIsGood()
{
    profile("false\n");
    QCOMPARE(lines(WineChecks::profile()), u"ok    perfil do bash: termina sem erro.\n"_s);
}

void TestWineChecks::theProfileEndsTheShell_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("code");
    QTest::newRow("exit") << "exit 7\n"_ba << 7;
    QTest::newRow("exit 0") << "exit 0\n"_ba << 0;
    QTest::newRow("set -e") << "set -e\nfalse\n"_ba << 1;
    QTest::newRow("exec") << "exec true\n"_ba << 0;
}

void TestWineChecks::theProfileEndsTheShell()
{
    QFETCH(const QByteArray, text);
    QFETCH(const int, code);
    profile(text);
    QCOMPARE(lines(WineChecks::profile()),
             u"erro  perfil do bash: encerra o shell com o codigo %1 antes de o jogo iniciar. Veja "
             "~/.bash_profile, ~/.bash_login ou ~/.profile, e /etc/profile. Procure por exit, "
             "exec e set -e.\n"_s.arg(code));
}

void TestWineChecks::theProfilePrints()
{
    profile("echo; echo hello; echo more; echo end >&2\n");
    QCOMPARE(
        lines(WineChecks::profile()),
        u"aviso perfil do bash: escreve na tela: \"hello\". Veja ~/.bash_profile, ~/.bash_login ou "
        "~/.profile, e /etc/profile.\n"_s);
}

void TestWineChecks::theProfileIsSlow()
{
    profile("sleep 2.1; echo hello\n");
    const QStringList found = lines(WineChecks::profile()).split(u'\n');
    static const QRegularExpression slow(
        u"^aviso perfil do bash: leva [2-8],[0-9] s; cada inicio espera por ele, e a busca do "
        "Wine desiste depois de 2 s\\. Veja ~/\\.bash_profile, ~/\\.bash_login ou ~/\\.profile, e "
        "/etc/profile\\.$"_s);
    QVERIFY2(slow.match(found.value(0)).hasMatch(), qPrintable(found.value(0)));
    QVERIFY(found.value(1).startsWith(u"aviso perfil do bash: escreve na tela: \"hello\"."_s));
}

void TestWineChecks::theProfileDoesNotEnd()
{
    profile("sleep 1000\n");
    QCOMPARE(lines(WineChecks::profile()),
             u"erro  perfil do bash: nao termina em 8 s, e o jogo so inicia depois. Veja "
             "~/.bash_profile, ~/.bash_login ou ~/.profile, e /etc/profile.\n"_s);
}

void TestWineChecks::theLogIsShown()
{
    QByteArray text;
    for (int i = 1; i <= 201; ++i) {
        text += QByteArray::number(i) + '\n';
    }
    Disk::write(log(), text);
    Results results = WineChecks::log();
    QCOMPARE(results.size(), 1);
    QCOMPARE(results.constFirst().lines.size(), 200);
    QCOMPARE(results.constFirst().lines.constFirst(), u"2"_s);
    QCOMPARE(results.constFirst().lines.constLast(), u"201"_s);
    results[0].lines.clear();
    QCOMPARE(lines(results), u"ok    registro: as ultimas linhas de %1:\n"_s.arg(log()));
    Disk::write(log(), "a\n\nb");
    QCOMPARE(WineChecks::log().constFirst().lines, QStringList({u"a"_s, QString(), u"b"_s}));
    Disk::write(log(), "");
    QCOMPARE(WineChecks::log().constFirst().lines, QStringList());
}

void TestWineChecks::theLogIsMissing()
{
    QCOMPARE(
        lines(WineChecks::log()),
        u"aviso registro: %1 nao existe. Escolha o zel-wine como Wine em Configuracao e inicie "
        "o jogo.\n"_s.arg(log()));
}

void TestWineChecks::theLogCannotBeRead()
{
    Disk::makeFolder(log());
    QCOMPARE(lines(WineChecks::log()), u"aviso registro: %1 nao pode ser lido. Corrija as "
                                       "permissoes, por exemplo com chmod u+rw.\n"_s.arg(log()));
}

void TestWineChecks::aLongLogIsReadAtItsEnd()
{
    Disk::write(log(), QByteArray(3 * 1024 * 1024, 'x') + "\nend\n");
    const QStringList found = WineChecks::log().constFirst().lines;
    QCOMPARE(found.size(), 2);
    QCOMPARE(found.constFirst().size(), 1024 * 1024 - 5);
    QCOMPARE(found.constLast(), u"end"_s);
}

ZEL_TEST_MAIN(TestWineChecks)

#include "tst_winechecks.moc"
