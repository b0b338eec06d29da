#pragma once

#include "AppSound.h"
#include "Bucket.h"
#include "ModelContext.h"
#include "Preferences.h"
#include "ReminderSink.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "WeekKey.h"

#include <QDate>
#include <QDateTime>
#include <QList>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QTime>
#include <QUuid>
#include <memory>
#include <optional>

namespace BoardTest {

inline QDateTime local(QDate date, QTime time = QTime(0, 0)) {
    return QDateTime(date, time, Qt::LocalTime).toUTC();
}

inline QDateTime local(int y, int m, int d, int hour = 0, int minute = 0, int second = 0) {
    return local(QDate(y, m, d), QTime(hour, minute, second));
}

struct Store {
    QTemporaryDir dir;
    std::unique_ptr<ModelContext> context;
    std::unique_ptr<Preferences> preferences;

    Store() {
        QVERIFY2(dir.isValid(), "no temporary directory");
        QString error;
        context = ModelContext::open(path(), &error);
        QVERIFY2(context, qPrintable(error));
        preferences = std::make_unique<Preferences>(dir.filePath(QStringLiteral("prefs.ini")));
    }

    [[nodiscard]] QString path() const { return dir.filePath(QStringLiteral("tavik.store")); }

    [[nodiscard]] std::unique_ptr<ModelContext> reopen() const {
        QString error;
        auto reopened = ModelContext::open(path(), &error);
        if (!reopened)
            qWarning("reopen failed: %s", qPrintable(error));
        return reopened;
    }

    TaskItem* addTask(const QString& title, qint64 sortIndex, const QDateTime& now) {
        auto* task = new TaskItem(title, sortIndex, now);
        context->insert(task);
        return task;
    }
};

class RecordingReminderSink final : public ReminderSink {
public:
    void sync(TaskItem* task) override { synced.append(task ? task->id() : QUuid()); }
    void cancel(const QUuid& taskId) override { cancelled.append(taskId); }

    QList<QUuid> synced;
    QList<QUuid> cancelled;
};

class RecordingSoundSink final : public SoundSink {
public:
    [[nodiscard]] bool isEnabled() const override { return enabled; }
    void play(AppSound sound) override { played.append(sound); }

    bool enabled = true;
    QList<AppSound> played;
};

inline QStringList snapshot(const ModelContext& context) {
    const auto moment = [](const QDateTime& m) {
        return m.isValid() ? QString::number(m.toMSecsSinceEpoch()) : QStringLiteral("-");
    };
    const auto number = [](const std::optional<qint64>& v) {
        return v ? QString::number(*v) : QStringLiteral("-");
    };
    QStringList lines;
    for (const TaskCategory* c : context.categories()) {
        lines << QStringList{QStringLiteral("list"),
                             c->id().toString(),
                             c->name(),
                             c->colorHex(),
                             QString::number(c->sortIndex()),
                             moment(c->createdAt())}
                     .join(u'|');
    }
    for (const TaskItem* t : context.tasks()) {
        lines << QStringList{QStringLiteral("task"),
                             t->id().toString(),
                             t->title(),
                             t->note(),
                             QString::fromLatin1(t->noteData().toHex()),
                             QString::number(t->completed()),
                             moment(t->completedAt()),
                             moment(t->dueDate()),
                             number(t->year()),
                             number(t->week()),
                             moment(t->reminderAt()),
                             QString::number(t->scheduledExplicitly()),
                             t->category() ? t->category()->id().toString() : QStringLiteral("-"),
                             QString::number(t->sortIndex()),
                             moment(t->createdAt()),
                             moment(t->updatedAt())}
                     .join(u'|');
    }
    lines.sort();
    return lines;
}

class SideConnection {
public:
    explicit SideConnection(const QString& path,
                            const QString& name = QStringLiteral("side connection"))
        : m_name(name) {
        m_db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        m_db.setDatabaseName(path);
        if (!m_db.open())
            qWarning("%s: %s", qPrintable(path), qPrintable(m_db.lastError().text()));
    }
    ~SideConnection() {
        m_db.close();
        m_db = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_name);
    }
    SideConnection(const SideConnection&) = delete;
    SideConnection& operator=(const SideConnection&) = delete;

    bool exec(const QString& sql) {
        QSqlQuery query(m_db);
        if (query.exec(sql))
            return true;
        qWarning("%s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
        return false;
    }

    [[nodiscard]] QVariant value(const QString& sql) {
        QSqlQuery query(m_db);
        return query.exec(sql) && query.next() ? query.value(0) : QVariant();
    }

private:
    QString m_name;
    QSqlDatabase m_db;
};

} // namespace BoardTest

Q_DECLARE_METATYPE(Bucket)
Q_DECLARE_METATYPE(AppSound)

namespace QTest {
template <> inline char* toString(const Bucket& bucket) {
    return qstrdup(qPrintable(BucketInfo::rawValue(bucket)));
}
template <> inline char* toString(const AppSound& sound) {
    return qstrdup(qPrintable(AppSoundInfo::rawValue(sound)));
}
template <> inline char* toString(const WeekKey& key) {
    return qstrdup(qPrintable(QStringLiteral("%1-W%2").arg(key.year).arg(key.week)));
}
} // namespace QTest
