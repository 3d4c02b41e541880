#include "zel-doctor/WineChecks.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <optional>
#include <unistd.h>

#include "zel-doctor/LoadedSettings.h"
#include "zel-doctor/WineSetup.h"
#include "zel-manifest/Text.h"

namespace
{

/// How long the launcher's search for Wine waits for the login shell.
constexpr qint64 slowProfileMs = 2000;

Result unused(const QString &subject)
{
    return Result::ok(subject,
                      QStringLiteral("nao e usado: \"Usar Wine no Linux\" esta desmarcado."));
}

QString installRemedy()
{
    return QStringLiteral("Debian e Ubuntu: sudo apt install wine");
}

QString installRemedy(ProgramKind kind)
{
    return kind == ProgramKind::Bits32
               ? QStringLiteral(
                     "Debian e Ubuntu: sudo dpkg --add-architecture i386 && sudo apt update && "
                     "sudo apt install wine32:i386")
               : QStringLiteral("Debian e Ubuntu: sudo apt install wine64");
}

QString chooseRemedy()
{
    return QStringLiteral("Escolha outro em Configuracao.");
}

/// The version that the Wine at @p program prints; empty on failure.
QString versionOf(const QString &program)
{
    constexpr int timeoutMs = 10'000;
    QProcess process;
    process.start(program, {QStringLiteral("--version")});
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return {};
    }
    return QString::fromUtf8(process.readAllStandardOutput()).section(u'\n', 0, 0);
}

QString registryOf(const QString &prefix)
{
    return prefix + QStringLiteral("/system.reg");
}

/// Whether Wine has made a prefix at @p path.
bool isPrefix(const QString &path)
{
    return QFileInfo::exists(registryOf(path));
}

