#include "TaskCategory.h"

#include "ModelContext.h"
#include "TaskText.h"

TaskCategory::TaskCategory(const QString& name, const QString& colorHex, qint64 sortIndex,
                           const QDateTime& now)
    : m_id(QUuid::createUuid())
    , m_name(TaskText::cleanTitle(name))
    , m_colorHex(colorHex)
    , m_sortIndex(sortIndex)
    , m_createdAt(now.toUTC()) {}

TaskCategory::TaskCategory(const QUuid& id, const QDateTime& createdAt)
    : m_id(id)
    , m_createdAt(createdAt.toUTC()) {}

void TaskCategory::markChanged() {
    if (m_context && !m_deleted)
        m_context->recordChanged(this);
}

void TaskCategory::setName(const QString& raw) {
    // A list's name is a line, like a title: the same bounds at every door.
    const QString name = TaskText::cleanTitle(raw);
    if (m_name == name)
        return;
    m_name = name;
    markChanged();
    emit nameChanged();
}

void TaskCategory::setColorHex(const QString& colorHex) {
    if (m_colorHex == colorHex)
        return;
    m_colorHex = colorHex;
    markChanged();
    emit colorHexChanged();
}

void TaskCategory::setSortIndex(qint64 sortIndex) {
    if (m_sortIndex == sortIndex)
        return;
    m_sortIndex = sortIndex;
    markChanged();
    emit sortIndexChanged();
}
