#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QStandardPaths>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include "Outcome.h"
#include "support/Timeouts.h"
#include "support/files/Disk.h"
#include "support/network/HttpServer.h"
#include "support/process/OwnMounts.h"
#include "support/windows/VirtualDisplay.h"
#include "zel-doctor/Check.h"

using namespace Qt::StringLiterals;

namespace
{

QStringList linesOf(const Outcome &outcome)
{
    return outcome.output.split(u'\n', Qt::SkipEmptyParts);
}

/// The lines of the report about @p subject.
QString about(const Outcome &outcome, const QString &subject)
{
    return linesOf(outcome)
        .filter(QRegularExpression(u"^(ok|aviso|erro) +%1: "_s.arg(subject)))
        .join(u'\n');
}

} // namespace

/// The real program with a valid home folder and client folder, in which each test breaks
/// something.
class TestZelDoctor : public FolderTest
{
    Q_OBJECT

private slots:
    void init();

    void helpAndVersionArePrinted();
    void theManualPagesKnowEveryOptionAndTheLimits();
    void wrongUsageIsCode3_data();
    void wrongUsageIsCode3();
    void everythingIsCheckedAndNothingIsChanged();
    void offlineContactsNoServer();
    void theReportGoesToAFile();
    void aReportThatCannotBeWrittenIsCode3();
    void theReportIsJson();
    void errorsAreCode2();
    void theLogIsShownOnRequest();
    void noPrivateNameIsShown();
    void aCheckThatHangsTimesOut();
    void aCheckEndsWithTheProgram();
    void aCheckThatCannotBeKilledTimesOut();
    void withoutADisplayTheScreenIsAnError_data();
    void withoutADisplayTheScreenIsAnError();
    void aSmallScreenIsAWarning();
    void aScaledScreenIsAWarning();
    void missingFontsAreAWarning();
    void aFileWithoutReadPermissionIsAnError();
    void aFolderThatIsReadOnlyIsAnError();
    void aFullDiskIsAnError();
    void wineIsMissing();

private:
    /// Runs zel-doctor; the command line @p before precedes its own.
    Outcome doctor(const QStringList &arguments, const QMap<QString, QString> &variables = {},
                   const QStringList &before = {}) const;
    /// Runs it offline in a mount namespace.
    Outcome doctorWith(const QString &mounts, const QMap<QString, QString> &variables = {}) const;
    QString client(const QString &name) const { return at(u"home/jogo/"_s + name); }
    void set(const QString &key, const QVariant &value) const
    {
        QSettings(settingsFile(), QSettings::IniFormat).setValue(key, value);
    }
    QString settingsFile() const { return at(u"home/.config/Orvandale/zel_launcher.ini"_s); }
};

void TestZelDoctor::init()
{
    FolderTest::init();
    QByteArray program(0x50, '\0');
    program.replace(0, 2, "MZ");
    program[0x3C] = 0x40;
    program.replace(0x40, 6, QByteArray("PE\0\0\x4C\x01", 6));
    Disk::write(client(u"ZEL.exe"_s), program);
    Disk::write(client(u"serverlist.txt"_s), "0 0 10.0.0.1\n0 1 10.0.0.1\n");
    Disk::write(client(u"sn.bin"_s), "1 Alpha\n");
    Disk::write(client(u"server.txt"_s), "10.0.0.1\n");
    Disk::write(client(u"zel_login.ini"_s), "server_ip=10.0.0.1\n");
    Disk::writeExecutable(at(u"home/wine/bin/wine"_s), "#!/bin/sh\necho wine-9.9\n");
    Disk::write(at(u"home/wine/lib/wine/i386-unix/ntdll.so"_s), "");
    set(u"client/dir"_s, at(u"home/jogo"_s));
    set(u"client/wine"_s, at(u"home/wine/bin/wine"_s));

    qputenv("HOME", at(u"home"_s).toUtf8());
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR", "http_proxy",
                             "WINEPREFIX", "WINEARCH", "DISPLAY", "WAYLAND_DISPLAY"}) {
        qunsetenv(name);
    }
}

