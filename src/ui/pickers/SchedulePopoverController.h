#pragma once

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QQmlParserStatus>

#include "types/QmlClock.h"

// The draft of the schedule popover: a day and a reminder time edited together. Seeded once
// when the popover is built; every change the user makes is reported at once through
// scheduleChanged, with a day that always agrees with the reminder. Invalid QDateTimes mean
// none.
class SchedulePopoverController : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    // The board's clock; without one the controller refuses to tell the day.
    Q_PROPERTY(QmlClock* clock READ clock WRITE setClock NOTIFY clockChanged REQUIRED)
    Q_PROPERTY(QDateTime day READ day NOTIFY draftChanged)
    Q_PROPERTY(QDateTime time READ time NOTIFY draftChanged)
    Q_PROPERTY(bool hasTime READ hasTime NOTIFY draftChanged)
    Q_PROPERTY(QDateTime resolvedReminder READ resolvedReminder NOTIFY draftChanged)
    // The reminder is at or before the present moment: it will never fire.
    Q_PROPERTY(bool reminderPassed READ reminderPassed NOTIFY draftChanged)
    Q_PROPERTY(bool todayActive READ todayActive NOTIFY draftChanged)
    Q_PROPERTY(bool tomorrowActive READ tomorrowActive NOTIFY draftChanged)
    Q_PROPERTY(bool showClear READ showClear NOTIFY draftChanged)
    // What the date and time fields show while their value is empty.
    Q_PROPERTY(QDateTime dateFieldValue READ dateFieldValue NOTIFY draftChanged)
    Q_PROPERTY(QDateTime timeFieldValue READ timeFieldValue NOTIFY draftChanged)
    Q_PROPERTY(QDateTime today READ today NOTIFY draftChanged)

public:
    explicit SchedulePopoverController(QObject* parent = nullptr);
    explicit SchedulePopoverController(QmlClock* clock, QObject* parent = nullptr);

    [[nodiscard]] QmlClock* clock() const { return m_clock; }
    void setClock(QmlClock* clock);

    // While QML builds the controller, its clock may not have arrived yet.
    void classBegin() override { m_building = true; }
    void componentComplete() override;

    // The popover opens on the reminder's day when there is a reminder, else on the due date.
    // Reports nothing.
    Q_INVOKABLE void seed(const QDateTime& dueDate, const QDateTime& reminderAt);

    [[nodiscard]] QDateTime day() const { return m_day; }
    [[nodiscard]] QDateTime time() const { return m_time; }
    [[nodiscard]] bool hasTime() const { return m_time.isValid(); }
    [[nodiscard]] QDateTime resolvedReminder() const;
    [[nodiscard]] bool reminderPassed() const;
    [[nodiscard]] bool todayActive() const;
    [[nodiscard]] bool tomorrowActive() const;
    [[nodiscard]] bool showClear() const { return m_day.isValid() || m_time.isValid(); }
    [[nodiscard]] QDateTime dateFieldValue() const;
    [[nodiscard]] QDateTime timeFieldValue() const;
    [[nodiscard]] QDateTime today() const;

    Q_INVOKABLE void chooseToday();
    Q_INVOKABLE void chooseTomorrow();
    Q_INVOKABLE void chooseDate(const QDateTime& date);
    Q_INVOKABLE void setReminderEnabled(bool enabled);
    Q_INVOKABLE void chooseTime(const QDateTime& time);
    Q_INVOKABLE void clear();

signals:
    void clockChanged();
    void draftChanged();
    // The day (start of a day, or invalid) and the reminder moment (or invalid).
    void scheduleChanged(const QDateTime& day, const QDateTime& reminderAt);

private:
    [[nodiscard]] QDateTime nowMoment() const;
    void emitSchedule();

    QPointer<QmlClock> m_clock;
    bool m_building = false;

    QDateTime m_day;
    QDateTime m_time;
};
