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

/// What went wrong with a finished transfer, in the network library's words.
std::optional<QString> transferError(const QNetworkReply &reply)
{
    if (reply.error() != QNetworkReply::NoError) {
        return reply.errorString();
    }
    // The library sometimes takes a connection that closes early for the end of the body.
    if (reply.bytesAvailable() < PatchContract::promisedSize(reply)) {
        return QCoreApplication::translate("QHttp", "Connection closed");
    }
    return std::nullopt;
}

/// Writes the whole body to @p file. The body goes over in blocks, each of which the reply gives
/// up as it is read, so that a large file is not held twice. Nothing less than all bytes in the
/// system's hands counts: a commit after a write that a full disk cut would succeed.
bool writeBody(QIODevice *body, QSaveFile *file)
{
    constexpr qint64 blockSize = 65536;

    const qint64 size = body->bytesAvailable();
    while (!body->atEnd()) {
        const QByteArray block = body->read(blockSize);
        if (block.isEmpty() || file->write(block) != block.size()) {
            return false;
        }
    }
    return file->flush() && file->error() == QFileDevice::NoError && file->size() == size;
}

/// Replaces the file at @p target by the body, whole or not at all. Returns the failure to show,
/// nothing on success.
std::optional<QString> storeBody(QIODevice *body, const QString &target)
{
    QSaveFile file(target);
    const bool isName = !target.contains(QChar::Null); // no file system holds such a name
    if (isName) {
        QDir().mkpath(QFileInfo(target).path());
    }
    if (!isName || !file.open(QIODevice::WriteOnly)) {
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
    const quint64 run = ++newestRun;
    ++openRuns;

    if (normalizedBaseUrl().isEmpty()) {
        endOlderRuns();
        if (run == newestRun) {
            finishSuccess(QStringLiteral("Atualizacao desativada (URL de patch vazia)."));
        }
        return;
    }
    emit statusChanged(QStringLiteral("Verificando versao..."));
    if (run != newestRun) {
        return;
    }
    emit progressChanged(0);
    if (run != newestRun) {
        return;
    }
    fetchManifest();
}

void PatchManager::cancel()
{
    cancelled = true;
    abortCurrentReply();
}

QString PatchManager::normalizedBaseUrl() const
{
    return PatchContract::normalizedBaseUrl(baseUrl);
}

void PatchManager::fetchManifest()
{
    const quint64 run = newestRun;
    endOlderRuns();
    if (run != newestRun) {
        return;
    }
    const QUrl url(normalizedBaseUrl() + QStringLiteral("manifest.json"), QUrl::TolerantMode);
    if (!url.isValid()) {
        finishError(QStringLiteral("URL de patch invalida."));
        return;
    }
    if (cancelled) {
        finishError(cancelledText());
        return;
    }
    startRequest(url);
    connect(currentReply, &QNetworkReply::finished, this,
            [this, reply = currentReply, run] { onManifestReply(reply, run); });
}

void PatchManager::onManifestReply(QNetworkReply *reply, quint64 run)
{
    if (takeBody(reply, run, QStringLiteral("Nao foi possivel baixar manifest.json: "))) {
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

    // The version only decides what happens when nothing is listed.
    if (!files.isEmpty()) {
        const quint64 run = newestRun;
        emit statusChanged(QStringLiteral("Baixando %1 arquivo(s)...").arg(files.size()));
        if (run == newestRun) {
            downloadNext();
        }
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

    const quint64 run = newestRun;
    const PatchFileEntry entry = files.at(currentIndex);
    emit progressChanged(donePercent());
    if (run != newestRun) {
        return;
    }
    emit statusChanged(
        QStringLiteral("Baixando %1 (%2/%3)")
            .arg(entry.path, QString::number(currentIndex + 1), QString::number(files.size())));
    if (run != newestRun) {
        return;
    }

    const QUrl url(normalizedBaseUrl() + entry.url, QUrl::TolerantMode);
    if (!url.isValid()) {
        finishError(QStringLiteral("URL invalida para ") + entry.path);
        return;
    }
    if (cancelled) {
        finishError(cancelledText());
        return;
    }
    startRequest(url);
    connect(currentReply, &QNetworkReply::downloadProgress, this, &PatchManager::onFileProgress);
    connect(currentReply, &QNetworkReply::finished, this,
            [this, reply = currentReply, run, entry] { onFileReply(reply, run, entry); });
}

void PatchManager::onFileProgress(qint64 received, qint64 total)
{
    if (total <= 0 || files.isEmpty()) {
        return;
    }
    const qint64 filePercent = received * 100 / total / files.size();
    // 100 is for the end of the run alone.
    emit progressChanged(int(std::min<qint64>(filePercent + donePercent(), 99)));
}

void PatchManager::onFileReply(QNetworkReply *reply, quint64 run, const PatchFileEntry &entry)
{
    if (!takeBody(reply, run,
                  QStringLiteral("Falha ao baixar ") + entry.path + QLatin1String(": "))) {
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

/// Puts a plain GET in flight. None is when a step of the newest run comes here.
void PatchManager::startRequest(const QUrl &url)
{
    currentReply = network->get(QNetworkRequest(url));
}

/// Takes a finished reply out of flight and releases it; its body stays readable until control
/// returns to the event loop. Returns false when it has none to give: the reply was taken over
/// elsewhere, or the run ended here.
bool PatchManager::takeBody(QNetworkReply *reply, quint64 run, const QString &failurePrefix)
{
    if (currentReply != reply) {
        return false;
    }
    currentReply = nullptr;
    reply->deleteLater();
    if (cancelled) {
        finishError(cancelledText());
        return false;
    }
    if (const std::optional<QString> error = transferError(*reply)) {
        finishError(failurePrefix + *error);
        return false;
    }
    if (run != newestRun) {
        finishError(cancelledText());
        return false;
    }
    return true;
}

/// Aborts the request in flight, which ends its run.
void PatchManager::abortCurrentReply()
{
    QNetworkReply *const reply = currentReply;
    if (reply == nullptr) {
        return;
    }
    reply->abort(); // its handler runs inside the call and clears the member
    // What the library still has queued for the reply would reach it before its deletion and make
    // it complain on the console.
    QCoreApplication::removePostedEvents(reply, QEvent::MetaCall);
    if (currentReply == reply) {
        // It had ended by itself and not said so yet: its handler would come too late.
        currentReply = nullptr;
        reply->deleteLater();
        finishError(cancelledText());
    }
}

/// Ends the runs that were open when the newest one began.
void PatchManager::endOlderRuns()
{
    abortCurrentReply();
    while (openRuns > 1) {
        finishError(cancelledText());
    }
}

int PatchManager::donePercent() const
{
    return currentIndex * 100 / int(files.size());
}

void PatchManager::finishSuccess(const QString &message)
{
    --openRuns;
    emit progressChanged(100);
    emit finished(true, message);
}

void PatchManager::finishError(const QString &message)
{
    --openRuns;
    emit finished(false, message);
}