Outcome TestZelDoctor::doctor(const QStringList &arguments, const QMap<QString, QString> &variables,
                              const QStringList &before) const
{
    QStringList command = before + QStringList{QStringLiteral(ZEL_DOCTOR)} + arguments;
    return run(command.takeFirst(), command, folder(), variables);
}

Outcome TestZelDoctor::doctorWith(const QString &mounts,
                                  const QMap<QString, QString> &variables) const
{
    return doctor({u"--offline"_s}, variables, OwnMounts::commandLine(mounts, {}));
}

void TestZelDoctor::helpAndVersionArePrinted()
{
    for (const auto &[option, text] :
         {std::pair{u"--help"_s, u"Uso: zel-doctor [opcoes]\n"_s},
          std::pair{u"--version"_s, u"zel-doctor " ZEL_VERSION "\n"_s}}) {
        const Outcome outcome = doctor({option}, {{u"LC_ALL"_s, u"C"_s}});
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.messages, QString()); // nor Qt's remark on the locale
        QVERIFY(outcome.output.startsWith(text));
    }
}

void TestZelDoctor::theManualPagesKnowEveryOptionAndTheLimits()
{
    const QString help = doctor({u"--help"_s}).output;
    QCOMPARE(optionsIn(help).size(), 6);
    QVERIFY(help.contains(u"Leva no maximo %1 segundos."_s.arg(Checks::totalLimitMs() / 1000)));
    for (const QString &page : {u"man/zel-doctor.1"_s, u"man/pt_BR/zel-doctor.1"_s}) {
        const QString text =
            QString::fromUtf8(Disk::read(QStringLiteral(ZEL_SOURCES "/packaging/") + page))
                .replace(u"\\-"_s, u"-"_s);
        QCOMPARE(optionsIn(text), optionsIn(help));
        QVERIFY2(text.contains(u"%1 se"_s.arg(Checks::totalLimitMs() / 1000)), qPrintable(page));
        // The pages list the checks whose limit is not the usual one.
        for (const Check &check : Checks::all()) {
            const QString line =
                u"\n%1 %2\n"_s.arg(QLatin1String(check.name)).arg(check.limitMs / 1000);
            QCOMPARE(text.contains(line), check.limitMs != 5000);
        }
    }
}

void TestZelDoctor::wrongUsageIsCode3_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown option") << QStringList{u"--unknown"_s};
    QTest::newRow("a file") << QStringList{u"x"_s};
    QTest::newRow("output without a file") << QStringList{u"--output"_s};
    QTest::newRow("an unknown check") << QStringList{u"--run-check"_s, u"x"_s};
    QTest::newRow("a check too many") << QStringList{u"--run-check"_s, u"versoes"_s, u"x"_s};
}

void TestZelDoctor::wrongUsageIsCode3()
{
    QFETCH(const QStringList, arguments);
    const Outcome outcome = doctor(arguments);
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.messages, u"zel-doctor: opcoes erradas; veja zel-doctor --help\n"_s);
}

void TestZelDoctor::everythingIsCheckedAndNothingIsChanged()
{
    const QMap<QString, QByteArray> before = Disk::files(folder());
    Disk::makeFolder(at(u"tmp"_s));
    const Outcome outcome = doctor({}, {{u"TMPDIR"_s, at(u"tmp"_s)}});
    QCOMPARE(outcome.messages, QString());
    QStringList subjects;
    for (const QString &line : linesOf(outcome)) {
        subjects.append(line.section(u' ', 1).trimmed().section(u": "_s, 0, 0));
    }
    QCOMPARE(subjects,
             QStringList({u"configuracoes"_s, u"pasta do cliente"_s, u"espaco em disco"_s,
                          u"executavel"_s, u"wine"_s, u"prefixo do wine"_s, u"perfil do bash"_s,
                          u"nomes de arquivos"_s, u"Config.bin"_s, u"serverlist.txt"_s, u"sn.bin"_s,
                          u"server.txt"_s, u"zel_login.ini"_s, u"servidor de atualizacoes"_s,
                          u"tela"_s, u"fontes"_s, u"versoes"_s, u"erro(s), 1 aviso(s)"_s}));
    // The offscreen platform's screen is small.
    QVERIFY2(linesOf(outcome).constLast() == u"0 erro(s), 1 aviso(s)"_s,
             qPrintable(outcome.output));
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(about(outcome, u"wine"_s).endsWith(u"executa programas de 32 bits."_s));
    QCOMPARE(Disk::files(folder()), before);
    QCOMPARE(Disk::names(at(u"tmp"_s)), QStringList());
}

