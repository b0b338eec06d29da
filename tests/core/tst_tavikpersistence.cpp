#include "BoardTestSupport.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TavikPersistence.h"

#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <limits>

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

} // namespace

Q_DECLARE_METATYPE(Failure)

class TestTavikPersistence : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        s_previousHandler = qInstallMessageHandler(captureHandler);
    }

    void cleanupTestCase() { qInstallMessageHandler(s_previousHandler); }

    void init() {
        s_lines.clear();
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QString error;
        m_context = ModelContext::open(storePath(), &error);
        QVERIFY2(m_context, qPrintable(error));
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
        m_context.reset();
        m_dir.reset();
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
        StoreBlocker blocker(storePath(), failure);
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
            QString openError;
            auto reopened = ModelContext::open(storePath(), &openError);
            QVERIFY2(reopened, qPrintable(openError));
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

    void nothingToSaveIsQuiet() {
        NotificationHub hub;
        QSignalSpy posted(&hub, &NotificationHub::posted);
        QVERIFY(TavikPersistence::save(*m_context, QStringLiteral("tasksChanged"), hub));
        QVERIFY(s_lines.isEmpty());
        {
            StoreBlocker blocker(storePath(), Failure::refused);
            QVERIFY(blocker.block());
            m_first->setTitle(QStringLiteral("x"));
            QVERIFY(!TavikPersistence::save(*m_context, QStringLiteral("tasksChanged"), hub));
            QVERIFY(blocker.unblock());
        }
        QString error;
        auto clean = ModelContext::open(m_dir->filePath(QStringLiteral("clean.store")), &error);
        QVERIFY2(clean, qPrintable(error));
        QVERIFY(TavikPersistence::save(*clean, QStringLiteral("tasksChanged"), hub));
        QVERIFY(TavikPersistence::isFailing(*m_context));
        QCOMPARE(s_lines.size(), 1);
        QCOMPARE(posted.size(), 1);
    }

private:
    [[nodiscard]] QString storePath() const { return m_dir->filePath(QStringLiteral("t.store")); }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ModelContext> m_context;
    TaskCategory* m_list = nullptr;
    TaskItem* m_first = nullptr;
    TaskItem* m_second = nullptr;
};

QTEST_GUILESS_MAIN(TestTavikPersistence)
#include "tst_tavikpersistence.moc"
