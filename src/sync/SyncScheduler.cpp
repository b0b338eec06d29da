#include "SyncScheduler.h"

#include "CalDavMirror.h"
#include "Clock.h"
#include "ModelContext.h"
#include "SyncLog.h"

#include <QNetworkInformation>

SyncScheduler::SyncScheduler(const Timing& timing, const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_timing(timing)
    , m_clock(clock) {
    m_soon.setSingleShot(true);
    // The pause after a save or a failure is a promise to the server: not a bit earlier.
    m_soon.setTimerType(Qt::PreciseTimer);
    connect(&m_soon, &QTimer::timeout, this, &SyncScheduler::run);
    connect(&m_period, &QTimer::timeout, this, [this] { runIn(Duration(0), Why::trigger); });
}

void SyncScheduler::attach(CalDavMirror& mirror) {
    connect(this, &SyncScheduler::runRequested, &mirror, &CalDavMirror::sync);
    connect(&mirror, &CalDavMirror::finished, this,
            [this, &mirror](bool ok) { runFinished(ok, mirror.retryAfterSecs()); });
}

void SyncScheduler::watch(ModelContext& context) {
    connect(&context, &ModelContext::changesSaved, this, &SyncScheduler::saved);
}

void SyncScheduler::watchSystem(const QDBusConnection& systemBus) {
    QDBusConnection bus = systemBus;
    bus.connect(QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
                QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"),
                this, SLOT(prepareForSleep(bool)));
    if (!QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability))
        return;
    QNetworkInformation* network = QNetworkInformation::instance();
    connect(network, &QNetworkInformation::reachabilityChanged, this,
            [this](QNetworkInformation::Reachability reachability) {
                networkChanged(reachability == QNetworkInformation::Reachability::Online ||
                               reachability == QNetworkInformation::Reachability::Site ||
                               reachability == QNetworkInformation::Reachability::Local);
            });
}

void SyncScheduler::start() {
    m_started = true;
    m_period.start(m_timing.period);
    runIn(m_timing.launchDelay, Why::trigger);
}

void SyncScheduler::stop() {
    m_started = false;
    m_soon.stop();
    m_period.stop();
}

void SyncScheduler::saved() {
    // Each save pushes the run back: a burst of edits goes out as one.
    runIn(m_timing.afterSave, Why::save);
}

void SyncScheduler::woke() {
    // A new chance: the network and the server may both be back.
    m_failures = 0;
    m_backoffEnds = {};
    runIn(Duration(0), Why::urgent);
}

void SyncScheduler::networkChanged(bool reachable) {
    const bool cameBack = reachable && !m_online;
    m_online = reachable;
    if (cameBack)
        woke();
}

void SyncScheduler::requestNow() {
    runIn(Duration(0), Why::urgent);
}

void SyncScheduler::prepareForSleep(bool sleeping) {
    if (!sleeping)
        woke();
}

void SyncScheduler::runIn(Duration delay, Why why) {
    if (!m_started)
        return;
    if (m_running) {
        m_again = true;
        return;
    }
    const QDateTime now = m_clock.now();
    qint64 wait = delay.count();
    if (m_notBefore.isValid())
        wait = qMax(wait, now.msecsTo(m_notBefore));
    if (why != Why::urgent && m_backoffEnds.isValid())
        wait = qMax(wait, now.msecsTo(m_backoffEnds));
    // A run already due sooner stays, unless it is a save's: saves push their run back.
    const bool debounce = why == Why::save;
    if (m_soon.isActive() && !(debounce && m_soonIsDebounce) && m_soon.remainingTime() <= wait)
        return;
    m_soonIsDebounce = debounce;
    m_soon.start(int(qMax<qint64>(0, wait)));
}

void SyncScheduler::run() {
    if (m_running || !m_started)
        return;
    m_running = true;
    m_again = false;
    emit runRequested();
}

void SyncScheduler::runFinished(bool ok, int retryAfterSecs) {
    if (!m_running)
        return;
    m_running = false;
    const QDateTime now = m_clock.now();
    m_notBefore =
        retryAfterSecs > 0 ? now.addMSecs(retryAfterSecs * m_timing.second.count()) : QDateTime();
    if (ok) {
        m_failures = 0;
        m_backoffEnds = {};
        if (m_again)
            runIn(Duration(0), Why::trigger);
        return;
    }
    ++m_failures;
    if (m_failures > m_timing.maxRetries) {
        // Enough: the timer, a save, a wake or the network coming back tries again.
        qCInfo(lcSync) << "sync failed" << m_failures << "times in a row; waiting for a trigger";
        m_backoffEnds = now.addMSecs(m_timing.longestRetry.count());
        m_again = false;
        return;
    }
    const qint64 pause = qMin<qint64>(m_timing.firstRetry.count() << (m_failures - 1),
                                      m_timing.longestRetry.count());
    m_backoffEnds = now.addMSecs(pause);
    m_again = false;
    runIn(Duration(0), Why::trigger);
}
