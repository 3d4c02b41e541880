#include "zel-doctor/PatchChecks.h"

#include <QDir>
#include <QNetworkProxy>
#include <QUrl>

#include "patch/PatchContract.h"
#include "zel-doctor/LoadedSettings.h"
#include "zel-manifest/Manifest.h"
#include "zel-manifest/PublishedPatch.h"
#include "zel-manifest/Text.h"

namespace
{

/// Short enough for two requests within the timeout of the check.
constexpr int transferTimeoutMs = 20'000;

QString serverSubject()
{
    return QStringLiteral("servidor de atualizacoes");
}

QString operatorRemedy()
{
    return QStringLiteral("Avise quem mantem o servidor.");
}

/// @p url without user name and password.
QString shownUrl(const QUrl &url)
{
    return url.toDisplayString(QUrl::RemoveUserInfo);
}

QString addressRemedy()
{
    return QStringLiteral("Confira \"URL base do patch\" em Configuracao.");
}

Result proxyResult(const QUrl &url)
{
    const QString subject = QStringLiteral("proxy");
    const QList<QNetworkProxy> proxies =
        QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url));
    if (proxies.isEmpty() || proxies.constFirst().type() == QNetworkProxy::NoProxy) {
        return Result::ok(subject, QStringLiteral("nenhum."));
    }
    return Result::warning(
        subject,
        QStringLiteral("as atualizacoes passam por %1:%2.")
            .arg(proxies.constFirst().hostName())
            .arg(proxies.constFirst().port()),
        QStringLiteral("Se elas falharem, confira http_proxy, https_proxy e no_proxy."));
}

/// The result for a failed request for @p what. @p text is Qt's reason, in English.
Result failure(const PatchAnswer &answer, const QString &what, const QString &text, int timeoutMs)
{
    const auto error = [&what](const QString &reason, const QString &remedy) {
        return Result::error(serverSubject(), what + QLatin1String(": ") + reason, remedy);
    };
    if (answer.status >= 400) {
        return error(QStringLiteral("o servidor respondeu com o codigo %1.").arg(answer.status),
                     QStringLiteral("Confira \"URL base do patch\" em Configuracao ou avise quem "
                                    "mantem o servidor."));
    }
    switch (answer.error) {
    case QNetworkReply::SslHandshakeFailedError:
        return error(QStringLiteral("o certificado nao e aceito (%1).").arg(text),
                     QStringLiteral("Confira a data do computador e instale ca-certificates; se "
                                    "nao ajudar, avise quem mantem o servidor."));
    case QNetworkReply::HostNotFoundError:
        return error(QStringLiteral("o nome do servidor nao foi encontrado."),
                     QStringLiteral("Confira a conexao com a internet e \"URL base do patch\" em "
                                    "Configuracao."));
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::RemoteHostClosedError:
        return error(QStringLiteral("a conexao foi recusada ou interrompida (%1).").arg(text),
                     QStringLiteral("Tente mais tarde ou avise quem mantem o servidor."));
    case QNetworkReply::TimeoutError:
        return error(QStringLiteral("o servidor nao enviou nada em %1 s.").arg(timeoutMs / 1000),
                     QStringLiteral("O launcher esperaria para sempre: tente mais tarde."));
    case QNetworkReply::InsecureRedirectError:
    case QNetworkReply::TooManyRedirectsError:
        return error(QStringLiteral("o servidor redireciona para um endereco que o launcher nao "
                                    "aceita (%1).")
                         .arg(text),
                     operatorRemedy());
    default:
        return error(text + u'.',
                     QStringLiteral("Confira \"URL base do patch\" em Configuracao e o proxy."));
    }
}

/// Warnings about the answer to a request for @p what: faults that the launcher accepts.
Results remarks(const PatchAnswer &answer, const QString &what)
{
    Results results;
    const auto warn = [&](const QString &text, const QString &remedy) {
        results.append(Result::warning(serverSubject(), what + QLatin1String(": ") + text, remedy));
    };
    const QString effect = QStringLiteral("a barra de progresso fica parada, e um download "
                                          "incompleto pode passar despercebido.");
    const QList<AnswerFault> faults = answer.faults();
    if (faults.contains(AnswerFault::Redirected)) {
        warn(QStringLiteral("o servidor redireciona para %1.").arg(shownUrl(answer.url)),
             QStringLiteral("Use o endereco novo em \"URL base do patch\"."));
    } else if (faults.contains(AnswerFault::Compressed)) {
        warn(QStringLiteral("a resposta vem comprimida: ") + effect, operatorRemedy());
    } else if (faults.contains(AnswerFault::Chunked) ||
               faults.contains(AnswerFault::WithoutLength)) {
        warn(QStringLiteral("a resposta vem sem o tamanho: ") + effect, operatorRemedy());
    }
    return results;
}

