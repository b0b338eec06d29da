#include "BoardTestSupport.h"
#include "ModelContext.h"
#include "RichText.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QPointer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <limits>
#include <optional>

namespace {

constexpr qint64 kMin = std::numeric_limits<qint64>::min();
constexpr qint64 kMax = std::numeric_limits<qint64>::max();

const QDateTime kNow = QDateTime(QDate(2025, 3, 14), QTime(9, 26, 53, 589), Qt::UTC);

// Draws field values with a bias towards the values that break stores: empty, huge, non-ASCII,
// extreme numbers and dates, and no value at all.
class RecordGenerator {
public:
    explicit RecordGenerator(quint32 seed)
        : m_random(seed) {}

    bool chance(int percent) { return int(m_random.bounded(100)) < percent; }

    template <typename T> const T& pick(const QList<T>& values) {
        return values.at(int(m_random.bounded(qsizetype(values.size()))));
    }

    QString text() {
        static const QList<QString> edges = {
            QString(),
            QStringLiteral(""),
            QStringLiteral("买牛奶"),
            QStringLiteral("周报：第 12 周，整理「稍后」一栏"),
            QStringLiteral("emoji 🥛🧾 and a family 👩‍👩‍👧"),
            QStringLiteral("مرحبا بالعالم"),
            QStringLiteral("e\u0301 combining"),
            QStringLiteral("quotes ' \" ; DROP TABLE tasks; --"),
            QStringLiteral("line one\nline two\r\n\ttabbed"),
            QStringLiteral("  padded  "),
            QString(6000, QChar(u'长')) + QStringLiteral("end"),
        };
        if (chance(50))
            return pick(edges);
        QString out;
        const int length = int(m_random.bounded(300));
        for (int i = 0; i < length; ++i) {
            if (chance(10)) {
                // A character outside the basic plane, as a surrogate pair.
                const char32_t ucs4 = 0x10000 + m_random.bounded(0xFFFFF - 0x10000);
                out += QString::fromUcs4(&ucs4, 1);
            } else {
                char16_t unit = char16_t(0x20 + m_random.bounded(0xD7FF - 0x20));
                out += QChar(unit);
            }
        }
        return out;
    }

    QByteArray noteData() {
        switch (m_random.bounded(4)) {
        case 0:
            return {};
        case 1: {
            QList<TextRun> runs;
            const int count = 1 + int(m_random.bounded(6));
            for (int i = 0; i < count; ++i) {
                TextRun run;
                run.text = text() + QStringLiteral("\n");
                run.bold = chance(50);
                run.italic = chance(50);
                run.underline = chance(30);
                run.strikethrough = chance(30);
                run.bullet = chance(30);
                runs << run;
            }
            return RichText(runs).toJson();
        }
        case 2: {
            // Bytes that are not text at all, zeros included: the blob is kept as it is.
            QByteArray bytes(int(m_random.bounded(2000)) + 1, Qt::Uninitialized);
            for (char& byte : bytes)
                byte = char(m_random.bounded(256));
            bytes[0] = '\0';
            return bytes;
        }
        default:
            return QByteArrayLiteral("{\"runs\": [ not json");
        }
    }