/// The architecture of the prefix at @p path according to its registry; empty if unknown.
QString archOf(const QString &path)
{
    constexpr int linesLookedAt = 10;
    const QByteArray sign = "#arch=";
    QFile registry(registryOf(path));
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

/// Why the game cannot or may not run in the prefix of @p choice; nothing if it can.
std::optional<Result> prefixFault(const QString &subject, const WineSetup::Choice &choice,
                                  ProgramKind game)
{
    const QString win32 = QStringLiteral("win32");
    const QString &path = choice.prefix;
    const QFileInfo info(path);
    const QString other = choice.isScript ? QStringLiteral("escolha outro PREFIX em wine.conf.")
                                          : QStringLiteral("escolha outro WINEPREFIX.");
    const auto error = [&subject](const QString &text, const QString &remedy) {
        return Result::error(subject, text, remedy);
    };
    if (info.exists() && !info.isDir()) {
        return error(QStringLiteral("%1 nao e uma pasta.").arg(path),
                     QStringLiteral("Apague esse arquivo ou ") + other);
    }
    if (info.exists() && info.ownerId() != ::geteuid()) {
        return error(QStringLiteral("%1 pertence a outro usuario; o Wine nao o aceita.").arg(path),
                     QStringLiteral("Mude o dono da pasta com sudo chown -R, ou ") + other);
    }
    const bool isUsed = isPrefix(path);
    const QString arch = archOf(path);
    if (isUsed && arch.isEmpty()) {
        return Result::warning(subject,
                               QStringLiteral("%1 nao informa a sua arquitetura.").arg(path),
                               QStringLiteral("Se o jogo nao abrir, ") + other);
    }
    const bool isKnownWish = choice.arch == win32 || choice.arch == QLatin1String("win64");
    if (isUsed && isKnownWish && choice.arch != arch) {
        return error(QStringLiteral("%1 e %2, mas WINEARCH pede %3; o Wine nao o aceita.")
                         .arg(path, arch, choice.arch),
                     QStringLiteral("Remova WINEARCH ou ") + other);
    }
    if ((isUsed ? arch : choice.arch) == win32) {
        const QString text =
            path + (isUsed ? QStringLiteral(" e win32; ")
                           : QStringLiteral(" seria win32 por causa de WINEARCH; "));
        const QString remedy = isUsed ? QStringLiteral("Remova WINEARCH, se houver, e ") + other
                                      : QStringLiteral("Remova WINEARCH.");
        if (WineSetup::win32PrefixSupport(choice.wine) == WineSetup::Support::No) {
            return error(text + QStringLiteral("este Wine nao aceita prefixos de 32 bits."),
                         remedy);
        }
        if (game == ProgramKind::Bits64) {
            return error(text + QStringLiteral("nele nao rodam programas de 64 bits, como o jogo."),
                         remedy);
        }
    } else if (isUsed && game == ProgramKind::Bits32 &&
               !QFileInfo::exists(path + QStringLiteral("/drive_c/windows/syswow64/ntdll.dll"))) {
        // A newer Wine adds the 32-bit files to the prefix; the version that created it does not.
        const QString remedy = choice.isScript ? QStringLiteral("execute zel-wine --reset.")
                                               : QStringLiteral("renomeie essa pasta.");
        return Result::warning(
            subject,
            QStringLiteral("%1 nao tem os arquivos de 32 bits de que o jogo precisa.").arg(path),
            QStringLiteral("Com o Wine de 32 bits instalado, inicie o jogo; se ele fechar logo, ") +
                remedy);
    }
    return std::nullopt;
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
        results.append(Result::warning(
            subject, QStringLiteral("o Wine escolhido nao existe: %1.").arg(settings.winePath),
            chooseRemedy()));
    }
    const WineSetup::Choice choice =
        WineSetup::choiceFor(program, WineSetup::runLoginShell().environment);
    if (choice.wine.isEmpty()) {
        const bool isThere = QFileInfo::exists(choice.wanted);
        QStringList remedies;
        if (choice.isScript) {
            remedies.append(QStringLiteral("Confira WINE em wine.conf."));
        } else if (isThere) {
            remedies.append(chooseRemedy());
        }
        if (!isThere) {
            remedies.append(installRemedy());
        }
        const QString text = isThere ? QStringLiteral("nao pode ser executado: %1.")
                                     : QStringLiteral("nao foi encontrado: %1.");
        results.append(
            Result::error(subject, text.arg(choice.wanted), remedies.join(QLatin1Char(' '))));
        return results;
    }
    const QString version = versionOf(choice.wine);
    if (version.isEmpty()) {
        results.append(
            Result::error(subject, QStringLiteral("%1 nao informa a sua versao.").arg(choice.wine),
                          QStringLiteral("Escolha outro em Configuracao ou instale-o de novo. ") +
                              installRemedy()));
        return results;
    }
    QString text = QStringLiteral("%1, %2").arg(choice.wine, version);
    if (choice.isScript) {
        text += QStringLiteral(", iniciado pelo zel-wine");
    }
    const ProgramKind kind = programKind(settings.resolvedClientExe());
    if (kind != ProgramKind::Bits32 && kind != ProgramKind::Bits64) {
        results.append(Result::ok(subject, text + u'.'));
        return results;
    }
    const QString bits =
        kind == ProgramKind::Bits32 ? QStringLiteral("32 bits") : QStringLiteral("64 bits");
    switch (WineSetup::support(choice.wine, kind)) {
    case WineSetup::Support::Yes:
        results.append(
            Result::ok(subject, QStringLiteral("%1; executa programas de %2.").arg(text, bits)));
        break;
    case WineSetup::Support::No:
        results.append(Result::error(
            subject,
            QStringLiteral("%1; nao executa programas de %2, como o jogo.").arg(text, bits),
            installRemedy(kind)));
        break;
    case WineSetup::Support::Unknown:
        results.append(Result::warning(
            subject,
            QStringLiteral("%1; nao foi possivel saber se executa programas de %2, como o jogo.")
                .arg(text, bits),
            QStringLiteral("Se o jogo fechar logo ao abrir, instale o Wine de %1. ").arg(bits) +
                installRemedy(kind)));
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
    if (const std::optional<Result> fault =
            prefixFault(subject, choice, programKind(settings.resolvedClientExe()))) {
        return {*fault};
    }
    const QString &path = choice.prefix;
    if (!isPrefix(path)) {
        return {Result::ok(
            subject,
            QStringLiteral("%1 ainda nao foi usado; o Wine o prepara na primeira vez.").arg(path))};
    }
    return {Result::ok(subject, QStringLiteral("%1, %2.").arg(path, archOf(path)))};
}

Results WineChecks::profile()
{
    const QString subject = QStringLiteral("perfil do bash");
    if (!loadedSettings().useWine) {
        return {unused(subject)};
    }
    if (!QFileInfo(QStringLiteral("/bin/bash")).isExecutable()) {
        return {Result::error(subject, QStringLiteral("/bin/bash nao existe."),
                              QStringLiteral("Debian e Ubuntu: sudo apt install bash"))};
    }
    const QString files = QStringLiteral("Veja ~/.bash_profile, ~/.bash_login ou ~/.profile, e "
                                         "/etc/profile.");
    const WineSetup::LoginShell shell = WineSetup::runLoginShell();
    if (!shell.isInTime) {
        return {Result::error(subject,
                              QStringLiteral("nao termina em %1 s, e o jogo so inicia depois.")
                                  .arg(WineSetup::longestLoginMs / 1000),
                              files)};
    }
    if (!shell.isReached) {
        return {
            Result::error(subject,
                          QStringLiteral("encerra o shell com o codigo %1 antes de o jogo iniciar.")
                              .arg(shell.exitCode),
                          files + QStringLiteral(" Procure por exit, exec e set -e."))};
    }
    Results results;
    if (shell.elapsedMs > slowProfileMs) {
        results.append(Result::warning(
            subject,
            QStringLiteral("leva %1 s; cada inicio espera por ele, e a busca do Wine desiste "
                           "depois de 2 s.")
                .arg(decimalText(double(shell.elapsedMs) / 1000)),
            files));
    }
    const QByteArray printed = shell.printed.trimmed();
    if (!printed.isEmpty()) {
        results.append(Result::warning(
            subject,
            QStringLiteral("escreve na tela: %1.").arg(quoted(printed.split('\n').constFirst())),
            files));
    }
    if (results.isEmpty()) {
        results.append(Result::ok(subject, QStringLiteral("termina sem erro.")));
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
        return {Result::warning(
            subject, QStringLiteral("%1 nao existe.").arg(file.fileName()),
            QStringLiteral("Escolha o zel-wine como Wine em Configuracao e inicie o jogo."))};
    }
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly) ||
        !file.seek(qMax<qint64>(0, file.size() - longestEnd))) {
        return {Result::warning(subject,
                                QStringLiteral("%1 nao pode ser lido.").arg(file.fileName()),
                                permissionRemedy())};
    }
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    if (lines.constLast().isEmpty()) {
        lines.removeLast();
    }
    Result result =
        Result::ok(subject, QStringLiteral("as ultimas linhas de %1:").arg(file.fileName()));
    result.lines = lines.sliced(qMax<qsizetype>(0, lines.size() - linesShown));
    return {result};
}
