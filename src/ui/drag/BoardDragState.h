#pragma once

#include "drag/DropTarget.h"

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QQmlEngine>
#include <QSizeF>
#include <optional>

class TaskItem;

// What the board's one drag is doing, read by the board, the columns and the strip. Every
// field notifies only when its value really changes. All points are in board coordinates.
class BoardDragState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The board owns its drag state.")
    Q_PROPERTY(TaskItem* draggingTask READ draggingTask NOTIFY draggingTaskChanged)
    Q_PROPERTY(QString draggingId READ draggingIdString NOTIFY draggingTaskChanged)
    // "", "reorder" or "assignCategory".
    Q_PROPERTY(QString targetKind READ targetKind NOTIFY targetChanged)
    Q_PROPERTY(QString targetBucket READ targetBucket NOTIFY targetChanged)
    Q_PROPERTY(QString targetBeforeId READ targetBeforeId NOTIFY targetChanged)
    Q_PROPERTY(QString targetCategoryId READ targetCategoryId NOTIFY targetChanged)
    Q_PROPERTY(QPointF grabbedOrigin READ grabbedOrigin NOTIFY grabbedOriginChanged)
    Q_PROPERTY(QSizeF grabbedSize READ grabbedSize NOTIFY grabbedSizeChanged)
    Q_PROPERTY(QSizeF translation READ translation NOTIFY translationChanged)
    Q_PROPERTY(QPointF dragLocation READ dragLocation NOTIFY dragLocationChanged)
    Q_PROPERTY(bool committing READ committing NOTIFY committingChanged)

public:
    explicit BoardDragState(QObject* parent = nullptr);

    [[nodiscard]] TaskItem* draggingTask() const { return m_draggingTask; }
    // Kept from the grab, so that a task freed during the drag is still named.
    [[nodiscard]] std::optional<QUuid> draggingId() const;
    [[nodiscard]] const std::optional<DropTarget>& target() const { return m_target; }
    [[nodiscard]] QPointF grabbedOrigin() const { return m_grabbedOrigin; }
    [[nodiscard]] QSizeF grabbedSize() const { return m_grabbedSize; }
    [[nodiscard]] QSizeF translation() const { return m_translation; }
    [[nodiscard]] QPointF dragLocation() const { return m_dragLocation; }
    [[nodiscard]] bool committing() const { return m_committing; }

    void setDraggingTask(TaskItem* task);
    void setTarget(const std::optional<DropTarget>& target);
    void setGrabbedOrigin(QPointF origin);
    void setGrabbedSize(QSizeF size);
    void setTranslation(QSizeF translation);
    void setDragLocation(QPointF location);
    void setCommitting(bool committing);

    // Back to idle. The grabbed rectangle stays.
    void clear();

    // Whether the strip's tab of this list ("" is 全部) is where the task would land.
    Q_INVOKABLE [[nodiscard]] bool isHotTab(const QString& categoryId) const;

    [[nodiscard]] QString draggingIdString() const;
    [[nodiscard]] QString targetKind() const;
    [[nodiscard]] QString targetBucket() const;
    [[nodiscard]] QString targetBeforeId() const;
    [[nodiscard]] QString targetCategoryId() const;

signals:
    void draggingTaskChanged();
    void targetChanged();
    void grabbedOriginChanged();
    void grabbedSizeChanged();
    void translationChanged();
    void dragLocationChanged();
    void committingChanged();

private:
    QPointer<TaskItem> m_draggingTask;
    std::optional<QUuid> m_draggingId;
    std::optional<DropTarget> m_target;
    QPointF m_grabbedOrigin;
    QSizeF m_grabbedSize;
    QSizeF m_translation;
    QPointF m_dragLocation;
    bool m_committing = false;
};
