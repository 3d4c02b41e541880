#pragma once

#include <QList>
#include <QObject>
#include <QString>

class QNetworkAccessManager;
class QNetworkReply;
class QUrl;

/// One file of the patch manifest.
struct PatchFileEntry {
    QString path;    ///< Where the file belongs, relative to the client folder; taken as it stands.
    QString url;     ///< Where it is fetched, appended to the base URL as text.
    qint64 size = 0; ///< Bytes that the manifest announces; kept, never compared.
    QString sha256;  ///< Digest that the manifest announces; kept, never compared.
};

/// Brings the client folder up to date from a web server that publishes "manifest.json".
///
/// A run begins with checkAndUpdate() and ends with exactly one finished(); no signal of that run
/// follows. Everything runs on the owner's thread, with at most one request in flight. Destroying
/// the object drops a run without a signal.
class PatchManager : public QObject
{
    Q_OBJECT

public:
    explicit PatchManager(QObject *parent = nullptr);

    /// Starts a run. With an empty or invalid base URL it ends before the call returns. A run
    /// still open is ended first: its request is aborted, and it finishes without success.
    void checkAndUpdate();

    /// Ends the run: before the call returns when a request is in flight, otherwise at the run's
    /// next step. Files already stored stay.
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

    void onManifestReply(QNetworkReply *reply, quint64 run);
    void onFileProgress(qint64 received, qint64 total);
    void onFileReply(QNetworkReply *reply, quint64 run, const PatchFileEntry &entry);
    void startRequest(const QUrl &url);
    bool takeBody(QNetworkReply *reply, quint64 run, const QString &failurePrefix);
    void abortCurrentReply();
    void endOlderRuns();
    int donePercent() const;

    QString remoteVersion;
    QList<PatchFileEntry> files;
    int currentIndex = 0;
    QNetworkAccessManager *network = nullptr;
    QNetworkReply *currentReply = nullptr;
    bool cancelled = false;

    // A slot may start a run from inside any signal of another one. Each step that goes on after
    // a signal first looks whether its run is still the newest; if not, the newest has ended it.
    quint64 newestRun = 0;
    int openRuns = 0;
};
