#include "zel-doctor/PatchChecks.h"

#include <QDir>
#include <QNetworkProxy>
#include <QUrl>

#include "patch/PatchContract.h"
#include "settings/LauncherSettings.h"
#include "zel-manifest/Manifest.h"
#include "zel-manifest/PublishedPatch.h"
#include "zel-manifest/Text.h"

namespace
{

/// Shorter than half of the check's limit: it makes two requests.
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

Result proxyResult(const QUrl &url)
{
    const QString subject = QStringLiteral("proxy");
    const QList<QNetworkProxy> proxies =
        QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url));
    if (proxies.isEmpty() || proxies.constFirst().type() == QNetworkProxy::NoProxy) {
        return {Result::Ok, subject, QStringLiteral("nenhum."), {}};
    }
    return {Result::Warning, subject,
            QStringLiteral("as atualizacoes passam por %1:%2.")
                .arg(proxies.constFirst().hostName())
                .arg(proxies.constFirst().port()),
            QStringLiteral("Se elas falharem, confira http_proxy, https_proxy e no_proxy.")};
}

/// What there is to say of a request that failed for the reason @p text, in English.
Result failure(const PatchAnswer &answer, const QString &what, const QString &text)
{
    const auto result = [&what](const QString &reason, const QString &remedy) {
        return Result{Result::Error, serverSubject(), what + QLatin1String(": ") + reason, remedy};
    };
    if (answer.status >= 400) {
        return result(QStringLiteral("o servidor respondeu com o codigo %1.").arg(answer.status),
                      QStringLiteral("Confira URL base do patch em Configuracao, ou avise quem "
                                     "mantem o servidor."));
    }
    switch (answer.error) {
    case QNetworkReply::SslHandshakeFailedError:
        return result(QStringLiteral("o certificado nao e aceito (%1).").arg(text),
                      QStringLiteral("Confira a data do computador; instale ca-certificates; se "
                                     "nao ajudar, avise quem mantem o servidor."));
    case QNetworkReply::HostNotFoundError:
        return result(QStringLiteral("o nome do servidor nao foi encontrado."),
                      QStringLiteral("Confira a internet e URL base do patch em Configuracao."));
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::RemoteHostClosedError:
        return result(QStringLiteral("o servidor nao atende (%1).").arg(text),
                      QStringLiteral("Tente mais tarde ou avise quem mantem o servidor."));
    case QNetworkReply::OperationCanceledError:
        return result(
            QStringLiteral("o servidor nao mandou nada por %1 s.").arg(transferTimeoutMs / 1000),
            QStringLiteral("O launcher esperaria para sempre: tente mais tarde."));
    case QNetworkReply::InsecureRedirectError:
    case QNetworkReply::TooManyRedirectsError:
        return result(
            QStringLiteral("o servidor redireciona para onde o launcher nao segue (%1).").arg(text),
            operatorRemedy());
    default:
        return result(text + u'.',
                      QStringLiteral("Confira URL base do patch em Configuracao e o proxy."));
    }
}

/// How the way of an answer to the launcher could be better; nothing when it is good.
Results remarks(const PatchAnswer &answer, const QString &what)
{
    Results results;
    const auto warn = [&](const QString &text, const QString &remedy) {
        results.append(
            {Result::Warning, serverSubject(), what + QLatin1String(": ") + text, remedy});
    };
    const QList<AnswerFault> faults = answer.faults();
    if (faults.contains(AnswerFault::Redirected)) {
        warn(QStringLiteral("o servidor redireciona para %1.").arg(shownUrl(answer.url)),
             QStringLiteral("Use o endereco novo em URL base do patch."));
    } else if (faults.contains(AnswerFault::Compressed)) {
        warn(QStringLiteral("a resposta vem comprimida; a barra de progresso fica parada e um "
                            "arquivo cortado pode passar despercebido."),
             operatorRemedy());
    } else if (faults.contains(AnswerFault::Chunked) ||
               faults.contains(AnswerFault::WithoutLength)) {
        warn(QStringLiteral("a resposta vem sem tamanho; a barra de progresso fica parada e um "
                            "arquivo cortado pode passar despercebido."),
             operatorRemedy());
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
        results.append({Result::Error, subject,
                        QStringLiteral("%1 arquivo(s) sairiam da pasta do cliente, a comecar "
                                       "por %2.")
                            .arg(QString::number(outsideCount), quoted(outside)),
                        QStringLiteral("Nao atualize a partir deste servidor.")});
    }
    constexpr double MiB = 1024 * 1024;
    const FileAmount amount = manifest.amount();
    QString text = QStringLiteral("versao %1; cada inicio baixa %2 arquivo(s), %3 MiB")
                       .arg(quoted(manifest.version), QString::number(amount.files),
                            QString::number(double(amount.bytes) / MiB, 'f', 1));
    if (withoutSize > 0) {
        text += QStringLiteral(" e %1 de tamanho desconhecido").arg(withoutSize);
    }
    results.append({Result::Ok, subject, text + u'.', {}});
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
    LauncherSettings &settings = LauncherSettings::instance();
    settings.load();
    const QString base = PatchContract::normalizedBaseUrl(settings.patchBaseUrl);
    if (base.isEmpty()) {
        return {{Result::Ok,
                 serverSubject(),
                 QStringLiteral("nenhum foi escolhido; o jogo inicia sem atualizacoes."),
                 {}}};
    }
    const QString name = QStringLiteral("manifest.json");
    const QUrl url(base + name, QUrl::TolerantMode);
    if (!url.isValid()) {
        return {{Result::Error, serverSubject(),
                 QStringLiteral("o endereco nao e valido: %1.").arg(base),
                 QStringLiteral("Corrija URL base do patch em Configuracao.")}};
    }
    Results results{proxyResult(url)};
    PublishedPatch patch(base, transferTimeoutMs);
    QByteArray json;
    QString error;
    if (!patch.fetchWhole(name, &json, &error)) {
        results.append(failure(patch.answer(), name, error));
        return results;
    }
    Manifest manifest;
    if (!Manifest::fromJson(json, &manifest)) {
        results.append(
            {Result::Error, serverSubject(),
             QStringLiteral("o que %1 responde nao e um manifest.json.").arg(shownUrl(url)),
             QStringLiteral("Confira URL base do patch em Configuracao.")});
        return results;
    }
    results.append(
        {Result::Ok, serverSubject(), QStringLiteral("%1 responde.").arg(shownUrl(url)), {}});
    if (patch.answer().faults().contains(AnswerFault::Plain)) {
        results.append(
            {Result::Warning, serverSubject(),
             QStringLiteral("sem https, outros na rede podem trocar os arquivos do jogo."),
             QStringLiteral("Pergunte a quem mantem o servidor pelo endereco https.")});
    }
    results += remarks(patch.answer(), name);
    if (!manifest.files.isEmpty()) {
        // One file tells how the server sends files.
        const ManifestEntry &entry = manifest.files.constFirst();
        if (patch.tryFile(entry.url, &error)) {
            results += remarks(patch.answer(), entry.path);
        } else {
            results.append(failure(patch.answer(), entry.path, error));
        }
    }
    return results + contentResults(manifest);
}
