#include "drag/BoardDragController.h"

#include "BoardModel.h"
#include "ModelContext.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <algorithm>

namespace {

std::optional<QUuid> parseId(const QString& text) {
    const QUuid id = QUuid::fromString(text);
    return id.isNull() ? std::nullopt : std::optional<QUuid>(id);
}

// Closed on all sides, as a point on the edge belongs to the rectangle.
bool encloses(const QRectF& rect, QPointF point) {
    return !rect.isEmpty() && point.x() >= rect.left() && point.x() <= rect.right() &&
           point.y() >= rect.top() && point.y() <= rect.bottom();
}

} // namespace

BoardDragController::BoardDragController(BoardModel& model, QObject* parent)
    : QObject(parent)
    , m_model(model) {
    m_dropClearTimer.setSingleShot(true);
    m_dropClearTimer.setInterval(dropClearFallbackMs);
    connect(&m_dropClearTimer, &QTimer::timeout, this, &BoardDragController::clearAfterDrop);
}

void BoardDragController::clearRowFrames() {
    m_rowFrames.clear();
}

void BoardDragController::addRowFrame(const TaskRowFrame& frame) {
    m_rowFrames.insert(frame.id, frame);
}

void BoardDragController::addRowFrame(const QString& taskId, const QString& bucket, QRectF rect) {
    const std::optional<QUuid> id = parseId(taskId);
    const std::optional<Bucket> column = BucketInfo::fromRawValue(bucket);
    if (id && column)
        addRowFrame({*id, *column, rect});
}

void BoardDragController::setColumnFrame(Bucket bucket, QRectF rect) {
    m_columnFrames.insert(bucket, rect);
}

void BoardDragController::setColumnFrame(const QString& bucket, QRectF rect) {
    if (const std::optional<Bucket> column = BucketInfo::fromRawValue(bucket))
        setColumnFrame(*column, rect);
}

void BoardDragController::clearTabFrames() {
    m_tabFrames.clear();
}

void BoardDragController::addTabFrame(const CategoryTabFrame& frame) {
    m_tabFrames.append(frame);
}

void BoardDragController::addTabFrame(const QString& categoryId, QRectF rect) {
    addTabFrame({parseId(categoryId), rect});
}

void BoardDragController::setCategoryStripFrame(QRectF rect) {
    m_categoryStripFrame = rect;
}

void BoardDragController::dragChanged(QPointF startLocation, QPointF location) {
    if (!m_state.draggingId()) {
        // Only a drag that starts on a row moves a task; the start stays what it was, so a
        // drag from empty space never picks up a row it crosses later.
        const auto row = std::find_if(m_rowFrames.cbegin(), m_rowFrames.cend(),
                                      [startLocation](const TaskRowFrame& frame) {
                                          return encloses(frame.rect, startLocation);
                                      });
        if (row == m_rowFrames.cend())
            return;
        TaskItem* task = m_model.context().task(row->id);
        if (!task || !m_model.allTasks().contains(task))
            return;
        m_pendingDropClear = false;
        m_dropClearTimer.stop();
        m_state.setGrabbedOrigin(row->rect.topLeft());
        m_state.setGrabbedSize(row->rect.size());
        m_state.setDraggingTask(task);
    }
    const QPointF distance = location - startLocation;
    m_state.setTranslation({distance.x(), distance.y()});
    m_state.setDragLocation(location);
    updateTarget(location);
}

void BoardDragController::updateTarget(QPointF point) {
    const std::optional<QUuid> draggedId = m_state.draggingId();
    if (!draggedId)
        return;

    if (encloses(m_categoryStripFrame, point)) {
        for (const CategoryTabFrame& tab : std::as_const(m_tabFrames)) {
            if (encloses(tab.rect, point)) {
                m_state.setTarget(DropTarget::assignCategory(tab.categoryId));
                return;
            }
        }
    }

    // Only x decides the column: above or below it still counts.
    std::optional<Bucket> column;
    for (auto it = m_columnFrames.cbegin(); it != m_columnFrames.cend(); ++it) {
        if (point.x() >= it.value().left() && point.x() <= it.value().right()) {
            column = it.key();
            break;
        }
    }
    if (!column)
        return;

    QList<const TaskRowFrame*> rows;
    for (const TaskRowFrame& frame : std::as_const(m_rowFrames)) {
        if (frame.bucket == *column && frame.id != *draggedId)
            rows.append(&frame);
    }
    std::stable_sort(rows.begin(), rows.end(), [](const TaskRowFrame* a, const TaskRowFrame* b) {
        return a->rect.center().y() < b->rect.center().y();
    });
    std::optional<QUuid> beforeId;
    for (const TaskRowFrame* frame : std::as_const(rows)) {
        if (point.y() < frame->rect.center().y()) {
            beforeId = frame->id;
            break;
        }
    }
    m_state.setTarget(DropTarget::reorder(*column, beforeId));
}

void BoardDragController::dragEnded() {
    const std::optional<QUuid> taskId = m_state.draggingId();
    const std::optional<DropTarget> target = m_state.target();
    if (!taskId || !target) {
        m_state.clear();
        return;
    }
    if (target->kind == DropTarget::Kind::assignCategory) {
        assignCategory(*taskId, target->categoryId);
        m_state.clear();
        return;
    }
    m_model.handleReorder(*taskId, target->bucket, target->beforeId);
    m_state.setCommitting(true);
    m_pendingDropClear = true;
    m_dropClearTimer.start();
}

void BoardDragController::cancel() {
    m_state.clear();
}

void BoardDragController::assignCategory(const QUuid& taskId, std::optional<QUuid> categoryId) {
    TaskItem* task = m_model.context().task(taskId);
    if (!task || !m_model.allTasks().contains(task))
        return;
    TaskCategory* category = nullptr;
    if (categoryId) {
        const QList<TaskCategory*>& lists = m_model.categories();
        const auto it = std::find_if(lists.cbegin(), lists.cend(), [&categoryId](TaskCategory* c) {
            return c->id() == *categoryId;
        });
        if (it != lists.cend())
            category = *it;
    }
    m_model.assignTaskCategory(task, category);
}

void BoardDragController::observeOrder(const QList<TaskItem*>& allTasks) {
    // The board hands out the same shared list until its order changes, so the common case
    // compares one pointer. The records are only compared, never read.
    if (allTasks == m_lastOrder)
        return;
    m_lastOrder = allTasks;
    if (m_pendingDropClear)
        clearAfterDrop();
}

void BoardDragController::clearAfterDrop() {
    if (!m_pendingDropClear)
        return;
    m_pendingDropClear = false;
    m_dropClearTimer.stop();
    m_state.clear();
}
