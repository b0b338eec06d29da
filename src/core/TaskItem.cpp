#include "TaskItem.h"

#include "IsoCalendar.h"
#include "ModelContext.h"
#include "TaskCategory.h"
#include "TaskText.h"

TaskItem::TaskItem(const QString& title, qint64 sortIndex, const QDateTime& now)
    : m_id(QUuid::createUuid())
    , m_title(TaskText::cleanTitle(title))
    , m_sortIndex(sortIndex)
    , m_createdAt(now.toUTC())
    , m_updatedAt(m_createdAt) {}

TaskItem::TaskItem(const QUuid& id, const QDateTime& createdAt)
    : m_id(id)
    , m_createdAt(createdAt.toUTC())
    , m_updatedAt(m_createdAt) {}

void TaskItem::markChanged() {
    if (m_context && !m_deleted)
        m_context->recordChanged(this);
}

void TaskItem::setTitle(const QString& raw) {
    const QString title = TaskText::cleanTitle(raw);
    if (m_title == title)
        return;
    m_title = title;
    markChanged();
    emit titleChanged();
}

void TaskItem::setNote(const QString& raw) {
    const QString note = TaskText::cleanNote(raw);
    if (m_note == note)
        return;
    m_note = note;
    markChanged();
    emit noteChanged();
}

void TaskItem::setNoteData(const QByteArray& raw) {
    // A rich note far beyond the longest note is no note the board could show; the plain
    // text still carries what the note says.
    const QByteArray noteData = raw.size() > TaskText::maxNoteLength * 8 ? QByteArray() : raw;
    if (m_noteData == noteData)
        return;
    m_noteData = noteData;
    markChanged();
    emit noteChanged();
}

void TaskItem::setCompleted(bool completed) {
    if (m_completed == completed)
        return;
    m_completed = completed;
    markChanged();
    emit completedChanged();
}

void TaskItem::setCompletedAt(const QDateTime& completedAt) {
    const QDateTime value = completedAt.toUTC();
    if (m_completedAt == value && m_completedAt.isValid() == value.isValid())
        return;
    m_completedAt = value;
    markChanged();
    emit completedChanged();
}

void TaskItem::setDueDate(const QDateTime& dueDate) {
    const QDateTime value = dueDate.toUTC();
    if (m_dueDate == value && m_dueDate.isValid() == value.isValid())
        return;
    m_dueDate = value;
    markChanged();
    emit planChanged();
}

void TaskItem::setWeek(std::optional<qint64> year, std::optional<qint64> week) {
    if (m_year == year && m_week == week)
        return;
    m_year = year;
    m_week = week;
    markChanged();
    emit planChanged();
}

void TaskItem::setReminderAt(const QDateTime& reminderAt) {
    const QDateTime value = reminderAt.toUTC();
    if (m_reminderAt == value && m_reminderAt.isValid() == value.isValid())
        return;
    m_reminderAt = value;
    markChanged();
    emit reminderAtChanged();
}

void TaskItem::setScheduledExplicitly(bool explicitly) {
    if (m_scheduledExplicitly == explicitly)
        return;
    m_scheduledExplicitly = explicitly;
    markChanged();
    emit planChanged();
}

void TaskItem::setCategory(TaskCategory* category) {
    if (m_category == category)
        return;
    m_category = category;
    markChanged();
    emit categoryChanged();
}

void TaskItem::setSortIndex(qint64 sortIndex) {
    if (m_sortIndex == sortIndex)
        return;
    m_sortIndex = sortIndex;
    markChanged();
    emit sortIndexChanged();
}

void TaskItem::setUpdatedAt(const QDateTime& updatedAt) {
    const QDateTime value = updatedAt.toUTC();
    if (m_updatedAt == value)
        return;
    m_updatedAt = value;
    markChanged();
    emit updatedAtChanged();
}

void TaskItem::schedule(const QDateTime& day, const QDateTime& now, const IsoCalendar& calendar) {
    if (day.isValid()) {
        const WeekKey key = calendar.weekKey(day);
        setWeek(key.year, key.week);
        setDueDate(calendar.startOfDay(day));
        setScheduledExplicitly(true);
    } else {
        setWeek(std::nullopt, std::nullopt);
        setDueDate({});
        setScheduledExplicitly(false);
    }
    setUpdatedAt(now);
}

void TaskItem::move(Bucket to, const QDateTime& now, const IsoCalendar& calendar) {
    switch (to) {
    case Bucket::later:
        setWeek(std::nullopt, std::nullopt);
        setDueDate({});
        break;
    case Bucket::thisWeek: {
        const WeekKey key = calendar.weekKey(now);
        setWeek(key.year, key.week);
        setDueDate({});
        break;
    }
    case Bucket::today: {
        const WeekKey key = calendar.weekKey(now);
        setWeek(key.year, key.week);
        setDueDate(calendar.startOfDay(now));
        break;
    }
    case Bucket::done:
        setCompleted(true, now);
        return;
    }
    // Placing a task in a column reopens it and drops any hand-picked date.
    setScheduledExplicitly(false);
    setCompleted(false);
    setCompletedAt({});
    setUpdatedAt(now);
}

void TaskItem::setCompleted(bool completed, const QDateTime& now) {
    setCompleted(completed);
    setCompletedAt(completed ? now : QDateTime());
    setUpdatedAt(now);
}

RichText TaskItem::richNote() const {
    RichText rich;
    if (!m_noteData.isEmpty() && RichText::fromJson(m_noteData, &rich))
        return rich;
    if (!m_note.isEmpty())
        return RichText::fromPlainText(m_note);
    return {};
}

void TaskItem::setRichNote(const RichText& value, const QDateTime& now) {
    QList<TextRun> runs;
    qsizetype room = TaskText::maxNoteLength;
    for (TextRun run : value.runs()) {
        run.text = TaskText::cleanNote(run.text).left(room);
        room -= run.text.size();
        if (!run.text.isEmpty())
            runs.append(run);
        if (room <= 0)
            break;
    }
    const RichText clean(runs);
    setNote(clean.plainText());
    setNoteData(clean.isEmpty() ? QByteArray() : clean.toJson());
    setUpdatedAt(now);
}
