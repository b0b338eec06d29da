#include "CloudSync.h"

#include "CalDavMirror.h"
#include "CloudSyncMonitor.h"
#include "SyncLog.h"

CloudSync::CloudSync(const Environment& environment, const SyncScheduler::Timing& timing,
                     QObject* parent)
    : QObject(parent)
    , m_env(environment)
    , m_timing(timing) {}

CloudSync::~CloudSync() {
    // The mirror's replies go before the monitor that hears them.
    detach();
    m_monitor.reset();
}

bool CloudSync::attach(ModelContext& context, const CalDavClient::Account& account,
                       QString* reason) {
    detach();
    if (!m_store.open(context, reason))
        return false;
    m_context = &context;
    m_client = std::make_unique<CalDavClient>(m_env.network);
    m_client->setAccount(account);
    m_mirror = std::make_unique<CalDavMirror>(context, m_store, *m_client, m_env.clock, m_env.hub);
    m_scheduler = std::make_unique<SyncScheduler>(m_timing, m_env.clock);
    m_scheduler->attach(*m_mirror);
    m_scheduler->watch(context);
    return true;
}

void CloudSync::start(ModelContext& context, const TavikContainer::SyncAvailability& availability,
                      const QDBusConnection* systemBus) {
    m_context = &context;
    if (systemBus)
        m_systemBus = *systemBus;
    m_opening = availability.kind == TavikContainer::SyncAvailability::Kind::opening;
    setMonitor(availability);
}

QString CloudSync::finishOpening(const CalDavClient::Account& account,
                                 const QString& passwordProblem) {
    if (!m_context || !m_opening)
        return {};
    m_opening = false;
    QString reason = passwordProblem;
    if (reason.isEmpty() && attach(*m_context, account, &reason)) {
        setMonitor({TavikContainer::SyncAvailability::Kind::active, {}});
        return {};
    }
    if (reason.isEmpty())
        reason = QStringLiteral("the cloud mirror failed to attach");
    qCWarning(lcSync) << "the mirror could not be attached at launch:" << reason;
    setMonitor({TavikContainer::SyncAvailability::Kind::unavailable, reason});
    return reason;
}

void CloudSync::setMonitor(const TavikContainer::SyncAvailability& availability) {
    const bool active = availability.kind == TavikContainer::SyncAvailability::Kind::active;
    // The section binds to the new monitor before the old one goes.
    std::unique_ptr<CloudSyncMonitor> old = std::move(m_monitor);
    m_monitor =
        std::make_unique<CloudSyncMonitor>(availability, m_env.hub, m_env.clock, m_env.power);
    connect(m_monitor.get(), &CloudSyncMonitor::importFinished, this, &CloudSync::importFinished);
    emit monitorChanged();
    old.reset();
    if (!active || !m_mirror)
        return;
    m_monitor->follow(*m_mirror);
    if (m_systemBus)
        m_scheduler->watchSystem(*m_systemBus);
    m_scheduler->start();
}

void CloudSync::connectAccount(const CalDavClient::Account& account) {
    if (!m_context)
        return;
    m_opening = false;
    QString reason;
    if (!attach(*m_context, account, &reason)) {
        qCWarning(lcSync) << "the mirror could not be attached:" << reason;
        setMonitor({TavikContainer::SyncAvailability::Kind::unavailable, reason});
        return;
    }
    setMonitor({TavikContainer::SyncAvailability::Kind::active, {}});
    // The user just asked for it: no launch delay.
    m_scheduler->requestNow();
}

void CloudSync::disconnectAccount() {
    m_opening = false;
    detach();
    setMonitor({});
}

void CloudSync::syncNow() {
    if (m_scheduler)
        m_scheduler->requestNow();
}

void CloudSync::detach() {
    m_scheduler.reset();
    m_mirror.reset();
    m_client.reset();
    m_store = MirrorStore();
}
