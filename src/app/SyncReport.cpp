#include "SyncReport.h"

#include "CalDavMirror.h"
#include "ModelContext.h"
#include "TaskItem.h"

SyncReport::SyncReport(ModelContext& context, CalDavMirror& mirror, QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_mirror(&mirror) {
    const auto touched = [this](const QObject* record) {
        if (m_importing)
            m_received.insert(record);
    };
    connect(&context, &ModelContext::taskInserted, this, touched);
    connect(&context, &ModelContext::taskChanged, this, touched);
    connect(&context, &ModelContext::taskRemoved, this, touched);
    connect(&mirror, &CalDavMirror::eventChanged, this, &SyncReport::handle);
    connect(&mirror, &CalDavMirror::progress, this, [this](qsizetype done, qsizetype total) {
        if (!m_waitingForOurs)
            emit progress(QStringLiteral("export %1/%2\r").arg(done).arg(total));
    });
    connect(&mirror, &CalDavMirror::finished, this, &SyncReport::end);
    // A connect or disconnect on the board replaces the mirror under us.
    connect(&mirror, &QObject::destroyed, this, [this] {
        if (m_done)
            return;
        m_done = true;
        emit finished(1, QStringLiteral("the account changed while syncing"));
    });
}

void SyncReport::start() {
    m_waitingForOurs = m_mirror->isSyncing();
    if (!m_waitingForOurs)
        begin();
    m_mirror->sync();
}

void SyncReport::begin() {
    m_waiting = m_context.pendingChanges().size();
    m_received.clear();
    m_lastError = {};
}

namespace {

QString stepName(MirrorEvent::Type type) {
    switch (type) {
    case MirrorEvent::Type::setup:
        return QStringLiteral("setup");
    case MirrorEvent::Type::import:
        return QStringLiteral("import");
    case MirrorEvent::Type::exportChanges:
        return QStringLiteral("export");
    }
    return {};
}

} // namespace

void SyncReport::handle(const MirrorEvent& event) {
    if (m_waitingForOurs || m_done)
        return;
    const QString step = stepName(event.type);
    if (event.type == MirrorEvent::Type::import)
        m_importing = !event.endedAt.isValid();
    if (!event.endedAt.isValid()) {
        emit progress(step + QStringLiteral("…\n"));
    } else if (event.error.isError()) {
        m_lastError = event.error;
        emit progress(QStringLiteral("%1 failed: %2\n").arg(step, event.error.detail));
    }
}

void SyncReport::end(bool ok) {
    if (m_done)
        return;
    if (m_waitingForOurs) {
        // Ours starts right after this one.
        m_waitingForOurs = false;
        begin();
        return;
    }
    m_done = true;
    m_importing = false;
    const qsizetype sent = qMax<qsizetype>(0, m_waiting - m_context.pendingChanges().size());
    if (!ok) {
        emit finished(1, QStringLiteral("sync failed: %1 (%2); sent %3 changes before it stopped")
                             .arg(m_lastError.userText(), m_lastError.detail)
                             .arg(sent));
        return;
    }
    emit finished(
        0, QStringLiteral("synced: up %1 changes, down %2 tasks").arg(sent).arg(m_received.size()));
}