    QDateTime date(bool allowNone = true) {
        static const QList<QDateTime> edges = {
            QDateTime::fromMSecsSinceEpoch(0, Qt::UTC),
            QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC),
            QDateTime::fromMSecsSinceEpoch(1, Qt::UTC),
            QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC),
            QDateTime(QDate(1900, 1, 1), QTime(0, 0), Qt::UTC),
            QDateTime(QDate(2038, 1, 19), QTime(3, 14, 8), Qt::UTC),
            QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59, 999), Qt::UTC),
            // A day as the board stores it: the start of a local day.
            QDateTime(QDate(2024, 3, 31), QTime(0, 0)),
            QDateTime(QDate(2024, 10, 27), QTime(0, 0)),
        };
        if (allowNone && chance(25))
            return {};
        if (chance(40))
            return pick(edges);
        const qint64 from = QDateTime(QDate(1900, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
        const qint64 to = QDateTime(QDate(2200, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
        return QDateTime::fromMSecsSinceEpoch(from + qint64(m_random.bounded(quint64(to - from))),
                                              Qt::UTC);
    }

    qint64 integer() {
        static const QList<qint64> edges = {kMin, kMax, 0, -1, 1, kMin + 1, kMax - 1};
        return chance(40) ? pick(edges) : qint64(m_random.generate64());
    }

    std::optional<qint64> optionalInteger() {
        if (chance(35))
            return std::nullopt;
        return chance(50) ? integer() : qint64(m_random.bounded(1, 54));
    }

    void fill(TaskItem* task, const QList<TaskCategory*>& categories) {
        task->setTitle(text());
        task->setNote(text());
        task->setNoteData(noteData());
        task->setCompleted(chance(40));
        task->setCompletedAt(date());
        task->setDueDate(date());
        if (chance(85)) {
            const auto year = optionalInteger();
            task->setWeek(year, year ? std::optional<qint64>(optionalInteger().value_or(1))
                                     : std::nullopt);
        } else {
            // Stores never pair the two; the file keeps what it is given all the same.
            task->setWeek(optionalInteger(), optionalInteger());
        }
        task->setReminderAt(date());
        task->setScheduledExplicitly(chance(50));
        task->setCategory(categories.isEmpty() || chance(30) ? nullptr : pick(categories));
        task->setSortIndex(integer());
        task->setUpdatedAt(date(false));
    }

    void fill(TaskCategory* category) {
        category->setName(text());
        static const QList<QString> colors = {TaskCategory::defaultColorHex,
                                              QStringLiteral("FF6B6B"), QStringLiteral("ff00aa"),
                                              QString(), QStringLiteral("颜色")};
        category->setColorHex(pick(colors));
        category->setSortIndex(integer());
    }

    TaskItem* newTask(const QList<TaskCategory*>& categories) {
        auto* task = chance(50) ? new TaskItem(text(), integer(), date(false))
                                : new TaskItem(QUuid::createUuid(), date(false));
        fill(task, categories);
        return task;
    }

    TaskCategory* newCategory() {
        auto* category = chance(50) ? new TaskCategory(text(), QString(), integer(), date(false))
                                    : new TaskCategory(QUuid::createUuid(), date(false));
        fill(category);
        return category;
    }

    QRandomGenerator& random() { return m_random; }

private:
    QRandomGenerator m_random;
};

// The table rows' actions work on a small saved board.
struct Board {
    std::unique_ptr<ModelContext> context;
    TaskCategory* work = nullptr;
    TaskCategory* home = nullptr;
    TaskItem* a = nullptr; // in work
    TaskItem* b = nullptr; // in work
    TaskItem* c = nullptr; // in no list
};

using BoardAction = std::function<void(Board&)>;

} // namespace

Q_DECLARE_METATYPE(BoardAction)

class TestModelContext : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void randomisedRoundTrip();
    void fieldWritesReachTheDisk_data();
    void fieldWritesReachTheDisk();
    void changeSignals_data();
    void changeSignals();
    void insertRemoveSaveSemantics();
    void foreignAndRepeatedInserts();
    void removingAListNullsItsTasks();
    void writesToADeletedRecordTouchNothing();
    void pendingChangeLog();
    void unrecordedSavesAreNotListed();
    void schemaVersionIsWritten();

private:
    [[nodiscard]] QString storePath() const { return m_dir->filePath(QStringLiteral("t.store")); }
    std::unique_ptr<ModelContext> openStore();
    void reopen(std::unique_ptr<ModelContext>& context);
    void compareContexts(const ModelContext& expected, const ModelContext& actual);
    Board makeBoard();

    std::unique_ptr<QTemporaryDir> m_dir;
    quint32 m_seed = 0;
};

void TestModelContext::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    qRegisterMetaType<TaskItem*>();
    qRegisterMetaType<TaskCategory*>();
    bool fixed = false;
    m_seed = quint32(qEnvironmentVariableIntValue("TAVIK_TEST_SEED", &fixed));
    if (!fixed)
        m_seed = QRandomGenerator::global()->generate();
    // Printed so that a failing run can be repeated with TAVIK_TEST_SEED.
    qInfo("random seed %u", m_seed);
}

