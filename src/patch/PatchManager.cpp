#include "patch/PatchManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>
#include <QUrl>

#include <algorithm>
#include <optional>

#include "patch/PatchContract.h"
#include "settings/LauncherSettings.h"

namespace
{

QString cancelledText()
{
    return QStringLiteral("Atualizacao cancelada.");
}

PatchFileEntry entryFromJson(const QJsonObject &object)
{
    PatchFileEntry entry;
    entry.path = object.value(u"path").toString();
    entry.url = object.value(u"url").toString(entry.path);
    entry.size = object.value(u"size").toInteger(0);
    entry.sha256 = object.value(u"sha256").toString();
    return entry;
}

void storeLocalVersion(const QString &version)
{
    LauncherSettings &settings = LauncherSettings::instance();
    settings.localVersion = version;
    settings.save();
}

/// Qt's error text for a finished transfer, nothing on success.
std::optional<QString> transferError(const QNetworkReply &reply)
{
    if (reply.error() != QNetworkReply::NoError) {
        return reply.errorString();
    }
    // Qt sometimes treats an early close of the connection as the end of the body.
    if (reply.bytesAvailable() < PatchContract::promisedSize(reply)) {
        return QCoreApplication::translate("QHttp", "Connection closed");
    }
    return std::nullopt;
}

/// Writes the whole body to @p file, in blocks that the reply then releases: a large file is not in
/// memory twice. Compares the size, because QSaveFile would commit a short write.
bool writeBody(QIODevice *body, QSaveFile *file)
{
    constexpr qint64 blockSize = 65536;

    const qint64 size = body->bytesAvailable();
    for (QByteArray block = body->read(blockSize); !block.isEmpty();
         block = body->read(blockSize)) {
        file->write(block);
    }
    return file->size() == size; // size() flushes
}

/// Replaces the file at @p target atomically by the body. Returns the error message, nothing on
/// success.
std::optional<QString> storeBody(QIODevice *body, const QString &target)
{
    QSaveFile file(target);
    // QSaveFile would replace the file whose name stands before a NUL character.
    const bool isValidName = !target.contains(QChar::Null);
    if (isValidName) {
        QDir().mkpath(QFileInfo(target).path());
    }
    if (!isValidName || !file.open(QIODevice::WriteOnly)) {
        return QStringLiteral("Nao foi possivel gravar ") + target;
    }
    if (!writeBody(body, &file)) {
        file.cancelWriting();
    }
    if (!file.commit()) {
        return QStringLiteral("Falha ao salvar ") + target;
    }
    return std::nullopt;
}

} // namespace

PatchManager::PatchManager(QObject *parent)
    : QObject(parent)
    , network(new QNetworkAccessManager(this))
{
}

void PatchManager::checkAndUpdate()
{
    cancelled = false;
    files.clear();
    currentIndex = 0;
    remoteVersion.clear();

    // No patch server counts as success: the caller goes on to start the game.
    if (normalizedBaseUrl().isEmpty()) {
        finishSuccess(QStringLiteral("Atualizacao desativada (URL de patch vazia)."));
        return;
    }
    emit statusChanged(QStringLiteral("Verificando versao..."));
    emit progressChanged(0);
    fetchManifest();
}

void PatchManager::cancel()
{
    cancelled = true;
    if (currentReply != nullptr) {
        // Clear after abort(), which runs the handler: it ignores any reply but currentReply.
        currentReply->abort();
        currentReply = nullptr;
    }
}

QString PatchManager::normalizedBaseUrl() const
{
    return PatchContract::normalizedBaseUrl(baseUrl);
}

void PatchManager::fetchManifest()
{
    const QUrl url(normalizedBaseUrl() + QStringLiteral("manifest.json"), QUrl::TolerantMode);
    if (!url.isValid()) {
        finishError(QStringLiteral("URL de patch invalida."));
        return;
    }
    startRequest(url);
    connect(currentReply, &QNetworkReply::finished, this,
            [this, reply = currentReply] { onManifestReply(reply); });
}

void PatchManager::onManifestReply(QNetworkReply *reply)
{
    if (takeReply(reply, QStringLiteral("Nao foi possivel baixar manifest.json: "))) {
        processManifest(reply->readAll());
    }
}

