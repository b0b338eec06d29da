#pragma once

// Shared pieces of the board logic tests: a real store in a temporary directory, wall-clock
// moments in the local zone, and sinks that record what the board asked for.

#include "AppSound.h"
#include "Bucket.h"
#include "ModelContext.h"
#include "Preferences.h"
#include "ReminderSink.h"
#include "TaskItem.h"
#include "WeekKey.h"

#include <QDate>
#include <QDateTime>
#include <QList>
#include <QTemporaryDir>
#include <QTest>
#include <QTime>
#include <QUuid>
#include <memory>

namespace BoardTest {

// A moment given as local wall-clock time, so a case reads the same in every zone.
inline QDateTime local(QDate date, QTime time = QTime(0, 0)) {
    return QDateTime(date, time, Qt::LocalTime).toUTC();
}

inline QDateTime local(int y, int m, int d, int hour = 0, int minute = 0, int second = 0) {
    return local(QDate(y, m, d), QTime(hour, minute, second));
}

// One store file and one preferences file per test.
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

    // A second, independent view of the file: what a restart would load.
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

} // namespace BoardTest

Q_DECLARE_METATYPE(Bucket)
Q_DECLARE_METATYPE(AppSound)

// Readable values in failed comparisons.
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
