#pragma once

#include <QDateTime>
#include <QObject>
#include <QQmlEngine>
#include <QStringList>
#include <QVariant>

// ScheduleFormat for QML: the same wording, with "today" taken from the `now` the caller
// passes (the board's present, or a controller's `today`): a singleton has no clock of its
// own, so it never reads the system time. Dates arrive as JS Dates; undefined, null and an
// invalid Date all mean none and give "".
class QmlScheduleFormat : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(ScheduleFormat)
    QML_SINGLETON
public:
    using QObject::QObject;

    Q_INVOKABLE [[nodiscard]] QString time(const QVariant& moment) const;
    Q_INVOKABLE [[nodiscard]] QString day(const QVariant& date, const QVariant& now) const;
    Q_INVOKABLE [[nodiscard]] QString dayAndTime(const QVariant& moment, const QVariant& now) const;
    // "" when there is neither a day nor a reminder.
    Q_INVOKABLE [[nodiscard]] QString
    shortLabel(const QVariant& dueDate, const QVariant& reminderAt, const QVariant& now) const;
    Q_INVOKABLE [[nodiscard]] QString monthTitle(const QVariant& month) const;
    // Qt::DayOfWeek, 1 = Monday ... 7 = Sunday.
    Q_INVOKABLE [[nodiscard]] QStringList weekdaySymbols(int firstDay) const;

    [[nodiscard]] static QDateTime toMoment(const QVariant& value);
};
