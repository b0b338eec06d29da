#include "CloudSyncMonitor.h"

#include "CalDavMirror.h"
#include "Clock.h"
#include "Notifications.h"
#include "PowerProfile.h"

CloudSyncMonitor::CloudSyncMonitor(const TavikContainer::SyncAvailability& availability,
                                   NotificationHub& hub, const Clock& clock, PowerProfile* power,
                                   QObject* parent)
    : QObject(parent)
    , m_hub(hub)
    , m_clock(clock) {
    m_lowPowerMode = power && power->powerSaving();
    switch (availability.kind) {
    case TavikContainer::SyncAvailability::Kind::localOnly:
        m_state = State::Off;
        return;
    case TavikContainer::SyncAvailability::Kind::unavailable:
        // The error's own text is for the log, not for the section.
        m_state = State::Off;
        m_stateText = QStringLiteral("云同步不可用，数据仅保存在本机");
        return;
    case TavikContainer::SyncAvailability::Kind::opening:
        // The account is on; the password is on its way. The mirror's monitor follows.
        m_state = State::Idle;
        return;
    case TavikContainer::SyncAvailability::Kind::active:
        m_state = State::Idle;
        break;
    }
    if (power) {
        connect(power, &PowerProfile::powerSavingChanged, this, [this](bool saving) {
            if (m_lowPowerMode == saving)
                return;
            m_lowPowerMode = saving;
            emit lowPowerModeChanged();
        });
    }
}

void CloudSyncMonitor::follow(CalDavMirror& mirror) {
    if (m_state == State::Off)
        return;
    connect(&mirror, &CalDavMirror::eventChanged, this, &CloudSyncMonitor::handle);
    connect(&mirror, &CalDavMirror::progress, this,
            [this](qsizetype done, qsizetype total) { setProgress(int(done), int(total)); });
}

void CloudSyncMonitor::handle(const MirrorEvent& event) {
    if (m_state == State::Off)
        return;
    // Events drive the state alike whatever their kind, and nothing counts them: the end of
    // one event gives idle or error even while another is open.
    if (!event.endedAt.isValid()) {
        setState(State::Syncing, {});
        return;
    }
    if (event.type == MirrorEvent::Type::exportChanges)
        setProgress(0, 0);
    if (event.error.isError()) {
        setState(State::Error, event.error.userText());
        return;
    }
    setState(State::Idle, {});
    m_lastSyncedAt = event.endedAt;
    emit lastSyncedAtChanged();
    if (event.type == MirrorEvent::Type::import) {
        m_hub.post(TavikNotification::tasksChanged);
        emit importFinished();
    }
}

QString CloudSyncMonitor::header() const {
    return QStringLiteral("云同步");
}

QString CloudSyncMonitor::title() const {
    switch (m_state) {
    case State::Off:
        return QStringLiteral("未开启");
    case State::Error:
        return QStringLiteral("同步遇到问题");
    case State::Idle:
        return QStringLiteral("已开启");
    case State::Syncing:
        return QStringLiteral("正在同步…");
    }
    return {};
}

QString CloudSyncMonitor::detail() const {
    switch (m_state) {
    case State::Off:
    case State::Error:
        return m_stateText;
    case State::Idle:
        return m_lastSyncedAt.isValid()
                   ? QStringLiteral("上次同步 ") + relativeTime(m_lastSyncedAt, m_clock.now())
                   : QStringLiteral("等待首次同步");
    case State::Syncing:
        if (m_lowPowerMode)
            return QStringLiteral("低电量模式下系统会推迟同步，关闭后自动继续");
        if (m_progressTotal > 0)
            return QStringLiteral("已上传 %1 / %2").arg(m_progressDone).arg(m_progressTotal);
        return {};
    }
    return {};
}

QString CloudSyncMonitor::footer() const {
    return m_state == State::Off
               ? QStringLiteral("登录同步账户后，任务会自动在你的所有设备之间同步。")
               : QStringLiteral("任务通过你的 CalDAV 服务器在所有设备间自动同步。");
}

QString CloudSyncMonitor::relativeTime(const QDateTime& at, const QDateTime& now) {
    const qint64 seconds = at.secsTo(now);
    if (seconds < 60)
        return QStringLiteral("刚刚");
    const qint64 minutes = seconds / 60, hours = minutes / 60, days = hours / 24;
    if (minutes < 60)
        return QStringLiteral("%1分钟前").arg(minutes);
    if (hours < 24)
        return QStringLiteral("%1小时前").arg(hours);
    if (days < 7)
        return QStringLiteral("%1天前").arg(days);
    if (days < 30)
        return QStringLiteral("%1周前").arg(days / 7);
    if (days < 365)
        return QStringLiteral("%1个月前").arg(days / 30);
    return QStringLiteral("%1年前").arg(days / 365);
}

void CloudSyncMonitor::setState(State state, const QString& text) {
    if (m_state == state && m_stateText == text)
        return;
    m_state = state;
    m_stateText = text;
    emit stateChanged();
}

void CloudSyncMonitor::setProgress(int done, int total) {
    if (m_progressDone == done && m_progressTotal == total)
        return;
    m_progressDone = done;
    m_progressTotal = total;
    emit progressChanged();
}