void TestZelDoctor::offlineContactsNoServer()
{
    HttpServer server;
    set(u"patch/baseUrl"_s, server.url());
    const Outcome outcome = doctor({u"--offline"_s});
    QCOMPARE(about(outcome, u"servidor de atualizacoes"_s), QString());
    QCOMPARE(server.requests().size(), 0);
}

void TestZelDoctor::theReportGoesToAFile()
{
    const Outcome outcome = doctor({u"--offline"_s, u"--output"_s, u"report.txt"_s});
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.messages, QString());
    QCOMPARE(outcome.exitCode, 1);
    const QByteArray report = Disk::read(at(u"report.txt"_s));
    QVERIFY(report.startsWith("ok    configuracoes: ~/.config/Orvandale/zel_launcher.ini"));
    QVERIFY(report.endsWith("\n0 erro(s), 1 aviso(s)\n"));
}

void TestZelDoctor::aReportThatCannotBeWrittenIsCode3()
{
    const Outcome outcome = doctor({u"--offline"_s, u"--output"_s, u"none/report.txt"_s});
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(outcome.output, QString());
    QVERIFY2(outcome.messages.startsWith(u"zel-doctor: o relatorio nao pode ser gravado: "_s),
             qPrintable(outcome.messages));

    for (const QString &arguments : {u""_s, u"--json"_s, u"--help"_s, u"--version"_s}) {
        QProcess full;
        full.setStandardOutputFile(u"/dev/full"_s);
        full.start(QStringLiteral(ZEL_DOCTOR), arguments.split(u' ', Qt::SkipEmptyParts));
        QVERIFY(full.waitForFinished(-1));
        QCOMPARE(full.exitCode(), 3);
    }
}

void TestZelDoctor::theReportIsJson()
{
    const Outcome outcome = doctor({u"--json"_s, u"--offline"_s});
    QCOMPARE(outcome.exitCode, 1);
    const QJsonObject report = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
    QCOMPARE(report.value(u"exitCode"_s).toInt(), 1);
    const QJsonArray checks = report.value(u"checks"_s).toArray();
    QCOMPARE(checks.size(), 16);
    QCOMPARE(checks.at(3).toObject().value(u"text"_s).toString(),
             u"~/jogo/ZEL.exe, 32 bits (na pasta do cliente)."_s);

    QCOMPARE(doctor({u"--json"_s, u"--offline"_s, u"--output"_s, u"report.json"_s}).output,
             QString());
    QVERIFY(QJsonDocument::fromJson(Disk::read(at(u"report.json"_s))).isObject());
}

void TestZelDoctor::errorsAreCode2()
{
    QFile::remove(client(u"ZEL.exe"_s));
    set(u"patch/baseUrl"_s, u"http://127.0.0.1:1/"_s);
    const Outcome outcome = doctor({});
    QCOMPARE(outcome.exitCode, 2);
    QCOMPARE(linesOf(outcome).constLast(), u"2 erro(s), 1 aviso(s)"_s);
    QVERIFY(about(outcome, u"executavel"_s).startsWith(u"erro "_s));
    QVERIFY(about(outcome, u"servidor de atualizacoes"_s).startsWith(u"erro "_s));
}

void TestZelDoctor::theLogIsShownOnRequest()
{
    Disk::write(at(u"home/.local/state/Orvandale/wine.log"_s),
                "open " + client(u"x"_s).toUtf8() + "\nend\n");
    QVERIFY(!doctor({u"--offline"_s}).output.contains(u"registro"_s));
    const QStringList lines = linesOf(doctor({u"--offline"_s, u"--log"_s}));
    QCOMPARE(lines.sliced(lines.size() - 4),
             QStringList({u"ok    registro: as ultimas linhas de "
                          "~/.local/state/Orvandale/wine.log:"_s,
                          u"    open ~/jogo/x"_s, u"    end"_s, u"0 erro(s), 1 aviso(s)"_s}));
}

