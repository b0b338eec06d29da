#pragma once

#include "RichText.h"
#include "TaskItem.h"
#include "board/BoardController.h"
#include "text/RichTextDocument.h"

#include <QDateTime>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QQmlParserStatus>
#include <QString>
#include <QTimer>
#include <QVariant>

class Clock;
class NotificationHub;
class ReminderSink;

// The rules of TaskDrawer, the detail card of one task. Unlike the dialog it edits the record
// itself: the title on each change, the schedule at each pick, and the note a moment after
// typing pauses and again when the card goes away (disappear(), or the controller's end).
// While the card is up the note lives in a working copy that nothing outside refreshes.
//
// The present, the hub that hears tavikTasksChanged and the reminder sink come from the
// board; tests without a board set their own. With neither the card refuses to write.
class TaskDrawerController : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(TaskItem* task READ task WRITE setTask NOTIFY taskChanged)
    // Where the reminder sink comes from.
    Q_PROPERTY(BoardController* board READ board WRITE setBoard NOTIFY boardChanged)
    // The note editor's document; the working copy is loaded into it at appearance.
    Q_PROPERTY(RichTextDocument* document READ document WRITE setDocument NOTIFY documentChanged)

    Q_PROPERTY(qreal maxHeight READ maxHeight WRITE setMaxHeight NOTIFY maxHeightChanged)
    Q_PROPERTY(qreal noteTextHeight READ noteTextHeight WRITE setNoteTextHeight NOTIFY
                   noteTextHeightChanged)
    Q_PROPERTY(qreal cardHeight READ cardHeight NOTIFY cardHeightChanged)

    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    // The note's characters, or one blank for an empty note so that it measures one line.
    Q_PROPERTY(QString measureText READ measureText NOTIFY noteTextChanged)
    Q_PROPERTY(bool noteEmpty READ noteEmpty NOTIFY noteTextChanged)

    Q_PROPERTY(bool scheduleOpen READ scheduleOpen WRITE setScheduleOpen NOTIFY scheduleOpenChanged)
    Q_PROPERTY(QDateTime dueDate READ dueDate NOTIFY scheduleChanged)
    Q_PROPERTY(QDateTime reminderAt READ reminderAt NOTIFY scheduleChanged)
    Q_PROPERTY(bool scheduleActive READ scheduleActive NOTIFY scheduleChanged)
    Q_PROPERTY(QString scheduleIcon READ scheduleIcon NOTIFY scheduleChanged)
    Q_PROPERTY(QString scheduleLabel READ scheduleLabel NOTIFY scheduleChanged)

    Q_PROPERTY(qreal width READ width CONSTANT)
    Q_PROPERTY(qreal hPadding READ hPadding CONSTANT)
    Q_PROPERTY(qreal noteFontSize READ noteFontSize CONSTANT)

public:
    static constexpr qreal cardWidth = 520;
    static constexpr qreal horizontalPadding = 22;
    static constexpr qreal defaultHeight = 400;
    // What the card needs beside the note text.
    static constexpr qreal chromeHeight = 110;
    static constexpr qreal noteFontPixelSize = 14;
    // Quiet time in the note editor after which the note is written to the task.
    static constexpr int noteWriteDelayMs = 500;

    explicit TaskDrawerController(QObject* parent = nullptr);
    // Writes the note if the card never said it disappeared.
    ~TaskDrawerController() override;

    void setClock(const Clock* clock);
    void setNotificationHub(NotificationHub* hub);
    void setReminderSink(ReminderSink* reminders);

    // While QML builds the card, its board may not have arrived yet.
    void classBegin() override { m_building = true; }
    void componentComplete() override;

    [[nodiscard]] TaskItem* task() const { return m_task; }
    // A new task while the card is up: the old one gets its note, the new one is loaded.
    void setTask(TaskItem* task);
    [[nodiscard]] BoardController* board() const { return m_board; }
    void setBoard(BoardController* board);
    [[nodiscard]] RichTextDocument* document() const { return m_document; }
    void setDocument(RichTextDocument* document);

    [[nodiscard]] qreal maxHeight() const { return m_maxHeight; }
    void setMaxHeight(qreal height);
    [[nodiscard]] qreal noteTextHeight() const { return m_noteTextHeight; }
    void setNoteTextHeight(qreal height);
    [[nodiscard]] qreal cardHeight() const { return cardHeightFor(m_noteTextHeight, m_maxHeight); }
    // Grows with the note from 400 up to the host's limit, and never below 400.
    [[nodiscard]] static qreal cardHeightFor(qreal noteTextHeight, qreal maxHeight);

    [[nodiscard]] QString title() const;
    void setTitle(const QString& title);

    [[nodiscard]] const RichText& noteText() const { return m_noteText; }
    // The editor's changes; with a document attached they arrive from it.
    void setNoteText(const RichText& text);
    [[nodiscard]] QString measureText() const;
    [[nodiscard]] bool noteEmpty() const { return m_noteText.plainText().isEmpty(); }

    [[nodiscard]] bool scheduleOpen() const { return m_scheduleOpen; }
    void setScheduleOpen(bool open);
    Q_INVOKABLE void toggleSchedule() { setScheduleOpen(!m_scheduleOpen); }
    [[nodiscard]] QDateTime dueDate() const;
    [[nodiscard]] QDateTime reminderAt() const;
    [[nodiscard]] bool scheduleActive() const;
    [[nodiscard]] QString scheduleIcon() const;
    [[nodiscard]] QString scheduleLabel() const;

    [[nodiscard]] static qreal width() { return cardWidth; }
    [[nodiscard]] static qreal hPadding() { return horizontalPadding; }
    [[nodiscard]] static qreal noteFontSize() { return noteFontPixelSize; }

    [[nodiscard]] bool isAppeared() const { return m_appeared; }
    // The card is on screen: the working copy is loaded from the task's rich note.
    Q_INVOKABLE void appear();
    // The working copy becomes the task's rich note if it differs; the card stays up.
    void writeNote();
    // The card goes away: the working copy becomes the task's rich note, changed or not.
    Q_INVOKABLE void disappear();

    // The schedule popover's report. Dates are JS Dates; anything else means none.
    Q_INVOKABLE void applySchedule(const QVariant& day, const QVariant& reminderAt);
    void applySchedule(const QDateTime& day, const QDateTime& reminderAt);

signals:
    void taskChanged();
    void boardChanged();
    void documentChanged();
    void maxHeightChanged();
    void noteTextHeightChanged();
    void cardHeightChanged();
    void titleChanged();
    void noteTextChanged();
    void scheduleOpenChanged();
    void scheduleChanged();

private:
    void watchTask();
    void onTitleChanged();
    void onDocumentChanged();
    void loadDocument();
    [[nodiscard]] QDateTime now() const;
    [[nodiscard]] ReminderSink* reminders() const;
    [[nodiscard]] NotificationHub* hub() const;

    QPointer<TaskItem> m_task;
    QPointer<BoardController> m_board;
    QPointer<RichTextDocument> m_document;
    QList<QMetaObject::Connection> m_taskConnections;
    QMetaObject::Connection m_documentConnection;

    const Clock* m_clock = nullptr;
    NotificationHub* m_hub = nullptr;
    bool m_building = false;
    ReminderSink* m_reminders = nullptr;
    bool m_remindersSet = false;

    qreal m_maxHeight = 0;
    qreal m_noteTextHeight = 0;
    RichText m_noteText;
    QTimer m_noteWriter;
    bool m_appeared = false;
    bool m_loading = false;
    bool m_scheduleOpen = false;
};
