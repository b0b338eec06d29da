#include "BoardTestSupport.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TavikContainer.h"
#include "TavikPersistence.h"
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <limits>

using Kind = TavikContainer::SyncAvailability::Kind;

namespace {

const QDateTime kNow = QDateTime(QDate(2025, 6, 2), QTime(8, 0), Qt::UTC);
const QString kCategory = QStringLiteral("dev.orlen.tavik.persistence");

enum class Failure {
    readOnly, // the context's own connection turned read-only, as on a read-only disk
    refused,  // a trigger aborts task writes, after the list writes of the same save went in
};

struct LogLine {
    QtMsgType type;
    QString message;
};

QList<LogLine> s_lines;
QtMessageHandler s_previousHandler = nullptr;

void captureHandler(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (context.category && kCategory == QLatin1String(context.category)) {
        s_lines.append({type, message});
        return;
    }
    s_previousHandler(type, context, message);
}

class StoreBlocker {
public:
    StoreBlocker(const QString& path, Failure failure)
        : m_side(path, QStringLiteral("blocker"))
        , m_path(path)
        , m_failure(failure) {}
    ~StoreBlocker() { unblock(); }

    bool block() { return apply(true); }
    bool unblock() { return apply(false); }

    QString taskTitle(const QUuid& id) { return column("tasks", "title", id); }
    QString categoryName(const QUuid& id) { return column("categories", "name", id); }

private:
    bool apply(bool on) {
        switch (m_failure) {
        case Failure::readOnly: {
            for (const QString& name : QSqlDatabase::connectionNames()) {
                QSqlDatabase db = QSqlDatabase::database(name, false);
                if (db.databaseName() == m_path && db.isOpen() && name != QLatin1String("blocker"))
                    return QSqlQuery(db).exec(on ? QStringLiteral("PRAGMA query_only = ON")
                                                 : QStringLiteral("PRAGMA query_only = OFF"));
            }
            return false;
        }
        case Failure::refused:
            for (const char* event : {"INSERT", "UPDATE", "DELETE"}) {
                const QString sql =
                    on ? QStringLiteral("CREATE TRIGGER refuse_%1 BEFORE %1 ON tasks"
                                        " BEGIN SELECT RAISE(ABORT, 'writes refused'); END")
                       : QStringLiteral("DROP TRIGGER IF EXISTS refuse_%1");
                if (!m_side.exec(sql.arg(QLatin1String(event))))
                    return false;
            }
            return true;
        }
        return false;
    }

    QString column(const char* table, const char* name, const QUuid& id) {
        return m_side
            .value(QStringLiteral("SELECT %1 FROM %2 WHERE id = '%3'")
                       .arg(QLatin1String(name), QLatin1String(table),
                            id.toString(QUuid::WithoutBraces)))
            .toString();
    }

    BoardTest::SideConnection m_side;
    QString m_path;
    Failure m_failure;
};

QByteArray hashOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(&file);
    return hash.result();
}

QMap<QString, QByteArray> snapshot(const QString& dir) {
    QMap<QString, QByteArray> out;
    const QFileInfoList entries = QDir(dir).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo& entry : entries)
        out.insert(entry.fileName(), hashOf(entry.filePath()));
    return out;
}

bool writeNewerStore(const QString& path) {
    BoardTest::SideConnection db(path);
    return db.exec(QStringLiteral("CREATE TABLE tasks (id TEXT PRIMARY KEY, title TEXT,"
                                  " shiny_new_field BLOB)")) &&
           db.exec(QStringLiteral("INSERT INTO tasks VALUES ('x', 'from the future', x'00')")) &&
           db.exec(QStringLiteral("PRAGMA user_version = %1").arg(ModelContext::schemaVersion + 1));
}

} // namespace

Q_DECLARE_METATYPE(Failure)

