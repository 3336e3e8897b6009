#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

// By their names in lower case.
using HttpHeaders = QHash<QByteArray, QByteArray>;

// A part of a multipart/form-data body (RFC 7578).
struct FormPart {
    HttpHeaders headers;
    QByteArray body;
};

struct HttpRequest {
    QByteArray method;
    QByteArray target;
    HttpHeaders headers;
    QByteArray body;

    [[nodiscard]] QList<FormPart> formParts() const;
};

struct HttpAnswer {
    int status = 200;
    QByteArray body = {};
    /// Closes the connection instead of answering.
    bool drop = false;
    /// Never answers.
    bool silent = false;
    /// Sent as it stands in place of an answer. Then the connection is closed, or silent.
    QByteArray raw = {};
};

// A real HTTP/1.1 server on a port of its own: keeps every request, and answers from a
// list. A request for which no answer was prepared gets a 599, so that it can't go unnoticed.
class HttpServer final : public QObject
{
    Q_OBJECT

public:
    explicit HttpServer(QObject* parent = nullptr);

    [[nodiscard]] QString url() const;
    [[nodiscard]] const QList<HttpRequest>& requests() const { return m_requests; }
    void answerWith(const QList<HttpAnswer>& answers) { m_answers = answers; }
    /// While they are held, no request is answered; afterwards those that still wait are.
    void setAnswersHeld(bool held);
    /// Whether every client has closed its connection. One that is cut off sends its request again.
    [[nodiscard]] bool isIdle() const { return m_buffers.isEmpty(); }
    /// Stops listening: connections are refused from now on.
    void close();

signals:
    void requestReceived();

private:
    void readFrom(QTcpSocket* socket);
    void answer(QTcpSocket* socket);

    QHash<QTcpSocket*, QByteArray> m_buffers;
    QList<HttpRequest> m_requests;
    QList<HttpAnswer> m_answers;
    bool m_answersHeld = false;
    QList<QPointer<QTcpSocket>> m_waiting;
    // Last, so that its sockets, which empty the buffers as they go, go first.
    QTcpServer m_server;
};
