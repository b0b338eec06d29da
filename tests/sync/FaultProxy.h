#pragma once

// Faults that no real server shows on demand, on loopback. In front of a real CalDAV server
// it spoils a share of the requests: 503 with Retry-After without passing the request on, a
// connection reset after the request reached the server, a reply cut in the middle, and a
// 412 to a write. Which request meets which fault follows from the seed and the request
// itself (method, path, how often that method was sent to that path), not from the order
// in which parallel requests happen to arrive, so a seed replays the same faults. With no server
// behind it, it answers each request with the next reply of a script (status, headers, a recorded
// body from tests/sync/data, possibly cut off). One request at a time.

#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>
#include <QtEndian>

class FaultProxy : public QObject {
public:
    FaultProxy(const QUrl& upstream, quint32 seed)
        : m_upstream(upstream)
        , m_seed(seed) {
        listen();
    }
    explicit FaultProxy(const QJsonArray& script)
        : m_script(script) {
        listen();
    }

    [[nodiscard]] QUrl url() const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_server.serverPort()));
    }
    // The share of requests spoiled, 0 to 1.
    void setFaultRate(double rate) { m_rate = rate; }
    [[nodiscard]] int faults() const { return m_faults; }

    QStringList requests; // "METHOD /path"
    QStringList spoiled;  // "METHOD /path #n: fault", in the order they were met

private:
    enum class Fault { none, unavailable, resetAfter, cut, conflict };

    void listen() {
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
        const QList<QByteArray> requestLine = head.first().split(' ');
        requests.append(QString::fromLatin1(requestLine.value(0) + ' ' + requestLine.value(1)));
        if (!m_script.isEmpty()) {
            answer(socket, m_script.at(qMin(requests.size(), m_script.size()) - 1).toObject());
            return;
        }

        const Fault fault = decide(requests.last());
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
        const QByteArray reply = forward(request + "Connection: close\r\n\r\n" + body);
        if (fault == Fault::resetAfter) {
            socket->abort();
            return;
        }
        socket->write(fault == Fault::cut ? reply.left(reply.size() / 2) : reply);
        socket->disconnectFromHost();
    }

    Fault decide(const QString& request) {
        const int sent = m_sent[request]++;
        if (m_rate <= 0)
            return Fault::none;
        const QByteArray key =
            QByteArray::number(m_seed) + ' ' + request.toUtf8() + " #" + QByteArray::number(sent);
        const QByteArray digest = QCryptographicHash::hash(key, QCryptographicHash::Sha1);
        QRandomGenerator random(qFromLittleEndian<quint32>(digest.constData()));
        if (random.generateDouble() >= m_rate)
            return Fault::none;
        const bool write = request.startsWith("PUT") || request.startsWith("DELETE");
        const QList<Fault> kinds =
            write ? QList{Fault::unavailable, Fault::resetAfter, Fault::cut, Fault::conflict}
                  : QList{Fault::unavailable, Fault::cut};
        const Fault fault = kinds.at(random.bounded(int(kinds.size())));
        ++m_faults;
        static const char* const names[] = {"", "503", "reset after", "cut", "412"};
        spoiled.append(QStringLiteral("%1 #%2: %3")
                           .arg(request)
                           .arg(sent)
                           .arg(QLatin1String(names[int(fault)])));
        return fault;
    }

    void answer(QTcpSocket* socket, const QJsonObject& reply) {
        QByteArray body;
        if (reply.contains("body")) {
            QFile file(QStringLiteral(TAVIK_TEST_DATA "/") + reply["body"].toString());
            if (!file.open(QIODevice::ReadOnly))
                qFatal("no body fixture");
            body = file.readAll();
        }
        QByteArray head = "HTTP/1.1 " + QByteArray::number(reply["status"].toInt()) +
                          " Fault\r\nContent-Type: application/xml; charset=utf-8\r\n" +
                          "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
        const QJsonObject headers = reply["headers"].toObject();
        for (auto it = headers.begin(); it != headers.end(); ++it)
            head += it.key().toLatin1() + ": " + it.value().toString().toUtf8() + "\r\n";
        const int cut = reply["cut"].toInt(-1);
        socket->write(head + "\r\n" + (cut >= 0 ? body.left(cut) : body));
        if (cut >= 0)
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
    QJsonArray m_script;
    quint32 m_seed = 0;
    QHash<QString, int> m_sent; // per "METHOD /path": how many went before
    double m_rate = 0;
    int m_faults = 0;
    QHash<QTcpSocket*, QByteArray> m_buffers; // before the server, which outlives its sockets
    QTcpServer m_server;
};
