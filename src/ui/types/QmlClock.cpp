#include "types/QmlClock.h"

#include "Clock.h"
#include "theme/UiLog.h"

QmlClock::QmlClock(const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock) {}

QDateTime QmlClock::now() const {
    return m_clock.now();
}

QDateTime QmlClock::nowOf(const QmlClock* clock, const char* user, bool building) {
    if (clock)
        return clock->now();
    if (!building)
        qCCritical(lcUi) << user << "was given no clock";
    return {};
}

void QmlClock::checkGiven(const QmlClock* clock, const char* user) {
    if (!clock)
        qCCritical(lcUi) << user << "was made by QML without a clock";
}
