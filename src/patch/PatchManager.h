#pragma once

#include <QList>
#include <QObject>
#include <QString>

class QNetworkAccessManager;
class QNetworkReply;
class QUrl;

/// One file of the patch manifest.
struct PatchFileEntry {
    QString path;    ///< Target, relative to the client folder; absolute paths and ".." allowed.
    QString url;     ///< Source, appended to the base URL as text.
    qint64 size = 0; ///< Size in bytes from the manifest; not checked.
    QString sha256;  ///< Digest from the manifest; not checked.
};

/// Brings the client folder up to date from a web server that publishes "manifest.json".
///
/// A run starts with checkAndUpdate() and ends with one finished(), after which it emits nothing.
/// Everything runs on the owner's thread, with at most one request in flight. Destroying the
/// object aborts a run without a signal.
///
/// Precondition: slots of statusChanged() and progressChanged() neither start nor cancel a run. A
/// slot of finished() may start the next run, unless cancel() or checkAndUpdate() ended the last.
class PatchManager : public QObject
{
    Q_OBJECT

public:
    explicit PatchManager(QObject *parent = nullptr);

    /// Starts a run. With an empty or invalid base URL the run ends before the call returns; a
    /// request in flight is not affected. Otherwise a request in flight is aborted, its run ends
    /// without success, and the new run continues.
    void checkAndUpdate();

    /// Ends the run without success: before the call returns when a request is in flight, otherwise
    /// before the next file. Files already stored are left untouched.
    void cancel();

    QString clientDir; ///< Folder that the files are written to; set before each run.
    QString baseUrl;   ///< Base URL as the user entered it; set before each run.

signals:
    /// A line of status text for the user.
    void statusChanged(const QString &message);
    /// Overall progress of the run, 0 to 100.
    void progressChanged(int percent);
    /// The end of a run, with the text to show.
    void finished(bool success, const QString &message);

private:
    QString normalizedBaseUrl() const;
    void fetchManifest();
    void processManifest(const QByteArray &data);
    void downloadNext();
    void finishSuccess(const QString &message);
    void finishError(const QString &message);

    void onManifestReply(QNetworkReply *reply);
    void onFileProgress(qint64 received, qint64 total);
    void onFileReply(QNetworkReply *reply, const PatchFileEntry &entry);
    void startRequest(const QUrl &url);
    bool takeReply(QNetworkReply *reply, const QString &failurePrefix);
    int donePercent() const;

    QString remoteVersion;
    QList<PatchFileEntry> files;
    int currentIndex = 0;
    QNetworkAccessManager *network = nullptr;
    QNetworkReply *currentReply = nullptr;
    bool cancelled = false;
};