void TestModelContext::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestModelContext::cleanup() {
    m_dir.reset();
}

std::unique_ptr<ModelContext> TestModelContext::openStore() {
    QString error;
    auto context = ModelContext::open(storePath(), &error);
    if (!context)
        qWarning("open failed: %s", qPrintable(error));
    return context;
}

void TestModelContext::reopen(std::unique_ptr<ModelContext>& context) {
    context.reset();
    context = openStore();
    QVERIFY(context);
    QVERIFY(!context->hasChanges());
}

void TestModelContext::compareContexts(const ModelContext& expected, const ModelContext& actual) {
    QCOMPARE(BoardTest::snapshot(actual), BoardTest::snapshot(expected));
    for (const TaskItem* loaded : actual.tasks()) {
        QCOMPARE(loaded->modelContext(), &actual);
        // The link is to the loaded list object itself, not to a copy of it.
        if (loaded->category())
            QCOMPARE(loaded->category(), actual.category(loaded->category()->id()));
    }
}

Board TestModelContext::makeBoard() {
    Board board;
    board.context = openStore();
    if (!board.context)
        return board;
    board.work = new TaskCategory(QStringLiteral("工作"), QStringLiteral("FF6B6B"), 0, kNow);
    board.home = new TaskCategory(QStringLiteral("家"), QStringLiteral("4ECDC4"), 1, kNow);
    board.context->insert(board.work);
    board.context->insert(board.home);
    board.a = new TaskItem(QStringLiteral("a"), 3, kNow);
    board.b = new TaskItem(QStringLiteral("b"), 2, kNow);
    board.c = new TaskItem(QStringLiteral("c"), 1, kNow);
    board.a->setCategory(board.work);
    board.b->setCategory(board.work);
    board.context->insert(board.a);
    board.context->insert(board.b);
    board.context->insert(board.c);
    if (!board.context->save())
        board.context.reset();
    return board;
}

void TestModelContext::randomisedRoundTrip() {
    RecordGenerator generate(m_seed);
    auto context = openStore();
    QVERIFY(context);

    QList<TaskCategory*> categories;
    for (int i = 0; i < 40; ++i) {
        categories << generate.newCategory();
        context->insert(categories.last());
    }
    for (int i = 0; i < 600; ++i)
        context->insert(generate.newTask(categories));

    QString error;
    QVERIFY2(context->save(&error), qPrintable(error));
    QVERIFY(!context->hasChanges());
    auto reopened = openStore();
    QVERIFY(reopened);
    compareContexts(*context, *reopened);
    if (QTest::currentTestFailed())
        return;

    // A second generation of edits, removals and inserts over the reopened store.
    context = std::move(reopened);
    categories = context->categories();
    for (int i = 0; i < 5; ++i)
        context->remove(categories.takeAt(int(generate.random().bounded(categories.size()))));
    for (TaskCategory* category : std::as_const(categories)) {
        if (generate.chance(30))
            generate.fill(category);
    }
    const QList<TaskItem*> tasks = context->tasks();
    for (TaskItem* task : tasks) {
        const int roll = int(generate.random().bounded(10));
        if (roll == 0)
            context->remove(task);
        else if (roll < 4)
            generate.fill(task, categories);
    }
    for (int i = 0; i < 100; ++i)
        context->insert(generate.newTask(categories));

    QVERIFY2(context->save(&error), qPrintable(error));
    reopened = openStore();
    QVERIFY(reopened);
    compareContexts(*context, *reopened);
}

