#include "pickers/TimeListModel.h"

#include "IsoCalendar.h"
#include "ScheduleFormat.h"
#include "ScheduleRules.h"

TimeListModel::TimeListModel(QObject* parent)
    : QAbstractListModel(parent) {}

int TimeListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_slots.size());
}

QVariant TimeListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const QDateTime& slot = m_slots.at(index.row());
    switch (role) {
    case SlotRole:
        return slot;
    case LabelRole:
        return ScheduleFormat::time(slot);
    case IsSelectedRole:
        return isSelected(slot);
    default:
        return {};
    }
}

QHash<int, QByteArray> TimeListModel::roleNames() const {
    return {{SlotRole, "slot"}, {LabelRole, "label"}, {IsSelectedRole, "isSelected"}};
}

bool TimeListModel::isSelected(const QDateTime& slot) const {
    // By hour and minute only: a time off the quarter-hour grid marks no row.
    return m_selected.isValid() &&
           ScheduleRules::minutesOfDay(m_selected) == ScheduleRules::minutesOfDay(slot);
}

void TimeListModel::setSelected(const QDateTime& selected) {
    if (m_selected == selected)
        return;
    m_selected = selected;
    if (!m_slots.isEmpty())
        emit dataChanged(index(0), index(rowCount() - 1), {IsSelectedRole});
    emit selectedChanged();
    emit anchorIndexChanged();
}

void TimeListModel::setInitial(const QDateTime& initial) {
    if (m_initial == initial)
        return;
    beginResetModel();
    m_initial = initial;
    m_slots.clear();
    if (initial.isValid()) {
        const IsoCalendar calendar;
        const QDate day = calendar.localDate(initial);
        for (int minutes = 0; minutes < 24 * 60; minutes += slotMinutes) {
            const QDateTime slot(day, QTime(minutes / 60, minutes % 60), Qt::LocalTime);
            if (slot.isValid()) // a wall-clock time inside a spring-forward gap has no slot
                m_slots.append(slot.toUTC());
        }
    }
    endResetModel();
    emit initialChanged();
    emit anchorIndexChanged();
}

int TimeListModel::anchorIndex() const {
    if (m_slots.isEmpty())
        return -1;
    const QDateTime& reference = m_selected.isValid() ? m_selected : m_initial;
    const int target = ScheduleRules::minutesOfDay(reference);
    for (int i = 0; i < m_slots.size(); ++i) {
        if (ScheduleRules::minutesOfDay(m_slots.at(i)) >= target)
            return i;
    }
    return int(m_slots.size()) - 1;
}
