#include "ModelContext.h"

#include "TaskCategory.h"
#include "TaskItem.h"
#include "TavikPersistence.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>
#include <QUuid>
#include <QVariant>

namespace {

QVariant fromDate(const QDateTime& date) {
    return date.isValid() ? QVariant(date.toMSecsSinceEpoch())
                          : QVariant(QMetaType(QMetaType::LongLong));
}

QDateTime toDate(const QVariant& value) {
    if (value.isNull())
        return {};
    return QDateTime::fromMSecsSinceEpoch(value.toLongLong(), Qt::UTC);
}

QVariant fromOptional(std::optional<qint64> value) {
    return value ? QVariant(*value) : QVariant(QMetaType(QMetaType::LongLong));
}

std::optional<qint64> toOptional(const QVariant& value) {
    if (value.isNull())
        return std::nullopt;
    return value.toLongLong();
}

// QSQLITE binds a null QString as NULL, which INSERT OR REPLACE turns into the column's
// default: an empty colour would come back as the default colour.
QVariant textValue(const QString& text) {
    return text.isNull() ? QVariant(QStringLiteral("")) : QVariant(text);
}

QString idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces);
}

QString describe(const QSqlError& error) {
    QString text = error.databaseText();
    if (text.isEmpty())
        text = error.text();
    if (!error.driverText().isEmpty() && !text.contains(error.driverText()))
        text = error.driverText() + QStringLiteral(": ") + text;
    return text;
}

// Each schema version is reached from the one before by exactly one step.
const char* const kMigrations[] = {
    // 0 -> 1
    "CREATE TABLE IF NOT EXISTS categories ("
    " id TEXT PRIMARY KEY NOT NULL,"
    " name TEXT NOT NULL DEFAULT '',"
    " color_hex TEXT NOT NULL DEFAULT '8B8D98',"
    " sort_index INTEGER NOT NULL DEFAULT 0,"
    " created_at INTEGER NOT NULL);"
    "CREATE TABLE IF NOT EXISTS tasks ("
    " id TEXT PRIMARY KEY NOT NULL,"
    " title TEXT NOT NULL DEFAULT '',"
    " note TEXT NOT NULL DEFAULT '',"
    " note_data BLOB,"
    " completed INTEGER NOT NULL DEFAULT 0,"
    " completed_at INTEGER,"
    " due_date INTEGER,"
    " year INTEGER,"
    " week INTEGER,"
    " reminder_at INTEGER,"
    " scheduled_explicitly INTEGER NOT NULL DEFAULT 0,"
    " category_id TEXT,"
    " sort_index INTEGER NOT NULL DEFAULT 0,"
    " created_at INTEGER NOT NULL,"
    " updated_at INTEGER NOT NULL);"
    // What the cloud mirror has not taken yet: one row per record, the newest change wins.
    "CREATE TABLE IF NOT EXISTS pending_changes ("
    " record_id TEXT PRIMARY KEY NOT NULL,"
    " kind INTEGER NOT NULL,"
    " deleted INTEGER NOT NULL,"
    " seq INTEGER NOT NULL);",
};

bool execScript(QSqlDatabase& db, const QString& script, QString* error) {
    const QStringList statements = script.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString& statement : statements) {
        if (statement.trimmed().isEmpty())
            continue;
        QSqlQuery query(db);
        if (!query.exec(statement)) {
            *error = describe(query.lastError());
            return false;
        }
    }
    return true;
}

// Writes records into an open transaction, logging each change for the cloud mirror.
class RecordWriter : public ModelContext::RecordSink {
public:
    RecordWriter(QSqlDatabase& db, bool logging, qint64 seq)
        : m_upsertCategory(db)
        , m_upsertTask(db)
        , m_delete(db)
        , m_log(db)
        , m_logging(logging)
        , m_seq(seq) {
        m_prepared =
            m_upsertCategory.prepare(QStringLiteral(
                "INSERT OR REPLACE INTO categories (id, name, color_hex, sort_index, created_at)"
                " VALUES (?, ?, ?, ?, ?)")) &&
            m_upsertTask.prepare(QStringLiteral(
                "INSERT OR REPLACE INTO tasks (id, title, note, note_data, completed,"
                " completed_at, due_date, year, week, reminder_at, scheduled_explicitly,"
                " category_id, sort_index, created_at, updated_at)"
                " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")) &&
            m_log.prepare(
                QStringLiteral("INSERT OR REPLACE INTO pending_changes (record_id, kind, deleted,"
                               " seq) VALUES (?, ?, ?, ?)"));
        if (!m_prepared)
            m_failed = &m_upsertTask;
    }