void TestModelContext::fieldWritesReachTheDisk_data() {
    QTest::addColumn<BoardAction>("write");

    const QDateTime moment = QDateTime(QDate(2031, 7, 4), QTime(18, 5, 7, 123), Qt::UTC);
    QTest::newRow("title") << BoardAction([](Board& b) { b.a->setTitle(QStringLiteral("新")); });
    QTest::newRow("title to empty") << BoardAction([](Board& b) { b.a->setTitle(QString()); });
    QTest::newRow("note") << BoardAction([](Board& b) { b.a->setNote(QStringLiteral("note")); });
    QTest::newRow("noteData") << BoardAction([](Board& b) {
        b.a->setNoteData(RichText({TextRun{QStringLiteral("x"), true}}).toJson());
    });
    QTest::newRow("rich note") << BoardAction([moment](Board& b) {
        b.a->setRichNote(
            RichText({TextRun{QStringLiteral("粗体"), true}, TextRun{QStringLiteral(" plain\n")},
                      TextRun{QStringLiteral("item"), false, false, false, false, true}}),
            moment);
    });
    QTest::newRow("completed") << BoardAction([](Board& b) { b.a->setCompleted(true); });
    QTest::newRow("completedAt") << BoardAction(
        [moment](Board& b) { b.a->setCompletedAt(moment); });
    QTest::newRow("dueDate") << BoardAction([moment](Board& b) { b.a->setDueDate(moment); });
    QTest::newRow("week") << BoardAction([](Board& b) { b.a->setWeek(2026, 53); });
    QTest::newRow("week extremes") << BoardAction([](Board& b) { b.a->setWeek(kMin, kMax); });
    QTest::newRow("reminderAt") << BoardAction([moment](Board& b) { b.a->setReminderAt(moment); });
    QTest::newRow("scheduledExplicitly")
        << BoardAction([](Board& b) { b.a->setScheduledExplicitly(true); });
    QTest::newRow("category to another") << BoardAction([](Board& b) { b.a->setCategory(b.home); });
    QTest::newRow("category to none") << BoardAction([](Board& b) { b.a->setCategory(nullptr); });
    QTest::newRow("sortIndex min") << BoardAction([](Board& b) { b.a->setSortIndex(kMin); });
    QTest::newRow("sortIndex max") << BoardAction([](Board& b) { b.a->setSortIndex(kMax); });
    QTest::newRow("updatedAt") << BoardAction([moment](Board& b) { b.a->setUpdatedAt(moment); });
    QTest::newRow("list name") << BoardAction([](Board& b) { b.work->setName(QString()); });
    QTest::newRow("list colour") << BoardAction(
        [](Board& b) { b.work->setColorHex(QStringLiteral("00FF00")); });
    QTest::newRow("list sortIndex") << BoardAction([](Board& b) { b.work->setSortIndex(kMin); });
}

void TestModelContext::fieldWritesReachTheDisk() {
    QFETCH(BoardAction, write);
    Board board = makeBoard();
    QVERIFY(board.context);
    QVERIFY(!board.context->hasChanges());

    write(board);
    QVERIFY(board.context->hasChanges());
    QString error;
    QVERIFY2(board.context->save(&error), qPrintable(error));
    QVERIFY(!board.context->hasChanges());

    auto reopened = openStore();
    QVERIFY(reopened);
    compareContexts(*board.context, *reopened);
}

