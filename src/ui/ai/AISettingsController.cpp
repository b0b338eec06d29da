#include "ai/AISettingsController.h"

#include "AIConfig.h"
#include "GeminiClient.h"
#include "GeminiReply.h"

AISettingsController::AISettingsController(QObject* parent)
    : AISettingsController(AIConfig::shared(), GeminiClient::shared(), parent) {}

AISettingsController::AISettingsController(AIConfig* config, GeminiClient* client, QObject* parent)
    : QObject(parent)
    , m_config(config)
    , m_client(client) {
    if (!m_config)
        return;
    m_config->loadKey();
    connect(m_config, &AIConfig::apiKeyChanged, this, &AISettingsController::canTestChanged);
}

AISettingsController::~AISettingsController() {
    cancelTest();
}

QString AISettingsController::endpointHost() const {
    return m_client ? m_client->endpointHost() : QString();
}

bool AISettingsController::canTest() const {
    return m_config && m_client && m_config->hasKey() && m_state != TestState::Testing;
}

void AISettingsController::runTest() {
    if (!m_config || !m_client)
        return;
    cancelTest();
    setTest(TestState::Testing, {});
    m_reply = m_client->validate(m_config->apiKey().trimmed(), m_config->effectiveModel());
    m_reply->setParent(this);
    connect(m_reply, &GeminiReply::finished, this, &AISettingsController::finished);
}

void AISettingsController::cancelTest() {
    if (!m_reply)
        return;
    // Detached first: the cancel's own `finished` must not reach the screen.
    GeminiReply* reply = std::exchange(m_reply, nullptr);
    disconnect(reply, nullptr, this, nullptr);
    reply->abort();
    reply->deleteLater();
    if (m_state == TestState::Testing)
        setTest(TestState::Idle, {});
}

void AISettingsController::finished() {
    GeminiReply* reply = std::exchange(m_reply, nullptr);
    if (!reply)
        return;
    reply->deleteLater();
    if (reply->error())
        setTest(TestState::Failure, reply->error()->errorDescription());
    else
        setTest(TestState::Success, reply->text());
}

void AISettingsController::setTest(TestState state, const QString& text) {
    const bool couldTest = canTest();
    m_state = state;
    m_text = text;
    emit testChanged();
    if (couldTest != canTest())
        emit canTestChanged();
}
