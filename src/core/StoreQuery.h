#pragma once

#include "Bucket.h"

#include <QDateTime>
#include <QHash>
#include <QSqlDatabase>
#include <QString>
#include <functional>
#include <optional>

class TaskItem;

// Answers read straight from a store's tables, for commands that run once and exit: only the
// columns an answer needs, and at most one record in memory at a time. The columns are
// decided in SQL by the same rules as TaskClassifier.
class StoreQuery {
public:
    // `db` is an open store connection (ModelContext::connectionName()); `now` fixes the day.
    StoreQuery(const QSqlDatabase& db, const QDateTime& now);

    // Open tasks in today, or nothing with `error` set when the store cannot be read.
    [[nodiscard]] std::optional<int> todayOpenCount(QString* error) const;
    // How many tasks each column holds; a column without tasks is absent.
    [[nodiscard]] std::optional<QHash<Bucket, int>> columnSizes(QString* error) const;
    // Every task (of `only`, when given) in board order: columns later, thisWeek, today, done,
    // each largest sortIndex first, ties in store order. The task handed over lives only for
    // the call; its list is set.
    bool forEachTask(std::optional<Bucket> only,
                     const std::function<void(Bucket, const TaskItem&)>& visit,
                     QString* error) const;

private:
    [[nodiscard]] QString bucketExpression() const;
    [[nodiscard]] bool hasTasks() const;

    QSqlDatabase m_db;
    qint64 m_startOfDayMs;
    qint64 m_startOfNextDayMs;
    qint64 m_weekYear;
    qint64 m_week;
};