    [[nodiscard]] bool prepared() const { return m_prepared; }
    [[nodiscard]] const QSqlQuery* failed() const { return m_failed; }
    [[nodiscard]] qint64 lastSeq() const { return m_seq; }

    bool write(const TaskCategory& category) override {
        m_upsertCategory.addBindValue(idText(category.id()));
        m_upsertCategory.addBindValue(textValue(category.name()));
        m_upsertCategory.addBindValue(textValue(category.colorHex()));
        m_upsertCategory.addBindValue(category.sortIndex());
        m_upsertCategory.addBindValue(fromDate(category.createdAt()));
        return run(m_upsertCategory) && log(category.id(), RecordChange::Kind::category, false);
    }

    bool write(const TaskItem& task) override {
        m_upsertTask.addBindValue(idText(task.id()));
        m_upsertTask.addBindValue(textValue(task.title()));
        m_upsertTask.addBindValue(textValue(task.note()));
        m_upsertTask.addBindValue(task.noteData().isEmpty()
                                      ? QVariant(QMetaType(QMetaType::QByteArray))
                                      : QVariant(task.noteData()));
        m_upsertTask.addBindValue(task.completed() ? 1 : 0);
        m_upsertTask.addBindValue(fromDate(task.completedAt()));
        m_upsertTask.addBindValue(fromDate(task.dueDate()));
        m_upsertTask.addBindValue(fromOptional(task.year()));
        m_upsertTask.addBindValue(fromOptional(task.week()));
        m_upsertTask.addBindValue(fromDate(task.reminderAt()));
        m_upsertTask.addBindValue(task.scheduledExplicitly() ? 1 : 0);
        m_upsertTask.addBindValue(task.category() ? QVariant(idText(task.category()->id()))
                                                  : QVariant(QMetaType(QMetaType::QString)));
        m_upsertTask.addBindValue(task.sortIndex());
        m_upsertTask.addBindValue(fromDate(task.createdAt()));
        m_upsertTask.addBindValue(fromDate(task.updatedAt()));
        return run(m_upsertTask) && log(task.id(), RecordChange::Kind::task, false);
    }

    bool remove(const char* table, const QUuid& id, RecordChange::Kind kind) {
        if (!m_delete.prepare(
                QStringLiteral("DELETE FROM %1 WHERE id = ?").arg(QLatin1String(table)))) {
            m_failed = &m_delete;
            return false;
        }
        m_delete.addBindValue(idText(id));
        return run(m_delete) && log(id, kind, true);
    }

    // Lists the record as changed for the mirror, without writing the record.
    bool log(const QUuid& id, RecordChange::Kind kind, bool deleted) {
        if (!m_logging)
            return true;
        m_log.addBindValue(idText(id));
        m_log.addBindValue(static_cast<int>(kind));
        m_log.addBindValue(deleted ? 1 : 0);
        m_log.addBindValue(++m_seq);
        return run(m_log);
    }

private:
    bool run(QSqlQuery& query) {
        if (query.exec())
            return true;
        m_failed = &query;
        return false;
    }

    QSqlQuery m_upsertCategory;
    QSqlQuery m_upsertTask;
    QSqlQuery m_delete;
    QSqlQuery m_log;
    QSqlQuery* m_failed = nullptr;
    bool m_prepared = false;
    bool m_logging;
    qint64 m_seq;
};

