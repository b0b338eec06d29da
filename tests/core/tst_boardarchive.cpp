#include "BoardArchive.h"
#include "BoardTestSupport.h"
#include "ModelContext.h"
#include "RichText.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <limits>

using BoardTest::snapshot;
using Mutation = std::function<void(QJsonObject&)>;
Q_DECLARE_METATYPE(Mutation)

namespace {

constexpr qint64 kMin = std::numeric_limits<qint64>::min();
constexpr qint64 kMax = std::numeric_limits<qint64>::max();
// The first integer a double cannot hold: a reader that goes through double loses it.
constexpr qint64 kBeyondDouble = (qint64(1) << 53) + 1;

QDateTime utc(const char* iso) {
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs).toUTC();
}

// Records chosen to break a careless archive: extreme and double-breaking integers, a year
// without a week, raw bytes that are not JSON, moments with milliseconds and in a repeated
// daylight-saving hour, text that needs escaping, a colour the strip would not accept.
void populate(ModelContext& context) {
    auto* work = new TaskCategory(QUuid::createUuid(), utc("2025-01-02T03:04:05.678Z"));
    work->setName(QStringLiteral("工作"));
    work->setColorHex(QStringLiteral("0090FF"));
    work->setSortIndex(kMin);
    context.insert(work);

    auto* odd = new TaskCategory(QUuid::createUuid(), utc("2024-12-31T23:59:59.999Z"));
    odd->setName(QStringLiteral("quote \" back\\slash\nnew line"));
    odd->setColorHex(QStringLiteral("not a colour"));
    odd->setSortIndex(kMax);
    context.insert(odd);

    auto* full = new TaskItem(QUuid::createUuid(), utc("2025-03-29T22:15:00.001Z"));
    full->setTitle(QStringLiteral("15:00 和设计师过一遍新版方案"));
    full->setNote(QStringLiteral("复盘本周进展\n列出下周最重要的三件事"));
    full->setNoteData(RichText({TextRun{QStringLiteral("复盘"), true},
                                TextRun{QStringLiteral("本周进展\n"), false, true}})
                          .toJson());
    full->setCompleted(true);
    full->setCompletedAt(utc("2025-03-30T01:30:00.250Z"));
    full->setDueDate(utc("2025-03-29T23:00:00Z"));
    full->setWeek(2025, 13);
    full->setReminderAt(utc("2025-10-26T00:30:00Z"));
    full->setScheduledExplicitly(true);
    full->setCategory(work);
    full->setSortIndex(kBeyondDouble);
    full->setUpdatedAt(utc("2025-04-01T08:00:00.999Z"));
    context.insert(full);

    auto* bare = new TaskItem(QUuid::createUuid(), utc("2025-01-01T00:00:00Z"));
    context.insert(bare);

    auto* binary = new TaskItem(QUuid::createUuid(), utc("2025-06-01T12:00:00Z"));
    binary->setTitle(QStringLiteral("emoji 🥛 family 👩‍👩‍👧"));
    binary->setNoteData(QByteArray("\x00\xff{not json", 12));
    binary->setWeek(2026, std::nullopt);
    binary->setCategory(odd);
    binary->setSortIndex(-1);
    context.insert(binary);

    // Same sortIndex as the one above: the document still has one order.
    auto* tie = new TaskItem(QUuid::createUuid(), utc("2025-06-01T12:00:00Z"));
    tie->setTitle(QStringLiteral("tie"));
    tie->setSortIndex(-1);
    tie->setWeek(kMax, kMin);
    context.insert(tie);
}

using BoardTest::Store;

QJsonObject documentOf(const ModelContext& context) {
    return QJsonDocument::fromJson(BoardArchive::write(context)).object();
}

// Applies `change` to the first element of `array` in the document.
Mutation onFirst(const QString& array, std::function<void(QJsonObject&)> change) {
    return [array, change](QJsonObject& root) {
        QJsonArray records = root.value(array).toArray();
        QJsonObject first = records.at(0).toObject();
        change(first);
        records.replace(0, first);
        root.insert(array, records);
    };
}

Mutation setTaskField(const QString& field, const QJsonValue& value) {
    return onFirst(QStringLiteral("tasks"),
                   [field, value](QJsonObject& task) { task.insert(field, value); });
}

Mutation setCategoryField(const QString& field, const QJsonValue& value) {
    return onFirst(QStringLiteral("categories"),
                   [field, value](QJsonObject& list) { list.insert(field, value); });
}

} // namespace

