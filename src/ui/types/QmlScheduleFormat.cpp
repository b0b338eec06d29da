#include "types/QmlScheduleFormat.h"

#include "Clock.h"
#include "IsoCalendar.h"
#include "ScheduleFormat.h"
#include "types/UiClock.h"

#include <QJSValue>

namespace {

QDateTime nowOr(const QVariant& now) {
    const QDateTime given = QmlScheduleFormat::toMoment(now);
    return given.isValid() ? given : UiClock::instance().now();
}

} // namespace

QDateTime QmlScheduleFormat::toMoment(const QVariant& value) {
    QVariant plain = value;
    if (plain.userType() == qMetaTypeId<QJSValue>())
        plain = plain.value<QJSValue>().toVariant();
    if (plain.metaType().id() == QMetaType::QDateTime)
        return plain.toDateTime();
    if (plain.metaType().id() == QMetaType::QDate)
        return plain.toDate().startOfDay(Qt::LocalTime);
    return {};
}

QString QmlScheduleFormat::time(const QVariant& moment) const {
    return ScheduleFormat::time(toMoment(moment));
}

QString QmlScheduleFormat::day(const QVariant& date, const QVariant& now) const {
    return ScheduleFormat::day(toMoment(date), nowOr(now), IsoCalendar());
}

QString QmlScheduleFormat::dayAndTime(const QVariant& moment, const QVariant& now) const {
    return ScheduleFormat::dayAndTime(toMoment(moment), nowOr(now), IsoCalendar());
}

QString QmlScheduleFormat::shortLabel(const QVariant& dueDate, const QVariant& reminderAt,
                                      const QVariant& now) const {
    return ScheduleFormat::shortLabel(toMoment(dueDate), toMoment(reminderAt), nowOr(now),
                                      IsoCalendar())
        .value_or(QString());
}

QString QmlScheduleFormat::monthTitle(const QVariant& month) const {
    const QDateTime moment = toMoment(month);
    return moment.isValid() ? ScheduleFormat::monthTitle(IsoCalendar().localDate(moment))
                            : QString();
}

QStringList QmlScheduleFormat::weekdaySymbols(int firstDay) const {
    if (firstDay < Qt::Monday || firstDay > Qt::Sunday)
        firstDay = Qt::Monday;
    return ScheduleFormat::weekdaySymbols(Qt::DayOfWeek(firstDay));
}
