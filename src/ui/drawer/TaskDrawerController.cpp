#include "drawer/TaskDrawerController.h"

#include "BoardModel.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "ReminderSink.h"
#include "ScheduleFormat.h"
#include "TaskItem.h"
#include "board/BoardController.h"
#include "text/RichTextDocument.h"
#include "theme/UiLog.h"
#include "types/QmlScheduleFormat.h"

#include <algorithm>

TaskDrawerController::TaskDrawerController(QObject* parent)
    : QObject(parent) {
    m_noteWriter.setSingleShot(true);
    m_noteWriter.setInterval(noteWriteDelayMs);
    connect(&m_noteWriter, &QTimer::timeout, this, &TaskDrawerController::writeNote);
}

TaskDrawerController::~TaskDrawerController() {
    disappear();
}

void TaskDrawerController::setClock(const Clock* clock) {
    m_clock = clock;
}

void TaskDrawerController::setNotificationHub(NotificationHub* hub) {
    m_hub = hub;
}

void TaskDrawerController::setReminderSink(ReminderSink* reminders) {
    m_reminders = reminders;
    m_remindersSet = true;
}

void TaskDrawerController::componentComplete() {
    m_building = false;
    if (!m_board && !m_clock)
        qCCritical(lcUi) << "TaskDrawerController was made by QML without a board";
}

QDateTime TaskDrawerController::now() const {
    if (m_clock)
        return m_clock->now();
    if (m_board)
        return m_board->clockObject()->now();
    if (!m_building)
        qCCritical(lcUi) << "TaskDrawerController was given neither a board nor a clock";
    return {};
}

ReminderSink* TaskDrawerController::reminders() const {
    if (m_remindersSet)
        return m_reminders;
    return m_board ? m_board->model().reminderSink() : nullptr;
}

NotificationHub* TaskDrawerController::hub() const {
    if (m_hub)
        return m_hub;
    if (m_board)
        return &m_board->hub();
    qCCritical(lcUi) << "TaskDrawerController was given neither a board nor a hub";
    return nullptr;
}

void TaskDrawerController::setTask(TaskItem* task) {
    if (m_task == task)
        return;
    const bool wasAppeared = m_appeared;
    if (wasAppeared)
        disappear();
    m_task = task;
    watchTask();
    if (wasAppeared)
        appear();
    emit taskChanged();
    emit titleChanged();
    emit scheduleChanged();
}

void TaskDrawerController::watchTask() {
    for (const QMetaObject::Connection& connection : std::as_const(m_taskConnections))
        disconnect(connection);
    m_taskConnections.clear();
    if (!m_task)
        return;
    m_taskConnections << connect(m_task, &TaskItem::titleChanged, this,
                                 &TaskDrawerController::onTitleChanged);
    m_taskConnections << connect(m_task, &TaskItem::planChanged, this,
                                 &TaskDrawerController::scheduleChanged);
    m_taskConnections << connect(m_task, &TaskItem::reminderAtChanged, this,
                                 &TaskDrawerController::scheduleChanged);
}

void TaskDrawerController::setBoard(BoardController* board) {
    if (m_board == board)
        return;
    if (m_appeared && m_board)
        m_board->drawerDisappeared(this);
    m_board = board;
    if (m_appeared && m_board)
        m_board->drawerAppeared(this);
    emit boardChanged();
}

void TaskDrawerController::setDocument(RichTextDocument* document) {
    if (m_document == document)
        return;
    disconnect(m_documentConnection);
    m_document = document;
    if (m_document) {
        m_documentConnection = connect(m_document, &RichTextDocument::contentChanged, this,
                                       &TaskDrawerController::onDocumentChanged);
        if (m_appeared)
            loadDocument();
    }
    emit documentChanged();
}

void TaskDrawerController::setMaxHeight(qreal height) {
    if (qFuzzyCompare(m_maxHeight, height))
        return;
    const qreal before = cardHeight();
    m_maxHeight = height;
    emit maxHeightChanged();
    if (!qFuzzyCompare(before, cardHeight()))
        emit cardHeightChanged();
}

void TaskDrawerController::setNoteTextHeight(qreal height) {
    if (qFuzzyCompare(m_noteTextHeight, height))
        return;
    const qreal before = cardHeight();
    m_noteTextHeight = height;
    emit noteTextHeightChanged();
    if (!qFuzzyCompare(before, cardHeight()))
        emit cardHeightChanged();
}