class TestTavikPersistence : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        s_previousHandler = qInstallMessageHandler(captureHandler);
        m_savedHome = qgetenv("HOME");
    }

    void cleanupTestCase() { qInstallMessageHandler(s_previousHandler); }

    void init() {
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(m_home->isValid());
        qputenv("HOME", m_home->path().toLocal8Bit()); // the container's store lives there
        s_lines.clear();
        m_store = std::make_unique<BoardTest::Store>();
        m_context = m_store->context.get();
        QVERIFY(m_context);
        m_list = new TaskCategory(QStringLiteral("工作"), QStringLiteral("FF6B6B"), 0, kNow);
        m_first = new TaskItem(QStringLiteral("first"), 2, kNow);
        m_second = new TaskItem(QStringLiteral("second"), 1, kNow);
        m_first->setCategory(m_list);
        m_context->insert(m_list);
        m_context->insert(m_first);
        m_context->insert(m_second);
        QVERIFY(m_context->save());
    }

    void cleanup() {
        m_store.reset();
        qputenv("HOME", m_savedHome);
        m_home.reset();
    }

    void failingSavesAnnounceOncePerRun_data() {
        QTest::addColumn<Failure>("failure");
        QTest::addColumn<QString>("errorFragment");
        QTest::addColumn<QString>("action");

        // A store locked by another process is savefail_e2e's.
        QTest::newRow("read-only")
            << Failure::readOnly << QStringLiteral("readonly") << QStringLiteral("%2 then %1");
        QTest::newRow("refused mid-save, no action")
            << Failure::refused << QStringLiteral("writes refused") << QString();
    }

    void failingSavesAnnounceOncePerRun() {
        QFETCH(Failure, failure);
        QFETCH(QString, errorFragment);
        QFETCH(QString, action);
        const QString failed = QStringLiteral("save FAILED after ") + action + QStringLiteral(": ");

        NotificationHub hub;
        QSignalSpy posted(&hub, &NotificationHub::posted);
        StoreBlocker blocker(m_store->path(), failure);
        QVERIFY(blocker.block());

        m_list->setName(QStringLiteral("renamed"));
        m_first->setTitle(QStringLiteral("first, edited"));
        QVERIFY(!TavikPersistence::save(*m_context, action, hub));
        QVERIFY(TavikPersistence::isFailing(*m_context));
        QVERIFY(m_context->hasChanges());
        QCOMPARE(posted.size(), 1);
        QCOMPARE(posted.at(0).at(0).toString(), TavikNotification::saveFailed);
        const QVariantMap info = posted.at(0).at(1).toMap();
        QCOMPARE(info.value(QStringLiteral("action")), QVariant(action));
        const QString error = info.value(QStringLiteral("error")).toString();
        QVERIFY2(error.contains(errorFragment, Qt::CaseInsensitive), qPrintable(error));
        QCOMPARE(s_lines.size(), 1);
        QCOMPARE(s_lines.at(0).message, failed + error);
        QCOMPARE(blocker.taskTitle(m_first->id()), QStringLiteral("first"));
        QCOMPARE(blocker.categoryName(m_list->id()), QStringLiteral("工作"));

        m_second->setSortIndex(std::numeric_limits<qint64>::max());
        QVERIFY(!TavikPersistence::save(*m_context, action, hub));
        QCOMPARE(posted.size(), 1);
        QCOMPARE(s_lines.size(), 2);
        QVERIFY(s_lines.at(1).message.startsWith(failed));

        QVERIFY(blocker.unblock());
        QVERIFY(TavikPersistence::save(*m_context, action, hub));
        QVERIFY(!TavikPersistence::isFailing(*m_context));
        QVERIFY(!m_context->hasChanges());
        QCOMPARE(posted.size(), 1);
        QCOMPARE(s_lines.size(), 3);
        QCOMPARE(s_lines.at(2).message, QStringLiteral("save recovered after ") + action);
        {
            auto reopened = m_store->reopen();
            QVERIFY(reopened);
            QCOMPARE(reopened->task(m_first->id())->title(), QStringLiteral("first, edited"));
            QCOMPARE(reopened->category(m_list->id())->name(), QStringLiteral("renamed"));
            QCOMPARE(reopened->task(m_second->id())->sortIndex(),
                     std::numeric_limits<qint64>::max());
        }

        QVERIFY(blocker.block());
        m_second->setTitle(QStringLiteral("second, edited again"));
        QVERIFY(!TavikPersistence::save(*m_context, action, hub));
        QCOMPARE(posted.size(), 2);
        QCOMPARE(s_lines.size(), 4);
    }

    // Garbage and damaged pages are left as they were by ModelContext (tst_storedamage) and by
    // every command (tst_commandline's "unopenable store" rows); here, a store from a newer
    // version, asked to mirror.
    void newerStoreIsLeftAsItWas() {
        const QString path = TavikContainer::realStorePath();
        QVERIFY(writeNewerStore(path));
        const QMap<QString, QByteArray> before = snapshot(TavikContainer::storeDirectory());
        QVERIFY(before.contains(QStringLiteral("tavik.store")));

        QString error;
        auto [container, availability] = TavikContainer::create(true, {}, &error);
        QVERIFY(!container);
        QVERIFY2(error.contains(QStringLiteral("tavik.store")), qPrintable(error));
        QVERIFY2(error.contains(QString::number(ModelContext::schemaVersion + 1)),
                 qPrintable(error));
        QCOMPARE(availability.kind, Kind::unavailable);
        QVERIFY(!availability.reason.isEmpty());
        QCOMPARE(snapshot(TavikContainer::storeDirectory()), before);
    }

    void demoStoreNeverTouchesTheRealOne() {
        const QUuid existing = seedRealStore();
        QVERIFY(!existing.isNull());
        const QMap<QString, QByteArray> before = snapshot(TavikContainer::storeDirectory());

        QString error;
        auto [demo, availability] = TavikContainer::createDemo(&error);
        QVERIFY2(demo, qPrintable(error));
        QCOMPARE(availability.kind, Kind::localOnly);
        QVERIFY(!demo->mainContext().task(existing));
        demo->mainContext().insert(new TaskItem(QStringLiteral("示例"), 1, kNow));
        QVERIFY(demo->mainContext().save());
        demo.reset();

        QMap<QString, QByteArray> after = snapshot(TavikContainer::storeDirectory());
        after.removeIf(
            [](auto entry) { return entry.key().startsWith(QLatin1String("tavik-demo")); });
        QCOMPARE(after, before);

        // Asked to mirror with no mirror there: the real store opens, sync unavailable.
        error.clear();
        auto [container, mirrored] = TavikContainer::create(true, {}, &error);
        QVERIFY2(container, qPrintable(error));
        QCOMPARE(mirrored.kind, Kind::unavailable);
        QVERIFY(!mirrored.reason.isEmpty());
        QVERIFY(container->mainContext().task(existing));
        container->mainContext().insert(new TaskItem(QStringLiteral("new"), 2, kNow));
        QVERIFY(container->mainContext().save());
    }

private:
    QUuid seedRealStore();

    std::unique_ptr<QTemporaryDir> m_home;
    QByteArray m_savedHome;
    std::unique_ptr<BoardTest::Store> m_store;
    ModelContext* m_context = nullptr;
    TaskCategory* m_list = nullptr;
    TaskItem* m_first = nullptr;
    TaskItem* m_second = nullptr;
};

QUuid TestTavikPersistence::seedRealStore() {
    QString error;
    auto context = ModelContext::open(TavikContainer::realStorePath(), &error);
    if (!context) {
        qWarning("seed: %s", qPrintable(error));
        return {};
    }
    auto* task = new TaskItem(QStringLiteral("已有任务"), 1, kNow);
    context->insert(task);
    return context->save() ? task->id() : QUuid();
}

QTEST_GUILESS_MAIN(TestTavikPersistence)
#include "tst_tavikpersistence.moc"