void TestModelContext::changeSignals_data() {
    QTest::addColumn<BoardAction>("action");
    QTest::addColumn<QList<int>>("counts"); // inserted, removed, changed: tasks, then lists
    QTest::addColumn<bool>("hasChanges");

    QTest::newRow("insert a task") << BoardAction([](Board& b) {
        b.context->insert(new TaskItem(QStringLiteral("new"), 9, kNow));
    }) << QList<int>{1, 0, 0, 0, 0, 0}
                                   << true;
    QTest::newRow("insert the same task twice") << BoardAction([](Board& b) {
        auto* task = new TaskItem(QStringLiteral("new"), 9, kNow);
        b.context->insert(task);
        b.context->insert(task);
    }) << QList<int>{1, 0, 0, 0, 0, 0} << true;
    QTest::newRow("edit a field") << BoardAction(
                                         [](Board& b) { b.a->setTitle(QStringLiteral("edited")); })
                                  << QList<int>{0, 0, 1, 0, 0, 0} << true;
    QTest::newRow("write the same value") << BoardAction([](Board& b) {
        b.a->setTitle(QStringLiteral("a"));
        b.a->setCategory(b.work);
        b.a->setSortIndex(3);
        b.a->setDueDate({});
    }) << QList<int>{0, 0, 0, 0, 0, 0} << false;
    QTest::newRow("remove a task") << BoardAction([](Board& b) { b.context->remove(b.a); })
                                   << QList<int>{0, 1, 0, 0, 0, 0} << true;
    QTest::newRow("remove a task twice") << BoardAction([](Board& b) {
        b.context->remove(b.a);
        b.context->remove(b.a);
    }) << QList<int>{0, 1, 0, 0, 0, 0} << true;
    QTest::newRow("write to a removed task") << BoardAction([](Board& b) {
        b.context->remove(b.c);
        b.c->setTitle(QStringLiteral("ghost"));
        b.c->setCategory(b.home);
    }) << QList<int>{0, 1, 0, 0, 0, 0} << true;
    QTest::newRow("insert, then remove before saving") << BoardAction([](Board& b) {
        auto* task = new TaskItem(QStringLiteral("brief"), 9, kNow);
        b.context->insert(task);
        task->setTitle(QStringLiteral("briefer"));
        b.context->remove(task);
    }) << QList<int>{1, 1, 1, 0, 0, 0} << false;
    QTest::newRow("insert a list") << BoardAction([](Board& b) {
        b.context->insert(new TaskCategory(QStringLiteral("新"), QString(), 5, kNow));
    }) << QList<int>{0, 0, 0, 1, 0, 0}
                                   << true;
    QTest::newRow("rename a list")
        << BoardAction([](Board& b) { b.home->setName(QStringLiteral("家里")); })
        << QList<int>{0, 0, 0, 0, 0, 1} << true;
    QTest::newRow("remove a list with two tasks")
        << BoardAction([](Board& b) { b.context->remove(b.work); }) << QList<int>{0, 0, 2, 0, 1, 0}
        << true;
    QTest::newRow("remove a task, then its list") << BoardAction([](Board& b) {
        b.context->remove(b.a);
        b.context->remove(b.work);
    }) << QList<int>{0, 1, 1, 0, 1, 0} << true;
    QTest::newRow("remove an empty list")
        << BoardAction([](Board& b) { b.context->remove(b.home); }) << QList<int>{0, 0, 0, 0, 1, 0}
        << true;
}

void TestModelContext::changeSignals() {
    QFETCH(BoardAction, action);
    QFETCH(QList<int>, counts);
    QFETCH(bool, hasChanges);

    Board board = makeBoard();
    QVERIFY(board.context);
    ModelContext* context = board.context.get();
    QSignalSpy taskInserted(context, &ModelContext::taskInserted);
    QSignalSpy taskRemoved(context, &ModelContext::taskRemoved);
    QSignalSpy taskChanged(context, &ModelContext::taskChanged);
    QSignalSpy categoryInserted(context, &ModelContext::categoryInserted);
    QSignalSpy categoryRemoved(context, &ModelContext::categoryRemoved);
    QSignalSpy categoryChanged(context, &ModelContext::categoryChanged);

    action(board);

    const QList<int> actual = {int(taskInserted.size()),    int(taskRemoved.size()),
                               int(taskChanged.size()),     int(categoryInserted.size()),
                               int(categoryRemoved.size()), int(categoryChanged.size())};
    QCOMPARE(actual, counts);
    QCOMPARE(context->hasChanges(), hasChanges);

    // Each signal names a record the context knows (or knew, for removals).
    for (const QList<QVariant>& args : std::as_const(taskChanged)) {
        auto* task = args.at(0).value<TaskItem*>();
        QCOMPARE(task->modelContext(), context);
        QCOMPARE(context->task(task->id()) != nullptr, !task->isDeleted());
    }
    for (const QList<QVariant>& args : std::as_const(taskRemoved)) {
        auto* task = args.at(0).value<TaskItem*>();
        QVERIFY(task->isDeleted());
        QVERIFY(!context->task(task->id()));
        QVERIFY(!context->tasks().contains(task));
    }
    for (const QList<QVariant>& args : std::as_const(categoryRemoved)) {
        auto* category = args.at(0).value<TaskCategory*>();
        QVERIFY(category->isDeleted());
        QVERIFY(!context->categories().contains(category));
    }

    // What the context says now is what the file says after a save.
    QString error;
    QVERIFY2(context->save(&error), qPrintable(error));
    auto reopened = openStore();
    QVERIFY(reopened);
    compareContexts(*context, *reopened);
}

