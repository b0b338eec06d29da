#include "DayChangeWatcher.h"

#include <QDBusConnection>
#include <QDateTime>

namespace {
constexpr int kTickMs = 60 * 1000;
}

DayChangeWatcher::DayChangeWatcher(QObject* parent)
    : QObject(parent)
    , m_day(QDate::currentDate())
    , m_offset(QDateTime::currentDateTime().offsetFromUtc()) {
    m_midnight.setSingleShot(true);
    m_midnight.setTimerType(Qt::PreciseTimer);
    connect(&m_midnight, &QTimer::timeout, this, &DayChangeWatcher::check);
    // A timer's clock stops during suspend and ignores clock changes; the tick catches both.
    m_tick.setInterval(kTickMs);
    connect(&m_tick, &QTimer::timeout, this, &DayChangeWatcher::check);
    m_tick.start();
    arm();

    QDBusConnection::systemBus().connect(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"), this,
        SLOT(prepareForSleep(bool)));
}

void DayChangeWatcher::arm() {
    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime midnight = now.date().addDays(1).startOfDay();
    // A little past midnight, so the new day is surely there when it fires.
    m_midnight.start(static_cast<int>(qMax<qint64>(1000, now.msecsTo(midnight) + 500)));
}

void DayChangeWatcher::check() {
    const QDateTime now = QDateTime::currentDateTime();
    const bool zoneMoved = now.offsetFromUtc() != m_offset;
    m_offset = now.offsetFromUtc();
    if (now.date() != m_day) {
        m_day = now.date();
        emit dayChanged();
    }
    if (zoneMoved || !m_midnight.isActive())
        arm();
}

void DayChangeWatcher::prepareForSleep(bool sleeping) {
    if (sleeping)
        return;
    emit woke();
    check();
    arm();
}
