#include "lists/CategoryListModel.h"

#include "TaskCategory.h"

CategoryListModel::CategoryListModel(QObject* parent)
    : RecordListModel({{CategoryRole, "category"},
                       {CategoryIdRole, "categoryId"},
                       {NameRole, "name"},
                       {ColorHexRole, "colorHex"},
                       {SortIndexRole, "sortIndex"}},
                      parent) {}

void CategoryListModel::setCategories(const QList<TaskCategory*>& categories) {
    diffRows(m_rows, categories);
}

void CategoryListModel::removeCategory(TaskCategory* category) {
    takeRow(m_rows, int(m_rows.indexOf(category)));
}

void CategoryListModel::refreshCategory(TaskCategory* category) {
    const int row = int(m_rows.indexOf(category));
    if (row >= 0)
        emit dataChanged(index(row), index(row));
}

TaskCategory* CategoryListModel::categoryAt(int row) const {
    return row >= 0 && row < count() ? m_rows[row] : nullptr;
}

QUuid CategoryListModel::idAt(int row) const {
    return m_rows[row]->id();
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
