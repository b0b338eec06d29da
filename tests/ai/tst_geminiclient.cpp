#include "FakeGemini.h"
#include "GeminiClient.h"
#include "GeminiReply.h"
#include "TestData.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace std::chrono_literals;

namespace {

QJsonObject json(const TaskDraft& draft) {
    QJsonObject object{{"shouldSuggest", draft.shouldSuggest}, {"title", draft.title}};
    const auto put = [&object](const char* key, const std::optional<QString>& value) {
        if (value)
            object.insert(QLatin1String(key), *value);
    };
    put("note", draft.note);
    put("dueDate", draft.dueDate);
    put("reminder", draft.reminder);
    put("category", draft.category);
    put("summary", draft.summary);
    return object;
}

QByteArray text(const QJsonObject& object) {
    return QJsonDocument(object).toJson();
}

// Leaves out members that are null, as the reader does.
QJsonObject withoutNulls(QJsonObject object) {
    for (const QString& key : object.keys())
        if (object[key].isNull())
            object.remove(key);
    return object;
}

} // namespace

class TestGeminiClient : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_fake = std::make_unique<FakeGemini>();
        m_client = std::make_unique<GeminiClient>(
            &m_network, GeminiClient::Options{m_fake->url(), 400ms, 400ms});
    }
    void scenario_data() { TestData::addRows("replies.json", "scenarios"); }
    void scenario();
    void cancelIsToldFromTimeOut();
    void endpointFromEnvironment();

private:
    QNetworkAccessManager m_network;
    std::unique_ptr<FakeGemini> m_fake;
    std::unique_ptr<GeminiClient> m_client;
};

void TestGeminiClient::scenario() {
    QFETCH(QJsonObject, row);
    const QJsonObject call = row["call"].toObject();
    const QString key = call["key"].toString("test-key");
    const QString model = call["model"].toString("gemini-test");
    m_fake->fallback = row["answer"].toObject();
    m_fake->seen.clear();

    const std::unique_ptr<GeminiReply> reply(
        call["op"] == QLatin1String("validate")
            ? m_client->validate(key, model)
            : m_client->enhance(call["input"].toString("明天下午三点给妈妈打电话 个人"),
                                call.contains("names") ? call["names"].toVariant().toStringList()
                                                       : QStringList{"工作", "个人"},
                                TestData::moment(call["now"].toString("2026-11-24T15:30")), key,
                                model));
    QSignalSpy finished(reply.get(), &GeminiReply::finished);
    QVERIFY(finished.wait(5000));
    QTest::qWait(10);
    QCOMPARE(finished.count(), 1);

    QCOMPARE(int(m_fake->seen.size()), row["requests"].toInt(1));
    for (const SeenRequest& seen : m_fake->seen) {
        QCOMPARE(seen.faults, QStringList());
        QCOMPARE(seen.path, row["path"].toString("/v1beta/models/gemini-test:generateContent"));
        QCOMPARE(seen.key, row["key"].toString("test-key"));
        if (row.contains("prompt"))
            QCOMPARE(seen.prompt, row["prompt"].toString());
    }

    const std::optional<AIError>& error = reply->error();
    if (row.contains("draft")) {
        QVERIFY2(!error, qPrintable(error ? error->errorDescription() : QString()));
        QCOMPARE(text(json(*reply->draft())), text(withoutNulls(row["draft"].toObject())));
    } else if (row.contains("text")) {
        QVERIFY2(!error, qPrintable(error ? error->errorDescription() : QString()));
        QCOMPARE(reply->text(), row["text"].toString());
    } else {
        QVERIFY(error && !reply->draft());
        if (row.contains("error"))
            QCOMPARE(error->errorDescription(), row["error"].toString());
        QVERIFY(error->errorDescription().startsWith(row["errorStart"].toString()));
        static const QStringList kinds{"ApiError", "NetworkError", "NoApiKey", "InvalidResponse",
                                       "UndecodableReply"};
        if (row.contains("errorKind"))
            QCOMPARE(kinds.at(int(error->kind)), row["errorKind"].toString());
    }
}

// A caller's own cancel and the service's silence both end as network errors, told apart.
void TestGeminiClient::cancelIsToldFromTimeOut() {
    m_fake->fallback = {{"behaviour", "silent"}};
    m_fake->seen.clear();
    const std::unique_ptr<GeminiReply> reply(m_client->validate("k", "m"));
    QSignalSpy finished(reply.get(), &GeminiReply::finished);
    QTRY_COMPARE(m_fake->seen.size(), size_t(1)); // in flight
    reply->abort();
    reply->abort();
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(reply->error()->cause, AIError::Cause::Cancelled);
    QCOMPARE(reply->error()->errorDescription(), QStringLiteral("网络错误：已取消"));
    QTest::qWait(600); // past the time-out: nothing more arrives
    QCOMPARE(finished.count(), 1);

    // Cancelled before anything was sent: still one finished, still a cancel.
    const std::unique_ptr<GeminiReply> unsent(m_client->validate(" ", "m"));
    QSignalSpy unsentFinished(unsent.get(), &GeminiReply::finished);
    unsent->abort();
    QTest::qWait(10);
    QCOMPARE(unsentFinished.count(), 1);
    QCOMPARE(unsent->error()->cause, AIError::Cause::Cancelled);
}

// A relay named in the environment takes every call, path prefix kept.
void TestGeminiClient::endpointFromEnvironment() {
    QCOMPARE(GeminiClient::Options().endpoint, QUrl("https://generativelanguage.googleapis.com"));
    qputenv(GeminiClient::endpointVariable, (m_fake->url().toString() + "/relay/ ").toUtf8());
    GeminiClient relayed(&m_network, GeminiClient::Options());
    qunsetenv(GeminiClient::endpointVariable);
    m_fake->fallback = {{"draft", QJsonObject{{"shouldSuggest", false}, {"title", "x"}}}};
    m_fake->seen.clear();
    const std::unique_ptr<GeminiReply> reply(relayed.validate("k", "m"));
    QSignalSpy finished(reply.get(), &GeminiReply::finished);
    QVERIFY(finished.wait(5000));
    QCOMPARE(reply->text(), QStringLiteral("已连接到 m。"));
    QCOMPARE(m_fake->seen.at(0).path, QStringLiteral("/relay/v1beta/models/m:generateContent"));
}

QTEST_GUILESS_MAIN(TestGeminiClient)
#include "tst_geminiclient.moc"
