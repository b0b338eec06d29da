#include "pickers/CalendarGridModel.h"

#include "IsoCalendar.h"
#include "ScheduleFormat.h"

#include <QLocale>

CalendarGridModel::CalendarGridModel(QObject* parent)
    : QAbstractListModel(parent)
    , m_firstDayOfWeek(QLocale::system().firstDayOfWeek()) {}

CalendarGridModel::CalendarGridModel(QmlClock* clock, QObject* parent)
    : CalendarGridModel(parent) {
    setClock(clock);
}

void CalendarGridModel::componentComplete() {
    m_building = false;
    QmlClock::checkGiven(m_clock, "CalendarGridModel");
}

void CalendarGridModel::setClock(QmlClock* clock) {
    if (m_clock == clock)
        return;
    m_clock = clock;
    emit clockChanged();
    refreshFlags();
}

int CalendarGridModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() || !m_month.isValid())
        return 0;
    const int days = m_month.daysInMonth();
    if (days <= 0)
        return 0;
    // The smallest number of whole weeks that holds the leading days and the month.
    return (leadingDays() + days + 6) / 7 * 7;
}

int CalendarGridModel::leadingDays() const {
    if (!m_month.isValid())
        return 0;
    return (m_month.dayOfWeek() - m_firstDayOfWeek + 7) % 7;
}

QDate CalendarGridModel::cellDate(int index) const {
    return m_month.addDays(index - leadingDays());
}

QVariant CalendarGridModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const IsoCalendar calendar;
    const QDate date = cellDate(index.row());
    switch (role) {
    case DateRole:
        return calendar.startOfDay(date);
    case DayNumberRole:
        return date.day();
    case InMonthRole:
        return date.year() == m_month.year() && date.month() == m_month.month();
    case BeforeMinRole:
        return m_minDay.isValid() && calendar.startOfDay(date) < m_minDay;
    case IsSelectedRole:
        return m_selected.isValid() && calendar.localDate(m_selected) == date;
    case IsTodayRole:
        return calendar.localDate(QmlClock::nowOf(m_clock, "CalendarGridModel", m_building)) ==
               date;
    default:
        return {};
    }
}

QHash<int, QByteArray> CalendarGridModel::roleNames() const {
    return {
        {DateRole, "date"},           {DayNumberRole, "dayNumber"},   {InMonthRole, "inMonth"},
        {BeforeMinRole, "beforeMin"}, {IsSelectedRole, "isSelected"}, {IsTodayRole, "isToday"},
    };
}

QDateTime CalendarGridModel::monthStart() const {
    return m_month.isValid() ? IsoCalendar().startOfDay(m_month) : QDateTime();
}

void CalendarGridModel::resetCells(const std::function<void()>& change) {
    beginResetModel();
    change();
    endResetModel();
}

void CalendarGridModel::setMonthStart(const QDateTime& moment) {
    QDate month;
    if (moment.isValid()) {
        const QDate local = IsoCalendar().localDate(moment);
        month = QDate(local.year(), local.month(), 1);
    }
    if (month == m_month)
        return;
    resetCells([&] { m_month = month; });
    emit monthStartChanged();
    emit gridChanged();
}

void CalendarGridModel::page(int delta) {
    if (!m_month.isValid())
        return;
    const QDate next = m_month.addMonths(delta);
    // A month the calendar cannot reach leaves the grid where it is.
    if (!next.isValid())
        return;
    setMonthStart(IsoCalendar().startOfDay(next));
}

void CalendarGridModel::refreshFlags() {
    if (rowCount() > 0)
        emit dataChanged(index(0), index(rowCount() - 1),
                         {BeforeMinRole, IsSelectedRole, IsTodayRole});
}

void CalendarGridModel::setSelected(const QDateTime& selected) {
    if (m_selected == selected)
        return;
    m_selected = selected;
    refreshFlags();
    emit selectedChanged();
}

void CalendarGridModel::setMinDay(const QDateTime& minDay) {
    if (m_minDay == minDay)
        return;
    m_minDay = minDay;
    refreshFlags();
    emit minDayChanged();
}

void CalendarGridModel::setFirstDayOfWeek(int day) {
    if (day < Qt::Monday || day > Qt::Sunday || day == m_firstDayOfWeek)
        return;
    resetCells([&] { m_firstDayOfWeek = day; });
    emit firstDayOfWeekChanged();
    emit gridChanged();
}

QString CalendarGridModel::title() const {
    return ScheduleFormat::monthTitle(m_month);
}

QStringList CalendarGridModel::weekdaySymbols() const {
    return ScheduleFormat::weekdaySymbols(Qt::DayOfWeek(m_firstDayOfWeek));
}
