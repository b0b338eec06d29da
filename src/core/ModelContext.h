#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QSqlDatabase>
#include <QString>
#include <QUuid>
#include <functional>
#include <memory>

class TaskCategory;
class TaskItem;
class QSqlQuery;

// One record change the cloud mirror has not taken yet.
struct RecordChange {
    enum class Kind { task, category };
    qint64 seq = 0; // increasing; acknowledge up to it
    Kind kind = Kind::task;
    QUuid id;
    bool deleted = false;
};

// The main context of a store: every record of one SQLite file, loaded at open and owned here
// as objects. Changes stay in memory until save(), which writes every inserted, changed and
// deleted record in one transaction; a failed save keeps them pending for the next one.
// The signals stand in for live queries: views derive their lists from them.
class ModelContext : public QObject {
    Q_OBJECT
public:
    // The schema version this build writes (PRAGMA user_version).
    static constexpr int schemaVersion = 1;

    ~ModelContext() override;

    enum class OpenMode {
        // The board: creates or upgrades the store, and checks every page before trusting it.
        readWrite,
        // Reading commands: never writes; an empty or missing schema reads as an empty board.
        readOnly,
        // A damaged store: read-only, and loads every record that can still be read.
        salvage,
        // Commands that ask the tables themselves (StoreQuery): like readOnly, loads nothing.
        query,
    };

    // Opens the store at `path` and loads every record. On failure returns null and sets
    // `error`; a file that is not a store of ours, of a newer schema, or damaged, is not
    // touched. A store that cannot be read whole is refused, never shown in part.
    [[nodiscard]] static std::unique_ptr<ModelContext> open(const QString& path, QString* error,
                                                            OpenMode mode = OpenMode::readWrite);

    // What a store that cannot be read whole is refused with, and what to do about it.
    [[nodiscard]] static QString damagedMessage(const QString& path, const QString& detail);

    [[nodiscard]] bool isReadOnly() const { return m_mode != OpenMode::readWrite; }
    // Salvage only: what could not be read, or empty when the store read whole.
    [[nodiscard]] QString damage() const { return m_damage; }

    [[nodiscard]] QString path() const { return m_path; }
    // The SQLite connection of this store, for the cloud mirror's own tables in the same file.
    [[nodiscard]] QString connectionName() const { return m_connectionName; }

    // All records, in no particular order. Deleted records are not in these lists.
    [[nodiscard]] const QList<TaskItem*>& tasks() const { return m_tasks; }
    [[nodiscard]] const QList<TaskCategory*>& categories() const { return m_categories; }
    [[nodiscard]] TaskItem* task(const QUuid& id) const;
    [[nodiscard]] TaskCategory* category(const QUuid& id) const;

    // Takes ownership. Inserting a record twice, or one of another context, does nothing.
    void insert(TaskItem* task);
    void insert(TaskCategory* category);
    // The record is marked deleted and kept alive until the next successful save, so a
    // deferred write that still holds it does no harm. Removing a list leaves its tasks
    // without one.
    void remove(TaskItem* task);
    void remove(TaskCategory* category);

    // Where writeThrough puts records; each write returns false when the store refused it.
    class RecordSink {
    public:
        virtual ~RecordSink() = default;
        virtual bool write(const TaskCategory& category) = 0;
        virtual bool write(const TaskItem& task) = 0;
    };
    // Writes the records `produce` hands to the sink straight to disk, in one transaction,
    // keeping none of them: restoring a backup of any size. `produce` returns false to give
    // up, and then nothing is written (a sink's own failure sets `error`). Only with no
    // pending change; the records are in tasks() once the store is opened again.
    bool writeThrough(const std::function<bool(RecordSink&)>& produce, QString* error);

    [[nodiscard]] bool hasChanges() const;
    // Writes all pending changes in one transaction. Returns false with `error` set on
    // failure, and keeps the changes pending.
    bool save(QString* error = nullptr);
    // Whether the last checked save (TavikPersistence::save) of this store failed.
    [[nodiscard]] bool saveFailing() const { return m_saveFailing; }
    void setSaveFailing(bool failing) { m_saveFailing = failing; }

    // Changes saved since the mirror last acknowledged them, oldest first. Saves made while
    // `setRecordingChanges(false)` (the mirror applying the server's changes) are not listed.
    [[nodiscard]] QList<RecordChange> pendingChanges() const;
    bool acknowledgeChanges(qint64 upToSeq);
    // Lists every list and task as changed, for a mirror that starts over on another server:
    // what the old one took must still reach the new one.
    bool requeueAll();
    void setRecordingChanges(bool recording) { m_recordingChanges = recording; }

signals:
    void taskInserted(TaskItem* task);
    void taskRemoved(TaskItem* task);
    // Any persisted field of the task changed (the record's own signals say which).
    void taskChanged(TaskItem* task);
    void categoryInserted(TaskCategory* category);
    void categoryRemoved(TaskCategory* category);
    void categoryChanged(TaskCategory* category);
    // A save wrote changes that the mirror has to send (not the mirror's own saves).
    void changesSaved();

private:
    friend class TaskItem;
    friend class TaskCategory;
    ModelContext(const QString& path, const QString& connectionName);
    [[nodiscard]] static bool useJournal(QSqlDatabase& db, QString* error);
    bool recoverMissingJournal(QString* error);
    bool load(QString* error);
    bool loadTasks(QString* error);
    void salvageTasks();
    TaskItem* taskFromRow(const QSqlQuery& row);
    void recordChanged(TaskItem* task);
    void recordChanged(TaskCategory* category);

    struct Private;
    std::unique_ptr<Private> d;

    QString m_path;
    QString m_connectionName;
    bool m_saveFailing = false;
    QList<TaskItem*> m_tasks;
    QList<TaskCategory*> m_categories;
    QHash<QUuid, TaskItem*> m_taskById;
    QHash<QUuid, TaskCategory*> m_categoryById;
    bool m_recordingChanges = true;
    OpenMode m_mode = OpenMode::readWrite;
    QString m_damage;
};
