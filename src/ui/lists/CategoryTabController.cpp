#include "lists/CategoryTabController.h"

#include <QUuid>

CategoryTabController::CategoryTabController(QObject* parent)
    : QObject(parent) {
    connect(this, &CategoryTabController::categoryIdChanged, this,
            &CategoryTabController::stateChanged);
    connect(this, &CategoryTabController::selectedCategoryIdChanged, this,
            &CategoryTabController::stateChanged);
    connect(this, &CategoryTabController::hotChanged, this, &CategoryTabController::stateChanged);
}

void CategoryTabController::setCategoryId(const QString& categoryId) {
    if (m_categoryId == categoryId)
        return;
    m_categoryId = categoryId;
    emit categoryIdChanged();
}

void CategoryTabController::setSelectedCategoryId(const QString& selectedCategoryId) {
    if (m_selectedCategoryId == selectedCategoryId)
        return;
    m_selectedCategoryId = selectedCategoryId;
    emit selectedCategoryIdChanged();
}

void CategoryTabController::setHot(bool hot) {
    if (m_hot == hot)
        return;
    m_hot = hot;
    emit hotChanged();
}

bool CategoryTabController::isSelected() const {
    return sameId(m_categoryId, m_selectedCategoryId);
}

bool CategoryTabController::sameId(const QString& a, const QString& b) {
    const QString ta = a.trimmed();
    const QString tb = b.trimmed();
    if (ta.isEmpty() || tb.isEmpty())
        return ta.isEmpty() && tb.isEmpty();
    const QUuid ua = QUuid::fromString(ta);
    const QUuid ub = QUuid::fromString(tb);
    if (!ua.isNull() && !ub.isNull())
        return ua == ub;
    return ta == tb;
}
