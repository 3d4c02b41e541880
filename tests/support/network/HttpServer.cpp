#include "support/network/HttpServer.h"

#include <QHostAddress>
#include <QMutexLocker>
#include <QSslConfiguration>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <utility>

#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace
{

QByteArray lengthLine(const QByteArray &body)
{
    return "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
}

quint32 crc32(const QByteArray &data)
{
    quint32 crc = ~quint32(0);
    for (const char c : data) {
        crc ^= quint8(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~crc;
}

QByteArray littleEndian(quint32 value)
{
    std::array<char, sizeof value> bytes{};
    qToLittleEndian(value, bytes.data());
    return QByteArray(bytes.data(), bytes.size());
}

QByteArray gzip(const QByteArray &data)
{
    // qCompress() returns the size, a stream header, the deflated data and a checksum.
    const QByteArray compressed = qCompress(data);
    const QByteArray deflated = compressed.mid(6, compressed.size() - 10);
    return QByteArray::fromHex("1f8b08000000000000ff") + deflated + littleEndian(crc32(data)) +
           littleEndian(quint32(data.size()));
}

} // namespace

HttpAnswer HttpAnswer::raw(const QByteArray &header, const QByteArray &body)
{
    HttpAnswer answer;
    answer.header = header + "\r\n";
    answer.body = body;
    return answer;
}

HttpAnswer HttpAnswer::status(const QByteArray &codeAndReason, const QByteArray &body)
{
    return raw("HTTP/1.1 " + codeAndReason + "\r\n" + lengthLine(body), body);
}

HttpAnswer HttpAnswer::withLength(const QByteArray &body)
{
    return status("200 OK", body);
}

HttpAnswer HttpAnswer::withoutLength(const QByteArray &body)
{
    HttpAnswer answer = raw("HTTP/1.1 200 OK\r\nConnection: close\r\n", body);
    answer.ending = Ending::Close;
    return answer;
}

HttpAnswer HttpAnswer::chunked(const QByteArray &body, qsizetype chunkSize)
{
    QByteArray wire;
    for (qsizetype at = 0; at < body.size(); at += chunkSize) {
        const QByteArray chunk = body.mid(at, chunkSize);
        wire += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
    }
    return raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n", wire + "0\r\n\r\n");
}

HttpAnswer HttpAnswer::gzipped(const QByteArray &body)
{
    return withLength(gzip(body)).withHeader("Content-Encoding: gzip");
}

HttpAnswer HttpAnswer::redirect(const QByteArray &location)
{
    return status("302 Found", QByteArray(300, 'r')).withHeader("Location: " + location);
}

HttpAnswer HttpAnswer::withHeader(const QByteArray &line) const
{
    HttpAnswer answer = *this;
    answer.header.insert(header.size() - 2, line + "\r\n");
    return answer;
}

HttpAnswer HttpAnswer::heldAt(qsizetype position) const
{
    HttpAnswer answer = *this;
    answer.holds.append(toWire(position));
    return answer;
}

HttpAnswer HttpAnswer::cutAt(qsizetype position) const
{
    HttpAnswer answer = *this;
    answer.endAt = toWire(position);
    answer.ending = Ending::Close;
    return answer;
}

HttpAnswer HttpAnswer::resetAt(qsizetype position) const
{
    HttpAnswer answer = *this;
    answer.endAt = toWire(position);
    answer.ending = Ending::Reset;
    return answer;
}

HttpAnswer HttpAnswer::inBlocks(qsizetype size, int intervalMs) const
{
    HttpAnswer answer = *this;
    answer.blockSize = size;
    answer.blockIntervalMs = intervalMs;
    return answer;
}

qsizetype HttpAnswer::toWire(qsizetype position) const
{
    switch (position) {
    case beforeHeader:
        return 0;
    case insideHeader:
        return header.size() / 2;
    default:
        return header.size() + position;
    }
}

/// One connection of the server: reads a request, sends its answer, reads the next.
class HttpConnection : public QObject
{
public:
    HttpConnection(HttpServer *owner, QTcpSocket *newSocket);
    ~HttpConnection() override;

private:
    void readRequest();
    void advance();
    void sendUpTo(qsizetype position);
    void end();
    void leaveFlight();
    void setHeld(bool nowHeld);

    HttpServer *server = nullptr;
    QTcpSocket *socket = nullptr;
    QTimer pace;
    int number = 0;
    QByteArray unread;
    HttpAnswer answer;
    qsizetype sent = 0;
    bool isAnswering = false;
    bool isHeld = false;
};

HttpConnection::HttpConnection(HttpServer *owner, QTcpSocket *newSocket)
    : QObject(newSocket)
    , server(owner)
    , socket(newSocket)
{
    {
        const QMutexLocker lock(&server->mutex);
        number = ++server->record.total;
        ++server->record.open;
    }
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(socket, &QTcpSocket::readyRead, this, &HttpConnection::readRequest);
    connect(socket, &QTcpSocket::bytesWritten, this, &HttpConnection::advance);
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    connect(&pace, &QTimer::timeout, this, &HttpConnection::advance);
    connect(server, &HttpServer::resumed, this, [this] {
        if (isHeld) {
            setHeld(false);
            answer.holds.removeFirst();
            advance();
        }
    });
    pace.setSingleShot(true);
    pace.setTimerType(Qt::PreciseTimer);
    readRequest();
}

HttpConnection::~HttpConnection()
{
    setHeld(false);
    leaveFlight();
    const QMutexLocker lock(&server->mutex);
    --server->record.open;
}

void HttpConnection::readRequest()
{
    unread += socket->readAll();
    const qsizetype size = unread.indexOf("\r\n\r\n") + 4;
    if (isAnswering || size < 4) {
        return;
    }
    const QByteArray head = unread.left(size - 2);
    unread.remove(0, size);
    const QByteArray path = head.split(' ').value(1);
    {
        const QMutexLocker lock(&server->mutex);
        HttpServer::Record &record = server->record;
        record.requests.append({path, head, number});
        ++record.inFlight;
        record.mostInFlight = std::max(record.mostInFlight, record.inFlight);
        answer = record.answers.value(path, HttpAnswer::status("404 Not Found", "nothing here"));
    }
    isAnswering = true;
    sent = 0;
    advance();
}

/// Sends up to the next pause. Called again when the bytes are written, at the end of the interval
/// and on resume().
void HttpConnection::advance()
{
    if (!isAnswering || isHeld || pace.isActive() || socket->bytesToWrite() > 0 ||
        socket->state() != QAbstractSocket::ConnectedState) {
        return;
    }
    if (!answer.holds.isEmpty() && sent == answer.holds.first()) {
        setHeld(true);
        return;
    }
    if (sent == answer.wireSize()) {
        end();
        return;
    }
    qsizetype next = answer.holds.value(0, answer.wireSize());
    if (answer.blockSize > 0) {
        next = std::min(next, sent + answer.blockSize);
        pace.start(answer.blockIntervalMs);
    }
    sendUpTo(next);
}

void HttpConnection::sendUpTo(qsizetype position)
{
    const qsizetype headerSize = answer.header.size();
    const qsizetype from = std::exchange(sent, position);
    if (from < headerSize) {
        socket->write(answer.header.mid(from, position - from));
    }
    if (position > headerSize) {
        const qsizetype bodyFrom = std::max<qsizetype>(from - headerSize, 0);
        socket->write(answer.body.mid(bodyFrom, position - headerSize - bodyFrom));
    }
}

void HttpConnection::end()
{
    leaveFlight();
    switch (answer.ending) {
    case HttpAnswer::Ending::KeepOpen:
        readRequest();
        break;
    case HttpAnswer::Ending::Close:
        socket->disconnectFromHost();
        break;
    case HttpAnswer::Ending::Reset: {
        const linger atOnce = {.l_onoff = 1, .l_linger = 0};
        setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        socket->abort();
        break;
    }
    }
}

void HttpConnection::leaveFlight()
{
    if (std::exchange(isAnswering, false)) {
        const QMutexLocker lock(&server->mutex);
        --server->record.inFlight;
    }
}

void HttpConnection::setHeld(bool nowHeld)
{
    if (std::exchange(isHeld, nowHeld) != nowHeld) {
        const QMutexLocker lock(&server->mutex);
        server->record.held += nowHeld ? 1 : -1;
    }
}

HttpServer::HttpServer()
    : listener(new QTcpServer)
{
    start();
}

HttpServer::HttpServer(const QSslConfiguration &tls)
    : scheme(u"https"_s)
{
    auto *server = new QSslServer;
    server->setSslConfiguration(tls);
    listener = server;
    start();
}

HttpServer::~HttpServer()
{
    connect(&thread, &QThread::finished, listener, &QObject::deleteLater);
    thread.quit();
    thread.wait();
}

void HttpServer::start()
{
    connect(listener, &QTcpServer::pendingConnectionAvailable, listener, [this] {
        while (QTcpSocket *socket = listener->nextPendingConnection()) {
            new HttpConnection(this, socket);
        }
    });
    listener->moveToThread(&thread);
    thread.start();
    const auto listen = [this] { return listener->listen(QHostAddress::LocalHost); };
    bool listens = false;
    QMetaObject::invokeMethod(listener, listen, Qt::BlockingQueuedConnection, &listens);
    if (!listens) {
        qFatal("no port to listen on: %s", qPrintable(listener->errorString()));
    }
    listenPort = listener->serverPort();
}

QString HttpServer::url(const QString &path) const
{
    return u"%1://127.0.0.1:%2"_s.arg(scheme).arg(listenPort) + path;
}

void HttpServer::answer(const QByteArray &path, const HttpAnswer &answer)
{
    const QMutexLocker lock(&mutex);
    record.answers.insert(path, answer);
}

void HttpServer::resume()
{
    emit resumed();
}

void HttpServer::clearRecord()
{
    const QMutexLocker lock(&mutex);
    record.requests.clear();
    record.total = record.open;
    record.mostInFlight = record.inFlight;
}

QList<HttpRequest> HttpServer::requests() const
{
    const QMutexLocker lock(&mutex);
    return record.requests;
}

QByteArrayList HttpServer::paths() const
{
    QByteArrayList paths;
    for (const HttpRequest &request : requests()) {
        paths.append(request.path);
    }
    return paths;
}

int HttpServer::openConnections() const
{
    const QMutexLocker lock(&mutex);
    return record.open;
}

int HttpServer::totalConnections() const
{
    const QMutexLocker lock(&mutex);
    return record.total;
}

int HttpServer::requestsInFlight() const
{
    const QMutexLocker lock(&mutex);
    return record.inFlight;
}

int HttpServer::mostInFlight() const
{
    const QMutexLocker lock(&mutex);
    return record.mostInFlight;
}

int HttpServer::heldAnswers() const
{
    const QMutexLocker lock(&mutex);
    return record.held;
}
