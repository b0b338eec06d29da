#include "FakeGemini.h"
#include "GeminiClient.h"
#include "GeminiReply.h"
#include "TestData.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace std::chrono_literals;

class TestGeminiClient : public QObject {
    Q_OBJECT

private slots:
    void scenario_data() { TestData::addRows("replies.json", "scenarios"); }
    void scenario();
    void cancelIsToldFromTimeOut();
    void endpointFromEnvironment();

private:
    // Waits for the one `finished` of a call, and then `after` ms for a second that must
    // not come.
    static std::unique_ptr<GeminiReply> finished(GeminiReply* sent, int after = 10) {
        std::unique_ptr<GeminiReply> reply(sent);
        QSignalSpy spy(sent, &GeminiReply::finished);
        const int expected = sent->isFinished() ? 0 : 1;
        if ((expected && !spy.wait(5000)) || (QTest::qWait(after), spy.count() != expected))
            qFatal("not one finished");
        return reply;
    }

    QNetworkAccessManager m_network;
    FakeGemini m_fake;
    GeminiClient m_client{&m_network, GeminiClient::Options{m_fake.url(), 1s, 1s}};
};

// Rows name the call (defaults below), the answer, and what the caller gets.
void TestGeminiClient::scenario() {
    QFETCH(QJsonObject, row);
    const QJsonObject call = row["call"].toObject();
    const QString key = call["key"].toString("test-key");
    const QString model = call["model"].toString("gemini-test");
    m_fake.fallback = row["answer"].toObject();
    m_fake.seen.clear();
    const auto reply =
        finished(call["op"] == QLatin1String("validate")
                     ? m_client.validate(key, model)
                     : m_client.enhance(
                           call["input"].toString("明天下午三点给妈妈打电话 个人"),
                           call.contains("names") ? call["names"].toVariant().toStringList()
                                                  : QStringList{"工作", "个人"},
                           TestData::moment(call["now"].toString("2026-11-24T15:30")), key, model));

    QCOMPARE(int(m_fake.seen.size()), row["requests"].toInt(1));
    for (const SeenRequest& seen : m_fake.seen) {
        QCOMPARE(seen.faults, QStringList());
        QCOMPARE(seen.path, row["path"].toString("/v1beta/models/gemini-test:generateContent"));
        QCOMPARE(seen.key, row["key"].toString("test-key"));
        if (row.contains("prompt"))
            QCOMPARE(seen.prompt, row["prompt"].toString());
    }
    const QString error = reply->error() ? reply->error()->errorDescription() : QString();
    if (row.contains("draft")) {
        QVERIFY2(reply->draft() == draftFrom(row["draft"].toObject()), qPrintable(error));
    } else if (row.contains("text")) {
        QCOMPARE(reply->text(), row["text"].toString());
    } else {
        QVERIFY(reply->error() && !reply->draft());
        QCOMPARE(error, row["error"].toString(error));
        QVERIFY(error.startsWith(row["errorStart"].toString()));
        static const QStringList kinds{"ApiError", "NetworkError", "NoApiKey", "InvalidResponse",
                                       "UndecodableReply"};
        const QString kind = kinds.at(int(reply->error()->kind));
        QCOMPARE(kind, row["errorKind"].toString(kind));
    }
}

// A caller's own cancel and the service's silence both end as network errors, told apart.
void TestGeminiClient::cancelIsToldFromTimeOut() {
    m_fake.fallback = {{"behaviour", "silent"}};
    m_fake.seen.clear();
    GeminiReply* inFlight = m_client.validate("k", "m");
    QTRY_COMPARE(m_fake.seen.size(), size_t(1));
    GeminiReply* unsent = m_client.validate(" ", "m");
    for (GeminiReply* reply : {inFlight, unsent}) {
        reply->abort();
        reply->abort();
    }
    // Sent or not, a cancel is reported once, as a cancel, also past the time-out.
    for (const auto& reply : {finished(inFlight, 1200), finished(unsent)}) {
        QCOMPARE(reply->error()->cause, AIError::Cause::Cancelled);
        QCOMPARE(reply->error()->errorDescription(), QStringLiteral("网络错误：已取消"));
    }
}

// A relay named in the environment takes every call, its path prefix kept.
void TestGeminiClient::endpointFromEnvironment() {
    QCOMPARE(GeminiClient::Options().endpoint, QUrl("https://generativelanguage.googleapis.com"));
    qputenv(GeminiClient::endpointVariable, (m_fake.url().toString() + "/relay/ ").toUtf8());
    GeminiClient relayed(&m_network, GeminiClient::Options());
    qunsetenv(GeminiClient::endpointVariable);
    m_fake.fallback = {{"json", QJsonObject()}};
    m_fake.seen.clear();
    QCOMPARE(finished(relayed.validate("k", "m"))->text(), QStringLiteral("已连接到 m。"));
    QCOMPARE(m_fake.seen.at(0).path, QStringLiteral("/relay/v1beta/models/m:generateContent"));
}

QTEST_GUILESS_MAIN(TestGeminiClient)
#include "tst_geminiclient.moc"
