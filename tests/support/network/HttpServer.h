#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>

class QSslConfiguration;
class QTcpServer;

/// The answer to one request: its bytes, the positions at which it pauses, and its end.
///
/// Positions count the bytes of the body as sent: compressed, or with chunk sizes.
class HttpAnswer
{
public:
    /// Position at which nothing has been sent, not even the status line.
    static constexpr qsizetype beforeHeader = -2;
    /// Position in the middle of the header.
    static constexpr qsizetype insideHeader = -1;

    /// 200, with the body's Content-Length.
    static HttpAnswer withLength(const QByteArray &body);
    /// 200, the body ended by the end of the connection.
    static HttpAnswer withoutLength(const QByteArray &body);
    /// 200, the body in chunks of at most @p chunkSize bytes.
    static HttpAnswer chunked(const QByteArray &body, qsizetype chunkSize = 1000);
    /// 200, the body compressed, with the compressed size as Content-Length.
    static HttpAnswer gzipped(const QByteArray &body);
    /// Any status line, with a body and its Content-Length.
    static HttpAnswer status(const QByteArray &codeAndReason, const QByteArray &body = {});
    /// 302 to @p location, with a body like that of real servers.
    static HttpAnswer redirect(const QByteArray &location);
    /// @p header, without its empty line, and @p body, both unchanged; the connection stays open.
    static HttpAnswer raw(const QByteArray &header, const QByteArray &body);

    /// Adds a header line.
    HttpAnswer withHeader(const QByteArray &line) const;
    /// Waits at @p position until HttpServer::resume(). Several positions are given in ascending
    /// order.
    HttpAnswer heldAt(qsizetype position) const;
    /// Closes the connection properly at @p position.
    HttpAnswer cutAt(qsizetype position) const;
    /// Resets the connection at @p position.
    HttpAnswer resetAt(qsizetype position) const;
    /// Sends a block of @p size bytes every @p intervalMs milliseconds.
    HttpAnswer inBlocks(qsizetype size, int intervalMs) const;

    /// The body as sent.
    QByteArray wireBody() const { return body; }

private:
    friend class HttpConnection;

    enum class Ending { KeepOpen, Close, Reset };

    qsizetype toWire(qsizetype position) const;
    qsizetype wireSize() const { return endAt < 0 ? header.size() + body.size() : endAt; }

    QByteArray header;
    QByteArray body;
    QList<qsizetype> holds; // in order
    qsizetype endAt = -1;
    Ending ending = Ending::KeepOpen;
    qsizetype blockSize = 0;
    int blockIntervalMs = 0;
};

/// A request that the server received.
struct HttpRequest {
    QByteArray path;    ///< The request target in the request line.
    QByteArray head;    ///< Request line and header lines, each with its line end.
    int connection = 0; ///< The number of its connection, from 1.
};

/// A scripted HTTP/1.1 server on a free port of 127.0.0.1 that records its requests.
///
/// A path without a script is answered with 404. The server runs in its own thread, so it answers
/// while the thread that created it is busy. That thread may call all members.
class HttpServer : public QObject
{
    Q_OBJECT

public:
    HttpServer();
    /// Speaks TLS.
    explicit HttpServer(const QSslConfiguration &tls);
    ~HttpServer() override;

    /// "http://127.0.0.1:port", or "https", followed by @p path.
    QString url(const QString &path = {}) const;

    /// Sets the answer to every request of @p path from now on.
    void answer(const QByteArray &path, const HttpAnswer &answer);
    /// Continues all answers that are held.
    void resume();
    /// Clears the recorded requests; open connections still count.
    void clearRecord();

    /// The requests so far, in order.
    QList<HttpRequest> requests() const;
    /// Their paths.
    QByteArrayList paths() const;
    int openConnections() const;
    int totalConnections() const;
    /// Received requests whose answer is neither complete nor aborted.
    int requestsInFlight() const;
    /// The maximum of requestsInFlight() so far.
    int mostInFlight() const;
    /// The number of answers that are held.
    int heldAnswers() const;

signals:
    /// To the connections, in their thread.
    void resumed();

private:
    friend class HttpConnection;

    struct Record {
        QHash<QByteArray, HttpAnswer> answers;
        QList<HttpRequest> requests;
        int open = 0;
        int total = 0;
        int inFlight = 0;
        int mostInFlight = 0;
        int held = 0;
    };

    void start();

    mutable QMutex mutex;
    Record record; // guarded by the mutex
    QThread thread;
    QTcpServer *listener = nullptr;
    quint16 listenPort = 0;
    QString scheme = QStringLiteral("http");
};

Q_DECLARE_METATYPE(HttpAnswer)
