// A store with one damaged page, at every page in turn: the board and the reading commands
// refuse it instead of showing part of the board, and salvage gets back all but that page.

#include "ModelContext.h"
#include "StoreQuery.h"
#include "TaskItem.h"

#include <QFile>
#include <QRandomGenerator>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

class TestStoreDamage : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyDamagedPageIsRefusedOrHarmless();
    void readingAnUnwrittenFileLeavesItAsItWas();
    void savesOutliveAJournalDeletedUnderTheBoard();

private:
    static constexpr int taskCount = 300;
    QTemporaryDir m_dir;
    QString m_pristine;
    QByteArray m_bytes;
    int m_tasksRoot = 0;
};

void TestStoreDamage::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_pristine = m_dir.filePath(QStringLiteral("pristine.store"));
    {
        QString error;
        auto context = ModelContext::open(m_pristine, &error);
        QVERIFY2(context, qPrintable(error));
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (int i = 0; i < taskCount; ++i) {
            auto* task = new TaskItem(QStringLiteral("task %1").arg(i), i, now);
            task->setNote(QString(200, QLatin1Char('x')));
            context->insert(task);
        }
        QVERIFY2(context->save(&error), qPrintable(error));
    }
    // Closing the last connection checkpoints the journal: every page is in the file.
    QFile file(m_pristine);
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_bytes = file.readAll();
    QVERIFY(!QFile::exists(m_pristine + QStringLiteral("-wal")));
    {
        auto db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("schema"));
        db.setDatabaseName(m_pristine);
        QVERIFY(db.open());
        QSqlQuery root(QStringLiteral("SELECT rootpage FROM sqlite_master WHERE name = 'tasks'"),
                       db);
        QVERIFY(root.next());
        m_tasksRoot = root.value(0).toInt();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("schema"));
}

void TestStoreDamage::everyDamagedPageIsRefusedOrHarmless() {
    constexpr int pageSize = 4096;
    const int pages = int(m_bytes.size() / pageSize);
    QVERIFY(pages > 20);
    QRandomGenerator random(7);
    int refused = 0;
    // Page 1 holds the header and the schema; a damaged one is not a database at all.
    for (int page = 2; page <= pages; ++page) {
        const QString path = m_dir.filePath(QStringLiteral("page-%1.store").arg(page));
        QByteArray damaged = m_bytes;
        for (int i = 0; i < pageSize; ++i)
            damaged[(page - 1) * pageSize + i] = char(random.bounded(256));
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(damaged) == damaged.size());
        }

        for (const auto mode :
             {ModelContext::OpenMode::readWrite, ModelContext::OpenMode::readOnly}) {
            QString error;
            auto context = ModelContext::open(path, &error, mode);
            if (!context) {
                QVERIFY2(error.contains(QStringLiteral("damaged")) ||
                             error.contains(QStringLiteral("not a readable store")),
                         qPrintable(QStringLiteral("page %1: %2").arg(page).arg(error)));
                continue;
            }
            // Opened: then the board it shows is the whole board.
            QCOMPARE(context->tasks().size(), taskCount);
            QVERIFY(mode == ModelContext::OpenMode::readOnly);
        }

        // What --list and --count-today read: the whole board, or a refusal.
        QString error;
        if (auto tables = ModelContext::open(path, &error, ModelContext::OpenMode::query)) {
            const StoreQuery query(QSqlDatabase::database(tables->connectionName()),
                                   QDateTime::currentDateTimeUtc());
            int listed = 0;
            const bool read = query.forEachTask(
                {}, [&listed](Bucket, const TaskItem&) { ++listed; }, &error);
            QVERIFY2(!read || listed == taskCount,
                     qPrintable(QStringLiteral("page %1: %2 listed").arg(page).arg(listed)));
        }

        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY2(file.readAll() == damaged,
                 qPrintable(QStringLiteral("page %1 was written to").arg(page)));

        auto salvaged = ModelContext::open(path, &error, ModelContext::OpenMode::salvage);
        if (!salvaged)
            continue;
        ++refused;
        const qsizetype read = salvaged->tasks().size();
        if (read < taskCount)
            QVERIFY(!salvaged->damage().isEmpty());
        // One 4 KiB leaf holds a dozen or so of these rows; everything else comes back. The
        // table's root is the way to every leaf: with it gone nothing can be found.
        if (page != m_tasksRoot)
            QVERIFY2(read >= taskCount - 20,
                     qPrintable(QStringLiteral("page %1: only %2 salvaged").arg(page).arg(read)));
        QSet<QString> titles;
        for (const TaskItem* task : salvaged->tasks())
            titles.insert(task->title());
        QCOMPARE(titles.size(), read);
    }
    QVERIFY(refused > pages / 2);
}

void TestStoreDamage::readingAnUnwrittenFileLeavesItAsItWas() {
    const QString path = m_dir.filePath(QStringLiteral("empty.store"));
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QString error;
    {
        auto context = ModelContext::open(path, &error, ModelContext::OpenMode::readOnly);
        QVERIFY2(context, qPrintable(error));
        QVERIFY(context->tasks().isEmpty());
        context->insert(new TaskItem(QStringLiteral("x"), 1, QDateTime::currentDateTimeUtc()));
        QVERIFY(!context->save(&error));
    }
    QCOMPARE(QFileInfo(path).size(), 0);
}

// The -wal deleted while the board runs: a reader of the file must find every save made
// before and after, as it would after the board is killed.
void TestStoreDamage::savesOutliveAJournalDeletedUnderTheBoard() {
    const QString path = m_dir.filePath(QStringLiteral("journal.store"));
    QVERIFY(QFile::copy(m_pristine, path));
    QString error;
    auto board = ModelContext::open(path, &error);
    QVERIFY2(board, qPrintable(error));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    board->tasks().first()->setTitle(QStringLiteral("saved before"));
    QVERIFY2(board->save(&error), qPrintable(error));
    QVERIFY(QFile::remove(path + QStringLiteral("-wal")));
    board->insert(new TaskItem(QStringLiteral("saved after"), taskCount, now));
    QVERIFY2(board->save(&error), qPrintable(error));
    QVERIFY(QFile::exists(path + QStringLiteral("-wal")));

    auto reader = ModelContext::open(path, &error, ModelContext::OpenMode::readOnly);
    QVERIFY2(reader, qPrintable(error));
    QStringList titles;
    for (const TaskItem* task : reader->tasks())
        titles << task->title();
    QCOMPARE(titles.size(), taskCount + 1);
    QVERIFY(titles.contains(QStringLiteral("saved before")));
    QVERIFY(titles.contains(QStringLiteral("saved after")));
}

QTEST_GUILESS_MAIN(TestStoreDamage)
#include "tst_storedamage.moc"
