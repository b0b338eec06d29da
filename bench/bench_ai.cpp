// AI figures: the main thread's work for one reply, from the network reply's end to the card.
//
//   tests/ai/keyring.sh bench_ai [replies=300]
//
// A local HTTP server on loopback answers every request with a realistic success body (the
// service's envelope, a draft with a note, a day, a reminder and a list, in Chinese). The
// suggestion controller runs with no debounce; each reply is timed on the main thread from
// the QNetworkReply's finished signal to the controller's suggestionChanged: reading the
// body, the envelope and the draft, resolving dates and list, presenting the card. The parts
// are then timed alone. Run inside keyring.sh so the key store has a Secret Service to talk to.

#include "AIConfig.h"
#include "BenchSupport.h"
#include "Clock.h"
#include "GeminiClient.h"
#include "KeychainStore.h"
#include "Preferences.h"
#include "TaskEnhancePrompt.h"
#include "TaskSuggestionController.h"

#include <QCoreApplication>
#include <QHttpServer>
#include <QHttpServerResponse>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <cstdio>
#include <optional>
#include <vector>

namespace {

using namespace Bench;

const QString replyText = QStringLiteral(
    "{\n  \"shouldSuggest\": true,\n  \"title\": \"给妈妈打电话\",\n"
    "  \"note\": \"· 问她周末来不来吃饭\\n· 提醒她带上体检报告\\n· 顺便问问爸爸的腰\",\n"
    "  \"dueDate\": \"2026-11-25\",\n  \"reminder\": \"2026-11-25T15:00\",\n"
    "  \"category\": \"个人\",\n  \"summary\": \"整理标题·识别时间\"\n}");

QByteArray successBody() {
    const QJsonObject part{{"text", replyText}};
    const QJsonObject candidate{
        {"content", QJsonObject{{"parts", QJsonArray{part}}, {"role", "model"}}},
        {"finishReason", "STOP"},
        {"avgLogprobs", -0.0421}};
    return QJsonDocument(QJsonObject{{"candidates", QJsonArray{candidate}},
                                     {"usageMetadata", QJsonObject{{"promptTokenCount", 731},
                                                                   {"candidatesTokenCount", 52},
                                                                   {"totalTokenCount", 783}}},
                                     {"modelVersion", "gemini-3.1-flash-lite"},
                                     {"responseId", "kXNDaPqYIu2-nvgP7s3fqQk"}})
        .toJson();
}

// Starts a stopwatch when a reply ends, before the client's own handler runs.
class TimingNetwork : public QNetworkAccessManager {
public:
    std::optional<Stopwatch> sinceFinished;

protected:
    QNetworkReply* createRequest(Operation op, const QNetworkRequest& request,
                                 QIODevice* data) override {
        QNetworkReply* reply = QNetworkAccessManager::createRequest(op, request, data);
        connect(reply, &QNetworkReply::finished, this, [this] { sinceFinished.emplace(); });
        return reply;
    }
};

void print(const char* what, std::vector<double> wall, std::vector<double> cpu) {
    std::printf("%-40s wall median %.3f ms, p95 %.3f, max %.3f; CPU median %.3f ms\n", what,
                median(wall), percentile(wall, 0.95), percentile(wall, 1.0), median(cpu));
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int replies = argc > 1 ? std::max(1, atoi(argv[1])) : 300;

    QHttpServer server;
    const QByteArray body = successBody();
    server.route("/v1beta/models/<arg>", [&body](const QString&) {
        return QHttpServerResponse(QByteArrayLiteral("application/json"), body);
    });
    const quint16 port = server.listen(QHostAddress::LocalHost);

    QTemporaryDir dir;
    Preferences preferences(dir.filePath("tavik.ini"));
    KeychainStore keys;
    AIConfig config(preferences, keys);
    config.setApiKey(QStringLiteral("bench-key"));
    TimingNetwork network;
    GeminiClient client(&network, {QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port)),
                                   std::chrono::seconds(20), std::chrono::seconds(15)});
    ManualClock clock(QDateTime::fromString(QStringLiteral("2026-11-24T15:30:00Z"), Qt::ISODate));
    TaskSuggestionController controller(config, client, clock, {std::chrono::milliseconds(0)});
    const QList<CategoryInfo> lists{{QUuid::createUuid(), QStringLiteral("工作"), "3E63DD"},
                                    {QUuid::createUuid(), QStringLiteral("个人"), "46A758"}};

    std::vector<double> wall, cpu;
    bool shown = false;
    QObject::connect(&controller, &TaskSuggestionController::suggestionChanged, [&] {
        if (!controller.hasSuggestion() || !network.sinceFinished)
            return;
        wall.push_back(network.sinceFinished->wallMs());
        cpu.push_back(network.sinceFinished->cpuMs());
        shown = true;
    });
    for (int i = 0; i < replies + 20; ++i) { // the first 20 warm up
        shown = false;
        network.sinceFinished.reset();
        controller.inputChanged(QStringLiteral("明天下午三点给妈妈打电话 个人 %1").arg(i), lists);
        while (!shown)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    wall.erase(wall.begin(), wall.begin() + 20);
    cpu.erase(cpu.begin(), cpu.begin() + 20);
    std::printf("%d replies of %lld bytes (reply text %lld characters)\n", replies,
                qint64(body.size()), qint64(replyText.size()));
    print("reply finished -> card presented", wall, cpu);

    std::vector<double> decodeWall, decodeCpu, resolveWall, resolveCpu;
    for (int i = 0; i < replies; ++i) {
        const Stopwatch decoding;
        const std::optional<TaskDraft> draft = TaskEnhancePrompt::decode(replyText);
        decodeWall.push_back(decoding.wallMs());
        decodeCpu.push_back(decoding.cpuMs());
        const Stopwatch resolving;
        const auto resolved = TaskSuggestionController::resolve(*draft, lists);
        resolveWall.push_back(resolving.wallMs());
        resolveCpu.push_back(resolving.cpuMs());
        if (!resolved || !resolved->isMeaningful(QStringLiteral("x")))
            return 1;
    }
    print("  of which: decode the reply text", decodeWall, decodeCpu);
    print("  of which: resolve dates and list", resolveWall, resolveCpu);
    return 0;
}
