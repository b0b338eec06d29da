#pragma once

#include "types/AITypes.h"

#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QString>

class GeminiClient;
class GeminiReply;

// The AI settings pane's one piece of logic, the connection test: it asks the service with
// the key and model as they stand and keeps the last outcome on show until the next test.
// This is the only place where the words of an AI error reach the user. The settings
// themselves are edited straight on `config`.
class AISettingsController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AIConfig* config READ config CONSTANT)
    Q_PROPERTY(QString endpointHost READ endpointHost CONSTANT)
    Q_PROPERTY(TestState testState READ testState NOTIFY testChanged)
    Q_PROPERTY(QString testText READ testText NOTIFY testChanged)
    Q_PROPERTY(bool canTest READ canTest NOTIFY canTestChanged)

public:
    enum class TestState { Idle, Testing, Success, Failure };
    Q_ENUM(TestState)

    // QML makes it with the process-wide configuration and client.
    explicit AISettingsController(QObject* parent = nullptr);
    AISettingsController(AIConfig* config, GeminiClient* client, QObject* parent = nullptr);
    ~AISettingsController() override;

    [[nodiscard]] AIConfig* config() const { return m_config; }
    [[nodiscard]] QString endpointHost() const;
    [[nodiscard]] TestState testState() const { return m_state; }
    [[nodiscard]] QString testText() const { return m_text; }
    // A key of blanks cannot be tested, and one test runs at a time.
    [[nodiscard]] bool canTest() const;

    Q_INVOKABLE void runTest();
    // The pane is leaving: a test in flight is dropped, its result never shown.
    Q_INVOKABLE void cancelTest();

signals:
    void testChanged();
    void canTestChanged();

private:
    void setTest(TestState state, const QString& text);
    void finished();

    QPointer<AIConfig> m_config;
    QPointer<GeminiClient> m_client;
    GeminiReply* m_reply = nullptr;
    TestState m_state = TestState::Idle;
    QString m_text;
};