void PatchManager::processManifest(const QByteArray &data)
{
    const QJsonDocument document = QJsonDocument::fromJson(data);
    if (!document.isObject()) {
        finishError(QStringLiteral("manifest.json invalido."));
        return;
    }
    const QJsonObject manifest = document.object();
    remoteVersion = manifest.value(u"version").toString();
    const QJsonArray listed = manifest.value(u"files").toArray();
    for (const auto &value : listed) {
        const PatchFileEntry entry = entryFromJson(value.toObject());
        if (!entry.path.isEmpty()) {
            files.append(entry);
        }
    }

    // The version matters only if no file is listed.
    if (!files.isEmpty()) {
        emit statusChanged(QStringLiteral("Baixando %1 arquivo(s)...").arg(files.size()));
        downloadNext();
        return;
    }
    if (LauncherSettings::instance().localVersion == remoteVersion) {
        finishSuccess(QStringLiteral("Cliente ja esta atualizado."));
        return;
    }
    // An empty version is stored too, unlike after a download.
    storeLocalVersion(remoteVersion);
    finishSuccess(QStringLiteral("Versao verificada. Nenhum arquivo para baixar."));
}

void PatchManager::downloadNext()
{
    if (cancelled) {
        finishError(cancelledText());
        return;
    }
    if (currentIndex >= files.size()) {
        if (!remoteVersion.isEmpty()) {
            storeLocalVersion(remoteVersion);
        }
        finishSuccess(QStringLiteral("Atualizacao concluida."));
        return;
    }

    const PatchFileEntry entry = files.at(currentIndex);
    emit progressChanged(donePercent());
    emit statusChanged(
        QStringLiteral("Baixando %1 (%2/%3)")
            .arg(entry.path, QString::number(currentIndex + 1), QString::number(files.size())));

    const QUrl url(normalizedBaseUrl() + entry.url, QUrl::TolerantMode);
    if (!url.isValid()) {
        finishError(QStringLiteral("URL invalida para ") + entry.path);
        return;
    }
    startRequest(url);
    connect(currentReply, &QNetworkReply::downloadProgress, this, &PatchManager::onFileProgress);
    connect(currentReply, &QNetworkReply::finished, this,
            [this, reply = currentReply, entry] { onFileReply(reply, entry); });
}

void PatchManager::onFileProgress(qint64 received, qint64 total)
{
    if (total <= 0 || files.isEmpty()) {
        return;
    }
    const qint64 filePercent = received * 100 / total / files.size();
    // Only the end of a run emits 100.
    emit progressChanged(int(std::min<qint64>(filePercent + donePercent(), 99)));
}

void PatchManager::onFileReply(QNetworkReply *reply, const PatchFileEntry &entry)
{
    if (!takeReply(reply, QStringLiteral("Falha ao baixar ") + entry.path + QLatin1String(": "))) {
        return;
    }
    const std::optional<QString> failure = storeBody(reply, QDir(clientDir).filePath(entry.path));
    if (failure) {
        finishError(*failure);
        return;
    }
    ++currentIndex;
    downloadNext();
}

/// Sends a plain GET and keeps its reply.
void PatchManager::startRequest(const QUrl &url)
{
    if (currentReply != nullptr) {
        currentReply->abort(); // runs its handler, which ends its run
    }
    currentReply = network->get(QNetworkRequest(url));
}

/// Schedules the deletion of a finished reply; its body stays readable until control returns to the
/// event loop. Returns false without a usable body: the run has ended, or @p reply is not the
/// current one.
bool PatchManager::takeReply(QNetworkReply *reply, const QString &failurePrefix)
{
    reply->deleteLater();
    // A reply for a "file:" URL finishes after abort(), when the next request may be in flight.
    if (currentReply != reply) {
        return false;
    }
    currentReply = nullptr;
    if (cancelled) {
        finishError(cancelledText());
        return false;
    }
    if (const std::optional<QString> error = transferError(*reply)) {
        finishError(failurePrefix + *error);
        return false;
    }
    return true;
}

/// Percentage of files stored.
int PatchManager::donePercent() const
{
    return currentIndex * 100 / int(files.size());
}

void PatchManager::finishSuccess(const QString &message)
{
    emit progressChanged(100);
    emit finished(true, message);
}

void PatchManager::finishError(const QString &message)
{
    emit finished(false, message);
}
