#pragma once

#include "AIError.h"
#include "TaskDraft.h"

#include <QObject>
#include <QPointer>
#include <optional>

class QNetworkReply;

// One call to the Gemini service, from sending to its one `finished`. The caller owns it;
// deleting it (or calling abort) cancels the request in flight.
class GeminiReply : public QObject {
    Q_OBJECT

public:
    explicit GeminiReply(QObject* parent = nullptr);
    ~GeminiReply() override;

    [[nodiscard]] bool isFinished() const { return m_finished; }
    // Set when the call failed; then the results below are empty.
    [[nodiscard]] const std::optional<AIError>& error() const { return m_error; }
    // The draft an enhance call brought back.
    [[nodiscard]] const std::optional<TaskDraft>& draft() const { return m_draft; }
    // The sentence a successful validate call shows.
    [[nodiscard]] const QString& text() const { return m_text; }

    // Cancels the request; `finished` follows with a network error caused by the cancel.
    void abort();

signals:
    void finished();

private:
    friend class GeminiClient;

    void attach(QNetworkReply* reply);
    [[nodiscard]] bool wasCancelled() const { return m_cancelled; }
    void succeed(TaskDraft draft);
    void succeed(QString text);
    void fail(AIError error);
    void finish();

    QPointer<QNetworkReply> m_network;
    bool m_finished = false;
    bool m_cancelled = false;
    std::optional<AIError> m_error;
    std::optional<TaskDraft> m_draft;
    QString m_text;
};
