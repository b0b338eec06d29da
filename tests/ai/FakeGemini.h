#pragma once

// The Gemini service as far as Tavik meets it, on loopback: it checks every request against
// the wire format and answers as a row of tests/ai/data says, with the bodies the real
// service sends. Also the readers of those fixture files.

#include "TaskDraft.h"

#include <QAbstractHttpServer>
#include <QFile>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QTimer>
#include <memory>
#include <sys/socket.h>

// A whole fixture file as one object.
inline QJsonObject fixture(const char* name) {
    QFile file(QStringLiteral(TAVIK_TEST_DATA "/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no test data %s", name);
    return QJsonDocument::fromJson(file.readAll()).object();
}

inline std::optional<QString> optionalText(const QJsonObject& object, const char* key) {
    const QJsonValue value = object[QLatin1String(key)];
    return value.isString() ? std::optional<QString>(value.toString()) : std::nullopt;
}

inline TaskDraft draftFrom(const QJsonObject& object) {
    return {object["shouldSuggest"].toBool(), object["title"].toString(),
            optionalText(object, "note"),     optionalText(object, "dueDate"),
            optionalText(object, "reminder"), optionalText(object, "category"),
            optionalText(object, "summary")};
}

struct SeenRequest {
    QString path;
    QString key;        // the x-goog-api-key header
    QString prompt;     // contents[0].parts[0].text
    QString input;      // the raw line inside it
    QStringList faults; // every way the request breaks the wire format
};

class FakeGemini : public QAbstractHttpServer {
public:
    FakeGemini() { m_port = listen(QHostAddress::LocalHost); }
    [[nodiscard]] QUrl url() const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_port));
    }

    // An answer is {"status", "type", "json"|"text"} or {"behaviour": "silent"|"reset"}; the
    // one for the raw line if there is one, else the fallback.
    QJsonObject answers;
    QJsonObject fallback;
    std::vector<SeenRequest> seen;

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override {
        seen.push_back(check(request));
        const QJsonObject answer = std::as_const(answers)[seen.back().input].toObject(fallback);
        const QString behaviour = answer["behaviour"].toString();
        if (behaviour == "reset") {
            const linger reset{1, 0}; // close with RST, not FIN
            setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &reset,
                       sizeof reset);
            socket->abort();
        } else if (behaviour != "silent") { // silence: the client's time-out or cancel ends it
            const QByteArray body = answer.contains("json")
                                        ? QJsonDocument(answer["json"].toObject()).toJson()
                                        : answer["text"].toString().toUtf8();
            // A model takes its time: "delayMs" holds the answer back that long.
            auto responder = std::make_shared<QHttpServerResponder>(makeResponder(request, socket));
            const auto respond = [responder, body, answer] {
                responder->write(
                    body, {{"Content-Type", answer["type"].toString("application/json").toUtf8()}},
                    QHttpServerResponder::StatusCode(answer["status"].toInt(200)));
            };
            if (answer["delayMs"].toInt() > 0)
                QTimer::singleShot(answer["delayMs"].toInt(), socket, respond);
            else
                respond();
        }
        return true;
    }
    void missingHandler(const QHttpServerRequest&, QTcpSocket*) override {}

private:
    SeenRequest check(const QHttpServerRequest& request) const {
        SeenRequest seen;
        seen.path = request.url().path();
        seen.key = QString::fromUtf8(request.value("x-goog-api-key"));
        const auto fault = [&seen](bool broken, const char* what) {
            if (broken)
                seen.faults.append(QLatin1String(what));
        };
        fault(request.method() != QHttpServerRequest::Method::Post, "not a POST");
        fault(request.value("content-type") != "application/json", "wrong Content-Type");
        fault(request.url().hasQuery(), "a query string (the key never goes into the URL)");
        fault(seen.key != seen.key.trimmed() || seen.key.isEmpty(), "an untrimmed key");

        // The texts that vary stand as "<system>" and "<prompt>" in the expected bodies.
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
            body["systemInstruction"] = m_bodies["enhance"]["systemInstruction"];
            body["contents"] = m_bodies["enhance"]["contents"];
        }
        fault(body != m_bodies[enhance ? "enhance" : "validate"].toObject(),
              "body members differ from the wire format");
        return seen;
    }

    const QJsonObject m_bodies = fixture("replies.json")["bodies"].toObject();
    quint16 m_port = 0;
};