// Runs `write` in one transaction and moves `lastSeq` on only when it is committed. On
// failure nothing reaches the disk, and `error` says why unless `write` gave up by itself.
bool writeInTransaction(QSqlDatabase& db, bool logging, qint64& lastSeq,
                        const std::function<bool(RecordWriter&)>& write, QString* error) {
    QString ignored;
    QString& message = error ? *error : ignored;
    if (!db.transaction()) {
        message = describe(db.lastError());
        return false;
    }
    RecordWriter writer(db, logging, lastSeq);
    const bool ok = writer.prepared() && write(writer);
    if (!ok || !db.commit()) {
        if (writer.failed())
            message = describe(writer.failed()->lastError());
        else if (ok)
            message = describe(db.lastError());
        db.rollback();
        return false;
    }
    lastSeq = writer.lastSeq();
    return true;
}

} // namespace

struct ModelContext::Private {
    QSqlDatabase db;

    QSet<TaskItem*> insertedTasks;
    QSet<TaskItem*> changedTasks;
    QList<TaskItem*> deletedTasks;
    QSet<TaskCategory*> insertedCategories;
    QSet<TaskCategory*> changedCategories;
    QList<TaskCategory*> deletedCategories;
    // Removed records stay alive until their removal is on disk (see remove()).
    QList<QObject*> graveyard;

    qint64 lastChangeSeq = 0;
};

ModelContext::ModelContext(const QString& path, const QString& connectionName)
    : d(std::make_unique<Private>())
    , m_path(path)
    , m_connectionName(connectionName) {}

ModelContext::~ModelContext() {
    qDeleteAll(m_tasks);
    qDeleteAll(m_categories);
    qDeleteAll(d->graveyard);
    m_tasks.clear();
    m_categories.clear();
    d->db.close();
    d->db = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connectionName);
}

// WAL keeps readers and the writer apart; FULL sync makes a returned save durable.
bool ModelContext::useJournal(QSqlDatabase& db, QString* error) {
    QSqlQuery query(db);
    if (query.exec(QStringLiteral("PRAGMA journal_mode=WAL")) &&
        query.exec(QStringLiteral("PRAGMA synchronous=FULL")))
        return true;
    *error = describe(query.lastError());
    return false;
}

// Someone deleted the -wal under the board. SQLite goes on writing into the unlinked file, so
// every save since the last checkpoint would vanish with the process. Those saves are still
// readable through the open handle: a checkpoint moves them into the store, and a new
// connection starts a new -wal.
bool ModelContext::recoverMissingJournal(QString* error) {
    if (m_path == QLatin1String(":memory:") || QFileInfo::exists(m_path + QStringLiteral("-wal")))
        return true;
    qCWarning(lcPersistence).noquote()
        << m_path + QStringLiteral("-wal")
        << "went missing under the board; moving its saves into the store";
    QSqlDatabase& db = d->db;
    QSqlQuery checkpoint(db);
    if (!checkpoint.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)")) || !checkpoint.next() ||
        checkpoint.value(0).toInt() != 0) {
        *error = QStringLiteral("%1-wal went missing and its saves could not be moved into the "
                                "store: %2")
                     .arg(m_path, describe(checkpoint.lastError()));
        return false;
    }
    checkpoint.finish();
    db.close();
    if (!db.open()) {
        *error = describe(db.lastError());
        return false;
    }
    return useJournal(db, error);
}