void TestZelDoctor::noPrivateNameIsShown()
{
    Disk::write(at(u"home/.local/state/Orvandale/wine.log"_s), "C:\\users\\eva\\x of eva\n");
    for (const QStringList &arguments :
         {QStringList{u"--log"_s}, QStringList{u"--log"_s, u"--json"_s}}) {
        const Outcome outcome = doctor(arguments, {{u"USER"_s, u"eva"_s}});
        QVERIFY(outcome.output.contains(u"wine.log"_s));
        QVERIFY(!outcome.output.contains(u"eva"_s));
        QVERIFY(!outcome.output.contains(folder()));
    }
}

void TestZelDoctor::aCheckThatHangsTimesOut()
{
    // The font library waits until a process writes into this.
    QCOMPARE(::mkfifo(qPrintable(at(u"fonts.conf"_s)), 0600), 0);
    const Outcome outcome = doctor({u"--offline"_s}, {{u"FONTCONFIG_FILE"_s, at(u"fonts.conf"_s)}});
    QCOMPARE(outcome.exitCode, 2);
    QCOMPARE(about(outcome, u"tela"_s),
             u"erro  tela: nao respondeu em 15 s. Verifique se o disco ou a rede esta "
             "respondendo."_s);
    QCOMPARE(linesOf(outcome).size(), 16); // the other checks and the summary
}