qreal TaskDrawerController::cardHeightFor(qreal noteTextHeight, qreal maxHeight) {
    const qreal wanted = std::max(chromeHeight + noteTextHeight, defaultHeight);
    const qreal limit = std::max(maxHeight, defaultHeight);
    return std::min(wanted, limit);
}

QString TaskDrawerController::title() const {
    return m_task ? m_task->title() : QString();
}

void TaskDrawerController::setTitle(const QString& title) {
    if (m_task)
        m_task->setTitle(title);
}

void TaskDrawerController::onTitleChanged() {
    // Any change of the title while the card is up stamps the record, whoever made it.
    if (m_appeared && m_task)
        m_task->setUpdatedAt(now());
    emit titleChanged();
}

void TaskDrawerController::setNoteText(const RichText& text) {
    if (m_noteText == text)
        return;
    m_noteText = text;
    emit noteTextChanged();
    // A crash or a kill while the card is up costs at most the last half second of typing.
    if (m_appeared)
        m_noteWriter.start();
}

void TaskDrawerController::writeNote() {
    if (!m_appeared || !m_task || m_task->richNote() == m_noteText)
        return;
    const QDateTime moment = now();
    if (moment.isValid())
        m_task->setRichNote(m_noteText, moment);
}

void TaskDrawerController::onDocumentChanged() {
    if (m_loading || !m_appeared || !m_document)
        return;
    setNoteText(m_document->richText());
}

QString TaskDrawerController::measureText() const {
    const QString text = m_noteText.plainText();
    return text.isEmpty() ? QStringLiteral(" ") : text;
}

void TaskDrawerController::setScheduleOpen(bool open) {
    if (m_scheduleOpen == open)
        return;
    m_scheduleOpen = open;
    emit scheduleOpenChanged();
}

QDateTime TaskDrawerController::dueDate() const {
    return m_task ? m_task->dueDate() : QDateTime();
}

QDateTime TaskDrawerController::reminderAt() const {
    return m_task ? m_task->reminderAt() : QDateTime();
}

bool TaskDrawerController::scheduleActive() const {
    return dueDate().isValid() || reminderAt().isValid();
}

QString TaskDrawerController::scheduleIcon() const {
    if (reminderAt().isValid())
        return QStringLiteral("alarm.fill");
    if (dueDate().isValid())
        return QStringLiteral("calendar");
    return QStringLiteral("alarm");
}

QString TaskDrawerController::scheduleLabel() const {
    return ScheduleFormat::shortLabel(dueDate(), reminderAt(), now(), IsoCalendar())
        .value_or(QString());
}

void TaskDrawerController::appear() {
    if (m_appeared || !m_task)
        return;
    m_appeared = true;
    setNoteText(m_task->richNote());
    loadDocument();
    // The board keeps the open card, so that quitting can store its note first.
    if (m_board)
        m_board->drawerAppeared(this);
}

void TaskDrawerController::loadDocument() {
    if (!m_document)
        return;
    m_loading = true;
    m_document->load(m_noteText);
    m_loading = false;
}

void TaskDrawerController::disappear() {
    if (!m_appeared)
        return;
    m_appeared = false;
    m_noteWriter.stop();
    if (m_board)
        m_board->drawerDisappeared(this);
    // Stored on every way out, also when nothing changed.
    const QDateTime moment = now();
    if (m_task && moment.isValid())
        m_task->setRichNote(m_noteText, moment);
}

void TaskDrawerController::applySchedule(const QVariant& day, const QVariant& reminderAt) {
    applySchedule(QmlScheduleFormat::toMoment(day), QmlScheduleFormat::toMoment(reminderAt));
}

void TaskDrawerController::applySchedule(const QDateTime& day, const QDateTime& reminderAt) {
    if (!m_task)
        return;
    if (m_task->isDeleted()) {
        qCDebug(lcUi) << "schedule change for a deleted task dropped";
        return;
    }
    const QDateTime moment = now();
    NotificationHub* changes = hub();
    if (!moment.isValid() || !changes)
        return;
    m_task->schedule(day, moment, IsoCalendar());
    m_task->setReminderAt(reminderAt);
    if (ReminderSink* sink = reminders())
        sink->sync(m_task);
    changes->post(TavikNotification::tasksChanged);
}