std::unique_ptr<ModelContext> ModelContext::open(const QString& path, QString* error,
                                                 OpenMode mode) {
    QString ignored;
    QString& message = error ? *error : ignored;
    const QString name =
        QStringLiteral("tavik-store-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    std::unique_ptr<ModelContext> context(new ModelContext(path, name));
    context->m_mode = mode;
    QSqlDatabase& db = context->d->db;
    db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    db.setDatabaseName(path);
    // A short wait covers a reader (tavik --list) holding the file for a moment; a store
    // that stays locked must fail the save rather than freeze the board.
    // Reading opens never write a record, a schema or a pragma; they are still SQLite
    // read-write connections, so that the last one to close folds the journal back into the
    // store and removes the -wal and -shm it needed, leaving the folder as it found it.
    QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=1000");
    const QFileInfo folder(QFileInfo(path).absolutePath());
    if (mode != OpenMode::readWrite && path != QLatin1String(":memory:") && !folder.isWritable()) {
        // A folder nobody may write to holds no board's unsaved journal to fold in (unless
        // one was left there before it was locked): the file alone is the board.
        if (QFileInfo(path + QStringLiteral("-wal")).size() > 0) {
            message = QStringLiteral("%1 cannot be read: its folder %2 is not writable, and its "
                                     "journal (%1-wal) holds saves that cannot be read without "
                                     "writing there. Make the folder writable and try again.")
                          .arg(path, folder.filePath());
            return nullptr;
        }
        db.setDatabaseName(QUrl::fromLocalFile(path).toString() + QStringLiteral("?immutable=1"));
        options += QStringLiteral(";QSQLITE_OPEN_URI;QSQLITE_OPEN_READONLY");
    }
    db.setConnectOptions(options);
    if (!db.open()) {
        message = describe(db.lastError());
        return nullptr;
    }

    // Read before anything writes: a file that is not ours, or is newer, stays as it was.
    int version = 0;
    {
        QSqlQuery query(db);
        if (!query.exec(QStringLiteral("PRAGMA user_version")) || !query.next()) {
            message = QStringLiteral("%1 is not a readable store: %2")
                          .arg(path, describe(query.lastError()));
            return nullptr;
        }
        version = query.value(0).toInt();
    }
    if (version > schemaVersion) {
        message = QStringLiteral("%1 has schema version %2, newer than this Tavik understands (%3)")
                      .arg(path)
                      .arg(version)
                      .arg(schemaVersion);
        return nullptr;
    }

    if (mode != OpenMode::readWrite) {
        if (version == schemaVersion && mode == OpenMode::query)
            return context;
        if (version == schemaVersion)
            return context->load(&message) ? std::move(context) : nullptr;
        // A file no board has written yet (say, zero bytes) holds an empty board; reading
        // it must not write a schema into it.
        QSqlQuery tables(db);
        if (!tables.exec(QStringLiteral("SELECT count(*) FROM sqlite_master")) || !tables.next()) {
            message = QStringLiteral("%1 is not a readable store: %2")
                          .arg(path, describe(tables.lastError()));
            return nullptr;
        }
        if (version == 0 && tables.value(0).toInt() == 0)
            return context;
        message = QStringLiteral("%1 has schema version %2; start the board once to upgrade it")
                      .arg(path)
                      .arg(version);
        return nullptr;
    }

    {
        if (!useJournal(db, &message))
            return nullptr;
    }

    // The board writes into this file for hours: a damaged page anywhere (an index too,
    // which loading never reads) must stop it before it saves into the damage.
    {
        QSqlQuery check(db);
        if (!check.exec(QStringLiteral("PRAGMA quick_check")) || !check.next()) {
            message = damagedMessage(path, describe(check.lastError()));
            return nullptr;
        }
        const QString verdict = check.value(0).toString();
        if (verdict != QLatin1String("ok")) {
            message = damagedMessage(path, verdict);
            return nullptr;
        }
    }

    if (version < schemaVersion) {
        if (!db.transaction()) {
            message = describe(db.lastError());
            return nullptr;
        }
        for (int step = version; step < schemaVersion; ++step) {
            if (!execScript(db, QString::fromLatin1(kMigrations[step]), &message)) {
                db.rollback();
                return nullptr;
            }
        }
        QSqlQuery query(db);
        if (!query.exec(QStringLiteral("PRAGMA user_version=%1").arg(schemaVersion)) ||
            !db.commit()) {
            message = describe(query.lastError().isValid() ? query.lastError() : db.lastError());
            db.rollback();
            return nullptr;
        }
    }

    if (!context->load(&message))
        return nullptr;
    // The check and the load paged the whole file through SQLite's cache; the records now
    // hold what the board needs, so the cache goes back to the system.
    QSqlQuery(db).exec(QStringLiteral("PRAGMA shrink_memory"));
    return context;
}

QString ModelContext::damagedMessage(const QString& path, const QString& detail) {
    return QStringLiteral("%1 is damaged and cannot be read whole (%2). It was left as it "
                          "was. Save what can still be read with `tavik --export FILE`, then "
                          "move the damaged file away and restore with `tavik --import FILE`.")
        .arg(path, detail);
}

namespace {

const QString taskColumns = QStringLiteral(
    "id, title, note, note_data, completed, completed_at, due_date, year, week,"
    " reminder_at, scheduled_explicitly, category_id, sort_index, created_at, updated_at");

} // namespace

bool ModelContext::load(QString* error) {
    QSqlDatabase& db = d->db;
    QSqlQuery categories(db);
    categories.setForwardOnly(true);
    categories.exec(
        QStringLiteral("SELECT id, name, color_hex, sort_index, created_at FROM categories"));
    while (categories.isActive() && categories.next()) {
        auto* category = new TaskCategory(QUuid::fromString(categories.value(0).toString()),
                                          toDate(categories.value(4)));
        category->m_name = categories.value(1).toString();
        category->m_colorHex = categories.value(2).toString();
        category->m_sortIndex = categories.value(3).toLongLong();
        category->m_context = this;
        m_categories.append(category);
        m_categoryById.insert(category->id(), category);
    }
    // next() turns false on a damaged page as on the last row; only the error tells them
    // apart. A failing exec is the same damage, met on the first page.
    if (categories.lastError().isValid()) {
        if (m_mode != OpenMode::salvage) {
            *error = damagedMessage(m_path, describe(categories.lastError()));
            return false;
        }
        m_damage = describe(categories.lastError());
    }

    if (!loadTasks(error))
        return false;

    QSqlQuery seq(db);
    if (!seq.exec(QStringLiteral("SELECT COALESCE(MAX(seq), 0) FROM pending_changes")) ||
        !seq.next()) {
        if (m_mode != OpenMode::salvage) {
            *error = damagedMessage(m_path, describe(seq.lastError()));
            return false;
        }
    } else {
        d->lastChangeSeq = seq.value(0).toLongLong();
    }
    return true;
}

TaskItem* ModelContext::taskFromRow(const QSqlQuery& row) {
    auto* task = new TaskItem(QUuid::fromString(row.value(0).toString()), toDate(row.value(13)));
    task->m_title = row.value(1).toString();
    task->m_note = row.value(2).toString();
    task->m_noteData = row.value(3).toByteArray();
    task->m_completed = row.value(4).toBool();
    task->m_completedAt = toDate(row.value(5));
    task->m_dueDate = toDate(row.value(6));
    task->m_year = toOptional(row.value(7));
    task->m_week = toOptional(row.value(8));
    task->m_reminderAt = toDate(row.value(9));
    task->m_scheduledExplicitly = row.value(10).toBool();
    const QVariant categoryId = row.value(11);
    if (!categoryId.isNull())
        task->m_category = m_categoryById.value(QUuid::fromString(categoryId.toString()));
    task->m_sortIndex = row.value(12).toLongLong();
    task->m_updatedAt = toDate(row.value(14));
    task->m_context = this;
    return task;
}

bool ModelContext::loadTasks(QString* error) {
    QSqlQuery tasks(d->db);
    tasks.setForwardOnly(true);
    tasks.exec(QStringLiteral("SELECT %1 FROM tasks").arg(taskColumns));
    while (tasks.isActive() && tasks.next()) {
        TaskItem* task = taskFromRow(tasks);
        m_tasks.append(task);
        m_taskById.insert(task->id(), task);
    }
    if (!tasks.lastError().isValid())
        return true;
    if (m_mode != OpenMode::salvage) {
        *error = damagedMessage(m_path, describe(tasks.lastError()));
        return false;
    }
    m_damage = describe(tasks.lastError());
    salvageTasks();
    return true;
}

// The table scan stopped at a damaged page; the primary key's index usually still lists
// the ids behind it, and each row is fetched alone, so only the rows on the damaged page
// are lost.
void ModelContext::salvageTasks() {
    QSqlQuery ids(d->db);
    ids.setForwardOnly(true);
    if (!ids.exec(QStringLiteral("SELECT id FROM tasks ORDER BY id")))
        return;
    QStringList missing;
    while (ids.next()) {
        const QString id = ids.value(0).toString();
        if (!m_taskById.contains(QUuid::fromString(id)))
            missing.append(id);
    }
    QSqlQuery row(d->db);
    row.prepare(QStringLiteral("SELECT %1 FROM tasks WHERE id = ?").arg(taskColumns));
    for (const QString& id : std::as_const(missing)) {
        row.bindValue(0, id);
        if (!row.exec() || !row.next())
            continue;
        TaskItem* task = taskFromRow(row);
        m_tasks.append(task);
        m_taskById.insert(task->id(), task);
    }
}

TaskItem* ModelContext::task(const QUuid& id) const {
    return m_taskById.value(id);
}

TaskCategory* ModelContext::category(const QUuid& id) const {
    return m_categoryById.value(id);
}

void ModelContext::insert(TaskItem* task) {
    if (!task || task->m_context || task->m_deleted)
        return;
    task->setParent(nullptr);
    task->m_context = this;
    m_tasks.append(task);
    m_taskById.insert(task->id(), task);
    d->insertedTasks.insert(task);
    emit taskInserted(task);
}

void ModelContext::insert(TaskCategory* category) {
    if (!category || category->m_context || category->m_deleted)
        return;
    category->setParent(nullptr);
    category->m_context = this;
    m_categories.append(category);
    m_categoryById.insert(category->id(), category);
    d->insertedCategories.insert(category);
    emit categoryInserted(category);
}

void ModelContext::remove(TaskItem* task) {
    if (!task || task->m_context != this || task->m_deleted)
        return;
    m_tasks.removeOne(task);
    m_taskById.remove(task->id());
    d->changedTasks.remove(task);
    // A record that never reached the disk has nothing to delete there.
    if (!d->insertedTasks.remove(task))
        d->deletedTasks.append(task);
    task->m_deleted = true;
    d->graveyard.append(task);
    emit taskRemoved(task);
}

void ModelContext::remove(TaskCategory* category) {
    if (!category || category->m_context != this || category->m_deleted)
        return;
    for (TaskItem* task : std::as_const(m_tasks)) {
        if (task->m_category == category)
            task->setCategory(nullptr);
    }
    m_categories.removeOne(category);
    m_categoryById.remove(category->id());
    d->changedCategories.remove(category);
    if (!d->insertedCategories.remove(category))
        d->deletedCategories.append(category);
    category->m_deleted = true;
    d->graveyard.append(category);
    emit categoryRemoved(category);
}

void ModelContext::recordChanged(TaskItem* task) {
    if (!d->insertedTasks.contains(task))
        d->changedTasks.insert(task);
    emit taskChanged(task);
}

void ModelContext::recordChanged(TaskCategory* category) {
    if (!d->insertedCategories.contains(category))
        d->changedCategories.insert(category);
    emit categoryChanged(category);
}

bool ModelContext::hasChanges() const {
    return !d->insertedTasks.isEmpty() || !d->changedTasks.isEmpty() ||
           !d->deletedTasks.isEmpty() || !d->insertedCategories.isEmpty() ||
           !d->changedCategories.isEmpty() || !d->deletedCategories.isEmpty();
}

bool ModelContext::save(QString* error) {
    if (!hasChanges())
        return true;
    QString ignored;
    QString& message = error ? *error : ignored;
    if (isReadOnly()) {
        message = QStringLiteral("%1 was opened read-only").arg(m_path);
        return false;
    }
    if (!recoverMissingJournal(&message))
        return false;
    const bool written = writeInTransaction(
        d->db, m_recordingChanges, d->lastChangeSeq,
        [this](RecordWriter& writer) {
            bool ok = true;
            // Lists first, so that a task never points at a list that is not written yet.
            for (const TaskCategory* category : std::as_const(d->insertedCategories))
                ok = ok && writer.write(*category);
            for (const TaskCategory* category : std::as_const(d->changedCategories))
                ok = ok && writer.write(*category);
            for (const TaskItem* task : std::as_const(d->insertedTasks))
                ok = ok && writer.write(*task);
            for (const TaskItem* task : std::as_const(d->changedTasks))
                ok = ok && writer.write(*task);
            for (const TaskItem* task : std::as_const(d->deletedTasks))
                ok = ok && writer.remove("tasks", task->m_id, RecordChange::Kind::task);
            for (const TaskCategory* category : std::as_const(d->deletedCategories))
                ok =
                    ok && writer.remove("categories", category->m_id, RecordChange::Kind::category);
            return ok;
        },
        &message);
    // Everything stays pending; the next save writes it all again.
    if (!written)
        return false;

    d->insertedTasks.clear();
    d->changedTasks.clear();
    d->deletedTasks.clear();
    d->insertedCategories.clear();
    d->changedCategories.clear();
    d->deletedCategories.clear();
    // A deferred write may still hold a removed record: free it later, through the event loop.
    for (QObject* object : std::as_const(d->graveyard))
        object->deleteLater();
    d->graveyard.clear();
    if (m_recordingChanges)
        emit changesSaved();
    return true;
}

bool ModelContext::writeThrough(const std::function<bool(RecordSink&)>& produce, QString* error) {
    QString ignored;
    QString& message = error ? *error : ignored;
    if (isReadOnly() || hasChanges()) {
        message = QStringLiteral("%1 is not open for writing through").arg(m_path);
        return false;
    }
    if (!recoverMissingJournal(&message))
        return false;
    if (!writeInTransaction(d->db, m_recordingChanges, d->lastChangeSeq, produce, &message))
        return false;
    if (m_recordingChanges)
        emit changesSaved();
    return true;
}

QList<RecordChange> ModelContext::pendingChanges() const {
    QList<RecordChange> changes;
    QSqlQuery query(d->db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral(
            "SELECT seq, kind, record_id, deleted FROM pending_changes WHERE record_id <> ''"
            " ORDER BY seq")))
        return changes;
    while (query.next()) {
        RecordChange change;
        change.seq = query.value(0).toLongLong();
        change.kind = static_cast<RecordChange::Kind>(query.value(1).toInt());
        change.id = QUuid::fromString(query.value(2).toString());
        change.deleted = query.value(3).toBool();
        changes.append(change);
    }
    return changes;
}

