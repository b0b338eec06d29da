#pragma once

#include "Bucket.h"
#include "drag/BoardDragState.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QQmlEngine>
#include <QRectF>
#include <QTimer>
#include <QUuid>
#include <optional>

class BoardModel;
class TaskItem;

// The board's one drag: which row a drag grabbed, where it would land, and the drop. The views
// report where rows, columns and tabs stand (in board coordinates) and forward the pointer;
// this decides. After a drop on a column the placeholder stays until the rows have moved: the
// next change of the task order hands over in one frame, or a short timer does.
class BoardDragController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The board controller owns the drag.")
    Q_PROPERTY(BoardDragState* state READ state CONSTANT)

public:
    // A drop waits this long at most for the rows to follow before the drag is cleared.
    static constexpr int dropClearFallbackMs = 250;

    struct TaskRowFrame {
        QUuid id;
        Bucket bucket = Bucket::later;
        QRectF rect;
    };
    struct CategoryTabFrame {
        std::optional<QUuid> categoryId;
        QRectF rect;
    };

    explicit BoardDragController(BoardModel& model, QObject* parent = nullptr);

    [[nodiscard]] BoardDragState* state() { return &m_state; }
    [[nodiscard]] bool pendingDropClear() const { return m_pendingDropClear; }

    // ---- Reported geometry ----
    Q_INVOKABLE void clearRowFrames();
    // A later report for the same id wins.
    void addRowFrame(const TaskRowFrame& frame);
    Q_INVOKABLE void addRowFrame(const QString& taskId, const QString& bucket, QRectF rect);
    void setColumnFrame(Bucket bucket, QRectF rect);
    Q_INVOKABLE void setColumnFrame(const QString& bucket, QRectF rect);
    Q_INVOKABLE void clearTabFrames();
    void addTabFrame(const CategoryTabFrame& frame);
    Q_INVOKABLE void addTabFrame(const QString& categoryId, QRectF rect);
    Q_INVOKABLE void setCategoryStripFrame(QRectF rect);

    // ---- The drag ----
    // Each change of a drag past the threshold: where it started and where the pointer is.
    Q_INVOKABLE void dragChanged(QPointF startLocation, QPointF location);
    // The pointer was released.
    Q_INVOKABLE void dragEnded();
    // The drag ends without a drop: the window lost activation or the board went away.
    Q_INVOKABLE void cancel();
    void updateTarget(QPointF point);
    void assignCategory(const QUuid& taskId, std::optional<QUuid> categoryId);

    // The board's task order as of now (every task, in board order); a change of it after a
    // drop is the moment the rows have moved.
    void observeOrder(const QList<TaskItem*>& allTasks);

private:
    void clearAfterDrop();

    BoardModel& m_model;
    BoardDragState m_state;
    QHash<QUuid, TaskRowFrame> m_rowFrames;
    QHash<Bucket, QRectF> m_columnFrames;
    QList<CategoryTabFrame> m_tabFrames;
    QRectF m_categoryStripFrame;
    bool m_pendingDropClear = false;
    QTimer m_dropClearTimer;
    QList<TaskItem*> m_lastOrder;
};
