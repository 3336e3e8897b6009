#include "support/HttpServer.h"

#include <QTcpSocket>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kHeadEnd = "\r\n\r\n";

HttpHeaders headersOf(const QList<QByteArray>& lines)
{
    HttpHeaders headers;
    for (const QByteArray& line : lines) {
        const qsizetype colon = line.indexOf(':');
        headers.insert(line.first(colon).toLower(), line.sliced(colon + 1).trimmed());
    }
    return headers;
}

} // namespace

QList<FormPart> HttpRequest::formParts() const
{
    const QByteArray type = headers.value("content-type");
    const qsizetype start = type.indexOf("boundary=");
    if (start < 0) {
        return {};
    }
    const QByteArray boundary = "--" + type.mid(start + 9).replace('"', "");
    QList<FormPart> parts;
    qsizetype from = body.indexOf(boundary);
    while (from >= 0) {
        from += boundary.size() + 2; // the line feed behind the boundary
        const qsizetype next = body.indexOf("\r\n" + boundary, from);
        const qsizetype head = body.indexOf(kHeadEnd, from);
        if (next < 0 || head < 0) {
            break;
        }
        const qsizetype bodyStart = head + kHeadEnd.size();
        parts.append({headersOf(body.mid(from, head - from).split('\n')),
            body.mid(bodyStart, next - bodyStart)});
        from = next + 2;
    }
    return parts;
}

HttpServer::HttpServer(QObject* parent)
    : QObject(parent)
{
    if (!m_server.listen(QHostAddress::LocalHost)) {
        qFatal("No loopback port: %s", qPrintable(m_server.errorString()));
    }
    connect(&m_server, &QTcpServer::newConnection, this, [this]() {
        while (QTcpSocket* socket = m_server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket]() { readFrom(socket); });
            connect(socket, &QTcpSocket::disconnected, this, [this, socket]() {
                m_buffers.remove(socket);
                socket->deleteLater();
            });
        }
    });
}

QString HttpServer::url() const
{
    return u"http://127.0.0.1:%1"_s.arg(m_server.serverPort());
}

void HttpServer::close()
{
    m_server.close();
}

void HttpServer::readFrom(QTcpSocket* socket)
{
    QByteArray& buffer = m_buffers[socket];
    buffer += socket->readAll();
    const qsizetype headEnd = buffer.indexOf(kHeadEnd);
    if (headEnd < 0) {
        return;
    }
    HttpRequest request;
    const QList<QByteArray> lines = buffer.first(headEnd).split('\n');
    const QList<QByteArray> words = lines.first().trimmed().split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    request.headers = headersOf(lines.sliced(1));
    const qsizetype length = request.headers.value("content-length").toLongLong();
    const qsizetype total = headEnd + kHeadEnd.size() + length;
    if (buffer.size() < total) {
        return;
    }
    request.body = buffer.mid(headEnd + kHeadEnd.size(), length);
    buffer.remove(0, total);
    m_requests.append(request);
    emit requestReceived();
    answer(socket);
}

void HttpServer::setAnswersHeld(bool held)
{
    m_answersHeld = held;
    for (const QPointer<QTcpSocket>& socket : std::exchange(m_waiting, {})) {
        if (socket != nullptr) {
            answer(socket);
        }
    }
}

void HttpServer::answer(QTcpSocket* socket)
{
    if (m_answersHeld) {
        m_waiting.append(socket);
        return;
    }
    const HttpAnswer answer
        = m_answers.isEmpty() ? HttpAnswer{599, "no answer prepared"} : m_answers.takeFirst();
    socket->write(answer.raw);
    if (answer.silent) {
        return;
    }
    if (answer.drop) {
        socket->abort();
        return;
    }
    if (!answer.raw.isEmpty()) {
        socket->disconnectFromHost();
        return;
    }
    socket->write("HTTP/1.1 " + QByteArray::number(answer.status)
        + " Scripted\r\nContent-Type: application/json\r\nContent-Length: "
        + QByteArray::number(answer.body.size()) + "\r\n\r\n" + answer.body);
}
