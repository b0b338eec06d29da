#pragma once

#include <QAbstractItemModel>
#include <QObject>
#include <QStringList>

class ModelMirror : public QObject {
public:
    ModelMirror(QAbstractItemModel* model, int role)
        : m_model(model)
        , m_role(role) {
        reload();
        connect(model, &QAbstractItemModel::rowsInserted, this,
                [this](const QModelIndex&, int first, int last) {
                    for (int row = first; row <= last; ++row)
                        m_rows.insert(row, value(row));
                });
        connect(model, &QAbstractItemModel::rowsRemoved, this,
                [this](const QModelIndex&, int first, int last) {
                    m_rows.remove(first, last - first + 1);
                });
        connect(
            model, &QAbstractItemModel::rowsMoved, this,
            [this](const QModelIndex&, int first, int last, const QModelIndex&, int destination) {
                const QStringList moved = m_rows.mid(first, last - first + 1);
                m_rows.remove(first, last - first + 1);
                const int at = destination > last ? destination - int(moved.size()) : destination;
                for (int i = 0; i < moved.size(); ++i)
                    m_rows.insert(at + i, moved[i]);
            });
        connect(model, &QAbstractItemModel::dataChanged, this,
                [this](const QModelIndex& topLeft, const QModelIndex& bottomRight) {
                    for (int row = topLeft.row(); row <= bottomRight.row(); ++row)
                        m_rows[row] = value(row);
                });
        connect(model, &QAbstractItemModel::modelReset, this, &ModelMirror::reload);
    }

    [[nodiscard]] QStringList rows() const { return m_rows; }

private:
    void reload() {
        m_rows.clear();
        for (int row = 0; row < m_model->rowCount(); ++row)
            m_rows.append(value(row));
    }
    [[nodiscard]] QString value(int row) const {
        return m_model->data(m_model->index(row, 0), m_role).toString();
    }

    QAbstractItemModel* m_model;
    int m_role;
    QStringList m_rows;
};