bool ModelContext::requeueAll() {
    return writeInTransaction(
        d->db, /*logging=*/true, d->lastChangeSeq,
        [this](RecordWriter& writer) {
            bool ok = true;
            // Lists first, so that a task's list exists on the server before the task names it.
            for (const TaskCategory* category : std::as_const(m_categories))
                ok = ok && writer.log(category->id(), RecordChange::Kind::category, false);
            for (const TaskItem* task : std::as_const(m_tasks))
                ok = ok && writer.log(task->id(), RecordChange::Kind::task, false);
            return ok;
        },
        nullptr);
}

bool ModelContext::acknowledgeChanges(qint64 upToSeq) {
    // The highest number handed out stays on disk in a row with no record id, so that numbering
    // carries on after a reopen even when every change was acknowledged: a number used twice
    // would let an old acknowledgement swallow a change that was never uploaded.
    QSqlDatabase& db = d->db;
    if (!db.transaction())
        return false;
    QSqlQuery mark(db);
    mark.prepare(QStringLiteral("INSERT OR REPLACE INTO pending_changes (record_id, kind, deleted,"
                                " seq) VALUES ('', 0, 0, ?)"));
    mark.addBindValue(d->lastChangeSeq);
    QSqlQuery query(db);
    query.prepare(QStringLiteral("DELETE FROM pending_changes WHERE seq <= ? AND record_id <> ''"));
    query.addBindValue(upToSeq);
    if (!mark.exec() || !query.exec() || !db.commit()) {
        db.rollback();
        return false;
    }
    return true;
}
