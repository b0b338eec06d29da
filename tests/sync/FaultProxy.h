#pragma once

// A proxy on loopback in front of a real CalDAV server that spoils a share of the requests,
// chosen by a seeded generator: 503 with Retry-After without passing the request on, a
// connection reset after the request reached the server, a reply cut in the middle, and a
// 412 to a write. The proxy answers one request at a time.

#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

class FaultProxy : public QObject {
public:
    enum class Fault { none, unavailable, resetAfter, cut, conflict };

    FaultProxy(const QUrl& upstream, quint32 seed)
        : m_upstream(upstream)
        , m_random(seed) {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
                connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                    m_buffers.remove(socket);
                    socket->deleteLater();
                });
            }
        });
    }

    [[nodiscard]] QUrl url() const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_server.serverPort()));
    }
    // The share of requests spoiled, 0 to 1.
    void setFaultRate(double rate) { m_rate = rate; }
    [[nodiscard]] int faults() const { return m_faults; }
    [[nodiscard]] int requests() const { return m_requests; }

private:
    void serve(QTcpSocket* socket) {
        QByteArray& buffer = m_buffers[socket];
        buffer += socket->readAll();
        const qsizetype headEnd = buffer.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return;
        QList<QByteArray> head = buffer.left(headEnd).split('\n');
        qsizetype length = 0;
        for (QByteArray& line : head) {
            line = line.trimmed();
            if (line.toLower().startsWith("content-length:"))
                length = line.mid(15).trimmed().toLongLong();
        }
        if (buffer.size() < headEnd + 4 + length)
            return;
        const QByteArray body = buffer.mid(headEnd + 4, length);
        buffer.remove(0, headEnd + 4 + length);
        ++m_requests;

        const bool write = head.first().startsWith("PUT") || head.first().startsWith("DELETE");
        Fault fault = Fault::none;
        if (m_random.generateDouble() < m_rate) {
            const QList<Fault> kinds =
                write ? QList{Fault::unavailable, Fault::resetAfter, Fault::cut, Fault::conflict}
                      : QList{Fault::unavailable, Fault::cut};
            fault = kinds.at(m_random.bounded(int(kinds.size())));
            ++m_faults;
        }
        if (fault == Fault::unavailable || fault == Fault::conflict) {
            socket->write(fault == Fault::unavailable ? "HTTP/1.1 503 Busy\r\nRetry-After: 0\r\n"
                                                      : "HTTP/1.1 412 Precondition Failed\r\n");
            socket->write("Content-Length: 0\r\nConnection: close\r\n\r\n");
            socket->disconnectFromHost();
            return;
        }
        QByteArray request;
        for (const QByteArray& line : std::as_const(head)) {
            if (!line.toLower().startsWith("connection:"))
                request += line + "\r\n";
        }
        request += "Connection: close\r\n\r\n" + body;
        const QByteArray reply = forward(request);
        if (fault == Fault::resetAfter) {
            socket->abort();
            return;
        }
        socket->write(fault == Fault::cut ? reply.left(reply.size() / 2) : reply);
        socket->disconnectFromHost();
    }

    // The server's whole answer, its connection header made "close" for the client too.
    QByteArray forward(const QByteArray& request) {
        QTcpSocket upstream;
        upstream.connectToHost(m_upstream.host(), quint16(m_upstream.port()));
        if (!upstream.waitForConnected(5000))
            return "HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
        upstream.write(request);
        QByteArray reply;
        while (upstream.state() == QAbstractSocket::ConnectedState &&
               upstream.waitForReadyRead(20000))
            reply += upstream.readAll();
        reply += upstream.readAll();
        const qsizetype headEnd = reply.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return reply;
        QByteArray head;
        for (const QByteArray& line : reply.left(headEnd).split('\n')) {
            if (!line.trimmed().toLower().startsWith("connection:"))
                head += line.trimmed() + "\r\n";
        }
        return head + "Connection: close\r\n\r\n" + reply.mid(headEnd + 4);
    }

    QUrl m_upstream;
    QRandomGenerator m_random;
    double m_rate = 0;
    int m_faults = 0;
    int m_requests = 0;
    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_buffers;
};
