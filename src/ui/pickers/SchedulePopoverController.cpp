#include "pickers/SchedulePopoverController.h"

#include "IsoCalendar.h"
#include "ScheduleRules.h"

SchedulePopoverController::SchedulePopoverController(QObject* parent)
    : QObject(parent) {
    // "Today" and the default time move with the clock.
    connect(this, &SchedulePopoverController::clockChanged, this,
            &SchedulePopoverController::draftChanged);
}

SchedulePopoverController::SchedulePopoverController(QmlClock* clock, QObject* parent)
    : SchedulePopoverController(parent) {
    setClock(clock);
}

void SchedulePopoverController::componentComplete() {
    m_building = false;
    QmlClock::checkGiven(m_clock, "SchedulePopoverController");
}

void SchedulePopoverController::setClock(QmlClock* clock) {
    if (m_clock == clock)
        return;
    m_clock = clock;
    emit clockChanged();
}

QDateTime SchedulePopoverController::nowMoment() const {
    return QmlClock::nowOf(m_clock, "SchedulePopoverController", m_building);
}

void SchedulePopoverController::seed(const QDateTime& dueDate, const QDateTime& reminderAt) {
    const IsoCalendar calendar;
    m_time = reminderAt.isValid() ? reminderAt.toUTC() : QDateTime();
    // A reminder outweighs a due date that lies on another day.
    const QDateTime base = reminderAt.isValid() ? reminderAt : dueDate;
    m_day = base.isValid() ? calendar.startOfDay(base) : QDateTime();
    emit draftChanged();
}

QDateTime SchedulePopoverController::today() const {
    return IsoCalendar().startOfDay(nowMoment());
}

QDateTime SchedulePopoverController::resolvedReminder() const {
    return ScheduleRules::resolvedReminder(m_day, m_time, nowMoment(), IsoCalendar());
}

bool SchedulePopoverController::reminderPassed() const {
    const QDateTime reminder = resolvedReminder();
    return reminder.isValid() && reminder <= nowMoment();
}

bool SchedulePopoverController::todayActive() const {
    return m_day.isValid() && IsoCalendar().isSameDay(m_day, nowMoment());
}

bool SchedulePopoverController::tomorrowActive() const {
    return m_day.isValid() &&
           IsoCalendar().isSameDay(m_day, ScheduleRules::tomorrow(nowMoment(), IsoCalendar()));
}

QDateTime SchedulePopoverController::dateFieldValue() const {
    return m_day.isValid() ? m_day : today();
}

QDateTime SchedulePopoverController::timeFieldValue() const {
    return m_time.isValid() ? m_time : ScheduleRules::defaultTime(nowMoment(), IsoCalendar());
}

void SchedulePopoverController::emitSchedule() {
    emit draftChanged();
    const QDateTime reminder = resolvedReminder();
    if (reminder.isValid())
        emit scheduleChanged(IsoCalendar().startOfDay(reminder), reminder);
    else
        emit scheduleChanged(m_day, QDateTime());
}

void SchedulePopoverController::chooseToday() {
    m_day = today();
    emitSchedule();
}

void SchedulePopoverController::chooseTomorrow() {
    m_day = ScheduleRules::tomorrow(nowMoment(), IsoCalendar());
    emitSchedule();
}

void SchedulePopoverController::chooseDate(const QDateTime& date) {
    if (!date.isValid())
        return;
    m_day = IsoCalendar().startOfDay(date);
    emitSchedule();
}

void SchedulePopoverController::setReminderEnabled(bool enabled) {
    if (enabled) {
        // A time never stands without a day.
        if (!m_day.isValid())
            m_day = today();
        m_time = ScheduleRules::defaultTime(nowMoment(), IsoCalendar());
    } else {
        m_time = QDateTime();
    }
    emitSchedule();
}

void SchedulePopoverController::chooseTime(const QDateTime& time) {
    if (!time.isValid())
        return;
    m_time = time.toUTC();
    emitSchedule();
}

void SchedulePopoverController::clear() {
    m_day = QDateTime();
    m_time = QDateTime();
    emitSchedule();
}
