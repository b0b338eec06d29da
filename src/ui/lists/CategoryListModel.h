#pragma once

#include "types/RecordTypes.h"

#include <QAbstractListModel>
#include <QList>
#include <QQmlEngine>

class TaskCategory;

// The lists in strip order, for the strip, the row menus and the dialog. Like the task lists
// it announces what changed row by row.
class CategoryListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The board controller owns the list of lists.")
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role {
        CategoryRole = Qt::UserRole + 1,
        CategoryIdRole,
        NameRole,
        ColorHexRole,
        SortIndexRole,
    };
    Q_ENUM(Role)

    explicit CategoryListModel(QObject* parent = nullptr);

    [[nodiscard]] int count() const { return int(m_rows.size()); }
    [[nodiscard]] const QList<TaskCategory*>& categories() const { return m_rows; }

    void setCategories(const QList<TaskCategory*>& categories);
    void removeCategory(TaskCategory* category);
    void refreshCategory(TaskCategory* category);

    Q_INVOKABLE [[nodiscard]] TaskCategory* categoryAt(int row) const;
    Q_INVOKABLE [[nodiscard]] int indexOfId(const QString& categoryId) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();

private:
    QList<TaskCategory*> m_rows;
};
