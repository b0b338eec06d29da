#pragma once

#include "board/ListDiff.h"

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <QQmlEngine>
#include <QUuid>

// A list model over store records (tasks, lists) that follows each new list it is handed by
// announcing the difference row by row, so a view animates what moved and keeps the rest of
// its delegates. Subclasses hold the rows and answer data(); this holds what they share.
class RecordListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    // A diff with more steps than this is announced as a reset: cheaper for the view than
    // thousands of single moves, and nothing of that size is worth animating.
    static constexpr int maxAnimatedSteps = 400;

    [[nodiscard]] virtual int count() const = 0;
    // The row of the record with this id (a UUID with or without braces), or -1.
    Q_INVOKABLE [[nodiscard]] int indexOfId(const QString& id) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override { return m_roleNames; }

signals:
    void countChanged();

protected:
    RecordListModel(QHash<int, QByteArray> roleNames, QObject* parent);

    [[nodiscard]] virtual QUuid idAt(int row) const = 0;
    // Brings `rows` to `target` (distinct records, in display order), announcing each step.
    template <typename T> void diffRows(QList<T>& rows, const QList<T>& target);
    // Takes one row out, announced; false when `row` is not one.
    template <typename T> bool takeRow(QList<T>& rows, int row);

private:
    QHash<int, QByteArray> m_roleNames;
};

template <typename T> void RecordListModel::diffRows(QList<T>& rows, const QList<T>& target) {
    if (rows == target)
        return;
    const int before = count();
    const QList<ListDiff::Step> steps = ListDiff::steps(rows, target);
    if (steps.size() > maxAnimatedSteps) {
        beginResetModel();
        rows = target;
        endResetModel();
    } else {
        for (const ListDiff::Step& step : steps) {
            switch (step.kind) {
            case ListDiff::StepKind::remove:
                beginRemoveRows({}, step.first, step.first + step.count - 1);
                ListDiff::apply(rows, step, target);
                endRemoveRows();
                break;
            case ListDiff::StepKind::insert:
                beginInsertRows({}, step.first, step.first + step.count - 1);
                ListDiff::apply(rows, step, target);
                endInsertRows();
                break;
            case ListDiff::StepKind::move:
                // Qt names the destination in the rows as they are before the move.
                beginMoveRows({}, step.first, step.first, {},
                              step.to > step.first ? step.to + 1 : step.to);
                ListDiff::apply(rows, step, target);
                endMoveRows();
                break;
            }
        }
    }
    if (count() != before)
        emit countChanged();
}

template <typename T> bool RecordListModel::takeRow(QList<T>& rows, int row) {
    if (row < 0 || row >= rows.size())
        return false;
    beginRemoveRows({}, row, row);
    rows.removeAt(row);
    endRemoveRows();
    emit countChanged();
    return true;
}