void TestModelContext::insertRemoveSaveSemantics() {
    auto context = openStore();
    QVERIFY(context);
    QVERIFY(!context->hasChanges());
    QVERIFY(context->save()); // nothing to do is a success
    QVERIFY(context->tasks().isEmpty());

    auto* kept = new TaskItem(QStringLiteral("kept"), 1, kNow);
    auto* dropped = new TaskItem(QStringLiteral("dropped"), 2, kNow);
    context->insert(kept);
    context->insert(dropped);
    QCOMPARE(context->task(kept->id()), kept);
    QCOMPARE(kept->modelContext(), context.get());
    QVERIFY(context->hasChanges());
    QVERIFY(context->save());
    QVERIFY(!context->hasChanges());

    const QUuid droppedId = dropped->id();
    context->remove(dropped);
    QVERIFY(context->hasChanges());
    QVERIFY(!context->task(droppedId));
    QCOMPARE(context->tasks(), QList<TaskItem*>{kept});

    // Before the save, the file still holds the removed task.
    {
        auto onDisk = openStore();
        QVERIFY(onDisk);
        QVERIFY(onDisk->task(droppedId));
    }
    QVERIFY(context->save());
    reopen(context);
    QCOMPARE(context->tasks().size(), 1);
    QVERIFY(!context->task(droppedId));
    QCOMPARE(context->tasks().first()->title(), QStringLiteral("kept"));

    // A change undone before the save still counts as a change; the file ends up the same.
    TaskItem* task = context->tasks().first();
    task->setTitle(QStringLiteral("other"));
    task->setTitle(QStringLiteral("kept"));
    QVERIFY(context->save());
    reopen(context);
    QCOMPARE(context->tasks().first()->title(), QStringLiteral("kept"));
}

void TestModelContext::foreignAndRepeatedInserts() {
    auto first = openStore();
    QVERIFY(first);
    QString error;
    auto second = ModelContext::open(m_dir->filePath(QStringLiteral("other.store")), &error);
    QVERIFY2(second, qPrintable(error));

    auto* task = new TaskItem(QStringLiteral("mine"), 1, kNow);
    auto* category = new TaskCategory(QStringLiteral("list"), QString(), 0, kNow);
    first->insert(task);
    first->insert(category);
    QVERIFY(first->save());

    QSignalSpy inserted(second.get(), &ModelContext::taskInserted);
    second->insert(task);
    second->insert(category);
    QCOMPARE(inserted.size(), 0);
    QVERIFY(!second->hasChanges());
    QVERIFY(second->tasks().isEmpty());
    QVERIFY(second->categories().isEmpty());
    QCOMPARE(task->modelContext(), first.get());

    // A removed record can't come back through insert.
    first->remove(task);
    first->insert(task);
    QVERIFY(!first->task(task->id()));
    QVERIFY(first->save());
    reopen(first);
    QVERIFY(first->tasks().isEmpty());
    QCOMPARE(first->categories().size(), 1);

    first->insert(static_cast<TaskItem*>(nullptr));
    first->insert(static_cast<TaskCategory*>(nullptr));
    first->remove(static_cast<TaskItem*>(nullptr));
    QVERIFY(!first->hasChanges());
}