void TestZelDoctor::aCheckEndsWithTheProgram()
{
    QCOMPARE(::mkfifo(qPrintable(at(u"fonts.conf"_s)), 0600), 0);
    qputenv("FONTCONFIG_FILE", at(u"fonts.conf"_s).toUtf8());
    QProcess doctor;
    doctor.start(QStringLiteral(ZEL_DOCTOR), {u"--offline"_s});
    qunsetenv("FONTCONFIG_FILE");
    int file = -1;
    const auto isWaitedFor = [&] { // by the check of the display, which then reads from this file
        file = ::open(qPrintable(at(u"fonts.conf"_s)), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return file >= 0;
    };
    QVERIFY(QTest::qWaitFor(isWaitedFor, Timeouts::programMs));
    doctor.kill();
    QVERIFY(doctor.waitForFinished());
    pollfd reader{file, 0, 0};
    const auto isGone = [&] {
        return ::poll(&reader, 1, 0) == 1 && (reader.revents & POLLERR) != 0;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isGone(), Timeouts::programMs);
    ::close(file);
}

void TestZelDoctor::aCheckThatCannotBeKilledTimesOut()
{
    NEEDS_OWN_MOUNTS();
    const QString helper = QStringLiteral(ZEL_SOURCES "/tests/support/files/hanging-folder");
    Disk::makeFolder(at(u"hanging"_s));
    const QString mount = u"read -r line < <(exec '%1' '%2')"_s.arg(helper, at(u"hanging"_s));
    if (const QString obstacle = OwnMounts::run(mount + u"; exit"_s, {}); !obstacle.isEmpty()) {
        QSKIP(qPrintable(u"cannot mount a file system: "_s + obstacle));
    }
    const Outcome outcome = doctorWith(mount, {{u"WINEPREFIX"_s, at(u"hanging/prefix"_s)}});
    QCOMPARE(outcome.exitCode, 2);
    QCOMPARE(about(outcome, u"prefixo do wine"_s),
             u"erro  prefixo do wine: nao respondeu em 10 s. Verifique se o disco ou a rede esta "
             "respondendo."_s);
    QCOMPARE(linesOf(outcome).size(), 17);
}

void TestZelDoctor::withoutADisplayTheScreenIsAnError_data()
{
    QTest::addColumn<QString>("display");
    QTest::newRow("none") << QString();
    QTest::newRow("unreachable") << u":4294967"_s;
}

void TestZelDoctor::withoutADisplayTheScreenIsAnError()
{
    QFETCH(const QString, display);
    const Outcome outcome =
        doctor({u"--offline"_s}, {{u"QT_QPA_PLATFORM"_s, {}}, {u"DISPLAY"_s, display}});
    QCOMPARE(outcome.exitCode, 2);
    QCOMPARE(about(outcome, u"tela"_s),
             u"erro  tela: nao foi possivel acessar nem o Wayland nem o X daqui. Execute o "
             "zel-doctor num terminal da area de trabalho; se isso nao ajudar, instale qt6-wayland "
             "e libxcb-cursor0."_s);
}

void TestZelDoctor::aSmallScreenIsAWarning()
{
    for (const QSize size : {QSize(959, 724), QSize(960, 723), QSize(960, 724)}) {
        const VirtualDisplay display(size);
        QVERIFY(display.isRunning());
        const bool fits = size == QSize(960, 724);
        const Outcome outcome = doctor(
            {u"--offline"_s}, {{u"QT_QPA_PLATFORM"_s, u"xcb"_s}, {u"DISPLAY"_s, display.name()}});
        const QString text = u"tela: xcb, %1 x %2, escala 1"_s.arg(size.width()).arg(size.height());
        QCOMPARE(about(outcome, u"tela"_s),
                 fits ? u"ok    "_s + text + u'.'
                      : u"aviso "_s + text +
                            u"; a janela do launcher precisa de 960 x 724. Escolha uma resolucao "
                            "maior ou uma escala menor."_s);
        QCOMPARE(outcome.exitCode, fits ? 0 : 1);
    }
}

void TestZelDoctor::aScaledScreenIsAWarning()
{
    const VirtualDisplay display(QSize(1280, 1024));
    QVERIFY(display.isRunning());
    const Outcome outcome = doctor({u"--offline"_s}, {{u"QT_QPA_PLATFORM"_s, u"xcb"_s},
                                                      {u"DISPLAY"_s, display.name()},
                                                      {u"QT_SCALE_FACTOR"_s, u"1.6"_s}});
    QVERIFY2(about(outcome, u"tela"_s).startsWith(u"aviso tela: xcb, 800 x 640, escala 1,6; "_s),
             qPrintable(outcome.output));
}

void TestZelDoctor::missingFontsAreAWarning()
{
    Disk::makeFolder(at(u"fonts"_s));
    Disk::write(at(u"fonts.conf"_s),
                "<fontconfig><dir>" + at(u"fonts"_s).toUtf8() + "</dir></fontconfig>\n");
    const Outcome outcome = doctor({u"--offline"_s}, {{u"FONTCONFIG_FILE"_s, at(u"fonts.conf"_s)}});
    QCOMPARE(about(outcome, u"fontes"_s),
             u"aviso fontes: sem Inter e JetBrains Mono; o launcher usa outra fonte. Debian e "
             "Ubuntu: "
             "sudo apt install fonts-inter fonts-jetbrains-mono"_s);
}

void TestZelDoctor::aFileWithoutReadPermissionIsAnError()
{
    QStringList before;
    if (geteuid() == 0) { // without root's rights to every file
        before = {u"setpriv"_s, u"--bounding-set=-dac_override,-dac_read_search"_s};
    }
    const QString remedy = u" Corrija as permissoes, por exemplo com chmod u+rw."_s;
    for (const QString &name :
         {u"ZEL.exe"_s, u"serverlist.txt"_s, u"sn.bin"_s, u"server.txt"_s, u"zel_login.ini"_s}) {
        QVERIFY(QFile::setPermissions(client(name), QFileDevice::WriteOwner));
    }
    Outcome outcome = doctor({u"--offline"_s}, {}, before);
    QCOMPARE(outcome.exitCode, 2);
    QCOMPARE(about(outcome, u"executavel"_s),
             u"erro  executavel: nao pode ser lido: ~/jogo/ZEL.exe."_s + remedy);
    for (const QString &name :
         {u"serverlist.txt"_s, u"sn.bin"_s, u"server.txt"_s, u"zel_login.ini"_s}) {
        QCOMPARE(about(outcome, name),
                 u"erro  %1: nao pode ser lido: ~/jogo/%1."_s.arg(name) + remedy);
    }

    // One check alone, while the file or folder has these permissions.
    const auto isReported = [&](const QString &check, const QString &path,
                                QFileDevice::Permissions permissions, const QString &text) {
        const QFileDevice::Permissions usual = QFile::permissions(path);
        QFile::setPermissions(path, permissions);
        outcome = doctor({u"--run-check"_s, check}, {}, before);
        QFile::setPermissions(path, usual);
        return outcome.output.contains(text);
    };
    constexpr auto readable = QFileDevice::ReadOwner;
    constexpr auto writable = QFileDevice::WriteOwner;
    constexpr auto searchable = QFileDevice::ExeOwner;
    for (const auto permissions : {readable | writable, writable | searchable}) {
        QVERIFY2(isReported(u"pasta do cliente"_s, at(u"home/jogo"_s), permissions,
                            u"nao pode ser lida: ~/jogo."_s) &&
                     outcome.output.contains(u"por exemplo com chmod u+rwx."_s),
                 qPrintable(outcome.output));
    }
    const QString settings = settingsFile();
    const QString config = QFileInfo(settings).path();
    for (const auto &[path, permissions, text] :
         {std::tuple{settings, QFileDevice::Permissions(writable), u"nao pode ser lido."_s},
          {settings, readable, u"nao pode ser gravado."_s},
          {config, readable | searchable, u"nao pode ser gravado."_s},
          {config, readable | writable, u"nao pode ser criado."_s}}) {
        QVERIFY2(isReported(u"configuracoes"_s, path, permissions, u"zel_launcher.ini "_s + text),
                 qPrintable(outcome.output));
    }
    QVERIFY(QFile::remove(settings));
    QVERIFY2(
        isReported(u"configuracoes"_s, config, readable | searchable, u"nao pode ser criado."_s),
        qPrintable(outcome.output));
}

void TestZelDoctor::aFolderThatIsReadOnlyIsAnError()
{
    NEEDS_OWN_MOUNTS();
    const Outcome outcome =
        doctorWith(u"mount --bind '%1' '%1'; mount -o remount,ro,bind '%1'"_s.arg(at(u"home"_s)));
    QCOMPARE(outcome.exitCode, 2);
    const QString remedy = u" Corrija as permissoes, por exemplo com chmod u+rw."_s;
    QCOMPARE(about(outcome, u"configuracoes"_s),
             u"erro  configuracoes: ~/.config/Orvandale/zel_launcher.ini nao pode ser gravado."_s +
                 remedy);
    QCOMPARE(
        about(outcome, u"pasta do cliente"_s),
        u"erro  pasta do cliente: nao pode ser gravada: ~/jogo. Copie o jogo para uma pasta sua "
        "ou corrija as permissoes."_s);
    for (const QString &name :
         {u"serverlist.txt"_s, u"sn.bin"_s, u"server.txt"_s, u"zel_login.ini"_s}) {
        QCOMPARE(about(outcome, name),
                 u"erro  %1: nao pode ser gravado: ~/jogo/%1."_s.arg(name) + remedy);
    }
}

void TestZelDoctor::aFullDiskIsAnError()
{
    NEEDS_OWN_MOUNTS();
    const Outcome outcome =
        doctorWith(u"mount -t tmpfs -o size=1M tmpfs '%1'"_s.arg(at(u"home/jogo"_s)));
    QVERIFY2(about(outcome, u"espaco em disco"_s).startsWith(u"erro  espaco em disco: "_s),
             qPrintable(outcome.output));
}

void TestZelDoctor::wineIsMissing()
{
    NEEDS_OWN_MOUNTS();
    set(u"client/wine"_s, QString());
    Disk::makeFolder(at(u"bin"_s));
    Disk::makeLink(at(u"bin/env"_s), QStandardPaths::findExecutable(u"env"_s));
    const Outcome outcome =
        doctorWith(u"mount --bind '%1' /usr/bin"_s.arg(at(u"bin"_s)), {{u"PATH"_s, at(u"none"_s)}});
    QCOMPARE(about(outcome, u"wine"_s),
             u"erro  wine: nao foi encontrado: wine. Debian e Ubuntu: sudo apt install wine"_s);
    // Where /bin is a link to /usr/bin, the shell is hidden, too.
    QVERIFY(
        QFileInfo(u"/bin"_s).isSymLink() ==
        (about(outcome, u"perfil do bash"_s) ==
         u"erro  perfil do bash: /bin/bash nao existe. Debian e Ubuntu: sudo apt install bash"_s));
}

ZEL_TEST_MAIN(TestZelDoctor)

#include "tst_zeldoctor.moc"
