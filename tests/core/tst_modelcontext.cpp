#include "BoardTestSupport.h"
#include "ModelContext.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QPointer>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <functional>
#include <limits>

namespace {

constexpr qint64 kMin = std::numeric_limits<qint64>::min();
constexpr qint64 kMax = std::numeric_limits<qint64>::max();

const QDateTime kNow = QDateTime(QDate(2025, 3, 14), QTime(9, 26, 53, 589), Qt::UTC);

// Two lists and three tasks, saved; `context` is null if the save failed.
struct Board : BoardTest::Store {
    TaskCategory* work =
        new TaskCategory(QStringLiteral("工作"), QStringLiteral("FF6B6B"), 0, kNow);
    TaskCategory* home = new TaskCategory(QStringLiteral("家"), QStringLiteral("4ECDC4"), 1, kNow);
    TaskItem* a = new TaskItem(QStringLiteral("a"), 3, kNow); // in work
    TaskItem* b = new TaskItem(QStringLiteral("b"), 2, kNow); // in work
    TaskItem* c = new TaskItem(QStringLiteral("c"), 1, kNow); // in no list

    Board() {
        if (!context)
            return;
        a->setCategory(work);
        b->setCategory(work);
        for (TaskCategory* list : {work, home})
            context->insert(list);
        for (TaskItem* task : {a, b, c})
            context->insert(task);
        if (!context->save())
            context.reset();
    }
};

void compareContexts(const ModelContext& expected, const ModelContext& actual) {
    QCOMPARE(BoardTest::snapshot(actual), BoardTest::snapshot(expected));
    for (const TaskItem* loaded : actual.tasks()) {
        QCOMPARE(loaded->modelContext(), &actual);
        if (loaded->category())
            QCOMPARE(loaded->category(), actual.category(loaded->category()->id()));
    }
}

using BoardAction = std::function<void(Board&)>;

} // namespace

Q_DECLARE_METATYPE(BoardAction)

class TestModelContext : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        qRegisterMetaType<TaskItem*>();
        qRegisterMetaType<TaskCategory*>();
    }

    void changeSignals_data() {
        QTest::addColumn<BoardAction>("action");
        QTest::addColumn<QList<int>>("counts"); // inserted, removed, changed: tasks, then lists
        QTest::addColumn<bool>("hasChanges");
        const auto row = [](const char* tag, QList<int> counts, bool changes, BoardAction action) {
            QTest::newRow(tag) << action << counts << changes;
        };
        row("insert a task, twice", {1, 0, 0, 0, 0, 0}, true, [](Board& b) {
            auto* task = new TaskItem(QStringLiteral("new"), 9, kNow);
            b.context->insert(task);
            b.context->insert(task);
        });
        const QDateTime at(QDate(2031, 7, 4), QTime(18, 5, 7, 123), Qt::UTC);
        const QList<std::pair<const char*, BoardAction>> fields{
            {"title", [](Board& b) { b.a->setTitle(QStringLiteral("新")); }},
            {"note", [](Board& b) { b.a->setNote(QStringLiteral("note")); }},
            {"noteData", [](Board& b) { b.a->setNoteData(QByteArray("\0x", 2)); }},
            {"completed", [](Board& b) { b.a->setCompleted(true); }},
            {"completedAt", [at](Board& b) { b.a->setCompletedAt(at); }},
            {"dueDate", [at](Board& b) { b.a->setDueDate(at); }},
            {"week", [](Board& b) { b.a->setWeek(kMin, kMax); }},
            {"reminderAt", [at](Board& b) { b.a->setReminderAt(at); }},
            {"scheduledExplicitly", [](Board& b) { b.a->setScheduledExplicitly(true); }},
            {"category", [](Board& b) { b.a->setCategory(b.home); }},
            {"sortIndex", [](Board& b) { b.a->setSortIndex(kMax); }},
            {"updatedAt", [at](Board& b) { b.a->setUpdatedAt(at); }},
        };
        for (const auto& [field, write] : fields)
            row(qPrintable(QStringLiteral("write %1").arg(QLatin1String(field))),
                {0, 0, 1, 0, 0, 0}, true, write);
        const QList<std::pair<const char*, BoardAction>> listFields{
            {"colorHex", [](Board& b) { b.work->setColorHex(QStringLiteral("00FF00")); }},
            {"name", [](Board& b) { b.work->setName(QString()); }},
            {"sortIndex", [](Board& b) { b.work->setSortIndex(kMin); }},
        };
        for (const auto& [field, write] : listFields)
            row(qPrintable(QStringLiteral("write a list's %1").arg(QLatin1String(field))),
                {0, 0, 0, 0, 0, 1}, true, write);
        row("write the same value", {0, 0, 0, 0, 0, 0}, false, [](Board& b) {
            b.a->setTitle(QStringLiteral("a"));
            b.a->setCategory(b.work);
            b.a->setSortIndex(3);
            b.a->setDueDate({});
        });
        row("remove a task twice", {0, 1, 0, 0, 0, 0}, true, [](Board& b) {
            b.context->remove(b.a);
            b.context->remove(b.a);
        });
        row("insert, then remove before saving", {1, 1, 1, 0, 0, 0}, false, [](Board& b) {
            auto* task = new TaskItem(QStringLiteral("brief"), 9, kNow);
            b.context->insert(task);
            task->setTitle(QStringLiteral("briefer"));
            b.context->remove(task);
        });
        row("remove a list with two tasks", {0, 0, 2, 0, 1, 0}, true,
            [](Board& b) { b.context->remove(b.work); });
        row("remove a task, then its list", {0, 1, 1, 0, 1, 0}, true, [](Board& b) {
            b.context->remove(b.a);
            b.context->remove(b.work);
        });
    }

    void changeSignals() {
        QFETCH(BoardAction, action);
        QFETCH(QList<int>, counts);
        QFETCH(bool, hasChanges);

        Board board;
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
        for (const QList<QVariant>& args : std::as_const(taskRemoved))
            QVERIFY(!context->tasks().contains(args.at(0).value<TaskItem*>()));

        QString error;
        QVERIFY2(context->save(&error), qPrintable(error));
        auto reopened = board.reopen();
        QVERIFY(reopened);
        compareContexts(*context, *reopened);
    }

    void writesToADeletedRecordTouchNothing() {
        Board board;
        QVERIFY(board.context);
        ModelContext* context = board.context.get();

        QPointer<TaskItem> held = board.a;
        QPointer<TaskCategory> heldList = board.home;
        const QUuid id = board.a->id();
        context->remove(board.a);
        context->remove(board.home);
        context->insert(board.a); // a removed record does not come back
        QVERIFY(!context->task(id));
        held->setCompleted(true, kNow);
        heldList->setName(QStringLiteral("ghost list"));
        QVERIFY(context->save());
        QVERIFY(!context->hasChanges());

        QVERIFY(held);
        QSignalSpy changed(context, &ModelContext::taskChanged);
        held->setTitle(QStringLiteral("ghost again"));
        heldList->setSortIndex(kMax);
        QCOMPARE(changed.size(), 0);
        QVERIFY(!context->hasChanges());
        board.b->setTitle(QStringLiteral("b2")); // an unrelated save must not carry the ghost along
        QVERIFY(context->save());

        auto reopened = board.reopen();
        QVERIFY(reopened);
        QVERIFY(!reopened->task(id));
        QCOMPARE(reopened->tasks().size(), 2);
        QCOMPARE(reopened->categories().size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestModelContext)
#include "tst_modelcontext.moc"
