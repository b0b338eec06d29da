#include "lists/CategoryListModel.h"

#include "TaskCategory.h"
#include "board/ListDiff.h"

CategoryListModel::CategoryListModel(QObject* parent)
    : QAbstractListModel(parent) {}

void CategoryListModel::setCategories(const QList<TaskCategory*>& categories) {
    if (categories == m_rows)
        return;
    const int before = count();
    for (const ListDiff::Step& step : ListDiff::steps(m_rows, categories)) {
        switch (step.kind) {
        case ListDiff::StepKind::remove:
            beginRemoveRows({}, step.first, step.first + step.count - 1);
            ListDiff::apply(m_rows, step, categories);
            endRemoveRows();
            break;
        case ListDiff::StepKind::insert:
            beginInsertRows({}, step.first, step.first + step.count - 1);
            ListDiff::apply(m_rows, step, categories);
            endInsertRows();
            break;
        case ListDiff::StepKind::move:
            beginMoveRows({}, step.first, step.first, {},
                          step.to > step.first ? step.to + 1 : step.to);
            ListDiff::apply(m_rows, step, categories);
            endMoveRows();
            break;
        }
    }
    if (count() != before)
        emit countChanged();
}

void CategoryListModel::removeCategory(TaskCategory* category) {
    const int row = int(m_rows.indexOf(category));
    if (row < 0)
        return;
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
    emit countChanged();
}

void CategoryListModel::refreshCategory(TaskCategory* category) {
    const int row = int(m_rows.indexOf(category));
    if (row >= 0)
        emit dataChanged(index(row), index(row));
}

TaskCategory* CategoryListModel::categoryAt(int row) const {
    return row >= 0 && row < count() ? m_rows[row] : nullptr;
}

int CategoryListModel::indexOfId(const QString& categoryId) const {
    const QUuid id = QUuid::fromString(categoryId);
    if (id.isNull())
        return -1;
    for (int row = 0; row < count(); ++row) {
        if (m_rows[row]->id() == id)
            return row;
    }
    return -1;
}

int CategoryListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant CategoryListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    TaskCategory* category = m_rows[index.row()];
    switch (role) {
    case CategoryRole:
        return QVariant::fromValue(category);
    case CategoryIdRole:
        return category->id().toString(QUuid::WithoutBraces);
    case Qt::DisplayRole:
    case NameRole:
        return category->name();
    case ColorHexRole:
        return category->colorHex();
    case SortIndexRole:
        return category->sortIndex();
    }
    return {};
}

QHash<int, QByteArray> CategoryListModel::roleNames() const {
    return {
        {CategoryRole, "category"}, {CategoryIdRole, "categoryId"}, {NameRole, "name"},
        {ColorHexRole, "colorHex"}, {SortIndexRole, "sortIndex"},
    };
}
