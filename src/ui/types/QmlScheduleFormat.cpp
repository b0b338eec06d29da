#include "types/QmlScheduleFormat.h"

#include "IsoCalendar.h"
#include "ScheduleFormat.h"
#include "theme/UiLog.h"

#include <QJSValue>
#include <optional>

namespace {

// The caller's present. Missing, it is a wiring fault: said loudly, and no wording is made.
std::optional<QDateTime> presentOf(const QVariant& now) {
    const QDateTime given = QmlScheduleFormat::toMoment(now);
    if (given.isValid())
        return given;
    qCCritical(lcUi) << "ScheduleFormat was called without a present";
    return std::nullopt;
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
    const auto present = presentOf(now);
    return present ? ScheduleFormat::day(toMoment(date), *present, IsoCalendar()) : QString();
}

QString QmlScheduleFormat::dayAndTime(const QVariant& moment, const QVariant& now) const {
    const auto present = presentOf(now);
    return present ? ScheduleFormat::dayAndTime(toMoment(moment), *present, IsoCalendar())
                   : QString();
}

QString QmlScheduleFormat::shortLabel(const QVariant& dueDate, const QVariant& reminderAt,
                                      const QVariant& now) const {
    const auto present = presentOf(now);
    if (!present)
        return {};
    return ScheduleFormat::shortLabel(toMoment(dueDate), toMoment(reminderAt), *present,
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
