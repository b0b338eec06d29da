#pragma once

#include "board/RecordListModel.h"
#include "types/RecordTypes.h"

#include <QList>
#include <QQmlEngine>

class TaskCategory;

// The lists in strip order, for the strip, the row menus and the dialog.
class CategoryListModel : public RecordListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The board controller owns the list of lists.")
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

    [[nodiscard]] int count() const override { return int(m_rows.size()); }
    [[nodiscard]] const QList<TaskCategory*>& categories() const { return m_rows; }

    void setCategories(const QList<TaskCategory*>& categories);
    void removeCategory(TaskCategory* category);
    void refreshCategory(TaskCategory* category);

    Q_INVOKABLE [[nodiscard]] TaskCategory* categoryAt(int row) const;

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

protected:
    [[nodiscard]] QUuid idAt(int row) const override;

private:
    QList<TaskCategory*> m_rows;
};