void TestModelContext::removingAListNullsItsTasks() {
    Board board = makeBoard();
    QVERIFY(board.context);
    // A task inserted but not saved yet loses its list too.
    auto* fresh = new TaskItem(QStringLiteral("fresh"), 7, kNow);
    fresh->setCategory(board.work);
    board.context->insert(fresh);
    board.c->setCategory(board.home);
    QVERIFY(board.context->save());

    QSignalSpy aCategory(board.a, &TaskItem::categoryChanged);
    const QUuid workId = board.work->id();
    board.context->remove(board.work);
    QCOMPARE(aCategory.size(), 1);
    QCOMPARE(board.a->category(), nullptr);
    QCOMPARE(board.b->category(), nullptr);
    QCOMPARE(fresh->category(), nullptr);
    QCOMPARE(board.c->category(), board.home);
    QVERIFY(!board.context->category(workId));

    QString error;
    QVERIFY2(board.context->save(&error), qPrintable(error));
    auto reopened = openStore();
    QVERIFY(reopened);
    QCOMPARE(reopened->tasks().size(), 4);
    QCOMPARE(reopened->categories().size(), 1);
    QVERIFY(!reopened->category(workId));
    QCOMPARE(reopened->task(board.a->id())->category(), nullptr);
    QCOMPARE(reopened->task(board.b->id())->category(), nullptr);
    QCOMPARE(reopened->task(fresh->id())->category(), nullptr);
    QCOMPARE(reopened->task(board.c->id())->category(), reopened->category(board.home->id()));

    // No row still names the deleted list, so no other reader finds a dangling link.
    BoardTest::SideConnection peek(storePath());
    QCOMPARE(peek.value(QStringLiteral("SELECT COUNT(*) FROM tasks WHERE category_id = '%1'")
                            .arg(workId.toString(QUuid::WithoutBraces)))
                 .toInt(),
             0);
}

void TestModelContext::writesToADeletedRecordTouchNothing() {
    Board board = makeBoard();
    QVERIFY(board.context);
    ModelContext* context = board.context.get();

    // A deferred write (say the completion delay of a row) still holds the task.
    QPointer<TaskItem> held = board.a;
    QPointer<TaskCategory> heldList = board.home;
    const QUuid id = board.a->id();
    context->remove(board.a);
    context->remove(board.home);
    held->setCompleted(true, kNow);
    held->setTitle(QStringLiteral("ghost"));
    heldList->setName(QStringLiteral("ghost list"));
    QVERIFY(context->save());
    QVERIFY(!context->hasChanges());

    // Held past the save as well: still nothing reaches the file.
    QVERIFY(held);
    QSignalSpy changed(context, &ModelContext::taskChanged);
    held->setTitle(QStringLiteral("ghost again"));
    held->setSortIndex(kMax);
    heldList->setSortIndex(kMax);
    QCOMPARE(changed.size(), 0);
    QVERIFY(!context->hasChanges());
    board.b->setTitle(QStringLiteral("b2")); // an unrelated save must not carry the ghost along
    QVERIFY(context->save());

    auto reopened = openStore();
    QVERIFY(reopened);
    QVERIFY(!reopened->task(id));
    QCOMPARE(reopened->tasks().size(), 2);
    QCOMPARE(reopened->categories().size(), 1);
    QCOMPARE(reopened->task(board.b->id())->title(), QStringLiteral("b2"));

    // Pending changes name the removals as removals, never as live records.
    for (const RecordChange& change : context->pendingChanges()) {
        if (change.id == id)
            QVERIFY(change.deleted);
    }
}

