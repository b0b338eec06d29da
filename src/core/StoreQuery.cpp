#include "StoreQuery.h"

#include "TaskCategory.h"
#include "TaskClassifier.h"
#include "TaskItem.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>
#include <memory>

namespace {

QDateTime toDate(const QVariant& value) {
    if (value.isNull())
        return {};
    return QDateTime::fromMSecsSinceEpoch(value.toLongLong(), Qt::UTC);
}

std::optional<qint64> toOptional(const QVariant& value) {
    if (value.isNull())
        return std::nullopt;
    return value.toLongLong();
}

bool fail(const QSqlQuery& query, QString* error) {
    if (error)
        *error = query.lastError().text();
    return false;
}

} // namespace

StoreQuery::StoreQuery(const QSqlDatabase& db, const QDateTime& now)
    : m_db(db) {
    const TaskClassifier::Moment moment(now, TaskClassifier::calendar());
    m_startOfDayMs = moment.startOfDayMs;
    m_startOfNextDayMs = moment.startOfNextDayMs;
    m_weekYear = moment.week.year;
    m_week = moment.week.week;
}

// TaskClassifier::bucket in SQL, with the day and week of `now` written in. The numbers are
// the Bucket values, which also order the columns as the listing wants them.
QString StoreQuery::bucketExpression() const {
    static_assert(int(Bucket::later) == 0 && int(Bucket::thisWeek) == 1 &&
                  int(Bucket::today) == 2 && int(Bucket::done) == 3);
    return QStringLiteral("CASE WHEN completed <> 0 THEN 3"
                          " WHEN due_date >= %1 AND due_date < %2 THEN 2"
                          " WHEN scheduled_explicitly <> 0 AND due_date < %1 THEN 2"
                          " WHEN year = %3 AND week = %4 THEN 1"
                          " ELSE 0 END")
        .arg(m_startOfDayMs)
        .arg(m_startOfNextDayMs)
        .arg(m_weekYear)
        .arg(m_week);
}

// A store file no board has written yet has no tables: an empty board.
bool StoreQuery::hasTasks() const {
    return m_db.tables().contains(QStringLiteral("tasks"));
}

std::optional<int> StoreQuery::todayOpenCount(QString* error) const {
    if (!hasTasks())
        return 0;
    QSqlQuery query(m_db);
    query.setForwardOnly(true);
    // The today test alone, so SQLite reads three columns and builds nothing.
    const QString sql = QStringLiteral("SELECT count(*) FROM tasks WHERE completed = 0 AND"
                                       " ((due_date >= %1 AND due_date < %2) OR"
                                       " (scheduled_explicitly <> 0 AND due_date < %1))")
                            .arg(m_startOfDayMs)
                            .arg(m_startOfNextDayMs);
    if (!query.exec(sql) || !query.next()) {
        fail(query, error);
        return std::nullopt;
    }
    return query.value(0).toInt();
}

std::optional<QHash<Bucket, int>> StoreQuery::columnSizes(QString* error) const {
    QHash<Bucket, int> sizes;
    if (!hasTasks())
        return sizes;
    QSqlQuery query(m_db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT %1 AS bucket, count(*) FROM tasks GROUP BY bucket")
                        .arg(bucketExpression()))) {
        fail(query, error);
        return std::nullopt;
    }
    while (query.next())
        sizes.insert(static_cast<Bucket>(query.value(0).toInt()), query.value(1).toInt());
    if (query.lastError().isValid()) {
        fail(query, error);
        return std::nullopt;
    }
    return sizes;
}

bool StoreQuery::forEachTask(std::optional<Bucket> only,
                             const std::function<void(Bucket, const TaskItem&)>& visit,
                             QString* error) const {
    if (!hasTasks())
        return true;
    // Lists are few: they stay in memory so that each task can point at its own.
    std::vector<std::unique_ptr<TaskCategory>> lists;
    QHash<QString, TaskCategory*> listById;
    QSqlQuery categories(m_db);
    categories.setForwardOnly(true);
    if (!categories.exec(
            QStringLiteral("SELECT id, name, color_hex, sort_index, created_at FROM categories")))
        return fail(categories, error);
    while (categories.next()) {
        auto list = std::make_unique<TaskCategory>(
            QUuid::fromString(categories.value(0).toString()), toDate(categories.value(4)));
        list->m_name = categories.value(1).toString();
        list->m_colorHex = categories.value(2).toString();
        list->m_sortIndex = categories.value(3).toLongLong();
        listById.insert(categories.value(0).toString(), list.get());
        lists.push_back(std::move(list));
    }
    if (categories.lastError().isValid())
        return fail(categories, error);

    // SQLite sorts (spilling to a temporary file when the board is large), so the rows come
    // one at a time in board order and none is kept after its visit.
    const QString bucket = bucketExpression();
    QString sql =
        QStringLiteral("SELECT id, title, note, note_data, completed, completed_at, due_date, year,"
                       " week, reminder_at, scheduled_explicitly, category_id, sort_index,"
                       " created_at, updated_at, %1 AS bucket FROM tasks")
            .arg(bucket);
    if (only)
        sql += QStringLiteral(" WHERE bucket = %1").arg(int(*only));
    sql += QStringLiteral(" ORDER BY bucket, sort_index DESC, rowid");
    QSqlQuery rows(m_db);
    rows.setForwardOnly(true);
    if (!rows.exec(sql))
        return fail(rows, error);
    while (rows.next()) {
        TaskItem task(QUuid::fromString(rows.value(0).toString()), toDate(rows.value(13)));
        task.m_title = rows.value(1).toString();
        task.m_note = rows.value(2).toString();
        task.m_noteData = rows.value(3).toByteArray();
        task.m_completed = rows.value(4).toBool();
        task.m_completedAt = toDate(rows.value(5));
        task.m_dueDate = toDate(rows.value(6));
        task.m_year = toOptional(rows.value(7));
        task.m_week = toOptional(rows.value(8));
        task.m_reminderAt = toDate(rows.value(9));
        task.m_scheduledExplicitly = rows.value(10).toBool();
        task.m_category = listById.value(rows.value(11).toString());
        task.m_sortIndex = rows.value(12).toLongLong();
        task.m_updatedAt = toDate(rows.value(14));
        visit(static_cast<Bucket>(rows.value(15).toInt()), task);
    }
    if (rows.lastError().isValid())
        return fail(rows, error);
    return true;
}
