#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>
#include <cstring>

#include "zel-doctor/Check.h"
#include "zel-doctor/CheckProcess.h"
#include "zel-doctor/Report.h"
#include "zel-manifest/Manifest.h"

namespace
{

constexpr int failedExitCode = 3;

const char *const usage = R"(Uso: zel-doctor [opcoes]

Verifica tudo o que e preciso para iniciar o jogo. Cada linha comeca com "ok",
"aviso" ou "erro"; depois vem o motivo e o que fazer. Nada e alterado.

Opcoes:
  --output ARQUIVO  grava o relatorio em ARQUIVO, nao na tela
  --json            escreve o relatorio em JSON
  --offline         nao consulta o servidor de atualizacoes
  --log             mostra tambem as ultimas 200 linhas do registro do zel-wine
  --help            mostra esta ajuda
  --version         mostra a versao do programa

Codigo de saida: 0 tudo certo, 1 avisos, 2 erros, 3 opcoes erradas ou o
relatorio nao pode ser gravado. Leva no maximo %1 segundos.
)";

/// Drops Qt's messages, such as those about the display.
void dropMessage(QtMsgType /*type*/, const QMessageLogContext & /*context*/,
                 const QString & /*text*/)
{
}

bool print(const QByteArray &text)
{
    return std::fwrite(text.constData(), 1, size_t(text.size()), stdout) == size_t(text.size()) &&
           std::fflush(stdout) == 0;
}

int fail(const QString &text)
{
    const QByteArray line = "zel-doctor: " + text.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    return failedExitCode;
}

bool isWanted(const Check &check, bool offline, bool log)
{
    return !(offline && check.need == Check::Network) && (log || check.need != Check::Log);
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(dropMessage);
    if (argc == 3 && std::strcmp(argv[1], CheckProcess::argument) == 0) {
        if (const Check *check = Checks::find(QString::fromUtf8(argv[2]))) {
            return CheckProcess::runHere(*check, argc, argv);
        }
    }
    const QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    const QCommandLineOption output(QStringLiteral("output"), {}, QStringLiteral("ARQUIVO"));
    const QCommandLineOption json(QStringLiteral("json"));
    const QCommandLineOption offline(QStringLiteral("offline"));
    const QCommandLineOption log(QStringLiteral("log"));
    const QCommandLineOption help(QStringLiteral("help"));
    const QCommandLineOption version(QStringLiteral("version"));
    parser.addOptions({output, json, offline, log, help, version});
    if (!parser.parse(QCoreApplication::arguments()) || !parser.positionalArguments().isEmpty()) {
        return fail(QStringLiteral("opcoes erradas; veja zel-doctor --help"));
    }
    if (parser.isSet(help)) {
        const QString text = QString::fromLatin1(usage).arg(Checks::totalLimitMs() / 1000);
        return print(text.toUtf8()) ? 0 : failedExitCode;
    }
    if (parser.isSet(version)) {
        return print("zel-doctor " ZEL_VERSION "\n") ? 0 : failedExitCode;
    }

    // Print each line at once: the next check may take a while.
    const bool isShown = !parser.isSet(json) && !parser.isSet(output);
    Report report;
    QByteArray text;
    for (const Check &check : Checks::all()) {
        if (!isWanted(check, parser.isSet(offline), parser.isSet(log))) {
            continue;
        }
        const Results results = CheckProcess::run(check);
        for (const Result &result : results) {
            const QByteArray line = report.add(result).toUtf8();
            text += line;
            if (isShown && !print(line)) {
                return failedExitCode;
            }
        }
    }
    text += report.summary().toUtf8();
    if (parser.isSet(json)) {
        text = report.json();
    }
    if (parser.isSet(output)) {
        QString error;
        if (!writeWhole(parser.value(output), text, &error)) {
            return fail(QStringLiteral("o relatorio nao pode ser gravado: ") + error);
        }
    } else if (!print(isShown ? report.summary().toUtf8() : text)) {
        return failedExitCode;
    }
    return report.exitCode();
}