void TestModelContext::pendingChangeLog() {
    auto context = openStore();
    QVERIFY(context);
    QVERIFY(context->pendingChanges().isEmpty());

    auto* list = new TaskCategory(QStringLiteral("list"), QString(), 0, kNow);
    auto* first = new TaskItem(QStringLiteral("first"), 1, kNow);
    auto* second = new TaskItem(QStringLiteral("second"), 2, kNow);
    first->setCategory(list);
    context->insert(list);
    context->insert(first);
    context->insert(second);
    QVERIFY(context->save());

    // The latest entry per record, checked against what happened to it.
    auto latest = [&context]() {
        QHash<QUuid, RecordChange> out;
        for (const RecordChange& change : context->pendingChanges())
            out.insert(change.id, change);
        return out;
    };
    auto changes = latest();
    QCOMPARE(changes.size(), 3);
    QCOMPARE(changes.value(list->id()).kind, RecordChange::Kind::category);
    QCOMPARE(changes.value(first->id()).kind, RecordChange::Kind::task);
    QVERIFY(!changes.value(second->id()).deleted);

    // A save with nothing to write adds nothing.
    QVERIFY(context->save());
    QCOMPARE(latest().size(), 3);

    const QList<RecordChange> all = context->pendingChanges();
    QVERIFY(std::is_sorted(all.cbegin(), all.cend(),
                           [](const auto& l, const auto& r) { return l.seq < r.seq; }));
    const qint64 acknowledged = all.last().seq;
    context->acknowledgeChanges(acknowledged);
    QVERIFY(context->pendingChanges().isEmpty());

    // After the acknowledgement: a removal, an edit, and a list removal that edits a task.
    const QUuid secondId = second->id();
    const QUuid listId = list->id();
    context->remove(second);
    context->remove(list);
    QVERIFY(context->save());
    changes = latest();
    QCOMPARE(changes.size(), 3);
    QVERIFY(changes.value(secondId).deleted);
    QCOMPARE(changes.value(secondId).kind, RecordChange::Kind::task);
    QVERIFY(changes.value(listId).deleted);
    QCOMPARE(changes.value(listId).kind, RecordChange::Kind::category);
    QVERIFY(!changes.value(first->id()).deleted); // it lost its list
    for (const RecordChange& change : changes)
        QVERIFY(change.seq > acknowledged);

    // Acknowledging part of the log keeps the rest, across a reopen too.
    const QList<RecordChange> before = context->pendingChanges();
    context->acknowledgeChanges(before.first().seq);
    reopen(context);
    const QList<RecordChange> after = context->pendingChanges();
    QCOMPARE(after.size(), before.size() - 1);
    for (int i = 0; i < after.size(); ++i) {
        QCOMPARE(after.at(i).id, before.at(i + 1).id);
        QCOMPARE(after.at(i).seq, before.at(i + 1).seq);
        QCOMPARE(after.at(i).deleted, before.at(i + 1).deleted);
    }

    // With the whole log acknowledged and the store reopened, numbering still goes on: a number
    // handed out twice would let an old acknowledgement swallow a change nobody uploaded.
    const qint64 lastSeq = after.last().seq;
    context->acknowledgeChanges(lastSeq);
    reopen(context);
    QVERIFY(context->pendingChanges().isEmpty());
    context->tasks().first()->setTitle(QStringLiteral("first, again"));
    QVERIFY(context->save());
    QCOMPARE(context->pendingChanges().size(), 1);
    QVERIFY(context->pendingChanges().first().seq > lastSeq);
}

void TestModelContext::unrecordedSavesAreNotListed() {
    auto context = openStore();
    QVERIFY(context);

    // The mirror applying the server's records: nothing to send back.
    context->setRecordingChanges(false);
    auto* imported = new TaskItem(QStringLiteral("from the server"), 1, kNow);
    context->insert(imported);
    QVERIFY(context->save());
    QVERIFY(context->pendingChanges().isEmpty());

    context->setRecordingChanges(true);
    auto* local = new TaskItem(QStringLiteral("typed here"), 2, kNow);
    context->insert(local);
    QVERIFY(context->save());
    QList<RecordChange> changes = context->pendingChanges();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.first().id, local->id());

    // A local edit of the imported record is the user's and goes out.
    imported->setTitle(QStringLiteral("edited here"));
    QVERIFY(context->save());
    changes = context->pendingChanges();
    QCOMPARE(changes.size(), 2);
    QCOMPARE(changes.last().id, imported->id());

    // Unrecorded saves still write the records.
    const QUuid importedId = imported->id();
    reopen(context);
    QCOMPARE(context->tasks().size(), 2);
    QCOMPARE(context->task(importedId)->title(), QStringLiteral("edited here"));
}

void TestModelContext::schemaVersionIsWritten() {
    QVERIFY(openStore());
    BoardTest::SideConnection peek(storePath());
    QCOMPARE(peek.value(QStringLiteral("PRAGMA user_version")).toInt(),
             ModelContext::schemaVersion);
    // The write-ahead log is what keeps a save whole across a crash.
    QCOMPARE(peek.value(QStringLiteral("PRAGMA journal_mode")).toString(), QStringLiteral("wal"));
}

QTEST_GUILESS_MAIN(TestModelContext)
#include "tst_modelcontext.moc"
