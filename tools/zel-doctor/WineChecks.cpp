#include "zel-doctor/WineChecks.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSysInfo>

#include <sys/stat.h>
#include <unistd.h>

#include "settings/LauncherSettings.h"
#include "zel-doctor/WineSetup.h"
#include "zel-manifest/Text.h"

namespace
{

/// The launcher waits so long for a login shell when it looks for Wine.
constexpr qint64 slowProfileMs = 2000;

const LauncherSettings &loadedSettings()
{
    LauncherSettings::instance().load();
    return LauncherSettings::instance();
}

Result unused(const QString &subject)
{
    return {Result::Ok,
            subject,
            QStringLiteral("nao e usado: Usar Wine no Linux esta desmarcado."),
            {}};
}

QString installRemedy()
{
    return QStringLiteral("Debian e Ubuntu: sudo apt install wine");
}

QString install32Remedy()
{
    return QStringLiteral(
        "Debian e Ubuntu: sudo dpkg --add-architecture i386 && sudo apt update && "
        "sudo apt install wine32:i386");
}

QString install64Remedy()
{
    return QStringLiteral("Debian e Ubuntu: sudo apt install wine64");
}

/// What the Wine at @p program prints when asked for its version; empty when it fails.
QString versionOf(const QString &program)
{
    constexpr int timeoutMs = 10'000;
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, {QStringLiteral("--version")});
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return {};
    }
    return QString::fromUtf8(process.readAllStandardOutput()).section(u'\n', 0, 0).trimmed();
}

QString kindText(ProgramKind kind)
{
    return kind == ProgramKind::Bits32 ? QStringLiteral("32 bits") : QStringLiteral("64 bits");
}

/// The architecture that the prefix at @p path was made for; empty when it does not say.
QString archOf(const QString &path)
{
    constexpr int linesLookedAt = 10;
    const QByteArray sign = "#arch=";
    QFile registry(path + QStringLiteral("/system.reg"));
    if (!QFileInfo(registry).isFile() || !registry.open(QIODevice::ReadOnly)) {
        return {};
    }
    for (int i = 0; i < linesLookedAt; ++i) {
        const QByteArray line = registry.readLine().trimmed();
        if (line.startsWith(sign)) {
            return QString::fromLatin1(line.sliced(sign.size()));
        }
    }
    return {};
}

} // namespace

Results WineChecks::wine()
{
    const QString subject = QStringLiteral("wine");
    const LauncherSettings &settings = loadedSettings();
    if (!settings.useWine) {
        return {unused(subject)};
    }
    const QString program = settings.resolvedWine();
    Results results;
    if (!settings.winePath.isEmpty() && program != settings.winePath) {
        results.append({Result::Warning, subject,
                        QStringLiteral("o Wine escolhido nao existe: %1.").arg(settings.winePath),
                        QStringLiteral("Escolha outro em Configuracao.")});
    }
    const WineSetup::Choice choice =
        WineSetup::choiceFor(program, QProcessEnvironment::systemEnvironment());
    if (choice.wine.isEmpty()) {
        const bool isThere = QFileInfo::exists(program) && !choice.isScript;
        results.append(
            {Result::Error, subject,
             isThere ? QStringLiteral("nao pode ser executado: %1.").arg(program)
                     : QStringLiteral("nao foi encontrado."),
             isThere ? QStringLiteral("Escolha outro em Configuracao.") : installRemedy()});
        return results;
    }
    const QString version = versionOf(choice.wine);
    if (version.isEmpty()) {
        results.append({Result::Error, subject,
                        QStringLiteral("%1 nao diz a sua versao.").arg(choice.wine),
                        QStringLiteral("Escolha outro em Configuracao ou instale-o de novo. ") +
                            installRemedy()});
        return results;
    }
    QString text = QStringLiteral("%1, %2").arg(choice.wine, version);
    if (choice.isScript) {
        text += QStringLiteral(", por meio do zel-wine");
    }
    const ProgramKind kind = programKind(settings.resolvedClientExe());
    if (kind != ProgramKind::Bits32 && kind != ProgramKind::Bits64) {
        results.append({Result::Ok, subject, text + u'.', {}});
        return results;
    }
    switch (WineSetup::support(choice.wine, kind)) {
    case WineSetup::Support::Yes:
        results.append({Result::Ok,
                        subject,
                        QStringLiteral("%1; executa programas de %2.").arg(text, kindText(kind)),
                        {}});
        break;
    case WineSetup::Support::No:
        results.append({Result::Error, subject,
                        QStringLiteral("%1; nao executa programas de %2, como o jogo.")
                            .arg(text, kindText(kind)),
                        kind == ProgramKind::Bits32 ? install32Remedy() : install64Remedy()});
        break;
    case WineSetup::Support::Unknown:
        results.append({Result::Warning, subject,
                        QStringLiteral("%1; nao se sabe se executa programas de %2, como o jogo.")
                            .arg(text, kindText(kind)),
                        QStringLiteral("Se o jogo terminar com o codigo 53, instale esse Wine. ") +
                            (kind == ProgramKind::Bits32 ? install32Remedy() : install64Remedy())});
        break;
    }
    return results;
}