Results contentResults(const Manifest &manifest)
{
    Results results;
    const QString subject = QStringLiteral("manifest.json");
    QString outside;
    qsizetype outsideCount = 0;
    qsizetype withoutSize = 0;
    for (const ManifestEntry &entry : manifest.files) {
        if (PatchChecks::leavesFolder(entry.path)) {
            outside = outside.isEmpty() ? entry.path : outside;
            ++outsideCount;
        }
        withoutSize += entry.size < 0 ? 1 : 0;
    }
    if (outsideCount > 0) {
        results.append(Result::error(
            subject,
            QStringLiteral("%1 arquivo(s) seriam gravados fora da pasta do cliente; o primeiro: "
                           "%2.")
                .arg(QString::number(outsideCount), quoted(outside)),
            QStringLiteral("Nao atualize a partir deste servidor.")));
    }
    constexpr double MiB = 1024 * 1024;
    const FileAmount amount = manifest.amount();
    QString text = QStringLiteral("versao %1; cada inicio baixa %2 arquivo(s), %3 MiB")
                       .arg(quoted(manifest.version), QString::number(amount.files),
                            decimalText(double(amount.bytes) / MiB));
    if (withoutSize > 0) {
        text += QStringLiteral(" sem contar %1 de tamanho desconhecido").arg(withoutSize);
    }
    results.append(Result::ok(subject, text + u'.'));
    return results;
}

} // namespace

bool PatchChecks::leavesFolder(const QString &path)
{
    const QString clean = QDir::cleanPath(path);
    return QDir::isAbsolutePath(path) || clean == QLatin1String("..") ||
           clean.startsWith(QLatin1String("../"));
}

Results PatchChecks::server()
{
    return answersWithin(transferTimeoutMs);
}

Results PatchChecks::answersWithin(int timeoutMs)
{
    const QString base = PatchContract::normalizedBaseUrl(loadedSettings().patchBaseUrl);
    if (base.isEmpty()) {
        return {
            Result::ok(serverSubject(),
                       QStringLiteral("nenhum foi escolhido; o jogo inicia sem atualizacoes."))};
    }
    const QString name = QStringLiteral("manifest.json");
    const QUrl url(base + name, QUrl::TolerantMode);
    if (!url.isValid()) {
        // Do not show the address: it may contain a password.
        return {Result::error(serverSubject(), QStringLiteral("o endereco nao e valido."),
                              addressRemedy())};
    }
    Results results{proxyResult(url)};
    PublishedPatch patch(base, timeoutMs);
    QByteArray json;
    QString error;
    if (!patch.fetchWhole(name, &json, &error)) {
        results.append(failure(patch.answer(), name, error, timeoutMs));
        return results;
    }
    Manifest manifest;
    if (!Manifest::fromJson(json, &manifest)) {
        results.append(Result::error(
            serverSubject(),
            QStringLiteral("a resposta de %1 nao e um manifest.json.").arg(shownUrl(url)),
            addressRemedy()));
        return results;
    }
    results.append(Result::ok(serverSubject(), QStringLiteral("%1 responde.").arg(shownUrl(url))));
    if (patch.answer().faults().contains(AnswerFault::Plain)) {
        results.append(Result::warning(
            serverSubject(),
            QStringLiteral("sem https, outras pessoas na rede podem trocar os arquivos do jogo."),
            QStringLiteral("Pergunte a quem mantem o servidor qual e o endereco https.")));
    }
    results += remarks(patch.answer(), name);
    if (!manifest.files.isEmpty()) {
        // The server sends all files alike; try the first one.
        const ManifestEntry &entry = manifest.files.constFirst();
        if (patch.tryFile(entry.url, &error)) {
            results += remarks(patch.answer(), entry.path);
        } else {
            results.append(failure(patch.answer(), entry.path, error, timeoutMs));
        }
    }
    return results + contentResults(manifest);
}
