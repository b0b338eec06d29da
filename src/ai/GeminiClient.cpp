#include "GeminiClient.h"

#include "AIConfig.h"
#include "GeminiReply.h"
#include "TaskEnhancePrompt.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QPointer>

namespace {

QPointer<GeminiClient> sharedClient;

QJsonObject textParts(const QString& text) {
    return {{QStringLiteral("parts"), QJsonArray{QJsonObject{{QStringLiteral("text"), text}}}}};
}

// Only 200 is success; anything else carries the server's message, or the bare code.
std::optional<AIError> checkStatus(int status, const QByteArray& body) {
    if (status == 200)
        return std::nullopt;
    const QJsonValue message = QJsonDocument::fromJson(body)
                                   .object()
                                   .value(QLatin1String("error"))
                                   .toObject()
                                   .value(QLatin1String("message"));
    if (message.isString())
        return AIError::apiError(message.toString());
    return AIError::apiError(QStringLiteral("HTTP %1").arg(status));
}

// candidates[0].content.parts[0].text, exactly as sent.
std::optional<QString> extractText(const QByteArray& body) {
    const auto first = [](const QJsonValue& value) -> std::optional<QJsonObject> {
        const QJsonArray array = value.toArray();
        if (array.isEmpty() || !array.first().isObject())
            return std::nullopt;
        return array.first().toObject();
    };
    const std::optional<QJsonObject> candidate =
        first(QJsonDocument::fromJson(body).object().value(QLatin1String("candidates")));
    if (!candidate)
        return std::nullopt;
    const QJsonValue content = candidate->value(QLatin1String("content"));
    if (!content.isObject())
        return std::nullopt;
    const std::optional<QJsonObject> part = first(content.toObject().value(QLatin1String("parts")));
    if (!part || !part->value(QLatin1String("text")).isString())
        return std::nullopt;
    return part->value(QLatin1String("text")).toString();
}

} // namespace

QUrl GeminiClient::configuredEndpoint() {
    const QString overridden = qEnvironmentVariable(endpointVariable).trimmed();
    return QUrl(overridden.isEmpty() ? defaultEndpoint : overridden);
}

GeminiClient::GeminiClient(QNetworkAccessManager* network, Options options, QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_options(std::move(options)) {
    Q_ASSERT(m_network);
    // Qt on Linux ignores the desktop's proxy (http_proxy, https_proxy) unless told.
    QNetworkProxyFactory::setUseSystemConfiguration(true);
}

GeminiClient* GeminiClient::shared() {
    return sharedClient.data();
}

void GeminiClient::setShared(GeminiClient* client) {
    sharedClient = client;
}

GeminiReply* GeminiClient::enhance(const QString& input, const QStringList& categoryNames,
                                   const QDateTime& now, const QString& apiKey,
                                   const QString& model) {
    const QJsonObject generationConfig{
        {QStringLiteral("temperature"), 0.2},
        {QStringLiteral("responseMimeType"), QStringLiteral("application/json")},
        {QStringLiteral("responseSchema"), TaskEnhancePrompt::responseSchema()}};
    const QJsonObject body{
        {QStringLiteral("systemInstruction"), textParts(TaskEnhancePrompt::system())},
        {QStringLiteral("contents"),
         QJsonArray{textParts(TaskEnhancePrompt::userPrompt(input, categoryNames, now))}},
        {QStringLiteral("generationConfig"), generationConfig}};
    return send(Operation::Enhance, body, apiKey, model);
}

GeminiReply* GeminiClient::validate(const QString& apiKey, const QString& model) {
    const QJsonObject generationConfig{{QStringLiteral("temperature"), 0},
                                       {QStringLiteral("maxOutputTokens"), 10}};
    const QJsonObject body{{QStringLiteral("contents"),
                            QJsonArray{textParts(QStringLiteral("Reply with exactly: OK"))}},
                           {QStringLiteral("generationConfig"), generationConfig}};
    return send(Operation::Validate, body, apiKey, model);
}

GeminiReply* GeminiClient::send(Operation operation, const QJsonObject& body, const QString& apiKey,
                                const QString& model) {
    auto* reply = new GeminiReply;
    const auto failSoon = [reply](const AIError& error) {
        // Callers connect to `finished` after the call returns.
        QMetaObject::invokeMethod(
            reply, [reply, error] { reply->fail(error); }, Qt::QueuedConnection);
        return reply;
    };

    const QString key = apiKey.trimmed();
    if (key.isEmpty())
        return failSoon(AIError::noApiKey());
    QString modelInPath = model.trimmed();
    if (modelInPath.isEmpty())
        modelInPath = AIConfig::defaultModel;
    // The model goes into the path as it stands; one that makes no URL is refused unsent.
    const QUrl url(m_options.endpoint.toString(QUrl::StripTrailingSlash) +
                       QStringLiteral("/v1beta/models/") + modelInPath +
                       QStringLiteral(":generateContent"),
                   QUrl::StrictMode);
    if (!url.isValid() || url.hasQuery() || url.hasFragment())
        return failSoon(AIError::invalidResponse());

    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setRawHeader(QByteArrayLiteral("x-goog-api-key"), key.toUtf8());
    const auto timeout =
        operation == Operation::Enhance ? m_options.enhanceTimeout : m_options.validateTimeout;
    request.setTransferTimeout(int(timeout.count()));

    QNetworkReply* network =
        m_network->post(request, QJsonDocument(body).toJson(QJsonDocument::Compact));
    reply->attach(network);
    connect(network, &QNetworkReply::finished, reply, [reply, network, operation, model] {
        const QVariant status = network->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        const QNetworkReply::NetworkError error = network->error();
        // The transfer time-out ends a reply with the same code as abort().
        if (error == QNetworkReply::OperationCanceledError) {
            reply->fail(
                reply->wasCancelled()
                    ? AIError::networkError(QStringLiteral("已取消"), AIError::Cause::Cancelled)
                    : AIError::networkError(QStringLiteral("请求超时"), AIError::Cause::TimedOut));
            return;
        }
        // Below 200 the request never got a whole answer (connection, TLS, proxy).
        if (error != QNetworkReply::NoError && (error < 200 || !status.isValid())) {
            reply->fail(AIError::networkError(network->errorString(), AIError::Cause::Transport));
            return;
        }
        const QByteArray body = network->readAll();
        if (const std::optional<AIError> failure = checkStatus(status.toInt(), body)) {
            reply->fail(*failure);
            return;
        }
        if (operation == Operation::Validate) {
            reply->succeed(QStringLiteral("已连接到 ") + model + QStringLiteral("。"));
            return;
        }
        const std::optional<QString> text = extractText(body);
        if (!text) {
            reply->fail(AIError::invalidResponse());
            return;
        }
        QString problem;
        if (std::optional<TaskDraft> draft = TaskEnhancePrompt::decode(*text, &problem))
            reply->succeed(std::move(*draft));
        else
            reply->fail(AIError::undecodableReply(problem));
    });
    return reply;
}