class TestBoardArchive : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void roundTripKeepsEveryField() {
        Store source;
        populate(*source.context);
        QVERIFY(source.context->save());
        const QByteArray first = BoardArchive::write(*source.context);

        QString error;
        auto records = BoardArchive::read(first, &error);
        QVERIFY2(records, qPrintable(error));
        Store target;
        QVERIFY2(BoardArchive::restore(*target.context, std::move(*records), &error),
                 qPrintable(error));

        // What a restart of the restored store loads, not just what is in memory.
        auto reloaded = target.reopen();
        QVERIFY(reloaded);
        QCOMPARE(snapshot(*reloaded), snapshot(*source.context));
        QCOMPARE(BoardArchive::write(*reloaded), first);
    }

    void documentForm() {
        Store store;
        populate(*store.context);
        const QJsonObject root = documentOf(*store.context);

        QCOMPARE(root.value(QStringLiteral("format")).toString(), BoardArchive::formatName);
        QCOMPARE(root.value(QStringLiteral("version")).toInt(), BoardArchive::formatVersion);

        const QJsonArray lists = root.value(QStringLiteral("categories")).toArray();
        QCOMPARE(lists.size(), 2);
        QCOMPARE(lists.at(0)[QStringLiteral("sortIndex")], QJsonValue(QString::number(kMin)));
        QCOMPARE(lists.at(1)[QStringLiteral("sortIndex")], QJsonValue(QString::number(kMax)));

        const QJsonArray tasks = root.value(QStringLiteral("tasks")).toArray();
        QStringList order;
        for (const QJsonValue& task : tasks)
            order << task[QStringLiteral("sortIndex")].toString();
        QCOMPARE(order, (QStringList{QString::number(kBeyondDouble), QStringLiteral("0"),
                                     QStringLiteral("-1"), QStringLiteral("-1")}));
        QVERIFY(tasks.at(2)[QStringLiteral("id")].toString() <
                tasks.at(3)[QStringLiteral("id")].toString());

        const QJsonObject full = tasks.at(0).toObject();
        QCOMPARE(full.size(), 15);
        QCOMPARE(full[QStringLiteral("category")].toString(),
                 lists.at(0)[QStringLiteral("id")].toString());
        QCOMPARE(QByteArray::fromBase64(full[QStringLiteral("noteData")].toString().toLatin1()),
                 store.context->task(QUuid::fromString(full[QStringLiteral("id")].toString()))
                     ->noteData());
        // The moment in the local offset of that moment, to the millisecond.
        const QString completedAt = full[QStringLiteral("completedAt")].toString();
        const QDateTime expected = utc("2025-03-30T01:30:00.250Z");
        QVERIFY2(QRegularExpression(QStringLiteral(R"(\.250(Z|[+-]\d\d:\d\d)$)"))
                     .match(completedAt)
                     .hasMatch(),
                 qPrintable(completedAt));
        const QDateTime parsed = QDateTime::fromString(completedAt, Qt::ISODateWithMs);
        QCOMPARE(parsed.toMSecsSinceEpoch(), expected.toMSecsSinceEpoch());
        QCOMPARE(parsed.offsetFromUtc(), expected.toLocalTime().offsetFromUtc());

        const QJsonObject bare = tasks.at(1).toObject();
        for (const char* none :
             {"completedAt", "dueDate", "year", "week", "reminderAt", "category"})
            QVERIFY2(bare[QLatin1String(none)].isNull(), none);
        QCOMPARE(bare[QStringLiteral("noteData")].toString(), QString());
    }

    void emptyStoreRoundTrips() {
        Store source;
        const QByteArray document = BoardArchive::write(*source.context);
        QString error;
        auto records = BoardArchive::read(document, &error);
        QVERIFY2(records, qPrintable(error));
        QVERIFY(records->tasks.empty() && records->categories.empty());
        Store target;
        QVERIFY(BoardArchive::restore(*target.context, std::move(*records), &error));
        QCOMPARE(BoardArchive::write(*target.context), document);
    }

    void refusesMalformedText_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("reason");
        QTest::newRow("empty") << QByteArray() << "not valid JSON";
        QTest::newRow("cut short") << QByteArray("{\"format\": \"tavik-board\", ") << "not valid";
        QTest::newRow("array") << QByteArray("[]") << "not a JSON object";
        QTest::newRow("other program")
            << QByteArray(R"({"format": "todo-app", "version": 1, "categories": [], "tasks": []})")
            << "not a Tavik board";
        QTest::newRow("no format")
            << QByteArray(R"({"version": 1, "categories": [], "tasks": []})") << "format";
        QTest::newRow("newer version")
            << QByteArray(
                   R"({"format": "tavik-board", "version": 2, "categories": [], "tasks": []})")
            << "unsupported format version 2";
        QTest::newRow("version as text")
            << QByteArray(
                   R"({"format": "tavik-board", "version": "1", "categories": [], "tasks": []})")
            << "unsupported format version";
        QTest::newRow("no version")
            << QByteArray(R"({"format": "tavik-board", "categories": [], "tasks": []})")
            << "unsupported format version";
        QTest::newRow("unknown top-level field")
            << QByteArray(R"({"format": "tavik-board", "version": 1, "categories": [],
                              "tasks": [], "settings": {}})")
            << "unknown top-level field \"settings\"";
        QTest::newRow("tasks not an array")
            << QByteArray(R"({"format": "tavik-board", "version": 1, "categories": [],
                              "tasks": {}})")
            << "\"tasks\" must be an array";
        QTest::newRow("no categories")
            << QByteArray(R"({"format": "tavik-board", "version": 1, "tasks": []})")
            << "\"categories\" must be an array";
    }

    void refusesMalformedText() {
        QFETCH(QByteArray, text);
        QFETCH(QString, reason);
        QString error;
        QVERIFY(!BoardArchive::read(text, &error));
        QVERIFY2(error.contains(reason), qPrintable(error));
    }

    void refusesBadRecords_data() {
        QTest::addColumn<Mutation>("mutation");
        QTest::addColumn<QString>("reason");

        const auto removeTaskField = [](const QString& field) {
            return onFirst(QStringLiteral("tasks"),
                           [field](QJsonObject& task) { task.remove(field); });
        };
        QTest::newRow("unknown task field") << setTaskField(QStringLiteral("priority"), 3)
                                            << "tasks[0] has an unknown field \"priority\"";
        QTest::newRow("unknown list field") << setCategoryField(QStringLiteral("icon"), "x")
                                            << "categories[0] has an unknown field \"icon\"";
        QTest::newRow("missing field")
            << removeTaskField(QStringLiteral("updatedAt")) << "lacks the field \"updatedAt\"";
        QTest::newRow("missing optional field")
            << removeTaskField(QStringLiteral("reminderAt")) << "lacks the field \"reminderAt\"";
        QTest::newRow("flag as text") << setTaskField(QStringLiteral("completed"), "yes")
                                      << "\"completed\" must be true or false";
        QTest::newRow("title as number")
            << setTaskField(QStringLiteral("title"), 5) << "\"title\" must be a string";
        QTest::newRow("sortIndex as JSON number")
            << setTaskField(QStringLiteral("sortIndex"), 5) << "\"sortIndex\" must be";
        QTest::newRow("sortIndex fraction")
            << setTaskField(QStringLiteral("sortIndex"), "1.5") << "\"sortIndex\" must be";
        QTest::newRow("sortIndex beyond 64 bits")
            << setTaskField(QStringLiteral("sortIndex"), "9223372036854775808")
            << "\"sortIndex\" must be";
        QTest::newRow("sortIndex null")
            << setCategoryField(QStringLiteral("sortIndex"), QJsonValue::Null)
            << "\"sortIndex\" must be";
        QTest::newRow("week with spaces")
            << setTaskField(QStringLiteral("week"), " 12") << "\"week\" must be";
        QTest::newRow("date without offset")
            << setTaskField(QStringLiteral("dueDate"), "2025-03-30T00:00:00")
            << "\"dueDate\" must be an ISO 8601 date-time with an offset";
        QTest::newRow("date only")
            << setTaskField(QStringLiteral("createdAt"), "2025-03-30") << "\"createdAt\" must be";
        QTest::newRow("impossible date")
            << setTaskField(QStringLiteral("reminderAt"), "2025-02-30T10:00:00Z")
            << "\"reminderAt\" must be";
        QTest::newRow("createdAt null")
            << setCategoryField(QStringLiteral("createdAt"), QJsonValue::Null)
            << "\"createdAt\" must be";
        QTest::newRow("id not a UUID")
            << setTaskField(QStringLiteral("id"), "task-1") << "\"id\" must be a UUID";
        QTest::newRow("noteData not base64")
            << setTaskField(QStringLiteral("noteData"), "not base64!") << "\"noteData\" must be";
        QTest::newRow("list of an unknown id")
            << setTaskField(QStringLiteral("category"), QUuid::createUuid().toString())
            << "is not among the categories";
        QTest::newRow("record not an object") << Mutation([](QJsonObject& root) {
            QJsonArray tasks = root.value(QStringLiteral("tasks")).toArray();
            tasks.append(QStringLiteral("a task"));
            root.insert(QStringLiteral("tasks"), tasks);
        }) << "tasks[4] is not a JSON object";
        QTest::newRow("duplicate task id") << Mutation([](QJsonObject& root) {
            QJsonArray tasks = root.value(QStringLiteral("tasks")).toArray();
            QJsonObject copy = tasks.at(2).toObject();
            copy.insert(QStringLiteral("id"), tasks.at(0)[QStringLiteral("id")]);
            tasks.replace(2, copy);
            root.insert(QStringLiteral("tasks"), tasks);
        }) << "appears twice";
        QTest::newRow("duplicate list id") << Mutation([](QJsonObject& root) {
            QJsonArray lists = root.value(QStringLiteral("categories")).toArray();
            lists.append(lists.at(0));
            root.insert(QStringLiteral("categories"), lists);
        }) << "categories[2]: the id";
    }

    void refusesBadRecords() {
        QFETCH(Mutation, mutation);
        QFETCH(QString, reason);
        Store store;
        populate(*store.context);
        QJsonObject root = documentOf(*store.context);
        // The unchanged document is good: the refusal comes from the one change.
        QString error;
        QVERIFY2(BoardArchive::read(QJsonDocument(root).toJson(), &error), qPrintable(error));

        mutation(root);
        QVERIFY(!BoardArchive::read(QJsonDocument(root).toJson(), &error));
        QVERIFY2(error.contains(reason), qPrintable(error));
    }

    void restoreRefusesStoreWithRecords_data() {
        QTest::addColumn<bool>("withTask");
        QTest::addColumn<bool>("withList");
        QTest::newRow("a task") << true << false;
        QTest::newRow("only a list") << false << true;
    }

    void restoreRefusesStoreWithRecords() {
        QFETCH(bool, withTask);
        QFETCH(bool, withList);
        Store source;
        populate(*source.context);
        const QByteArray document = BoardArchive::write(*source.context);

        Store target;
        const QDateTime now = utc("2025-05-05T05:05:05Z");
        if (withTask)
            target.context->insert(new TaskItem(QStringLiteral("mine"), 1, now));
        if (withList)
            target.context->insert(
                new TaskCategory(QStringLiteral("mine"), TaskCategory::defaultColorHex, 1, now));
        QVERIFY(target.context->save());
        const QStringList before = snapshot(*target.context);

        QString error;
        auto records = BoardArchive::read(document, &error);
        QVERIFY(records);
        QVERIFY(!BoardArchive::restore(*target.context, std::move(*records), &error));
        QVERIFY2(error.contains(QStringLiteral("already holds")), qPrintable(error));
        QCOMPARE(snapshot(*target.context), before);
        QVERIFY(!target.context->hasChanges());
        QCOMPARE(snapshot(*target.reopen()), before);
    }

    void failedSaveLeavesNothingBehind() {
        Store source;
        populate(*source.context);
        const QByteArray document = BoardArchive::write(*source.context);
        Store target;

        // Another process holds the write lock for longer than the store waits.
        auto locker = std::make_unique<BoardTest::SideConnection>(target.path());
        QVERIFY(locker->exec(QStringLiteral("BEGIN EXCLUSIVE")));

        QString error;
        auto records = BoardArchive::read(document, &error);
        QVERIFY(records);
        QVERIFY(!BoardArchive::restore(*target.context, std::move(*records), &error));
        QVERIFY2(error.contains(QStringLiteral("could not be saved")), qPrintable(error));
        QVERIFY(target.context->tasks().isEmpty());
        QVERIFY(target.context->categories().isEmpty());
        QVERIFY(!target.context->hasChanges());

        QVERIFY(locker->exec(QStringLiteral("ROLLBACK")));
        locker.reset();
        QVERIFY(target.reopen()->tasks().isEmpty());

        // Once the lock is gone the same context takes the backup whole.
        records = BoardArchive::read(document, &error);
        QVERIFY(BoardArchive::restore(*target.context, std::move(*records), &error));
        QCOMPARE(snapshot(*target.reopen()), snapshot(*source.context));
    }
};

QTEST_GUILESS_MAIN(TestBoardArchive)
#include "tst_boardarchive.moc"
