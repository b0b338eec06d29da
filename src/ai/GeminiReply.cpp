#include "GeminiReply.h"

#include <QNetworkReply>

GeminiReply::GeminiReply(QObject* parent)
    : QObject(parent) {}

GeminiReply::~GeminiReply() {
    if (m_network) {
        m_network->disconnect(this);
        m_network->abort();
    }
}

void GeminiReply::abort() {
    if (m_finished)
        return;
    m_cancelled = true;
    if (m_network)
        m_network->abort(); // finishes the reply, which reports the cancel
    else
        fail(AIError::networkError(QStringLiteral("已取消"), AIError::Cause::Cancelled));
}

void GeminiReply::attach(QNetworkReply* reply) {
    m_network = reply;
    reply->setParent(this);
}

void GeminiReply::succeed(TaskDraft draft) {
    if (m_finished)
        return;
    m_draft = std::move(draft);
    finish();
}

void GeminiReply::succeed(QString text) {
    if (m_finished)
        return;
    m_text = std::move(text);
    finish();
}

void GeminiReply::fail(AIError error) {
    if (m_finished)
        return; // a cancel came first
    m_error = std::move(error);
    finish();
}

void GeminiReply::finish() {
    m_finished = true;
    emit finished();
}
