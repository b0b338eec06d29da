#include "board/RecordListModel.h"

RecordListModel::RecordListModel(QHash<int, QByteArray> roleNames, QObject* parent)
    : QAbstractListModel(parent)
    , m_roleNames(std::move(roleNames)) {}

int RecordListModel::indexOfId(const QString& id) const {
    const QUuid uuid = QUuid::fromString(id);
    if (uuid.isNull())
        return -1;
    for (int row = 0; row < count(); ++row) {
        if (idAt(row) == uuid)
            return row;
    }
    return -1;
}

int RecordListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}
