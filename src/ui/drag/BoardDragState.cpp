#include "drag/BoardDragState.h"

#include "TaskItem.h"

namespace {

QString idText(const std::optional<QUuid>& id) {
    return id ? id->toString(QUuid::WithoutBraces) : QString();
}

} // namespace

BoardDragState::BoardDragState(QObject* parent)
    : QObject(parent) {}

std::optional<QUuid> BoardDragState::draggingId() const {
    return m_draggingId;
}

void BoardDragState::setDraggingTask(TaskItem* task) {
    if (m_draggingTask == task && m_draggingId.has_value() == (task != nullptr))
        return;
    m_draggingTask = task;
    m_draggingId = task ? std::optional<QUuid>(task->id()) : std::nullopt;
    emit draggingTaskChanged();
}

void BoardDragState::setTarget(const std::optional<DropTarget>& target) {
    if (m_target == target)
        return;
    m_target = target;
    emit targetChanged();
}

void BoardDragState::setGrabbedOrigin(QPointF origin) {
    if (m_grabbedOrigin == origin)
        return;
    m_grabbedOrigin = origin;
    emit grabbedOriginChanged();
}

void BoardDragState::setGrabbedSize(QSizeF size) {
    if (m_grabbedSize == size)
        return;
    m_grabbedSize = size;
    emit grabbedSizeChanged();
}

void BoardDragState::setTranslation(QSizeF translation) {
    if (m_translation == translation)
        return;
    m_translation = translation;
    emit translationChanged();
}

void BoardDragState::setDragLocation(QPointF location) {
    if (m_dragLocation == location)
        return;
    m_dragLocation = location;
    emit dragLocationChanged();
}

void BoardDragState::setCommitting(bool committing) {
    if (m_committing == committing)
        return;
    m_committing = committing;
    emit committingChanged();
}

void BoardDragState::clear() {
    setDraggingTask(nullptr);
    setTarget(std::nullopt);
    setTranslation({});
    setDragLocation({});
    setCommitting(false);
}

bool BoardDragState::isHotTab(const QString& categoryId) const {
    if (!m_draggingId || !m_target || m_target->kind != DropTarget::Kind::assignCategory)
        return false;
    return idText(m_target->categoryId) == categoryId;
}

QString BoardDragState::draggingIdString() const {
    return idText(m_draggingId);
}

QString BoardDragState::targetKind() const {
    if (!m_target)
        return {};
    return m_target->kind == DropTarget::Kind::reorder ? QStringLiteral("reorder")
                                                       : QStringLiteral("assignCategory");
}

QString BoardDragState::targetBucket() const {
    return m_target && m_target->kind == DropTarget::Kind::reorder
               ? BucketInfo::rawValue(m_target->bucket)
               : QString();
}

QString BoardDragState::targetBeforeId() const {
    return m_target ? idText(m_target->beforeId) : QString();
}

QString BoardDragState::targetCategoryId() const {
    return m_target ? idText(m_target->categoryId) : QString();
}
