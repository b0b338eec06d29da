#pragma once

// The Gemini service as far as Tavik meets it, on loopback: it checks every request against
// the wire format and answers as a row of tests/ai/data tells, with the bodies the real
// service sends.

#include <QAbstractHttpServer>
#include <QFile>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <sys/socket.h>
#include <vector>

struct SeenRequest {
    QString path;
    QString key;        // the x-goog-api-key header
    QString input;      // the raw line inside the user prompt
    QString prompt;     // contents[0].parts[0].text
    QStringList faults; // every way the request breaks the wire format
};

// A whole fixture file of tests/ai/data as one object.
inline QJsonObject fixture(const char* name) {
    QFile file(QStringLiteral(TAVIK_TEST_DATA "/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no test data %s", name);
    return QJsonDocument::fromJson(file.readAll()).object();
}

class FakeGemini : public QAbstractHttpServer {
public:
    // The request bodies of both operations are in replies.json, with the texts that vary
    // standing as "<system>" and "<prompt>".
    FakeGemini()
        : m_bodies(fixture("replies.json")["bodies"].toObject()) {
        m_port = listen(QHostAddress::LocalHost);
    }
    [[nodiscard]] QUrl url() const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_port));
    }

    // An answer: {"draft": {...}} as a real success body, {"status", "type", "json"|"text"},
    // or {"behaviour": "silent"|"reset"}. Answers by raw line first, then the fallback.
    QHash<QString, QJsonObject> answers;
    QJsonObject fallback;
    std::vector<SeenRequest> seen;

    static QJsonObject successBody(const QString& text) {
        const QJsonObject part{{"text", text}};
        const QJsonObject content{{"parts", QJsonArray{part}}, {"role", "model"}};
        return {{"candidates",
                 QJsonArray{QJsonObject{
                     {"content", content}, {"finishReason", "STOP"}, {"avgLogprobs", -0.0421}}}},
                {"usageMetadata", QJsonObject{{"promptTokenCount", 731},
                                              {"candidatesTokenCount", 52},
                                              {"totalTokenCount", 783}}},
                {"modelVersion", "gemini-3.1-flash-lite"},
                {"responseId", "kXNDaPqYIu2-nvgP7s3fqQk"}};
    }

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override {
        seen.push_back(check(request));
        const QJsonObject answer = answers.value(seen.back().input, fallback);
        const QString behaviour = answer.value("behaviour").toString();
        if (behaviour == QLatin1String("silent")) {
            m_silent.push_back(socket); // the client's time-out or cancel ends it
        } else if (behaviour == QLatin1String("reset")) {
            const linger reset{1, 0}; // close with RST, not FIN
            setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &reset,
                       sizeof reset);
            socket->abort();
        } else {
            const QByteArray body =
                answer.contains("draft")
                    ? QJsonDocument(successBody(QString::fromUtf8(
                                        QJsonDocument(answer["draft"].toObject()).toJson())))
                          .toJson()
                : answer.contains("json") ? QJsonDocument(answer["json"].toObject()).toJson()
                                          : answer["text"].toString().toUtf8();
            makeResponder(request, socket)
                .write(
                    body,
                    {{"Content-Type", answer.value("type").toString("application/json").toUtf8()}},
                    QHttpServerResponder::StatusCode(answer.value("status").toInt(200)));
        }
        return true;
    }
    void missingHandler(const QHttpServerRequest&, QTcpSocket*) override {}

private:
    SeenRequest check(const QHttpServerRequest& request) const {
        SeenRequest seen{request.url().path(), QString::fromUtf8(request.value("x-goog-api-key"))};
        const auto fault = [&seen](bool broken, const char* what) {
            if (broken)
                seen.faults.append(QLatin1String(what));
        };
        fault(request.method() != QHttpServerRequest::Method::Post, "not a POST");
        fault(request.value("content-type") != "application/json", "wrong Content-Type");
        fault(request.url().hasQuery(), "a query string (the key never goes into the URL)");
        fault(seen.key != seen.key.trimmed() || seen.key.isEmpty(), "an untrimmed key");

        QJsonObject body = QJsonDocument::fromJson(request.body()).object();
        const QJsonObject& sent = body;
        const bool enhance = body.contains("systemInstruction");
        if (enhance) {
            const QString system = sent["systemInstruction"]["parts"][0]["text"].toString();
            fault(system.size() != 2272 || system.toUtf8().size() != 2320 ||
                      !system.startsWith("You are the task-organizing assistant inside \"Tavik\""),
                  "not the system prompt");
            seen.prompt = sent["contents"][0]["parts"][0]["text"].toString();
            const qsizetype start = seen.prompt.indexOf("User's raw task:\n\"\"\"\n");
            fault(start < 0 || !seen.prompt.endsWith("\n\"\"\""), "no raw line in the prompt");
            seen.input = seen.prompt.mid(start + 21).chopped(4);
            // With the varying texts put back as placeholders, the rest must match exactly.
            body["systemInstruction"] = m_bodies["enhance"]["systemInstruction"];
            body["contents"] = m_bodies["enhance"]["contents"];
        }
        fault(body != m_bodies[enhance ? "enhance" : "validate"].toObject(),
              "body members differ from the wire format");
        return seen;
    }

    QJsonObject m_bodies;
    quint16 m_port = 0;
    std::vector<QTcpSocket*> m_silent;
};