Results WineChecks::prefix()
{
    const QString subject = QStringLiteral("prefixo do wine");
    const LauncherSettings &settings = loadedSettings();
    if (!settings.useWine) {
        return {unused(subject)};
    }
    const WineSetup::Choice choice =
        WineSetup::choiceFor(settings.resolvedWine(), WineSetup::runLoginShell().environment);
    const QString path = choice.prefix;
    const QFileInfo info(path);
    if (!info.exists()) {
        return {{Result::Ok,
                 subject,
                 QStringLiteral("%1 ainda nao existe; o Wine o cria no primeiro inicio.").arg(path),
                 {}}};
    }
    if (!info.isDir()) {
        return {{Result::Error, subject, QStringLiteral("%1 nao e uma pasta.").arg(path),
                 QStringLiteral("Apague esse arquivo ou escolha outro WINEPREFIX.")}};
    }
    if (info.ownerId() != ::geteuid()) {
        return {{Result::Error, subject,
                 QStringLiteral("%1 pertence a outro usuario; o Wine o recusa.").arg(path),
                 QStringLiteral("Escolha outro WINEPREFIX, ou tome posse com sudo chown -R.")}};
    }
    const QString arch = archOf(path);
    if (arch.isEmpty()) {
        if (!QFileInfo::exists(path + QStringLiteral("/system.reg"))) {
            return {{Result::Ok,
                     subject,
                     QStringLiteral("%1 ainda nao foi usado; o Wine o prepara no primeiro inicio.")
                         .arg(path),
                     {}}};
        }
        return {{Result::Warning, subject,
                 QStringLiteral("%1 nao diz a sua arquitetura.").arg(path),
                 QStringLiteral("Se o jogo nao abrir, use outro WINEPREFIX.")}};
    }
    const bool isKnownWish =
        choice.arch == QLatin1String("win32") || choice.arch == QLatin1String("win64");
    if (isKnownWish && choice.arch != arch) {
        return {{Result::Error, subject,
                 QStringLiteral("%1 e %2, mas WINEARCH pede %3; o Wine o recusa.")
                     .arg(path, arch, choice.arch),
                 QStringLiteral("Retire WINEARCH ou escolha outro WINEPREFIX.")}};
    }
    if (arch == QLatin1String("win32") &&
        programKind(settings.resolvedClientExe()) == ProgramKind::Bits64) {
        return {{Result::Error, subject,
                 QStringLiteral("%1 e win32 e nao executa programas de 64 bits, como o jogo.")
                     .arg(path),
                 QStringLiteral("Escolha outro WINEPREFIX, que o Wine criara como win64.")}};
    }
    return {{Result::Ok, subject, QStringLiteral("%1, %2.").arg(path, arch), {}}};
}

Results WineChecks::profile()
{
    const QString subject = QStringLiteral("perfil do bash");
    if (!loadedSettings().useWine) {
        return {unused(subject)};
    }
    if (!QFileInfo(QStringLiteral("/bin/bash")).isExecutable()) {
        return {{Result::Error, subject, QStringLiteral("/bin/bash nao existe."),
                 QStringLiteral("Debian e Ubuntu: sudo apt install bash")}};
    }
    const QString files = QStringLiteral("Veja ~/.bash_profile, ~/.bash_login ou ~/.profile, e "
                                         "/etc/profile.");
    const WineSetup::LoginShell shell = WineSetup::runLoginShell();
    if (!shell.isReached) {
        return {{Result::Error, subject,
                 QStringLiteral("termina o shell com o codigo %1 antes que o jogo comece.")
                     .arg(shell.exitCode),
                 files + QStringLiteral(" Procure exit, exec e set -e.")}};
    }
    Results results;
    if (shell.elapsedMs > slowProfileMs) {
        results.append({Result::Warning, subject,
                        QStringLiteral("leva %1 s; cada inicio espera por ele, e a busca do Wine "
                                       "desiste depois de 2 s.")
                            .arg(double(shell.elapsedMs) / 1000, 0, 'f', 1),
                        files});
    }
    const QByteArray printed = shell.printed.trimmed();
    if (!printed.isEmpty()) {
        results.append(
            {Result::Warning, subject,
             QStringLiteral("escreve na tela: %1.").arg(quoted(printed.split('\n').constFirst())),
             files});
    }
    if (results.isEmpty()) {
        results.append({Result::Ok, subject, QStringLiteral("termina sem erro."), {}});
    }
    return results;
}

Results WineChecks::log()
{
    constexpr qint64 longestEnd = 1 << 20; // bytes
    constexpr qsizetype linesShown = 200;
    const QString subject = QStringLiteral("registro");
    QFile file(WineSetup::logPath());
    if (!file.exists()) {
        return {{Result::Warning, subject, QStringLiteral("%1 nao existe.").arg(file.fileName()),
                 QStringLiteral("Escolha o zel-wine como Wine em Configuracao e inicie o jogo.")}};
    }
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly) ||
        !file.seek(qMax<qint64>(0, file.size() - longestEnd))) {
        return {{Result::Warning, subject,
                 QStringLiteral("%1 nao pode ser lido.").arg(file.fileName()),
                 QStringLiteral("Corrija as permissoes, por exemplo com chmod u+rw.")}};
    }
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    if (lines.constLast().isEmpty()) {
        lines.removeLast();
    }
    Result result{Result::Ok, subject, QStringLiteral("o fim de %1:").arg(file.fileName()), {}};
    result.lines = lines.sliced(qMax<qsizetype>(0, lines.size() - linesShown));
    return {result};
}
